#pragma once
// Reads lines from a file descriptor into one reused buffer, keeping the
// padding the JSON parser may read past a line's end. A line longer than the
// limit is skipped to its end and reported, never held in memory whole.

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace vantrove::cli {

class LineReader {
 public:
  LineReader(int fd, size_t maxLine);
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  enum class Status { kLine, kTooLong, kEnd };
  // The next line without its '\n'; valid until the next call.
  Status Next(std::string_view& line);

 private:
  bool Fill();  // reads more; false at end of input

  int fd_;
  size_t maxLine_;
  struct Free {
    void operator()(char* p) const { std::free(p); }
  };
  // Grown with realloc: a large buffer moves by remapping its pages, never
  // by copying or clearing them.
  std::unique_ptr<char, Free> buf_;
  size_t capacity_ = 0;
  size_t begin_ = 0;    // start of the current line
  size_t scanned_ = 0;  // bytes from begin_ known to hold no '\n'
  size_t end_ = 0;      // end of the bytes read
  bool eof_ = false;
};

}  // namespace vantrove::cli

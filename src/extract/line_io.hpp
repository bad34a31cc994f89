#pragma once
// Streaming line input and output for the description readers. Lines end at
// CR LF, LF or CR; they come back without their ending. Output lines end
// with CR LF. Files that replace another are written under a temporary name
// in the same folder and renamed over it when complete.
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "../runtime/text_compare.hpp"
#include "vantrove/engine/replacing_file.hpp"

namespace vantrove::extract::detail {

class LineReader {
 public:
  LineReader() = default;
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  bool Open(const std::string& path);
  bool is_open() const { return file_ != nullptr; }
  // The next line; the view stays valid until the next call. False at the
  // end of the file (or on a read error: then failed() is true).
  bool Next(std::string_view& line);
  bool failed() const { return failed_; }

 private:
  bool Fill();

  std::FILE* file_ = nullptr;
  std::vector<char> buf_;
  size_t begin_ = 0, end_ = 0;
  bool eof_ = false;
  bool failed_ = false;
  bool skipLf_ = false;  // a CR ended the last line; a LF right after it belongs to it
};

// Lines of a file, optionally passed through the normaliser on the way.
class LineSource {
 public:
  virtual ~LineSource() = default;
  virtual bool Next(std::string_view& line) = 0;
  virtual bool failed() const = 0;
};

class FileLines : public LineSource {
 public:
  explicit FileLines(LineReader& reader) : reader_(reader) {}
  bool Next(std::string_view& line) override { return reader_.Next(line); }
  bool failed() const override { return reader_.failed(); }

 private:
  LineReader& reader_;
};

class NormalisedLines : public LineSource {
 public:
  explicit NormalisedLines(LineReader& reader) : reader_(reader) {}
  bool Next(std::string_view& line) override;
  bool failed() const override { return reader_.failed(); }

 private:
  LineReader& reader_;
  std::vector<std::string> pending_;
  size_t next_ = 0;
};

// Where output text goes.
class TextSink {
 public:
  virtual ~TextSink() = default;
  virtual void Write(std::string_view text) = 0;
  void Line(std::string_view text) {
    Write(text);
    Write("\r\n");
  }
  virtual bool failed() const { return false; }
};

class LineWriter : public TextSink {
 public:
  LineWriter() = default;
  ~LineWriter() override;
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // Starts writing what will become `target`.
  bool Open(const std::string& target);
  void Write(std::string_view text) override;
  // Flushes, closes and renames over the target. False on any failure (the
  // temporary file is then removed and the target left alone).
  bool Commit();
  bool failed() const override { return failed_; }

 private:
  void Flush();
  void Abandon();

  engine::io::ReplacingFile file_;
  std::string buffer_;
  bool open_ = false;
  bool failed_ = false;
};

// Blanks (U+0020) trimmed from both ends, as the classic Trim does.
std::string_view TrimBlanks(std::string_view s);
// Case-insensitive (ASCII) search; npos when absent.
using vantrove::detail::FindAsciiNoCase;
inline bool ContainsNoCase(std::string_view haystack, std::string_view needle) {
  return FindAsciiNoCase(haystack, needle) != std::string_view::npos;
}
// Replaces every case-insensitive occurrence of `find` by `with`.
std::string ReplaceNoCase(std::string_view text, std::string_view find, std::string_view with);
bool FileExistsPlain(const std::string& path);
// The first line of a file declares ISO-8859-1 (or another single-byte set).
bool DeclaresSingleByte(std::string_view firstLine);

}  // namespace vantrove::extract::detail

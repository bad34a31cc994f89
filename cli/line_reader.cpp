#include "line_reader.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <simdjson.h>

namespace vantrove::cli {

namespace {
constexpr size_t kChunk = size_t{1} << 20;
}

LineReader::LineReader(int fd, size_t maxLine)
    : fd_(fd), maxLine_(maxLine), buf_(static_cast<char*>(std::malloc(kChunk + simdjson::SIMDJSON_PADDING))),
      capacity_(kChunk + simdjson::SIMDJSON_PADDING) {
  if (!buf_) throw std::bad_alloc();
  std::memset(buf_.get(), 0, capacity_);
}

bool LineReader::Fill() {
  if (eof_) return false;
  if (begin_ > 0) {
    std::memmove(buf_.get(), buf_.get() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (capacity_ - end_ < kChunk + simdjson::SIMDJSON_PADDING) {
    const size_t grown = std::max(capacity_ * 2, end_ + kChunk + simdjson::SIMDJSON_PADDING);
    char* p = static_cast<char*>(std::realloc(buf_.get(), grown));
    if (p == nullptr) throw std::bad_alloc();
    (void)buf_.release();
    buf_.reset(p);
    capacity_ = grown;
  }
  for (;;) {
    // As much as fits, so that a large request arrives in few reads; the
    // padding past the end stays free for the JSON parser.
    const ssize_t n = ::read(fd_, buf_.get() + end_, capacity_ - end_ - simdjson::SIMDJSON_PADDING);
    if (n > 0) {
      end_ += static_cast<size_t>(n);
      return true;
    }
    if (n < 0 && errno == EINTR) continue;
    eof_ = true;
    return false;
  }
}

LineReader::Status LineReader::Next(std::string_view& line) {
  bool skipping = false;
  for (;;) {
    const char* from = buf_.get() + begin_ + scanned_;
    const char* nl = static_cast<const char*>(std::memchr(from, '\n', end_ - begin_ - scanned_));
    if (nl != nullptr) {
      const size_t len = static_cast<size_t>(nl - (buf_.get() + begin_));
      line = std::string_view(buf_.get() + begin_, len);
      begin_ += len + 1;
      scanned_ = 0;
      if (skipping || len > maxLine_) return Status::kTooLong;
      return Status::kLine;
    }
    scanned_ = end_ - begin_;
    if (scanned_ > maxLine_) {
      // Too long to keep: drop what has been read and look for the line's end.
      skipping = true;
      begin_ = end_;
      scanned_ = 0;
    }
    if (!Fill()) {
      if (end_ == begin_) {
        if (skipping) return Status::kTooLong;
        return Status::kEnd;
      }
      line = std::string_view(buf_.get() + begin_, end_ - begin_);
      begin_ = end_;
      scanned_ = 0;
      return skipping || line.size() > maxLine_ ? Status::kTooLong : Status::kLine;
    }
  }
}

}  // namespace vantrove::cli

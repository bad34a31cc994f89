// clsConcat: the string builder of the writers.
#include <algorithm>
#include <limits>

#include "vantrove/output.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove {

namespace {

bool IsAsciiText(std::string_view s) {
  for (char c : s) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

// Characters (code points) in `s`, counted as the string helpers count them.
int64_t CharCount(std::string_view s) {
  if (s.size() == 1 || IsAsciiText(s)) return static_cast<int64_t>(s.size());
  return Len(s);
}

// Byte offset of the first `n` characters of `s` (all of it when shorter).
size_t ByteOffset(std::string_view s, int64_t n) {
  size_t i = 0;
  for (int64_t k = 0; k < n && i < s.size(); ++k) NextCodePoint(s, i);
  return i;
}

}  // namespace

void clsConcat::ReInit() {
  text_.clear();
  written_ = 0;
  bufferLength_ = 0;
  used_ = 0;
}

void clsConcat::SConcat(std::string_view s) {
  const int64_t n = CharCount(s);
  const int64_t u = used_;
  const int64_t end = u + n;
  if (end > std::numeric_limits<int32_t>::max()) Raise(err::kOverflow);
  if (end >= bufferLength_) bufferLength_ += n <= u ? kGrowth : n;
  // The piece goes over the buffer from character u + 1 on, never past its
  // end; a start beyond the end is an invalid call.
  if (u >= bufferLength_) Raise(err::kInvalidCall);
  Write(u, s, n, std::min(n, bufferLength_ - u));
  used_ = static_cast<int32_t>(end);
}

void clsConcat::Write(int64_t position, std::string_view piece, int64_t pieceLength, int64_t fit) {
  const std::string_view part = fit == pieceLength ? piece : piece.substr(0, ByteOffset(piece, fit));
  if (position == written_) {
    text_.append(part);
    written_ += fit;
    return;
  }
  if (position > written_) {  // behind the written text: the gap is padding
    text_.append(static_cast<size_t>(position - written_), '\0');
    text_.append(part);
    written_ = position + fit;
    return;
  }
  // Over text already written (only after SetString).
  const size_t from = ByteOffset(text_, position);
  const int64_t replaced = std::min(fit, written_ - position);
  const size_t to = from + ByteOffset(std::string_view(text_).substr(from), replaced);
  text_.replace(from, to - from, part);
  written_ = std::max(written_, position + fit);
}

std::string clsConcat::GetString() {
  const int64_t want = std::min<int64_t>(used_, bufferLength_);
  std::string out;
  if (want == written_) {
    out = std::move(text_);
  } else if (want < written_) {
    out = text_.substr(0, ByteOffset(text_, want));
  } else {
    out = std::move(text_);
    out.append(static_cast<size_t>(want - written_), '\0');
  }
  text_ = std::string();
  written_ = 0;
  bufferLength_ = 0;
  return out;
}

void clsConcat::SetString(std::string_view s) {
  text_.assign(s);
  written_ = CharCount(s);
  bufferLength_ = written_ + kGrowth;
}

}  // namespace vantrove

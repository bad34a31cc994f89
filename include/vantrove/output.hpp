#pragma once
// Output helpers shared by the writers: the string builder clsConcat, files
// that are written as a whole or not at all, and the desktop clipboard.

#include <cstdint>
#include <climits>
#include <string>
#include <string_view>

#include "vantrove/engine/replacing_file.hpp"

namespace vantrove {

// The string builder every writer uses to assemble long text piece by piece.
//
// The buffer is a text followed by NUL padding; the used length counts the
// characters (Unicode code points) that hold text. Appending grows the buffer
// by 15000 NULs, or by the piece's length when the piece is longer than the
// text so far, whenever the piece would reach the end of the buffer. A piece
// is then written over the padding as far as it fits, and the used length
// grows by the whole piece even when it did not fit: a piece longer than
// 15000 characters appended to a longer text in a nearly full buffer is cut,
// and later text follows NUL characters instead of the rest of that piece.
//
// GetString hands the text out and empties the buffer but keeps the used
// length; an instance is used again only after ReInit. Appending without
// ReInit writes behind the stale length (NULs, then the piece), and fails
// with "Invalid procedure call" (5) when the stale length is 15000 or more.
// Used-length additions are checked: passing 2^31 - 1 raises "Overflow" (6).
//
// The NUL padding is not kept in memory: the builder stores the written text
// and the buffer's length, so appending costs what appending to a string
// costs.
class clsConcat {
 public:
  static constexpr int32_t kGrowth = 15000;

  // Buffer "" and used length 0.
  void ReInit();
  // Appends `s` by the rules above.
  void SConcat(std::string_view s) {
    // The common case inline: ASCII text that fits behind the written text.
    unsigned char bits = 0;
    for (char c : s) bits |= static_cast<unsigned char>(c);
    const int64_t end = int64_t{used_} + static_cast<int64_t>(s.size());
    if (bits < 0x80 && used_ == written_ && end < bufferLength_ && end <= INT32_MAX) {
      text_.append(s);
      written_ = end;
      used_ = static_cast<int32_t>(end);
      return;
    }
    Append(s);
  }
  // The first used-length characters of the buffer (the whole buffer when it
  // is shorter); the buffer becomes "", the used length stays.
  std::string GetString();
  // The buffer becomes `s` followed by 15000 NULs; the used length stays.
  void SetString(std::string_view s);

  int32_t used_length() const { return used_; }
  int64_t buffer_length() const { return bufferLength_; }

 private:
  void Append(std::string_view s);
  void Write(int64_t position, std::string_view piece, int64_t pieceLength, int64_t fit);

  std::string text_;          // the buffer's first written_ characters, UTF-8
  int64_t written_ = 0;       // characters held in text_; the rest of the buffer is NUL padding
  int64_t bufferLength_ = 0;  // characters in the buffer, padding included
  int32_t used_ = 0;
};

// ---- Files -------------------------------------------------------------------

// A file written as a whole. In Replace mode the bytes go to a new file beside
// the target, which takes the target's place (rename) on Commit; in Append
// mode they are added to the end of the target, created when missing. Until
// Commit nothing is visible in Replace mode, and a writer dropped without
// Commit removes its file (Replace) or cuts the target back to its former
// length, removing it when the writer created it (Append). A symbolic link
// is followed: the file it names is the one replaced.
//
// Failures raise RuntimeError with the classic file error numbers: 76 path
// not found, 70 permission denied, 75 path/file access error (a folder, a
// read-only file system), 61 disk full, 57 device I/O error. A target that is
// not a regular file (a device, a pipe) is written directly.
class OutputFile {
 public:
  enum class Mode { Replace, Append };
  explicit OutputFile(const std::string& path, Mode mode = Mode::Replace);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Buffered; a large buffer is written out as it fills.
  void Write(std::string_view bytes);
  void Commit();

 private:
  void Flush();
  void WriteOut(std::string_view bytes);  // straight to the file
  void Abandon() noexcept;

  std::string target_;
  Mode mode_;
  engine::io::ReplacingFile replacing_;  // Replace mode
  int fd_ = -1;                 // Append mode
  bool createdTarget_ = false;  // Append mode: the target did not exist
  int64_t originalSize_ = 0;    // Append mode: the target's length at opening
  std::string buffer_;
  bool committed_ = false;
};

// Writes `bytes` to `path` as a whole (Replace mode); raises as OutputFile does.
void WriteWholeFile(const std::string& path, std::string_view bytes);

// A whole file's bytes, for reading from start to end. A regular file is
// mapped into memory (read-only, loaded at once); anything else is read.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // False when the file cannot be opened for reading (missing, a folder, no
  // permission); read errors after opening raise "Device I/O error" (57).
  bool Open(const std::string& path);
  std::string_view bytes() const { return map_ ? std::string_view(map_, mapSize_) : std::string_view(read_); }

 private:
  char* map_ = nullptr;
  size_t mapSize_ = 0;
  std::string read_;
};

// Reads a whole file into `out`; false and raises as InputFile::Open does.
bool ReadWholeFile(const std::string& path, std::string& out);

// Splits text into lines as sequential line input does: a line ends at CR LF
// or at a lone LF; a lone CR stays in the line. Text after the last line
// break is one more line; an empty text has no lines. Calls `fn(line)` for
// each line in order.
template <class Fn>
void ForEachLine(std::string_view text, Fn&& fn) {
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t lf = text.find('\n', pos);
    if (lf == std::string_view::npos) {
      fn(text.substr(pos));
      return;
    }
    size_t end = lf;
    if (end > pos && text[end - 1] == '\r') --end;
    fn(text.substr(pos, end - pos));
    pos = lf + 1;
  }
}

// Drops a leading UTF-8 byte order mark.
std::string_view WithoutByteOrderMark(std::string_view text);

// ---- Clipboard -----------------------------------------------------------------

// Puts `text` on the desktop clipboard as plain text, replacing what was
// there: on Wayland (WAYLAND_DISPLAY set) through wl-copy, on X11 (DISPLAY
// set) through xclip, else xsel. The helper program keeps serving the text
// after this returns. False when there is no desktop, no helper program, or
// the helper failed; `why` then says what happened.
bool SetClipboardText(std::string_view text, std::string* why = nullptr);

// True when the environment variable VANTROVE_DIAGNOSTICS is set to anything
// but "" or "0": methods that fail quietly by design then also say why on the
// host's MessageSink.
bool DiagnosticsWanted();

}  // namespace vantrove

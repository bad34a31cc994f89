#pragma once
// Reading the drawing's XML description: temporary file names, the
// normaliser, flattening by chapter, network path names, and the flat
// attribute-record copy. The clsVantrove methods of this area (FixXML,
// FlattenXMLfile, XMLfileToArray, FlatXMLfileToArray, XMLFileToRecordset,
// CreateBlockAttributeArray and their Web_ twins) are built on these.
//
// The description is read line by line: one element per line, every line
// trimmed of blanks before it is examined (see docs/extract.md).

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vantrove::extract {

// ---- Temporary files -----------------------------------------------------------------
// The folder that holds the loaded libvantrove module ("" when unknown).
std::string LibraryFolder();
// Where temporary XML files go: the library's folder when it is writable,
// else $TMPDIR, else /tmp. A host (or a test) may name another folder.
std::string TempFolder();
void SetTempFolderOverride(std::optional<std::string> folder);
// "mmddyyyyhhmmss" of a local time.
std::string TimeStampName(int year, int month, int day, int hour, int minute, int second);
// A new empty file in TempFolder(), named by the local date and time as
// mmddyyyyhhmmss plus `extension`, and its path. The name is claimed by
// creating the file, so processes and threads sharing the folder never get
// the same one; a name taken by another waits for the clock to move on (and
// after a few seconds gets a "-n" suffix). The caller writes over the file
// and removes it. When the folder is not writable the name is returned
// unclaimed and the writer reports the failure.
std::string TempFileName(const std::string& extension);
// TempFileName(".xml").
std::string TempXmlFileName();
// True when `path` is a file with something in it: how a caller that
// claimed a temporary name sees whether a writer filled it.
bool WrittenFile(const std::string& path);

// Removes a file when it goes out of scope.
class TempFile {
 public:
  explicit TempFile(std::string path = {}) : path_(std::move(path)) {}
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// ---- Chapters ------------------------------------------------------------------------
// The element of a chapter: DrawingInformation, Layers, Attributes, Images,
// ExternalReferences, Layouts, AttributeDefinitions or TextLiterals; any
// unknown chapter number gives DrawingInformation.
std::string ChapterElement(int32_t chapter);

// ---- The normaliser ------------------------------------------------------------------
// Applies the normaliser to one line (not trimmed): a self-closing element
// becomes an opening and a closing tag; an opening tag with a quoted name
// attribute becomes the bare tag and a <Name> line. Appends one or two
// lines to `out`.
void FixLine(std::string_view line, std::vector<std::string>& out);
// Rewrites a file with FixLine applied to every line (through a temporary
// file renamed over it). False when anything failed; the file is then left
// as it was.
bool FixXmlFile(const std::string& path);

// ---- Network paths -----------------------------------------------------------------------
// The lookup of the share behind a path. `code` is 0 on success, otherwise
// one of 8, 50, 59, 87, 234, 487, 2250 (or another number), and `error`
// says what went wrong in the words callers expect.
struct NetworkPathResult {
  std::string unc;         // //server/share of the mount that holds the path
  std::string mountPoint;  // where that share is mounted
  std::string error;
  int32_t code = 0;
};
NetworkPathResult NetworkPathLookup(const std::string& path);
// The error text of a lookup result code.
std::string NetworkErrorText(int32_t code);
// The path with a network mount replaced by its //server/share name; a
// local path comes back unchanged.
std::string UncPath(const std::string& path);
// The mount table read by the lookup: /proc/self/mounts unless told.
void SetMountTableOverride(std::optional<std::string> file);

// ---- Flattening ----------------------------------------------------------------------------
// Flattens one chapter of the description `source` into `target` (written
// through a temporary file). With `normalise` the normaliser runs on each
// line as it is read (the source file itself is not rewritten). Returns 1,
// or -2 when an error was met (the target then holds what was reached).
int16_t FlattenDescription(const std::string& source, const std::string& target, int32_t chapter,
                           int32_t drawingField, bool normalise);

// The same flattening read as a stream, without a target file: the text
// the target would hold, produced as it is read. nullptr when no stream can
// be made. The caller closes it.
std::FILE* OpenFlattenedStream(const std::string& source, int32_t chapter, int32_t drawingField, bool normalise);

// Copies a flat attribute file keeping only the <Attribute> records whose
// <AttributeTag> is one of `tags` (compared without case). False on error.
bool CopyTaggedAttributeRecords(const std::string& source, const std::string& target,
                                const std::vector<std::string>& tags);

// ---- Description text -------------------------------------------------------------------------
// Resolves the five entities and numeric character references of XML text;
// `latin1` reads the bytes as ISO-8859-1. The result is UTF-8.
std::string DecodeXmlText(std::string_view text, bool latin1);

}  // namespace vantrove::extract

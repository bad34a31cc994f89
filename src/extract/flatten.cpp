// Flattening: one chapter of the description rewritten so that every record
// carries its context (drawing, drawing folder, block, layout, owning block
// reference) as child elements of its own. Streams from the source to the
// target; memory does not grow with the file.
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

#include "line_io.hpp"
#include "vantrove/engine/description.hpp"
#include "vantrove/extract.hpp"

namespace vantrove::extract {

using detail::ContainsNoCase;
using detail::FindAsciiNoCase;
using detail::LineSource;
using detail::LineWriter;
using detail::TrimBlanks;

namespace {

constexpr std::string_view kBreak = "\r\n";
constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>";

// The tags that the rules test lines for ("the line contains <tag>", case
// ignored). A line is classified once: each '<' in it is looked at with the
// text up to the next '>'.
enum Tag : int {
  kCustom,
  kCustomEnd,
  kDatabaseFilename,
  kDrawingInformation,
  kBlock,
  kBlockEnd,
  kLayoutName,
  kInsert,
  kName,
  kHandle,
  kElementId,
  kLayerName,
  kX,
  kY,
  kZ,
  kNumberAttributes,
  kNumberConstantAttributes,
  kRows,
  kColumns,
  kAttribute,
  kAttributeEnd,
  kAttributeTag,
  kText,
  kMText,
  kImage,
  kReference,
  kAttributeDefinition,
  kChapterOpen,
  kChapterClose,
  kTagCount
};

struct TagName {
  std::string_view text;
  Tag tag;
};

constexpr std::array<TagName, kChapterOpen> kTags = {{
    {"custom", kCustom},
    {"/custom", kCustomEnd},
    {"databasefilename", kDatabaseFilename},
    {"drawinginformation", kDrawingInformation},
    {"block", kBlock},
    {"/block", kBlockEnd},
    {"layoutname", kLayoutName},
    {"insert", kInsert},
    {"name", kName},
    {"handle", kHandle},
    {"elementid", kElementId},
    {"layername", kLayerName},
    {"x", kX},
    {"y", kY},
    {"z", kZ},
    {"numberattributes", kNumberAttributes},
    {"numberconstantattributes", kNumberConstantAttributes},
    {"rows", kRows},
    {"columns", kColumns},
    {"attribute", kAttribute},
    {"/attribute", kAttributeEnd},
    {"attributetag", kAttributeTag},
    {"text", kText},
    {"mtext", kMText},
    {"image", kImage},
    {"reference", kReference},
    {"attributedefinition", kAttributeDefinition},
}};

using Mask = uint32_t;
static_assert(kTagCount <= 32);
constexpr Mask Bit(Tag t) { return Mask{1} << t; }

class Classifier {
 public:
  explicit Classifier(std::string chapter) : open_(vantrove::detail::AsciiLowerCopy(chapter)), close_("/" + open_) {
    for (const TagName& t : kTags) byLength_[t.text.size()].push_back(t);
  }

  Mask Classify(std::string_view line) const {
    Mask m = 0;
    const char* p = line.data();
    const char* end = p + line.size();
    while (p < end) {
      const char* lt = static_cast<const char*>(std::memchr(p, '<', static_cast<size_t>(end - p)));
      if (lt == nullptr) break;
      // The tag text runs to the next '>'; tags are short, so look a little way only.
      const char* q = lt + 1;
      const char* stop = std::min(end, q + kLongest + 1);
      while (q < stop && *q != '>') ++q;
      if (q < stop) m |= Match(std::string_view(lt + 1, static_cast<size_t>(q - lt - 1)));
      p = lt + 1;
    }
    return m;
  }

 private:
  static constexpr size_t kLongest = 40;
  static bool Same(std::string_view token, std::string_view lower) {
    return vantrove::detail::EqualAsciiNoCase(token, lower);
  }
  Mask Match(std::string_view token) const {
    Mask m = 0;
    if (token.size() < byLength_.size()) {
      for (const TagName& t : byLength_[token.size()]) {
        if (Same(token, t.text)) m |= Bit(t.tag);
      }
    }
    if (token.size() == open_.size() && Same(token, open_)) m |= Bit(kChapterOpen);
    if (token.size() == close_.size() && Same(token, close_)) m |= Bit(kChapterClose);
    return m;
  }

  std::string open_, close_;
  std::array<std::vector<TagName>, kLongest + 1> byLength_;
};

// Appends `item` and a line break, unless it is empty.
void Item(std::string& out, std::string_view item) {
  if (item.empty()) return;
  out.append(item);
  out.append(kBreak);
}

// The name on a line that follows a <block> or <layoutname> line: the text
// after "<name>" with "</name>" removed.
std::string NameOnLine(std::string_view line) {
  const size_t at = FindAsciiNoCase(line, "<name>");
  const size_t from = at == std::string_view::npos ? 5 : at + 6;
  if (from > line.size()) return {};
  return detail::ReplaceNoCase(line.substr(from), "</name>", "");
}

std::string Escape(const std::string& utf8) { return engine::EscapeDescriptionValue(utf8); }

class Flattener {
 public:
  Flattener(LineSource& in, detail::TextSink& out, int32_t chapter, int32_t field)
      : in_(in), out_(out), chapter_(chapter), field_(field < 0 || field > 5 ? 0 : field),
        classify_(ChapterElement(chapter)) {}

  // False when an error was met on the way.
  bool Run() {
    Begin();
    while (Step()) {
    }
    return End();
  }

  void Begin() {
    out_.Line(kDeclaration);
    out_.Line("");
  }

  // Reads one line and writes what it gives; false at the end.
  bool Step() {
    std::string_view raw;
    if (done_ || !in_.Next(raw)) return false;
    line_.assign(TrimBlanks(raw));
    Mask m = classify_.Classify(line_);
    bool changed = Common(m);
    if (inside_) changed = Chapter(m) || changed;
    if (changed) m = classify_.Classify(line_);
    if (m & Bit(kChapterOpen)) inside_ = true;
    if (inside_ && !line_.empty()) out_.Line(line_);
    if (chapter_ == 7 && (m & Bit(kAttributeDefinition))) {
      std::string extra;
      if (!path_.empty()) extra.append(path_).append(kBreak);
      if (!drawing_.empty()) extra.append(drawing_).append(kBreak);
      extra.append("<Block>").append(bareBlock_).append("</Block>");
      out_.Line(extra);
    }
    if (m & Bit(kChapterClose)) done_ = true;
    return !done_;
  }

  bool End() {
    if (in_.failed() || out_.failed()) error_ = true;
    return !error_;
  }

 private:
  // The next line, trimmed, for a rule that reads ahead. At the end of the
  // file the rule has run out of lines: that counts as an error.
  bool Read(std::string& into) {
    std::string_view raw;
    if (!in_.Next(raw)) {
      error_ = true;
      into.clear();
      return false;
    }
    into.assign(TrimBlanks(raw));
    return true;
  }

  // The path of a <DatabaseFilename> line: from 18 characters after the tag
  // up to the first "</" found from the line's second character.
  std::string PathOn(const std::string& line) {
    const size_t tag = FindAsciiNoCase(line, "<databasefilename>");
    const size_t from = (tag == std::string::npos ? 0 : tag) + 18;
    const size_t close = line.find("</", 1);
    if (close == std::string::npos || close < from || from > line.size()) {
      error_ = true;
      return {};
    }
    return line.substr(from, close - from);
  }

  // Replaces a network mount in an escaped path by its share name; false
  // when the path is not on a network mount.
  bool Unc(std::string& escapedPath) {
    const std::string path = DecodeXmlText(escapedPath, true);
    const std::string unc = UncPath(path);
    if (unc == path) return false;
    escapedPath = Escape(unc);
    return true;
  }

  // Rules for every line, inside the chapter or not.
  bool Common(Mask m) {
    if (m & Bit(kCustom)) {
      std::string skipped;
      for (int k = 0; k < 20; ++k) {
        if (!Read(skipped)) break;
        if (ContainsNoCase(skipped, "</custom>")) break;
      }
      line_.clear();
      return true;
    }
    if (chapter_ == 0 && field_ == 4 && (m & Bit(kDatabaseFilename))) {
      std::string path = PathOn(line_);
      if (Unc(path)) {
        line_ = "<DatabaseFilename>" + path + "</DatabaseFilename>";
        return true;
      }
      return false;
    }
    if (chapter_ != 0 && field_ > 0 && (m & Bit(kDrawingInformation))) {
      std::string next;
      Read(next);
      std::string path = PathOn(next);
      if (field_ == 4 || field_ == 5) Unc(path);
      const size_t sep = path.find_last_of("/\\");
      const std::string name = sep == std::string::npos ? path : path.substr(sep + 1);
      const std::string folder = sep == std::string::npos ? std::string() : path.substr(0, sep);
      switch (field_) {
        case 1: drawing_ = "<Drawing>" + name + "</Drawing>"; break;
        case 2:
        case 4: drawing_ = "<Drawing>" + path + "</Drawing>"; break;
        case 3:
        case 5:
          drawing_ = "<Drawing>" + name + "</Drawing>";
          path_ = "<DrawingPath>" + folder + "</DrawingPath>";
          break;
        default: break;
      }
      line_.clear();
      return true;
    }
    return false;
  }

  bool Context(Mask m) {
    if (m & Bit(kBlock)) {
      std::string next;
      Read(next);
      block_ = "<Block>" + NameOnLine(next) + "</Block>";
      line_.clear();
      return true;
    }
    if (m & Bit(kLayoutName)) {
      std::string next;
      Read(next);
      layout_ = "<Layout>" + NameOnLine(next) + "</Layout>";
      line_.clear();
      return true;
    }
    return false;
  }

  void Compose(std::initializer_list<std::string_view> items) {
    std::string out;
    for (std::string_view i : items) Item(out, i);
    line_ = std::move(out);
  }

  void SkipLines(int n) {
    std::string skipped;
    for (int k = 0; k < n; ++k) {
      if (!Read(skipped)) break;
    }
  }

  void SkipThrough(std::string_view exact) {
    std::string skipped;
    while (Read(skipped)) {
      if (skipped == exact) break;
    }
  }

  // Rules of the chosen chapter, applied while reading inside it.
  bool Chapter(Mask m) {
    switch (chapter_) {
      case 1:
        if (m & Bit(kLayerName)) return Compose({line_, path_, drawing_}), true;
        return false;
      case 6:
        if (m & Bit(kLayoutName)) return Compose({line_, path_, drawing_}), true;
        return false;
      case 5:
        if (m & Bit(kReference)) return Compose({line_, path_, drawing_}), true;
        return false;
      case 4:
        if (line_ == "</Block>") return line_.clear(), true;
        if (m & Bit(kBlock)) return Context(m);
        if (m & Bit(kImage)) return Compose({line_, path_, drawing_, block_}), true;
        return false;
      case 2:
        if (line_ == "</Block>" || line_ == "</LayoutName>" || line_ == "<InsertionPoint>" ||
            line_ == "</InsertionPoint>") {
          return line_.clear(), true;
        }
        if (m & Bit(kAttribute)) {
          SkipLines(5);
          return line_.clear(), true;
        }
        if (Context(m)) return true;
        if (m & Bit(kInsert)) return Compose({line_, path_, drawing_, block_, layout_}), true;
        return false;
      case 3: return Attributes(m);
      case 7:
        if (m & Bit(kBlockEnd)) return line_.clear(), true;
        if (const size_t at = FindAsciiNoCase(line_, "<block name='"); at != std::string::npos) {
          const size_t from = at + 13;
          const size_t close = line_.find("'>");
          if (close == std::string::npos || close < from) {
            error_ = true;
            bareBlock_.clear();
          } else {
            bareBlock_ = line_.substr(from, close - from);
          }
          return line_.clear(), true;
        }
        return false;
      case 8:
        if (line_ == "</Block>" || line_ == "</LayoutName>") return line_.clear(), true;
        if (m & Bit(kMText)) {
          SkipThrough("</MText>");
          return line_.clear(), true;
        }
        if (Context(m)) return true;
        if (m & Bit(kText)) return Compose({line_, path_, drawing_, block_, layout_}), true;
        return false;
      case 9:
        if (line_ == "</Block>" || line_ == "</LayoutName>") return line_.clear(), true;
        if (m & Bit(kText)) {
          SkipThrough("</Text>");
          return line_.clear(), true;
        }
        if (Context(m)) return true;
        if (m & Bit(kMText)) return Compose({line_, path_, drawing_, block_, layout_}), true;
        return false;
      default: return false;
    }
  }

  // Blocks and attributes: the reference's leaves are kept aside and copied
  // into each of its attribute records.
  bool Attributes(Mask m) {
    if (line_ == "</Block>" || line_ == "</LayoutName>" || line_ == "<Insert>" || line_ == "</Insert>" ||
        line_ == "<InsertionPoint>" || line_ == "</InsertionPoint>") {
      return line_.clear(), true;
    }
    if (Context(m)) return true;
    struct Leaf {
      Tag tag;
      std::string* slot;
    };
    const Leaf leaves[] = {{kName, &leaf_[0]},      {kHandle, &leaf_[1]},     {kElementId, &leaf_[2]},
                           {kLayerName, &leaf_[3]}, {kX, &leaf_[4]},          {kY, &leaf_[5]},
                           {kZ, &leaf_[6]},         {kNumberAttributes, &leaf_[7]},
                           {kNumberConstantAttributes, &leaf_[8]},            {kRows, &leaf_[9]},
                           {kColumns, &leaf_[10]}};
    for (const Leaf& l : leaves) {
      if (m & Bit(l.tag)) {
        l.slot->swap(line_);
        line_.clear();
        return true;
      }
    }
    if (m & Bit(kAttribute)) {
      attribute_.clear();
      for (int k = 0; k < 3; ++k) {
        Read(next_);
        AppendRenamed(attribute_, next_);
        attribute_.append(kBreak);
      }
      Read(next_);
      attribute_.append(next_);
      compose_.assign("<Attribute>");
      compose_.append(kBreak);
      Item(compose_, path_);
      Item(compose_, drawing_);
      for (const std::string* s : {&block_, &layout_}) compose_.append(*s).append(kBreak);
      for (const std::string& s : leaf_) compose_.append(s).append(kBreak);
      AppendUnquoted(compose_, attribute_);
      line_.swap(compose_);
      return true;
    }
    return false;
  }

  // Appends `text` with every `find` (case ignored) written `with`.
  static void AppendReplaced(std::string& out, std::string_view text, std::string_view find, std::string_view with) {
    size_t at = 0;
    for (size_t i = FindAsciiNoCase(text, find); i != std::string_view::npos; i = FindAsciiNoCase(text, find, at)) {
      out.append(text.substr(at, i - at)).append(with);
      at = i + find.size();
    }
    out.append(text.substr(at));
  }

  // Appends `line` with every "handle" written "AttributeHandle", then every
  // "elementid" written "AttributeElementId" (case ignored).
  void AppendRenamed(std::string& out, std::string_view line) {
    renamed_.clear();
    AppendReplaced(renamed_, line, "handle", "AttributeHandle");
    AppendReplaced(out, renamed_, "elementid", "AttributeElementId");
  }

  // Appends `text` with &quot; and &apos; (case ignored) resolved.
  static void AppendUnquoted(std::string& out, std::string_view text) {
    size_t at = 0;
    for (size_t i = text.find('&'); i != std::string_view::npos; i = text.find('&', i + 1)) {
      if (FindAsciiNoCase(text.substr(i, 6), "&quot;") == 0) {
        out.append(text.substr(at, i - at)).push_back('"');
        i += 5;
        at = i + 1;
      } else if (FindAsciiNoCase(text.substr(i, 6), "&apos;") == 0) {
        out.append(text.substr(at, i - at)).push_back('\'');
        i += 5;
        at = i + 1;
      }
    }
    out.append(text.substr(at));
  }

  LineSource& in_;
  detail::TextSink& out_;
  const int32_t chapter_;
  const int32_t field_;
  Classifier classify_;
  std::string line_;
  std::string drawing_, path_, block_, layout_, bareBlock_;
  std::array<std::string, 11> leaf_;  // N H E LN X Y Z NA NC R CO
  std::string next_, attribute_, compose_, renamed_;
  bool error_ = false;
  bool inside_ = false;
  bool done_ = false;
};

// A flattening read as a stream: each read runs the flattener on until it
// has written enough.
class FlatStream : public detail::TextSink {
 public:
  FlatStream(const std::string& source, int32_t chapter, int32_t field, bool normalise)
      : plain_(reader_), fixed_(reader_), flattener_(normalise ? static_cast<LineSource&>(fixed_) : plain_, *this,
                                                     chapter, field) {
    if (!reader_.Open(source)) failed_ = true;
    flattener_.Begin();
  }
  void Write(std::string_view text) override { pending_.append(text); }
  bool failed() const override { return failed_; }

  ssize_t Read(char* buffer, size_t size) {
    while (pending_.size() - taken_ < size && !finished_) {
      if (taken_ > (1u << 20)) {
        pending_.erase(0, taken_);
        taken_ = 0;
      }
      if (!flattener_.Step()) finished_ = true;
    }
    const size_t n = std::min(size, pending_.size() - taken_);
    std::memcpy(buffer, pending_.data() + taken_, n);
    taken_ += n;
    return static_cast<ssize_t>(n);
  }

  static ssize_t ReadCookie(void* cookie, char* buffer, size_t size) {
    try {
      return static_cast<FlatStream*>(cookie)->Read(buffer, size);
    } catch (...) {
      return -1;
    }
  }
  static int CloseCookie(void* cookie) {
    delete static_cast<FlatStream*>(cookie);
    return 0;
  }

 private:
  detail::LineReader reader_;
  detail::FileLines plain_;
  detail::NormalisedLines fixed_;
  Flattener flattener_;
  std::string pending_;
  size_t taken_ = 0;
  bool finished_ = false;
  bool failed_ = false;
};

}  // namespace

std::FILE* OpenFlattenedStream(const std::string& source, int32_t chapter, int32_t drawingField, bool normalise) {
  auto stream = std::make_unique<FlatStream>(source, chapter, drawingField, normalise);
  cookie_io_functions_t io{};
  io.read = &FlatStream::ReadCookie;
  io.close = &FlatStream::CloseCookie;
  std::FILE* file = ::fopencookie(stream.get(), "r", io);
  if (file != nullptr) stream.release();
  return file;
}

std::string ChapterElement(int32_t chapter) {
  switch (chapter) {
    case 1: return "Layers";
    case 2:
    case 3: return "Attributes";
    case 4: return "Images";
    case 5: return "ExternalReferences";
    case 6: return "Layouts";
    case 7: return "AttributeDefinitions";
    case 8:
    case 9: return "TextLiterals";
    default: return "DrawingInformation";
  }
}

int16_t FlattenDescription(const std::string& source, const std::string& target, int32_t chapter,
                           int32_t drawingField, bool normalise) {
  detail::LineReader reader;
  LineWriter writer;
  const bool opened = reader.Open(source);
  if (!writer.Open(target)) return -2;
  bool ok = opened;
  if (opened) {
    detail::FileLines plain(reader);
    detail::NormalisedLines fixed(reader);
    LineSource& in = normalise ? static_cast<LineSource&>(fixed) : plain;
    ok = Flattener(in, writer, chapter, drawingField).Run();
  } else {
    writer.Line(kDeclaration);
    writer.Line("");
  }
  if (!writer.Commit()) return -2;
  return ok ? 1 : -2;
}

bool CopyTaggedAttributeRecords(const std::string& source, const std::string& target,
                                const std::vector<std::string>& tags) {
  detail::LineReader reader;
  if (!reader.Open(source)) return false;
  LineWriter writer;
  if (!writer.Open(target)) return false;
  std::vector<std::string> record;
  bool inRecord = false;
  bool keep = false;
  std::string_view line;
  while (reader.Next(line)) {
    if (!inRecord && ContainsNoCase(line, "<attribute>")) {
      inRecord = true;
      keep = false;
      record.clear();
    }
    if (!inRecord) {
      writer.Line(line);
      continue;
    }
    record.emplace_back(line);
    if (ContainsNoCase(line, "<attributetag>")) {
      for (const std::string& tag : tags) {
        if (FindAsciiNoCase(line, ">" + tag + "<") != std::string_view::npos) keep = true;
      }
    }
    if (ContainsNoCase(line, "</attribute>")) {
      if (keep) {
        for (const std::string& l : record) writer.Line(l);
      }
      inRecord = false;
    }
  }
  // A record that never closed is copied as it stands.
  if (inRecord && keep) {
    for (const std::string& l : record) writer.Line(l);
  }
  if (reader.failed()) return false;
  return writer.Commit();
}

}  // namespace vantrove::extract

// The XML table reader. The file is read in blocks; a small scanner finds
// where each child of the root element begins and ends, and pugixml parses
// that one element, which becomes one row. Memory therefore grows with the
// table, never with a document tree of the whole file. Files in UTF-16 or
// UTF-32 are parsed whole by pugixml instead.
//
// pugixml does not read document type definitions or external entities; the
// scanner skips a DOCTYPE without looking into it.
#include <pugixml.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "../runtime/text_compare.hpp"
#include "table.hpp"
#include "xml_plain_row.hpp"
#include "vantrove/recordset.hpp"
#include "vantrove/engine/utf8.hpp"

namespace vantrove {

using recordset_detail::FieldDef;
using recordset_detail::PlainRow;
using recordset_detail::Schema;
using recordset_detail::StringPool;
using recordset_detail::Table;

namespace {

constexpr size_t kBlock = size_t{1} << 20;
// A leaf whose whole text is blanks keeps them; blanks between elements go.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

[[noreturn]] void Malformed(const std::string& source, const std::string& what, uint64_t offset) {
  Raise(aderr::kReadFile, "The XML file " + source + " is not well-formed: " + what + " (at byte " +
                              std::to_string(offset) + ")");
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool HasElementChild(const pugi::xml_node& node) {
  for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
    if (c.type() == pugi::node_element) return true;
  }
  return false;
}

// Text directly inside an element (its text and CDATA children).
void AppendOwnText(const pugi::xml_node& node, std::string& out) {
  for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
    if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) out += c.value();
  }
}

// Builds rows, adding fields as they are first seen. With a list of names to
// keep, the top-level rows store only those fields (names without case).
class RowBuilder {
 public:
  RowBuilder(std::shared_ptr<StringPool> pool, const std::vector<std::string>* keep)
      : pool_(std::move(pool)), keep_(keep) {}

  void AddRow(const pugi::xml_node& element, Table& table, bool top = true) {
    Schema& schema = *table.schema();
    Names& names = names_[&schema];
    std::vector<uint32_t> cells;
    names.guess = 0;
    auto slot = [&](int i) -> uint32_t& {
      if (cells.size() <= static_cast<size_t>(i)) cells.resize(static_cast<size_t>(i) + 1, Table::kEmpty);
      return cells[static_cast<size_t>(i)];
    };
    for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
      const int i = Resolve(schema, names, a.name(), false, top);
      if (i < 0) continue;
      uint32_t& cell = slot(i);
      if (cell == Table::kEmpty) cell = table.TextCell(a.value());
    }
    std::string ownText;
    for (pugi::xml_node c = element.first_child(); c; c = c.next_sibling()) {
      if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata) {
        ownText += c.value();
        continue;
      }
      if (c.type() != pugi::node_element) continue;
      const int i = Resolve(schema, names, c.name(), HasElementChild(c), top);
      if (i < 0) continue;
      const FieldDef& def = schema.fields[static_cast<size_t>(i)];
      uint32_t& cell = slot(i);
      if (def.type == adtype::kChapter) {
        if (cell == Table::kEmpty) cell = table.ChildCell(std::make_shared<Table>(def.child, pool_));
        std::shared_ptr<Table> child = table.ChildAt(cell);
        AddRow(c, *child, false);
      } else if (cell == Table::kEmpty) {
        text_.clear();
        AppendOwnText(c, text_);
        cell = table.TextCell(text_);
      }
    }
    table.AddRow(cells.data(), static_cast<uint32_t>(cells.size()), table.TextCell(ownText));
  }

  void AddPlainRow(const PlainRow& row, Table& table) {
    Schema& schema = *table.schema();
    Names& names = names_[&schema];
    names.guess = 0;
    cells_.assign(schema.fields.size(), Table::kEmpty);
    for (const PlainRow::Leaf& leaf : row.leaves()) {
      const int i = Resolve(schema, names, leaf.name, false, true);
      if (i < 0) continue;
      if (cells_.size() <= static_cast<size_t>(i)) cells_.resize(static_cast<size_t>(i) + 1, Table::kEmpty);
      uint32_t& cell = cells_[static_cast<size_t>(i)];
      if (cell != Table::kEmpty) continue;
      if (recent_.size() <= static_cast<size_t>(i)) recent_.resize(static_cast<size_t>(i) + 1);
      cell = recent_[static_cast<size_t>(i)].Find(leaf.value, *pool_, table);
    }
    if (emptyText_ == Table::kEmpty) emptyText_ = table.TextCell("");
    table.AddRow(cells_.data(), static_cast<uint32_t>(cells_.size()), emptyText_);
  }

 private:
  // The names seen in one schema, in the order first seen, each with its
  // field (or -1 when it is not kept).
  struct Names {
    std::vector<std::pair<std::string, int>> seen;
    size_t guess = 0;
  };

  bool Kept(std::string_view name) const {
    if (keep_ == nullptr) return true;
    for (const std::string& k : *keep_) {
      if (detail::EqualAsciiNoCase(k, name)) return true;
    }
    return false;
  }

  int Resolve(Schema& schema, Names& names, std::string_view name, bool chapter, bool top) {
    auto& seen = names.seen;
    if (names.guess < seen.size() && seen[names.guess].first == name) return seen[names.guess++].second;
    for (size_t i = 0; i < seen.size(); ++i) {
      if (seen[i].first == name) {
        names.guess = i + 1;
        return seen[i].second;
      }
    }
    int field = -1;
    if (!top || Kept(name)) {
      FieldDef def;
      def.name = std::string(name);
      def.type = chapter ? adtype::kChapter : adtype::kVarWChar;
      if (chapter) {
        def.child = std::make_shared<Schema>();
        def.child->textField = true;
      }
      field = schema.Add(std::move(def));
    }
    seen.emplace_back(std::string(name), field);
    names.guess = seen.size();
    return field;
  }

  std::shared_ptr<StringPool> pool_;
  const std::vector<std::string>* keep_;
  std::unordered_map<const Schema*, Names> names_;
  // The last few texts of a column: records mostly repeat a column's text
  // (block, layer, drawing) or cycle through a few (tags), so these are
  // found without a look-up in the whole pool.
  class Recent {
   public:
    uint32_t Find(std::string_view v, const StringPool& pool, Table& table) {
      uint64_t head = 0;
      std::memcpy(&head, v.data(), std::min<size_t>(v.size(), sizeof(head)));
      for (int k = 0; k < kSize; ++k) {
        if (cell_[k] != Table::kEmpty && len_[k] == v.size() && head_[k] == head &&
            (v.size() <= sizeof(head) || std::memcmp(pool.Get(cell_[k] - 1).data(), v.data(), v.size()) == 0)) {
          return cell_[k];
        }
      }
      const uint32_t cell = table.NewTextCell(v);
      cell_[next_] = cell;
      len_[next_] = v.size();
      head_[next_] = head;
      next_ = (next_ + 1) % kSize;
      return cell;
    }

   private:
    static constexpr int kSize = 8;
    uint32_t cell_[kSize] = {};
    size_t len_[kSize] = {};
    uint64_t head_[kSize] = {};
    int next_ = 0;
  };

  std::vector<uint32_t> cells_;
  std::vector<Recent> recent_;
  uint32_t emptyText_ = Table::kEmpty;
  std::string text_;
};

// Tracks whether every row so far is a bare leaf with a name of its own: such
// a document is one record whose fields are the root's children.
class LeafRows {
 public:
  void See(const pugi::xml_node& element) {
    if (!all_) return;
    if (element.first_attribute() || HasElementChild(element) || !names_.insert(element.name()).second) {
      all_ = false;
      names_.clear();
      order_.clear();
      return;
    }
    order_.emplace_back(element.name());
  }
  // A row with element children.
  void SeeRecord() {
    if (!all_) return;
    all_ = false;
    names_.clear();
    order_.clear();
  }
  bool AllLeaves() const { return all_ && !order_.empty(); }
  const std::vector<std::string>& names() const { return order_; }

 private:
  bool all_ = true;
  std::unordered_set<std::string> names_;
  std::vector<std::string> order_;
};

std::shared_ptr<Table> NewTable(std::shared_ptr<StringPool> pool) {
  auto schema = std::make_shared<Schema>();
  schema->textField = true;
  return std::make_shared<Table>(std::move(schema), std::move(pool));
}

// Turns a table of leaf rows into one row whose fields are those leaves.
std::shared_ptr<Table> SingleRecord(const Table& rows, const std::vector<std::string>& names) {
  auto table = NewTable(rows.pool());
  std::vector<uint32_t> cells;
  const int text = rows.schema()->Count() - 1;
  for (size_t r = 0; r < names.size(); ++r) {
    FieldDef def;
    def.name = names[r];
    def.type = adtype::kVarWChar;
    table->schema()->Add(std::move(def));
    cells.push_back(rows.Cell(static_cast<uint32_t>(r), text));
  }
  table->AddRow(cells.data(), static_cast<uint32_t>(cells.size()), table->TextCell(""));
  return table;
}

enum class Markup { StartTag, EmptyTag, EndTag, Comment, PI, CData, Doctype };

enum class Scan { Ok, NeedMore, Bad };

struct Token {
  Markup kind = Markup::Comment;
  size_t end = 0;  // one past the closing '>'
  std::string_view name;
};

bool StartsWith(const char* b, size_t n, size_t p, std::string_view s) {
  return n - p >= s.size() && std::memcmp(b + p, s.data(), s.size()) == 0;
}

// Whether `n - p` bytes could still grow into `s` (a prefix of it is there).
bool MayBecome(const char* b, size_t n, size_t p, std::string_view s) {
  return n - p < s.size() && std::memcmp(b + p, s.data(), n - p) == 0;
}

Scan FindEnd(const char* b, size_t n, size_t from, std::string_view close, Token& t) {
  const std::string_view rest(b + from, n - from);
  const size_t at = rest.find(close);
  if (at == std::string_view::npos) return Scan::NeedMore;
  t.end = from + at + close.size();
  return Scan::Ok;
}

// Scans the markup that starts with '<' at b[p].
Scan ScanMarkup(const char* b, size_t n, size_t p, Token& t, std::string& why) {
  if (n - p < 2) return Scan::NeedMore;
  const char c = b[p + 1];
  if (c == '!') {
    if (StartsWith(b, n, p, "<!--")) {
      t.kind = Markup::Comment;
      return FindEnd(b, n, p + 4, "-->", t);
    }
    if (StartsWith(b, n, p, "<![CDATA[")) {
      t.kind = Markup::CData;
      return FindEnd(b, n, p + 9, "]]>", t);
    }
    if (StartsWith(b, n, p, "<!DOCTYPE")) {
      t.kind = Markup::Doctype;
      char quote = 0;
      int bracket = 0;
      for (size_t i = p + 9; i < n; ++i) {
        const char d = b[i];
        if (quote) {
          if (d == quote) quote = 0;
        } else if (d == '"' || d == '\'') {
          quote = d;
        } else if (d == '[') {
          ++bracket;
        } else if (d == ']') {
          --bracket;
        } else if (d == '>' && bracket <= 0) {
          t.end = i + 1;
          return Scan::Ok;
        }
      }
      return Scan::NeedMore;
    }
    if (MayBecome(b, n, p, "<!--") || MayBecome(b, n, p, "<![CDATA[") || MayBecome(b, n, p, "<!DOCTYPE")) {
      return Scan::NeedMore;
    }
    why = "unknown markup after \"<!\"";
    return Scan::Bad;
  }
  if (c == '?') {
    t.kind = Markup::PI;
    size_t i = p + 2;
    while (i < n && !IsBlank(b[i]) && b[i] != '?' && b[i] != '>') ++i;
    t.name = std::string_view(b + p + 2, i - p - 2);
    return FindEnd(b, n, p + 2, "?>", t);
  }
  const bool end = c == '/';
  size_t i = p + (end ? 2 : 1);
  const size_t nameAt = i;
  while (i < n && !IsBlank(b[i]) && b[i] != '>' && b[i] != '/' && b[i] != '<') ++i;
  if (i == n) return Scan::NeedMore;
  if (i == nameAt) {
    why = end ? "an end tag without a name" : "\"<\" not followed by an element name";
    return Scan::Bad;
  }
  t.name = std::string_view(b + nameAt, i - nameAt);
  char quote = 0;
  for (; i < n; ++i) {
    const char d = b[i];
    if (quote) {
      if (d == quote) quote = 0;
      continue;
    }
    if (d == '"' || d == '\'') {
      if (end) {
        why = "a quote inside an end tag";
        return Scan::Bad;
      }
      quote = d;
    } else if (d == '<') {
      why = "\"<\" inside a tag";
      return Scan::Bad;
    } else if (d == '>') {
      t.end = i + 1;
      t.kind = end ? Markup::EndTag : (b[i - 1] == '/' ? Markup::EmptyTag : Markup::StartTag);
      return Scan::Ok;
    }
  }
  return Scan::NeedMore;
}

pugi::xml_encoding EncodingFromDeclaration(std::string_view decl) {
  const size_t at = decl.find("encoding");
  if (at == std::string_view::npos) return pugi::encoding_utf8;
  size_t i = decl.find_first_of("\"'", at);
  if (i == std::string_view::npos) return pugi::encoding_utf8;
  const char q = decl[i];
  const size_t close = decl.find(q, i + 1);
  if (close == std::string_view::npos) return pugi::encoding_utf8;
  const std::string name = detail::AsciiLowerCopy(decl.substr(i + 1, close - i - 1));
  if (name == "utf-8" || name == "utf8" || name.empty()) return pugi::encoding_utf8;
  // Every single-byte encoding is read as Latin-1, which keeps each byte.
  return pugi::encoding_latin1;
}

class StreamReader {
 public:
  StreamReader(std::FILE* file, std::string source) : file_(file), source_(std::move(source)) {}

  // False when the file turns out to need a whole-document parse (UTF-16/32).
  bool Run(Table& table, RowBuilder& rows, LeafRows& leaves) {
    Fill(0);
    if (end_ >= 2) {
      const auto* u = reinterpret_cast<const unsigned char*>(buf_.data());
      if ((u[0] == 0xFE && u[1] == 0xFF) || (u[0] == 0xFF && u[1] == 0xFE) || u[0] == 0 || u[1] == 0) return false;
    }
    if (end_ >= 3 && std::memcmp(buf_.data(), "\xEF\xBB\xBF", 3) == 0) p_ = 3;
    enum class State { Prolog, Root, Epilog } state = State::Prolog;
    std::string rootName;
    int depth = 0;  // inside a row: element depth
    size_t rowStart = 0;
    std::string why;
    for (;;) {
      const char* b = buf_.data();
      const void* lt = p_ < end_ ? std::memchr(b + p_, '<', end_ - p_) : nullptr;
      const size_t textEnd = lt ? static_cast<size_t>(static_cast<const char*>(lt) - b) : end_;
      if (state != State::Root) {
        for (size_t i = p_; i < textEnd; ++i) {
          if (!IsBlank(b[i])) Malformed(source_, "text outside the root element", base_ + i);
        }
      }
      p_ = textEnd;
      if (!lt) {
        if (eof_) break;
        Refill(depth > 0, rowStart);
        continue;
      }
      if (state == State::Root && depth == 0 && retryAt_ != base_ + p_) {
        const char* rowEnd = nullptr;
        const auto plain = plain_.Parse(b + p_, b + end_, encoding_ == pugi::encoding_latin1, rowEnd);
        if (plain == PlainRow::Result::Ok) {
          leaves.SeeRecord();
          rows.AddPlainRow(plain_, table);
          p_ = static_cast<size_t>(rowEnd - b);
          continue;
        }
        if (plain == PlainRow::Result::NeedMore && !eof_) {
          // Once more with more bytes; a row that still runs on is scanned.
          retryAt_ = base_ + p_;
          Refill(false, rowStart);
          continue;
        }
      }
      Token t;
      const Scan scan = ScanMarkup(b, end_, p_, t, why);
      if (scan == Scan::Bad) Malformed(source_, why, base_ + p_);
      if (scan == Scan::NeedMore) {
        if (eof_) Malformed(source_, "the file ends inside markup", base_ + p_);
        Refill(depth > 0, rowStart);
        continue;
      }
      const size_t at = p_;
      p_ = t.end;
      const bool first = first_;
      first_ = false;
      if (depth > 0) {
        if (t.kind == Markup::StartTag) ++depth;
        if (t.kind == Markup::EndTag && --depth == 0) Row(table, rows, leaves, rowStart, p_);
        continue;
      }
      switch (state) {
        case State::Prolog:
          if (first && t.kind == Markup::PI && t.name == "xml") {
            encoding_ = EncodingFromDeclaration(std::string_view(b + at, t.end - at));
          }
          if (t.kind == Markup::EndTag || t.kind == Markup::CData) Malformed(source_, "no root element", base_ + at);
          if (t.kind == Markup::StartTag) {
            rootName = std::string(t.name);
            state = State::Root;
          } else if (t.kind == Markup::EmptyTag) {
            state = State::Epilog;
          }
          break;
        case State::Root:
          if (t.kind == Markup::StartTag) {
            rowStart = at;
            depth = 1;
          } else if (t.kind == Markup::EmptyTag) {
            Row(table, rows, leaves, at, p_);
          } else if (t.kind == Markup::EndTag) {
            if (t.name != rootName) {
              Malformed(source_, "the end tag </" + std::string(t.name) + "> does not close <" + rootName + ">",
                        base_ + at);
            }
            state = State::Epilog;
          } else if (t.kind == Markup::Doctype) {
            Malformed(source_, "a DOCTYPE inside the root element", base_ + at);
          }
          break;
        case State::Epilog:
          if (t.kind != Markup::Comment && t.kind != Markup::PI) {
            Malformed(source_, "markup after the end of the root element", base_ + at);
          }
          break;
      }
    }
    if (depth > 0 || state == State::Root) Malformed(source_, "the file ends before the root element is closed", base_ + end_);
    if (state == State::Prolog) Malformed(source_, "no root element", base_ + end_);
    return true;
  }

 private:
  // Reads more, keeping the row begun at `rowStart` when inside one, else
  // the bytes from the scanning position on.
  void Refill(bool inRow, size_t& rowStart) {
    const size_t keep = inRow ? rowStart : p_;
    Fill(keep);
    if (inRow) rowStart -= keep;
  }

  // Keeps the bytes from `keep` on and reads more after them.
  void Fill(size_t keep) {
    if (keep > 0) {
      std::memmove(buf_.data(), buf_.data() + keep, end_ - keep);
      end_ -= keep;
      p_ -= keep;
      base_ += keep;
    }
    if (buf_.size() - end_ < kBlock / 2) buf_.resize(std::max(buf_.size() * 2, end_ + kBlock));
    while (!eof_ && end_ < buf_.size()) {
      const size_t got = std::fread(buf_.data() + end_, 1, buf_.size() - end_, file_);
      end_ += got;
      if (got == 0) {
        if (std::ferror(file_)) Raise(aderr::kReadFile, "The file " + source_ + " could not be read: " + std::strerror(errno));
        eof_ = true;
      }
      if (end_ - p_ >= kBlock) break;
    }
  }

  void Row(Table& table, RowBuilder& rows, LeafRows& leaves, size_t from, size_t to) {
    const char* rowEnd = nullptr;
    if (plain_.Parse(buf_.data() + from, buf_.data() + to, encoding_ == pugi::encoding_latin1, rowEnd) ==
            PlainRow::Result::Ok &&
        rowEnd == buf_.data() + to) {
      leaves.SeeRecord();
      rows.AddPlainRow(plain_, table);
      return;
    }
    const pugi::xml_parse_result r = doc_.load_buffer_inplace(buf_.data() + from, to - from, kParseOptions, encoding_);
    if (!r) Malformed(source_, r.description(), base_ + from + static_cast<uint64_t>(r.offset));
    const pugi::xml_node element = doc_.document_element();
    leaves.See(element);
    rows.AddRow(element, table);
  }

  std::FILE* file_;
  std::string source_;
  std::vector<char> buf_;
  size_t end_ = 0;
  size_t p_ = 0;
  uint64_t base_ = 0;  // file offset of buf_[0]
  bool eof_ = false;
  bool first_ = true;
  uint64_t retryAt_ = UINT64_MAX;  // file offset of a row already tried with more bytes
  pugi::xml_encoding encoding_ = pugi::encoding_utf8;
  pugi::xml_document doc_;
  PlainRow plain_;
};

std::shared_ptr<Table> FromDocument(const pugi::xml_document& doc, const std::shared_ptr<StringPool>& pool,
                                    const std::vector<std::string>* keep) {
  auto table = NewTable(pool);
  RowBuilder rows(pool, keep);
  LeafRows leaves;
  for (pugi::xml_node c = doc.document_element().first_child(); c; c = c.next_sibling()) {
    if (c.type() != pugi::node_element) continue;
    leaves.See(c);
    rows.AddRow(c, *table);
  }
  return leaves.AllLeaves() ? SingleRecord(*table, leaves.names()) : table;
}

RecordsetRef Wrap(std::shared_ptr<Table> table) {
  RecordsetRef rs = Recordset::Create();
  rs->AdoptTable(std::move(table));
  return rs;
}

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

}  // namespace

namespace {

// Streams `file`; when it turns out to be UTF-16 or UTF-32, `whole` parses
// the document in one piece instead.
template <class Whole>
RecordsetRef ReadStream(std::FILE* file, const std::string& source, Whole&& whole,
                        const std::vector<std::string>* keep = nullptr) {
  auto pool = std::make_shared<StringPool>();
  auto table = NewTable(pool);
  RowBuilder rows(pool, keep);
  LeafRows leaves;
  {
    StreamReader reader(file, source);
    if (reader.Run(*table, rows, leaves)) {
      return Wrap(leaves.AllLeaves() ? SingleRecord(*table, leaves.names()) : table);
    }
  }
  pugi::xml_document doc;
  const pugi::xml_parse_result r = whole(doc);
  if (!r) Malformed(source, r.description(), static_cast<uint64_t>(r.offset));
  if (!doc.document_element()) Malformed(source, "no root element", 0);
  return Wrap(FromDocument(doc, pool, keep));
}

RecordsetRef ReadFile(const std::string& path, const std::vector<std::string>* keep) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) Raise(aderr::kOpeningFile, "The file " + path + " could not be opened: " + std::strerror(errno));
  return ReadStream(
      file.get(), path, [&](pugi::xml_document& doc) { return doc.load_file(path.c_str(), kParseOptions); }, keep);
}

}  // namespace

RecordsetRef ReadXmlRecordset(const std::string& path) { return ReadFile(path, nullptr); }

RecordsetRef ReadXmlRecordset(const std::string& path, const std::vector<std::string>& keepFields) {
  return ReadFile(path, &keepFields);
}

RecordsetRef ReadXmlRecordset(std::FILE* stream, const std::string& name, const std::vector<std::string>* keepFields) {
  if (stream == nullptr) Raise(aderr::kOpeningFile, "The stream " + name + " could not be opened");
  return ReadStream(
      stream, name,
      [&](pugi::xml_document&) -> pugi::xml_parse_result {
        Raise(aderr::kReadFile, "The XML stream " + name + " is in UTF-16 or UTF-32, which is read from files only");
      },
      keepFields);
}

RecordsetRef ReadXmlRecordsetFromText(std::string_view xml) {
  std::string copy(xml);
  if (copy.empty()) Malformed("(text)", "no root element", 0);
  std::unique_ptr<std::FILE, FileCloser> file(fmemopen(copy.data(), copy.size(), "rb"));
  if (!file) Raise(err::kOutOfMemory);
  return ReadStream(file.get(), "(text)", [&](pugi::xml_document& doc) {
    return doc.load_buffer(xml.data(), xml.size(), kParseOptions);
  });
}

}  // namespace vantrove

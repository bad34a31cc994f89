#pragma once
// A row of a flat XML table read without a general XML parser: the row
// element, without attributes, holding only leaf elements with plain text
// (the shape of every flat record). The parser says no to anything else, and
// the table reader hands that row to pugixml instead, so both paths give the
// same cells.

#include <string>
#include <string_view>
#include <vector>

namespace vantrove::recordset_detail {

class PlainRow {
 public:
  struct Leaf {
    std::string_view name;
    std::string_view value;  // decoded text; valid until the next Parse
  };

  enum class Result { Ok, NeedMore, No };

  // Reads a row that starts at `p`; `limit` ends the bytes at hand. NeedMore
  // when the row goes on past them; No when the row is not plain. `latin1`:
  // the bytes are Latin-1 and become UTF-8. On Ok, `rowEnd` is one past the
  // row's closing tag.
  Result Parse(const char* p, const char* limit, bool latin1, const char*& rowEnd);
  std::string_view name() const { return row_; }
  const std::vector<Leaf>& leaves() const { return leaves_; }

 private:
  struct Pending {
    std::string_view name;
    size_t offset, length;
    const char* direct;  // the text as it stands in the buffer, when nothing needed decoding
  };

  bool Text(const char* p, const char* end, bool latin1, Pending& leaf);

  std::string_view row_;
  std::vector<Pending> pending_;
  std::vector<Leaf> leaves_;
  std::string decoded_;
};

}  // namespace vantrove::recordset_detail

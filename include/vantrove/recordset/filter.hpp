#pragma once
// The row filter language of recordsets:
//
//   expression := term { OR term }
//   term       := factor { AND factor }
//   factor     := "(" expression ")" | field operator value
//   field      := name | "[" any text but "]" "]"
//   operator   := = | <> | < | > | <= | >= | LIKE
//   value      := 'text' (a quote inside doubled: '') | number | #date# | NULL
//
// Keywords and field names compare without case; AND binds tighter than OR.
// Text compares without case. A LIKE pattern may carry * or % at its start,
// its end or both (contains, ends with, starts with); anywhere else they are
// an error. A number or date compares numerically with a field whose text
// reads as one, and as text otherwise. "= NULL" matches Null and empty
// cells, "<> NULL" the others; every other comparison with a Null cell is
// false.
//
// Parse errors and unknown fields raise run-time error 3001 whose
// description names the problem and where it is.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "vantrove/runtime.hpp"

namespace vantrove::filter {

enum class Op { Eq, Ne, Lt, Gt, Le, Ge, Like };

struct Literal {
  enum class Kind { Text, Number, Date, Null } kind = Kind::Text;
  std::string text;   // as written (without quotes), for Text and for text comparisons
  double number = 0;  // Number; Date as its serial
};

struct Node {
  enum class Kind { And, Or, Compare } kind = Kind::Compare;
  std::unique_ptr<Node> left, right;  // And / Or
  // Compare:
  std::string field;
  int fieldIndex = -1;
  Op op = Op::Eq;
  Literal value;
  // LIKE: wildcard at the start / end, and the text between.
  bool likeStart = false, likeEnd = false;
  std::string likeCore;
};

// What a compiled filter reads a record's cells through.
class CellSource {
 public:
  virtual ~CellSource() = default;
  // True when the cell holds text; `out` views it.
  virtual bool Text(int field, std::string_view& out) const = 0;
  // Any cell as a Variant.
  virtual Variant Value(int field) const = 0;
};

class Expression {
 public:
  Expression() = default;
  Expression(Expression&&) noexcept = default;
  Expression& operator=(Expression&&) noexcept = default;
  ~Expression();

  // Raises 3001 when `text` is not a filter expression.
  static Expression Parse(std::string_view text);
  // Resolves every field name with `resolve` (an index, or -1 when there is
  // no such field: raises 3001 naming it).
  void Bind(const std::function<int(std::string_view)>& resolve);
  bool Matches(const CellSource& cells) const;
  // A canonical form, fully parenthesised: ((Name = 'a') AND (X >= 5)).
  std::string ToString() const;
  const Node* root() const { return root_.get(); }

 private:
  std::unique_ptr<Node> root_;
  std::string text_;
};

}  // namespace vantrove::filter

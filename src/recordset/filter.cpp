// The row filter language: a recursive-descent parser over the expression
// text and an evaluator over a record's cells.
#include "vantrove/recordset/filter.hpp"

#include <charconv>
#include <cmath>

#include "../runtime/text_compare.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove::filter {

namespace {

[[noreturn]] void Fail(std::string_view text, size_t at, const std::string& what) {
  std::string d = "The filter \"" + std::string(text) + "\" cannot be used: " + what;
  if (at != std::string_view::npos) d += " at position " + std::to_string(at + 1);
  Raise(aderr::kInvalidArgument, d);
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// A name character outside brackets: anything but blanks, operators, quotes,
// parentheses and brackets.
bool IsNameChar(char c) {
  switch (c) {
    case ' ': case '\t': case '\r': case '\n': case '(': case ')': case '=': case '<': case '>':
    case '!': case '\'': case '"': case '#': case '[': case ']':
      return false;
    default:
      return true;
  }
}

bool KeywordIs(std::string_view word, std::string_view keyword) {
  if (word.size() != keyword.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    char c = word[i];
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    if (c != keyword[i]) return false;
  }
  return true;
}

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::unique_ptr<Node> Run() {
    SkipSpace();
    if (AtEnd()) Fail(text_, std::string_view::npos, "it is empty");
    auto node = Expression();
    SkipSpace();
    if (!AtEnd()) {
      if (Peek() == ')') Fail(text_, pos_, "a closing parenthesis has no opening one");
      Fail(text_, pos_, "expected AND, OR or the end of the filter, found \"" + Snippet() + "\"");
    }
    return node;
  }

 private:
  bool AtEnd() const { return pos_ >= text_.size(); }
  char Peek() const { return AtEnd() ? '\0' : text_[pos_]; }
  void SkipSpace() {
    while (!AtEnd() && IsSpace(text_[pos_])) ++pos_;
  }
  std::string Snippet() const {
    std::string_view rest = text_.substr(pos_);
    return std::string(rest.substr(0, std::min<size_t>(rest.size(), 20)));
  }
  // The bare word at the cursor (letters etc.), without consuming it.
  std::string_view PeekWord() const {
    size_t end = pos_;
    while (end < text_.size() && IsNameChar(text_[end])) ++end;
    return text_.substr(pos_, end - pos_);
  }
  bool TakeKeyword(std::string_view keyword) {
    SkipSpace();
    const std::string_view word = PeekWord();
    if (!KeywordIs(word, keyword)) return false;
    pos_ += word.size();
    return true;
  }

  std::unique_ptr<Node> Expression() {
    auto left = Term();
    while (TakeKeyword("OR")) {
      auto node = std::make_unique<Node>();
      node->kind = Node::Kind::Or;
      node->left = std::move(left);
      node->right = Term();
      left = std::move(node);
    }
    return left;
  }

  std::unique_ptr<Node> Term() {
    auto left = Factor();
    while (TakeKeyword("AND")) {
      auto node = std::make_unique<Node>();
      node->kind = Node::Kind::And;
      node->left = std::move(left);
      node->right = Factor();
      left = std::move(node);
    }
    return left;
  }

  std::unique_ptr<Node> Factor() {
    SkipSpace();
    if (AtEnd()) Fail(text_, pos_, "expected a field name or \"(\" but the filter ends");
    if (Peek() == '(') {
      const size_t open = pos_;
      ++pos_;
      if (++depth_ > 200) Fail(text_, open, "parentheses are nested too deeply");
      auto node = Expression();
      SkipSpace();
      if (Peek() != ')') Fail(text_, open, "this parenthesis is never closed");
      ++pos_;
      --depth_;
      return node;
    }
    return Clause();
  }

  std::unique_ptr<Node> Clause() {
    auto node = std::make_unique<Node>();
    node->kind = Node::Kind::Compare;
    const size_t nameAt = pos_;
    if (Peek() == '[') {
      const size_t close = text_.find(']', pos_ + 1);
      if (close == std::string_view::npos) Fail(text_, nameAt, "the bracketed field name is never closed");
      node->field = std::string(text_.substr(pos_ + 1, close - pos_ - 1));
      if (node->field.empty()) Fail(text_, nameAt, "the bracketed field name is empty");
      pos_ = close + 1;
    } else {
      const std::string_view word = PeekWord();
      if (word.empty()) Fail(text_, nameAt, "expected a field name, found \"" + Snippet() + "\"");
      if (KeywordIs(word, "AND") || KeywordIs(word, "OR") || KeywordIs(word, "LIKE") || KeywordIs(word, "NOT")) {
        Fail(text_, nameAt, "expected a field name, found the keyword " + std::string(word));
      }
      node->field = std::string(word);
      pos_ += word.size();
    }
    SkipSpace();
    const size_t opAt = pos_;
    if (text_.compare(pos_, 2, "<>") == 0) {
      node->op = Op::Ne;
      pos_ += 2;
    } else if (text_.compare(pos_, 2, "<=") == 0) {
      node->op = Op::Le;
      pos_ += 2;
    } else if (text_.compare(pos_, 2, ">=") == 0) {
      node->op = Op::Ge;
      pos_ += 2;
    } else if (Peek() == '=') {
      node->op = Op::Eq;
      ++pos_;
    } else if (Peek() == '<') {
      node->op = Op::Lt;
      ++pos_;
    } else if (Peek() == '>') {
      node->op = Op::Gt;
      ++pos_;
    } else if (TakeKeyword("LIKE")) {
      node->op = Op::Like;
    } else {
      Fail(text_, opAt,
           AtEnd() ? "the filter ends after the field name " + node->field
                   : "expected =, <>, <, >, <=, >= or LIKE after " + node->field + ", found \"" + Snippet() + "\"");
    }
    node->value = Value();
    if (node->op == Op::Like) Pattern(*node, opAt);
    return node;
  }

  Literal Value() {
    SkipSpace();
    const size_t at = pos_;
    Literal v;
    if (AtEnd()) Fail(text_, at, "expected a value but the filter ends");
    const char c = Peek();
    if (c == '\'') {
      ++pos_;
      v.kind = Literal::Kind::Text;
      for (;;) {
        if (AtEnd()) Fail(text_, at, "the quoted value is never closed");
        const char d = text_[pos_++];
        if (d == '\'') {
          if (Peek() == '\'') {
            v.text.push_back('\'');
            ++pos_;
            continue;
          }
          break;
        }
        v.text.push_back(d);
      }
      return v;
    }
    if (c == '#') {
      const size_t close = text_.find('#', pos_ + 1);
      if (close == std::string_view::npos) Fail(text_, at, "the date is never closed with #");
      v.kind = Literal::Kind::Date;
      v.text = std::string(text_.substr(pos_ + 1, close - pos_ - 1));
      const std::optional<Date> date = ParseDate(v.text);
      if (!date) Fail(text_, at, "#" + v.text + "# is not a date");
      v.number = date->serial;
      pos_ = close + 1;
      return v;
    }
    if (c == '"') Fail(text_, at, "values are quoted with ' not \"");
    const std::string_view word = PeekWord();
    if (KeywordIs(word, "NULL")) {
      v.kind = Literal::Kind::Null;
      v.text = "NULL";
      pos_ += word.size();
      return v;
    }
    // A number: sign, digits, point, exponent.
    size_t end = pos_;
    if (end < text_.size() && (text_[end] == '+' || text_[end] == '-')) ++end;
    const size_t digitsAt = end;
    while (end < text_.size() && ((text_[end] >= '0' && text_[end] <= '9') || text_[end] == '.')) ++end;
    if (end > digitsAt && end < text_.size() && (text_[end] == 'e' || text_[end] == 'E')) {
      size_t e = end + 1;
      if (e < text_.size() && (text_[e] == '+' || text_[e] == '-')) ++e;
      if (e < text_.size() && text_[e] >= '0' && text_[e] <= '9') {
        end = e;
        while (end < text_.size() && text_[end] >= '0' && text_[end] <= '9') ++end;
      }
    }
    std::string_view number = text_.substr(pos_, end - pos_);
    if (number.size() > 0 && number.front() == '+') number.remove_prefix(1);
    double d = 0;
    auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), d);
    if (end == digitsAt || ec != std::errc() || ptr != number.data() + number.size() ||
        (end < text_.size() && IsNameChar(text_[end]))) {
      Fail(text_, at, "expected a value ('text', a number, #date# or NULL), found \"" + Snippet() + "\"");
    }
    v.kind = Literal::Kind::Number;
    v.text = std::string(text_.substr(pos_, end - pos_));
    v.number = d;
    pos_ = end;
    return v;
  }

  void Pattern(Node& node, size_t at) {
    if (node.value.kind != Literal::Kind::Text) Fail(text_, at, "LIKE needs a quoted pattern");
    std::string_view p = node.value.text;
    const auto wild = [](char c) { return c == '*' || c == '%'; };
    if (!p.empty() && wild(p.front())) {
      node.likeStart = true;
      while (!p.empty() && wild(p.front())) p.remove_prefix(1);
    }
    if (!p.empty() && wild(p.back())) {
      node.likeEnd = true;
      while (!p.empty() && wild(p.back())) p.remove_suffix(1);
    }
    if (p.find_first_of("*%") != std::string_view::npos) {
      Fail(text_, at, "the pattern '" + node.value.text + "' has a wildcard inside; * and % may only begin or end it");
    }
    node.likeCore = std::string(p);
  }

  std::string_view text_;
  size_t pos_ = 0;
  int depth_ = 0;
};

void BindNode(Node& node, const std::function<int(std::string_view)>& resolve, const std::string& text) {
  if (node.kind != Node::Kind::Compare) {
    BindNode(*node.left, resolve, text);
    BindNode(*node.right, resolve, text);
    return;
  }
  node.fieldIndex = resolve(node.field);
  if (node.fieldIndex < 0) {
    Raise(aderr::kInvalidArgument,
          "The filter \"" + text + "\" cannot be used: the recordset has no field named " + node.field);
  }
}

bool Holds(Op op, int cmp) {
  switch (op) {
    case Op::Eq: return cmp == 0;
    case Op::Ne: return cmp != 0;
    case Op::Lt: return cmp < 0;
    case Op::Gt: return cmp > 0;
    case Op::Le: return cmp <= 0;
    case Op::Ge: return cmp >= 0;
    case Op::Like: return false;
  }
  return false;
}

int CompareNumbers(double a, double b) { return a < b ? -1 : (a > b ? 1 : 0); }

bool MatchLike(const Node& node, std::string_view s) {
  const std::string_view core = node.likeCore;
  if (node.likeStart && node.likeEnd) return core.empty() || detail::ContainsText(s, core);
  if (node.likeEnd) return detail::StartsWithText(s, core);
  if (node.likeStart) return detail::EndsWithText(s, core);
  return detail::CompareText(s, core) == 0;
}

// A number that a cell's value reads as, if any.
std::optional<double> AsNumber(const Variant& v) {
  if (v.IsNumberLike()) {
    try {
      return CDbl(v);
    } catch (...) {
      return std::nullopt;
    }
  }
  if (v.IsString()) return ParseNumber(v.str());
  return std::nullopt;
}

std::optional<double> AsDate(const Variant& v) {
  if (const Date* d = v.get_if<Date>()) return d->serial;
  if (v.IsNumberLike()) return AsNumber(v);
  if (v.IsString()) {
    if (auto d = ParseDate(v.str())) return d->serial;
  }
  return std::nullopt;
}

bool EvaluateCompare(const Node& node, const CellSource& cells) {
  const Literal& lit = node.value;
  std::string_view text;
  const bool isText = cells.Text(node.fieldIndex, text);
  if (isText && (lit.kind == Literal::Kind::Text || node.op == Op::Like)) {
    if (node.op == Op::Like) return MatchLike(node, text);
    return Holds(node.op, detail::CompareText(text, lit.text));
  }
  Variant v;
  if (isText) {
    v = Variant(std::string(text));
  } else {
    v = cells.Value(node.fieldIndex);
  }
  const bool empty = v.IsNull() || v.IsEmpty();
  if (lit.kind == Literal::Kind::Null) {
    if (node.op == Op::Eq) return empty;
    if (node.op == Op::Ne) return !empty;
    return false;
  }
  if (empty || v.IsObject() || v.IsArray() || v.IsError()) return false;
  if (node.op == Op::Like) {
    std::string s;
    try {
      s = CStr(v);
    } catch (...) {
      return false;
    }
    return MatchLike(node, s);
  }
  switch (lit.kind) {
    case Literal::Kind::Number: {
      if (auto n = AsNumber(v)) return Holds(node.op, CompareNumbers(*n, lit.number));
      break;
    }
    case Literal::Kind::Date: {
      if (auto n = AsDate(v)) return Holds(node.op, CompareNumbers(*n, lit.number));
      break;
    }
    case Literal::Kind::Text: {
      // A number or date cell against quoted text: numerically when the
      // text reads as one.
      if (v.get_if<Date>() != nullptr) {
        if (auto d = ParseDate(lit.text)) return Holds(node.op, CompareNumbers(v.get_if<Date>()->serial, d->serial));
      } else if (v.IsNumberLike()) {
        if (auto n = ParseNumber(lit.text)) {
          if (auto m = AsNumber(v)) return Holds(node.op, CompareNumbers(*m, *n));
        }
      }
      break;
    }
    case Literal::Kind::Null: break;
  }
  std::string s;
  try {
    s = CStr(v);
  } catch (...) {
    return false;
  }
  return Holds(node.op, detail::CompareText(s, lit.text));
}

bool Evaluate(const Node& node, const CellSource& cells) {
  switch (node.kind) {
    case Node::Kind::And: return Evaluate(*node.left, cells) && Evaluate(*node.right, cells);
    case Node::Kind::Or: return Evaluate(*node.left, cells) || Evaluate(*node.right, cells);
    case Node::Kind::Compare: return EvaluateCompare(node, cells);
  }
  return false;
}

const char* OpText(Op op) {
  switch (op) {
    case Op::Eq: return "=";
    case Op::Ne: return "<>";
    case Op::Lt: return "<";
    case Op::Gt: return ">";
    case Op::Le: return "<=";
    case Op::Ge: return ">=";
    case Op::Like: return "LIKE";
  }
  return "?";
}

void Print(const Node& node, std::string& out) {
  out += '(';
  if (node.kind == Node::Kind::Compare) {
    out += '[';
    out += node.field;
    out += "] ";
    out += OpText(node.op);
    out += ' ';
    switch (node.value.kind) {
      case Literal::Kind::Text:
        out += '\'';
        for (char c : node.value.text) {
          if (c == '\'') out += '\'';
          out += c;
        }
        out += '\'';
        break;
      case Literal::Kind::Number: out += FormatDouble(node.value.number); break;
      case Literal::Kind::Date: out += "#" + node.value.text + "#"; break;
      case Literal::Kind::Null: out += "NULL"; break;
    }
  } else {
    Print(*node.left, out);
    out += node.kind == Node::Kind::And ? " AND " : " OR ";
    Print(*node.right, out);
  }
  out += ')';
}

}  // namespace

Expression::~Expression() = default;

Expression Expression::Parse(std::string_view text) {
  Expression e;
  e.root_ = Parser(text).Run();
  e.text_ = std::string(text);
  return e;
}

void Expression::Bind(const std::function<int(std::string_view)>& resolve) {
  if (root_) BindNode(*root_, resolve, text_);
}

bool Expression::Matches(const CellSource& cells) const { return root_ ? Evaluate(*root_, cells) : true; }

std::string Expression::ToString() const {
  std::string out;
  if (root_) Print(*root_, out);
  return out;
}

}  // namespace vantrove::filter

#include "description_reader.hpp"

#include <cstdlib>
#include "vantrove/engine/utf8.hpp"

namespace vantrove::engine::testing {

namespace {


}  // namespace

std::string UnescapeValue(std::string_view in) {
  std::string out;
  for (size_t i = 0; i < in.size(); ++i) {
    const auto c = static_cast<unsigned char>(in[i]);
    if (c == '&') {
      const size_t semi = in.find(';', i);
      const std::string entity(in.substr(i + 1, semi - i - 1));
      if (entity == "amp") out += '&';
      else if (entity == "lt") out += '<';
      else if (entity == "gt") out += '>';
      else if (entity == "quot") out += '"';
      else if (entity == "apos") out += '\'';
      else if (!entity.empty() && entity[0] == '#') vantrove::engine::AppendUtf8(out, std::strtoul(entity.c_str() + 1, nullptr, 10));
      else out += "&" + entity + ";";
      i = semi;
      continue;
    }
    vantrove::engine::AppendUtf8(out, c);
  }
  return out;
}

Node ParseDescription(const std::string& text, std::string& error) {
  Node root;
  std::vector<Node*> stack{&root};
  size_t start = 0;
  size_t line_number = 0;
  while (start < text.size()) {
    size_t end = text.find("\r\n", start);
    if (end == std::string::npos) {
      error = "last line has no CR LF";
      return root;
    }
    const std::string line = text.substr(start, end - start);
    start = end + 2;
    ++line_number;
    auto bad = [&](const char* why) { error = "line " + std::to_string(line_number) + " (" + why + "): " + line; };
    if (line.find('\n') != std::string::npos || line.find('\r') != std::string::npos) {
      bad("bare line break");
      return root;
    }
    if (line_number == 1) {
      if (line != "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>") bad("declaration");
      continue;
    }
    if (line_number == 2) {
      if (!line.empty()) bad("second line must be empty");
      continue;
    }
    if (line.size() < 3 || line.front() != '<' || line.back() != '>') {
      bad("not one element");
      return root;
    }
    if (line[1] == '/') {
      const std::string tag = line.substr(2, line.size() - 3);
      if (stack.size() < 2 || stack.back()->tag != tag) {
        bad("unbalanced end tag");
        return root;
      }
      stack.pop_back();
      continue;
    }
    const size_t close = line.find('>');
    if (close + 1 == line.size()) {
      // A start tag, maybe with name='..'.
      Node node;
      const std::string inside = line.substr(1, line.size() - 2);
      const size_t space = inside.find(" name='");
      if (space != std::string::npos) {
        if (inside.back() != '\'') {
          bad("name attribute");
          return root;
        }
        node.tag = inside.substr(0, space);
        node.name = UnescapeValue(inside.substr(space + 7, inside.size() - space - 8));
        node.has_name = true;
      } else {
        node.tag = inside;
      }
      stack.back()->children.push_back(std::move(node));
      stack.push_back(&stack.back()->children.back());
      continue;
    }
    const std::string tag = line.substr(1, close - 1);
    const std::string closing = "</" + tag + ">";
    if (line.size() < closing.size() + close + 1 || line.compare(line.size() - closing.size(), closing.size(), closing) != 0) {
      bad("leaf not closed on its line");
      return root;
    }
    const std::string value = line.substr(close + 1, line.size() - closing.size() - close - 1);
    if (value.find('<') != std::string::npos || value.find('>') != std::string::npos ||
        value.find('=') != std::string::npos) {
      bad("unescaped markup in a value");
      return root;
    }
    stack.back()->leaves.emplace_back(tag, UnescapeValue(value));
  }
  if (stack.size() != 1) error = "unclosed element " + stack.back()->tag;
  return root;
}

}  // namespace vantrove::engine::testing

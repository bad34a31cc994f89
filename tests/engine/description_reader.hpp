#pragma once
// Test helper: reads a description back into a tree, one element per line,
// the way the line-oriented consumers do. Fails loudly on a line that is
// not exactly one start tag, end tag or leaf element.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrove::engine::testing {

struct Node {
  std::string tag;
  std::string name;       // the name='..' attribute, unescaped
  bool has_name = false;
  std::vector<std::pair<std::string, std::string>> leaves;  // unescaped UTF-8 values, in order
  std::vector<Node> children;

  std::string Leaf(std::string_view leaf_tag) const {
    for (const auto& [t, v] : leaves) {
      if (t == leaf_tag) return v;
    }
    return "<missing " + std::string(leaf_tag) + ">";
  }
  const Node* Child(std::string_view child_tag) const {
    for (const Node& child : children) {
      if (child.tag == child_tag) return &child;
    }
    return nullptr;
  }
};

// Resolves the five entities and numeric references; bytes are ISO-8859-1.
std::string UnescapeValue(std::string_view latin1);

// Parses the description; on a malformed line `error` says which.
Node ParseDescription(const std::string& text, std::string& error);

}  // namespace vantrove::engine::testing

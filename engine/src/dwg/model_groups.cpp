#include "dwg/model_groups.hpp"

namespace vantrove::engine::dwg {

GroupSpan SourceGroups(const Document& doc, const Object& object) { return doc.Groups(object); }

const Group* GroupView::Find(int32_t code) const {
  int depth = 0;
  for (const Group& g : g_) {
    if (g.code == 102) {
      depth += g.value().starts_with("{") ? 1 : -1;
      continue;
    }
    if (depth <= 0 && g.code == code) return &g;
  }
  return nullptr;
}

double GroupView::Real(int32_t code, double fallback) const {
  const Group* g = Find(code);
  return g == nullptr ? fallback : g->AsDouble(fallback);
}

int64_t GroupView::Int(int32_t code, int64_t fallback) const {
  const Group* g = Find(code);
  return g == nullptr ? fallback : g->AsInt(fallback);
}

std::string_view GroupView::Text(int32_t code, std::string_view fallback) const {
  const Group* g = Find(code);
  return g == nullptr ? fallback : g->value();
}

engine::Point3 GroupView::Point(int32_t code, engine::Point3 fallback) const {
  return engine::Point3{Real(code, fallback.x), Real(code + 10, fallback.y), Real(code + 20, fallback.z)};
}

GroupView GroupView::Part(std::string_view marker) const {
  for (size_t i = 0; i < g_.size(); ++i) {
    if (g_[i].code != 100 || g_[i].value() != marker) continue;
    size_t end = i + 1;
    while (end < g_.size() && g_[end].code != 100) ++end;
    return GroupView(g_.subspan(i + 1, end - i - 1));
  }
  return GroupView();
}

}  // namespace vantrove::engine::dwg

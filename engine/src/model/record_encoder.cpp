#include "model/record_encoder.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace vantrove::engine::types {

size_t RealChars(double value, char* out) {
  if (!std::isfinite(value)) value = 0.0;
  if (value == 0.0) value = 0.0;  // no "-0.0"
  char buffer[32];
  const char* begin = buffer;
  const char* end = std::to_chars(buffer, buffer + sizeof(buffer), value).ptr;
  const char* e = std::find(begin, end, 'e');
  size_t n = 0;
  for (const char* c = begin; c != e; ++c) out[n++] = *c;
  if (std::find(begin, e, '.') == e) {
    out[n++] = '.';
    out[n++] = '0';
  }
  if (e != end) {
    out[n++] = 'E';
    for (const char* c = e + 1; c != end; ++c) out[n++] = *c;
  }
  return n;
}

std::string RealText(double value) {
  char buffer[kRealChars];
  return std::string(buffer, RealChars(value, buffer));
}

FieldValues::Value& FieldValues::Slot(std::string_view name) {
  for (Value& v : values_) {
    if (v.name == name) return v;
  }
  values_.emplace_back();
  values_.back().name = name;
  return values_.back();
}

const FieldValues::Value* FieldValues::Find(std::string_view name) const {
  for (const Value& v : values_) {
    if (v.name == name) return &v;
  }
  return nullptr;
}

void FieldValues::Text(std::string_view name, std::string_view value) {
  Value& v = Slot(name);
  v.text[0] = std::string(value);
  v.count = 1;
}

void FieldValues::Real(std::string_view name, double value) {
  Value& v = Slot(name);
  v.text[0] = RealText(value);
  v.count = 1;
}

void FieldValues::Angle(std::string_view name, double radians) {
  Real(name, radians * 180.0 / std::numbers::pi);
}

void FieldValues::Int(std::string_view name, int64_t value) {
  Value& v = Slot(name);
  v.text[0] = std::to_string(value);
  v.count = 1;
}

void FieldValues::Point(std::string_view name, double x, double y, double z) {
  Value& v = Slot(name);
  v.text[0] = RealText(x);
  v.text[1] = RealText(y);
  v.text[2] = RealText(z);
  v.count = 3;
}

void FieldValues::Ref(std::string_view name, Handle handle) {
  if (handle == kNoHandle) return;
  Value& v = Slot(name);
  v.text[0] = FormatHandle(handle);
  v.count = 1;
}

void FieldValues::Append(std::string_view name, int32_t code, std::string_view value) {
  Slot(name).groups.emplace_back(code, std::string(value));
}

void FieldValues::SetGroupText(std::string_view name, size_t index, std::string_view value) {
  for (Value& v : values_) {
    if (v.name == name && index < v.groups.size()) v.groups[index].second = std::string(value);
  }
}

namespace {

class Builder {
 public:
  Builder(TextArena& arena) : arena_(arena) {}
  void Put(int32_t code, std::string_view value) { out_.emplace_back(code, arena_.Store(value)); }
  void Handle(int32_t code, engine::Handle h) { Put(code, FormatHandle(h)); }
  void Field(const types::Field& field, const FieldValues& values);
  std::vector<Group> Take() { return std::move(out_); }

 private:
  void LongText(int32_t code, std::string_view text);
  TextArena& arena_;
  std::vector<Group> out_;
};

// Splits text into 3 groups of 250 bytes and a final `code` group, never
// inside a UTF-8 sequence.
void Builder::LongText(int32_t code, std::string_view text) {
  constexpr size_t kChunk = 250;
  while (text.size() > kChunk) {
    size_t cut = kChunk;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
    if (cut == 0) cut = kChunk;
    Put(3, text.substr(0, cut));
    text.remove_prefix(cut);
  }
  Put(code, text);
}

// Splits "x,y,z" fallbacks.
std::vector<std::string_view> Split(std::string_view text) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  for (;;) {
    const size_t comma = text.find(',', start);
    parts.push_back(text.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start));
    if (comma == std::string_view::npos) break;
    start = comma + 1;
  }
  return parts;
}

void Builder::Field(const types::Field& field, const FieldValues& values) {
  const FieldValues::Value* v = values.Find(field.name);
  if (field.kind == Kind::kGroups) {
    if (v != nullptr) {
      for (const auto& [code, text] : v->groups) Put(code, text);
    }
    return;
  }
  // A field without a value and without a fallback is left out; an empty
  // fallback ("") writes an empty value.
  if (v == nullptr && field.fallback.data() == nullptr) return;
  const int axes = field.kind == Kind::kPoint3 ? 3 : field.kind == Kind::kPoint2 ? 2 : 1;
  std::vector<std::string_view> texts;
  if (v != nullptr) {
    for (int i = 0; i < axes; ++i) texts.push_back(i < v->count ? std::string_view(v->text[i]) : "0.0");
  } else {
    texts = Split(field.fallback);
    while (static_cast<int>(texts.size()) < axes) texts.push_back("0.0");
  }
  if (field.kind == Kind::kLongText) {
    LongText(field.code, texts[0]);
    return;
  }
  for (int i = 0; i < axes; ++i) Put(field.code + 10 * i, texts[static_cast<size_t>(i)]);
}

}  // namespace

std::vector<Group> EncodeRecord(const TypeDesc& desc, const RecordHead& head, const FieldValues& values, int rank,
                                TextArena& arena) {
  Builder out(arena);
  const bool modern = rank >= kR13;
  for (const types::Field& f : desc.leading) {
    if (f.In(rank)) out.Field(f, values);
  }
  if (head.handle != kNoHandle) out.Handle(desc.handle_code, head.handle);
  if (modern) {
    if (!head.reactors.empty()) {
      out.Put(102, "{ACAD_REACTORS");
      for (Handle h : head.reactors) out.Handle(330, h);
      out.Put(102, "}");
    }
    if (head.xdictionary != kNoHandle) {
      out.Put(102, "{ACAD_XDICTIONARY");
      out.Handle(360, head.xdictionary);
      out.Put(102, "}");
    }
    out.Handle(330, head.owner);
  }
  auto part = [&](const Part& p) {
    if (p.from > kR13 && rank < p.from) return;  // a part later versions added
    if (modern && !p.marker.empty()) out.Put(100, p.marker);
    for (const types::Field& f : p.fields) {
      if (f.In(rank)) out.Field(f, values);
    }
  };
  if (desc.entity) part(EntityPart());
  for (const Part& p : desc.parts) part(p);
  return out.Take();
}

}  // namespace vantrove::engine::types

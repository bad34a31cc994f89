#include "json_variant.hpp"

#include <cmath>
#include <cstdio>
#include <limits>

#include "json_text.hpp"

namespace vantrove::cli {

using simdjson::dom::element;
using simdjson::dom::element_type;

int64_t ObjectTable::Add(const ObjectRef& obj) {
  for (const auto& [id, o] : byId_) {
    if (o == obj) return id;
  }
  byId_[next_] = obj;
  return next_++;
}

ObjectRef ObjectTable::Get(int64_t id) const {
  auto it = byId_.find(id);
  if (it == byId_.end()) Raise(err::kObjectNotSet, "No object has the id " + std::to_string(id));
  return it->second;
}

void ObjectTable::Release(int64_t id) { byId_.erase(id); }

namespace {

[[noreturn]] void Bad(const std::string& what) { Raise(err::kTypeMismatch, what); }

int32_t ToInt32(element j) {
  if (j.type() != element_type::INT64 && j.type() != element_type::UINT64) Bad("an array bound must be a whole number");
  int64_t v = 0;
  if (j.get_int64().get(v) != simdjson::SUCCESS || v < std::numeric_limits<int32_t>::min() ||
      v > std::numeric_limits<int32_t>::max()) {
    Raise(err::kOverflow);
  }
  return static_cast<int32_t>(v);
}

Variant Number(element j) {
  if (j.type() == element_type::INT64) {
    const int64_t v = j.get_int64().value_unsafe();
    if (v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max()) {
      return Variant(static_cast<int32_t>(v));
    }
    return Variant(static_cast<double>(v));
  }
  if (j.type() == element_type::UINT64) return Variant(static_cast<double>(j.get_uint64().value_unsafe()));
  return Variant(j.get_double().value_unsafe());
}

// Element count of a parsed array; the parser's own count saturates.
size_t CountOf(simdjson::dom::array a) {
  size_t n = a.size();
  if (n < 0xFFFFFF) return n;
  n = 0;
  for ([[maybe_unused]] element e : a) ++n;
  return n;
}

int32_t Extent(size_t n) {
  if (n > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Raise(err::kOutOfMemory, "the array has too many elements");
  return static_cast<int32_t>(n);
}

Variant ArrayFrom(simdjson::dom::array rows, const element* lbound, const ObjectTable& objects) {
  const size_t n = CountOf(rows);
  bool twoD = n > 0;
  for (element r : rows) {
    if (!twoD) break;
    twoD = r.type() == element_type::ARRAY;
  }
  std::vector<int32_t> lower;
  if (lbound != nullptr) {
    if (lbound->type() != element_type::ARRAY) Bad("lbound must be a list of lower bounds");
    for (element b : AsArray(*lbound)) lower.push_back(ToInt32(b));
  }
  const size_t dims = twoD ? 2 : 1;
  if (!lower.empty() && lower.size() != dims) Bad("lbound must name one lower bound per dimension");
  lower.resize(dims, 0);
  if (!twoD) {
    std::vector<Variant> items;
    items.reserve(n);
    for (element e : rows) items.push_back(FromJson(e, objects));
    Extent(items.size());
    return Variant(SafeArray::Vector(std::move(items), lower[0]));
  }
  const size_t cols = CountOf(AsArray((*rows.begin())));
  for (element r : rows) {
    if (CountOf(AsArray(r)) != cols) {
      Bad("the rows of a two-dimensional array must all have the same length");
    }
  }
  if (cols > 0 && n > static_cast<size_t>(std::numeric_limits<int32_t>::max()) / cols) {
    Raise(err::kOutOfMemory, "the array has too many elements");
  }
  SafeArray a = SafeArray::Matrix(Extent(n), Extent(cols), lower[0], lower[1]);
  Variant* cell = a.data().data();
  for (element r : rows) {
    for (element e : AsArray(r)) *cell++ = FromJson(e, objects);
  }
  return Variant(std::move(a));
}

Variant Typed(std::string_view type, const Variant& v) {
  static const std::map<std::string, VarType, std::less<>> kTypes = {
      {"Integer", VarType::Integer}, {"Long", VarType::Long},         {"Single", VarType::Single},
      {"Double", VarType::Double},   {"Currency", VarType::Currency}, {"Date", VarType::Date},
      {"String", VarType::String},   {"Boolean", VarType::Boolean},   {"Byte", VarType::Byte},
      {"Empty", VarType::Empty},     {"Null", VarType::Null}};
  auto it = kTypes.find(type);
  if (it == kTypes.end()) Bad("unknown type \"" + std::string(type) + "\"");
  return ConvertTo(v, it->second);
}

std::string_view StringField(element j, const char* key) {
  std::string_view s;
  if (j.get_string().get(s) != simdjson::SUCCESS) Bad(std::string("\"") + key + "\" must be a string");
  return s;
}

Variant FromObject(simdjson::dom::object o, const ObjectTable& objects) {
  element f;
  if (o["missing"].get(f) == simdjson::SUCCESS) return Variant::Missing();
  if (o["empty"].get(f) == simdjson::SUCCESS) return Variant();
  if (o["unallocated"].get(f) == simdjson::SUCCESS) return Variant(SafeArray());
  if (o["object"].get(f) == simdjson::SUCCESS) {
    int64_t id = 0;
    if (f.get_int64().get(id) != simdjson::SUCCESS) Bad("\"object\" must be an object id");
    return Variant(objects.Get(id));
  }
  if (o["array"].get(f) == simdjson::SUCCESS) {
    if (f.type() != element_type::ARRAY) Bad("\"array\" must hold a list");
    element lb;
    const bool hasLower = o["lbound"].get(lb) == simdjson::SUCCESS;
    return ArrayFrom(AsArray(f), hasLower ? &lb : nullptr, objects);
  }
  if (o["date"].get(f) == simdjson::SUCCESS) return Variant(CDate(Variant(StringField(f, "date"))));
  if (o["currency"].get(f) == simdjson::SUCCESS) return Variant(CCur(FromJson(f, objects)));
  if (o["type"].get(f) == simdjson::SUCCESS) {
    element value;
    const Variant v = o["value"].get(value) == simdjson::SUCCESS ? FromJson(value, objects) : Variant::Null();
    return Typed(StringField(f, "type"), v);
  }
  Bad("an object argument needs one of missing, empty, unallocated, object, array, date, currency or type");
}

void AppendDate(std::string& out, Date d) {
  const DateParts p = SplitDate(d);
  char buf[48];
  const int n = std::snprintf(buf, sizeof buf, "{\"date\":\"%04d-%02d-%02dT%02d:%02d:%02d\"}", p.year, p.month,
                              p.day, p.hour, p.minute, p.second);
  out.append(buf, static_cast<size_t>(n));
}

void AppendObject(std::string& out, const ObjectRef& o, ObjectTable& objects) {
  if (!o) {
    out += "{\"object\":null}";
    return;
  }
  out += "{\"class\":";
  AppendJsonString(out, o->ClassName());
  out += ",\"object\":";
  AppendJsonInt(out, objects.Add(o));
  out += '}';
}

void AppendList(std::string& out, const Variant* first, size_t n, ObjectTable& objects) {
  out += '[';
  for (size_t i = 0; i < n; ++i) {
    if (i > 0) out += ',';
    AppendJson(out, first[i], objects);
  }
  out += ']';
}

void AppendArray(std::string& out, const SafeArray& a, ObjectTable& objects) {
  if (!a.allocated()) {
    out += "{\"unallocated\":true}";
    return;
  }
  bool zeroBased = true;
  for (const Bounds& b : a.bounds()) zeroBased = zeroBased && b.lower == 0;
  const Variant* cells = a.data().data();
  const bool plain = a.dims() <= 2;
  if (!zeroBased || !plain) out += "{\"array\":";
  if (a.dims() == 2) {
    const auto rows = static_cast<size_t>(a.bounds()[0].count());
    const auto cols = static_cast<size_t>(a.bounds()[1].count());
    out += '[';
    for (size_t r = 0; r < rows; ++r) {
      if (r > 0) out += ',';
      AppendList(out, cells + r * cols, cols, objects);
    }
    out += ']';
  } else {
    // One dimension, or more: the elements in storage order.
    AppendList(out, cells, a.size(), objects);
  }
  if (!plain) {
    out += ",\"bounds\":[";
    for (size_t i = 0; i < a.bounds().size(); ++i) {
      if (i > 0) out += ',';
      out += '[';
      AppendJsonInt(out, a.bounds()[i].lower);
      out += ',';
      AppendJsonInt(out, a.bounds()[i].upper);
      out += ']';
    }
    out += "]}";
  } else if (!zeroBased) {
    out += ",\"lbound\":[";
    for (size_t i = 0; i < a.bounds().size(); ++i) {
      if (i > 0) out += ',';
      AppendJsonInt(out, a.bounds()[i].lower);
    }
    out += "]}";
  }
}

}  // namespace

Variant FromJson(element j, const ObjectTable& objects) {
  switch (j.type()) {
    case element_type::NULL_VALUE: return Variant::Null();
    case element_type::BOOL: return Variant(j.get_bool().value_unsafe());
    case element_type::STRING: return Variant(j.get_string().value_unsafe());
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE: return Number(j);
    case element_type::ARRAY: return ArrayFrom(AsArray(j), nullptr, objects);
    case element_type::OBJECT: return FromObject(AsObject(j), objects);
  }
  Bad("unsupported JSON value");
}

void AppendJson(std::string& out, const Variant& v, ObjectTable& objects) {
  switch (v.type()) {
    case VarType::Empty: out += "{\"empty\":true}"; return;
    case VarType::Null: out += "null"; return;
    case VarType::Integer: AppendJsonInt(out, *v.get_if<int16_t>()); return;
    case VarType::Long: AppendJsonInt(out, *v.get_if<int32_t>()); return;
    case VarType::Byte: AppendJsonInt(out, *v.get_if<uint8_t>()); return;
    case VarType::Single: AppendJsonDouble(out, static_cast<double>(*v.get_if<float>())); return;
    case VarType::Double: {
      const double d = *v.get_if<double>();
      if (std::isfinite(d)) {
        AppendJsonDouble(out, d);
      } else {
        AppendJsonString(out, CStr(v));
      }
      return;
    }
    case VarType::Boolean: out += *v.get_if<bool>() ? "true" : "false"; return;
    case VarType::String: AppendJsonString(out, v.str()); return;
    case VarType::Currency:
      out += "{\"currency\":";
      AppendJsonString(out, CStr(v));
      out += '}';
      return;
    case VarType::Date: AppendDate(out, *v.get_if<Date>()); return;
    case VarType::Error:
      if (v.IsMissing()) {
        out += "{\"missing\":true}";
      } else {
        out += "{\"error\":";
        AppendJsonInt(out, v.get_if<ErrorValue>()->scode);
        out += '}';
      }
      return;
    case VarType::Object: AppendObject(out, v.object(), objects); return;
    default: break;
  }
  AppendArray(out, v.array(), objects);
}

std::string ToJsonText(const Variant& v, ObjectTable& objects) {
  std::string out;
  AppendJson(out, v, objects);
  return out;
}

}  // namespace vantrove::cli

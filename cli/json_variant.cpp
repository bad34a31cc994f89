#include "json_variant.hpp"

#include <cmath>
#include <cstdio>
#include <limits>

namespace vantrove::cli {

using nlohmann::json;

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

int32_t ToInt32(const json& j) {
  if (!j.is_number_integer()) Bad("an array bound must be a whole number");
  const auto v = j.get<int64_t>();
  if (v < std::numeric_limits<int32_t>::min() || v > std::numeric_limits<int32_t>::max()) Raise(err::kOverflow);
  return static_cast<int32_t>(v);
}

Variant Number(const json& j) {
  if (j.is_number_integer()) {
    if (j.is_number_unsigned()) {
      const auto u = j.get<uint64_t>();
      if (u <= static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) return Variant(static_cast<int32_t>(u));
      return Variant(static_cast<double>(u));
    }
    const auto v = j.get<int64_t>();
    if (v >= std::numeric_limits<int32_t>::min() && v <= std::numeric_limits<int32_t>::max()) {
      return Variant(static_cast<int32_t>(v));
    }
    return Variant(static_cast<double>(v));
  }
  return Variant(j.get<double>());
}

Variant ArrayFrom(const json& rows, const json* lbound, const ObjectTable& objects) {
  const bool twoD = !rows.empty() && std::all_of(rows.begin(), rows.end(), [](const json& r) { return r.is_array(); });
  std::vector<int32_t> lower;
  if (lbound != nullptr) {
    if (!lbound->is_array()) Bad("lbound must be a list of lower bounds");
    for (const json& b : *lbound) lower.push_back(ToInt32(b));
  }
  const size_t dims = twoD ? 2 : 1;
  if (!lower.empty() && lower.size() != dims) Bad("lbound must name one lower bound per dimension");
  lower.resize(dims, 0);
  if (!twoD) {
    std::vector<Variant> items;
    for (const json& e : rows) items.push_back(FromJson(e, objects));
    return Variant(SafeArray::Vector(std::move(items), lower[0]));
  }
  const size_t cols = rows.front().size();
  for (const json& r : rows) {
    if (r.size() != cols) Bad("the rows of a two-dimensional array must all have the same length");
  }
  SafeArray a = SafeArray::Matrix(static_cast<int32_t>(rows.size()), static_cast<int32_t>(cols), lower[0], lower[1]);
  for (size_t r = 0; r < rows.size(); ++r) {
    for (size_t c = 0; c < cols; ++c) {
      a.at(lower[0] + static_cast<int32_t>(r), lower[1] + static_cast<int32_t>(c)) = FromJson(rows[r][c], objects);
    }
  }
  return Variant(std::move(a));
}

Variant Typed(const std::string& type, const json& value, const ObjectTable& objects) {
  const Variant v = FromJson(value, objects);
  static const std::map<std::string, VarType> kTypes = {
      {"Integer", VarType::Integer}, {"Long", VarType::Long},         {"Single", VarType::Single},
      {"Double", VarType::Double},   {"Currency", VarType::Currency}, {"Date", VarType::Date},
      {"String", VarType::String},   {"Boolean", VarType::Boolean},   {"Byte", VarType::Byte},
      {"Empty", VarType::Empty},     {"Null", VarType::Null}};
  auto it = kTypes.find(type);
  if (it == kTypes.end()) Bad("unknown type \"" + type + "\"");
  return ConvertTo(v, it->second);
}

}  // namespace

Variant FromJson(const json& j, const ObjectTable& objects) {
  switch (j.type()) {
    case json::value_t::null: return Variant::Null();
    case json::value_t::boolean: return Variant(j.get<bool>());
    case json::value_t::string: return Variant(j.get<std::string>());
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float: return Number(j);
    case json::value_t::array: return ArrayFrom(j, nullptr, objects);
    case json::value_t::object: {
      if (j.contains("missing")) return Variant::Missing();
      if (j.contains("empty")) return Variant();
      if (j.contains("unallocated")) return Variant(SafeArray());
      if (j.contains("object")) return Variant(objects.Get(j["object"].get<int64_t>()));
      if (j.contains("array")) {
        const json& rows = j["array"];
        if (!rows.is_array()) Bad("\"array\" must hold a list");
        return ArrayFrom(rows, j.contains("lbound") ? &j["lbound"] : nullptr, objects);
      }
      if (j.contains("date")) return Variant(CDate(Variant(j["date"].get<std::string>())));
      if (j.contains("currency")) return Variant(CCur(FromJson(j["currency"], objects)));
      if (j.contains("type")) return Typed(j["type"].get<std::string>(), j.value("value", json()), objects);
      Bad("an object argument needs one of missing, empty, unallocated, object, array, date, currency or type");
    }
    default: Bad("unsupported JSON value");
  }
}

json ToJson(const Variant& v, ObjectTable& objects) {
  switch (v.type()) {
    case VarType::Empty: return json{{"empty", true}};
    case VarType::Null: return nullptr;
    case VarType::Integer: return *v.get_if<int16_t>();
    case VarType::Long: return *v.get_if<int32_t>();
    case VarType::Byte: return *v.get_if<uint8_t>();
    case VarType::Single: return static_cast<double>(*v.get_if<float>());
    case VarType::Double: {
      const double d = *v.get_if<double>();
      if (!std::isfinite(d)) return CStr(v);
      return d;
    }
    case VarType::Boolean: return *v.get_if<bool>();
    case VarType::String: return v.str();
    case VarType::Currency: return json{{"currency", CStr(v)}};
    case VarType::Date: {
      const DateParts p = SplitDate(*v.get_if<Date>());
      char buf[32];
      std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02d", p.year, p.month, p.day, p.hour, p.minute,
                    p.second);
      return json{{"date", buf}};
    }
    case VarType::Error:
      if (v.IsMissing()) return json{{"missing", true}};
      return json{{"error", v.get_if<ErrorValue>()->scode}};
    case VarType::Object: {
      const ObjectRef& o = v.object();
      if (!o) return json{{"object", nullptr}};
      return json{{"object", objects.Add(o)}, {"class", o->ClassName()}};
    }
    default: break;
  }
  const SafeArray& a = v.array();
  if (!a.allocated()) return json{{"unallocated", true}};
  json out = json::array();
  bool zeroBased = true;
  for (const Bounds& b : a.bounds()) zeroBased = zeroBased && b.lower == 0;
  if (a.dims() == 1) {
    for (const Variant& e : a.data()) out.push_back(ToJson(e, objects));
  } else if (a.dims() == 2) {
    for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) {
      json row = json::array();
      for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) row.push_back(ToJson(a.at(r, c), objects));
      out.push_back(std::move(row));
    }
  } else {
    // More dimensions: the elements in storage order, with their bounds.
    for (const Variant& e : a.data()) out.push_back(ToJson(e, objects));
    json bounds = json::array();
    for (const Bounds& b : a.bounds()) bounds.push_back({b.lower, b.upper});
    return json{{"array", out}, {"bounds", bounds}};
  }
  if (zeroBased) return out;
  json lower = json::array();
  for (const Bounds& b : a.bounds()) lower.push_back(b.lower);
  return json{{"array", out}, {"lbound", lower}};
}

}  // namespace vantrove::cli

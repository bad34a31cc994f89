#include "convert.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace vantrove::python {

namespace {

// Nesting deeper than this is refused rather than recursed into.
constexpr int kMaxDepth = 64;

py::object& Wrapper() {
  static py::object* wrapper = new py::object();  // lives as long as the interpreter
  return *wrapper;
}

// The standard modules used for dates and money, imported once and kept for
// the life of the process.
py::object Attr(const char* module, const char* name) {
  static py::module_* datetime = new py::module_(py::module_::import("datetime"));
  static py::module_* decimal = new py::module_(py::module_::import("decimal"));
  return (std::string_view(module) == "datetime" ? *datetime : *decimal).attr(name);
}

bool IsInstance(py::handle value, const char* module, const char* name) {
  return PyObject_IsInstance(value.ptr(), Attr(module, name).ptr()) == 1;
}

// NumPy, when the caller has it loaded (an array can only come from there).
py::object NumPy() {
  py::dict modules = py::module_::import("sys").attr("modules");
  if (!modules.contains("numpy")) return py::none();
  return modules["numpy"];
}

[[noreturn]] void Mismatch(py::handle value, const std::string& why = {}) {
  std::string type = py::str(py::type::handle_of(value).attr("__name__"));
  Raise(err::kTypeMismatch, "Type mismatch: a Python " + type + " cannot be passed" + (why.empty() ? "" : ": " + why));
}

// ---- Dates: days since 1899-12-30, the fraction being the time of day (for
// days before the epoch the fraction still counts forward from midnight).

Variant DateFrom(py::handle value) {
  py::object dt = py::reinterpret_borrow<py::object>(value);
  if (IsInstance(value, "datetime", "time")) {
    dt = Attr("datetime", "datetime").attr("combine")(Attr("datetime", "date")(1899, 12, 30), dt);
  } else if (!IsInstance(value, "datetime", "datetime")) {
    dt = Attr("datetime", "datetime")(dt.attr("year"), dt.attr("month"), dt.attr("day"));
  }
  dt = dt.attr("replace")(py::arg("tzinfo") = py::none());
  py::object delta = dt - Attr("datetime", "datetime")(1899, 12, 30);
  const double days = py::cast<double>(delta.attr("days"));
  const double fraction =
      (py::cast<double>(delta.attr("seconds")) + py::cast<double>(delta.attr("microseconds")) / 1e6) / 86400.0;
  return Variant(Date{days >= 0 ? days + fraction : days - fraction});
}

py::object DateTo(Date d) {
  const double day = d.serial >= 0 ? std::floor(d.serial) : std::ceil(d.serial);
  const double fraction = std::fabs(d.serial - day);
  const long long micros = std::llround(fraction * 86400e6);
  py::object epoch = Attr("datetime", "datetime")(1899, 12, 30);
  py::object delta = Attr("datetime", "timedelta")(py::arg("days") = static_cast<long long>(day),
                                                    py::arg("microseconds") = micros);
  return epoch + delta;
}

// ---- Currency: a fixed-point number with four decimals.

Variant CurrencyFrom(py::handle value) {
  py::object decimal = Attr("decimal", "Decimal");
  py::object d = decimal(value);
  if (!py::cast<bool>(d.attr("is_finite")())) Raise(err::kOverflow, "Overflow: " + std::string(py::str(d)));
  py::object scaled = d.attr("scaleb")(4).attr("to_integral_value")(py::arg("rounding") = Attr("decimal", "ROUND_HALF_EVEN"));
  py::int_ whole(scaled);
  int overflow = 0;
  const long long n = PyLong_AsLongLongAndOverflow(whole.ptr(), &overflow);
  if (overflow != 0) Raise(err::kOverflow, "Overflow: " + std::string(py::str(d)) + " is outside the Currency range");
  return Variant(Currency{n});
}

py::object CurrencyTo(Currency c) {
  return Attr("decimal", "Decimal")(static_cast<long long>(c.scaled)).attr("scaleb")(-4);
}

// ---- Arrays

bool IsSequence(py::handle value) { return PyList_Check(value.ptr()) || PyTuple_Check(value.ptr()); }

Variant FromNested(py::handle value, int depth);

// A list of equally long lists is a 2-D array; any other list a 1-D one.
Variant ArrayFrom(py::handle value, int depth) {
  if (depth > kMaxDepth) Raise(err::kOutOfMemory, "Out of memory: arrays nested deeper than 64 levels");
  py::sequence items = py::reinterpret_borrow<py::sequence>(value);
  const size_t n = items.size();
  if (n == 0) return Variant(SafeArray());
  if (n > static_cast<size_t>(std::numeric_limits<int32_t>::max())) Raise(err::kOutOfMemory);
  bool rows = true;
  size_t width = 0;
  for (size_t i = 0; i < n && rows; ++i) {
    py::handle row = items[i];
    if (!IsSequence(row)) {
      rows = false;
      break;
    }
    const size_t w = py::len(row);
    if (i == 0) width = w;
    rows = w == width;
  }
  if (rows && width > 0) {
    SafeArray a = SafeArray::Matrix(static_cast<int32_t>(n), static_cast<int32_t>(width));
    std::vector<Variant>& cells = a.data();
    size_t k = 0;
    for (size_t i = 0; i < n; ++i) {
      py::sequence row = py::reinterpret_borrow<py::sequence>(items[i]);
      for (size_t j = 0; j < width; ++j) cells[k++] = FromNested(row[j], depth + 1);
    }
    return Variant(std::move(a));
  }
  std::vector<Variant> cells;
  cells.reserve(n);
  for (size_t i = 0; i < n; ++i) cells.push_back(FromNested(items[i], depth + 1));
  return Variant(SafeArray::Vector(std::move(cells)));
}

// A NumPy array: its shape decides the dimensions, its values the cells.
Variant NumPyArrayFrom(py::handle value, int depth) {
  const int ndim = py::cast<int>(value.attr("ndim"));
  py::object list = value.attr("tolist")();
  if (ndim == 0) return FromNested(list, depth + 1);
  if (ndim > 2) Raise(err::kTypeMismatch, "Type mismatch: NumPy arrays of more than two dimensions are not arrays of the library");
  if (ndim == 2) {
    py::tuple shape = value.attr("shape");
    const auto rows = py::cast<int64_t>(shape[0]);
    const auto cols = py::cast<int64_t>(shape[1]);
    if (rows == 0 || cols == 0) {
      SafeArray a({Bounds{0, static_cast<int32_t>(rows - 1)}, Bounds{0, static_cast<int32_t>(cols - 1)}});
      return Variant(std::move(a));
    }
    return ArrayFrom(list, depth);
  }
  // One dimension: never read as rows, even when the cells are sequences.
  py::sequence items = list;
  std::vector<Variant> cells;
  cells.reserve(items.size());
  for (py::handle item : items) cells.push_back(FromNested(item, depth + 1));
  return Variant(SafeArray::Vector(std::move(cells)));
}

Variant FromNested(py::handle value, int depth) {
  PyObject* p = value.ptr();
  if (value.is_none()) return Variant::Null();
  if (PyBool_Check(p)) return Variant(p == Py_True);
  if (PyLong_Check(p)) {
    int overflow = 0;
    const long long n = PyLong_AsLongLongAndOverflow(p, &overflow);
    if (overflow == 0 && n >= std::numeric_limits<int32_t>::min() && n <= std::numeric_limits<int32_t>::max()) {
      return Variant(static_cast<int32_t>(n));
    }
    const double d = PyLong_AsDouble(p);
    if (d == -1.0 && PyErr_Occurred()) {
      PyErr_Clear();
      Raise(err::kOverflow, "Overflow: the number is too large");
    }
    return Variant(d);
  }
  if (PyFloat_Check(p)) return Variant(PyFloat_AS_DOUBLE(p));
  if (PyUnicode_Check(p)) return Variant(py::cast<std::string>(value));
  if (IsSequence(value)) return ArrayFrom(value, depth);
  if (py::isinstance<EmptyMarker>(value)) return Variant();
  if (py::isinstance<MissingMarker>(value)) return Variant::Missing();
  if (py::isinstance<Handle>(value)) return Variant(py::cast<const Handle&>(value).object);
  if (py::hasattr(value, "_vantrove_handle")) return FromNested(value.attr("_vantrove_handle"), depth);
  if (IsInstance(value, "decimal", "Decimal")) return CurrencyFrom(value);
  if (IsInstance(value, "datetime", "date") || IsInstance(value, "datetime", "time")) return DateFrom(value);
  if (py::object np = NumPy(); !np.is_none()) {
    if (PyObject_IsInstance(p, np.attr("ndarray").ptr()) == 1) return NumPyArrayFrom(value, depth);
    if (PyObject_IsInstance(p, np.attr("generic").ptr()) == 1) return FromNested(value.attr("item")(), depth + 1);
  }
  if (PyDict_Check(p)) Mismatch(value, "use a vantrove.Dictionary");
  Mismatch(value);
}

// Row-major storage: the last dimension varies fastest, so nested lists are
// filled by walking the cells once.
py::object Nested(const SafeArray& a, size_t dim, size_t& k) {
  const std::vector<Bounds>& dims = a.bounds();
  const auto n = static_cast<size_t>(std::max<int64_t>(dims[dim].count(), 0));
  py::list out(n);
  for (size_t i = 0; i < n; ++i) out[i] = dim + 1 == dims.size() ? ToPython(a.data()[k++]) : Nested(a, dim + 1, k);
  return out;
}

py::object ArrayTo(const SafeArray& a) {
  if (!a.allocated()) return py::list();
  size_t k = 0;
  return Nested(a, 0, k);
}

}  // namespace

py::object EmptyObject() {
  static py::object* empty = new py::object(py::cast(EmptyMarker{}));
  return *empty;
}

py::object MissingObject() {
  static py::object* missing = new py::object(py::cast(MissingMarker{}));
  return *missing;
}

void SetObjectWrapper(py::object wrapper) { Wrapper() = std::move(wrapper); }

Variant ToVariant(py::handle value) { return FromNested(value, 0); }

py::object ToPython(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty: return EmptyObject();
    case VarType::Null: return py::none();
    case VarType::Integer: return py::int_(*v.get_if<int16_t>());
    case VarType::Long: return py::int_(*v.get_if<int32_t>());
    case VarType::Byte: return py::int_(*v.get_if<uint8_t>());
    case VarType::Single: return py::float_(static_cast<double>(*v.get_if<float>()));
    case VarType::Double: return py::float_(*v.get_if<double>());
    case VarType::Boolean: return py::bool_(*v.get_if<bool>());
    case VarType::String: return py::str(v.str());
    case VarType::Currency: return CurrencyTo(*v.get_if<Currency>());
    case VarType::Date: return DateTo(*v.get_if<Date>());
    case VarType::Error:
      if (v.IsMissing()) return MissingObject();
      return py::int_(v.get_if<ErrorValue>()->scode);
    case VarType::Object: {
      const ObjectRef& obj = v.object();
      if (!obj) return py::none();
      py::object handle = py::cast(Handle{obj});
      return Wrapper() ? Wrapper()(handle) : handle;
    }
    default: break;
  }
  if (v.IsArray()) return ArrayTo(v.array());
  return py::none();
}

bool SameValue(const Variant& a, const Variant& b) {
  if (a.IsArray() || b.IsArray()) {
    if (!a.IsArray() || !b.IsArray()) return false;
    const SafeArray& x = a.array();
    const SafeArray& y = b.array();
    if (x.bounds() != y.bounds() || x.allocated() != y.allocated() || x.size() != y.size()) return false;
    for (size_t i = 0; i < x.size(); ++i) {
      if (!SameValue(x.data()[i], y.data()[i])) return false;
    }
    return true;
  }
  if (a.type() != b.type()) return false;
  switch (a.type()) {
    case VarType::Empty:
    case VarType::Null: return true;
    case VarType::Integer: return *a.get_if<int16_t>() == *b.get_if<int16_t>();
    case VarType::Long: return *a.get_if<int32_t>() == *b.get_if<int32_t>();
    case VarType::Byte: return *a.get_if<uint8_t>() == *b.get_if<uint8_t>();
    case VarType::Single: return *a.get_if<float>() == *b.get_if<float>();
    case VarType::Double: return *a.get_if<double>() == *b.get_if<double>();
    case VarType::Boolean: return *a.get_if<bool>() == *b.get_if<bool>();
    case VarType::String: return a.str() == b.str();
    case VarType::Currency: return *a.get_if<Currency>() == *b.get_if<Currency>();
    case VarType::Date: return *a.get_if<Date>() == *b.get_if<Date>();
    case VarType::Error: return *a.get_if<ErrorValue>() == *b.get_if<ErrorValue>();
    case VarType::Object: return a.object() == b.object();
    default: return false;
  }
}

}  // namespace vantrove::python

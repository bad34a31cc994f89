#include "vantrove/runtime/variant.hpp"

#include "vantrove/runtime/errors.hpp"
#include "vantrove/runtime/object.hpp"
#include "vantrove/runtime/safearray.hpp"

namespace vantrove {

void Variant::ArrayDeleter::operator()(SafeArray* a) const noexcept { delete a; }

Variant::Variant(SafeArray a) : v_(ArrayBox{std::unique_ptr<SafeArray, ArrayDeleter>(new SafeArray(std::move(a)))}) {}

Variant::Variant(const Variant& other) {
  if (const auto* box = std::get_if<ArrayBox>(&other.v_)) {
    v_ = ArrayBox{std::unique_ptr<SafeArray, ArrayDeleter>(new SafeArray(*box->p))};
  } else {
    std::visit(
        [this](const auto& x) {
          using T = std::decay_t<decltype(x)>;
          if constexpr (!std::is_same_v<T, ArrayBox>) v_ = x;
        },
        other.v_);
  }
}

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    Variant copy(other);
    v_ = std::move(copy.v_);
  }
  return *this;
}

Variant::~Variant() = default;

Variant Variant::Null() {
  Variant v;
  v.v_ = NullTag{};
  return v;
}

Variant Variant::Missing() { return Variant(ErrorValue{kMissingScode}); }

bool Variant::IsMissing() const {
  const auto* e = std::get_if<ErrorValue>(&v_);
  return e != nullptr && e->scode == kMissingScode;
}

VarType Variant::type() const {
  switch (v_.index()) {
    case 0: return VarType::Empty;
    case 1: return VarType::Null;
    case 2: return VarType::Integer;
    case 3: return VarType::Long;
    case 4: return VarType::Single;
    case 5: return VarType::Double;
    case 6: return VarType::Currency;
    case 7: return VarType::Date;
    case 8: return VarType::String;
    case 9: return VarType::Object;
    case 10: return VarType::Error;
    case 11: return VarType::Boolean;
    case 12: return VarType::Byte;
    default: return VarType::Array;
  }
}

int32_t Variant::VarTypeNumber() const {
  if (const auto* box = std::get_if<ArrayBox>(&v_)) {
    return 0x2000 | static_cast<int32_t>(box->p->element_type());
  }
  return static_cast<int32_t>(type());
}

bool Variant::IsNumberLike() const {
  switch (type()) {
    case VarType::Integer:
    case VarType::Long:
    case VarType::Single:
    case VarType::Double:
    case VarType::Currency:
    case VarType::Date:
    case VarType::Boolean:
    case VarType::Byte: return true;
    default: return false;
  }
}

namespace {
const char* ScalarTypeName(VarType t) {
  switch (t) {
    case VarType::Empty: return "Empty";
    case VarType::Null: return "Null";
    case VarType::Integer: return "Integer";
    case VarType::Long: return "Long";
    case VarType::Single: return "Single";
    case VarType::Double: return "Double";
    case VarType::Currency: return "Currency";
    case VarType::Date: return "Date";
    case VarType::String: return "String";
    case VarType::Object: return "Object";
    case VarType::Error: return "Error";
    case VarType::Boolean: return "Boolean";
    case VarType::Byte: return "Byte";
    default: return "Variant";
  }
}
}  // namespace

std::string Variant::TypeName() const {
  if (const auto* box = std::get_if<ArrayBox>(&v_)) {
    return std::string(ScalarTypeName(box->p->element_type())) + "()";
  }
  if (const auto* o = std::get_if<ObjectRef>(&v_)) {
    return *o ? (*o)->ClassName() : "Nothing";
  }
  return ScalarTypeName(type());
}

const std::string& Variant::str() const {
  if (const auto* s = std::get_if<std::string>(&v_)) return *s;
  Raise(err::kTypeMismatch);
}

std::string& Variant::str() {
  if (auto* s = std::get_if<std::string>(&v_)) return *s;
  Raise(err::kTypeMismatch);
}

SafeArray& Variant::array() {
  if (auto* box = std::get_if<ArrayBox>(&v_)) return *box->p;
  Raise(err::kTypeMismatch);
}

const SafeArray& Variant::array() const {
  if (const auto* box = std::get_if<ArrayBox>(&v_)) return *box->p;
  Raise(err::kTypeMismatch);
}

const ObjectRef& Variant::object() const {
  if (const auto* o = std::get_if<ObjectRef>(&v_)) return *o;
  Raise(err::kObjectRequired);
}

}  // namespace vantrove

#pragma once
// Variant: the automation value type. Copying a Variant that holds an array
// copies the array; objects are shared references.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vantrove {

// Numbering of the classic VarType function.
enum class VarType : uint16_t {
  Empty = 0,
  Null = 1,
  Integer = 2,
  Long = 3,
  Single = 4,
  Double = 5,
  Currency = 6,
  Date = 7,
  String = 8,
  Object = 9,
  Error = 10,
  Boolean = 11,
  Variant = 12,
  Byte = 17,
  Array = 0x2000,
};

// Fixed-point money: the value times 10,000.
struct Currency {
  int64_t scaled = 0;
  friend bool operator==(Currency, Currency) = default;
};

// Days since 1899-12-30, the fraction being the time of day.
struct Date {
  double serial = 0;
  friend bool operator==(Date, Date) = default;
};

// An error value (an SCODE). The "missing optional argument" marker is one.
struct ErrorValue {
  int32_t scode = 0;
  friend bool operator==(ErrorValue, ErrorValue) = default;
};
inline constexpr int32_t kMissingScode = static_cast<int32_t>(0x80020004u);

class Object;
class SafeArray;
using ObjectRef = std::shared_ptr<Object>;

class Variant {
 public:
  Variant() = default;
  Variant(int16_t v) : v_(v) {}
  Variant(int32_t v) : v_(v) {}
  Variant(uint8_t v) : v_(v) {}
  Variant(bool v) : v_(v) {}
  Variant(float v) : v_(v) {}
  Variant(double v) : v_(v) {}
  Variant(Currency v) : v_(v) {}
  Variant(Date v) : v_(v) {}
  Variant(ErrorValue v) : v_(v) {}
  Variant(std::string v) : v_(std::move(v)) {}
  Variant(std::string_view v) : v_(std::string(v)) {}
  Variant(const char* v) : v_(std::string(v)) {}
  Variant(ObjectRef v) : v_(std::move(v)) {}
  Variant(SafeArray a);
  Variant(long) = delete;           // say which width is meant
  Variant(unsigned) = delete;
  Variant(std::nullptr_t) = delete;

  Variant(const Variant& other);
  Variant(Variant&&) noexcept = default;
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&&) noexcept = default;
  ~Variant();

  static Variant Null();
  static Variant Missing();

  VarType type() const;
  // The classic VarType number: the element type plus 0x2000 for arrays.
  int32_t VarTypeNumber() const;
  // The classic TypeName text ("Long", "String", "Variant()", ...).
  std::string TypeName() const;

  bool IsEmpty() const { return v_.index() == 0; }
  bool IsNull() const { return v_.index() == 1; }
  bool IsArray() const { return std::holds_alternative<ArrayBox>(v_); }
  bool IsObject() const { return std::holds_alternative<ObjectRef>(v_); }
  bool IsString() const { return std::holds_alternative<std::string>(v_); }
  bool IsError() const { return std::holds_alternative<ErrorValue>(v_); }
  bool IsMissing() const;
  // True for Integer, Long, Single, Double, Currency, Byte, Boolean and Date.
  bool IsNumberLike() const;

  // Exact-type access; each raises type mismatch (13) for another type.
  const std::string& str() const;
  std::string& str();
  SafeArray& array();
  const SafeArray& array() const;
  const ObjectRef& object() const;

  template <class T>
  const T* get_if() const { return std::get_if<T>(&v_); }

 private:
  struct NullTag {
    friend bool operator==(NullTag, NullTag) = default;
  };
  // Deleting through a declared-only deleter keeps SafeArray incomplete here.
  struct ArrayDeleter {
    void operator()(SafeArray* a) const noexcept;
  };
  struct ArrayBox {
    std::unique_ptr<SafeArray, ArrayDeleter> p;
  };
  using Storage = std::variant<std::monostate, NullTag, int16_t, int32_t, float, double, Currency, Date,
                               std::string, ObjectRef, ErrorValue, bool, uint8_t, ArrayBox>;
  Storage v_;
};

}  // namespace vantrove

#pragma once
// Internal: adapters that call a typed clsVantrove member with Variant
// arguments, and the table of them by interface position.
//
// Each area registers its members in its own Register...Invokers function,
// listed in invokers.cpp. A member that no area registered answers run-time
// error 445 through Invoke.

#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "vantrove/component.hpp"

namespace vantrove::detail {

using Invoker = Variant (*)(clsVantrove&, std::span<Variant> args);

class InvokerTable {
 public:
  // Registers `fn` for the interface member `name`; `arity` is the number of
  // parameters the C++ member takes (a trailing span counts as one).
  void Set(std::string_view name, Invoker fn, size_t arity);
  Invoker Get(int position) const;

 private:
  std::vector<Invoker> table_ = std::vector<Invoker>(static_cast<size_t>(kMethodCount), nullptr);
};

const InvokerTable& Invokers();

// How each C++ parameter type is made from the Variant argument at `i`, and
// how a by-reference result goes back.
template <class P, class = void>
struct Holder;

template <>
struct Holder<std::string> {
  std::string v;
  Holder(std::span<Variant> a, size_t i) : v(CStr(a[i])) {}
  std::string get() { return v; }
  void back(std::span<Variant>, size_t) {}
};
template <>
struct Holder<const std::string&> : Holder<std::string> {
  using Holder<std::string>::Holder;
  const std::string& get() { return v; }
};
template <>
struct Holder<std::string&> : Holder<std::string> {
  using Holder<std::string>::Holder;
  std::string& get() { return v; }
  void back(std::span<Variant> a, size_t i) { a[i] = Variant(v); }
};

template <class T>
T ConvertArg(const Variant& a) {
  if constexpr (std::is_same_v<T, bool>) return CBool(a);
  else if constexpr (std::is_same_v<T, int16_t>) return CInt(a);
  else if constexpr (std::is_same_v<T, int32_t>) return CLng(a);
  else if constexpr (std::is_enum_v<T>) return static_cast<T>(CLng(a));
  else static_assert(sizeof(T) == 0, "unsupported parameter type");
}

template <class T>
struct Holder<T, std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>>> {
  T v;
  Holder(std::span<Variant> a, size_t i) : v(ConvertArg<T>(a[i])) {}
  T get() { return v; }
  void back(std::span<Variant>, size_t) {}
};
template <class T>
struct Holder<T&, std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>>> {
  T v;
  Holder(std::span<Variant> a, size_t i) : v(ConvertArg<T>(a[i])) {}
  T& get() { return v; }
  void back(std::span<Variant> a, size_t i) {
    if constexpr (std::is_enum_v<T>) a[i] = Variant(static_cast<int32_t>(v));
    else a[i] = Variant(v);
  }
};

template <>
struct Holder<Variant&> {
  Variant* v;
  Holder(std::span<Variant> a, size_t i) : v(&a[i]) {}
  Variant& get() { return *v; }
  void back(std::span<Variant>, size_t) {}
};
template <>
struct Holder<const Variant&> : Holder<Variant&> {
  using Holder<Variant&>::Holder;
};
template <>
struct Holder<Variant> : Holder<Variant&> {
  using Holder<Variant&>::Holder;
  Variant get() { return *v; }
};
// An optional output Variant: nullptr when the caller left it out.
template <>
struct Holder<Variant*> {
  Variant* v;
  Holder(std::span<Variant> a, size_t i) : v(a[i].IsMissing() ? nullptr : &a[i]) {}
  Variant* get() { return v; }
  void back(std::span<Variant>, size_t) {}
};

ObjectRef ObjectArg(const Variant& a);
template <>
struct Holder<ObjectRef> {
  ObjectRef v;
  Holder(std::span<Variant> a, size_t i) : v(ObjectArg(a[i])) {}
  ObjectRef get() { return v; }
  void back(std::span<Variant>, size_t) {}
};
template <>
struct Holder<const ObjectRef&> : Holder<ObjectRef> {
  using Holder<ObjectRef>::Holder;
  const ObjectRef& get() { return v; }
};

// A trailing variable argument list: every argument from `i` on.
template <>
struct Holder<std::span<Variant>> {
  std::span<Variant> v;
  Holder(std::span<Variant> a, size_t i) : v(a.subspan(std::min(i, a.size()))) {}
  std::span<Variant> get() { return v; }
  void back(std::span<Variant>, size_t) {}
};

template <class R>
Variant ToResult(R&& r) {
  using T = std::decay_t<R>;
  if constexpr (std::is_enum_v<T>) return Variant(static_cast<int32_t>(r));
  else return Variant(std::forward<R>(r));
}

template <auto Member, class R, class... P, size_t... I>
Variant CallWith(clsVantrove& self, std::span<Variant> args, std::index_sequence<I...>) {
  std::tuple<Holder<P>...> h{Holder<P>(args, I)...};
  if constexpr (std::is_void_v<R>) {
    (self.*Member)(std::get<I>(h).get()...);
    (std::get<I>(h).back(args, I), ...);
    return Variant();
  } else {
    Variant result = ToResult((self.*Member)(std::get<I>(h).get()...));
    (std::get<I>(h).back(args, I), ...);
    return result;
  }
}

template <auto Member>
struct Adapter;
template <class R, class... P, R (clsVantrove::*Member)(P...)>
struct Adapter<Member> {
  static constexpr size_t kArity = sizeof...(P);
  static Variant Call(clsVantrove& self, std::span<Variant> args) {
    return CallWith<Member, R, P...>(self, args, std::index_sequence_for<P...>{});
  }
};

template <auto Member>
void Register(InvokerTable& t, std::string_view name) {
  t.Set(name, &Adapter<Member>::Call, Adapter<Member>::kArity);
}

// One per area; each lists its members. Called once, in invokers.cpp.
void RegisterComponentInvokers(InvokerTable& t);
// Drawing lifecycle and the XML description (open, close, CreateXML).
void RegisterDrawingInvokers(InvokerTable& t);
// Saving, DXF export and edits by handle.
void RegisterDrawingExportAndEditInvokers(InvokerTable& t);
void RegisterOutputInvokers(InvokerTable& t);
void RegisterArraysInvokers(InvokerTable& t);
// Reading the description: flattening, arrays, recordsets, block attributes.
void RegisterExtractInvokers(InvokerTable& t);
// Find-and-modify.
void RegisterFindInvokers(InvokerTable& t);
// Control adapters.
void RegisterControlsInvokers(InvokerTable& t);

}  // namespace vantrove::detail

#pragma once
// Internal: adapters that call a typed clsVantrove member with Variant
// arguments. Members are declared with them in member.hpp.

#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "vantrove/component.hpp"

namespace vantrove::detail {

using Invoker = Variant (*)(clsVantrove&, std::span<Variant> args);

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
  void back(std::span<Variant> a, size_t i) { a[i] = Variant(std::move(v)); }
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

}  // namespace vantrove::detail

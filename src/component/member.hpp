#pragma once
// Internal: how an area declares the members of clsVantrove it owns.
//
// Each member is declared once, in its area's members.cpp, with its place in
// the interface order, its name, result type, parameter list and help string:
//
//   VANTROVE_MEMBER(107, SortOneDArray, "Integer",
//                   "varArray As Variant, Optional ByVal lngSortOrder As SortOrderType",
//                   "Method to sort a one dimensional array."),
//
// The interface table (`InterfaceMethods`, DISPID = kFirstDispId + position)
// and the late-bound call are both made from these declarations. The
// declaration is checked against the C++ member while compiling: a parameter
// count, type or by-reference flag that does not fit, or a result of another
// type, stops the build in `Declare<&clsVantrove::NAME>`; a member declared
// but never defined fails to link. A member written VANTROVE_NOT_YET is part
// of the interface but has no implementation: calling it answers run-time
// error 445. Attaching one is replacing VANTROVE_NOT_YET by VANTROVE_MEMBER
// once the C++ member exists. See docs/members.md.

#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "declaration.hpp"
#include "invoke.hpp"

namespace vantrove::detail {

struct MemberDecl {
  int position = -1;  // place in the interface order
  std::string_view name;
  std::string_view result;  // "" for a method that returns nothing
  std::string_view params;
  std::string_view help;
  Invoker invoke = nullptr;  // nullptr: declared but not implemented in this build
};

// Never defined: reaching one of these while compiling a declaration is the
// error message that says what does not fit.
void DeclaredResultDoesNotFitTheMember();
void DeclaredParameterCountDoesNotFitTheMember();
void DeclaredParameterTypeDoesNotFitTheMember(size_t index);
void WrittenBackParameterIsNotDeclaredByRef(size_t index);
void ParamArrayMustBeAVariantSpan(size_t index);
void MemberPositionOutOfRange();

// Whether the C++ type P carries the declared type.
template <class P>
consteval bool CarriesType(std::string_view type) {
  using T = std::remove_cvref_t<P>;
  if (type == "String") return std::is_same_v<T, std::string>;
  if (type == "Integer") return std::is_same_v<T, int16_t>;
  if (type == "Long") return std::is_same_v<T, int32_t>;
  if (type == "Boolean") return std::is_same_v<T, bool>;
  if (type == "Variant") return std::is_same_v<T, Variant> || std::is_same_v<P, Variant*>;
  if (type == "Object") return std::is_same_v<T, ObjectRef>;
  return std::is_enum_v<T>;  // an enumeration (the table checks the name exists)
}

template <class R>
consteval void CheckResult(std::string_view result) {
  if (result.empty() ? !std::is_void_v<R> : !CarriesType<R>(result)) DeclaredResultDoesNotFitTheMember();
}

template <class P>
consteval void CheckParam(const DeclaredParam& d, size_t index) {
  if (d.paramArray) {
    if (!std::is_same_v<P, std::span<Variant>>) ParamArrayMustBeAVariantSpan(index);
    return;
  }
  if (!CarriesType<P>(d.type)) DeclaredParameterTypeDoesNotFitTheMember(index);
  // A parameter the member writes to (a non-const reference or an output
  // pointer) goes back to the caller only when declared by reference.
  constexpr bool writes = std::is_pointer_v<P> ||
                          (std::is_lvalue_reference_v<P> && !std::is_const_v<std::remove_reference_t<P>>);
  if (writes && !d.byRef) WrittenBackParameterIsNotDeclaredByRef(index);
}

template <class... P, size_t... I>
consteval void CheckParams([[maybe_unused]] std::string_view params, std::index_sequence<I...>) {
  (CheckParam<P>(ParseDeclaredParam(DeclaredParamText(params, I)), I), ...);
}

template <class R, class... P>
consteval void CheckSignature(R (clsVantrove::*)(P...), std::string_view result, std::string_view params) {
  CheckResult<R>(result);
  if (DeclaredParamCount(params) != sizeof...(P)) DeclaredParameterCountDoesNotFitTheMember();
  CheckParams<P...>(params, std::index_sequence_for<P...>{});
}

consteval void CheckDeclaration(int position, std::string_view params) {
  if (position < 0 || position >= kMethodCount) MemberPositionOutOfRange();
  for (size_t i = 0, n = DeclaredParamCount(params); i < n; ++i) ParseDeclaredParam(DeclaredParamText(params, i));
}

template <auto Member>
consteval MemberDecl Declare(int position, std::string_view name, std::string_view result, std::string_view params,
                             std::string_view help) {
  CheckDeclaration(position, params);
  CheckSignature(Member, result, params);
  return MemberDecl{position, name, result, params, help, &Adapter<Member>::Call};
}

consteval MemberDecl DeclareNotYet(int position, std::string_view name, std::string_view result,
                                   std::string_view params, std::string_view help) {
  CheckDeclaration(position, params);
  return MemberDecl{position, name, result, params, help, nullptr};
}

// The declarations of every area, each in its own members.cpp; listed once in
// src/component/members.cpp.
std::span<const MemberDecl> ComponentMembers();
std::span<const MemberDecl> DrawingMembers();
std::span<const MemberDecl> OutputMembers();
std::span<const MemberDecl> OfficeMembers();
std::span<const MemberDecl> ArraysMembers();
std::span<const MemberDecl> ExtractMembers();
std::span<const MemberDecl> RecordsetMembers();
std::span<const MemberDecl> ControlsMembers();
std::span<const MemberDecl> DatabaseMembers();

// Every declaration of this build, by interface position. Throws
// std::logic_error naming the member when two declarations claim one
// position or a position has none.
std::span<const MemberDecl* const> MembersByPosition();

}  // namespace vantrove::detail

// A member implemented by clsVantrove::Name.
#define VANTROVE_MEMBER(position, Name, result, params, help) \
  ::vantrove::detail::Declare<&::vantrove::clsVantrove::Name>(position, #Name, result, params, help)
// A member of the interface without an implementation yet (run-time error 445).
#define VANTROVE_NOT_YET(position, Name, result, params, help) \
  ::vantrove::detail::DeclareNotYet(position, #Name, result, params, help)

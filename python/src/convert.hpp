#pragma once
// Values between Python and the automation runtime.
//
// Python to Variant: None is Null; bool, int (32-bit range as Long, larger
// as Double), float, str; decimal.Decimal is Currency; datetime, date and
// time are Date; lists and tuples are arrays (a list of equally long lists is
// a 2-D array, rows first, both from 0; an empty list is an unallocated
// dynamic array, what a caller passes where a method fills an array); NumPy
// arrays and scalars by their values; library objects by reference; the
// markers Empty and Missing as themselves. Anything else is a type mismatch.
//
// Variant to Python: the reverse, with Empty as the Empty marker (so that an
// array read from the library goes back unchanged) and arrays as lists (2-D
// as a list of row lists).

#include <pybind11/pybind11.h>

#include "vantrove/runtime.hpp"

namespace vantrove::python {

namespace py = pybind11;

// The markers Empty and Missing, one instance each.
struct EmptyMarker {};
struct MissingMarker {};
// The one instance of each (what `is vantrove.Empty` compares with).
py::object EmptyObject();
py::object MissingObject();

// A library object as the extension holds it; Python code wraps it in the
// classes of vantrove._objects.
struct Handle {
  ObjectRef object;
};

Variant ToVariant(py::handle value);
py::object ToPython(const Variant& value);

// True when two values are the same value of the same type (arrays element by
// element, objects by identity). Used to hand back only what a call changed.
bool SameValue(const Variant& a, const Variant& b);

// Installs the Python function that wraps a Handle into its class.
void SetObjectWrapper(py::object wrapper);

}  // namespace vantrove::python

#pragma once
// The variant runtime: Variant, SafeArray, objects, conversions, comparisons,
// string helpers and run-time errors.

#include "vantrove/runtime/convert.hpp"
#include "vantrove/runtime/errors.hpp"
#include "vantrove/runtime/object.hpp"
#include "vantrove/runtime/safearray.hpp"
#include "vantrove/runtime/strings.hpp"
#include "vantrove/runtime/variant.hpp"

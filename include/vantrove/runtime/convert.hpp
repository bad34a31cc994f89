#pragma once
// Conversions and comparisons with the classic automation rules.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vantrove/runtime/variant.hpp"

namespace vantrove {

// To string: numbers in their shortest form up to 15 significant digits
// (7 for Single), exponents written 1E+20 / 1.5E-07; Booleans "True" and
// "False"; Empty "". Null raises "Invalid use of Null" (94).
std::string CStr(const Variant& v);
// To integers: round half to even, "Overflow" (6) outside the range.
int16_t CInt(const Variant& v);
int32_t CLng(const Variant& v);
uint8_t CByte(const Variant& v);
double CDbl(const Variant& v);
float CSng(const Variant& v);
Currency CCur(const Variant& v);
Date CDate(const Variant& v);
// To Boolean: numbers non-zero; strings "True"/"False" (any case) or numbers.
bool CBool(const Variant& v);

// Converts to the given scalar type (Variant returns a copy).
Variant ConvertTo(const Variant& v, VarType type);

// Text forms of single values.
std::string FormatDouble(double d);
std::string FormatSingle(float f);
std::string FormatCurrency(Currency c);
std::string FormatDate(Date d);

// Parses a number as the classic runtime does ("  1,234.5 ", "1E3", "&HFF",
// "&O17", "-.5"); nullopt when the text is not a number.
std::optional<double> ParseNumber(std::string_view text);
// Parses a date and/or time ("2024-03-01", "3/1/2024", "13:05", "1:05:09 PM").
std::optional<Date> ParseDate(std::string_view text);
bool IsNumeric(const Variant& v);

// Round half to even, as the integer conversions round.
double RoundHalfEven(double d);

// Calendar conversions for Date serials.
Date DateSerial(int year, int month, int day, int hour = 0, int minute = 0, double second = 0);
struct DateParts {
  int year, month, day, hour, minute, second;
};
DateParts SplitDate(Date d);

enum class CompareMode { Binary = 0, Text = 1 };

// Variant ordering: numbers (Boolean, Date, Currency included) numerically;
// strings by code point (Binary) or case-folded (Text); Empty as 0 against a
// number and "" against a string; any number before any string. Null is not
// comparable and raises 94; arrays and objects raise 13.
int Compare(const Variant& a, const Variant& b, CompareMode mode = CompareMode::Binary);

}  // namespace vantrove

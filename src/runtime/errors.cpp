#include "vantrove/runtime/errors.hpp"

namespace vantrove {

std::string_view ErrorDescription(int32_t number) {
  switch (number) {
    case 3: return "Return without GoSub";
    case 5: return "Invalid procedure call or argument";
    case 6: return "Overflow";
    case 7: return "Out of memory";
    case 9: return "Subscript out of range";
    case 10: return "This array is fixed or temporarily locked";
    case 11: return "Division by zero";
    case 13: return "Type mismatch";
    case 28: return "Out of stack space";
    case 52: return "Bad file name or number";
    case 53: return "File not found";
    case 54: return "Bad file mode";
    case 55: return "File already open";
    case 57: return "Device I/O error";
    case 58: return "File already exists";
    case 61: return "Disk full";
    case 62: return "Input past end of file";
    case 67: return "Too many files";
    case 68: return "Device unavailable";
    case 70: return "Permission denied";
    case 71: return "Disk not ready";
    case 75: return "Path/File access error";
    case 76: return "Path not found";
    case 91: return "Object variable or With block variable not set";
    case 92: return "For loop not initialized";
    case 93: return "Invalid pattern string";
    case 94: return "Invalid use of Null";
    case 424: return "Object required";
    case 429: return "ActiveX component can't create object";
    case 438: return "Object doesn't support this property or method";
    case 445: return "Object doesn't support this action";
    case 448: return "Named argument not found";
    case 449: return "Argument not optional";
    case 450: return "Wrong number of arguments or invalid property assignment";
    case 451: return "Property let procedure not defined and property get procedure did not return an object";
    default: return "Application-defined or object-defined error";
  }
}

RuntimeError::RuntimeError(int32_t number, std::string description)
    : std::runtime_error(description.empty() ? std::string(ErrorDescription(number)) : description),
      number_(number),
      description_(description.empty() ? std::string(ErrorDescription(number)) : std::move(description)) {}

void Raise(int32_t number, std::string description) { throw RuntimeError(number, std::move(description)); }

}  // namespace vantrove

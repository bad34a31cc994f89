#pragma once
// Run-time errors with the classic automation error numbers. Internal code
// throws RuntimeError; public methods catch it at their boundary and turn it
// into their result code.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vantrove {

namespace err {
inline constexpr int32_t kInvalidCall = 5;
inline constexpr int32_t kOverflow = 6;
inline constexpr int32_t kOutOfMemory = 7;
inline constexpr int32_t kSubscript = 9;
inline constexpr int32_t kDivisionByZero = 11;
inline constexpr int32_t kTypeMismatch = 13;
inline constexpr int32_t kBadFileName = 52;
inline constexpr int32_t kFileNotFound = 53;
inline constexpr int32_t kFileAlreadyOpen = 55;
inline constexpr int32_t kDeviceIO = 57;
inline constexpr int32_t kFileExists = 58;
inline constexpr int32_t kDiskFull = 61;
inline constexpr int32_t kInputPastEnd = 62;
inline constexpr int32_t kPermissionDenied = 70;
inline constexpr int32_t kPathFileAccess = 75;
inline constexpr int32_t kPathNotFound = 76;
inline constexpr int32_t kObjectNotSet = 91;
inline constexpr int32_t kInvalidNull = 94;
inline constexpr int32_t kObjectRequired = 424;
inline constexpr int32_t kCannotCreateObject = 429;
inline constexpr int32_t kNoSuchMember = 438;
inline constexpr int32_t kActionNotSupported = 445;
inline constexpr int32_t kArgumentNotOptional = 449;
inline constexpr int32_t kWrongArgumentCount = 450;
}  // namespace err

// The classic description of an error number ("Overflow", "Type mismatch",
// ...), or "Application-defined or object-defined error" for others.
std::string_view ErrorDescription(int32_t number);

class RuntimeError : public std::runtime_error {
 public:
  explicit RuntimeError(int32_t number, std::string description = {});
  int32_t number() const noexcept { return number_; }
  const std::string& description() const noexcept { return description_; }

 private:
  int32_t number_;
  std::string description_;
};

[[noreturn]] void Raise(int32_t number, std::string description = {});

}  // namespace vantrove

// Password-protected Office files.
#include "office_crypto.hpp"

#include <cstring>

#include "vantrove/runtime.hpp"
#include "workbook.hpp"

namespace vantrove::office {

bool IsEncryptedPackage(std::string_view bytes) {
  static constexpr unsigned char kMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  return bytes.size() >= 8 && std::memcmp(bytes.data(), kMagic, 8) == 0;
}

std::string DecryptPackage(std::string_view, const std::string&) {
  Raise(xlsx::kAppError, "Encrypted workbooks cannot be opened yet");
}

std::string EncryptPackage(std::string_view, const std::string&) {
  Raise(xlsx::kAppError, "Encrypted workbooks cannot be written yet");
}

bool ReservationMatches(const pugi::xml_node& fileSharing, const std::string& password) {
  const std::string legacy = fileSharing.attribute("reservationPassword").value();
  if (!legacy.empty()) return FoldCase(legacy) == FoldCase(xlsx::LegacyPasswordHash(password));
  return !fileSharing.attribute("hashValue");
}

}  // namespace vantrove::office

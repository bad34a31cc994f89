#pragma once
// Internal: password-protected Office files. An encrypted package is an OLE
// compound file holding the encryption parameters and the encrypted zip
// (ECMA-376 agile encryption: AES-256 in CBC mode, SHA-512 key derivation).

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace vantrove::office {

// True when `bytes` start as a compound file (what an encrypted package is).
bool IsEncryptedPackage(std::string_view bytes);
// The zip inside an encrypted package; 1004 "The password is not correct"
// for a wrong or missing password, 1004 with what is wrong for a damaged or
// unsupported file.
std::string DecryptPackage(std::string_view bytes, const std::string& password);
// An encrypted package holding `zip`.
std::string EncryptPackage(std::string_view zip, const std::string& password);

// True when `password` matches the write-reservation of a workbook's
// <fileSharing> element (the legacy 16-bit verifier or an iterated hash).
bool ReservationMatches(const pugi::xml_node& fileSharing, const std::string& password);

}  // namespace vantrove::office

// Password-protected Office files: agile encryption of the package (the
// parameters as XML in the EncryptionInfo stream, the package encrypted in
// 4096-byte segments in the EncryptedPackage stream), and the workbook's
// write-reservation password check.
#include "office_crypto.hpp"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <cstring>
#include <memory>

#include "compound_file.hpp"
#include "ooxml_package.hpp"
#include "vantrove/runtime.hpp"
#include "workbook.hpp"

namespace vantrove::office {

namespace {

constexpr int32_t kAppError = 1004;
constexpr uint32_t kSegment = 4096;
constexpr unsigned char kVerifierInputKey[8] = {0xfe, 0xa7, 0xd2, 0x76, 0x3b, 0x4b, 0x9e, 0x79};
constexpr unsigned char kVerifierValueKey[8] = {0xd7, 0xaa, 0x0f, 0x6d, 0x30, 0x61, 0x34, 0x4e};
constexpr unsigned char kKeyValueKey[8] = {0x14, 0x6e, 0x0b, 0xe7, 0xab, 0xac, 0xd0, 0xd6};
constexpr unsigned char kHmacKeyKey[8] = {0x5f, 0xb2, 0xad, 0x01, 0x0c, 0xb9, 0xe1, 0xf6};
constexpr unsigned char kHmacValueKey[8] = {0xa0, 0x67, 0x7f, 0x02, 0xb2, 0x2c, 0x84, 0x33};

using Bytes = std::string;

[[noreturn]] void Refuse(const std::string& what) { Raise(kAppError, what); }

const EVP_MD* Digest(std::string name) {
  std::erase(name, '-');
  if (name == "SHA512") return EVP_sha512();
  if (name == "SHA384") return EVP_sha384();
  if (name == "SHA256") return EVP_sha256();
  if (name == "SHA1" || name == "SHA-1") return EVP_sha1();
  Refuse("The encrypted file uses a hash this library does not know: " + name);
}

Bytes Hash(const EVP_MD* md, std::string_view a, std::string_view b = {}) {
  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned len = 0;
  if (!ctx || !EVP_DigestInit_ex(ctx.get(), md, nullptr) || !EVP_DigestUpdate(ctx.get(), a.data(), a.size()) ||
      !EVP_DigestUpdate(ctx.get(), b.data(), b.size()) || !EVP_DigestFinal_ex(ctx.get(), out, &len)) {
    Refuse("Hashing failed");
  }
  return Bytes(reinterpret_cast<char*>(out), len);
}

// Cut or padded with 0x36 to `n` bytes.
Bytes Fit(Bytes b, size_t n, char pad = 0x36) {
  b.resize(n, pad);
  return b;
}

const EVP_CIPHER* Aes(size_t keyBytes) {
  switch (keyBytes) {
    case 16: return EVP_aes_128_cbc();
    case 24: return EVP_aes_192_cbc();
    case 32: return EVP_aes_256_cbc();
    default: Refuse("The encrypted file uses an AES key length this library does not know");
  }
}

// AES-CBC without padding over whole blocks.
Bytes Cipher(bool encrypt, std::string_view key, std::string_view iv, std::string_view data) {
  std::unique_ptr<EVP_CIPHER_CTX, void (*)(EVP_CIPHER_CTX*)> ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  if (data.size() % 16 != 0) Refuse("The encrypted file is damaged: a value is not whole cipher blocks");
  Bytes out(data.size() + 16, '\0');
  int n1 = 0, n2 = 0;
  auto* o = reinterpret_cast<unsigned char*>(out.data());
  if (!ctx ||
      !EVP_CipherInit_ex(ctx.get(), Aes(key.size()), nullptr, reinterpret_cast<const unsigned char*>(key.data()),
                         reinterpret_cast<const unsigned char*>(iv.data()), encrypt ? 1 : 0) ||
      !EVP_CIPHER_CTX_set_padding(ctx.get(), 0) ||
      !EVP_CipherUpdate(ctx.get(), o, &n1, reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size())) ||
      !EVP_CipherFinal_ex(ctx.get(), o + n1, &n2)) {
    Refuse("Encryption failed");
  }
  out.resize(static_cast<size_t>(n1 + n2));
  return out;
}

Bytes Base64(std::string_view b) {
  Bytes out(4 * ((b.size() + 2) / 3) + 1, '\0');
  const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()), reinterpret_cast<const unsigned char*>(b.data()),
                                static_cast<int>(b.size()));
  out.resize(static_cast<size_t>(n));
  return out;
}

Bytes Unbase64(std::string_view s) {
  Bytes out(3 * ((s.size() + 3) / 4) + 3, '\0');
  const int n = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(out.data()), reinterpret_cast<const unsigned char*>(s.data()),
                                static_cast<int>(s.size()));
  if (n < 0) Refuse("The encrypted file is damaged: a value is not base64");
  size_t len = static_cast<size_t>(n);
  for (size_t i = s.size(); i > 0 && s[i - 1] == '='; --i) --len;
  out.resize(len);
  return out;
}

Bytes Random(size_t n) {
  Bytes b(n, '\0');
  if (RAND_bytes(reinterpret_cast<unsigned char*>(b.data()), static_cast<int>(n)) != 1) Refuse("No random numbers");
  return b;
}

Bytes Utf16(const std::string& s) {
  Bytes out;
  for (size_t i = 0; i < s.size();) {
    char32_t cp = NextCodePoint(s, i);
    auto unit = [&](uint16_t u) {
      out += static_cast<char>(u & 0xFF);
      out += static_cast<char>(u >> 8);
    };
    if (cp >= 0x10000) {
      cp -= 0x10000;
      unit(static_cast<uint16_t>(0xD800 + (cp >> 10)));
      unit(static_cast<uint16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
      unit(static_cast<uint16_t>(cp));
    }
  }
  return out;
}

Bytes Le32(uint32_t v) {
  Bytes b(4, '\0');
  std::memcpy(b.data(), &v, 4);
  return b;
}

// The iterated password hash of the key encryptor.
Bytes PasswordHash(const EVP_MD* md, const Bytes& salt, const std::string& password, uint32_t spinCount) {
  Bytes h = Hash(md, salt, Utf16(password));
  for (uint32_t i = 0; i < spinCount; ++i) h = Hash(md, Le32(i), h);
  return h;
}

Bytes KeyFor(const EVP_MD* md, const Bytes& h, const unsigned char (&block)[8], size_t keyBytes) {
  return Fit(Hash(md, h, std::string_view(reinterpret_cast<const char*>(block), 8)), keyBytes);
}

Bytes IvFor(const EVP_MD* md, const Bytes& salt, std::string_view blockKey, size_t blockSize) {
  return Fit(Hash(md, salt, blockKey), blockSize);
}

// The package's segments through AES-CBC, each with its own vector.
Bytes Segments(bool encrypt, const EVP_MD* md, const Bytes& key, const Bytes& salt, size_t blockSize, std::string_view data) {
  Bytes out;
  out.reserve(data.size() + 16);
  for (uint32_t i = 0; size_t{i} * kSegment < data.size(); ++i) {
    std::string_view seg = data.substr(size_t{i} * kSegment, kSegment);
    Bytes padded(seg);
    padded.resize((padded.size() + 15) / 16 * 16, '\0');
    out += Cipher(encrypt, key, IvFor(md, salt, Le32(i), blockSize), padded);
  }
  return out;
}

struct Params {
  const EVP_MD* md;
  Bytes salt;
  size_t keyBytes, blockSize, hashSize;
};

Params ParamsOf(const pugi::xml_node& n) {
  Params p;
  p.md = Digest(n.attribute("hashAlgorithm").value());
  p.salt = Unbase64(n.attribute("saltValue").value());
  p.keyBytes = n.attribute("keyBits").as_uint() / 8;
  p.blockSize = n.attribute("blockSize").as_uint();
  p.hashSize = n.attribute("hashSize").as_uint();
  if (std::string_view(n.attribute("cipherAlgorithm").value()) != "AES" || p.blockSize != 16) {
    Refuse("The encrypted file uses a cipher this library does not know");
  }
  return p;
}

}  // namespace

bool IsEncryptedPackage(std::string_view bytes) {
  static constexpr unsigned char kMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  return bytes.size() >= 8 && std::memcmp(bytes.data(), kMagic, 8) == 0;
}

std::string DecryptPackage(std::string_view bytes, const std::string& password) {
  std::string info, package;
  if (!ReadCompoundStream(bytes, "EncryptionInfo", info) || !ReadCompoundStream(bytes, "EncryptedPackage", package)) {
    Refuse("The file is a compound file but not an encrypted Office document");
  }
  if (info.size() < 8 || info[0] != 4 || info[2] != 4) {
    Refuse("The file uses an older kind of Office encryption that this library does not read");
  }
  pugi::xml_document doc;
  if (!doc.load_buffer(info.data() + 8, info.size() - 8)) Refuse("The encrypted file's parameters are damaged");
  pugi::xml_node root = doc.document_element();
  const Params data = ParamsOf(ooxml::ChildLocal(root, "keyData"));
  pugi::xml_node enc = ooxml::ChildLocal(ooxml::ChildLocal(ooxml::ChildLocal(root, "keyEncryptors"), "keyEncryptor"), "encryptedKey");
  if (!enc) Refuse("The file is encrypted for a certificate, not a password");
  const Params kp = ParamsOf(enc);
  const uint32_t spin = enc.attribute("spinCount").as_uint();
  if (spin > 10000000) Refuse("The encrypted file asks for too many hash rounds");
  const Bytes h = PasswordHash(kp.md, kp.salt, password, spin);
  const Bytes input = Cipher(false, KeyFor(kp.md, h, kVerifierInputKey, kp.keyBytes), Fit(kp.salt, kp.blockSize),
                             Unbase64(enc.attribute("encryptedVerifierHashInput").value()));
  const Bytes value = Cipher(false, KeyFor(kp.md, h, kVerifierValueKey, kp.keyBytes), Fit(kp.salt, kp.blockSize),
                             Unbase64(enc.attribute("encryptedVerifierHashValue").value()));
  const Bytes expect = Hash(kp.md, input.substr(0, kp.salt.size()));
  if (value.size() < expect.size() || value.compare(0, expect.size(), expect) != 0) {
    Refuse("The password is not correct");
  }
  const Bytes key = Cipher(false, KeyFor(kp.md, h, kKeyValueKey, kp.keyBytes), Fit(kp.salt, kp.blockSize),
                           Unbase64(enc.attribute("encryptedKeyValue").value()))
                        .substr(0, data.keyBytes);
  if (package.size() < 8) Refuse("The encrypted package is damaged");
  uint64_t size = 0;
  std::memcpy(&size, package.data(), 8);
  Bytes plain = Segments(false, data.md, key, data.salt, data.blockSize, std::string_view(package).substr(8));
  if (size > plain.size()) Refuse("The encrypted package is shorter than it says");
  plain.resize(static_cast<size_t>(size));
  return plain;
}

std::string EncryptPackage(std::string_view zip, const std::string& password) {
  const EVP_MD* md = EVP_sha512();
  constexpr size_t kKey = 32, kBlock = 16, kHash = 64;
  constexpr uint32_t kSpin = 100000;
  const Bytes dataSalt = Random(16), keySalt = Random(16), secret = Random(kKey);
  const Bytes h = PasswordHash(md, keySalt, password, kSpin);
  const Bytes verifier = Random(16);
  const Bytes encInput = Cipher(true, KeyFor(md, h, kVerifierInputKey, kKey), keySalt, verifier);
  const Bytes encValue = Cipher(true, KeyFor(md, h, kVerifierValueKey, kKey), keySalt, Hash(md, verifier));
  const Bytes encKey = Cipher(true, KeyFor(md, h, kKeyValueKey, kKey), keySalt, secret);
  Bytes package = Le32(static_cast<uint32_t>(zip.size())) + Le32(static_cast<uint32_t>(uint64_t{zip.size()} >> 32));
  package += Segments(true, md, secret, dataSalt, kBlock, zip);
  // The package's integrity: an HMAC under a random key, both encrypted.
  const Bytes hmacKey = Random(kHash);
  unsigned char mac[EVP_MAX_MD_SIZE];
  unsigned macLen = 0;
  HMAC(md, hmacKey.data(), static_cast<int>(hmacKey.size()), reinterpret_cast<const unsigned char*>(package.data()),
       package.size(), mac, &macLen);
  const std::string_view hk(reinterpret_cast<const char*>(kHmacKeyKey), 8), hv(reinterpret_cast<const char*>(kHmacValueKey), 8);
  const Bytes encHmacKey = Cipher(true, secret, IvFor(md, dataSalt, hk, kBlock), hmacKey);
  const Bytes encHmacValue = Cipher(true, secret, IvFor(md, dataSalt, hv, kBlock), Bytes(reinterpret_cast<char*>(mac), macLen));
  const std::string common =
      "blockSize=\"16\" keyBits=\"256\" hashSize=\"64\" cipherAlgorithm=\"AES\" cipherChaining=\"ChainingModeCBC\" "
      "hashAlgorithm=\"SHA512\"";
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
      "<encryption xmlns=\"http://schemas.microsoft.com/office/2006/encryption\" "
      "xmlns:p=\"http://schemas.microsoft.com/office/2006/keyEncryptor/password\" "
      "xmlns:c=\"http://schemas.microsoft.com/office/2006/keyEncryptor/certificate\">"
      "<keyData saltSize=\"16\" " + common + " saltValue=\"" + Base64(dataSalt) + "\"/>"
      "<dataIntegrity encryptedHmacKey=\"" + Base64(encHmacKey) + "\" encryptedHmacValue=\"" + Base64(encHmacValue) + "\"/>"
      "<keyEncryptors><keyEncryptor uri=\"http://schemas.microsoft.com/office/2006/keyEncryptor/password\">"
      "<p:encryptedKey spinCount=\"" + std::to_string(kSpin) + "\" saltSize=\"16\" " + common +
      " saltValue=\"" + Base64(keySalt) + "\" encryptedVerifierHashInput=\"" + Base64(encInput) +
      "\" encryptedVerifierHashValue=\"" + Base64(encValue) + "\" encryptedKeyValue=\"" + Base64(encKey) +
      "\"/></keyEncryptor></keyEncryptors></encryption>";
  // Version 4.4 with the agile flag, then the parameters.
  Bytes info("\x04\x00\x04\x00\x40\x00\x00\x00", 8);
  info += xml;
  return WriteCompoundFile({{"EncryptionInfo", info}, {"EncryptedPackage", package}});
}

bool ReservationMatches(const pugi::xml_node& fileSharing, const std::string& password) {
  const std::string legacy = fileSharing.attribute("reservationPassword").value();
  if (!legacy.empty()) return FoldCase(legacy) == FoldCase(xlsx::LegacyPasswordHash(password));
  if (!fileSharing.attribute("hashValue")) return true;
  // The iterated form: hash of salt and password, then of hash and counter.
  const EVP_MD* md = Digest(fileSharing.attribute("algorithmName").value());
  const uint32_t spin = fileSharing.attribute("spinCount").as_uint();
  if (spin > 10000000) return false;
  Bytes h = Hash(md, Unbase64(fileSharing.attribute("saltValue").value()), Utf16(password));
  for (uint32_t i = 0; i < spin; ++i) h = Hash(md, h, Le32(i));
  return Base64(h) == fileSharing.attribute("hashValue").value();
}

}  // namespace vantrove::office

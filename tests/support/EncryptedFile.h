// Encrypted files for tests: keys that are cheap to make, and a wrapper that is written by hand, so that its parts can
// be wrong.

#ifndef TESTS_SUPPORT_ENCRYPTEDFILE_H
#define TESTS_SUPPORT_ENCRYPTEDFILE_H

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "Platform/cipher/CipherHeader.h"
#include "Platform/cipher/StatCrypt.h"
#include "tests/support/FaultyStream.h"

// Makes the keys of new files cheap to compute while the object lives.
class CheapKeys {
 public:
  CheapKeys() { PresentKeyCost() = {.logN = 1, .r = 1, .p = 1}; }
  ~CheapKeys() { PresentKeyCost() = m_before; }
  CheapKeys(const CheapKeys&) = delete;
  CheapKeys& operator=(const CheapKeys&) = delete;

 private:
  KeyCost m_before = PresentKeyCost();
};

struct FileWrapper {
  std::int64_t length = 28;
  std::string letters = "ENCRYPTEDSAV";
  std::int32_t code = 21;
  std::string rest = std::string(12, '\0');

  std::string Bytes() const {
    std::string bytes(8, '\0');
    std::memcpy(bytes.data(), &length, 8);
    bytes += letters + std::string(4, '\0');
    std::memcpy(&bytes[bytes.size() - 4], &code, 4);
    return bytes + rest;
  }
};

inline constexpr std::size_t kFileWrapperSize = 36;

// Returns the enciphered bytes without a wrapper.
inline std::string EncipheredBytes(const std::string& plain, const std::string& password) {
  const CheapKeys cheap;
  FaultyStream from(plain);
  FaultyStream to("");
  if (!StatCrypt().encrypt(password.c_str(), from, to)) throw std::runtime_error("it cannot be enciphered");
  return to.Bytes();
}

inline std::string EncryptedFile(const std::string& plain, const std::string& password,
                                 const FileWrapper& wrapper = {}) {
  return wrapper.Bytes() + EncipheredBytes(plain, password);
}

// Returns the plain contents of an encrypted file.
inline std::string DecryptedFile(const std::string& bytes, const std::string& password) {
  FaultyStream from(bytes.substr(kFileWrapperSize));
  FaultyStream to("");
  if (!StatCrypt().decrypt(password.c_str(), from, to)) throw std::runtime_error("it cannot be deciphered");
  return to.Bytes();
}

#endif

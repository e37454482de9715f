// Shared by the tests of this layer: enciphering from text to text, with keys that cost nothing.

#ifndef PLATFORM_CIPHER_TESTS_CIPHERTESTING_H
#define PLATFORM_CIPHER_TESTS_CIPHERTESTING_H

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Platform/cipher/ChunkCipher.h"
#include "Platform/cipher/CipherHeader.h"
#include "Platform/cipher/StatCrypt.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/FaultyStream.h"

class CipherTest : public testing::Test {
 private:
  CheapKeys m_cheapKeys;
};

inline std::string Enciphered(const std::string& plain, const char* password) {
  FaultyStream from(plain);
  FaultyStream to("");
  EXPECT_TRUE(StatCrypt().encrypt(password, from, to));
  return to.Bytes();
}

// Returns nothing when the bytes are refused; errno says why.
inline std::optional<std::string> Deciphered(const std::string& bytes, const char* password) {
  FaultyStream from(bytes);
  FaultyStream to("");
  if (!StatCrypt().decrypt(password, from, to)) return std::nullopt;
  return to.Bytes();
}

inline std::string FromHex(const std::string& digits) {
  std::string bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2)
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  return bytes;
}

#endif

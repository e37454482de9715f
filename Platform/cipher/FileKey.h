// The key of one file, with what it was made of: the password and the file's header.
//
// All three lie in secret bytes or are public; they go when the last owner does.
//
// Threads: any; it does not change.

#ifndef PLATFORM_CIPHER_FILEKEY_H
#define PLATFORM_CIPHER_FILEKEY_H

#include <cstddef>
#include <memory>
#include <string_view>

#include "Platform/cipher/CipherHeader.h"

class SecretBytes;

class FileKey {
 public:
  static constexpr std::size_t kSize = 32;

  // Makes the key, in the time and with the memory that the header asks for. Null, with errno set, when there is not
  // enough memory or libcrypto fails.
  static std::shared_ptr<const FileKey> Derive(std::string_view password, const CipherHeader& header);

  FileKey(const FileKey&) = delete;
  FileKey& operator=(const FileKey&) = delete;
  ~FileKey();

  // kSize bytes.
  const unsigned char* Bytes() const;
  const CipherHeader& Header() const { return m_header; }
  // Whether it is the key of this password and this header. The time that it takes tells nothing of the password but
  // whether its length is right.
  bool IsFor(std::string_view password, const CipherHeader& header) const;

 private:
  FileKey() = default;

  CipherHeader m_header;
  std::unique_ptr<SecretBytes> m_secret;  // the key, then the password
};

#endif

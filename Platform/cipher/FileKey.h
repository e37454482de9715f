// The key of one file, with its source: the password and the file's header.
//
// Key and password are in secret bytes; the header is public. They live as long as the last owner.
//
// Threads: any; the object does not change.

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

  // Makes the key, in the time and with the memory that the header asks for. Returns null, with errno set, on failure:
  // ENOLCK when no memory can be locked for it, ENOMEM when there is not enough memory for its making.
  static std::shared_ptr<const FileKey> Derive(std::string_view password, const CipherHeader& header);

  FileKey(const FileKey&) = delete;
  FileKey& operator=(const FileKey&) = delete;
  ~FileKey();

  // Returns kSize bytes.
  const unsigned char* Bytes() const;
  const CipherHeader& Header() const { return m_header; }
  // Returns whether this is the key of this password and this header. The time of the call reveals only whether the
  // length of the password is right.
  bool IsFor(std::string_view password, const CipherHeader& header) const;

 private:
  FileKey() = default;

  CipherHeader m_header;
  std::unique_ptr<SecretBytes> m_secret;  // the key, then the password
};

#endif

// Enciphers the rest of a stream into another one, under a password, and deciphers it again. Format:
// docs/encryption.md.
//
//   enciphered := header, sealed chunk, sealed chunk, ... the last of which is marked as such
//
// Every byte that comes out of `decrypt` is genuine and in its place; but bytes have come out before the last chunk
// was looked at, so what stands in `to` is no use until it has answered true. A wrong password, a changed bit, a chunk
// that is missing, swapped, repeated or added, and an end that was cut off all answer false.
//
// Memory is constant, but for the key: CipherHeader.h tells what that takes.
//
// Threads: one thread at a time for each object.

#ifndef PLATFORM_CIPHER_STATCRYPT_H
#define PLATFORM_CIPHER_STATCRYPT_H

#include <memory>

#include "Platform/stream/QUAV_FileStream.h"

class FileKey;

class StatCrypt {
 public:
  StatCrypt();
  StatCrypt(const StatCrypt&) = delete;
  StatCrypt& operator=(const StatCrypt&) = delete;
  // Gives up the key of the last file, which until then is announced to the password cache.
  ~StatCrypt();

  // Both go from the present position of `from` to its end, write at the present position of `to` and flush it. The
  // password is UTF-8. False, with errno set, on failure: EBADMSG when `from` is not what it should be, else the
  // reason of what failed. A null password fails with EINVAL.
  bool decrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to);
  bool encrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to);

 private:
  std::shared_ptr<const FileKey> m_key;  // of the file that was last at work
};

#endif

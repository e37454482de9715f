// Enciphers the rest of a stream into another stream, under a password, and deciphers it again. Format:
// docs/encryption.md.
//
//   enciphered := header, sealed chunk, sealed chunk, ... the last of which is marked as such
//
// Every byte that `decrypt` writes is genuine and in its place. But it writes bytes before it has checked the last
// chunk, so do not use the contents of `to` until it has returned true. It returns false for a wrong password, a
// changed bit, a chunk that is missing, swapped, repeated or added, and a truncated end.
//
// Apart from the key, the memory does not depend on the size of the file. CipherHeader.h gives the memory for the key.
//
// Threads: one thread at a time for each object.

#ifndef PLATFORM_CIPHER_STATCRYPT_H
#define PLATFORM_CIPHER_STATCRYPT_H

#include <cstdint>
#include <memory>
#include <vector>

#include "Platform/stream/QUAV_FileStream.h"

class FileKey;

// What is wrong with a chunk.
struct ChunkFault {
  enum Kind {
    notGenuine,  // a changed bit, or bytes that are missing in it
    lastMissing  // the file ends after a chunk that is not the last one
  };
  Kind kind = notGenuine;
  std::int64_t place = 0;       // its first byte, in the stream that is deciphered
  std::int64_t plainPlace = 0;  // the same among the plain bytes
};

class StatCrypt {
 public:
  StatCrypt();
  StatCrypt(const StatCrypt&) = delete;
  StatCrypt& operator=(const StatCrypt&) = delete;
  // Releases the key of the last file. Until then the password cache can find that key, also when it was the wrong one:
  // trying the same password again costs nothing.
  ~StatCrypt();

  // Both read from the present position of `from` to its end, write at the present position of `to` and flush it. The
  // password is UTF-8. They return false, with errno set, on failure: EBADMSG when `decrypt` refuses what it read, EIO
  // when libcrypto fails, otherwise the reason of the failed call. A null password fails with EINVAL.
  bool decrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to);
  bool encrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to);
  // Deciphers a damaged stream: writes the plain bytes before the first fault, and tests the chunks after it, too. Adds a
  // fault for each chunk that has one. Returns false as `decrypt` does, with EBADMSG when no chunk is genuine.
  bool decryptGenuine(const char* password, QUAV_FileStream& from, QUAV_FileStream& to,
                      std::vector<ChunkFault>& faults);

  // Returns how many bytes `encrypt` writes for so many plain ones.
  static std::int64_t EncipheredSize(std::int64_t plain);

  // Makes the key with which the next `encrypt` under this password works. So a writer knows before its first byte
  // whether there will be a key. Returns false, with errno set, when none can be made: ENOLCK when no memory can be
  // locked for it.
  bool makeKey(const char* password);
  // Returns whether the key that this object made or found last is one of this password.
  bool hasKeyOf(const char* password) const;

 private:
  bool FindKey(const char* password, QUAV_FileStream& from);

  std::shared_ptr<const FileKey> m_key;   // the key of the last file
  std::shared_ptr<const FileKey> m_next;  // the key of the next file to encipher; null: not made yet
};

#endif

// The cipher of one temporary file: AES-256 in counter mode.
//
// A byte of the file on disk is the XOR of its plain byte and a byte of the file's key stream. Only the position
// decides which byte of the key stream that is. So any range can be enciphered by itself, and no position or length
// changes. All files of the process share one key, which is made at random at its first use. Each file counts its
// blocks of 16 bytes from its own random number of 128 bits, which is forgotten with the file. After the process has
// ended nothing can read the file.
//
// Purpose: the disk, and anybody who reads it later, gets no plain cases. Limits:
//
//   - The cipher does not notice changed bytes: a flipped bit on disk is a flipped bit of the plain contents.
//   - The key stream of a file never changes. An attacker who sees the same place before and after it is overwritten
//     (by two looks at the disk, or in an old copy that the device or the file system kept) can XOR both ciphertexts.
//     He sees where they differ, and he learns the XOR of the old and the new plain bytes: if he knows one of them, he
//     also knows the other. Only a file in which no place is written twice with different bytes is safe from this.
//
// The key is in secret bytes (SecretBytes.h), which are wiped when the process ends. What the cipher derives from the
// key lives for one call and is wiped at its end.
//
// Threads: any number at once.

#ifndef PLATFORM_STREAM_FILECIPHER_H
#define PLATFORM_STREAM_FILECIPHER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

class SecretBytes;

class FileCipher {
 public:
  // Makes the cipher of a new file. Returns null, with errno set, when there are no random bytes or when no memory
  // can be locked for the key (ENOLCK): a key that could be swapped to disk is never used.
  static std::unique_ptr<FileCipher> Make();

  // Enciphers, or deciphers, `size` bytes at `offset` of the file. `from` and `to` are the same memory or do not
  // overlap. Returns false when libcrypto fails; the bytes at `to` are then useless.
  bool Apply(const std::byte* from, std::byte* to, std::size_t size, std::int64_t offset) const;

 private:
  static constexpr std::size_t kBlockSize = 16;
  using Block = std::array<unsigned char, kBlockSize>;

  FileCipher() = default;

  Block CounterAt(std::int64_t block) const;

  std::shared_ptr<const SecretBytes> m_key;
  Block m_firstCounter{};  // the counter of block 0, the most significant byte first
};

#endif

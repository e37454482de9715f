// The cipher of one temporary file: AES-256 in counter mode.
//
// A byte of the file is its plain byte combined with a byte of a stream that only its position decides, so that any
// range can be enciphered by itself and no position or length changes. The key is one for the process, made at random
// when first needed; each file counts its blocks of 16 bytes from a random number of 128 bits, which is forgotten with
// it. Nothing can read the file once the process is gone.
//
// What it is for: that the disk, and whoever finds it later, holds no plain cases. It does not notice bytes that were
// changed on the disk. Who sees the file at two times can tell where it was written over.
//
// The key lies in secret bytes (SecretBytes.h), and is wiped when the process ends. What the cipher derives from it
// lives for one call, and is wiped there.
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
  // For a new file. Null, with errno set, when there are no random bytes or no memory can be locked for the key: no
  // file is enciphered by a key that the swap may show.
  static std::unique_ptr<FileCipher> Make();

  // Enciphers, or deciphers, `size` bytes that stand from `offset` on in the file. `from` and `to` are the same memory
  // or do not overlap. False when libcrypto fails; what stands at `to` is then no use.
  bool Apply(const std::byte* from, std::byte* to, std::size_t size, std::int64_t offset) const;

 private:
  static constexpr std::size_t kBlockSize = 16;
  using Block = std::array<unsigned char, kBlockSize>;

  FileCipher() = default;

  Block CounterAt(std::int64_t block) const;

  std::shared_ptr<const SecretBytes> m_key;
  Block m_firstCounter{};  // of block 0, the most significant byte first
};

#endif

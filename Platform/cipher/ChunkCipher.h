// The cipher of a file's bytes: AES-256-GCM, chunk by chunk, in the STREAM construction. Format: docs/encryption.md,
// "Chunks".
//
//   sealed chunk := up to 64 KiB of cipher text, then the tag of 16 bytes
//   nonce        := the chunk's number in 11 bytes, the most significant first, then 1 for the last chunk, else 0
//   also bound   := the file's header
//
// So a chunk opens only at its own place and only after its own header. A chunk that was sealed as the last one opens
// only as the last one, every other only as one that is not. A key seals one file: a nonce must never occur twice under
// a key.
//
// Threads: one thread at a time.

#ifndef PLATFORM_CIPHER_CHUNKCIPHER_H
#define PLATFORM_CIPHER_CHUNKCIPHER_H

#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <memory>

#include "Platform/cipher/CipherHeader.h"

class ChunkCipher {
 public:
  static constexpr std::size_t kPlainSize = 64UL * 1024;
  static constexpr std::size_t kTagSize = 16;
  static constexpr std::size_t kSealedSize = kPlainSize + kTagSize;

  enum class Direction { encipher, decipher };

  // `key` has 32 bytes. IsReady returns false when libcrypto fails.
  ChunkCipher(Direction direction, const unsigned char* key, const CipherHeader& header);
  bool IsReady() const { return m_context != nullptr; }

  // Seal or open the next chunk, of `size` plain bytes. The sealed chunk has the tag after them. The two buffers are
  // the same memory or do not overlap. They return false, with errno set, on failure: EBADMSG when a sealed chunk is not
  // genuine, EIO when libcrypto fails. The output is then useless.
  bool Seal(const std::byte* plain, std::size_t size, bool isLast, std::byte* sealed);
  bool Open(const std::byte* sealed, std::size_t size, bool isLast, std::byte* plain);
  // Makes the chunk that was sealed or opened last the next one again.
  void CountBack();

 private:
  static constexpr std::size_t kNonceSize = 12;

  struct ContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }  // wipes it
  };

  bool Begin(bool isLast);
  bool Apply(const std::byte* from, std::size_t size, std::byte* to);
  void CountOn();

  std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> m_context;  // holds the key
  CipherHeader::Bytes m_header;
  std::array<unsigned char, kNonceSize> m_nonce{};
};

#endif

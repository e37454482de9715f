#include "Platform/cipher/ChunkCipher.h"

#include <algorithm>
#include <cerrno>

#include "Platform/stream/Octets.h"

ChunkCipher::ChunkCipher(Direction direction, const unsigned char* key, const CipherHeader& header)
    : m_context(EVP_CIPHER_CTX_new()), m_header(ToBytes(header)) {
  const int enciphers = direction == Direction::encipher ? 1 : 0;
  if (m_context && EVP_CipherInit_ex2(m_context.get(), EVP_aes_256_gcm(), key, nullptr, enciphers, nullptr) != 1)
    m_context.reset();
}

// The key stays; each chunk has its own nonce.
bool ChunkCipher::Begin(bool isLast) {
  m_nonce.back() = isLast ? 1 : 0;
  int bound = 0;
  return EVP_CipherInit_ex2(m_context.get(), nullptr, nullptr, m_nonce.data(), -1, nullptr) == 1 &&
         EVP_CipherUpdate(m_context.get(), nullptr, &bound, Octets(m_header.data()),
                          static_cast<int>(m_header.size())) == 1;
}

bool ChunkCipher::Apply(const std::byte* from, std::size_t size, std::byte* to) {
  int done = 0;
  return size == 0 || EVP_CipherUpdate(m_context.get(), Octets(to), &done, Octets(from), static_cast<int>(size)) == 1;
}

// The counter has 88 bits: more chunks than any file has.
void ChunkCipher::CountOn() {
  for (std::size_t i = kNonceSize - 1; i-- > 0;)
    if (++m_nonce[i] != 0) return;
}

void ChunkCipher::CountBack() {
  for (std::size_t i = kNonceSize - 1; i-- > 0;)
    if (m_nonce[i]-- != 0) return;
}

bool ChunkCipher::Seal(const std::byte* plain, std::size_t size, bool isLast, std::byte* sealed) {
  std::array<unsigned char, kTagSize> behind{};  // stays empty: a counter mode writes no final bytes
  int none = 0;
  const bool isSealed = Begin(isLast) && Apply(plain, size, sealed) &&
                        EVP_CipherFinal_ex(m_context.get(), behind.data(), &none) == 1 &&
                        EVP_CIPHER_CTX_ctrl(m_context.get(), EVP_CTRL_AEAD_GET_TAG, kTagSize, sealed + size) == 1;
  CountOn();
  if (!isSealed) errno = EIO;
  return isSealed;
}

bool ChunkCipher::Open(const std::byte* sealed, std::size_t size, bool isLast, std::byte* plain) {
  std::array<std::byte, kTagSize> tag;  // a copy, because libcrypto takes a pointer to bytes that are not const
  std::copy_n(sealed + size, kTagSize, tag.begin());
  std::array<unsigned char, kTagSize> behind{};
  int none = 0;
  const bool isDeciphered = Begin(isLast) && Apply(sealed, size, plain) &&
                            EVP_CIPHER_CTX_ctrl(m_context.get(), EVP_CTRL_AEAD_SET_TAG, kTagSize, tag.data()) == 1;
  // With everything in place, the last step fails only when the tag is another.
  const bool isGenuine = isDeciphered && EVP_CipherFinal_ex(m_context.get(), behind.data(), &none) == 1;
  CountOn();
  if (!isGenuine) errno = isDeciphered ? EBADMSG : EIO;
  return isGenuine;
}

#include "Platform/stream/FileCipher.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "Platform/stream/Octets.h"
#include "Platform/stream/SecretBytes.h"

namespace {

constexpr std::size_t kKeySize = 32;

// Returns the process's key, which the first successful call makes. Returns null, with errno set, on failure.
std::shared_ptr<const SecretBytes> ProcessKey() {
  static std::mutex mutex;
  static std::shared_ptr<const SecretBytes> present;  // guarded by the mutex
  const std::scoped_lock lock(mutex);
  if (!present) present = SecretBytes::MakeRandom(kKeySize);
  return present;
}

// libcrypto counts bytes in an int.
constexpr std::size_t kMostAtOnce = 1UL << 30;

struct ContextDeleter {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }  // wipes it
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter>;

bool Update(EVP_CIPHER_CTX* context, const unsigned char* from, unsigned char* to, std::size_t size) {
  while (size > 0) {
    const std::size_t piece = std::min(size, kMostAtOnce);
    int done = 0;
    if (EVP_EncryptUpdate(context, to, &done, from, static_cast<int>(piece)) != 1) return false;
    from += piece;
    to += piece;
    size -= piece;
  }
  return true;
}

}  // namespace

std::unique_ptr<FileCipher> FileCipher::Make() {
  std::unique_ptr<FileCipher> cipher(new FileCipher);
  cipher->m_key = ProcessKey();
  if (!cipher->m_key) return nullptr;
  if (RAND_bytes(cipher->m_firstCounter.data(), kBlockSize) == 1) return cipher;
  errno = EIO;
  return nullptr;
}

// The sum has all 16 bytes: the counters of two files practically never overlap, even in very long files.
FileCipher::Block FileCipher::CounterAt(std::int64_t block) const {
  Block counter = m_firstCounter;
  auto carried = static_cast<std::uint64_t>(block);
  for (std::size_t i = kBlockSize; i-- > 0 && carried != 0;) {
    carried += counter[i];
    counter[i] = static_cast<unsigned char>(carried % 256);
    carried /= 256;
  }
  return counter;
}

// In counter mode, enciphering and deciphering are the same. If the range begins inside a block, the cipher first
// skips the bytes of the block before it.
bool FileCipher::Apply(const std::byte* from, std::byte* to, std::size_t size, std::int64_t offset) const {
  const Context context(EVP_CIPHER_CTX_new());
  const Block counter = CounterAt(offset / static_cast<std::int64_t>(kBlockSize));
  if (!context || EVP_EncryptInit_ex(context.get(), EVP_aes_256_ctr(), nullptr, m_key->Data(), counter.data()) != 1)
    return false;
  Block passedBy{};
  const auto before = static_cast<std::size_t>(offset) % kBlockSize;
  return Update(context.get(), passedBy.data(), passedBy.data(), before) &&
         Update(context.get(), Octets(from), Octets(to), size);
}

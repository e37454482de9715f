#include "Platform/stream/FileCipher.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

// A page of its own for the key.
class ProcessKey {
 public:
  static constexpr std::size_t kSize = 32;

  // The process's key, which is made by the first call that succeeds; null, with errno set, for one that does not.
  static std::shared_ptr<const ProcessKey> Present() {
    static std::mutex mutex;
    static std::shared_ptr<const ProcessKey> present;  // guarded by the mutex
    const std::scoped_lock lock(mutex);
    if (!present) present = Make();
    return present;
  }

  ProcessKey(const ProcessKey&) = delete;
  ProcessKey& operator=(const ProcessKey&) = delete;
  ~ProcessKey() {
    if (m_page == MAP_FAILED) return;
    OPENSSL_cleanse(m_page, kSize);
    ::munmap(m_page, kSize);  // unlocks too
  }

  const unsigned char* Bytes() const { return static_cast<const unsigned char*>(m_page); }

 private:
  ProcessKey() = default;

  static std::shared_ptr<const ProcessKey> Make() {
    std::shared_ptr<ProcessKey> key(new ProcessKey);
    return key->LockPage() && key->Fill() ? key : nullptr;
  }

  bool LockPage() {
    m_page = ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m_page == MAP_FAILED) return false;
    return ::mlock(m_page, kSize) == 0 && ::madvise(m_page, kSize, MADV_DONTDUMP) == 0;
  }

  bool Fill() {
    if (RAND_priv_bytes(static_cast<unsigned char*>(m_page), kSize) == 1) return true;
    errno = EIO;
    return false;
  }

  void* m_page = MAP_FAILED;
};

namespace {

// libcrypto counts bytes in an int.
constexpr std::size_t kMostAtOnce = 1UL << 30;

struct ContextDeleter {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }  // wipes it
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter>;

unsigned char* Octets(std::byte* bytes) { return static_cast<unsigned char*>(static_cast<void*>(bytes)); }
const unsigned char* Octets(const std::byte* bytes) {
  return static_cast<const unsigned char*>(static_cast<const void*>(bytes));
}

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
  cipher->m_key = ProcessKey::Present();
  if (!cipher->m_key) return nullptr;
  if (RAND_bytes(cipher->m_firstCounter.data(), kBlockSize) == 1) return cipher;
  errno = EIO;
  return nullptr;
}

// A sum over all 16 bytes: files overlap in their counters as good as never, however long they are.
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

// In counter mode the one direction serves both ways. A range that begins inside a block first uses up what of the
// block stands in front of it.
bool FileCipher::Apply(const std::byte* from, std::byte* to, std::size_t size, std::int64_t offset) const {
  const Context context(EVP_CIPHER_CTX_new());
  const Block counter = CounterAt(offset / static_cast<std::int64_t>(kBlockSize));
  if (!context || EVP_EncryptInit_ex(context.get(), EVP_aes_256_ctr(), nullptr, m_key->Bytes(), counter.data()) != 1)
    return false;
  Block passedBy{};
  const auto before = static_cast<std::size_t>(offset) % kBlockSize;
  return Update(context.get(), passedBy.data(), passedBy.data(), before) &&
         Update(context.get(), Octets(from), Octets(to), size);
}

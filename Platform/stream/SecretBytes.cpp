#include "Platform/stream/SecretBytes.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <sys/mman.h>

#include <cerrno>

std::unique_ptr<SecretBytes> SecretBytes::Make(std::size_t size) {
  std::unique_ptr<SecretBytes> secret(new SecretBytes(size));
  if (!secret->LockPages()) return nullptr;
  return secret;
}

std::unique_ptr<SecretBytes> SecretBytes::MakeRandom(std::size_t size) {
  std::unique_ptr<SecretBytes> secret = Make(size);
  if (!secret || RAND_priv_bytes_ex(nullptr, secret->m_bytes, size, 0) == 1) return secret;
  errno = EIO;
  return nullptr;
}

bool SecretBytes::LockPages() {
  void* const pages = ::mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) return false;
  m_bytes = static_cast<unsigned char*>(pages);
  if (::mlock(pages, m_size) == 0) return ::madvise(pages, m_size, MADV_DONTDUMP) == 0;
  errno = ENOLCK;
  return false;
}

SecretBytes::~SecretBytes() {
  if (m_bytes == nullptr) return;
  OPENSSL_cleanse(m_bytes, m_size);
  ::munmap(m_bytes, m_size);  // unlocks too
}

void Wipe(std::string& text) {
  text.resize(text.capacity());  // does not allocate
  OPENSSL_cleanse(text.data(), text.size());
  text.clear();
}

#include "Platform/cipher/FileKey.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/kdf.h>
#include <openssl/params.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/stream/SecretBytes.h"

namespace {

struct DerivationDeleter {
  void operator()(EVP_KDF* derivation) const { EVP_KDF_free(derivation); }
  void operator()(EVP_KDF_CTX* context) const { EVP_KDF_CTX_free(context); }  // wipes it
};

// Apart from the table that the cost gives, scrypt needs a little memory. This is the limit for all of it.
constexpr std::uint64_t kMemoryBound = std::uint64_t{512} << 20;

bool Scrypt(unsigned char* password, std::size_t size, CipherHeader header, unsigned char* key) {
  const std::unique_ptr<EVP_KDF, DerivationDeleter> scrypt(EVP_KDF_fetch(nullptr, "SCRYPT", nullptr));
  const std::unique_ptr<EVP_KDF_CTX, DerivationDeleter> context(scrypt ? EVP_KDF_CTX_new(scrypt.get()) : nullptr);
  std::uint64_t n = std::uint64_t{1} << header.cost.logN;
  std::uint64_t r = header.cost.r;
  std::uint64_t p = header.cost.p;
  std::uint64_t bound = kMemoryBound;
  const OSSL_PARAM parameters[] = {
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_PASSWORD, password, size),
      OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_SALT, header.salt.data(), header.salt.size()),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_SCRYPT_N, &n),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_SCRYPT_R, &r),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_SCRYPT_P, &p),
      OSSL_PARAM_construct_uint64(OSSL_KDF_PARAM_SCRYPT_MAXMEM, &bound),
      OSSL_PARAM_construct_end(),
  };
  return context && EVP_KDF_derive(context.get(), key, FileKey::kSize, parameters) == 1;
}

}  // namespace

FileKey::~FileKey() = default;

std::shared_ptr<const FileKey> FileKey::Derive(std::string_view password, const CipherHeader& header) {
  const std::shared_ptr<FileKey> key(new FileKey);
  key->m_header = header;
  key->m_secret = SecretBytes::Make(kSize + password.size());
  if (!key->m_secret) return nullptr;
  unsigned char* const begin = key->m_secret->Data();
  std::ranges::copy(password, begin + kSize);
  if (Scrypt(begin + kSize, password.size(), header, begin)) return key;
  errno = ENOMEM;  // scrypt fails for no other reason with a cost that ParseCipherHeader accepts
  return nullptr;
}

const unsigned char* FileKey::Bytes() const { return m_secret->Data(); }

bool FileKey::IsFor(std::string_view password, const CipherHeader& header) const {
  return header == m_header && kSize + password.size() == m_secret->Size() &&
         CRYPTO_memcmp(m_secret->Data() + kSize, password.data(), password.size()) == 0;
}

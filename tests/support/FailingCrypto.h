// A libcrypto that fails.
//
//   const CryptoMemory memory(3);    it gets the next three requests for memory; all later ones fail
//   const NoRandomBytes none;        every request for random bytes fails
//   const FailingCipher cipher(3);   the third operation of a cipher fails, and all later ones
//
// libcrypto does not take another allocator once it has used one. So a program that includes this header gives it the
// one that can fail before main. The failing cipher enciphers nothing: until it fails it only copies.
//
// Threads: an object lives while no other thread uses libcrypto.

#ifndef TESTS_SUPPORT_FAILINGCRYPTO_H
#define TESTS_SUPPORT_FAILINGCRYPTO_H

#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/provider.h>
#include <openssl/rand.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

class CryptoMemory {
 public:
  explicit CryptoMemory(long requests) {
    if (!s_isInstalled) throw std::logic_error("libcrypto has an allocator already");
    s_left = requests;
  }
  CryptoMemory(const CryptoMemory&) = delete;
  CryptoMemory& operator=(const CryptoMemory&) = delete;
  ~CryptoMemory() { s_left = kWithoutEnd; }

  // Returns whether a request has failed.
  bool RanOut() const { return s_left < 0; }

 private:
  static constexpr long kWithoutEnd = 1L << 62;

  static bool Grants() { return --s_left >= 0; }
  static void* Allocate(std::size_t size, const char*, int) { return Grants() ? std::malloc(size) : nullptr; }
  static void* Reallocate(void* memory, std::size_t size, const char*, int) {
    return Grants() ? std::realloc(memory, size) : nullptr;
  }
  static void Free(void* memory, const char*, int) { std::free(memory); }

  inline static std::atomic<long> s_left = kWithoutEnd;
  inline static const bool s_isInstalled = CRYPTO_set_mem_functions(&Allocate, &Reallocate, &Free) == 1;
};

// libcrypto 3 calls these functions deprecated, and has no other way that is as short.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

class NoRandomBytes {
 public:
  NoRandomBytes() { RAND_set_rand_method(&s_none); }
  NoRandomBytes(const NoRandomBytes&) = delete;
  NoRandomBytes& operator=(const NoRandomBytes&) = delete;
  ~NoRandomBytes() { RAND_set_rand_method(nullptr); }

 private:
  static int Fail(unsigned char*, int) { return 0; }

  inline static const RAND_METHOD s_none{nullptr, &Fail, nullptr, nullptr, &Fail, nullptr};
};

#pragma GCC diagnostic pop

// Stands in for AES-256-GCM and AES-256-CTR, in a provider that libcrypto prefers to its own.
class FailingCipher {
 public:
  explicit FailingCipher(int n) {
    s_left = n;
    OSSL_PROVIDER_add_builtin(nullptr, "failing", &Init);
    m_provider = OSSL_PROVIDER_load(nullptr, "failing");
    m_default = OSSL_PROVIDER_load(nullptr, "default");  // once one is loaded by name, the default no longer is
    if (m_provider == nullptr || m_default == nullptr || EVP_set_default_properties(nullptr, "?provider=failing") != 1)
      throw std::logic_error("libcrypto does not take the cipher");
  }
  FailingCipher(const FailingCipher&) = delete;
  FailingCipher& operator=(const FailingCipher&) = delete;
  ~FailingCipher() {
    EVP_set_default_properties(nullptr, "");
    OSSL_PROVIDER_unload(m_provider);
    OSSL_PROVIDER_unload(m_default);
  }

  // Returns whether an operation has failed.
  bool Struck() const { return s_left <= 0; }

 private:
  using Function = void (*)();

  static int Works() { return --s_left > 0 ? 1 : 0; }
  static void* New(void*) { return &s_left; }
  static void Free(void*) {}
  static int Start(void*, const unsigned char*, std::size_t, const unsigned char*, std::size_t, const OSSL_PARAM*) {
    return Works();
  }
  static int Update(void*, unsigned char* to, std::size_t* done, std::size_t, const unsigned char* from,
                    std::size_t size) {
    *done = size;
    if (to != nullptr && size != 0) std::memmove(to, from, size);
    return Works();
  }
  static int Final(void*, unsigned char*, std::size_t* done, std::size_t) {
    *done = 0;
    return Works();
  }
  static int Get(void*, OSSL_PARAM*) { return Works(); }
  static int Set(void*, const OSSL_PARAM*) { return Works(); }

  static int Describe(OSSL_PARAM* params) {
    const auto set = [params](const char* name, std::size_t value) {
      OSSL_PARAM* const place = OSSL_PARAM_locate(params, name);
      return place == nullptr || OSSL_PARAM_set_size_t(place, value) == 1;
    };
    return set(OSSL_CIPHER_PARAM_BLOCK_SIZE, 1) && set(OSSL_CIPHER_PARAM_KEYLEN, 32) && set(OSSL_CIPHER_PARAM_IVLEN, 12)
               ? 1
               : 0;
  }

  template <class Wanted>
  static OSSL_DISPATCH Entry(int id, Wanted function) {
    return {id, reinterpret_cast<Function>(function)};
  }

  static const OSSL_ALGORITHM* Ciphers(void*, int operation, int* mayKeep) {
    static const OSSL_DISPATCH functions[] = {
        Entry(OSSL_FUNC_CIPHER_NEWCTX, &New),          Entry(OSSL_FUNC_CIPHER_FREECTX, &Free),
        Entry(OSSL_FUNC_CIPHER_ENCRYPT_INIT, &Start),  Entry(OSSL_FUNC_CIPHER_DECRYPT_INIT, &Start),
        Entry(OSSL_FUNC_CIPHER_UPDATE, &Update),       Entry(OSSL_FUNC_CIPHER_FINAL, &Final),
        Entry(OSSL_FUNC_CIPHER_GET_PARAMS, &Describe), Entry(OSSL_FUNC_CIPHER_GET_CTX_PARAMS, &Get),
        Entry(OSSL_FUNC_CIPHER_SET_CTX_PARAMS, &Set),  {0, nullptr}};
    static const OSSL_ALGORITHM ciphers[] = {
        {"AES-256-GCM:id-aes256-GCM:2.16.840.1.101.3.4.1.46", "provider=failing", functions, nullptr},
        {"AES-256-CTR", "provider=failing", functions, nullptr},
        {nullptr, nullptr, nullptr, nullptr}};
    *mayKeep = 0;
    return operation == OSSL_OP_CIPHER ? ciphers : nullptr;
  }

  static int Init(const OSSL_CORE_HANDLE* handle, const OSSL_DISPATCH*, const OSSL_DISPATCH** out, void** context) {
    static const OSSL_DISPATCH functions[] = {Entry(OSSL_FUNC_PROVIDER_QUERY_OPERATION, &Ciphers), {0, nullptr}};
    *out = functions;
    *context = const_cast<OSSL_CORE_HANDLE*>(handle);
    return 1;
  }

  inline static int s_left = 0;

  OSSL_PROVIDER* m_provider;
  OSSL_PROVIDER* m_default;
};

#endif

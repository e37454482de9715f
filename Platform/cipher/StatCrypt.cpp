#include "Platform/cipher/StatCrypt.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <utility>

#include "Platform/cipher/ChunkCipher.h"
#include "Platform/cipher/CipherHeader.h"
#include "Platform/cipher/FileKey.h"
#include "Platform/cipher/PasswordCache.h"
#include "Platform/stream/Octets.h"

namespace {

// The number of chunks in one request: streams transfer requests of this size without a copy.
constexpr std::size_t kChunksAtOnce = 8;

// Memory for chunks. The destructor wipes it, because it held plain bytes.
class Chunks {
 public:
  // Each chunk has `size` bytes.
  explicit Chunks(std::size_t size)
      : m_size(size * kChunksAtOnce), m_bytes(std::make_unique_for_overwrite<std::byte[]>(m_size)) {}
  Chunks(const Chunks&) = delete;
  Chunks& operator=(const Chunks&) = delete;
  ~Chunks() { OPENSSL_cleanse(m_bytes.get(), m_size); }

  std::byte* Bytes() { return m_bytes.get(); }
  std::size_t Size() const { return m_size; }

 private:
  std::size_t m_size;
  std::unique_ptr<std::byte[]> m_bytes;
};

bool Fail(int reason) {
  errno = reason;
  return false;
}

// A stream that is good but returned too few bytes is shorter than its length said: EIO.
bool Failed(const QUAV_FileStream& stream) { return Fail(stream.Error() != 0 ? stream.Error() : EIO); }

// The rest of a stream. It asks for the length once, at the start: a stream that turns out to be shorter has failed.
class Rest {
 public:
  explicit Rest(QUAV_FileStream& from) : m_from(from), m_left(from.Length() - from.Tell()) {}

  // Returns whether the stream knows its length.
  bool IsKnown() const { return m_from.Good() && m_left >= 0; }
  bool IsOver() const { return m_left == 0; }
  // Reads `most` bytes, or all that are left. Returns the count, or -1 when the read fails.
  long Read(std::byte* to, std::size_t most) {
    const long size = std::min(static_cast<long>(most), m_left);
    if (m_from.Read(to, static_cast<unsigned long>(size)) != static_cast<unsigned long>(size)) return -1;
    m_left -= size;
    return size;
  }

 private:
  QUAV_FileStream& m_from;
  long m_left;
};

bool WriteAll(QUAV_FileStream& to, const std::byte* bytes, std::size_t size) {
  return to.Write(bytes, size) == size || Failed(to);
}

std::optional<CipherHeader> ReadHeader(QUAV_FileStream& from) {
  CipherHeader::Bytes bytes{};
  if (from.Read(bytes.data(), bytes.size()) == bytes.size()) {
    if (auto header = ParseCipherHeader(bytes)) return header;
  } else if (!from.Good()) {
    Failed(from);
    return std::nullopt;
  }
  Fail(EBADMSG);
  return std::nullopt;
}

// Each header has a new salt, so that no two files have the same key.
std::optional<CipherHeader> NewHeader() {
  CipherHeader header;
  header.cost = PresentKeyCost();
  if (RAND_bytes_ex(nullptr, Octets(header.salt.data()), header.salt.size(), 0) == 1) return header;
  Fail(EIO);
  return std::nullopt;
}

std::shared_ptr<const FileKey> NewKey(const char* password) {
  const auto header = NewHeader();
  return header ? FileKey::Derive(password, *header) : nullptr;
}

bool IsKeyOf(const std::shared_ptr<const FileKey>& key, const char* password) {
  return key && key->IsFor(password, key->Header());
}

bool SealAll(ChunkCipher& cipher, QUAV_FileStream& from, QUAV_FileStream& to) {
  Chunks plain(ChunkCipher::kPlainSize);
  Chunks sealed(ChunkCipher::kSealedSize);
  Rest rest(from);
  if (!rest.IsKnown()) return Failed(from);
  // An empty stream gives one chunk, too.
  for (bool isFirst = true; isFirst || !rest.IsOver(); isFirst = false) {
    const long size = rest.Read(plain.Bytes(), plain.Size());
    if (size < 0) return Failed(from);
    std::size_t taken = 0;
    std::size_t made = 0;
    do {
      const std::size_t chunk = std::min(static_cast<std::size_t>(size) - taken, ChunkCipher::kPlainSize);
      const bool isLast = rest.IsOver() && taken + chunk == static_cast<std::size_t>(size);
      if (!cipher.Seal(plain.Bytes() + taken, chunk, isLast, sealed.Bytes() + made)) return false;
      taken += chunk;
      made += chunk + ChunkCipher::kTagSize;
    } while (taken < static_cast<std::size_t>(size));
    if (!WriteAll(to, sealed.Bytes(), made)) return false;
  }
  return true;
}

bool OpenAll(ChunkCipher& cipher, QUAV_FileStream& from, QUAV_FileStream& to) {
  Chunks sealed(ChunkCipher::kSealedSize);
  Chunks plain(ChunkCipher::kPlainSize);
  Rest rest(from);
  if (!rest.IsKnown()) return Failed(from);
  if (rest.IsOver()) return Fail(EBADMSG);
  for (bool isFirst = true; !rest.IsOver();) {
    const long size = rest.Read(sealed.Bytes(), sealed.Size());
    if (size < 0) return Failed(from);
    std::size_t taken = 0;
    std::size_t made = 0;
    for (; taken < static_cast<std::size_t>(size); isFirst = false) {
      const std::size_t chunk = std::min(static_cast<std::size_t>(size) - taken, ChunkCipher::kSealedSize);
      const bool isLast = rest.IsOver() && taken + chunk == static_cast<std::size_t>(size);
      // A chunk without plain bytes is allowed only as the single chunk of an empty file.
      if (chunk < ChunkCipher::kTagSize + (isFirst ? 0 : 1)) return Fail(EBADMSG);
      const std::size_t bytes = chunk - ChunkCipher::kTagSize;
      if (!cipher.Open(sealed.Bytes() + taken, bytes, isLast, plain.Bytes() + made)) return false;
      taken += chunk;
      made += bytes;
    }
    if (!WriteAll(to, plain.Bytes(), made)) return false;
  }
  return true;
}

// Opens the chunks one by one; each has a place of its own, also after one that is not genuine.
class GenuineChunks {
 public:
  GenuineChunks(ChunkCipher& cipher, QUAV_FileStream& from, QUAV_FileStream& to, std::vector<ChunkFault>& faults)
      : m_cipher(cipher), m_from(from), m_to(to), m_faults(faults), m_place(from.Tell()) {}

  bool OpenAll() {
    Rest rest(m_from);
    if (!rest.IsKnown()) return Failed(m_from);
    if (rest.IsOver()) return Fail(EBADMSG);
    while (!rest.IsOver()) {
      const long size = rest.Read(m_sealed.Bytes(), ChunkCipher::kSealedSize);
      if (size < 0) return Failed(m_from);
      if (!Take(static_cast<std::size_t>(size), rest.IsOver())) return false;
    }
    return m_genuine != 0 || Fail(EBADMSG);
  }

 private:
  bool Take(std::size_t size, bool isLast) {
    const std::size_t bytes = std::max(size, ChunkCipher::kTagSize) - ChunkCipher::kTagSize;
    const bool isWhole = size >= ChunkCipher::kTagSize + (m_isFirst ? 0 : 1);
    m_isFirst = false;
    bool isGenuine = isWhole && m_cipher.Open(m_sealed.Bytes(), bytes, isLast, m_plain.Bytes());
    bool isEndMissing = false;
    if (!isGenuine && isWhole && isLast) {
      m_cipher.CountBack();
      isGenuine = isEndMissing = m_cipher.Open(m_sealed.Bytes(), bytes, false, m_plain.Bytes());
    }
    if (!isGenuine) m_faults.push_back({ChunkFault::notGenuine, m_place, m_plainPlace});
    m_genuine += isGenuine ? 1 : 0;
    if (m_faults.empty() && !WriteAll(m_to, m_plain.Bytes(), bytes)) return false;
    m_place += static_cast<std::int64_t>(size);
    m_plainPlace += static_cast<std::int64_t>(bytes);
    if (isEndMissing) m_faults.push_back({ChunkFault::lastMissing, m_place, m_plainPlace});
    return true;
  }

  ChunkCipher& m_cipher;
  QUAV_FileStream& m_from;
  QUAV_FileStream& m_to;
  std::vector<ChunkFault>& m_faults;
  Chunks m_sealed{ChunkCipher::kSealedSize};
  Chunks m_plain{ChunkCipher::kPlainSize};
  std::int64_t m_place;
  std::int64_t m_plainPlace = 0;
  std::int64_t m_genuine = 0;  // chunks
  bool m_isFirst = true;
};

}  // namespace

StatCrypt::StatCrypt() = default;

StatCrypt::~StatCrypt() = default;

// Reads the header and makes its key, m_key.
bool StatCrypt::FindKey(const char* password, QUAV_FileStream& from) {
  if (password == nullptr) return Fail(EINVAL);
  const auto header = ReadHeader(from);
  const std::string name = from.GetNameStr().GetGeneric();
  if (!header) return false;
  m_key = FindFileKey(password, *header);
  if (!m_key) m_key = FileKey::Derive(password, *header);
  if (!m_key) return false;
  AnnounceFileKey(name, m_key);
  return true;
}

bool StatCrypt::decrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to) {
  if (!FindKey(password, from)) return false;
  ChunkCipher cipher(ChunkCipher::Direction::decipher, m_key->Bytes(), m_key->Header());
  if (!cipher.IsReady()) return Fail(EIO);
  return OpenAll(cipher, from, to) && to.Flush() == 0;
}

bool StatCrypt::decryptGenuine(const char* password, QUAV_FileStream& from, QUAV_FileStream& to,
                               std::vector<ChunkFault>& faults) {
  if (!FindKey(password, from)) return false;
  ChunkCipher cipher(ChunkCipher::Direction::decipher, m_key->Bytes(), m_key->Header());
  if (!cipher.IsReady()) return Fail(EIO);
  return GenuineChunks(cipher, from, to, faults).OpenAll() && to.Flush() == 0;
}

std::int64_t StatCrypt::EncipheredSize(std::int64_t plain) {
  constexpr auto kPlain = static_cast<std::int64_t>(ChunkCipher::kPlainSize);
  const std::int64_t chunks = plain == 0 ? 1 : plain / kPlain + (plain % kPlain != 0);
  return static_cast<std::int64_t>(CipherHeader::kSize) + plain +
         chunks * static_cast<std::int64_t>(ChunkCipher::kTagSize);
}

bool StatCrypt::encrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to) {
  if (password == nullptr) return Fail(EINVAL);
  if (!IsKeyOf(m_next, password) && !makeKey(password)) return false;
  m_key = std::move(m_next);  // a key seals one file
  ChunkCipher cipher(ChunkCipher::Direction::encipher, m_key->Bytes(), m_key->Header());
  if (!cipher.IsReady()) return Fail(EIO);
  const CipherHeader::Bytes bytes = ToBytes(m_key->Header());
  if (!WriteAll(to, bytes.data(), bytes.size()) || !SealAll(cipher, from, to)) return false;
  AnnounceFileKey(to.GetNameStr().GetGeneric(), m_key);
  return to.Flush() == 0;
}

bool StatCrypt::makeKey(const char* password) {
  if (password == nullptr) return Fail(EINVAL);
  m_next = NewKey(password);
  return m_next != nullptr;
}

bool StatCrypt::hasKeyOf(const char* password) const { return IsKeyOf(m_next ? m_next : m_key, password); }

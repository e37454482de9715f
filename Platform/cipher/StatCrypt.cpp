#include "Platform/cipher/StatCrypt.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <cerrno>
#include <cstddef>
#include <optional>

#include "Platform/cipher/ChunkCipher.h"
#include "Platform/cipher/CipherHeader.h"
#include "Platform/cipher/FileKey.h"
#include "Platform/cipher/PasswordCache.h"
#include "Platform/stream/Octets.h"

namespace {

// A chunk with its tag, wiped when it goes: it has held plain bytes.
class Chunk {
 public:
  Chunk() : m_bytes(std::make_unique_for_overwrite<std::byte[]>(ChunkCipher::kSealedSize)) {}
  Chunk(const Chunk&) = delete;
  Chunk& operator=(const Chunk&) = delete;
  ~Chunk() { OPENSSL_cleanse(m_bytes.get(), ChunkCipher::kSealedSize); }

  std::byte* Bytes() { return m_bytes.get(); }

 private:
  std::unique_ptr<std::byte[]> m_bytes;
};

bool Fail(int reason) {
  errno = reason;
  return false;
}

bool Failed(const QUAV_FileStream& stream) { return Fail(stream.Error() != 0 ? stream.Error() : EIO); }

// What comes next from a stream: some bytes, and whether they are its last.
struct Piece {
  std::size_t size;
  bool isLast;
};

// Of `most` bytes. Nothing when the stream fails.
std::optional<Piece> ReadPiece(QUAV_FileStream& from, std::byte* to, std::size_t most) {
  const std::size_t size = from.Read(to, most);
  const bool isLast = size < most || from.Peek(1).Size() == 0;
  if (!from.Good()) return std::nullopt;
  return Piece{size, isLast};
}

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

// With a salt of its own, so that no key ever serves two files.
std::optional<CipherHeader> NewHeader() {
  CipherHeader header;
  header.cost = PresentKeyCost();
  if (RAND_bytes_ex(nullptr, Octets(header.salt.data()), header.salt.size(), 0) == 1) return header;
  Fail(EIO);
  return std::nullopt;
}

// Chunks that are enciphered alike, one behind the other, until the last.
bool SealAll(ChunkCipher& cipher, QUAV_FileStream& from, QUAV_FileStream& to) {
  Chunk chunk;
  for (bool isLast = false; !isLast;) {
    const auto piece = ReadPiece(from, chunk.Bytes(), ChunkCipher::kPlainSize);
    if (!piece) return Failed(from);
    isLast = piece->isLast;
    if (!cipher.Seal(chunk.Bytes(), piece->size, isLast)) return Fail(EIO);
    if (!WriteAll(to, chunk.Bytes(), piece->size + ChunkCipher::kTagSize)) return false;
  }
  return true;
}

bool OpenAll(ChunkCipher& cipher, QUAV_FileStream& from, QUAV_FileStream& to) {
  Chunk chunk;
  bool isFirst = true;
  for (bool isLast = false; !isLast; isFirst = false) {
    const auto piece = ReadPiece(from, chunk.Bytes(), ChunkCipher::kSealedSize);
    if (!piece) return Failed(from);
    isLast = piece->isLast;
    // Only where there is nothing at all does a chunk of no bytes stand.
    if (piece->size < ChunkCipher::kTagSize + (isFirst ? 0 : 1)) return Fail(EBADMSG);
    if (!cipher.Open(chunk.Bytes(), piece->size, isLast)) return Fail(EBADMSG);
    if (!WriteAll(to, chunk.Bytes(), piece->size - ChunkCipher::kTagSize)) return false;
  }
  return true;
}

}  // namespace

StatCrypt::StatCrypt() = default;

StatCrypt::~StatCrypt() = default;

bool StatCrypt::decrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to) {
  if (password == nullptr) return Fail(EINVAL);
  const auto header = ReadHeader(from);
  const std::string name = from.GetNameStr().GetGeneric();
  if (!header) return false;
  m_key = FindFileKey(name, password, *header);
  if (!m_key) m_key = FileKey::Derive(password, *header);
  if (!m_key) return false;
  ChunkCipher cipher(ChunkCipher::Direction::decipher, m_key->Bytes(), *header);
  if (!cipher.IsReady()) return Fail(EIO);
  if (!OpenAll(cipher, from, to)) return false;
  AnnounceFileKey(name, m_key);
  return to.Flush() == 0;
}

bool StatCrypt::encrypt(const char* password, QUAV_FileStream& from, QUAV_FileStream& to) {
  if (password == nullptr) return Fail(EINVAL);
  const auto header = NewHeader();
  if (!header) return false;
  m_key = FileKey::Derive(password, *header);
  if (!m_key) return false;
  ChunkCipher cipher(ChunkCipher::Direction::encipher, m_key->Bytes(), *header);
  if (!cipher.IsReady()) return Fail(EIO);
  const CipherHeader::Bytes bytes = ToBytes(*header);
  if (!WriteAll(to, bytes.data(), bytes.size()) || !SealAll(cipher, from, to)) return false;
  AnnounceFileKey(to.GetNameStr().GetGeneric(), m_key);
  return to.Flush() == 0;
}

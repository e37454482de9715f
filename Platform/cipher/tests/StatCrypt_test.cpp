#include "Platform/cipher/StatCrypt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "Platform/cipher/PasswordCache.h"
#include "Platform/cipher/tests/CipherTesting.h"
#include "Platform/stream/tests/StreamTesting.h"
#include "tests/support/FailingCrypto.h"

namespace StatCrypt_test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

constexpr char kPassword[] = "swordfish";
constexpr std::size_t kChunk = ChunkCipher::kPlainSize;
constexpr std::size_t kSealed = ChunkCipher::kSealedSize;

class StatCryptTest : public CipherTest {};

// ---- Known answers: made by a separate program from the description of the bytes ----

TEST_F(StatCryptTest, DeciphersAKnownAnswer) {
  const std::string bytes = FromHex(
      "51554156434950480101010408010000000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"
      "c7e07face129ee539e4c4a38b21854b36b0b6e692d2ad0156645fdb1579a3bccd849dd1365");
  EXPECT_EQ("twenty-one plain byte", Deciphered(bytes, "p\u00e4ssword"));
}

TEST_F(StatCryptTest, DeciphersAKnownEmptyAnswer) {
  const std::string bytes = FromHex(
      "515541564349504801010101010100000708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20212223242526"
      "b24bcc2a38c514b881eecc3ab273e446");
  EXPECT_EQ("", Deciphered(bytes, "empty"));
}

// ---- Round trips ----

TEST_F(StatCryptTest, RoundTripsLengthsAroundTheChunkSize) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{15}, std::size_t{16}, kChunk - 1, kChunk, kChunk + 1, 2 * kChunk,
        7 * kChunk + 77, 8 * kChunk - 1, 8 * kChunk, 8 * kChunk + 1, 16 * kChunk, 17 * kChunk - 5}) {
    SCOPED_TRACE(size);
    const std::string plain = Noise(size);
    const std::string bytes = Enciphered(plain, kPassword);
    const std::size_t chunks = std::max<std::size_t>(1, (size + kChunk - 1) / kChunk);
    EXPECT_EQ(CipherHeader::kSize + size + chunks * ChunkCipher::kTagSize, bytes.size());
    EXPECT_EQ(static_cast<std::int64_t>(bytes.size()), StatCrypt::EncipheredSize(static_cast<std::int64_t>(size)));
    EXPECT_TRUE(SameBytes(plain, Deciphered(bytes, kPassword).value_or("refused")));
  }
}

// Sizes on both sides of a multiple of a chunk or of what is read at once; the bytes begin at any place of a file.
TEST_F(StatCryptTest, RoundTripsRandomSizesFromRandomPlacesOfAFile) {
  constexpr std::size_t kUnits[] = {16, 4096, kChunk, 8 * kChunk, QUAV_FileStream::kBufferSize};
  const std::string noise = Noise(20 * kChunk);
  const std::string folder = testing::TempDir() + "cipher-test-" + std::to_string(getpid());
  std::mt19937 random(1);
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  for (int round = 0; round < 150 && !HasFailure(); ++round) {
    const std::size_t unit = kUnits[below(std::size(kUnits))];
    const std::size_t size = std::max<std::size_t>(below(17 * kChunk / unit + 1) * unit + below(9), 4) - 4;
    const std::size_t plainPlace = below(5000);
    const std::size_t sealedPlace = below(2) == 0 ? 36 : below(5000);
    SCOPED_TRACE(std::to_string(size) + " bytes from " + std::to_string(plainPlace) + ", sealed at " +
                 std::to_string(sealedPlace));
    QUAV_FileStream plain(folder.c_str(), "w+bTD", false);
    QUAV_FileStream sealed(folder.c_str(), "w+bTD", false);
    QUAV_FileStream again(folder.c_str(), "w+bTD", false);
    ASSERT_EQ(plainPlace + size, Write(plain, noise.substr(0, plainPlace + size)));
    plain.Seek(static_cast<long>(plainPlace), kSeekFromStart);
    sealed.Seek(static_cast<long>(sealedPlace), kSeekFromStart);
    ASSERT_TRUE(StatCrypt().encrypt(kPassword, plain, sealed)) << errno;
    sealed.Seek(static_cast<long>(sealedPlace), kSeekFromStart);
    ASSERT_TRUE(StatCrypt().decrypt(kPassword, sealed, again)) << errno;
    again.Seek(0, kSeekFromStart);
    EXPECT_TRUE(SameBytes(noise.substr(plainPlace, size), Read(again, size + 1)));
  }
}

// ---- The key ----

TEST_F(StatCryptTest, EnciphersWithTheKeyThatWasMade) {
  PresentKeyCost().logN = 3;
  StatCrypt cipher;
  EXPECT_FALSE(cipher.hasKeyOf(kPassword));
  ASSERT_TRUE(cipher.makeKey(kPassword));
  EXPECT_TRUE(cipher.hasKeyOf(kPassword));
  EXPECT_FALSE(cipher.hasKeyOf("Swordfish"));
  PresentKeyCost().logN = 2;
  std::vector<std::string> salts;
  for (const char cost : {'\3', '\2', '\2'}) {
    FaultyStream from("plain");
    FaultyStream to("");
    ASSERT_TRUE(cipher.encrypt(kPassword, from, to));
    EXPECT_EQ(cost, to.Bytes()[11]);
    EXPECT_EQ("plain", Deciphered(to.Bytes(), kPassword));
    EXPECT_TRUE(cipher.hasKeyOf(kPassword));
    salts.push_back(to.Bytes().substr(16, 32));
  }
  EXPECT_NE(salts[0], salts[1]);
  EXPECT_NE(salts[1], salts[2]);
}

TEST_F(StatCryptTest, MakesAnotherKeyForAnotherPassword) {
  StatCrypt cipher;
  ASSERT_TRUE(cipher.makeKey("another"));
  FaultyStream from("plain");
  FaultyStream to("");
  ASSERT_TRUE(cipher.encrypt(kPassword, from, to));
  EXPECT_EQ("plain", Deciphered(to.Bytes(), kPassword));
  EXPECT_EQ(std::nullopt, Deciphered(to.Bytes(), "another"));
}

TEST_F(StatCryptTest, MakesNoKeyOfANullPassword) {
  StatCrypt cipher;
  EXPECT_FALSE(cipher.makeKey(nullptr));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(StatCryptTest, HidesThePlainBytes) {
  EXPECT_THAT(Enciphered(std::string(1000, 'a'), kPassword), Not(HasSubstr("aaa")));
}

TEST_F(StatCryptTest, EnciphersTheSameBytesDifferentlyEachTime) {
  const std::string first = Enciphered("the same", kPassword);
  const std::string second = Enciphered("the same", kPassword);
  EXPECT_NE(first.substr(16, 32), second.substr(16, 32));
  EXPECT_NE(first.substr(48), second.substr(48));
}

TEST_F(StatCryptTest, StartsAtThePositionsOfTheStreams) {
  FaultyStream plain("in frontand behind");
  plain.Seek(8, kSeekFromStart);
  FaultyStream bytes("wrapper");
  bytes.Seek(7, kSeekFromStart);
  ASSERT_TRUE(StatCrypt().encrypt(kPassword, plain, bytes));
  EXPECT_EQ("wrapperQUAVCIPH", bytes.Bytes().substr(0, 15));
  FaultyStream again("kept ");
  again.Seek(5, kSeekFromStart);
  bytes.Seek(7, kSeekFromStart);
  ASSERT_TRUE(StatCrypt().decrypt(kPassword, bytes, again));
  EXPECT_EQ("kept and behind", again.Bytes());
}

TEST_F(StatCryptTest, AcceptsPasswordsOfAnyLength) {
  for (const std::string& password : {std::string(), std::string("x"), std::string(5000, 'y')}) {
    const std::string bytes = Enciphered("plain", password.c_str());
    EXPECT_EQ("plain", Deciphered(bytes, password.c_str()));
    EXPECT_EQ(std::nullopt, Deciphered(bytes, (password + "x").c_str()));
  }
}

// ---- Refused input ----

TEST_F(StatCryptTest, RefusesAWrongPassword) {
  const std::string bytes = Enciphered("plain", kPassword);
  for (const char* wrong : {"", "Swordfish", "swordfish ", "swordfis"}) {
    errno = 0;
    EXPECT_EQ(std::nullopt, Deciphered(bytes, wrong)) << wrong;
    EXPECT_EQ(EBADMSG, errno);
  }
}

TEST_F(StatCryptTest, RefusesANullPassword) {
  EXPECT_EQ(std::nullopt, Deciphered(Enciphered("plain", kPassword), nullptr));
  EXPECT_EQ(EINVAL, errno);
  FaultyStream from("plain");
  FaultyStream to("");
  EXPECT_FALSE(StatCrypt().encrypt(nullptr, from, to));
  EXPECT_EQ("", to.Bytes());
}

TEST_F(StatCryptTest, RefusesEveryFlippedBit) {
  const std::string bytes = Enciphered("a small file of some bytes", kPassword);
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    std::string flipped = bytes;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
    EXPECT_EQ(std::nullopt, Deciphered(flipped, kPassword)) << "bit " << bit;
  }
}

TEST_F(StatCryptTest, RefusesEveryTruncation) {
  const std::string bytes = Enciphered("a small file of some bytes", kPassword);
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_EQ(std::nullopt, Deciphered(bytes.substr(0, size), kPassword)) << "cut at " << size;
}

TEST_F(StatCryptTest, RefusesTruncationAroundChunkBorders) {
  const std::string bytes = Enciphered(Noise(3 * kChunk), kPassword);
  for (std::size_t chunk = 0; chunk <= 3; ++chunk)
    for (const long about : {-17L, -16L, -1L, 0L, 1L, 15L, 16L, 17L}) {
      const long size = static_cast<long>(CipherHeader::kSize + chunk * kSealed) + about;
      if (size < 0 || size >= static_cast<long>(bytes.size())) continue;
      EXPECT_EQ(std::nullopt, Deciphered(bytes.substr(0, static_cast<std::size_t>(size)), kPassword)) << size;
    }
}

TEST_F(StatCryptTest, RefusesBytesAfterTheEnd) {
  for (const std::size_t size : {std::size_t{10}, kChunk, kChunk + 10}) {
    const std::string bytes = Enciphered(Noise(size), kPassword);
    for (const std::size_t more : {1u, 15u, 16u, 17u, 100u})
      EXPECT_EQ(std::nullopt, Deciphered(bytes + std::string(more, '\0'), kPassword)) << size << " and " << more;
  }
}

// A file of four chunks, to be put together in another order.
class StatCryptChunks : public CipherTest {
 protected:
  StatCryptChunks() {
    const std::string bytes = Enciphered(Noise(3 * kChunk + 99), kPassword);
    m_header = bytes.substr(0, CipherHeader::kSize);
    for (std::size_t at = CipherHeader::kSize; at < bytes.size(); at += kSealed)
      m_chunks.push_back(bytes.substr(at, kSealed));
  }

  bool IsRefused(const std::vector<std::size_t>& order) const {
    std::string bytes = m_header;
    for (const std::size_t chunk : order) bytes += m_chunks.at(chunk);
    return !Deciphered(bytes, kPassword);
  }

  std::string m_header;
  std::vector<std::string> m_chunks;
};

TEST_F(StatCryptChunks, AcceptsChunksInOrder) {
  ASSERT_EQ(4U, m_chunks.size());
  EXPECT_FALSE(IsRefused({0, 1, 2, 3}));
}

TEST_F(StatCryptChunks, RefusesSwappedChunks) {
  for (std::size_t a = 0; a < 4; ++a)
    for (std::size_t b = a + 1; b < 4; ++b) {
      std::vector<std::size_t> order = {0, 1, 2, 3};
      std::swap(order[a], order[b]);
      EXPECT_TRUE(IsRefused(order)) << a << " and " << b;
    }
}

TEST_F(StatCryptChunks, RefusesRepeatedChunks) {
  for (std::size_t chunk = 0; chunk < 4; ++chunk) {
    std::vector<std::size_t> order = {0, 1, 2, 3};
    order.insert(order.begin() + static_cast<long>(chunk), chunk);
    EXPECT_TRUE(IsRefused(order)) << chunk;
  }
}

TEST_F(StatCryptChunks, RefusesMissingChunks) {
  for (std::size_t chunk = 0; chunk < 4; ++chunk) {
    std::vector<std::size_t> order = {0, 1, 2, 3};
    order.erase(order.begin() + static_cast<long>(chunk));
    EXPECT_TRUE(IsRefused(order)) << chunk;
  }
  EXPECT_TRUE(IsRefused({}));
}

TEST_F(StatCryptChunks, RefusesAddedChunks) {
  EXPECT_TRUE(IsRefused({0, 1, 2, 3, 3}));
  EXPECT_TRUE(IsRefused({0, 1, 2, 3, 0, 1, 2, 3}));
}

TEST_F(StatCryptChunks, RefusesChunksOfAnotherFile) {
  const std::string other = Enciphered(Noise(3 * kChunk + 99), kPassword);
  for (std::size_t chunk = 0; chunk < 4; ++chunk) {
    StatCryptChunks::m_chunks[chunk].swap(m_chunks[chunk]);
    std::string bytes = m_header;
    for (std::size_t i = 0; i < 4; ++i)
      bytes += i == chunk ? other.substr(CipherHeader::kSize + i * kSealed, kSealed) : m_chunks[i];
    EXPECT_EQ(std::nullopt, Deciphered(bytes, kPassword)) << chunk;
  }
  EXPECT_EQ(std::nullopt,
            Deciphered(other.substr(0, CipherHeader::kSize) + m_chunks[0] + m_chunks[1] + m_chunks[2] + m_chunks[3],
                       kPassword));
}

// An empty last chunk after a full one is invalid: the full one was the last.
TEST_F(StatCryptTest, RefusesAnEmptyLastChunkAfterOthers) {
  const std::string bytes = Enciphered(Noise(kChunk), kPassword);
  EXPECT_EQ(std::nullopt, Deciphered(bytes + std::string(ChunkCipher::kTagSize, '\0'), kPassword));
}

// ---- Streams that fail ----

TEST_F(StatCryptTest, ReportsEveryStreamFailure) {
  const std::string plain = Noise(17 * kChunk + 5);
  const std::string bytes = Enciphered(plain, kPassword);
  const auto run = [&](bool enciphers, FaultyStream& from, FaultyStream& to) {
    return enciphers ? StatCrypt().encrypt(kPassword, from, to) : StatCrypt().decrypt(kPassword, from, to);
  };
  for (const bool enciphers : {true, false})
    for (const bool reads : {true, false})
      for (const auto fault : {FaultyStream::kFails, FaultyStream::kFailsOnce}) {
        int n = 1;
        for (;; ++n) {
          FaultyStream from(enciphers ? plain : bytes, reads ? fault : FaultyStream::kNone, n);
          FaultyStream to("", reads ? FaultyStream::kNone : fault, n);
          const bool isDone = run(enciphers, from, to);
          const bool struck = reads ? from.Struck() : to.Struck();
          EXPECT_NE(struck, isDone) << "operation " << n;
          if (!struck) break;
        }
        EXPECT_GT(n, 3);
      }
}

TEST_F(StatCryptTest, NeverAcceptsAShortenedStream) {
  const std::string bytes = Enciphered(Noise(17 * kChunk + 5), kPassword);
  for (const auto fault : {FaultyStream::kShortens, FaultyStream::kStops})
    for (int n = 1; n < 20; ++n) {
      FaultyStream from(bytes, fault, n);
      FaultyStream to("");
      const bool isDone = StatCrypt().decrypt(kPassword, from, to);
      EXPECT_TRUE(!isDone || to.Bytes().size() == 17 * kChunk + 5) << n;
    }
}

// The length of what is left would be negative.
TEST_F(StatCryptTest, RefusesAStreamWhosePositionIsAfterItsEnd) {
  FaultyStream to("");
  FaultyStream plain("plain");
  plain.Seek(6, kSeekFromStart);
  EXPECT_FALSE(StatCrypt().encrypt(kPassword, plain, to));
  EXPECT_EQ(EIO, errno);
}

// ---- A libcrypto that fails ----

// The header is written before the chunks: nothing of the plain bytes comes out without its tag.
TEST_F(StatCryptTest, EnciphersRightlyOrReportsThatLibcryptoHasNoMemory) {
  const std::string plain = "plain";
  Enciphered(plain, kPassword);  // makes what libcrypto keeps
  for (long requests = 0;; ++requests) {
    SCOPED_TRACE(requests);
    FaultyStream from(plain);
    FaultyStream to("");
    bool isDone = false;
    bool ranOut = false;
    int reason = 0;
    {
      const CryptoMemory memory(requests);
      isDone = StatCrypt().encrypt(kPassword, from, to);
      reason = errno;
      ranOut = memory.RanOut();
    }
    if (isDone) {
      EXPECT_EQ(plain, Deciphered(to.Bytes(), kPassword));
    } else {
      EXPECT_TRUE(ranOut);
      EXPECT_THAT(reason, AnyOf(EIO, ENOMEM));
    }
    if (!ranOut) break;
    ASSERT_GT(1000, requests);
  }
}

// Bytes that are genuine are never reported as damaged (EBADMSG): callers would take the password for a wrong one.
TEST_F(StatCryptTest, DeciphersRightlyOrReportsThatLibcryptoHasNoMemory) {
  const std::string bytes = Enciphered("plain", kPassword);
  EXPECT_EQ("plain", Deciphered(bytes, kPassword));
  for (long requests = 0;; ++requests) {
    SCOPED_TRACE(requests);
    std::optional<std::string> found;
    bool ranOut = false;
    int reason = 0;
    {
      const CryptoMemory memory(requests);
      found = Deciphered(bytes, kPassword);
      reason = errno;
      ranOut = memory.RanOut();
    }
    if (found) {
      EXPECT_EQ("plain", found);
    } else {
      EXPECT_TRUE(ranOut);
      EXPECT_THAT(reason, AnyOf(EIO, ENOMEM));
    }
    if (!ranOut) break;
    ASSERT_GT(1000, requests);
  }
}

TEST_F(StatCryptTest, ReportsThatLibcryptoCannotEncipher) {
  for (int n = 1;; ++n) {
    const FailingCipher failing(n);
    FaultyStream from("plain");
    FaultyStream to("");
    errno = 0;
    const bool isDone = StatCrypt().encrypt(kPassword, from, to);
    EXPECT_NE(failing.Struck(), isDone) << "operation " << n;
    if (!failing.Struck()) break;
    EXPECT_EQ(EIO, errno) << "operation " << n;
    EXPECT_GE(CipherHeader::kSize, to.Bytes().size());
  }
}

// Only the last operation, which compares the tag, may fail for bytes that are not genuine.
TEST_F(StatCryptTest, ReportsThatLibcryptoCannotDecipher) {
  const std::string bytes = Enciphered("plain", kPassword);
  int reason = 0;
  int n = 1;
  for (;; ++n) {
    const FailingCipher failing(n);
    FaultyStream from(bytes);
    FaultyStream to("");
    errno = 0;
    const bool isDone = StatCrypt().decrypt(kPassword, from, to);
    EXPECT_NE(failing.Struck(), isDone) << "operation " << n;
    if (!failing.Struck()) break;
    if (n > 1) {
      EXPECT_EQ(EIO, reason) << "operation " << n - 1;
    }
    reason = errno;
    EXPECT_EQ("", to.Bytes());
  }
  EXPECT_EQ(EBADMSG, reason);
  EXPECT_LT(4, n);
}

TEST_F(StatCryptTest, WritesNothingWithoutRandomBytes) {
  const NoRandomBytes none;
  StatCrypt cipher;
  FaultyStream from("plain");
  FaultyStream to("");
  errno = 0;
  EXPECT_FALSE(cipher.encrypt(kPassword, from, to));
  EXPECT_EQ(EIO, errno);
  EXPECT_EQ("", to.Bytes());
  EXPECT_FALSE(cipher.makeKey(kPassword));
  EXPECT_FALSE(cipher.hasKeyOf(kPassword));
}

// ---- On disk ----

class StatCryptOnDisk : public StreamTest {
 private:
  CheapKeys m_cheapKeys;
};

TEST_F(StatCryptOnDisk, WorksFromFileToFile) {
  const std::string plain = Noise(10 * kChunk + 3);
  QUAV_FileStream from;
  QUAV_FileStream to;
  ASSERT_TRUE(from.Open(Make("plain", plain).c_str(), "rb"));
  ASSERT_TRUE(to.Open(Path("bytes").c_str(), "wb+"));
  ASSERT_TRUE(StatCrypt().encrypt(kPassword, from, to));
  to.Seek(0, kSeekFromStart);
  QUAV_FileStream again;
  ASSERT_TRUE(again.Open(Path("again").c_str(), "wb"));
  ASSERT_TRUE(StatCrypt().decrypt(kPassword, to, again));
  EXPECT_TRUE(SameBytes(plain, Contents(Path("again"))));
}

TEST_F(StatCryptOnDisk, FailsWithTheReasonOfTheDevice) {
  QUAV_FileStream from;
  QUAV_FileStream to;
  ASSERT_TRUE(from.Open(Make("plain", Noise(10 * kChunk)).c_str(), "rb"));
  ASSERT_TRUE(to.Open("/dev/full", "wb"));
  EXPECT_FALSE(StatCrypt().encrypt(kPassword, from, to));
  EXPECT_EQ(ENOSPC, errno);
}

// A program that works on a copy of a file has opened the file before.
TEST_F(StatCryptOnDisk, FindsTheKeyOfAFileForItsCopy) {
  const std::string bytes = Enciphered("plain", kPassword);
  CipherHeader::Bytes raw;
  std::memcpy(raw.data(), bytes.data(), raw.size());
  const CipherHeader header = ParseCipherHeader(raw).value();
  StatCrypt ciphers[2];
  for (int i : {0, 1}) {
    QUAV_FileStream from;
    FaultyStream to("");
    ASSERT_TRUE(from.Open(Make("file" + std::to_string(i), bytes).c_str(), "rb"));
    ASSERT_TRUE(ciphers[i].decrypt(kPassword, from, to));
    EXPECT_EQ("plain", to.Bytes());
    EXPECT_EQ(2 + i, FindFileKey(kPassword, header).use_count()) << "one key for both";
  }
}

// So that a second attempt with the same password does not make its key again.
TEST_F(StatCryptOnDisk, KeepsAWrongKeyInTheCacheAsLongAsItLives) {
  const std::string bytes = Enciphered("plain", kPassword);
  const std::string path = Make("bytes", bytes);
  CipherHeader::Bytes raw;
  std::memcpy(raw.data(), bytes.data(), raw.size());
  const CipherHeader header = ParseCipherHeader(raw).value();
  {
    StatCrypt cipher;
    QUAV_FileStream from;
    ASSERT_TRUE(from.Open(path.c_str(), "rb"));
    FaultyStream to("");
    EXPECT_FALSE(cipher.decrypt("wrong", from, to));
    EXPECT_NE(nullptr, FindFileKey("wrong", header));
    EXPECT_EQ(nullptr, FindFileKey(kPassword, header));
  }
  EXPECT_EQ(nullptr, FindFileKey("wrong", header));
}

TEST(KeyCost, DefaultIsTheRecommendedCost) {
  EXPECT_EQ((KeyCost{.logN = 17, .r = 8, .p = 1}), PresentKeyCost());
  EXPECT_EQ(std::uint64_t{128} << 20, PresentKeyCost().MemoryBytes());
}

// ---- Damaged files ----

// What decryptGenuine makes of bytes.
struct Genuine {
  bool isDone = false;
  std::string plain;
  std::vector<ChunkFault> faults;
};

Genuine GenuineOf(const std::string& bytes, const char* password = kPassword) {
  Genuine found;
  FaultyStream from(bytes);
  FaultyStream to("");
  found.isDone = StatCrypt().decryptGenuine(password, from, to, found.faults);
  found.plain = to.Bytes();
  return found;
}

std::int64_t PlaceOf(std::size_t chunk) { return static_cast<std::int64_t>(CipherHeader::kSize + chunk * kSealed); }

TEST_F(StatCryptTest, GenuineBytesOfASoundFileAreAllOfIt) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kChunk, kChunk + 1, 3 * kChunk}) {
    const std::string plain = Noise(size);
    const Genuine found = GenuineOf(Enciphered(plain, kPassword));
    EXPECT_TRUE(found.isDone) << size;
    EXPECT_EQ(plain, found.plain) << size;
    EXPECT_TRUE(found.faults.empty()) << size;
  }
}

TEST_F(StatCryptTest, GenuineBytesEndAtTheFirstDamagedChunkAndAllAreTested) {
  const std::string plain = Noise(4 * kChunk + 9);
  std::string bytes = Enciphered(plain, kPassword);
  for (const std::size_t chunk : {1U, 3U}) bytes[static_cast<std::size_t>(PlaceOf(chunk)) + 77] ^= 1;
  const Genuine found = GenuineOf(bytes);
  EXPECT_TRUE(found.isDone);
  EXPECT_EQ(plain.substr(0, kChunk), found.plain);
  ASSERT_EQ(2u, found.faults.size());
  for (const std::size_t k : {0U, 1U}) {
    const std::size_t chunk = 1 + 2 * k;
    EXPECT_EQ(ChunkFault::notGenuine, found.faults[k].kind);
    EXPECT_EQ(PlaceOf(chunk), found.faults[k].place);
    EXPECT_EQ(static_cast<std::int64_t>(chunk * kChunk), found.faults[k].plainPlace);
  }
}

TEST_F(StatCryptTest, GenuineBytesOfAFileWithoutItsLastChunkAreAllThatIsThere) {
  const std::string plain = Noise(2 * kChunk + 5);
  const std::string bytes = Enciphered(plain, kPassword);
  const Genuine found = GenuineOf(bytes.substr(0, static_cast<std::size_t>(PlaceOf(2))));
  EXPECT_TRUE(found.isDone);
  EXPECT_EQ(plain.substr(0, 2 * kChunk), found.plain);
  ASSERT_EQ(1u, found.faults.size());
  EXPECT_EQ(ChunkFault::lastMissing, found.faults[0].kind);
  EXPECT_EQ(PlaceOf(2), found.faults[0].place);
}

TEST_F(StatCryptTest, GenuineBytesNeedAGenuineChunk) {
  const std::string bytes = Enciphered(Noise(kChunk + 5), kPassword);
  EXPECT_FALSE(GenuineOf(bytes, "another").isDone);
  EXPECT_EQ(EBADMSG, errno);
  EXPECT_FALSE(GenuineOf(bytes.substr(0, CipherHeader::kSize)).isDone);
  EXPECT_EQ(EBADMSG, errno);
  EXPECT_FALSE(GenuineOf(bytes.substr(0, CipherHeader::kSize + 7)).isDone);
  EXPECT_EQ(EBADMSG, errno);
  EXPECT_FALSE(GenuineOf("").isDone);
  EXPECT_EQ(EBADMSG, errno);
}

}  // namespace
}  // namespace StatCrypt_test

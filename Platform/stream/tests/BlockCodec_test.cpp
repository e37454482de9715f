// Every library reads the blocks of every library; zlib is the plain version with which the others are compared.

#include "Platform/stream/BlockCodec.h"

#include <gtest/gtest.h>
#include <zlib.h>
#ifdef DATASRC_HAS_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <cstdlib>
#include <vector>

#include "Platform/stream/tests/ZlibTesting.h"

namespace BlockCodec_test {
namespace {

std::vector<std::string> Contents() {
  return {"x",
          std::string(7, 'a'),
          std::string(kMostPlainBlockSize, '\0'),
          Codes(kPlainBlockSize),
          Codes(1, 2),
          Codes(100'001, 3),
          Noise(kMostPlainBlockSize, 4),
          Noise(65'536, 5),
          Noise(13, 6),
          Codes(kMostPlainBlockSize, 7)};
}

std::string Deflated(BlockLibrary library, const std::string& plain) {
  std::vector<std::byte> room(DeflateRoom(plain.size()));
  const std::size_t size = MakeBlockDeflater(library)->Deflate(BytesOf(plain), room);
  std::string stream(size, '\0');
  std::memcpy(stream.data(), room.data(), size);
  return stream;
}

bool Inflates(BlockLibrary library, const std::string& stream, const std::string& plain) {
  std::string found(plain.size(), '?');
  return MakeBlockInflater(library)->Inflate(BytesOf(stream), std::as_writable_bytes(std::span(found))) &&
         found == plain;
}

TEST(BlockCodec, ZlibIsTheLastOfEachList) {
  EXPECT_EQ(BlockLibrary::zlib, DeflatingLibraries().back());
  EXPECT_EQ(BlockLibrary::zlib, InflatingLibraries().back());
}

TEST(BlockCodec, EachLibraryReadsWhatEachWrites) {
  for (const std::string& plain : Contents()) {
    for (const BlockLibrary deflating : DeflatingLibraries()) {
      const std::string stream = Deflated(deflating, plain);
      EXPECT_LT(0u, stream.size());
      EXPECT_LE(stream.size(), DeflateRoom(plain.size()));
      for (const BlockLibrary inflating : InflatingLibraries())
        EXPECT_TRUE(Inflates(inflating, stream, plain))
            << "written by " << static_cast<int>(deflating) << ", read by " << static_cast<int>(inflating) << ", "
            << plain.size() << " bytes";
    }
  }
}

TEST(BlockCodec, DeflaterServesManyBlocks) {
  for (const BlockLibrary library : DeflatingLibraries()) {
    const auto deflater = MakeBlockDeflater(library);
    for (const std::string& plain : Contents()) {
      std::vector<std::byte> room(DeflateRoom(plain.size()));
      const std::size_t size = deflater->Deflate(BytesOf(plain), room);
      std::string found(plain.size(), '?');
      uLongf length = found.size();
      EXPECT_EQ(Z_OK, uncompress(reinterpret_cast<Bytef*>(found.data()), &length,
                                 reinterpret_cast<const Bytef*>(room.data()), size));
      EXPECT_TRUE(SameBytes(plain, found));
    }
  }
}

TEST(BlockCodec, ReturnsZeroWhenTheRoomIsTooSmall) {
  const std::string plain = Noise(10'000);
  std::vector<std::byte> room(5'000);
  for (const BlockLibrary library : DeflatingLibraries())
    EXPECT_EQ(0u, MakeBlockDeflater(library)->Deflate(BytesOf(plain), room)) << static_cast<int>(library);
}

#ifdef DATASRC_HAS_LIBDEFLATE
TEST(BlockCodec, LibdeflateWithoutMemoryDoesNothing) {
  const std::string plain = Codes(1'000);
  const std::string stream = Deflated(BlockLibrary::libdeflate, plain);
  libdeflate_set_memory_allocator([](std::size_t) -> void* { return nullptr; }, &std::free);
  EXPECT_EQ("", Deflated(BlockLibrary::libdeflate, plain));
  EXPECT_FALSE(Inflates(BlockLibrary::libdeflate, stream, plain));
  libdeflate_set_memory_allocator(&std::malloc, &std::free);
  EXPECT_EQ(stream, Deflated(BlockLibrary::libdeflate, plain));
  EXPECT_TRUE(Inflates(BlockLibrary::libdeflate, stream, plain));
}
#endif

TEST(BlockCodec, RefusesAStreamOfTheWrongLength) {
  const std::string plain = Codes(1'000);
  const std::string stream = Deflated(BlockLibrary::zlib, plain);
  for (const BlockLibrary library : InflatingLibraries()) {
    EXPECT_FALSE(Inflates(library, stream, plain.substr(1)));
    EXPECT_FALSE(Inflates(library, stream, plain + "x"));
    EXPECT_FALSE(Inflates(library, stream + "x", plain));
    EXPECT_FALSE(Inflates(library, stream.substr(0, stream.size() - 1), plain));
    EXPECT_FALSE(Inflates(library, "", plain));
  }
}

// Either the checksum of the zlib format finds the damage, or the bytes are correct (a bit that no inflater reads).
TEST(BlockCodec, FlippedBitGivesNoWrongByte) {
  const std::string plain = Codes(300);
  const std::string stream = Deflated(DeflatingLibraries().front(), plain);
  for (const BlockLibrary library : InflatingLibraries()) {
    const auto inflater = MakeBlockInflater(library);
    for (std::size_t bit = 0; bit < stream.size() * 8; ++bit) {
      std::string spoilt = stream;
      spoilt[bit / 8] = static_cast<char>(spoilt[bit / 8] ^ 1 << bit % 8);
      std::string found(plain.size(), '?');
      if (inflater->Inflate(BytesOf(spoilt), std::as_writable_bytes(std::span(found)))) {
        EXPECT_EQ(plain, found) << bit;
      }
    }
  }
}

TEST(BlockCodec, ChecksumMatchesZlib) {
  for (const std::string& plain : Contents()) {
    const uLong expected = crc32_z(0, reinterpret_cast<const Bytef*>(plain.data()), plain.size());
    EXPECT_EQ(expected, BlockChecksum(BytesOf(plain)));
    const auto front = BytesOf(plain).first(plain.size() / 3);
    EXPECT_EQ(expected, BlockChecksum(BytesOf(plain).subspan(front.size()), BlockChecksum(front)));
  }
  EXPECT_EQ(0u, BlockChecksum({}));
  EXPECT_EQ(17u, BlockChecksum({}, 17));
}

}  // namespace
}  // namespace BlockCodec_test

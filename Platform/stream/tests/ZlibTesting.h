// Shared by the tests of zlib blocks: plain bytes of several kinds, and files of them.

#ifndef PLATFORM_STREAM_TESTS_ZLIBTESTING_H
#define PLATFORM_STREAM_TESTS_ZLIBTESTING_H

#include <cstring>
#include <random>
#include <span>
#include <string>

#include "Platform/stream/ZlibBlocks.h"
#include "Platform/stream/tests/StreamTesting.h"
#include "Platform/stream/zcmpsFilestr.h"

inline std::span<const std::byte> BytesOf(const std::string& text) { return std::as_bytes(std::span(text)); }

// Bytes like those of case codes: few values, and now and then a literal. They deflate well.
inline std::string Codes(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() % 20 == 0 ? random() : 100 + random() % 5);
  return bytes;
}

inline constexpr char kFront[] = "the part in front of row 0";
inline constexpr long kFrontSize = sizeof(kFront) - 1;

// Makes a file with some plain bytes and writes blocks after them.
inline std::string WriteBlocks(const std::string& path, const std::string& plain, int threads = 0) {
  std::ofstream(path, std::ios::binary) << kFront;
  QUAV_FileStream stream;
  stream.Open(path.c_str(), "rb");
  zcmpsFilestr layer(stream);
  layer.setMultiThread(threads);
  EXPECT_TRUE(layer.setRow0Pos(kFrontSize));
  EXPECT_EQ(plain.size(), Write(layer, plain));
  EXPECT_EQ(0, layer.Close());
  return path;
}

// A stream that reads the blocks of a file.
class BlocksOf : public zcmpsFilestr {
 public:
  explicit BlocksOf(const std::string& path, bool reversed = false) : zcmpsFilestr(Opened(path)) {
    EXPECT_TRUE(readFilePosInfo(kFrontSize, reversed));
  }

  // Reads from row 0 on, as far as possible.
  std::string All() {
    Seek(kFrontSize, kSeekFromStart);
    std::string all;
    for (std::string piece; !(piece = ::Read(*this, 50'000)).empty();) all += piece;
    return all;
  }

 private:
  static QUAV_FileStream Opened(const std::string& path) {
    QUAV_FileStream stream;
    EXPECT_NE(0, stream.Open(path.c_str(), "rb"));
    return stream;
  }
};

#endif

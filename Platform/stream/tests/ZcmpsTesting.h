// The fixture of the tests of zcmpsFilestr.

#ifndef PLATFORM_STREAM_TESTS_ZCMPSTESTING_H
#define PLATFORM_STREAM_TESTS_ZCMPSTESTING_H

#include <cstddef>
#include <string>

#include "Platform/stream/tests/ZlibTesting.h"
#include "Platform/stream/zcmpsFilestr.h"

inline constexpr long kBlock = static_cast<long>(kPlainBlockSize);

class ZcmpsFilestrTest : public StreamTest {
 protected:
  std::string Written(const std::string& plain, int threads = 0) const {
    return WriteBlocks(Path("file"), plain, threads);
  }
  // Appends after `position` bytes of the stream.
  static void Append(const std::string& path, std::size_t position, const std::string& plain, bool reversed = false) {
    BlocksOf layer(path, reversed);
    EXPECT_TRUE(layer.setFileToAppend(kFrontSize + static_cast<long>(position), reversed));
    EXPECT_EQ(plain.size(), Write(layer, plain));
    EXPECT_EQ(0, layer.Close());
  }
};

#endif

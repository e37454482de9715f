// The compressed stream as its caller sees it.

#include "zcompressedfilestr.h"

#include <list>
#include <memory>

#include "StreamOnDisk.h"

namespace {

constexpr std::size_t kBuffer = ZCompressed_FileStream::kBufferSize;

class ZCompressedStream : public testing::Test {
 protected:
  // A stream on a new file that holds the bytes, not flushed.
  std::unique_ptr<ZCompressed_FileStream> Written(const std::string& bytes) const {
    auto stream = std::make_unique<ZCompressed_FileStream>(file.Name().c_str(), "w+b", false);
    EXPECT_EQ(bytes.size(), Write(*stream, bytes));
    return stream;
  }
  std::unique_ptr<ZCompressed_FileStream> Flushed(const std::string& bytes) const {
    auto stream = Written(bytes);
    EXPECT_EQ(1, stream->Flush());
    return stream;
  }

  const Watchdog watchdog;
  const TempFile file{""};
};

TEST_F(ZCompressedStream, GivesBackWhatWasWritten) {
  const std::string bytes = Lines(3 * kBuffer + 1000);
  const auto stream = Flushed(bytes);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
  EXPECT_TRUE(stream->Good());
}

}  // namespace

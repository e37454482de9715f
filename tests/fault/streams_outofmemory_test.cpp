// Memory runs out in the streams that use threads: the call that requested it fails or throws, the bytes that are read
// are correct, and no thread and no open file remains.

#include <memory>
#include <new>
#include <string>

#include "datasrc/ZCompressed_FileStream.h"
#include "datasrc/zcmpsSort_FileStream.h"
#include "tests/fault/Requests.h"
#include "tests/threads/StreamOnDisk.h"

namespace streams_outofmemory_test {
namespace {

const std::string theBytes = Lines(300000);

// Returns what a copy of the stream reads. Throws std::bad_alloc, or returns fewer bytes and sets ENOMEM.
template <class Stream>
std::string WriteAndReadBack(const std::string& name) {
  Stream writer(name.c_str(), "w+b", true);
  if (!writer.IsOpen()) return "";
  writer.Write(theBytes.data(), theBytes.size());
  writer.Flush();
  Stream copy(writer);
  copy.Seek(0, kSeekFromStart);
  std::string found = Read(copy, theBytes.size());
  EXPECT_EQ(found.size() < theBytes.size() ? ENOMEM : 0, copy.Error() != 0 ? copy.Error() : writer.Error());
  return found;
}

template <class Stream>
class StreamOutOfMemory : public testing::Test {
 private:
  const Watchdog m_watchdog;
};

using Streams = testing::Types<ZCompressed_FileStream, zcmpsSort_FileStream>;
TYPED_TEST_SUITE(StreamOutOfMemory, Streams);

TYPED_TEST(StreamOutOfMemory, FailsWithoutAHangOrALeak) {
  const TempFile file("");
  const std::size_t threads = Threads();
  const std::size_t descriptors = OpenDescriptors();
  constexpr long kMoreThanEnough = 1000;
  long requests = 0;
  for (bool isWhole = false; !isWhole; ++requests) {
    ASSERT_LT(requests, kMoreThanEnough);
    std::string found;
    theRequestsLeft = requests;
    try {
      found = WriteAndReadBack<TypeParam>(file.Name());
    } catch (const std::bad_alloc&) {
      EXPECT_TRUE(found.empty());
    }
    isWhole = found.size() == theBytes.size() && theRequestsLeft >= 0;
    theRequestsLeft = kWithoutEnd;
    EXPECT_TRUE(SameBytes(theBytes.substr(0, found.size()), found)) << requests;
    EXPECT_TRUE(HasThreads(threads)) << requests;
    EXPECT_EQ(descriptors, OpenDescriptors()) << requests;
  }
  EXPECT_GT(requests, 10) << "the streams ask for memory";
}

}  // namespace
}  // namespace streams_outofmemory_test

// The two sides of a task, one at a time, and the pool of tasks.

#include "storage/ZCompressionTask.h"

#include <zlib.h>

#include <list>
#include <span>
#include <thread>
#include <vector>

#include "StreamOnDisk.h"
#include "storage/ZCompressionPool.h"

namespace ZCompressionTask_test {
namespace {

constexpr std::size_t kBuffer = ZCompressed_FileStream::kBufferSize;

using Bytes = std::vector<std::byte>;

Bytes BytesOf(const std::string& text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

// ---- Blocks ----

TEST(ZBlockFile, DecompressionRestoresTheBytes) {
  const Bytes text = BytesOf(Lines(10000));
  Bytes block(10000);
  std::size_t size = block.size();
  EXPECT_EQ(Z_STREAM_END, ZBlockFile::Compression(block.data(), size, text.data(), text.size()));
  Bytes back(10000);
  std::size_t backSize = back.size();
  EXPECT_EQ(0, ZBlockFile::Decompression(back.data(), backSize, block.data(), size));
  EXPECT_EQ(10000, backSize);
  EXPECT_EQ(text, back);
}

TEST(ZBlockFile, CompressionReturnsMinusFiveWhenTheBlockDoesNotFit) {
  const Bytes text = BytesOf(Noise(1000));
  Bytes block(500);
  std::size_t size = block.size();
  EXPECT_EQ(-5, ZBlockFile::Compression(block.data(), size, text.data(), text.size()));
}

TEST(ZBlockFile, DecompressionReturnsMinusThreeForATruncatedBlock) {
  const Bytes text = BytesOf(Noise(1000));
  Bytes block(2000);
  std::size_t size = block.size();
  ASSERT_EQ(Z_STREAM_END, ZBlockFile::Compression(block.data(), size, text.data(), text.size()));
  Bytes back(1000);
  std::size_t backSize = back.size();
  EXPECT_EQ(-3, ZBlockFile::Decompression(back.data(), backSize, block.data(), size - 1));
}

TEST(ZBlockFile, DecompressionReturnsMinusThreeWhenADictionaryIsNeeded) {
  const Bytes text = BytesOf("one two three one two three");
  Bytes block(1000);
  z_stream stream{};
  ASSERT_EQ(Z_OK, deflateInit(&stream, 1));
  ASSERT_EQ(Z_OK, deflateSetDictionary(&stream, reinterpret_cast<const Bytef*>("one two"), 7));
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(block.data());
  stream.avail_out = 1000;
  ASSERT_EQ(Z_STREAM_END, deflate(&stream, Z_FINISH));
  deflateEnd(&stream);
  Bytes back(1000);
  std::size_t backSize = back.size();
  EXPECT_EQ(-3, ZBlockFile::Decompression(back.data(), backSize, block.data(), stream.total_out));
}

TEST(ZBlockFile, DecompressionReturnsTheErrorOfInflateForDamage) {
  Bytes block(100, std::byte{0xff});
  Bytes back(1000);
  std::size_t backSize = back.size();
  EXPECT_EQ(Z_DATA_ERROR, ZBlockFile::Decompression(back.data(), backSize, block.data(), block.size()));
  const Bytes text = BytesOf(std::string(1000, 'x'));
  std::size_t size = block.size();
  ASSERT_EQ(Z_STREAM_END, ZBlockFile::Compression(block.data(), size, text.data(), text.size()));
  backSize = 10;
  EXPECT_EQ(Z_BUF_ERROR, ZBlockFile::Decompression(back.data(), backSize, block.data(), size));
}

// ---- A broken protocol ----

class OpenTask : public ZCompressionTask {
 public:
  explicit OpenTask(const std::shared_ptr<QUAV_File>& file) : ZCompressionTask(file, "task") {}
  ZBufferSignals& Signals() { return m_buffers.Semaphores(); }
};

class OpenBlockFile : public ZBlockFile {
 public:
  void ShrinkRoomForBlocks() { m_compressed = std::make_unique<DataBuffer>(20); }
};

class ZCompressionTaskDeathTest : public testing::Test {
 protected:
  // Does a whole write run.
  void WriteAll(const std::string& text) {
    task.Begin(true, 0);
    std::thread thread([this] { task.comThreadFunc(); });
    Put(text);
    task.FinishWriting();
    thread.join();
    task.End();
  }
  void Put(const std::string& text) {
    const Bytes bytes = BytesOf(text);
    for (std::size_t done = 0; done < bytes.size();) {
      const std::size_t size = std::min(kBuffer, bytes.size() - done);
      ZCompressed_FileStream::WriteRequest request{bytes.data() + done, size, &position};
      EXPECT_EQ(0, task.Write(request));
      done += size;
    }
  }
  void Get(std::size_t size) {
    Bytes bytes(size);
    ZCompressed_FileStream::ReadRequest request{bytes.data(), size, &position};
    task.Read(request, kept);
  }

  const TempFile name{""};
  std::shared_ptr<QUAV_File> file = QUAV_File::Open(name.Name().c_str(), *ParseFileMode("w+b"));
  OpenTask task{file};
  ZCompressionTask::Kept kept;
  long position = 0;
};

TEST_F(ZCompressionTaskDeathTest, AssertsThatTheThreadIsWokenForABufferOrTheEnd) {
  task.Begin(true, 0);
  task.Signals().readyBuffers.postSemaphore();
  EXPECT_DEATH(task.comThreadFunc(), "assertion failed: false");
}

TEST_F(ZCompressionTaskDeathTest, AssertsThatCompressionSucceeds) {
  OpenBlockFile blocks;
  blocks.ShrinkRoomForBlocks();
  blocks.Begin(file);
  ZCompressed_FileStream::DataBuffer buffer(100);
  const Bytes bytes = BytesOf(Noise(100));
  ZCompressed_FileStream::WriteRequest request{bytes.data(), 100, &position};
  buffer.Write(request);
  EXPECT_DEATH(blocks.Append(buffer), "assertion failed: false");
}

TEST_F(ZCompressionTaskDeathTest, AssertsThatTheWriterFindsACountedFreeBuffer) {
  task.Begin(true, 0);
  task.Signals().freeBuffers.postSemaphore();
  Put(std::string(2 * kBuffer, 'x'));
  EXPECT_DEATH(Put("x"), "assertion failed: false");
}

TEST_F(ZCompressionTaskDeathTest, AssertsThatTheReaderFindsACountedReadyBuffer) {
  WriteAll("abc");
  position = 0;
  task.Begin(false, 0);
  task.Signals().readyBuffers.postSemaphore();
  EXPECT_DEATH(Get(1), "assertion failed: false");
}

TEST_F(ZCompressionTaskDeathTest, AssertsThatTheThreadFindsACountedFreeBuffer) {
  WriteAll(Lines(4 * kBuffer));
  task.Begin(false, 0);
  task.Signals().freeBuffers.postSemaphore();
  EXPECT_DEATH(task.decThreadFunc(), "assertion failed: false");
}

// ---- The pool ----

class OpenPool : public ZCompressionPool {
 public:
  using ZCompressionPool::tasks;
  using ZCompressionPool::threads;
};

class ZCompressionPoolTest : public testing::Test {
 protected:
  std::shared_ptr<QUAV_File> NewFile() {
    const std::string path = name.Directory() + "/" + std::to_string(++m_files);
    return QUAV_File::Open(path.c_str(), *ParseFileMode("w+b"));
  }
  int Get(const std::shared_ptr<QUAV_File>& file) { return pool.GetThreadIndex(file, "name", true, 0); }

  const TempFile name{""};
  OpenPool pool;

 private:
  int m_files = 0;
};

using ZCompressionPoolDeathTest = ZCompressionPoolTest;

TEST_F(ZCompressionPoolTest, FindsTheIndexOfAFile) {
  const auto first = NewFile();
  const auto second = NewFile();
  EXPECT_EQ(0, Get(first));
  EXPECT_EQ(1, Get(second));
  EXPECT_EQ(0, Get(first));
  EXPECT_EQ(1, pool.Find(second));
  EXPECT_EQ(-1, pool.Find(NewFile()));
}

TEST_F(ZCompressionPoolTest, FlushEndsTheThreadAndReturnsZeroForUnknownIndexes) {
  const auto file = NewFile();
  EXPECT_EQ(0, pool.Flush(0));
  EXPECT_EQ(0, pool.Flush(-1));
  const int index = Get(file);
  EXPECT_TRUE(pool.Runs(index));
  EXPECT_EQ(1, pool.Flush(index));
  EXPECT_FALSE(pool.Runs(index));
  EXPECT_EQ(1, pool.Flush(index));
}

TEST_F(ZCompressionPoolTest, ReplacesTheLongestUnusedTaskWhenAllSlotsAreTaken) {
  for (int i = 0; i < 9; ++i) pool.Flush(Get(NewFile()));
  EXPECT_EQ(0, Get(NewFile()));
  pool.Flush(0);
  EXPECT_EQ(1, Get(NewFile()));
  EXPECT_EQ(9, pool.tasks.size());
}

TEST_F(ZCompressionPoolTest, GrowsWhenEachTaskRunsOrHasAnOpenFile) {
  std::list<std::shared_ptr<QUAV_File>> files;
  for (int i = 0; i < 20; ++i) {
    const int index = Get(files.emplace_back(NewFile()));
    EXPECT_EQ(i, index);
    if (i % 2 == 0) pool.Flush(index);
  }
  int index = 0;
  for (const auto& file : files) EXPECT_EQ(index++, pool.Find(file));
}

TEST_F(ZCompressionPoolTest, DestructorEndsAllThreads) {
  const std::size_t before = Threads();
  {
    OpenPool another;
    const auto first = NewFile();
    const auto second = NewFile();
    another.GetThreadIndex(first, "", true, 0);
    another.GetThreadIndex(second, "", true, 0);
    EXPECT_TRUE(HasThreads(before + 2));
  }
  EXPECT_TRUE(HasThreads(before));
}

TEST_F(ZCompressionPoolDeathTest, AssertsThatThereIsOneThreadEntryForEachTask) {
  pool.threads.emplace_back();
  EXPECT_DEATH(Get(NewFile()), "assertion failed: tasks.size\\(\\) == threads.size\\(\\)");
}

}  // namespace
}  // namespace ZCompressionTask_test

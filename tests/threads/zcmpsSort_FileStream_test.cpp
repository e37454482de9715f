// The sort stream as its callers see it.

#include "datasrc/zcmpsSort_FileStream.h"

#include <fstream>
#include <latch>
#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include "TempStreams.h"
#include "storage/sortTemp/baseDataStream.h"

namespace zcmpsSort_FileStream_test {
namespace {

constexpr std::size_t kBlock = kSortBlockSize;

using Stream = zcmpsSort_FileStream;

class ZcmpsSortFileStream : public WatchedStreamFile<Stream> {
 protected:
  // Writes the bytes, and returns what a copy reads, and its error. The copy has the error before it reads.
  std::pair<std::string, int> CopiedAndRead(const std::string& bytes) const {
    const auto writer = Opened();
    Write(*writer, bytes);
    Stream copy(*writer);
    const int error = copy.Error();
    return {ReadAt(copy, 0, bytes.size()), error};
  }
};

using ZcmpsSortFileStreamDeathTest = StreamFile<Stream>;

// ---- Writing and reading ----

TEST_F(ZcmpsSortFileStream, CopyReadsWhatWasWritten) {
  const std::string bytes = Lines(3 * kBlock + 1000);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  EXPECT_EQ(static_cast<long>(bytes.size()), copy.Tell());
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
  EXPECT_TRUE(copy.Good());
  EXPECT_EQ(0, copy.EndOfFile());
  EXPECT_EQ("", Read(copy, 1));
  EXPECT_NE(0, copy.EndOfFile());
  copy.Seek(0, kSeekFromStart);
  EXPECT_EQ(0, copy.EndOfFile());
}

TEST_F(ZcmpsSortFileStream, IsEmptyWhenNothingWasWritten) {
  const auto writer = Opened();
  EXPECT_EQ("", Read(*writer, 10));
  Stream copy(*writer);
  EXPECT_EQ("", Read(copy, 10));
  EXPECT_TRUE(copy.Good());
  EXPECT_EQ(0, copy.Length());
}

TEST_F(ZcmpsSortFileStream, WritesOneBlockForExactlyOneBlockSize) {
  const FaultyDisk disk;
  const std::string bytes = Lines(kBlock);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  EXPECT_EQ(1, disk.Writes());
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, kBlock + 1)));
  EXPECT_EQ("", ReadAt(copy, kBlock, 1));
  EXPECT_EQ(bytes.substr(kBlock - 3), ReadAt(copy, kBlock - 3, 10));
}

TEST_F(ZcmpsSortFileStream, WritesTwoBlocksForOneByteMoreThanABlockSize) {
  const FaultyDisk disk;
  const std::string bytes = Lines(kBlock + 1);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  EXPECT_EQ(2, disk.Writes());
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, kBlock + 2)));
}

TEST_F(ZcmpsSortFileStream, AcceptsARequestOfSeveralBlocks) {
  const std::string bytes = Lines(3 * kBlock + 5);
  const auto writer = Opened();
  EXPECT_EQ(bytes.size(), writer->Write(bytes.data(), bytes.size()));
  Stream copy(*writer);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
}

TEST_F(ZcmpsSortFileStream, CompressesWhatItWrites) {
  const auto writer = Written(Lines(2 * kBlock));
  const Stream copy(*writer);
  EXPECT_LT(std::filesystem::file_size(file.Name()), kBlock / 5);
}

TEST_F(ZcmpsSortFileStream, StoresAnIncompressibleBlockUnchanged) {
  const std::string bytes = Noise(2 * kBlock + 77) + Lines(kBlock);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  EXPECT_EQ(bytes.substr(0, 100), file.Bytes().substr(0, 100));
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
}

TEST_F(ZcmpsSortFileStream, StoresBlocksOfAFewBytes) {
  for (std::size_t size = 1; size <= 40; ++size) {
    const std::string bytes = Noise(size);
    const auto writer = Written(bytes);
    Stream copy(*writer);
    EXPECT_EQ(bytes, ReadAt(copy, 0, 100));
    EXPECT_EQ(size, std::filesystem::file_size(file.Name()));
  }
}

TEST_F(ZcmpsSortFileStream, TransfersNothingForACountOfZeroOrWhenItIsNotOpen) {
  const auto writer = Opened();
  EXPECT_EQ(0, writer->Write("x", 0));
  EXPECT_EQ(0, writer->Read(nullptr, 0));
  EXPECT_TRUE(writer->Good());
  Stream closed;
  EXPECT_EQ(0, closed.Write("x", 1));
  EXPECT_EQ("", Read(closed, 1));
  EXPECT_EQ(1, closed.Flush());
  EXPECT_EQ(1, closed.Close());
  Stream copy(closed);
  EXPECT_EQ("", Read(copy, 1));
}

TEST_F(ZcmpsSortFileStream, FootprintIsABlockAndItsOverhead) { EXPECT_EQ(0x3FF040, Opened()->Footprint()); }

TEST_F(ZcmpsSortFileStream, HasNoWindow) {
  const auto writer = Written("abc");
  EXPECT_EQ(0, writer->Peek(0).Size());
  EXPECT_TRUE(writer->Good());
  EXPECT_EQ(0, writer->Peek(1).Size());
  EXPECT_EQ(ENOTSUP, writer->Error());
}

// ---- The writer ----

TEST_F(ZcmpsSortFileStream, WriterReadsWhatItWroteAndContinuesToWrite) {
  const std::string bytes = Lines(2 * kBlock + 500);
  const auto writer = Opened();
  std::size_t done = 0;
  for (const std::size_t end : {std::size_t{10}, kBlock - 1, kBlock + 10, bytes.size()}) {
    EXPECT_EQ(end - done, Write(*writer, bytes.substr(done, end - done)));
    done = end;
    EXPECT_TRUE(SameBytes(bytes.substr(0, end), ReadAt(*writer, 0, bytes.size())));
  }
  Stream copy(*writer);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
}

TEST_F(ZcmpsSortFileStream, WritesInSequenceAtAnyPosition) {
  const auto writer = Written("abc");
  EXPECT_EQ(0, writer->Seek(1, kSeekFromStart));
  EXPECT_EQ(3, Write(*writer, "def"));
  EXPECT_EQ("abcdef", ReadAt(*writer, 0, 10));
}

TEST_F(ZcmpsSortFileStream, EachFlushMakesABlock) {
  std::string bytes;
  const auto writer = Opened();
  for (std::size_t i = 1; i < 200; ++i) {
    const std::string piece = Lines(i, i);
    Write(*writer, piece);
    EXPECT_EQ(1, writer->Flush());
    bytes += piece;
  }
  Stream copy(*writer);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size() + 1)));
  for (std::size_t at = bytes.size(); at-- > 0;) ASSERT_EQ(bytes.substr(at, 1), ReadAt(copy, at, 1));
}

TEST_F(ZcmpsSortFileStream, RefusesToWriteAfterTheFirstCopy) {
  const auto writer = Written("abc");
  {
    Stream copy(*writer);
    EXPECT_EQ(0, copy.Write("x", 1));
    EXPECT_EQ(EBADF, copy.Error());
  }
  EXPECT_EQ(0, writer->Write("x", 1));
  EXPECT_EQ(EBADF, writer->Error());
  EXPECT_EQ("abc", ReadAt(*writer, 0, 10));
}

TEST_F(ZcmpsSortFileStream, RefusesToWriteAReadOnlyFile) {
  Stream stream(file.Name().c_str(), "rb", false);
  EXPECT_EQ(0, stream.Write("x", 1));
  EXPECT_EQ(EBADF, stream.Error());
}

// ---- Opening and closing ----

TEST_F(ZcmpsSortFileStream, OpenFailsInAMissingDirectoryAndForAppending) {
  const std::size_t threads = Threads();
  Stream stream;
  EXPECT_EQ(0, stream.Open((file.Directory() + "/none/file").c_str(), "w+b"));
  EXPECT_EQ(ENOENT, stream.Error());
  EXPECT_EQ(0, stream.Open(file.Name().c_str(), "a+b"));
  EXPECT_EQ(EINVAL, stream.Error());
  EXPECT_FALSE(stream.IsOpen());
  EXPECT_TRUE(HasThreads(threads));
}

TEST_F(ZcmpsSortFileStream, ReopensWithEachFormOfOpen) {
  const ExtNameStr name(file.Name());
  Stream stream;
  EXPECT_NE(0, stream.Open(file.Name().c_str(), "w+b"));
  Write(stream, "abc");
  EXPECT_NE(0, stream.Open(name, "w+b"));
  Write(stream, "defg");
  EXPECT_NE(0, stream.Open(name, ExtNameStr("password"), "w+b"));
  EXPECT_EQ("", ReadAt(stream, 0, 10));
  EXPECT_NE(0, stream.Open(file.Name().c_str(), "password", "w+b"));
  Write(stream, "h");
  EXPECT_EQ("h", ReadAt(stream, 0, 10));
}

TEST_F(ZcmpsSortFileStream, ClosingTheWriterReleasesItsFile) {
  const std::size_t threads = Threads();
  const auto writer = Written("abc");
  EXPECT_EQ(1, static_cast<const Stream&>(*writer).Close());
  EXPECT_TRUE(HasThreads(threads));
  EXPECT_FALSE(writer->IsOpen());
  EXPECT_EQ("", ReadAt(*writer, 0, 3));
  EXPECT_EQ(1, writer->Close());
}

TEST_F(ZcmpsSortFileStream, ClosingACopyDoesNothing) {
  const auto writer = Written("abc");
  Stream copy(*writer);
  EXPECT_EQ(1, copy.Close());
  EXPECT_EQ("abc", ReadAt(copy, 0, 10));
}

TEST_F(ZcmpsSortFileStream, CopiesReadAfterTheWriterIsDestroyed) {
  const std::string bytes = Lines(3 * kBlock);
  auto writer = Written(bytes);
  Stream copy(*writer);
  EXPECT_TRUE(SameBytes(bytes.substr(0, 10), ReadAt(copy, 0, 10)));
  Stream another(copy);
  writer.reset();
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
  EXPECT_TRUE(SameBytes(bytes, ReadAt(another, 0, bytes.size())));
}

// ---- Positions ----

TEST_F(ZcmpsSortFileStream, SeekReturnsZeroFromEachOrigin) {
  const auto writer = Written("abcdef");
  EXPECT_EQ(6, writer->Length());
  Stream copy(*writer);
  EXPECT_EQ(6, copy.Length());
  EXPECT_EQ(0, copy.Seek(-2, kSeekFromEnd));
  EXPECT_EQ("ef", Read(copy, 10));
  EXPECT_EQ(0, copy.Seek(-5, kSeekFromPresent));
  EXPECT_EQ("bc", Read(copy, 2));
  EXPECT_EQ(3, copy.Tell());
}

TEST_F(ZcmpsSortFileStream, ReadsNothingWhereThereIsNoBlock) {
  const auto writer = Written("abcdef");
  Stream copy(*writer);
  for (const long position : {-1L, 6L, 7L, 1L << 40}) {
    EXPECT_EQ(0, copy.Seek(position, kSeekFromStart));
    EXPECT_EQ("", Read(copy, 1)) << position;
    EXPECT_EQ(position, copy.Tell());
  }
  EXPECT_TRUE(copy.Good());
  EXPECT_EQ("f", ReadAt(copy, 5, 10));
}

TEST_F(ZcmpsSortFileStream, ReadsOnFromABlockStartAfterASeekBack) {
  const std::string bytes = Lines(5 * kBlock + 9);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  EXPECT_TRUE(SameBytes(bytes.substr(0, 3 * kBlock), ReadAt(copy, 0, 3 * kBlock)));
  for (const std::size_t start : {kBlock, std::size_t{0}, 4 * kBlock, 2 * kBlock}) {
    EXPECT_TRUE(SameBytes(bytes.substr(start), ReadAt(copy, start, bytes.size()))) << start;
  }
}

TEST_F(ZcmpsSortFileStream, ReadsCorrectlyAfterSeeksDuringReadAhead) {
  const std::string bytes = Lines(6 * kBlock);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  std::mt19937 random(1);
  for (int i = 0; i < 100; ++i) {
    const std::size_t start = random() % 6 * kBlock + random() % 3;
    EXPECT_TRUE(SameBytes(bytes.substr(start, 10), ReadAt(copy, start, 10))) << start;
    if (random() % 2 == 0) copy.Seek(static_cast<long>(kBlock) - 10, kSeekFromPresent);
    const std::size_t next = static_cast<std::size_t>(copy.Tell());
    const std::string expected = next < bytes.size() ? bytes.substr(next, 10) : "";
    EXPECT_TRUE(SameBytes(expected, Read(copy, 10))) << next;
  }
}

TEST_F(ZcmpsSortFileStream, ReadsTheNextBlockAhead) {
  const std::string bytes = Lines(4 * kBlock);
  const auto writer = Written(bytes);
  Stream copy(*writer);
  const FaultyDisk disk;
  EXPECT_TRUE(SameBytes(bytes.substr(0, 1), ReadAt(copy, 0, 1)));
  while (disk.Reads() < 2) std::this_thread::yield();
  EXPECT_TRUE(SameBytes(bytes.substr(0, kBlock + 1), ReadAt(copy, 0, kBlock + 1)));
  while (disk.Reads() < 3) std::this_thread::yield();
  EXPECT_EQ(3, disk.Reads());
}

// ---- Many readers ----

TEST_F(ZcmpsSortFileStream, TwoCopiesAtTheSamePositionEachReadTheWholeBlock) {
  const std::string bytes = Lines(2 * kBlock);
  const auto writer = Written(bytes);
  Stream first(*writer);
  Stream second(*writer);
  std::latch start(2);
  std::vector<std::thread> threads;
  for (Stream* const copy : {&first, &second}) {
    threads.emplace_back([&, copy] {
      start.arrive_and_wait();
      EXPECT_TRUE(SameBytes(bytes, ReadAt(*copy, 0, bytes.size())));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ZcmpsSortFileStream, ManyCopiesReadAtOnceFromDifferentPositions) {
  constexpr std::size_t kCopies = 8;
  const std::string bytes = Lines(kCopies * kBlock + 1);
  const auto writer = Written(bytes);
  std::list<Stream> copies;
  for (std::size_t i = 0; i < kCopies; ++i) copies.emplace_back(*writer);
  std::vector<std::thread> threads;
  std::size_t number = 0;
  for (Stream& copy : copies) {
    threads.emplace_back([&copy, &bytes, begin = number++ * kBlock + 7] {
      EXPECT_TRUE(SameBytes(bytes.substr(begin), ReadAt(copy, begin, bytes.size())));
      EXPECT_TRUE(SameBytes(bytes.substr(0, begin), ReadAt(copy, 0, begin)));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ZcmpsSortFileStream, CopiesAreMadeAndDestroyedOnThreadsWhileOthersRead) {
  const std::string bytes = Lines(3 * kBlock);
  const auto writer = Written(bytes);
  Stream first(*writer);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < 4; ++i) {
    threads.emplace_back([&first, &bytes, i] {
      for (std::size_t round = 0; round < 5; ++round) {
        Stream copy(first);
        const std::size_t begin = (i + round) % 3 * kBlock;
        EXPECT_TRUE(SameBytes(bytes.substr(begin, 100), ReadAt(copy, begin, 100)));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// ---- Encrypted files ----

TEST_F(ZcmpsSortFileStream, PadsBlocksOfAnEncryptedFileToMultiplesOfSixteen) {
  const std::string bytes = Lines(kBlock + 17);
  Stream writer(true);
  ASSERT_NE(0, writer.Open(file.Name().c_str(), "w+b"));
  Write(writer, bytes);
  Stream copy(writer);
  EXPECT_EQ(0, std::filesystem::file_size(file.Name()) % 16);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(copy, 0, bytes.size())));
}

// ---- Destruction ----

TEST_F(ZcmpsSortFileStream, DestructorEndsThreadAndFileAtAnyStage) {
  using Stage = void (*)(Stream&, const std::string&);
  const Stage stages[] = {
      [](Stream&, const std::string&) {},
      [](Stream& stream, const std::string&) { Write(stream, "x"); },
      [](Stream& stream, const std::string& all) { Write(stream, all.substr(0, kBlock)); },
      [](Stream& stream, const std::string& all) { Write(stream, all); },
      [](Stream& stream, const std::string& all) { Write(stream, all), stream.Flush(); },
      [](Stream& stream, const std::string& all) { Write(stream, all), ReadAt(stream, 0, 1); },
      [](Stream& stream, const std::string& all) { Write(stream, all), Stream(stream), Stream(stream); },
      [](Stream& stream, const std::string& all) {
        Write(stream, all);
        Stream copy(stream);
        ReadAt(copy, 0, 1);
      },
      [](Stream& stream, const std::string& all) {
        Write(stream, all);
        Stream first(stream);
        Stream second(first);
        ReadAt(first, 0, all.size());
        ReadAt(second, kBlock, 1);
      },
  };
  ExpectNothingLeftAfter(stages, Lines(5 * kBlock));
}

TEST_F(ZcmpsSortFileStream, ExceptionEndsTheThread) {
  const std::size_t before = Threads();
  EXPECT_THROW(
      {
        const auto writer = Written(Lines(kBlock + 1));
        const Stream copy(*writer);
        throw std::runtime_error("on the way");
      },
      std::runtime_error);
  EXPECT_TRUE(HasThreads(before));
}

// ---- Faults ----

TEST_F(ZcmpsSortFileStreamDeathTest, AssertsThatBlocksAreUnchanged) {
  const auto spoil = [this] {
    const auto writer = Written(Lines(1000));
    Stream copy(*writer);
    Overwrite(file.Name(), 0, "spoiled!");
    ReadAt(copy, 0, 10);
  };
  EXPECT_DEATH(spoil(), "assertion failed: ret!= 0");
}

// The block in its place is a good one, but not the one that was written.
TEST_F(ZcmpsSortFileStream, ReportsABlockOfAnotherSizeThanWasWritten) {
  const std::string bytes = Lines(1000);
  for (const std::size_t another : {std::size_t{0}, std::size_t{1}, std::size_t{999}, std::size_t{1001}, kBlock}) {
    SCOPED_TRACE(another);
    const auto writer = Opened();
    Write(*writer, Lines(kBlock));
    writer->Flush();
    Write(*writer, Noise(3000) + Lines(kBlock / 2));
    writer->Flush();
    EXPECT_EQ("", ReadAt(*writer, 2 * kBlock, 1));  // waits until all is written
    const std::size_t place = std::filesystem::file_size(file.Name());
    Write(*writer, Noise(9000) + bytes);
    Stream copy(*writer);
    Stream atOnce(copy);
    Overwrite(file.Name(), place, ZlibBlock(std::string(another, 'x')));
    const std::size_t begin = kBlock + 3000 + kBlock / 2;
    EXPECT_EQ(begin, ReadAt(copy, 0, 2 * kBlock).size());  // the last block was read ahead
    for (Stream* const stream : {&copy, &atOnce, writer.get()}) {
      for (int i = 0; i < 2; ++i) {
        stream->Clear();
        EXPECT_EQ("", ReadAt(*stream, begin, 10));
        EXPECT_EQ(EIO, stream->Error());
      }
    }
    EXPECT_EQ(3000, ReadAt(atOnce, kBlock, 3000).size());
  }
}

TEST_F(ZcmpsSortFileStreamDeathTest, AssertsThatABlockInflatesIntoABlockSize) {
  const auto replace = [this] {
    alarm(100);
    const auto writer = Written(Noise(kBlock / 2) + Lines(kBlock / 2));
    Stream copy(*writer);
    Overwrite(file.Name(), 0, ZlibBlock(std::string(kBlock + 1, 'x')));
    ReadAt(copy, 0, 10);
  };
  EXPECT_DEATH(replace(), "assertion failed: ret!= 0");
}

TEST_F(ZcmpsSortFileStream, AcceptsAnyBlockOfTheSizeThatWasWritten) {
  const auto writer = Written(Lines(9000));
  Stream copy(*writer);
  Overwrite(file.Name(), 0, ZlibBlock(std::string(9000, 'x')));
  EXPECT_EQ(std::string(9000, 'x'), ReadAt(copy, 0, 10000));
}

TEST_F(ZcmpsSortFileStream, ReportsAFailedWriteInLaterCallsAndInEachCopy) {
  const auto writer = Opened();
  {
    const FaultyDisk disk({.write = 1, .error = ENOSPC});
    Write(*writer, "abc");
    EXPECT_EQ("", ReadAt(*writer, 0, 3));
    EXPECT_EQ(ENOSPC, writer->Error());
  }
  writer->Clear();
  EXPECT_EQ(0, writer->Write("x", 1));
  EXPECT_EQ(ENOSPC, writer->Error());
  writer->Clear();
  EXPECT_EQ(1, writer->Flush());
  EXPECT_EQ(ENOSPC, writer->Error());
  Stream copy(*writer);
  EXPECT_EQ(ENOSPC, copy.Error());
  copy.Clear();
  EXPECT_EQ("", ReadAt(copy, 0, 3));
  EXPECT_EQ(ENOSPC, copy.Error());
  EXPECT_EQ(1, writer->Close());
  EXPECT_EQ(ENOSPC, writer->Error());
}

TEST_F(ZcmpsSortFileStream, ReportsAnyFailedWriteWithoutHanging) {
  const std::string bytes = Lines(3 * kBlock + 9);
  ExpectAnyFailedWriteIsReported(bytes, [&] { return CopiedAndRead(bytes); });
}

// A disk that becomes full takes the beginning of a block.
TEST_F(ZcmpsSortFileStream, ReportsAFullDiskWithoutHanging) {
  const std::string bytes = Lines(kBlock) + Noise(kBlock) + Lines(9);
  {
    const auto writer = Written(bytes);
    const Stream copy(*writer);
  }
  const long whole = static_cast<long>(std::filesystem::file_size(file.Name()));
  ExpectAFullDiskIsReported(bytes, whole, [&] { return CopiedAndRead(bytes); });
}

TEST_F(ZcmpsSortFileStream, ReportsAnyFailedReadAndTriesItAgain) {
  const std::string bytes = Lines(4 * kBlock);
  const auto writer = Written(bytes);
  const Stream first(*writer);
  for (int n = 1; n <= 4; ++n) {
    const FaultyDisk disk({.read = n});
    {
      Stream copy(first);
      const std::string found = ReadAt(copy, 0, bytes.size());
      EXPECT_LT(found.size(), bytes.size()) << n;
      EXPECT_TRUE(SameBytes(bytes.substr(0, found.size()), found)) << n;
      EXPECT_EQ(EIO, copy.Error()) << n;
      EXPECT_TRUE(SameBytes(bytes.substr(found.size()), Read(copy, bytes.size()))) << n;
    }
    EXPECT_TRUE(disk.Struck());
  }
}

TEST_F(ZcmpsSortFileStream, ReportsReadsThatKeepFailing) {
  const auto writer = Written(Lines(2 * kBlock));
  Stream copy(*writer);
  {
    const FaultyDisk disk({.read = 1, .lasting = true});
    for (int i = 0; i < 5; ++i) {
      copy.Clear();
      EXPECT_EQ("", ReadAt(copy, 0, 10));
      EXPECT_EQ(EIO, copy.Error());
    }
    writer->Close();  // also ends the thread, which uses the disk too
  }
  EXPECT_EQ(10, ReadAt(copy, 0, 10).size());
}

TEST_F(ZcmpsSortFileStream, ReportsAFileThatHasBecomeShorter) {
  const auto writer = Written(Lines(2 * kBlock));
  Stream copy(*writer);
  std::filesystem::resize_file(file.Name(), 100);
  EXPECT_EQ("", ReadAt(copy, 0, 10));
  EXPECT_EQ(EIO, copy.Error());
}

// ---- Random scripts ----

// A random script, compared with a writer and copies that have positions but no blocks or threads.
class Script {
 public:
  Script(unsigned seed, const std::string& name) : m_draw(seed), m_writer(m_draw.Below(2) == 0) {
    EXPECT_NE(0, m_writer.Open(name.c_str(), "w+bTD"));
  }

  void Run() {
    const std::size_t writes = 1 + m_draw.Below(20);
    for (std::size_t i = 0; i < writes && !testing::Test::HasFailure(); ++i) WriteOn();
    for (int step = 0; step < 30 && !testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      Step();
    }
  }

 private:
  struct Reader {
    Stream stream;
    std::size_t position;
  };

  void WriteOn() {
    const std::string piece = m_draw.Bytes(m_draw.Size());
    EXPECT_EQ(piece.size(), ::Write(m_writer, piece, 1 + m_draw.Below(kBlock)));
    m_bytes += piece;
    if (m_draw.Below(3) == 0) m_writer.Flush();
    if (m_draw.Below(5) != 0) return;
    const std::size_t from = m_draw.Position(m_bytes.size());
    EXPECT_TRUE(SameBytes(m_bytes.substr(std::min(from, m_bytes.size()), 100), ReadAt(m_writer, from, 100)));
  }

  void Step() {
    if (m_readers.empty() || (m_readers.size() < 4 && m_draw.Below(6) == 0)) return Copy();
    const auto reader = std::next(m_readers.begin(), static_cast<long>(m_draw.Below(m_readers.size())));
    switch (m_draw.Below(9)) {
      case 0:
        m_readers.erase(reader);
        return;
      case 1:
      case 2:
      case 3:
        return Seek(*reader);
      case 4:
        return ReadAllAtOnce();
      default:
        return ReadOn(*reader, m_draw.Size());
    }
  }

  void Copy() {
    m_readers.emplace_back(Stream(m_readers.empty() ? m_writer : m_readers.front().stream), 0);
    m_readers.back().stream.Seek(0, kSeekFromStart);
  }

  void ReadOn(Reader& reader, std::size_t count) const {
    const std::string expected = reader.position < m_bytes.size() ? m_bytes.substr(reader.position, count) : "";
    EXPECT_TRUE(SameBytes(expected, ::Read(reader.stream, count)));
    reader.position += expected.size();
    EXPECT_EQ(reader.position, static_cast<std::size_t>(reader.stream.Tell()));
    EXPECT_TRUE(reader.stream.Good());
  }

  void ReadAllAtOnce() {
    std::vector<std::thread> threads;
    for (Reader& reader : m_readers)
      threads.emplace_back([this, &reader, count = m_draw.Size()] { ReadOn(reader, count); });
    for (std::thread& thread : threads) thread.join();
  }

  void Seek(Reader& reader) {
    const std::size_t target = m_draw.Position(m_bytes.size());
    const SeekDirection direction = static_cast<SeekDirection>(m_draw.Below(3));
    const std::size_t froms[] = {0, reader.position, m_bytes.size()};
    EXPECT_EQ(0, reader.stream.Seek(static_cast<long>(target) - static_cast<long>(froms[direction]), direction));
    reader.position = target;
  }

  Draws<kBlock> m_draw;
  std::string m_bytes;
  Stream m_writer;
  std::list<Reader> m_readers;
};

using ZcmpsSortFileStreamScripts = StreamFile<Stream>;

TEST_F(ZcmpsSortFileStreamScripts, AgreeWithAModel) {
  ForEachSeed([this](unsigned seed) { Script(seed, file.Name()).Run(); });
}

}  // namespace
}  // namespace zcmpsSort_FileStream_test

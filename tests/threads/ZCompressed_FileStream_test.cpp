// The compressed stream as its caller sees it.

#include "storage/zcompressedfilestr.h"

#include <fcntl.h>

#include <fstream>
#include <list>
#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

#include "TempStreams.h"
#include "storage/ZBlockFile.h"

namespace ZCompressed_FileStream_test {
namespace {

constexpr std::size_t kBuffer = ZCompressed_FileStream::kBufferSize;

using Stream = ZCompressed_FileStream;

class ZCompressedFileStreamDeathTest : public StreamFile<Stream> {
 protected:
  std::unique_ptr<Stream> Flushed(const std::string& bytes) const {
    auto stream = Written(bytes);
    EXPECT_EQ(1, stream->Flush());
    return stream;
  }
};

class ZCompressedFileStream : public ZCompressedFileStreamDeathTest {
  const Watchdog m_watchdog;
};

// ---- Writing and reading ----

TEST_F(ZCompressedFileStream, ReadsBackWhatWasWritten) {
  const std::string bytes = Lines(3 * kBuffer + 1000);
  const auto stream = Flushed(bytes);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
  EXPECT_TRUE(stream->Good());
  EXPECT_EQ(0, stream->EndOfFile());
  EXPECT_EQ("", Read(*stream, 1));
  EXPECT_NE(0, stream->EndOfFile());
}

TEST_F(ZCompressedFileStream, CompressesWhatItWrites) {
  const auto stream = Flushed(Lines(2 * kBuffer));
  EXPECT_LT(std::filesystem::file_size(file.Name()), kBuffer / 5);
}

TEST_F(ZCompressedFileStream, ReadsBackIncompressibleBytes) {
  const std::string bytes = Noise(2 * kBuffer + 77);
  const auto stream = Flushed(bytes);
  EXPECT_GT(std::filesystem::file_size(file.Name()), bytes.size());
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
}

TEST_F(ZCompressedFileStream, AcceptsARequestOfAWholeBuffer) {
  const std::string bytes = Lines(3 * kBuffer);
  const auto stream = Opened();
  EXPECT_EQ(100, Write(*stream, bytes.substr(0, 100)));
  EXPECT_EQ(kBuffer, Write(*stream, bytes.substr(100, kBuffer), kBuffer));
  EXPECT_EQ(2 * kBuffer - 100, Write(*stream, bytes.substr(kBuffer + 100), kBuffer));
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
}

TEST_F(ZCompressedFileStreamDeathTest, AssertsThatARequestFitsABuffer) {
  const std::string bytes(kBuffer + 1, 'x');
  EXPECT_DEATH(Write(*Opened(), bytes, bytes.size()), "assertion failed: _fBuf->bufsize == BUFFER_SIZE");
}

TEST_F(ZCompressedFileStream, TransfersNothingForACountOfZero) {
  const auto stream = Opened();
  EXPECT_EQ(0, stream->Write("x", 0));
  EXPECT_EQ(0, stream->Read(nullptr, 0));
  EXPECT_TRUE(stream->Good());
}

TEST_F(ZCompressedFileStream, TransfersNothingWhenItIsNotOpen) {
  Stream stream;
  EXPECT_EQ(0, stream.Write("x", 1));
  EXPECT_EQ("", Read(stream, 1));
  EXPECT_EQ(1, stream.Flush());
  EXPECT_EQ(1, stream.Close());
}

TEST_F(ZCompressedFileStream, IsEmptyBeforeTheFirstWrite) {
  const auto stream = Opened();
  EXPECT_EQ("", Read(*stream, 10));
  EXPECT_TRUE(stream->Good());
  EXPECT_EQ(0, stream->Length());
}

TEST_F(ZCompressedFileStream, RefusesToWriteAReadOnlyFile) {
  Stream stream(file.Name().c_str(), "rb", false);
  EXPECT_EQ(0, stream.Write("x", 1));
  EXPECT_EQ(EBADF, stream.Error());
}

TEST_F(ZCompressedFileStream, FootprintIsTwoBuffers) { EXPECT_EQ(0x7FF800, Opened()->Footprint()); }

TEST_F(ZCompressedFileStream, HasNoWindow) {
  const auto stream = Flushed("abc");
  stream->Seek(0, kSeekFromStart);
  EXPECT_EQ(0, stream->Peek(0).Size());
  EXPECT_TRUE(stream->Good());
  EXPECT_EQ(0, stream->Peek(1).Size());
  EXPECT_EQ(ENOTSUP, stream->Error());
}

// ---- Blocks ----

TEST_F(ZCompressedFileStream, WritesOneBlockForExactlyOneBuffer) {
  const FaultyDisk disk;
  const std::string bytes = Lines(kBuffer);
  const auto stream = Flushed(bytes);
  EXPECT_EQ(1, disk.Writes());
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, kBuffer + 1)));
}

TEST_F(ZCompressedFileStream, WritesTwoBlocksForOneByteMoreThanABuffer) {
  const FaultyDisk disk;
  const std::string bytes = Lines(kBuffer + 1);
  const auto stream = Flushed(bytes);
  EXPECT_EQ(2, disk.Writes());
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, kBuffer + 2)));
}

std::size_t CompressedSize(const std::string& text) {
  std::vector<std::byte> out(text.size() + 1000);
  std::size_t size = out.size();
  ZBlockFile::Compression(out.data(), size, std::as_bytes(std::span(text)).data(), text.size());
  return size;
}

TEST_F(ZCompressedFileStream, PadsABlockToAMultipleOfSixteen) {
  for (std::size_t size = 1; size <= 40; ++size) {
    const std::string text = Noise(size);
    const std::size_t compressed = CompressedSize(text);
    const auto stream = Flushed(text);
    EXPECT_EQ((compressed + 15) / 16 * 16, std::filesystem::file_size(file.Name())) << compressed;
    EXPECT_EQ(text, ReadAt(*stream, 0, size));
  }
}

TEST_F(ZCompressedFileStream, AddsNoPaddingToAMultipleOfSixteen) {
  std::size_t size = 1;
  while (CompressedSize(Noise(size)) % 16 != 0) ++size;
  const auto stream = Flushed(Noise(size));
  EXPECT_EQ(CompressedSize(Noise(size)), std::filesystem::file_size(file.Name()));
}

// ---- Flushing ----

TEST_F(ZCompressedFileStream, ReadAfterAWriteFlushes) {
  const std::string bytes = Lines(kBuffer + 100);
  const auto stream = Written(bytes);
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
}

TEST_F(ZCompressedFileStream, ContinuesToWriteAfterAFlush) {
  const std::string bytes = Lines(2 * kBuffer + 500);
  const auto stream = Opened();
  std::size_t done = 0;
  for (const std::size_t end : {std::size_t{10}, std::size_t{1000}, kBuffer, kBuffer + 10, bytes.size()}) {
    EXPECT_EQ(end - done, Write(*stream, bytes.substr(done, end - done)));
    EXPECT_EQ(1, stream->Flush());
    done = end;
  }
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
  EXPECT_TRUE(SameBytes(bytes.substr(kBuffer + 5), ReadAt(*stream, kBuffer + 5, kBuffer)) ||
              bytes.size() - kBuffer - 5 > kBuffer);
  EXPECT_TRUE(SameBytes(bytes.substr(990, 20), ReadAt(*stream, 990, 20)));
}

TEST_F(ZCompressedFileStream, ContinuesToWriteAfterReads) {
  const auto stream = Written("one ");
  EXPECT_EQ("one", ReadAt(*stream, 0, 3));
  EXPECT_EQ(0, stream->Seek(0, kSeekFromEnd));
  EXPECT_EQ(3, Write(*stream, "two"));
  EXPECT_EQ("one two", ReadAt(*stream, 0, 10));
}

TEST_F(ZCompressedFileStream, FlushAndCloseReturnOneAndReadsContinue) {
  const auto stream = Written("abc");
  EXPECT_EQ(1, stream->Close());
  EXPECT_EQ(1, static_cast<const Stream&>(*stream).Close());
  EXPECT_EQ(1, static_cast<const Stream&>(*stream).Flush());
  EXPECT_EQ("abc", ReadAt(*stream, 0, 10));
}

// ---- Positions ----

TEST_F(ZCompressedFileStream, ReportsItsPositionAndLength) {
  const auto stream = Written("abcdef");
  EXPECT_EQ(6, stream->Tell());
  EXPECT_EQ(6, stream->Length());
  EXPECT_EQ(0, stream->Seek(-2, kSeekFromEnd));
  EXPECT_EQ(4, stream->Tell());
  EXPECT_EQ("ef", Read(*stream, 10));
  EXPECT_EQ(0, stream->Seek(-5, kSeekFromPresent));
  EXPECT_EQ("bc", Read(*stream, 2));
  EXPECT_EQ(-1, stream->Seek(-7, kSeekFromEnd));
  EXPECT_EQ(3, stream->Tell());
}

TEST_F(ZCompressedFileStream, ReadsNothingPastTheEnd) {
  const auto stream = Flushed("abc");
  EXPECT_EQ("", ReadAt(*stream, 3, 1));
  EXPECT_EQ("", ReadAt(*stream, 100 * kBuffer, 1));
  EXPECT_TRUE(stream->Good());
  EXPECT_EQ("c", ReadAt(*stream, 2, 10));
}

TEST_F(ZCompressedFileStream, SeekForwardSkipsBlocksWithoutInflatingThem) {
  const std::string bytes = Lines(12 * kBuffer);
  const auto stream = Flushed(bytes);
  const FaultyDisk disk;
  EXPECT_TRUE(SameBytes(bytes.substr(0, 10), ReadAt(*stream, 0, 10)));
  EXPECT_TRUE(SameBytes(bytes.substr(11 * kBuffer + 5, 10), ReadAt(*stream, 11 * kBuffer + 5, 10)));
  // The blocks read ahead when the seek came, and the wanted block.
  EXPECT_LE(disk.Reads(), 4);
}

TEST_F(ZCompressedFileStream, BeginsAtTheBlockOfTheFirstRead) {
  const std::string bytes = Lines(12 * kBuffer);
  const auto stream = Flushed(bytes);
  const FaultyDisk disk;
  EXPECT_TRUE(SameBytes(bytes.substr(11 * kBuffer, 10), ReadAt(*stream, 11 * kBuffer, 10)));
  EXPECT_EQ(1, disk.Reads());
}

TEST_F(ZCompressedFileStream, ReadsAfterASeekBackwardWithAndWithoutAFlush) {
  const std::string bytes = Lines(5 * kBuffer);
  const auto stream = Flushed(bytes);
  for (const bool flush : {true, false}) {
    for (const std::size_t position : {4 * kBuffer + 1, 2 * kBuffer - 5, std::size_t{7}, 3 * kBuffer, std::size_t{0}}) {
      if (flush) stream->Flush();
      EXPECT_TRUE(SameBytes(bytes.substr(position, 1000), ReadAt(*stream, position, 1000))) << position;
    }
  }
}

TEST_F(ZCompressedFileStream, RefusesAWriteThatDoesNotFollowTheLastOne) {
  const auto stream = Flushed("abcdef");
  for (const long position : {0L, 3L, 7L}) {
    stream->Clear();
    EXPECT_EQ(0, stream->Seek(position, kSeekFromStart));
    EXPECT_EQ(0, stream->Write("x", 1));
    EXPECT_EQ(ESPIPE, stream->Error());
    EXPECT_EQ(position, stream->Tell());
  }
  EXPECT_EQ("abcdef", ReadAt(*stream, 0, 10));
}

TEST_F(ZCompressedFileStreamDeathTest, AssertsThatAWriteIntoAUsedBufferFollowsTheLastOne) {
  const auto jump = [this] {
    const auto stream = Written("abcdef");
    stream->Seek(3, kSeekFromStart);
    stream->Write("x", 1);
  };
  EXPECT_DEATH(jump(), "assertion failed: bufsize == target-fBuffer");
}

// ---- Copies and other openings ----

TEST_F(ZCompressedFileStream, CopyStartsAtTheSamePositionAndReadsIndependently) {
  const std::string bytes = Lines(3 * kBuffer);
  const auto stream = Flushed(bytes);
  stream->Seek(5, kSeekFromStart);
  Stream copy(*stream);
  EXPECT_EQ(5, copy.Tell());
  EXPECT_TRUE(SameBytes(bytes.substr(5, 100), Read(copy, 100)));
  EXPECT_EQ(5, stream->Tell());
  EXPECT_TRUE(SameBytes(bytes.substr(5, 100), Read(*stream, 100)));
}

TEST_F(ZCompressedFileStream, CopiesReadInTurn) {
  const std::string bytes = Lines(6 * kBuffer);
  const auto stream = Flushed(bytes);
  std::list<Stream> copies;
  for (std::size_t i = 0; i < 5; ++i) copies.emplace_back(*stream).Seek(static_cast<long>(i * kBuffer), kSeekFromStart);
  for (std::size_t round = 0; round < 4; ++round) {
    std::size_t from = round * (kBuffer / 3);
    for (Stream& copy : copies) {
      EXPECT_TRUE(SameBytes(bytes.substr(from, kBuffer / 3), Read(copy, kBuffer / 3)));
      from += kBuffer;
    }
  }
}

// A block is read from the disk whenever it is inflated, so the reads of the disk count the inflated blocks.
TEST_F(ZCompressedFileStream, CopiesThatReadInTurnInflateABlockOnceEach) {
  constexpr std::size_t kBlocks = 5;  // for each copy
  constexpr std::size_t kPiece = kBuffer / 60;
  for (const std::size_t copies : {2UL, 3UL}) {
    const std::string bytes = Lines(copies * kBlocks * kBuffer);
    const auto stream = Flushed(bytes);
    std::list<Stream> readers;
    for (std::size_t i = 0; i < copies; ++i)
      readers.emplace_back(*stream).Seek(static_cast<long>(i * kBlocks * kBuffer), kSeekFromStart);
    const FaultyDisk disk;
    for (std::size_t at = 0; at < kBlocks * kBuffer; at += kPiece) {
      std::size_t from = at;
      for (Stream& reader : readers) {
        EXPECT_TRUE(SameBytes(bytes.substr(from, kPiece), Read(reader, kPiece)));
        from += kBlocks * kBuffer;
      }
    }
    // Each block for its copy, and two or three ahead that are not used.
    EXPECT_LE(disk.Reads(), 4 * static_cast<int>(copies * kBlocks));
  }
}

TEST_F(ZCompressedFileStream, CopyKeepsItsBlockWhileAnotherReads) {
  const std::string bytes = Lines(4 * kBuffer);
  const auto stream = Flushed(bytes);
  Stream copy(*stream);
  ReadAt(*stream, 5, 10);
  ReadAt(copy, 2 * kBuffer, 10);
  copy.Flush();
  const FaultyDisk disk;
  EXPECT_TRUE(SameBytes(bytes.substr(15, 100), Read(*stream, 100)));
  EXPECT_TRUE(SameBytes(bytes.substr(2 * kBuffer + 10, 100), Read(copy, 100)));
  EXPECT_TRUE(SameBytes(bytes.substr(kBuffer - 10, 10), ReadAt(*stream, kBuffer - 10, 10)));
  EXPECT_TRUE(SameBytes(bytes.substr(3 * kBuffer - 1, 1), ReadAt(copy, 3 * kBuffer - 1, 1)));
  EXPECT_EQ(0, disk.Reads());
  EXPECT_TRUE(SameBytes(bytes.substr(3 * kBuffer - 1, 2), ReadAt(copy, 3 * kBuffer - 1, 2)));
  EXPECT_EQ(1, disk.Reads());
}

TEST_F(ZCompressedFileStream, KeepsABlockOverWritesThatFollow) {
  const auto stream = Written("abc");
  Stream copy(*stream);
  EXPECT_EQ("a", ReadAt(copy, 0, 1));
  EXPECT_EQ("a", ReadAt(*stream, 0, 1));
  stream->Seek(0, kSeekFromEnd);
  Write(*stream, "def");
  EXPECT_EQ("bcdef", Read(copy, 10));
  EXPECT_EQ("abcdef", ReadAt(*stream, 0, 10));
}

TEST_F(ZCompressedFileStream, DropsAKeptBlockWithItsFile) {
  const TempFile another("");
  const auto stream = Flushed("abcdef");
  Stream copy(*stream);
  EXPECT_EQ("abc", ReadAt(copy, 0, 3));
  EXPECT_NE(0, copy.Open(another.Name().c_str(), "w+b"));
  EXPECT_EQ("abc", ReadAt(*stream, 0, 3));
  EXPECT_EQ("", ReadAt(copy, 3, 3));
  EXPECT_EQ(0, copy.Seek(0, kSeekFromStart));
  EXPECT_EQ(3, Write(copy, "xyz"));
  EXPECT_EQ("def", Read(*stream, 3));
  EXPECT_EQ("xyz", ReadAt(copy, 0, 10));
}

TEST_F(ZCompressedFileStream, ReadsOnAfterTheCopyThatReadIsDestroyed) {
  const std::string bytes = Lines(3 * kBuffer);
  const auto stream = Flushed(bytes);
  {
    Stream copy(*stream);
    ReadAt(copy, kBuffer, 10);
    Stream another(copy);
    ReadAt(another, 5, 10);
    ReadAt(copy, kBuffer + 5, 10);
  }
  EXPECT_TRUE(SameBytes(bytes, ReadAt(*stream, 0, bytes.size())));
}

TEST_F(ZCompressedFileStream, CopyReadsUnflushedBytesOfTheOriginal) {
  const auto stream = Opened();
  Stream early(*stream);
  Write(*stream, "abc");
  Stream late(*stream);
  EXPECT_EQ("abc", ReadAt(early, 0, 10));
  EXPECT_EQ("abc", ReadAt(late, 0, 10));
}

TEST_F(ZCompressedFileStream, CopyOutlivesTheOriginal) {
  auto stream = Written("abc");
  Stream copy(*stream);
  stream.reset();
  EXPECT_EQ("abc", ReadAt(copy, 0, 10));
}

TEST_F(ZCompressedFileStream, OriginalReadsWhatADestroyedCopyWrote) {
  const auto stream = Opened();
  {
    Stream writer(*stream);
    Write(writer, "abc");
  }
  EXPECT_EQ("abc", ReadAt(*stream, 0, 10));
}

TEST_F(ZCompressedFileStream, FileCreatedAgainUnderTheSameNameIsEmpty) {
  Flushed("abc");
  auto stream = Opened();
  EXPECT_EQ("", Read(*stream, 10));
  EXPECT_NE(0, stream->Open(file.Name().c_str(), "w+b"));
  Write(*stream, "de");
  EXPECT_EQ("de", ReadAt(*stream, 0, 10));
  EXPECT_NE(0, stream->Open(file.Name().c_str(), "w+b"));
  EXPECT_EQ("", Read(*stream, 10));
  Write(*stream, "f");
  EXPECT_EQ("f", ReadAt(*stream, 0, 10));
}

TEST_F(ZCompressedFileStream, ReadsAfterReopeningForReading) {
  const auto stream = Written("abc");
  stream->Close();
  EXPECT_NE(0, stream->Open(file.Name().c_str(), "rb"));
  EXPECT_EQ("abc", Read(*stream, 10));
}

TEST_F(ZCompressedFileStream, OpeningAnotherFileWritesHeldBytesToTheOldOne) {
  const TempFile another("");
  const auto stream = Written("abc");
  EXPECT_NE(0, stream->Open(another.Name().c_str(), "w+b"));
  EXPECT_EQ("", Read(*stream, 10));
  EXPECT_EQ(16, file.Bytes().size());
  EXPECT_EQ(0, another.Bytes().size());
}

TEST_F(ZCompressedFileStream, ReadsBackAnEncryptedFile) {
  const std::string bytes = Lines(2 * kBuffer);
  Stream stream(true);
  ASSERT_NE(0, stream.Open((file.Directory() + "/enciphered").c_str(), "w+bTD"));
  EXPECT_EQ(bytes.size(), Write(stream, bytes));
  stream.Flush();
  EXPECT_TRUE(SameBytes(bytes, ReadAt(stream, 0, bytes.size())));
}

// ---- Many files ----

TEST_F(ZCompressedFileStream, KeepsTheBytesOfMoreFilesThanThePoolHasSlots) {
  constexpr int kFiles = 25;
  std::list<Stream> streams;
  for (int i = 0; i < kFiles; ++i) {
    Stream& stream = streams.emplace_back((file.Directory() + "/" + std::to_string(i)).c_str(), "w+b", false);
    Write(stream, Lines(1000, static_cast<std::size_t>(i)));
    if (i % 2 == 0) stream.Flush();
  }
  std::size_t seed = 0;
  for (Stream& stream : streams) EXPECT_TRUE(SameBytes(Lines(1000, seed++), ReadAt(stream, 0, 1000)));
}

// ---- Destruction ----

TEST_F(ZCompressedFileStream, FlushEndsTheThread) {
  const std::size_t before = Threads();
  const auto stream = Written(Lines(kBuffer));
  EXPECT_TRUE(HasThreads(before + 1));
  stream->Flush();
  EXPECT_TRUE(HasThreads(before));
  ReadAt(*stream, 0, 10);
  EXPECT_TRUE(HasThreads(before + 1));
  stream->Flush();
  EXPECT_TRUE(HasThreads(before));
}

TEST_F(ZCompressedFileStream, DestructorEndsThreadAndFileAtAnyStage) {
  using Stage = void (*)(Stream&, const std::string&);
  const Stage stages[] = {
      [](Stream&, const std::string&) {},
      [](Stream& stream, const std::string&) { Write(stream, "x"); },
      [](Stream& stream, const std::string& all) { Write(stream, all.substr(0, kBuffer)); },
      [](Stream& stream, const std::string& all) { Write(stream, all); },
      [](Stream& stream, const std::string& all) { Write(stream, all), stream.Flush(); },
      [](Stream& stream, const std::string& all) { Write(stream, all), ReadAt(stream, 0, 1); },
      [](Stream& stream, const std::string& all) { Write(stream, all), ReadAt(stream, 0, kBuffer); },
      [](Stream& stream, const std::string& all) { Write(stream, all), ReadAt(stream, 3 * kBuffer, 1); },
      [](Stream& stream, const std::string& all) { Write(stream, all), ReadAt(stream, 0, all.size()); },
      [](Stream& stream, const std::string& all) { Write(stream, all), Stream(stream), Stream(stream); },
  };
  ExpectNothingLeftAfter(stages, Lines(5 * kBuffer));
}

TEST_F(ZCompressedFileStream, ExceptionEndsTheThread) {
  const std::size_t before = Threads();
  EXPECT_THROW(
      {
        const auto stream = Written(Lines(kBuffer + 1));
        throw std::runtime_error("on the way");
      },
      std::runtime_error);
  EXPECT_TRUE(HasThreads(before));
}

// ---- Faults ----

TEST_F(ZCompressedFileStreamDeathTest, AssertsThatBlocksAreUnchanged) {
  const auto spoil = [this] {
    const auto stream = Flushed(Lines(1000));
    Overwrite(file.Name(), 0, "spoiled!");
    ReadAt(*stream, 0, 10);
  };
  EXPECT_DEATH(spoil(), "assertion failed: ret == 0");
}

// The block in its place is a good one, but not the one that was written.
TEST_F(ZCompressedFileStreamDeathTest, AssertsThatABlockHasTheSizeThatWasWritten) {
  const auto replace = [this](std::size_t before, std::size_t size, std::size_t another) {
    alarm(100);
    const auto stream = Flushed(Lines(before));
    const std::size_t place = std::filesystem::file_size(file.Name());
    stream->Seek(0, kSeekFromEnd);
    Write(*stream, Noise(size));
    stream->Flush();
    Overwrite(file.Name(), place, ZlibBlock(std::string(another, 'x')));
    ReadAt(*stream, 0, before + size);
  };
  for (const std::size_t another : {0UL, 1UL, 999UL, 1001UL, kBuffer, kBuffer + 1}) {
    const std::size_t size = another < kBuffer ? 1000 : kBuffer - 1;
    EXPECT_DEATH(replace(0, size, another), "assertion failed: ret == 0") << another;
    EXPECT_DEATH(replace(kBuffer, size, another), "assertion failed: ret == 0") << another;
  }
  EXPECT_DEATH(replace(0, kBuffer, kBuffer - 1), "assertion failed: ret == 0");
  EXPECT_DEATH(replace(0, kBuffer, kBuffer + 1), "assertion failed: ret == 0");
}

TEST_F(ZCompressedFileStream, AcceptsAnyBlockOfTheSizeThatWasWritten) {
  const auto stream = Flushed(Noise(1000));
  Overwrite(file.Name(), 0, ZlibBlock(std::string(1000, 'x')));
  EXPECT_EQ(std::string(1000, 'x'), ReadAt(*stream, 0, 2000));
}

TEST_F(ZCompressedFileStream, ReportsAFailedWriteInLaterCalls) {
  const auto stream = Opened();
  {
    const FaultyDisk disk({.write = 1, .error = ENOSPC});
    Write(*stream, "abc");
    EXPECT_TRUE(stream->Good());
    errno = 0;
    EXPECT_EQ(1, stream->Flush());
    EXPECT_TRUE(disk.Struck());
    EXPECT_EQ(ENOSPC, errno);
  }
  EXPECT_EQ(ENOSPC, stream->Error());
  stream->Clear();
  EXPECT_EQ(0, stream->Write("x", 1));
  EXPECT_EQ(ENOSPC, stream->Error());
  stream->Clear();
  EXPECT_EQ("", ReadAt(*stream, 0, 3));
  EXPECT_EQ(ENOSPC, stream->Error());
}

TEST_F(ZCompressedFileStream, ReadsTheBytesBeforeAFailedWrite) {
  const std::string bytes = Lines(4 * kBuffer);
  const auto stream = Opened();
  {
    const FaultyDisk disk({.write = 3, .error = ENOSPC});
    Write(*stream, bytes);
    stream->Flush();
  }
  stream->Clear();
  EXPECT_TRUE(SameBytes(bytes.substr(0, 2 * kBuffer), ReadAt(*stream, 0, bytes.size())));
  EXPECT_EQ(ENOSPC, stream->Error());
}

TEST_F(ZCompressedFileStream, ReportsAnyFailedWriteWithoutHanging) {
  const std::string bytes = Lines(3 * kBuffer + 9);
  ExpectAnyFailedWriteIsReported(bytes, [&] {
    const auto stream = Opened();
    Write(*stream, bytes);
    stream->Flush();
    return std::pair{ReadAt(*stream, 0, bytes.size()), stream->Error()};
  });
}

// A disk that becomes full takes the beginning of a block.
TEST_F(ZCompressedFileStream, ReportsAFullDiskWithoutHanging) {
  const std::string bytes = Lines(kBuffer) + Noise(kBuffer) + Lines(9);
  Flushed(bytes);
  const long whole = static_cast<long>(std::filesystem::file_size(file.Name()));
  ExpectAFullDiskIsReported(bytes, whole, [&] {
    const auto stream = Opened();
    Write(*stream, bytes);
    stream->Flush();
    return std::pair{ReadAt(*stream, 0, bytes.size()), stream->Error()};
  });
}

TEST_F(ZCompressedFileStream, IsNotOpenWhenItsFileCannotBeOpened) {
  const std::size_t descriptors = OpenDescriptors();
  const FaultyDisk disk({.open = 1, .error = EMFILE});
  Stream stream(file.Name().c_str(), "w+b", false);
  EXPECT_FALSE(stream.IsOpen());
  EXPECT_EQ(EMFILE, stream.Error());
  EXPECT_EQ(0, stream.Write("x", 1));
  EXPECT_EQ("", Read(stream, 1));
  EXPECT_EQ(descriptors, OpenDescriptors());
  EXPECT_NE(0, stream.Open(file.Name().c_str(), "w+b"));
  EXPECT_EQ(3, Write(stream, "abc"));
  EXPECT_EQ("abc", ReadAt(stream, 0, 10));
}

TEST_F(ZCompressedFileStream, ReportsAFailedReadAndTriesItAgain) {
  const std::string bytes = Lines(4 * kBuffer);
  const auto stream = Flushed(bytes);
  for (int n = 1;; ++n) {
    stream->Flush();
    stream->Clear();
    const FaultyDisk disk({.read = n});
    const std::string found = ReadAt(*stream, 0, bytes.size());
    if (!disk.Struck()) break;
    EXPECT_TRUE(SameBytes(bytes.substr(0, static_cast<std::size_t>(n - 1) * kBuffer), found));
    EXPECT_EQ(EIO, stream->Error());
    EXPECT_TRUE(SameBytes(bytes.substr(found.size()), Read(*stream, bytes.size())));
  }
  EXPECT_TRUE(stream->Good());
}

TEST_F(ZCompressedFileStream, ReportsReadsThatKeepFailing) {
  const auto stream = Flushed(Lines(2 * kBuffer));
  const FaultyDisk disk({.read = 1, .lasting = true});
  for (int i = 0; i < 3; ++i) {
    stream->Clear();
    EXPECT_EQ("", ReadAt(*stream, 0, 10));
    EXPECT_EQ(EIO, stream->Error());
  }
}

TEST_F(ZCompressedFileStream, ReportsAFileThatHasBecomeShorter) {
  const auto stream = Flushed(Lines(2 * kBuffer));
  std::filesystem::resize_file(file.Name(), 100);
  EXPECT_EQ("", ReadAt(*stream, 0, 10));
  EXPECT_EQ(EIO, stream->Error());
}

// ---- Random scripts ----

// A random script, compared with files and streams that have positions but no blocks or threads. It opens and drops
// more files than the pool has slots at first, some of them encrypted, with a few streams each. Now and then a read
// of the disk fails.
class Script {
 public:
  Script(unsigned seed, std::string directory, bool disksFail)
      : m_draw(seed), m_directory(std::move(directory)), m_disksFail(disksFail) {}

  void Run() {
    Open();
    for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      Step(std::next(m_streams.begin(), static_cast<long>(m_draw.Below(m_streams.size()))));
    }
  }

 private:
  struct Reader {
    Stream stream;
    std::shared_ptr<std::string> bytes;  // the contents of the file
    std::size_t position;
  };
  using Streams = std::list<Reader>;
  static constexpr std::size_t kMostStreams = 15;

  void Step(Streams::iterator which) {
    switch (m_draw.Below(11)) {
      case 0:
      case 1:
        return Append(*which);
      case 2:
      case 3:
      case 4:
        return m_disksFail && m_draw.Below(3) == 0 ? ReadWithAFault(*which) : ReadOn(*which);
      case 5:
      case 6:
        return Seek(*which);
      case 7:
        EXPECT_EQ(1, which->stream.Flush());
        return;
      case 8:
        return Open();
      default:
        return CopyOrDrop(which);
    }
  }

  void Open() {
    if (m_streams.size() == kMostStreams) return;
    const std::string name = m_directory + "/" + std::to_string(m_files++);
    m_streams.emplace_back(Stream(m_draw.Below(2) == 0), std::make_shared<std::string>(), 0);
    EXPECT_NE(0, m_streams.back().stream.Open(name.c_str(), "w+bTD"));
  }

  void Append(Reader& reader) {
    EXPECT_EQ(0, reader.stream.Seek(0, kSeekFromEnd));
    const std::string piece = m_draw.Bytes(m_draw.Size());
    EXPECT_EQ(piece.size(), ::Write(reader.stream, piece, 1 + m_draw.Below(kBuffer)));
    *reader.bytes += piece;
    reader.position = reader.bytes->size();
    EXPECT_EQ(reader.position, static_cast<std::size_t>(reader.stream.Tell()));
  }

  static std::string Expected(const Reader& reader, std::size_t count) {
    return reader.position < reader.bytes->size() ? reader.bytes->substr(reader.position, count) : "";
  }

  void ReadOn(Reader& reader) {
    const std::size_t count = m_draw.Size();
    const std::string expected = Expected(reader, count);
    EXPECT_TRUE(SameBytes(expected, ::Read(reader.stream, count)));
    reader.position += expected.size();
    EXPECT_EQ(reader.position, static_cast<std::size_t>(reader.stream.Tell()));
    EXPECT_TRUE(reader.stream.Good());
  }

  // The bytes that come are right, and missing bytes are reported. (A fault in the read-ahead may show with this read
  // or not at all: all threads end before the disk works again.)
  void ReadWithAFault(Reader& reader) {
    for (Reader& other : m_streams) other.stream.Flush();
    const FaultyDisk disk({.read = 1 + static_cast<int>(m_draw.Below(3))});
    const std::string expected = Expected(reader, m_draw.Size());
    const std::string found = ::Read(reader.stream, expected.size());
    EXPECT_TRUE(SameBytes(expected.substr(0, found.size()), found));
    EXPECT_EQ(found.size() == expected.size(), reader.stream.Good());
    reader.position += found.size();
    EXPECT_EQ(reader.position, static_cast<std::size_t>(reader.stream.Tell()));
    reader.stream.Flush();
    reader.stream.Clear();
  }

  void Seek(Reader& reader) {
    const std::size_t target = m_draw.Position(reader.bytes->size());
    const SeekDirection direction = static_cast<SeekDirection>(m_draw.Below(3));
    const std::size_t froms[] = {0, reader.position, reader.bytes->size()};
    EXPECT_EQ(0, reader.stream.Seek(static_cast<long>(target) - static_cast<long>(froms[direction]), direction));
    reader.position = target;
  }

  void CopyOrDrop(Streams::iterator which) {
    if (m_streams.size() < kMostStreams && m_draw.Below(3) > 0)
      m_streams.emplace_back(*which);
    else if (m_streams.size() > 1)
      m_streams.erase(which);
  }

  Draws<kBuffer> m_draw;
  const std::string m_directory;
  const bool m_disksFail;
  Streams m_streams;
  int m_files = 0;
};

using ZCompressedFileStreamScripts = StreamFile<Stream>;

TEST_F(ZCompressedFileStreamScripts, AgreeWithAModel) {
  ForEachSeed([this](unsigned seed) { Script(seed, file.Directory(), seed % 2 == 0).Run(); });
}

// ---- Several threads ----

TEST_F(ZCompressedFileStream, WorksOnAnotherThreadForAnotherFile) {
  constexpr int kThreads = 3;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([&wrong, thread] {
      for (int round = 0; round < 8; ++round) {
        const TempFile mine("");
        const std::string bytes = Lines(kBuffer / 4, static_cast<std::size_t>(thread * 100 + round));
        Stream stream(mine.Name().c_str(), "w+b", false);
        if (Write(stream, bytes) != bytes.size()) ++wrong;
        if (ReadAt(stream, 0, bytes.size()) != bytes) ++wrong;
        Stream copy(stream);
        if (ReadAt(copy, 4096, 100) != bytes.substr(4096, 100)) ++wrong;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, wrong);
}

}  // namespace
}  // namespace ZCompressed_FileStream_test

// What a stream reports and keeps when the system fails.

#include <gmock/gmock.h>

#include <functional>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/tests/StreamTesting.h"

namespace QUAV_FileStreamFaults_test {
namespace {

constexpr std::size_t kBuffer = QUAV_FileStream::kBufferSize;

class FileStreamFailure : public StreamTest {};

// ---- Remembered and reported failures ----

TEST_F(FileStreamFailure, RemembersTheFirstFailureUntilItIsCleared) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  {
    const FaultyCalls faults({FaultKind::error, EIO, 1});
    EXPECT_EQ("", Read(stream, 1));
    EXPECT_EQ(EIO, errno);
  }
  Write(stream, "x");
  EXPECT_EQ(EBADF, errno);
  EXPECT_EQ(EIO, stream.Error());
  EXPECT_FALSE(stream.Good());
  EXPECT_EQ(0, stream.EndOfFile());
  stream.Clear();
  EXPECT_TRUE(stream.Good());
  EXPECT_EQ(0, stream.Error());
  EXPECT_EQ("abc", Read(stream, 3));
}

TEST_F(FileStreamFailure, ClearAndResetForgetsAFailure) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  Write(stream, "x");
  stream.ClearAndReset();
  EXPECT_TRUE(stream.Good());
}

TEST_F(FileStreamFailure, ReturnsTheBytesReadBeforeAFailure) {
  const std::string bytes = Noise(2 * kBuffer);
  for (const bool direct : {false, true}) {
    QUAV_FileStream stream;
    stream.Open(Make("file", bytes).c_str(), "rb");
    const std::size_t count = direct ? 2 * kBuffer : kBuffer - 1;
    const FileCalls saved = PresentFileCalls();
    PresentFileCalls().pread = [](int descriptor, void* buffer, std::size_t, off_t offset) -> ssize_t {
      if (offset == 0) return ::pread(descriptor, buffer, 1000, offset);
      errno = EIO;
      return -1;
    };
    EXPECT_TRUE(SameBytes(bytes.substr(0, 1000), Read(stream, count)));
    PresentFileCalls() = saved;
    EXPECT_EQ(EIO, stream.Error());
    EXPECT_EQ(0, stream.EndOfFile());
    EXPECT_EQ(1000, stream.Tell());
    EXPECT_EQ(bytes.substr(1000, 10), Read(stream, 10));
  }
}

TEST_F(FileStreamFailure, RemembersAFailureToReadAhead) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  const FaultyCalls faults({FaultKind::error, EIO, 2});
  EXPECT_EQ("abc", Read(stream, 3));
  EXPECT_FALSE(stream.Good());
  EXPECT_EQ(EIO, errno);
}

TEST_F(FileStreamFailure, FlushReportsAFailedWriteUntilItIsCleared) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  Write(stream, "abc");
  {
    const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
    EXPECT_EQ(-1, stream.Flush());
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(ENOSPC, stream.Error());
  }
  EXPECT_EQ(-1, stream.Flush());
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ("abc", Contents(Path("file"))) << "the second attempt wrote what the first had left";
  stream.Clear();
  EXPECT_EQ(0, stream.Flush());
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ("abc", Contents(Path("file")));
}

TEST_F(FileStreamFailure, CloseReportsAnEarlierFailedWrite) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "wb");
  {
    const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
    EXPECT_EQ(0U, Write(stream, Noise(2 * kBuffer)));
  }
  EXPECT_EQ(3U, Write(stream, "abc"));
  EXPECT_EQ(-1, stream.Close());
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ(ENOSPC, stream.Error());
  EXPECT_EQ(0, stream.Close());
}

TEST_F(FileStreamFailure, CloseDoesNotReportAFailedRead) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  {
    const FaultyCalls faults({FaultKind::error, EIO, 1});
    Read(stream, 1);
  }
  EXPECT_EQ(0, stream.Close());
}

TEST_F(FileStreamFailure, CloseReportsFailuresOfItsFlushAndTheSystemsClose) {
  for (const int call : {1, 2}) {
    QUAV_FileStream stream;
    stream.Open(Path("file").c_str(), "wb");
    Write(stream, "abc");
    const FaultyCalls faults({FaultKind::error, ENOSPC, call});
    EXPECT_EQ(-1, stream.Close()) << call;
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_FALSE(stream.Good());
    EXPECT_FALSE(stream.IsOpen());
    EXPECT_EQ(2U, faults.Calls().size());
  }
}

TEST_F(FileStreamFailure, SeekKeepsThePositionWhenHeldBytesCannotBeWritten) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "abc");
  {
    const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
    EXPECT_EQ(-1, stream.Seek(1, kSeekFromStart));
    EXPECT_EQ(ENOSPC, errno);
  }
  EXPECT_FALSE(stream.Good());
  EXPECT_EQ(3, stream.Tell());
  stream.Clear();
  EXPECT_EQ(0, stream.Seek(1, kSeekFromStart));
  EXPECT_EQ("bc", Read(stream, 3));
}

TEST_F(FileStreamFailure, OpenRemembersAFailedCloseOfThePreviousFile) {
  QUAV_FileStream stream;
  stream.Open(Path("first").c_str(), "wb");
  Write(stream, "abc");
  const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
  EXPECT_NE(0, stream.Open(Path("second").c_str(), "wb"));
  EXPECT_EQ(ENOSPC, stream.Error());
  Write(stream, "def");
  EXPECT_EQ(-1, stream.Close());
  EXPECT_EQ("def", Contents(Path("second")));
}

TEST_F(FileStreamFailure, CopyAndOriginalRememberAWriteThatFailedInCopying) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  Write(stream, "abc");
  const auto copy = [&] {
    const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
    return std::make_unique<QUAV_FileStream>(stream);
  }();
  EXPECT_EQ(ENOSPC, copy->Error());
  EXPECT_EQ(ENOSPC, stream.Error());
  stream.Clear();
  EXPECT_EQ(0, stream.Close());
  EXPECT_EQ("abc", Contents(Path("file")));
}

TEST_F(FileStreamFailure, StreamsOnTheFileReportAFailedWriteOfADestroyedCopy) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  {
    QUAV_FileStream copy(stream);
    Write(copy, "abc");
    EXPECT_TRUE(stream.Good());
    PresentFileCalls().pwrite = [](int, const void*, std::size_t, off_t) -> ssize_t {
      errno = ENOSPC;
      return -1;
    };
  }
  PresentFileCalls().pwrite = &::pwrite;
  EXPECT_FALSE(stream.Good());
  EXPECT_EQ(ENOSPC, stream.Error());
  EXPECT_EQ(-1, stream.Close());
  EXPECT_EQ(ENOSPC, errno);
}

TEST_F(FileStreamFailure, ClearForgetsAFailedWriteOfADestroyedCopy) {
  QUAV_FileStream stream;
  stream.Open(Path("file").c_str(), "w+b");
  {
    QUAV_FileStream copy(stream);
    Write(copy, "abc");
    const FaultyCalls faults({FaultKind::error, ENOSPC, 1});
    const QUAV_FileStream gone(copy);  // fails to write the held bytes
  }
  EXPECT_FALSE(stream.Good());
  stream.Clear();
  EXPECT_TRUE(stream.Good());
  EXPECT_EQ(0, stream.Close());
}

TEST_F(FileStreamFailure, ReportsAnUnknownLength) {
  QUAV_FileStream stream;
  stream.Open(Make("file", "abc").c_str(), "rb");
  const FaultyCalls faults({FaultKind::error, EIO, 1, true});
  EXPECT_EQ(-1, stream.Length());
  EXPECT_EQ(EIO, errno);
  EXPECT_FALSE(stream.Good());
  EXPECT_EQ(-1, stream.Seek(0, kSeekFromEnd));
  EXPECT_EQ(0, stream.Tell());
}

// ---- Every call fails once ----

// A caller that repeats each step after a failure, as a user does who has made room on the disk. The file must be
// correct, with nothing lost and nothing repeated, whichever call failed.
class PatientCaller {
 public:
  QUAV_FileStream& Stream() { return m_stream; }
  int Failures() const { return m_failures; }
  const std::string& Found() const { return m_found; }

  void Open(const std::string& path, const char* mode) {
    Until([&] { return m_stream.Open(path.c_str(), mode) != 0; });
  }
  void Write(const std::string& bytes) {
    std::size_t done = 0;
    Until([&] {
      done += m_stream.Write(bytes.data() + done, bytes.size() - done);
      return done == bytes.size();
    });
  }
  void Seek(long offset, SeekDirection direction) {
    Until([&] { return m_stream.Seek(offset, direction) == 0; });
  }
  void Flush() {
    Until([&] { return m_stream.Flush() == 0; });
  }
  void Read(std::size_t count) {
    const std::size_t wanted = m_found.size() + count;
    Until([&] {
      m_found += ::Read(m_stream, wanted - m_found.size());
      return m_found.size() == wanted || m_stream.EndOfFile() != 0;
    });
  }
  void PeekAndSkip(std::size_t wanted) {
    QUAV_FileStream::Window window;
    Until([&] {
      window = m_stream.Peek(wanted);
      return window.Size() >= wanted || m_stream.EndOfFile() != 0;
    });
    const std::size_t taken = std::min(window.Size(), wanted);
    m_found += Text({window.begin, window.begin + taken});
    m_stream.Skip(taken);
  }
  void Close() {
    if (m_stream.Close() != 0) ++m_failures;
  }

 private:
  // A step that is not done has failed, and reports it; one that is done may have failed after the requested bytes.
  void Until(const std::function<bool()>& done) {
    for (bool finished = false; !finished;) {
      finished = done();
      EXPECT_EQ(m_stream.Error() == 0, m_stream.Good());
      if (m_stream.Good()) {
        EXPECT_TRUE(finished);
        return;
      }
      if (++m_failures > 20) throw std::runtime_error("the step never succeeds");
      m_stream.Clear();
    }
  }

  QUAV_FileStream m_stream;
  std::string m_found;
  int m_failures = 0;
};

std::string Overwritten(std::string bytes, std::size_t place, const std::string& piece) {
  return bytes.replace(place, piece.size(), piece);
}

struct Outcome {
  std::string file;
  std::string found;
};

struct Scenario {
  const char* name;
  std::string before;
  std::function<void(PatientCaller&, const std::string& path)> run;
  Outcome expected;
};

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

Scenario WritingScenario() {
  const std::string small = Noise(3000, 2);
  const std::string large = Noise(700000, 3);
  const std::string end = Noise(10, 4);
  return {"Writing",
          "old",
          [=](PatientCaller& caller, const std::string& path) {
            caller.Open(path, "wb");
            for (int i = 0; i < 100; ++i) caller.Write(small);
            caller.Write(large);
            caller.Seek(1000, kSeekFromStart);
            caller.Write(small);
            caller.Seek(0, kSeekFromEnd);
            caller.Write(end);
            caller.Flush();
            caller.Close();
          },
          {[&] {
             std::string file;
             for (int i = 0; i < 100; ++i) file += small;
             return Overwritten(file + large, 1000, small) + end;
           }(),
           ""}};
}

Scenario ReadingScenario() {
  const std::string bytes = Noise(900000, 5);
  return {"Reading",
          bytes,
          [](PatientCaller& caller, const std::string& path) {
            caller.Open(path, "rb");
            for (int i = 0; i < 300; ++i) caller.Read(1000);
            for (int i = 0; i < 10; ++i) caller.PeekAndSkip(50000);
            caller.Read(500000);
            caller.Seek(-100, kSeekFromEnd);
            caller.Read(200);
            caller.Seek(10, kSeekFromStart);
            caller.Read(600000);
            caller.Close();
          },
          {bytes, bytes + bytes.substr(bytes.size() - 100) + bytes.substr(10, 600000)}};
}

Scenario AppendingScenario() {
  const std::string bytes = Noise(300000, 6);
  return {"Appending",
          "before",
          [=](PatientCaller& caller, const std::string& path) {
            caller.Open(path, "a+b");
            caller.Read(2);
            for (int i = 0; i < 3; ++i) caller.Write(bytes);
            caller.Write("tail");
            caller.Seek(0, kSeekFromStart);
            caller.Read(6);
            caller.Write("end");
            caller.Flush();
            caller.Close();
          },
          {"before" + bytes + bytes + bytes + "tailend", "bebefore"}};
}

Scenario AlternatingScenario() {
  const std::string bytes = Noise(600000, 7);
  return {"Alternating", bytes,
          [](PatientCaller& caller, const std::string& path) {
            caller.Open(path, "r+b");
            for (int i = 0; i < 5; ++i) {
              caller.Read(100000);
              caller.Write("piece");
              caller.PeekAndSkip(8);
            }
            caller.Flush();
            caller.Close();
          },
          [&] {
            Outcome outcome{bytes, ""};
            for (std::size_t place = 0, i = 0; i < 5; ++i, place += 100013) {
              outcome.found += bytes.substr(place, 100000) + bytes.substr(place + 100005, 8);
              outcome.file.replace(place + 100000, 5, "piece");
            }
            return outcome;
          }()};
}

struct FaultRow {
  const char* name;
  FaultKind kind;
  int error;
};

void PrintTo(const FaultRow& row, std::ostream* out) { *out << row.name; }

class FileStreamFault : public StreamTest, public testing::WithParamInterface<std::tuple<Scenario, FaultRow>> {
 protected:
  // Runs the scenario and makes its n-th call fail; returns false when there is no such call.
  bool Run(int n) {
    const auto& [scenario, fault] = GetParam();
    const std::string path = Make("file", scenario.before);
    const std::size_t descriptors = OpenDescriptors();
    PatientCaller caller;
    bool struck = false;
    {
      const FaultyCalls faults({fault.kind, fault.error, n});
      scenario.run(caller, path);
      struck = faults.Struck();
    }
    const bool fails = fault.kind == FaultKind::error || fault.kind == FaultKind::breakOff;
    EXPECT_EQ(struck && fails ? 1 : 0, caller.Failures());
    EXPECT_TRUE(SameBytes(scenario.expected.file, Contents(path)));
    EXPECT_TRUE(SameBytes(scenario.expected.found, caller.Found()));
    EXPECT_EQ(descriptors, OpenDescriptors());
    return struck;
  }
};

TEST_P(FileStreamFault, LosesAndRepeatsNothingWhicheverCallFails) {
  int n = 1;
  while (Run(n) && !HasFailure()) ++n;
  EXPECT_FALSE(HasFailure()) << "at call " << n;
  EXPECT_GT(n, 8) << "calls that the scenario makes";
}

constexpr FaultRow kFaults[] = {{"InputOutputError", FaultKind::error, EIO},
                                {"DiskFull", FaultKind::error, ENOSPC},
                                {"ShortTransfer", FaultKind::shortTransfer, 0},
                                {"BreakOff", FaultKind::breakOff, ENOSPC},
                                {"Interruption", FaultKind::interruption, 0}};

INSTANTIATE_TEST_SUITE_P(
    Calls, FileStreamFault,
    testing::Combine(testing::Values(WritingScenario(), ReadingScenario(), AppendingScenario(), AlternatingScenario()),
                     testing::ValuesIn(kFaults)),
    [](const auto& row) { return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).name; });

// From the n-th call on the disk is full: the file holds a beginning of what was written, and every way to learn of
// the failure reports it.
TEST_F(FileStreamFailure, WritesABeginningAndReportsAFullDisk) {
  const std::string bytes = Noise(800000);
  for (int n = 3;; ++n) {
    SCOPED_TRACE(n);
    const FaultyCalls faults({FaultKind::error, ENOSPC, n, true});
    QUAV_FileStream stream;
    ASSERT_NE(0, stream.Open(Path("file").c_str(), "wb"));
    std::size_t taken = 0;
    for (std::size_t done = 0; done < bytes.size(); done += 10000) taken += Write(stream, bytes.substr(done, 10000));
    const bool full = taken < bytes.size();
    EXPECT_EQ(full, !stream.Good());
    const int closed = stream.Close();
    const std::string file = Contents(Path("file"));
    EXPECT_TRUE(SameBytes(bytes.substr(0, file.size()), file));
    EXPECT_EQ(faults.Struck(), closed != 0);
    EXPECT_EQ(faults.Struck() ? ENOSPC : 0, stream.Error());
    if (faults.Struck()) continue;
    EXPECT_EQ(bytes.size(), file.size());
    EXPECT_GT(n, 7);
    break;
  }
}

}  // namespace
}  // namespace QUAV_FileStreamFaults_test

// Random scripts of operations, compared with a model that has no buffer.

#include <iterator>
#include <memory>

#include "Platform/stream/QUAV_FileStream.h"
#include "Platform/stream/tests/StreamTesting.h"
#include "tests/support/Seeds.h"

namespace QUAV_FileStreamModel_test {
namespace {

constexpr std::size_t kBuffer = QUAV_FileStream::kBufferSize;
constexpr std::size_t kMiB = 1024 * 1024;

// The sizes at whose multiples the code changes its way: a page, the most that a window gives, the buffer.
constexpr std::size_t kUnits[] = {4096, QUAV_FileStream::kMaxPeek, kBuffer};

class FileStreamModel : public StreamTest {};

// What a file and a position would do without a buffer.
class Model {
 public:
  Model(std::string bytes, bool appends) : m_bytes(std::move(bytes)), m_appends(appends) {}

  const std::string& Bytes() const { return m_bytes; }
  std::size_t Position() const { return m_position; }
  void MoveTo(std::size_t position) { m_position = position; }
  std::string Next(std::size_t count) const {
    return m_position < m_bytes.size() ? m_bytes.substr(m_position, count) : "";
  }

  void Write(const std::string& piece) {
    if (piece.empty()) return;
    if (m_appends) m_position = m_bytes.size();
    m_bytes.resize(std::max(m_bytes.size(), m_position + piece.size()));
    m_bytes.replace(m_position, piece.size(), piece);
    m_position += piece.size();
  }

 private:
  std::string m_bytes;
  std::size_t m_position = 0;
  bool m_appends;
};

// Whether others can read the file. An enciphered temporary file can be read only through the stream.
enum class File { open, hidden };

// One script: a few dozen random operations from the seed, each compared with the model.
class Script {
 public:
  Script(unsigned seed, const std::string& path, File file)
      : m_random(seed),
        m_path(path),
        m_file(file),
        m_stream(std::make_unique<QUAV_FileStream>(file == File::hidden)),
        m_model(Begin()) {}

  void Run() {
    for (int step = 0; step < 24; ++step) {
      SCOPED_TRACE(step);
      Step();
      ASSERT_TRUE(m_stream->Good());
      ASSERT_EQ(m_model.Position(), static_cast<std::size_t>(m_stream->Tell()));
      ASSERT_EQ(m_metEnd, m_stream->EndOfFile() != 0);
      if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(0, m_stream->Flush());
    EXPECT_TRUE(SameBytes(m_model.Bytes(), Whole()));
    EXPECT_EQ(0, m_stream->Close());
  }

 private:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }

  // Returns a number on either side of a multiple of one of the units, the multiple included.
  std::size_t NearAMultiple() {
    const std::size_t unit = kUnits[Below(std::size(kUnits))];
    const std::size_t multiple = Below(3 * kBuffer / unit + 1) * unit;
    return std::max<std::size_t>(multiple + Below(7), 3) - 3;
  }

  // Returns mostly small sizes, sometimes sizes near a multiple or of any number of bytes up to three buffers.
  std::size_t Size() {
    const std::size_t kind = Below(20);
    if (kind < 11) return Below(40);
    if (kind < 15) return Below(6000);
    return kind < 19 ? NearAMultiple() : Below(3 * kBuffer);
  }

  static std::string Piece(std::size_t place, std::size_t size) {
    static const std::string noise = Noise(4 * kMiB);
    return noise.substr(place, size);
  }

  Model Begin() {
    constexpr const char* kModes[] = {"w+b", "rb+", "a+b"};
    m_mode = m_file == File::hidden ? "w+bTD" : kModes[Below(3)];
    const std::string bytes = Piece(Below(kMiB), Size());
    std::filesystem::remove(m_path);
    if (m_mode[0] != 'w') std::ofstream(m_path, std::ios::binary) << bytes;
    EXPECT_NE(0, m_stream->Open(m_path.c_str(), m_mode));
    return Model(m_mode[0] == 'w' ? "" : bytes, m_mode[0] == 'a');
  }

  void Step() {
    switch (Below(10)) {
      case 0:
      case 1:
        return Read();
      case 2:
      case 3:
      case 4:
        return Write();
      case 5:
        return Seek();
      case 6:
      case 7:
        return Peek();
      case 8:
        EXPECT_EQ(m_model.Bytes().size(), static_cast<std::size_t>(m_stream->Length()));
        return;
      default:
        return Interrupt();
    }
  }

  void Read() {
    const std::size_t count = Size();
    const std::string expected = m_model.Next(count);
    EXPECT_TRUE(SameBytes(expected, ::Read(*m_stream, count)));
    m_metEnd = m_metEnd || expected.size() < count;
    m_model.MoveTo(m_model.Position() + expected.size());
  }

  void Write() {
    const std::string piece = Piece(Below(kMiB), Size());
    EXPECT_EQ(piece.size(), ::Write(*m_stream, piece));
    m_model.Write(piece);
  }

  void Seek() {
    const std::size_t target = Below(2) == 0 ? Below(m_model.Bytes().size() + 1) : NearAMultiple();
    const SeekDirection direction = static_cast<SeekDirection>(Below(3));
    const std::size_t froms[] = {0, m_model.Position(), m_model.Bytes().size()};
    EXPECT_EQ(0, m_stream->Seek(static_cast<long>(target) - static_cast<long>(froms[direction]), direction));
    m_model.MoveTo(target);
    m_metEnd = false;
  }

  void Peek() {
    const std::size_t wanted = std::min(Size(), QUAV_FileStream::kMaxPeek);
    const QUAV_FileStream::Window window = m_stream->Peek(wanted);
    EXPECT_GE(window.Size(), m_model.Next(wanted).size());
    m_metEnd = m_metEnd || window.Size() < wanted;
    EXPECT_TRUE(SameBytes(m_model.Next(window.Size()), Text(window)));
    if (window.Size() == 0) return;
    const std::size_t skipped = Below(window.Size() + 1);
    m_stream->Skip(skipped);
    m_model.MoveTo(m_model.Position() + skipped);
  }

  // Returns all flushed bytes, without the stream's own buffer.
  std::string Whole() const {
    if (m_file == File::open) return Contents(m_path);
    QUAV_FileStream copy(*m_stream);
    copy.Seek(0, kSeekFromStart);
    return ::Read(copy, m_model.Bytes().size() + 1);
  }

  void Interrupt() {
    switch (Below(m_file == File::hidden ? 3 : 4)) {
      case 0:
        EXPECT_EQ(0, m_stream->Flush());
        EXPECT_TRUE(SameBytes(m_model.Bytes(), Whole()));
        return;
      case 1:
        m_stream->ClearAndReset();
        m_metEnd = false;
        return;
      case 2:
        m_stream = std::make_unique<QUAV_FileStream>(*m_stream);
        m_metEnd = false;
        return;
      default:
        EXPECT_NE(0, m_stream->Open(m_stream->Name(), m_mode[0] == 'w' ? "r+b" : m_mode));
        m_model.MoveTo(0);
        m_metEnd = false;
        return;
    }
  }

  std::mt19937 m_random;
  std::string m_path;
  File m_file;
  const char* m_mode = "";
  std::unique_ptr<QUAV_FileStream> m_stream;
  Model m_model;
  bool m_metEnd = false;
};

TEST_F(FileStreamModel, AgreesWithAModelInRandomScripts) {
  for (unsigned seed = 1; seed <= Seeds(1000) && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Script(seed, Path("file"), File::open).Run();
  }
}

// Every size on both sides of what the first transfer from a place brings: up to the next page, and the whole buffer.
TEST_F(FileStreamModel, ReadsAllBytesOfAnySizeFromAnyPlaceInTheMiddle) {
  const std::string bytes = Noise(4 * kBuffer);
  QUAV_FileStream stream;
  ASSERT_NE(0, stream.Open(Make("file", bytes).c_str(), "rb"));
  for (const std::size_t place : {0UL, 1UL, 2UL, 84UL, 2048UL, 4095UL, 4096UL, 4097UL, kBuffer - 1, kBuffer + 84}) {
    const std::size_t first = kBuffer - place % 4096;
    for (const std::size_t border : {first, kBuffer, kBuffer - 4096, 2 * kBuffer}) {
      for (const std::size_t size : {border - 1, border, border + 1}) {
        SCOPED_TRACE(std::to_string(size) + " bytes at " + std::to_string(place));
        stream.ClearAndReset();
        ASSERT_EQ(0, stream.Seek(static_cast<long>(place), kSeekFromStart));
        EXPECT_TRUE(SameBytes(bytes.substr(place, size), Read(stream, size)));
        EXPECT_EQ(0, stream.EndOfFile());
        EXPECT_EQ(bytes.substr(place + size, 10), Read(stream, 10));
      }
    }
  }
}

TEST_F(FileStreamModel, AgreesWithAModelInRandomScriptsOnEncipheredFiles) {
  for (unsigned seed = 1; seed <= Seeds(500) && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Script(seed, Path("file"), File::hidden).Run();
  }
}

}  // namespace
}  // namespace QUAV_FileStreamModel_test

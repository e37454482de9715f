// Random scripts of operations on a stream in zlib blocks, compared with a string. Sizes and places are drawn on both
// sides of every multiple at which the code changes its way.

#include <algorithm>
#include <iterator>
#include <memory>

#include "Platform/stream/tests/ZlibTesting.h"
#include "tests/support/Seeds.h"

namespace zcmpsFilestrModel_test {
namespace {

// A block, the most that a window gives and the length from which an append leaves the last block alone, a page.
constexpr std::size_t kUnits[] = {kPlainBlockSize, QUAV_FileStream::kMaxPeek, 4096};
constexpr std::size_t kMost = 4 * kPlainBlockSize;

class ZcmpsFilestrModel : public StreamTest {};

// One file: written, read and appended to in turn.
class BlockScript {
 public:
  BlockScript(unsigned seed, std::string path) : m_random(seed), m_path(std::move(path)) {}

  void Run() {
    m_plain = Piece(Size());
    WriteBlocks(m_path, m_plain, Threads());
    for (int round = 0; round < 4 && !testing::Test::HasFailure(); ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      ReadAbout();
      Append();
    }
    ReadAbout();
    BlocksOf blocks(m_path);
    EXPECT_TRUE(SameBytes(m_plain, blocks.All()));
    EXPECT_TRUE(blocks.IsWhole());
  }

 private:
  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random); }
  int Threads() { return static_cast<int>(Below(2)); }

  std::size_t NearAMultiple() {
    const std::size_t unit = kUnits[Below(std::size(kUnits))];
    return std::max<std::size_t>(Below(kMost / unit) * unit + Below(7), 3) - 3;
  }

  std::size_t Size() {
    const std::size_t kind = Below(10);
    if (kind < 2) return Below(100);
    return kind < 8 ? NearAMultiple() : Below(kMost);
  }

  std::string Piece(std::size_t size) {
    static const std::string codes = Codes(2 * kMost);
    return codes.substr(Below(kMost), size);
  }

  // A place in the stream or a little after its end.
  std::size_t Place() {
    const std::size_t place = Below(2) == 0 ? NearAMultiple() : Below(m_plain.size() + 1);
    return std::min(place, m_plain.size() + 5);
  }

  std::string Rest(std::size_t place, std::size_t count) const {
    return place < m_plain.size() ? m_plain.substr(place, count) : "";
  }

  void ReadAbout() {
    BlocksOf blocks(m_path);
    std::size_t place = 0;
    bool metEnd = false;
    for (int step = 0; step < 12; ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      switch (Below(3)) {
        case 0:
          place = Place();
          metEnd = false;
          ASSERT_EQ(0, blocks.Seek(kFrontSize + static_cast<long>(place), kSeekFromStart));
          break;
        case 1: {
          const std::size_t count = Size();
          const std::string expected = Rest(place, count);
          ASSERT_TRUE(SameBytes(expected, Read(blocks, count)));
          metEnd = metEnd || expected.size() < count;
          place += expected.size();
          break;
        }
        default: {
          const std::size_t wanted = std::min(Size(), QUAV_FileStream::kMaxPeek);
          const auto window = blocks.Peek(wanted);
          ASSERT_GE(window.Size(), Rest(place, wanted).size());
          ASSERT_TRUE(SameBytes(Rest(place, window.Size()), Text(window)));
          metEnd = metEnd || window.Size() < wanted;
          const std::size_t skipped = Below(window.Size() + 1);
          blocks.Skip(skipped);
          place += skipped;
        }
      }
      ASSERT_EQ(kFrontSize + static_cast<long>(place), blocks.Tell());
      ASSERT_EQ(metEnd, blocks.EndOfFile() != 0);
      ASSERT_TRUE(blocks.Good());
    }
  }

  void Append() {
    BlocksOf blocks(m_path);
    const std::size_t place = std::min(Place(), m_plain.size());
    blocks.setMultiThread(Threads());
    ASSERT_TRUE(blocks.setFileToAppend(kFrontSize + static_cast<long>(place), false));
    if (Below(4) == 0) return;  // nothing written: nothing changes
    std::string plain = m_plain.substr(0, place);
    for (std::size_t pieces = 1 + Below(3); pieces > 0; --pieces) {
      const std::string piece = Piece(Size());
      ASSERT_EQ(piece.size(), Write(blocks, piece));
      plain += piece;
      if (Below(4) == 0) {
        ASSERT_EQ(0, blocks.Flush());
      }
    }
    ASSERT_EQ(kFrontSize + static_cast<long>(plain.size()), blocks.Tell());
    ASSERT_EQ(0, blocks.Close());
    if (plain.size() > place) m_plain = std::move(plain);  // no byte is no write
  }

  std::mt19937 m_random;
  std::string m_path;
  std::string m_plain;
};

TEST_F(ZcmpsFilestrModel, AgreesWithAStringInRandomScripts) {
  for (unsigned seed = 1; seed <= Seeds(60) && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    BlockScript(seed, Path("file")).Run();
  }
}

}  // namespace
}  // namespace zcmpsFilestrModel_test

// Case codes on random data. What is written is read back, in sequence and by seeking, in one piece and in many, and
// the fast decoder agrees with the plain one. Every failure names the seed that reproduces it.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "casecodes/CellCodes.h"
#include "casecodes/CellPicker.h"
#include "casecodes/GroupDecoder.h"
#include "casecodes/GroupEncoder.h"
#include "casecodes/GroupFinder.h"
#include "storage/CompressedStream.h"
#include "storage/sparsefileindex.h"
#include "systemfile/CompressedSystemFile.h"
#include "systemfile/SystemFileOptions.h"
#include "tests/support/Reading.h"

namespace codes_test {
namespace {

class Random {
 public:
  explicit Random(unsigned int seed) : m_engine(seed) {}

  std::uint64_t Bits() { return m_engine(); }
  // Returns a number from `low` to `high`, both included.
  int Between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_engine); }

  // Returns mostly values that are usual in data sets, and all border cases.
  FileValue Value() {
    switch (Between(0, 9)) {
      case 0:
        return kFileSystemMissing;
      case 1:
        return "";
      case 2:
        return Between(-1000, 1000) * 0.25;
      case 3:
        return -0.0;
      case 4:
        return static_cast<double>(Between(-102, -97));
      case 5:
        return static_cast<double>(Between(148, 155));
      case 6:
        return std::bit_cast<double>(Bits());
      case 7:
        return std::string(static_cast<std::size_t>(Between(1, 8)), static_cast<char>(Between('!', 'z')));
      default:
        return static_cast<double>(Between(-99, 151));
    }
  }

  std::vector<FileCase> Cases(int count, int cells) {
    std::vector<FileCase> cases(static_cast<std::size_t>(count));
    for (FileCase& values : cases)
      for (int cell = 0; cell < cells; ++cell) values.push_back(Value());
    return cases;
  }

 private:
  std::mt19937_64 m_engine;
};

class RandomCodes : public testing::TestWithParam<unsigned int> {
 protected:
  Random m_random{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(Seeds, RandomCodes, testing::Range(1u, 21u),
                         [](const auto& row) { return "Seed" + std::to_string(row.param); });

// A case stream on a file on disk.
struct CaseFile {
  SystemFileOptions options;
  QUAV_SparseFileIndex index{1};
  QUAV_FileStream stream;
  CompressedSystemFile coded;

  CaseFile(const TempFile& file, const char* mode, int cells, long row0)
      : coded(Options(options, cells), Opened(stream, file, mode), index, row0) {}

  std::vector<OBS> Next() {
    std::vector<OBS> cells(static_cast<std::size_t>(options.layout.NominalCaseSize()));
    cells.resize(static_cast<std::size_t>(coded.Read(cells.data(), nullptr)));
    return cells;
  }

 private:
  static const SystemFileOptions& Options(SystemFileOptions& options, int cells) {
    options.layout = SystemFileLayout(cells);
    return options;
  }
  static QUAV_FileStream& Opened(QUAV_FileStream& stream, const TempFile& file, const char* mode) {
    EXPECT_TRUE(stream.Open(file.Name().c_str(), mode));
    return stream;
  }
};

// A file of random shape, written in one piece.
struct WrittenFile {
  std::string header;
  int cells;
  std::vector<FileCase> cases;
  TempFile file;
  long row0;

  explicit WrittenFile(Random& random)
      : header(static_cast<std::size_t>(random.Between(0, 300)), 'h'),
        cells(random.Between(1, 40)),
        cases(random.Cases(random.Between(0, 1500), cells)),
        file(header),
        row0(static_cast<long>(header.size())) {
    CaseFile writer(file, "r+b", cells, row0);
    for (const FileCase& values : cases) writer.coded.Write(CellsOf(values).data());
  }

  std::vector<OBS> Cells(std::size_t row) const { return CellsOf(cases[row]); }
};

TEST_P(RandomCodes, AreReadAsWritten) {
  const WrittenFile written(m_random);
  CaseFile reader(written.file, "rb", written.cells, written.row0);
  for (std::size_t row = 0; row < written.cases.size(); ++row)
    ASSERT_EQ(written.Cells(row), reader.Next()) << "row " << row;
  EXPECT_TRUE(reader.Next().empty());
}

TEST_P(RandomCodes, MatchThoseOfTheBuilder) {
  const WrittenFile written(m_random);
  EXPECT_EQ(written.header + SystemFileBuilder().CodedCases(written.cases).Bytes(), written.file.Bytes());
}

TEST_P(RandomCodes, AreFoundBySeeking) {
  const WrittenFile written(m_random);
  const int count = static_cast<int>(written.cases.size());
  if (count == 0) return;
  CaseFile reader(written.file, "rb", written.cells, written.row0);
  for (int i = 0; i < 200; ++i) {
    const int row = m_random.Between(0, count - 1);
    reader.coded.Seek(row);
    for (int step = 0; step < m_random.Between(1, 4) && row + step < count; ++step)
      ASSERT_EQ(written.Cells(static_cast<std::size_t>(row + step)), reader.Next()) << "row " << row + step;
  }
}

TEST_P(RandomCodes, AreFoundBySeekingAroundTheEnd) {
  const WrittenFile written(m_random);
  const int count = static_cast<int>(written.cases.size());
  CaseFile reader(written.file, "rb", written.cells, written.row0);
  while (!reader.Next().empty()) continue;
  for (int i = 0; i < 200; ++i) {
    // Half of the rows are near the end.
    const int row =
        m_random.Between(0, 1) == 0 ? m_random.Between(0, count + 3) : m_random.Between(count, count + 3) - 2;
    if (row < 0) continue;
    reader.coded.Seek(row);
    const std::vector<OBS> cells = reader.Next();
    if (row >= count) {
      ASSERT_TRUE(cells.empty()) << "row " << row << " of " << count;
    } else {
      ASSERT_EQ(written.Cells(static_cast<std::size_t>(row)), cells) << "row " << row << " of " << count;
    }
  }
}

TEST_P(RandomCodes, AreTheSameWhenAppendedInPieces) {
  const WrittenFile written(m_random);
  const TempFile file(written.header);
  for (std::size_t row = 0; row < written.cases.size();) {
    const std::size_t end = std::min(written.cases.size(), row + static_cast<std::size_t>(m_random.Between(1, 400)));
    CaseFile appender(file, "rb", written.cells, written.row0);
    appender.coded.BeginAppend(static_cast<long long>(row), true);
    for (; row < end; ++row) appender.coded.Write(CellsOf(written.cases[row]).data());
  }
  EXPECT_EQ(written.file.Bytes(), file.Bytes());
}

// ---- Chosen cells ----

TEST_P(RandomCodes, AreReadCellByCellAsCaseByCase) {
  const WrittenFile written(m_random);
  CaseFile reader(written.file, "rb", written.cells, written.row0);
  std::vector<std::size_t> chosen;
  for (int i = m_random.Between(0, 5); i > 0; --i)
    chosen.push_back(static_cast<std::size_t>(m_random.Between(0, written.cells - 1)));
  const std::size_t count = written.cases.size();
  for (std::size_t row = 0; row < count;) {
    // Between the runs some cases are read whole, skipped or read again.
    const int most = m_random.Between(1, 300);
    std::vector<std::vector<OBS>> columns(chosen.size(), std::vector<OBS>(static_cast<std::size_t>(most)));
    std::vector<OBS*> targets;
    for (std::vector<OBS>& column : columns) targets.push_back(column.data());
    int read = 0;
    reader.coded.ReadChosen(chosen, targets.data(), most, read);
    ASSERT_EQ(std::min<std::size_t>(static_cast<std::size_t>(most), count - row), static_cast<std::size_t>(read));
    for (std::size_t i = 0; i < static_cast<std::size_t>(read); ++i)
      for (std::size_t k = 0; k < chosen.size(); ++k)
        ASSERT_EQ(written.Cells(row + i)[chosen[k]], columns[k][i]) << "row " << row + i;
    row += static_cast<std::size_t>(read);
    if (row == count) break;
    switch (m_random.Between(0, 3)) {
      case 0:
        ASSERT_EQ(written.Cells(row), reader.Next()) << "row " << row;
        ++row;
        break;
      case 1:
        row = static_cast<std::size_t>(m_random.Between(0, static_cast<int>(count) - 1)) / 2 + count / 2;
        reader.coded.Seek(static_cast<long long>(row));
        break;
      case 2:
        reader.coded.Seek(static_cast<long long>(--row));
        break;
      default:
        break;
    }
  }
  int read = 1;
  std::vector<OBS> column(1);
  const std::vector<OBS*> targets(chosen.size(), column.data());
  reader.coded.Seek(static_cast<long long>(count));
  reader.coded.ReadChosen(chosen, targets.data(), 1, read);
  EXPECT_EQ(0, read);
}

// ---- Whole files ----

struct Layout {
  std::endian order;
  std::int32_t compression;
};

TEST_P(RandomCodes, AreReadFromEveryFileLayout) {
  // 0 for a number, else the width of a string.
  std::vector<int> widths;
  for (int i = m_random.Between(1, 30); i > 0; --i) widths.push_back(m_random.Between(0, 1) * m_random.Between(0, 60));
  std::vector<FileCase> cases(static_cast<std::size_t>(m_random.Between(0, 300)));
  for (FileCase& values : cases) {
    for (const int width : widths) {
      FileValue value = m_random.Value();
      if (width == 0) {
        values.push_back(std::holds_alternative<double>(value) ? value : FileValue(1.5));
      } else {
        const std::string* text = std::get_if<std::string>(&value);
        values.push_back(FileText(text == nullptr ? "some text" : *text, static_cast<std::size_t>(width)));
        std::string& field = std::get<std::string>(values.back());
        field.resize((static_cast<std::size_t>(width) + 7) / 8 * 8);
      }
    }
  }
  for (const auto& [order, compression] : {Layout{std::endian::little, 0}, Layout{std::endian::big, 0},
                                           Layout{std::endian::little, 1}, Layout{std::endian::big, 1}}) {
    SystemFileBuilder builder(order);
    builder.Header({.compression = compression});
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::string name = "V" + std::to_string(i);
      widths[i] == 0 ? builder.Number(name) : builder.String(name, widths[i]);
    }
    builder.End();
    const TempFile file((compression == 0 ? builder.Cases(cases) : builder.CodedCases(cases)).Bytes());
    const SystemFileDataSource source(file.Name(), "", false);
    ASSERT_EQ(CellsOf(cases), AllCells(source))
        << (order == std::endian::little ? "little-endian" : "big-endian") << ", compression " << compression;
    if (cases.empty()) continue;
    // Every second row, so that some are read after others were skipped.
    const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
    const auto size = static_cast<std::size_t>(source.GetObsAreaSize());
    for (std::size_t row = m_random.Between(0, 1) == 0 ? 0 : cases.size() / 2; row < cases.size(); row += 2) {
      iterator->Seek(static_cast<long long>(row));
      ASSERT_NE(0, iterator->Next()) << row;
      const OBS* const cells = iterator->GetObsPointer(0);
      ASSERT_EQ(CellsOf(cases[row]), std::vector(cells, cells + size)) << "row " << row;
    }
  }
}

// ---- The codes of temporary files ----

// A stream over bytes in memory.
class MemoryIO : public QUAV_StrBaseIO {
 public:
  void Clear() override {}
  bool Good() override { return true; }
  unsigned long Read(void* buffer, unsigned long count) override {
    const std::size_t size = std::min<std::size_t>(count, bytes.size() - m_position);
    std::memcpy(buffer, bytes.data() + m_position, size);
    m_position += size;
    return size;
  }
  unsigned long Write(const void* buffer, unsigned long count) override {
    bytes.replace(m_position, count, static_cast<const char*>(buffer), count);
    m_position += count;
    return count;
  }
  int Seek(long offset, SeekDirection direction) override {
    const long from = direction == kSeekFromStart     ? 0
                      : direction == kSeekFromPresent ? Tell()
                                                      : static_cast<long>(bytes.size());
    m_position = static_cast<std::size_t>(from + offset);
    return 0;
  }
  long Tell() const override { return static_cast<long>(m_position); }
  int EndOfFile() override { return m_position == bytes.size(); }

  std::string bytes;

 private:
  std::size_t m_position = 0;
};

TEST_P(RandomCodes, OfTemporaryFilesCanBeReadSkippedAndCopied) {
  std::vector<std::vector<OBS>> runs;
  MemoryIO stream;
  for (int i = 0; i < 200; ++i) {
    runs.push_back(CellsOf(m_random.Cases(1, m_random.Between(1, 80))[0]));
    WriteCompressed(stream, runs.back().data(), static_cast<long>(runs.back().size()));
  }
  stream.Seek(0, kSeekFromStart);
  MemoryIO copy;
  std::vector<std::vector<OBS>> copied;
  for (const auto& run : runs) {
    const long count = static_cast<long>(run.size());
    switch (m_random.Between(0, 2)) {
      case 0: {
        std::vector<OBS> cells(run.size());
        ASSERT_TRUE(ReadCompressed(stream, cells.data(), count));
        ASSERT_EQ(run, cells);
        break;
      }
      case 1:
        ASSERT_TRUE(SkipCompressed(stream, count));
        break;
      default:
        ASSERT_TRUE(CopyPrecompressed(stream, copy, count));
        copied.push_back(run);
    }
  }
  EXPECT_TRUE(stream.EndOfFile());
  copy.Seek(0, kSeekFromStart);
  for (const auto& run : copied) {
    std::vector<OBS> cells(run.size());
    ASSERT_TRUE(ReadCompressed(copy, cells.data(), static_cast<long>(cells.size())));
    ASSERT_EQ(run, cells);
  }
  OBS cell;
  EXPECT_FALSE(ReadCompressed(copy, &cell, 1));
}

// ---- The group decoders ----

TEST_P(RandomCodes, AllDecodersAndFindersAgree) {
  for (int round = 0; round < 300; ++round) {
    // The share of literals varies from 0 to 100 percent; codes 0 and 252 are as rare as in files.
    const int literals = m_random.Between(0, 100);
    std::vector<std::byte> bytes(static_cast<std::size_t>(m_random.Between(0, 4000)));
    for (std::byte& byte : bytes) {
      const bool literal = m_random.Between(1, 100) <= literals;
      const bool rare = m_random.Between(1, 1000) == 1;
      byte = static_cast<std::byte>(rare ? m_random.Between(0, 1) * 252 : literal ? 253 : m_random.Between(1, 255));
    }
    const int count = m_random.Between(0, 250);
    const auto groups = static_cast<std::size_t>(count);
    const std::byte* const end = bytes.data() + bytes.size();
    std::vector<OBS> plain(groups * 8, OBS{7});
    std::vector<const std::byte*> plainStarts(groups);
    const std::byte* plainNext = bytes.data();
    const int done = DecodeGroupsPlainly(plainNext, end, count, plain.data(), plainStarts.data());
    for (GroupFinder* const find : GroupFinders()) {
      std::vector<const std::byte*> starts(groups);
      const std::byte* next = bytes.data();
      ASSERT_EQ(done, find(next, end, count, starts.data()));
      ASSERT_EQ(plainNext, next);
      ASSERT_EQ(plainStarts, starts);
    }
    for (GroupDecoder* const decode : GroupDecoders()) {
      std::vector<OBS> cells(groups * 8, OBS{7});
      std::vector<const std::byte*> starts(groups);
      const std::byte* next = bytes.data();
      ASSERT_EQ(done, decode(next, end, count, cells.data(), starts.data()));
      ASSERT_EQ(plainNext, next);
      ASSERT_EQ(plainStarts, starts);
      ASSERT_EQ(plain, cells);
    }
  }
}

TEST_P(RandomCodes, AllPickersAgreeWithTheDecoder) {
  for (int round = 0; round < 100; ++round) {
    const int literals = m_random.Between(0, 4) * 25;
    std::vector<std::byte> bytes(static_cast<std::size_t>(m_random.Between(80, 3000)));
    for (std::byte& byte : bytes)
      byte = static_cast<std::byte>(m_random.Between(1, 100) <= literals ? 253 : m_random.Between(1, 3) + 252);
    for (std::byte& byte : bytes)
      if (m_random.Between(0, 2) == 0) byte = static_cast<std::byte>(m_random.Between(1, 251));
    constexpr int kCount = 250;
    std::vector<OBS> cells(kCount * 8);
    std::vector<const std::byte*> starts(kCount);
    const std::byte* in = bytes.data();
    const int all = 8 * DecodeGroupsPlainly(in, bytes.data() + bytes.size(), kCount, cells.data(), starts.data());
    if (all == 0) continue;
    const int first = m_random.Between(0, all - 1);
    const int step = m_random.Between(1, 50);
    const int count = m_random.Between(0, (all - 1 - first) / step + 1);
    std::vector<OBS> expected;
    for (int i = 0; i < count; ++i) expected.push_back(cells[static_cast<std::size_t>(first + i * step)]);
    expected.push_back(OBS{7});
    for (CellPicker* const pick : CellPickers()) {
      std::vector<OBS> picked(expected.size(), OBS{7});
      pick(starts.data(), first, step, count, picked.data());
      ASSERT_EQ(expected, picked);
    }
  }
}

// The bytes end exactly where the input does, so that a sanitizer sees what is read past it.
TEST_P(RandomCodes, AllDecodersAndFindersAgreeOnInputThatEndsAtAnyByte) {
  const int literals = m_random.Between(0, 4) * 25;
  std::vector<std::byte> all(700);
  for (std::byte& byte : all)
    byte = static_cast<std::byte>(m_random.Between(1, 100) <= literals ? 253 : m_random.Between(1, 251));
  constexpr int kCount = 100;
  for (std::size_t size = 0; size <= all.size(); ++size) {
    const std::vector<std::byte> bytes(all.end() - static_cast<std::ptrdiff_t>(size), all.end());
    const std::byte* const end = bytes.data() + size;
    std::vector<OBS> plain(kCount * 8);
    std::vector<const std::byte*> plainStarts(kCount);
    const std::byte* plainNext = bytes.data();
    const int done = DecodeGroupsPlainly(plainNext, end, kCount, plain.data(), plainStarts.data());
    for (GroupDecoder* const decode : GroupDecoders()) {
      std::vector<OBS> cells(kCount * 8);
      std::vector<const std::byte*> starts(kCount);
      const std::byte* next = bytes.data();
      ASSERT_EQ(done, decode(next, end, kCount, cells.data(), starts.data())) << size;
      ASSERT_EQ(plainNext, next) << size;
      ASSERT_EQ(plainStarts, starts) << size;
      ASSERT_EQ(plain, cells) << size;
    }
    for (GroupFinder* const find : GroupFinders()) {
      std::vector<const std::byte*> starts(kCount);
      const std::byte* next = bytes.data();
      ASSERT_EQ(done, find(next, end, kCount, starts.data())) << size;
      ASSERT_EQ(plainNext, next) << size;
      ASSERT_EQ(plainStarts, starts) << size;
    }
  }
}

// ---- The group encoders ----

// The groups of cells that came in cases of these sizes, then the cells of the group that is still open.
struct Encoded {
  std::vector<std::byte> groups;
  std::vector<OBS> open;

  bool operator==(const Encoded&) const = default;
};

Encoded Encode(GroupEncoder* encode, const std::vector<OBS>& cells, const std::vector<int>& cases) {
  Encoded encoded{std::vector<std::byte>((cells.size() / 8 + 1) * kMaxGroupSize), {}};
  OpenGroup open;
  std::byte* end = encoded.groups.data();
  auto from = cells.begin();
  for (const int size : cases) {
    const std::vector<OBS> own(from, from + size);  // alone in memory: a sanitizer sees a cell that is read beyond it
    end = encode(own.data(), size, open, end);
    from += size;
  }
  encoded.groups.resize(static_cast<std::size_t>(end - encoded.groups.data()));
  encoded.open.assign(open.cells.begin(), open.cells.begin() + open.count);
  return encoded;
}

TEST_P(RandomCodes, AllEncodersAgree) {
  for (int round = 0; round < 300; ++round) {
    const int most = m_random.Between(1, 60);
    std::vector<int> cases(static_cast<std::size_t>(m_random.Between(0, 12)));
    std::vector<OBS> cells;
    for (int& size : cases) {
      size = m_random.Between(0, most);
      for (int i = 0; i < size; ++i) cells.push_back(CellsOf(m_random.Value())[0]);
    }
    const Encoded plain = Encode(EncodeCellsPlainly, cells, cases);
    ASSERT_EQ(cells.size() % 8, plain.open.size());
    for (GroupEncoder* const encode : GroupEncoders()) ASSERT_TRUE(plain == Encode(encode, cells, cases));
    // However the cells are divided into cases, the groups are the same.
    ASSERT_TRUE(plain == Encode(EncodeCellsPlainly, cells, {static_cast<int>(cells.size())}));
  }
}

TEST_P(RandomCodes, AllFindersAgreeWithCodeOfCell) {
  for (int round = 0; round < 300; ++round) {
    const auto count = static_cast<std::size_t>(m_random.Between(0, 300));
    std::vector<OBS> cells;
    while (cells.size() < count) cells.push_back(CellsOf(m_random.Value())[0]);
    // One more element of each must stay unchanged.
    std::vector<std::byte> codes(count + 1, std::byte{7});
    std::vector<std::uint64_t> literals((count + 63) / 64 + 1, ~std::uint64_t{0});
    literals.back() = 7;
    for (std::size_t i = 0; i < count; ++i) {
      codes[i] = std::byte{CodeOfCell(cells[i])};
      if (codes[i] != std::byte{kCodeLiteral}) literals[i / 64] ^= std::uint64_t{1} << i % 64;
    }
    for (CodeFinder* const find : CodeFinders()) {
      std::vector<std::byte> foundCodes(codes.size(), std::byte{7});
      std::vector<std::uint64_t> foundLiterals(literals.size(), 7);
      find(cells.data(), static_cast<int>(count), foundCodes.data(), foundLiterals.data());
      ASSERT_EQ(codes, foundCodes);
      ASSERT_EQ(literals, foundLiterals);
    }
  }
}

// Expects every encoder to give the cell, among cells of other kinds, the code that CodeOfCell returns.
void ExpectOneCode(OBS cell) {
  const std::uint8_t code = CodeOfCell(cell);
  ASSERT_EQ(code, CodeOfCellBranchFree(cell)) << std::hex << cell.bits;
  const std::array<OBS, 8> cells = {NumberCell(1), NumberCell(0.5), kBlankCell,   NumberCell(0.5), kSystemMissingCell,
                                    cell,          NumberCell(0.5), NumberCell(1)};
  for (GroupEncoder* const encode : GroupEncoders()) {
    std::array<std::byte, kMaxGroupSize> group{};
    OpenGroup open;
    encode(cells.data(), kCodesPerGroup, open, group.data());
    ASSERT_EQ(std::byte{code}, group[5]) << std::hex << cell.bits;
  }
}

TEST_P(RandomCodes, AllEncodersAgreeOnASingleCell) {
  for (int round = 0; round < 20'000; ++round) {
    // Random bits, some with zeros or ones at one end: these give whole numbers, powers of two, infinities and NaNs.
    const int shift = m_random.Between(0, 63);
    const std::uint64_t bits = m_random.Bits();
    for (const std::uint64_t some :
         {bits, bits << shift, bits >> shift, ~(bits << shift), std::uint64_t{0x7FF} << 52 | bits})
      ExpectOneCode(OBS{some});
    ExpectOneCode(NumberCell(m_random.Between(-70'000, 70'000) / 256.0));
  }
  for (int whole = -300; whole <= 300; ++whole) ExpectOneCode(NumberCell(whole));
  // These include the ends of the 32-bit range.
  for (const OBS cell : {kSystemMissingCell, kBlankCell, OBS{kHighNumberBits}, NumberCell(-0.0),
                         NumberCell(-2147483648.0), NumberCell(2147483647.0), NumberCell(4294967296.0 + 5)})
    ExpectOneCode(cell);
}

}  // namespace
}  // namespace codes_test

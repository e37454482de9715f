// Random files at every compression, appended to by one source and by two: the rows that were added are the rows that
// are read, whatever the file said about their number, and a source never writes over the rows of another one.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"

namespace appending_test {
namespace {

std::string I64(std::int64_t number, bool reversed) {
  std::string bytes(sizeof(number), '\0');
  std::memcpy(bytes.data(), &number, sizeof(number));
  if (reversed) std::ranges::reverse(bytes);
  return bytes;
}

class RandomAppends : public testing::TestWithParam<unsigned> {
 protected:
  RandomAppends() : m_level(Between(0, 2)), m_numbers(Between(1, 12)), m_width(8 * Between(1, 3)) {}

  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_engine); }
  bool OneIn(int n) { return Between(1, n) == 1; }

  FileCase Case() {
    FileCase values;
    for (int i = 0; i < m_numbers; ++i) values.emplace_back(OneIn(3) ? Between(-200, 200) + 0.25 : Between(-120, 170));
    values.emplace_back(
        FileText(OneIn(2) ? "" : std::to_string(Between(0, 1 << 30)), static_cast<std::size_t>(m_width)));
    return values;
  }

  // Any of the forms of record 16, or none.
  std::string CountRecord(int count) {
    const bool reversed = OneIn(2);
    switch (Between(0, 2)) {
      case 0:
        return SystemFileBuilder().Extension(16, 8, 1, I64(count, false)).Bytes();
      case 1:
        return SystemFileBuilder().Extension(16, 8, 2, I64(1, reversed) + I64(count, reversed)).Bytes();
      default:
        return "";
    }
  }

  // A file of an independent writer. The number of its cases may be right, unknown or too high.
  std::string NewFile() {
    std::vector<FileCase> cases;
    for (int i = Between(0, 60); i > 0; --i) cases.push_back(Case());
    m_rows = CellsOf(cases);
    const int rows = static_cast<int>(cases.size());
    const int count = OneIn(3) ? -1 : OneIn(3) ? rows + Between(1, 50) : rows;
    SystemFileBuilder file;
    file.Header({.magic = m_level == 2 ? "$FL3" : "$FL2", .compression = m_level, .cases = count});
    for (int i = 0; i < m_numbers; ++i) file.Number("N" + std::to_string(i));
    file.String("S", m_width).Raw(CountRecord(count)).Extension(77, 1, 4, "kept").End();
    if (m_level == 0) return file.Cases(cases).Bytes();
    if (m_level == 1) return file.CodedCases(cases).Bytes();
    return file.ZlibCases(cases, static_cast<std::size_t>(Between(50, 2000))).Bytes();
  }

  void AddSome(SystemFileDataSource& file, int most) {
    for (int i = Between(1, most); i > 0; --i) {
      const auto cells = CellsOf(Case());
      file.AddRow(cells.data());
      m_rows.push_back(cells);
    }
    file.Close();
  }

  void ExpectRows(const SystemFileDataSource& file) { ASSERT_EQ(m_rows, AllCells(file)); }

  // Rows are sought in any order, so that the source's index is used.
  void ExpectRowsSought(const SystemFileDataSource& file) {
    const std::unique_ptr<QUAV_InputCaseIterator> cases(file.MakeIterator(nullptr));
    for (int i = 0; i < 20; ++i) {
      const int row = Between(0, static_cast<int>(m_rows.size()) + 5);
      cases->Seek(row);
      ASSERT_EQ(row < std::ssize(m_rows), cases->Next() != 0) << row;
      if (row < std::ssize(m_rows)) {
        ASSERT_EQ(m_rows[static_cast<std::size_t>(row)], PresentCells(*cases)) << row;
      }
    }
  }

  std::mt19937 m_engine{GetParam()};
  int m_level;
  int m_numbers;
  int m_width;
  std::vector<std::vector<OBS>> m_rows;
};

TEST_P(RandomAppends, ByOneSourceKeepAllRows) {
  const TempFile onDisk(NewFile());
  SystemFileDataSource file(onDisk.Name(), "", false);
  for (int i = Between(1, 6); i > 0; --i) {
    if (OneIn(2)) ExpectRows(file);
    AddSome(file, OneIn(4) ? 3000 : 30);
    if (OneIn(2)) ExpectRowsSought(file);
    ExpectRows(SystemFileDataSource(onDisk.Name(), "", false));
  }
  ExpectRows(file);
  EXPECT_TRUE(SystemFileDataSource(onDisk.Name(), "", false).bExtensionFound(77));
}

TEST_P(RandomAppends, ByTwoSourcesKeepAllRowsOrAreRefused) {
  const TempFile onDisk(NewFile());
  const auto open = [&] { return std::make_unique<SystemFileDataSource>(onDisk.Name(), "", false); };
  std::unique_ptr<SystemFileDataSource> sources[2] = {open(), open()};
  bool isStale[2] = {false, false};
  for (int i = Between(2, 12); i > 0; --i) {
    const auto one = static_cast<std::size_t>(Between(0, 1));
    if (OneIn(4)) {
      sources[one] = open();
      isStale[one] = false;
    }
    if (isStale[one]) {
      const auto cells = CellsOf(Case());
      const auto error = ErrorOf([&] { sources[one]->AddRow(cells.data()); });
      ASSERT_TRUE(error);
      EXPECT_EQ(1209, error->Number());
      sources[one]->Close();
    } else {
      if (OneIn(3)) ExpectRowsSought(*sources[one]);
      AddSome(*sources[one], 20);
      isStale[1 - one] = true;
      ExpectRows(*sources[one]);
    }
    ExpectRows(*open());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomAppends, testing::Range(0U, Seeds(80U)));

}  // namespace
}  // namespace appending_test

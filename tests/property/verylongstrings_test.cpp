// Random dictionaries with records of very long strings that are right, wrong in part, doubled, in any order: the cases
// are those of the file, joined as the first good list says, and no byte comes from anywhere else. What is appended is
// read again.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "datasrc/SystemFileDataSource.h"
#include "tests/support/Reading.h"
#include "tests/support/Seeds.h"

namespace verylongstrings_test {
namespace {

using namespace std::string_literals;

// A variable as the file has it.
struct InFile {
  std::string name;
  int type;
};

// An entry of a record: the first column of a string, and a width that may not fit it.
struct Entry {
  int column;
  int width;
};

class VeryLongStrings : public testing::TestWithParam<unsigned> {
 protected:
  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_engine); }
  bool OneIn(int n) { return Between(1, n) == 1; }

  int Width() {
    switch (Between(0, 5)) {
      case 0:
        return Between(1, 40);
      case 1:
        return Between(248, 260);
      case 2:
        return Between(500, 516);
      case 3:
        return Between(32760, MAX_STRING_TYPE);
      default:
        return Between(253, 256);
    }
  }

  void AddVariables() {
    const int count = Between(1, 6);
    for (int i = 0; i < count; ++i) {
      const std::string stem = "VAR" + std::string(1, static_cast<char>('A' + i)) + "_";
      if (OneIn(3)) {
        m_file.push_back({stem, 0});
        continue;
      }
      const int width = Width();
      m_right.push_back({static_cast<int>(m_file.size()), width});
      for (int segment = 0; segment < width / 252; ++segment)
        m_file.push_back({stem + (segment == 0 ? "" : std::to_string(segment)), 255});
      if (width % 252 != 0) m_file.push_back({width < 252 ? stem : stem + "Z", width % 252});
    }
  }

  // Format: a whole segment for each 252 bytes, then as many cells as the rest takes.
  bool Fits(const Entry& entry) const {
    if (entry.width < 1 || entry.width > MAX_STRING_TYPE) return false;
    const int whole = entry.width / 252;
    const int rest = entry.width % 252;
    for (int segment = 0; segment < Segments(entry); ++segment) {
      const auto column = static_cast<std::size_t>(entry.column + segment);
      if (column >= m_file.size() || m_taken.contains(entry.column + segment)) return false;
      const int type = m_file[column].type;
      const bool isWhole = type == 255 && m_names[column].substr(0, 5) == NameOf(entry).substr(0, 5);
      const bool isRest = rest <= type && type <= (rest + 7) / 8 * 8;
      if (segment < whole ? !isWhole : !isRest) return false;
    }
    return true;
  }
  static int Segments(const Entry& entry) { return (entry.width + 251) / 252; }
  const std::string& NameOf(const Entry& entry) const { return m_names[static_cast<std::size_t>(entry.column)]; }

  // The right entries, some of them changed, doubled or left out, in any order.
  std::vector<Entry> Entries() {
    std::vector<Entry> entries;
    for (const Entry& entry : m_right) {
      if (OneIn(5)) continue;
      entries.push_back(entry);
      if (OneIn(4)) entries.back().width += Between(-9, 9);
      if (OneIn(8)) entries.back().width = Width();
      if (OneIn(4)) entries.push_back(entry);
    }
    std::ranges::shuffle(entries, m_engine);
    return entries;
  }

  // The text of a record. Follows what a reader makes of it: the first list that can be read as a whole, and joins
  // anything, is in force. Any other leaves its mark in the names only: those of the segments that it took are gone.
  std::string List() {
    std::string text;
    bool isReadable = true;
    std::vector<Entry> joined;
    m_taken.clear();
    for (const Entry& entry : Entries()) {
      if (OneIn(25)) {
        text += OneIn(2) ? "NOBODY=300\0\t"s : "no equal sign in here"s;
        isReadable = false;
      }
      text += m_file[static_cast<std::size_t>(entry.column)].name + '=' + std::to_string(entry.width) + "\0\t"s;
      if (entry.width < 0 || NameOf(entry).empty()) isReadable = false;
      if (!isReadable || !m_joined.empty() || !Fits(entry)) continue;
      for (int i = 0; i < Segments(entry); ++i) {
        m_taken.insert(entry.column + i);
        if (i != 0) m_names[static_cast<std::size_t>(entry.column + i)].clear();
      }
      joined.push_back(entry);
    }
    if (isReadable && m_joined.empty()) m_joined = joined;
    return text;
  }

  std::string Letters(int size) {
    std::string text;
    for (int i = 0; i < size; ++i) text += static_cast<char>(Between('!', '~'));
    return text;
  }

  // A case of the file; a whole segment may end in NULs, and bytes after the width of a string do not count.
  FileCase CaseInFile() {
    FileCase values;
    for (const InFile& variable : m_file) {
      if (variable.type == 0) {
        values.emplace_back(static_cast<double>(Between(-300, 300)) / 2);
        continue;
      }
      std::string text = Letters((variable.type + 7) / 8 * 8);
      if (variable.type == 255 && OneIn(3)) text.replace(255 - static_cast<std::size_t>(Between(1, 3)), 3, "\0\0\0"s);
      text.resize(static_cast<std::size_t>((variable.type + 7) / 8 * 8));
      values.emplace_back(text);
    }
    return values;
  }

  // The same as the library is to deliver it.
  FileCase Joined(const FileCase& inFile) const {
    FileCase values;
    for (std::size_t column = 0; column < inFile.size();) {
      const auto entry = std::ranges::find(m_joined, static_cast<int>(column), &Entry::column);
      if (entry == m_joined.end()) {
        values.push_back(inFile[column++]);
        continue;
      }
      auto left = static_cast<std::size_t>(entry->width);
      std::string text;
      while (left > 255) {
        std::string segment = std::get<std::string>(inFile[column++]).substr(0, 255);
        while (segment.size() > 252 && segment.back() == '\0') segment.pop_back();
        text += segment;
        left -= segment.size();
      }
      // The rest of the text may continue from a whole segment into the last one.
      std::string rest;
      for (const auto end = static_cast<std::size_t>(entry->column + (entry->width + 251) / 252); column < end;)
        rest += std::get<std::string>(inFile[column++]);
      text += rest.substr(0, left);
      values.emplace_back(FileText(text, static_cast<std::size_t>(entry->width)));
    }
    return values;
  }

  // A row of the caller's: letters for each string's width, and blanks in the rest of its cells.
  FileCase Row(const QUAV_DataSource& source) {
    FileCase values;
    for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column) {
      const int type = source.GetVariable(column).GetType();
      if (type == 0)
        values.emplace_back(static_cast<double>(Between(-300, 300)) / 2);
      else
        values.emplace_back(FileText(Letters(type), static_cast<std::size_t>(type)));
    }
    return values;
  }

  std::mt19937 m_engine{GetParam()};
  std::vector<InFile> m_file;
  std::vector<std::string> m_names;  // as the reader has them at present
  std::vector<Entry> m_right;
  std::vector<Entry> m_joined;
  std::set<int> m_taken;  // by the present list
};

TEST_P(VeryLongStrings, AreWhatTheFileHas) {
  AddVariables();
  const std::endian order = OneIn(2) ? std::endian::little : std::endian::big;
  const int compression = Between(0, 1);
  SystemFileBuilder file(order);
  file.Header({.compression = compression});
  std::string names;
  for (const InFile& variable : m_file) {
    if (variable.type == 0)
      file.Number(variable.name);
    else
      file.String(variable.name, variable.type);
    m_names.push_back(variable.name);
    names += (names.empty() ? "" : "\t") + variable.name + '=' + variable.name;
  }
  file.Extension(13, 1, static_cast<std::int32_t>(names.size()), names);
  for (int lists = Between(1, 3); lists > 0; --lists) {
    const std::string text = List();
    if (!text.empty()) file.Extension(14, 1, static_cast<std::int32_t>(text.size()), text);
  }
  file.End();
  std::vector<FileCase> inFile, joined;
  for (int i = Between(0, 5); i > 0; --i) {
    inFile.push_back(CaseInFile());
    joined.push_back(Joined(inFile.back()));
  }
  const TempFile onDisk((compression == 0 ? file.Cases(inFile) : file.CodedCases(inFile)).Bytes());
  SCOPED_TRACE("seed " + std::to_string(GetParam()));

  SystemFileDataSource source(onDisk.Name(), "", false);
  ASSERT_EQ(CellsOf(joined), AllCells(source));

  if (order != std::endian::native) return;
  for (int i = Between(1, 3); i > 0; --i) {
    joined.push_back(Row(source));
    const std::vector<OBS> cells = CellsOf(joined.back());
    ASSERT_EQ(source.GetObsAreaSize(), cells.size());
    // The row has exactly its size, so that a sanitizer sees a read after its end.
    const auto row = std::make_unique<OBS[]>(cells.size());
    std::ranges::copy(cells, row.get());
    source.AddRow(row.get());
  }
  source.Close();
  EXPECT_EQ(CellsOf(joined), AllCells(SystemFileDataSource(onDisk.Name(), "", false)));
}

INSTANTIATE_TEST_SUITE_P(Seeds, VeryLongStrings, testing::Range(0U, Seeds(400U)));

}  // namespace
}  // namespace verylongstrings_test

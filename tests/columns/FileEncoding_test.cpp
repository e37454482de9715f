// Files that state another encoding than their text has: opened as if they stated the right one, they are the same as the
// file that does.

#include <gmock/gmock.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "Columns/dictionary/DictionaryFacts.h"
#include "Columns/dictionary/DictionaryJson.h"
#include "Columns/dictionary/FileOpening.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/ArrowImport.h"
#include "datasrc/ArrowStream.h"
#include "datasrc/Splits.h"
#include "tests/columns/ArrowStructs.h"
#include "tests/columns/BatchesAgainstRows.h"
#include "tests/columns/MadeStream.h"
#include "tests/support/SystemFileBuilder.h"
#include "tests/support/TempFile.h"

using testing::HasSubstr;

namespace FileEncoding_test {
namespace {

constexpr char kRight[] = "windows-1252";
constexpr std::int32_t kWrongNumbers[] = {65001, 1251, 932, 2, 0, -1};  // the last three name no code page

// Returns where a file of this machine's byte order states its code page.
std::size_t PlaceOfCodePage(const std::string& bytes) {
  const std::size_t record = bytes.find(BytesOf<std::int32_t>({7, 3, 4, 8}));
  if (record == std::string::npos) throw std::runtime_error("the file has no record of its code page");
  return record + (4 + 7) * sizeof(std::int32_t);
}

// Returns a file in windows-1252 that states the code page of the number.
std::string SampleThatStates(std::int32_t number) {
  std::ifstream file(SAMPLES_DIR "/cp1252.quav", std::ios::binary);
  std::string bytes(std::istreambuf_iterator<char>(file), {});
  return bytes.replace(PlaceOfCodePage(bytes), sizeof number, BytesOf<std::int32_t>({number}));
}

std::string TextOf(const QUAV_DataSource& source) {
  std::string text;
  dstext::DictionaryJson(source).Write([&](std::string_view piece) { text += piece; });
  return text;
}

std::vector<BatchRow> RowsOf(const QUAV_DataSource& source, const ColumnReaderOptions& options = {}) {
  ColumnReader reader(source, options);
  return RowsOfBatches(reader, options);
}

void ExpectSame(const QUAV_DataSource& wanted, const QUAV_DataSource& found) {
  EXPECT_EQ(TextOf(wanted), TextOf(found));
  EXPECT_EQ(RowsOf(wanted), RowsOf(found));
  EXPECT_FALSE(found.IsDirty());
}

template <class Work>
std::string TextOfMistake(Work work) {
  try {
    work();
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "no mistake";
}

class FileEncoding : public testing::Test {
 protected:
  FileEncoding() { SetUTF8mode(1); }
  ~FileEncoding() override { SetUTF8mode(0); }

  static dstext::SourceLine Shown(const TempFile& file, const std::string& encoding) {
    return dstext::OpenInPresentEncoding(file.Name(), ExtNameStr(), nullptr, encoding);
  }
  static std::unique_ptr<SystemFileDataSource> Stored(const TempFile& file, const std::string& encoding) {
    return dstext::OpenAsStored(file.Name(), ExtNameStr(), encoding);
  }
};

TEST_F(FileEncoding, ThatIsNamedReplacesTheStatedOne) {
  const TempFile right(SampleThatStates(1252));
  for (const std::int32_t number : kWrongNumbers) {
    SCOPED_TRACE(number);
    const TempFile wrong(SampleThatStates(number));
    ExpectSame(*Shown(right, ""), *Shown(wrong, kRight));
    ExpectSame(*Stored(right, ""), *Stored(wrong, kRight));
    EXPECT_NE(TextOf(*Shown(right, "")), TextOf(*Shown(wrong, "")));
  }
  ExpectSame(*Shown(right, ""), *Shown(right, kRight));
  ExpectSame(*Stored(right, ""), *Stored(right, kRight));
}

TEST_F(FileEncoding, OfThePresentTextNeedsNoView) {
  const std::string bytes = SystemFileBuilder()
                                .Header()
                                .String("S", 4)
                                .Extension(3, 4, 8, BytesOf<std::int32_t>({25, 0, 1, 720, 1, 1, 2, 1252}))
                                .End()
                                .Cases({{"\u00E4\u00F6  "}})
                                .Bytes();
  const TempFile file(bytes);
  const dstext::SourceLine shown = Shown(file, "utf8");
  EXPECT_NE(nullptr, dynamic_cast<const SystemFileDataSource*>(shown.get()));
  EXPECT_EQ(4, shown->GetVariable(0).GetType());
  EXPECT_EQ("\u00E4\u00F6", std::get<std::string>(*RowsOf(*shown)[0][0]));
  EXPECT_EQ("\u00C3\u00A4\u00C3\u00B6", std::get<std::string>(*RowsOf(*Shown(file, ""))[0][0]));
}

TEST_F(FileEncoding, HasTheUsualNameWhateverTheCallerCallsIt) {
  const TempFile file(SampleThatStates(65001));
  for (const auto& [given, usual] : {std::pair{"cp1252", "windows-1252"},
                                     {"WINDOWS_1252", "windows-1252"},
                                     {"latin-1", "ISO-8859-1"},
                                     {"utf-8", "UTF-8"},
                                     {"cp932", "Shift_JIS"},
                                     {"ibm-1006_P100-1995", "ibm-1006_P100-1995"}}) {
    EXPECT_EQ(usual, Stored(file, given)->CharacterEncoding());
    EXPECT_EQ(usual, dstext::FileBehind(*Shown(file, given))->CharacterEncoding());
  }
}

TEST_F(FileEncoding, ThatNoFileCanHaveIsAnError) {
  const TempFile file(SampleThatStates(1252));
  for (const std::string& name : {std::string("klingon"), std::string("UTF-16"), std::string("UTF-7"),
                                  std::string("ISO-2022-JP"), std::string(" "), std::string(300, 'x')}) {
    const std::string text = "'" + name + "' is not an encoding that a file can have";
    EXPECT_EQ(text, TextOfMistake([&] { Shown(file, name); }));
    EXPECT_EQ(text, TextOfMistake([&] { Stored(file, name); }));
    const std::string before = file.Bytes();
    Arrow<ArrowArrayStream> stream = MadeStream({TextColumn("t", {"x"})}).Stream();
    EXPECT_EQ(text, TextOfMistake([&] { AppendArrowStream(&stream, file.Name(), {.encoding = name}); }));
    EXPECT_EQ(before, file.Bytes());
  }
}

TEST_F(FileEncoding, OutsideTheUtf8ModeIsShownAsItWouldBeIfItWereStated) {
  const std::string before = QUAVMBDefaultCodePage();
  SetUTF8mode(0);
  for (const char* const page : {"windows-1252", "ISO-8859-1", "windows-1251"}) {
    QUAVMBDefaultCodePageSet_A(page);
    for (const auto& [name, number] : {std::pair{"windows-1252", 1252}, {"windows-1251", 1251}, {"UTF-8", 65001}}) {
      const TempFile wrong(SampleThatStates(866));
      const TempFile right(SampleThatStates(number));
      SCOPED_TRACE(std::string(page) + ", " + name);
      const dstext::SourceLine wanted = Shown(right, "");
      const dstext::SourceLine found = Shown(wrong, name);
      const QUAV_DataSource& one = *wanted;
      const QUAV_DataSource& other = *found;
      EXPECT_EQ(typeid(one), typeid(other));
      ExpectSame(*wanted, *found);
    }
  }
  QUAVMBDefaultCodePageSet_A(before.c_str());
}

TEST_F(FileEncoding, GoesAlongWithSplits) {
  const TempFile right(SampleThatStates(1252));
  for (const std::int32_t number : kWrongNumbers) {
    const TempFile wrong(SampleThatStates(number));
    const std::shared_ptr<const QUAV_DataSource> sources[] = {Shown(wrong, kRight), Stored(wrong, kRight)};
    for (const auto& source : sources) {
      for (int count = 1; count <= 5; ++count) {
        std::vector<BatchRow> rows;
        for (const std::string& token : MakeSplits(*source, count)) {
          EXPECT_THAT(token, HasSubstr(":windows-1252:"));
          const Split split = OpenSplit(token);
          EXPECT_EQ(TextOf(*source), TextOf(*split.source));
          for (BatchRow& row : RowsOf(*split.source, split.InSource({}))) rows.push_back(std::move(row));
        }
        EXPECT_EQ(RowsOf(*source), rows) << number << ", " << count;
      }
    }
  }
}

TEST_F(FileEncoding, IsThatOfTextThatIsAppended) {
  const auto appended = [](std::int32_t number, const std::string& encoding) {
    const TempFile file(SampleThatStates(number));
    const TempFile more(SampleThatStates(1252));
    Arrow<ArrowArrayStream> stream;
    ExportArrowStream(Shown(more, ""), {}, &stream);
    EXPECT_EQ(3, AppendArrowStream(&stream, file.Name(), {.encoding = encoding}).rows);
    EXPECT_EQ(6u, RowsOf(*Shown(file, encoding)).size());
    return file.Bytes();
  };
  std::string wanted = appended(1252, "");
  for (const std::int32_t number : kWrongNumbers) {
    wanted.replace(PlaceOfCodePage(wanted), sizeof number, BytesOf<std::int32_t>({number}));
    EXPECT_EQ(wanted, appended(number, kRight)) << "the file still states " << number;
  }
}

}  // namespace
}  // namespace FileEncoding_test

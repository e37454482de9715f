#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Platform/text/QUAVMB.h"
#include "datasrc/VariableNames.h"
#include "tests/support/Reading.h"

namespace CompatNames_test {
namespace {

// A source opened on a file with three variables; the file has the record of long names unless `names` is empty.
struct Opened {
  explicit Opened(const std::string& names) : file(Bytes(names)), source(file.Name(), "", false) {}

  static std::string Bytes(const std::string& names) {
    SystemFileBuilder builder;
    builder.Header().Number("B").Number("A").Number("C");
    if (!names.empty()) builder.Extension(13, 1, static_cast<std::int32_t>(names.size()), names);
    return builder.End().Bytes();
  }

  std::string Long(const std::string& name) const {
    std::array<char, kMaxVariableName + 1> out;
    source.GetCompatName(name.c_str(), out.data());
    return out.data();
  }
  std::string Short(const std::string& name) const {
    std::array<char, kMaxVariableName + 1> out;
    source.GetInputFileCompatName(name.c_str(), out.data());
    return out.data();
  }

  TempFile file;
  SystemFileDataSource source;
};

void ExpectUnknown(const Opened& opened, std::string (Opened::*ask)(const std::string&) const,
                   const std::string& name) {
  const auto error = ErrorOf([&] { (opened.*ask)(name); });
  ASSERT_TRUE(error) << name;
  EXPECT_EQ(1507, error->Number());
  EXPECT_EQ("there is no variable with the name " + name, error->Text());
  EXPECT_EQ(opened.file.Name(), error->File());
}

TEST(CompatNames, GetCompatNameReturnsTheLongName) {
  const Opened opened("A=Alpha\tB=Beta\tC=Gamma");
  EXPECT_EQ("Alpha", opened.Long("A"));
  EXPECT_EQ("Beta", opened.Long("B"));
  EXPECT_EQ("Gamma", opened.Long("C"));
}

TEST(CompatNames, GetInputFileCompatNameReturnsTheShortName) {
  const Opened opened("A=Alpha\tB=Beta\tC=Gamma");
  EXPECT_EQ("A", opened.Short("Alpha"));
  EXPECT_EQ("B", opened.Short("Beta"));
  EXPECT_EQ("C", opened.Short("Gamma"));
}

TEST(CompatNames, UnknownNameThrows1507) {
  const Opened opened("A=Alpha\tB=Beta\tC=Gamma");
  for (const char* name : {"", "0", "AA", "D", "Alpha"}) ExpectUnknown(opened, &Opened::Long, name);
  for (const char* name : {"", "Alph", "Alphas", "A"}) ExpectUnknown(opened, &Opened::Short, name);
}

TEST(CompatNames, ComparesNamesByBytes) {
  const Opened opened("A=Alpha\tB=Beta\tC=Gamma");
  ExpectUnknown(opened, &Opened::Long, "a");
  ExpectUnknown(opened, &Opened::Long, "A ");
  ExpectUnknown(opened, &Opened::Short, "ALPHA");
}

TEST(CompatNames, FileWithoutLongNamesHasNoNames) {
  const Opened opened("");
  ExpectUnknown(opened, &Opened::Long, "A");
  ExpectUnknown(opened, &Opened::Short, "a");
}

TEST(CompatNames, UnsortedTableIsSearchableByLongNameOnly) {
  const Opened opened("B=Beta\tA=Alpha\tC=Gamma");
  ExpectUnknown(opened, &Opened::Long, "B");
  EXPECT_EQ("B", opened.Short("Beta"));
  EXPECT_EQ("A", opened.Short("Alpha"));
}

TEST(CompatNames, ReturnsTheFirstOfSeveralMatches) {
  const Opened opened("A=Alpha\tA=Aleph\tB=Alpha");
  EXPECT_EQ("Alpha", opened.Long("A"));
  EXPECT_EQ("A", opened.Short("Alpha"));
}

TEST(CompatNames, ReturnsNamesThatNoVariableHas) {
  const Opened opened("A=Alpha\tX=Unused");
  EXPECT_EQ("Unused", opened.Long("X"));
  EXPECT_EQ("X", opened.Short("Unused"));
}

TEST(CompatNames, LongNameMayBeEmpty) {
  const Opened opened("A=");
  EXPECT_EQ("", opened.Long("A"));
  EXPECT_EQ("A", opened.Short(""));
}

// The table holds the names of the file; the dictionary holds the repaired names.
TEST(CompatNames, ReturnsNamesOfTheFileNotRepairedNames) {
  const Opened opened("A=a-b\tB=Beta");
  EXPECT_STREQ("v1", opened.source.GetVariable(1).GetName());
  EXPECT_EQ("a-b", opened.Long("A"));
  ExpectUnknown(opened, &Opened::Short, "v1");
}

TEST(CompatNames, ReturnsANameOfFullLength) {
  const std::string name(64, 'x');
  const Opened opened("A=" + name);
  EXPECT_EQ(name, opened.Long("A"));
  EXPECT_EQ("A", opened.Short(name));
}

// A file may hold names of any length, but the caller's buffer has room for one name of the maximum length.
TEST(CompatNames, CutsALongerNameBetweenCharacters) {
  const std::string tooLong(200, 'x');
  EXPECT_EQ(std::string(64, 'x'), Opened("A=" + tooLong).Long("A"));
  EXPECT_EQ(std::string(64, 'x'), Opened(tooLong + "=Alpha").Short("Alpha"));
  EXPECT_EQ(std::string(63, 'x'), Opened("A=" + std::string(63, 'x') + "\xC3\xA4z").Long("A"));
}

// The process takes text as UTF-8 here, the file's names are in another encoding.
TEST(CompatNames, HaveAllTheirBytes) {
  SetUTF8mode(1);
  const std::string name = "\xE4\xC3x\xFF\xC3";
  const Opened opened("A=" + name + "\tB=" + std::string(63, 'x') + "\xC3");
  EXPECT_EQ(name, opened.Long("A"));
  EXPECT_EQ("A", opened.Short(name));
  EXPECT_EQ(std::string(63, 'x') + "\xC3", opened.Long("B"));
  SetUTF8mode(0);
}

}  // namespace
}  // namespace CompatNames_test

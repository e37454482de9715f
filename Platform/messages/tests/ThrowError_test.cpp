#include "Platform/messages/ThrowError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <ostream>
#include <set>
#include <string>

namespace ThrowError_test {
namespace {

// Returns the exception that the call throws.
QuavServerError Thrown(const std::function<void()>& call) {
  try {
    call();
  } catch (const QuavServerError& error) {
    return error;
  }
  ADD_FAILURE() << "nothing was thrown";
  return QuavServerError(0, "", "");
}

std::string TextOf(const char* catalog, int number) {
  return static_cast<const char*>(QuavServerErrorText(catalog, number));
}

// ---- The catalog ----

struct CatalogRow {
  int number;
  const char* text;    // as the catalog has it
  const char* filled;  // with "ARG" in its first place; null when it has no place
};

void PrintTo(const CatalogRow& row, std::ostream* out) { *out << row.number; }

const CatalogRow kRows[] = {
    {1001, "a temporary file cannot be made: check the room and the rights in the temp directory", nullptr},
    {1002, "cases could not be written to the temporary file %s",
     "cases could not be written to the temporary file ARG"},
    {1003, "cases could not be read back from the temporary file %s",
     "cases could not be read back from the temporary file ARG"},
    {1004, "the temp directory %s is left out: it is not there, or no file can be made in it",
     "the temp directory ARG is left out: it is not there, or no file can be made in it"},
    {1201, "the file cannot be opened", nullptr},
    {1202, "a case could not be written: the file is not complete", nullptr},
    {1204, "this is not a system file, or it is damaged", nullptr},
    {1205, "the file ends too soon: it was cut short, or it is damaged", nullptr},
    {1206, "the cases are compressed in a way that cannot be read here", nullptr},
    {1209,
     "the data set is not in a state to be written: its dictionary is committed, it is being read, or its file was "
     "changed since it was opened",
     nullptr},
    {1210, "the file has the byte order of another machine, and no cases can be added to it: convert it first",
     nullptr},
    {1213, "the password is wrong, or the file is not an encrypted one", nullptr},
    {1214, "the file is encrypted: it opens only with its password", nullptr},
    {1215,
     "no key can be made for the encrypted file: no memory can be locked for it (raise the limit of locked memory, "
     "ulimit -l)",
     nullptr},
    {1504, "no short name can be formed for the variable %s: rename it",
     "no short name can be formed for the variable ARG: rename it"},
    {1505, "two variables have the name %s: names must differ by more than case",
     "two variables have the name ARG: names must differ by more than case"},
    {1506, "a system file cannot hold a variable with the name %s: rename it",
     "a system file cannot hold a variable with the name ARG: rename it"},
    {1507, "there is no variable with the name %s", "there is no variable with the name ARG"},
    {1508,
     "a system file cannot hold the attribute %s: its name is not allowed, or a value has a line feed or a NUL byte",
     "a system file cannot hold the attribute ARG: its name is not allowed, or a value has a line feed or a NUL byte"},
    {1509,
     "a system file cannot hold the set %s: its name is not allowed or is that of another set, or its label or value "
     "has a line break",
     "a system file cannot hold the set ARG: its name is not allowed or is that of another set, or its label or value "
     "has a line break"},
    {1510, "a system file cannot hold the variable %s: a missing value has a NUL byte",
     "a system file cannot hold the variable ARG: a missing value has a NUL byte"},
    {1701, "some text could not be converted from %s to UTF-8 without loss",
     "some text could not be converted from ARG to UTF-8 without loss"},
    {1711, "some text could not be converted to %s without loss",
     "some text could not be converted to ARG without loss"},
    {1712, "some text could not be converted to %s without loss: the saved file differs from the data set",
     "some text could not be converted to ARG without loss: the saved file differs from the data set"},
    {1721, "the text of %s is in the encoding %s, which cannot be shown here: it stands unconverted",
     "the text of ARG is in the encoding %s, which cannot be shown here: it stands unconverted"},
    {1722, "some variables had names that are not allowed and were renamed: %s",
     "some variables had names that are not allowed and were renamed: ARG"},
};

class ThrowErrorCatalog : public testing::TestWithParam<CatalogRow> {
 protected:
  void TearDown() override { errno = 0; }

  const int number = GetParam().number;
  const std::string text = GetParam().text;
  const bool hasPlace = GetParam().filled != nullptr;
  // The text with "ARG" in its place, and the file of the error.
  const std::string filled = hasPlace ? GetParam().filled : text;
  const std::string file = hasPlace ? "" : "ARG";
};

TEST_P(ThrowErrorCatalog, HasTheText) { EXPECT_EQ(TextOf(kDatasrcCatalog, number), text); }

TEST_P(ThrowErrorCatalog, SimpleThrowsTheUnchangedText) {
  const QuavServerError error = Thrown([this] { ThrowError::Simple(kDatasrcCatalog, number); });
  EXPECT_EQ(error.Number(), number);
  EXPECT_EQ(error.Text(), text);
  EXPECT_EQ(error.File(), "");
  EXPECT_EQ(error.what(), text);
}

TEST_P(ThrowErrorCatalog, String1FillsThePlaceOrSetsTheFile) {
  const QuavServerError error = Thrown([this] { ThrowError::String1(kDatasrcCatalog, number, "ARG"); });
  EXPECT_EQ(error.Number(), number);
  EXPECT_EQ(error.Text(), filled);
  EXPECT_EQ(error.File(), file);
  EXPECT_EQ(error.what(), hasPlace ? filled : text + ": ARG");
}

TEST_P(ThrowErrorCatalog, String2FillsThePlaceAndSetsTheFile) {
  const QuavServerError error = Thrown([this] { ThrowError::String2(kDatasrcCatalog, number, "ARG", "name.sav"); });
  EXPECT_EQ(error.Number(), number);
  EXPECT_EQ(error.Text(), filled);
  EXPECT_EQ(error.File(), "name.sav");
  EXPECT_EQ(error.what(), filled + ": name.sav");
}

TEST_P(ThrowErrorCatalog, StringSysAppendsTheSystemReason) {
  const QuavServerError error = Thrown([this] {
    errno = ENOENT;
    ThrowError::StringSys(kDatasrcCatalog, number, "ARG");
  });
  EXPECT_EQ(error.Number(), number);
  EXPECT_EQ(error.Text(), filled + " (No such file or directory)");
  EXPECT_EQ(error.File(), file);
}

TEST_P(ThrowErrorCatalog, StringSysOmitsTheReasonWhenErrnoIsZero) {
  const QuavServerError error = Thrown([this] {
    errno = 0;
    ThrowError::StringSys(kDatasrcCatalog, number, "ARG");
  });
  EXPECT_EQ(error.Text(), filled);
  EXPECT_EQ(error.File(), file);
}

INSTANTIATE_TEST_SUITE_P(Numbers, ThrowErrorCatalog, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::to_string(row.param.number); });

TEST(ThrowError, CatalogHasExactlyTheNumbersOfTheTable) {
  std::set<int> known;
  for (int number = 0; number < 10000; ++number) {
    if (TextOf(kDatasrcCatalog, number).find("the catalog has no text for it") == std::string::npos) {
      known.insert(number);
    }
  }
  std::set<int> told;
  for (const CatalogRow& row : kRows) told.insert(row.number);
  EXPECT_EQ(known, told);
}

// ---- Unknown numbers and catalogs ----

TEST(ThrowError, UnknownNumberGivesAPlaceholderText) {
  const QuavServerError error = Thrown([] { ThrowError::Simple(kDatasrcCatalog, 9999); });
  EXPECT_EQ(error.Number(), 9999);
  EXPECT_EQ(error.Text(), "message 9999 (the catalog has no text for it)");
}

TEST(ThrowError, UnknownCatalogGivesAPlaceholderText) {
  const QuavServerError error = Thrown([] { ThrowError::String1("other.err", 1204, "name.sav"); });
  EXPECT_EQ(error.Number(), 1204);
  EXPECT_EQ(error.Text(), "message 1204 (the catalog has no text for it)");
  EXPECT_EQ(error.File(), "name.sav");
}

TEST(QuavServerErrorText, UnknownNumberOrCatalogGivesAPlaceholderText) {
  EXPECT_EQ(TextOf(kDatasrcCatalog, -1), "message -1 (the catalog has no text for it)");
  EXPECT_EQ(TextOf("other.err", 1204), "message 1204 (the catalog has no text for it)");
}

// ---- Places ----

TEST(FilePlace, IsUnknownAtFirst) {
  EXPECT_FALSE(FilePlace().IsKnown());
  EXPECT_EQ(FilePlace().Text(), "");
  EXPECT_FALSE(QuavServerError(1204, "text", "file").Place().IsKnown());
}

TEST(FilePlace, NamesTheRecordAndItsByte) {
  EXPECT_EQ((FilePlace{.offset = 0}.Text()), "byte 0");
  EXPECT_EQ((FilePlace{.offset = 208, .record = 3}.Text()), "record 3, byte 208");
  EXPECT_EQ((FilePlace{.offset = 1234, .record = 7, .subtype = 13}.Text()), "record 7/13, byte 1234");
  EXPECT_EQ((FilePlace{.offset = 5'000'000'000, .record = 7, .subtype = 0}.Text()), "record 7/0, byte 5000000000");
}

TEST(QuavServerError, KeepsItsPlaceOutOfItsText) {
  QuavServerError error(1204, "text", "file");
  error.SetPlace({.offset = 208, .record = 3});
  EXPECT_EQ(error.Place().Text(), "record 3, byte 208");
  EXPECT_STREQ(error.what(), "text: file");
}

// ---- Arguments ----

TEST(ThrowError, ArgumentMayLookLikeAPlace) {
  const QuavServerError error = Thrown([] { ThrowError::String1(kDatasrcCatalog, 1507, "%s%s"); });
  EXPECT_EQ(error.Text(), "there is no variable with the name %s%s");
}

TEST(ThrowError, ArgumentMayBeEmpty) {
  const QuavServerError error = Thrown([] { ThrowError::String1(kDatasrcCatalog, 1204, ""); });
  EXPECT_EQ(error.File(), "");
  EXPECT_STREQ(error.what(), "this is not a system file, or it is damaged");
}

TEST(ThrowError, ThrowsARuntimeError) { EXPECT_THROW(ThrowError::Simple(kDatasrcCatalog, 1204), std::runtime_error); }

}  // namespace
}  // namespace ThrowError_test

#include "datasrc/SystemFileVerification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "Platform/text/QUAVMB.h"
#include "tests/support/Seeds.h"
#include "tests/support/SystemFileBuilder.h"
#include "tests/support/TempFile.h"

namespace SystemFileVerification_test {
namespace {

using testing::HasSubstr;

// Takes the cases as an append or a conversion would.
class Cases : public VerificationVisitor {
 public:
  bool Dictionary(SystemFileDataSource& dictionary, const std::string& loss) override {
    m_cells = dictionary.GetObsAreaSize();
    m_loss = loss;
    return true;
  }
  void Case(const OBS* cells) override { m_cases.emplace_back(cells, cells + m_cells); }

  const std::vector<std::vector<OBS>>& All() const { return m_cases; }
  const std::string& Loss() const { return m_loss; }

 private:
  unsigned long m_cells = 0;
  std::string m_loss;
  std::vector<std::vector<OBS>> m_cases;
};

VerifiedFile Verified(const std::string& bytes) {
  const TempFile file(bytes);
  VerificationVisitor visitor;
  return VerifySystemFile(ExtNameStr(file.Name()), {}, 1, visitor);
}

std::string Sample(const std::string& name) {
  std::ifstream file(std::string(SAMPLES_DIR) + "/" + name, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Numbers(std::int32_t compression, int cases, std::endian order = std::endian::native) {
  SystemFileBuilder file(order);
  file.Header({.nominalCaseSize = 2, .compression = compression, .cases = cases}).Number("A").Number("B").End();
  std::vector<FileCase> rows;
  for (int row = 0; row < cases; ++row) rows.push_back({row + 0.5, static_cast<double>(row)});
  compression == 0 ? file.Cases(rows) : file.CodedCases(rows);
  return file.Bytes();
}

TEST(SystemFileVerification, SoundFileHasItsCasesAndNoFaults) {
  for (const std::int32_t compression : {0, 1}) {
    for (const std::endian order : {std::endian::little, std::endian::big}) {
      const VerifiedFile found = Verified(Numbers(compression, 100, order));
      EXPECT_EQ(VerifiedFile::systemFile, found.kind);
      EXPECT_EQ(100, found.cases);
      EXPECT_EQ(100, found.declaredCases);
      EXPECT_EQ(100, found.readableCases);
      EXPECT_TRUE(found.faults.empty());
      EXPECT_TRUE(found.warnings.empty());
      EXPECT_TRUE(found.missing.empty());
    }
  }
}

TEST(SystemFileVerification, TakenCasesAreInThisByteOrder) {
  for (const std::int32_t compression : {0, 1}) {
    for (const std::endian order : {std::endian::little, std::endian::big}) {
      const TempFile file(Numbers(compression, 9, order));
      Cases cases;
      VerifySystemFile(ExtNameStr(file.Name()), {}, 1, cases);
      ASSERT_EQ(9u, cases.All().size());
      EXPECT_EQ(8.5, CellNumber(cases.All()[8][0]));
      EXPECT_EQ(8.0, CellNumber(cases.All()[8][1]));
    }
  }
}

// A case of coded cells may end where its file is cut, so the number of whole cases is checked from the other side.
TEST(SystemFileVerification, TruncationAtAnyByteIsFound) {
  for (const char* name : {"survey.quav", "metadata.quav", "very_long_strings.quav", "cp1252.quav"}) {
    const std::string whole = Sample(name);
    const long long all = Verified(whole).readableCases;
    long long last = 0;
    for (std::size_t size = 0; size < whole.size(); size += kPlaceStep) {
      const VerifiedFile found = Verified(whole.substr(0, size));
      ASSERT_FALSE(found.faults.empty()) << name << " cut at " << size;
      ASSERT_LE(last, found.readableCases) << name << " cut at " << size;
      last = found.readableCases;
      for (const FileFinding& fault : found.faults) {
        ASSERT_TRUE(fault.place.IsKnown()) << name << " cut at " << size << ": " << fault.text;
        ASSERT_LE(fault.place.offset, static_cast<long long>(size)) << name << ": " << fault.text;
      }
    }
    EXPECT_LE(last, all) << name;
  }
}

TEST(SystemFileVerification, NoFlippedBitEndsTheProcess) {
  std::vector<std::string> samples;
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_DIR))
    if (entry.path().extension() == ".quav" && entry.file_size() < 100'000) samples.push_back(entry.path().filename());
  std::ranges::sort(samples);
  for (unsigned seed = 1; seed <= 400; ++seed) {
    std::mt19937 random(seed);
    std::string bytes = Sample(samples[random() % samples.size()]);
    const std::size_t bit = random() % (bytes.size() * 8);
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
    SCOPED_TRACE("seed " + std::to_string(seed));
    const VerifiedFile found = Verified(bytes);
    EXPECT_LE(found.readableCases, found.cases);
  }
}

TEST(SystemFileVerification, FaultsOfSeveralRecordsAreAllFound) {
  SystemFileBuilder file;
  file.Header({.nominalCaseSize = 1, .cases = 1}).Number("A");
  const auto third = static_cast<long long>(file.Size());
  file.Extension(3, 4, 7, std::string(28, '\0'));
  const auto sixteenth = static_cast<long long>(file.Size());
  file.Extension(16, 8, 3, std::string(24, '\0')).End().Cases({{1.0}});
  const VerifiedFile found = Verified(file.Bytes());
  ASSERT_EQ(2u, found.faults.size());
  EXPECT_EQ(third, found.faults[0].place.offset);
  EXPECT_EQ(3, found.faults[0].place.subtype);
  EXPECT_EQ(1204, found.faults[0].number);
  EXPECT_EQ(sixteenth, found.faults[1].place.offset);
  EXPECT_EQ(1, found.readableCases);
}

TEST(SystemFileVerification, UnknownCompressionIsError1206AtItsByte) {
  const VerifiedFile found = Verified(Numbers(3, 0));
  ASSERT_EQ(1u, found.faults.size());
  EXPECT_EQ(1206, found.faults[0].number);
  EXPECT_EQ(72, found.faults[0].place.offset);
}

TEST(SystemFileVerification, FlawsThatReadersPassOverAreWarnings) {
  SystemFileBuilder file;
  file.Header({.nominalCaseSize = 5, .weightIndex = 9, .cases = 0, .bias = 7.0, .date = "xx yyy zz"}).Number("A").End();
  const VerifiedFile found = Verified(file.Bytes());
  EXPECT_TRUE(found.faults.empty());
  std::vector<long long> places;
  for (const FileFinding& warning : found.warnings) places.push_back(warning.place.offset);
  EXPECT_EQ((std::vector<long long>{68, 76, 84, 92}), places);
}

TEST(SystemFileVerification, DeclaredNumberThatDiffersIsAFault) {
  std::string bytes = Numbers(0, 4);
  SystemFileBuilder five;
  five.I32(5);
  bytes.replace(80, 4, five.Bytes());
  const VerifiedFile found = Verified(bytes);
  ASSERT_EQ(1u, found.faults.size());
  EXPECT_EQ(80, found.faults[0].place.offset);
  EXPECT_THAT(found.faults[0].text, HasSubstr("5 cases, but 4"));
}

TEST(SystemFileVerification, CutCaseIsMissing) {
  const std::string bytes = Numbers(0, 4);
  const VerifiedFile found = Verified(bytes.substr(0, bytes.size() - 17));
  EXPECT_EQ(2, found.readableCases);
  ASSERT_EQ(1u, found.missing.size());
  EXPECT_EQ(2, found.missing[0].from);
  EXPECT_EQ(4, found.missing[0].to);
  EXPECT_FALSE(found.missing[0].isWithin);
  ASSERT_EQ(2u, found.faults.size());
  EXPECT_EQ(static_cast<long long>(bytes.size()) - 32, found.faults[1].place.offset);
  EXPECT_EQ(2, found.faults[1].row);
}

TEST(SystemFileVerification, DocumentsThatWouldEndTheProcessAreLeftOut) {
  const TempFile file(Sample("fatal/document_date.quav"));
  Cases cases;
  const VerifiedFile found = VerifySystemFile(ExtNameStr(file.Name()), {}, 1, cases);
  EXPECT_EQ(1u, found.faults.size());
  EXPECT_EQ("the documents", cases.Loss());
  EXPECT_EQ(3u, cases.All().size());
}

TEST(SystemFileVerification, BytesThatAreNoTextInAVeryLongStringAreAWarning) {
  const VerifiedFile found = Verified(Sample("found/convert_loses_text.quav"));
  EXPECT_TRUE(found.faults.empty());
  ASSERT_EQ(1u, found.warnings.size());
  EXPECT_EQ(1701, found.warnings[0].number);
  EXPECT_EQ(0, found.warnings[0].row);
  EXPECT_TRUE(Verified(Sample("very_long_strings.quav")).warnings.empty());
}

TEST(SystemFileVerification, MissingFileIsError1201) {
  VerificationVisitor visitor;
  try {
    VerifySystemFile(ExtNameStr("/no/such/file"), {}, 1, visitor);
    FAIL();
  } catch (const QuavServerError& error) {
    EXPECT_EQ(1201, error.Number());
  }
}

TEST(SystemFileVerification, EncryptedFileNeedsItsPassword) {
  const VerifiedFile found = Verified(std::string("\x1c\0\0\0\0\0\0\0ENCRYPTEDSAV", 20));
  EXPECT_EQ(VerifiedFile::encrypted, found.kind);
  ASSERT_EQ(1u, found.faults.size());
  EXPECT_EQ(1214, found.faults[0].number);
}

}  // namespace
}  // namespace SystemFileVerification_test

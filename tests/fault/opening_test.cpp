// Opens files with a stream that fails, transfers less or ends at its n-th operation. n counts up until the opening
// succeeds. Also opens files that are cut at every byte.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Platform/stream/FileCalls.h"
#include "Platform/text/tests/Restore.h"
#include "datasrc/UTF8DataSource.h"
#include "tests/support/Reading.h"
#include "tests/support/RowName.h"

namespace opening_test {
namespace {

std::string SampleDictionary(std::endian order) {
  return SystemFileBuilder(order)
      .Header({.weightIndex = 1, .cases = 0, .label = "A file"})
      .Variable({.name = "NUM", .label = "a label", .missingCount = -3, .missing = {1.0, 2.0, 9.0}})
      .String("TEXT", 20)
      .Variable({.name = "S", .type = 8, .label = "of text", .missingCount = 2, .missing = {"one", "other"}})
      .Labels({{1.0, "one"}, {2.5, "another label"}}, {1})
      .Labels({{"x", "text"}, {"abcdefgh", ""}}, {5})
      .Documents({"first line", "second line"})
      .Extension(99, 4, 3, "abcdefghijkl")
      .Extension(150, 1, 5, "12345")
      .End()
      .Bytes();
}

void ExpectSameDictionary(const ReadDictionary& truth, const SystemFileDataSource& source,
                          const SystemFileOptions& options) {
  ASSERT_EQ(truth.source.ColumnCount(), source.ColumnCount());
  for (int column = 0; column < static_cast<int>(source.ColumnCount()); ++column)
    EXPECT_TRUE(truth.source.GetVariable(column) == source.GetVariable(column)) << column;
  EXPECT_STREQ(truth.source.GetLabel(), source.GetLabel());
  EXPECT_EQ(truth.source.GetWeightVarIndex(), source.GetWeightVarIndex());
  for (const int type : {0, 99, 150})
    EXPECT_EQ(QUAV_DataSource::Extension(truth.source, type).Elements(),
              QUAV_DataSource::Extension(source, type).Elements())
        << type;
  EXPECT_EQ(truth.options.extensionsFound, options.extensionsFound);
  EXPECT_EQ(truth.options.layout.NominalCaseSize(), options.layout.NominalCaseSize());
}

struct FaultKind {
  const char* name;
  FaultyStream::Fault fault;
  bool system;  // true: the stream is not good
};

class DictionaryReaderFaults : public testing::TestWithParam<FaultKind> {};
INSTANTIATE_TEST_SUITE_P(Faults, DictionaryReaderFaults,
                         testing::Values(FaultKind{"Fails", FaultyStream::kFails, true},
                                         FaultKind{"FailsOnce", FaultyStream::kFailsOnce, true},
                                         FaultKind{"Shortens", FaultyStream::kShortens, false},
                                         FaultKind{"Stops", FaultyStream::kStops, false}),
                         kRowName);

TEST_P(DictionaryReaderFaults, ReadsEverythingOrThrows1205) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const std::string bytes = SampleDictionary(order);
    const ReadDictionary truth(bytes);
    int n = 1;
    for (bool struck = true; struck; ++n) {
      SCOPED_TRACE("operation " + std::to_string(n));
      FaultyStream stream(bytes, GetParam().fault, n);
      SystemFileDataSource source;
      SystemFileOptions options;
      try {
        TestMagic(stream);
        ReadSystemFileDictionary(source, options, stream);
        ExpectSameDictionary(truth, source, options);
      } catch (const SystemFileException& fault) {
        EXPECT_EQ(1205, fault.Number()) << fault.Expression();
        EXPECT_EQ(GetParam().system, fault.System()) << fault.Expression();
        if (GetParam().system) {
          EXPECT_EQ(EIO, fault.Errno());
        }
        EXPECT_TRUE(stream.Struck());
      }
      struck = stream.Struck();
    }
    EXPECT_LT(20, n);
  }
}

// ---- Failing system calls ----

// Replaces the system calls: the n-th call of one kind fails.
class FaultyCalls {
 public:
  enum Call { kOpen, kRead, kStatus };

  FaultyCalls(Call call, int n) : m_before(PresentFileCalls()) {
    s_real = m_before;
    s_call = call;
    s_left = n;
    FileCalls& calls = PresentFileCalls();
    calls.open = [](const char* name, int flags, mode_t permissions) {
      return Strikes(kOpen) ? -1 : s_real.open(name, flags, permissions);
    };
    calls.pread = [](int descriptor, void* buffer, std::size_t size, off_t offset) -> ssize_t {
      return Strikes(kRead) ? -1 : s_real.pread(descriptor, buffer, size, offset);
    };
    calls.fstat = [](int descriptor, struct stat* status) {
      return Strikes(kStatus) ? -1 : s_real.fstat(descriptor, status);
    };
  }
  ~FaultyCalls() { PresentFileCalls() = m_before; }

  bool Struck() const { return s_left <= 0; }

 private:
  static bool Strikes(Call call) {
    if (call != s_call || --s_left != 0) return false;
    errno = EIO;
    return true;
  }

  inline static FileCalls s_real;
  inline static Call s_call;
  inline static int s_left;
  FileCalls m_before;
};

struct FaultyCall {
  const char* name;
  FaultyCalls::Call call;
};

class SystemFileDataSourceFaults : public testing::TestWithParam<FaultyCall> {};
INSTANTIATE_TEST_SUITE_P(Calls, SystemFileDataSourceFaults,
                         testing::Values(FaultyCall{"Open", FaultyCalls::kOpen}, FaultyCall{"Read", FaultyCalls::kRead},
                                         FaultyCall{"Status", FaultyCalls::kStatus}),
                         kRowName);

TEST_P(SystemFileDataSourceFaults, OpensOrReportsTheSystemError) {
  const std::string bytes = SampleDictionary(std::endian::native);
  const TempFile file(bytes);
  const ReadDictionary truth(bytes);
  bool reported = false;
  for (int n = 1;; ++n) {
    SCOPED_TRACE("call " + std::to_string(n));
    const FaultyCalls calls(GetParam().call, n);
    const auto error = ErrorOf([&] {
      const SystemFileDataSource source(file.Name(), "", false);
      EXPECT_EQ(truth.source.ColumnCount(), source.ColumnCount());
      EXPECT_EQ(QUAV_DataSource::Extension(truth.source, 0).Elements(),
                QUAV_DataSource::Extension(source, 0).Elements());
    });
    if (error) {
      reported = true;
      EXPECT_THAT(error->Number(), testing::AnyOf(1201, 1205));
      EXPECT_EQ(file.Name(), error->File());
      EXPECT_THAT(error->Text(), testing::HasSubstr(std::strerror(EIO)));
    }
    if (!calls.Struck()) break;
  }
  EXPECT_TRUE(reported);
}

TEST_P(SystemFileDataSourceFaults, GetSystemFileRestoresTheEncodingOfTheProcess) {
  const RestoreEncoding restore;
  SetUTF8mode(1);
  QUAVMBConverterSet_A("ISO-8859-2");
  SystemFileBuilder parameters;
  for (const int number : {25, 0, 1, 720, 1, 1, 2, 1252}) parameters.I32(number);
  const TempFile file(
      SystemFileBuilder().Header({.cases = 0}).Number("A").Extension(3, 4, 8, parameters.Bytes()).End().Bytes());
  int faults = 0;
  for (int n = 1;; ++n) {
    SCOPED_TRACE("call " + std::to_string(n));
    const FaultyCalls calls(GetParam().call, n);
    const auto error = ErrorOf([&] {
      const std::unique_ptr<QUAV_DataSource, LineDeleter> source(
          SystemFileDataSource::GetSystemFile(file.Name(), "", false, nullptr));
      EXPECT_NE(nullptr, dynamic_cast<const UTF8DataSource*>(source.get()));
    });
    if (error) ++faults;
    char name[kCodePageNameSize];
    EXPECT_STREQ("ISO-8859-2", QUAVMBConverterName_A(0, name));
    EXPECT_EQ(1, qUTF8mode());
    EXPECT_FALSE(error && SystemFileDataSource::IsOpen(file.Name().c_str()));
    if (!calls.Struck()) break;
  }
  // The function opens the file twice.
  EXPECT_LE(2, faults);
}

// ---- Files cut at every byte ----

std::string Sample(const std::string& name) {
  std::ifstream file(std::string(SAMPLES_DIR) + "/" + name + ".quav", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class TruncatedSample : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Samples, TruncatedSample,
                         testing::Values("mixed_little_bytecode", "mixed_little_none", "mixed_big_bytecode",
                                         "mixed_big_none"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(TruncatedSample, ThrowsOrHasFewerCases) {
  const std::string whole = Sample(GetParam());
  ASSERT_LT(1000u, whole.size());
  const TempFile file(whole);
  const auto truth = AllCells(SystemFileDataSource(file.Name(), "", false));
  ASSERT_EQ(5u, truth.size());

  for (std::size_t size = 0; size <= whole.size(); ++size) {
    SCOPED_TRACE(std::to_string(size) + " bytes");
    file.SetBytes(whole.substr(0, size));
    std::vector<std::vector<OBS>> cells;
    bool opened = false;
    const auto error = ErrorOf([&] {
      const SystemFileDataSource source(file.Name(), "", false);
      opened = true;
      const std::unique_ptr<QUAV_InputCaseIterator> iterator(source.MakeIterator(nullptr));
      while (iterator->Next()) cells.push_back(PresentCells(*iterator));
      EXPECT_EQ(static_cast<long long>(cells.size()), source.RowCount());
    });
    if (error) {
      // A continuation of a string that is cut in its type may look like an unknown type.
      if (opened) {
        EXPECT_EQ(1205, error->Number());
      } else {
        EXPECT_THAT(error->Number(), testing::AnyOf(1204, 1205));
      }
      EXPECT_EQ(file.Name(), error->File());
    } else {
      EXPECT_TRUE(opened) << "neither opened nor an error";
    }
    ASSERT_LE(cells.size(), truth.size());
    EXPECT_TRUE(std::equal(cells.begin(), cells.end(), truth.begin()));
    if (size == whole.size()) {
      EXPECT_FALSE(error);
      EXPECT_EQ(truth, cells);
    }
  }
}

// The samples whose damage no handler of an extension record detects.
struct Damaged {
  const char* name;
  int number;
};

class DamagedSample : public testing::TestWithParam<Damaged> {};
INSTANTIATE_TEST_SUITE_P(Samples, DamagedSample,
                         testing::Values(Damaged{"empty", 1205}, Damaged{"short_magic", 1205},
                                         Damaged{"wrong_magic", 1204}, Damaged{"text_file", 1204},
                                         Damaged{"encrypted_magic", 1214}, Damaged{"short_header", 1205},
                                         Damaged{"header_only", 1205}, Damaged{"record_type_cut", 1205},
                                         Damaged{"unknown_record_type", 1204}, Damaged{"lone_index_record", 1204},
                                         Damaged{"no_end", 1205}, Damaged{"end_filler_cut", 1205},
                                         Damaged{"labels_cut", 1205}, Damaged{"labels_without_index", 1204},
                                         Damaged{"labels_no_variables", 1204}, Damaged{"extension_cut", 1205}),
                         kRowName);

TEST_P(DamagedSample, IsReportedOnOpening) {
  const std::string name = std::string(SAMPLES_DIR) + "/bad/" + GetParam().name + ".quav";
  const auto error = ErrorOf([&] { SystemFileDataSource(name, "", false); });
  ASSERT_TRUE(error);
  EXPECT_EQ(GetParam().number, error->Number());
  EXPECT_EQ(name, error->File());
}

TEST(DamagedSample, IsAcceptedWhenOnlyTheHeaderIsWrong) {
  for (const char* name : {"weight_index", "bad_date", "nominal_case_size"}) {
    const SystemFileDataSource source(std::string(SAMPLES_DIR) + "/bad/" + name + ".quav", "", false);
    EXPECT_EQ(3u, AllCells(source).size()) << name;
  }
}

TEST(DamagedSample, TruncatedCasesAreReportedWhenRead) {
  for (const char* name : {"case_cut", "group_cut"}) {
    const SystemFileDataSource source(std::string(SAMPLES_DIR) + "/bad/" + name + ".quav", "", false);
    const auto error = ErrorOf([&] { AllCells(source); });
    ASSERT_TRUE(error) << name;
    EXPECT_EQ(1205, error->Number()) << name;
  }
}

}  // namespace
}  // namespace opening_test

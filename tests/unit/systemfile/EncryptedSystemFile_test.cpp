// Encrypted system files through a data source: opening, writing, appending, and the two forms of a password.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Platform/cipher/PasswordCache.h"
#include "Platform/cipher/PasswordCrypt.h"
#include "Platform/stream/tests/LockedMemory.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/SaveFile.h"
#include "datasrc/SystemFileDataSource.h"
#include "tests/support/AnotherUser.h"
#include "tests/support/EncryptedFile.h"
#include "tests/support/Reading.h"
#include "tests/support/SpoolDirectories.h"

namespace EncryptedSystemFile_test {
namespace {

constexpr char kPlain[] = "swordfish";

std::string Mangled(const std::string& plain) {
  ExtNameStr password;
  password.SetU8(plain);
  PasswordCrypt().encrypt(password);
  return password.GetU8();
}

ExtNameStr AsPassword(const std::string& text) {
  ExtNameStr password;
  password.SetU8(text);
  return password;
}

class EncryptedSystemFile : public testing::Test {
 protected:
  static void SetUp(SystemFileDataSource& file, const std::string& name, int level = 1) {
    file.MakeVariable(0, nullptr).SetName("A");
    file.MakeVariable(12, nullptr).SetName("Text");
    file.SetCompressionLevel(level);
    file.SetFileSpec(name.c_str());
  }

  static std::vector<OBS> Row(int number) {
    return CellsOf(FileCase{number + 0.25, "row " + std::to_string(number) + std::string(8, ' ')});
  }

  static void Add(SystemFileDataSource& file, int from, int to) {
    for (int number = from; number < to; ++number) file.AddRow(Row(number).data());
  }

  static std::vector<std::vector<OBS>> Rows(int count) {
    std::vector<std::vector<OBS>> rows;
    for (int number = 0; number < count; ++number) rows.push_back(Row(number));
    return rows;
  }

  void WriteFile(int rows, int level = 1, const std::string& password = kPlain, bool mangled = false) const {
    SystemFileDataSource file;
    SetUp(file, m_onDisk.Name(), level);
    file.SetPassword(AsPassword(password));
    file.SetPasswordMangled(mangled);
    Add(file, 0, rows);
    file.Close();
  }

  std::unique_ptr<SystemFileDataSource> Opened(const std::string& password = kPlain, bool mangled = false) const {
    return std::make_unique<SystemFileDataSource>(m_onDisk.Name(), password, mangled);
  }

  int NumberOfOpening(const std::string& password, bool mangled = false) const {
    const auto error = ErrorOf([&] { Opened(password, mangled); });
    return error ? error->Number() : 0;
  }

  const CheapKeys m_cheapKeys;
  const SpoolDirectories m_spool{1};
  const TempFile m_onDisk{""};
};

// ---- Round trips ----

TEST_F(EncryptedSystemFile, RoundTripsItsCases) {
  for (const int level : {0, 1}) {
    WriteFile(1000, level);
    const auto file = Opened();
    EXPECT_TRUE(file->IsEncrypted());
    EXPECT_EQ(level, file->GetCompressionLevel());
    EXPECT_EQ(1000, file->RowCount());
    EXPECT_EQ(Rows(1000), AllCells(*file));
  }
}

TEST_F(EncryptedSystemFile, DecryptsToTheBytesOfAFileWithoutPassword) {
  WriteFile(10);
  const std::string encrypted = m_onDisk.Bytes();
  WriteFile(10, 1, "");
  std::string plain = m_onDisk.Bytes();
  std::string inside = DecryptedFile(encrypted, kPlain);
  // The header holds the time of writing.
  plain.replace(84 + 8, 9 + 8, std::string(17, ' '));
  inside.replace(84 + 8, 9 + 8, std::string(17, ' '));
  EXPECT_EQ(plain, inside);
}

TEST_F(EncryptedSystemFile, RowCountWithoutRowsIs0) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Name());
  file.SetPassword(AsPassword(kPlain));
  file.CommitDictionary();
  file.Close();
  EXPECT_EQ(0, Opened()->RowCount());
}

TEST_F(EncryptedSystemFile, IteratorsAreIndependent) {
  WriteFile(300);
  const auto file = Opened();
  const std::unique_ptr<QUAV_InputCaseIterator> one(file->MakeIterator(nullptr));
  const std::unique_ptr<QUAV_InputCaseIterator> other(file->MakeIterator(nullptr));
  for (int row = 0; row < 300; ++row) {
    other->Seek(299 - row);
    ASSERT_TRUE(one->Next() && other->Next());
    EXPECT_EQ(Row(row), PresentCells(*one));
    EXPECT_EQ(Row(299 - row), PresentCells(*other));
  }
}

TEST_F(EncryptedSystemFile, ReadsAndAppendsAfterWriting) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Name());
  file.SetPassword(AsPassword(kPlain));
  Add(file, 0, 50);
  EXPECT_EQ(Rows(50), AllCells(file)) << "reading closes the file first";
  Add(file, 50, 60);
  EXPECT_EQ(Rows(60), AllCells(file));
  EXPECT_EQ(Rows(60), AllCells(*Opened()));
}

TEST_F(EncryptedSystemFile, AppendsRows) {
  for (const int level : {0, 1}) {
    WriteFile(100, level);
    for (int from = 100; from < 130; from += 10) {
      const auto file = Opened();
      Add(*file, from, from + 10);
      file->Close();
    }
    const auto file = Opened();
    EXPECT_EQ(130, file->RowCount());
    EXPECT_EQ(Rows(130), AllCells(*file));
  }
}

TEST_F(EncryptedSystemFile, AppendsWithAMangledPassword) {
  for (const int level : {0, 1}) {
    WriteFile(10, level);
    const auto file = Opened(Mangled(kPlain), true);
    Add(*file, 10, 20);
    file->Close();
    EXPECT_EQ(Rows(20), AllCells(*Opened()));
  }
}

TEST_F(EncryptedSystemFile, CopiedDictionaryIsSavedWithoutThePassword) {
  WriteFile(5);
  const auto file = Opened();
  const TempFile other("");
  SystemFileDataSource copy;
  copy.CopyDictionary(*file);
  copy.SetFileSpec(other.Name().c_str());
  Add(copy, 0, 5);
  copy.Close();
  EXPECT_EQ(Rows(5), AllCells(SystemFileDataSource(other.Name(), "", false)));
}

TEST_F(EncryptedSystemFile, DestructorWritesTheFile) {
  {
    SystemFileDataSource file;
    SetUp(file, m_onDisk.Name());
    file.SetPassword(AsPassword(kPlain));
    Add(file, 0, 7);
  }
  EXPECT_EQ(Rows(7), AllCells(*Opened()));
}

TEST_F(EncryptedSystemFile, GetSystemFileOpensItWithAndWithoutUtf8) {
  WriteFile(5);
  for (const int utf8 : {0, 1}) {
    const SystemFileDataSource::TemporaryCodePage codePage("", utf8);
    for (const bool mangled : {false, true}) {
      const std::unique_ptr<QUAV_DataSource, LineDeleter> data(
          SystemFileDataSource::GetSystemFile(m_onDisk.Name(), kPlain, mangled, nullptr));
      EXPECT_EQ(5U, AllCells(*data).size());
    }
  }
}

TEST_F(EncryptedSystemFile, GetSystemFileConvertsTheEncodingWithEitherPasswordForm) {
  SystemFileDataSource file;
  {
    const SystemFileDataSource::TemporaryCodePage codePage("windows-1252", 0);
    file.CharacterEncoding("windows-1252");
    SetUp(file, m_onDisk.Name());
    file.GetVariable(0).SetLabel(
        "Gr\xf6\xdf"
        "e");
    file.SetPassword(AsPassword(kPlain));
    Add(file, 0, 3);
    file.Close();
  }
  const SystemFileDataSource::TemporaryCodePage codePage("", 1);
  for (const std::string& password : {std::string(kPlain), Mangled(kPlain)}) {
    const std::unique_ptr<QUAV_DataSource, LineDeleter> data(
        SystemFileDataSource::GetSystemFile(m_onDisk.Name(), password, password != kPlain, nullptr));
    EXPECT_STREQ("Gr\u00f6\u00dfe", data->GetVariable(0).GetLabel());
    EXPECT_EQ(3U, AllCells(*data).size());
  }
}

// ---- The two forms of a password ----

TEST_F(EncryptedSystemFile, OpensWithEitherPasswordForm) {
  WriteFile(1);
  EXPECT_FALSE(Opened(kPlain, false)->GetPasswordMangled());
  EXPECT_TRUE(Opened(Mangled(kPlain), true)->GetPasswordMangled());
}

TEST_F(EncryptedSystemFile, CorrectsAWrongMangledFlag) {
  WriteFile(1);
  EXPECT_FALSE(Opened(kPlain, true)->GetPasswordMangled());
  EXPECT_TRUE(Opened(Mangled(kPlain), false)->GetPasswordMangled());
  EXPECT_EQ(Mangled(kPlain), Opened(Mangled(kPlain), false)->GetPassword().GetU8());
}

TEST_F(EncryptedSystemFile, WritesWithTheUnmangledPassword) {
  WriteFile(2, 1, Mangled(kPlain), true);
  EXPECT_EQ(Rows(2), AllCells(*Opened(kPlain)));
}

TEST_F(EncryptedSystemFile, WritesWithTheGivenTextWhenTheMangledFlagIsFalse) {
  WriteFile(2, 1, Mangled(kPlain), false);
  EXPECT_EQ(1213, NumberOfOpening(kPlain));
  EXPECT_EQ(0, NumberOfOpening(Mangled(kPlain)));
}

TEST_F(EncryptedSystemFile, WritesWithAPlainPasswordWhenTheMangledFlagIsWrong) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Name());
  file.SetPassword(AsPassword(kPlain));
  file.SetPasswordMangled(true);  // wrong: the password is not mangled, and unmangling it gives nothing
  Add(file, 0, 3);
  file.Close();
  EXPECT_FALSE(file.GetPasswordMangled());
  EXPECT_EQ(Rows(3), AllCells(*Opened()));
}

// ---- Failures ----

TEST_F(EncryptedSystemFile, WrongPasswordThrows1213) {
  WriteFile(1);
  for (const bool mangled : {false, true}) {
    EXPECT_EQ(1213, NumberOfOpening("swordfisH", mangled));
    EXPECT_EQ(1213, NumberOfOpening(Mangled("swordfisH"), mangled));
  }
  const auto error = ErrorOf([&] { Opened("swordfisH"); });
  EXPECT_EQ(m_onDisk.Name(), error->File());
  EXPECT_THAT(error->what(), testing::Not(testing::HasSubstr("swordfisH")));
}

TEST_F(EncryptedSystemFile, PasswordForAPlainFileThrows1213) {
  WriteFile(1, 1, "");
  EXPECT_EQ(1213, NumberOfOpening(kPlain));
}

TEST_F(EncryptedSystemFile, MissingFileThrows1201) {
  const auto error = ErrorOf([&] { SystemFileDataSource(m_onDisk.Name() + ".none", kPlain, false); });
  EXPECT_EQ(1201, error->Number());
  EXPECT_THAT(error->Text(), testing::HasSubstr("No such file"));
}

using EncryptedSystemFileDeathTest = EncryptedSystemFile;

TEST_F(EncryptedSystemFileDeathTest, WrongPasswordForAReadOnlyFileThrows1201) {
  WriteFile(1);
  std::filesystem::permissions(m_onDisk.Name(), std::filesystem::perms::owner_read);
  GiveAway({m_onDisk.Directory(), m_onDisk.Name(), m_spool.Root(), m_spool.Root() + "/0"});
  const auto work = [this] {
    EXPECT_EQ(1201, NumberOfOpening("wrong"));
    EXPECT_EQ(0, NumberOfOpening(kPlain));
  };
  EXPECT_EXIT(WorkAsNobody(work), testing::ExitedWithCode(0), "");
}

TEST_F(EncryptedSystemFile, MissingPasswordThrows1214) {
  WriteFile(1);
  EXPECT_EQ(1214, NumberOfOpening(""));
}

TEST_F(EncryptedSystemFile, CommitThrows1201WhenTheFileCannotBeCreated) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Directory() + "/none/file");
  file.SetPassword(AsPassword(kPlain));
  EXPECT_EQ(1201, ErrorOf([&] { file.CommitDictionary(); })->Number());
  file.SetFileSpec(m_onDisk.Name().c_str());
  Add(file, 0, 1);
  file.Close();
  EXPECT_EQ(Rows(1), AllCells(*Opened()));
}

// The folder exists and is writable, so the error blames the password.
TEST_F(EncryptedSystemFile, CommitToAFolderThrows1213) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Directory());
  file.SetPassword(AsPassword(kPlain));
  EXPECT_EQ(1213, ErrorOf([&] { file.CommitDictionary(); })->Number());
}

TEST_F(EncryptedSystemFile, CanBeWrittenAfterAFailedCommit) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Name());
  file.GetVariable(1).SetName("a");
  file.SetPassword(AsPassword(kPlain));
  EXPECT_EQ(1505, ErrorOf([&] { file.CommitDictionary(); })->Number());
  EXPECT_EQ("", m_onDisk.Bytes());
  file.GetVariable(1).SetName("b");
  Add(file, 0, 1);
  file.Close();
  EXPECT_EQ(Rows(1), AllCells(*Opened()));
}

// The cases are in zlib blocks, which no writer puts into an encrypted file.
TEST_F(EncryptedSystemFile, ReadingAndAppendingZlibCasesThrow1206) {
  m_onDisk.SetBytes(EncryptedFile(
      SystemFileBuilder().Header({.magic = "$FL3", .compression = 2, .cases = 1}).Number("A").End().Bytes(), kPlain));
  const auto file = Opened();
  EXPECT_EQ(1206, ErrorOf([&] { file->MakeIterator(nullptr); })->Number());
  const OBS row = NumberCell(1);
  EXPECT_EQ(1206, ErrorOf([&] { file->AddRow(&row); })->Number());
}

TEST_F(EncryptedSystemFile, ReversedFileIsReadButAppendingThrows1210) {
  m_onDisk.SetBytes(EncryptedFile(
      SystemFileBuilder(kReversedOrder).Header({.cases = 1}).Number("A").End().Case({1.5}).Bytes(), kPlain));
  const auto file = Opened();
  EXPECT_EQ(CellsOf(FileCase{1.5}), AllCells(*file).at(0));
  const OBS row = NumberCell(1);
  EXPECT_EQ(1210, ErrorOf([&] { file->AddRow(&row); })->Number());
}

TEST_F(EncryptedSystemFile, LowersCompressionLevel2To1) {
  SystemFileDataSource file;
  SetUp(file, m_onDisk.Name(), 2);
  EXPECT_EQ(2, file.GetCompressionLevel());
  file.SetPassword(AsPassword(kPlain));
  EXPECT_EQ(1, file.GetCompressionLevel());
  file.SetCompressionLevel(2);
  EXPECT_EQ(1, file.GetCompressionLevel());
  Add(file, 0, 3);
  file.Close();
  EXPECT_EQ(1, Opened()->GetCompressionLevel());
}

// ---- A password that is set after the opening ----

class EncryptedSystemFileAppend : public EncryptedSystemFile {
 protected:
  // Returns the number of the error of an append under the password, and whether the file still is as it was.
  int NumberOfAppend(SystemFileDataSource& file, const std::string& password, bool mangled = false) const {
    const std::string before = m_onDisk.Bytes();
    file.SetPassword(AsPassword(password));
    file.SetPasswordMangled(mangled);
    const auto error = ErrorOf([&] { Add(file, 5, 6); });
    EXPECT_EQ(before, m_onDisk.Bytes());
    return error ? error->Number() : 0;
  }
};

TEST_F(EncryptedSystemFileAppend, IsWrongWhenItIsNotTheFiles) {
  for (const int level : {0, 1}) {
    WriteFile(5, level);
    for (const bool mangled : {false, true}) {
      EXPECT_EQ(1213, NumberOfAppend(*Opened(), "another", mangled));
      EXPECT_EQ(1213, NumberOfAppend(*Opened(), Mangled("another"), mangled));
    }
    EXPECT_EQ(Rows(5), AllCells(*Opened()));
  }
}

TEST_F(EncryptedSystemFileAppend, MayHaveTheOtherForm) {
  for (const int level : {0, 1}) {
    for (const bool mangled : {false, true}) {
      WriteFile(5, level);
      const auto file = Opened();
      EXPECT_EQ(0, NumberOfAppend(*file, Mangled(kPlain), mangled));
      file->Close();
      EXPECT_EQ(Rows(6), AllCells(*Opened()));
    }
  }
}

TEST_F(EncryptedSystemFileAppend, CanBeCorrected) {
  for (const int level : {0, 1}) {
    WriteFile(5, level);
    const auto file = Opened();
    EXPECT_EQ(1213, NumberOfAppend(*file, "another"));
    EXPECT_EQ(0, NumberOfAppend(*file, kPlain));
    file->Close();
    EXPECT_EQ(Rows(6), AllCells(*Opened()));
  }
}

// Rows without encryption would make the whole file unreadable.
TEST_F(EncryptedSystemFileAppend, CannotBeTakenAway) {
  for (const int level : {0, 1}) {
    WriteFile(5, level);
    const auto file = Opened();
    EXPECT_EQ(1214, NumberOfAppend(*file, ""));
    EXPECT_EQ(1214, NumberOfAppend(*file, "")) << "again";
    EXPECT_EQ(Rows(5), AllCells(*Opened()));

    SystemFileDataSource written;
    SetUp(written, m_onDisk.Name(), level);
    written.SetPassword(AsPassword(kPlain));
    Add(written, 0, 5);
    written.Close();
    EXPECT_EQ(1214, NumberOfAppend(written, ""));
    EXPECT_EQ(Rows(5), AllCells(written)) << "reading keeps to the file's own password";
    EXPECT_EQ(Rows(5), AllCells(*Opened()));
  }
}

TEST_F(EncryptedSystemFileAppend, IsWrongForAPlainFile) {
  for (const int level : {0, 1, 2}) {
    WriteFile(5, level, "");
    const auto file = Opened("");
    EXPECT_EQ(1213, NumberOfAppend(*file, kPlain));
    EXPECT_EQ(Rows(5), AllCells(*Opened("")));
  }
}

// ---- Memory that cannot be locked ----

void LockAtMost(rlim_t pages) {
  const rlimit limit{pages * 4096, pages * 4096};
  ASSERT_EQ(0, setrlimit(RLIMIT_MEMLOCK, &limit));
}

// Runs work as a user who may lock so many pages. The keys that the process already has are not counted.
class LockedMemoryDeathTest : public EncryptedSystemFile {
 protected:
  void SetUp() override {
    if (!kMemoryIsLocked) GTEST_SKIP() << "no memory is locked under a sanitizer";
  }

  static constexpr rlim_t kEnough = 4;

  template <class Work>
  void WithPages(rlim_t pages, Work work) const {
    GiveAway({m_onDisk.Directory(), m_onDisk.Name(), m_spool.Root(), m_spool.Root() + "/0"});
    const auto limited = [&] {
      LockAtMost(pages);
      const std::string before = m_onDisk.Bytes();
      const auto error = ErrorOf(work);
      if (pages == 0) {
        EXPECT_TRUE(error);
      }
      if (pages == kEnough) {
        EXPECT_FALSE(error) << error->what();
      }
      if (!error) return;
      EXPECT_EQ(1215, error->Number());
      EXPECT_THAT(error->Text(), testing::Not(testing::HasSubstr("password")));
      EXPECT_EQ(before, m_onDisk.Bytes());
    };
    EXPECT_EXIT(WorkAsNobody(limited), testing::ExitedWithCode(0), "") << pages << " pages";
  }
};

TEST_F(LockedMemoryDeathTest, IsNeededToOpen) {
  WriteFile(5);
  for (rlim_t pages = 0; pages <= kEnough; ++pages) WithPages(pages, [this] { Opened(); });
}

TEST_F(LockedMemoryDeathTest, IsNeededBeforeTheFirstRowOfANewFile) {
  for (const int level : {0, 1}) {
    for (rlim_t pages = 0; pages <= kEnough; ++pages) {
      WriteFile(5, level);
      WithPages(pages, [&] {
        SystemFileDataSource file;
        EncryptedSystemFile::SetUp(file, m_onDisk.Name(), level);
        file.SetPassword(AsPassword(kPlain));
        file.CommitDictionary();
        EXPECT_FALSE(ErrorOf([&] {
          Add(file, 0, 7);
          file.Close();
        }));
        EXPECT_EQ(Rows(7), AllCells(file));
      });
    }
  }
}

TEST_F(LockedMemoryDeathTest, IsNeededBeforeTheFirstRowOfAnAppend) {
  for (const int level : {0, 1}) {
    for (rlim_t pages = 0; pages <= kEnough; ++pages) {
      WriteFile(5, level);
      WithPages(pages, [&] {
        const auto file = Opened();
        Add(*file, 5, 6);
        EXPECT_FALSE(ErrorOf([&] {
          Add(*file, 6, 7);
          file->Close();
        }));
        EXPECT_EQ(Rows(7), AllCells(*file));
      });
    }
  }
}

// ---- The password cache ----

CipherHeader HeaderOf(const std::string& bytes) {
  CipherHeader::Bytes raw;
  std::memcpy(raw.data(), &bytes[kFileWrapperSize], raw.size());
  return ParseCipherHeader(raw).value();
}

TEST_F(EncryptedSystemFile, KeyIsCachedFromCloseUntilTheSourceIsDestroyed) {
  auto file = std::make_unique<SystemFileDataSource>();
  SetUp(*file, m_onDisk.Name());
  file->SetPassword(AsPassword(kPlain));
  Add(*file, 0, 1);
  file->Close();
  const auto isKnown = [&] { return FindFileKey(kPlain, HeaderOf(m_onDisk.Bytes())) != nullptr; };
  EXPECT_TRUE(isKnown());
  file.reset();
  EXPECT_FALSE(isKnown());
}

TEST_F(EncryptedSystemFile, KeyOfAReadFileIsForgottenWithTheSource) {
  WriteFile(1);
  Opened();
  EXPECT_EQ(nullptr, FindFileKey(kPlain, HeaderOf(m_onDisk.Bytes())));
}

}  // namespace
}  // namespace EncryptedSystemFile_test

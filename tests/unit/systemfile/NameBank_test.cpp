#include "systemfile/NameBank.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/Reading.h"

namespace NameBank_test {
namespace {

using Bank = SystemFileDataSource::NameBank;

TEST(NameBank, ContainsInsertedNames) {
  Bank bank;
  EXPECT_FALSE(bank.Contains("a"));
  bank.Insert("a");
  EXPECT_TRUE(bank.Contains("a"));
  EXPECT_FALSE(bank.Contains("A"));
  EXPECT_FALSE(bank.Contains(""));
}

TEST(NameBank, RemovesOneEntryAtATime) {
  Bank bank;
  bank.Insert("a");
  bank.Insert("b");
  bank.Insert("a");
  bank.Remove("a");
  EXPECT_TRUE(bank.Contains("a"));
  bank.Remove("a");
  EXPECT_FALSE(bank.Contains("a"));
  EXPECT_TRUE(bank.Contains("b"));
}

TEST(NameBank, RemovingAnUnknownNameChangesNothing) {
  Bank bank;
  bank.Insert("a");
  bank.Remove("b");
  EXPECT_TRUE(bank.Contains("a"));
}

TEST(NameBank, KeepsACopyOfTheName) {
  Bank bank;
  std::string name = "a";
  bank.Insert(name.c_str());
  name = "b";
  EXPECT_TRUE(bank.Contains("a"));
}

std::string SmallFile() { return SystemFileBuilder().Header().Number("A").End().Bytes(); }

TEST(SystemFileDataSource, IsOpenWhileASourceHasTheFileOpen) {
  const TempFile file(SmallFile());
  EXPECT_FALSE(SystemFileDataSource::IsOpen(file.Name().c_str()));
  {
    const SystemFileDataSource source(file.Name(), "", false);
    EXPECT_TRUE(SystemFileDataSource::IsOpen(file.Name().c_str()));
  }
  EXPECT_FALSE(SystemFileDataSource::IsOpen(file.Name().c_str()));
}

TEST(SystemFileDataSource, IsOpenUntilTheLastSourceIsDestroyed) {
  const TempFile file(SmallFile());
  auto first = std::make_unique<SystemFileDataSource>(file.Name(), "", false);
  auto second = std::make_unique<SystemFileDataSource>(file.Name(), "", false);
  first.reset();
  EXPECT_TRUE(SystemFileDataSource::IsOpen(file.Name().c_str()));
  second.reset();
  EXPECT_FALSE(SystemFileDataSource::IsOpen(file.Name().c_str()));
}

TEST(SystemFileDataSource, IsOpenFindsANonAsciiFileName) {
  const TempFile file(SmallFile(), "\xC3\xA4\xE2\x82\xAC.quav");
  const SystemFileDataSource source(file.Name(), "", false);
  EXPECT_TRUE(SystemFileDataSource::IsOpen(file.Name().c_str()));
}

TEST(SystemFileDataSource, IsOpenStaysTrueWhenASecondOpeningFails) {
  const TempFile file(SmallFile());
  const SystemFileDataSource source(file.Name(), "", false);
  file.SetBytes("no system file at all, but enough bytes");
  EXPECT_THROW(SystemFileDataSource(file.Name(), "", false), QuavServerError);
  EXPECT_TRUE(SystemFileDataSource::IsOpen(file.Name().c_str()));
}

TEST(SystemFileDataSource, IsOpenIsFalseAfterAFailedOpening) {
  const TempFile file("$FL2");
  EXPECT_THROW(SystemFileDataSource(file.Name(), "", false), QuavServerError);
  EXPECT_FALSE(SystemFileDataSource::IsOpen(file.Name().c_str()));
}

TEST(SystemFileDataSource, IsOpenIsFalseForASourceWithoutAFile) {
  { const SystemFileDataSource source; }
  EXPECT_FALSE(SystemFileDataSource::IsOpen(""));
}

}  // namespace
}  // namespace NameBank_test

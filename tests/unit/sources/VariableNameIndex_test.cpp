#include <gtest/gtest.h>

#include <string>

#include "datasrc/VariableNames.h"
#include "tests/support/MemorySource.h"

namespace VariableNameIndex_test {
namespace {

TEST(VariableNameIndex, FindsTheColumnOfEachName) {
  MemorySource source;
  for (const char* name : {"M", "Z", "A", "MM", "@1"}) source.AddNumber(name);
  const VariableNameIndex index(source);
  EXPECT_EQ(0, index.Find("M"));
  EXPECT_EQ(1, index.Find("Z"));
  EXPECT_EQ(2, index.Find("A"));
  EXPECT_EQ(3, index.Find("MM"));
  EXPECT_EQ(4, index.Find("@1"));
}

TEST(VariableNameIndex, ReturnsMinus1ForAnUnknownName) {
  MemorySource source;
  for (const char* name : {"B", "D"}) source.AddNumber(name);
  const VariableNameIndex index(source);
  for (const char* name : {"A", "C", "E", "", "BB", "D "}) EXPECT_EQ(-1, index.Find(name)) << name;
}

TEST(VariableNameIndex, FindsNothingInAnEmptyDictionary) {
  const MemorySource source;
  EXPECT_EQ(-1, VariableNameIndex(source).Find("A"));
}

TEST(VariableNameIndex, FindsOnlyUpperCaseNames) {
  MemorySource source;
  source.AddNumber("Salary");
  const VariableNameIndex index(source);
  EXPECT_EQ(0, index.Find("SALARY"));
  EXPECT_EQ(-1, index.Find("Salary"));
  EXPECT_EQ(-1, index.Find("salary"));
}

TEST(VariableNameIndex, FindsNamesWithHighBytes) {
  MemorySource source;
  for (const char* name : {"\xC3\x84", "Z", "\xE2\x82\xAC", "A"}) source.AddNumber(name);
  const VariableNameIndex index(source);
  EXPECT_EQ(0, index.Find("\xC3\x84"));
  EXPECT_EQ(1, index.Find("Z"));
  EXPECT_EQ(2, index.Find("\xE2\x82\xAC"));
  EXPECT_EQ(3, index.Find("A"));
}

TEST(VariableNameIndex, IsASnapshot) {
  MemorySource source;
  source.AddNumber("A");
  const VariableNameIndex before(source);
  source.AddNumber("B");
  EXPECT_EQ(-1, before.Find("B"));
  EXPECT_EQ(1, VariableNameIndex(source).Find("B"));
}

TEST(VariableNameIndex, AgreesWithTheSearchThroughTheDictionary) {
  MemorySource source;
  for (int i = 0; i < 500; ++i) source.AddNumber(("Name" + std::to_string(i * 7919 % 500)).c_str());
  const VariableNameIndex index(source);
  for (int i = 0; i < 500; ++i) {
    const std::string name = "NAME" + std::to_string(i);
    EXPECT_EQ(source.FindVarIndex(name.c_str(), 0), index.Find(name.c_str())) << name;
  }
}

TEST(VariableNameIndex, FindsTheFirstColumnOfEqualNames) {
  MemorySource source;
  for (const char* name : {"B", "a", "A", "b"}) source.AddNumber(name);
  const VariableNameIndex index(source);
  EXPECT_EQ(1, index.Find("A"));
  EXPECT_EQ(0, index.Find("B"));
}

}  // namespace
}  // namespace VariableNameIndex_test

#include "tools/forms/ShownColumns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "Platform/messages/ThrowError.h"
#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"

namespace ShownColumns_test {
namespace {

using testing::ElementsAre;

class ShownColumns : public testing::Test {
 protected:
  void SetUp() override { SetUTF8mode(1); }

  void MakeVariables(int count) {
    for (int i = 0; i < count; ++i) {
      QUAV_Variable variable(0);
      variable.SetName(("v" + std::to_string(i)).c_str());
      m_source.MakeVariable(variable, nullptr);
    }
  }

  SystemFileDataSource m_source;
};

TEST_F(ShownColumns, AreAllColumnsWithoutNames) {
  MakeVariables(2);
  const tool::ShownColumns shown = tool::ShowColumns(m_source, {});
  EXPECT_EQ(nullptr, shown.projection);
  EXPECT_THAT(shown.indexes, ElementsAre(0, 1));
}

TEST_F(ShownColumns, AreInTheOrderOfTheNames) {
  MakeVariables(3);
  const tool::ShownColumns shown = tool::ShowColumns(m_source, {"v2", "V0", "v2 ", "v0"});
  ASSERT_EQ(2U, shown.projection->ColumnCount());
  EXPECT_STREQ("v2", shown.projection->GetVariable(0).GetName());
  EXPECT_STREQ("v0", shown.projection->GetVariable(1).GetName());
  EXPECT_THAT(shown.indexes, ElementsAre(0, 1, 0, 1));
}

TEST_F(ShownColumns, ThrowForAnUnknownName) {
  MakeVariables(1);
  for (const char* name : {"v1", "", " ", "v"}) EXPECT_THROW(tool::ShowColumns(m_source, {name}), QuavServerError);
}

// A search through all variables for each name takes minutes.
TEST_F(ShownColumns, TakeTimeInProportionToTheNames) {
  constexpr int kVariables = 10'000;
  MakeVariables(kVariables);
  std::vector<std::string> names;
  for (int i = 0; i < 1'000'000; ++i) names.push_back("v" + std::to_string(i % kVariables));
  const auto start = std::chrono::steady_clock::now();
  const tool::ShownColumns shown = tool::ShowColumns(m_source, names);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_EQ(names.size(), shown.indexes.size());
}

}  // namespace
}  // namespace ShownColumns_test

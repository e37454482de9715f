#include "tools/dictionary/FittedDictionary.h"

#include <gtest/gtest.h>

#include "Platform/text/QUAVMB.h"
#include "datasrc/SystemFileDataSource.h"
#include "tools/messages/ToolError.h"

namespace FittedDictionary_test {
namespace {

using tool::FitDictionary;
using tool::Losses;

class FittedDictionary : public testing::Test {
 protected:
  FittedDictionary() {
    SetUTF8mode(1);
    m_source.MakeVariable(0, nullptr);
  }
  ~FittedDictionary() override { SetUTF8mode(0); }

  Losses Fit(const std::string& carried = kUtf8Name) {
    m_fitted.CopyDictionary(m_source);
    return FitDictionary(m_fitted, m_source, {.carried = carried, .file = kUtf8Name}, "out.quav");
  }

  void SetSortIndex(const std::string& key) {
    SortIndexInfo info;
    info.SetIndexKeys({{0, 1, 8}});
    info.SetIndex({{key, 1}});
    m_source.SetSortIndexInfo(info);
  }

  SystemFileDataSource m_source;
  SystemFileDataSource m_fitted;
};

TEST_F(FittedDictionary, RefusesASortIndexThatReadsBackAsOtherPairs) {
  for (const char* const key : {"a\x1d", "\x1d", "a\x1f", "\x1f",
                                "a\x1d"
                                "b\x1f"
                                "1"}) {
    SetSortIndex(key);
    EXPECT_THROW(Fit(), tool::ToolError) << key;
  }
  for (const char* const key : {"a\x1c", "a\x1e", "a"}) {
    SetSortIndex(key);
    EXPECT_TRUE(Fit().IsEmpty()) << key;
  }
}

TEST_F(FittedDictionary, VariablesThatShareALabelMapShareTheCutOne) {
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, std::string(256, 'x'));
  m_source.MakeVariable(0, nullptr);
  for (const int column : {0, 1}) m_source.GetVariable(column).SetValueLabels(map);
  EXPECT_EQ(1, Fit().Count("value labels that were cut to 255 bytes"));
  const SystemFileDataSource& fitted = m_fitted;
  EXPECT_TRUE(fitted.GetVariable(0).GetValueLabels() == fitted.GetVariable(1).GetValueLabels());
  EXPECT_EQ(std::string(255, 'x'), fitted.GetVariable(0).GetValueLabels()->Pairs().front().label);
}

TEST_F(FittedDictionary, LeavesWhatFits) {
  m_source.SetLabel(std::string(64, 'x').c_str());
  QUAV_ValueLabelMap map(0);
  map.AddPair(1.0, std::string(255, 'x'));
  m_source.GetVariable(0).SetValueLabels(map);
  DatasourceAttributes attributes;
  attributes.Define(std::string(64, 'x'), {"v"});
  m_source.SetAttributes(attributes);
  EXPECT_TRUE(Fit("windows-1252").IsEmpty());
  EXPECT_EQ(std::string(64, 'x'), m_fitted.GetLabel());
  EXPECT_EQ(attributes, m_fitted.GetAttributes());
}

TEST_F(FittedDictionary, TextOfAnUnknownEncodingStaysAsItIs) {
  DataEditorFormattingInfo info;
  info.SetInfo("\xe4\xff");
  m_source.SetDEFormattingInfo(info);
  EXPECT_TRUE(Fit("no such encoding").IsEmpty());
  EXPECT_EQ("\xe4\xff", m_fitted.GetDEFormattingInfo().GetInfo());
}

}  // namespace
}  // namespace FittedDictionary_test

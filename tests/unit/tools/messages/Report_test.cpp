#include "tools/messages/Report.h"

#include <gtest/gtest.h>

#include <string>

namespace Report_test {
namespace {

using tool::ReportedMessage;

class Report : public testing::Test {
 protected:
  ~Report() override { tool::PresentReportSettings() = {}; }

  template <class Work>
  static std::string Printed(const Work& work) {
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
  }
  static ReportedMessage InARecord() { return {1204, "it is damaged", "a.quav", {12, 7, 13}}; }
};

TEST_F(Report, ErrorForPeopleHasNumberFileAndPlace) {
  EXPECT_EQ("datasrc: error 1204: it is damaged: a.quav (record 7/13, byte 12)\n",
            Printed([] { ReportError(InARecord()); }));
  EXPECT_EQ("datasrc: error: no room\n", Printed([] { tool::ReportError({.text = "no room"}); }));
}

TEST_F(Report, ErrorForScriptsIsAnObjectOnOneLine) {
  tool::PresentReportSettings().isJson = true;
  EXPECT_EQ(
      "{\"level\": \"error\", \"number\": 1204, \"text\": \"it is damaged\", \"file\": \"a.quav\", \"place\": "
      "{\"byte\": "
      "12, \"record\": 7, \"subtype\": 13}}\n",
      Printed([] { ReportError(InARecord()); }));
  EXPECT_EQ("{\"level\": \"warning\", \"number\": null, \"text\": \"a\\nb\", \"file\": null, \"place\": null}\n",
            Printed([] { tool::ReportWarning({.text = "a\nb"}); }));
  EXPECT_EQ(
      "{\"level\": \"error\", \"number\": 1, \"text\": \"\", \"file\": null, \"place\": {\"byte\": 0, \"record\": "
      "null, "
      "\"subtype\": null}}\n",
      Printed([] { tool::ReportError({.number = 1, .text = "", .place = {.offset = 0}}); }));
  EXPECT_EQ("{\"level\": \"error\", \"number\": null, \"text\": \"\", \"file\": null, \"place\": {\"line\": 12}}\n",
            Printed([] { tool::ReportError({.text = "", .line = 12}); }));
}

TEST_F(Report, StandardInputHasItsName) {
  EXPECT_EQ("datasrc: error: a text: standard input\n",
            Printed([] { tool::ReportError({.text = "a text", .file = "/dev/stdin"}); }));
}

TEST_F(Report, QuietWarningsAreCountedAndNotPrinted) {
  EXPECT_FALSE(tool::AreWarningsFailures());
  tool::PresentReportSettings() = {.isQuiet = true, .isStrict = true};
  EXPECT_EQ("", Printed([] { tool::ReportWarning("a text", "a file"); }));
  EXPECT_TRUE(tool::AreWarningsFailures());
  EXPECT_THROW(tool::RefuseWarnings(), tool::ToolError);
  EXPECT_EQ("datasrc: error: no room\n", Printed([] { tool::ReportError({.text = "no room"}); }));
}

}  // namespace
}  // namespace Report_test

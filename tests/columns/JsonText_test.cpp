#include "Columns/text/JsonText.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

namespace JsonText_test {
namespace {

using Json = nlohmann::ordered_json;

std::string StringText(std::string_view text) {
  std::string out;
  dstext::AppendJsonString(out, text);
  return out;
}

std::string TreeText(const Json& tree) {
  std::string out;
  dstext::AppendJson(out, tree);
  return out;
}

TEST(JsonText, QuotesAString) { EXPECT_EQ("\"plain\"", StringText("plain")); }

TEST(JsonText, QuotesAnEmptyString) { EXPECT_EQ("\"\"", StringText("")); }

TEST(JsonText, KeepsNonAsciiCharacters) { EXPECT_EQ("\"Größe\"", StringText("Größe")); }

TEST(JsonText, EscapesQuotesBackslashesAndControlCharacters) {
  EXPECT_EQ(R"("a\"b\\c\n\r\t\u0000\u001f")", StringText(std::string_view("a\"b\\c\n\r\t\0\x1f", 10)));
}

TEST(JsonText, StringReadsBackForEveryAsciiByte) {
  std::string all;
  for (char c = 0; c < 0x7F; ++c) all += c;
  EXPECT_EQ(all, Json::parse(StringText(all)).get<std::string>());
}

TEST(JsonText, WritesAListOfPlainValuesOnOneLine) {
  EXPECT_EQ("[1, 2.5, null, true, \"x\"]", TreeText(Json::array({1, 2.5, nullptr, true, "x"})));
}

TEST(JsonText, WritesEmptyLists) { EXPECT_EQ("[]", TreeText(Json::array())); }

TEST(JsonText, IndentsObjectsAndListsOfLists) {
  const Json tree = {{"a", 1}, {"b", Json::array({Json::array({1, 2}), Json::array({3})})}};
  EXPECT_EQ("{\n  \"a\": 1,\n  \"b\": [\n    [1, 2],\n    [3]\n  ]\n}", TreeText(tree));
}

TEST(JsonText, WritesASmallObjectOnOneLine) {
  EXPECT_EQ("[\n  {\"a\": 1, \"b\": [2, 3]}\n]", TreeText(Json::array({Json{{"a", 1}, {"b", Json::array({2, 3})}}})));
}

TEST(JsonText, KeepsTheSignOfZero) { EXPECT_EQ("-0.0", TreeText(Json(-0.0))); }

TEST(JsonText, TreeReadsBack) {
  const Json tree = {{"x", 0.1}, {"list", Json::array({Json{{"deep", "text"}}})}, {"n", -7}, {"none", nullptr}};
  EXPECT_EQ(tree, Json::parse(TreeText(tree)));
}

}  // namespace
}  // namespace JsonText_test

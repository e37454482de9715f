#include "Columns/text/JsonText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace JsonText_test {
namespace {

using dstext::Json;
using Parser = nlohmann::ordered_json;

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
  EXPECT_EQ(all, Parser::parse(StringText(all)).get<std::string>());
}

TEST(JsonText, WritesAListOfPlainValuesOnOneLine) {
  EXPECT_EQ("[1, 2.5, null, true, \"x\"]", TreeText(Json::List(1, 2.5, nullptr, true, "x")));
}

TEST(JsonText, WritesEmptyLists) { EXPECT_EQ("[]", TreeText(Json::List())); }

TEST(JsonText, WritesEmptyObjects) { EXPECT_EQ("{}", TreeText(Json::Object())); }

TEST(JsonText, IndentsObjectsAndListsOfLists) {
  const Json tree = Json::Object({{"a", 1}, {"b", Json::List(Json::List(1, 2), Json::List(3))}});
  EXPECT_EQ("{\n  \"a\": 1,\n  \"b\": [\n    [1, 2],\n    [3]\n  ]\n}", TreeText(tree));
}

TEST(JsonText, WritesASmallObjectOnOneLine) {
  EXPECT_EQ("[\n  {\"a\": 1, \"b\": [2, 3]}\n]",
            TreeText(Json::List(Json::Object({{"a", 1}, {"b", Json::List(2, 3)}}))));
}

TEST(JsonText, WritesAnObjectWithAnObjectOnSeveralLines) {
  EXPECT_EQ("{\n  \"a\": {\"b\": 1}\n}", TreeText(Json::Object({{"a", Json::Object({{"b", 1}})}})));
}

TEST(JsonText, KeepsTheSignOfZero) { EXPECT_EQ("-0.0", TreeText(-0.0)); }

TEST(JsonText, WritesTheLargestWholeNumbers) {
  EXPECT_EQ("[-9223372036854775808, 9223372036854775807]",
            TreeText(Json::List(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max())));
}

TEST(JsonText, TreeReadsBack) {
  const Json tree = Json::Object({{"x", 0.1},
                                  {"list", Json::List(Json::Object({{"deep", "text"}}))},
                                  {"n", -7},
                                  {"none", nullptr},
                                  {"yes", true}});
  const Parser expected = {
      {"x", 0.1}, {"list", Parser::array({Parser{{"deep", "text"}}})}, {"n", -7}, {"none", nullptr}, {"yes", true}};
  EXPECT_EQ(expected, Parser::parse(TreeText(tree)));
}

// ---- Values in memory ----

TEST(Json, KnowsItsKind) {
  EXPECT_TRUE(Json().IsNull());
  EXPECT_TRUE(Json(true).IsFlag());
  EXPECT_FALSE(Json(true).IsNumber());
  EXPECT_TRUE(Json(1).IsInteger());
  EXPECT_TRUE(Json(1u).IsInteger());
  EXPECT_FALSE(Json(1.0).IsInteger());
  EXPECT_TRUE(Json(1.0).IsNumber());
  EXPECT_TRUE(Json("text").IsText());
  EXPECT_TRUE(Json::List().IsList());
  EXPECT_TRUE(Json::Object().IsObject());
}

TEST(Json, IntegersAreThoseOfLongLong) {
  EXPECT_EQ(-1, Json(-1).Integer());
  EXPECT_EQ(std::numeric_limits<long long>::max(), Json(std::numeric_limits<long long>::max()).Integer());
  EXPECT_EQ(std::numeric_limits<long long>::max(),
            Json(static_cast<unsigned long long>(std::numeric_limits<long long>::max())).Integer());
  EXPECT_EQ(std::nullopt, Json(static_cast<unsigned long long>(std::numeric_limits<long long>::max()) + 1).Integer());
  EXPECT_EQ(std::nullopt, Json(1.0).Integer());
  EXPECT_EQ(std::nullopt, Json("1").Integer());
  EXPECT_EQ(18446744073709551615.0, Json(std::numeric_limits<std::uint64_t>::max()).Number());
}

TEST(Json, CountsElementsAndMembers) {
  EXPECT_EQ(0u, Json().Size());
  EXPECT_EQ(1u, Json("").Size());
  EXPECT_EQ(2u, Json::List(1, nullptr).Size());
  EXPECT_EQ(1u, Json::Object({{"a", 1}}).Size());
  EXPECT_TRUE(Json::List().IsEmpty());
}

TEST(Json, MembersKeepTheirOrder) {
  Json tree = Json::Object({{"b", 1}, {"a", 2}});
  tree.Set("c", 3);
  tree.Set("b", 4);
  EXPECT_EQ(Json::Object({{"b", 4}, {"a", 2}, {"c", 3}}), tree);
  tree.Update(Json::Object({{"a", 5}, {"d", 6}}));
  tree.Erase("c");
  tree.Erase("none");
  EXPECT_EQ(Json::Object({{"b", 4}, {"a", 5}, {"d", 6}}), tree);
  EXPECT_EQ(nullptr, tree.Find("c"));
  EXPECT_TRUE(tree.Contains("d"));
}

}  // namespace
}  // namespace JsonText_test

// The JSON texts of the library: the positioned tree that its readers walk, and the
// canonical layout and numbers of its writers.

#include <gtest/gtest.h>

#include <cmath>

#include "merge/json_reader.h"
#include "merge/json_writer.h"

namespace {

using VxKd::Json;
using VxKd::JsonError;
using VxKd::JsonNode;

TEST(JsonReaderTest, EveryValueKnowsItsLine) {
  const char* text = "{\n  \"a\": 1,\n  \"b\": [\n    true,\n    \"x\"\n  ],\n  \"c\": {}\n}\n";
  JsonNode root;
  JsonError error;
  ASSERT_TRUE(VxKd::parseJson(text, root, error)) << error.message;
  ASSERT_EQ(root.members.size(), 3u);
  EXPECT_EQ(root.line, 1);
  EXPECT_EQ(root.members[0].line, 2);
  EXPECT_EQ(root.find("a")->line, 2);
  EXPECT_EQ(root.find("b")->line, 3) << "a list stands where it opens";
  EXPECT_EQ(root.find("b")->elements[0].line, 4);
  EXPECT_EQ(root.find("b")->elements[1].line, 5);
  EXPECT_EQ(root.find("c")->line, 7);
  EXPECT_EQ(root.find("d"), nullptr);
}

TEST(JsonReaderTest, NumbersKeepTheirKindAndRange) {
  JsonNode root;
  JsonError error;
  ASSERT_TRUE(VxKd::parseJson("[-3, 2.5, 18446744073709551615]", root, error)) << error.message;
  ASSERT_EQ(root.type, JsonNode::typeArray);
  EXPECT_EQ(root.elements[0].type, JsonNode::typeInteger);
  EXPECT_EQ(root.elements[0].integer, -3);
  EXPECT_EQ(root.elements[1].type, JsonNode::typeReal);
  EXPECT_TRUE(root.elements[2].tooLarge);
}

TEST(JsonReaderTest, MistakesNameTheLineWhereTheyAre) {
  const struct {
    const char* text;
    int line;
    const char* words;
  } kCases[] = {
      {"{\n  \"a\": 1,\n  \"a\": 2\n}", 3, "\"a\" appears twice"},
      {"{\n  \"a\": 1,\n  \"b\": [1, 2\n", 3, "unexpected end of input"},
      {"{\n  \"a\": 1\n  \"b\": 2\n}", 3, "syntax error"},
      {"[1]\n[2]", 2, "syntax error"},
      {"", 1, "unexpected end of input"},
  };
  for (const auto& c : kCases) {
    JsonNode root;
    JsonError error;
    EXPECT_FALSE(VxKd::parseJson(c.text, root, error)) << c.text;
    EXPECT_EQ(error.line, c.line) << c.text << ": " << error.message;
    EXPECT_NE(error.message.find(c.words), std::string::npos) << error.message;
    EXPECT_EQ(root.type, JsonNode::typeNull) << "no half tree is left";
  }
}

TEST(JsonWriterTest, FloatsTakeTheShortestDecimalThatReadsBackTheSame) {
  const float kValues[] = {0.35f,       0.1f,          1.0f / 3.0f,     2.0f,    -0.0f, 1e-38f,
                           16777217.0f, 3.4028235e38f, 1.17549435e-38f, 1.4e-45f};
  for (float value : kValues) {
    const Json j = VxKd::floatJson(value);
    ASSERT_TRUE(j.is_number_float());
    JsonNode node;
    JsonError error;
    ASSERT_TRUE(VxKd::parseJson(j.dump(), node, error)) << j.dump();
    float back = 0;
    ASSERT_TRUE(VxKd::floatFromJson(node, back));
    EXPECT_EQ(std::bit_cast<uint32_t>(back), std::bit_cast<uint32_t>(value)) << j.dump();
  }
  EXPECT_EQ(VxKd::floatJson(0.35f).dump(), "0.35");
  EXPECT_EQ(VxKd::floatJson(NAN), Json("NaN"));
  EXPECT_EQ(VxKd::floatJson(-INFINITY), Json("-Infinity"));
}

TEST(JsonWriterTest, NumbersBeyondAFloatAreRefused) {
  for (const char* text : {"3.5e38", "-1e39", "\"nan\"", "true", "null"}) {
    JsonNode node;
    JsonError error;
    ASSERT_TRUE(VxKd::parseJson(text, node, error));
    float value = 0;
    EXPECT_FALSE(VxKd::floatFromJson(node, value)) << text;
  }
}

TEST(JsonWriterTest, LayoutIsOneMemberPerLineWithCompactListsOnOne) {
  Json root = Json::object();
  root["name"] = "a\"b";
  root["empty"] = Json::array();
  root["numbers"] = {1, 2.5, 3};
  Json node = Json::object();
  node["type"] = 1;
  node["v"] = {0.0, 1.0};
  root["nodes"] = Json::array({node, node});
  root["items"] = Json::array({node});
  EXPECT_EQ(VxKd::writeCanonicalJson(root, {"nodes"}),
            "{\n"
            "  \"name\": \"a\\\"b\",\n"
            "  \"empty\": [],\n"
            "  \"numbers\": [1, 2.5, 3],\n"
            "  \"nodes\": [\n"
            "    {\"type\": 1, \"v\": [0.0, 1.0]},\n"
            "    {\"type\": 1, \"v\": [0.0, 1.0]}\n"
            "  ],\n"
            "  \"items\": [\n"
            "    {\n"
            "      \"type\": 1,\n"
            "      \"v\": [0.0, 1.0]\n"
            "    }\n"
            "  ]\n"
            "}\n");
}

TEST(JsonWriterTest, BytesThatAreNoUtf8AreReplacedNotThrown) {
  Json root = Json::object();
  root["id"] = std::string(
      "A\xff"
      "B");
  EXPECT_EQ(VxKd::writeCanonicalJson(root, {}),
            "{\n  \"id\": \"A\xef\xbf\xbd"
            "B\"\n}\n");
}

}  // namespace

// The text form of a dataset: what it holds, that a dataset built from it writes the same
// text again, and that a text that cannot be taken names its line and changes nothing.

#include "vxkd/merge/dataset_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "support/sample_project.h"
#include "support/temp_folder.h"
#include "support/ui_fixture.h"

namespace {

using ::testing::HasSubstr;
using vxkd_test::fillLargeProject;
using vxkd_test::fillSampleProject;

class DatasetJsonTest : public vxkd_test::TextsUiTest {
 protected:
  // `project` saved to a file and read back, as vkd dump sees a dataset.
  CKdProject throughFile(const CKdProject& project, const wchar_t* name) {
    CKdProject copy(project);
    EXPECT_TRUE(copy.saveDbAs(nullptr, dir_.path(name)));
    CKdProject read;
    EXPECT_TRUE(read.readDb(nullptr, dir_.path(name)));
    return read;
  }
  // The text of `project` after a round through a file.
  std::string dumpOfFile(const CKdProject& project, const wchar_t* name) {
    return VxKd::datasetToJson(throughFile(project, name));
  }

  vxkd_test::TempFolder dir_;
};

// The line (from 1) of the first occurrence of `needle` in `text`.
int lineOf(const std::string& text, const std::string& needle) {
  const size_t at = text.find(needle);
  EXPECT_NE(at, std::string::npos) << needle;
  return 1 + static_cast<int>(std::count(text.begin(), text.begin() + at, '\n'));
}

TEST_F(DatasetJsonTest, TextHoldsEveryKindInTheProjectsOrderWithTypedValues) {
  CKdProject project;
  fillSampleProject(project);
  const nlohmann::ordered_json j = nlohmann::ordered_json::parse(VxKd::datasetToJson(project));
  std::vector<std::string> keys;
  for (auto it = j.begin(); it != j.end(); ++it) keys.push_back(it.key());
  const std::vector<std::string> kinds = {"format",
                                          "version",
                                          "propertyDefinitions",
                                          "partIdFormats",
                                          "layers",
                                          "productGroups",
                                          "products",
                                          "blocks",
                                          "symbols",
                                          "textStyles",
                                          "linetypes",
                                          "dimensionTextFormats",
                                          "reportDefinitions",
                                          "ductDefinitions",
                                          "pipeDefinitions",
                                          "dataDefinitions",
                                          "electricDefinitions"};
  EXPECT_EQ(keys, kinds);
  EXPECT_EQ(j["propertyDefinitions"].size(), 5u);
  EXPECT_EQ(j["propertyDefinitions"][1]["valueType"], "int16");
  EXPECT_EQ(j["layers"].size(), 24u);
  EXPECT_EQ(j["layers"][0]["name"], "M-DUCT");
  // The built-in linetype is no definition of the dataset.
  EXPECT_EQ(j["linetypes"].size(), 2u);
  EXPECT_EQ(j["symbols"][1]["nodes"].size(), 300u);
  EXPECT_EQ(static_cast<float>(j["symbols"][0]["nodes"][1]["v"][3].get<double>()), 1.0f / 3.0f + 1);
  const auto& duct = j["ductDefinitions"][0];
  EXPECT_EQ(duct["guid"], "000000A0-0000-4000-8000-000000000001");
  EXPECT_EQ(duct["integratedTexts"][0]["format"], 1);
  const auto& values = duct["properties"];
  EXPECT_EQ(values[0], (nlohmann::json{{"id", 1}, {"value", 400}}));
  EXPECT_EQ(values[2]["value"], 60.33);
  EXPECT_EQ(values[3]["value"], 12.5);
  EXPECT_TRUE(values[4]["value"].is_null()) << "a property without a value";
  EXPECT_EQ(j["electricDefinitions"][0]["lineWidth"], 0.35) << "the shortest decimal of 0.35f";
}

TEST_F(DatasetJsonTest, LayoutPutsOneFieldAndOneNodeOnEachLine) {
  CKdProject project;
  fillSampleProject(project);
  const std::string text = VxKd::datasetToJson(project);
  EXPECT_THAT(text, HasSubstr("\n      \"name\": \"Width\",\n"));
  EXPECT_THAT(text, HasSubstr("\n        {\"type\": 2, \"flags\": 4, \"v\": [0.0, -2.5, 0.0, "
                              "0.33333334, 0.0, 0.0]},\n"));
  EXPECT_THAT(text, HasSubstr("\n        {\"id\": 5, \"value\": null}\n"));
  EXPECT_EQ(text.back(), '\n');
}

TEST_F(DatasetJsonTest, DumpLoadDumpOfTheSampleIsByteIdentical) {
  CKdProject project;
  fillSampleProject(project);
  const std::string first = dumpOfFile(project, L"a.vkd");
  CKdProject loaded;
  ASSERT_TRUE(VxKd::datasetFromJson(nullptr, first, loaded));
  EXPECT_EQ(dumpOfFile(loaded, L"b.vkd"), first);
  EXPECT_EQ(ui_.boxCount(), 0);
}

TEST_F(DatasetJsonTest, DumpLoadDumpOf500GroupsAndTenThousandProductsIsByteIdentical) {
  CKdProject project;
  fillLargeProject(project, 10000);
  const std::string first = dumpOfFile(project, L"a.vkd");
  CKdProject loaded;
  ASSERT_TRUE(VxKd::datasetFromJson(nullptr, first, loaded));
  int products = 0;
  for (int g = 0; g < loaded.productGroups().length(); ++g)
    products += loaded.productGroups().objAt(g)->products().length();
  EXPECT_EQ(products, 10000);
  EXPECT_EQ(loaded.productGroups().length(), 501) << "and the root";
  EXPECT_EQ(dumpOfFile(loaded, L"b.vkd"), first);
}

TEST_F(DatasetJsonTest, ValuesNoJsonNumberHoldsSurviveAsTexts) {
  CKdProject project;
  CVxSymbolModel symbol;
  symbol.setSymbolId("ODD");
  CGmNode node{};
  node.v[0] = NAN;
  node.v[1] = INFINITY;
  node.v[2] = -INFINITY;
  node.v[3] = -0.0f;
  node.v[4] = 1e-38f;
  node.v[5] = 3.4028235e38f;
  symbol.appendNode(node);
  project.symbols().append(&symbol);
  const std::string text = dumpOfFile(project, L"a.vkd");
  EXPECT_THAT(text,
              HasSubstr("[\"NaN\", \"Infinity\", \"-Infinity\", -0.0, 1e-38, 3.4028235e+38]"));
  CKdProject loaded;
  ASSERT_TRUE(VxKd::datasetFromJson(nullptr, text, loaded));
  const CGmNode& back = *loaded.symbols().objAt(0)->nodeAt(0);
  EXPECT_TRUE(std::isnan(back.v[0]));
  EXPECT_TRUE(std::signbit(back.v[3]));
  EXPECT_EQ(back.v[5], 3.4028235e38f);
  EXPECT_EQ(dumpOfFile(loaded, L"b.vkd"), text);
}

TEST_F(DatasetJsonTest, KindsMayStandInAnyOrderOrBeLeftOut) {
  const std::string text = R"({
  "electricDefinitions": [],
  "ductDefinitions": [
    {"id": 3, "guid": "", "description": "Duct", "partIdFormat": 0, "linetype": "",
     "color": 256, "lineWidth": 0, "symbol": "", "system": 0, "hpvSystemType": -1,
     "integratedTexts": [], "properties": [{"id": 7, "value": 2.5}]}
  ],
  "propertyDefinitions": [
    {"id": 7, "name": "Flow", "description": "", "valueType": 4, "unit": 21, "decimals": 1}
  ],
  "version": 1,
  "format": "vxkd-dataset"
})";
  CKdProject loaded;
  ASSERT_TRUE(VxKd::datasetFromJson(nullptr, text, loaded)) << ui_.lastBox().text.size();
  const CKdProductDef* duct = loaded.polyDefSets(VxKd::systemDuct)->objAt(0);
  ASSERT_NE(duct, nullptr);
  EXPECT_EQ(duct->properties().findProperty(L"Flow")->getValueAsText(false), CWsz(L"2.5"));
  EXPECT_EQ(loaded.layerDefs().length(), 24) << "the program's layers";
  EXPECT_EQ(loaded.linetypeDefs().length(), 1) << "the built-in linetype";
}

TEST_F(DatasetJsonTest, AnEmptyTextValueIsNoValueAsTheDatasetReadsIt) {
  CKdProject project;
  fillSampleProject(project);
  std::string text = dumpOfFile(project, L"a.vkd");
  const size_t at = text.find("{\"id\": 5, \"value\": \"Steel\"}");
  ASSERT_NE(at, std::string::npos);
  const std::string expected = std::string(text).replace(at, 27, "{\"id\": 5, \"value\": null}");
  text.replace(at, 27, "{\"id\": 5, \"value\": \"\"}");
  CKdProject loaded;
  ASSERT_TRUE(VxKd::datasetFromJson(nullptr, text, loaded));
  EXPECT_EQ(VxKd::datasetToJson(loaded), expected);
  EXPECT_EQ(dumpOfFile(loaded, L"b.vkd"), expected);
}

// A text that cannot be taken: the change made to a sound text (`to` null: the text ends
// after `from`), the line where the error is (that of the first occurrence of `at` after the
// change, plus `offset`), and words of the message.
struct BadText {
  const char* name;
  const char* from;
  const char* to;
  const char* at;
  int offset;
  const char* message;
};

class DatasetJsonBadTextTest : public DatasetJsonTest,
                               public ::testing::WithParamInterface<BadText> {};

TEST_P(DatasetJsonBadTextTest, NamesTheLineAndChangesNothing) {
  const BadText& bad = GetParam();
  CKdProject project;
  fillSampleProject(project);
  std::string text = VxKd::datasetToJson(project);
  const size_t at = text.find(bad.from);
  ASSERT_NE(at, std::string::npos) << bad.from;
  if (bad.to)
    text.replace(at, std::string(bad.from).size(), bad.to);
  else
    text.resize(at + std::string(bad.from).size());
  const int line = lineOf(text, bad.at) + bad.offset;

  CKdProject target;
  target.propertyDefs().add(L"Kept", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  int errorLine = 0;
  std::string why;
  EXPECT_FALSE(VxKd::datasetFromJson(nullptr, text, target, &errorLine, &why));
  EXPECT_EQ(errorLine, line) << why;
  EXPECT_THAT(why, HasSubstr(bad.message));
  ASSERT_EQ(target.propertyDefs().length(), 1);
  EXPECT_EQ(target.propertyDefs().objAt(0)->name(), CWsz(L"Kept"));
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_EQ(ui_.lastBox().caption, L"Cannot Load Dataset");
  EXPECT_THAT(ui_.lastBox().text, HasSubstr(L"Line " + std::to_wstring(line) + L": "));
}

const BadText kBadTexts[] = {
    {"ValueOfWrongType", "\"decimals\": 0", "\"decimals\": \"0\"", "\"decimals\": \"0\"", 0,
     "\"decimals\" must be a whole number from 0 to 255, not \"0\""},
    {"NumberOutOfRange", "\"color\": 4", "\"color\": 40000", "\"color\": 40000", 0,
     "\"color\" must be a whole number from -32768 to 32767, not 40000"},
    {"UnknownKind", "\"layers\": [", "\"macros\": [], \"layers\": [", "\"macros\"", 0,
     "unknown kind \"macros\""},
    {"TruncatedEnd", "\"electricDefinitions\": [", nullptr, "\"electricDefinitions\"", 0,
     "unexpected end of input"},
    {"SyntaxError", "\"name\": \"Width\",", "\"name\": \"Width\" \"x\",", "\"x\"", 0,
     "syntax error"},
    {"UnknownField", "\"unit\": 11,", "\"unit\": 11, \"units\": 1,", "\"units\"", 0,
     "unknown field \"units\""},
    {"MissingField", "\"unit\": 11,\n", "", "\"id\": 1,", -1, "\"unit\" is missing"},
    {"DuplicateKey", "\"unit\": 11,", "\"unit\": 11, \"unit\": 12,", "\"unit\": 12", 0,
     "\"unit\" appears twice"},
    {"DuplicateId", "\"id\": 2,\n      \"name\": \"Height\"",
     "\"id\": 1,\n      \"name\": \"Height\"", "\"name\": \"Height\"", -1,
     "the id 1 appears twice"},
    {"PropertyOfNoDefinition", "{\"id\": 1, \"value\": 400}", "{\"id\": 99, \"value\": 400}",
     "\"id\": 99", 0, "property definition 99 is not defined"},
    {"PropertyValueOfWrongType", "{\"id\": 1, \"value\": 400}", "{\"id\": 1, \"value\": \"400\"}",
     "\"value\": \"400\"", 0, "must be a whole number of 32 bits or null, not \"400\""},
    {"BuiltInLinetype", "\"name\": \"DASHED\"", "\"name\": \"continuous\"", "\"continuous\"", 0,
     "CONTINUOUS is built in"},
    {"NoSuchLayer", "\"number\": 106", "\"number\": 105", "\"number\": 105", 0,
     "layer 105 is not one of the program's layers"},
    {"BadGuid", "\"000000A0-0000-4000-8000-000000000001\"", "\"{000000A0}\"", "{000000A0}", 0,
     "\"guid\" must be a GUID"},
    {"OtherFormat", "\"vxkd-dataset\"", "\"something-else\"", "something-else", 0,
     "\"format\" must be \"vxkd-dataset\""},
    {"TextWithNul", "\"name\": \"Width\"", "\"name\": \"Wid\\u0000th\"", "Wid", 0,
     "\"name\" must be a text without the character U+0000"},
    {"NoSuchGroup", "\"group\": 3,", "\"group\": 9,", "\"group\": 9", 0,
     "\"group\" must be -1 or the id of a group of \"productGroups\", not 9"},
    {"IdTooLargeForAGroup", "\"group\": 3,\n      \"id\": 1,",
     "\"group\": 3,\n      \"id\": 10000,", "\"id\": 10000", 0,
     "the id 10000 is too large for a key in a group: at most 9999"},
    {"OwnerOfNoGroup", "\"owner\": 3,", "\"owner\": 7,", "\"owner\": 7", 0,
     "\"owner\" must be -1 or the id of another group, not 7"},
    {"GraphicsNotHex", "\"graphics\": \"01", "\"graphics\": \"0x", "\"graphics\": \"0x", 0,
     "\"graphics\" must be hexadecimal digits"},
    {"NewerVersion", "\"version\": 1", "\"version\": 2", "\"version\": 2", 0, "a newer program"},
};

INSTANTIATE_TEST_SUITE_P(Texts, DatasetJsonBadTextTest, ::testing::ValuesIn(kBadTexts),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(DatasetJsonTest, SymbolWithoutNodesIsRefusedSinceNoDatasetKeepsIt) {
  CKdProject project;
  fillSampleProject(project);
  std::string text = VxKd::datasetToJson(project);
  const size_t from = text.find("\"nodes\": [", text.find("\"SOCKET\""));
  const size_t to = text.find("]\n    }", from);
  text.replace(from, to + 1 - from, "\"nodes\": []");
  CKdProject loaded;
  std::string why;
  EXPECT_FALSE(VxKd::datasetFromJson(nullptr, text, loaded, nullptr, &why));
  EXPECT_THAT(why, HasSubstr("symbol \"SOCKET\" has no nodes"));
}

TEST_F(DatasetJsonTest, EmptyTextIsRefusedOnItsFirstLine) {
  CKdProject loaded;
  int line = 0;
  std::string why;
  EXPECT_FALSE(VxKd::datasetFromJson(nullptr, "", loaded, &line, &why));
  EXPECT_EQ(line, 1);
  EXPECT_THAT(why, HasSubstr("unexpected end of input"));
}

}  // namespace

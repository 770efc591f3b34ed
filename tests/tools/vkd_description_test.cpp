// Dataset descriptions: vkd new --from builds what a JSON file describes and refuses a file
// it cannot use with the place and the reason. That vkd describe writes what builds the same
// dataset again is shown by the examples of docs/guide.md (vkd_guide_test), as are a unit
// label and a linetype that a description names wrongly.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"

namespace {

using ::testing::HasSubstr;
using vxkd_test::runVkd;
using vxkd_test::TempFolder;
using vxkd_test::VkdResult;

class VkdDescription : public ::testing::Test {
 protected:
  // What vkd prints passes through files of its own folder, apart from the files made.
  VkdResult vkd(const std::vector<std::string>& args) { return runVkd(args, io_); }
  std::string file(const char* name) const { return dir_.native(name); }
  // Builds "out.vkd" from the description `json`.
  VkdResult build(const std::string& json) {
    EXPECT_TRUE(dir_.write("in.json", json));
    return vkd({"new", "--from", file("in.json"), file("out.vkd")});
  }

  TempFolder dir_;
  TempFolder io_;
};

// A description of one of each kind, with everything left out that may be.
constexpr const char* kSmall = R"({
  "propertyDefinitions": [{"name": "Width", "type": "int32", "unit": "[mm]"},
                          {"name": "Flow", "type": "double", "unit": 23}],
  "linetypes": [{"name": "DASHED", "pattern": "A,.5,-.25"}],
  "textStyles": [{"name": "Standard", "fontFile": "txt"}],
  "layers": [{"number": 11, "name": "DUCTS", "linetype": "DASHED", "colour": 4}],
  "dimensionTextFormats": [{"format": "{Width}{*CRNL*}{Flow} m3/h"}],
  "symbols": [{"symbol": "X", "drawing": [{"line": [0, 0, 1, 1]}]}],
  "polyObjectDefinitions": [{"set": "SD", "description": "Duct",
                             "properties": {"width": "400", "Flow": 1250.7},
                             "texts": [{"format": 1}]}]
})";

TEST_F(VkdDescription, BuildsWhatItDescribesWithTheDefaultsOfWhatIsLeftOut) {
  VkdResult run = build(kSmall);
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "Created " + file("out.vkd") + "\n");
  VkdResult properties = vkd({"list", file("out.vkd"), "properties"});
  EXPECT_EQ(properties.out,
            "Id  Name   Type    Unit    Decimals  Description\n"
            "--  -----  ------  ------  --------  -----------\n"
            " 1  Width  Number  [mm]           0\n"
            " 2  Flow   Number  [m3/h]         0\n");
  VkdResult product = vkd({"show", file("out.vkd"), "product", "duct:1"});
  EXPECT_THAT(product.out, HasSubstr("  Width  400 [mm]\n  Flow   1251 [m3/h]\n"));
  EXPECT_THAT(product.out, HasSubstr("Texts:\n  format 1 \"\", offset 0, 0\n"));
  VkdResult layer = vkd({"show", file("out.vkd"), "layer", "11"});
  EXPECT_THAT(layer.out, HasSubstr("Name         DUCTS\nLinetype     DASHED\nColour       4\n"));
  EXPECT_EQ(vkd({"check", file("out.vkd")}).code, 0);
}

// A description that cannot be used: the place and the reason, exit status 2, no file.
struct Refused {
  const char* json;
  const char* says;
};

const Refused kRefused[] = {
    {R"({"propertyDefinitions": [)", "not JSON: parse error at line 1, column 26"},
    {R"([])", "a dataset description is a JSON object"},
    {R"({"properties": []})", "unknown section \"properties\""},
    {R"({"linetypes": {}})", "linetypes: a list of definitions"},
    {R"({"linetypes": [3]})", "linetypes[0]: a definition is an object"},
    {R"({"propertyDefinitions": [{"name": "Width", "type": "int32", "decimal": 1}]})",
     "propertyDefinitions[0] (\"Width\"): unknown member \"decimal\""},
    {R"({"propertyDefinitions": [{"type": "int32"}]})",
     "propertyDefinitions[0]: \"name\" is missing"},
    {R"({"propertyDefinitions": [{"name": "W", "type": "integer"}]})",
     "\"type\" is \"text\", \"int16\", \"int32\", \"float\" or \"double\""},
    {R"({"propertyDefinitions": [{"name": "T", "type": "float", "unit": "[c]"}]})",
     "the label \"[c]\" belongs to several units; give the id: 91 (Temperature difference) 101 "
     "(Temperature)"},
    {R"({"propertyDefinitions": [{"name": "T", "type": "float", "unit": 7}]})",
     "no unit has the id 7"},
    {R"({"propertyDefinitions": [{"name": "W", "type": "int32", "decimals": 1.5}]})",
     "\"decimals\" is a whole number of 0 to 15"},
    {R"({"propertyDefinitions": [{"name": "W", "type": "text"}, {"name": "w", "type": "text"}]})",
     "propertyDefinitions[1] (\"w\"): a property definition of that name is listed before"},
    {R"({"propertyDefinitions": [{"name": "A;B", "type": "text"}]})",
     "not a name of a property definition: Invalid Property Name: Property name cannot contain"},
    {R"({"propertyDefinitions": [{"id": 4, "name": "A", "type": "text"},
                                 {"id": 4, "name": "B", "type": "text"}]})",
     "propertyDefinitions[1] (\"B\"): id 4 is listed before"},
    {R"({"linetypes": [{"name": "Continuous"}]})", "BYLAYER, BYBLOCK and CONTINUOUS are built in"},
    {R"({"layers": [{"number": 105}]})", "layers[0]: no layer has the number 105"},
    {R"({"layers": [{"number": 11, "colour": 300}]})",
     "\"colour\": a colour is a number of 0 to 256 or \"by layer\""},
    {R"({"layers": [{"number": 11}, {"number": 11}]})", "the layer is listed before"},
    {R"({"dimensionTextFormats": [{"format": "A", "border": "oval"}]})",
     "\"border\" is \"none\", \"first row underlined\", \"all rows underlined\", \"rectangle\", "
     "\"diamond\", \"circle\", \"split circle\", \"break line\" or \"hexagon\""},
    {R"({"dimensionTextFormats": [{"format": "A", "height": 0}]})", "\"height\" is above 0"},
    {R"({"symbols": [{"symbol": "S", "drawing": [{"line": [0, 0, 1]}]}]})",
     "symbols[0] (\"S\"): \"drawing\": piece 1: a line is [x1, y1, x2, y2]"},
    {R"({"symbols": [{"symbol": "S", "drawing": [{"spline": [0, 0, 1]}]}]})",
     "piece 1: \"spline\" is no piece of a drawing"},
    {R"({"symbols": [{"symbol": "S", "drawing": [{"circle": [0, 0, 1], "fill": true}]}]})",
     "piece 1: a circle has no member \"fill\""},
    {R"({"symbols": [{"symbol": "S", "drawing": []}]})", "\"drawing\" is empty"},
    {R"({"polyObjectDefinitions": [{"set": "gas"}]})",
     "\"set\" is \"duct\", \"pipe\", \"electric\" or \"data\""},
    {R"({"polyObjectDefinitions": [{"set": "duct", "description": "D",
                                    "properties": {"Widht": 400}}]})",
     "polyObjectDefinitions[0] (\"D\"): \"properties\": \"Widht\": no property definition has "
     "that name"},
    {R"({"propertyDefinitions": [{"name": "Width", "type": "int32"}],
        "polyObjectDefinitions": [{"set": "duct", "properties": {"Width": "wide"}}]})",
     "\"properties\": \"Width\": \"wide\" is not a value of type int32"},
    {R"({"polyObjectDefinitions": [{"set": "duct", "guid": "{123}"}]})",
     "\"guid\" is 36 hexadecimal digits and hyphens (8-4-4-4-12)"},
    {R"({"polyObjectDefinitions": [{"set": "duct", "texts": [{"format": 1, "angle": 90}]}]})",
     "\"texts\"[0]: unknown member \"angle\""},
    {R"({"polyObjectDefinitions": [{"set": "duct", "id": 2}, {"set": "SD", "id": 2}]})",
     "id 2 of the duct set is listed before"},
    // Refused as vkd check would report it of the dataset.
    {R"({"dimensionTextFormats": [{"format": "{*DESC*}", "style": "Nope"}]})",
     "in.json: dimension text format 1 \"\" names text style \"Nope\", which the dataset lacks"},
};

void PrintTo(const Refused& refused, std::ostream* out) { *out << refused.says; }

class VkdDescriptionRefused : public VkdDescription,
                              public ::testing::WithParamInterface<Refused> {};

TEST_P(VkdDescriptionRefused, SaysWhereAndWhyAndCreatesNothing) {
  VkdResult run = build(GetParam().json);
  EXPECT_EQ(run.code, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, HasSubstr(GetParam().says));
  EXPECT_THAT(run.err, HasSubstr("vkd: " + file("in.json") + ": "));
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"in.json"});
}

INSTANTIATE_TEST_SUITE_P(Descriptions, VkdDescriptionRefused, ::testing::ValuesIn(kRefused));

TEST_F(VkdDescription, ADescriptionWithProblemsIsRefusedWithTheirCount) {
  VkdResult run = build(R"({"polyObjectDefinitions": [{"set": "pipe", "linetype": "GAS",
                                                       "symbol": "VALVE"}]})");
  EXPECT_EQ(run.code, 2);
  EXPECT_THAT(run.err, HasSubstr("in.json describes a dataset with 2 problems; nothing was "
                                 "created\n"));
}

TEST_F(VkdDescription, MissingFilesAndBothSourcesAreWrongCommandLines) {
  VkdResult missing = vkd({"new", "--from", file("none.json"), file("out.vkd")});
  EXPECT_EQ(missing.code, 2);
  EXPECT_EQ(missing.err, "vkd: cannot read " + file("none.json") + ": No such file or directory\n");
  ASSERT_TRUE(dir_.write("in.json", "{}"));
  VkdResult both = vkd({"new", "--sample", "--from", file("in.json"), file("out.vkd")});
  EXPECT_EQ(both.code, 2);
  EXPECT_THAT(both.err, HasSubstr("--sample and --from exclude each other"));
  EXPECT_EQ(dir_.names(), std::vector<std::string>{"in.json"});
  EXPECT_EQ(vkd({"describe", file("none.vkd")}).code, 2);
}

}  // namespace

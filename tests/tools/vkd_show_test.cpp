// vkd show, list products, the JSON output of info, list and show (read with jq, as a script
// reads it), the help of every command, and the previews of products and symbols.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using vxkd_test::runVkd;
using vxkd_test::shellQuoted;
using vxkd_test::TempFolder;
using vxkd_test::VkdResult;

class VkdShow : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TempFolder;
    TempFolder io;
    ASSERT_EQ(runVkd({"new", "--sample", folder_->native("sample.vkd")}, io).code, 0);
  }
  static void TearDownTestSuite() {
    delete folder_;
    folder_ = nullptr;
  }

  VkdResult vkd(std::vector<std::string> args) { return runVkd(args, io_); }
  static std::string sample() { return folder_->native("sample.vkd"); }
  VkdResult show(const std::string& kind, const std::string& key) {
    return vkd({"show", sample(), kind, key});
  }
  // What `jq -r FILTER` prints of what vkd prints for `args`; "" when either fails.
  std::string jq(const std::vector<std::string>& args, const std::string& filter) {
    std::string command = shellQuoted(VXKD_VKD_PROGRAM);
    for (const std::string& arg : args) command += " " + shellQuoted(arg);
    command += " | jq -r " + shellQuoted(filter);
    std::string out;
    if (FILE* pipe = popen(command.c_str(), "r")) {
      char buffer[4096];
      for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
      if (pclose(pipe) != 0) out.clear();
    }
    return out;
  }

  static TempFolder* folder_;
  TempFolder io_;  // what vkd prints passes through here
};

TempFolder* VkdShow::folder_ = nullptr;

TEST_F(VkdShow, APropertyDefinitionWithItsUnitAndItsUsers) {
  VkdResult run = show("property", "width");
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out,
            "property definition 1 \"Width\"\n"
            "\n"
            "Id           1\n"
            "Name         Width\n"
            "Description  Duct width\n"
            "Type         int32\n"
            "Unit         [mm], Length or distance\n"
            "Decimals     0\n"
            "\n"
            "Used by:\n"
            "  dimension text format 1 \"Rectangular duct\"\n"
            "  part ID format 1 \"Rectangular duct\"\n"
            "  product Ventilation/Ducts/Rectangular:1 \"Rectangular duct 400x200\"\n"
            "  product Ventilation/Ducts/Rectangular:2 \"Rectangular duct 500x250\"\n"
            "  product Ventilation/Ducts/Rectangular:3 \"Rectangular duct 800x400, insulated\"\n"
            "  product Ventilation/Air terminals:1 \"Supply air terminal 600x600\"\n"
            "  product Ventilation/Dampers:1 \"Fire damper 400x200 EI60\"\n"
            "  product Heating and plumbing/Radiators:1 \"Panel radiator 600x1000\"\n"
            "  product duct:1 \"Rectangular duct 400x200\"\n"
            "  product duct:2 \"Rectangular duct 500x250\"\n"
            "  product duct:3 \"Rectangular duct 630x315\"\n"
            "  product duct:4 \"Rectangular duct 800x400, insulated\"\n"
            "  report definition 1 \"Duct list\"\n");
  EXPECT_EQ(show("property", "1").out, run.out) << "by id";
  EXPECT_EQ(show("properties", "WIDTH").out, run.out) << "the plural, any case";
  EXPECT_THAT(show("property", "Temperature").out, HasSubstr("Unit         [C], Temperature\n"));
}

TEST_F(VkdShow, EveryKindIsFoundByIdOrName) {
  const struct {
    const char* kind;
    const char* key;
    const char* title;
    const char* line;
  } kCases[] = {
      {"format", "5", "dimension text format 5 \"Data cable\"", "Border         hexagon\n"},
      {"format", "round DUCT", "dimension text format 2 \"Round duct\"",
       "Format       Ø{Diameter}\n"},
      {"layer", "54", "layer 54 \"E-DEVICE-REFLINE\"", "Lineweight   Default\n"},
      {"layer", "m-pipe", "layer 21 \"M-PIPE\"", "Description  Pipes\n"},
      {"linetype", "hot_water", "linetype \"HOT_WATER\"",
       "Pattern      A,.5,-.2,[\"HW\",STANDARD,S=.1,R=0.0,X=-0.1,Y=-.05],-.2\n"},
      {"style", "3", "text style 3 \"Romans\"", "Has shape file  true\n"},
      {"style", "notes", "text style 4 \"Notes\"", "Obl angle  15\n"},
      {"symbol", "PANEL", "symbol 4 \"PANEL\"",
       "  {\"text\":\"DB\",\"at\":[-3.5,0.6],\"height\":1.8,\"align\":\"center\"}\n"},
      {"symbol", "9", "symbol 9 \"VALVE\"", "Size         8 x 5\n"},
      {"product", "duct:4", "product duct:4 \"Rectangular duct 800x400, insulated\"",
       "  format 6 \"Insulation\", offset -14, -5\n"},
      {"product", "SE:6", "product electric:6 \"NHXH-J 3x1.5 E30, fire-rated\"",
       "Linetype     FIRE_RATED\n"},
      {"product", "ROUND DUCT ø125", "product duct:5 \"Round duct Ø125\"",
       "  Diameter  125 [mm]\n"},
  };
  for (const auto& c : kCases) {
    VkdResult run = show(c.kind, c.key);
    EXPECT_EQ(run.code, 0) << c.kind << " " << c.key << ": " << run.err;
    EXPECT_THAT(run.out, StartsWith(std::string(c.title) + "\n\n")) << c.key;
    EXPECT_THAT(run.out, HasSubstr(c.line)) << run.out;
  }
}

// A name that names several products lists them: an example of docs/guide.md (vkd_guide_test).
TEST_F(VkdShow, NamesThatNameNothingExitWithTwo) {
  const struct {
    std::vector<std::string> args;
    const char* says;
  } kCases[] = {
      {{"property", "Nope"}, "vkd: the dataset has no property definition \"Nope\"\n"},
      {{"format", "99"}, "vkd: the dataset has no dimension text format \"99\"\n"},
      {{"product", "gas:1"},
       "(a product is named by SET:ID, GROUP-PATH:ID, an id or a description)"},
      {{"product", "duct:x"}, "a product is named by SET:ID"},
      {{"symbol", "socket_triple"}, "the dataset has no symbol \"socket_triple\""},
      {{"block", "1"}, "vkd: the dataset has no block \"1\"\n"},
      {{"frames", "1"}, "vkd: unknown kind of definition \"frames\"\nkinds of definition:\n"},
  };
  for (const auto& c : kCases) {
    std::vector<std::string> args = {"show", sample()};
    args.insert(args.end(), c.args.begin(), c.args.end());
    VkdResult run = vkd(args);
    EXPECT_EQ(run.code, 2) << c.says;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr(c.says));
  }
  EXPECT_EQ(vkd({"show", sample(), "property"}).code, 2);
}

TEST_F(VkdShow, JsonIsTheDescriptionFormWithItsUsers) {
  EXPECT_EQ(jq({"show", sample(), "format", "1", "--format", "json"},
               "[.id, .border, .refline, .colour, (.usedBy | length)] | @tsv"),
            "1\trectangle\tarrow\tby layer\t7\n");
  EXPECT_EQ(jq({"show", sample(), "product", "duct:4", "--format", "json"},
               "[.properties.Width, .properties.Material, .texts[1].offset[0]] | @tsv"),
            "800\tGalvanised steel\t-14\n");
  EXPECT_EQ(
      jq({"show", sample(), "symbol", "SOCKET", "--format", "json"}, ".drawing[0].arc | @csv"),
      "0,0,2.5,0,180\n");
  EXPECT_EQ(jq({"show", sample(), "property", "Temperature", "--format", "json"}, ".unit"), "101\n")
      << "a label two units share is written as the id";
}

TEST_F(VkdShow, ListsAndInfoAsJsonHaveNumbersWhereTheTablesAlignThem) {
  EXPECT_EQ(jq({"list", sample(), "products", "--format", "json"}, "length"), "26\n");
  EXPECT_EQ(jq({"list", sample(), "products", "--format", "json"},
               ".[] | select(.group == \"Ventilation/Ducts/Rectangular\" and .id == 3) | "
               "[.texts, .colour, .partID] | @tsv"),
            "1 6\tby layer\tRD-800x400\n");
  EXPECT_EQ(jq({"list", sample(), "properties", "--format", "json"},
               ".[11] | [.id, .name, .unit, .decimals, (.id | type)] | @tsv"),
            "12\tTemperature\t[C]\t0\tnumber\n");
  EXPECT_EQ(jq({"list", sample(), "styles", "--format", "json"}, ".[0] | keys_unsorted | @csv"),
            "\"id\",\"name\",\"fontFile\",\"typeFace\",\"size\",\"width\",\"oblique\","
            "\"boldItalic\"\n");
  EXPECT_EQ(jq({"info", sample(), "--format", "json"},
               "[(.counts[] | select(.kind == \"2D symbols\") | .count), (.lastSaved | type)] | "
               "@tsv"),
            "11\tstring\n");
}

TEST_F(VkdShow, ListProductsIsATableOfTheCatalogue) {
  VkdResult run = vkd({"list", sample(), "products"});
  ASSERT_EQ(run.code, 0);
  EXPECT_THAT(run.out, StartsWith("Group                              Id  Description          "
                                  "                Part ID                Colour    Linetype   "
                                  "Width  Symbol         System  Texts  Properties\n"));
  EXPECT_THAT(run.out, HasSubstr("\nElectrical/Sockets and switches     2  Double wall socket   "
                                 "                DEV-Lindqvist Elektro  1                      "
                                 "     SOCKET_DOUBLE                 Voltage=230, Current=16, "
                                 "Manufacturer=Lindqvist Elektro\n"));
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 28);
}

// More users than a person reads: the text lists twenty, JSON all.
TEST_F(VkdShow, ManyUsersAreCutInTheTextOnly) {
  std::string json = R"({"propertyDefinitions": [{"name": "Width", "type": "int32"}],
                         "polyObjectDefinitions": [)";
  for (int i = 1; i <= 23; ++i)
    json += std::string(i > 1 ? "," : "") +
            "{\"set\": \"duct\", \"properties\": {\"Width\": " + std::to_string(i) + "}}";
  json += "]}";
  ASSERT_TRUE(io_.write("many.json", json));
  ASSERT_EQ(vkd({"new", "--from", io_.native("many.json"), io_.native("many.vkd")}).code, 0);
  VkdResult run = vkd({"show", io_.native("many.vkd"), "property", "Width"});
  EXPECT_THAT(run.out, HasSubstr("  product duct:20 \"\"\n  ... and 3 more\n"));
  EXPECT_EQ(jq({"show", io_.native("many.vkd"), "property", "Width", "--format", "json"},
               ".usedBy | length"),
            "23\n");
}

TEST_F(VkdShow, EveryCommandExplainsItselfWithHelp) {
  VkdResult all = vkd({"--help"});
  ASSERT_EQ(all.code, 0);
  for (const char* command :
       {"check", "describe", "export-lin", "export-sty", "gallery", "import-lin", "import-sty",
        "info", "list", "lock-status", "new", "preview", "show"}) {
    EXPECT_THAT(all.out, HasSubstr(std::string("\n  ") + command + " ")) << command;
    VkdResult help = vkd({command, "--help"});
    EXPECT_EQ(help.code, 0) << command;
    EXPECT_THAT(help.out, StartsWith(std::string("usage: vkd ") + command + " ")) << command;
    EXPECT_THAT(help.out, HasSubstr("\nexit status: 0 ")) << command;
    EXPECT_EQ(vkd({"help", command}).out, help.out) << command;
    EXPECT_EQ(help.err, "");
  }
  EXPECT_THAT(vkd({"lock-status", "--help"}).out,
              HasSubstr("exit status: 0 the dataset is not locked; 3 someone holds its lock"));
  EXPECT_THAT(vkd({"show", "x.vkd", "--help"}).out, HasSubstr("      --format FORMAT"));
  EXPECT_EQ(vkd({"help", "frobnicate"}).code, 2);
  EXPECT_THAT(vkd({"info", sample(), "--format", "yaml"}).err,
              HasSubstr("--format takes text or json, not \"yaml\""));
  EXPECT_THAT(vkd({"info", sample(), "--format"}).err, HasSubstr("needs text or json"));
  EXPECT_THAT(vkd({"preview", sample(), "format", "1", "--format", "json", "-o", "x.svg"}).err,
              HasSubstr("preview has no option --format"));
}

TEST_F(VkdShow, PreviewsDrawProductsWithTheirValuesAndSymbolsWithTheirCaptions) {
  VkdResult product = vkd({"preview", sample(), "product", "duct:4", "-o", io_.native("p.svg")});
  ASSERT_EQ(product.code, 0) << product.err;
  EXPECT_EQ(product.out,
            "Wrote the preview of product duct:4 \"Rectangular duct 800x400, insulated\" to " +
                io_.native("p.svg") + "\n");
  const std::string svg = io_.read("p.svg");
  for (const char* text : {">800x400</text>", ">1450 l/s</text>", ">ISO 50</text>"})
    EXPECT_THAT(svg, HasSubstr(text));
  EXPECT_THAT(svg, HasSubstr("stroke=\"#0000ff\"")) << "the line in the duct layer's blue";

  VkdResult symbol = vkd({"preview", sample(), "symbol", "DATA_OUTLET", "-o", io_.native("s.svg")});
  ASSERT_EQ(symbol.code, 0) << symbol.err;
  EXPECT_THAT(io_.read("s.svg"), HasSubstr(">2xRJ45</text>"));
  EXPECT_THAT(io_.read("s.svg"), HasSubstr(">Data outlet, two ports</text>"));

  EXPECT_EQ(vkd({"preview", sample(), "product", "3", "-o", io_.native("x.svg")}).code, 2);
  EXPECT_EQ(vkd({"preview", sample(), "symbol", "NONE", "-o", io_.native("x.svg")}).code, 2);
  EXPECT_EQ(access(io_.native("x.svg").c_str(), F_OK), -1);
}

// The units with the coefficients the program converts by, from the first unit of each
// quantity: the pressure and power units of Revit among them.
TEST_F(VkdShow, UnitsListTheConversionFromTheFirstUnitOfEachQuantity) {
  VkdResult power = vkd({"units", "power"});
  ASSERT_EQ(power.code, 0) << power.err;
  EXPECT_EQ(power.out,
            "Id  Label    Quantity  Decimals             Factor  Offset\n"
            "--  -------  --------  --------  -----------------  ------\n"
            "51  [W]      Power            0                  1       0\n"
            "52  [kW]     Power            3              0.001       0\n"
            "53  [Btu/h]  Power            0             3.4118       0\n"
            "54  [Revit]  Power            0  10.76391041670972       0\n");
  EXPECT_THAT(vkd({"units", "PRESSURE"}).out,
              HasSubstr("48  [Revit]  Pressure or pressure difference         0                  "
                        "0.3048       0\n"));
  EXPECT_EQ(jq({"units", "temperature", "--format", "json"},
               ".[] | select(.id == 103) | [.factor, .offset] | @tsv"),
            "1.8\t32\n");
  EXPECT_EQ(jq({"units", "sound", "--format", "json"}, ".[1] | [.label, .factor] | @tsv"),
            "[dB(A)]\t-\n")
      << "decibels do not convert into each other";
  EXPECT_EQ(jq({"units", "--format", "json"}, "length"), "63\n");
  EXPECT_EQ(vkd({"units", "entropy"}).code, 2);
  EXPECT_EQ(vkd({"units", "a", "b"}).code, 2);
}

}  // namespace

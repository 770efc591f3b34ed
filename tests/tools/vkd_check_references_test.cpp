// vkd check on the sample dataset, clean as it is built, and with each kind of problem
// planted into it by hand, as another program or an older version would leave it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_dataset.h"
#include "support/temp_folder.h"
#include "support/vkd_runner.h"

namespace {

using ::testing::HasSubstr;
using vxkd_test::runVkd;
using vxkd_test::shellQuoted;
using vxkd_test::TempFolder;
using vxkd_test::VkdResult;

std::set<std::string> linesOf(const std::string& text) {
  std::set<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.insert(line);
  return lines;
}

class VkdCheckReferences : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(vkd({"new", "--sample", file("sample.vkd")}).code, 0); }
  VkdResult vkd(const std::vector<std::string>& args) { return runVkd(args, io_); }
  std::string file(const char* name) const { return dir_.native(name); }

  TempFolder dir_;
  TempFolder io_;  // what vkd prints passes through here
};

TEST_F(VkdCheckReferences, TheSampleHasNoProblems) {
  VkdResult run = vkd({"check", file("sample.vkd")});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, file("sample.vkd") + ": no problems found\n");
  EXPECT_EQ(run.err, "");
}

// One hand edit of the file and every line that vkd check must print for it, no more.
struct Planted {
  const char* what;
  std::vector<std::string> sql;
  std::vector<std::string> problems;
};

const std::string kLacks = ", which the dataset lacks";
const std::string kStored = " (a stored value, lost on the next save)";

const Planted kPlanted[] = {
    {"a product's linetype",
     {"UPDATE SP_pipe_definitions SET f1506_linetype = 'NO_SUCH' WHERE record_key = '000006'"},
     {"product pipe:6 \"Copper pipe 15x1, hot water\" names linetype \"NO_SUCH\"" + kLacks}},
    {"a product's symbol",
     {"UPDATE SE_electrical_line_definitions SET f1504_symbol_id = 'NO_SYMBOL' "
      "WHERE record_key = '000001'"},
     {"product electric:1 \"NYM-J 3x1.5\" names symbol \"NO_SYMBOL\"" + kLacks}},
    {"a product's dimension text format",
     {"DELETE FROM RT_dimension_text_formats WHERE record_key = '000005'"},
     {"product Data/Data cables:1 \"Cat 6A S/FTP 4x2xAWG23\" names dimension text format 5" +
          kLacks + " (integrated text 1)",
      "product Data/Data cables:2 \"Fibre OM4, 12 fibres\" names dimension text format 5" + kLacks +
          " (integrated text 1)",
      "product data:1 \"Cat 6A S/FTP 4x2xAWG23\" names dimension text format 5" + kLacks +
          " (integrated text 1)",
      "product data:2 \"Cat 7 S/FTP 4x2xAWG22\" names dimension text format 5" + kLacks +
          " (integrated text 1)",
      "product data:3 \"Fibre OM4, 12 fibres\" names dimension text format 5" + kLacks +
          " (integrated text 1)"}},
    {"a product's property definition",
     {"DELETE FROM RD_property_definitions WHERE record_key = '000023'"},
     {"product Ventilation/Dampers:1 \"Fire damper 400x200 EI60\" names property definition 23" +
          kLacks + kStored,
      "product electric:6 \"NHXH-J 3x1.5 E30, fire-rated\" names property definition 23" + kLacks +
          kStored}},
    {"a format's text style",
     {"UPDATE LX_text_styles SET f1508_name = 'Notes 2' WHERE f1508_name = 'Notes'"},
     {"dimension text format 8 \"Description with note\" names text style \"Notes\"" + kLacks}},
    {"a format's property",
     {"UPDATE RT_dimension_text_formats SET f1505_format = 'ISO { Insulaton }' "
      "WHERE record_key = '000006'"},
     {"dimension text format 6 \"Insulation\" names property definition \"Insulaton\"" + kLacks +
      " (its format string)"}},
    {"a format's special property",
     {"UPDATE RT_dimension_text_formats SET f1505_format = '{*PARTNO*}' "
      "WHERE record_key = '000007'"},
     {"dimension text format 7 \"Part ID\" names special property \"*PARTNO*\", which does not "
      "exist (its format string)"}},
    {"a format string with an open brace",
     {"UPDATE RT_dimension_text_formats SET f1505_format = 'Ø{Diameter' "
      "WHERE record_key = '000002'"},
     {"dimension text format 2 \"Round duct\" has a format string with a \"{\" without \"}\"; "
      "what follows it is lost"}},
    {"a layer's linetype",
     {"UPDATE LD_layer_definitions SET f1506_linetype = 'DASHED_X' WHERE record_key = '000054'"},
     {"layer 54 \"E-DEVICE-REFLINE\" names linetype \"DASHED_X\"" + kLacks}},
    {"two property definitions of one name",
     {"UPDATE RD_property_definitions SET f1501_name = 'material' WHERE record_key = '000022'"},
     {"property definition 22 \"material\" has the name of property definition 7 \"Material\"; "
      "property definition names must be unique (ignoring case)",
      "part ID format 6 \"Device\" names property definition \"Manufacturer\"" + kLacks +
          " (its format string)"}},
    {"two linetypes of one name",
     {"UPDATE LT_linetypes SET f1501_name = 'hidden' WHERE f1501_name = 'CENTER'"},
     {"linetype \"hidden\" has the name of linetype \"HIDDEN\"; linetype names must be unique "
      "(ignoring case)"}},
    {"two text styles of one name, and the formats of the lost one",
     {"UPDATE LX_text_styles SET f1508_name = 'ARIAL' WHERE f1508_name = 'Romans'"},
     {"dimension text format 3 \"Pipe\" names text style \"Romans\"" + kLacks,
      "dimension text format 6 \"Insulation\" names text style \"Romans\"" + kLacks,
      "report definition 3 \"Ventilation devices\" names text style \"Romans\"" + kLacks,
      "text style 3 \"ARIAL\" has the name of text style 2 \"Arial\"; text style names must be "
      "unique (ignoring case)"}},
    {"two layers of one name",
     {"UPDATE LD_layer_definitions SET f1505_name = 'm-duct' WHERE record_key = '000021'"},
     {"layer 21 \"m-duct\" has the name of layer 11 \"M-DUCT\"; layer names must be unique "
      "(ignoring case)"}},
    {"two symbols of one id",
     {"UPDATE S2_symbols_2d SET f1504_symbol_id = 'SOCKET' WHERE record_key = '00000002'"},
     {"symbol 2 \"SOCKET\" has the symbol id of symbol 1 \"SOCKET\"; products name symbols by "
      "their id, which must be unique",
      "product Electrical/Sockets and switches:2 \"Double wall socket\" names symbol "
      "\"SOCKET_DOUBLE\"" +
          kLacks}},
};

void PrintTo(const Planted& planted, std::ostream* out) { *out << planted.what; }

class VkdCheckPlanted : public VkdCheckReferences, public ::testing::WithParamInterface<Planted> {};

TEST_P(VkdCheckPlanted, FindsThePlantedProblemAndNothingElse) {
  const Planted& planted = GetParam();
  for (const std::string& sql : planted.sql)
    ASSERT_TRUE(vxkd_test::runSql(dir_.path(L"sample.vkd"), sql)) << sql;
  VkdResult run = vkd({"check", file("sample.vkd")});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(linesOf(run.out),
            std::set<std::string>(planted.problems.begin(), planted.problems.end()))
      << run.out;
  const size_t n = planted.problems.size();
  EXPECT_EQ(run.err, "vkd: " + std::to_string(n) + (n == 1 ? " problem" : " problems") + " in " +
                         file("sample.vkd") + "\n");
}

INSTANTIATE_TEST_SUITE_P(EachKind, VkdCheckPlanted, ::testing::ValuesIn(kPlanted),
                         [](const ::testing::TestParamInfo<Planted>& info) {
                           std::string name;
                           for (const char* c = info.param.what; *c; ++c)
                             if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
                           return name;
                         });

// The JSON form holds the same problems, and a standard tool reads it.
TEST_F(VkdCheckReferences, JsonListsTheSameProblemsAsTheText) {
  for (const Planted& planted : kPlanted)
    for (const std::string& sql : planted.sql)
      ASSERT_TRUE(vxkd_test::runSql(dir_.path(L"sample.vkd"), sql)) << sql;
  VkdResult text = vkd({"check", file("sample.vkd")});
  ASSERT_EQ(text.code, 1);
  const std::string command = shellQuoted(VXKD_VKD_PROGRAM) + " check " +
                              shellQuoted(file("sample.vkd")) + " --format json > " +
                              shellQuoted(file("check.json"));
  ASSERT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
  const std::string jq =
      "jq -r '.problems[]' " + shellQuoted(file("check.json")) + " > " + shellQuoted(file("lines"));
  ASSERT_EQ(std::system(jq.c_str()), 0) << dir_.read("check.json");
  EXPECT_EQ(dir_.read("lines"), text.out);
  EXPECT_THAT(dir_.read("check.json"), HasSubstr("\"dataset\": \"" + file("sample.vkd") + "\""));
}

}  // namespace

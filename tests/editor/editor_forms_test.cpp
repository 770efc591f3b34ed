// The generic form of the editor (layers, linetypes, text styles) and its merge page, called
// in-process on a dataset file: each change is in the file at once, and each refusal leaves
// the file as it was.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include "editor_api.h"
#include "support/sample_project.h"
#include "support/temp_folder.h"
#include "vxkd/dataset/project.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/lock_file.h"

namespace {

using json = nlohmann::json;
using vkdedit::ApiReply;
using vkdedit::ApiRequest;
using vkdedit::EditorApi;

class EditorFormsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    VxKd::initVxKd();
    ASSERT_TRUE(vxkd_test::saveSampleDataset(dir_.path(L"sample.vkd")));
    std::string why;
    ASSERT_TRUE(api_.open(why)) << why;
  }
  void TearDown() override { VxKd::exitVxKd(); }

  ApiReply call(const std::string& method, const std::string& path, const json& body = nullptr) {
    return api_.handle(ApiRequest{method, path, {}, body.is_null() ? "" : body.dump()});
  }
  CKdProject reread() {
    CKdProject project;
    EXPECT_TRUE(project.readDb(nullptr, CWsz::fromUtf8(file_.c_str())));
    return project;
  }
  std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }
  static bool hasCaption(const ApiReply& reply, const std::string& caption) {
    for (const json& box : reply.body["messages"])
      if (box["caption"] == caption) return true;
    return false;
  }

  vxkd_test::TempFolder dir_;
  std::string file_ = dir_.native("sample.vkd");
  EditorApi api_{dir_.native("sample.vkd")};
};

TEST_F(EditorFormsTest, InfoCarriesTheFieldTableOfEachForm) {
  const json forms = call("GET", "/info").body["forms"];
  ASSERT_TRUE(forms.contains("layers"));
  EXPECT_EQ(forms["layers"]["canAdd"], false);
  EXPECT_EQ(forms["linetypes"]["canDelete"], true);
  bool colour = false;
  for (const json& field : forms["layers"]["fields"])
    colour |= field["key"] == "color" && field["min"] == 1 && field["max"] == 255;
  EXPECT_TRUE(colour);
}

TEST_F(EditorFormsTest, AnEditedLayerIsInTheFileAtOnce) {
  const ApiReply reply =
      call("PUT", "/layers/11", {{"name", "DUCTS"}, {"linetype", "DASHED"}, {"color", 2}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["name"], "DUCTS");
  const CKdProject stored = reread();
  const CKdLayerDef* layer = stored.layerDefs().findLayerDef(11);
  ASSERT_NE(layer, nullptr);
  EXPECT_STREQ(layer->name(), L"DUCTS");
  EXPECT_STREQ(layer->linetype(), L"DASHED");
  EXPECT_EQ(layer->colorNmb(), 2);
}

struct Refused {
  const char* method;
  const char* path;
  const char* body;  // JSON
  int status;
};

void PrintTo(const Refused& r, std::ostream* out) {
  *out << r.method << " " << r.path << " " << r.body;
}

class RefusedFormTest : public EditorFormsTest, public ::testing::WithParamInterface<Refused> {};

// Each refusal answers with a reason and leaves the file byte for byte as it was.
TEST_P(RefusedFormTest, ChangesNothing) {
  const std::string before = fileBytes(file_);
  const ApiReply reply = call(GetParam().method, GetParam().path, json::parse(GetParam().body));
  EXPECT_EQ(reply.status, GetParam().status) << reply.body.dump();
  EXPECT_EQ(reply.body.value("stored", false), false);
  EXPECT_TRUE(reply.body.contains("error"));
  EXPECT_EQ(fileBytes(file_), before);
  const CKdProject stored = reread();
  EXPECT_STREQ(stored.layerDefs().findLayerDef(11)->name(), L"M-DUCT");
  EXPECT_EQ(stored.linetypeDefs().length(), 3);
  EXPECT_EQ(stored.textStyleDefs().length(), 2);
  // The editor's content is the file's: the list shows what is stored.
  EXPECT_EQ(call("GET", "/linetypes").body["items"].size(), 3u);
  EXPECT_EQ(call("GET", "/layers").body["items"][0]["name"], "M-DUCT");
}

// A report of one column more than a report holds.
const std::string kTooManyColumns = [] {
  json columns = json::array();
  for (int i = 0; i < 131; ++i) columns.push_back({{"property", 1}, {"length", 5}});
  return json{{"columns", columns}}.dump();
}();

INSTANTIATE_TEST_SUITE_P(
    Forms, RefusedFormTest,
    ::testing::Values(
        Refused{"PUT", "/layers/11", R"({"name": "A/B"})", 422},
        Refused{"PUT", "/layers/11", R"({"name": "vantkd_pipe"})", 422},
        Refused{"PUT", "/layers/11", R"({"name": ""})", 422},
        Refused{"PUT", "/layers/11", R"({"linetype": "NOPE"})", 400},
        Refused{"PUT", "/layers/11", R"({"color": 0})", 400},
        Refused{"PUT", "/layers/11", R"({"color": "red"})", 400},
        Refused{"PUT", "/layers/11", R"({"name": "A\nB"})", 400},
        Refused{"PUT", "/layers/105", R"({"name": "X"})", 422},
        Refused{"POST", "/layers", R"({"name": "NEW"})", 405},
        Refused{"DELETE", "/layers/11", R"({})", 405},
        Refused{"POST", "/linetypes", R"({"name": "dashed", "data": "A,1,-1"})", 422},
        Refused{"POST", "/linetypes", R"({"name": "ByLayer", "data": "A,1,-1"})", 422},
        Refused{"POST", "/linetypes", R"({"name": "A,B", "data": "A,1,-1"})", 422},
        Refused{"POST", "/linetypes", R"({"name": "EMPTY", "data": ""})", 422},
        Refused{"PUT", "/linetypes/0", R"({"desc": "solid"})", 422},
        Refused{"PUT", "/linetypes/1", R"({"name": "DASHED2"})", 422},
        Refused{"PUT", "/linetypes/9", R"({"desc": "none"})", 422},
        Refused{"DELETE", "/linetypes/1", R"({})", 422},
        Refused{"DELETE", "/linetypes/0", R"({})", 422},
        Refused{"POST", "/textStyles", R"({"name": "narrow", "font": "txt"})", 422},
        Refused{"POST", "/textStyles", R"({"name": "Bare"})", 422},
        Refused{"POST", "/textStyles", R"({"name": "Thin", "font": "txt", "xScale": 0})", 400},
        Refused{"POST", "/textStyles", R"({"name": "Bold", "font": "txt", "bold": 1})", 400},
        Refused{"PUT", "/textStyles/2", R"({"name": "Slim"})", 422},
        Refused{"DELETE", "/textStyles/2", R"({})", 422},
        Refused{"PUT", "/reports/1", R"({"name": ""})", 422},
        Refused{"PUT", "/reports/1", R"({"style": "Nope"})", 400},
        Refused{"PUT", "/reports/1", R"({"fontHeight": 0})", 400},
        Refused{"PUT", "/reports/7", R"({"name": "None"})", 422},
        Refused{"POST", "/reports", R"({"name": "duct LIST"})", 422},
        Refused{"POST", "/reports", R"({"style": "Standard"})", 422},
        Refused{"PUT", "/reports/1", R"({"name": "Cable list", "columns": [{"property": 99}]})",
                422},
        Refused{"PUT", "/reports/1", R"({"columns": [{"length": 10}]})", 422},
        Refused{"PUT", "/reports/1", R"({"columns": [{"property": 1, "length": 0}]})", 422},
        Refused{
            "PUT", "/reports/1",
            R"({"columns": [{"property": 1, "header1": "123456789012345678901234567890123456789012345678901234567890"}]})",
            422},
        Refused{"PUT", "/reports/1",
                R"({"columns": [{"property": 1, "header2": "ääääääääääääääääääääääääääääää"}]})",
                422},
        Refused{"PUT", "/reports/1", R"({"columns": [{"property": 1, "header1": "a\nb"}]})", 422},
        Refused{"PUT", "/reports/1", R"({"columns": [{"property": 1, "lineType": 3}]})", 422},
        Refused{"PUT", "/reports/1", R"({"columns": {"property": 1}})", 422},
        Refused{"PUT", "/reports/1", kTooManyColumns.c_str(), 422},
        Refused{"PUT", "/reports/1", R"({"sort": {"property": 99}})", 422},
        Refused{"PUT", "/reports/1", R"({"sort": {"property": 1, "descending": "yes"}})", 422},
        Refused{"PUT", "/reports/1", R"({"lists": [6]})", 422},
        Refused{"PUT", "/reports/1", R"({"lists": []})", 422},
        Refused{"PUT", "/reports/1", R"({"lists": [1], "deviceGroups": ["Electrical"]})", 422},
        Refused{"PUT", "/reports/1",
                R"({"lists": [1], "deviceGroups": ["00000000-0000-4000-8000-000000000099"]})", 422},
        Refused{"PUT", "/reports/1", R"({"firstRowHeight": -1})", 400},
        Refused{"PUT", "/reports/1", R"({"verticalTexts": 1})", 400},
        Refused{"DELETE", "/reports/7", R"({})", 422},
        Refused{"PUT", "/symbols/0", R"({"desc": ""})", 422},
        Refused{"PUT", "/symbols/SOCKET", R"({"desc": "Socket"})", 404},
        Refused{"POST", "/symbols", R"({"desc": "New"})", 405},
        Refused{"PUT", "/blocks/0", R"({"desc": ""})", 422},
        Refused{"PUT", "/blocks/5", R"({"desc": "None"})", 422}));

TEST_F(EditorFormsTest, SymbolsAndBlocksAreRenamedInTheFileAndKeepTheirDrawings) {
  ApiReply reply = call("PUT", "/symbols/0", {{"desc", "Double socket"}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["symbol"], "SOCKET");
  reply = call("PUT", "/blocks/0", {{"desc", "Socket triple"}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["picture"], "3/0");
  const CKdProject stored = reread();
  EXPECT_STREQ(stored.symbols().objAt(stored.symbols().find("SOCKET"))->desc(), L"Double socket");
  EXPECT_STREQ(stored.productGroups().findGroup(3)->blocks().objAt(0)->desc(), L"Socket triple");
  EXPECT_EQ(call("GET", "/symbols/SOCKET").status, 200)
      << call("GET", "/symbols/SOCKET").body.dump();
  EXPECT_EQ(call("GET", "/blocks/3/0").status, 200);
}

TEST_F(EditorFormsTest, AnEditedReportDefinitionIsInTheFileWithItsColumns) {
  const ApiReply reply = call(
      "PUT", "/reports/1",
      {{"name", "Duct table"}, {"style", "Standard"}, {"fontHeight", 3.5}, {"vertical", true}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  const CKdProject stored = reread();
  const CKdReport& report = *stored.reportDefs().objAt(0);
  EXPECT_STREQ(report.desc(), L"Duct table");
  EXPECT_STREQ(report.fontStyleName(), L"Standard");
  EXPECT_FLOAT_EQ(report.fontHeight(), 3.5f);
  EXPECT_EQ(report.orientation(), CKdReport::vertical);
  EXPECT_EQ(report.columns().length(), reply.body["item"]["columnCount"].get<int>());
  EXPECT_GT(report.columns().length(), 0);
}

// ---- report definitions ----------------------------------------------------------------

class EditorReportsTest : public EditorFormsTest {
 protected:
  // The GUID text of the sample's product group `path`, as the report form offers it.
  std::string groupGuid(const std::string& path) {
    const json groups = call("GET", "/reports/choices").body["groups"];
    for (const json& group : groups)
      if (group["path"] == path) return group["guid"];
    ADD_FAILURE() << "no group " << path;
    return "";
  }
  static json column(long property, double length, const char* header1 = "",
                     const char* header2 = "", int lineType = 0) {
    return {{"property", property},
            {"length", length},
            {"header1", header1},
            {"header2", header2},
            {"lineType", lineType}};
  }
};

TEST_F(EditorReportsTest, AReportIsAddedWithTheDefaultsAndDeletedFromTheFile) {
  ApiReply reply = call("POST", "/reports", {{"name", "Pipe list"}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  const long id = reply.body["item"]["id"];
  EXPECT_EQ(id, 2);
  CKdProject stored = reread();
  ASSERT_EQ(stored.reportDefs().length(), 2);
  const CKdReport& added = *stored.reportDefs().findId(id);
  CKdReport defaults;
  EXPECT_STREQ(added.desc(), L"Pipe list");
  EXPECT_EQ(added.entityTypeIds().length(), 1);
  EXPECT_TRUE(added.hasDevices());
  EXPECT_EQ(added.columns().length(), 0);
  EXPECT_STREQ(added.fontStyleName(), defaults.fontStyleName());
  EXPECT_FLOAT_EQ(added.firstRowHeight(), defaults.firstRowHeight());
  EXPECT_FLOAT_EQ(added.cellHeight(), defaults.cellHeight());
  EXPECT_EQ(added.sortPropertyId(), 0);

  reply = call("DELETE", "/reports/" + std::to_string(id), json::object());
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  stored = reread();
  ASSERT_EQ(stored.reportDefs().length(), 1);
  EXPECT_STREQ(stored.reportDefs().objAt(0)->desc(), L"Duct list");
  EXPECT_EQ(call("GET", "/reports").body["items"].size(), 1u);
  // The next report takes the freed id again, with nothing of the deleted one.
  reply = call("POST", "/reports", {{"name", "Fresh"}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  EXPECT_STREQ(reread().reportDefs().findId(2)->desc(), L"Fresh");
}

TEST_F(EditorReportsTest, AWholeReportIsStoredWithItsColumnsInOrder) {
  const std::string grilles = groupGuid("Ventilation/Grilles");
  json columns =
      json::array({column(4, 12.5, "Flow", "[l/s]", 2), column(5, 30, "Mat."),
                   column(-1, 20, "Part", "", 1), column(1, 15, "äääääääääääääääääääääääääääää")});
  const ApiReply reply = call("PUT", "/reports/1",
                              {{"name", "Grille list"},
                               {"lists", json::array({3, 1, 3})},
                               {"deviceGroups", json::array({grilles})},
                               {"sort", {{"property", 4}, {"descending", false}}},
                               {"verticalTexts", true},
                               {"firstColWidth", 12},
                               {"columns", columns}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  const CKdProject stored = reread();
  const CKdReport& report = *stored.reportDefs().findId(1);
  EXPECT_STREQ(report.desc(), L"Grille list");
  ASSERT_EQ(report.entityTypeIds().length(), 2);
  EXPECT_EQ(report.entityTypeIds()[0], CKdReport::entityPipes);
  EXPECT_EQ(report.entityTypeIds()[1], CKdReport::entityDevices);
  ASSERT_EQ(report.devGroups().length(), 1);
  EXPECT_EQ(*report.devGroups().objAt(0), stored.productGroups().findGroup(2)->guid());
  EXPECT_EQ(report.sortPropertyId(), 4);
  EXPECT_EQ(report.sortType(), VxKd::sortAscending);
  EXPECT_TRUE(report.verticalTextsInFirstRow());
  EXPECT_FLOAT_EQ(report.firstColWidth(), 12.0f);
  ASSERT_EQ(report.columns().length(), 4);
  const struct {
    long property;
    float length;
    const char* header1;
    const char* header2;
    short lineType;
  } kExpected[] = {{4, 12.5f, "Flow", "[l/s]", 2},
                   {5, 30.0f, "Mat.", "", 0},
                   {-1, 20.0f, "Part", "", 1},
                   {1, 15.0f, "äääääääääääääääääääääääääääää", "", 0}};
  for (int i = 0; i < 4; ++i) {
    const CSReportColumn& c = *report.columns().at(i);
    EXPECT_EQ(c.propertyId(), kExpected[i].property) << i;
    EXPECT_FLOAT_EQ(c.length(), kExpected[i].length) << i;
    EXPECT_STREQ(c.header1(), kExpected[i].header1) << i;
    EXPECT_STREQ(c.header2(), kExpected[i].header2) << i;
    EXPECT_EQ(c.lineType(), kExpected[i].lineType) << i;
  }
  // The page reads back what it sent, the property names added.
  const json& item = reply.body["item"];
  EXPECT_EQ(item["columnCount"], 4);
  EXPECT_EQ(item["columns"][0]["propertyName"], "Flow");
  EXPECT_EQ(item["columns"][2]["propertyName"], "*PARTID*");
  EXPECT_EQ(item["columns"][0]["length"], 12.5);
  EXPECT_EQ(item["deviceGroups"], json::array({grilles}));
  EXPECT_EQ(item["sortedBy"], "Flow, Ascending");

  // Moved down: the same columns in another order.
  std::swap(columns[0], columns[1]);
  ASSERT_EQ(call("PUT", "/reports/1", {{"columns", columns}}).status, 200);
  EXPECT_EQ(reread().reportDefs().findId(1)->columns().at(0)->propertyId(), 5);
  EXPECT_EQ(reread().reportDefs().findId(1)->columns().at(1)->propertyId(), 4);
}

TEST_F(EditorReportsTest, DeviceGroupsGoWithTheDevices) {
  const std::string grilles = groupGuid("Ventilation/Grilles");
  ASSERT_EQ(call("PUT", "/reports/1",
                 {{"lists", json::array({1})}, {"deviceGroups", json::array({grilles})}})
                .status,
            200);
  EXPECT_EQ(reread().reportDefs().findId(1)->devGroups().length(), 1);
  const ApiReply reply = call("PUT", "/reports/1", {{"lists", json::array({2})}});
  ASSERT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body["item"]["deviceGroups"], json::array());
  EXPECT_EQ(reread().reportDefs().findId(1)->devGroups().length(), 0);
}

TEST_F(EditorReportsTest, AReportHoldsUpTo130Columns) {
  json columns = json::array();
  for (int i = 0; i < 130; ++i) columns.push_back(column(1 + i % 5, 5));
  ASSERT_EQ(call("PUT", "/reports/1", {{"columns", columns}}).status, 200);
  EXPECT_EQ(reread().reportDefs().findId(1)->columns().length(), 130);
}

// The sample report's heading row fits its headings (two lines: "Width" over "[mm]").
TEST_F(EditorReportsTest, AFittingFirstRowGoesOnFittingUntilItIsGivenAHeight) {
  ASSERT_TRUE(reread().reportDefs().findId(1)->isAutoFirstRowHeight());
  const json item = call("GET", "/reports").body["items"][0];
  ASSERT_EQ(item["autoFirstRowHeight"], true);
  ASSERT_EQ(item["firstRowHeight"], 6);
  auto firstRow = [&] { return reread().reportDefs().findId(1)->firstRowHeight(); };

  // One heading line: one row high; the height sent back unchanged, as the page does.
  ApiReply reply =
      call("PUT", "/reports/1",
           {{"columns", json::array({column(1, 15, "Width")})}, {"firstRowHeight", 6}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_FLOAT_EQ(firstRow(), 3.0f);
  // Higher rows, two heading lines.
  ASSERT_EQ(call("PUT", "/reports/1",
                 {{"columns", json::array({column(1, 15, "Width", "[mm]")})}, {"cellHeight", 4}})
                .status,
            200);
  EXPECT_FLOAT_EQ(firstRow(), 8.0f);
  // A height of its own stays, whatever the headings.
  ASSERT_EQ(call("PUT", "/reports/1", {{"firstRowHeight", 11}}).status, 200);
  EXPECT_FLOAT_EQ(firstRow(), 11.0f);
  ASSERT_EQ(call("PUT", "/reports/1", {{"columns", json::array({column(1, 15, "Width")})}}).status,
            200);
  EXPECT_FLOAT_EQ(firstRow(), 11.0f);
  EXPECT_EQ(call("GET", "/reports").body["items"][0]["autoFirstRowHeight"], false);
}

// A report read from a file may name a definition deleted since, or have a heading of
// another code page ("L\xE4nge" in Latin-1, which the page receives with U+FFFD for the
// byte): saving it unchanged keeps them.
TEST_F(EditorReportsTest, WhatAStoredReportNamesIsKeptThoughTheDatasetLacksIt) {
  {
    CKdProject project = reread();
    CSReportColumn lost;
    lost.setPropertyId(77);
    lost.setLineType(9);
    lost.setHeader1("L\xE4nge");
    project.reportDefs().findId(1)->columns().append(&lost);
    ASSERT_TRUE(project.updateDb(nullptr));
  }
  EditorApi fresh(file_);
  std::string why;
  ASSERT_TRUE(fresh.open(why)) << why;
  // What the server sends the page.
  const std::string sent = fresh.handle(ApiRequest{"GET", "/reports", {}, ""})
                               .body.dump(-1, ' ', false, json::error_handler_t::replace);
  json item = json::parse(sent)["items"][0];
  ASSERT_EQ(item["columns"].size(), 3u);
  EXPECT_EQ(item["columns"][2]["propertyName"], "#77");
  EXPECT_EQ(item["columns"][2]["header1"], "L\xEF\xBF\xBDnge");
  item["name"] = "Kept";
  ApiReply reply = fresh.handle(ApiRequest{"PUT", "/reports/1", {}, item.dump()});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  const CKdProject stored = reread();
  const CKdReport& kept = *stored.reportDefs().findId(1);
  EXPECT_STREQ(kept.desc(), L"Kept");
  ASSERT_EQ(kept.columns().length(), 3);
  EXPECT_EQ(kept.columns().at(2)->propertyId(), 77);
  EXPECT_EQ(kept.columns().at(2)->lineType(), 9);
  EXPECT_STREQ(kept.columns().at(2)->header1(), "L\xE4nge");
  // Another report cannot take up what only the first one names.
  reply = fresh.handle(
      ApiRequest{"POST",
                 "/reports",
                 {},
                 json{{"name", "New"}, {"columns", json::array({column(77, 10)})}}.dump()});
  EXPECT_EQ(reply.status, 422);
}

TEST_F(EditorReportsTest, TheFormsChoicesNameWhatTheDatasetHas) {
  const json choices = call("GET", "/reports/choices").body;
  std::vector<std::string> names;
  for (const json& p : choices["properties"]) names.push_back(p["name"]);
  EXPECT_EQ(names.front(), "Width");
  EXPECT_NE(std::find(names.begin(), names.end(), "*PARTID*"), names.end());
  EXPECT_EQ(choices["lineTypes"][1]["name"], "Draw line after column in DWG report");
  EXPECT_EQ(choices["sortTypes"][1]["name"], "Descending");
  EXPECT_EQ(choices["entityTypes"].size(), 5u);
  EXPECT_EQ(choices["groups"].size(), 4u);
  EXPECT_EQ(choices["maxColumns"], 130);
  EXPECT_EQ(choices["maxHeaderBytes"], 59);
  EXPECT_EQ(choices["defaults"]["firstRowHeight"], 10);
}

TEST_F(EditorReportsTest, AChangeWhileAnotherUserHoldsTheLockChangesNothing) {
  const std::string before = fileBytes(file_);
  CLockFile other;
  ASSERT_EQ(
      other.set(CLockFile::lockFileNameFor(CWsz::fromUtf8(file_.c_str())), L"someone", nullptr), 0);
  ApiReply reply = call("PUT", "/reports/1", {{"columns", json::array({column(1, 10, "Locked")})}});
  EXPECT_EQ(reply.status, 409);
  EXPECT_FALSE(reply.body["messages"].empty());
  EXPECT_EQ(call("DELETE", "/reports/1", json::object()).status, 409);
  EXPECT_EQ(call("POST", "/reports", {{"name", "Locked"}}).status, 409);
  other.release();
  EXPECT_EQ(fileBytes(file_), before);
  EXPECT_EQ(call("GET", "/reports").body["items"][0]["columnCount"], 2);
}

TEST_F(EditorFormsTest, ALinetypeIsAddedRenamedAndDeletedInTheFile) {
  ApiReply reply = call("POST", "/linetypes",
                        {{"name", "BORDER"}, {"desc", "Border"}, {"data", "A,.5,-.25,0,-.25"}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  const long id = reply.body["item"]["id"];
  const CKdProject stored = reread();
  const CKdLinetypeDef* added = stored.linetypeDefs().findLinetypeDef(L"BORDER");
  ASSERT_NE(added, nullptr);
  EXPECT_STREQ(added->data(), L"A,.5,-.25,0,-.25");
  reply = call("PUT", "/linetypes/" + std::to_string(id), {{"name", "BORDER2"}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_NE(reread().linetypeDefs().findLinetypeDef(L"BORDER2"), nullptr);
  EXPECT_EQ(reread().linetypeDefs().findLinetypeDef(L"BORDER"), nullptr);
  reply = call("DELETE", "/linetypes/" + std::to_string(id), json::object());
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reread().linetypeDefs().findLinetypeDef(L"BORDER2"), nullptr);
}

TEST_F(EditorFormsTest, ALinetypeInUseIsKeptWithTheLibrarysMessage) {
  const ApiReply reply = call("DELETE", "/linetypes/1", json::object());
  EXPECT_EQ(reply.status, 422);
  EXPECT_TRUE(hasCaption(reply, "Cannot Delete")) << reply.body.dump();
  EXPECT_NE(reread().linetypeDefs().findLinetypeDef(L"DASHED"), nullptr);
}

TEST_F(EditorFormsTest, ATextStyleIsAddedChangedAndDeletedInTheFile) {
  ApiReply reply = call("POST", "/textStyles",
                        {{"name", "Wide"}, {"font", "txt"}, {"xScale", 1.5}, {"bold", true}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  const long id = reply.body["item"]["id"];
  const CKdProject stored = reread();
  const CKdTextStyleDef* wide = stored.textStyleDefs().findStyle(L"Wide");
  ASSERT_NE(wide, nullptr);
  EXPECT_FLOAT_EQ(wide->xScale(), 1.5f);
  EXPECT_TRUE(wide->isBold());
  reply = call("PUT", "/textStyles/" + std::to_string(id), {{"textSize", 3.5}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_FLOAT_EQ(reread().textStyleDefs().findStyle(L"Wide")->textSize(), 3.5f);
  reply = call("DELETE", "/textStyles/" + std::to_string(id), json::object());
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reread().textStyleDefs().findStyle(L"Wide"), nullptr);
  EXPECT_EQ(reread().textStyleDefs().length(), 2);
}

TEST_F(EditorFormsTest, ATextStyleInUseIsKeptWithTheLibrarysMessage) {
  const ApiReply reply = call("DELETE", "/textStyles/2", json::object());
  EXPECT_EQ(reply.status, 422);
  ASSERT_TRUE(hasCaption(reply, "Cannot Delete")) << reply.body.dump();
  const std::string text = reply.body["messages"][0]["text"];
  EXPECT_NE(text.find("Dimension text formats"), std::string::npos);
  EXPECT_NE(text.find("Report definitions"), std::string::npos);
  EXPECT_NE(reread().textStyleDefs().findStyle(L"Narrow"), nullptr);
}

TEST_F(EditorFormsTest, AFormChangeWaitsWhileAnotherUserHoldsTheLock) {
  CLockFile other;
  ASSERT_EQ(
      other.set(CLockFile::lockFileNameFor(CWsz::fromUtf8(file_.c_str())), L"someone", nullptr), 0);
  const ApiReply reply = call("PUT", "/layers/11", {{"name", "LOCKED"}});
  EXPECT_EQ(reply.status, 409);
  other.release();
  EXPECT_STREQ(reread().layerDefs().findLayerDef(11)->name(), L"M-DUCT");
}

// ---- the merge page ---------------------------------------------------------------------

class EditorMergeTest : public EditorFormsTest {
 protected:
  // A source dataset: the sample with one more linetype and another colour of layer 12.
  std::string sourceBytes() {
    CKdProject source;
    vxkd_test::fillSampleProject(source);
    const CKdLinetypeDef border(L"BORDER", L"Border", L"A,.5,-.25,0,-.25");
    source.linetypeDefs().append(&border);
    source.layerDefs().findLayerDef(12)->setColorNmb(4);
    EXPECT_TRUE(source.saveDbAs(nullptr, dir_.path(L"source.vkd")));
    return fileBytes(dir_.native("source.vkd"));
  }
  ApiReply upload(const std::string& bytes) {
    return api_.handle(ApiRequest{"POST", "/merge/source", {{"name", "source.vkd"}}, bytes});
  }
  static const json* itemNamed(const json& merge, const std::string& name) {
    for (const json& item : merge["items"])
      if (item["name"] == name) return &item;
    return nullptr;
  }
};

TEST_F(EditorMergeTest, TheComparisonShowsWhatDiffersWithTheDefaultActions) {
  const ApiReply reply = upload(sourceBytes());
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  const json& merge = reply.body["merge"];
  EXPECT_EQ(merge["source"], "source.vkd");
  EXPECT_EQ(merge["counts"]["onlyInSource"], 1);
  EXPECT_EQ(merge["counts"]["different"], 1);
  const json* border = itemNamed(merge, "BORDER");
  ASSERT_NE(border, nullptr);
  EXPECT_EQ((*border)["kind"], "linetypes");
  EXPECT_EQ((*border)["action"], "create");
  const json* layer = itemNamed(merge, "Ducts - Reference Lines (12)");
  ASSERT_NE(layer, nullptr) << merge.dump();
  EXPECT_EQ((*layer)["state"], "different");
  // An unchanged layer of the program is overwritten by default.
  EXPECT_EQ((*layer)["action"], "overwrite");
}

TEST_F(EditorMergeTest, ChangedActionsDecideWhatIsMergedAndTheReportSaysSo) {
  ASSERT_EQ(upload(sourceBytes()).status, 200);
  ApiReply reply =
      call("PUT", "/merge/action", {{"kind", "layers"}, {"sourceIndex", 1}, {"action", "skip"}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ((*itemNamed(reply.body["merge"], "Ducts - Reference Lines (12)"))["action"], "skip");
  reply = call("POST", "/merge/apply", json::object());
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["report"]["counts"]["create"], 1);
  EXPECT_EQ(reply.body["kindTitles"]["linetypes"], "Linetypes");
  const CKdProject stored = reread();
  EXPECT_NE(stored.linetypeDefs().findLinetypeDef(L"BORDER"), nullptr);
  EXPECT_EQ(stored.layerDefs().findLayerDef(12)->colorNmb(), 3);
  // The merge is over: the page starts again with a source.
  EXPECT_TRUE(call("GET", "/merge").body["merge"].is_null());
  // What the merge stored is what the editor shows.
  EXPECT_EQ(call("GET", "/linetypes").body["items"].size(), 4u);
}

TEST_F(EditorMergeTest, AnActionThatDoesNotFitIsRefusedAndThePlanStays) {
  ASSERT_EQ(upload(sourceBytes()).status, 200);
  const int border = (*itemNamed(call("GET", "/merge").body["merge"], "BORDER"))["sourceIndex"];
  for (const char* action : {"overwrite", "map", "fly"}) {
    const ApiReply reply =
        call("PUT", "/merge/action",
             {{"kind", "linetypes"}, {"sourceIndex", border}, {"action", action}});
    EXPECT_EQ(reply.status, 422) << action;
  }
  EXPECT_EQ(
      call("PUT", "/merge/action", {{"kind", "moons"}, {"sourceIndex", 0}, {"action", "skip"}})
          .status,
      422);
  EXPECT_EQ((*itemNamed(call("GET", "/merge").body["merge"], "BORDER"))["action"], "create");
}

TEST_F(EditorMergeTest, ASourcePutAsideLeavesNothingToMerge) {
  ASSERT_EQ(upload(sourceBytes()).status, 200);
  const std::string before = fileBytes(file_);
  EXPECT_EQ(call("DELETE", "/merge", json::object()).status, 200);
  EXPECT_TRUE(call("GET", "/merge").body["merge"].is_null());
  EXPECT_EQ(call("POST", "/merge/apply", json::object()).status, 404);
  EXPECT_EQ(fileBytes(file_), before);
}

TEST_F(EditorMergeTest, AFileThatIsNoDatasetIsRefusedAndNothingIsCompared) {
  const std::string before = fileBytes(file_);
  EXPECT_EQ(upload("not a dataset").status, 422);
  EXPECT_EQ(upload("").status, 422);
  EXPECT_TRUE(call("GET", "/merge").body["merge"].is_null());
  EXPECT_EQ(call("POST", "/merge/apply", json::object()).status, 404);
  EXPECT_EQ(fileBytes(file_), before);
}

TEST_F(EditorMergeTest, AMergeWhileAnotherUserHoldsTheLockChangesNothing) {
  ASSERT_EQ(upload(sourceBytes()).status, 200);
  const std::string before = fileBytes(file_);
  CLockFile other;
  ASSERT_EQ(
      other.set(CLockFile::lockFileNameFor(CWsz::fromUtf8(file_.c_str())), L"someone", nullptr), 0);
  const ApiReply reply = call("POST", "/merge/apply", json::object());
  EXPECT_EQ(reply.status, 409) << reply.body.dump();
  EXPECT_FALSE(reply.body["messages"].empty());
  other.release();
  EXPECT_EQ(fileBytes(file_), before);
  EXPECT_EQ(reread().linetypeDefs().findLinetypeDef(L"BORDER"), nullptr);
  // The comparison stays for another try.
  EXPECT_FALSE(call("GET", "/merge").body["merge"].is_null());
}

}  // namespace

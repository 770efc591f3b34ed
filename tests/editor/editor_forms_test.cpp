// The generic form of the editor (layers, linetypes, text styles) and its merge page, called
// in-process on a dataset file: each change is in the file at once, and each refusal leaves
// the file as it was.

#include <gtest/gtest.h>

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
        Refused{"POST", "/reports", R"({"name": "New"})", 405},
        Refused{"DELETE", "/reports/1", R"({})", 405},
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
  EXPECT_EQ(report.columns().length(), reply.body["item"]["columns"].get<int>());
  EXPECT_GT(report.columns().length(), 0);
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

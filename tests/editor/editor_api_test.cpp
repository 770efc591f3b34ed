// The JSON interface of the dataset editor, called in-process on a dataset file: what the
// page sends, what it gets back and what ends up in the file.

#include "editor_api.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

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

class EditorApiTest : public ::testing::Test {
 protected:
  void SetUp() override {
    VxKd::initVxKd();
    ASSERT_TRUE(vxkd_test::saveSampleDataset(dir_.path(L"sample.vkd")));
    file_ = dir_.native("sample.vkd");
    std::string why;
    ASSERT_TRUE(api_.open(why)) << why;
  }
  void TearDown() override { VxKd::exitVxKd(); }

  ApiReply call(const std::string& method, const std::string& path, const json& body = nullptr,
                std::map<std::string, std::string> query = {}) {
    return api_.handle(
        ApiRequest{method, path, std::move(query), body.is_null() ? "" : body.dump()});
  }
  // The dataset as the file holds it now.
  CKdProject reread() {
    CKdProject project;
    EXPECT_TRUE(project.readDb(nullptr, CWsz::fromUtf8(file_.c_str())));
    return project;
  }
  std::string fileBytes() const {
    std::ifstream in(file_, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }
  const CKdPropertyDef* storedDef(const CKdProject& project, const wchar_t* name) {
    return project.propertyDefs().findName(name);
  }
  static json def(const std::string& name) {
    return {{"name", name},
            {"desc", "made by a test"},
            {"valueType", 4},
            {"unit", 12},
            {"decimals", 3}};
  }

  vxkd_test::TempFolder dir_;
  std::string file_ = dir_.native("sample.vkd");
  EditorApi api_{dir_.native("sample.vkd")};
};

TEST_F(EditorApiTest, ListsThePropertyDefinitionsWithTheirUnitsAndTypes) {
  const ApiReply reply = call("GET", "/propertyDefs");
  ASSERT_EQ(reply.status, 200);
  const json& items = reply.body["items"];
  ASSERT_EQ(items.size(), 5u);
  EXPECT_EQ(items[0]["name"], "Width");
  EXPECT_EQ(items[0]["unit"], 11);
  EXPECT_EQ(items[0]["unitLabel"], "[mm]");
  EXPECT_EQ(items[2]["decimals"], 2);
  EXPECT_TRUE(reply.body["messages"].empty());
}

TEST_F(EditorApiTest, InfoOffersTheUnitsAndValueTypesAsChoices) {
  const ApiReply reply = call("GET", "/info");
  ASSERT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body["valueTypes"].size(), 6u);
  bool metre = false;
  for (const json& unit : reply.body["units"]) metre |= unit["id"] == 12 && unit["label"] == "[m]";
  EXPECT_TRUE(metre);
  EXPECT_EQ(reply.body["units"][0]["id"], 0);
}

TEST_F(EditorApiTest, AddedDefinitionIsInTheFileAtOnce) {
  const ApiReply reply = call("POST", "/propertyDefs", def("Length"));
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["name"], "Length");
  EXPECT_EQ(reply.body["stored"], true);
  const CKdProject stored = reread();
  const CKdPropertyDef* length = storedDef(stored, L"Length");
  ASSERT_NE(length, nullptr);
  EXPECT_EQ(length->dbId(), reply.body["item"]["id"].get<long>());
  EXPECT_EQ(length->unit().id(), CKdUnit::unitM);
  EXPECT_EQ(length->valueType(), CKdPropertyValue::typeSingleReal);
  EXPECT_EQ(length->decimals(), 3);
  EXPECT_STREQ(length->desc(), L"made by a test");
}

TEST_F(EditorApiTest, EditedDefinitionIsInTheFileAtOnce) {
  const long id = reread().propertyDefs().findName(L"Flow")->dbId();
  const ApiReply reply = call("PUT", "/propertyDefs/" + std::to_string(id), def("Airflow"));
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  const CKdProject stored = reread();
  EXPECT_EQ(storedDef(stored, L"Flow"), nullptr);
  ASSERT_NE(storedDef(stored, L"Airflow"), nullptr);
  EXPECT_EQ(storedDef(stored, L"Airflow")->dbId(), id);
}

struct RefusedName {
  const char* name;
  const char* text;  // the start of the message; "" for none
};

void PrintTo(const RefusedName& refused, std::ostream* out) {
  *out << "\"" << refused.name << "\"";
}

class RefusedNameTest : public EditorApiTest, public ::testing::WithParamInterface<RefusedName> {};

TEST_P(RefusedNameTest, IsAnsweredWithTheLibrarysMessageAndNothingIsStored) {
  const ApiReply reply = call("POST", "/propertyDefs", def(GetParam().name));
  EXPECT_EQ(reply.status, 422);
  EXPECT_EQ(reply.body["stored"], false);
  const json& messages = reply.body["messages"];
  if (*GetParam().text) {
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]["caption"], "Invalid Property Name");
    EXPECT_EQ(messages[0]["text"].get<std::string>().rfind(GetParam().text, 0), 0u)
        << messages[0]["text"];
    EXPECT_EQ(messages[0]["buttons"], json::array({"ok"}));
  } else {
    EXPECT_TRUE(messages.empty());
  }
  EXPECT_EQ(reread().propertyDefs().length(), 5);
}

INSTANTIATE_TEST_SUITE_P(
    Names, RefusedNameTest,
    ::testing::Values(RefusedName{"", ""}, RefusedName{"width", "Property name must be unique"},
                      RefusedName{"A;B", "Property name cannot contain"},
                      RefusedName{"Tab\there",
                                  "Property name contains illegal special character"}));

TEST_F(EditorApiTest, RenamingByCaseAloneIsRefused) {
  const long id = reread().propertyDefs().findName(L"Width")->dbId();
  json body = def("WIDTH");
  const ApiReply reply = call("PUT", "/propertyDefs/" + std::to_string(id), body);
  EXPECT_EQ(reply.status, 422);
  EXPECT_NE(storedDef(reread(), L"Width"), nullptr);
  EXPECT_STREQ(storedDef(reread(), L"Width")->name(), L"Width");
}

TEST_F(EditorApiTest, FieldsOutsideTheirChoicesAreRefusedBeforeTheLock) {
  for (const auto& [key, value] : {std::pair<const char*, int>{"unit", 9999},
                                   {"valueType", 9},
                                   {"decimals", 99},
                                   {"decimals", -1}}) {
    json body = def("Odd");
    body[key] = value;
    EXPECT_EQ(call("POST", "/propertyDefs", body).status, 400) << key << "=" << value;
  }
  EXPECT_EQ(storedDef(reread(), L"Odd"), nullptr);
}

TEST_F(EditorApiTest, DeletionOfADefinitionInUseIsRefusedNamingItsUsers) {
  const long id = reread().propertyDefs().findName(L"Width")->dbId();
  const ApiReply reply = call("DELETE", "/propertyDefs/" + std::to_string(id));
  EXPECT_EQ(reply.status, 422);
  ASSERT_EQ(reply.body["messages"].size(), 1u);
  EXPECT_EQ(reply.body["messages"][0]["caption"], "Cannot Delete");
  const std::string text = reply.body["messages"][0]["text"];
  EXPECT_NE(text.find("Product definitions"), std::string::npos) << text;
  EXPECT_NE(text.find("Report definitions"), std::string::npos) << text;
  EXPECT_NE(storedDef(reread(), L"Width"), nullptr);
}

TEST_F(EditorApiTest, DeletionOfAnUnusedDefinitionLeavesTheFileWithoutIt) {
  const ApiReply added = call("POST", "/propertyDefs", def("Spare"));
  ASSERT_EQ(added.status, 201);
  const ApiReply reply =
      call("DELETE", "/propertyDefs/" + std::to_string(added.body["item"]["id"].get<long>()));
  EXPECT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(storedDef(reread(), L"Spare"), nullptr);
  EXPECT_EQ(call("DELETE", "/propertyDefs/999").status, 422);
}

TEST_F(EditorApiTest, ALockHeldByAnotherUserRefusesTheChangeWithTheLibrarysMessage) {
  CLockFile other;
  ASSERT_EQ(
      other.set(CLockFile::lockFileNameFor(CWsz::fromUtf8(file_.c_str())), L"someone", nullptr), 0);
  const ApiReply reply = call("POST", "/propertyDefs", def("Blocked"));
  EXPECT_EQ(reply.status, 409);
  ASSERT_FALSE(reply.body["messages"].empty());
  EXPECT_EQ(reply.body["messages"][0]["caption"], "Update Failed");
  other.release();
  EXPECT_EQ(storedDef(reread(), L"Blocked"), nullptr);
}

TEST_F(EditorApiTest, AnotherUsersSaveInBetweenIsReadAndTheChangeWaitsForTheUser) {
  CKdProject other = reread();
  other.propertyDefs().add(L"Theirs", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  // The file's time must move on for the change to be seen.
  uint64_t before = vxkd_test::modTimeOf(file_);
  ASSERT_TRUE(other.updateDb(nullptr));
  vxkd_test::setModTime(file_, before + 20000000);

  const ApiReply reply = call("POST", "/propertyDefs", def("Mine"));
  EXPECT_EQ(reply.status, 409);
  EXPECT_EQ(reply.body["reloaded"], true);
  ASSERT_FALSE(reply.body["messages"].empty());
  EXPECT_NE(
      reply.body["messages"][0]["text"].get<std::string>().find("Someone else has just updated"),
      std::string::npos);
  EXPECT_EQ(storedDef(reread(), L"Mine"), nullptr);
  // The page shows the other's definition and may send the change again.
  EXPECT_NE(call("GET", "/propertyDefs").body.dump().find("Theirs"), std::string::npos);
  EXPECT_EQ(call("POST", "/propertyDefs", def("Mine")).status, 201);
  EXPECT_NE(storedDef(reread(), L"Theirs"), nullptr);
  EXPECT_NE(storedDef(reread(), L"Mine"), nullptr);
}

TEST_F(EditorApiTest, PartIdFormatsAreAddedChangedAndDeletedUnlessAProductUsesThem) {
  ApiReply reply = call("POST", "/partIdFormats", {{"desc", "Pipe"}, {"format", "P{Diameter}"}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  const long id = reply.body["item"]["id"];
  EXPECT_NE(id, 4);
  reply = call("PUT", "/partIdFormats/" + std::to_string(id),
               {{"desc", "Pipe size"}, {"format", "DN{Diameter}"}});
  EXPECT_EQ(reply.status, 200) << reply.body.dump();
  {
    const CKdProject stored = reread();
    const CKdPartIdFormat* format = nullptr;
    for (int i = 0; i < stored.partIdFormats().length(); ++i)
      if (stored.partIdFormats().idAt(i) == id) format = stored.partIdFormats().objAt(i);
    ASSERT_NE(format, nullptr);
    EXPECT_STREQ(format->desc(), L"Pipe size");
    EXPECT_STREQ(format->format(), L"DN{Diameter}");
    EXPECT_FALSE(format->guid().isNull());
  }
  // Format 4 gives the grille its part ID.
  reply = call("DELETE", "/partIdFormats/4");
  EXPECT_EQ(reply.status, 422);
  ASSERT_EQ(reply.body["messages"].size(), 1u);
  EXPECT_EQ(reply.body["messages"][0]["caption"], "Cannot Delete");
  EXPECT_NE(reply.body["messages"][0]["text"].get<std::string>().find("Grille 600x600"),
            std::string::npos);
  EXPECT_EQ(reread().partIdFormats().length(), 2);
  EXPECT_EQ(call("DELETE", "/partIdFormats/" + std::to_string(id)).status, 200);
  EXPECT_EQ(reread().partIdFormats().length(), 1);
  EXPECT_EQ(call("POST", "/partIdFormats", {{"desc", ""}, {"format", "x"}}).status, 400);
  EXPECT_EQ(
      call("POST", "/partIdFormats", {{"desc", "Long"}, {"format", std::string(201, 'x')}}).status,
      400);
  EXPECT_EQ(call("PUT", "/partIdFormats/77", {{"desc", "None"}}).status, 422);
}

TEST_F(EditorApiTest, SymbolsAndBlocksComeWithTheirDrawings) {
  ApiReply reply = call("GET", "/symbols");
  ASSERT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body["items"].size(), 2u);
  const std::string socket = call("GET", "/symbols/SOCKET").body["svg"];
  const std::string panel = call("GET", "/symbols/PANEL").body["svg"];
  EXPECT_EQ(socket.rfind("<?xml", 0), 0u);
  EXPECT_NE(socket, panel);
  EXPECT_EQ(call("GET", "/symbols/socket").status, 404);  // symbol ids keep their case

  reply = call("GET", "/blocks");
  ASSERT_EQ(reply.body["items"].size(), 1u);
  EXPECT_EQ(reply.body["items"][0]["picture"], "3/0");
  EXPECT_EQ(reply.body["items"][0]["desc"], "Socket pair");
  EXPECT_EQ(reply.body["items"][0]["items"], 2);
  const std::string block = call("GET", "/blocks/3/0").body["svg"];
  EXPECT_NE(block.find("<svg"), std::string::npos);
  EXPECT_EQ(call("GET", "/blocks/3/1").status, 404);
  EXPECT_EQ(call("GET", "/blocks/9/0").status, 404);
  EXPECT_EQ(call("GET", "/blocks/3").status, 404);
}

TEST_F(EditorApiTest, StatusReadsAnotherUsersSaveWithTheLibrarysMessage) {
  ApiReply reply = call("GET", "/status");
  EXPECT_EQ(reply.body["reloaded"], false);
  EXPECT_TRUE(reply.body["messages"].empty());
  CKdProject other = reread();
  other.propertyDefs().add(L"Theirs", L"", CKdPropertyValue::typeText, CKdUnit(), 0);
  const uint64_t before = vxkd_test::modTimeOf(file_);
  ASSERT_TRUE(other.updateDb(nullptr));
  vxkd_test::setModTime(file_, before + 20000000);
  reply = call("GET", "/status");
  EXPECT_EQ(reply.body["reloaded"], true);
  ASSERT_EQ(reply.body["messages"].size(), 1u);
  EXPECT_NE(reply.body["messages"][0]["text"].get<std::string>().find("Someone else"),
            std::string::npos);
  EXPECT_NE(call("GET", "/propertyDefs").body.dump().find("Theirs"), std::string::npos);
}

TEST_F(EditorApiTest, FormatPreviewFollowsTheTextTyped) {
  const ApiReply one = call("POST", "/dimTextFormats/preview", {{"id", 1}, {"fmt", "{Width}"}});
  const ApiReply two =
      call("POST", "/dimTextFormats/preview", {{"id", 1}, {"fmt", "{Width} x {Height}"}});
  ASSERT_EQ(one.status, 200);
  ASSERT_EQ(two.status, 200);
  EXPECT_EQ(one.body["svg"].get<std::string>().rfind("<?xml", 0), 0u);
  EXPECT_NE(one.body["svg"], two.body["svg"]);
  EXPECT_EQ(call("POST", "/dimTextFormats/preview", {{"fmt", "{Width"}}).status, 422);
  // Nothing of the preview is stored.
  EXPECT_STREQ(reread().dimTextFormats().findFmt(1)->fmt(), L"{Width} x {Height}");
}

TEST_F(EditorApiTest, LinImportTakesTheUploadedFileAndExportGivesItBack) {
  const std::string lin = "*BORDER,Border __ . __ . __\nA,.5,-.25,0,-.25\n";
  const ApiReply reply = api_.handle(ApiRequest{"POST", "/linetypes/import", {}, lin});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["report"]["added"], 1);
  EXPECT_NE(reread().linetypeDefs().findName(L"BORDER"), nullptr);
  const ApiReply exported = call("GET", "/linetypes/export");
  EXPECT_NE(exported.download.find("*BORDER,"), std::string::npos);
  EXPECT_NE(exported.download.find("*DASHED,"), std::string::npos);
}

TEST_F(EditorApiTest, TextStylesGoOutAsAStyFileAndComeBackFromOne) {
  const ApiReply exported = call("GET", "/textStyles/export");
  ASSERT_EQ(exported.status, 200);
  EXPECT_EQ(exported.downloadName, "textstyles.sty");
  ASSERT_FALSE(exported.download.empty());
  const ApiReply reply =
      api_.handle(ApiRequest{"POST", "/textStyles/import", {}, exported.download});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["report"]["replaced"], 2);
  EXPECT_EQ(reply.body["report"]["added"], 0);
  EXPECT_EQ(reread().textStyleDefs().length(), 2);
}

TEST_F(EditorApiTest, ALinFileWithoutLinetypesChangesNothing) {
  const int before = reread().linetypeDefs().length();
  const ApiReply reply = api_.handle(ApiRequest{"POST", "/linetypes/import", {}, "no linetypes\n"});
  EXPECT_NE(reply.status, 200);
  EXPECT_EQ(reread().linetypeDefs().length(), before);
}

TEST_F(EditorApiTest, ProductsComeInPages) {
  // Three more products in the group of the grille: four in all.
  {
    CKdProject project = reread();
    CKdProductGroup* group = project.productGroups().findGroup(2);
    for (int i = 0; i < 3; ++i) {
      CKdProductDef product = *group->products().objAt(0);
      product.setDbId(10 + i);
      product.setDesc(CWsz::fromUtf8(("Diffuser " + std::to_string(i)).c_str()));
      group->products().append(&product);
    }
    ASSERT_TRUE(project.saveDbAs(nullptr, project.fileName()));
    std::string why;
    ASSERT_TRUE(api_.open(why)) << why;
  }
  ApiReply reply =
      call("GET", "/products", nullptr, {{"group", "2"}, {"offset", "1"}, {"limit", "2"}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["total"], 4);
  ASSERT_EQ(reply.body["rows"].size(), 2u);
  // In the order of the library's list of the group.
  const CKdProductDefArray& products = api_.project().productGroups().findGroup(2)->products();
  EXPECT_EQ(reply.body["rows"][0]["desc"], products.objAt(1)->desc().toUtf8());
  EXPECT_EQ(reply.body["rows"][1]["desc"], products.objAt(2)->desc().toUtf8());
  reply = call("GET", "/products", nullptr, {{"group", "2"}, {"offset", "3"}, {"limit", "2"}});
  EXPECT_EQ(reply.body["rows"].size(), 1u);
  reply = call("GET", "/products", nullptr, {{"group", "2"}, {"filter", "GRILLE"}});
  EXPECT_EQ(reply.body["total"], 1);
  EXPECT_NE(reply.body["rows"][0]["properties"].get<std::string>().find("Width=600"),
            std::string::npos);
  EXPECT_EQ(call("GET", "/products", nullptr, {{"group", "x"}}).status, 404);
  EXPECT_EQ(call("GET", "/products", nullptr, {{"group", "2"}, {"limit", "0"}}).status, 400);
  EXPECT_EQ(call("GET", "/products", nullptr, {{"group", "2"}, {"offset", "-1"}}).status, 400);
  EXPECT_EQ(call("GET", "/products", nullptr, {{"group", "77"}}).status, 404);
}

TEST_F(EditorApiTest, AProductsPropertyIsChangedAndStoredAtOnce) {
  ApiReply reply = call("GET", "/products/2/1");
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["properties"][0]["name"], "Width");
  EXPECT_EQ(reply.body["item"]["properties"][0]["value"], "600");
  reply = call("PUT", "/products/2/1", {{"properties", {{"Width", "625"}}}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["properties"][0]["value"], "625");
  const CKdProject project = reread();
  const CKdProductDef* stored = project.productGroups().findProduct(2, 1);
  ASSERT_NE(stored, nullptr);
  EXPECT_STREQ(stored->properties().findProperty(L"Width")->getValueAsText(false), L"625");
}

TEST_F(EditorApiTest, AProductChangeWithABadValueStoresNothingOfIt) {
  for (const json& values : {json{{"Height", "610"}, {"Width", "wide"}},
                             json{{"Height", "610"}, {"Colour", "red"}}, json{{"Height", 610}}}) {
    const ApiReply reply = call("PUT", "/products/2/1", {{"properties", values}});
    EXPECT_EQ(reply.status, 422) << values.dump();
    EXPECT_TRUE(reply.body.contains("error"));
    EXPECT_STREQ(reread()
                     .productGroups()
                     .findProduct(2, 1)
                     ->properties()
                     .findProperty(L"Height")
                     ->getValueAsText(false),
                 L"600");
    EXPECT_STREQ(api_.project()
                     .productGroups()
                     .findProduct(2, 1)
                     ->properties()
                     .findProperty(L"Height")
                     ->getValueAsText(false),
                 L"600");
  }
  EXPECT_EQ(call("PUT", "/products/2/1", {{"properties", "Width=1"}}).status, 400);
  EXPECT_EQ(call("PUT", "/products/2/99", {{"desc", "x"}}).status, 404);
}

// ---- poly-object definitions and the products of groups, added, changed, deleted ----------

const CKdProductDef* ductDef(const CKdProject& project, long id) {
  return project.polyDefSets(VxKd::systemDuct)->findId(id);
}

TEST_F(EditorApiTest, APolyObjectDefinitionIsChangedAddedAndDeletedInTheFile) {
  ApiReply reply = call("GET", "/products", nullptr, {{"group", "ductDefs"}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  ASSERT_EQ(reply.body["total"], 1);
  // The set's part IDs are built by their format, as the groups' are.
  EXPECT_EQ(reply.body["rows"][0]["partId"], "400x200");

  reply = call("PUT", "/products/ductDefs/1",
               {{"properties", {{"Width", "500"}}},
                {"color", 3},
                {"linetype", "HIDDEN"},
                {"lineWidth", 0.5},
                {"removeProperties", {"Flow"}}});
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  EXPECT_EQ(reply.body["item"]["partId"], "500x200");
  {
    const CKdProject stored = reread();
    const CKdProductDef* duct = ductDef(stored, 1);
    ASSERT_NE(duct, nullptr);
    EXPECT_EQ(duct->colorNmb(), 3);
    EXPECT_STREQ(duct->lineType(), L"HIDDEN");
    EXPECT_FLOAT_EQ(duct->lineWidth(), 0.5f);
    EXPECT_STREQ(duct->properties().findProperty(L"Width")->getValueAsText(false), L"500");
    EXPECT_EQ(duct->properties().findProperty(L"Flow"), nullptr);
    EXPECT_NE(duct->properties().findProperty(L"Height"), nullptr);
  }

  reply = call("POST", "/products/ductDefs",
               {{"desc", "Round duct"},
                {"partIdFormat", 4},
                {"addProperties", {"Width", "Height"}},
                {"properties", {{"Width", "250"}, {"Height", "250"}}}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  const long added = reply.body["item"]["id"];
  EXPECT_EQ(reply.body["item"]["partId"], "250x250");
  {
    const CKdProject stored = reread();
    const CKdProductDef* round = ductDef(stored, added);
    ASSERT_NE(round, nullptr);
    EXPECT_STREQ(round->desc(), L"Round duct");
    EXPECT_FALSE(round->guid().isNull());
    EXPECT_EQ(round->partIdFmtId(), 4);
    EXPECT_EQ(round->properties().length(), 2);
  }

  reply = call("DELETE", "/products/ductDefs/" + std::to_string(added), json::object());
  ASSERT_EQ(reply.status, 200) << reply.body.dump();
  const CKdProject stored = reread();
  EXPECT_EQ(ductDef(stored, added), nullptr);
  EXPECT_NE(ductDef(stored, 1), nullptr);
  EXPECT_EQ(stored.polyDefSets(VxKd::systemDuct)->length(), 1);
}

TEST_F(EditorApiTest, AGroupProductIsDeletedUnlessABlockPlacesIt) {
  // The socket outlet of group 3 is placed by the block "Socket pair".
  ApiReply reply = call("DELETE", "/products/3/1", json::object());
  EXPECT_EQ(reply.status, 422);
  ASSERT_FALSE(reply.body["messages"].empty()) << reply.body.dump();
  EXPECT_EQ(reply.body["messages"][0]["caption"], "Cannot Delete");
  EXPECT_NE(reply.body["messages"][0]["text"].get<std::string>().find("Socket pair"),
            std::string::npos);
  EXPECT_NE(reread().productGroups().findProduct(3, 1), nullptr);
  EXPECT_NE(api_.project().productGroups().findProduct(3, 1), nullptr);

  // Under a group and under the root: the keys differ, both records go.
  for (const auto& [group, id] : {std::pair{2L, 1L}, std::pair{-1L, 5L}}) {
    const std::string path = "/products/" + std::to_string(group) + "/" + std::to_string(id);
    reply = call("DELETE", path, json::object());
    ASSERT_EQ(reply.status, 200) << path << reply.body.dump();
    EXPECT_EQ(reread().productGroups().findProduct(group, id), nullptr) << path;
  }
}

TEST_F(EditorApiTest, AProductAddedToAGroupGetsAnIdItsKeyHolds) {
  const ApiReply reply = call("POST", "/products/2", {{"desc", "Grille 300x300"}});
  ASSERT_EQ(reply.status, 201) << reply.body.dump();
  const long id = reply.body["item"]["id"];
  EXPECT_GE(id, 1);
  EXPECT_LE(id, CKdProductDefArray::kMaxGroupProductId);
  const CKdProject project = reread();
  const CKdProductDef* stored = project.productGroups().findProduct(2, id);
  ASSERT_NE(stored, nullptr);
  EXPECT_STREQ(stored->desc(), L"Grille 300x300");
}

TEST_F(EditorApiTest, ARefusedProductChangeLeavesTheFileAsItWas) {
  const std::string before = fileBytes();
  const struct {
    const char* method;
    const char* path;
    json body;
    int status;
  } kRefused[] = {
      {"PUT", "/products/ductDefs/1", {{"color", 300}}, 400},
      {"PUT", "/products/ductDefs/1", {{"color", 2.5}}, 400},
      {"PUT", "/products/ductDefs/1", {{"lineWidth", -1}}, 400},
      {"PUT", "/products/ductDefs/1", {{"desc", 5}}, 400},
      {"PUT", "/products/ductDefs/1", {{"desc", "two\nlines"}}, 400},
      {"PUT", "/products/ductDefs/1", {{"desc", ""}}, 422},
      {"PUT", "/products/ductDefs/1", {{"linetype", "NOPE"}}, 422},
      {"PUT", "/products/ductDefs/1", {{"partIdFormat", 99}}, 422},
      {"PUT", "/products/ductDefs/1", {{"addProperties", {"Nope"}}}, 422},
      {"PUT", "/products/ductDefs/1", {{"addProperties", {"Width"}}}, 422},
      {"PUT", "/products/ductDefs/1", {{"addProperties", "Width"}}, 400},
      {"PUT", "/products/ductDefs/1", {{"removeProperties", {"Nope"}}}, 422},
      // The first change would be fine; the second spoils the whole request.
      {"PUT", "/products/ductDefs/1", {{"color", 1}, {"properties", {{"Width", "wide"}}}}, 422},
      {"POST", "/products/ductDefs", {{"linetype", "HIDDEN"}}, 400},
      {"POST", "/products/pipeDefs", {{"desc", "x"}, {"addProperties", {"Nope"}}}, 422},
      {"PUT", "/products/ductDefs/99", {{"color", 1}}, 404},
      {"PUT", "/products/noSuchSet/1", {{"color", 1}}, 404},
      {"DELETE", "/products/77/1", json::object(), 404},
      {"PATCH", "/products/ductDefs/1", json::object(), 405},
  };
  for (const auto& r : kRefused) {
    const ApiReply reply = call(r.method, r.path, r.body);
    EXPECT_EQ(reply.status, r.status) << r.method << " " << r.path << " " << r.body.dump();
    EXPECT_TRUE(reply.body.contains("error")) << r.body.dump();
    EXPECT_EQ(fileBytes(), before) << r.body.dump();
  }
  // Memory holds what the file holds.
  const CKdProductDef* duct = ductDef(api_.project(), 1);
  EXPECT_EQ(duct->colorNmb(), 256);
  EXPECT_STREQ(duct->properties().findProperty(L"Width")->getValueAsText(false), L"400");
  EXPECT_EQ(api_.project().polyDefSets(VxKd::systemPipe)->length(), 1);
}

TEST_F(EditorApiTest, AProductWaitsWhileAnotherUserHoldsTheLock) {
  CLockFile other;
  ASSERT_EQ(
      other.set(CLockFile::lockFileNameFor(CWsz::fromUtf8(file_.c_str())), L"someone", nullptr), 0);
  EXPECT_EQ(call("POST", "/products/ductDefs", {{"desc", "Blocked"}}).status, 409);
  EXPECT_EQ(call("DELETE", "/products/2/1", json::object()).status, 409);
  other.release();
  const CKdProject stored = reread();
  EXPECT_EQ(stored.polyDefSets(VxKd::systemDuct)->length(), 1);
  EXPECT_NE(stored.productGroups().findProduct(2, 1), nullptr);
}

TEST_F(EditorApiTest, AQuestionIsPutToThePageAndItsAnswerDecides) {
  ApiReply reply = call("DELETE", "/groups/1", json::object());
  EXPECT_EQ(reply.status, 200);
  ASSERT_TRUE(reply.body.contains("question")) << reply.body.dump();
  EXPECT_EQ(reply.body["question"]["buttons"], json::array({"yes", "no"}));
  EXPECT_NE(reread().productGroups().findGroup(1), nullptr);  // safe answer: nothing changed

  reply = call("DELETE", "/groups/1", {{"answers", {"no"}}});
  EXPECT_FALSE(reply.body.contains("question"));
  EXPECT_NE(reread().productGroups().findGroup(1), nullptr);

  reply = call("DELETE", "/groups/1", {{"answers", {"yes"}}});
  EXPECT_EQ(reply.body["stored"], true) << reply.body.dump();
  EXPECT_EQ(reread().productGroups().findGroup(1), nullptr);
  EXPECT_EQ(reread().productGroups().findGroup(2), nullptr);
}

TEST_F(EditorApiTest, EveryKindHasAList) {
  for (const char* kind : {"partIdFormats", "layers", "linetypes", "textStyles", "dimTextFormats",
                           "reports", "groups", "symbols", "blocks"}) {
    const ApiReply reply = call("GET", std::string("/") + kind);
    EXPECT_EQ(reply.status, 200) << kind;
    EXPECT_FALSE(reply.body["items"].empty()) << kind;
  }
}

TEST_F(EditorApiTest, MalformedRequestsAreRefused) {
  EXPECT_EQ(call("GET", "/nothing").status, 404);
  EXPECT_EQ(call("GET", "/propertyDefs/abc").status, 404);
  EXPECT_EQ(call("GET", "/propertyDefs/4711").status, 404);
  EXPECT_EQ(call("PATCH", "/propertyDefs").status, 405);
  EXPECT_EQ(api_.handle(ApiRequest{"POST", "/propertyDefs", {}, "{not json"}).status, 400);
  EXPECT_EQ(api_.handle(ApiRequest{"POST", "/propertyDefs", {}, "[1]"}).status, 400);
  EXPECT_EQ(reread().propertyDefs().length(), 5);
}

TEST(EditorApiOpen, AMissingFileIsNamedWithTheLibrarysMessage) {
  VxKd::initVxKd();
  EditorApi api("/nonexistent/folder/none.vkd");
  std::string why;
  EXPECT_FALSE(api.open(why));
  EXPECT_NE(why.find("/nonexistent/folder/none.vkd"), std::string::npos);
  VxKd::exitVxKd();
}

}  // namespace

// Runs the built vkd program as an administrator runs it to move datasets between files and a
// PostgreSQL server, the wrong ways included. The tests start a server of their own and are
// skipped where none can be started.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/pg_server.h"
#include "support/temp_folder.h"
#include "support/vkd_runner.h"

namespace {

using VkdRun = vxkd_test::VkdResult;
using Json = nlohmann::json;
using ::testing::HasSubstr;

class VkdServer : public ::testing::Test {
 protected:
  VkdServer()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}
  void SetUp() override {
    server_ = vxkd_test::PgServer::shared();
    if (!server_) GTEST_SKIP() << "no PostgreSQL server: " << vxkd_test::PgServer::skipReason();
    uri_ = server_->uri(server_->freshName());
    ASSERT_EQ(vkd({"new", "--sample", file("sample.vkd")}).code, 0);
  }

  VkdRun vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string file(const char* name) const { return dir_.native(name); }

  vxkd_test::TempFolder dir_;
  vxkd_test::ScopedEnv hkcu_, hklm_;
  vxkd_test::PgServer* server_ = nullptr;
  std::string uri_;
};

TEST_F(VkdServer, APulledDatasetDumpsAsTheFileThatWasPushed) {
  VkdRun push = vkd({"push", file("sample.vkd"), uri_});
  ASSERT_EQ(push.code, 0) << push.err;
  EXPECT_EQ(push.out, "Pushed " + file("sample.vkd") + " to " + uri_ + "\n");
  VkdRun pull = vkd({"pull", uri_, file("back.vkd")});
  ASSERT_EQ(pull.code, 0) << pull.err;
  const std::string original = vkd({"dump", file("sample.vkd")}).out;
  EXPECT_THAT(original, HasSubstr("\"Rectangular duct\""));
  EXPECT_EQ(vkd({"dump", file("back.vkd")}).out, original);
  // Every command takes the URI where it takes a file.
  EXPECT_EQ(vkd({"dump", uri_}).out, original);
  // (the heading differs: a server dataset's stamp is a version, not a time)
  auto counts = [](const std::string& info) { return info.substr(info.find("Kind of")); };
  EXPECT_EQ(counts(vkd({"info", uri_}).out), counts(vkd({"info", file("sample.vkd")}).out));
  // A server dataset's stamp is a version that every save advances, not a time.
  auto version = [&] {
    const Json info = Json::parse(vkd({"info", "--format", "json", uri_}).out);
    EXPECT_TRUE(info["lastSaved"].is_null());
    return info["version"].get<uint64_t>();
  };
  const uint64_t pushed = version();
  EXPECT_GT(pushed, 0u);
  EXPECT_THAT(vkd({"info", uri_}).out, HasSubstr("\nVersion     " + std::to_string(pushed) + "\n"));
  ASSERT_EQ(vkd({"push", "--force", file("sample.vkd"), uri_}).code, 0);
  EXPECT_GT(version(), pushed);
}

TEST_F(VkdServer, AnExistingDatasetIsReplacedOnlyWhenForced) {
  ASSERT_EQ(vkd({"new", file("empty.vkd")}).code, 0);
  ASSERT_EQ(vkd({"push", file("sample.vkd"), uri_}).code, 0);
  VkdRun again = vkd({"push", file("empty.vkd"), uri_});
  EXPECT_EQ(again.code, 1);
  EXPECT_EQ(again.err,
            "vkd: " + uri_ + " exists; nothing was changed (give --force to replace it)\n");
  EXPECT_EQ(vkd({"dump", uri_}).out, vkd({"dump", file("sample.vkd")}).out);
  ASSERT_EQ(vkd({"push", "--force", file("empty.vkd"), uri_}).code, 0);
  EXPECT_EQ(vkd({"dump", uri_}).out, vkd({"dump", file("empty.vkd")}).out);

  VkdRun over = vkd({"pull", uri_, file("sample.vkd")});
  EXPECT_EQ(over.code, 1);
  EXPECT_THAT(over.err, HasSubstr("exists; nothing was changed"));
  EXPECT_EQ(vkd({"pull", "--force", uri_, file("sample.vkd")}).code, 0);
  EXPECT_EQ(vkd({"dump", file("sample.vkd")}).out, vkd({"dump", file("empty.vkd")}).out);
}

TEST_F(VkdServer, WrongUseIsRefusedAndChangesNothing) {
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;
  } cases[] = {
      {{"push", file("sample.vkd"), file("other.vkd")}, 2, "is no server URI"},
      {{"push", uri_, uri_}, 2, "is a server URI; push copies a file"},
      {{"pull", file("sample.vkd"), file("x.vkd")}, 2, "is no server URI"},
      {{"pull", uri_, uri_}, 2, "is a server URI; pull writes a file"},
      {{"pull", uri_, file("x.vkd")}, 2, "cannot read"},  // nothing pushed yet
      {{"push", file("missing.vkd"), uri_}, 2, "cannot read"},
      {{"push", file("sample.vkd"), "postgresql:///postgres?host=" + server_->socketFolder()},
       2,
       "names no dataset (add ?dataset=NAME)"},
      {{"push", file("sample.vkd"),
        "postgresql:///postgres?host=" + server_->socketFolder() + "&dataset=Bad-Name"},
       2,
       "is no dataset name"},
      {{"push", file("sample.vkd")}, 2, "usage: vkd push"},
  };
  for (const auto& c : cases) {
    VkdRun run = vkd(c.args);
    EXPECT_EQ(run.code, c.code) << c.args[0] << " " << c.args[1];
    EXPECT_THAT(run.err, HasSubstr(c.err)) << c.args[0] << " " << c.args[1];
  }
  EXPECT_FALSE(dir_.read("x.vkd").size());
  EXPECT_EQ(vkd({"pull", uri_, file("x.vkd")}).code, 2) << "no dataset was made on the way";
}

}  // namespace

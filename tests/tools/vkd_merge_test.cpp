// Runs the built vkd program as an administrator runs it to keep datasets as text, compare
// them and merge one into another, the wrong ways included.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include "support/vkd_runner.h"
#include "vxkd/dataset/project.h"
#include "vxkd/platform/lock_file.h"

namespace {

using VkdRun = vxkd_test::VkdResult;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class VkdMerge : public ::testing::Test {
 protected:
  VkdMerge()
      : hkcu_("VXKD_HKCU", dir_.native("hkcu.reg")), hklm_("VXKD_HKLM", dir_.native("hklm.reg")) {}
  void SetUp() override {
    ASSERT_EQ(vkd({"new", "--sample", file("sample.vkd")}).code, 0);
    ASSERT_EQ(vkd({"new", file("office.vkd")}).code, 0);
  }

  VkdRun vkd(const std::vector<std::string>& args) const { return vxkd_test::runVkd(args, dir_); }
  std::string file(const char* name) const { return dir_.native(name); }
  bool exists(const char* name) const { return access(file(name).c_str(), F_OK) == 0; }
  // The counts of `vkd diff --format json a b`: what the sample holds changes as the sample
  // grows, so the tests take their numbers from it.
  nlohmann::json counts(const char* a, const char* b) const {
    return nlohmann::json::parse(vkd({"diff", "--format", "json", file(a), file(b)}).out)["counts"];
  }
  // "N created" and the like.
  static std::string n(const nlohmann::json& count, const char* what) {
    return std::to_string(count.get<int>()) + " " + what;
  }

  vxkd_test::TempFolder dir_;
  vxkd_test::ScopedEnv hkcu_;
  vxkd_test::ScopedEnv hklm_;
};

TEST_F(VkdMerge, DumpLoadDumpIsByteIdentical) {
  const VkdRun dump = vkd({"dump", file("sample.vkd")});
  ASSERT_EQ(dump.code, 0) << dump.err;
  EXPECT_THAT(dump.out, StartsWith("{\n  \"format\": \"vxkd-dataset\",\n  \"version\": 1,\n"));
  const VkdRun toFile = vkd({"dump", file("sample.vkd"), "-o", file("sample.json")});
  ASSERT_EQ(toFile.code, 0) << toFile.err;
  EXPECT_EQ(dir_.read("sample.json"), dump.out);
  const VkdRun load = vkd({"load", file("sample.json"), file("copy.vkd")});
  ASSERT_EQ(load.code, 0) << load.err;
  EXPECT_THAT(load.out, HasSubstr("Created"));
  EXPECT_EQ(vkd({"dump", file("copy.vkd")}).out, dump.out);
  EXPECT_FALSE(exists("copy.lck"));
}

TEST_F(VkdMerge, LoadOfABadTextNamesItsLineAndLeavesNoFile) {
  const std::string good = vkd({"dump", file("sample.vkd")}).out;
  const struct {
    const char* name;
    std::string text;
    const char* words;
  } kTexts[] = {
      {"type", std::string(good).replace(good.find("\"decimals\": 0"), 13, "\"decimals\": []"),
       "\"decimals\" must be a whole number from 0 to 255, not a list"},
      {"kind", std::string(good).replace(good.find("\"layers\""), 8, "\"groups\""),
       "unknown kind \"groups\""},
      {"truncated", good.substr(0, good.find('\n', good.size() / 2) + 1),
       "unexpected end of input"},
  };
  for (const auto& t : kTexts) {
    ASSERT_TRUE(dir_.write("bad.json", t.text));
    const VkdRun run = vkd({"load", file("bad.json"), file("new.vkd")});
    EXPECT_EQ(run.code, 1) << t.name;
    EXPECT_THAT(run.err, HasSubstr("vkd: " + file("bad.json") + " line ")) << t.name;
    EXPECT_THAT(run.err, HasSubstr(t.words)) << t.name;
    if (std::string(t.name) == "truncated") {
      EXPECT_THAT(run.err,
                  HasSubstr(" line " +
                            std::to_string(std::count(t.text.begin(), t.text.end(), '\n')) + ": "))
          << "the last line";
    }
    EXPECT_THAT(run.err, HasSubstr("; no dataset was created")) << t.name;
    EXPECT_FALSE(exists("new.vkd")) << t.name;
    EXPECT_FALSE(exists("new.lck")) << t.name;
  }
  const VkdRun missing = vkd({"load", file("none.json"), file("new.vkd")});
  EXPECT_EQ(missing.code, 1);
  EXPECT_THAT(missing.err, HasSubstr("cannot read " + file("none.json")));
}

TEST_F(VkdMerge, LoadReplacesAnExistingDatasetOnlyWhenForced) {
  ASSERT_TRUE(dir_.write("sample.json", vkd({"dump", file("sample.vkd")}).out));
  const std::string before = dir_.read("office.vkd");
  const VkdRun refused = vkd({"load", file("sample.json"), file("office.vkd")});
  EXPECT_EQ(refused.code, 1);
  EXPECT_THAT(refused.err, HasSubstr("exists; nothing was changed (give --force"));
  EXPECT_EQ(dir_.read("office.vkd"), before);
  EXPECT_EQ(vkd({"load", "--force", file("sample.json"), file("office.vkd")}).code, 0);
  EXPECT_EQ(vkd({"diff", file("sample.vkd"), file("office.vkd")}).code, 0);
}

TEST_F(VkdMerge, DiffExitsWithZeroOneOrTwo) {
  const nlohmann::json all = counts("sample.vkd", "sample.vkd");
  const VkdRun same = vkd({"diff", file("sample.vkd"), file("sample.vkd")});
  EXPECT_EQ(same.code, 0);
  EXPECT_THAT(same.out, HasSubstr(n(all["equal"], "equal, 0 different, 0 only in")));

  const VkdRun differ = vkd({"diff", file("sample.vkd"), file("office.vkd")});
  EXPECT_EQ(differ.code, 1);
  EXPECT_THAT(differ.out, HasSubstr("Property definitions (0 equal)\n  only in " +
                                    file("sample.vkd") + "  Width\n"));
  const nlohmann::json j = nlohmann::json::parse(
      vkd({"diff", "--format", "json", file("sample.vkd"), file("office.vkd")}).out);
  EXPECT_EQ(j["counts"]["onlyInSource"].get<int>() + j["counts"]["equal"].get<int>(),
            all["equal"].get<int>());
  EXPECT_THAT(differ.out,
              HasSubstr(n(j["counts"]["onlyInSource"], "only in ") + file("sample.vkd")));

  const VkdRun json = vkd({"diff", "--format", "json", file("office.vkd"), file("sample.vkd")});
  EXPECT_EQ(json.code, 1);
  const nlohmann::json k = nlohmann::json::parse(json.out);
  EXPECT_EQ(k["counts"]["onlyInCurrent"], j["counts"]["onlyInSource"]);
  EXPECT_EQ(k["kinds"]["symbols"][0]["key"], "SOCKET");

  const VkdRun missing = vkd({"diff", file("sample.vkd"), file("none.vkd")});
  EXPECT_EQ(missing.code, 2);
  EXPECT_THAT(missing.err, HasSubstr("cannot read " + file("none.vkd")));
  ASSERT_TRUE(dir_.write("text.vkd", "no dataset"));
  EXPECT_EQ(vkd({"diff", file("text.vkd"), file("sample.vkd")}).code, 2);
  EXPECT_EQ(vkd({"diff", "--format", "xml", file("sample.vkd"), file("sample.vkd")}).code, 2);
  EXPECT_EQ(vkd({"diff", file("sample.vkd")}).code, 2);
}

TEST_F(VkdMerge, MergeIntoANewDatasetThenAgainChangesNothingTheSecondTime) {
  const nlohmann::json before = counts("sample.vkd", "office.vkd");
  const VkdRun dry = vkd({"merge", "--dry-run", file("sample.vkd"), file("office.vkd")});
  ASSERT_EQ(dry.code, 0) << dry.err;
  EXPECT_THAT(dry.out, HasSubstr("nothing was changed): " + n(before["onlyInSource"], "created")));
  EXPECT_EQ(vkd({"diff", file("sample.vkd"), file("office.vkd")}).code, 1) << "dry run";

  const VkdRun merged = vkd({"merge", file("sample.vkd"), file("office.vkd")});
  ASSERT_EQ(merged.code, 0) << merged.err;
  EXPECT_THAT(merged.out, HasSubstr(n(before["onlyInSource"], "created, 0 overwritten, ") +
                                    n(before["equal"], "mapped, 0 skipped")));
  EXPECT_THAT(merged.out, HasSubstr("\n  Create      Flow (id 4)\n"));
  EXPECT_EQ(vkd({"diff", file("sample.vkd"), file("office.vkd")}).code, 0);
  EXPECT_FALSE(exists("office.lck"));
  const VkdRun check = vkd({"check", file("office.vkd")});
  EXPECT_EQ(check.code, 0) << check.out << check.err;

  const std::string once = vkd({"dump", file("office.vkd")}).out;
  const VkdRun again = vkd({"merge", "--format", "json", file("sample.vkd"), file("office.vkd")});
  ASSERT_EQ(again.code, 0) << again.err;
  EXPECT_EQ(nlohmann::json::parse(again.out)["counts"]["map"].get<int>(),
            before["equal"].get<int>() + before["onlyInSource"].get<int>());
  EXPECT_EQ(vkd({"dump", file("office.vkd")}).out, once);
}

TEST_F(VkdMerge, AnEditedPlanIsFollowed) {
  const VkdRun wrote =
      vkd({"merge", "--write-plan", file("plan.json"), file("sample.vkd"), file("office.vkd")});
  ASSERT_EQ(wrote.code, 0) << wrote.err;
  const nlohmann::json before = counts("sample.vkd", "office.vkd");
  EXPECT_THAT(wrote.out, HasSubstr(n(before["onlyInSource"], "to create")));
  EXPECT_EQ(vkd({"diff", file("sample.vkd"), file("office.vkd")}).code, 1) << "nothing merged";
  // The administrator takes everything but the symbol PANEL.
  std::string plan = dir_.read("plan.json");
  const size_t panel = plan.find("{\"key\": \"PANEL\"");
  ASSERT_NE(panel, std::string::npos) << plan;
  const size_t action = plan.find("\"create\"", panel);
  plan.replace(action, 8, "\"skip\"");
  ASSERT_TRUE(dir_.write("plan.json", plan));
  const VkdRun merged =
      vkd({"merge", "--plan", file("plan.json"), file("sample.vkd"), file("office.vkd")});
  ASSERT_EQ(merged.code, 0) << merged.err;
  EXPECT_THAT(merged.out,
              HasSubstr(std::to_string(before["onlyInSource"].get<int>() - 1) + " created"));
  EXPECT_THAT(merged.out, HasSubstr("  Skip        PANEL (not taken)\n"));
  const VkdRun diff = vkd({"diff", file("sample.vkd"), file("office.vkd")});
  EXPECT_EQ(diff.code, 1);
  EXPECT_THAT(diff.out, HasSubstr(std::to_string(before["onlyInSource"].get<int>() - 1 +
                                                 before["equal"].get<int>()) +
                                  " equal, 0 different, 1 only in"));
}

TEST_F(VkdMerge, ABadPlanNamesItsLineAndMergesNothing) {
  ASSERT_EQ(
      vkd({"merge", "--write-plan", file("plan.json"), file("sample.vkd"), file("office.vkd")})
          .code,
      0);
  std::string plan = dir_.read("plan.json");
  plan.replace(plan.find("\"create\""), 8, "\"copy\"");
  ASSERT_TRUE(dir_.write("plan.json", plan));
  const std::string before = dir_.read("office.vkd");
  const VkdRun run =
      vkd({"merge", "--plan", file("plan.json"), file("sample.vkd"), file("office.vkd")});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, HasSubstr(file("plan.json") + " line 6: \"action\" must be one of create, "
                                                     "overwrite, map, skip, not \"copy\"; nothing "
                                                     "was merged"));
  EXPECT_EQ(dir_.read("office.vkd"), before);
}

TEST_F(VkdMerge, WrongCommandLinesAndALockedTargetAreRefused) {
  EXPECT_EQ(
      vkd({"merge", "--plan", "a", "--write-plan", "b", file("sample.vkd"), file("office.vkd")})
          .code,
      2);
  EXPECT_EQ(
      vkd({"merge", "--dry-run", "--write-plan", "b", file("sample.vkd"), file("office.vkd")}).code,
      2);
  EXPECT_EQ(vkd({"merge", file("sample.vkd")}).code, 2);
  EXPECT_EQ(vkd({"dump", "--dry-run", file("sample.vkd")}).code, 2);
  const VkdRun noPlan =
      vkd({"merge", "--plan", file("none.json"), file("sample.vkd"), file("office.vkd")});
  EXPECT_EQ(noPlan.code, 1);
  EXPECT_THAT(noPlan.err, HasSubstr("cannot read the plan"));

  const std::string before = dir_.read("office.vkd");
  CLockFile theirs;
  wchar_t owner[CLockFile::kOwnerBufferChars] = {};
  ASSERT_EQ(theirs.set(dir_.path(L"office.lck"), L"Anna", owner), CLockFile::lockHeld);
  const VkdRun locked = vkd({"merge", file("sample.vkd"), file("office.vkd")});
  EXPECT_EQ(locked.code, 1);
  EXPECT_THAT(locked.err, HasSubstr("cannot merge"));
  EXPECT_THAT(locked.err, HasSubstr("nothing was changed"));
  EXPECT_EQ(dir_.read("office.vkd"), before);
}

}  // namespace

// The host's side: the callback table, the host interface and the version number; and what a
// debug build stops on when a host breaks the rules of registration or threads.

#include "vxkd/platform/host.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/fake_host.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/version.h"

namespace {

using vxkd_test::FakeHost;

// A host and a backend for the test to register; the console backend and no host again
// after it, before they go.
class HostTest : public ::testing::Test {
 protected:
  void TearDown() override {
    VxKdInterface::set(nullptr);
    CUiBackend::install(nullptr);
  }

  FakeHost host_;
  CRecordingUiBackend ui_;
};

TEST_F(HostTest, VersionNumberIsMajorTimesHundredPlusMinor) {
  EXPECT_EQ(vxkdui_version_nmb(), VXKD_VERSION_MAJOR * 100 + VXKD_VERSION_MINOR);
  EXPECT_EQ(vxkdui_version_nmb() / 100, 18) << "the product's version";
  EXPECT_STREQ(
      VXKD_VERSION_TEXT,
      (std::to_string(VXKD_VERSION_MAJOR) + "." + std::to_string(VXKD_VERSION_MINOR)).c_str());
}

TEST_F(HostTest, WithoutAHostAttributeDefinitionsAreNotRead) {
  std::vector<VxKdAttributeDef> defs(2);
  EXPECT_EQ(VxKdInterface::get(), nullptr);
  EXPECT_FALSE(VxKdInterface::readBlockAttributeDefs(L"VANTSYLABEL", defs));
  EXPECT_TRUE(defs.empty());
}

TEST_F(HostTest, AttributeDefinitionsComeInTheBlocksOrderCutTo60Characters) {
  const std::wstring long70(70, L'x');
  host_.attributes = {{L"P_NAME", L"Name"}, {long70, L"Prompt " + long70}, {L"ß", L""}};
  EXPECT_EQ(VxKdInterface::set(&host_), nullptr);
  EXPECT_EQ(VxKdInterface::get(), &host_);

  std::vector<VxKdAttributeDef> defs;
  ASSERT_TRUE(VxKdInterface::readBlockAttributeDefs(L"VANTSYLABEL", defs));
  ASSERT_EQ(defs.size(), 3u);
  EXPECT_EQ(defs[0].tag.str(), L"P_NAME");
  EXPECT_EQ(defs[0].prompt.str(), L"Name");
  EXPECT_EQ(defs[1].tag.str(), std::wstring(60, L'x'));
  EXPECT_EQ(defs[1].prompt.str(), (L"Prompt " + long70).substr(0, 60));
  EXPECT_EQ(defs[2].tag.str(), L"ß");
  EXPECT_EQ(host_.asked, std::vector<std::wstring>{L"VANTSYLABEL"});
}

TEST_F(HostTest, AHostThatCannotReadItsDrawingLeavesNothingBehind) {
  VxKdInterface::set(&host_);
  std::vector<VxKdAttributeDef> defs;
  EXPECT_FALSE(VxKdInterface::readBlockAttributeDefs(L"OTHER", defs));
  EXPECT_TRUE(defs.empty()) << "what the failing host put there is dropped";
  host_.readable = false;
  EXPECT_FALSE(VxKdInterface::readBlockAttributeDefs(nullptr, defs));
  EXPECT_EQ(host_.asked.back(), L"") << "a null name is asked as empty";
}

TEST_F(HostTest, CallbackTableRegistersBackendAndHostTogether) {
  VxKdCallbacks callbacks;
  callbacks.ui = &ui_;
  callbacks.host = &host_;
  ASSERT_TRUE(vxkdui_init_vxkd_callbacks(&callbacks));
  EXPECT_EQ(&CUiBackend::current(), &ui_);
  EXPECT_EQ(VxKdInterface::get(), &host_);

  const VxKdCallbacks none;
  ASSERT_TRUE(vxkdui_init_vxkd_callbacks(&none));
  EXPECT_NE(dynamic_cast<CConsoleUiBackend*>(&CUiBackend::current()), nullptr)
      << "a table of nulls goes back to the console";
  EXPECT_EQ(VxKdInterface::get(), nullptr);
}

TEST_F(HostTest, NullOrShortCallbackTablesChangeNothing) {
  VxKdCallbacks callbacks;
  callbacks.ui = &ui_;
  callbacks.host = &host_;
  EXPECT_FALSE(vxkdui_init_vxkd_callbacks(nullptr));
  for (uint32_t size : {0u, 1u, static_cast<uint32_t>(sizeof(VxKdCallbacks) - 1)}) {
    callbacks.size = size;
    EXPECT_FALSE(vxkdui_init_vxkd_callbacks(&callbacks)) << size;
  }
  EXPECT_NE(&CUiBackend::current(), &ui_);
  EXPECT_EQ(VxKdInterface::get(), nullptr);
  callbacks.size = sizeof(VxKdCallbacks) + 16;  // a host built with a later, longer table
  EXPECT_TRUE(vxkdui_init_vxkd_callbacks(&callbacks));
  EXPECT_EQ(VxKdInterface::get(), &host_);
}

// What a host can get wrong: debug builds stop; release builds recover as described.
using HostDeathTest = HostTest;

TEST_F(HostDeathTest, DestroyingWhatIsStillRegisteredStopsADebugBuild) {
  EXPECT_DEBUG_DEATH(
      {
        auto* host = new FakeHost;
        VxKdInterface::set(host);
        delete host;
      },
      "destroyed while registered");
  EXPECT_DEBUG_DEATH(
      {
        auto* ui = new CRecordingUiBackend;
        CUiBackend::install(ui);
        delete ui;
      },
      "destroyed while installed");
  EXPECT_DEBUG_DEATH(
      {
        auto* env = new CEnv;
        CEnv::install(env);
        delete env;
      },
      "destroyed while installed");
  // Here, in a release build, each was unregistered as it went.
  EXPECT_EQ(VxKdInterface::get(), nullptr);
  EXPECT_NE(dynamic_cast<CConsoleUiBackend*>(&CUiBackend::current()), nullptr);
}

TEST_F(HostDeathTest, ReachingTheUserInterfaceFromAnotherThreadStopsADebugBuild) {
  CUiBackend::current();  // this thread is the user-interface thread
  EXPECT_DEBUG_DEATH(std::thread([] { CUiBackend::current(); }).join(),
                     "off its user-interface thread");
  EXPECT_DEBUG_DEATH(std::thread([] { VxKdInterface::set(nullptr); }).join(),
                     "off its user-interface thread");
  // What is safe anywhere stays so.
  int version = 0;
  std::thread([&version] { version = vxkdui_version_nmb(); }).join();
  EXPECT_EQ(version, VXKD_VERSION_NUMBER);
}

}  // namespace

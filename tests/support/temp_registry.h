#pragma once
// A private registry for one test: VXKD_HKCU and VXKD_HKLM name files in a fresh scratch
// folder (neither file exists at first) and the preference caches are dropped, before and
// after, so no test sees another's values or the real ones.

#include <gtest/gtest.h>

#include <string>

#include "support/scratch_folder.h"

class CTempRegistry {
 public:
  CTempRegistry();
  ~CTempRegistry();

  const CScratchFolder& folder() const { return folder_; }
  std::string currentUserFile() const { return folder_.file("hkcu/registry.reg"); }
  std::string localMachineFile() const { return folder_.file("hklm/registry.reg"); }

  // Writes a registry file by hand.
  void writeCurrentUser(const std::string& text) const { folder_.write("hkcu/registry.reg", text); }
  void writeLocalMachine(const std::string& text) const {
    folder_.write("hklm/registry.reg", text);
  }
  std::string currentUserText() const { return folder_.read("hkcu/registry.reg"); }

 private:
  CScratchFolder folder_;
  CScopedEnv hkcu_;
  CScopedEnv hklm_;
};

// A test with its own registry.
class RegistryTest : public ::testing::Test {
 protected:
  CTempRegistry registry_;
};

#pragma once
// Fixtures shared by the tests: a recording message-box backend installed for the length
// of a test, and the language database opened from the program folder.

#include <gtest/gtest.h>

#include "platform/ui_backend.h"

namespace vxkd_test {

// Opens the language database shipped beside the library, in `language` (0: the default).
// Returns whether it opened.
bool openLanguageDb(long language = 0);

// Installs a CRecordingUiBackend for the test and restores the previous backend after it.
class RecordingUiTest : public ::testing::Test {
 protected:
  void SetUp() override { previous_ = CUiBackend::install(&ui_); }
  void TearDown() override { CUiBackend::install(previous_); }

  CRecordingUiBackend ui_;

 private:
  CUiBackend* previous_ = nullptr;
};

}  // namespace vxkd_test

#pragma once
// Fixtures shared by the tests: a recording message-box backend installed for the length
// of a test or of a scope, and the language database opened from the program folder.

#include <gtest/gtest.h>

#include "support/recording_ui.h"

namespace vxkd_test {

inline constexpr long kEnglish = 1500;
inline constexpr long kGerman = 1501;

// Opens the language database shipped beside the library, in `language` (0: the default).
// Returns whether it opened.
bool openLanguageDb(long language = 0);

// Makes `language` active for one scope (opening the database first if it is not open), then
// the default language again.
class ScopedLanguage {
 public:
  explicit ScopedLanguage(long language);
  ~ScopedLanguage();
  ScopedLanguage(const ScopedLanguage&) = delete;
  ScopedLanguage& operator=(const ScopedLanguage&) = delete;

  // False when the texts could not be opened or do not declare the language.
  bool active() const { return active_; }

 private:
  bool active_ = false;
};

// A recording backend installed for the life of the object; the previous one comes back.
class ScopedRecordingUi : public CRecordingUiBackend {
 public:
  ScopedRecordingUi() : previous_(CUiBackend::install(this)) {}
  ~ScopedRecordingUi() override { CUiBackend::install(previous_); }
  ScopedRecordingUi(const ScopedRecordingUi&) = delete;
  ScopedRecordingUi& operator=(const ScopedRecordingUi&) = delete;

 private:
  CUiBackend* previous_;
};

// Installs a CRecordingUiBackend for the test and restores the previous backend after it.
class RecordingUiTest : public ::testing::Test {
 protected:
  void SetUp() override { previous_ = CUiBackend::install(&ui_); }
  void TearDown() override { CUiBackend::install(previous_); }

  // Whether the last message box showed `text` under `caption` with the style word `style`
  // (task-modal included).
  ::testing::AssertionResult lastBoxIs(const wchar_t* text, const wchar_t* caption,
                                       unsigned style) const;

  CRecordingUiBackend ui_;

 private:
  CUiBackend* previous_ = nullptr;
};

// RecordingUiTest with the language database open in English, closed again after the test,
// so that the boxes show the texts users read.
class TextsUiTest : public RecordingUiTest {
 protected:
  void SetUp() override;
  void TearDown() override;
};

}  // namespace vxkd_test

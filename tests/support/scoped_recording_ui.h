#pragma once
// A recording user-interface backend installed for the life of the object.

#include "platform/ui_backend.h"

class CScopedRecordingUi : public CRecordingUiBackend {
 public:
  CScopedRecordingUi() : previous_(CUiBackend::install(this)) {}
  ~CScopedRecordingUi() override { CUiBackend::install(previous_); }
  CScopedRecordingUi(const CScopedRecordingUi&) = delete;
  CScopedRecordingUi& operator=(const CScopedRecordingUi&) = delete;

 private:
  CUiBackend* previous_;
};

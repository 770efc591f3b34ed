#pragma once
// QbaseError: why the last operation of the record database failed, shared by CQbase and its
// backends. Private to CQbase.

#include <string>
#include <utility>

#include "vxkd/platform/qbase.h"

// In words for logs and tests and, for the failures of an open, a read or a close, the reason
// for the caller.
struct QbaseError {
  std::string message;
  CQbase::failReason reason = CQbase::reasonNone;

  // Keeps `text` and returns false, so that a failure path reads `return error.fail(...)`.
  // The reason stays: a missing record or a wrong field number is no failure of the dataset.
  bool fail(std::string text) {
    message = std::move(text);
    return false;
  }
  // A failure of the dataset itself, with its reason.
  bool fail(CQbase::failReason why, std::string text) {
    reason = why;
    return fail(std::move(text));
  }
  void clear() {
    message.clear();
    reason = CQbase::reasonNone;
  }
};

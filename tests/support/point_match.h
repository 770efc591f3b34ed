#pragma once
// Comparing points of the graphics model in tests, with a message that shows both.

#include <gtest/gtest.h>

#include "vxkd/platform/geometry.h"

namespace vxkd_test {

// Whether `a` lies within `tolerance` of `b`.
inline ::testing::AssertionResult near(const CGmPoint& a, const CGmPoint& b,
                                       double tolerance = 1e-9) {
  if (a.distanceTo(b) <= tolerance) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") is not ("
                                       << b.x << ", " << b.y << ", " << b.z << ")";
}

}  // namespace vxkd_test

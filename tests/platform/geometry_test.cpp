#include "vxkd/platform/geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "support/point_match.h"

namespace {

using vxkd_test::near;

constexpr double kPi = std::numbers::pi;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Transform, NamedTransformsMoveAPointAsTheirNamesSay) {
  const struct {
    const char* what;
    CGmTransform t;
    CGmPoint in, out;
  } cases[] = {
      {"identity", CGmTransform(), {3, 4, 5}, {3, 4, 5}},
      {"scale", CGmTransform::scaling(2), {3, 4, 5}, {6, 8, 10}},
      {"quarter turn", CGmTransform::rotation(kPi / 2), {3, 4, 5}, {-4, 3, 5}},
      {"translation", CGmTransform::translation({1, -1, 2}), {3, 4, 5}, {4, 3, 7}},
      {"scale then move",
       CGmTransform::scaling(2).then(CGmTransform::translation({1, 0})),
       {1, 1},
       {3, 2}},
      {"move then scale",
       CGmTransform::translation({1, 0}).then(CGmTransform::scaling(2)),
       {1, 1},
       {4, 2}},
      {"turn then move",
       CGmTransform::rotation(kPi).then(CGmTransform::translation({10, 10})),
       {1, 2},
       {9, 8}},
      {"coordinate system turned",
       CGmTransform::coordinateSystem({10, 5, 1}, {0, 1, 0}, {-1, 0, 0}),
       {2, 3, 4},
       {7, 7, 5}},
      {"coordinate system mirrored",
       CGmTransform::coordinateSystem({10, 5}, {1, 0, 0}, {0, -1, 0}),
       {2, 3, 4},
       {12, 2, -4}},
      {"placement scales first",
       CGmTransform::placement(3, {10, 5}, {0, 1}, {-1, 0}),
       {1, 0},
       {10, 8}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_TRUE(near(c.t.apply(c.in), c.out));
  }
}

TEST(Transform, CoordinateSystemAxesAreMadeSquareUnitVectorsInThePlan) {
  const struct {
    const char* what;
    CGmVector xAxis, yAxis;
    CGmPoint unitX, unitY;  // where (1, 0) and (0, 1) go from the origin
    bool mirrors;
  } cases[] = {
      {"long axes", {5, 0, 0}, {0, 7, 0}, {1, 0}, {0, 1}, false},
      {"zero axes", {}, {}, {1, 0}, {0, 1}, false},
      {"zero second axis", {0, 2}, {}, {0, 1}, {-1, 0}, false},
      {"second along the first",
       {1, 1},
       {2, 2},
       {M_SQRT1_2, M_SQRT1_2},
       {-M_SQRT1_2, M_SQRT1_2},
       false},
      {"skewed second axis", {1, 0}, {1, 1}, {1, 0}, {0, 1}, false},
      {"skewed to the clockwise side", {1, 0}, {1, -3}, {1, 0}, {0, -1}, true},
      {"axes out of the plan", {0, 0, 1}, {0, 0, 1}, {1, 0}, {0, 1}, false},
      {"not a number", {kNaN, 0}, {0, kNaN}, {1, 0}, {0, 1}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CGmTransform t = CGmTransform::coordinateSystem({}, c.xAxis, c.yAxis);
    EXPECT_TRUE(near(t.apply(CGmPoint(1, 0)), c.unitX));
    EXPECT_TRUE(near(t.apply(CGmPoint(0, 1)), c.unitY));
    EXPECT_EQ(t.mirrors(), c.mirrors);
    EXPECT_DOUBLE_EQ(t.scale(), 1);
  }
}

TEST(Transform, ThenIsTheSameAsApplyingOneAfterTheOther) {
  const CGmTransform parts[] = {
      CGmTransform::scaling(0.5),
      CGmTransform::rotation(0.7),
      CGmTransform::translation({3, -2, 1}),
      CGmTransform::coordinateSystem({1, 2, 3}, {1, 2}, {2, -1}),  // mirrors
      CGmTransform::placement(4, {-5, 5}, {-1, 0}, {0, 1}),        // mirrors
  };
  const CGmPoint p(1.5, -2.5, 0.75);
  for (const CGmTransform& a : parts) {
    for (const CGmTransform& b : parts) {
      CGmTransform ab = a.then(b);
      EXPECT_TRUE(near(ab.apply(p), b.apply(a.apply(p))));
      EXPECT_EQ(ab.mirrors(), a.mirrors() != b.mirrors());
      EXPECT_DOUBLE_EQ(ab.scale(), a.scale() * b.scale());
      CGmVector v = ab.apply(CGmVector(1, 2, 3));
      EXPECT_TRUE(near(CGmPoint() + v, CGmPoint() + b.apply(a.apply(CGmVector(1, 2, 3)))));
    }
  }
}

TEST(Transform, ScalesThatCannotMeanAnythingAreTheIdentity) {
  for (double factor : {0.0, -2.0, kNaN, std::numeric_limits<double>::infinity()}) {
    EXPECT_TRUE(CGmTransform::scaling(factor).isIdentity()) << factor;
    EXPECT_DOUBLE_EQ(CGmTransform::placement(factor, {}, {1, 0}, {0, 1}).scale(), 1);
  }
  EXPECT_TRUE(CGmTransform::rotation(kNaN).isIdentity());
  EXPECT_TRUE(CGmTransform::translation({kNaN, 0}).isIdentity());
  EXPECT_FALSE(CGmTransform::scaling(2).isIdentity());
}

TEST(Box, GrowsFromTheFirstPointAndTellsWhatItContains) {
  CGmBox box;
  EXPECT_TRUE(box.isEmpty());
  EXPECT_FALSE(box.contains({0, 0}));
  box.extend({2, 3, 1});
  EXPECT_FALSE(box.isEmpty());
  EXPECT_EQ(box.minimum(), CGmPoint(2, 3, 1));
  EXPECT_EQ(box.maximum(), CGmPoint(2, 3, 1));
  box.extend({-1, 5, 0});
  EXPECT_EQ(box.minimum(), CGmPoint(-1, 3, 0));
  EXPECT_EQ(box.maximum(), CGmPoint(2, 5, 1));
  EXPECT_DOUBLE_EQ(box.width(), 3);
  EXPECT_DOUBLE_EQ(box.height(), 2);
  EXPECT_TRUE(box.contains({0, 4}));
  EXPECT_FALSE(box.contains({0, 5.5}));
  EXPECT_TRUE(box.contains({0, 5.5}, 0.5));

  CGmBox other;
  other.extend({10, -10});
  box.extend(other);
  box.extend(CGmBox());
  EXPECT_EQ(box.minimum(), CGmPoint(-1, -10, 0));
  EXPECT_EQ(box.maximum(), CGmPoint(10, 5, 1));
}

TEST(PointArray, OutOfRangeIndexesChangeNothing) {
  CGmPointArray points{{1, 1}, {2, 2}};
  EXPECT_EQ(points.at(5), CGmPoint());
  EXPECT_FALSE(points.setAt(2, {9, 9}));
  EXPECT_FALSE(points.removeAt(-1));
  EXPECT_TRUE(points.setAt(1, {3, 3}));
  EXPECT_TRUE(points.removeAt(0));
  EXPECT_EQ(points, CGmPointArray({{3, 3}}));
}

TEST(Vector, NormalOfZeroStaysZero) {
  EXPECT_EQ(CGmVector().normal(), CGmVector());
  EXPECT_EQ(CGmVector(0, -4).normal(), CGmVector(0, -1));
  EXPECT_EQ(CGmVector(1, 0).cross(CGmVector(0, 1)), CGmVector(0, 0, 1));
  EXPECT_EQ(CGmVector(2, 1).perpendicular(), CGmVector(-1, 2));
}

}  // namespace

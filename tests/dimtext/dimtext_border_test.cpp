#include "dimtext/dimtext_border.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "support/point_match.h"
#include "vxkd/dimtext/dimtext_format.h"

namespace {

using O = CKdDimtextOptions;
using VxKd::DimtextBorder;
using VxKd::DimtextRows;
using vxkd_test::near;

// Three rows 20 wide at a font height of 2.5, the box's top left at (-10, 0).
DimtextRows threeRows() {
  DimtextRows r;
  r.left = -10;
  r.top = 0;
  r.width = 20;
  r.fontHeight = 2.5;
  r.margin = 0.75;
  r.rows = 3;
  r.height = 3 * 2.5 + 2 * 2 * 0.75;
  return r;
}

// The corners of the rows' box with its margin.
CGmPointArray marginCorners(const DimtextRows& r) {
  const double m = r.margin;
  return {{r.left - m, r.bottom() - m},
          {r.right() + m, r.bottom() - m},
          {r.right() + m, r.top + m},
          {r.left - m, r.top + m}};
}

// The distance from `p` to the nearest drawn line of `border`.
double distanceToStrokes(const DimtextBorder& border, const CGmPoint& p) {
  double best = INFINITY;
  for (const CGmPolyline& s : border.strokes) {
    const int n = s.points.length();
    for (int i = 0; i + 1 < n + (s.closed ? 1 : 0); ++i) {
      const CGmPoint a = s.points[i], b = s.points[(i + 1) % n];
      const CGmVector ab = b - a;
      const double t = std::clamp((p - a).dot(ab) / ab.dot(ab), 0.0, 1.0);
      best = std::min(best, p.distanceTo(a + ab * t));
    }
  }
  if (border.drawCircle)
    best = std::min(best, std::fabs(p.distanceTo(border.centre) - border.radius));
  return best;
}

class EveryBorder : public ::testing::TestWithParam<short> {};

TEST_P(EveryBorder, EnclosesTheRowsWithTheirMargin) {
  const DimtextRows r = threeRows();
  const DimtextBorder border = VxKd::makeDimtextBorder(GetParam(), r, 0);
  for (const CGmPoint& corner : marginCorners(r))
    EXPECT_TRUE(border.contains(corner)) << corner.x << ", " << corner.y;
}

TEST_P(EveryBorder, ReferenceLinesStartOnWhatIsDrawn) {
  const DimtextRows r = threeRows();
  const DimtextBorder border = VxKd::makeDimtextBorder(GetParam(), r, 0);
  // Targets all round the text, far enough to lie outside every border.
  for (int k = 0; k < 16; ++k) {
    const double a = k * std::numbers::pi / 8;
    const CGmPoint target(50 * std::cos(a), -5 + 50 * std::sin(a));
    CGmPoint start;
    ASSERT_TRUE(border.refLineStart(target, start));
    if (GetParam() == O::borderNone) {
      // Nothing is drawn: the line leaves the box with its margin.
      EXPECT_NEAR(start.distanceTo(border.nearestOnOutline(target)), 0, 1e-9);
    } else {
      EXPECT_NEAR(distanceToStrokes(border, start), 0, 1e-9) << "target angle " << k;
    }
  }
}

TEST_P(EveryBorder, NoReferenceLineFromInside) {
  const DimtextBorder border = VxKd::makeDimtextBorder(GetParam(), threeRows(), 0);
  CGmPoint start(7, 7);
  EXPECT_FALSE(border.refLineStart({0, -5}, start));
  EXPECT_TRUE(near(start, {7, 7}));
}

INSTANTIATE_TEST_SUITE_P(DimtextBorder, EveryBorder,
                         ::testing::Values(O::borderNone, O::borderFirstRowUnderlined,
                                           O::borderAllRowsUnderlined, O::borderRectangle,
                                           O::borderDiamond, O::borderCircle, O::borderSplitCircle,
                                           O::borderBreakLine, O::borderHexagon));

TEST(DimtextBorder, TypesOutOfRangeDrawNothing) {
  for (short type : {-1, 9, 100}) {
    const DimtextBorder border = VxKd::makeDimtextBorder(type, threeRows(), 0);
    EXPECT_TRUE(border.strokes.empty());
    EXPECT_FALSE(border.drawCircle);
  }
}

TEST(DimtextBorder, RectangleIsTheBoxWithItsMargin) {
  const DimtextRows r = threeRows();
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderRectangle, r, 0);
  ASSERT_EQ(b.strokes.size(), 1u);
  EXPECT_TRUE(b.strokes[0].closed);
  EXPECT_EQ(b.strokes[0].points, marginCorners(r));
}

TEST(DimtextBorder, CircleGoesThroughTheCornersOfTheBox) {
  const DimtextRows r = threeRows();
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderCircle, r, 0);
  EXPECT_TRUE(b.drawCircle);
  EXPECT_TRUE(near(b.centre, {0, -r.height / 2}));
  for (const CGmPoint& corner : marginCorners(r))
    EXPECT_NEAR(corner.distanceTo(b.centre), b.radius, 1e-9);
}

TEST(DimtextBorder, DiamondHasTwiceTheBoxAsDiagonals) {
  const DimtextRows r = threeRows();
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderDiamond, r, 0);
  const double w = r.width + 2 * r.margin, h = r.height + 2 * r.margin, cy = -r.height / 2;
  EXPECT_EQ(b.area, (CGmPointArray{{0, cy - h}, {w, cy}, {0, cy + h}, {-w, cy}}));
  // The box's corners lie on its edges: it is the smallest diamond of that shape.
  for (const CGmPoint& corner : marginCorners(r))
    EXPECT_NEAR(corner.distanceTo(b.nearestOnOutline(corner)), 0, 1e-9);
}

TEST(DimtextBorder, HexagonHasFlatSidesOnTheBoxAndSixtyDegreeEnds) {
  const DimtextRows r = threeRows();
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderHexagon, r, 0);
  ASSERT_EQ(b.area.length(), 6);
  for (int i = 0; i < 6; ++i) {
    const CGmVector edge = b.area[(i + 1) % 6] - b.area[i];
    const double degrees = std::fabs(std::atan2(edge.y, edge.x)) * 180 / std::numbers::pi;
    if (i == 0 || i == 3)
      EXPECT_NEAR(std::fabs(edge.x), r.width + 2 * r.margin, 1e-9) << "flat side " << i;
    else
      EXPECT_NEAR(std::fabs(degrees - 90), 30, 1e-9) << "60 degrees to the flat sides: " << i;
  }
  for (const CGmPoint& corner : marginCorners(r))
    EXPECT_NEAR(corner.distanceTo(b.nearestOnOutline(corner)), 0, 1e-9);
}

TEST(DimtextBorder, SplitCircleIsHalvedUnderTheFirstRow) {
  const DimtextRows r = threeRows();
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderSplitCircle, r, 0);
  const double divider = r.baseline(0) - r.margin;
  EXPECT_TRUE(near(b.centre, {0, divider}));
  ASSERT_EQ(b.strokes.size(), 1u);
  EXPECT_EQ(b.strokes[0].points, (CGmPointArray{{-b.radius, divider}, {b.radius, divider}}));
  // The farthest corner of the box lies on the circle.
  double farthest = 0;
  for (const CGmPoint& corner : marginCorners(r))
    farthest = std::max(farthest, corner.distanceTo(b.centre));
  EXPECT_NEAR(farthest, b.radius, 1e-9);
}

TEST(DimtextBorder, UnderlinesRunUnderTheRowsAsWideAsTheBox) {
  const DimtextRows r = threeRows();
  const DimtextBorder first = VxKd::makeDimtextBorder(O::borderFirstRowUnderlined, r, 0);
  const DimtextBorder all = VxKd::makeDimtextBorder(O::borderAllRowsUnderlined, r, 0);
  ASSERT_EQ(first.strokes.size(), 1u);
  ASSERT_EQ(all.strokes.size(), 3u);
  for (int row = 0; row < 3; ++row) {
    // Half way between the baseline and the next row's capitals.
    const double y = r.baseline(row) - r.margin;
    EXPECT_EQ(all.strokes[row].points, (CGmPointArray{{-10.75, y}, {10.75, y}})) << row;
  }
  EXPECT_EQ(first.strokes[0].points, all.strokes[0].points);
  EXPECT_NEAR(all.strokes[2].points[0].y, r.bottom() - r.margin, 1e-12) << "the box's bottom";
  EXPECT_EQ(first.anchors, first.strokes[0].points);
}

TEST(DimtextBorder, BreakLineStaysClearOfTheLastRowsDescenders) {
  const DimtextRows r = threeRows();
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderBreakLine, r, 0);
  ASSERT_EQ(b.strokes.size(), 1u);
  const CGmPointArray& line = b.strokes[0].points;
  const double y = line[0].y;
  EXPECT_TRUE(near(line[0], {-10.75, y}));
  EXPECT_TRUE(near(line[line.length() - 1], {10.75, y}));
  double highest = -INFINITY, lowest = INFINITY;
  for (const CGmPoint& p : line) {
    highest = std::max(highest, p.y);
    lowest = std::min(lowest, p.y);
  }
  // Descenders reach about 0.31 font heights below the baseline; the margin is 0.3.
  EXPECT_LT(highest, r.bottom() - 0.32 * r.fontHeight) << "below the descenders";
  EXPECT_NEAR(highest - y, y - lowest, 1e-12) << "a symmetric zigzag";
  EXPECT_GT(highest - y, 0.25 * r.fontHeight) << "large enough to be seen";
  EXPECT_EQ(b.anchors, (CGmPointArray{line[0], line[line.length() - 1]}));
}

TEST(DimtextBorder, FixedSizeIsTheSizeOfTheClosedBorders) {
  const DimtextRows r = threeRows();
  const double d = 8;
  const double cy = -r.height / 2;
  const DimtextBorder rect = VxKd::makeDimtextBorder(O::borderRectangle, r, d);
  EXPECT_EQ(rect.area, (CGmPointArray{{-4, cy - 4}, {4, cy - 4}, {4, cy + 4}, {-4, cy + 4}}));
  const DimtextBorder diamond = VxKd::makeDimtextBorder(O::borderDiamond, r, d);
  EXPECT_EQ(diamond.area, (CGmPointArray{{0, cy - 4}, {4, cy}, {0, cy + 4}, {-4, cy}}));
  EXPECT_DOUBLE_EQ(VxKd::makeDimtextBorder(O::borderCircle, r, d).radius, 4);
  EXPECT_DOUBLE_EQ(VxKd::makeDimtextBorder(O::borderSplitCircle, r, d).radius, 4);
  // A regular hexagon, 8 from corner to corner.
  const DimtextBorder hex = VxKd::makeDimtextBorder(O::borderHexagon, r, d);
  for (int i = 0; i < 6; ++i) {
    EXPECT_NEAR(hex.area[i].distanceTo({0, cy}), 4, 1e-9) << i;
    EXPECT_NEAR(hex.area[i].distanceTo(hex.area[(i + 1) % 6]), 4, 1e-9) << i;
  }
}

TEST(DimtextBorder, FixedSizeLeavesTheOpenBordersToTheText) {
  const DimtextRows r = threeRows();
  for (short type : {O::borderNone, O::borderFirstRowUnderlined, O::borderAllRowsUnderlined,
                     O::borderBreakLine}) {
    const DimtextBorder free = VxKd::makeDimtextBorder(type, r, 0);
    const DimtextBorder fixed = VxKd::makeDimtextBorder(type, r, 8);
    EXPECT_EQ(free.area, fixed.area) << type;
    ASSERT_EQ(free.strokes.size(), fixed.strokes.size()) << type;
    for (size_t i = 0; i < free.strokes.size(); ++i)
      EXPECT_EQ(free.strokes[i].points, fixed.strokes[i].points) << type;
  }
}

TEST(DimtextBorder, AnOpenBorderStartsAtTheNearerEnd) {
  const DimtextBorder b = VxKd::makeDimtextBorder(O::borderFirstRowUnderlined, threeRows(), 0);
  CGmPoint start;
  ASSERT_TRUE(b.refLineStart({-30, -20}, start));
  EXPECT_EQ(start, b.anchors[0]);
  ASSERT_TRUE(b.refLineStart({30, -20}, start));
  EXPECT_EQ(start, b.anchors[1]);
}

TEST(DimtextBorder, AClosedBorderStartsAtItsNearestPoint) {
  const DimtextRows r = threeRows();
  const DimtextBorder rect = VxKd::makeDimtextBorder(O::borderRectangle, r, 0);
  CGmPoint start;
  // Left of the box at mid height: straight across to the left side.
  ASSERT_TRUE(rect.refLineStart({-30, -4}, start));
  EXPECT_TRUE(near(start, {-10.75, -4}));
  // Down and to the left: the corner.
  ASSERT_TRUE(rect.refLineStart({-30, -40}, start));
  EXPECT_TRUE(near(start, {-10.75, r.bottom() - r.margin}));
  const DimtextBorder circle = VxKd::makeDimtextBorder(O::borderCircle, r, 0);
  ASSERT_TRUE(circle.refLineStart({0, -100}, start));
  EXPECT_TRUE(near(start, {0, circle.centre.y - circle.radius}));
}

// ---- Reference lines ----

struct Drawn {
  std::vector<CGmPolyline> polylines;
  std::vector<CGmLine> lines;
  std::vector<CGmCircle> circles;
};

Drawn refline(short type, double itemSize, const CGmPointArray& points = {{10, 0}}) {
  CGmModel model;
  VxKd::addDimtextRefline(model, type, {0, 0}, points, itemSize);
  Drawn d;
  for (const CGmItem& item : model.items()) {
    if (auto* p = std::get_if<CGmPolyline>(&item.shape)) d.polylines.push_back(*p);
    if (auto* l = std::get_if<CGmLine>(&item.shape)) d.lines.push_back(*l);
    if (auto* c = std::get_if<CGmCircle>(&item.shape)) d.circles.push_back(*c);
  }
  return d;
}

TEST(DimtextRefline, NoneAndOutOfRangeDrawNothing) {
  for (short type : {-1, 0, 5}) {
    const Drawn d = refline(type, 2);
    EXPECT_TRUE(d.polylines.empty() && d.lines.empty() && d.circles.empty()) << type;
  }
  EXPECT_TRUE(refline(O::reflineLineOnly, 2, {}).polylines.empty()) << "no points";
}

TEST(DimtextRefline, LineOnlyRunsThroughThePointsInOrder) {
  const Drawn d = refline(O::reflineLineOnly, 2, {{5, 5}, {10, 0}});
  ASSERT_EQ(d.polylines.size(), 1u);
  EXPECT_EQ(d.polylines[0].points, (CGmPointArray{{0, 0}, {5, 5}, {10, 0}}));
  EXPECT_TRUE(d.lines.empty());
  EXPECT_TRUE(d.circles.empty());
}

TEST(DimtextRefline, TargetLineCrossesTheEndAsLongAsTheItemSize) {
  const Drawn d = refline(O::reflineLineAndTarget, 2);
  ASSERT_EQ(d.lines.size(), 1u);
  EXPECT_TRUE(near(d.lines[0].start, {10, -1}));
  EXPECT_TRUE(near(d.lines[0].end, {10, 1}));
}

TEST(DimtextRefline, ArrowHasItsTipOnThePointAndTheLineStopsAtItsBase) {
  const Drawn d = refline(O::reflineArrow, 3);
  ASSERT_EQ(d.polylines.size(), 2u);
  EXPECT_EQ(d.polylines[0].points, (CGmPointArray{{0, 0}, {7, 0}}));
  const CGmPolyline& head = d.polylines[1];
  EXPECT_EQ(head.fill, CGmFill::solid);
  ASSERT_EQ(head.points.length(), 3);
  EXPECT_TRUE(near(head.points[0], {10, 0}));
  EXPECT_TRUE(near(head.points[1], {7, 0.5}));
  EXPECT_TRUE(near(head.points[2], {7, -0.5}));
}

TEST(DimtextRefline, ArrowLongerThanTheLineKeepsTheLineWhole) {
  const Drawn d = refline(O::reflineArrow, 30);
  ASSERT_EQ(d.polylines.size(), 2u);
  EXPECT_EQ(d.polylines[0].points, (CGmPointArray{{0, 0}, {10, 0}}));
}

TEST(DimtextRefline, FilledCircleIsCentredOnThePointWithTheItemSizeAsDiameter) {
  const Drawn d = refline(O::reflineFilledCircle, 2);
  ASSERT_EQ(d.circles.size(), 1u);
  EXPECT_TRUE(near(d.circles[0].centre, {10, 0}));
  EXPECT_DOUBLE_EQ(d.circles[0].radius, 1);
  EXPECT_EQ(d.circles[0].fill, CGmFill::solid);
}

TEST(DimtextRefline, NoItemWithoutASizeOrADirection) {
  for (short type : {O::reflineLineAndTarget, O::reflineArrow, O::reflineFilledCircle}) {
    for (double size : {0.0, -1.0, std::nan("")}) {
      const Drawn d = refline(type, size);
      EXPECT_EQ(d.polylines.size(), 1u) << type;
      EXPECT_TRUE(d.lines.empty() && d.circles.empty()) << type;
    }
    // Every point on the start: the line has no direction to turn an item by.
    const Drawn d = refline(type, 2, {{0, 0}, {0, 0}});
    EXPECT_TRUE(d.lines.empty() && d.circles.empty()) << type;
    EXPECT_EQ(d.polylines.size(), 1u) << type;
  }
}

TEST(DimtextRefline, ItemTurnsWithTheLastSegment) {
  // Up the y axis, past a point equal to the end.
  const Drawn d = refline(O::reflineLineAndTarget, 2, {{0, 10}, {0, 10}});
  ASSERT_EQ(d.lines.size(), 1u);
  EXPECT_TRUE(near(d.lines[0].start, {1, 10}));
  EXPECT_TRUE(near(d.lines[0].end, {-1, 10}));
}

}  // namespace

#include "dimtext/dimtext_border.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "vxkd/dimtext/dimtext_format.h"

namespace VxKd {
namespace {

using O = CKdDimtextOptions;

const double kSqrt3 = std::sqrt(3.0);

// The rectangle of `cx`, `cy` and the half sizes, counter-clockwise from the lower left.
CGmPointArray rectangle(double cx, double cy, double halfW, double halfH) {
  return {{cx - halfW, cy - halfH},
          {cx + halfW, cy - halfH},
          {cx + halfW, cy + halfH},
          {cx - halfW, cy + halfH}};
}

CGmPolyline closedStroke(const CGmPointArray& points) { return {points, true, CGmFill::none}; }
CGmPolyline openStroke(const CGmPointArray& points) { return {points, false, CGmFill::none}; }

// The point of segment a-b nearest to p.
CGmPoint nearestOnSegment(const CGmPoint& a, const CGmPoint& b, const CGmPoint& p) {
  const CGmVector ab(b.x - a.x, b.y - a.y);
  const double len2 = ab.dot(ab);
  if (len2 == 0) return a;
  const double t = std::clamp(CGmVector(p.x - a.x, p.y - a.y).dot(ab) / len2, 0.0, 1.0);
  return {a.x + ab.x * t, a.y + ab.y * t};
}

double distance2d(const CGmPoint& a, const CGmPoint& b) { return std::hypot(a.x - b.x, a.y - b.y); }

// An open border: it encloses the rows' box with its margin, which is not drawn.
void encloseMarginBox(DimtextBorder& border, const DimtextRows& r) {
  border.area =
      rectangle(r.centreX(), r.top - r.height / 2, r.width / 2 + r.margin, r.height / 2 + r.margin);
}

// A line under the rows at height `y`, as wide as the box with its margin; its ends are
// where a reference line starts.
void addUnderline(DimtextBorder& border, const DimtextRows& r, double y) {
  const CGmPoint a(r.left - r.margin, y), b(r.right() + r.margin, y);
  border.strokes.push_back(openStroke({a, b}));
  border.anchors.append(a);
  border.anchors.append(b);
}

}  // namespace

bool DimtextBorder::contains(const CGmPoint& p) const {
  if (round) return distance2d(p, centre) <= radius;
  const int n = area.length();
  if (n < 3) return false;
  for (int i = 0; i < n; ++i) {
    const CGmPoint a = area[i], b = area[(i + 1) % n];
    const double cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
    if (cross < 0) return false;
  }
  return true;
}

CGmPoint DimtextBorder::nearestOnOutline(const CGmPoint& p) const {
  if (round) {
    const CGmVector v(p.x - centre.x, p.y - centre.y);
    const double len = v.length();
    // From the centre every point of the circle is nearest: take the one to the left.
    if (len == 0) return {centre.x - radius, centre.y};
    return {centre.x + v.x / len * radius, centre.y + v.y / len * radius};
  }
  CGmPoint best;
  double bestDistance = std::numeric_limits<double>::infinity();
  const int n = area.length();
  for (int i = 0; i < n; ++i) {
    const CGmPoint q = nearestOnSegment(area[i], area[(i + 1) % n], p);
    const double d = distance2d(q, p);
    if (d < bestDistance) {
      bestDistance = d;
      best = q;
    }
  }
  return best;
}

bool DimtextBorder::refLineStart(const CGmPoint& target, CGmPoint& start) const {
  if (contains(target)) return false;
  if (anchors.isEmpty()) {
    start = nearestOnOutline(target);
    return true;
  }
  double bestDistance = std::numeric_limits<double>::infinity();
  for (const CGmPoint& a : anchors) {
    const double d = distance2d(a, target);
    if (d < bestDistance) {
      bestDistance = d;
      start = a;
    }
  }
  return true;
}

DimtextBorder makeDimtextBorder(short type, const DimtextRows& r, double fixedDim) {
  DimtextBorder border;
  const double m = r.margin;
  const double cx = r.centreX(), cy = r.top - r.height / 2;
  // The box the closed borders go around: the rows with their margin, or a square of the
  // fixed size about the same centre.
  const bool fixed = fixedDim > 0;
  const double halfW = fixed ? fixedDim / 2 : r.width / 2 + m;
  const double halfH = fixed ? fixedDim / 2 : r.height / 2 + m;

  switch (type) {
    case O::borderFirstRowUnderlined:
      encloseMarginBox(border, r);
      addUnderline(border, r, r.underline(0));
      break;
    case O::borderAllRowsUnderlined:
      encloseMarginBox(border, r);
      for (int row = 0; row < std::max(r.rows, 1); ++row) addUnderline(border, r, r.underline(row));
      break;
    case O::borderRectangle:
      border.area = rectangle(cx, cy, halfW, halfH);
      border.strokes.push_back(closedStroke(border.area));
      break;
    case O::borderDiamond:
      // The smallest diamond through the box's corners has diagonals twice the box's sides.
      // A fixed size is the diamond's own width and height.
      border.area = fixed ? CGmPointArray{{cx, cy - halfH},
                                          {cx + halfW, cy},
                                          {cx, cy + halfH},
                                          {cx - halfW, cy}}
                          : CGmPointArray{{cx, cy - 2 * halfH},
                                          {cx + 2 * halfW, cy},
                                          {cx, cy + 2 * halfH},
                                          {cx - 2 * halfW, cy}};
      border.strokes.push_back(closedStroke(border.area));
      break;
    case O::borderCircle:
      // Through the box's corners; a fixed size is the diameter.
      border.round = border.drawCircle = true;
      border.centre = {cx, cy};
      border.radius = fixed ? fixedDim / 2 : std::hypot(halfW, halfH);
      break;
    case O::borderSplitCircle: {
      // A circle halved by a horizontal diameter under the first row: the first row above
      // it, the others below, as an item number over its quantity. The circle reaches the
      // box's farthest corner from the divider's middle; a fixed size is the diameter.
      const double dividerY = r.underline(0);
      border.round = border.drawCircle = true;
      border.centre = {cx, dividerY};
      border.radius =
          fixed ? fixedDim / 2
                : std::hypot(halfW, std::max(r.top + m - dividerY, dividerY - (r.bottom() - m)));
      border.strokes.push_back(
          openStroke({{cx - border.radius, dividerY}, {cx + border.radius, dividerY}}));
      break;
    }
    case O::borderBreakLine: {
      // A line under the rows, as wide as the box with its margin, with the drafter's break
      // symbol in its middle: a zigzag 1.2 font heights wide that rises and falls by 0.3
      // font heights. The line lies that much (and a little) below the box's bottom, so that
      // the zigzag never reaches into the last row's descenders, wherever they are.
      encloseMarginBox(border, r);
      const double rise = 0.3 * r.fontHeight, half = 0.6 * r.fontHeight;
      const double y = r.underline(std::max(r.rows, 1) - 1) - 0.05 * r.fontHeight - rise;
      const CGmPoint a(r.left - m, y), b(r.right() + m, y);
      border.strokes.push_back(openStroke({a,
                                           {cx - half, y},
                                           {cx - half / 3, y + rise},
                                           {cx + half / 3, y - rise},
                                           {cx + half, y},
                                           b}));
      border.anchors.append(a);
      border.anchors.append(b);
      break;
    }
    case O::borderHexagon: {
      // Flat top and bottom on the box, pointed ends with edges at 60°, which pass through
      // the box's corners: a regular hexagon for a text as high as it is wide, longer for a
      // wider one. A fixed size is the width of a regular hexagon, corner to corner.
      double flatHalf, pointHalf, h;
      if (fixed) {
        pointHalf = fixedDim / 2;
        flatHalf = fixedDim / 4;
        h = fixedDim * kSqrt3 / 4;
      } else {
        flatHalf = halfW;
        h = halfH;
        pointHalf = halfW + halfH / kSqrt3;
      }
      border.area = {{cx - flatHalf, cy - h}, {cx + flatHalf, cy - h}, {cx + pointHalf, cy},
                     {cx + flatHalf, cy + h}, {cx - flatHalf, cy + h}, {cx - pointHalf, cy}};
      border.strokes.push_back(closedStroke(border.area));
      break;
    }
    default:
      // None, and types out of range: nothing drawn; a reference line leaves the box with
      // its margin.
      encloseMarginBox(border, r);
      break;
  }
  return border;
}

void addDimtextRefline(CGmModel& model, short type, const CGmPoint& start,
                       const CGmPointArray& points, double itemSize) {
  if (type <= O::reflineNone || type > O::reflineFilledCircle || points.isEmpty()) return;
  CGmPointArray line{start};
  for (const CGmPoint& p : points) line.append(p);
  const CGmPoint end = points[points.length() - 1];

  // The direction in which the line arrives at its end: from the last point before it that
  // lies elsewhere.
  CGmVector along;
  for (int i = line.length() - 2; i >= 0 && along.isZero(); --i)
    along = CGmVector(end.x - line[i].x, end.y - line[i].y).normal();
  const bool item =
      type != O::reflineLineOnly && itemSize > 0 && std::isfinite(itemSize) && !along.isZero();
  const CGmVector across = along.perpendicular();

  if (item && type == O::reflineArrow) {
    // A filled arrow head, three times as long as it is wide, its tip on the point. The
    // line stops at its base, so that the line's round end does not show beyond the tip.
    const CGmPoint base = end - along * itemSize;
    const CGmPoint before = line[line.length() - 2];
    if (CGmVector(end.x - before.x, end.y - before.y).length() > itemSize)
      line.setAt(line.length() - 1, base);
    model.addPolyline(line, false);
    model.addPolyline({end, base + across * (itemSize / 6), base - across * (itemSize / 6)}, true,
                      CGmFill::solid);
    return;
  }
  model.addPolyline(line, false);
  if (!item) return;
  if (type == O::reflineLineAndTarget) {
    // A stroke across the line's end, centred on the point, as long as the item size.
    model.addLine(end - across * (itemSize / 2), end + across * (itemSize / 2));
  } else if (type == O::reflineFilledCircle) {
    model.addCircle(end, itemSize / 2, CGmFill::solid);
  }
}

}  // namespace VxKd

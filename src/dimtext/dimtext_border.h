#pragma once
// The geometry of a dimension text's border and reference line, in the text's own frame (x
// along the text, y up, rows going down from y = 0). Kept apart from the cells so that each
// shape can be checked by its coordinates.

#include <vector>

#include "vxkd/platform/geometry.h"
#include "vxkd/platform/graphics_model.h"

namespace VxKd {

// Where the rows of a text lie: their box (capitals of the first row to the baseline of the
// last), the font height and the margin (the gap around the box and half the gap between
// rows).
struct DimtextRows {
  double left = 0, top = 0, width = 0, height = 0;
  double fontHeight = 0;
  double margin = 0;
  int rows = 0;

  double right() const { return left + width; }
  double bottom() const { return top - height; }
  double centreX() const { return left + width / 2; }
  // The baseline of row `row`.
  double baseline(int row) const { return top - row * (fontHeight + 2 * margin) - fontHeight; }
  // Half way between the baseline of `row` and the capitals of the next row; for the last
  // row, the bottom of the box with its margin.
  double underline(int row) const { return baseline(row) - margin; }
};

// A border: what is drawn, the area it encloses, and where a reference line leaves it.
struct DimtextBorder {
  // The drawn lines: closed polylines for the polygons, open ones for underlines.
  std::vector<CGmPolyline> strokes;
  // The enclosed area: a circle when `round`, else the convex polygon `area`
  // (counter-clockwise). The open borders enclose the rows' box with its margin.
  bool round = false;
  CGmPoint centre;
  double radius = 0;
  CGmPointArray area;
  // Whether the circle of the area is drawn.
  bool drawCircle = false;
  // The open borders' ends, where a reference line may start; empty for the closed ones,
  // whose reference line starts at the nearest point of the outline.
  CGmPointArray anchors;

  // Whether `p` lies inside the enclosed area or on its outline.
  bool contains(const CGmPoint& p) const;
  // The point of the area's outline nearest to `p`.
  CGmPoint nearestOnOutline(const CGmPoint& p) const;
  // Where a reference line towards `target` starts: the anchor nearest to it, or the
  // nearest point of the outline. False when `target` lies inside the area: a line from the
  // border inwards would cross the text.
  bool refLineStart(const CGmPoint& target, CGmPoint& start) const;
};

// The border of type `type` (CKdDimtextOptions::borderType) around `rows`. `fixedDim`, when
// positive, is the size of the closed borders (rectangle, diamond, circle, split circle,
// hexagon); the others always follow the text. A type out of range draws nothing, as
// "none" does.
DimtextBorder makeDimtextBorder(short type, const DimtextRows& rows, double fixedDim);

// Adds the reference line of `type` (CKdDimtextOptions::reflineType) to `model`: from
// `start` through `points` in order, ending in the item of the type at the last point,
// `itemSize` large. All in drawing coordinates. Nothing for type 0, a type out of range,
// or no points; no item when `itemSize` is not positive or the last point cannot be told
// a direction (every point equal to it).
void addDimtextRefline(CGmModel& model, short type, const CGmPoint& start,
                       const CGmPointArray& points, double itemSize);

}  // namespace VxKd

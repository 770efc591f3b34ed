#pragma once
// CGmModel: a drawing made of text lines, lines, circles, arcs and polylines, grouped into
// nodes, with its bounding box and a compact binary form of its own, in which drawing items
// keep stored graphics. Previews are written from it as SVG (svg_writer.h); hosts draw it.
//
// Every piece is added under a transform (scale, rotation, placement in a coordinate
// system) that is applied as it is added; the model keeps only the result. Coordinates are
// those of the drawing, y up. The model is a plan: circles, arcs and texts lie in planes
// parallel to xy, and the bounding box and previews look at it from above.

#include <cstdint>
#include <variant>
#include <vector>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/geometry.h"
#include "vxkd/platform/wsz.h"

class CGmTextMetrics;

// How a closed shape is filled: not at all, with its colour (an arrow head, a dot), or with
// the background so that it hides what lies beneath it (a wipeout frame, drawn without an
// outline).
enum class CGmFill : uint8_t { none, solid, wipeout };

// Where a text line's position lies on its baseline.
enum class CGmAlign : uint8_t { left, center, right };

struct CGmLine {
  CGmPoint start, end;
  bool operator==(const CGmLine&) const = default;
};

struct CGmCircle {
  CGmPoint centre;
  double radius = 0;
  CGmFill fill = CGmFill::none;
  bool operator==(const CGmCircle&) const = default;
};

// Runs counter-clockwise from the start angle to the end angle (radians from the x axis);
// equal angles make a whole circle.
struct CGmArc {
  CGmPoint centre;
  double radius = 0;
  double startAngle = 0, endAngle = 0;
  bool operator==(const CGmArc&) const = default;
};

// A filled polyline is filled as if it were closed.
struct CGmPolyline {
  CGmPointArray points;
  bool closed = false;
  CGmFill fill = CGmFill::none;
  bool operator==(const CGmPolyline&) const = default;
};

// One line of text. `position` lies on the baseline, at the start, middle or end of the
// text as `align` says; `direction` is a unit vector along the baseline; `height` is the
// height of the capitals; `width` is the text's measured advance width.
struct CGmTextLine {
  CWsz text;
  CGmPoint position;
  CGmVector direction{1, 0, 0};
  double height = 0;
  CWsz font;
  CGmAlign align = CGmAlign::left;
  double width = 0;
  bool operator==(const CGmTextLine&) const = default;
};

using CGmShape = std::variant<CGmLine, CGmCircle, CGmArc, CGmPolyline, CGmTextLine>;

// One drawn item: its shape and its colour number (a host colour index; 256: by layer).
struct CGmItem {
  CGmShape shape;
  int16_t color = 256;
  bool operator==(const CGmItem&) const = default;
};

class VXKD_API CGmModel {
 public:
  static constexpr int16_t colorByLayer = 256;
  // Stored graphics live in a binary-array field of 28-byte items, and such a field holds
  // at most 1000 items.
  static constexpr int maxStoredBytes = 28 * 1000;
  // The version of the stored form that store writes; load reads it and none newer.
  static constexpr int storedVersion = 1;

  // Texts are measured with `metrics`, null: CGmTextMetrics::standard(). The metrics must
  // outlive the model.
  explicit CGmModel(CGmTextMetrics* metrics = nullptr);
  CGmModel(const CGmModel&) = default;
  CGmModel& operator=(const CGmModel&) = default;

  // Removes every item and node; the colour and the metrics stay.
  void clear();
  bool isEmpty() const { return items_.empty(); }

  // The colour number given to the items added from now on.
  int16_t color() const { return color_; }
  void setColor(int16_t color) { color_ = color; }

  // Each add returns false, and adds nothing, when a coordinate or size is not a finite
  // number, a radius or height is not positive, or a polyline has fewer than two points.
  bool addLine(const CGmPoint& start, const CGmPoint& end, const CGmTransform& t = {});
  bool addCircle(const CGmPoint& centre, double radius, CGmFill fill = CGmFill::none,
                 const CGmTransform& t = {});
  bool addArc(const CGmPoint& centre, double radius, double startAngle, double endAngle,
              const CGmTransform& t = {});
  bool addPolyline(const CGmPointArray& points, bool closed, CGmFill fill = CGmFill::none,
                   const CGmTransform& t = {});
  // A text runs along `direction` (the x axis when it is zero) and is never drawn
  // mirrored: under a mirroring transform it moves and turns, but stays readable. The
  // font name is the one the host knows ("Arial"); the width is measured as it is added.
  bool addText(const wchar_t* text, const CGmPoint& position, const CGmVector& direction,
               double height, const wchar_t* font, CGmAlign align = CGmAlign::left,
               const CGmTransform& t = {});
  // Adds every item of `other` with its own colour, into the current node: the node
  // boundaries of `other` are not kept.
  void addModel(const CGmModel& other, const CGmTransform& t = {});
  // Adds stored graphics (the form store writes) as addModel does. False, and nothing
  // added, when the data is damaged or of a newer version.
  bool addStoredGraphics(const void* data, int size, const CGmTransform& t = {});

  // Ends the current node: the items added since the previous call form node
  // nodeCount() - 1. An empty node is kept too, so that node i can stand for the caller's
  // i-th piece of drawing even when it drew nothing. Items after the last call belong to
  // no node yet; they are drawn, boxed and stored all the same.
  void closeNode();
  int nodeCount() const { return static_cast<int>(nodeEnds_.size()); }
  // The items of node `index` are [nodeBegin, nodeEnd); both 0 outside the nodes.
  int nodeBegin(int index) const;
  int nodeEnd(int index) const;

  int itemCount() const { return static_cast<int>(items_.size()); }
  // The item at `index`; REQUIRES 0 <= index < itemCount().
  const CGmItem& itemAt(int index) const { return items_[index]; }
  const std::vector<CGmItem>& items() const { return items_; }

  // The smallest box holding every item: whole circles, the extreme points of arcs, and
  // each text's box from its descenders to its capitals over its measured width, turned
  // with the text. Empty for a model without items.
  CGmBox boundBox() const;

  // Writes the model in its stored form: versioned, little-endian, coordinates in single
  // precision. False, and `out` empty, when that form would be longer than `maxBytes`; the
  // form is never cut, since a cut form could not be read back.
  bool store(CByteBuffer& out, int maxBytes = maxStoredBytes) const;
  // Replaces the model by stored graphics, nodes included. Zero bytes after the form are
  // padding (a field of fixed-size items fills its last item with them) and are skipped.
  // False, and the model unchanged, when the data is damaged or of a newer version.
  bool load(const void* data, int size);

  CGmTextMetrics& metrics() const { return *metrics_; }

  // Equal items and nodes; the colour and the metrics are not compared.
  bool operator==(const CGmModel& other) const {
    return items_ == other.items_ && nodeEnds_ == other.nodeEnds_;
  }

 private:
  void push(CGmShape shape, int16_t color);
  bool addTransformed(const CGmItem& item, const CGmTransform& t);

  CGmTextMetrics* metrics_;
  int16_t color_ = colorByLayer;
  std::vector<CGmItem> items_;
  std::vector<int> nodeEnds_;  // one past the last item of each closed node
};

#pragma once
// The geometry of the graphics model: points and vectors in double precision, a list of
// points, an axis-aligned box, and the transform under which a piece of graphics is added.

#include <initializer_list>
#include <vector>

#include "vxkd/platform/export.h"

// A free vector in space.
struct VXKD_API CGmVector {
  double x = 0, y = 0, z = 0;

  CGmVector() = default;
  CGmVector(double x0, double y0, double z0 = 0) : x(x0), y(y0), z(z0) {}

  double length() const;
  bool isZero() const { return x == 0 && y == 0 && z == 0; }
  // This vector divided by its length; the zero vector stays zero.
  CGmVector normal() const;
  double dot(const CGmVector& o) const { return x * o.x + y * o.y + z * o.z; }
  CGmVector cross(const CGmVector& o) const {
    return {y * o.z - z * o.y, z * o.x - x * o.z, x * o.y - y * o.x};
  }
  // This vector turned by a quarter turn counter-clockwise about the z axis.
  CGmVector perpendicular() const { return {-y, x, z}; }
  // True when every coordinate is a finite number.
  bool isFinite() const;

  CGmVector operator+(const CGmVector& o) const { return {x + o.x, y + o.y, z + o.z}; }
  CGmVector operator-(const CGmVector& o) const { return {x - o.x, y - o.y, z - o.z}; }
  CGmVector operator*(double f) const { return {x * f, y * f, z * f}; }
  CGmVector operator-() const { return {-x, -y, -z}; }
  bool operator==(const CGmVector& o) const = default;
};

// A position in space.
struct VXKD_API CGmPoint {
  double x = 0, y = 0, z = 0;

  CGmPoint() = default;
  CGmPoint(double x0, double y0, double z0 = 0) : x(x0), y(y0), z(z0) {}

  double distanceTo(const CGmPoint& o) const { return (*this - o).length(); }
  bool isFinite() const;

  CGmPoint operator+(const CGmVector& v) const { return {x + v.x, y + v.y, z + v.z}; }
  CGmPoint operator-(const CGmVector& v) const { return {x - v.x, y - v.y, z - v.z}; }
  CGmVector operator-(const CGmPoint& o) const { return {x - o.x, y - o.y, z - o.z}; }
  bool operator==(const CGmPoint& o) const = default;
};

// An ordered list of points, a thin wrapper over std::vector.
class VXKD_API CGmPointArray {
 public:
  CGmPointArray() = default;
  CGmPointArray(std::initializer_list<CGmPoint> points) : points_(points) {}

  int length() const { return static_cast<int>(points_.size()); }
  bool isEmpty() const { return points_.empty(); }
  void empty() { points_.clear(); }
  // The point at `i`; the origin for an index out of range.
  CGmPoint at(int i) const { return i >= 0 && i < length() ? points_[i] : CGmPoint(); }
  CGmPoint operator[](int i) const { return at(i); }
  bool setAt(int i, const CGmPoint& p);
  void append(const CGmPoint& p) { points_.push_back(p); }
  bool removeAt(int i);

  std::vector<CGmPoint>::const_iterator begin() const { return points_.begin(); }
  std::vector<CGmPoint>::const_iterator end() const { return points_.end(); }
  bool operator==(const CGmPointArray& o) const = default;

 private:
  std::vector<CGmPoint> points_;
};

// An axis-aligned box; empty until the first point is added.
class VXKD_API CGmBox {
 public:
  bool isEmpty() const { return empty_; }
  // The corners; the origin while empty.
  const CGmPoint& minimum() const { return min_; }
  const CGmPoint& maximum() const { return max_; }
  double width() const { return max_.x - min_.x; }
  double height() const { return max_.y - min_.y; }

  void extend(const CGmPoint& p);
  void extend(const CGmBox& box);
  // Whether `p` lies inside the box or within `tolerance` of it in x and y.
  bool contains(const CGmPoint& p, double tolerance = 0) const;
  bool operator==(const CGmBox& o) const = default;

 private:
  bool empty_ = true;
  CGmPoint min_, max_;
};

// A similarity transform: uniform scale, rotation or mirroring about the z axis, and a
// translation. Circles stay circles and texts keep their proportions under it; that is why
// no other transform can be built. The default is the identity.
class VXKD_API CGmTransform {
 public:
  CGmTransform() = default;

  // Scales about the origin by `factor`. A factor of 0 or less, or one that is not finite,
  // gives the identity: a drawing collapsed to a point or turned inside out is never what a
  // caller that passes such a scale means.
  static CGmTransform scaling(double factor);
  // Turns counter-clockwise about the z axis by `angle` radians.
  static CGmTransform rotation(double angle);
  static CGmTransform translation(const CGmVector& offset);
  // Places the coordinate system of `origin` and the two axes: a point (x, y, z) goes to
  // origin + x·X + y·Y + z·Z. The axes are taken in the xy plane and made unit vectors,
  // the second one square to the first, keeping its side, so that a second axis on the
  // clockwise side mirrors. A zero first axis is the x axis; a zero second axis, or one
  // along the first, is the first turned counter-clockwise. Z points up, or down when
  // the system mirrors.
  static CGmTransform coordinateSystem(const CGmPoint& origin, const CGmVector& xAxis,
                                       const CGmVector& yAxis);
  // Scales by `scale`, then places in the coordinate system of `origin` and the two axes:
  // how a symbol is put where a drawing item stands.
  static CGmTransform placement(double scale, const CGmPoint& origin, const CGmVector& xAxis,
                                const CGmVector& yAxis);

  // This transform followed by `next`.
  CGmTransform then(const CGmTransform& next) const;

  CGmPoint apply(const CGmPoint& p) const;
  // A direction or offset: turned, mirrored and scaled, not moved.
  CGmVector apply(const CGmVector& v) const;
  // The factor by which lengths grow.
  double scale() const { return scale_; }
  // True when the transform mirrors (turns counter-clockwise into clockwise).
  bool mirrors() const { return mirror_; }
  bool isIdentity() const;
  bool operator==(const CGmTransform& o) const = default;

 private:
  // x' = scale · R(angle) · M · x + offset, where M mirrors y when mirror_ is set.
  double cos_ = 1, sin_ = 0, scale_ = 1;
  bool mirror_ = false;
  CGmVector offset_;
};

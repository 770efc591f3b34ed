#include "vxkd/platform/geometry.h"

#include <algorithm>
#include <cmath>

double CGmVector::length() const { return std::sqrt(x * x + y * y + z * z); }

CGmVector CGmVector::normal() const {
  double l = length();
  return l > 0 ? CGmVector(x / l, y / l, z / l) : CGmVector();
}

bool CGmVector::isFinite() const {
  return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

bool CGmPoint::isFinite() const { return std::isfinite(x) && std::isfinite(y) && std::isfinite(z); }

bool CGmPointArray::setAt(int i, const CGmPoint& p) {
  if (i < 0 || i >= length()) return false;
  points_[i] = p;
  return true;
}

bool CGmPointArray::removeAt(int i) {
  if (i < 0 || i >= length()) return false;
  points_.erase(points_.begin() + i);
  return true;
}

void CGmBox::extend(const CGmPoint& p) {
  if (empty_) {
    min_ = max_ = p;
    empty_ = false;
    return;
  }
  min_ = {std::min(min_.x, p.x), std::min(min_.y, p.y), std::min(min_.z, p.z)};
  max_ = {std::max(max_.x, p.x), std::max(max_.y, p.y), std::max(max_.z, p.z)};
}

void CGmBox::extend(const CGmBox& box) {
  if (box.empty_) return;
  extend(box.min_);
  extend(box.max_);
}

bool CGmBox::contains(const CGmPoint& p, double tolerance) const {
  return !empty_ && p.x >= min_.x - tolerance && p.x <= max_.x + tolerance &&
         p.y >= min_.y - tolerance && p.y <= max_.y + tolerance;
}

CGmTransform CGmTransform::scaling(double factor) {
  CGmTransform t;
  if (std::isfinite(factor) && factor > 0) t.scale_ = factor;
  return t;
}

CGmTransform CGmTransform::rotation(double angle) {
  CGmTransform t;
  if (!std::isfinite(angle)) return t;
  t.cos_ = std::cos(angle);
  t.sin_ = std::sin(angle);
  return t;
}

CGmTransform CGmTransform::translation(const CGmVector& offset) {
  CGmTransform t;
  if (offset.isFinite()) t.offset_ = offset;
  return t;
}

CGmTransform CGmTransform::coordinateSystem(const CGmPoint& origin, const CGmVector& xAxis,
                                            const CGmVector& yAxis) {
  CGmVector x = CGmVector(xAxis.x, xAxis.y).normal();
  if (!x.isFinite() || x.isZero()) x = {1, 0};
  CGmVector y(yAxis.x, yAxis.y);
  if (!y.isFinite()) y = {};
  // The part of the second axis along the first is dropped; what remains tells the side.
  double side = x.cross(y - x * x.dot(y)).z;
  CGmTransform t;
  t.cos_ = x.x;
  t.sin_ = x.y;
  t.mirror_ = side < 0;
  if (origin.isFinite()) t.offset_ = origin - CGmPoint();
  return t;
}

CGmTransform CGmTransform::placement(double scale, const CGmPoint& origin, const CGmVector& xAxis,
                                     const CGmVector& yAxis) {
  return scaling(scale).then(coordinateSystem(origin, xAxis, yAxis));
}

CGmTransform CGmTransform::then(const CGmTransform& next) const {
  // next(this(p)) = s2·R2·M2·(s1·R1·M1·p + t1) + t2, and M2·R1 = R(±angle1)·M2.
  CGmTransform t;
  const double sin1 = next.mirror_ ? -sin_ : sin_;
  t.cos_ = next.cos_ * cos_ - next.sin_ * sin1;
  t.sin_ = next.sin_ * cos_ + next.cos_ * sin1;
  t.scale_ = scale_ * next.scale_;
  t.mirror_ = mirror_ != next.mirror_;
  t.offset_ = next.apply(offset_) + next.offset_;
  return t;
}

CGmVector CGmTransform::apply(const CGmVector& v) const {
  const double m = mirror_ ? -1 : 1;
  const double x = v.x, y = m * v.y, z = m * v.z;
  return CGmVector(cos_ * x - sin_ * y, sin_ * x + cos_ * y, z) * scale_;
}

CGmPoint CGmTransform::apply(const CGmPoint& p) const {
  return CGmPoint() + (apply(p - CGmPoint()) + offset_);
}

bool CGmTransform::isIdentity() const { return *this == CGmTransform(); }

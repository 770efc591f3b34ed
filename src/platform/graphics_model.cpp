#include "vxkd/platform/graphics_model.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "vxkd/platform/sz.h"
#include "vxkd/platform/text_metrics.h"

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;

// The angle in [0, 2π) that points the same way as `angle`.
double normalAngle(double angle) {
  double a = std::fmod(angle, kTwoPi);
  if (a < 0) a += kTwoPi;
  return a >= kTwoPi ? 0 : a;
}

double angleOf(const CGmVector& v) { return std::atan2(v.y, v.x); }

// The stored form, version 1. It begins with "GM" and the version byte; then come the
// records, each a tag byte and its data, until the end or a zero byte, after which only
// zero bytes (padding) may follow:
//   tag bits 0-3  the kind (below)
//       bit 4     a colour number follows the tag (int16); without it the colour is 256
//       bit 5     points carry z (three floats instead of two)
//       bits 6-7  a fill (circles, polylines) or an alignment (texts), else 0
// Points are float32 x, y [, z]; sizes and angles float32; counts and string lengths
// unsigned LEB128; texts UTF-8. Everything is little-endian.
enum Kind : uint8_t {
  kLine = 1,          // start, end
  kCircle = 2,        // centre, radius
  kArc = 3,           // centre, radius, start angle, end angle
  kOpenPolyline = 4,  // count, points
  kClosedPolyline = 5,
  kText = 6,      // position, direction x and y, height, font, text
  kNodeEnd = 15,  // closes a node; no data, no other bits
};
constexpr uint8_t kPadding = 0;
constexpr uint8_t kKindMask = 0x0F;
constexpr uint8_t kHasColor = 0x10;
constexpr uint8_t kHasZ = 0x20;
constexpr int kVariantShift = 6;
constexpr uint8_t kMagic[2] = {'G', 'M'};
constexpr int kHeaderSize = 3;
constexpr uint32_t kMaxVarint = 0x7FFFFFFF;

class Writer {
 public:
  explicit Writer(bool hasZ) : hasZ_(hasZ) {}
  std::vector<uint8_t> bytes;

  void byte(uint8_t b) { bytes.push_back(b); }
  void i16(int16_t v) {
    byte(static_cast<uint8_t>(v & 0xFF));
    byte(static_cast<uint8_t>((static_cast<uint16_t>(v) >> 8) & 0xFF));
  }
  // False when `v` does not fit a single-precision number.
  bool f32(double v) {
    const float f = static_cast<float>(v);
    if (!std::isfinite(f)) return false;
    uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    for (int i = 0; i < 4; ++i) byte(static_cast<uint8_t>(bits >> (8 * i)));
    return true;
  }
  void varint(uint32_t v) {
    while (v >= 0x80) {
      byte(static_cast<uint8_t>(v | 0x80));
      v >>= 7;
    }
    byte(static_cast<uint8_t>(v));
  }
  bool point(const CGmPoint& p) { return f32(p.x) && f32(p.y) && (!hasZ_ || f32(p.z)); }
  void text(const CWsz& text) {
    std::string utf8 = text.toUtf8();
    varint(static_cast<uint32_t>(utf8.size()));
    bytes.insert(bytes.end(), utf8.begin(), utf8.end());
  }

 private:
  bool hasZ_;
};

class Reader {
 public:
  Reader(const uint8_t* p, size_t size) : p_(p), end_(p + size) {}

  bool atEnd() const { return p_ == end_; }
  size_t left() const { return static_cast<size_t>(end_ - p_); }
  bool byte(uint8_t& b) {
    if (atEnd()) return false;
    b = *p_++;
    return true;
  }
  bool i16(int16_t& v) {
    uint8_t lo, hi;
    if (!byte(lo) || !byte(hi)) return false;
    v = static_cast<int16_t>(static_cast<uint16_t>(lo | hi << 8));
    return true;
  }
  bool f32(double& v) {
    if (left() < 4) return false;
    uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) bits |= static_cast<uint32_t>(*p_++) << (8 * i);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    v = f;
    return std::isfinite(f);
  }
  bool varint(uint32_t& v) {
    v = 0;
    for (int shift = 0; shift < 35; shift += 7) {
      uint8_t b;
      if (!byte(b) || (shift == 28 && b > 0x07)) return false;
      v |= static_cast<uint32_t>(b & 0x7F) << shift;
      if (!(b & 0x80)) return v <= kMaxVarint && (shift == 0 || b != 0);
    }
    return false;
  }
  bool point(bool hasZ, CGmPoint& p) {
    p.z = 0;
    return f32(p.x) && f32(p.y) && (!hasZ || f32(p.z));
  }
  // A UTF-8 text that decodes without a single replaced byte.
  bool text(CWsz& out) {
    uint32_t size;
    if (!varint(size) || size > left()) return false;
    std::string_view utf8(reinterpret_cast<const char*>(p_), size);
    p_ += size;
    if (utf8.find('\0') != std::string_view::npos) return false;
    out = cuSz::fromUtf8(utf8);
    return cuSz::toUtf8(out.str()) == utf8;
  }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};

bool hasZ(const CGmPoint& p) { return p.z != 0; }

// Whether any point of `shape` lies off the plane z = 0.
bool shapeHasZ(const CGmShape& shape) {
  if (auto* l = std::get_if<CGmLine>(&shape)) return hasZ(l->start) || hasZ(l->end);
  if (auto* c = std::get_if<CGmCircle>(&shape)) return hasZ(c->centre);
  if (auto* a = std::get_if<CGmArc>(&shape)) return hasZ(a->centre);
  if (auto* t = std::get_if<CGmTextLine>(&shape)) return hasZ(t->position);
  for (const CGmPoint& p : std::get<CGmPolyline>(shape).points)
    if (hasZ(p)) return true;
  return false;
}

bool writeItem(const CGmItem& item, std::vector<uint8_t>& out) {
  const bool z = shapeHasZ(item.shape);
  Writer w(z);
  uint8_t kind = 0, variant = 0;
  std::visit(
      [&](const auto& s) {
        using T = std::decay_t<decltype(s)>;
        if constexpr (std::is_same_v<T, CGmLine>) kind = kLine;
        if constexpr (std::is_same_v<T, CGmCircle>) {
          kind = kCircle;
          variant = static_cast<uint8_t>(s.fill);
        }
        if constexpr (std::is_same_v<T, CGmArc>) kind = kArc;
        if constexpr (std::is_same_v<T, CGmPolyline>) {
          kind = s.closed ? kClosedPolyline : kOpenPolyline;
          variant = static_cast<uint8_t>(s.fill);
        }
        if constexpr (std::is_same_v<T, CGmTextLine>) {
          kind = kText;
          variant = static_cast<uint8_t>(s.align);
        }
      },
      item.shape);
  const bool colored = item.color != CGmModel::colorByLayer;
  w.byte(static_cast<uint8_t>(kind | (colored ? kHasColor : 0) | (z ? kHasZ : 0) |
                              variant << kVariantShift));
  if (colored) w.i16(item.color);
  bool ok = std::visit(
      [&](const auto& s) -> bool {
        using T = std::decay_t<decltype(s)>;
        if constexpr (std::is_same_v<T, CGmLine>) return w.point(s.start) && w.point(s.end);
        if constexpr (std::is_same_v<T, CGmCircle>) return w.point(s.centre) && w.f32(s.radius);
        if constexpr (std::is_same_v<T, CGmArc>)
          return w.point(s.centre) && w.f32(s.radius) && w.f32(s.startAngle) && w.f32(s.endAngle);
        if constexpr (std::is_same_v<T, CGmPolyline>) {
          w.varint(static_cast<uint32_t>(s.points.length()));
          for (const CGmPoint& p : s.points)
            if (!w.point(p)) return false;
          return true;
        }
        if constexpr (std::is_same_v<T, CGmTextLine>) {
          if (!w.point(s.position) || !w.f32(s.direction.x) || !w.f32(s.direction.y) ||
              !w.f32(s.height))
            return false;
          w.text(s.font);
          w.text(s.text);
          return true;
        }
      },
      item.shape);
  out.insert(out.end(), w.bytes.begin(), w.bytes.end());
  return ok;
}

}  // namespace

CGmModel::CGmModel(CGmTextMetrics* metrics)
    : metrics_(metrics ? metrics : &CGmTextMetrics::standard()) {}

void CGmModel::clear() {
  items_.clear();
  nodeEnds_.clear();
}

void CGmModel::push(CGmShape shape, int16_t color) { items_.push_back({std::move(shape), color}); }

bool CGmModel::addLine(const CGmPoint& start, const CGmPoint& end, const CGmTransform& t) {
  return addTransformed({CGmLine{start, end}, color_}, t);
}

bool CGmModel::addCircle(const CGmPoint& centre, double radius, CGmFill fill,
                         const CGmTransform& t) {
  return addTransformed({CGmCircle{centre, radius, fill}, color_}, t);
}

bool CGmModel::addArc(const CGmPoint& centre, double radius, double startAngle, double endAngle,
                      const CGmTransform& t) {
  return addTransformed({CGmArc{centre, radius, startAngle, endAngle}, color_}, t);
}

bool CGmModel::addPolyline(const CGmPointArray& points, bool closed, CGmFill fill,
                           const CGmTransform& t) {
  return addTransformed({CGmPolyline{points, closed, fill}, color_}, t);
}

bool CGmModel::addText(const wchar_t* text, const CGmPoint& position, const CGmVector& direction,
                       double height, const wchar_t* font, CGmAlign align, const CGmTransform& t) {
  CGmTextLine line;
  line.text = text;
  line.position = position;
  line.direction = direction;
  line.height = height;
  line.font = font;
  line.align = align;
  return addTransformed({std::move(line), color_}, t);
}

bool CGmModel::addTransformed(const CGmItem& item, const CGmTransform& t) {
  const double s = t.scale();
  const auto validSize = [](double v) { return std::isfinite(v) && v > 0; };
  const auto validFill = [](CGmFill f) { return f <= CGmFill::wipeout; };
  return std::visit(
      [&](const auto& in) -> bool {
        using T = std::decay_t<decltype(in)>;
        if constexpr (std::is_same_v<T, CGmLine>) {
          if (!in.start.isFinite() || !in.end.isFinite()) return false;
          push(CGmLine{t.apply(in.start), t.apply(in.end)}, item.color);
        }
        if constexpr (std::is_same_v<T, CGmCircle>) {
          if (!in.centre.isFinite() || !validSize(in.radius) || !validFill(in.fill)) return false;
          push(CGmCircle{t.apply(in.centre), in.radius * s, in.fill}, item.color);
        }
        if constexpr (std::is_same_v<T, CGmArc>) {
          if (!in.centre.isFinite() || !validSize(in.radius) || !std::isfinite(in.startAngle) ||
              !std::isfinite(in.endAngle))
            return false;
          // A mirror reverses the sense of travel, so the ends change places.
          const double start =
              angleOf(t.apply(CGmVector(std::cos(in.startAngle), std::sin(in.startAngle))));
          const double end =
              angleOf(t.apply(CGmVector(std::cos(in.endAngle), std::sin(in.endAngle))));
          const bool whole = normalAngle(in.startAngle) == normalAngle(in.endAngle);
          CGmArc out{t.apply(in.centre), in.radius * s, normalAngle(t.mirrors() ? end : start),
                     normalAngle(t.mirrors() ? start : end)};
          if (whole) out.endAngle = out.startAngle;
          push(out, item.color);
        }
        if constexpr (std::is_same_v<T, CGmPolyline>) {
          if (in.points.length() < 2 || !validFill(in.fill)) return false;
          CGmPolyline out{{}, in.closed, in.fill};
          for (const CGmPoint& p : in.points) {
            if (!p.isFinite()) return false;
            out.points.append(t.apply(p));
          }
          push(std::move(out), item.color);
        }
        if constexpr (std::is_same_v<T, CGmTextLine>) {
          if (!in.position.isFinite() || !in.direction.isFinite() || !validSize(in.height) ||
              in.align > CGmAlign::right)
            return false;
          CGmVector dir = CGmVector(in.direction.x, in.direction.y).normal();
          if (dir.isZero()) dir = {1, 0};
          CGmTextLine out = in;
          out.height = in.height * s;
          out.position = t.apply(in.position);
          out.direction = t.apply(dir).normal();
          if (t.mirrors()) {
            // The text is drawn unmirrored in the mirrored place of its box: either along
            // the mirrored baseline with the baseline moved up to the mirrored capitals, or
            // backwards from the other end. Of the two, the one that reads left to right.
            const CGmVector up = t.apply(dir.perpendicular() * in.height);
            const CGmVector& d = out.direction;
            const bool forwardReads = d.x > 1e-9 || (std::fabs(d.x) <= 1e-9 && d.y > 0);
            if (forwardReads) {
              out.position = out.position + up;
            } else {
              out.direction = -d;
              if (in.align != CGmAlign::center)
                out.align = in.align == CGmAlign::left ? CGmAlign::right : CGmAlign::left;
            }
          }
          if (!out.position.isFinite() || !validSize(out.height)) return false;
          out.width = metrics_->textWidth(out.text.str(), out.font, out.height);
          push(std::move(out), item.color);
        }
        return true;
      },
      item.shape);
}

void CGmModel::addModel(const CGmModel& other, const CGmTransform& t) {
  if (&other == this) {
    CGmModel copy(other);
    addModel(copy, t);
    return;
  }
  for (const CGmItem& item : other.items_) {
    if (t.isIdentity() && other.metrics_ == metrics_)
      items_.push_back(item);
    else
      addTransformed(item, t);
  }
}

bool CGmModel::addStoredGraphics(const void* data, int size, const CGmTransform& t) {
  CGmModel stored(metrics_);
  if (!stored.load(data, size)) return false;
  addModel(stored, t);
  return true;
}

void CGmModel::closeNode() { nodeEnds_.push_back(itemCount()); }

int CGmModel::nodeBegin(int index) const {
  if (index < 0 || index >= nodeCount()) return 0;
  return index == 0 ? 0 : nodeEnds_[index - 1];
}

int CGmModel::nodeEnd(int index) const {
  return index >= 0 && index < nodeCount() ? nodeEnds_[index] : 0;
}

CGmBox CGmModel::boundBox() const {
  CGmBox box;
  for (const CGmItem& item : items_) {
    std::visit(
        [&](const auto& s) {
          using T = std::decay_t<decltype(s)>;
          if constexpr (std::is_same_v<T, CGmLine>) {
            box.extend(s.start);
            box.extend(s.end);
          }
          if constexpr (std::is_same_v<T, CGmCircle>) {
            box.extend(s.centre + CGmVector(-s.radius, -s.radius));
            box.extend(s.centre + CGmVector(s.radius, s.radius));
          }
          if constexpr (std::is_same_v<T, CGmArc>) {
            const auto at = [&](double a) {
              box.extend(s.centre + CGmVector(std::cos(a), std::sin(a)) * s.radius);
            };
            at(s.startAngle);
            at(s.endAngle);
            double sweep = normalAngle(s.endAngle - s.startAngle);
            if (sweep == 0) sweep = kTwoPi;
            // The quadrant points the arc passes through.
            for (int q = 0; q < 4; ++q) {
              const double a = q * std::numbers::pi / 2;
              if (normalAngle(a - s.startAngle) <= sweep) at(a);
            }
          }
          if constexpr (std::is_same_v<T, CGmPolyline>) {
            for (const CGmPoint& p : s.points) box.extend(p);
          }
          if constexpr (std::is_same_v<T, CGmTextLine>) {
            if (s.text.isEmpty()) return;
            const double shift = s.align == CGmAlign::left     ? 0
                                 : s.align == CGmAlign::center ? s.width / 2
                                                               : s.width;
            const CGmPoint start = s.position - s.direction * shift;
            const CGmVector up = s.direction.perpendicular();
            const double below = metrics_->descent(s.font, s.height);
            for (double along : {0.0, s.width})
              for (double across : {-below, s.height})
                box.extend(start + s.direction * along + up * across);
          }
        },
        item.shape);
  }
  return box;
}

bool CGmModel::store(CByteBuffer& out, int maxBytes) const {
  out.empty();
  std::vector<uint8_t> bytes(std::begin(kMagic), std::end(kMagic));
  bytes.push_back(static_cast<uint8_t>(storedVersion));
  int next = 0;  // the next node end to write
  for (int i = 0; i <= itemCount(); ++i) {
    for (; next < nodeCount() && nodeEnds_[next] == i; ++next) bytes.push_back(kNodeEnd);
    if (i < itemCount() && !writeItem(items_[i], bytes)) return false;
    if (static_cast<int64_t>(bytes.size()) > maxBytes) return false;
  }
  out.set(bytes.data(), static_cast<int>(bytes.size()));
  return true;
}

bool CGmModel::load(const void* data, int size) {
  if (!data || size < kHeaderSize) return false;
  const auto* bytes = static_cast<const uint8_t*>(data);
  if (bytes[0] != kMagic[0] || bytes[1] != kMagic[1] || bytes[2] < 1 || bytes[2] > storedVersion)
    return false;
  CGmModel model(metrics_);
  Reader r(bytes + kHeaderSize, static_cast<size_t>(size - kHeaderSize));
  while (!r.atEnd()) {
    uint8_t tag;
    r.byte(tag);
    if (tag == kPadding) {
      while (r.byte(tag))
        if (tag != kPadding) return false;
      break;
    }
    const uint8_t kind = tag & kKindMask;
    const uint8_t variant = tag >> kVariantShift;
    const bool z = tag & kHasZ;
    if (kind == kNodeEnd) {
      if (tag != kNodeEnd) return false;
      model.closeNode();
      continue;
    }
    int16_t color = colorByLayer;
    if ((tag & kHasColor) && !r.i16(color)) return false;
    model.setColor(color);
    const int pointSize = z ? 12 : 8;
    CGmPoint a, b;
    double radius, start, end, dx, dy, height;
    bool ok = false;
    switch (kind) {
      case kLine:
        ok = variant == 0 && r.point(z, a) && r.point(z, b) && model.addLine(a, b);
        break;
      case kCircle:
        ok = r.point(z, a) && r.f32(radius) &&
             model.addCircle(a, radius, static_cast<CGmFill>(variant));
        break;
      case kArc:
        ok = variant == 0 && r.point(z, a) && r.f32(radius) && r.f32(start) && r.f32(end) &&
             model.addArc(a, radius, start, end);
        break;
      case kOpenPolyline:
      case kClosedPolyline: {
        uint32_t count;
        if (!r.varint(count) || count > r.left() / pointSize) return false;
        CGmPointArray points;
        for (uint32_t i = 0; i < count; ++i) {
          if (!r.point(z, a)) return false;
          points.append(a);
        }
        ok = model.addPolyline(points, kind == kClosedPolyline, static_cast<CGmFill>(variant));
        break;
      }
      case kText: {
        CWsz font, text;
        ok =
            r.point(z, a) && r.f32(dx) && r.f32(dy) && r.f32(height) && r.text(font) &&
            r.text(text) && (dx != 0 || dy != 0) &&
            model.addText(text, a, CGmVector(dx, dy), height, font, static_cast<CGmAlign>(variant));
        break;
      }
      default:
        return false;
    }
    if (!ok) return false;
  }
  model.color_ = color_;
  *this = std::move(model);
  return true;
}

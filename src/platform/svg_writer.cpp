#include "vxkd/platform/svg_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

#include "vxkd/platform/sz.h"
#include "vxkd/platform/text_metrics.h"

namespace {

constexpr char kBackground[] = "#ffffff";

// The host's first colours, and the greys at the end of its palette.
constexpr const char* kNamedColors[] = {"#000000", "#ff0000", "#ffff00", "#00ff00", "#00ffff",
                                        "#0000ff", "#ff00ff", "#000000", "#808080", "#c0c0c0"};
constexpr const char* kGreys[] = {"#333333", "#505050", "#696969", "#828282", "#bebebe", "#ffffff"};
// Colours 10 to 249 run through 24 hues 15° apart; within a hue the last digit gives the
// brightness (pairs of 0-1, 2-3, ..., 8-9) and, when odd, half the saturation.
constexpr double kHueValues[] = {1.0, 0.65, 0.5, 0.3, 0.15};

// A number as SVG reads it: ten significant digits, no locale, no "-0", and no rounding
// noise such as cos(π/2) = 6e-17 where a drawing means 0.
void appendNumber(std::string& out, double v) {
  if (std::fabs(v) < 1e-9 || !std::isfinite(v)) {
    out += '0';
    return;
  }
  char buffer[40];
  auto r = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::general, 10);
  out.append(buffer, r.ptr);
}

// A point of the drawing in SVG coordinates, whose y axis points down.
struct Flipped {
  const CGmPoint& p;
};

// Appends to the document: texts as they stand, numbers and points as SVG reads them.
class Doc {
 public:
  explicit Doc(std::string& out) : out_(out) {}
  Doc& operator<<(std::string_view text) {
    out_.append(text);
    return *this;
  }
  Doc& operator<<(double v) {
    appendNumber(out_, v);
    return *this;
  }
  Doc& operator<<(int v) {
    out_ += std::to_string(v);
    return *this;
  }
  Doc& operator<<(Flipped f) { return *this << f.p.x << "," << -f.p.y; }
  // The escaped characters of `text` that show.
  Doc& escaped(const CWsz& text) {
    std::wstring drawn;
    for (wchar_t c : text.str())
      if (CGmTextMetrics::isDrawn(c)) drawn += c;
    for (char c : cuSz::toUtf8(drawn)) {
      switch (c) {
        case '&':
          out_ += "&amp;";
          break;
        case '<':
          out_ += "&lt;";
          break;
        case '>':
          out_ += "&gt;";
          break;
        case '"':
          out_ += "&quot;";
          break;
        default:
          out_ += c;
      }
    }
    return *this;
  }
  // The stroke and fill of a shape drawn in `color` and filled as `fill`.
  Doc& paint(const std::string& color, CGmFill fill) {
    switch (fill) {
      case CGmFill::solid:
        return *this << " stroke=\"" << color << "\" fill=\"" << color << "\"";
      case CGmFill::wipeout:
        return *this << " stroke=\"none\" fill=\"" << kBackground << "\"";
      default:
        return *this << " stroke=\"" << color << "\"";
    }
  }

 private:
  std::string& out_;
};

// An arc as path commands. Counter-clockwise in the drawing is, with y down, SVG's negative
// sweep.
void arcPath(Doc& doc, const CGmArc& a) {
  const auto at = [&](double angle) {
    return a.centre + CGmVector(std::cos(angle), std::sin(angle)) * a.radius;
  };
  double sweep = std::fmod(a.endAngle - a.startAngle, 2 * std::numbers::pi);
  if (sweep <= 0) sweep += 2 * std::numbers::pi;
  doc << "M" << Flipped{at(a.startAngle)};
  if (sweep >= 2 * std::numbers::pi - 1e-12) {
    // An SVG arc whose ends meet draws nothing: a whole circle is two halves.
    const CGmPoint half = at(a.startAngle + std::numbers::pi);
    doc << " A" << a.radius << " " << a.radius << " 0 0 0 " << Flipped{half};
    doc << " A" << a.radius << " " << a.radius << " 0 0 0 " << Flipped{at(a.startAngle)};
  } else {
    doc << " A" << a.radius << " " << a.radius << " 0 " << (sweep > std::numbers::pi ? "1" : "0")
        << " 0 " << Flipped{at(a.endAngle)};
  }
}

void writeItem(Doc& doc, const CGmItem& item, CGmTextMetrics& metrics) {
  const std::string color = CGmSvgWriter::colorOf(item.color);
  std::visit(
      [&](const auto& s) {
        using T = std::decay_t<decltype(s)>;
        if constexpr (std::is_same_v<T, CGmLine>) {
          doc << "<line x1=\"" << s.start.x << "\" y1=\"" << -s.start.y << "\" x2=\"" << s.end.x
              << "\" y2=\"" << -s.end.y << "\"";
          doc.paint(color, CGmFill::none) << "/>\n";
        }
        if constexpr (std::is_same_v<T, CGmCircle>) {
          doc << "<circle cx=\"" << s.centre.x << "\" cy=\"" << -s.centre.y << "\" r=\"" << s.radius
              << "\"";
          doc.paint(color, s.fill) << "/>\n";
        }
        if constexpr (std::is_same_v<T, CGmArc>) {
          doc << "<path d=\"";
          arcPath(doc, s);
          doc << "\"";
          doc.paint(color, CGmFill::none) << "/>\n";
        }
        if constexpr (std::is_same_v<T, CGmPolyline>) {
          const bool polygon = s.closed || s.fill != CGmFill::none;
          doc << (polygon ? "<polygon points=\"" : "<polyline points=\"");
          for (int i = 0; i < s.points.length(); ++i) doc << (i ? " " : "") << Flipped{s.points[i]};
          doc << "\"";
          doc.paint(color, s.fill) << "/>\n";
        }
        if constexpr (std::is_same_v<T, CGmTextLine>) {
          if (s.text.isEmpty()) return;
          static constexpr const char* kAnchors[] = {"start", "middle", "end"};
          doc << "<text x=\"" << s.position.x << "\" y=\"" << -s.position.y << "\" font-size=\""
              << metrics.fontSize(s.font, s.height) << "\" font-family=\""
              << metrics.svgFamily(s.font) << "\" text-anchor=\""
              << kAnchors[static_cast<int>(s.align)] << "\" fill=\"" << color
              << "\" stroke=\"none\" xml:space=\"preserve\"";
          const double degrees = std::atan2(s.direction.y, s.direction.x) * 180 / std::numbers::pi;
          if (degrees != 0)
            doc << " transform=\"rotate(" << -degrees << " " << s.position.x << " " << -s.position.y
                << ")\"";
          // Without the font file the width is an estimate; the renderer is told to keep to
          // it, so that the text still fits what was laid out around it.
          if (!metrics.isMeasured(s.font))
            doc << " textLength=\"" << s.width << "\" lengthAdjust=\"spacingAndGlyphs\"";
          doc << ">";
          doc.escaped(s.text) << "</text>\n";
        }
      },
      item.shape);
}

}  // namespace

std::string CGmSvgWriter::colorOf(int16_t color) {
  if (color >= 1 && color <= 9) return kNamedColors[color];
  if (color >= 250 && color <= 255) return kGreys[color - 250];
  if (color < 10 || color > 249) return kNamedColors[7];
  const double hue = (color / 10 - 1) * 15.0;
  const int shade = color % 10;
  const double value = kHueValues[shade / 2];
  const double saturation = shade % 2 ? 0.5 : 1.0;
  // HSV to RGB.
  const double c = value * saturation;
  const double h = hue / 60;
  const double x = c * (1 - std::fabs(std::fmod(h, 2) - 1));
  double r = 0, g = 0, b = 0;
  switch (static_cast<int>(h)) {
    case 0:
      r = c, g = x;
      break;
    case 1:
      r = x, g = c;
      break;
    case 2:
      g = c, b = x;
      break;
    case 3:
      g = x, b = c;
      break;
    case 4:
      r = x, b = c;
      break;
    default:
      r = c, b = x;
      break;
  }
  const double m = value - c;
  const auto hex = [&](double v) { return static_cast<int>(std::lround((v + m) * 255)); };
  return cuSz::format("#%02x%02x%02x", hex(r), hex(g), hex(b));
}

std::string CGmSvgWriter::write(const CGmModel& model) const {
  CGmBox box = model.boundBox();
  if (box.isEmpty()) box.extend(CGmPoint());
  const double longer = std::max(box.width(), box.height());
  const double pad = longer > 0 ? longer * std::max(margin, 0.0) : 1;
  const double w = box.width() + 2 * pad, h = box.height() + 2 * pad;
  const int pixels = std::max(pixelSize, 16);
  const double unitsPerPixel = std::max(w, h) / pixels;
  const int pw = std::max(1, static_cast<int>(std::lround(w / unitsPerPixel)));
  const int ph = std::max(1, static_cast<int>(std::lround(h / unitsPerPixel)));
  const double left = box.minimum().x - pad, top = -(box.maximum().y + pad);

  std::string out;
  Doc doc(out);
  doc << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"" << pw
      << "\" height=\"" << ph << "\" viewBox=\"" << left << " " << top << " " << w << " " << h
      << "\">\n";
  doc << "<rect x=\"" << left << "\" y=\"" << top << "\" width=\"" << w << "\" height=\"" << h
      << "\" fill=\"" << kBackground << "\"/>\n";
  doc << "<g fill=\"none\" stroke-width=\"" << strokePixels * unitsPerPixel
      << "\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n";
  CGmTextMetrics& metrics = model.metrics();
  int item = 0;
  for (int node = 0; node <= model.nodeCount(); ++node) {
    const bool group = node < model.nodeCount();
    const int end = group ? model.nodeEnd(node) : model.itemCount();
    if (group) doc << "<g data-node=\"" << node << "\">\n";
    for (; item < end; ++item) writeItem(doc, model.itemAt(item), metrics);
    if (group) doc << "</g>\n";
  }
  doc << "</g>\n</svg>\n";
  return out;
}

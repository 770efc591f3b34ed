#include "symbol_drawing.h"

#include <cmath>
#include <cstdio>
#include <set>
#include <variant>

#include "json_form.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

Json point(const CGmNode& node) { return Json::array({real(node.v[0]), real(node.v[1])}); }

const char* alignName(uint16_t flags) {
  const char* name = nameOf(kAlignmentNames, flags);
  return name ? name : "left";
}

// The node as it is stored, for what no other piece says.
Json rawNode(const CGmNode& node) {
  Json values = Json::array({node.type, node.flags});
  for (float v : node.v) values.push_back(real(v));
  return Json{{"node", values}};
}

// True when the text of the type-6 node at `i` is followed by its characters, all of them
// whole code points, so that it can be written as a text piece.
bool isWholeText(const std::vector<CGmNode>& nodes, size_t i, std::wstring& text, size_t& next) {
  const CGmNode& head = nodes[i];
  const float count = head.v[5];
  if (count < 0 || count > CGmNode::maxTextLength || count != std::floor(count) ||
      head.flags > CKdDimtextOptions::alignRight || head.v[2] != 0)
    return false;
  const int length = static_cast<int>(count);
  next = i + 1;
  text.clear();
  while (static_cast<int>(text.size()) < length) {
    if (next >= nodes.size() || nodes[next].type != CGmNode::typeCharacters ||
        nodes[next].flags != 0)
      return false;
    for (float c : nodes[next].v) {
      if (static_cast<int>(text.size()) == length) {
        if (c != 0) return false;  // more than the count: not what a text piece writes
        continue;
      }
      if (c < 1 || c > 0x10FFFF || c != std::floor(c)) return false;
      text += static_cast<wchar_t>(c);
    }
    ++next;
  }
  return true;
}

}  // namespace

Json drawingJson(const std::vector<CGmNode>& nodes) {
  Json pieces = Json::array();
  size_t i = 0;
  while (i < nodes.size()) {
    const CGmNode& n = nodes[i];
    const bool flat = n.v[2] == 0;
    switch (n.type) {
      case CGmNode::typeLine:
        if (flat && n.v[5] == 0 && n.flags == 0) {
          pieces.push_back(
              {{"line", Json::array({real(n.v[0]), real(n.v[1]), real(n.v[3]), real(n.v[4])})}});
          ++i;
          continue;
        }
        break;
      case CGmNode::typeCircle:
        if (flat && n.v[4] == 0 && n.v[5] == 0 && (n.flags & ~CGmNode::flagFilled) == 0) {
          Json piece = {{"circle", Json::array({real(n.v[0]), real(n.v[1]), real(n.v[3])})}};
          if (n.flags & CGmNode::flagFilled) piece["filled"] = true;
          pieces.push_back(std::move(piece));
          ++i;
          continue;
        }
        break;
      case CGmNode::typeArc:
        if (flat && n.flags == 0) {
          pieces.push_back({{"arc", Json::array({real(n.v[0]), real(n.v[1]), real(n.v[3]),
                                                 real(n.v[4]), real(n.v[5])})}});
          ++i;
          continue;
        }
        break;
      case CGmNode::typeVertex:
      case CGmNode::typePolygonVertex: {
        // A run of vertices of one type that begins a new figure, every vertex but the first
        // plain, as a piece writes them.
        const bool polygon = n.type == CGmNode::typePolygonVertex;
        const uint16_t allowed =
            polygon ? CGmNode::flagNewFigure
                    : CGmNode::flagNewFigure | CGmNode::flagClosed | CGmNode::flagFilled;
        size_t end = i;
        bool plain = (n.flags & CGmNode::flagNewFigure) && (n.flags & ~allowed) == 0;
        do {
          plain = plain && nodes[end].v[2] == 0 && nodes[end].v[3] == 0 && nodes[end].v[4] == 0 &&
                  nodes[end].v[5] == 0 && (end == i || nodes[end].flags == 0);
          ++end;
        } while (end < nodes.size() && nodes[end].type == n.type &&
                 !(nodes[end].flags & CGmNode::flagNewFigure));
        if (!plain || end - i < (polygon ? 3u : 2u)) break;
        Json points = Json::array();
        for (size_t k = i; k < end; ++k) points.push_back(point(nodes[k]));
        Json piece = {{polygon ? "polygon" : "polyline", std::move(points)}};
        if (!polygon && (n.flags & CGmNode::flagClosed)) piece["closed"] = true;
        if (!polygon && (n.flags & CGmNode::flagFilled)) piece["filled"] = true;
        pieces.push_back(std::move(piece));
        i = end;
        continue;
      }
      case CGmNode::typeText: {
        std::wstring text;
        size_t next = 0;
        if (!isWholeText(nodes, i, text, next)) break;
        Json piece = {{"text", narrow(text.c_str())}, {"at", point(n)}, {"height", real(n.v[3])}};
        if (n.v[4] != 0) piece["angle"] = real(n.v[4]);
        if (n.flags != 0) piece["align"] = alignName(n.flags);
        pieces.push_back(std::move(piece));
        i = next;
        continue;
      }
      default:
        break;
    }
    pieces.push_back(rawNode(n));
    ++i;
  }
  return pieces;
}

namespace {

// Reads the piece at position `index` (counted from 1 in messages).
class PieceReader {
 public:
  PieceReader(const Json& piece, std::vector<CGmNode>& nodes) : piece_(piece), nodes_(nodes) {}

  bool read(std::string& why) {
    if (!piece_.is_object() || piece_.empty()) return wrong(why, "a piece is an object");
    const std::string kind = piece_.begin().key();
    if (kind == "line") return line(why);
    if (kind == "circle") return circle(why);
    if (kind == "arc") return arc(why);
    if (kind == "polyline" || kind == "polygon") return figure(why, kind == "polygon");
    if (kind == "text") return text(why);
    if (kind == "node") return node(why);
    return wrong(why, "\"" + kind +
                          "\" is no piece of a drawing (line, circle, arc, polyline, polygon, "
                          "text or node first)");
  }

 private:
  bool wrong(std::string& why, const std::string& message) {
    why = message;
    return false;
  }

  // The members other than the first must be among `allowed`.
  bool onlyMembers(std::string& why, std::set<std::string> allowed) {
    bool first = true;
    for (auto it = piece_.begin(); it != piece_.end(); ++it, first = false)
      if (!first && !allowed.count(it.key()))
        return wrong(why, "a " + piece_.begin().key() + " has no member \"" + it.key() + "\"");
    return true;
  }

  // `count` finite numbers from the array `value`.
  static bool numbers(const Json& value, size_t count, float* out) {
    if (!value.is_array() || value.size() != count) return false;
    for (size_t i = 0; i < count; ++i) {
      if (!value[i].is_number()) return false;
      out[i] = value[i].get<float>();
      if (!std::isfinite(out[i])) return false;
    }
    return true;
  }

  bool flag(const char* key, bool& out, std::string& why) {
    out = false;
    if (!piece_.contains(key)) return true;
    if (!piece_[key].is_boolean())
      return wrong(why, std::string("\"") + key + "\" is true or false");
    out = piece_[key].get<bool>();
    return true;
  }

  bool line(std::string& why) {
    float v[4];
    if (!numbers(piece_["line"], 4, v)) return wrong(why, "a line is [x1, y1, x2, y2]");
    if (!onlyMembers(why, {})) return false;
    CGmNode n;
    n.type = CGmNode::typeLine;
    n.v[0] = v[0], n.v[1] = v[1], n.v[3] = v[2], n.v[4] = v[3];
    nodes_.push_back(n);
    return true;
  }

  bool circle(std::string& why) {
    float v[3];
    if (!numbers(piece_["circle"], 3, v) || v[2] <= 0)
      return wrong(why, "a circle is [x, y, radius] with a radius above 0");
    bool filled;
    if (!onlyMembers(why, {"filled"}) || !flag("filled", filled, why)) return false;
    CGmNode n;
    n.type = CGmNode::typeCircle;
    n.flags = filled ? CGmNode::flagFilled : 0;
    n.v[0] = v[0], n.v[1] = v[1], n.v[3] = v[2];
    nodes_.push_back(n);
    return true;
  }

  bool arc(std::string& why) {
    float v[5];
    if (!numbers(piece_["arc"], 5, v) || v[2] <= 0)
      return wrong(why,
                   "an arc is [x, y, radius, start angle, end angle] with a radius above 0, "
                   "angles in degrees");
    if (!onlyMembers(why, {})) return false;
    CGmNode n;
    n.type = CGmNode::typeArc;
    n.v[0] = v[0], n.v[1] = v[1], n.v[3] = v[2], n.v[4] = v[3], n.v[5] = v[4];
    nodes_.push_back(n);
    return true;
  }

  bool figure(std::string& why, bool polygon) {
    const Json& points = piece_[polygon ? "polygon" : "polyline"];
    const size_t least = polygon ? 3 : 2;
    const std::string shape = polygon ? "a polygon" : "a polyline";
    if (!points.is_array() || points.size() < least)
      return wrong(why,
                   shape + " is a list of at least " + std::to_string(least) + " points [x, y]");
    bool closed = false, filled = false;
    if (polygon ? !onlyMembers(why, {})
                : !onlyMembers(why, {"closed", "filled"}) || !flag("closed", closed, why) ||
                      !flag("filled", filled, why))
      return false;
    for (size_t i = 0; i < points.size(); ++i) {
      float v[2];
      if (!numbers(points[i], 2, v))
        return wrong(why, "point " + std::to_string(i + 1) + " of " + shape + " is not [x, y]");
      CGmNode n;
      n.type = polygon ? CGmNode::typePolygonVertex : CGmNode::typeVertex;
      if (i == 0)
        n.flags = CGmNode::flagNewFigure | (closed ? CGmNode::flagClosed : 0) |
                  (filled ? CGmNode::flagFilled : 0);
      n.v[0] = v[0], n.v[1] = v[1];
      nodes_.push_back(n);
    }
    return true;
  }

  bool text(std::string& why) {
    const Json& value = piece_["text"];
    if (!value.is_string()) return wrong(why, "a text is a string");
    const CWsz text = CWsz::fromUtf8(value.get<std::string>().c_str());
    if (text.isEmpty() || text.length() > CGmNode::maxTextLength)
      return wrong(why,
                   "a text has 1 to " + std::to_string(CGmNode::maxTextLength) + " characters");
    if (!onlyMembers(why, {"at", "height", "angle", "align"})) return false;
    float at[2], height = 0, angle = 0;
    if (!numbers(piece_.value("at", Json()), 2, at))
      return wrong(why, "a text needs \"at\": [x, y]");
    if (!piece_.contains("height") || !numbers(Json::array({piece_["height"]}), 1, &height) ||
        height <= 0)
      return wrong(why, "a text needs a \"height\" above 0");
    if (piece_.contains("angle") && !numbers(Json::array({piece_["angle"]}), 1, &angle))
      return wrong(why, "the \"angle\" of a text is a number of degrees");
    int align = CKdDimtextOptions::alignLeft;
    if (piece_.contains("align") &&
        (!piece_["align"].is_string() ||
         !valueOf(kAlignmentNames, piece_["align"].get<std::string>(), align)))
      return wrong(why, "the \"align\" of a text is " + namesOf(kAlignmentNames));
    CGmNode head;
    head.type = CGmNode::typeText;
    head.flags = static_cast<uint16_t>(align);
    head.v[0] = at[0], head.v[1] = at[1], head.v[3] = height, head.v[4] = angle;
    head.v[5] = static_cast<float>(text.length());
    nodes_.push_back(head);
    for (int i = 0; i < text.length(); i += 6) {
      CGmNode characters;
      characters.type = CGmNode::typeCharacters;
      for (int k = 0; k < 6 && i + k < text.length(); ++k)
        characters.v[k] = static_cast<float>(text.at(i + k));
      nodes_.push_back(characters);
    }
    return true;
  }

  bool node(std::string& why) {
    const Json& value = piece_["node"];
    float v[8];
    if (!numbers(value, 8, v) || !value[0].is_number_integer() || !value[1].is_number_integer() ||
        value[0].get<long long>() < INT16_MIN || value[0].get<long long>() > INT16_MAX ||
        value[1].get<long long>() < 0 || value[1].get<long long>() > UINT16_MAX)
      return wrong(why, "a node is [type, flags, v0, v1, v2, v3, v4, v5]");
    if (!onlyMembers(why, {})) return false;
    CGmNode n;
    n.type = static_cast<int16_t>(value[0].get<long long>());
    n.flags = static_cast<uint16_t>(value[1].get<long long>());
    for (int k = 0; k < 6; ++k) n.v[k] = v[k + 2];
    nodes_.push_back(n);
    return true;
  }

  const Json& piece_;
  std::vector<CGmNode>& nodes_;
};

}  // namespace

bool drawingFromJson(const Json& drawing, std::vector<CGmNode>& nodes, std::string& why) {
  if (!drawing.is_array()) {
    why = "a drawing is a list of pieces";
    return false;
  }
  for (size_t i = 0; i < drawing.size(); ++i) {
    std::string wrong;
    if (!PieceReader(drawing[i], nodes).read(wrong)) {
      why = "piece " + std::to_string(i + 1) + ": " + wrong;
      return false;
    }
  }
  return true;
}

namespace {

constexpr double kDegrees = 180 / 3.14159265358979323846;

Json xy(const CGmPoint& p) {
  return Json::array({real(static_cast<float>(p.x)), real(static_cast<float>(p.y))});
}

}  // namespace

Json graphicsJson(const CGmModel& model) {
  Json pieces = Json::array();
  for (const CGmItem& item : model.items()) {
    Json piece = Json::object();
    if (const auto* line = std::get_if<CGmLine>(&item.shape)) {
      piece["line"] = Json::array(
          {real(static_cast<float>(line->start.x)), real(static_cast<float>(line->start.y)),
           real(static_cast<float>(line->end.x)), real(static_cast<float>(line->end.y))});
    } else if (const auto* circle = std::get_if<CGmCircle>(&item.shape)) {
      piece["circle"] = Json::array({real(static_cast<float>(circle->centre.x)),
                                     real(static_cast<float>(circle->centre.y)),
                                     real(static_cast<float>(circle->radius))});
      if (circle->fill == CGmFill::solid) piece["filled"] = true;
      if (circle->fill == CGmFill::wipeout) piece["wipeout"] = true;
    } else if (const auto* arc = std::get_if<CGmArc>(&item.shape)) {
      piece["arc"] = Json::array({real(static_cast<float>(arc->centre.x)),
                                  real(static_cast<float>(arc->centre.y)),
                                  real(static_cast<float>(arc->radius)),
                                  real(static_cast<float>(arc->startAngle * kDegrees)),
                                  real(static_cast<float>(arc->endAngle * kDegrees))});
    } else if (const auto* polyline = std::get_if<CGmPolyline>(&item.shape)) {
      Json points = Json::array();
      for (const CGmPoint& p : polyline->points) points.push_back(xy(p));
      piece["polyline"] = std::move(points);
      if (polyline->closed) piece["closed"] = true;
      if (polyline->fill == CGmFill::solid) piece["filled"] = true;
      if (polyline->fill == CGmFill::wipeout) piece["wipeout"] = true;
    } else if (const auto* text = std::get_if<CGmTextLine>(&item.shape)) {
      piece["text"] = narrow(text->text);
      piece["at"] = xy(text->position);
      piece["height"] = real(static_cast<float>(text->height));
      const double angle = std::atan2(text->direction.y, text->direction.x) * kDegrees;
      if (std::abs(angle) > 1e-9) piece["angle"] = real(static_cast<float>(angle));
      if (text->align != CGmAlign::left)
        piece["align"] = nameOf(kAlignmentNames, static_cast<int>(text->align));
      if (!cuSz::equalNoCase(text->font, L"Arial")) piece["font"] = narrow(text->font);
    }
    if (item.color != CGmModel::colorByLayer) piece["colour"] = colourJson(item.color);
    pieces.push_back(std::move(piece));
  }
  return pieces;
}

bool graphicsFromJson(const Json& graphics, CGmModel& model, std::string& why) {
  if (!graphics.is_array()) {
    why = "graphics are a list of pieces";
    return false;
  }
  for (size_t i = 0; i < graphics.size(); ++i) {
    const Json& piece = graphics[i];
    const std::string where = "piece " + std::to_string(i + 1) + ": ";
    // The piece without its graphics members is read as a symbol's piece, then drawn.
    Json shape = piece;
    short colour = CGmModel::colorByLayer;
    std::string wrong, font = "Arial";
    bool wipeout = false;
    if (shape.is_object()) {
      if (auto it = shape.find("colour"); it != shape.end()) {
        if (!colourFromJson(*it, colour, wrong)) {
          why = where + "\"colour\": " + wrong;
          return false;
        }
        shape.erase(it);
      }
      if (auto it = shape.find("font"); it != shape.end()) {
        if (!it->is_string()) {
          why = where + "\"font\" is a text";
          return false;
        }
        font = it->get<std::string>();
        shape.erase(it);
      }
      if (auto it = shape.find("wipeout"); it != shape.end()) {
        if (!it->is_boolean()) {
          why = where + "\"wipeout\" is true or false";
          return false;
        }
        wipeout = it->get<bool>();
        shape.erase(it);
      }
      if (!shape.empty() && shape.begin().key() == "node") {
        why = where + "graphics have no nodes";
        return false;
      }
    }
    std::vector<CGmNode> nodes;
    if (!PieceReader(shape, nodes).read(wrong)) {
      why = where + wrong;
      return false;
    }
    // The piece drawn the way a symbol draws it (one item), then put into the model with its
    // colour, its font and its fill.
    CGmModel one(&model.metrics());
    CVxSymbolModel(0, "", L"", nodes).addTo(one);
    model.setColor(colour);
    const CGmFill fill = wipeout ? CGmFill::wipeout : CGmFill::none;
    for (const CGmItem& item : one.items()) {
      if (const auto* line = std::get_if<CGmLine>(&item.shape)) {
        model.addLine(line->start, line->end);
      } else if (const auto* circle = std::get_if<CGmCircle>(&item.shape)) {
        model.addCircle(circle->centre, circle->radius, wipeout ? fill : circle->fill);
      } else if (const auto* arc = std::get_if<CGmArc>(&item.shape)) {
        model.addArc(arc->centre, arc->radius, arc->startAngle, arc->endAngle);
      } else if (const auto* polyline = std::get_if<CGmPolyline>(&item.shape)) {
        model.addPolyline(polyline->points, polyline->closed || wipeout,
                          wipeout ? fill : polyline->fill);
      } else if (const auto* text = std::get_if<CGmTextLine>(&item.shape)) {
        model.addText(text->text, text->position, text->direction, text->height,
                      CWsz::fromUtf8(font.c_str()), text->align);
      }
    }
  }
  return true;
}

}  // namespace vkd

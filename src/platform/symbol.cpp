#include "vxkd/platform/symbol.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numbers>
#include <sstream>

#include "platform/byte_order.h"
#include "vxkd/platform/env.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

namespace {

constexpr char kFormatName[] = "vxkd-symbol-series";
constexpr int kFormatVersion = 1;
constexpr wchar_t kSeriesExtension[] = L".vxs";

// True when `line` is the format line "vxkd-symbol-series 1" (after `keyword`, if any).
bool isFormatLine(std::istringstream& words) {
  std::string name;
  int version = 0;
  words >> name >> version;
  return name == kFormatName && version == kFormatVersion;
}

// "type flags v0 v1 v2 v3 v4 v5": two integers and six numbers, nothing else.
bool parseNode(std::string_view text, CGmNode& node) {
  const char* p = text.data();
  const char* end = p + text.size();
  auto skipBlanks = [&] {
    while (p < end && (*p == ' ' || *p == '\t')) ++p;
  };
  long type = 0, flags = 0;
  skipBlanks();
  auto r = std::from_chars(p, end, type);
  if (r.ec != std::errc() || type < INT16_MIN || type > INT16_MAX) return false;
  p = r.ptr;
  skipBlanks();
  r = std::from_chars(p, end, flags);
  if (r.ec != std::errc() || flags < 0 || flags > UINT16_MAX) return false;
  p = r.ptr;
  node.type = static_cast<int16_t>(type);
  node.flags = static_cast<uint16_t>(flags);
  for (float& v : node.v) {
    skipBlanks();
    auto f = std::from_chars(p, end, v);
    if (f.ec != std::errc()) return false;
    p = f.ptr;
  }
  skipBlanks();
  return p == end;
}

// The series files of `folder`, by id.
std::vector<std::pair<CWsz, CWsz>> seriesFilesIn(const CWsz& folder) {
  std::vector<std::pair<CWsz, CWsz>> found;
  if (folder.isEmpty()) return found;
  CEnv& env = CEnv::current();
  std::vector<std::string> names;
  if (env.listFolder(cuFile::nativePath(folder), names) != 0) return found;
  const int extLength = static_cast<int>(std::wcslen(kSeriesExtension));
  for (const std::string& entry : names) {
    if (entry[0] == '.') continue;
    CWsz name = CWsz::fromUtf8(entry.c_str());
    if (name.length() <= extLength ||
        !cuSz::equalNoCase(name.mid(name.length() - extLength), kSeriesExtension))
      continue;
    CWsz path = cuFile::joinPath(folder, name);
    struct stat st {};
    if (env.statPath(cuFile::nativePath(path), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    found.emplace_back(name.left(name.length() - extLength), path);
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return cuSz::compareLogical(a.first, b.first) < 0;
  });
  return found;
}

double radians(float degrees) { return degrees * std::numbers::pi / 180; }

CGmPoint pointAt(const CGmNode& node, int first) {
  return {node.v[first], node.v[first + 1], node.v[first + 2]};
}

// Draws a symbol's nodes one after the other, gathering vertices into polylines.
class SymbolPainter {
 public:
  SymbolPainter(CGmModel& model, const CGmTransform& t) : model_(model), t_(t) {}

  // Draws the nodes from `i` on that belong together; returns the index after them.
  size_t draw(const std::vector<CGmNode>& nodes, size_t i) {
    const CGmNode& n = nodes[i];
    const bool filled = n.flags & CGmNode::flagFilled;
    switch (n.type) {
      case CGmNode::typeLine:
        note(model_.addLine(pointAt(n, 0), pointAt(n, 3), t_));
        return i + 1;
      case CGmNode::typeCircle:
        note(model_.addCircle(pointAt(n, 0), n.v[3], filled ? CGmFill::solid : CGmFill::none, t_));
        return i + 1;
      case CGmNode::typeArc:
        note(model_.addArc(pointAt(n, 0), n.v[3], radians(n.v[4]), radians(n.v[5]), t_));
        return i + 1;
      case CGmNode::typeVertex:
      case CGmNode::typePolygonVertex:
        return drawFigure(nodes, i);
      case CGmNode::typeText:
        return drawText(nodes, i);
      default:  // characters without their text, or a type this library does not know
        note(false);
        return i + 1;
    }
  }

  bool allDrawn() const { return allDrawn_; }

 private:
  void note(bool drawn) { allDrawn_ = allDrawn_ && drawn; }

  size_t drawFigure(const std::vector<CGmNode>& nodes, size_t i) {
    const CGmNode& first = nodes[i];
    const bool polygon = first.type == CGmNode::typePolygonVertex;
    const bool filled = polygon || (first.flags & CGmNode::flagFilled);
    const bool closed = filled || (first.flags & CGmNode::flagClosed);
    CGmPointArray points;
    do {
      points.append(pointAt(nodes[i], 0));
      ++i;
    } while (i < nodes.size() && nodes[i].type == first.type &&
             !(nodes[i].flags & CGmNode::flagNewFigure));
    note(model_.addPolyline(points, closed, filled ? CGmFill::solid : CGmFill::none, t_));
    return i;
  }

  size_t drawText(const std::vector<CGmNode>& nodes, size_t i) {
    const CGmNode& head = nodes[i++];
    const float count = head.v[5];
    const bool countOk =
        count >= 0 && count <= CGmNode::maxTextLength && count == std::floor(count);
    const int length = countOk ? static_cast<int>(count) : 0;
    std::wstring text;
    bool ok = countOk && head.flags <= static_cast<uint16_t>(CGmAlign::right);
    for (int taken = 0; taken < length; ++i) {
      if (i >= nodes.size() || nodes[i].type != CGmNode::typeCharacters) {
        ok = false;  // the characters run short: the text is drawn with those there are
        break;
      }
      for (float c : nodes[i].v) {
        if (taken == length) break;
        ++taken;
        if (c >= 1 && c <= 0x10FFFF && c == std::floor(c))
          text += static_cast<wchar_t>(c);
        else
          ok = false;
      }
    }
    const double angle = radians(head.v[4]);
    const auto align = static_cast<CGmAlign>(std::min<uint16_t>(head.flags, 2));
    note(model_.addText(text.c_str(), pointAt(head, 0), CGmVector(std::cos(angle), std::sin(angle)),
                        head.v[3], L"Arial", align, t_) &&
         ok);
    return i;
  }

  CGmModel& model_;
  const CGmTransform& t_;
  bool allDrawn_ = true;
};

}  // namespace

CVxSymbolModel::CVxSymbolModel(long projectId, const char* symbolId, const wchar_t* desc,
                               std::vector<CGmNode> nodes)
    : projectId_(projectId), desc_(desc), nodes_(std::move(nodes)) {
  setSymbolId(symbolId);
}

const CGmNode* CVxSymbolModel::nodeAt(int index) const {
  return index >= 0 && index < nodeCount() ? &nodes_[index] : nullptr;
}

bool CVxSymbolModel::addTo(CGmModel& model, const CGmTransform& t) const {
  SymbolPainter painter(model, t);
  for (size_t i = 0; i < nodes_.size();) i = painter.draw(nodes_, i);
  return painter.allDrawn();
}

CByteBuffer CVxSymbolModel::nodeBytes() const {
  CByteBuffer out;
  out.resize(nodeCount() * nodeSize);
  uint8_t* p = out.data();
  for (const CGmNode& node : nodes_) {
    cuBytes::putLe16(p, static_cast<uint16_t>(node.type));
    cuBytes::putLe16(p + 2, node.flags);
    for (int i = 0; i < 6; ++i) cuBytes::putFloatLe(p + 4 + 4 * i, node.v[i]);
    p += nodeSize;
  }
  return out;
}

int CVxSymbolModel::setNodeBytes(const void* data, int size) {
  nodes_.clear();
  if (!data || size < nodeSize) return 0;
  const auto* p = static_cast<const uint8_t*>(data);
  nodes_.resize(size / nodeSize);
  for (CGmNode& node : nodes_) {
    node.type = static_cast<int16_t>(cuBytes::getLe16(p));
    node.flags = cuBytes::getLe16(p + 2);
    for (int i = 0; i < 6; ++i) node.v[i] = cuBytes::getFloatLe(p + 4 + 4 * i);
    p += nodeSize;
  }
  return nodeCount();
}

bool CVxSymbolDb::open(const wchar_t* dictionaryPath, const char* appCode, long languageId,
                       const wchar_t* commonFolder, const wchar_t* userFolder) {
  close();
  std::vector<std::string> lines;
  if (!dictionaryPath || !appCode || !*appCode || !cuFile::readTextLines(dictionaryPath, lines))
    return false;
  bool formatSeen = false, appDeclared = false;
  for (const std::string& line : lines) {
    if (cuFile::isCommentOrBlank(line)) continue;
    std::istringstream words(line);
    std::string keyword, code;
    words >> keyword;
    if (keyword == "format") {
      formatSeen = isFormatLine(words);
    } else if (keyword == "application") {
      words >> code;
      appDeclared = appDeclared || code == appCode;
    }
  }
  if (!formatSeen || !appDeclared) return false;
  open_ = true;
  appCode_.set(appCode);
  languageId_ = languageId;
  commonFolder_.set(commonFolder);
  userFolder_.set(userFolder);
  return true;
}

void CVxSymbolDb::close() {
  open_ = false;
  appCode_.empty();
  languageId_ = 0;
  commonFolder_.empty();
  userFolder_.empty();
  series_.clear();
}

int CVxSymbolDb::refreshSeries() {
  series_.clear();
  if (!open_) return 0;
  for (const CWsz* folder : {&commonFolder_, &userFolder_}) {
    for (auto& [id, path] : seriesFilesIn(*folder)) {
      int index = findSeries(id);
      if (index >= 0)
        series_[index].path = path;
      else
        series_.push_back({id, path});
    }
  }
  return seriesCount();
}

CWsz CVxSymbolDb::seriesIdAt(int index) const {
  return index >= 0 && index < seriesCount() ? series_[index].id : CWsz();
}

int CVxSymbolDb::findSeries(const wchar_t* id) const {
  for (int i = 0; i < seriesCount(); ++i)
    if (series_[i].id == id) return i;
  return -1;
}

void CVxSymbolDb::defaultSeries(CWszArray& ids) const {
  ids.empty();
  for (const Series& s : series_) ids.append(s.id);
}

bool CVxSymbolDb::readSeries(const wchar_t* id, std::vector<CVxSymbolModel>& symbols) const {
  symbols.clear();
  int index = findSeries(id);
  std::vector<std::string> lines;
  if (index < 0 || !cuFile::readTextLines(series_[index].path, lines)) return false;

  const std::string ownDescription = cuSz::format("description.%ld", languageId_);
  bool formatSeen = false;
  bool ownLanguage = false;  // the current symbol's description is in the library's language
  CVxSymbolModel* current = nullptr;
  for (const std::string& line : lines) {
    if (cuFile::isCommentOrBlank(line)) continue;
    if (!formatSeen) {
      std::istringstream words(line);
      if (!isFormatLine(words)) return false;
      formatSeen = true;
      continue;
    }
    if (line[0] == '[') {
      current = nullptr;
      size_t close = line.rfind(']');
      // An id holding a NUL ("[\0X]") cannot be stored: it is a line that cannot be read.
      if (close == std::string::npos || close < 2 || line.find('\0') < close) continue;
      CVxSymbolModel symbol;
      symbol.setSymbolId(line.substr(1, close - 1).c_str());
      bool repeated = std::any_of(symbols.begin(), symbols.end(), [&](const CVxSymbolModel& s) {
        return std::strcmp(s.symbolId(), symbol.symbolId()) == 0;
      });
      if (repeated) continue;
      symbols.push_back(std::move(symbol));
      current = &symbols.back();
      ownLanguage = false;
      continue;
    }
    size_t eq = line.find('=');
    if (!current || eq == std::string::npos) continue;
    std::string key = line.substr(0, eq);
    std::string value = line.substr(eq + 1);
    CGmNode node;
    if (key == "node" && parseNode(value, node)) {
      current->appendNode(node);
    } else if (key == ownDescription || (key == "description" && !ownLanguage)) {
      current->setDesc(CWsz::fromUtf8(value.c_str()));
      ownLanguage = ownLanguage || key == ownDescription;
    }
  }
  std::erase_if(symbols, [](const CVxSymbolModel& s) { return s.nodeCount() == 0; });
  return formatSeen;
}

#include "vxkd/platform/symbol.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fstream>
#include <sstream>

#include "platform/byte_order.h"
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
  DIR* dir = ::opendir(cuFile::nativePath(folder).c_str());
  if (!dir) return found;
  const int extLength = static_cast<int>(std::wcslen(kSeriesExtension));
  while (const dirent* entry = ::readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    CWsz name = CWsz::fromUtf8(entry->d_name);
    if (name.length() <= extLength ||
        !cuSz::equalNoCase(name.mid(name.length() - extLength), kSeriesExtension))
      continue;
    CWsz path = cuFile::joinPath(folder, name);
    struct stat st {};
    if (::stat(cuFile::nativePath(path).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
    found.emplace_back(name.left(name.length() - extLength), path);
  }
  ::closedir(dir);
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return cuSz::compareLogical(a.first, b.first) < 0;
  });
  return found;
}

}  // namespace

CVxSymbolModel::CVxSymbolModel(long projectId, const char* symbolId, const wchar_t* desc,
                               std::vector<CGmNode> nodes)
    : projectId_(projectId), desc_(desc), nodes_(std::move(nodes)) {
  setSymbolId(symbolId);
}

const CGmNode* CVxSymbolModel::nodeAt(int index) const {
  return index >= 0 && index < nodeCount() ? &nodes_[index] : nullptr;
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

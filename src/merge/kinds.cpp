#include "merge/kinds.h"

#include <cstring>

#include "vxkd/ui/language.h"

namespace VxKd {

namespace {

// The names of the kinds in the text forms, and their headings.
struct KindName {
  const char* key;
  long textId;
  const wchar_t* title;
};
constexpr KindName kKindNames[kindCount] = {
    {"propertyDefinitions", 18410, L"#Property definitions"},
    {"partIdFormats", 18424, L"#Part ID formats"},
    {"layers", 18411, L"#Layer definitions"},
    {"productGroups", 18425, L"#Product groups"},
    {"products", 18426, L"#Product definitions"},
    {"blocks", 18427, L"#Block definitions"},
    {"symbols", 18412, L"#2D symbols"},
    {"textStyles", 18413, L"#Text styles"},
    {"linetypes", 18414, L"#Linetypes"},
    {"dimensionTextFormats", 18415, L"#Dimension text formats"},
    {"reportDefinitions", 18428, L"#Report definitions"},
    {"ductDefinitions", 18416, L"#Duct definitions"},
    {"pipeDefinitions", 18417, L"#Pipe definitions"},
    {"dataDefinitions", 18418, L"#Data cable definitions"},
    {"electricDefinitions", 18419, L"#Electric cable definitions"},
};

}  // namespace

const KindAdapter& kindAdapter(datasetKind kind) {
  const KindAdapter* adapter = definitionKind(kind);
  return adapter ? *adapter : *catalogueKind(kind);
}

const std::vector<std::string_view>& compactJsonKeys() {
  static const std::vector<std::string_view> keys = {"properties", "integratedTexts", "nodes",
                                                     "columns"};
  return keys;
}

const char* datasetKindKey(datasetKind kind) {
  return kind >= 0 && kind < kindCount ? kKindNames[kind].key : "";
}

bool datasetKindFromKey(const char* key, datasetKind& kind) {
  for (int k = 0; k < kindCount; ++k)
    if (key && std::strcmp(key, kKindNames[k].key) == 0) {
      kind = static_cast<datasetKind>(k);
      return true;
    }
  return false;
}

CWsz datasetKindTitle(datasetKind kind) {
  if (kind < 0 || kind >= kindCount) return {};
  return lngDbText(kKindNames[kind].textId, kKindNames[kind].title);
}

std::wstring foldedName(const wchar_t* name) {
  std::wstring out;
  for (const wchar_t* p = name ? name : L""; *p; ++p)
    out += static_cast<wchar_t>(cuSz::foldCase(static_cast<char32_t>(*p)));
  return out;
}

long RefMaps::id(datasetKind kind, long id, long none) const {
  if (id == none) return id;
  const auto it = ids_[kind].find(id);
  if (it != ids_[kind].end()) return it->second;
  return mode_ == forComparison ? id : none;
}

bool RefMaps::name(datasetKind kind, const wchar_t* name, CWsz& out) const {
  const auto it = names_[kind].find(nameKey(kind, name));
  if (it == names_[kind].end()) {
    out = name;
    return true;
  }
  out = it->second.name;
  return it->second.matched;
}

CWsz RefMaps::missingName(datasetKind kind, long id) const {
  const auto it = missing_[kind].find(id);
  return it != missing_[kind].end() ? it->second : CWsz(std::to_wstring(id));
}

std::wstring RefMaps::nameKey(datasetKind kind, const wchar_t* name) {
  return kind == kindSymbols ? std::wstring(name ? name : L"") : foldedName(name);
}

}  // namespace VxKd

#include "vxkd/merge/comparison.h"

#include "merge/json_writer.h"
#include "merge/kinds.h"
#include "merge/matching.h"
#include "vxkd/ui/language.h"

namespace {

struct StateName {
  const char* key;
  long textId;
  const wchar_t* title;
};
constexpr StateName kStateNames[] = {
    {"onlyInSource", 18420, L"#Only in source"},
    {"equal", 18421, L"#Equal"},
    {"different", 18422, L"#Different"},
    {"onlyInCurrent", 18423, L"#Only in current"},
};

}  // namespace

const char* CKdComparisonItem::stateKey(state s) {
  return s >= onlyInSource && s <= onlyInCurrent ? kStateNames[s].key : "";
}

CWsz CKdComparisonItem::stateTitle(state s) {
  if (s < onlyInSource || s > onlyInCurrent) return {};
  return VxKd::lngDbText(kStateNames[s].textId, kStateNames[s].title);
}

void CKdDatasetComparison::compare(const CKdProject& source, const CKdProject& current) {
  using namespace VxKd;
  invalidateCatalogueIndexes();
  items_.clear();
  for (std::vector<int>& index : sourceItems_) index.clear();
  // Every kind is paired first: the fields of one kind refer to the items of others.
  RefMaps maps(RefMaps::forComparison);
  std::vector<int> partners[kindCount];
  for (int k = 0; k < kindCount; ++k) {
    const KindAdapter& kind = kindAdapter(static_cast<datasetKind>(k));
    partners[k] = matchItems(kind, source, current);
    mapPartners(kind, source, current, partners[k], maps);
  }
  for (int k = 0; k < kindCount; ++k) {
    const KindAdapter& kind = kindAdapter(static_cast<datasetKind>(k));
    currentCounts_[k] = kind.count(current);
    std::vector<bool> paired(static_cast<size_t>(currentCounts_[k]), false);
    for (int i = 0; i < static_cast<int>(partners[k].size()); ++i) {
      CKdComparisonItem item;
      item.kind = kind.kind();
      item.sourceIndex = i;
      item.currentIndex = partners[k][i];
      item.name = kind.displayName(source, i);
      item.key = kind.planKey(source, i);
      sourceItems_[k].push_back(static_cast<int>(items_.size()));
      if (item.currentIndex < 0) {
        item.itemState = CKdComparisonItem::onlyInSource;
      } else {
        paired[item.currentIndex] = true;
        kind.compare(source, i, current, item.currentIndex, maps, item.fields);
        item.itemState =
            item.fields.empty() ? CKdComparisonItem::equal : CKdComparisonItem::different;
        item.currentIsDefault =
            !item.fields.empty() && kind.isProgramDefault(current, item.currentIndex);
      }
      items_.push_back(std::move(item));
    }
    for (int j = 0; j < static_cast<int>(paired.size()); ++j) {
      if (paired[j]) continue;
      CKdComparisonItem item;
      item.kind = kind.kind();
      item.itemState = CKdComparisonItem::onlyInCurrent;
      item.currentIndex = j;
      item.name = kind.displayName(current, j);
      item.key = kind.planKey(current, j);
      items_.push_back(std::move(item));
    }
  }
}

int CKdDatasetComparison::count(CKdComparisonItem::state s) const {
  int n = 0;
  for (const CKdComparisonItem& item : items_) n += item.itemState == s;
  return n;
}

int CKdDatasetComparison::count(VxKd::datasetKind kind, CKdComparisonItem::state s) const {
  int n = 0;
  for (const CKdComparisonItem& item : items_) n += item.kind == kind && item.itemState == s;
  return n;
}

bool CKdDatasetComparison::isEqual() const {
  return count(CKdComparisonItem::equal) == static_cast<int>(items_.size());
}

const CKdComparisonItem* CKdDatasetComparison::findSource(VxKd::datasetKind kind,
                                                          int sourceIndex) const {
  if (kind < 0 || kind >= VxKd::kindCount || sourceIndex < 0 ||
      sourceIndex >= static_cast<int>(sourceItems_[kind].size()))
    return nullptr;
  return &items_[sourceItems_[kind][sourceIndex]];
}

int CKdDatasetComparison::partnerOf(VxKd::datasetKind kind, int sourceIndex) const {
  const CKdComparisonItem* item = findSource(kind, sourceIndex);
  return item ? item->currentIndex : -1;
}

int CKdDatasetComparison::sourceCount(VxKd::datasetKind kind) const {
  return kind >= 0 && kind < VxKd::kindCount ? static_cast<int>(sourceItems_[kind].size()) : 0;
}

int CKdDatasetComparison::currentCount(VxKd::datasetKind kind) const {
  return kind >= 0 && kind < VxKd::kindCount ? currentCounts_[kind] : 0;
}

std::string CKdDatasetComparison::toJson() const {
  using namespace VxKd;
  Json root = Json::object();
  root["equal"] = isEqual();
  Json counts = Json::object();
  for (int s = CKdComparisonItem::onlyInSource; s <= CKdComparisonItem::onlyInCurrent; ++s)
    counts[CKdComparisonItem::stateKey(static_cast<CKdComparisonItem::state>(s))] =
        count(static_cast<CKdComparisonItem::state>(s));
  root["counts"] = std::move(counts);
  Json kinds = Json::object();
  for (int k = 0; k < kindCount; ++k) {
    Json list = Json::array();
    for (const CKdComparisonItem& item : items_) {
      if (item.kind != k || item.itemState == CKdComparisonItem::equal) continue;
      Json entry = Json::object();
      entry["state"] = CKdComparisonItem::stateKey(item.itemState);
      entry["key"] = item.key;
      entry["name"] = textJson(item.name);
      if (item.itemState == CKdComparisonItem::different) {
        Json fields = Json::array();
        for (const CKdFieldDifference& d : item.fields) {
          Json field = Json::object();
          field["field"] = d.field;
          field["source"] = Json::parse(d.source, nullptr, false);
          field["current"] = Json::parse(d.current, nullptr, false);
          fields.push_back(std::move(field));
        }
        entry["fields"] = std::move(fields);
      }
      list.push_back(std::move(entry));
    }
    kinds[datasetKindKey(static_cast<datasetKind>(k))] = std::move(list);
  }
  root["kinds"] = std::move(kinds);
  return writeCanonicalJson(root, {});
}

#include "merge/matching.h"

#include <unordered_map>

namespace VxKd {

std::vector<int> matchItems(const KindAdapter& kind, const CKdProject& source,
                            const CKdProject& current) {
  struct Candidates {
    std::vector<int> indexes;
    size_t next = 0;
  };
  std::unordered_map<std::wstring, Candidates> byKey;
  const int n = kind.count(current);
  byKey.reserve(static_cast<size_t>(n));
  for (int j = 0; j < n; ++j) {
    std::wstring key = kind.matchKey(current, j);
    if (!key.empty()) byKey[std::move(key)].indexes.push_back(j);
  }
  const int m = kind.count(source);
  std::vector<int> partners(static_cast<size_t>(m), -1);
  std::vector<bool> taken(static_cast<size_t>(n), false);
  for (int i = 0; i < m; ++i) {
    const std::wstring key = kind.matchKey(source, i);
    if (key.empty()) continue;
    auto it = byKey.find(key);
    if (it != byKey.end() && it->second.next < it->second.indexes.size()) {
      partners[i] = it->second.indexes[it->second.next++];
      taken[partners[i]] = true;
    }
  }
  // The second keys pair what the first left alone, on both sides.
  std::unordered_map<std::wstring, Candidates> bySecondKey;
  for (int j = 0; j < n; ++j) {
    if (taken[j]) continue;
    std::wstring key = kind.secondKey(current, j);
    if (!key.empty()) bySecondKey[std::move(key)].indexes.push_back(j);
  }
  if (bySecondKey.empty()) return partners;
  for (int i = 0; i < m; ++i) {
    if (partners[i] >= 0) continue;
    const std::wstring key = kind.secondKey(source, i);
    if (key.empty()) continue;
    auto it = bySecondKey.find(key);
    if (it != bySecondKey.end() && it->second.next < it->second.indexes.size())
      partners[i] = it->second.indexes[it->second.next++];
  }
  return partners;
}

void mapPartners(const KindAdapter& kind, const CKdProject& source, const CKdProject& current,
                 const std::vector<int>& partners, RefMaps& maps) {
  for (int i = 0; i < static_cast<int>(partners.size()); ++i) {
    const int j = partners[i];
    const CWsz name = kind.refNameAt(source, i);
    if (j >= 0) {
      if (kind.hasIds()) maps.mapId(kind.kind(), kind.idAt(source, i), kind.idAt(current, j));
      if (!name.isEmpty()) maps.mapName(kind.kind(), name, kind.refNameAt(current, j));
    } else {
      if (kind.hasIds())
        maps.unmatchId(kind.kind(), kind.idAt(source, i), kind.displayName(source, i));
      if (!name.isEmpty()) maps.unmatchName(kind.kind(), name);
    }
  }
}

}  // namespace VxKd

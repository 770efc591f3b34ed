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
  for (int i = 0; i < m; ++i) {
    const std::wstring key = kind.matchKey(source, i);
    if (key.empty()) continue;
    auto it = byKey.find(key);
    if (it != byKey.end() && it->second.next < it->second.indexes.size())
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

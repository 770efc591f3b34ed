#include "vxkd/merge/dataset_merge.h"

#include <map>
#include <set>

#include "merge/json_writer.h"
#include "merge/kinds.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

namespace {

// At most this many problems are listed in one message box.
constexpr int kMaxListedProblems = 20;

void showProblems(cuWin::HWND hwnd, const CWszArray& problems) {
  CWsz text = lngDbText(18451, L"#The datasets cannot be merged; nothing was changed:");
  for (int i = 0; i < problems.length() && i < kMaxListedProblems; ++i)
    text.cat(L"\r\n - ").cat(problems.at(i));
  if (problems.length() > kMaxListedProblems)
    text.cat(L"\r\n").cat(CWsz(cuSz::wformat(lngDbText(18452, L"#... and %d more").wsz(),
                                             problems.length() - kMaxListedProblems)));
  msgBox(hwnd, -1, text, 18450, L"#Cannot Merge Datasets", cuWin::MB_OK, cuWin::MB_ICONSTOP);
}

// "Kind: item - why".
CWsz problem(datasetKind kind, const CWsz& item, const CWsz& why) {
  return datasetKindTitle(kind).cat(L": ").cat(item).cat(L" - ").cat(why);
}

// The ids a kind's items hold in the project being merged into, scope by scope (a grouped
// kind's ids are unique within a group), and those given out since.
class IdPool {
 public:
  IdPool(const KindAdapter& kind, const CKdProject& project) : kind_(kind) {
    const int n = kind.hasIds() ? kind.count(project) : 0;
    for (int i = 0; i < n; ++i) used_[kind.scopeAt(project, i)].insert(kind.idAt(project, i));
  }
  // `wanted` when it is free in `scope` and in range; else one above the highest id used
  // there when that is in range, else the first free one. 0 when none is free.
  long take(long scope, long wanted) {
    std::set<long>& used = used_[scope];
    const long min = kind_.minId(), max = kind_.maxIdIn(scope);
    long id = wanted;
    if (id < min || id > max || used.count(id)) {
      id = used.empty() ? min : std::max(min, *used.rbegin() + 1);
      for (long c = min; id > max && c <= max; ++c)
        if (!used.count(c)) id = c;
      if (id > max) return 0;
    }
    used.insert(id);
    return id;
  }

 private:
  const KindAdapter& kind_;
  std::map<long, std::set<long>> used_;
};

struct Decision {
  CKdMergePlan::action act = CKdMergePlan::actionSkip;
  int target = -1;
  long id = 0;
};

}  // namespace

bool applyMergePlan(cuWin::HWND hwnd, const CKdProject& source, CKdProject& target,
                    const CKdMergePlan& plan, CKdMergeReport& report) {
  invalidateCatalogueIndexes();
  CKdProject result(target);
  // Copies without a group go to the root -1, which a project read from a file always has;
  // one built in memory may lack it.
  if (!result.productGroups().findGroup(CKdProductGroup::rootGroupDefinitions)) {
    const CKdProductGroup root = CKdProductGroup::defaultRoot();
    result.productGroups().append(&root);
  }
  CKdMergeReport done;
  RefMaps maps(RefMaps::forMerge);
  CWszArray problems;
  std::vector<Decision> decisions[kindCount];

  // First what becomes of every item, so that each copy can refer to what any other became,
  // whatever the order of the kinds.
  for (int k = 0; k < kindCount; ++k) {
    const datasetKind kindId = static_cast<datasetKind>(k);
    const KindAdapter& kind = kindAdapter(kindId);
    const int n = kind.count(source);
    const int m = kind.count(result);
    IdPool ids(kind, result);
    decisions[k].resize(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
      Decision& d = decisions[k][i];
      if (const CKdMergePlan::Entry* entry = plan.find(kindId, i)) {
        d.act = entry->act;
        d.target = entry->targetIndex;
      }
      const long sourceId = kind.hasIds() ? kind.idAt(source, i) : 0;
      const CWsz refName = kind.refNameAt(source, i);
      const bool needsTarget =
          d.act == CKdMergePlan::actionOverwrite || d.act == CKdMergePlan::actionMap;
      if (d.target >= m || (needsTarget && d.target < 0) ||
          (d.act == CKdMergePlan::actionCreate && !kind.canCreate())) {
        problems.append(problem(kindId, kind.displayName(source, i),
                                lngDbText(18453,
                                          L"#the plan does not fit the datasets; compare "
                                          L"them again")));
        continue;
      }
      if (d.act == CKdMergePlan::actionCreate) {
        // A copy whose group the plan leaves out gets no id: its creation names the group.
        const long scope = kind.targetScope(source, i, maps);
        if (kind.hasIds() && scope != RefMaps::kUnmatched) {
          d.id = ids.take(scope, sourceId);
          if (d.id == 0) {
            problems.append(problem(kindId, kind.displayName(source, i),
                                    lngDbText(18454, L"#no free id is left")));
            continue;
          }
          maps.mapId(kindId, sourceId, d.id);
        }
        if (!refName.isEmpty()) maps.mapName(kindId, refName, refName);
      } else if (d.target >= 0) {
        if (kind.hasIds()) maps.mapId(kindId, sourceId, kind.idAt(result, d.target));
        // An overwritten item takes the source's name.
        if (!refName.isEmpty())
          maps.mapName(
              kindId, refName,
              d.act == CKdMergePlan::actionOverwrite ? refName : kind.refNameAt(result, d.target));
      } else {
        if (kind.hasIds()) maps.unmatchId(kindId, sourceId, kind.displayName(source, i));
        if (!refName.isEmpty()) maps.unmatchName(kindId, refName);
      }
    }
  }
  if (!problems.isEmpty()) {
    showProblems(hwnd, problems);
    return false;
  }

  for (int k = 0; k < kindCount; ++k) {
    const datasetKind kindId = static_cast<datasetKind>(k);
    const KindAdapter& kind = kindAdapter(kindId);
    for (int i = 0; i < static_cast<int>(decisions[k].size()); ++i) {
      const Decision& d = decisions[k][i];
      CKdMergeReport::Line line;
      line.kind = kindId;
      line.act = d.act;
      line.name = kind.displayName(source, i);
      line.sourceId = kind.hasIds() ? kind.idAt(source, i) : 0;
      Unresolved unresolved;
      switch (d.act) {
        case CKdMergePlan::actionCreate:
          kind.create(result, source, i, d.id, maps, unresolved);
          line.targetName = line.name;
          line.targetId = d.id;
          break;
        case CKdMergePlan::actionOverwrite:
          kind.overwrite(result, d.target, source, i, maps, unresolved);
          [[fallthrough]];
        case CKdMergePlan::actionMap:
        case CKdMergePlan::actionSkip:
          if (d.target >= 0) {
            line.targetName = kind.displayName(result, d.target);
            line.targetId = kind.hasIds() ? kind.idAt(result, d.target) : 0;
          }
          break;
      }
      if (!unresolved.isEmpty())
        problems.append(problem(kindId, line.name,
                                lngDbText(18455,
                                          L"#refers to what the plan skips and the "
                                          L"current dataset lacks:")
                                    .cat(L" ")
                                    .cat(unresolved.join(L", "))));
      done.add(line);
    }
  }
  if (!problems.isEmpty()) {
    showProblems(hwnd, problems);
    return false;
  }
  // The products' part IDs follow the formats as they are now, as after a read.
  result.productGroups().updatePartIdFormatsToProductDefs(result.partIdFormats());
  target = result;
  invalidateCatalogueIndexes();
  report = done;
  return true;
}

int mergeIntoDataset(cuWin::HWND hwnd, const CKdProject& source, CKdProject& target,
                     const CKdMergePlan& plan, CKdMergeReport& report) {
  CLockFile lock;
  const int locked = target.setEditLock(hwnd, lock);
  if (locked != 0) return locked;
  CKdProject merged(target);
  CKdMergeReport done;
  if (!applyMergePlan(hwnd, source, merged, plan, done)) return -1;
  if (!merged.updateDb(hwnd)) {
    msgBox(hwnd, -1,
           lngDbText(18456, L"#The merged dataset cannot be saved; the dataset is as it was."),
           18450, L"#Cannot Merge Datasets", cuWin::MB_OK, cuWin::MB_ICONSTOP);
    return -1;
  }
  target = merged;
  report = done;
  return 0;  // the lock is released as it goes out of scope
}

}  // namespace VxKd

int CKdMergeReport::count(CKdMergePlan::action act) const {
  int n = 0;
  for (const Line& line : lines_) n += line.act == act;
  return n;
}

int CKdMergeReport::count(VxKd::datasetKind kind, CKdMergePlan::action act) const {
  int n = 0;
  for (const Line& line : lines_) n += line.kind == kind && line.act == act;
  return n;
}

std::string CKdMergeReport::toJson() const {
  using namespace VxKd;
  Json root = Json::object();
  Json counts = Json::object();
  for (int a = CKdMergePlan::actionCreate; a <= CKdMergePlan::actionSkip; ++a)
    counts[CKdMergePlan::actionKey(static_cast<CKdMergePlan::action>(a))] =
        count(static_cast<CKdMergePlan::action>(a));
  root["counts"] = std::move(counts);
  Json kinds = Json::object();
  std::vector<std::string_view> compact;
  for (int k = 0; k < kindCount; ++k) {
    compact.push_back(datasetKindKey(static_cast<datasetKind>(k)));
    Json list = Json::array();
    for (const Line& line : lines_) {
      if (line.kind != k) continue;
      Json entry = Json::object();
      entry["action"] = CKdMergePlan::actionKey(line.act);
      entry["name"] = textJson(line.name);
      entry["target"] = line.targetName.isEmpty() && line.targetId == 0 ? Json(nullptr)
                                                                        : textJson(line.targetName);
      entry["sourceId"] = line.sourceId;
      entry["targetId"] = line.targetId;
      list.push_back(std::move(entry));
    }
    kinds[datasetKindKey(static_cast<datasetKind>(k))] = std::move(list);
  }
  root["kinds"] = std::move(kinds);
  return writeCanonicalJson(root, compact);
}

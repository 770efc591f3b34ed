#include "vxkd/merge/merge_plan.h"

#include <unordered_map>

#include "merge/json_reader.h"
#include "merge/json_writer.h"
#include "merge/kinds.h"
#include "vxkd/ui/message_box.h"

namespace {

using namespace VxKd;

struct ActionName {
  const char* key;
  long textId;
  const wchar_t* title;
};
constexpr ActionName kActionNames[] = {
    {"create", 18440, L"#Create"},
    {"overwrite", 18441, L"#Overwrite"},
    {"map", 18442, L"#Map"},
    {"skip", 18443, L"#Skip"},
};

constexpr const char* kPlanFormat = "vxkd-merge-plan";
constexpr int kPlanVersion = 1;

// Why `act` does not fit the source's item `sourceIndex`; null when it does. Completes
// `targetIndex` for overwrite and skip with the partner.
const char* unfit(const CKdDatasetComparison& comparison, datasetKind kind, int sourceIndex,
                  CKdMergePlan::action act, int& targetIndex) {
  if (sourceIndex < 0 || sourceIndex >= comparison.sourceCount(kind)) return "no such item";
  const int partner = comparison.partnerOf(kind, sourceIndex);
  switch (act) {
    case CKdMergePlan::actionCreate:
      if (!kindAdapter(kind).canCreate()) return "a dataset cannot add items of this kind";
      if (partner >= 0)
        return "the item has a partner in the current dataset: overwrite, map or skip it";
      targetIndex = -1;
      return nullptr;
    case CKdMergePlan::actionOverwrite:
      if (partner < 0) return "the item has no partner in the current dataset to overwrite";
      if (targetIndex >= 0 && targetIndex != partner)
        return "only the item's partner can be overwritten; map it to another item";
      targetIndex = partner;
      return nullptr;
    case CKdMergePlan::actionMap:
      if (targetIndex < 0 || targetIndex >= comparison.currentCount(kind))
        return "map needs the key of an item of the current dataset as \"target\"";
      return nullptr;
    case CKdMergePlan::actionSkip:
      targetIndex = partner;
      return nullptr;
  }
  return "unknown action";
}

// The items of one kind of one dataset by key: exactly, then ignoring case.
class KeyIndex {
 public:
  KeyIndex(const KindAdapter& kind, const CKdProject& project) {
    const int n = kind.count(project);
    for (int i = 0; i < n; ++i) {
      const std::string key = kind.planKey(project, i);
      exact_[key].push_back(i);
      folded_[foldedName(CWsz(cuSz::fromUtf8(key)))].push_back(i);
    }
  }
  // The `occurrence`-th item (from 0) with key `key`; -1 if none.
  int find(const std::string& key, int occurrence = 0) const {
    auto it = exact_.find(key);
    if (it == exact_.end()) {
      auto folded = folded_.find(foldedName(CWsz(cuSz::fromUtf8(key))));
      if (folded == folded_.end()) return -1;
      return occurrence < static_cast<int>(folded->second.size()) ? folded->second[occurrence] : -1;
    }
    return occurrence < static_cast<int>(it->second.size()) ? it->second[occurrence] : -1;
  }

 private:
  std::unordered_map<std::string, std::vector<int>> exact_;
  std::unordered_map<std::wstring, std::vector<int>> folded_;
};

void showPlanError(cuWin::HWND hwnd, const JsonError& error) {
  const CWsz detail(cuSz::wformat(L"%ls %d: %ls", lngDbText(18402, L"#Line").wsz(), error.line,
                                  CWsz(cuSz::fromUtf8(error.message)).wsz()));
  msgBox(hwnd, -1, lngDbText(18431, L"#The merge plan cannot be read:").cat(L"\r\n").cat(detail),
         18430, L"#Cannot Read Merge Plan", cuWin::MB_OK, cuWin::MB_ICONSTOP);
}

}  // namespace

void CKdMergePlan::put(const Entry& entry) {
  std::vector<int>& index = index_[entry.kind];
  if (static_cast<int>(index.size()) <= entry.sourceIndex)
    index.resize(static_cast<size_t>(entry.sourceIndex) + 1, -1);
  int& slot = index[entry.sourceIndex];
  if (slot >= 0) {
    entries_[slot] = entry;
  } else {
    slot = static_cast<int>(entries_.size());
    entries_.push_back(entry);
  }
}

void CKdMergePlan::buildDefault(const CKdDatasetComparison& comparison) {
  entries_.clear();
  for (std::vector<int>& index : index_) index.clear();
  for (const CKdComparisonItem& item : comparison.items()) {
    if (item.sourceIndex < 0) continue;
    Entry entry;
    entry.kind = item.kind;
    entry.sourceIndex = item.sourceIndex;
    entry.targetIndex = item.currentIndex;
    switch (item.itemState) {
      case CKdComparisonItem::onlyInSource:
        entry.act = kindAdapter(item.kind).canCreate() ? actionCreate : actionSkip;
        break;
      case CKdComparisonItem::equal:
        entry.act = actionMap;
        break;
      default:
        // What nobody made in the current dataset takes the source's: merged into a new
        // dataset, a source then compares equal throughout.
        entry.act = item.currentIsDefault ? actionOverwrite : actionSkip;
        break;
    }
    put(entry);
  }
}

const CKdMergePlan::Entry* CKdMergePlan::find(VxKd::datasetKind kind, int sourceIndex) const {
  if (kind < 0 || kind >= kindCount || sourceIndex < 0 ||
      sourceIndex >= static_cast<int>(index_[kind].size()) || index_[kind][sourceIndex] < 0)
    return nullptr;
  return &entries_[index_[kind][sourceIndex]];
}

bool CKdMergePlan::setAction(const CKdDatasetComparison& comparison, VxKd::datasetKind kind,
                             int sourceIndex, action act, int targetIndex) {
  if (kind < 0 || kind >= kindCount || unfit(comparison, kind, sourceIndex, act, targetIndex))
    return false;
  put({kind, sourceIndex, act, targetIndex});
  return true;
}

bool CKdMergePlan::fits(const CKdDatasetComparison& comparison, VxKd::datasetKind kind,
                        int sourceIndex, action act, int targetIndex) {
  return kind >= 0 && kind < kindCount && !unfit(comparison, kind, sourceIndex, act, targetIndex);
}

const char* CKdMergePlan::actionKey(action act) {
  return act >= actionCreate && act <= actionSkip ? kActionNames[act].key : "";
}

CWsz CKdMergePlan::actionTitle(action act) {
  if (act < actionCreate || act > actionSkip) return {};
  return lngDbText(kActionNames[act].textId, kActionNames[act].title);
}

std::string CKdMergePlan::toJson(const CKdDatasetComparison& comparison, const CKdProject& source,
                                 const CKdProject& current) const {
  invalidateCatalogueIndexes();
  Json root = Json::object();
  root["format"] = kPlanFormat;
  root["version"] = kPlanVersion;
  Json kinds = Json::object();
  std::vector<std::string_view> compact;
  for (int k = 0; k < kindCount; ++k) {
    const datasetKind kind = static_cast<datasetKind>(k);
    const KindAdapter& adapter = kindAdapter(kind);
    compact.push_back(datasetKindKey(kind));
    Json list = Json::array();
    for (int i = 0; i < comparison.sourceCount(kind); ++i) {
      const CKdComparisonItem& item = *comparison.findSource(kind, i);
      const Entry* entry = find(kind, i);
      const action act = entry ? entry->act : actionSkip;
      const int target = entry ? entry->targetIndex : item.currentIndex;
      Json line = Json::object();
      line["key"] = adapter.planKey(source, i);
      line["name"] = textJson(item.name);
      line["state"] = CKdComparisonItem::stateKey(item.itemState);
      line["action"] = actionKey(act);
      line["target"] = target >= 0 ? Json(adapter.planKey(current, target)) : Json(nullptr);
      list.push_back(std::move(line));
    }
    kinds[datasetKindKey(kind)] = std::move(list);
  }
  root["items"] = std::move(kinds);
  return writeCanonicalJson(root, compact);
}

bool CKdMergePlan::fromJson(cuWin::HWND hwnd, std::string_view text,
                            const CKdDatasetComparison& comparison, const CKdProject& source,
                            const CKdProject& current, int* errorLine, std::string* errorText) {
  invalidateCatalogueIndexes();
  JsonNode root;
  JsonError error;
  CKdMergePlan plan;
  auto fail = [&](int line, const std::string& message) {
    if (error.message.empty()) error = {line, message};
    return false;
  };
  auto read = [&]() {
    if (!parseJson(text, root, error)) return false;
    if (root.type != JsonNode::typeObject) return fail(root.line, "a merge plan is an object");
    const JsonNode* format = root.find("format");
    if (!format || format->type != JsonNode::typeString || format->text != kPlanFormat)
      return fail(format ? format->line : root.line,
                  "\"format\" must be \"" + std::string(kPlanFormat) + "\"");
    const JsonNode* version = root.find("version");
    if (!version || version->type != JsonNode::typeInteger || version->integer != kPlanVersion)
      return fail(version ? version->line : root.line,
                  "\"version\" must be " + std::to_string(kPlanVersion));
    for (const JsonMember& member : root.members)
      if (member.key != "format" && member.key != "version" && member.key != "items")
        return fail(member.line, "unknown field \"" + member.key + "\"");
    const JsonNode* items = root.find("items");
    if (!items || items->type != JsonNode::typeObject)
      return fail(items ? items->line : root.line, "\"items\" must be an object of kinds");
    for (const JsonMember& member : items->members) {
      datasetKind kind;
      if (!datasetKindFromKey(member.key.c_str(), kind))
        return fail(member.line, "unknown kind \"" + member.key + "\"");
      if (member.value.type != JsonNode::typeArray)
        return fail(member.value.line, "\"" + member.key + "\" must be a list");
      const KindAdapter& adapter = kindAdapter(kind);
      const KeyIndex sourceKeys(adapter, source);
      const KeyIndex currentKeys(adapter, current);
      std::unordered_map<std::string, int> occurrences;
      for (const JsonNode& line : member.value.elements) {
        if (line.type != JsonNode::typeObject)
          return fail(line.line, "the items of \"" + member.key + "\" must be objects");
        for (const JsonMember& field : line.members)
          if (field.key != "key" && field.key != "name" && field.key != "state" &&
              field.key != "action" && field.key != "target")
            return fail(field.line, "unknown field \"" + field.key + "\"");
        const JsonNode* key = line.find("key");
        const JsonNode* act = line.find("action");
        const JsonNode* target = line.find("target");
        if (!key || key->type != JsonNode::typeString)
          return fail(key ? key->line : line.line, "\"key\" must be a text");
        if (!act || act->type != JsonNode::typeString)
          return fail(act ? act->line : line.line,
                      "\"action\" must be one of create, overwrite, map, skip");
        int a = actionCreate;
        while (a <= actionSkip && act->text != kActionNames[a].key) ++a;
        if (a > actionSkip)
          return fail(act->line, "\"action\" must be one of create, overwrite, map, skip, not \"" +
                                     act->text + "\"");
        // The n-th line of a key names the n-th item with that key.
        const int occurrence = occurrences[key->text]++;
        const int sourceIndex = sourceKeys.find(key->text, occurrence);
        if (sourceIndex < 0 && occurrence > 0 && sourceKeys.find(key->text) >= 0)
          return fail(key->line, "\"" + key->text + "\" is named twice");
        if (sourceIndex < 0)
          return fail(key->line, "no item of the source in \"" + member.key + "\" has the key \"" +
                                     key->text + "\"");
        if (plan.find(kind, sourceIndex))
          return fail(key->line, "\"" + key->text + "\" is named twice");
        int targetIndex = -1;
        if (target && target->type == JsonNode::typeString &&
            (a == actionMap || a == actionOverwrite)) {
          targetIndex = currentKeys.find(target->text);
          if (targetIndex < 0)
            return fail(target->line, "no item of the current dataset in \"" + member.key +
                                          "\" has the key \"" + target->text + "\"");
        } else if (target && target->type != JsonNode::typeString &&
                   target->type != JsonNode::typeNull) {
          return fail(target->line, "\"target\" must be a key or null");
        }
        if (const char* why =
                unfit(comparison, kind, sourceIndex, static_cast<action>(a), targetIndex))
          return fail(act->line, "cannot " + act->text + " \"" + key->text + "\": " + why);
        plan.put({kind, sourceIndex, static_cast<action>(a), targetIndex});
      }
    }
    return true;
  };
  bool ok = false;
  try {
    ok = read();
  } catch (const std::exception& ex) {  // out of memory
    fail(0, ex.what());
  }
  if (!ok) {
    if (errorLine) *errorLine = error.line;
    if (errorText) *errorText = error.message;
    showPlanError(hwnd, error);
    return false;
  }
  // What the text does not name is skipped (its partner still stands in for it).
  for (int k = 0; k < kindCount; ++k)
    for (int i = 0; i < comparison.sourceCount(static_cast<datasetKind>(k)); ++i)
      if (!plan.find(static_cast<datasetKind>(k), i))
        plan.setAction(comparison, static_cast<datasetKind>(k), i, actionSkip);
  *this = std::move(plan);
  return true;
}

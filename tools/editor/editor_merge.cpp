#include "editor_merge.h"

#include <unistd.h>

#include <cstdio>

#include "vxkd/merge/dataset_merge.h"

using json = nlohmann::json;

namespace vkdedit {

bool MergeSession::load(const std::string& bytes, const std::string& fileName,
                        const CKdProject& current, std::string& why) {
  if (bytes.empty()) {
    why = "the source file is empty";
    return false;
  }
  // The library reads datasets from a path only: a private temporary file, removed at once.
  char name[] = "/tmp/vkd-merge-XXXXXX";
  const int fd = mkstemp(name);
  if (fd < 0) {
    why = "no temporary file for the source dataset";
    return false;
  }
  const bool saved = write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  close(fd);
  CKdProject source;
  const bool read = saved && source.readDb(nullptr, CWsz::fromUtf8(name));
  std::remove(name);
  if (!read) {
    why = saved ? "the file is no dataset that can be read" : "the upload cannot be kept";
    return false;
  }
  source_ = std::move(source);
  fileName_ = fileName.empty() ? "source.vkd" : fileName;
  loaded_ = true;
  compareAgain(current);
  return true;
}

void MergeSession::compareAgain(const CKdProject& current) {
  comparison_ = CKdDatasetComparison();
  comparison_.compare(source_, current);
  plan_ = CKdMergePlan();
  plan_.buildDefault(comparison_);
}

json MergeSession::view() const {
  json counts = json::object();
  for (int s = CKdComparisonItem::onlyInSource; s <= CKdComparisonItem::onlyInCurrent; ++s) {
    const auto state = static_cast<CKdComparisonItem::state>(s);
    counts[CKdComparisonItem::stateKey(state)] = comparison_.count(state);
  }
  json items = json::array();
  for (const CKdComparisonItem& item : comparison_.items()) {
    // What is equal keeps its partner; what only the current dataset has stays as it is.
    if (item.itemState == CKdComparisonItem::equal ||
        item.itemState == CKdComparisonItem::onlyInCurrent)
      continue;
    json fields = json::array();
    for (const CKdFieldDifference& f : item.fields)
      fields.push_back({{"field", f.field}, {"source", f.source}, {"current", f.current}});
    const CKdMergePlan::Entry* entry = plan_.find(item.kind, item.sourceIndex);
    json actions = json::array();
    for (int a = CKdMergePlan::actionCreate; a <= CKdMergePlan::actionSkip; ++a) {
      const auto act = static_cast<CKdMergePlan::action>(a);
      if (CKdMergePlan::fits(comparison_, item.kind, item.sourceIndex, act, item.currentIndex))
        actions.push_back({{"key", CKdMergePlan::actionKey(act)},
                           {"title", CKdMergePlan::actionTitle(act).toUtf8()}});
    }
    items.push_back(
        {{"kind", VxKd::datasetKindKey(item.kind)},
         {"kindTitle", VxKd::datasetKindTitle(item.kind).toUtf8()},
         {"state", CKdComparisonItem::stateKey(item.itemState)},
         {"stateTitle", CKdComparisonItem::stateTitle(item.itemState).toUtf8()},
         {"name", item.name.toUtf8()},
         {"key", item.key},
         {"sourceIndex", item.sourceIndex},
         {"fields", fields},
         {"action", CKdMergePlan::actionKey(entry ? entry->act : CKdMergePlan::actionSkip)},
         {"actions", actions}});
  }
  return {{"source", fileName_}, {"counts", counts}, {"items", items}};
}

std::string MergeSession::setAction(const std::string& kindKey, int sourceIndex,
                                    const std::string& action) {
  VxKd::datasetKind kind;
  if (!VxKd::datasetKindFromKey(kindKey.c_str(), kind)) return "no kind \"" + kindKey + "\"";
  const CKdComparisonItem* item = comparison_.findSource(kind, sourceIndex);
  if (!item) return "the source has no such item";
  for (int a = CKdMergePlan::actionCreate; a <= CKdMergePlan::actionSkip; ++a) {
    const auto act = static_cast<CKdMergePlan::action>(a);
    if (action != CKdMergePlan::actionKey(act)) continue;
    if (plan_.setAction(comparison_, kind, sourceIndex, act, item->currentIndex)) return "";
    return "\"" + item->name.toUtf8() + "\" cannot be given the action " + action;
  }
  return "no action \"" + action + "\"";
}

int MergeSession::apply(CKdProject& current, json& report) {
  CKdMergeReport done;
  const int merged = VxKd::mergeIntoDataset(nullptr, source_, current, plan_, done);
  if (merged == 0) {
    report = json::parse(done.toJson(), nullptr, false);
    clear();
  } else if (merged == 1) {
    compareAgain(current);
  }
  return merged;
}

void MergeSession::clear() {
  loaded_ = false;
  fileName_.clear();
  source_ = CKdProject();
  comparison_ = CKdDatasetComparison();
  plan_ = CKdMergePlan();
}

}  // namespace vkdedit

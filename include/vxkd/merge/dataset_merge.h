#pragma once
// The merge of a source dataset into the current one by a plan (merge_plan.h), and its
// report. Items are copied with their references rewritten through what the plan made of
// the items they refer to (a product's group, part ID format, linetype, symbol, integrated
// texts' formats and property definitions; a group's owner; a block item's product,
// linetype and property definitions; a report's columns, sort property, device groups and
// text style; a layer's linetype; a format's text style), so that
// nothing refers to an item the current dataset lacks. New groups are placed with
// appendGroupPath under the group their owner became. A copied item keeps its id where the current
// dataset has it free and gets the next free one otherwise. The merge is all or nothing.

#include <string>
#include <vector>

#include "vxkd/dataset/project.h"
#include "vxkd/merge/dataset_kind.h"
#include "vxkd/merge/merge_plan.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"

// What a merge did (or, for a dry run, would do) with each item of the source.
class VXKD_API CKdMergeReport {
 public:
  struct Line {
    VxKd::datasetKind kind = VxKd::kindPropertyDefs;
    CKdMergePlan::action act = CKdMergePlan::actionSkip;
    CWsz name;          // the source item's
    CWsz targetName;    // the item of the current dataset it became or stands for; "" if none
    long sourceId = 0;  // 0 for a kind without ids
    long targetId = 0;  // the id in the current dataset; 0 for none
  };

  const std::vector<Line>& lines() const { return lines_; }
  // How many items were given action `act`; all of them or those of `kind`.
  int count(CKdMergePlan::action act) const;
  int count(VxKd::datasetKind kind, CKdMergePlan::action act) const;
  // The report as canonical JSON: the counts and per kind one line per item.
  std::string toJson() const;

  void clear() { lines_.clear(); }
  void add(const Line& line) { lines_.push_back(line); }

 private:
  std::vector<Line> lines_;
};

namespace VxKd {

// Applies `plan`, made from a comparison of `source` with `target`, to `target` in memory
// and fills `report`. False, with an error box naming the items and `target` unchanged,
// when the plan does not fit the two projects (they changed since the comparison), when a
// copied item would refer to an item that the plan skips and the current dataset lacks, or
// when a kind has no free id left.
VXKD_API bool applyMergePlan(cuWin::HWND hwnd, const CKdProject& source, CKdProject& target,
                             const CKdMergePlan& plan, CKdMergeReport& report);

// Merges into the dataset file of `target` (read from it, bound to it): takes the edit lock,
// applies `plan` and writes the dataset in one transaction, then releases the lock. 0: done,
// `target` holds the merged dataset. 1: another user had saved the dataset; `target` was
// read again and nothing was merged: compare again and make a new plan. -1: failed, with
// the message shown; the file and `target` are as they were.
VXKD_API int mergeIntoDataset(cuWin::HWND hwnd, const CKdProject& source, CKdProject& target,
                              const CKdMergePlan& plan, CKdMergeReport& report);

}  // namespace VxKd

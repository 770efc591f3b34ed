#pragma once
// The merge page of the editor: a source dataset, uploaded by the user, compared with the
// dataset being edited; a plan of what to do with each item of the source, which the user
// changes item by item; and the merge itself, under the edit lock, with its report.

#include <nlohmann/json.hpp>
#include <string>

#include "vxkd/dataset/project.h"
#include "vxkd/merge/comparison.h"
#include "vxkd/merge/merge_plan.h"

namespace vkdedit {

class MergeSession {
 public:
  // Reads the source dataset from `bytes` (the uploaded file, kept in a private temporary
  // file only while it is read) and compares it with `current`. False, with the reason,
  // when the bytes are no dataset; the session is then as it was.
  bool load(const std::string& bytes, const std::string& fileName, const CKdProject& current,
            std::string& why);
  bool loaded() const { return loaded_; }
  // Compares again with `current` (after it changed) and starts from the default plan.
  void compareAgain(const CKdProject& current);

  // The comparison and the plan as the page shows them: counts per state, and per item
  // that is not equal its kind, state, name, differing fields, action and the actions it
  // may have.
  nlohmann::json view() const;

  // Sets the action (a key of CKdMergePlan::actionKey) of the source item `sourceIndex` of
  // the kind named `kindKey`; overwrite and map go to the item's partner. The reason when
  // the action does not fit the item; "" when set.
  std::string setAction(const std::string& kindKey, int sourceIndex, const std::string& action);

  // Merges into `current`'s file by the plan: see VxKd::mergeIntoDataset. On 0 `report`
  // holds the report (JSON) and the session is over; on 1 the dataset was read again and
  // compared anew; on -1 nothing changed.
  int apply(CKdProject& current, nlohmann::json& report);

  void clear();

 private:
  bool loaded_ = false;
  std::string fileName_;
  CKdProject source_;
  CKdDatasetComparison comparison_;
  CKdMergePlan plan_;
};

}  // namespace vkdedit

#pragma once
// CKdDatasetComparison: a source dataset compared with the current one item by item. Each
// item of the source is matched to an item of the current dataset of the same kind: by
// GUID where the kind has one (part ID formats, product groups, products, blocks,
// poly-object definitions; one without a GUID by its description, a group by its path), by
// layer number, by symbol id (exactly), otherwise by name ignoring case (property
// definitions, linetypes, text styles, dimension text formats by description). Groups that
// the GUIDs leave without a partner then pair by their paths (getGroupPath, ignoring case).
// Each pair is only in the source, equal, different (naming the fields that differ) or only
// in the current dataset.
//
// Fields that refer to other definitions are compared through the matching: a product of
// the source that names format 3 agrees with a product of the current dataset that names
// format 7 when those two formats were matched to each other. Ids of the items themselves
// are never compared, and the order of a product's properties does not count.

#include <string>
#include <vector>

#include "vxkd/dataset/project.h"
#include "vxkd/merge/dataset_kind.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

// One field in which the two items of a pair differ, with each side's value as the text form
// shows it (references by the name of what they refer to).
struct VXKD_API CKdFieldDifference {
  std::string field;  // the field's name in the text form: "valueType", "properties", ...
  std::string source;
  std::string current;
};

// One item of the source matched, or not, to one item of the current dataset.
class VXKD_API CKdComparisonItem {
 public:
  enum state { onlyInSource, equal, different, onlyInCurrent };

  VxKd::datasetKind kind = VxKd::kindPropertyDefs;
  state itemState = onlyInSource;
  // Positions among the items of the kind in each dataset (the order of the text form); -1
  // where the item is absent.
  int sourceIndex = -1;
  int currentIndex = -1;
  // What users read: the source item's name, else the current one's.
  CWsz name;
  // The key by which it was matched and by which a merge plan names it: a GUID, a layer
  // number, a symbol id or a name.
  std::string key;
  // For `different`: the fields, in the order of the text form.
  std::vector<CKdFieldDifference> fields;
  // For `different`: the current item holds what every new dataset holds (a layer of the
  // program's table, the text style Standard as a new dataset has it), so nobody made it.
  bool currentIsDefault = false;

  // "only in source", "equal", "different", "only in current".
  static const char* stateKey(state s);
  // The same in the active language.
  static CWsz stateTitle(state s);
};

class VXKD_API CKdDatasetComparison {
 public:
  // Compares `source` with `current`. Neither is changed; both must stay alive and unchanged
  // while the comparison is used (its indexes point into them).
  void compare(const CKdProject& source, const CKdProject& current);

  // Every pair, kind by kind in the order of the kinds; within a kind the source's items in
  // their order, then the current dataset's items that the source lacks.
  const std::vector<CKdComparisonItem>& items() const { return items_; }
  // How many pairs are in state `s`, over all kinds or for one kind.
  int count(CKdComparisonItem::state s) const;
  int count(VxKd::datasetKind kind, CKdComparisonItem::state s) const;
  // True when every pair is equal.
  bool isEqual() const;
  // The pair of `kind` whose source item is at `sourceIndex`; null if none.
  const CKdComparisonItem* findSource(VxKd::datasetKind kind, int sourceIndex) const;
  // The index in the current dataset of the partner of the source's item `sourceIndex`;
  // -1 when it has none.
  int partnerOf(VxKd::datasetKind kind, int sourceIndex) const;
  // How many items of `kind` each dataset holds.
  int sourceCount(VxKd::datasetKind kind) const;
  int currentCount(VxKd::datasetKind kind) const;

  // The comparison as canonical JSON: per kind the pairs that are not equal with their
  // state, key, name and differing fields, and the counts of all four states.
  std::string toJson() const;

 private:
  std::vector<CKdComparisonItem> items_;
  // Per kind: for each source item the index of its pair in items_; and the current count.
  std::vector<int> sourceItems_[VxKd::kindCount];
  int currentCounts_[VxKd::kindCount] = {};
};

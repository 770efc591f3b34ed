#pragma once
// CKdMergePlan: what a merge does with each item of the source dataset: create it in the
// current dataset, overwrite its partner there, map it to an existing item (so that what
// refers to it refers to that item), or skip it. A plan belongs to one comparison of two
// projects: its indexes point into them.
//
// A plan can be written as a text that an administrator edits and gives back: per kind a
// list with one line per source item, naming the item by its key (as the comparison
// shows it), the action, and for overwrite and map the key of the current item.

#include <string>
#include <string_view>
#include <vector>

#include "vxkd/dataset/project.h"
#include "vxkd/merge/comparison.h"
#include "vxkd/merge/dataset_kind.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"

class VXKD_API CKdMergePlan {
 public:
  enum action { actionCreate, actionOverwrite, actionMap, actionSkip };

  struct Entry {
    VxKd::datasetKind kind = VxKd::kindPropertyDefs;
    int sourceIndex = -1;
    action act = actionSkip;
    // The current dataset's item that the source item overwrites or is mapped to; for a
    // skipped item its partner, if it has one (what refers to the skipped item then refers
    // to the partner); -1 otherwise.
    int targetIndex = -1;
  };

  // The default plan of `comparison`: creates what only the source has (a layer, which no
  // dataset can add, is skipped), maps what is equal to its partner, and skips what differs
  // unless the current item is a program default that nobody made (an unchanged layer, the
  // text style Standard of a new dataset): that one is overwritten.
  void buildDefault(const CKdDatasetComparison& comparison);

  const std::vector<Entry>& entries() const { return entries_; }
  // The entry of the source's item `sourceIndex` of `kind`; null if the plan has none.
  const Entry* find(VxKd::datasetKind kind, int sourceIndex) const;
  // Sets the action of an item, adding its entry when the plan has none. False, changing
  // nothing, when the action does not fit the item: create for an item that has a partner
  // or of a kind that cannot be created, overwrite of another item than the partner, map
  // without a target. `comparison` is the one the plan belongs to.
  bool setAction(const CKdDatasetComparison& comparison, VxKd::datasetKind kind, int sourceIndex,
                 action act, int targetIndex = -1);

  // True when setAction would take `act` (with `targetIndex`) for the item.
  static bool fits(const CKdDatasetComparison& comparison, VxKd::datasetKind kind, int sourceIndex,
                   action act, int targetIndex = -1);

  // "create", "overwrite", "map", "skip"; and the same in the active language.
  static const char* actionKey(action act);
  static CWsz actionTitle(action act);

  // The plan as an editable text (JSON, one line per item), naming the items of `source` and
  // `current` by their keys.
  std::string toJson(const CKdDatasetComparison& comparison, const CKdProject& source,
                     const CKdProject& current) const;
  // Replaces the plan by the text `text` (as toJson writes it, maybe edited), resolving the
  // keys against `comparison` of `source` with `current`. A source item the text does not
  // name is skipped. On failure shows an error box naming the line and the reason and
  // returns false with the plan unchanged, the line and the reason in `errorLine` and
  // `errorText` when given: a text that is no plan, an unknown kind or action, a key that
  // names no item, an item named twice, an action that does not fit the item.
  bool fromJson(cuWin::HWND hwnd, std::string_view text, const CKdDatasetComparison& comparison,
                const CKdProject& source, const CKdProject& current, int* errorLine = nullptr,
                std::string* errorText = nullptr);

 private:
  void put(const Entry& entry);

  std::vector<Entry> entries_;
  // Per kind, for each source index the position of its entry in entries_, or -1.
  std::vector<int> index_[VxKd::kindCount];
};

#pragma once
// The comparison, mapping and report dialogs of the merge, as functions over the widget
// model (platform/dialog.h): each fills the controls of a dialog by their ids and reads the
// user's choices back, so that a front end only shows the controls and calls back when the
// user picks something.
//
// Comparison dialog: a kind filter, a state filter, the list of pairs and, for the selected
// pair, its differing fields. Mapping dialog: one row per source item with its action and
// target; the selected row's action and target are chosen in two combo boxes and applied to
// the plan. Report dialog: what the merge did, one row per item, with the counts.

#include "vxkd/dataset/project.h"
#include "vxkd/merge/comparison.h"
#include "vxkd/merge/dataset_merge.h"
#include "vxkd/merge/merge_plan.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"

namespace VxKd {

// The control ids of the three dialogs.
enum mergeDlgControl {
  // Comparison: combo boxes of the kinds (data: the kind, -1 for all) and of the states
  // (data: the state, -1 for all but equal); the list of pairs (columns kind, name, state,
  // fields; data: the index in CKdDatasetComparison::items()); the list of the selected
  // pair's fields (field, source, current); the counts.
  idcCompareKind = 2301,
  idcCompareState = 2302,
  idcCompareItems = 2303,
  idcCompareFields = 2304,
  idcCompareSummary = 2305,
  // Mapping: the list of the source's items (kind, name, state, action, target; data: the
  // index in CKdDatasetComparison::items()); the actions the selected item allows (data: the
  // action); the items of its kind in the current dataset (data: their index, -1 for none).
  idcMapItems = 2311,
  idcMapAction = 2312,
  idcMapTarget = 2313,
  // Report: one row per item (kind, action, name, target); the counts.
  idcReportItems = 2321,
  idcReportSummary = 2322,
};

// Fills the comparison dialog `dlg`: all kinds, the pairs that are not equal, the counts.
VXKD_API void initComparisonDlg(cuWin::HWND dlg, const CKdDatasetComparison& comparison);
// Lists again the pairs that the two filters select, keeping the selected pair when it is
// still listed; then shows its fields.
VXKD_API void filterComparisonDlg(cuWin::HWND dlg, const CKdDatasetComparison& comparison);
// Shows the differing fields of the selected pair (none when nothing is selected).
VXKD_API void selectComparisonItem(cuWin::HWND dlg, const CKdDatasetComparison& comparison);

// Fills the mapping dialog `dlg` with a row per source item and selects none. `current` is
// the project compared as current.
VXKD_API void initMappingDlg(cuWin::HWND dlg, const CKdDatasetComparison& comparison,
                             const CKdMergePlan& plan, const CKdProject& current);
// Offers the actions the selected row's item allows, with its plan's action selected, and
// the items it may be mapped to, with its target selected.
VXKD_API void selectMappingItem(cuWin::HWND dlg, const CKdDatasetComparison& comparison,
                                const CKdMergePlan& plan, const CKdProject& current);
// Puts the action and target chosen for the selected row into `plan` and shows them in the
// row. False, with a message box and `plan` unchanged, when they do not fit the item (map
// without a target); false without one when nothing is selected.
VXKD_API bool applyMappingChoice(cuWin::HWND dlg, const CKdDatasetComparison& comparison,
                                 CKdMergePlan& plan, const CKdProject& current);

// Fills the report dialog `dlg`.
VXKD_API void initMergeReportDlg(cuWin::HWND dlg, const CKdMergeReport& report);

}  // namespace VxKd

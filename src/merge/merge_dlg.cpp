#include "vxkd/merge/merge_dlg.h"

#include "merge/kinds.h"
#include "vxkd/platform/dialog.h"
#include "vxkd/ui/message_box.h"

namespace VxKd {

namespace {

// Combo box data meaning "all kinds" and "all pairs but the equal ones".
constexpr long kAll = -1;

// The column headings, by language text.
struct Heading {
  long textId;
  const wchar_t* text;
};
constexpr Heading kKind = {18460, L"#Kind"};
constexpr Heading kName = {18461, L"#Name"};
constexpr Heading kState = {18462, L"#State"};
constexpr Heading kFields = {18463, L"#Fields"};
constexpr Heading kField = {18464, L"#Field"};
constexpr Heading kSource = {18465, L"#Source"};
constexpr Heading kCurrent = {18466, L"#Current"};
constexpr Heading kAction = {18467, L"#Action"};
constexpr Heading kTarget = {18468, L"#Target"};

void setColumns(VxListView2& list, std::initializer_list<Heading> headings) {
  std::vector<CWsz> texts;
  for (const Heading& h : headings) texts.push_back(lngDbText(h.textId, h.text));
  list.setColumns(texts);
}

CWsz utf8Text(const std::string& text) { return CWsz(cuSz::fromUtf8(text)); }

// "valueType, unit": the names of the differing fields.
CWsz fieldNames(const CKdComparisonItem& item) {
  CWsz names;
  for (const CKdFieldDifference& d : item.fields) {
    if (!names.isEmpty()) names.cat(L", ");
    names.cat(utf8Text(d.field));
  }
  return names;
}

bool listed(const CKdComparisonItem& item, long kind, long state) {
  if (kind != kAll && item.kind != kind) return false;
  return state == kAll ? item.itemState != CKdComparisonItem::equal : item.itemState == state;
}

long selectedData(const VxComboBox* combo) {
  return combo && combo->curSel() >= 0 ? combo->itemData(combo->curSel()) : kAll;
}

// The target shown for an entry: the name of the current item it overwrites, is mapped to
// or stands in for a skipped one.
CWsz targetName(const CKdMergePlan::Entry* entry, const CKdProject& current) {
  if (!entry || entry->targetIndex < 0 || entry->act == CKdMergePlan::actionCreate) return {};
  return kindAdapter(entry->kind).displayName(current, entry->targetIndex);
}

std::vector<CWsz> mappingRow(const CKdComparisonItem& item, const CKdMergePlan& plan,
                             const CKdProject& current) {
  const CKdMergePlan::Entry* entry = plan.find(item.kind, item.sourceIndex);
  const auto act = entry ? entry->act : CKdMergePlan::actionSkip;
  return {datasetKindTitle(item.kind), item.name, CKdComparisonItem::stateTitle(item.itemState),
          CKdMergePlan::actionTitle(act), targetName(entry, current)};
}

}  // namespace

void initComparisonDlg(cuWin::HWND dlg, const CKdDatasetComparison& comparison) {
  VxComboBox* kinds = VXDialog::comboBox(dlg, idcCompareKind);
  VxComboBox* states = VXDialog::comboBox(dlg, idcCompareState);
  VxListView2* items = VXDialog::listView(dlg, idcCompareItems);
  VxListView2* fields = VXDialog::listView(dlg, idcCompareFields);
  if (!kinds || !states || !items || !fields) return;
  kinds->resetContent();
  kinds->addString(lngDbText(18469, L"#All kinds"), kAll);
  for (int k = 0; k < kindCount; ++k)
    kinds->addString(datasetKindTitle(static_cast<datasetKind>(k)), k);
  kinds->setCurSel(0);
  states->resetContent();
  states->addString(lngDbText(18470, L"#All but equal"), kAll);
  for (int s = CKdComparisonItem::onlyInSource; s <= CKdComparisonItem::onlyInCurrent; ++s)
    states->addString(CKdComparisonItem::stateTitle(static_cast<CKdComparisonItem::state>(s)), s);
  states->setCurSel(0);
  setColumns(*items, {kKind, kName, kState, kFields});
  setColumns(*fields, {kField, kSource, kCurrent});
  VXDialog::setItemText(
      dlg, idcCompareSummary,
      CWsz(cuSz::wformat(
          lngDbText(18471, L"#%d equal, %d different, %d only in source, %d only in current").wsz(),
          comparison.count(CKdComparisonItem::equal),
          comparison.count(CKdComparisonItem::different),
          comparison.count(CKdComparisonItem::onlyInSource),
          comparison.count(CKdComparisonItem::onlyInCurrent))));
  filterComparisonDlg(dlg, comparison);
}

void filterComparisonDlg(cuWin::HWND dlg, const CKdDatasetComparison& comparison) {
  VxListView2* items = VXDialog::listView(dlg, idcCompareItems);
  if (!items) return;
  const long kind = selectedData(VXDialog::comboBox(dlg, idcCompareKind));
  const long state = selectedData(VXDialog::comboBox(dlg, idcCompareState));
  const long selected = items->itemData(items->selection());
  items->deleteAllItems();
  const std::vector<CKdComparisonItem>& all = comparison.items();
  for (int i = 0; i < static_cast<int>(all.size()); ++i)
    if (listed(all[i], kind, state))
      items->insertItem({datasetKindTitle(all[i].kind), all[i].name,
                         CKdComparisonItem::stateTitle(all[i].itemState), fieldNames(all[i])},
                        i);
  if (selected != VxListView2::kError) items->setSelection(items->findData(selected));
  selectComparisonItem(dlg, comparison);
}

void selectComparisonItem(cuWin::HWND dlg, const CKdDatasetComparison& comparison) {
  VxListView2* items = VXDialog::listView(dlg, idcCompareItems);
  VxListView2* fields = VXDialog::listView(dlg, idcCompareFields);
  if (!items || !fields) return;
  fields->deleteAllItems();
  const long index = items->itemData(items->selection());
  if (index < 0 || index >= static_cast<long>(comparison.items().size())) return;
  for (const CKdFieldDifference& d : comparison.items()[index].fields)
    fields->insertItem({utf8Text(d.field), utf8Text(d.source), utf8Text(d.current)});
}

void initMappingDlg(cuWin::HWND dlg, const CKdDatasetComparison& comparison,
                    const CKdMergePlan& plan, const CKdProject& current) {
  invalidateCatalogueIndexes();
  VxListView2* items = VXDialog::listView(dlg, idcMapItems);
  VxComboBox* actions = VXDialog::comboBox(dlg, idcMapAction);
  VxComboBox* targets = VXDialog::comboBox(dlg, idcMapTarget);
  if (!items || !actions || !targets) return;
  setColumns(*items, {kKind, kName, kState, kAction, kTarget});
  const std::vector<CKdComparisonItem>& all = comparison.items();
  for (int i = 0; i < static_cast<int>(all.size()); ++i)
    if (all[i].sourceIndex >= 0) items->insertItem(mappingRow(all[i], plan, current), i);
  actions->resetContent();
  targets->resetContent();
}

void selectMappingItem(cuWin::HWND dlg, const CKdDatasetComparison& comparison,
                       const CKdMergePlan& plan, const CKdProject& current) {
  invalidateCatalogueIndexes();
  VxListView2* items = VXDialog::listView(dlg, idcMapItems);
  VxComboBox* actions = VXDialog::comboBox(dlg, idcMapAction);
  VxComboBox* targets = VXDialog::comboBox(dlg, idcMapTarget);
  if (!items || !actions || !targets) return;
  actions->resetContent();
  targets->resetContent();
  const long index = items->itemData(items->selection());
  if (index < 0 || index >= static_cast<long>(comparison.items().size())) return;
  const CKdComparisonItem& item = comparison.items()[index];
  const CKdMergePlan::Entry* entry = plan.find(item.kind, item.sourceIndex);
  const auto chosen = entry ? entry->act : CKdMergePlan::actionSkip;
  const int anyTarget = comparison.currentCount(item.kind) > 0 ? 0 : -1;
  for (int a = CKdMergePlan::actionCreate; a <= CKdMergePlan::actionSkip; ++a) {
    const auto act = static_cast<CKdMergePlan::action>(a);
    // Map is offered whenever there is anything to map to.
    const int target = act == CKdMergePlan::actionMap ? anyTarget : -1;
    if (!CKdMergePlan::fits(comparison, item.kind, item.sourceIndex, act, target)) continue;
    const int row = actions->addString(CKdMergePlan::actionTitle(act), a);
    if (act == chosen) actions->setCurSel(row);
  }
  targets->addString(L"", -1);
  const KindAdapter& kind = kindAdapter(item.kind);
  for (int j = 0; j < comparison.currentCount(item.kind); ++j)
    targets->addString(kind.displayName(current, j), j);
  targets->setCurSel(targets->findData(entry ? entry->targetIndex : item.currentIndex));
}

bool applyMappingChoice(cuWin::HWND dlg, const CKdDatasetComparison& comparison, CKdMergePlan& plan,
                        const CKdProject& current) {
  invalidateCatalogueIndexes();
  VxListView2* items = VXDialog::listView(dlg, idcMapItems);
  VxComboBox* actions = VXDialog::comboBox(dlg, idcMapAction);
  VxComboBox* targets = VXDialog::comboBox(dlg, idcMapTarget);
  if (!items || !actions || !targets) return false;
  const int row = items->selection();
  const long index = items->itemData(row);
  if (index < 0 || index >= static_cast<long>(comparison.items().size()) || actions->curSel() < 0)
    return false;
  const CKdComparisonItem& item = comparison.items()[index];
  const auto act = static_cast<CKdMergePlan::action>(selectedData(actions));
  const int target = static_cast<int>(selectedData(targets));
  if (!plan.setAction(comparison, item.kind, item.sourceIndex, act, target)) {
    msgBox(dlg, -1,
           lngDbText(18473,
                     L"#The chosen action does not fit the item: an item is mapped to an "
                     L"item of the current dataset, and only its partner is overwritten."),
           18474, L"#Merge Datasets", cuWin::MB_OK, cuWin::MB_ICONEXCLAMATION);
    return false;
  }
  items->setItem(row, mappingRow(item, plan, current));
  return true;
}

void initMergeReportDlg(cuWin::HWND dlg, const CKdMergeReport& report) {
  VxListView2* items = VXDialog::listView(dlg, idcReportItems);
  if (!items) return;
  setColumns(*items, {kKind, kAction, kName, kTarget});
  for (const CKdMergeReport::Line& line : report.lines())
    items->insertItem({datasetKindTitle(line.kind), CKdMergePlan::actionTitle(line.act), line.name,
                       line.targetName});
  VXDialog::setItemText(
      dlg, idcReportSummary,
      CWsz(cuSz::wformat(
          lngDbText(18472, L"#%d created, %d overwritten, %d mapped, %d skipped").wsz(),
          report.count(CKdMergePlan::actionCreate), report.count(CKdMergePlan::actionOverwrite),
          report.count(CKdMergePlan::actionMap), report.count(CKdMergePlan::actionSkip))));
}

}  // namespace VxKd

// The comparison, mapping and report dialogs, read back from the widget model as a front
// end would show them.

#include "vxkd/merge/merge_dlg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "planned_merge_fixture.h"
#include "vxkd/platform/dialog.h"

namespace {

using namespace VxKd;

class MergeDlgTest : public vxkd_test::PlannedMergeTest {
 protected:
  VxListView2& list(int id) { return dialog_.listView(id); }
  VxComboBox& combo(int id) { return dialog_.comboBox(id); }
  // The row of `list` whose second column is `name`.
  int rowNamed(VxListView2& list, const wchar_t* name) {
    for (int i = 0; i < list.itemCount(); ++i)
      if (list.itemText(i, 1) == name) return i;
    return -1;
  }
  std::vector<std::wstring> comboTexts(int id) {
    std::vector<std::wstring> texts;
    for (int i = 0; i < combo(id).count(); ++i) texts.push_back(combo(id).textAt(i).str());
    return texts;
  }

  VXDialog dialog_;
};

TEST_F(MergeDlgTest, ComparisonListsWhatIsNotEqualAndTheSelectedPairsFields) {
  initComparisonDlg(dialog_.handle(), comparison_);
  EXPECT_EQ(combo(idcCompareKind).count(), kindCount + 1);
  EXPECT_EQ(combo(idcCompareKind).windowText(), CWsz(L"All kinds"));
  EXPECT_EQ(combo(idcCompareState).windowText(), CWsz(L"All but equal"));
  VxListView2& items = list(idcCompareItems);
  ASSERT_EQ(items.itemCount(), 3);
  EXPECT_EQ(items.heading(3), CWsz(L"Fields"));
  const int height = rowNamed(items, L"Height");
  ASSERT_GE(height, 0);
  EXPECT_EQ(items.itemText(height, 0), CWsz(L"Property definitions"));
  EXPECT_EQ(items.itemText(height, 2), CWsz(L"Different"));
  EXPECT_EQ(items.itemText(height, 3), CWsz(L"decimals"));
  EXPECT_EQ(dialog_.label(idcCompareSummary),
            CWsz(L"51 equal, 1 different, 1 only in source, 1 only in current"));

  items.setSelection(height);
  selectComparisonItem(dialog_.handle(), comparison_);
  VxListView2& fields = list(idcCompareFields);
  ASSERT_EQ(fields.itemCount(), 1);
  EXPECT_EQ(fields.itemText(0, 0), CWsz(L"decimals"));
  EXPECT_EQ(fields.itemText(0, 1), CWsz(L"0"));
  EXPECT_EQ(fields.itemText(0, 2), CWsz(L"2"));
}

TEST_F(MergeDlgTest, FiltersKeepTheSelectionWhileItIsListed) {
  initComparisonDlg(dialog_.handle(), comparison_);
  VxListView2& items = list(idcCompareItems);
  items.setSelection(rowNamed(items, L"Height"));
  combo(idcCompareKind).setCurSel(combo(idcCompareKind).findData(kindPropertyDefs));
  combo(idcCompareState).setCurSel(combo(idcCompareState).findData(CKdComparisonItem::equal));
  filterComparisonDlg(dialog_.handle(), comparison_);
  EXPECT_EQ(items.itemCount(), 4) << "Width, Diameter, Flow, Material";
  EXPECT_EQ(items.selection(), -1) << "Height is not equal";
  EXPECT_EQ(list(idcCompareFields).itemCount(), 0);

  combo(idcCompareState).setCurSel(combo(idcCompareState).findData(CKdComparisonItem::different));
  items.setSelection(-1);
  filterComparisonDlg(dialog_.handle(), comparison_);
  ASSERT_EQ(items.itemCount(), 1);
  items.setSelection(0);
  combo(idcCompareKind).setCurSel(0);
  filterComparisonDlg(dialog_.handle(), comparison_);
  EXPECT_EQ(items.itemText(items.selection(), 1), CWsz(L"Height"));
  EXPECT_EQ(list(idcCompareFields).itemCount(), 1);
}

TEST_F(MergeDlgTest, MappingOffersWhatAnItemAllowsAndPutsTheChoiceIntoThePlan) {
  initMappingDlg(dialog_.handle(), comparison_, plan_, current_);
  VxListView2& items = list(idcMapItems);
  EXPECT_EQ(items.itemCount(), static_cast<int>(comparison_.items().size()) - 1) << "not Noise";
  const int pressure = rowNamed(items, L"Pressure");
  ASSERT_GE(pressure, 0);
  EXPECT_EQ(items.itemText(pressure, 3), CWsz(L"Create"));
  EXPECT_EQ(items.itemText(pressure, 4), CWsz(L""));

  items.setSelection(pressure);
  selectMappingItem(dialog_.handle(), comparison_, plan_, current_);
  EXPECT_THAT(comboTexts(idcMapAction), ::testing::ElementsAre(L"Create", L"Map", L"Skip"));
  EXPECT_EQ(combo(idcMapAction).windowText(), CWsz(L"Create"));
  EXPECT_EQ(combo(idcMapTarget).count(), 7) << "none and the 6 definitions";

  // Map without a target does not fit.
  combo(idcMapAction).setCurSel(1);
  combo(idcMapTarget).setCurSel(0);
  EXPECT_FALSE(applyMappingChoice(dialog_.handle(), comparison_, plan_, current_));
  EXPECT_EQ(ui_.lastBox().caption, L"Merge Datasets");
  EXPECT_EQ(plan_.find(kindPropertyDefs, 5)->act, CKdMergePlan::actionCreate);

  combo(idcMapTarget).setCurSel(combo(idcMapTarget).findData(5));  // Noise
  ASSERT_TRUE(applyMappingChoice(dialog_.handle(), comparison_, plan_, current_));
  EXPECT_EQ(plan_.find(kindPropertyDefs, 5)->act, CKdMergePlan::actionMap);
  EXPECT_EQ(plan_.find(kindPropertyDefs, 5)->targetIndex, 5);
  EXPECT_EQ(items.itemText(pressure, 3), CWsz(L"Map"));
  EXPECT_EQ(items.itemText(pressure, 4), CWsz(L"Noise"));

  // A pair that differs may be overwritten; it cannot be created.
  items.setSelection(rowNamed(items, L"Height"));
  selectMappingItem(dialog_.handle(), comparison_, plan_, current_);
  EXPECT_THAT(comboTexts(idcMapAction), ::testing::ElementsAre(L"Overwrite", L"Map", L"Skip"));
  EXPECT_EQ(combo(idcMapAction).windowText(), CWsz(L"Skip"));
  EXPECT_EQ(combo(idcMapTarget).windowText(), CWsz(L"Height"));
}

TEST_F(MergeDlgTest, ReportListsEveryItemWithTheCounts) {
  CKdMergeReport report;
  CKdProject merged(current_);
  ASSERT_TRUE(applyMergePlan(nullptr, source_, merged, plan_, report));
  initMergeReportDlg(dialog_.handle(), report);
  VxListView2& items = list(idcReportItems);
  EXPECT_EQ(items.itemCount(), static_cast<int>(report.lines().size()));
  const int pressure = rowNamed(items, L"Create");
  ASSERT_GE(pressure, 0);
  EXPECT_EQ(items.itemText(pressure, 2), CWsz(L"Pressure"));
  EXPECT_EQ(dialog_.label(idcReportSummary),
            CWsz(L"1 created, 0 overwritten, 51 mapped, 1 skipped"));
}

TEST_F(MergeDlgTest, AHandleOfNoDialogIsIgnored) {
  VXDialog* gone = new VXDialog;
  const cuWin::HWND handle = gone->handle();
  delete gone;
  initComparisonDlg(handle, comparison_);
  initMappingDlg(handle, comparison_, plan_, current_);
  EXPECT_FALSE(applyMappingChoice(handle, comparison_, plan_, current_));
  EXPECT_EQ(ui_.boxCount(), 0);
}

}  // namespace

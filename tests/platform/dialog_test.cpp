// The edit field, tree view, list view and labels of the in-memory widget model.

#include "vxkd/platform/dialog.h"

#include <gtest/gtest.h>

#include "vxkd/platform/ui_backend.h"

namespace {

TEST(Dialog, AnEditFieldKeepsItsTextWithinItsLimit) {
  VXDialog dialog;
  VxEdit& edit = dialog.edit(7);
  EXPECT_EQ(&dialog.edit(7), &edit) << "one field per id";
  edit.setText(L"Distribution board");
  edit.setLimit(12);
  EXPECT_EQ(edit.text(), CWsz(L"Distribution"));
  edit.setText(L"Verteilerkasten Nord");
  EXPECT_EQ(edit.text(), CWsz(L"Verteilerkas"));
  edit.setLimit(0);
  edit.setText(L"Verteilerkasten Nord");
  EXPECT_EQ(edit.text().length(), 20);
  dialog.setLabel(3, L"Name:");
  EXPECT_EQ(dialog.label(3), CWsz(L"Name:"));
  EXPECT_TRUE(dialog.label(4).isEmpty());
}

TEST(Dialog, ATreeKnowsParentsDepthsAndItsSelection) {
  VxTreeView tree;
  const int top = tree.insertItem(L"Root", -1);
  const int child = tree.insertItem(L"Ducts", 1, top);
  const int grandchild = tree.insertItem(L"Round", 3, child);
  const int second = tree.insertItem(L"Pipes", 2, top);
  EXPECT_EQ(tree.insertItem(L"Orphan", 9, 17), VxTreeView::kNone);
  EXPECT_EQ(tree.count(), 4);
  EXPECT_EQ(tree.parentOf(grandchild), child);
  EXPECT_EQ(tree.parentOf(top), VxTreeView::kNone);
  EXPECT_EQ(tree.depthOf(grandchild), 2);
  EXPECT_EQ(tree.depthOf(second), 1);
  EXPECT_EQ(tree.findData(3), grandchild);
  EXPECT_EQ(tree.findData(4), VxTreeView::kNone);
  EXPECT_EQ(tree.textAt(second), CWsz(L"Pipes"));
  EXPECT_EQ(tree.itemData(9), 0);
  EXPECT_EQ(tree.selection(), VxTreeView::kNone);
  EXPECT_TRUE(tree.select(child));
  EXPECT_FALSE(tree.select(4));
  EXPECT_EQ(tree.selection(), child);
  tree.deleteAllItems();
  EXPECT_EQ(tree.count(), 0);
  EXPECT_EQ(tree.selection(), VxTreeView::kNone);
}

// Off a terminal nobody can fill a dialog in.
TEST(Dialog, TheConsoleCancelsADialog) {
  VXDialog dialog;
  dialog.setTitle(L"New Block");
  CConsoleUiBackend console;
  EXPECT_EQ(console.runDialog(nullptr, dialog), cuWin::IDCANCEL);
}

// ---- list views and labels ----

TEST(VxListView2Test, RowsFitTheColumnsAndKeepTheirData) {
  VxListView2 list;
  list.setColumns({L"Name", L"State"});
  EXPECT_EQ(list.insertItem({L"Width"}, 7), 0);
  EXPECT_EQ(list.insertItem({L"Height", L"Different", L"dropped"}, 9), 1);
  EXPECT_EQ(list.itemText(0, 1), CWsz(L"")) << "a missing text is empty";
  EXPECT_EQ(list.itemText(1, 1), CWsz(L"Different"));
  EXPECT_EQ(list.itemText(1, 2), CWsz(L"")) << "no third column";
  EXPECT_EQ(list.itemData(1), 9);
  EXPECT_EQ(list.itemData(2), VxListView2::kError);
  EXPECT_EQ(list.findData(9), 1);
  EXPECT_TRUE(list.setItem(0, {L"Breite", L"Equal"}));
  EXPECT_EQ(list.itemText(0, 0), CWsz(L"Breite"));
  EXPECT_EQ(list.itemData(0), 7) << "the data stays";
  EXPECT_FALSE(list.setItem(5, {L"x"}));
}

TEST(VxListView2Test, SelectionIsARowOrNoneAndGoesWithTheRows) {
  VxListView2 list;
  list.setColumns({L"Name"});
  list.insertItem({L"A"});
  EXPECT_EQ(list.selection(), -1);
  EXPECT_TRUE(list.setSelection(0));
  EXPECT_FALSE(list.setSelection(1));
  EXPECT_EQ(list.selection(), 0);
  list.setColumns({L"Other"});
  EXPECT_EQ(list.itemCount(), 0) << "new columns, no rows";
  EXPECT_EQ(list.selection(), -1);
}

TEST(VXDialogTest, ControlsAreReachedByHandleWhileTheDialogLives) {
  cuWin::HWND handle = nullptr;
  {
    VXDialog dialog;
    handle = dialog.handle();
    ASSERT_NE(VXDialog::listView(handle, 5), nullptr);
    EXPECT_EQ(VXDialog::listView(handle, 5), &dialog.listView(5));
    EXPECT_TRUE(VXDialog::setItemText(handle, 6, L"3 equal"));
    EXPECT_EQ(dialog.label(6), CWsz(L"3 equal"));
    EXPECT_EQ(dialog.label(7), CWsz(L""));
  }
  EXPECT_EQ(VXDialog::listView(handle, 5), nullptr);
  EXPECT_FALSE(VXDialog::setItemText(handle, 6, L"x"));
}

}  // namespace

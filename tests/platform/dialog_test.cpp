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

}  // namespace

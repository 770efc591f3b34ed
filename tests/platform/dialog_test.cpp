// The list view and the texts of the in-memory widget model.

#include "vxkd/platform/dialog.h"

#include <gtest/gtest.h>

namespace {

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
    EXPECT_EQ(dialog.itemText(6), CWsz(L"3 equal"));
    EXPECT_EQ(dialog.itemText(7), CWsz(L""));
  }
  EXPECT_EQ(VXDialog::listView(handle, 5), nullptr);
  EXPECT_FALSE(VXDialog::setItemText(handle, 6, L"x"));
}

}  // namespace

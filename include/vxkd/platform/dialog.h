#pragma once
// The in-memory widget model of the dialogs: a dialog holds its controls by id, a combo box
// holds entries with item data and a selection, an edit field a text, a tree view items
// under parents, a list view rows of texts under column headings, a static control its
// text. The logic fills and reads them through the dialog's handle; the user-interface
// backend shows a dialog (CUiBackend::runDialog), a front end renders them, tests read
// them back.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

class VXKD_API VxComboBox {
 public:
  static constexpr int kError = -1;  // CB_ERR

  struct Entry {
    CWsz text;
    long data = 0;
  };

  void resetContent();
  // Appends an entry; returns its index.
  int addString(const wchar_t* text, long data = 0);
  int count() const { return static_cast<int>(entries_.size()); }
  // The text and data of entry `index`; an empty text and kError for a bad index.
  CWsz textAt(int index) const;
  long itemData(int index) const;
  // Selects entry `index` (-1 clears the selection); false for a bad index.
  bool setCurSel(int index);
  // The selected index, or kError when nothing is selected.
  int curSel() const { return selection_; }
  // The text shown in the box: the selected entry's, or empty.
  CWsz windowText() const { return textAt(selection_); }
  // Index of the first entry whose data is `data`, or kError.
  int findData(long data) const;

 private:
  std::vector<Entry> entries_;
  int selection_ = kError;
};

// A one-line text field.
class VXKD_API VxEdit {
 public:
  const CWsz& text() const { return text_; }
  // Sets the text, cut to the limit when there is one.
  void setText(const wchar_t* text);
  // The most characters the field takes; 0: no limit.
  int limit() const { return limit_; }
  void setLimit(int characters);

 private:
  CWsz text_;
  int limit_ = 0;
};

// A tree of items, each with a text, item data and a parent (-1 for a top item), in the
// order they were inserted; at most one selected.
class VXKD_API VxTreeView {
 public:
  static constexpr int kNone = -1;

  void deleteAllItems();
  // Appends an item under `parent` (kNone: at the top); returns its index, or kNone for a
  // parent that is not an item.
  int insertItem(const wchar_t* text, long data, int parent = kNone);
  int count() const { return static_cast<int>(items_.size()); }
  // The text, data and parent of item `index`; empty, 0 and kNone for a bad index.
  CWsz textAt(int index) const;
  long itemData(int index) const;
  int parentOf(int index) const;
  // How many parents item `index` has above it; 0 for a top item.
  int depthOf(int index) const;
  // Selects item `index` (kNone clears); false for a bad index.
  bool select(int index);
  int selection() const { return selection_; }
  // Index of the first item whose data is `data`, or kNone.
  int findData(long data) const;

 private:
  struct Item {
    CWsz text;
    long data = 0;
    int parent = kNone;
  };
  std::vector<Item> items_;
  int selection_ = kNone;
};

// A table of rows under column headings, each row with item data; at most one selected.
class VXKD_API VxListView2 {
 public:
  static constexpr int kError = -1;

  struct Row {
    std::vector<CWsz> texts;  // one per column
    long data = 0;
  };

  // Replaces the columns by `headings` and removes every row.
  void setColumns(const std::vector<CWsz>& headings);
  int columnCount() const { return static_cast<int>(headings_.size()); }
  CWsz heading(int column) const;
  // Removes every row; the selection goes with them.
  void deleteAllItems();
  // Appends a row (texts beyond the columns are dropped, missing ones are empty); returns its
  // index.
  int insertItem(const std::vector<CWsz>& texts, long data = 0);
  // Replaces the texts of row `row`; false for a bad index.
  bool setItem(int row, const std::vector<CWsz>& texts);
  int itemCount() const { return static_cast<int>(rows_.size()); }
  // The text in `column` of `row`, its data; empty and kError for a bad index.
  CWsz itemText(int row, int column) const;
  long itemData(int row) const;
  // Index of the first row whose data is `data`, or kError.
  int findData(long data) const;
  // Selects `row` (-1 clears the selection); false for a bad index.
  bool setSelection(int row);
  int selection() const { return selection_; }

 private:
  std::vector<CWsz> headings_;
  std::vector<Row> rows_;
  int selection_ = kError;
};

class VXKD_API VXDialog {
 public:
  VXDialog();
  ~VXDialog();
  VXDialog(const VXDialog&) = delete;
  VXDialog& operator=(const VXDialog&) = delete;

  // The handle by which the logic reaches this dialog.
  cuWin::HWND handle() const;
  // The dialog behind `handle`, or null when the handle names no live dialog.
  static VXDialog* fromHandle(cuWin::HWND handle);

  // The caption.
  const CWsz& title() const { return title_; }
  void setTitle(const wchar_t* title) { title_.set(title); }
  // The static text with control id `id` (a label); empty until set.
  CWsz label(int id) const;
  void setLabel(int id, const wchar_t* text);

  // The combo box with control id `id`, created on first use.
  VxComboBox& comboBox(int id);
  // The combo box `id` of the dialog behind `handle`, or null.
  static VxComboBox* comboBox(cuWin::HWND handle, int id);
  // The edit field and the tree view with control id `id`, created on first use.
  VxEdit& edit(int id);
  VxTreeView& tree(int id);
  // The list view with control id `id`, created on first use; and the same by handle.
  VxListView2& listView(int id);
  static VxListView2* listView(cuWin::HWND handle, int id);
  // Sets the label `id` of the dialog behind `handle`; false when the handle names no live
  // dialog.
  static bool setItemText(cuWin::HWND handle, int id, const wchar_t* text);

 private:
  CWsz title_;
  std::map<int, CWsz> labels_;
  std::map<int, std::unique_ptr<VxComboBox>> combos_;
  std::map<int, std::unique_ptr<VxEdit>> edits_;
  std::map<int, std::unique_ptr<VxTreeView>> trees_;
  std::map<int, std::unique_ptr<VxListView2>> lists_;
};

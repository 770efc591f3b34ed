#pragma once
// The in-memory widget model of the dialogs: a dialog holds its controls by id, a combo box
// holds entries with item data and a selection. The logic fills and reads them through
// the dialog's handle; a front end renders them, tests read them back.

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

  // The combo box with control id `id`, created on first use.
  VxComboBox& comboBox(int id);
  // The combo box `id` of the dialog behind `handle`, or null.
  static VxComboBox* comboBox(cuWin::HWND handle, int id);

 private:
  std::map<int, std::unique_ptr<VxComboBox>> combos_;
};

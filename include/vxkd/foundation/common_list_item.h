#pragma once
// CKdCommonListItem and CKdCommonListItemArray: the rows that the list controls of the
// dialogs show, whatever kind of definition stands behind them. Each definition array
// offers asCommonListItems to turn itself into such rows.

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

// One row: an id that the caller maps back to its definition (a database id or a position,
// as the producing array documents), the text shown and a description.
class VXKD_API CKdCommonListItem {
 public:
  CKdCommonListItem() = default;
  CKdCommonListItem(long id, const wchar_t* text, const wchar_t* description = nullptr)
      : id_(static_cast<int32_t>(id)), text_(text), desc_(description) {}

  long id() const { return id_; }
  void setId(long id) { id_ = static_cast<int32_t>(id); }
  const CWsz& text() const { return text_; }
  void setText(const wchar_t* text) { text_.set(text); }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* description) { desc_.set(description); }
  // The text is the row's name for the array's look-ups.
  const CWsz& name() const { return text_; }

 private:
  int32_t id_ = 0;
  CWsz text_;
  CWsz desc_;
};

// An ordered list of rows.
class VXKD_API CKdCommonListItemArray : public CKdOwningArray<CKdCommonListItem> {
 public:
  using CKdOwningArray<CKdCommonListItem>::append;
  long idAt(int index) const override;
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // Appends a row made of the three values.
  bool append(long id, const wchar_t* text, const wchar_t* description = nullptr);
};

#include "vxkd/platform/dialog.h"

#include <set>

void VxComboBox::resetContent() {
  entries_.clear();
  selection_ = kError;
}

int VxComboBox::addString(const wchar_t* text, long data) {
  entries_.push_back({CWsz(text), data});
  return count() - 1;
}

CWsz VxComboBox::textAt(int index) const {
  return index >= 0 && index < count() ? entries_[index].text : CWsz();
}

long VxComboBox::itemData(int index) const {
  return index >= 0 && index < count() ? entries_[index].data : kError;
}

bool VxComboBox::setCurSel(int index) {
  if (index < -1 || index >= count()) return false;
  selection_ = index;
  return true;
}

int VxComboBox::findData(long data) const {
  for (int i = 0; i < count(); ++i)
    if (entries_[i].data == data) return i;
  return kError;
}

void VxEdit::setText(const wchar_t* text) {
  text_.set(text);
  if (limit_ > 0 && text_.length() > limit_) text_ = text_.left(limit_);
}

void VxEdit::setLimit(int characters) {
  limit_ = characters > 0 ? characters : 0;
  setText(CWsz(text_));
}

void VxTreeView::deleteAllItems() {
  items_.clear();
  selection_ = kNone;
}

int VxTreeView::insertItem(const wchar_t* text, long data, int parent) {
  if (parent != kNone && (parent < 0 || parent >= count())) return kNone;
  items_.push_back({CWsz(text), data, parent});
  return count() - 1;
}

CWsz VxTreeView::textAt(int index) const {
  return index >= 0 && index < count() ? items_[index].text : CWsz();
}

long VxTreeView::itemData(int index) const {
  return index >= 0 && index < count() ? items_[index].data : 0;
}

int VxTreeView::parentOf(int index) const {
  return index >= 0 && index < count() ? items_[index].parent : kNone;
}

int VxTreeView::depthOf(int index) const {
  int depth = 0;
  // A parent always comes before its child, so the walk ends.
  for (int parent = parentOf(index); parent != kNone; parent = parentOf(parent)) ++depth;
  return depth;
}

bool VxTreeView::select(int index) {
  if (index < kNone || index >= count()) return false;
  selection_ = index;
  return true;
}

int VxTreeView::findData(long data) const {
  for (int i = 0; i < count(); ++i)
    if (items_[i].data == data) return i;
  return kNone;
}

void VxListView2::setColumns(const std::vector<CWsz>& headings) {
  headings_ = headings;
  deleteAllItems();
}

CWsz VxListView2::heading(int column) const {
  return column >= 0 && column < columnCount() ? headings_[column] : CWsz();
}

void VxListView2::deleteAllItems() {
  rows_.clear();
  selection_ = kError;
}

int VxListView2::insertItem(const std::vector<CWsz>& texts, long data) {
  rows_.push_back({{}, data});
  setItem(itemCount() - 1, texts);
  return itemCount() - 1;
}

bool VxListView2::setItem(int row, const std::vector<CWsz>& texts) {
  if (row < 0 || row >= itemCount()) return false;
  std::vector<CWsz>& cells = rows_[row].texts;
  cells.assign(headings_.size(), CWsz());
  for (size_t i = 0; i < cells.size() && i < texts.size(); ++i) cells[i] = texts[i];
  return true;
}

CWsz VxListView2::itemText(int row, int column) const {
  if (row < 0 || row >= itemCount() || column < 0 || column >= columnCount()) return {};
  return rows_[row].texts[column];
}

long VxListView2::itemData(int row) const {
  return row >= 0 && row < itemCount() ? rows_[row].data : kError;
}

int VxListView2::findData(long data) const {
  for (int i = 0; i < itemCount(); ++i)
    if (rows_[i].data == data) return i;
  return kError;
}

bool VxListView2::setSelection(int row) {
  if (row < -1 || row >= itemCount()) return false;
  selection_ = row;
  return true;
}

namespace {

// The live dialogs, so that a stale or foreign handle is refused rather than followed.
std::set<const VXDialog*>& liveDialogs() {
  static std::set<const VXDialog*> dialogs;
  return dialogs;
}

}  // namespace

VXDialog::VXDialog() { liveDialogs().insert(this); }

VXDialog::~VXDialog() { liveDialogs().erase(this); }

cuWin::HWND VXDialog::handle() const {
  return reinterpret_cast<cuWin::HWND>(const_cast<VXDialog*>(this));
}

VXDialog* VXDialog::fromHandle(cuWin::HWND handle) {
  auto* dialog = reinterpret_cast<VXDialog*>(handle);
  return liveDialogs().count(dialog) ? dialog : nullptr;
}

VxComboBox& VXDialog::comboBox(int id) {
  auto& slot = combos_[id];
  if (!slot) slot = std::make_unique<VxComboBox>();
  return *slot;
}

VxComboBox* VXDialog::comboBox(cuWin::HWND handle, int id) {
  VXDialog* dialog = fromHandle(handle);
  return dialog ? &dialog->comboBox(id) : nullptr;
}

CWsz VXDialog::label(int id) const {
  auto it = labels_.find(id);
  return it == labels_.end() ? CWsz() : it->second;
}

void VXDialog::setLabel(int id, const wchar_t* text) { labels_[id].set(text); }

VxEdit& VXDialog::edit(int id) {
  auto& slot = edits_[id];
  if (!slot) slot = std::make_unique<VxEdit>();
  return *slot;
}

VxTreeView& VXDialog::tree(int id) {
  auto& slot = trees_[id];
  if (!slot) slot = std::make_unique<VxTreeView>();
  return *slot;
}

VxListView2& VXDialog::listView(int id) {
  auto& slot = lists_[id];
  if (!slot) slot = std::make_unique<VxListView2>();
  return *slot;
}

VxListView2* VXDialog::listView(cuWin::HWND handle, int id) {
  VXDialog* dialog = fromHandle(handle);
  return dialog ? &dialog->listView(id) : nullptr;
}

bool VXDialog::setItemText(cuWin::HWND handle, int id, const wchar_t* text) {
  VXDialog* dialog = fromHandle(handle);
  if (!dialog) return false;
  dialog->setLabel(id, text);
  return true;
}

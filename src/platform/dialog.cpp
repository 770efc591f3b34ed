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

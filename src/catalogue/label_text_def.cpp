#include "vxkd/catalogue/label_text_def.h"

#include <cstdlib>
#include <utility>
#include <vector>

#include "vxkd/platform/host.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace {

// The tags a label block keeps for itself begin with this.
constexpr const wchar_t* kOwnTagPrefix = L"P_";
// The longest tag and name the in-use message shows.
constexpr int kMaxShown = 100;

// `text` with its first and second "%s" replaced by `first` and `second`. Replacing rather
// than printing keeps a translation with a stray "%" from doing harm.
CWsz fillIn(CWsz text, const CWsz& first, const CWsz& second) {
  int from = 0;
  for (const CWsz* value : {&first, &second}) {
    const int at = text.find(L"%s", from);
    if (at < 0) break;
    text.str().replace(at, 2, value->str());
    from = at + value->length();
  }
  return text;
}

}  // namespace

void CKdLabelTextDef::reset() {
  name_.empty();
  value_.empty();
  attrName_.empty();
}

const wchar_t* CKdLabelTextDefArray::nameAt(int index) const {
  const CKdLabelTextDef* def = objAt(index);
  return def ? def->name().wsz() : emptyWsz();
}

const wchar_t* CKdLabelTextDefArray::descriptionAt(int index) const {
  const CKdLabelTextDef* def = objAt(index);
  return def ? def->attrName().wsz() : emptyWsz();
}

int CKdLabelTextDefArray::findAttrName(const wchar_t* attr) const {
  for (int i = 0; i < length(); ++i)
    if (cuSz::equalNoCase(objAt(i)->attrName(), attr)) return i;
  return -1;
}

bool CKdLabelTextDefArray::isUsedAttrName(const wchar_t* name, const wchar_t* attr, bool showMsg,
                                          cuWin::HWND parent) const {
  for (int i = 0; i < length(); ++i) {
    const CKdLabelTextDef* def = objAt(i);
    if (!cuSz::equalNoCase(def->attrName(), attr)) continue;
    if (name && cuSz::equalNoCase(def->name(), name)) continue;
    if (showMsg) {
      CWsz text = fillIn(
          VxKd::lngDbText(3473, L"Attribute name \"%s\" is already used by property \"%s\"."),
          def->attrName().left(kMaxShown), def->name().left(kMaxShown));
      VxKd::msgBox(parent, 0, text);
    }
    return true;
  }
  return false;
}

bool CKdLabelTextDefArray::loadFromBlock() {
  if (length() > 0 || !VxKdInterface::get()) return false;
  std::vector<VxKdAttributeDef> defs;
  if (!VxKdInterface::readBlockAttributeDefs(labelBlockName, defs)) return false;
  for (const VxKdAttributeDef& def : defs) {
    if (cuSz::equalNoCase(def.tag.left(2), kOwnTagPrefix)) continue;
    const CKdLabelTextDef entry(def.prompt, L"", def.tag);
    append(&entry);
  }
  return true;
}

int CKdLabelTextDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto& x = *static_cast<const CKdLabelTextDef*>(a);
  const auto& y = *static_cast<const CKdLabelTextDef*>(b);
  switch (std::abs(sortId)) {
    case sortByName:
      return cuSz::compareNoCase(x.name(), y.name());
    case sortByValue:
      return cuSz::compareNoCase(x.value(), y.value());
    case sortByAttrName:
      return cuSz::compareNoCase(x.attrName(), y.attrName());
    default:
      return 0;
  }
}

#pragma once
// Label text definitions: which property a label in the host's drawing shows in which
// attribute of its label block, "VANTSYLABEL". The list is seeded from that block's
// attribute definitions and keeps one attribute from being given to two properties.

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

// One label text: the property's name, a value, and the attribute tag that shows it.
class VXKD_API CKdLabelTextDef {
 public:
  CKdLabelTextDef() = default;
  CKdLabelTextDef(const wchar_t* name, const wchar_t* value, const wchar_t* attrName)
      : name_(name), value_(value), attrName_(attrName) {}
  CKdLabelTextDef(const CKdLabelTextDef& other) = default;
  CKdLabelTextDef& operator=(const CKdLabelTextDef& other) = default;

  const CWsz& name() const { return name_; }
  void setName(const wchar_t* name) { name_.set(name); }
  const CWsz& value() const { return value_; }
  void setValue(const wchar_t* value) { value_.set(value); }
  const CWsz& attrName() const { return attrName_; }
  void setAttrName(const wchar_t* attrName) { attrName_.set(attrName); }
  // Empties all three.
  void reset();

 private:
  CWsz name_;
  CWsz value_;
  CWsz attrName_;
};

class VXKD_API CKdLabelTextDefArray : public CKdOwningArray<CKdLabelTextDef> {
 public:
  // Sort keys, negative for descending: name, value, attribute tag, each ignoring case.
  enum sortKey { sortByName = 1, sortByValue = 2, sortByAttrName = 3 };
  // The block of the host's drawing whose attributes a label fills.
  static constexpr const wchar_t* labelBlockName = L"VANTSYLABEL";

  using CKdOwningArray<CKdLabelTextDef>::append;

  // An entry's name is the property's name; its description the attribute tag.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // Position of the first entry whose attribute tag equals `attr` ignoring case; -1 if none.
  int findAttrName(const wchar_t* attr) const;
  // True when attribute `attr` (ignoring case) is given to a property other than `name`
  // (ignoring case; a null `name` counts every entry). With `showMsg`, a message box over
  // `parent` then names the tag and the property that has it.
  bool isUsedAttrName(const wchar_t* name, const wchar_t* attr, bool showMsg,
                      cuWin::HWND parent) const;
  // Seeds an empty list from the attribute definitions of the host's label block: one entry
  // per attribute, named after its prompt, with its tag and no value; tags beginning with
  // "P_" (any case) are the label's own and are left out. True, also when the drawing has no
  // such block. False, with nothing changed, when the list is not empty, no host is
  // registered or the host cannot read its drawing.
  bool loadFromBlock();

 protected:
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

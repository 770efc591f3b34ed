#include "vxkd/properties/property_def.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <string>
#include <utility>

#include "foundation/record_key.h"
#include "vxkd/foundation/common_list_item.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/std_property.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace {

// The record of a definition and its fields.
constexpr const char* kRecordCode = "RD";
enum recordField : short {
  fieldName = 1501,         // wide, only when not empty
  fieldDescription = 1502,  // wide, only when not empty
  fieldValueType = 1002,    // byte
  fieldDecimals = 1001,     // byte
  fieldUnit = 1101,         // short
};

}  // namespace

// ---- CKdPropertyDef ----

CKdPropertyDef::CKdPropertyDef(long id, const wchar_t* name, const wchar_t* description,
                               CKdPropertyValue::valueTypeId valueType, CKdUnit unit,
                               int decimals) {
  init(id, name, description, valueType, unit, decimals);
}

void CKdPropertyDef::init(long id, const wchar_t* name, const wchar_t* description,
                          CKdPropertyValue::valueTypeId valueType, CKdUnit unit, int decimals) {
  setDbId(id);
  unit_ = unit;
  valueType_ = valueType;
  setDecimals(decimals);
  setName(name);
  setDesc(description);
}

void CKdPropertyDef::setName(const wchar_t* name) {
  name_ = CWsz(cuSz::scalarValuesOf(name ? name : L""));
}

void CKdPropertyDef::setDesc(const wchar_t* description) {
  desc_ = CWsz(cuSz::scalarValuesOf(description ? description : L""));
}

void CKdPropertyDef::setDecimals(int decimals) {
  decimals_ = static_cast<uint8_t>(std::clamp(decimals, 0, CKdPropertyValue::maxDecimals));
}

void CKdPropertyDef::reset() {
  init(0, nullptr, nullptr, CKdPropertyValue::typeNone, {}, 0);
  origin_.reset();
}

void CKdPropertyDef::getSampleText(CWsz& text) const {
  text = CKdPropertyValue::sampleText(valueType(), decimals_);
}

bool CKdPropertyDef::readFrom(CQbase& db) {
  reset();
  long id = 0;
  bool idRead = VxKd::readObjId(db, id) && id > 0;
  if (idRead) setDbId(id);
  origin_.readFrom(db, idRead, id_);
  db.getWsz(fieldName, name_);
  db.getWsz(fieldDescription, desc_);
  db.getByte(fieldValueType, valueType_);
  uint8_t decimals = 0;
  if (db.getByte(fieldDecimals, decimals)) setDecimals(decimals);
  short unit = 0;
  if (db.getShort(fieldUnit, unit)) unit_.setUnitId(static_cast<CKdUnit::unitId>(unit));
  return idRead;
}

std::string CKdPropertyDef::recordKey() const { return VxKd::buildDbId(id_); }

CKdRecordOrigin::obstacle CKdPropertyDef::writeObstacle() const {
  return origin_.obstacleTo(id_, 1, CKdPropertyDefArray::kMaxId, recordKey());
}

bool CKdPropertyDef::saveTo(CQbase& db) const {
  const std::string key = recordKey();
  if (!origin_.mayWrite(db, kRecordCode, id_, 1, CKdPropertyDefArray::kMaxId, key)) return false;
  if (!db.createRec(kRecordCode, key.c_str())) return false;
  bool ok = true;
  if (!name_.isEmpty()) ok = db.setWsz(fieldName, name_) && ok;
  if (!desc_.isEmpty()) ok = db.setWsz(fieldDescription, desc_) && ok;
  ok = db.setByte(fieldValueType, valueType_) && ok;
  ok = db.setByte(fieldDecimals, decimals_) && ok;
  ok = db.setShort(fieldUnit, unit_.id()) && ok;
  if (!db.saveRec()) return false;
  origin_.retire(db, kRecordCode, id_, key);
  return ok;
}

bool CKdPropertyDef::deleteFrom(CQbase& db) const {
  return origin_.deleteFrom(db, kRecordCode, id_, recordKey());
}

// ---- CKdPropertyDefArray ----

long CKdPropertyDefArray::idAt(int index) const {
  const CKdPropertyDef* def = objAt(index);
  return def ? def->dbId() : 0;
}

const wchar_t* CKdPropertyDefArray::nameAt(int index) const {
  const CKdPropertyDef* def = objAt(index);
  return def ? def->name().wsz() : emptyWsz();
}

const wchar_t* CKdPropertyDefArray::descriptionAt(int index) const {
  const CKdPropertyDef* def = objAt(index);
  return def ? def->desc().wsz() : emptyWsz();
}

int CKdPropertyDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto* x = static_cast<const CKdPropertyDef*>(a);
  const auto* y = static_cast<const CKdPropertyDef*>(b);
  switch (std::abs(sortId)) {
    case sortByName:
      return cuSz::compareNoCase(x->name(), y->name());
    case sortByDescription:
      return cuSz::compareNoCase(x->desc(), y->desc());
    case sortByUnit:
      return x->unit().id() - y->unit().id();
    case sortByValueType:
      return x->valueType() - y->valueType();
    default:
      return 0;
  }
}

bool CKdPropertyDefArray::add(const wchar_t* name, const wchar_t* description,
                              CKdPropertyValue::valueTypeId valueType, CKdUnit unit, int decimals) {
  // Names are unique ignoring case: a second "Width" could never be told from the first.
  if (name && *name && findName(name)) return false;
  long id = VxKd::getSpecialPropertyDbId(name);
  if (id == 0) id = nextId(1, kMaxId);
  // Without a free id the definition could never be stored: its key would not read back.
  if (id == 0) return false;
  CKdPropertyDef def(id, name, description, valueType, unit, decimals);
  return append(&def);
}

bool CKdPropertyDefArray::addStdProperty(const wchar_t* name) {
  long id = VxKd::getSpecialPropertyDbId(name);
  if (id == 0) return false;
  CKdPropertyDef def(id, name, VxKd::getSpecialPropertyDescription(name),
                     VxKd::getSpecialPropertyValueType(name), VxKd::getSpecialPropertyUnit(name),
                     VxKd::getSpecialPropertyDecimals(name));
  return append(&def);
}

bool CKdPropertyDefArray::filter(const wchar_t* text, CKdPropertyDefArray& out) const {
  if (!text || !*text) {
    out.copyFrom(*this);
    return false;
  }
  std::vector<std::wstring_view> words;
  std::wstring_view rest(text);
  while (!rest.empty()) {
    size_t blank = rest.find(L' ');
    std::wstring_view word = rest.substr(0, blank);
    if (!word.empty()) words.push_back(word);
    rest = blank == std::wstring_view::npos ? std::wstring_view() : rest.substr(blank + 1);
  }
  out.reset();
  out.setSortId(sortId());
  for (int i = 0; i < length(); ++i) {
    const CKdPropertyDef* def = objAt(i);
    bool all = true;
    for (std::wstring_view word : words) {
      if (cuSz::findNoCase(def->name().str(), word) < 0 &&
          cuSz::findNoCase(def->desc().str(), word) < 0) {
        all = false;
        break;
      }
    }
    if (all) out.append(def);
  }
  return true;
}

void CKdPropertyDefArray::writeFormat(CWsz& out) const {
  out.empty();
  for (int i = 0; i < length(); ++i) {
    const CKdPropertyDef* def = objAt(i);
    if (def->name().isEmpty())
      out.cat(def->desc());
    else
      out.cat(L"{").cat(def->name()).cat(L"}");
  }
}

void CKdPropertyDefArray::readFormat(const wchar_t* text, const CKdPropertyDefArray& all) {
  reset();
  std::wstring_view s(text ? text : L"");
  while (!s.empty()) {
    size_t open = s.find(L'{');
    if (open == std::wstring_view::npos) {
      CKdPropertyDef literal(0, nullptr, std::wstring(s).c_str(), CKdPropertyValue::typeNone, {},
                             0);
      append(&literal);
      return;
    }
    if (open > 0) {
      CKdPropertyDef literal(0, nullptr, std::wstring(s.substr(0, open)).c_str(),
                             CKdPropertyValue::typeNone, {}, 0);
      append(&literal);
      s.remove_prefix(open);
      continue;
    }
    size_t close = s.find(L'}');
    if (close == std::wstring_view::npos) return;  // an unterminated "{" ends the format
    std::wstring token(s.substr(1, close - 1));
    if (!addStdProperty(token.c_str())) {
      const CKdPropertyDef* def = all.findName(token.c_str());
      if (def) append(def);
    }
    s.remove_prefix(close + 1);
  }
}

void CKdPropertyDefArray::asCommonListItems(CKdCommonListItemArray& out) const {
  out.reset();
  for (int i = 0; i < length(); ++i) {
    const CKdPropertyDef* def = objAt(i);
    out.append(def->dbId(), def->name(), def->desc());
  }
}

bool CKdPropertyDefArray::readFrom(CQbase& db) {
  reset();
  CKdPropertyDef def;
  for (bool more = db.fetchFirstMember(kRecordCode); more; more = db.fetchNextMember()) {
    def.readFrom(db);  // a bad key leaves id 0: the definition is kept all the same
    append(&def);
  }
  return true;
}

bool CKdPropertyDefArray::saveTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db) && ok;
  return ok;
}

bool CKdPropertyDefArray::validateName(cuWin::HWND hwnd, const CKdPropertyDefArray& all,
                                       const wchar_t* name, const CKdPropertyDef* edited) {
  if (!name || !*name) return false;
  constexpr long kTitleId = 11150;
  constexpr const wchar_t* kTitle = L"#Invalid Property Name";
  auto refuse = [&](const CWsz& text) {
    VxKd::msgBox(hwnd, 0, text, kTitleId, kTitle, cuWin::MB_OK, cuWin::MB_ICONSTOP);
    return false;
  };

  // Renaming compares exactly first, so that a change of case alone still meets the
  // case-insensitive look-up, which finds the edited definition itself.
  bool changed = !edited || std::wcscmp(name, edited->name()) != 0;
  if (changed && all.findName(name))
    return refuse(VxKd::lngDbText(11152, L"#Property name must be unique"));

  // "*" keeps user names apart from the special property names; "{" and "}" delimit the
  // names in format strings, which could not name a definition holding them.
  constexpr const wchar_t* kReserved = L"*;:,|&=<>{}";
  if (std::wcspbrk(name, kReserved)) {
    CWsz text =
        VxKd::lngDbText(11154, L"#Property name cannot contain any of the following characters:");
    text.cat(L"\r");
    for (const wchar_t* c = kReserved; *c; ++c) text.cat(*c).cat(L' ');
    return refuse(text);
  }

  // Control characters, and codes that are no characters (surrogates, beyond U+10FFFF),
  // which the dataset could not store as they stand.
  for (const wchar_t* c = name; *c; ++c) {
    auto code = static_cast<uint32_t>(*c);
    if (code < 32 || !cuSz::isScalarValue(code))
      return refuse(VxKd::lngDbText(11156, L"#Property name contains illegal special character"));
  }
  return true;
}

bool CKdPropertyDefArray::deleteUnused(cuWin::HWND hwnd, const CInt32Array& selectedIndexes,
                                       const std::vector<const iKdPropertyDefUser*>& users) {
  // One entry per kind, in the order the message lists them.
  struct KindText {
    long textId;
    const wchar_t* text;
  };
  static constexpr KindText kKinds[] = {
      {11120, L"#Product definitions"}, {11122, L"#Part ID formats"},
      {11124, L"#Layer definitions"},   {11126, L"#Text formats"},
      {11128, L"#Report definitions"},
  };
  bool kindUses[std::size(kKinds)] = {};
  bool anyKept = false;

  std::vector<bool> selected(length(), false);
  for (int32_t index : selectedIndexes)
    if (index >= 0 && index < length()) selected[index] = true;

  CInt32Array unused;
  for (int i = 0; i < length(); ++i) {
    if (!selected[i]) continue;
    long id = idAt(i);
    bool used = false;
    for (const iKdPropertyDefUser* user : users) {
      if (!user || !user->usesPropertyDef(id)) continue;
      used = true;
      size_t kind = user->propertyDefUsageKind();
      if (kind < std::size(kKinds)) kindUses[kind] = true;
    }
    if (used)
      anyKept = true;
    else
      unused.append(i);
  }
  deleteAt(unused);

  if (anyKept) {
    CWsz text = VxKd::lngDbText(11140,
                                L"#Some of the selected property definitions could not be "
                                L"deleted. They are used in following items:");
    for (size_t k = 0; k < std::size(kKinds); ++k)
      if (kindUses[k]) text.cat(L"\r\n").cat(VxKd::lngDbText(kKinds[k].textId, kKinds[k].text));
    VxKd::msgBox(hwnd, 0, text, 11142, L"#Cannot Delete", cuWin::MB_OK, cuWin::MB_ICONEXCLAMATION);
  }
  return !anyKept;
}

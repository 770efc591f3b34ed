#include "vxkd/catalogue/part_id_format.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace {

constexpr const char* kRecord = "PI";
constexpr short kFieldGuid = 1503;  // narrow, always written
constexpr short kFieldDescription = 1502;
constexpr short kFieldFormat = 1505;

}  // namespace

// ---- CKdPartIdFormat ----

void CKdPartIdFormat::reset() { *this = CKdPartIdFormat(); }

char* CKdPartIdFormat::buildDbId(char* buf) const {
  return cuSz::copyTo(buf, kDbIdSize, VxKd::buildDbId(dbId_));
}

bool CKdPartIdFormat::readFrom(CQbase& db) {
  reset();
  long id = 0;
  if (!VxKd::readObjId(db, id) || id < 1) return false;
  setDbId(id);
  CChBuffer text;
  if (db.getSz(kFieldGuid, text) && !text.isEmpty()) guid_.fromSz(text);
  db.getWsz(kFieldDescription, desc_);
  db.getWsz(kFieldFormat, format_);
  return true;
}

bool CKdPartIdFormat::saveTo(CQbase& db) const {
  if (!db.createRec(kRecord, VxKd::buildDbId(dbId_).c_str())) return false;
  char guid[CKdGuid::textBufferSize];
  bool ok = db.setSz(kFieldGuid, guid_.toSz(guid, sizeof guid));
  if (!desc_.isEmpty()) ok = db.setWsz(kFieldDescription, desc_) && ok;
  if (!format_.isEmpty()) ok = db.setWsz(kFieldFormat, format_) && ok;
  return db.saveRec() && ok;
}

bool CKdPartIdFormat::deleteFrom(CQbase& db) const {
  return db.deleteRec(kRecord, VxKd::buildDbId(dbId_).c_str());
}

// ---- CKdPartIdFormatArray ----

long CKdPartIdFormatArray::idAt(int index) const {
  const CKdPartIdFormat* format = objAt(index);
  return format ? format->dbId() : 0;
}

const wchar_t* CKdPartIdFormatArray::nameAt(int index) const {
  const CKdPartIdFormat* format = objAt(index);
  return format ? format->desc().wsz() : emptyWsz();
}

bool CKdPartIdFormatArray::readFrom(CQbase& db) {
  reset();
  for (bool more = db.fetchFirstMember(kRecord); more; more = db.fetchNextMember()) {
    CKdPartIdFormat format;
    if (format.readFrom(db)) append(&format);
  }
  return true;
}

bool CKdPartIdFormatArray::saveTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db) && ok;
  return ok;
}

void CKdPartIdFormatArray::asCommonListItems(CKdCommonListItemArray& out) const {
  out.reset();
  out.append(manualValueId, VxKd::lngDbText(11920, L"#Manual value"));
  for (int i = 0; i < length(); ++i) out.append(i, objAt(i)->desc());
}

bool CKdPartIdFormatArray::deleteUnused(cuWin::HWND hwnd, const CInt32Array& indexes,
                                        const std::vector<const CKdProductDefArray*>& products) {
  CWszArray users;  // the products that keep a selected format, each named once
  CInt32Array unused;
  bool anyKept = false;
  for (int32_t index : indexes) {
    const CKdPartIdFormat* format = objAt(index);
    if (!format || unused.contains(index)) continue;
    bool used = false;
    for (const CKdProductDefArray* array : products) {
      for (int p = 0; array && p < array->length(); ++p) {
        const CKdProductDef* product = array->objAt(p);
        if (product->partIdFmtId() != format->dbId()) continue;
        used = true;
        if (!std::count(users.begin(), users.end(), product->desc())) users.append(product->desc());
      }
    }
    if (used)
      anyKept = true;
    else
      unused.append(index);
  }
  if (anyKept)
    VxKd::msgBox(hwnd, 3484,
                 L"#Some of the selected part ID formats could not be deleted. They are used in "
                 L"following product definitions:",
                 3560, L"#Cannot Delete", users);
  deleteAt(unused);
  return !anyKept;
}

int CKdPartIdFormatArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto& x = *static_cast<const CKdPartIdFormat*>(a);
  const auto& y = *static_cast<const CKdPartIdFormat*>(b);
  switch (std::abs(sortId)) {
    case sortByDescription:
      return cuSz::compareNoCase(x.desc(), y.desc());
    case sortByFormat:
      return cuSz::compareNoCase(x.format(), y.format());
    default:
      return 0;
  }
}

// ---- CKdPartIdFormatPropertyDefUser ----

bool CKdPartIdFormatPropertyDefUser::usesPropertyDef(long id) const {
  // The names resolve as they do when a part ID is built: special names first.
  for (int i = 0; i < formats_.length(); ++i) {
    CKdPropertyDefArray entries;
    entries.readFormat(formats_.objAt(i)->format(), defs_);
    for (int e = 0; e < entries.length(); ++e)
      if (!entries.objAt(e)->name().isEmpty() && entries.idAt(e) == id) return true;
  }
  return false;
}

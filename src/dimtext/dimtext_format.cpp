#include "vxkd/dimtext/dimtext_format.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace {

// The record of a format and its fields.
constexpr const char* kRecordCode = "RT";
enum recordField : short {
  fieldDescription = 1502,     // wide
  fieldFormat = 1505,          // wide
  fieldStyleName = 1508,       // wide
  fieldTextHeight = 1302,      // float
  fieldTextColor = 1107,       // short
  fieldRefItemSize = 1305,     // float
  fieldFixedBorderDim = 1304,  // float
  fieldAlignment = 1104,       // short
  fieldBorderType = 1105,      // short
  fieldReflineType = 1106,     // short
};

// A language text: its id and the default wording.
struct Text {
  long id;
  const wchar_t* text;
};

// The option names, indexed by value.
constexpr Text kReflineNames[] = {
    {3586, L"#None"},  {3587, L"#Line only"},     {3588, L"#Line and target line"},
    {3589, L"#Arrow"}, {3590, L"#Filled circle"},
};
constexpr Text kAlignmentNames[] = {{3701, L"#Left"}, {3702, L"#Center"}, {3703, L"#Right"}};
constexpr Text kBorderNames[] = {
    {3591, L"#None"},
    {3592, L"#First row underlined"},
    {3593, L"#All rows underlined"},
    {3594, L"#Rectangle"},
    {3595, L"#Diamond"},
    {3596, L"#Circle"},
    {3597, L"#Split circle"},
    {3598, L"#Break line"},
    {3599, L"#Hexagon"},
};

template <size_t N>
CWsz nameOf(const Text (&names)[N], short value) {
  if (value < 0 || static_cast<size_t>(value) >= N) return CWsz();
  return VxKd::lngDbText(names[value].id, names[value].text);
}

// The headings of the kinds of format user, in the order of iKdDimtextFormatUser::usageKind.
constexpr Text kUserKinds[] = {{3559, L"#Product definitions"}};

}  // namespace

// ---- CKdDimtextOptions ----

CWsz CKdDimtextOptions::getReflineTypeName(short type) { return nameOf(kReflineNames, type); }

CWsz CKdDimtextOptions::getAlignmentFlagName(short flags) { return nameOf(kAlignmentNames, flags); }

CWsz CKdDimtextOptions::getBorderTypeName(short type) { return nameOf(kBorderNames, type); }

bool CKdDimtextOptions::readFrom(CQbase& db) {
  db.getShort(fieldAlignment, alignmentFlags_);
  db.getShort(fieldBorderType, borderType_);
  db.getShort(fieldReflineType, reflineType_);
  return true;
}

bool CKdDimtextOptions::saveTo(CQbase& db) const {
  db.setShort(fieldAlignment, alignmentFlags_);
  db.setShort(fieldBorderType, borderType_);
  db.setShort(fieldReflineType, reflineType_);
  return true;
}

// ---- CKdDimtextFormat ----

bool CKdDimtextFormat::isFixedSize() const {
  // Compared in single precision, as stored: 0.1f read as a double lies above 0.1.
  return fixedBorderDim_ > 0.1f;
}

bool CKdDimtextFormat::refObjectRequired() const {
  const std::wstring& s = fmt_.str();
  for (size_t i = 0; i + 2 < s.size(); ++i) {
    if (s[i] != L'{') continue;
    if (s[i + 1] != L'*') return true;
    if (cuSz::foldCase(s[i + 2]) == cuSz::foldCase(L'P')) return true;
  }
  return false;
}

bool CKdDimtextFormat::usesPropertyDef(long id, const CKdPropertyDefArray& defs) const {
  // The names resolve as they do when the text is built: special names first.
  CKdPropertyDefArray entries;
  entries.readFormat(fmt_, defs);
  for (int i = 0; i < entries.length(); ++i)
    if (!entries.objAt(i)->name().isEmpty() && entries.idAt(i) == id) return true;
  return false;
}

char* CKdDimtextFormat::buildDbId(char* buf) const {
  return cuSz::copyTo(buf, kDbIdSize, recordKey());
}

std::string CKdDimtextFormat::recordKey() const { return VxKd::buildDbId(id_); }

CKdRecordOrigin::obstacle CKdDimtextFormat::writeObstacle() const {
  return origin_.obstacleTo(id_, 0, VxKd::kMaxDbId, recordKey());
}

bool CKdDimtextFormat::readFrom(CQbase& db) {
  long id = 0;
  bool idRead = VxKd::readObjId(db, id) && id >= 0;
  if (idRead) setId(id);
  origin_.readFrom(db, idRead, id_);
  if (!idRead) return false;
  db.getWsz(fieldFormat, fmt_);
  db.getWsz(fieldDescription, desc_);
  db.getWsz(fieldStyleName, styleName_);
  db.getFloat(fieldTextHeight, textHeight_);
  db.getShort(fieldTextColor, textColor_);
  db.getFloat(fieldRefItemSize, refItemSize_);
  db.getFloat(fieldFixedBorderDim, fixedBorderDim_);
  options_.readFrom(db);
  return true;
}

bool CKdDimtextFormat::saveTo(CQbase& db) const {
  const std::string key = recordKey();
  if (!origin_.mayWrite(db, kRecordCode, id_, 0, VxKd::kMaxDbId, key) ||
      !db.createRec(kRecordCode, key.c_str()))
    return false;
  bool ok = db.setWsz(fieldDescription, desc_);
  ok = db.setWsz(fieldFormat, fmt_) && ok;
  ok = db.setWsz(fieldStyleName, styleName_) && ok;
  ok = db.setFloat(fieldTextHeight, textHeight_) && ok;
  ok = db.setShort(fieldTextColor, textColor_) && ok;
  ok = db.setFloat(fieldRefItemSize, refItemSize_) && ok;
  ok = db.setFloat(fieldFixedBorderDim, fixedBorderDim_) && ok;
  ok = options_.saveTo(db) && ok;
  if (!db.saveRec()) return false;
  origin_.retire(db, kRecordCode, id_, key);
  return ok;
}

bool CKdDimtextFormat::deleteFrom(CQbase& db) const {
  return origin_.deleteFrom(db, kRecordCode, id_, recordKey());
}

// ---- CKdDimtextFormatArray ----

long CKdDimtextFormatArray::idAt(int index) const {
  const CKdDimtextFormat* format = objAt(index);
  return format ? format->id() : 0;
}

const wchar_t* CKdDimtextFormatArray::nameAt(int index) const { return descriptionAt(index); }

const wchar_t* CKdDimtextFormatArray::descriptionAt(int index) const {
  const CKdDimtextFormat* format = objAt(index);
  return format ? format->desc().wsz() : emptyWsz();
}

CKdDimtextFormat* CKdDimtextFormatArray::findFmt(const wchar_t* desc, int* index) const {
  int found = indexOfName(desc);
  if (index) *index = found;
  return objAt(found);
}

int CKdDimtextFormatArray::compareHeight(const CKdDimtextFormat& a, const CKdDimtextFormat& b) {
  return a.textHeight() > b.textHeight() ? 1 : 0;
}

int CKdDimtextFormatArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto& x = *static_cast<const CKdDimtextFormat*>(a);
  const auto& y = *static_cast<const CKdDimtextFormat*>(b);
  switch (std::abs(sortId)) {
    case sortByDescription:
      return cuSz::compareNoCase(x.desc(), y.desc());
    case sortByStyle:
      return cuSz::compareNoCase(x.styleName(), y.styleName());
    case sortByHeight:
      // The key alone would answer 0 for a lower height, which the binary insertion of
      // longer lists takes for "equal" and inserts there: asked both ways, lower is -1.
      return compareHeight(x, y) - compareHeight(y, x);
    default:
      return 0;
  }
}

bool CKdDimtextFormatArray::readFrom(CQbase& db) {
  reset();
  for (bool more = db.fetchFirstMember(kRecordCode); more; more = db.fetchNextMember()) {
    CKdDimtextFormat format;  // the defaults of every field the record lacks
    format.readFrom(db);      // a bad key leaves it new, with id 0: appended all the same
    append(&format);
  }
  return true;
}

bool CKdDimtextFormatArray::saveTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db) && ok;
  return ok;
}

bool CKdDimtextFormatArray::deleteUnused(cuWin::HWND hwnd, const CInt32Array& selectedIndexes,
                                         const std::vector<const iKdDimtextFormatUser*>& users) {
  std::vector<bool> selected(length(), false);
  for (int32_t index : selectedIndexes)
    if (index >= 0 && index < length()) selected[index] = true;

  // The items that use a selected format, per kind of user, each named once.
  CWszArray itemsOfKind[std::size(kUserKinds)];
  bool kindUses[std::size(kUserKinds)] = {};
  bool anyKept = false;
  CInt32Array unused;
  for (int i = 0; i < length(); ++i) {
    if (!selected[i]) continue;
    bool used = false;
    for (const iKdDimtextFormatUser* user : users) {
      CWszArray items;
      if (!user || !user->usesDimtextFormat(idAt(i), items)) continue;
      used = true;
      size_t kind = user->dimtextFormatUsageKind();
      if (kind >= std::size(kUserKinds)) continue;
      kindUses[kind] = true;
      for (const CWsz& item : items)
        if (!std::count(itemsOfKind[kind].begin(), itemsOfKind[kind].end(), item))
          itemsOfKind[kind].append(item);
    }
    if (used)
      anyKept = true;
    else
      unused.append(i);
  }
  deleteAt(unused);

  if (anyKept) {
    CWsz text = VxKd::lngDbText(3561,
                                L"#Some of the selected text formats could not be deleted. They "
                                L"are used in following items:");
    for (size_t k = 0; k < std::size(kUserKinds); ++k) {
      if (!kindUses[k]) continue;
      text.cat(L"\r\n").cat(VxKd::lngDbText(kUserKinds[k].id, kUserKinds[k].text));
      for (const CWsz& item : itemsOfKind[k]) text.cat(L"\r\n - ").cat(item);
    }
    VxKd::msgBox(hwnd, 0, text, 3560, L"#Cannot Delete", cuWin::MB_OK, cuWin::MB_ICONEXCLAMATION);
  }
  return !anyKept;
}

// ---- CKdDimtextFormatPropertyDefUser ----

bool CKdDimtextFormatPropertyDefUser::usesPropertyDef(long id) const {
  for (int i = 0; i < formats_.length(); ++i)
    if (formats_.objAt(i)->usesPropertyDef(id, defs_)) return true;
  return false;
}

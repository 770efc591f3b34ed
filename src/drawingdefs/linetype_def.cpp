#include "vxkd/drawingdefs/linetype_def.h"

#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "drawingdefs/def_file.h"
#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"
#include "vxkd/ui/message_box.h"

namespace {

// The record of a linetype and its fields.
constexpr const char* kRecordCode = "LT";
enum recordField : short {
  fieldName = 1501,
  fieldDescription = 1502,
  fieldData = 1505,
};

constexpr const wchar_t* kLinFilter = L"*.LIN|*.LIN|";
constexpr const wchar_t* kLinExtension = L"LIN";

constexpr const char* kLinBanner =
    ";; -----------------------------------\n"
    ";; VANTRIX - LINETYPE DEFINITION FILE\n"
    ";;\n"
    ";; Date: %s\n"
    ";; -----------------------------------\n"
    "\n";

constexpr const wchar_t* kCommonStrings[] = {L"BYLAYER", L"BYBLOCK", L"__________", L"CONTINUOUS"};

std::wstring trimmed(const std::wstring& line) {
  size_t first = line.find_first_not_of(L" \t");
  if (first == std::wstring::npos) return std::wstring();
  size_t last = line.find_last_not_of(L" \t");
  return line.substr(first, last - first + 1);
}

// A header line read, waiting for its pattern line.
struct LinHeader {
  std::wstring name;
  std::wstring desc;
  int lineNumber = 0;
  bool tooLong = false;
};

// The linetypes of a LIN file's lines that can be imported, in file order; what cannot goes
// into `report`.
std::vector<CKdLinetypeDef> parseLin(const std::vector<std::wstring>& lines,
                                     CKdDefImportReport& report) {
  std::vector<CKdLinetypeDef> defs;
  std::optional<LinHeader> header;
  auto skipHeader = [&](CKdDefImportReport::skipReason reason) {
    report.addSkipped(header->name.c_str(), header->lineNumber, reason);
    header.reset();
  };
  for (size_t i = 0; i < lines.size(); ++i) {
    std::wstring line = trimmed(lines[i]);
    if (line.size() < 2 || line.compare(0, 2, L";;") == 0) continue;
    bool tooLong = lines[i].size() > static_cast<size_t>(CKdLinetypeDefArray::kMaxLinLineChars);
    if (line[0] == L'*') {
      if (header) skipHeader(CKdDefImportReport::noPattern);
      size_t comma = line.find(L',');
      header = LinHeader{trimmed(line.substr(1, comma == std::wstring::npos ? comma : comma - 1)),
                         comma == std::wstring::npos ? L"" : trimmed(line.substr(comma + 1)),
                         static_cast<int>(i + 1), tooLong};
      continue;
    }
    if (!header) continue;  // a line outside any definition
    if (header->tooLong || tooLong)
      skipHeader(CKdDefImportReport::lineTooLong);
    else if (header->name.empty())
      skipHeader(CKdDefImportReport::noName);
    else if (VxKd::isCommonLinetypeName(header->name.c_str()))
      skipHeader(CKdDefImportReport::reservedName);
    else {
      defs.emplace_back(header->name.c_str(), header->desc.c_str(), line.c_str());
      header.reset();
    }
  }
  if (header) skipHeader(CKdDefImportReport::noPattern);
  return defs;
}

}  // namespace

// ---- common strings ----

namespace VxKd {

const wchar_t* getCommonString(int id) {
  return id >= 1 && id <= static_cast<int>(std::size(kCommonStrings)) ? kCommonStrings[id - 1]
                                                                      : L"";
}

bool isCommonLinetypeName(const wchar_t* name) {
  for (int id : {commonStringByLayer, commonStringByBlock, commonStringContinuous})
    if (cuSz::equalNoCase(name, getCommonString(id))) return true;
  return false;
}

}  // namespace VxKd

// ---- CKdLinetypeDef ----

bool CKdLinetypeDef::readFrom(CQbase& db) {
  *this = CKdLinetypeDef();
  CChBuffer key;
  if (!db.getObjId(key)) return false;
  db.getWsz(fieldName, name_);
  db.getWsz(fieldDescription, desc_);
  db.getWsz(fieldData, data_);
  return true;
}

bool CKdLinetypeDef::saveTo(CQbase& db, long position) const {
  if (!db.createRec(kRecordCode, VxKd::buildDbId(position).c_str())) return false;
  bool ok = db.setWsz(fieldName, name_);
  ok = db.setWsz(fieldDescription, desc_) && ok;
  ok = db.setWsz(fieldData, data_) && ok;
  return db.saveRec() && ok;
}

// ---- CKdLinetypeDefArray ----

CKdLinetypeDefArray::CKdLinetypeDefArray() { resetToBuiltIn(); }

const wchar_t* CKdLinetypeDefArray::nameAt(int index) const {
  const CKdLinetypeDef* def = objAt(index);
  return def ? def->name().wsz() : emptyWsz();
}

const wchar_t* CKdLinetypeDefArray::descriptionAt(int index) const {
  const CKdLinetypeDef* def = objAt(index);
  return def ? def->desc().wsz() : emptyWsz();
}

int CKdLinetypeDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto* x = static_cast<const CKdLinetypeDef*>(a);
  const auto* y = static_cast<const CKdLinetypeDef*>(b);
  switch (std::abs(sortId)) {
    case sortByName:
      return cuSz::compareNoCase(x->name(), y->name());
    case sortByDescription:
      return cuSz::compareNoCase(x->desc(), y->desc());
    default:
      return 0;
  }
}

CKdLinetypeDef CKdLinetypeDefArray::builtIn() {
  return CKdLinetypeDef(VxKd::getCommonString(VxKd::commonStringContinuous),
                        VxKd::getCommonString(VxKd::commonStringSolidLine), L"");
}

bool CKdLinetypeDefArray::isBuiltInName(const wchar_t* name) {
  return cuSz::equalNoCase(name, VxKd::getCommonString(VxKd::commonStringContinuous));
}

void CKdLinetypeDefArray::resetToBuiltIn() {
  reset();
  CKdLinetypeDef solid = builtIn();
  append(&solid);
}

bool CKdLinetypeDefArray::readFrom(CQbase& db) {
  resetToBuiltIn();
  for (bool more = db.fetchFirstMember(kRecordCode); more; more = db.fetchNextMember()) {
    CKdLinetypeDef def;
    def.readFrom(db);
    append(&def);
  }
  return true;
}

bool CKdLinetypeDefArray::saveTo(CQbase& db) const {
  bool cleared = true;
  int deletions = 0;
  while (db.fetchFirstMember(kRecordCode)) {
    CChBuffer key;
    // A record that will not go would be fetched first again and again.
    if (deletions == kMaxRecordDeletions || !db.getObjId(key) || !db.deleteRec(kRecordCode, key)) {
      cleared = false;
      break;
    }
    ++deletions;
  }
  // Written also when the old records could not all be deleted: the save commits either
  // way, and the records already deleted would otherwise be lost with their linetypes.
  bool ok = true;
  for (int i = 0; i < length(); ++i) {
    const CKdLinetypeDef* def = objAt(i);
    if (isBuiltInName(def->name())) continue;
    ok = def->saveTo(db, i + 1) && ok;
  }
  return cleared && ok;
}

bool CKdLinetypeDefArray::exportLin(cuWin::HWND hwnd, const wchar_t* path) const {
  std::string text = cuSz::format(kLinBanner, VxKd::shortDate().toUtf8().c_str());
  for (int i = 0; i < length(); ++i) {
    const CKdLinetypeDef* def = objAt(i);
    if (isBuiltInName(def->name())) continue;
    text += "*" + def->name().toUtf8();
    if (!def->desc().isEmpty()) text += "," + def->desc().toUtf8();
    text += "\n" + def->data().toUtf8() + "\n";
  }
  int error = 0;
  if (VxKd::writeDefFile(path, text, error)) return true;
  VxKd::showWriteError(hwnd, path, error);
  return false;
}

bool CKdLinetypeDefArray::exportLin(cuWin::HWND hwnd) const {
  CWsz path;
  return VxKd::askExportFileName(hwnd, kLinFilter, kLinExtension, path) && exportLin(hwnd, path);
}

bool CKdLinetypeDefArray::importLin(cuWin::HWND hwnd, const wchar_t* path,
                                    CKdDefImportReport* report) {
  CKdDefImportReport local;
  CKdDefImportReport& out = report ? *report : local;
  out.empty();
  std::string bytes;
  std::vector<std::wstring> lines;
  int error = 0;
  std::vector<CKdLinetypeDef> defs;
  if (VxKd::readDefFile(path, bytes, error) && VxKd::splitDefFileLines(bytes, lines))
    defs = parseLin(lines, out);
  if (defs.empty()) {
    VxKd::msgWarningBox(hwnd, 7508, L"#No linetypes found in the file");
    return false;
  }
  for (const CKdLinetypeDef& def : defs) {
    CKdLinetypeDef* existing = findLinetypeDef(def.name());
    if (existing) {
      existing->setDesc(def.desc());
      existing->setData(def.data());
      out.addReplaced(existing->name());
    } else {
      append(&def);
      out.addAdded(def.name());
    }
  }
  return true;
}

bool CKdLinetypeDefArray::importLin(cuWin::HWND hwnd, CKdDefImportReport* report) {
  CWsz path;
  return VxKd::askImportFileName(hwnd, kLinFilter, path) && importLin(hwnd, path, report);
}

bool CKdLinetypeDefArray::deleteUnused(cuWin::HWND hwnd, const CInt32Array& selectedIndexes,
                                       const std::vector<const iKdLinetypeUser*>& users) {
  // One entry per kind of user, in the order the message lists them.
  struct KindText {
    long textId;
    const wchar_t* text;
  };
  static constexpr KindText kKinds[] = {
      {11124, L"#Layer definitions"},
      {11120, L"#Product definitions"},
      {7522, L"#Block definitions"},
  };
  bool kindUses[std::size(kKinds)] = {};
  bool builtInKept = false;
  bool anyKept = false;

  std::vector<bool> selected(length(), false);
  for (int32_t index : selectedIndexes)
    if (index >= 0 && index < length()) selected[index] = true;

  CInt32Array unused;
  for (int i = 0; i < length(); ++i) {
    if (!selected[i]) continue;
    const wchar_t* name = nameAt(i);
    bool used = false;
    if (isBuiltInName(name)) used = builtInKept = true;
    for (const iKdLinetypeUser* user : users) {
      if (!user || !user->usesLinetype(name)) continue;
      used = true;
      size_t kind = user->linetypeUsageKind();
      if (kind < std::size(kKinds)) kindUses[kind] = true;
    }
    if (used)
      anyKept = true;
    else
      unused.append(i);
  }
  deleteAt(unused);

  if (anyKept) {
    CWsz text = VxKd::lngDbText(
        7520,
        L"#Some of the selected linetypes could not be deleted. They are used in following items:");
    if (builtInKept)
      text.cat(L"\r\n").cat(VxKd::lngDbText(7524, L"#The built-in linetype CONTINUOUS"));
    for (size_t k = 0; k < std::size(kKinds); ++k)
      if (kindUses[k]) text.cat(L"\r\n").cat(VxKd::lngDbText(kKinds[k].textId, kKinds[k].text));
    VxKd::msgBox(hwnd, 0, text, 11142, L"#Cannot Delete", cuWin::MB_OK, cuWin::MB_ICONEXCLAMATION);
  }
  return !anyKept;
}

#include "vxkd/drawingdefs/text_style_def.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "drawingdefs/def_file.h"
#include "foundation/record_key.h"
#include "vxkd/foundation/common_list_item.h"
#include "vxkd/platform/dialog.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/property_value.h"
#include "vxkd/ui/message_box.h"

namespace {

// The record of a style and its fields.
constexpr const char* kRecordCode = "LX";
enum recordField : short {
  fieldName = 1508,
  fieldTypeFace = 1522,
  fieldFontFile = 1523,
  fieldFlagText = 1507,
  fieldCharSet = 1205,
  fieldPitch = 1209,
  fieldFamily = 1210,
  fieldFlags = 1103,
  fieldOblAngle = 1301,
  fieldTextSize = 1302,
  fieldXScale = 1303,
};

constexpr const wchar_t* kStyFilter = L"*.STY|*.STY|";
constexpr const wchar_t* kStyExtension = L"STY";

constexpr const char* kStyBanner =
    "// -----------------------------------\n"
    "// VANTRIX - TEXT STYLE DEFINITION FILE\n"
    "//\n"
    "// Date: %s\n"
    "// -----------------------------------\n"
    "\n";
constexpr const wchar_t* kStySection = L"[TEXTSTYLE]";

// The keys of a style in an STY file, in the order they are written.
enum class StyKey {
  name,
  fontFile,
  bigFontFile,
  typeFace,
  bold,
  italic,
  charSet,
  pitch,
  family,
  flags,
  hasShapeFile,
  vertical,
  oblAngle,
  priorSize,
  textSize,
  xScale,
};
struct StyKeyName {
  StyKey key;
  const wchar_t* text;
};
constexpr StyKeyName kStyKeys[] = {
    {StyKey::name, L"Name"},
    {StyKey::fontFile, L"FontFile"},
    {StyKey::bigFontFile, L"BigFontFile"},
    {StyKey::typeFace, L"TypeFace"},
    {StyKey::bold, L"Bold"},
    {StyKey::italic, L"Italic"},
    {StyKey::charSet, L"CharSet"},
    {StyKey::pitch, L"Pitch"},
    {StyKey::family, L"Family"},
    {StyKey::flags, L"Flags"},
    {StyKey::hasShapeFile, L"HasShapeFile"},
    {StyKey::vertical, L"Vertical"},
    {StyKey::oblAngle, L"OblAngle"},
    {StyKey::priorSize, L"PriorSize"},
    {StyKey::textSize, L"TextSize"},
    {StyKey::xScale, L"Xscale"},
};

// Reals are written as "%0.4lf" does, whatever the process locale.
CWsz real(float value) { return CKdPropertyValue::printReal(value, 4); }
CWsz number(long value) { return CWsz(std::to_wstring(value)); }

CWsz styValue(const CKdTextStyleDef& style, StyKey key) {
  switch (key) {
    case StyKey::name:
      return style.name();
    case StyKey::fontFile:
      return style.fontFile();
    case StyKey::bigFontFile:
      return style.bigFontFile();
    case StyKey::typeFace:
      return style.typeFace();
    case StyKey::bold:
      return number(style.isBold());
    case StyKey::italic:
      return number(style.isItalic());
    case StyKey::charSet:
      return number(style.charSet());
    case StyKey::pitch:
      return number(style.pitch());
    case StyKey::family:
      return number(style.family());
    case StyKey::flags:
      return number(style.flags());
    case StyKey::hasShapeFile:
      return number(style.hasShapeFile());
    case StyKey::vertical:
      return number(style.isVertical());
    case StyKey::oblAngle:
      return real(style.oblAngle());
    case StyKey::priorSize:
      return real(1.0f);  // the style has no prior size; other programs expect the key
    case StyKey::textSize:
      return real(style.textSize());
    case StyKey::xScale:
      return real(style.xScale());
  }
  return CWsz();
}

std::wstring trimmed(std::wstring_view text) {
  size_t first = text.find_first_not_of(L" \t");
  if (first == std::wstring_view::npos) return std::wstring();
  size_t last = text.find_last_not_of(L" \t");
  return std::wstring(text.substr(first, last - first + 1));
}

std::optional<long> parseInteger(const std::wstring& text) {
  long value = 0;
  if (!cuSz::scanLong(text.c_str(), value)) return std::nullopt;
  return value;
}

std::optional<float> parseReal(const std::wstring& text) {
  std::string ascii = cuSz::toUtf8(text);
  float value = 0;
  const char* begin = ascii.data();
  if (!ascii.empty() && ascii[0] == '+') ++begin;
  auto result = std::from_chars(begin, ascii.data() + ascii.size(), value);
  if (result.ec != std::errc() || result.ptr != ascii.data() + ascii.size()) return std::nullopt;
  return value;
}

// Sets the field of `key` from `text`; a value that is no number where one is needed
// leaves the field as it is.
void setStyValue(CKdTextStyleDef& style, StyKey key, const std::wstring& text) {
  auto integer = [&](auto set) {
    if (auto v = parseInteger(text)) set(*v);
  };
  auto realValue = [&](auto set) {
    if (auto v = parseReal(text)) set(*v);
  };
  switch (key) {
    case StyKey::name:
      return style.setName(text.c_str());
    case StyKey::fontFile:
      return style.setFontFile(text.c_str());
    case StyKey::bigFontFile:
      return style.setBigFontFile(text.c_str());
    case StyKey::typeFace:
      return style.setTypeFace(text.c_str());
    case StyKey::bold:
      return integer([&](long v) { style.setBold(v != 0); });
    case StyKey::italic:
      return integer([&](long v) { style.setItalic(v != 0); });
    case StyKey::charSet:
      return integer([&](long v) { style.setCharSet(v); });
    case StyKey::pitch:
      return integer([&](long v) { style.setPitch(v); });
    case StyKey::family:
      return integer([&](long v) { style.setFamily(v); });
    case StyKey::flags:
      return integer([&](long v) {
        if (v >= 0 && v <= 255) style.setFlags(static_cast<uint8_t>(v));
      });
    case StyKey::hasShapeFile:
      return integer([&](long v) { style.setHasShapeFile(v != 0); });
    case StyKey::vertical:
      return integer([&](long v) { style.setVertical(v != 0); });
    case StyKey::oblAngle:
      return realValue([&](float v) { style.setOblAngle(v); });
    case StyKey::priorSize:
      return;
    case StyKey::textSize:
      return realValue([&](float v) { style.setTextSize(v); });
    case StyKey::xScale:
      return realValue([&](float v) { style.setXScale(v); });
  }
}

// A section being read.
struct StySection {
  CKdTextStyleDef style;
  int lineNumber = 0;
  bool tooLong = false;
};

// The styles of an STY file's lines that can be imported, in file order; what cannot goes
// into `report`.
std::vector<CKdTextStyleDef> parseSty(const std::vector<std::wstring>& lines,
                                      CKdDefImportReport& report) {
  std::vector<CKdTextStyleDef> styles;
  std::optional<StySection> section;
  auto finish = [&] {
    if (!section) return;
    if (section->tooLong)
      report.addSkipped(section->style.name(), section->lineNumber,
                        CKdDefImportReport::lineTooLong);
    else if (section->style.name().isEmpty())
      report.addSkipped(nullptr, section->lineNumber, CKdDefImportReport::noName);
    else
      styles.push_back(section->style);
    section.reset();
  };
  for (size_t i = 0; i < lines.size(); ++i) {
    std::wstring line = trimmed(lines[i]);
    if (line.empty() || line.compare(0, 2, L"//") == 0 || line[0] == L';') continue;
    if (line[0] == L'[') {
      finish();
      if (cuSz::equalNoCase(line.c_str(), kStySection))
        section = StySection{CKdTextStyleDef(), static_cast<int>(i + 1), false};
      continue;
    }
    size_t equals = line.find(L'=');
    if (!section || equals == std::wstring::npos) continue;
    if (lines[i].size() > static_cast<size_t>(CKdTextStyleDefArray::kMaxStyLineChars))
      section->tooLong = true;
    std::wstring key = trimmed(std::wstring_view(line).substr(0, equals));
    for (const StyKeyName& known : kStyKeys)
      if (cuSz::equalNoCase(key.c_str(), known.text))
        setStyValue(section->style, known.key, trimmed(std::wstring_view(line).substr(equals + 1)));
  }
  finish();
  return styles;
}

}  // namespace

// ---- CKdTextStyleDef ----

std::string CKdTextStyleDef::buildDbId() const { return VxKd::buildDbId(dbId_); }

bool CKdTextStyleDef::readFrom(CQbase& db) {
  reset();
  long id = 0;
  if (!VxKd::readObjId(db, id) || id < 1) return false;
  setDbId(id);
  db.getWsz(fieldName, name_);
  db.getWsz(fieldTypeFace, typeFace_);
  db.getWsz(fieldFontFile, fontFile_);
  CChBuffer flagText;
  if (db.getSz(fieldFlagText, flagText)) {
    auto isSet = [&](int i) { return flagText.length() > i && flagText.sz()[i] == '1'; };
    bold_ = isSet(0);
    italic_ = isSet(1);
    vertical_ = isSet(2);
    hasShapeFile_ = isSet(3);
  }
  long value = 0;
  if (db.getLong(fieldCharSet, value)) charSet_ = static_cast<int32_t>(value);
  if (db.getLong(fieldPitch, value)) pitch_ = static_cast<int32_t>(value);
  if (db.getLong(fieldFamily, value)) family_ = static_cast<int32_t>(value);
  db.getByte(fieldFlags, flags_);
  db.getFloat(fieldOblAngle, oblAngle_);
  db.getFloat(fieldTextSize, textSize_);
  db.getFloat(fieldXScale, xScale_);
  return true;
}

bool CKdTextStyleDef::saveTo(CQbase& db) const {
  if (!db.createRec(kRecordCode, buildDbId().c_str())) return false;
  const char flagText[] = {bold_ ? '1' : '0', italic_ ? '1' : '0', vertical_ ? '1' : '0',
                           hasShapeFile_ ? '1' : '0', '\0'};
  bool ok = db.setWsz(fieldName, name_);
  ok = db.setWsz(fieldTypeFace, typeFace_) && ok;
  ok = db.setWsz(fieldFontFile, fontFile_) && ok;
  ok = db.setSz(fieldFlagText, flagText) && ok;
  ok = db.setLong(fieldCharSet, charSet_) && ok;
  ok = db.setLong(fieldPitch, pitch_) && ok;
  ok = db.setLong(fieldFamily, family_) && ok;
  ok = db.setByte(fieldFlags, flags_) && ok;
  ok = db.setFloat(fieldOblAngle, oblAngle_) && ok;
  ok = db.setFloat(fieldTextSize, textSize_) && ok;
  ok = db.setFloat(fieldXScale, xScale_) && ok;
  return db.saveRec() && ok;
}

bool CKdTextStyleDef::deleteFrom(CQbase& db) const {
  return db.deleteRec(kRecordCode, buildDbId().c_str());
}

// ---- CKdTextStyleDefArray ----

long CKdTextStyleDefArray::idAt(int index) const {
  const CKdTextStyleDef* style = objAt(index);
  return style ? style->dbId() : 0;
}

const wchar_t* CKdTextStyleDefArray::nameAt(int index) const {
  const CKdTextStyleDef* style = objAt(index);
  return style ? style->name().wsz() : emptyWsz();
}

int CKdTextStyleDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto* x = static_cast<const CKdTextStyleDef*>(a);
  const auto* y = static_cast<const CKdTextStyleDef*>(b);
  switch (std::abs(sortId)) {
    case sortByName:
      return cuSz::compareNoCase(x->name(), y->name());
    case sortByFontFile:
      return cuSz::compareNoCase(x->fontFile(), y->fontFile());
    case sortByTypeFace:
      return cuSz::compareNoCase(x->typeFace(), y->typeFace());
    default:
      return 0;
  }
}

bool CKdTextStyleDefArray::append(const CKdTextStyleDef* style) {
  if (!style) return false;
  if (style->dbId() >= 1) return CKdOwningArray::append(style);
  CKdTextStyleDef numbered(*style);
  numbered.setDbId(nextId(1, kMaxId));
  return numbered.dbId() >= 1 && CKdOwningArray::append(&numbered);
}

bool CKdTextStyleDefArray::readFrom(CQbase& db) {
  reset();
  for (bool more = db.fetchFirstMember(kRecordCode); more; more = db.fetchNextMember()) {
    CKdTextStyleDef style;
    if (style.readFrom(db)) append(&style);
  }
  return true;
}

bool CKdTextStyleDefArray::saveTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db) && ok;
  return ok;
}

void CKdTextStyleDefArray::asCommonListItems(CKdCommonListItemArray& out) const {
  out.reset();
  for (int i = 0; i < length(); ++i) out.append(i, objAt(i)->name());
}

void CKdTextStyleDefArray::fillCb(cuWin::HWND dlg, int comboId, const wchar_t* selected) const {
  VxComboBox* combo = VXDialog::comboBox(dlg, comboId);
  if (!combo) return;
  combo->resetContent();
  int selection = VxComboBox::kError;
  for (int i = 0; i < length(); ++i) {
    int index = combo->addString(objAt(i)->name());
    if (selected && cuSz::equalNoCase(objAt(i)->name(), selected)) selection = index;
  }
  combo->setCurSel(selection);
}

bool CKdTextStyleDefArray::exportSty(cuWin::HWND hwnd, const wchar_t* path) const {
  std::string text = cuSz::format(kStyBanner, VxKd::shortDate().toUtf8().c_str());
  for (int i = 0; i < length(); ++i) {
    text += cuSz::toUtf8(kStySection) + "\n";
    for (const StyKeyName& key : kStyKeys)
      text += cuSz::toUtf8(key.text) + "=" + styValue(*objAt(i), key.key).toUtf8() + "\n";
    text += "\n";
  }
  int error = 0;
  if (VxKd::writeDefFile(path, text, error)) return true;
  VxKd::showWriteError(hwnd, path, error);
  return false;
}

bool CKdTextStyleDefArray::exportSty(cuWin::HWND hwnd) const {
  CWsz path;
  return VxKd::askExportFileName(hwnd, kStyFilter, kStyExtension, path) && exportSty(hwnd, path);
}

bool CKdTextStyleDefArray::importSty(cuWin::HWND hwnd, const wchar_t* path,
                                     CKdDefImportReport* report) {
  CKdDefImportReport local;
  CKdDefImportReport& out = report ? *report : local;
  out.empty();
  std::string bytes;
  std::vector<std::wstring> lines;
  int error = 0;
  std::vector<CKdTextStyleDef> styles;
  if (VxKd::readDefFile(path, bytes, error) && VxKd::splitDefFileLines(bytes, lines))
    styles = parseSty(lines, out);
  if (styles.empty()) {
    VxKd::msgWarningBox(hwnd, 7514, L"#No text styles found in the file");
    return false;
  }
  for (CKdTextStyleDef& style : styles) {
    int index = indexOfName(style.name());
    if (index >= 0) {
      style.setDbId(idAt(index));
      style.setName(nameAt(index));
      updateAt(index, &style);
      out.addReplaced(style.name());
    } else if (append(&style)) {
      out.addAdded(style.name());
    }
  }
  return true;
}

bool CKdTextStyleDefArray::importSty(cuWin::HWND hwnd, CKdDefImportReport* report) {
  CWsz path;
  return VxKd::askImportFileName(hwnd, kStyFilter, path) && importSty(hwnd, path, report);
}

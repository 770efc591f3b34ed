#include "vxkd/properties/property.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

// The field of the owner's record that holds its property set.
constexpr short kPropertySetField = 1521;

// The longest text that setValue reads as a number.
constexpr int kMaxNumberLength = 30;

bool isScanBlank(wchar_t c) {
  return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\v' || c == L'\f';
}

// Reads a real from the start of `text` as "%f" / "%lf" do (leading blanks, an optional
// sign, the number; the rest ignored), with "." as the decimal point whatever the process
// locale. False for no number, one beyond the type's range, or one that is not finite.
template <typename Real>
bool scanReal(const std::wstring& text, Real& value) {
  value = 0;
  size_t i = 0;
  while (i < text.size() && isScanBlank(text[i])) ++i;
  if (i < text.size() && text[i] == L'+') {
    ++i;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) return false;
  }
  // Only ASCII can belong to the number: narrow up to the first other character.
  std::string ascii;
  for (; i < text.size() && text[i] > 0 && text[i] < 128; ++i)
    ascii.push_back(static_cast<char>(text[i]));
  Real parsed = 0;
  auto result = std::from_chars(ascii.data(), ascii.data() + ascii.size(), parsed,
                                std::chars_format::general);
  if (result.ec != std::errc() || !std::isfinite(parsed)) return false;
  value = parsed;
  return true;
}

}  // namespace

// ---- CKdProperty ----

CKdProperty::CKdProperty(const CKdPropertyDef& def) : CKdPropertyDef(def) {
  value_.setTypeId(def.valueType());
}

void CKdProperty::init(long id, const wchar_t* name, const wchar_t* description,
                       CKdPropertyValue::valueTypeId valueType, CKdUnit unit, int decimals) {
  CKdPropertyDef::init(id, name, description, valueType, unit, decimals);
  value_.setTypeId(valueType);
}

void CKdProperty::setValueType(CKdPropertyValue::valueTypeId type) {
  CKdPropertyDef::setValueType(type);
  value_.setTypeId(type);
}

bool CKdProperty::isNumber() const {
  switch (valueType()) {
    case CKdPropertyValue::typeInt16:
    case CKdPropertyValue::typeInt32:
    case CKdPropertyValue::typeSingleReal:
    case CKdPropertyValue::typeDoubleReal:
      return true;
    default:
      return false;
  }
}

int CKdProperty::editLength() const {
  switch (valueType()) {
    case CKdPropertyValue::typeText:
      return 255;
    case CKdPropertyValue::typeInt16:
      return 6;
    case CKdPropertyValue::typeInt32:
      return 11;
    case CKdPropertyValue::typeSingleReal:
    case CKdPropertyValue::typeDoubleReal:
      return kMaxNumberLength;
    default:
      return 0;
  }
}

bool CKdProperty::isValueEqualTo(const CKdProperty& other) const {
  return valueType() == other.valueType() && value_.isEqualTo(other.value_);
}

void CKdProperty::printValue(CWsz& out, bool withUnit) const {
  value_.printValue(out, decimals());
  if (withUnit && value_.hasValue() && valueType() != CKdPropertyValue::typeText)
    out.cat(L" ").cat(unit().id(), 0);
}

CWsz CKdProperty::getValueAsText(bool withUnit) const {
  CWsz text;
  printValue(text, withUnit);
  return text;
}

bool CKdProperty::setValue(const wchar_t* text) {
  const CKdPropertyValue::valueTypeId type = valueType();
  value_.setTypeId(type);
  if (!text || !*text) return true;
  if (type == CKdPropertyValue::typeText) {
    value_.setText(text);
    return true;
  }
  std::wstring number(text);
  if (number.size() > kMaxNumberLength) return false;

  switch (type) {
    case CKdPropertyValue::typeInt16:
    case CKdPropertyValue::typeInt32: {
      // An integer ends at its decimal separator, whichever the user typed: cut, not rounded.
      number.resize(std::min(number.find_first_of(L",."), number.size()));
      long parsed = 0;
      bool ok = cuSz::scanLong(number.c_str(), parsed);
      if (type == CKdPropertyValue::typeInt16) {
        ok = ok && parsed >= std::numeric_limits<int16_t>::min() &&
             parsed <= std::numeric_limits<int16_t>::max();
        value_.setInt16(ok ? static_cast<int16_t>(parsed) : 0);
      } else {
        value_.setInt32(ok ? static_cast<int32_t>(parsed) : 0);
      }
      return ok;
    }
    case CKdPropertyValue::typeSingleReal:
    case CKdPropertyValue::typeDoubleReal: {
      // A decimal comma is accepted as the decimal point.
      for (wchar_t& c : number)
        if (c == L',') c = L'.';
      if (type == CKdPropertyValue::typeSingleReal) {
        float parsed = 0;
        bool ok = scanReal(number, parsed);
        value_.setSingleReal(parsed);
        return ok;
      }
      double parsed = 0;
      bool ok = scanReal(number, parsed);
      value_.setDoubleReal(parsed);
      return ok;
    }
    default:
      return false;
  }
}

// ---- CKdPropertyArray ----

long CKdPropertyArray::idAt(int index) const {
  const CKdProperty* property = objAt(index);
  return property ? property->dbId() : 0;
}

const wchar_t* CKdPropertyArray::nameAt(int index) const {
  const CKdProperty* property = objAt(index);
  return property ? property->name().wsz() : emptyWsz();
}

const wchar_t* CKdPropertyArray::descriptionAt(int index) const {
  const CKdProperty* property = objAt(index);
  return property ? property->desc().wsz() : emptyWsz();
}

CKdProperty* CKdPropertyArray::findProperty(const wchar_t* name) const {
  int index;
  return findProperty(name, index);
}

CKdProperty* CKdPropertyArray::findProperty(const wchar_t* name, int& index) const {
  index = indexOfName(name);
  return objAt(index);
}

void CKdPropertyArray::writeAttributeText(CWsz& out) const {
  out.empty();
  CWsz value;
  for (int i = 0; i < length(); ++i) {
    const CKdProperty* property = objAt(i);
    if (i > 0) out.cat(L"\r\n");
    out.cat(static_cast<int>(property->dbId()), 0).cat(L'=');
    property->printValue(value, false);
    out.cat(value);
  }
}

namespace {

// Calls `take(id, value)` for each line of the stored form `text` that names a property: the
// line trimmed, the id before its first "=" a positive number, the value the rest.
template <typename Take>
void forEachStoredLine(const wchar_t* text, Take take) {
  std::wstring_view rest(text ? text : L"");
  while (!rest.empty()) {
    size_t end = rest.find(L'\n');
    CWsz line(rest.substr(0, end));
    rest = end == std::wstring_view::npos ? std::wstring_view() : rest.substr(end + 1);

    line.trim();
    int equals = line.find(L'=');
    if (equals < 0) continue;
    long id = 0;
    if (!cuSz::scanLong(line.left(equals), id) || id <= 0) continue;
    take(id, line.mid(equals + 1));
  }
}

}  // namespace

void CKdPropertyArray::readAttributeText(const wchar_t* text, const CKdPropertyDefArray& defs) {
  reset();
  forEachStoredLine(text, [&](long id, const CWsz& value) {
    // A property whose definition was deleted vanishes here.
    const CKdPropertyDef* def = defs.findId(id);
    if (!def) return;
    CKdProperty property(*def);
    property.setValue(value);
    append(&property);
  });
}

void CKdPropertyArray::readAttributeIds(const wchar_t* text, CInt32Array& ids) {
  ids.empty();
  forEachStoredLine(text, [&](long id, const CWsz&) { ids.append(static_cast<int32_t>(id)); });
}

void CKdPropertyArray::readAttributeIdsOf(CQbase& db, CInt32Array& ids) {
  CWsz text;
  db.getWsz(kPropertySetField, text);
  readAttributeIds(text, ids);
}

bool CKdPropertyArray::writeToAttributeOf(CQbase& db) const {
  // An empty set writes nothing, on purpose: a field already there keeps its lines.
  if (length() == 0) return true;
  CWsz text;
  writeAttributeText(text);
  return db.setWsz(kPropertySetField, text);
}

bool CKdPropertyArray::readFromAttributeOf(CQbase& db, const CKdPropertyDefArray& defs) {
  CWsz text;
  db.getWsz(kPropertySetField, text);
  readAttributeText(text, defs);
  return true;
}

void CKdPropertyArray::addPropertiesFrom(const CKdPropertyArray& other) {
  for (int i = 0; i < other.length(); ++i) {
    const CKdProperty* property = other.objAt(i);
    if (!findProperty(property->name())) append(property);
  }
}

void CKdPropertyArray::copyValuesAndSettingsFrom(const CKdPropertyArray& other) {
  for (int i = 0; i < length(); ++i) {
    CKdProperty* property = objAt(i);
    if (const CKdProperty* source = other.findProperty(property->name())) *property = *source;
  }
}

void CKdPropertyArray::copyValuesFrom(const CKdPropertyArray& other) {
  for (int i = 0; i < length(); ++i) {
    CKdProperty* property = objAt(i);
    const CKdProperty* source = other.findProperty(property->name());
    if (source && source->valueType() == property->valueType())
      property->value().copyFrom(source->value());
  }
}

bool CKdPropertyArray::moveStdPropertiesTo(CKdPropertyArray& out) {
  out.reset();
  for (int i = 0; i < length();) {
    if (objAt(i)->isStdProperty()) {
      out.append(objAt(i));
      deleteAt(i);
    } else {
      ++i;
    }
  }
  return true;
}

void CKdPropertyArray::deleteStdProperties() {
  for (int i = length() - 1; i >= 0; --i)
    if (objAt(i)->isStdProperty()) deleteAt(i);
}

bool CKdPropertyArray::isEqualTo(const CKdPropertyArray& other, bool compareValues) const {
  if (length() != other.length()) return false;
  // Each property of `other` matches once: the first not yet matched namesake is taken.
  std::vector<bool> matched(other.length(), false);
  for (int i = 0; i < length(); ++i) {
    const CKdProperty* mine = objAt(i);
    int j = 0;
    while (j < other.length() && (matched[j] || !cuSz::equalNoCase(mine->name(), other.nameAt(j))))
      ++j;
    if (j == other.length()) return false;
    if (compareValues && !mine->isValueEqualTo(*other.objAt(j))) return false;
    matched[j] = true;
  }
  return true;
}

bool CKdPropertyArray::isEqualToOr(const CKdPropertyArray& a, const CKdPropertyArray& b,
                                   bool compareValues) const {
  return isEqualTo(a, compareValues) || isEqualTo(b, compareValues);
}

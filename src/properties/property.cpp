#include "vxkd/properties/property.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <string>
#include <vector>

#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

namespace {

// The field of the owner's record that holds its property set.
constexpr short kPropertySetField = 1521;

// The longest text that setValue reads as a number.
constexpr int kMaxNumberLength = CKdPropertyValue::maxNumberLength;

// `text` as a stored set gives it back: each line break one blank, codes that are no
// characters U+FFFD, without the blanks and tabs at its end.
std::wstring storableText(std::wstring_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    wchar_t c = text[i];
    if (c == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') ++i;
    out += c == L'\r' || c == L'\n' ? L' ' : c;
  }
  out.erase(out.find_last_not_of(L" \t") + 1);
  return cuSz::scalarValuesOf(out);
}

// Whether `text` is its own stored form: no line break, no code that is no character, no
// blank or tab at its end, and not empty (an empty text is stored as no value).
bool isStoredText(std::wstring_view text) {
  for (wchar_t c : text)
    if (c == L'\r' || c == L'\n' || !cuSz::isScalarValue(static_cast<char32_t>(c))) return false;
  return !text.empty() && text.back() != L' ' && text.back() != L'\t';
}

// 10^0 to 10^(maxNumberLength - 1).
constexpr auto kPowersOfTen = [] {
  std::array<double, kMaxNumberLength> powers{};
  double power = 1;
  for (double& p : powers) {
    p = power;
    power *= 10;
  }
  return powers;
}();

// Whether the finite `real` prints within kMaxNumberLength with `decimals`, known without
// printing it: below 10^k it has at most k + 1 digits before the point (one more when
// rounding carries), and a sign, a point and its decimals. False means "print and see".
bool printsShort(double real, int decimals) {
  const int digits = kMaxNumberLength - 3 - decimals;
  return digits > 0 && std::fabs(real) < kPowersOfTen[static_cast<size_t>(digits)];
}

bool isScanBlank(wchar_t c) {
  return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\v' || c == L'\f';
}

// Reads a real from the start of `text` as "%f" / "%lf" do (leading blanks, an optional
// sign, the number; the rest ignored), with "." as the decimal point whatever the process
// locale. False for no number, one beyond the type's range, or one that is not finite.
template <typename Real>
bool scanReal(std::wstring_view text, Real& value) {
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

bool CKdProperty::isStoredForm(const CKdPropertyValue& value) const {
  if (!value.hasValue() || isStdProperty()) return true;
  switch (value.typeId()) {
    case CKdPropertyValue::typeText:
      return false;  // setValue(const wchar_t*) looks at a text before it is copied
    case CKdPropertyValue::typeSingleReal:
    case CKdPropertyValue::typeDoubleReal: {
      double real = 0;
      value.getDoubleReal(real);
      return std::isfinite(real) && printsShort(real, decimals());
    }
    default:
      return true;
  }
}

bool CKdProperty::storableForm(const CKdPropertyValue& value, CKdPropertyValue& out) const {
  out.copyFrom(value);
  if (!value.hasValue() || isStdProperty()) return true;
  CWsz text;
  switch (value.typeId()) {
    case CKdPropertyValue::typeText:
      value.getText(text);
      text = storableText(text.str());
      if (text.isEmpty())
        out.resetValue();  // "id=" reads back as no value
      else
        out.setText(text);
      return true;
    case CKdPropertyValue::typeSingleReal:
    case CKdPropertyValue::typeDoubleReal: {
      // Only reals can print longer: "-2147483648" is 11 characters. The reader takes no
      // infinity and no NaN either.
      double real = 0;
      value.getDoubleReal(real);
      value.printValue(text, decimals());
      return std::isfinite(real) && text.length() <= kMaxNumberLength;
    }
    default:
      return true;
  }
}

bool CKdProperty::setValue(const CKdPropertyValue& value) {
  // Most values are already as a save keeps them: they are taken without making that form.
  if (value.typeId() == valueType() && isStoredForm(value)) {
    value_ = value;
    return true;
  }
  CKdPropertyValue stored;
  bool ok = value.typeId() == valueType() && storableForm(value, stored);
  if (ok)
    value_ = stored;
  else
    value_.setTypeId(valueType());
  return ok;
}

bool CKdProperty::setDecimals(int decimals) {
  CKdProperty changed(*this);
  changed.CKdPropertyDef::setDecimals(decimals);
  CKdPropertyValue stored;
  if (!changed.storableForm(value_, stored)) return false;
  CKdPropertyDef::setDecimals(decimals);
  return true;
}

bool CKdProperty::setValue(const wchar_t* text) {
  return setValue(text ? std::wstring_view(text) : std::wstring_view());
}

bool CKdProperty::setValue(std::wstring_view text) {
  text = text.substr(0, text.find(L'\0'));
  const CKdPropertyValue::valueTypeId type = valueType();
  value_.setTypeId(type);
  if (text.empty()) return true;
  CKdPropertyValue parsed;
  bool ok = true;
  if (type == CKdPropertyValue::typeText) {
    if (isStdProperty() || isStoredText(text)) {
      value_.setText(text);
      return true;
    }
    parsed.setText(text);
    return setValue(parsed);
  }
  const size_t length = text.size();
  if (length > kMaxNumberLength) return false;
  // A number is short: it is worked on in a buffer of its own rather than on the heap, since
  // a catalogue sets hundreds of thousands of values when it is read.
  wchar_t number[kMaxNumberLength + 1];
  std::wmemcpy(number, text.data(), length);
  number[length] = L'\0';
  switch (type) {
    case CKdPropertyValue::typeInt16:
    case CKdPropertyValue::typeInt32: {
      // An integer ends at its decimal separator, whichever the user typed: cut, not rounded.
      if (wchar_t* separator = std::wcspbrk(number, L",.")) *separator = L'\0';
      long value = 0;
      ok = cuSz::scanLong(number, value);
      if (type == CKdPropertyValue::typeInt16) {
        ok = ok && value >= std::numeric_limits<int16_t>::min() &&
             value <= std::numeric_limits<int16_t>::max();
        parsed.setInt16(ok ? static_cast<int16_t>(value) : 0);
      } else {
        parsed.setInt32(ok ? static_cast<int32_t>(value) : 0);
      }
      break;
    }
    case CKdPropertyValue::typeSingleReal:
    case CKdPropertyValue::typeDoubleReal: {
      // A decimal comma is accepted as the decimal point.
      std::replace(number, number + length, L',', L'.');
      const std::wstring_view digits(number, length);
      if (type == CKdPropertyValue::typeSingleReal) {
        float value = 0;
        ok = scanReal(digits, value);
        parsed.setSingleReal(value);
      } else {
        double value = 0;
        ok = scanReal(digits, value);
        parsed.setDoubleReal(value);
      }
      break;
    }
    default:
      return false;
  }
  // A number that cannot be read is 0 of its type, and still reported.
  return setValue(parsed) && ok;
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
  // Each value is appended where it goes: a catalogue's save writes hundreds of thousands.
  out.empty();
  for (int i = 0; i < length(); ++i) {
    const CKdProperty* property = objAt(i);
    if (i > 0) out.str() += L"\r\n";
    out.cat(static_cast<int>(property->dbId()), 0).cat(L'=');
    property->value().appendValue(out, property->decimals());
  }
}

namespace {

// Calls `take(id, value)` for each line of the stored form `text` that names a property: the
// line without blanks at its ends, the id before its first "=" a positive number, the value
// the rest. A catalogue reads hundreds of thousands of lines: they are looked at in views,
// and the id copied into one buffer of the thread.
template <typename Take>
void forEachStoredLine(const wchar_t* text, Take take) {
  const auto blank = [](wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; };
  thread_local std::wstring buffer;
  std::wstring& part = buffer;
  std::wstring_view rest(text ? text : L"");
  while (!rest.empty()) {
    size_t end = rest.find(L'\n');
    std::wstring_view line = rest.substr(0, end);
    rest = end == std::wstring_view::npos ? std::wstring_view() : rest.substr(end + 1);

    while (!line.empty() && blank(line.front())) line.remove_prefix(1);
    while (!line.empty() && blank(line.back())) line.remove_suffix(1);
    const size_t equals = line.find(L'=');
    if (equals == std::wstring_view::npos) continue;
    long id = 0;
    part.assign(line.substr(0, equals));
    if (!cuSz::scanLong(part.c_str(), id) || id <= 0) continue;
    take(id, line.substr(equals + 1));
  }
}

}  // namespace

void CKdPropertyArray::readAttributeText(const wchar_t* text, const CKdPropertyDefArray& defs) {
  reset();
  // A set lists its properties in the order of their definitions: each definition is looked
  // for after the last one found.
  int nextDef = 0;
  forEachStoredLine(text, [&](long id, std::wstring_view rest) {
    // A property whose definition was deleted vanishes here.
    int index = nextDef;
    if (index >= defs.length() || defs.idAt(index) != id) index = defs.indexOfId(id);
    const CKdPropertyDef* def = defs.objAt(index);
    if (!def) return;
    nextDef = index + 1;
    if (CKdProperty* property = emplace(*def)) property->setValue(rest);
  });
}

void CKdPropertyArray::readAttributeIds(const wchar_t* text, CInt32Array& ids) {
  ids.empty();
  forEachStoredLine(text,
                    [&](long id, std::wstring_view) { ids.append(static_cast<int32_t>(id)); });
}

void CKdPropertyArray::readAttributeIdsOf(CQbase& db, CInt32Array& ids) {
  CWsz text;
  db.getWsz(kPropertySetField, text);
  readAttributeIds(text, ids);
}

bool CKdPropertyArray::writeToAttributeOf(CQbase& db) const {
  // An empty set writes nothing, on purpose: a field already there keeps its lines.
  if (length() == 0) return true;
  // One buffer for every set written, as for reading.
  thread_local CWsz text;
  writeAttributeText(text);
  return db.setWsz(kPropertySetField, text);
}

bool CKdPropertyArray::readFromAttributeOf(CQbase& db, const CKdPropertyDefArray& defs) {
  // One buffer for every set read: a catalogue reads ten thousand of them, each some
  // kilobytes wide, and a fresh allocation of that size for each costs more than the rest.
  thread_local CWsz text;
  if (!db.getWsz(kPropertySetField, text)) text.empty();
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
    if (!source || source->valueType() != property->valueType()) continue;
    // A value that this property cannot keep (too long with its decimals) is refused like a
    // namesake of another type: the property keeps its own.
    CKdPropertyValue own = property->value();
    if (!property->setValue(source->value())) property->setValue(own);
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

#include "vxkd/properties/property_value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cwchar>

#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"

CKdPropertyValue::CKdPropertyValue() : hasValue_(0), typeId_(typeNone) { value_.bits = 0; }

CKdPropertyValue::CKdPropertyValue(const CKdPropertyValue& other) : CKdPropertyValue() {
  copyFrom(other);
}

CKdPropertyValue& CKdPropertyValue::operator=(const CKdPropertyValue& other) {
  copyFrom(other);
  return *this;
}

CKdPropertyValue::~CKdPropertyValue() { clearValue(); }

void CKdPropertyValue::clearValue() {
  if (typeId_ == typeText) std::free(value_.text);
  hasValue_ = 0;
  value_.bits = 0;
}

void CKdPropertyValue::setInt16(int16_t value) {
  clearValue();
  hasValue_ = 1;
  typeId_ = typeInt16;
  value_.i32 = value;  // sign-extended
}

void CKdPropertyValue::setInt32(int32_t value) {
  clearValue();
  hasValue_ = 1;
  typeId_ = typeInt32;
  value_.i32 = value;
}

void CKdPropertyValue::setSingleReal(float value) {
  clearValue();
  hasValue_ = 1;
  typeId_ = typeSingleReal;
  value_.real = static_cast<double>(value);
}

void CKdPropertyValue::setDoubleReal(double value) {
  clearValue();
  hasValue_ = 1;
  typeId_ = typeDoubleReal;
  value_.real = value;
}

void CKdPropertyValue::setText(const wchar_t* text) {
  setText(text ? std::wstring_view(text) : std::wstring_view());
}

void CKdPropertyValue::setText(std::wstring_view text) {
  clearValue();
  typeId_ = typeNone;
  const size_t n = std::min(text.size(), text.find(L'\0'));
  if (n > 0) {
    // n + 2: one spare character beyond the terminator, intended.
    auto* buffer = static_cast<wchar_t*>(std::malloc((n + 2) * sizeof(wchar_t)));
    if (!buffer) return;  // left cleared: no value, type typeNone
    std::wmemcpy(buffer, text.data(), n);
    buffer[n] = L'\0';
    value_.text = buffer;
  }
  hasValue_ = 1;
  typeId_ = typeText;
}

void CKdPropertyValue::setTypeId(valueTypeId type) {
  clearValue();
  typeId_ = type >= typeText && type <= typeDoubleReal ? type : typeNone;
}

void CKdPropertyValue::resetValue() { clearValue(); }

void CKdPropertyValue::copyFrom(const CKdPropertyValue& other) {
  if (&other == this) return;
  clearValue();
  typeId_ = other.typeId_;
  if (!other.hasValue_) return;
  switch (other.typeId_) {
    case typeText:
      setText(other.value_.text);
      break;
    case typeInt16:
      setInt16(static_cast<int16_t>(other.value_.i32));
      break;
    case typeInt32:
      setInt32(other.value_.i32);
      break;
    case typeSingleReal:
      setSingleReal(static_cast<float>(other.value_.real));
      break;
    case typeDoubleReal:
      setDoubleReal(other.value_.real);
      break;
    default:
      // typeNone (or a type no setter makes) with a value: the type is copied, nothing else.
      break;
  }
}

bool CKdPropertyValue::getInt16(int16_t& value) const {
  value = 0;
  if (typeId_ != typeInt16) return false;
  if (hasValue_) value = static_cast<int16_t>(value_.i32);
  return true;
}

bool CKdPropertyValue::getInt32(int32_t& value) const {
  value = 0;
  if (typeId_ != typeInt16 && typeId_ != typeInt32) return false;
  if (hasValue_) value = value_.i32;
  return true;
}

bool CKdPropertyValue::getSingleReal(float& value) const {
  value = 0;
  if (typeId_ != typeSingleReal) return false;
  if (hasValue_) value = static_cast<float>(value_.real);
  return true;
}

bool CKdPropertyValue::getDoubleReal(double& value) const {
  value = 0.0;
  switch (typeId_) {
    case typeInt16:
    case typeInt32:
      if (hasValue_) value = static_cast<double>(value_.i32);
      return true;
    case typeSingleReal:
    case typeDoubleReal:
      if (hasValue_) value = value_.real;
      return true;
    default:
      return false;
  }
}

bool CKdPropertyValue::getDoubleReal(double& value, int decimals) const {
  if (!getDoubleReal(value)) return false;
  // The step is built by repeated multiplication on purpose: 0.1 * 0.1 is slightly more
  // than 0.01, so values near a half round otherwise than with a division by a power of
  // ten (2.345 at 2 places gives 2.34, not 2.35). Values already stored in datasets were
  // rounded with this step and must round the same way again.
  double step = 1.0;
  for (int i = 0; i < decimals; ++i) step *= 0.1;
  value = std::floor(value / step + 0.5) * step;
  return true;
}

bool CKdPropertyValue::getText(CWsz& text) const {
  text.empty();
  if (typeId_ != typeText) return false;
  if (hasValue_ && value_.text) text.set(value_.text);
  return true;
}

bool CKdPropertyValue::isEqualTo(const CKdPropertyValue& other) const {
  if (typeId_ != other.typeId_) return false;
  if (!hasValue_) return !other.hasValue_;
  if (!other.hasValue_ || typeId_ > typeDoubleReal) return false;
  switch (typeId_) {
    case typeText: {
      CWsz mine, theirs;
      getText(mine);
      other.getText(theirs);
      return mine.isEqualNoCase(theirs);
    }
    case typeInt16:
    case typeInt32:
      return value_.i32 == other.value_.i32;
    case typeSingleReal:
    case typeDoubleReal:
      return std::fabs(value_.real - other.value_.real) < 1e-9;
    default:  // typeNone
      return true;
  }
}

namespace {

// Appends "%0.*f" of `value` to `out`; see printReal.
void appendReal(std::wstring& out, double value, int decimals) {
  // std::to_chars formats as printf does in the "C" locale, so a host that has set a
  // locale with a decimal comma still gets "3.14". A negative precision means 6, as "%.*f".
  if (decimals < 0) decimals = 6;
  // Every double is exact within 1074 places; beyond, printf would only add zeros. The cap
  // keeps a wild count from asking for an enormous buffer.
  if (decimals > 1100) decimals = 1100;
  // The largest double has 309 integer digits; the decimals come on top. The usual few
  // decimals fit a buffer on the stack.
  constexpr size_t kStackDigits = 400;
  const size_t size = 320 + static_cast<size_t>(decimals);
  char stack[kStackDigits];
  std::string heap(size > kStackDigits ? size : 0, '\0');
  char* buffer = size > kStackDigits ? heap.data() : stack;
  auto result = std::to_chars(buffer, buffer + size, value, std::chars_format::fixed, decimals);
  if (result.ec != std::errc()) return;
  const char* digits = buffer;
  cuSz::appendAscii(out, digits, result.ptr);
}

}  // namespace

CWsz CKdPropertyValue::printReal(double value, int decimals) {
  CWsz text;
  appendReal(text.str(), value, decimals);
  return text;
}

void CKdPropertyValue::printValue(CWsz& out, int decimals) const {
  out.empty();
  appendValue(out, decimals);
}

void CKdPropertyValue::appendValue(CWsz& out, int decimals) const {
  // A number is printed in full however long it is (a huge real with many decimals): cut
  // to a fixed buffer it would be written to the dataset as another number.
  if (!hasValue_) return;
  switch (typeId_) {
    case typeText:
      if (value_.text) out.str() += value_.text;
      break;
    case typeInt16:
      out.cat(static_cast<int16_t>(value_.i32), 0);
      break;
    case typeInt32:
      out.cat(value_.i32, 0);
      break;
    case typeSingleReal:
    case typeDoubleReal:
      appendReal(out.str(), value_.real, decimals);
      break;
    default:
      break;
  }
}

CWsz CKdPropertyValue::sampleText(valueTypeId type, int decimals) {
  switch (type) {
    case typeInt16:
      return L"##";
    case typeInt32:
      return L"######";
    case typeSingleReal:
    case typeDoubleReal:
      switch (decimals) {
        case 0:
          return L"###";
        case 1:
          return L"#.#";
        case 2:
          return L"#.##";
        case 3:
          return L"#.###";
        default:
          return L"#.####";
      }
    default:
      return L"ABC";
  }
}

void CKdPropertyValue::getTypeNameOf(valueTypeId type, CWsz& name) {
  if (type == typeNone)
    name.set(L"-");
  else if (type == typeText)
    name = VxKd::lngDbText(10104, L"#Text");
  else
    name = VxKd::lngDbText(10105, L"#Number");
}

#include "vxkd/reports/report_column.h"

#include <algorithm>
#include <cstring>

#include "platform/byte_order.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/ui/language.h"

namespace {

// Offsets in the stored item.
constexpr int kPropertyIdAt = 0;
constexpr int kLengthAt = 4;
constexpr int kHeader1At = 8;
constexpr int kHeader2At = kHeader1At + CSReportColumn::headerSize;
static_assert(kHeader2At + CSReportColumn::headerSize == CSReportColumn::itemSize);

struct LineTypeName {
  short type;
  long textId;
  const wchar_t* text;
};
constexpr LineTypeName kLineTypeNames[] = {
    {CSReportColumn::lineAfterColumn, 11613, L"#Draw line after column in DWG report"},
    {CSReportColumn::lineToFirstRowOnly, 11615,
     L"#Draw line only to first row's column in DWG report"},
};

// Keeps at most headerSize - 1 bytes of `text` in `header`, whole characters only, and
// fills the rest with zeros.
void setHeader(char (&header)[CSReportColumn::headerSize], const char* text, int length) {
  CChBuffer kept;
  kept.set(std::string(text ? text : "", length).c_str(), CSReportColumn::headerSize - 1);
  std::memset(header, 0, sizeof header);
  std::memcpy(header, kept.sz(), kept.length());
}

void setHeader(char (&header)[CSReportColumn::headerSize], const char* text) {
  setHeader(header, text, text ? static_cast<int>(std::strlen(text)) : 0);
}

// A stored heading: its bytes up to the NUL, all headerSize of them when it has none.
void readHeader(char (&header)[CSReportColumn::headerSize], const uint8_t* bytes) {
  const auto* text = reinterpret_cast<const char*>(bytes);
  setHeader(header, text, static_cast<int>(strnlen(text, CSReportColumn::headerSize)));
}

}  // namespace

void CSReportColumn::setHeader1(const char* text) { setHeader(header1_, text); }

void CSReportColumn::setHeader2(const char* text) { setHeader(header2_, text); }

CWsz CSReportColumn::GetLineTypeName(short type) {
  for (const LineTypeName& name : kLineTypeNames)
    if (name.type == type) return VxKd::lngDbText(name.textId, name.text);
  return CWsz();
}

void CSReportColumn::toItem(uint8_t item[itemSize]) const {
  std::memset(item, 0, itemSize);
  cuBytes::putLe32(item + kPropertyIdAt, static_cast<uint32_t>(propertyId_));
  cuBytes::putFloatLe(item + kLengthAt, length_);
  // The headings keep the zeros after their NUL: no byte of memory goes into the file.
  std::memcpy(item + kHeader1At, header1_, headerSize);
  std::memcpy(item + kHeader2At, header2_, headerSize);
}

void CSReportColumn::fromItem(const uint8_t item[itemSize]) {
  propertyId_ = static_cast<int32_t>(cuBytes::getLe32(item + kPropertyIdAt));
  length_ = cuBytes::getFloatLe(item + kLengthAt);
  readHeader(header1_, item + kHeader1At);
  readHeader(header2_, item + kHeader2At);
}

bool CSReportColumn::operator==(const CSReportColumn& other) const {
  return propertyId_ == other.propertyId_ && length_ == other.length_ &&
         std::strcmp(header1_, other.header1_) == 0 && std::strcmp(header2_, other.header2_) == 0 &&
         lineType_ == other.lineType_;
}

// ---- CKdReportColumnArray ----

long CKdReportColumnArray::idAt(int index) const {
  const CSReportColumn* column = objAt(index);
  return column ? column->propertyId() : 0;
}

bool CKdReportColumnArray::append(const CSReportColumn* column) {
  return !isFull() && CKdOwningArray::append(column);
}

bool CKdReportColumnArray::append(const CKdReportColumnArray& other) {
  bool all = true;
  for (int i = 0; i < other.length(); ++i) all = append(other.at(i)) && all;
  return all;
}

bool CKdReportColumnArray::insertAt(int index, const CSReportColumn* column) {
  return !isFull() && CKdObjArray::insertAt(index, column);
}

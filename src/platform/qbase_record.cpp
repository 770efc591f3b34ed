#include "platform/qbase_record.h"

#include <algorithm>
#include <climits>

#include "platform/qbase_coding.h"
#include "vxkd/platform/sz.h"

using namespace qbaseCoding;

void CQbaseRecord::start(const QbaseRecordDef& def, std::string_view key) {
  def_ = &def;
  key_.assign(key);
  values_.resize(def.fields.size());
  for (QbaseFieldValue& v : values_) v.present = false;
}

QbaseFieldValue* CQbaseRecord::undeclared(short number, QbaseFieldType type) {
  if (!def_) {
    error_.fail("no current record");
  } else {
    error_.fail(qbaseConcat({"record ", def_->code, " has no ", qbaseTypeName(type), " field ",
                             std::to_string(number)}));
  }
  return nullptr;
}

bool CQbaseRecord::setBytes(short number, QbaseFieldType type, const void* data, size_t size) {
  QbaseFieldValue* v = slot(number, type);
  if (!v) return false;
  v->present = true;
  if (size > 0) {
    v->bytes.assign(static_cast<const char*>(data), size);
  } else {
    v->bytes.clear();
  }
  return true;
}

bool CQbaseRecord::getInteger(short number, QbaseFieldType type, int64_t min, int64_t max,
                              int64_t& out) {
  const QbaseFieldValue* v = present(number, type);
  if (!v || v->i < min || v->i > max) return false;
  out = v->i;
  return true;
}

bool CQbaseRecord::setInteger(short number, QbaseFieldType type, int64_t value) {
  QbaseFieldValue* v = slot(number, type);
  if (!v) return false;
  v->present = true;
  v->i = value;
  return true;
}

bool CQbaseRecord::getFloat(short number, float& value) {
  const QbaseFieldValue* v = present(number, QbaseFieldType::kFloat);
  if (!v) return false;
  value = static_cast<float>(v->d);
  return true;
}

bool CQbaseRecord::setFloat(short number, float value) {
  QbaseFieldValue* v = slot(number, QbaseFieldType::kFloat);
  if (!v) return false;
  v->present = true;
  v->d = value;
  return true;
}

bool CQbaseRecord::getSz(short number, CChBuffer& text) {
  const QbaseFieldValue* v = present(number, QbaseFieldType::kSz);
  if (!v) return false;
  text.set(v->bytes.c_str());
  return true;
}

bool CQbaseRecord::getSz(short number, char* buffer, int size) {
  if (!buffer || size < 1) return false;
  const QbaseFieldValue* v = present(number, QbaseFieldType::kSz);
  if (!v) return false;
  cuSz::copyTo(buffer, size, v->bytes);
  return true;
}

bool CQbaseRecord::setSz(short number, const char* text) {
  const QbaseFieldDef* def = nullptr;
  QbaseFieldValue* v = slot(number, QbaseFieldType::kSz, &def);
  if (!v) return false;
  CChBuffer cut;
  cut.set(text, def->size > 0 ? def->size : -1);
  v->present = true;
  v->bytes = cut.str();
  return true;
}

bool CQbaseRecord::getWsz(short number, CWsz& text) {
  const QbaseFieldValue* v = present(number, QbaseFieldType::kWsz);
  if (!v) return false;
  // Up to the first NUL, as the narrow getters and every writer of a text take it: a NUL
  // left in a file by another program cannot be written back.
  cuSz::fromUtf8(std::string_view(v->bytes.c_str()), text.str());
  return true;
}

bool CQbaseRecord::setWsz(short number, const wchar_t* text) {
  QbaseFieldValue* v = slot(number, QbaseFieldType::kWsz);
  if (!v) return false;
  v->present = true;
  cuSz::toUtf8(text ? text : L"", v->bytes);
  return true;
}

bool CQbaseRecord::getPoint(short number, double& x, double& y, double& z) {
  const QbaseFieldValue* v = present(number, QbaseFieldType::kPoint);
  if (!v || v->bytes.size() != kPointBytes) return false;
  decodePoint(v->bytes.data(), x, y, z);
  return true;
}

bool CQbaseRecord::setPoint(short number, double x, double y, double z) {
  char p[kPointBytes];
  encodePoint(x, y, z, p);
  return setBytes(number, QbaseFieldType::kPoint, p, sizeof p);
}

bool CQbaseRecord::getShortArray(short number, CInt16Array& values) {
  const QbaseFieldValue* v = present(number, QbaseFieldType::kShortArray);
  if (!v || v->bytes.size() % 2 != 0) return false;
  decodeItems(v->bytes, values);
  return true;
}

bool CQbaseRecord::setShortArray(short number, const CInt16Array& values) {
  QbaseFieldValue* v = slot(number, QbaseFieldType::kShortArray);
  if (!v) return false;
  v->present = true;
  encodeItems(values, v->bytes);
  return true;
}

bool CQbaseRecord::getFloatArray(short number, CFloatArray& values) {
  const QbaseFieldValue* v = present(number, QbaseFieldType::kFloatArray);
  if (!v || v->bytes.size() % 4 != 0) return false;
  decodeItems(v->bytes, values);
  return true;
}

bool CQbaseRecord::setFloatArray(short number, const CFloatArray& values) {
  QbaseFieldValue* v = slot(number, QbaseFieldType::kFloatArray);
  if (!v) return false;
  v->present = true;
  encodeItems(values, v->bytes);
  return true;
}

bool CQbaseRecord::getBinaryArray(short number, CByteBuffer& data, int& count) {
  const QbaseFieldDef* def = nullptr;
  const QbaseFieldValue* v = present(number, QbaseFieldType::kBinaryArray, &def);
  if (!v) return false;
  size_t size = std::min(v->bytes.size(), static_cast<size_t>(CQbase::kMaxBinaryArrayItems) *
                                              static_cast<size_t>(def->size));
  data.set(v->bytes.data(), static_cast<int>(size));
  count = static_cast<int>((size + def->size - 1) / def->size);
  return true;
}

bool CQbaseRecord::setBinaryArray(short number, const void* data, int count) {
  const QbaseFieldDef* def = nullptr;
  if (!slot(number, QbaseFieldType::kBinaryArray, &def)) return false;
  if (count < 0 || (count > 0 && !data))
    return error_.fail("bad binary array of " + std::to_string(count) + " items");
  // Every fixed capacity cuts silently.
  int64_t size = static_cast<int64_t>(std::min(count, CQbase::kMaxBinaryArrayItems)) * def->size;
  return setBytes(number, QbaseFieldType::kBinaryArray, data, static_cast<size_t>(size));
}

bool CQbaseRecord::getAttachment(CByteBuffer& data) {
  const QbaseFieldValue* v = present(0, QbaseFieldType::kAttachment);
  if (!v) return false;
  data.set(v->bytes.data(), static_cast<int>(v->bytes.size()));
  return true;
}

bool CQbaseRecord::setAttachment(const void* data, int size) {
  if (size < 0 || (size > 0 && !data)) return error_.fail("bad attachment");
  return setBytes(0, QbaseFieldType::kAttachment, data, static_cast<size_t>(size));
}

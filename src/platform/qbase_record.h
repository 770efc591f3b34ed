#pragma once
// CQbaseRecord: the current record of a record database, held in memory: its record
// definition, its key and one value per field of the dictionary. The typed accessors check
// each field number and type against the dictionary; a backend fills the values from a row
// it read and stores them as they stand. Private to CQbase.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/qbase_dictionary.h"
#include "platform/qbase_error.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/wsz.h"

// A field as it is stored: integers in `i`, reals in `d`, texts and BLOBs in `bytes`.
struct QbaseFieldValue {
  bool present = false;
  int64_t i = 0;
  double d = 0;
  std::string bytes;
};

class CQbaseRecord {
 public:
  // Failures are described in `error`, which must outlive the record.
  explicit CQbaseRecord(QbaseError& error) : error_(error) {}
  CQbaseRecord(const CQbaseRecord&) = delete;
  CQbaseRecord& operator=(const CQbaseRecord&) = delete;

  // Becomes an empty record of `def` with `key`; `def` must outlive the record's use.
  void start(const QbaseRecordDef& def, std::string_view key);
  // The stored values, values()[i] of field def()->fields[i]: a backend that loads a row
  // starts the record and fills them; one that stores it reads them.
  std::vector<QbaseFieldValue>& values() { return values_; }
  const std::vector<QbaseFieldValue>& values() const { return values_; }
  // No current record afterwards.
  void clear() { def_ = nullptr; }

  bool isSet() const { return def_ != nullptr; }
  const QbaseRecordDef* def() const { return def_; }
  const std::string& key() const { return key_; }

  // The typed accessors of CQbase (see there).
  bool getInteger(short number, QbaseFieldType type, int64_t min, int64_t max, int64_t& out);
  bool setInteger(short number, QbaseFieldType type, int64_t value);
  bool getFloat(short number, float& value);
  bool setFloat(short number, float value);
  bool getSz(short number, CChBuffer& text);
  bool getSz(short number, char* buffer, int size);
  bool setSz(short number, const char* text);
  bool getWsz(short number, CWsz& text);
  bool setWsz(short number, const wchar_t* text);
  bool getPoint(short number, double& x, double& y, double& z);
  bool setPoint(short number, double x, double y, double z);
  bool getShortArray(short number, CInt16Array& values);
  bool setShortArray(short number, const CInt16Array& values);
  bool getFloatArray(short number, CFloatArray& values);
  bool setFloatArray(short number, const CFloatArray& values);
  bool getBinaryArray(short number, CByteBuffer& data, int& count);
  bool setBinaryArray(short number, const void* data, int count);
  bool getAttachment(CByteBuffer& data);
  bool setAttachment(const void* data, int size);

 private:
  // The value of field `number` when the record's definition declares it with `type`; null
  // (with the reason in the error) otherwise.
  QbaseFieldValue* slot(short number, QbaseFieldType type, const QbaseFieldDef** def = nullptr) {
    int i = def_ ? def_->indexOf(number) : -1;
    if (i < 0 || def_->fields[i].type != type) [[unlikely]] {
      return undeclared(number, type);
    }
    if (def) *def = &def_->fields[i];
    return &values_[i];
  }
  [[gnu::cold, gnu::noinline]] QbaseFieldValue* undeclared(short number, QbaseFieldType type);
  // The value of a declared field that the record holds; null when absent or undeclared.
  const QbaseFieldValue* present(short number, QbaseFieldType type,
                                 const QbaseFieldDef** def = nullptr) {
    const QbaseFieldValue* v = slot(number, type, def);
    return v && v->present ? v : nullptr;
  }
  bool setBytes(short number, QbaseFieldType type, const void* data, size_t size);

  QbaseError& error_;
  const QbaseRecordDef* def_ = nullptr;
  std::string key_;
  std::vector<QbaseFieldValue> values_;
};

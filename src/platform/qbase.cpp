#include "vxkd/platform/qbase.h"

#include <climits>
#include <cstring>
#include <string>

#include "platform/qbase_backend.h"
#include "platform/qbase_dictionary.h"
#include "platform/qbase_pg.h"
#include "platform/qbase_record.h"
#include "platform/qbase_sqlite.h"
#include "vxkd/platform/file_time.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"

// The open database: the dictionary, the backend that holds the dataset (null while closed)
// and the current record.
struct CQbase::Impl {
  QbaseError error;
  CQbaseDictionary dict;
  CQbaseRecord record{error};
  std::unique_ptr<CQbaseBackend> backend;
  // The dataset as it was named to openDatabase, kept after the close for timeStamp().
  CWsz location;
  // The set being enumerated.
  const QbaseRecordDef* set = nullptr;
  // The stamp that the last successful close left, for timeStamp().
  uint64_t closedStamp = 0;
  bool hasClosedStamp = false;

  bool fail(std::string message) { return error.fail(std::move(message)); }
  bool fail(failReason reason, std::string message) {
    return error.fail(reason, std::move(message));
  }

  // The record definition of `code` with `key` checked against its width; null (with the
  // reason kept) otherwise, or when nothing is open.
  const QbaseRecordDef* recordDef(const char* code, const char* key) {
    if (!backend) {
      fail("not open");
      return nullptr;
    }
    int i = code ? dict.indexOf(code) : -1;
    if (i < 0) {
      fail(std::string("unknown record code ") + (code ? code : "(none)"));
      return nullptr;
    }
    const QbaseRecordDef& def = dict.records()[i];
    if (!key) {
      fail("no key");
      return nullptr;
    }
    size_t n = std::strlen(key);
    if (n == 0 || n > static_cast<size_t>(def.keyWidth)) {
      fail("key '" + std::string(key) + "' does not fit record " + def.code);
      return nullptr;
    }
    return &def;
  }

  // Closes the backend and forgets it.
  void drop() {
    if (backend) backend->abandon();
    backend.reset();
    record.clear();
    set = nullptr;
  }
};

CQbase::CQbase() : impl_(std::make_unique<Impl>()) {}

CQbase::~CQbase() { abandon(); }

bool CQbase::openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, bool create) {
  return openDatabase(dictionaryPath, path, create ? openCreate : openUpdate);
}

bool CQbase::openDatabase(const wchar_t* dictionaryPath, const wchar_t* path, openMode mode) {
  Impl& d = *impl_;
  if (d.backend) return d.fail(reasonFailed, "already open");
  d.error.clear();
  d.location.empty();
  d.hasClosedStamp = false;
  if (!dictionaryPath || !*dictionaryPath) return d.fail(reasonFailed, "no dictionary");
  if (!d.dict.load(cuFile::nativePath(dictionaryPath))) return d.fail(reasonFailed, d.dict.error());
  if (!path || !*path) return d.fail(reasonMissing, "no dataset path");
  // A server URI names a dataset on a PostgreSQL server, anything else a file.
  d.backend =
      cuFile::isServerUri(path) ? makeQbasePgBackend(d.error) : makeQbaseSqliteBackend(d.error);
  if (!d.backend->open(d.dict, cuFile::nativePath(path), mode)) {
    d.drop();
    return false;
  }
  d.location.set(path);
  return true;
}

bool CQbase::closeDatabase() {
  Impl& d = *impl_;
  if (!d.backend) return d.fail("not open");
  d.set = nullptr;
  d.record.clear();
  bool ok = d.backend->close();
  d.closedStamp = 0;
  d.hasClosedStamp = ok && d.backend->stamp(d.closedStamp);
  d.backend.reset();
  return ok;
}

bool CQbase::timeStamp(cuFile::CFileTime& stamp) const {
  const Impl& d = *impl_;
  stamp = cuFile::CFileTime();
  uint64_t time = d.closedStamp;
  if (d.backend ? !d.backend->stamp(time) : !d.hasClosedStamp) return false;
  stamp.path_ = d.location;
  stamp.time_ = time;
  return true;
}

void CQbase::abandon() {
  if (impl_) impl_->drop();
}

bool CQbase::isOpen() const { return impl_->backend != nullptr; }

bool CQbase::isReadOnly() const { return impl_->backend && impl_->backend->mode() == openRead; }

bool CQbase::isCurrentFile() const { return impl_->backend && impl_->backend->isCurrent(); }

void CQbase::setWarnings(bool) {}

const char* CQbase::lastError() const { return impl_->error.message.c_str(); }

CQbase::failReason CQbase::reason() const { return impl_->error.reason; }

const char* CQbase::reasonText(failReason reason) {
  constexpr const char* kTexts[] = {
      "no failure", "not a database", "not a dataset", "written by a newer version",
      "damaged",    "read-only",      "busy",          "missing",
      "failed",
  };
  return reason <= reasonFailed ? kTexts[reason] : kTexts[reasonFailed];
}

// ---------------------------------------------------------------------------------------
// Records

bool CQbase::createRec(const char* code, const char* key) {
  Impl& d = *impl_;
  const QbaseRecordDef* def = d.recordDef(code, key);
  if (!def) return false;
  d.record.start(*def, key);
  return true;
}

bool CQbase::saveRec() {
  Impl& d = *impl_;
  if (!d.backend) return d.fail("not open");
  if (!d.backend->canWrite()) return false;
  if (!d.record.isSet()) return d.fail("no current record");
  return d.backend->save(d.record);
}

bool CQbase::fetchRec(const char* code, const char* key) {
  Impl& d = *impl_;
  d.record.clear();
  const QbaseRecordDef* def = d.recordDef(code, key);
  if (!def) return false;
  int found = d.backend->fetch(*def, key, d.record);
  if (found > 0) return true;
  d.record.clear();
  return found == 0 ? d.fail("no record " + def->code + " " + key) : false;
}

bool CQbase::deleteRec(const char* code, const char* key) {
  Impl& d = *impl_;
  const QbaseRecordDef* def = d.recordDef(code, key);
  if (!def || !d.backend->canWrite()) return false;
  int removed = d.backend->remove(*def, key);
  if (removed == 0) return d.fail("no record " + def->code + " " + key);
  if (removed < 0) return false;
  if (d.record.def() == def && d.record.key() == key) d.record.clear();
  return true;
}

bool CQbase::getObjId(char* buffer, int size) const {
  const CQbaseRecord& r = impl_->record;
  if (!r.isSet() || !buffer || size < 1) return false;
  cuSz::copyTo(buffer, size, r.key());
  return r.key().size() < static_cast<size_t>(size);
}

bool CQbase::getObjId(CChBuffer& key) const {
  if (!impl_->record.isSet()) return false;
  key.set(impl_->record.key().c_str());
  return true;
}

// ---------------------------------------------------------------------------------------
// The set enumeration

bool CQbase::fetchFirstMember(const char* code) {
  Impl& d = *impl_;
  d.set = nullptr;
  d.record.clear();
  if (!d.backend) return false;
  int i = code ? d.dict.indexOf(code) : -1;
  if (i < 0) return d.fail(std::string("unknown record code ") + (code ? code : "(none)"));
  const QbaseRecordDef& def = d.dict.records()[i];
  if (!d.backend->first(def, d.record)) {
    d.record.clear();
    return false;
  }
  d.set = &def;
  return true;
}

bool CQbase::fetchNextMember() {
  Impl& d = *impl_;
  if (!d.backend || !d.set) return false;
  if (d.backend->next(d.record)) return true;
  d.record.clear();
  d.set = nullptr;
  return false;
}

// ---------------------------------------------------------------------------------------
// Typed fields of the current record

bool CQbase::getByte(short fieldNo, uint8_t& value) const {
  int64_t v;
  if (!impl_->record.getInteger(fieldNo, QbaseFieldType::kByte, 0, UINT8_MAX, v)) return false;
  value = static_cast<uint8_t>(v);
  return true;
}

bool CQbase::setByte(short fieldNo, uint8_t value) {
  return impl_->record.setInteger(fieldNo, QbaseFieldType::kByte, value);
}

bool CQbase::getShort(short fieldNo, short& value) const {
  int64_t v;
  if (!impl_->record.getInteger(fieldNo, QbaseFieldType::kShort, INT16_MIN, INT16_MAX, v))
    return false;
  value = static_cast<short>(v);
  return true;
}

bool CQbase::setShort(short fieldNo, short value) {
  return impl_->record.setInteger(fieldNo, QbaseFieldType::kShort, value);
}

bool CQbase::getLong(short fieldNo, long& value) const {
  int64_t v;
  if (!impl_->record.getInteger(fieldNo, QbaseFieldType::kLong, INT32_MIN, INT32_MAX, v))
    return false;
  value = static_cast<long>(v);
  return true;
}

bool CQbase::setLong(short fieldNo, long value) {
  if (value < INT32_MIN || value > INT32_MAX) return impl_->fail("value does not fit 32 bits");
  return impl_->record.setInteger(fieldNo, QbaseFieldType::kLong, value);
}

bool CQbase::getFloat(short fieldNo, float& value) const {
  return impl_->record.getFloat(fieldNo, value);
}

bool CQbase::setFloat(short fieldNo, float value) { return impl_->record.setFloat(fieldNo, value); }

bool CQbase::getSz(short fieldNo, CChBuffer& text) const {
  return impl_->record.getSz(fieldNo, text);
}

bool CQbase::getSz(short fieldNo, char* buffer, int size) const {
  return impl_->record.getSz(fieldNo, buffer, size);
}

bool CQbase::setSz(short fieldNo, const char* text) { return impl_->record.setSz(fieldNo, text); }

bool CQbase::getWsz(short fieldNo, CWsz& text) const { return impl_->record.getWsz(fieldNo, text); }

bool CQbase::setWsz(short fieldNo, const wchar_t* text) {
  return impl_->record.setWsz(fieldNo, text);
}

bool CQbase::getPoint(short fieldNo, double& x, double& y, double& z) const {
  return impl_->record.getPoint(fieldNo, x, y, z);
}

bool CQbase::setPoint(short fieldNo, double x, double y, double z) {
  return impl_->record.setPoint(fieldNo, x, y, z);
}

bool CQbase::getShortArray(short fieldNo, CInt16Array& values) const {
  return impl_->record.getShortArray(fieldNo, values);
}

bool CQbase::setShortArray(short fieldNo, const CInt16Array& values) {
  return impl_->record.setShortArray(fieldNo, values);
}

bool CQbase::getFloatArray(short fieldNo, CFloatArray& values) const {
  return impl_->record.getFloatArray(fieldNo, values);
}

bool CQbase::setFloatArray(short fieldNo, const CFloatArray& values) {
  return impl_->record.setFloatArray(fieldNo, values);
}

bool CQbase::getBinaryArray(short fieldNo, CByteBuffer& data, int& count) const {
  return impl_->record.getBinaryArray(fieldNo, data, count);
}

bool CQbase::setBinaryArray(short fieldNo, const void* data, int count) {
  return impl_->record.setBinaryArray(fieldNo, data, count);
}

bool CQbase::getAttachment(CByteBuffer& data) const { return impl_->record.getAttachment(data); }

bool CQbase::setAttachment(const CByteBuffer& data) {
  return setAttachment(data.data(), data.size());
}

bool CQbase::setAttachment(const void* data, int size) {
  return impl_->record.setAttachment(data, size);
}

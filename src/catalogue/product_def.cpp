#include "vxkd/catalogue/product_def.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "foundation/record_key.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/std_property.h"

namespace {

// The fields of a product's record. The property set goes into the field its array writes.
enum recordField : short {
  fieldGuid = 1503,             // narrow, always written
  fieldDescription = 1502,      // wide
  fieldSymbolId = 1504,         // narrow
  fieldPartIdFormat = 1204,     // long
  fieldColor = 1102,            // short
  fieldLinetype = 1506,         // wide
  fieldLineWidth = 1306,        // float
  fieldSystem = 1212,           // long
  fieldHpvSystemType = 1213,    // long
  fieldIntegratedTexts = 1602,  // binary array; their rotations go beside it
};

// The group id of a key without a group part.
constexpr long kNoGroup = -1;
// Characters of the group part of a group product's key.
constexpr int kGroupKeyDigits = 6;

// The special names a product answers itself, and what they give.
enum class ownValue { partId, description, typeGuid };
struct OwnName {
  const wchar_t* name;
  ownValue value;
};
constexpr OwnName kOwnNames[] = {
    {L"*PARTID*", ownValue::partId},
    {L"*DESC*", ownValue::description},
    {L"*TYPEGUID*", ownValue::typeGuid},
};

std::string keyOf(long groupId, long productId) {
  return groupId == kNoGroup ? VxKd::buildDbId(productId) : VxKd::buildDbId(groupId, productId);
}

}  // namespace

// ---- CKdProductDef ----

void CKdProductDef::init() {
  dbId_ = 0;
  partIdFmtId_ = 0;
  colorNmb_ = colorByLayer;
  lineWidth_ = 0.0f;
  pos_ = CGmPoint();
  isModified_ = false;
  isInCurDwg_ = false;
  systemId_ = 0;
  hpvSystemTypeId_ = HpvSystems::noTypeId;
}

void CKdProductDef::setPartIdFmt(long id, const wchar_t* fmt) {
  partIdFmtId_ = static_cast<int32_t>(id);
  partIdFmt_.set(fmt);
}

char* CKdProductDef::buildDbId(long groupId, long productId, char* buf) {
  return cuSz::copyTo(buf, kDbIdSize, VxKd::buildDbId(groupId, productId));
}

char* CKdProductDef::buildDbId(long productId, char* buf) {
  return cuSz::copyTo(buf, kDbIdSize, VxKd::buildDbId(productId));
}

bool CKdProductDef::parseDbId(CQbase& db, long& groupId, long& productId) {
  groupId = 0;
  productId = 0;
  CChBuffer key;
  if (!db.getObjId(key) || key.length() <= kGroupKeyDigits) return false;
  long group = 0;
  long product = 0;
  if (!cuSz::scanLong(key.sz() + kGroupKeyDigits, product) || product < 1) return false;
  if (!cuSz::scanLong(key.str().substr(0, kGroupKeyDigits).c_str(), group) || group < 1)
    return false;
  groupId = group;
  productId = product;
  return true;
}

bool CKdProductDef::readAttributesFrom(CQbase& db, long productId,
                                       const CKdPropertyDefArray& defs) {
  *this = CKdProductDef();
  setDbId(productId);
  CChBuffer text;
  if (db.getSz(fieldGuid, text) && !text.isEmpty()) guid_.fromSz(text);
  db.getWsz(fieldDescription, desc_);
  if (db.getSz(fieldSymbolId, text)) setSymbolId(text);
  long number = 0;
  if (db.getLong(fieldPartIdFormat, number)) setPartIdFmtId(number);
  db.getShort(fieldColor, colorNmb_);
  db.getWsz(fieldLinetype, lineType_);
  db.getFloat(fieldLineWidth, lineWidth_);
  if (db.getLong(fieldSystem, number)) setSystemId(number);
  if (db.getLong(fieldHpvSystemType, number)) hpvSystemTypeId_ = static_cast<int32_t>(number);
  integratedTexts_.loadFrom(db, fieldIntegratedTexts);  // false: the product has none
  return properties_.readFromAttributeOf(db, defs);
}

bool CKdProductDef::saveTo(CQbase& db, const char* recordCode, long groupId) const {
  if (!db.createRec(recordCode, keyOf(groupId, dbId_).c_str())) return false;
  char guid[CKdGuid::textBufferSize];
  bool ok = db.setSz(fieldGuid, guid_.toSz(guid, sizeof guid));
  if (!desc_.isEmpty()) ok = db.setWsz(fieldDescription, desc_) && ok;
  if (hasSymbol()) ok = db.setSz(fieldSymbolId, symbolId_) && ok;
  if (partIdFmtId_ > 0) ok = db.setLong(fieldPartIdFormat, partIdFmtId_) && ok;
  if (colorNmb_ != colorByLayer) ok = db.setShort(fieldColor, colorNmb_) && ok;
  if (!lineType_.isEmpty()) ok = db.setWsz(fieldLinetype, lineType_) && ok;
  if (lineWidth_ > minStoredLineWidth) ok = db.setFloat(fieldLineWidth, lineWidth_) && ok;
  if (systemId_ > 0) ok = db.setLong(fieldSystem, systemId_) && ok;
  if (hpvSystemTypeId_ != HpvSystems::noTypeId)
    ok = db.setLong(fieldHpvSystemType, hpvSystemTypeId_) && ok;
  // False also for no texts at all, which is what the record then says.
  integratedTexts_.saveTo(db, fieldIntegratedTexts);
  ok = properties_.writeToAttributeOf(db) && ok;
  return db.saveRec() && ok;
}

bool CKdProductDef::deleteFrom(CQbase& db, long groupId) const {
  return db.deleteRec(CKdProductDefArray::groupClassId, keyOf(groupId, dbId_).c_str());
}

bool CKdProductDef::deleteFrom(CQbase& db, const char* recordCode) const {
  return db.deleteRec(recordCode, keyOf(kNoGroup, dbId_).c_str());
}

bool CKdProductDef::getPropertyValue(const CWsz& context, const wchar_t* name, CWsz& value) const {
  value.empty();
  if (!name) return false;
  for (const OwnName& own : kOwnNames) {
    if (!cuSz::equalNoCase(name, own.name)) continue;
    switch (own.value) {
      case ownValue::partId:
        value = partId_;
        break;
      case ownValue::description:
        value = desc_;
        break;
      case ownValue::typeGuid:
        value = guid_.toWsz();
        break;
    }
    return true;
  }
  if (HpvSystems::getSystemPropertyValue(context, systemId_, hpvSystemTypeId_, name, value))
    return true;
  const CKdProperty* property = properties_.findProperty(name);
  if (!property) return false;
  property->printValue(value, false);
  return true;
}

void CKdProductDef::addStdPropertyTo(const CWsz& context, const wchar_t* name,
                                     CKdPropertyArray& out) const {
  CWsz value;
  if (!getPropertyValue(context, name, value) || value.isEmpty()) return;
  CKdPropertyDefArray special;
  if (!special.addStdProperty(name)) return;
  CKdProperty property(*special.objAt(0));
  property.setValue(value);
  out.append(&property);
}

bool CKdProductDef::updatePropertyDefModification(const CKdPropertyDef& def) {
  CKdProperty* property = def.dbId() != 0 ? properties_.findId(def.dbId()) : nullptr;
  if (!property) property = properties_.findProperty(def.name());
  if (!property) return false;
  const bool retyped = property->valueType() != def.valueType();
  CWsz text;
  if (retyped) property->printValue(text, false);  // with the decimals it had
  property->setDbId(def.dbId());
  property->setName(def.name());
  property->setDesc(def.desc());
  property->setUnit(def.unit());
  property->setDecimals(def.decimals());
  if (retyped) {
    property->setValueType(def.valueType());
    property->setValue(text);
  }
  return true;
}

// ---- CKdProductDefArray ----

CKdProductDefArray::CKdProductDefArray(const char* classId) { setClassId(classId); }

CKdProductDefArray::CKdProductDefArray(const CKdProductDefArray& other)
    : CKdOwningArray<CKdProductDef>(other),
      iKdPropertyDefUser(),
      iKdDimtextFormatUser(),
      iKdLinetypeUser(),
      sortPropertyName_(other.sortPropertyName_) {
  setClassId(other.classId_);
}

CKdProductDefArray& CKdProductDefArray::operator=(const CKdProductDefArray& other) {
  if (this != &other) {
    copyFrom(other);
    setClassId(other.classId_);
  }
  return *this;
}

CKdProductDefArray::CKdProductDefArray(CKdProductDefArray&& other) noexcept
    : CKdOwningArray<CKdProductDef>(std::move(other)),
      iKdPropertyDefUser(),
      iKdDimtextFormatUser(),
      iKdLinetypeUser(),
      sortPropertyName_(std::move(other.sortPropertyName_)) {
  setClassId(other.classId_);
}

CKdProductDefArray& CKdProductDefArray::operator=(CKdProductDefArray&& other) noexcept {
  if (this != &other) {
    CKdOwningArray<CKdProductDef>::operator=(std::move(other));
    sortPropertyName_ = std::move(other.sortPropertyName_);
    setClassId(other.classId_);
  }
  return *this;
}

void CKdProductDefArray::setClassId(const char* classId) {
  cuSz::copyTo(classId_, sizeof classId_, classId ? classId : "");
}

long CKdProductDefArray::idAt(int index) const {
  const CKdProductDef* product = objAt(index);
  return product ? product->dbId() : 0;
}

const wchar_t* CKdProductDefArray::nameAt(int index) const { return descriptionAt(index); }

const wchar_t* CKdProductDefArray::descriptionAt(int index) const {
  const CKdProductDef* product = objAt(index);
  return product ? product->desc().wsz() : emptyWsz();
}

CKdProductDef* CKdProductDefArray::findProduct(const CKdGuid& guid) const {
  return objAt(findProductIndex(guid));
}

int CKdProductDefArray::findProductIndex(const CKdGuid& guid) const {
  if (guid.isNull()) return -1;
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->guid().isEqualTo(guid)) return i;
  return -1;
}

void CKdProductDefArray::copyFrom(const CKdProductDefArray& other) {
  if (this == &other) return;
  CKdObjArray::copyFrom(other);
  sortPropertyName_ = other.sortPropertyName_;
}

bool CKdProductDefArray::saveTo(CQbase& db, long groupId) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db, classId_, groupId) && ok;
  return ok;
}

bool CKdProductDefArray::readFrom(CQbase& db, const CKdPropertyDefArray& defs) {
  reset();
  for (bool more = db.fetchFirstMember(classId_); more; more = db.fetchNextMember()) {
    long id = 0;
    if (!VxKd::readObjId(db, id) || id < 1) continue;
    // Read in place: a product read aside would be copied, properties and all, by append.
    CKdProductDef* added = emplace();
    if (added && !added->readAttributesFrom(db, id, defs)) deleteAt(length() - 1);
  }
  sort(sortByDescription);
  return true;
}

int CKdProductDefArray::assignFreeIds(long maxId) {
  // The first holder of an id keeps it; later holders, and ids no key can hold, move.
  std::unordered_set<long> kept;
  std::vector<int> unkeyed;
  for (int i = 0; i < length(); ++i) {
    const long id = idAt(i);
    if (id < 1 || id > maxId || !kept.insert(id).second) unkeyed.push_back(i);
  }
  int changed = 0;
  for (int index : unkeyed) {
    // Ids out of range do not block a free one, and a duplicate's id is taken anyway.
    const long fresh = nextId(1, maxId);
    if (fresh == 0) break;
    objAt(index)->setDbId(fresh);
    ++changed;
  }
  return changed;
}

void CKdProductDefArray::sortByProperty(const wchar_t* name, int direction) {
  sortPropertyName_.set(name);
  sort(direction > 0 ? sortByPropertyValue : direction < 0 ? -sortByPropertyValue : 0);
}

void CKdProductDefArray::updatePropertyDefModification(const CKdPropertyDef& def) {
  for (int i = 0; i < length(); ++i) objAt(i)->updatePropertyDefModification(def);
}

bool CKdProductDefArray::usesPropertyDef(long id) const {
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->properties().findId(id)) return true;
  return false;
}

bool CKdProductDefArray::usesDimtextFormat(long id, CWszArray& items) const {
  bool used = false;
  for (int i = 0; i < length(); ++i) {
    const CKdProductDef* product = objAt(i);
    if (!product->getIntegratedTexts().contains(id)) continue;
    items.append(product->desc());
    used = true;
  }
  return used;
}

bool CKdProductDefArray::usesLinetype(const wchar_t* name) const {
  for (int i = 0; i < length(); ++i)
    if (!objAt(i)->lineType().isEmpty() && cuSz::equalNoCase(objAt(i)->lineType(), name))
      return true;
  return false;
}

bool CKdProductDefArray::usesSymbol(const char* symbolId) const {
  for (int i = 0; i < length(); ++i)
    if (objAt(i)->hasSymbol() && std::strcmp(objAt(i)->symbolId(), symbolId ? symbolId : "") == 0)
      return true;
  return false;
}

int CKdProductDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto& x = *static_cast<const CKdProductDef*>(a);
  const auto& y = *static_cast<const CKdProductDef*>(b);
  switch (std::abs(sortId)) {
    case sortByDescription:
      return cuSz::compareNoCase(x.desc(), y.desc());
    case sortByPartId:
      return cuSz::compareNoCase(x.partId(), y.partId());
    case sortByPropertyValue: {
      CWsz xValue, yValue;
      x.getPropertyValue(CWsz(), sortPropertyName_, xValue);
      y.getPropertyValue(CWsz(), sortPropertyName_, yValue);
      return cuSz::compareLogical(xValue, yValue);
    }
    default:
      return 0;
  }
}

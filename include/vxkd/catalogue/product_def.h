#pragma once
// CKdProductDef, one catalogue entry that a user places in a drawing, and CKdProductDefArray,
// a list of them: the products of a product group (record "PD", keyed by group and product
// id) or one of the project's four definition sets of poly objects (ducts "SD", pipes "SP",
// electrical lines "SE", data lines "SA", keyed by product id alone). A product's property
// set and integrated texts are stored in its own record.

#include <cstdint>

#include "vxkd/dimtext/dimtext_format.h"
#include "vxkd/dimtext/integrated_text.h"
#include "vxkd/drawingdefs/linetype_def.h"
#include "vxkd/foundation/guid.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/geometry.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/hpv_systems.h"
#include "vxkd/properties/property.h"
#include "vxkd/properties/property_def.h"

class CQbase;

// A product definition. Copies copy every field.
class VXKD_API CKdProductDef {
 public:
  // The colour number that means "by layer", the default.
  static constexpr short colorByLayer = 256;
  // The longest symbol id kept, in bytes; a longer one is cut.
  static constexpr int maxSymbolIdLength = 99;
  // Line widths up to this are no width: they are not stored.
  static constexpr float minStoredLineWidth = 0.000001f;
  // The keys built by buildDbId need at most this many characters, terminator included.
  static constexpr int kDbIdSize = 24;

  CKdProductDef() = default;
  CKdProductDef(const CKdProductDef& other) = default;
  CKdProductDef& operator=(const CKdProductDef& other) = default;

  // Resets the scalars to their defaults: ids 0, colour by layer, width 0, no system type,
  // both flags false, position at the origin. Texts, GUID, properties and integrated texts
  // stay.
  void init();

  long dbId() const { return dbId_; }
  void setDbId(long id) { dbId_ = static_cast<int32_t>(id); }
  const CKdGuid& guid() const { return guid_; }
  void setGuid(const CKdGuid& guid) { guid_ = guid; }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* desc) { desc_.set(desc); }
  // The part id and the text of its format are runtime values: neither is stored.
  const CWsz& partId() const { return partId_; }
  void setPartId(const wchar_t* partId) { partId_.set(partId); }
  long partIdFmtId() const { return partIdFmtId_; }
  void setPartIdFmtId(long id) { partIdFmtId_ = static_cast<int32_t>(id); }
  const CWsz& partIdFmt() const { return partIdFmt_; }
  // Sets the format's id and keeps its text beside it.
  void setPartIdFmt(long id, const wchar_t* fmt);
  const CWsz& lineType() const { return lineType_; }
  void setLineType(const wchar_t* name) { lineType_.set(name); }
  short colorNmb() const { return colorNmb_; }
  void setColorNmb(short color) { colorNmb_ = color; }
  float lineWidth() const { return lineWidth_; }
  void setLineWidth(float width) { lineWidth_ = width; }
  const char* symbolId() const { return symbolId_; }
  // Keeps at most maxSymbolIdLength bytes, never cutting a character in two.
  void setSymbolId(const char* id) { symbolId_.set(id, maxSymbolIdLength); }
  bool hasSymbol() const { return !symbolId_.isEmpty(); }
  long systemId() const { return systemId_; }
  void setSystemId(long id) { systemId_ = static_cast<int32_t>(id); }
  HpvSystems::TypeId hpvSystemTypeId() const { return hpvSystemTypeId_; }
  void setHpvSystemTypeId(HpvSystems::TypeId id) { hpvSystemTypeId_ = id; }
  // Where the product stands; runtime only.
  const CGmPoint& pos() const { return pos_; }
  CGmPoint& pos() { return pos_; }
  void setPos(const CGmPoint& pos) { pos_ = pos; }
  CKdPropertyArray& properties() { return properties_; }
  const CKdPropertyArray& properties() const { return properties_; }
  CKdIntegratedTextArray& getIntegratedTexts() { return integratedTexts_; }
  const CKdIntegratedTextArray& getIntegratedTexts() const { return integratedTexts_; }
  // Runtime flags, never stored.
  bool isModified() const { return isModified_; }
  void setIsModified(bool modified) { isModified_ = modified; }
  bool isInCurDwg() const { return isInCurDwg_; }
  void setIsInCurDwg(bool inCurDwg) { isInCurDwg_ = inCurDwg; }

  // The key of a group's product: the group id in six and the product id in four zero-filled
  // digits. REQUIRES `buf` holds kDbIdSize characters. Returns `buf`.
  static char* buildDbId(long groupId, long productId, char* buf);
  // The key of a product without a group: its id in six zero-filled digits.
  static char* buildDbId(long productId, char* buf);
  // Splits the current record's key into group id (its first six characters) and product id
  // (the rest). False, with both 0, when there is no current record or either part is not
  // a number of 1 or more; so a six-digit key fails.
  static bool parseDbId(CQbase& db, long& groupId, long& productId);

  // Replaces the product by the current record, with the id `productId`: the fields the
  // record has, colour by layer and no system type where it lacks them, the integrated
  // texts, and the properties that `defs` defines (others are dropped). True.
  bool readAttributesFrom(CQbase& db, long productId, const CKdPropertyDefArray& defs);
  // Stores the product as record `recordCode`, keyed by buildDbId(groupId, dbId) or, for a
  // `groupId` of -1, by buildDbId(dbId). The GUID is always written; every other field only
  // when it differs from its default; then the integrated texts and the properties. False
  // when the record cannot be created (an unknown code, a key too long for it) or saved.
  bool saveTo(CQbase& db, const char* recordCode, long groupId) const;
  bool saveTo(CQbase& db, const char* recordCode) const { return saveTo(db, recordCode, -1); }
  // Deletes the record "PD" of this product in group `groupId`.
  bool deleteFrom(CQbase& db, long groupId) const;
  // Deletes the record `recordCode` of this product without a group.
  bool deleteFrom(CQbase& db, const char* recordCode) const;

  // The value of `name` as text, into `value` (emptied first). The names "*PARTID*",
  // "*DESC*" and "*TYPEGUID*" (any case) give the part id, the description and the GUID.
  // Any other name is asked first of the companion application's system properties for this
  // product's system (with `context`), then of the product's own properties, whose value is
  // printed without unit. False only when none of them has the name.
  bool getPropertyValue(const CWsz& context, const wchar_t* name, CWsz& value) const;
  // When getPropertyValue gives a non-empty value for the special property `name`, appends
  // to `out` a property of that special definition holding the value. Otherwise, and for a
  // name that is no special property, does nothing.
  void addStdPropertyTo(const CWsz& context, const wchar_t* name, CKdPropertyArray& out) const;

  // Applies a changed property definition to this product's copy of it: the property with
  // the definition's id, or else with its name (ignoring case), takes over id, name,
  // description, value type, unit and decimals. When the value type changes, the value is
  // printed as before and read as the new type, as reading the stored set back would. True
  // when the product holds such a property.
  bool updatePropertyDefModification(const CKdPropertyDef& def);

 private:
  int32_t dbId_ = 0;
  CKdGuid guid_;
  CWsz desc_;
  int32_t partIdFmtId_ = 0;
  CWsz partIdFmt_;
  CWsz partId_;
  CWsz lineType_;
  int16_t colorNmb_ = colorByLayer;
  float lineWidth_ = 0.0f;
  CChBuffer symbolId_;
  CKdPropertyArray properties_;
  CGmPoint pos_;
  bool isModified_ = false;
  bool isInCurDwg_ = false;
  int32_t systemId_ = 0;
  HpvSystems::TypeId hpvSystemTypeId_ = HpvSystems::noTypeId;
  CKdIntegratedTextArray integratedTexts_;
};

// A list of product definitions with the record code (class id) its members are stored
// under. The array answers whether its products use a property definition, a dimension text
// format or a linetype.
class VXKD_API CKdProductDefArray : public CKdOwningArray<CKdProductDef>,
                                    public iKdPropertyDefUser,
                                    public iKdDimtextFormatUser,
                                    public iKdLinetypeUser {
 public:
  // The sort keys; negative for descending. sortByPropertyValue sorts by the value of the
  // property that sortByProperty names.
  enum sortKey { sortByDescription = 1, sortByPartId = 2, sortByPropertyValue = 99 };

  // The class id of a group's products.
  static constexpr const char* groupClassId = "PD";
  // The largest product id that a key can hold: six digits without a group, four in one.
  static constexpr long kMaxId = 999999;
  static constexpr long kMaxGroupProductId = 9999;

  // An empty array storing its members under `classId` (two characters; more are cut).
  explicit CKdProductDefArray(const char* classId = groupClassId);
  // Copies the members, the class id, the sort id and the property sorted by.
  CKdProductDefArray(const CKdProductDefArray& other);
  CKdProductDefArray& operator=(const CKdProductDefArray& other);
  // Moves the members without copying them, with the class id, sort id and sorted property.
  CKdProductDefArray(CKdProductDefArray&& other) noexcept;
  CKdProductDefArray& operator=(CKdProductDefArray&& other) noexcept;
  ~CKdProductDefArray() override = default;

  const char* classId() const { return classId_; }
  void setClassId(const char* classId);

  long idAt(int index) const override;
  // A product has no name: both give its description.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // The first product with the GUID `guid`, and its index; null and -1 when none has it. The
  // null GUID identifies nothing and is never found.
  CKdProductDef* findProduct(const CKdGuid& guid) const;
  int findProductIndex(const CKdGuid& guid) const;

  // Replaces the members by copies of `other`'s, with its sort id and sorted property; the
  // class id stays, as it names where this array is stored.
  void copyFrom(const CKdProductDefArray& other);

  // Writes every member as saveTo(db, classId(), groupId) does; one failed record does not
  // stop the others. True when every record was written.
  bool saveTo(CQbase& db, long groupId) const;
  // For an array without a group: replaces the members by the records of the set named by
  // the class id whose key is a number of 1 or more and that read, then sorts them by
  // description. True.
  bool readFrom(CQbase& db, const CKdPropertyDefArray& defs);

  // Gives every member whose id is below 1, above `maxId` or already used by an earlier
  // member the next free id in 1..maxId (none when the range is full), so that each one is
  // stored under a key of its own and read back. Returns how many ids changed.
  int assignFreeIds(long maxId);

  // Sorts by the value of the property `name` in natural order (digit runs compare as
  // numbers): ascending for a positive `direction`, descending for a negative one; 0 records
  // "unsorted" and leaves the order. The name is kept with the array, so that
  // sortByCurrentSortId sorts by it again.
  void sortByProperty(const wchar_t* name, int direction);
  const CWsz& sortPropertyName() const { return sortPropertyName_; }

  // Applies a changed property definition to every product's copy of it
  // (CKdProductDef::updatePropertyDefModification).
  void updatePropertyDefModification(const CKdPropertyDef& def);

  // As a user of property definitions, dimension text formats and linetypes: the product
  // definitions.
  iKdPropertyDefUser::usageKind propertyDefUsageKind() const override {
    return iKdPropertyDefUser::productDefinitions;
  }
  // True when some product has a property of definition `id`.
  bool usesPropertyDef(long id) const override;
  iKdDimtextFormatUser::usageKind dimtextFormatUsageKind() const override {
    return iKdDimtextFormatUser::productDefinitions;
  }
  // True when some product integrates format `id`; the description of each such product is
  // appended to `items`.
  bool usesDimtextFormat(long id, CWszArray& items) const override;
  iKdLinetypeUser::usageKind linetypeUsageKind() const override {
    return iKdLinetypeUser::productDefinitions;
  }
  // True when some product draws with linetype `name` (ignoring case).
  bool usesLinetype(const wchar_t* name) const override;
  // True when some product draws the symbol `symbolId` (letter case counts).
  bool usesSymbol(const char* symbolId) const;

 protected:
  // Keys: description and part id (ignoring case), the value of the sorted property
  // (natural order).
  int sortCmp(int sortId, const void* a, const void* b) const override;

 private:
  char classId_[3] = {};
  CWsz sortPropertyName_;
};

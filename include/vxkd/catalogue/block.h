#pragma once
// Block definitions: a named arrangement of drawing items filed under a product group. Each
// item places a product's symbol (scaled and oriented) or a piece of stored graphics, with
// its own properties and drawing attributes. CKdBlock owns its items in a CKdBlockItemArray;
// a group owns its blocks in a CKdBlockArray.
//
// Records: "BS", one per block, keyed by the group id in six and the block's number in four
// digits; "BI", one per item, keyed by the group id in four, the block's number in three and
// the item's position in three digits. The group -1 is written as 0. A block's number is its
// position in its group counting from 1, an item's its position in its block counting from
// 0; neither is kept in the object.

#include <cstdint>

#include "vxkd/catalogue/product_def.h"
#include "vxkd/foundation/guid.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/geometry.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/symbol.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property.h"
#include "vxkd/properties/property_def.h"

class CQbase;

// What drawing a block needs from the dataset that holds it: the product definition that an
// item stands for and the 2D symbol that product draws. The project implements it.
class VXKD_API iKdBlockModelSource {
 public:
  virtual ~iKdBlockModelSource() = default;
  // The product definition with GUID `guid` among the products of the product groups, in
  // group order; null when none has it.
  virtual const CKdProductDef* findBlockProduct(const CKdGuid& guid) const = 0;
  // A copy of the 2D symbol whose symbol id is `symbolId` (exact); false, with `out`
  // cleared, when there is none.
  virtual bool find2dSymbol(const char* symbolId, CVxSymbolModel& out) const = 0;
};

// One item of a block. Copies copy every field.
class VXKD_API CKdBlockItem {
 public:
  // The colour that the writer leaves out: a record without a colour holds this one.
  static constexpr short colorByLayer = 256;
  // The bytes of one item of the graphics field (see the dataset dictionary) and the most
  // stored graphics an item keeps.
  static constexpr int graphicsItemSize = 28;
  static constexpr int maxGraphicsBytes = CGmModel::maxStoredBytes;
  // The largest group id, block number and item position that an item's key can hold.
  static constexpr long kMaxKeyGroupId = 9999;
  static constexpr long kMaxKeyBlockNmb = 999;
  static constexpr long kMaxKeyItemNmb = 999;

  // How addTo drew the item, or why it drew nothing.
  enum drawResult {
    drawnStoredGraphics,
    drawnSymbol,
    damagedGraphics,  // stored graphics that do not load
    noProduct,        // no product definition has the item's GUID
    noSymbol,         // the product has no symbol
    unknownSymbol,    // the dataset holds no symbol of the product's symbol id
  };

  CKdBlockItem() = default;
  CKdBlockItem(const CKdBlockItem& other) = default;
  CKdBlockItem& operator=(const CKdBlockItem& other) = default;

  // The GUID of the product definition the item stands for: an item names its product by
  // the product's GUID, which stays the same when the product is renamed or copied into
  // another dataset. The null GUID names none.
  const CKdGuid& guid() const { return guid_; }
  void setGuid(const CKdGuid& guid) { guid_ = guid; }
  CKdPropertyArray& properties() { return properties_; }
  const CKdPropertyArray& properties() const { return properties_; }
  // Where the item's symbol is placed, and its coordinate system's two axes.
  const CGmPoint& position() const { return position_; }
  void setPosition(const CGmPoint& position) { position_ = position; }
  const CGmVector& firstAxis() const { return firstAxis_; }
  void setFirstAxis(const CGmVector& axis) { firstAxis_ = axis; }
  const CGmVector& secondAxis() const { return secondAxis_; }
  void setSecondAxis(const CGmVector& axis) { secondAxis_ = axis; }
  // The item's own drawing in the graphics model's stored form (CGmModel::store); empty
  // when the item draws its product's symbol.
  const CByteBuffer& graphicsData() const { return graphics_; }
  bool hasGraphics() const { return !graphics_.isEmpty(); }
  // Keeps `size` bytes of stored graphics; false, keeping the old ones, for more than
  // maxGraphicsBytes, which the record could not hold whole.
  bool setGraphicsData(const void* data, int size);
  // Keeps `model` as the item's stored graphics; false, keeping the old ones, when its stored
  // form is longer than maxGraphicsBytes or holds numbers beyond single precision.
  bool setGraphics(const CGmModel& model);
  void clearGraphics() { graphics_.empty(); }
  // The system type of the item.
  short getType() const { return type_; }
  void setType(short type) { type_ = type; }
  float lineWidth() const { return lineWidth_; }
  void setLineWidth(float width) { lineWidth_ = width; }
  const CWsz& lineType() const { return lineType_; }
  void setLineType(const wchar_t* name) { lineType_.set(name); }
  const CWsz& name() const { return name_; }
  void setName(const wchar_t* name) { name_.set(name); }
  short colorNmb() const { return colorNmb_; }
  void setColorNmb(short color) { colorNmb_ = color; }
  float scale() const { return scale_; }
  void setScale(float scale) { scale_ = scale; }

  // Whether the key of item `itemNmb` of block `blockNmb` of group `groupId` can be written
  // and read back as such: a group of -1 or 0 to kMaxKeyGroupId, a block number of 1 to
  // kMaxKeyBlockNmb and a position of 0 to kMaxKeyItemNmb.
  static bool canBuildDbId(long groupId, long blockNmb, long itemNmb);
  // Splits the current "BI" record's key: the item position from its eighth character on
  // (0 or more), the block number from its fifth to seventh (1 or more) and the group id
  // from its first four (0 or more; 0 gives -1). False on any other outcome, with the group
  // -1 and the numbers 0 or as far as they were read.
  static bool parseDbId(CQbase& db, long& groupId, long& blockNmb, long& itemNmb);

  // Replaces the item by the current "BI" record: the fields it has, the defaults where it
  // lacks them (no colour field: colour 256, which is the one colour the writer leaves out),
  // and the properties that `defs` defines. True.
  bool readFrom(CQbase& db, const CKdPropertyDefArray& defs);
  // Stores the item as the "BI" record of position `itemNmb` in block `blockNmb` of group
  // `groupId`: every field, except the graphics when there are none and the colour when it
  // is 256. False when the record cannot be created (a key beyond canBuildDbId) or saved.
  bool saveTo(CQbase& db, long groupId, long blockNmb, long itemNmb) const;

  // Draws the item into `model`'s current node: its stored graphics as they stand, or else
  // the symbol of the product it names, in the item's colour, scaled by the item's scale and
  // placed in the coordinate system of its position and axes. Returns what it drew, or why
  // it drew nothing.
  drawResult addTo(CGmModel& model, const iKdBlockModelSource& source) const;

 private:
  CKdGuid guid_;
  CKdPropertyArray properties_;
  CGmPoint position_;
  CGmVector firstAxis_;
  CGmVector secondAxis_;
  CByteBuffer graphics_;
  int16_t type_ = 0;
  float lineWidth_ = 0.0f;
  CWsz lineType_;
  CWsz name_;
  int16_t colorNmb_ = 0;
  float scale_ = 1.0f;
};

// The items of a block, in order.
class VXKD_API CKdBlockItemArray : public CKdOwningArray<CKdBlockItem> {
 public:
  // An item has no id; its name is its name, its description too.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override { return nameAt(index); }

  // Appends, in key order, every "BI" record whose key parses to group `groupId` and block
  // `blockNmb`, read with CKdBlockItem::readFrom. True.
  bool readFrom(CQbase& db, long groupId, long blockNmb, const CKdPropertyDefArray& defs);
  // Writes one "BI" record per item, keyed by its position. True only when all were saved.
  bool saveTo(CQbase& db, long groupId, long blockNmb) const;
};

// A block definition: a GUID (a fresh one for a new block), a description, which is also
// the block's name, and its items. Copies copy every field.
class VXKD_API CKdBlock {
 public:
  // The longest block number that a block's key can hold.
  static constexpr long kMaxKeyBlockNmb = 9999;
  // The longest group id that a block's key can hold.
  static constexpr long kMaxKeyGroupId = 999999;

  // A block without items, with a freshly created GUID.
  CKdBlock();
  CKdBlock(const CKdBlock& other) = default;
  CKdBlock& operator=(const CKdBlock& other) = default;

  const CKdGuid& guid() const { return guid_; }
  void setGuid(const CKdGuid& guid) { guid_ = guid; }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* desc) { desc_.set(desc); }
  CKdBlockItemArray& items() { return items_; }
  const CKdBlockItemArray& items() const { return items_; }
  // Appends a copy of `item`.
  bool add(const CKdBlockItem& item) { return items_.append(&item); }

  // Whether block `blockNmb` of group `groupId` and each of its items can be keyed (see
  // CKdBlockItem::canBuildDbId): a block whose items could not all be stored is not stored.
  bool canBuildDbIds(long groupId, long blockNmb) const;
  // Splits the current "BS" record's key. A key whose first six characters are a group id
  // of 1 or more is that group's block, numbered by the rest (0 or more; a number that does
  // not parse makes it no such key). Any other key, read as one number of 1 or more, is that
  // block of the group -1. False, with both 0, otherwise.
  static bool parseDbId(CQbase& db, long& groupId, long& blockNmb);

  // The GUID (when the record has a non-empty one) and the description of the current "BS"
  // record; the items stay. True.
  bool readFrom(CQbase& db);
  // Replaces the items by those of block `blockNmb` of group `groupId`.
  bool readItemsFrom(CQbase& db, long groupId, long blockNmb, const CKdPropertyDefArray& defs);
  // Stores the block as "BS" record `blockNmb` of group `groupId` (GUID and description),
  // then its items. False when the record cannot be created or saved, or an item fails.
  bool saveTo(CQbase& db, long groupId, long blockNmb) const;

  // Draws the items into `model`, which is cleared first, each closed as a node of its own
  // (an item that draws nothing leaves an empty node), only the first with `firstOnly`.
  // True.
  bool getModel(CGmModel& model, const iKdBlockModelSource& source, bool firstOnly) const;

 private:
  CKdGuid guid_;
  CWsz desc_;
  CKdBlockItemArray items_;
};

// The blocks of a group, or of a whole dataset.
class VXKD_API CKdBlockArray : public CKdOwningArray<CKdBlock> {
 public:
  // Sort key 1 (-1 descending): the descriptions, ignoring case. Other keys keep the order.
  enum sortKey { sortByDescription = 1 };

  // A block's name and description are its description.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override { return nameAt(index); }

  // The first block with GUID `guid`; null when none has it or the GUID is null.
  CKdBlock* find(const CKdGuid& guid) const;

  // Replaces the array by every "BS" record of the dataset, whatever its group, in key
  // order, each with the items of the group and block number its key gives. When
  // `groupIds` is given, it receives the group of each block (-1 for a key without one).
  // True.
  bool readFrom(CQbase& db, const CKdPropertyDefArray& defs, CInt32Array* groupIds = nullptr);
  // Replaces the array by the "BS" records of group `groupId` (-1: those without a group
  // part), in key order, each with the items of its key's number. True.
  bool readFrom(CQbase& db, long groupId, const CKdPropertyDefArray& defs);
  // Replaces every stored block of group `groupId` by this array's blocks, numbered from 1,
  // so that no record of a removed block stays behind. Goes on after a failed block; true
  // only when every block was stored. When the array holds a block or an item that no key
  // can carry, nothing is deleted or written and the result is false: the stored blocks stay
  // as they were rather than lose what cannot be written back.
  bool saveTo(CQbase& db, long groupId) const;
  // Deletes the "BS" records of group `groupId` and those whose key does not parse, and the
  // items of each block deleted (deleteBlockItemRecs). True.
  bool deleteBlockRecs(CQbase& db, long groupId) const;
  // Deletes the "BI" records of block `blockNmb` of group `groupId` and those whose key does
  // not parse. True.
  bool deleteBlockItemRecs(CQbase& db, long groupId, long blockNmb) const;

 protected:
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

#pragma once
// Product groups: the catalogue's tree. CKdProductGroupArray holds the whole tree as one flat
// array; the tree exists through the owner links alone. Each group owns the product
// definitions and block definitions filed under it.
//
// The tree hangs under root groups, whose ids are below 1. After every read the array holds
// the root -1, "Group definitions". Roots have no record of their own; the products and
// blocks of the root -1 are stored under keys without a group part. A stored group has an id
// of 1 to 999999 and the record "PG", keyed by its id in six digits.

#include <cstdint>
#include <vector>

#include "vxkd/catalogue/block.h"
#include "vxkd/catalogue/part_id_format.h"
#include "vxkd/catalogue/product_def.h"
#include "vxkd/dimtext/dimtext_format.h"
#include "vxkd/drawingdefs/linetype_def.h"
#include "vxkd/foundation/guid.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"

class CQbase;

class VXKD_API CKdProductGroup {
 public:
  // The roots of the tree, by their ids, passed wherever a parent id is expected.
  enum groupRootId : int32_t {
    rootGroupDefinitions = -1,  // "Group definitions", the catalogue of products and blocks
  };
  // The key built by buildDbId needs at most this many characters, terminator included.
  static constexpr int kDbIdSize = 24;
  // The largest id a group's key can hold.
  static constexpr long kMaxId = 999999;

  // An empty group: ids 0, no GUID, no description, no products (class id "PD") or blocks.
  CKdProductGroup() = default;
  CKdProductGroup(const CKdProductGroup& other) = default;
  CKdProductGroup& operator=(const CKdProductGroup& other) = default;
  CKdProductGroup(CKdProductGroup&& other) noexcept = default;
  CKdProductGroup& operator=(CKdProductGroup&& other) noexcept = default;

  // Empties the group and sets the five values.
  void init(long dbId, long ownerId, long orderNmb, const CKdGuid& guid, const wchar_t* desc);
  // Empties the group: ids 0, null GUID, no description, products or blocks.
  void reset() { *this = CKdProductGroup(); }

  long dbId() const { return dbId_; }
  void setDbId(long id) { dbId_ = static_cast<int32_t>(id); }
  // The parent's id; a top group holds its root's id, a root 0.
  long ownerGroupId() const { return ownerGroupId_; }
  void setOwnerId(long id) { ownerGroupId_ = static_cast<int32_t>(id); }
  // The position among the siblings.
  long orderNmb() const { return orderNmb_; }
  void setOrderNmb(long order) { orderNmb_ = static_cast<int32_t>(order); }
  const CKdGuid& guid() const { return guid_; }
  void setGuid(const CKdGuid& guid) { guid_ = guid; }
  // The description shown in the tree; a language-text key when it begins with "#".
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* desc) { desc_.set(desc); }
  CKdProductDefArray& products() { return products_; }
  const CKdProductDefArray& products() const { return products_; }
  CKdBlockArray& blocks() { return blocks_; }
  const CKdBlockArray& blocks() const { return blocks_; }
  // True for a root: an id below 1.
  bool isRoot() const { return dbId_ < 1; }
  // The root -1 as every catalogue has it after a read: "Group definitions" in the active
  // language, no owner, order, GUID, products or blocks.
  static CKdProductGroup defaultRoot();

  // The record key: the id in six zero-filled digits. REQUIRES `buf` holds kDbIdSize
  // characters. Returns `buf`.
  char* buildDbId(char* buf) const;

  // Replaces the group by the current "PG" record. False, with the group empty, when its
  // key is not a number of 1 or more. An order number below 1 becomes the id.
  bool readDefinitionsFrom(CQbase& db);
  // Stores the group's "PG" record. False when it cannot be created (an id no key holds) or
  // saved.
  bool saveDefinitionsTo(CQbase& db) const;
  // Stores the group's products, or its blocks (replacing every stored block of the group).
  bool saveProductsTo(CQbase& db) const;
  bool saveBlocksTo(CQbase& db) const;
  // Deletes the group's "PG" record (false when that fails, at once) and the "PD" record of
  // each of its products. Its blocks' records stay. True once the group's record is gone.
  bool deleteFrom(CQbase& db) const;

 private:
  int32_t dbId_ = 0;
  int32_t ownerGroupId_ = 0;
  int32_t orderNmb_ = 0;
  CKdGuid guid_;
  CWsz desc_;
  CKdProductDefArray products_{CKdProductDefArray::groupClassId};
  CKdBlockArray blocks_;
};

// The catalogue: every group of a dataset, roots included, in one flat array. As a user of
// property definitions, dimension text formats and linetypes it answers for the products of
// all its groups.
class VXKD_API CKdProductGroupArray : public CKdOwningArray<CKdProductGroup>,
                                      public iKdPropertyDefUser,
                                      public iKdDimtextFormatUser,
                                      public iKdLinetypeUser {
 public:
  // Sort keys, negative for descending: the descriptions ignoring case, the order numbers.
  enum sortKey { sortByDescription = 1, sortByOrderNmb = 2 };
  // getGroupPath follows at most this many owner links.
  static constexpr int kMaxPathSteps = 100;
  // findGroup reads at most this many characters of a path.
  static constexpr int kMaxPathChars = 255;

  CKdProductGroupArray() = default;
  CKdProductGroupArray(const CKdProductGroupArray& other) = default;
  CKdProductGroupArray& operator=(const CKdProductGroupArray& other) = default;
  CKdProductGroupArray(CKdProductGroupArray&& other) noexcept = default;
  CKdProductGroupArray& operator=(CKdProductGroupArray&& other) noexcept = default;
  ~CKdProductGroupArray() override = default;

  long idAt(int index) const override;
  // A group's name and description are its description.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override { return nameAt(index); }

  // Replaces the array by the catalogue of the dataset: the groups of "PG" (also those whose
  // key gives no id: they keep the id 0), each group's products of "PD" sorted by
  // description, the root -1 when no group has that id, and the blocks of "BS" with their
  // items. Products and blocks without a group part in their key belong to the root -1;
  // records of groups the array lacks are skipped. Each block gets the items stored under
  // its own key's number, so that a gap in the numbering moves no item to another block.
  // True.
  bool readFrom(CQbase& db, const CKdPropertyDefArray& defs);
  // Stores every group in array order: its record, its products, its blocks (which replace
  // the group's stored blocks). Roots have no record: the root -1 stores its products and
  // blocks under keys without a group part, other roots nothing, since no key holds their
  // ids. Goes on after a failure; true only when everything was stored.
  bool saveTo(CQbase& db) const;
  // The same walk for the products only, or the blocks only.
  bool saveProductsTo(CQbase& db) const;
  bool saveBlocksTo(CQbase& db) const;

  // Removes the first group with GUID `guid`, or the group with id `id`; false when none has
  // it. The dataset, sub groups and other groups' products stay.
  bool deleteGroup(const CKdGuid& guid);
  bool deleteGroup(long id);

  // The group with id `id`, or the first with GUID `guid` (never for the null GUID); null
  // when none.
  CKdProductGroup* findGroup(long id) const;
  CKdProductGroup* findGroup(const CKdGuid& guid) const;
  // The group at `path` under `root`: descriptions joined by "/", each matched exactly
  // against the stored groups of its parent in order-number order, a "/" inside a
  // description written as "\". Null when a part matches no group, and for an empty path.
  CKdProductGroup* findGroup(CKdProductGroup::groupRootId root, const wchar_t* path) const;
  // The root above group `id`; 0 when a link leads to no group or the links loop.
  int findRootGroupId(long id) const;

  // The product `productId` of group `groupId`; with a `groupId` below 1, of the first group
  // that has one. Null when none.
  CKdProductDef* findProduct(long groupId, long productId);
  const CKdProductDef* findProduct(long groupId, long productId) const;
  // The same by description, ignoring case.
  CKdProductDef* findProduct(const wchar_t* name, long groupId);
  const CKdProductDef* findProduct(const wchar_t* name, long groupId) const;
  // The first product of any group with GUID `guid`; null when none (and for the null GUID).
  const CKdProductDef* findProduct(const CKdGuid& guid) const;
  // The block at position `index` of group `groupId`; with a `groupId` below 1, of the first
  // group that has a block at that position. Null when none.
  CKdBlock* findBlock(long groupId, int index) const;
  // The first block named `name` (ignoring case) of group `groupId`, or of any group for a
  // `groupId` below 1; its group in `foundIn` when given.
  CKdBlock* findBlock(const wchar_t* name, long groupId, long* foundIn = nullptr) const;
  // Appends copies of the products of every group, groups in array order, to `out` (which
  // is not emptied first).
  void getAllProductDefs(CKdProductDefArray& out) const;

  // True when a group is a child of group `id`.
  bool hasSubGroupsFor(long id) const;
  // One more than the highest order number among the children of `ownerId`; 1 without any.
  long nextSortOrderNmbUnderGroup(long ownerId) const;
  // Copies of the stored groups (id 1 or more) owned by `ownerId`, by order number, into
  // `out`, which is emptied first.
  void getTopSubGroupsOf(long ownerId, CKdProductGroupArray& out) const;
  // The ids of every descendant of group `id`, breadth first: its children in array order,
  // then theirs. The group itself is not listed, nor is any group twice, so that owner links
  // that loop still give a finite list. A root's owner 0 names no parent: 0 has no children.
  void getAllSubGroupIdsOf(long id, CInt32Array& out) const;
  // Copies of the groups of that list, in its order.
  void getAllSubGroupsOf(long id, CKdProductGroupArray& out) const;
  // The GUIDs of that list for the group with GUID `guid`; empty when none has it.
  void getAllSubGroupGuidsOf(const CKdGuid& guid, CKdGuidArray& out) const;
  // The stored groups from the topmost down to group `id`, following at most kMaxPathSteps
  // owner links; roots are not included.
  void getGroupPath(long id, std::vector<CKdProductGroup*>& path) const;
  // Their descriptions joined with "/", a "/" inside a description written as "\".
  CWsz getGroupPath(long id) const;
  // Each entry mapped through the groups; entries without a group are skipped.
  void getGuidsForIds(const CInt32Array& ids, CKdGuidArray& out) const;
  void getIdsForGuids(const CKdGuidArray& guids, CInt32Array& out) const;
  // For each GUID of a group, its description, or its path with `fullPath`; unknown GUIDs
  // are skipped. The second form joins them with `separator` (nothing for null).
  void getDescForGuids(const CKdGuidArray& guids, CWszArray& out, bool fullPath) const;
  CWsz getDescForGuids(const CKdGuidArray& guids, bool fullPath, const wchar_t* separator) const;

  // Makes sure that the groups of `path` (top first, as another dataset's getGroupPath gives
  // them) exist under `root`: each level is matched by description ignoring case, and what
  // is missing is appended with the path group's description, order number and GUID, and
  // its id when that is free (else the next free one; a GUID already in use gets a fresh
  // one). Returns the deepest group, or null for an empty path or a failed append.
  CKdProductGroup* appendGroupPath(const std::vector<CKdProductGroup*>& path,
                                   CKdProductGroup::groupRootId root);

  // Gives every product of every group that uses format `format` its template, and builds
  // its part ID from its properties.
  void updatePartIdFormatToProductDefs(const CKdPartIdFormat& format);
  // The same for each format of `formats`; products whose format is missing keep its id but
  // lose the template and part ID.
  void updatePartIdFormatsToProductDefs(const CKdPartIdFormatArray& formats);
  // Hands a changed property definition to the products of every group.
  void updatePropertyDefModification(const CKdPropertyDef& def);

  // As a user of property definitions, dimension text formats and linetypes: the products.
  iKdPropertyDefUser::usageKind propertyDefUsageKind() const override {
    return iKdPropertyDefUser::productDefinitions;
  }
  bool usesPropertyDef(long id) const override;
  iKdDimtextFormatUser::usageKind dimtextFormatUsageKind() const override {
    return iKdDimtextFormatUser::productDefinitions;
  }
  bool usesDimtextFormat(long id, CWszArray& items) const override;
  iKdLinetypeUser::usageKind linetypeUsageKind() const override {
    return iKdLinetypeUser::productDefinitions;
  }
  bool usesLinetype(const wchar_t* name) const override;
  // True when a product of some group draws the symbol `symbolId` (letter case counts).
  bool usesSymbol(const char* symbolId) const;

 protected:
  int sortCmp(int sortId, const void* a, const void* b) const override;

 private:
  // The stored children of `ownerId` in order-number order (pointers into this array).
  std::vector<CKdProductGroup*> storedChildrenOf(long ownerId) const;
};

#pragma once
// Part ID formats: named templates from which a product's part ID is built out of its
// property values ("{Width}x{Height}-{Material}"). Product definitions refer to a format by
// its id. Record "PI", keyed by the id in six digits.

#include <vector>

#include "vxkd/catalogue/product_def.h"
#include "vxkd/foundation/common_list_item.h"
#include "vxkd/foundation/guid.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"

class CQbase;

class VXKD_API CKdPartIdFormat {
 public:
  // The key built by buildDbId needs at most this many characters, terminator included.
  static constexpr int kDbIdSize = 24;

  CKdPartIdFormat() = default;
  CKdPartIdFormat(long dbId, const wchar_t* desc, const wchar_t* format)
      : dbId_(static_cast<int32_t>(dbId)), desc_(desc), format_(format) {}
  CKdPartIdFormat(const CKdPartIdFormat& other) = default;
  CKdPartIdFormat& operator=(const CKdPartIdFormat& other) = default;

  long dbId() const { return dbId_; }
  void setDbId(long id) { dbId_ = static_cast<int32_t>(id); }
  const CKdGuid& guid() const { return guid_; }
  void setGuid(const CKdGuid& guid) { guid_ = guid; }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* desc) { desc_.set(desc); }
  // The template text.
  const CWsz& format() const { return format_; }
  void setFormat(const wchar_t* format) { format_.set(format); }
  // Clears all four fields.
  void reset();
  // The record key: the id in six zero-filled digits. REQUIRES `buf` holds kDbIdSize
  // characters. Returns `buf`.
  char* buildDbId(char* buf) const;

  // Replaces the format by the current "PI" record. False, with the format cleared, when the
  // key is not a number of 1 or more.
  bool readFrom(CQbase& db);
  // Stores the format as its "PI" record: the GUID always, description and template when
  // not empty. False when the record cannot be created or saved.
  bool saveTo(CQbase& db) const;
  // Deletes the format's "PI" record; false when there is none.
  bool deleteFrom(CQbase& db) const;

 private:
  int32_t dbId_ = 0;
  CKdGuid guid_;
  CWsz desc_;
  CWsz format_;
};

class VXKD_API CKdPartIdFormatArray : public CKdOwningArray<CKdPartIdFormat> {
 public:
  // Sort keys, negative for descending: description and template, each ignoring case.
  enum sortKey { sortByDescription = 1, sortByFormat = 2 };
  // The largest id a key can hold.
  static constexpr long kMaxId = 999999;
  // The id of the list item that stands for "no format: the part ID is typed in".
  static constexpr long manualValueId = -1;

  long idAt(int index) const override;
  // A format's name and description are its description.
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override { return nameAt(index); }

  // Replaces the array by every "PI" record that reads, in key order. True.
  bool readFrom(CQbase& db);
  // Stores every format; true only when all were stored.
  bool saveTo(CQbase& db) const;

  // The rows of a format choice: first "Manual value" with the id -1, then one row per
  // format with its description and, as id, its position in this array (not its id).
  void asCommonListItems(CKdCommonListItemArray& out) const;

  // Deletes the formats at `indexes` (positions, in selection order) that no product of
  // `products` uses. When any was kept, one message over `hwnd` names the products that use
  // the kept ones. True when every selected format was deleted. Records are the caller's.
  bool deleteUnused(cuWin::HWND hwnd, const CInt32Array& indexes,
                    const std::vector<const CKdProductDefArray*>& products);

 protected:
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

// The formats of a dataset as a user of property definitions ("Part ID formats"): a format
// uses a definition when its template names it in braces.
class VXKD_API CKdPartIdFormatPropertyDefUser : public iKdPropertyDefUser {
 public:
  // REQUIRES both arrays outlive this object.
  CKdPartIdFormatPropertyDefUser(const CKdPartIdFormatArray& formats,
                                 const CKdPropertyDefArray& defs)
      : formats_(formats), defs_(defs) {}

  usageKind propertyDefUsageKind() const override { return partIdFormats; }
  bool usesPropertyDef(long id) const override;

 private:
  const CKdPartIdFormatArray& formats_;
  const CKdPropertyDefArray& defs_;
};

#pragma once
// CKdPropertyDef, a property that the dataset knows (name, description, value type, unit,
// decimals), and CKdPropertyDefArray, the project's list of them. The same array serves as
// a "format": definitions and literal texts in order, read from and written to a string
// such as "{Name} x {Width}".

#include <cstdint>
#include <string>
#include <vector>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/foundation/record_origin.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_value.h"
#include "vxkd/properties/unit.h"

class CQbase;
class CKdCommonListItemArray;

// A property definition. The id is 1..999999 for a user definition, a special property's
// negative id for a standard one, and 0 in a literal-text entry of a format, whose
// description then holds the literal text. A name beginning with "*" is a standard
// (special) property.
class VXKD_API CKdPropertyDef {
 public:
  CKdPropertyDef() = default;
  CKdPropertyDef(long id, const wchar_t* name, const wchar_t* description,
                 CKdPropertyValue::valueTypeId valueType, CKdUnit unit, int decimals);

  // Sets all six fields.
  void init(long id, const wchar_t* name, const wchar_t* description,
            CKdPropertyValue::valueTypeId valueType, CKdUnit unit, int decimals);
  // Id, value type, decimals and unit 0; both strings empty; no origin.
  void reset();

  long dbId() const { return id_; }
  void setDbId(long id) { id_ = static_cast<int32_t>(id); }
  CKdUnit unit() const { return unit_; }
  void setUnit(CKdUnit unit) { unit_ = unit; }
  CKdPropertyValue::valueTypeId valueType() const {
    return static_cast<CKdPropertyValue::valueTypeId>(valueType_);
  }
  void setValueType(CKdPropertyValue::valueTypeId type) { valueType_ = type; }
  int decimals() const { return decimals_; }
  // Held within 0..CKdPropertyValue::maxDecimals (a count outside is taken as the nearer
  // end), so that the values of the definition print within what a stored set reads back.
  void setDecimals(int decimals);
  // The name and the description hold what the dataset gives back: a code that is no
  // character (a surrogate, beyond U+10FFFF) is taken as U+FFFD, as the file stores it.
  const CWsz& name() const { return name_; }
  void setName(const wchar_t* name);
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* description);

  // True when the name begins with "*".
  bool isStdProperty() const { return name_.at(0) == L'*'; }
  // The text that stands for a value of this type and decimals in format previews ("#.##").
  void getSampleText(CWsz& text) const;

  // Resets, then reads the current record "RD": the id from the record key and the fields
  // that the record has. False when the key does not start with a positive number: the
  // fields are kept all the same, with id 0, so that nothing of the record is lost in memory.
  bool readFrom(CQbase& db);
  // Stores the definition as record "RD" keyed by its id in six digits; the name and the
  // description only when not empty. A definition read from a key of another form is moved:
  // its old record is removed in the same transaction. False, writing nothing, when the id is
  // outside 1..999999 or the record cannot be moved (see CKdRecordOrigin); else the
  // database's result.
  bool saveTo(CQbase& db) const;
  // Deletes the definition's record "RD" (the one it was read from, while that is there).
  bool deleteFrom(CQbase& db) const;
  // The key the definition is stored under: its id in six digits ("000042").
  std::string recordKey() const;
  // The key of the record the definition was read from.
  const CKdRecordOrigin& origin() const { return origin_; }
  // What keeps the definition from being stored under its own key (see CKdRecordOrigin).
  CKdRecordOrigin::obstacle writeObstacle() const;

 private:
  int32_t id_ = 0;
  CKdUnit unit_;
  uint8_t valueType_ = CKdPropertyValue::typeNone;
  uint8_t decimals_ = 0;
  CWsz name_;
  CWsz desc_;
  CKdRecordOrigin origin_;
};

// What uses property definitions by id (product definitions, part ID formats, layers, text
// formats, reports) implements this, so that the deletion of definitions can ask it without
// the properties layer knowing those owners.
class VXKD_API iKdPropertyDefUser {
 public:
  // The kinds of user, in the order the refusal message lists them.
  enum usageKind {
    productDefinitions,
    partIdFormats,
    layerDefinitions,
    textFormats,
    reportDefinitions,
  };

  virtual ~iKdPropertyDefUser() = default;
  virtual usageKind propertyDefUsageKind() const = 0;
  // True when some item of this user refers to property definition `id`.
  virtual bool usesPropertyDef(long id) const = 0;
};

// The property definitions of a project, or a format: definitions and literal texts.
class VXKD_API CKdPropertyDefArray : public CKdOwningArray<CKdPropertyDef> {
 public:
  // The sort keys of the editor list; negative for descending.
  enum sortKey { sortByName = 1, sortByDescription = 2, sortByUnit = 3, sortByValueType = 4 };

  // The largest id of a user definition.
  static constexpr long kMaxId = 999999;

  long idAt(int index) const override;
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // Appends a new definition. A special property name takes its fixed id; any other name
  // the next free id in 1..kMaxId. False, appending nothing, when a definition of that name
  // exists (ignoring case: findName), when no id is free or the append fails.
  bool add(const wchar_t* name, const wchar_t* description, CKdPropertyValue::valueTypeId valueType,
           CKdUnit unit, int decimals);
  // Appends the special property `name` (it must begin with "*"; case is ignored) with its
  // id, value type, unit, decimals and description. False, appending nothing, when `name`
  // is no special property.
  bool addStdProperty(const wchar_t* name);

  // The definitions in which every blank-separated word of `text` occurs, in the name or in
  // the description (ignoring case), into `out` in array order; true. An empty text copies
  // the whole array into `out` and returns false. REQUIRES `out` is not this array.
  bool filter(const wchar_t* text, CKdPropertyDefArray& out) const;

  // The format string of the entries: "{name}" for a definition, the literal text as it
  // stands for an entry without a name.
  void writeFormat(CWsz& out) const;
  // Replaces the entries by those of the format `text`: literal texts between the braces,
  // and for each braced name the special property of that name or else the first definition
  // of `all` with that name (ignoring case). An unknown name is dropped; an unterminated "{"
  // ends the format. REQUIRES `all` is not this array.
  void readFormat(const wchar_t* text, const CKdPropertyDefArray& all);

  // The definitions as list rows: id, name as text, description.
  void asCommonListItems(CKdCommonListItemArray& out) const;

  // Replaces the array by the records "RD" of `db`, in key order; true, also when there are
  // none. A record with a bad key is appended as its failed read left it: id 0, its fields
  // kept.
  bool readFrom(CQbase& db);
  // Saves every definition; one failed record does not stop the others. True when all were
  // saved (a definition whose id cannot be stored is not).
  bool saveTo(CQbase& db) const;

  // Checks the name that the user gave a definition in the edit dialog. `edited` is the
  // definition being renamed, or null for a new one. Refused, with an error box except for
  // the empty name: an empty name; a name that another definition has (ignoring case; when
  // renaming, checked only when the name changed at all, so a change of case alone is
  // refused too); one of the characters "*;:,|&=<>{}" (braces delimit names in formats); a
  // control character (0..31) or a code that is no character (a surrogate, beyond U+10FFFF).
  static bool validateName(cuWin::HWND hwnd, const CKdPropertyDefArray& all, const wchar_t* name,
                           const CKdPropertyDef* edited);

  // Deletes the definitions at `selectedIndexes` (indexes out of range are skipped) unless
  // one of `users` uses them. When any was kept, one message box lists the kinds of item
  // that use them. Returns true when every selected definition was deleted.
  bool deleteUnused(cuWin::HWND hwnd, const CInt32Array& selectedIndexes,
                    const std::vector<const iKdPropertyDefUser*>& users);

 protected:
  // Keys: name, description (both ignoring case), unit id, value type.
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

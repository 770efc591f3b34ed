#pragma once
// CKdProperty, a property definition together with a value, and CKdPropertyArray, the
// property set that an object carries. Sets are matched to each other by property name
// (ignoring case), never by id; a set is stored in field 1521 of its owner's record as
// lines "id=value".

#include <string_view>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property_def.h"
#include "vxkd/properties/property_value.h"

class CQbase;

// A property: the six fields of its definition, then its value. The definition's value type
// is the property's type: the constructors, init and setValueType keep the value's type
// equal to it, and setValue reads its text as that type.
//
// Whatever a property accepts survives a save and a read of its set (lines "id=value", each
// trimmed when read, a number read from at most CKdPropertyValue::maxNumberLength
// characters). So every value goes through one rule (storableForm) on its way in:
// - a real that is not finite, or whose printed form would be longer, is refused;
// - a text has each line break ("\r\n", "\r" or "\n") replaced by one blank, as a single-line
//   edit field shows it, and loses the blanks and tabs at its end, which the reader trims;
//   codes that are no characters become U+FFFD, as the file stores them; a text left empty
//   is no value.
// A standard property (name beginning with "*") is never read back from a stored set: its
// value comes from its object each time, so its values are taken as they stand.
class VXKD_API CKdProperty : public CKdPropertyDef {
 public:
  CKdProperty() = default;
  // A property of that definition, with no value yet.
  explicit CKdProperty(const CKdPropertyDef& def);

  // Sets the six definition fields and clears the value, whose type follows `valueType`.
  void init(long id, const wchar_t* name, const wchar_t* description,
            CKdPropertyValue::valueTypeId valueType, CKdUnit unit, int decimals);
  // Sets the type and clears the value.
  void setValueType(CKdPropertyValue::valueTypeId type);

  const CKdPropertyValue& value() const { return value_; }
  bool hasValue() const { return value_.hasValue(); }
  // Takes `value` as the stored form would give it back (see the class comment). False, with
  // no value, when its type is not the property's or the rule refuses it; a value without a
  // value clears the property's (true).
  bool setValue(const CKdPropertyValue& value);
  // Hides CKdPropertyDef::setDecimals: false, with the decimals unchanged, when the number
  // held would no longer print within CKdPropertyValue::maxNumberLength with `decimals`.
  bool setDecimals(int decimals);

  // True for the four numeric types.
  bool isNumber() const;
  // The longest text an edit field takes for this type: text 255, int16 6 ("-32768"),
  // int32 11 ("-2147483648"), reals 30 (what setValue accepts), any other type 0.
  int editLength() const;
  // True when both properties have the same value type and equal values.
  bool isValueEqualTo(const CKdProperty& other) const;

  // The printed value: "" without a value; a number with this property's decimals (and
  // "." as the decimal point whatever the locale), a text as it stands. With `withUnit`, a
  // number is followed by a blank and the unit id.
  void printValue(CWsz& out, bool withUnit) const;
  CWsz getValueAsText(bool withUnit) const;

  // Sets the value from what a user typed or a set stored. A null or empty text clears the
  // value and gives true. A text is stored as the class comment's rule gives it. A number may
  // have at most 30 characters (else false and no value); it is read as printf's scanf reads
  // it: leading blanks, an optional sign, the number, and whatever follows ignored. An
  // integer is cut at its first "," or "." (12.9 gives 12); a real takes "," as the decimal
  // point. When no number can be read, or it does not fit the type (an int16 beyond 16 bits,
  // an int32 beyond 32 bits, a real beyond its range or not finite), the value is 0 of the
  // type and the result false. A number whose printed form would be longer than 30
  // characters (1e27 with 2 decimals) is refused: false and no value. False for a property
  // without a value type.
  bool setValue(const wchar_t* text);
  // The same for the characters of `text` up to its first NUL.
  bool setValue(std::wstring_view text);

 private:
  // The one rule of the class comment: `value` as this property keeps it, in `out`; false
  // when it must be refused.
  bool storableForm(const CKdPropertyValue& value, CKdPropertyValue& out) const;
  // Whether `value` is already the form storableForm gives, found out cheaply: a real when
  // it surely prints short enough; never a text. False may mean "cannot tell".
  bool isStoredForm(const CKdPropertyValue& value) const;

  CKdPropertyValue value_;
};

// A property set: an ordered list of properties, matched to other sets by name.
class VXKD_API CKdPropertyArray : public CKdOwningArray<CKdProperty> {
 public:
  long idAt(int index) const override;
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // The first property of that name, ignoring case, and its index; null and -1 if none.
  CKdProperty* findProperty(const wchar_t* name) const;
  CKdProperty* findProperty(const wchar_t* name, int& index) const;

  // The stored form: one line per property in array order, joined by CR LF, each the id, "="
  // and the printed value without unit (nothing after "=" without a value).
  void writeAttributeText(CWsz& out) const;
  // Replaces the set by the properties of the stored form `text`. Each line is trimmed;
  // a line without "=", whose id is not a positive number or not defined in `defs`, is
  // skipped. The value after the first "=" is set as the definition's type.
  void readAttributeText(const wchar_t* text, const CKdPropertyDefArray& defs);
  // The definition ids that the stored form `text` names, in line order (emptied first):
  // the id of every line that readAttributeText reads, also of those it skips because no
  // definition holds the id. So a caller sees what a read of the set would drop.
  static void readAttributeIds(const wchar_t* text, CInt32Array& ids);
  // The same for field 1521 of the current record; an absent field names none.
  static void readAttributeIdsOf(CQbase& db, CInt32Array& ids);

  // Writes the stored form as field 1521 of the current record; an empty set writes nothing
  // and leaves the field as it was (true). False when the database refuses the field.
  bool writeToAttributeOf(CQbase& db) const;
  // Reads field 1521 of the current record as readAttributeText does; an absent or empty
  // field gives an empty set. True.
  bool readFromAttributeOf(CQbase& db, const CKdPropertyDefArray& defs);

  // Appends a copy of each property of `other` whose name this set lacks.
  void addPropertiesFrom(const CKdPropertyArray& other);
  // Each property of this set takes over all of its first namesake in `other`: definition
  // fields and value.
  void copyValuesAndSettingsFrom(const CKdPropertyArray& other);
  // Each property of this set takes the value of its first namesake in `other` when both
  // have the same value type; there is no conversion between types, so a namesake of
  // another type leaves the value alone.
  void copyValuesFrom(const CKdPropertyArray& other);
  // Moves the standard properties (names beginning with "*") into `out`, which is emptied
  // first, in order. True.
  bool moveStdPropertiesTo(CKdPropertyArray& out);
  // Removes the standard properties.
  void deleteStdProperties();

  // True when both sets hold the same names, in any order, each name matched once; with
  // `compareValues`, each pair also has the same value type and equal values.
  bool isEqualTo(const CKdPropertyArray& other, bool compareValues) const;
  // True when the set equals `a` or equals `b`, by isEqualTo.
  bool isEqualToOr(const CKdPropertyArray& a, const CKdPropertyArray& b,
                   bool compareValues = true) const;
};

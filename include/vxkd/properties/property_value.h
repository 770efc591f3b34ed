#pragma once
// CKdPropertyValue: the small typed value every property carries (a definition's default,
// a property instance's value, a special property's value), with its text forms.

#include <cstdint>
#include <string_view>

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

// One of five kinds of value, or nothing. A value may carry a type and no value
// (hasValue() false): that is how a known type without a set value is kept.
//
// Invariant: the text buffer exists only while the type is typeText, and every operation
// that changes the value or the type frees it first. Conversion runs only from integers
// to reals and from narrower to wider integers (see the getters).
//
// The fields are packed in this order with no padding: the flag, the type, then the
// 8-byte overlaid value.
#pragma pack(push, 1)
class VXKD_API CKdPropertyValue {
 public:
  enum valueTypeId : uint8_t {
    typeNone = 0,
    typeText = 1,
    typeInt16 = 2,  // kept sign-extended in the 32-bit slot
    typeInt32 = 3,
    typeSingleReal = 4,  // a float, held widened to 64 bits
    typeDoubleReal = 5,
  };

  // The longest printed number that a stored property set reads back: what an edit field
  // of a real takes, and what the set's reader takes for any numeric value.
  static constexpr int maxNumberLength = 30;
  // The most decimals a number is printed with. "-0." and 27 decimals make 30 characters: so
  // zero and every value below 1 in magnitude print within maxNumberLength at any count a
  // definition can have. Larger values are refused when set if their printed form would not
  // fit (CKdProperty); without the bound a definition of 29 decimals could hold no value at
  // all that survives a save.
  static constexpr int maxDecimals = maxNumberLength - 3;

  // No value, type typeNone, value zero.
  CKdPropertyValue();
  // Starts empty, then copyFrom(other).
  CKdPropertyValue(const CKdPropertyValue& other);
  CKdPropertyValue& operator=(const CKdPropertyValue& other);
  ~CKdPropertyValue();

  bool hasValue() const { return hasValue_ != 0; }
  valueTypeId typeId() const { return static_cast<valueTypeId>(typeId_); }

  // Each setter frees a held text, then sets a value of the type it names.
  void setInt16(int16_t value);
  void setInt32(int32_t value);
  // The float is widened to 64 bits for storage; getSingleReal and copyFrom narrow it back.
  void setSingleReal(float value);
  void setDoubleReal(double value);
  // A text value owning a copy of `text`. A null or empty text gives a text value that is
  // set but holds no buffer (it reads back as ""). When the copy cannot be allocated the
  // value is left cleared: no value, type typeNone.
  void setText(const wchar_t* text);
  // The same for the characters of `text`, up to its first NUL.
  void setText(std::wstring_view text);
  // Clears the value (no value) and sets the type to `type` when it lies in 1..5,
  // otherwise to typeNone.
  void setTypeId(valueTypeId type);
  // Clears the value (no value) and keeps the type.
  void resetValue();
  // Takes `other`'s type and, when it has one, its value through the setter of that type:
  // a deep copy of a text, the low 16 bits of an int16, a single real narrowed to float
  // (so a single real keeps float precision).
  void copyFrom(const CKdPropertyValue& other);

  // The getters write their out-argument in every case. They return false, with a zero
  // or empty result, for a type they do not accept; for an accepted type without a value
  // they return true with a zero or empty result.
  // Accepts typeInt16 only.
  bool getInt16(int16_t& value) const;
  // Accepts typeInt16 and typeInt32.
  bool getInt32(int32_t& value) const;
  // Accepts typeSingleReal only (never a double).
  bool getSingleReal(float& value) const;
  // Accepts the four numeric types; integers are converted to real.
  bool getDoubleReal(double& value) const;
  // As getDoubleReal(value), then rounded to `decimals` places: with the step f = 0.1
  // multiplied by itself `decimals` times (1.0 for 0 or fewer), value becomes
  // floor(value / f + 0.5) * f. Halves round towards plus infinity, also below zero.
  bool getDoubleReal(double& value, int decimals) const;
  // Accepts typeText only; a text without buffer reads as "".
  bool getText(CWsz& text) const;

  // Equal when the types are equal and either both have no value or both have one and:
  // texts equal ignoring case, integers equal exactly, reals closer than 1e-9 (absolute).
  // An int16 of 5 is not equal to an int32 of 5.
  bool isEqualTo(const CKdPropertyValue& other) const;

  // The printed form used by property sets and definitions: "" without a value; an int16
  // as "%hd", an int32 as "%ld", a real as "%0.*f" with `decimals` (6 when negative, as
  // printf does); a text as it stands. The decimal point is always "." whatever the
  // process locale.
  void printValue(CWsz& out, int decimals) const;
  // The same form appended to `out`.
  void appendValue(CWsz& out, int decimals) const;
  // "%0.*f" of `value` with `decimals` places (6 when negative; more than 1100 print as
  // 1100, which already shows every double exactly), always with "." as the decimal point.
  static CWsz printReal(double value, int decimals);
  // The text that stands for a value of `type` in format previews: "##" for int16,
  // "######" for int32, "###", "#.#", "#.##", "#.###" or "#.####" for reals by `decimals`
  // (0, 1, 2, 3, other), "ABC" for text and every other type.
  static CWsz sampleText(valueTypeId type, int decimals);

  // The display name of a type: "-" for typeNone, the language text "Text" for typeText,
  // "Number" for every other value.
  static void getTypeNameOf(valueTypeId type, CWsz& name);

 private:
  // Frees a held text buffer; clears the flag and the value. The type stays.
  void clearValue();

  uint8_t hasValue_;
  uint8_t typeId_;
  // Which member is live follows from typeId_: i32 for the integers, real for the reals,
  // text (possibly null) for typeText. `bits` clears all eight bytes at once.
  union Slot {
    int32_t i32;
    double real;
    wchar_t* text;
    uint64_t bits;
  } value_;
};
#pragma pack(pop)

static_assert(sizeof(CKdPropertyValue) == 10, "flag, type and 8-byte value, packed");

#pragma once
// CKdGuid, the 128-bit identity of catalogue objects across datasets, and CKdGuidArray, a
// list of them searched by value.

#include <cstdint>

#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

// The operating system's GUID layout: the 16 bytes as three numbers and eight bytes.
struct _GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};

// One GUID value. All sixteen bytes zero is the null GUID, which a default-constructed or
// reset GUID holds. Its text form is 36 upper-case hexadecimal digits and hyphens in groups
// of 8-4-4-4-12, without braces.
class VXKD_API CKdGuid {
 public:
  // Characters of the text form, and the buffer size that holds it with its terminator.
  static constexpr int textLength = 36;
  static constexpr int textBufferSize = textLength + 1;

  CKdGuid();
  // As fromSz; text that does not parse leaves the null GUID without complaint.
  explicit CKdGuid(const char* text);

  // Fills a fresh random (version 4) value from the kernel's random source. False, and the
  // null GUID, when the source cannot be read.
  bool createValue();

  // Parses the text form; either case of digits is accepted, braces are not. At most the
  // first 99 characters are considered, and the text must be exactly the 36 of the form.
  // False, and the null GUID, for null, empty or unparsable text.
  bool fromSz(const char* text);
  // As fromSz for a wide text; any character outside ASCII makes it fail.
  bool fromWsz(const wchar_t* text);

  // Writes the upper-case text form into `buffer` of `size` characters, cut to size - 1 and
  // terminated; the null GUID writes "". Returns `buffer`.
  char* toSz(char* buffer, int size) const;
  // The same text as a wide string.
  CWsz toWsz() const;

  // Copies the sixteen bytes.
  void getValue(_GUID& out) const;
  // Takes the sixteen bytes as they are.
  void setValue(const _GUID& value);

  bool isEqualTo(const CKdGuid& other) const;
  bool isNull() const;
  // Makes this the null GUID.
  void reset();

  bool operator==(const CKdGuid& other) const { return isEqualTo(other); }

 private:
  _GUID value_;
};

class CQbase;

// An owned list of GUIDs (each element a heap copy), searched by value. Ids, names and
// descriptions of its elements are the defaults of CKdObjArray (0 and "").
class VXKD_API CKdGuidArray : public CKdOwningArray<CKdGuid> {
 public:
  using CKdOwningArray<CKdGuid>::append;
  // Appends a copy of `guid`; false for null or when the copy cannot be made.
  // Appends copies of every element of `other`, trying each one; true only when every copy
  // was appended.
  bool append(const CKdGuidArray& other);

  // Index of the first element equal to `guid`, or -1.
  int find(const CKdGuid& guid) const;

  // The list as binary-array field `fieldNo` of the current record: one 36-byte slot per
  // element holding its upper-case text form without terminator; a null GUID's slot begins
  // with a zero byte. An empty list writes nothing (the field stays absent) and is true;
  // otherwise the result of the database's write.
  bool saveTo(CQbase& db, short fieldNo) const;
  // Replaces the list by field `fieldNo`. An absent or empty field gives an empty list and
  // true; data shorter than its slot count says fails (false, empty list). Slots that are
  // empty or do not parse are skipped, so a damaged field yields a shorter list.
  bool readFrom(CQbase& db, short fieldNo);
};

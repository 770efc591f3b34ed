#pragma once
// CKdLinetypeDef, a linetype that the dataset carries so that every drawing can create it,
// and CKdLinetypeDefArray, the project's list of them, which also reads and writes LIN
// files (the text format in which CAD programs exchange linetype libraries: a header line
// "*NAME,description" and a pattern line each).

#include <vector>

#include "vxkd/drawingdefs/def_import_report.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/types.h"
#include "vxkd/platform/wsz.h"

class CQbase;

namespace VxKd {

// The shared strings of the linetype names that every drawing knows.
enum commonStringIds {
  commonStringByLayer = 1,     // "BYLAYER"
  commonStringByBlock = 2,     // "BYBLOCK"
  commonStringSolidLine = 3,   // "__________", how the solid linetype describes itself
  commonStringContinuous = 4,  // "CONTINUOUS"
};
// The shared string `id`; "" for any other id.
VXKD_API const wchar_t* getCommonString(int id);
// True when `name` is one of the linetype names every drawing knows without a definition
// (BYLAYER, BYBLOCK, CONTINUOUS), ignoring case.
VXKD_API bool isCommonLinetypeName(const wchar_t* name);

}  // namespace VxKd

// One linetype: its name, its description and its pattern, exactly as the pattern line of a
// LIN file has it ("A,.5,-.25"; complex linetypes carry text or shape references in
// brackets).
class VXKD_API CKdLinetypeDef {
 public:
  CKdLinetypeDef() = default;
  CKdLinetypeDef(const wchar_t* name, const wchar_t* description, const wchar_t* data)
      : name_(name), desc_(description), data_(data) {}

  const CWsz& name() const { return name_; }
  void setName(const wchar_t* name) { name_.set(name); }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* description) { desc_.set(description); }
  const CWsz& data() const { return data_; }
  void setData(const wchar_t* data) { data_.set(data); }

  // Reads the current record "LT": name, description, pattern. False only when the record's
  // key cannot be fetched; missing fields read as empty.
  bool readFrom(CQbase& db);
  // Stores the linetype as record "LT" keyed by `position` ("%6.6ld"), all three fields
  // written also when empty. False when the record cannot be created or saved.
  bool saveTo(CQbase& db, long position) const;

  bool operator==(const CKdLinetypeDef& other) const {
    return name_ == other.name_ && desc_ == other.desc_ && data_ == other.data_;
  }

 private:
  CWsz name_;
  CWsz desc_;
  CWsz data_;
};

// What names linetypes (layer definitions, product definitions, block items) implements this,
// so that deleting a linetype can ask it without the drawing definitions knowing those owners.
class VXKD_API iKdLinetypeUser {
 public:
  // The kinds of user, in the order the refusal message lists them.
  enum usageKind { layerDefinitions, productDefinitions, blockDefinitions };

  virtual ~iKdLinetypeUser() = default;
  virtual usageKind linetypeUsageKind() const = 0;
  // True when some item of this user names linetype `name` (ignoring case).
  virtual bool usesLinetype(const wchar_t* name) const = 0;
};

// The linetypes of a project. Never empty: the solid linetype "CONTINUOUS" comes first; it
// is built in and therefore never stored, exported or deleted.
class VXKD_API CKdLinetypeDefArray : public CKdOwningArray<CKdLinetypeDef> {
 public:
  // The sort keys of the editor list; negative for descending.
  enum sortKey { sortByName = 1, sortByDescription = 2 };

  // Gives up deleting the old records of a save after this many.
  static constexpr int kMaxRecordDeletions = 100000;

  // Holds the built-in linetype only.
  CKdLinetypeDefArray();

  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // The built-in linetype: "CONTINUOUS", described as a drawn solid line, without pattern.
  static CKdLinetypeDef builtIn();
  // True for the built-in linetype's name, ignoring case.
  static bool isBuiltInName(const wchar_t* name);
  // Empties the array and puts the built-in linetype back.
  void resetToBuiltIn();

  // The first linetype of that name, ignoring case; null if none.
  CKdLinetypeDef* findLinetypeDef(const wchar_t* name) const { return findName(name); }

  // Replaces the array by the built-in linetype and one linetype per record "LT", in key
  // order; a record whose key cannot be fetched gives an empty linetype. True.
  bool readFrom(CQbase& db);
  // Rewrites set "LT": deletes every old record, then writes each linetype but the built-in
  // one keyed by its position counting from 1 (so the keys are 000002, 000003, ...). One
  // failed record does not stop the others; true when all were written. When the old records
  // cannot all be deleted (a record that does not go, or more than kMaxRecordDeletions), the
  // linetypes are still written over the old records of their positions, so that none is
  // lost, and the result is false.
  bool saveTo(CQbase& db) const;

  // Writes every linetype but the built-in one into the LIN file at `path` (replaced as a
  // whole, or left as it was): a banner with today's date, then a header line "*NAME" (with
  // ",description" when there is one) and the pattern line of each. False, with an error box
  // naming the file and the reason, when it cannot be written.
  bool exportLin(cuWin::HWND hwnd, const wchar_t* path) const;
  // The same for a file name asked with the save-file dialog ("LIN" appended to a name
  // without extension). False when the dialog is cancelled or the file cannot be written.
  bool exportLin(cuWin::HWND hwnd) const;

  // Imports the linetypes of the LIN file at `path`. A name that exists already (ignoring
  // case) gets the description and pattern of the file; the others are appended in file
  // order. Comment lines (";;") are skipped anywhere, also between a header and its pattern;
  // the pattern line is kept as it stands (complex patterns with their brackets included).
  // BYLAYER, BYBLOCK and CONTINUOUS are never imported; neither are a header without a name,
  // a header without its pattern line, nor a definition with a line of more than
  // kMaxLinLineChars characters. When the file cannot be read, is binary, or yields no
  // linetype to import, the warning "No linetypes found in the file" is shown, nothing
  // changes and the result is false. `report`, when given, says what happened to each
  // definition of the file.
  bool importLin(cuWin::HWND hwnd, const wchar_t* path, CKdDefImportReport* report = nullptr);
  // The same for a file name asked with the open-file dialog; false when cancelled.
  bool importLin(cuWin::HWND hwnd, CKdDefImportReport* report = nullptr);

  // Longer lines of a LIN file belong to no linetype.
  static constexpr int kMaxLinLineChars = 1024;

  // Deletes the linetypes at `selectedIndexes` (indexes out of range are skipped) unless one
  // of `users` names them; the built-in linetype is always kept. When any was kept, one
  // message box "Cannot Delete" lists what keeps them. Returns true when every selected
  // linetype was deleted. The caller stores the change (the save rewrites every record).
  bool deleteUnused(cuWin::HWND hwnd, const CInt32Array& selectedIndexes,
                    const std::vector<const iKdLinetypeUser*>& users);

 protected:
  // Keys: name, description (both ignoring case).
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

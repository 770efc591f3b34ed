#pragma once
// CKdDefImportReport: what an import of a definition file (LIN, STY) did, definition by
// definition, so that the caller can tell the user more than a yes or no.

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class VXKD_API CKdDefImportReport {
 public:
  // Why a definition of the file was not taken.
  enum skipReason {
    reservedName,  // a name the system keeps for itself (BYLAYER, BYBLOCK, CONTINUOUS)
    noName,        // the definition has no name
    noPattern,     // a linetype header without its pattern line
    lineTooLong,   // a line longer than any definition needs
  };

  // Names of the definitions added, and of the existing ones replaced, in file order.
  const CWszArray& added() const { return added_; }
  const CWszArray& replaced() const { return replaced_; }
  // The definitions not taken, each "name: reason" (the line number when there is no name).
  const CWszArray& skipped() const { return skipped_; }
  int importedCount() const { return added_.length() + replaced_.length(); }

  void empty();
  void addAdded(const wchar_t* name) { added_.append(name); }
  void addReplaced(const wchar_t* name) { replaced_.append(name); }
  // Records a definition not taken: `name`, or "line N" when it has none.
  void addSkipped(const wchar_t* name, int lineNumber, skipReason reason);

  // The reason in words (English: the report is for logs and the command line).
  static const wchar_t* reasonText(skipReason reason);

 private:
  CWszArray added_;
  CWszArray replaced_;
  CWszArray skipped_;
};

#pragma once
// What the commands of vkd share: the message-box backend that turns the library's boxes
// into lines on standard error, the failure line, text conversion, aligned tables, the
// registry of the commands (one source file each), that of the kinds of definition that
// `vkd list` shows and that of the checks that `vkd check` runs.

#include <functional>
#include <string>
#include <vector>

#include "vxkd/dataset/project.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/platform/wsz.h"

namespace vkd {

// Keeps the library's last message box, so that a failure can name the box's words. Nobody
// is asked: a question gets its safe answer, a file dialog is cancelled.
class ToolUiBackend : public CUiBackend {
 public:
  int messageBox(cuWin::HWND owner, const wchar_t* text, const wchar_t* caption,
                 unsigned style) override;
  bool openFileDialog(cuWin::HWND, const wchar_t*, const wchar_t*, CWsz&) override { return false; }
  bool saveFileDialog(cuWin::HWND, const wchar_t*, const wchar_t*, const wchar_t*, CWsz&) override {
    return false;
  }
  bool showAgainBox(cuWin::HWND, const wchar_t*, const wchar_t*) override { return true; }

  // "Caption: text" of the last box, on one line; "" when none was shown.
  const std::string& lastMessage() const { return lastMessage_; }

 private:
  std::string lastMessage_;
};

// The exit statuses of vkd.
enum exitStatus : int {
  exitOk = 0,
  exitFailure = 1,    // the command failed; one line on standard error says why
  exitUsage = 2,      // a command line vkd does not understand
  exitLocked = 3,     // lock-status: someone holds the lock
  exitStaleLock = 4,  // lock-status: a lock file that nobody holds is left
};

// Prints "vkd: message" on standard error and returns exitFailure.
int fail(const std::string& message);
// Prints the usage line of `command` on standard error; returns exitUsage.
struct Command;
int usageOf(const Command& command);
// The same, with the words of the library's last message box in brackets when it showed one.
int failWithBox(const std::string& message, const ToolUiBackend& ui);
// Why the project's last read or save of `path` failed, for the failure line: the record
// database's reason and the words of the box the library showed ("damaged (Cannot Open
// Dataset: Dataset cannot be opened)").
std::string failureOf(const CKdProject& project, const ToolUiBackend& ui);
// The lock file of the dataset `path`; empty, with the reason in `why`, when the name
// cannot carry one.
CWsz lockFileOf(const CWsz& path, std::string& why);
// UTF-8 of a wide text; "" for null.
std::string narrow(const wchar_t* text);

// A table of text cells that prints with its columns lined up under their headings.
// Columns whose `right` flag is set are aligned to the right (numbers).
struct Table {
  struct Column {
    std::string heading;
    bool right = false;
  };
  std::vector<Column> columns;
  std::vector<std::vector<std::string>> rows;

  void addRow(std::vector<std::string> row) { rows.push_back(std::move(row)); }
  // Headings, a rule of dashes, then the rows; widths count characters, not bytes.
  void print() const;
};

// The options of the command line, each for the commands that name it.
struct Options {
  bool force = false;     // new: replace an existing dataset
  bool sample = false;    // new: add example definitions
  std::string output;     // preview, gallery, dump: the file to write (-o, --output)
  std::string format;     // diff, merge: "text" (the default) or "json" (--format)
  std::string plan;       // merge: the plan to follow (--plan)
  std::string writePlan;  // merge: where to write the plan instead of merging (--write-plan)
  bool dryRun = false;    // merge: show what would be done, change nothing (--dry-run)
};

// One kind of definition that `vkd list FILE KIND` shows. Each kind lives in a source file
// of its own and registers itself with a static ListKind object. A kind that takes an
// optional argument (`vkd list FILE products GROUP-PATH`) names it and fills its table with
// `fillWith`, which gets "" without one and returns false, having put the reason into
// `why`, when the argument names nothing.
struct ListKind {
  using Fill = void (*)(const CKdProject& project, Table& table);
  using FillWith = bool (*)(const CKdProject& project, const std::string& argument, Table& table,
                            std::string& why);
  ListKind(const char* name, const char* help, Fill fill);
  ListKind(const char* name, const char* argument, const char* help, FillWith fillWith);

  const char* name;
  const char* argument = "";  // as the usage shows it ("[GROUP-PATH]"); "" for none
  const char* help;
  Fill fill = nullptr;
  FillWith fillWith = nullptr;
};
// Every registered kind, in the order of their names.
std::vector<const ListKind*> listKinds();

// A command of vkd that lives in a source file of its own and registers itself with a static
// Command object. `run` gets the arguments after the command name, exactly `argCount` of
// them (or up to `maxArgCount`, for a command that takes optional ones), and returns the
// exit code. A command that takes options names the long options it accepts
// ("force,sample") and gets them in `runWithOptions`.
struct Command {
  using Run = int (*)(const std::vector<std::string>& args, ToolUiBackend& ui);
  using RunWithOptions = int (*)(const std::vector<std::string>& args, const Options& options,
                                 ToolUiBackend& ui);
  Command(const char* name, const char* usage, const char* help, int argCount, Run run);
  Command(const char* name, const char* usage, const char* help, int argCount, const char* options,
          RunWithOptions run);
  Command(const char* name, const char* usage, const char* help, int argCount, int maxArgCount,
          const char* options, RunWithOptions run);

  const char* name;
  const char* usage;  // the options and arguments, as the usage text shows them
  const char* help;   // one or more lines
  int argCount;
  int maxArgCount;
  const char* options = "";
  Run run = nullptr;
  RunWithOptions runWithOptions = nullptr;
};
// Every registered command, in the order of their names.
std::vector<const Command*> commands();

// One kind of definition that `vkd preview FILE KIND NAME -o OUT.svg` draws. Each kind lives
// in a source file of its own (preview_*.cpp) and registers itself with a static PreviewKind
// object. `draw` draws the definition that `name` names in `project` into `model` and
// describes it in `what` for the closing line ("format 1 \"Size\""); it returns exitOk, or
// the exit code after printing why not.
struct PreviewKind {
  using Draw = int (*)(const CKdProject& project, const std::string& name, CGmModel& model,
                       std::string& what);
  PreviewKind(const char* name, const char* argument, const char* help, Draw draw);

  const char* name;
  const char* argument;  // as the usage shows it ("ID")
  const char* help;
  Draw draw;
};
// Every registered kind, in the order of their names.
std::vector<const PreviewKind*> previewKinds();

// The product groups of the tree under `top` in the order the tree shows them (each group's
// children by order number, after it), `top` first, each with its depth below `top`. A
// group is listed once however its owner links run.
struct GroupRow {
  const CKdProductGroup* group;
  int depth;
};
std::vector<GroupRow> groupTree(const CKdProductGroupArray& groups, long top);
// The path of group `id` as `vkd list FILE groups` shows it; for a root, its description.
std::string groupPathOf(const CKdProductGroupArray& groups, long id);

// What the tables of product definitions show of a product, column by column: the colour
// ("by layer" for 256), the line width ("" for none), a positive id ("" for none), the
// ids of the integrated text formats, and the properties as "name=value" pairs.
std::string colourName(short colour);
std::string widthText(float width);
std::string positive(long value);
std::string textsText(const CKdIntegratedTextArray& texts);
std::string propertiesText(const CKdPropertyArray& properties);

// Prints what an import did: the counts, then one line per definition not taken.
void printImportReport(const CKdDefImportReport& report, const char* what, const std::string& from,
                       const std::string& into);

// Writes `data` as the file `path`, whole or not at all (CEnv::writeFileAtomically); an
// existing file keeps its permissions. Returns 0, or the errno of the failure, with `path`
// as it was and no temporary file left.
int writeOutputFile(const std::string& path, const std::string& data);

// Stores an edit of the dataset at `path` as a designer's program does: reads it, takes the
// edit lock (refused while another user updates the dataset), lets `edit` change the
// project, writes it back and releases the lock. `edit` returns false, having said why, when
// there is nothing to store. Returns the exit code.
int editDataset(const std::string& path, ToolUiBackend& ui,
                const std::function<bool(CKdProject&)>& edit);

// Writes `project` as a new dataset file at `path`, as vkd new makes one: under the lock of
// the new file (taken in the name of `owner`), replacing an existing file only when `force`
// is set and the file is writable, and only by the complete new file. Returns the exit
// code, having said on standard error why it failed.
int writeNewDataset(const std::string& path, bool force, CKdProject& project, ToolUiBackend& ui,
                    const wchar_t* owner);

// One check that `vkd check FILE` runs over the dataset it has read. Each kind of definition
// registers its checks from a source file of its own with a static Check object; a check adds
// one line to `problems` for each problem it finds.
struct Check {
  using Run = void (*)(const CKdProject& project, std::vector<std::string>& problems);
  Check(const char* name, Run run);

  const char* name;
  Run run;
};
// Every registered check, in the order of their names.
std::vector<const Check*> checks();
// `key` in double quotes, control characters and quotes written as escapes, so that an empty
// key or one with a NUL is visible on a line of its own.
std::string quotedKey(const std::string& key);

// True when a save stores another element of `items` with the same id under the key that
// element `index` would take: one read from that very key, or one that can be stored and
// comes earlier in key order (the order of a save after a read). The save then leaves
// `index` where it is. Elements have origin(), recordKey() and writeObstacle(); the array
// gives their ids (idAt).
template <typename Array>
bool idTakenByAnother(const Array& items, int index) {
  const auto* item = items.objAt(index);
  const std::string key = item->recordKey();
  if (!item->origin().movesRecord(items.idAt(index), key)) return false;
  for (int i = 0; i < items.length(); ++i) {
    const auto* other = items.objAt(i);
    if (i != index && items.idAt(i) == items.idAt(index) &&
        other->writeObstacle() == CKdRecordOrigin::noObstacle &&
        (i < index || !other->origin().movesRecord(items.idAt(i), key)))
      return true;
  }
  return false;
}

// Adds a problem for each element of `items` (records `code`, a `kind` such as "property
// definition", ids from `minId` to 999999) that a save could not store under its own key,
// and so leaves where it is.
template <typename Array>
void checkRecordKeys(const Array& items, const char* code, const char* kind, long minId,
                     std::vector<std::string>& problems) {
  const std::string range = " of " + std::to_string(minId) + " to 999999";
  for (int i = 0; i < items.length(); ++i) {
    const auto& item = *items.objAt(i);
    const std::string record = std::string("record ") + code + " " +
                               quotedKey(item.origin().key()) + " (" + kind + " \"" +
                               narrow(items.nameAt(i)) + "\"): ";
    const std::string id = std::to_string(items.idAt(i));
    const char* unsaved = ", so the definition cannot be saved";
    switch (item.writeObstacle()) {
      case CKdRecordOrigin::keyWithoutId:
        problems.push_back(record + "the key holds no id" + range + unsaved);
        break;
      case CKdRecordOrigin::idOutOfRange:
        problems.push_back(record + "id " + id + " is not one" + range + unsaved);
        break;
      case CKdRecordOrigin::keyNotRemovable:
        problems.push_back(record + "id " + id + " cannot be moved to its key " +
                           quotedKey(item.recordKey()) + unsaved);
        break;
      case CKdRecordOrigin::noObstacle:
        if (idTakenByAnother(items, i))
          problems.push_back(record + "id " + id + " is read from another record too" + unsaved);
        break;
    }
  }
}

}  // namespace vkd

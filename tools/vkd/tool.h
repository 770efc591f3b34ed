#pragma once
// What the commands of vkd share: the message-box backend that turns the library's boxes
// into lines on standard error, the failure line, text conversion, aligned tables, the
// registry of the commands (one source file each) and that of the kinds of definition that
// `vkd list` shows.

#include <string>
#include <vector>

#include "vxkd/dataset/project.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/ui_backend.h"
#include "vxkd/platform/wsz.h"

namespace vkd {

// Keeps the library's message boxes, so that a failure can name the box's words.
class ToolUiBackend : public CRecordingUiBackend {
 public:
  // "Caption: text" of the last box, on one line; "" when none was shown.
  std::string lastMessage() const;
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
  bool force = false;   // new: replace an existing dataset
  bool sample = false;  // new: add example definitions
};

// One command of vkd. Each lives in a source file of its own and registers itself with a
// static Command object.
struct Command {
  using Run = int (*)(const std::vector<std::string>& args, const Options& options,
                      ToolUiBackend& ui);
  // `synopsis` shows the options and arguments ("[--force] [--sample] FILE.vkd"), `help` one
  // or more lines of what it does; `arguments` is the number of arguments it takes and
  // `options` the long options it accepts ("force,sample").
  Command(const char* name, const char* synopsis, const char* help, int arguments,
          const char* options, Run run);

  const char* name;
  const char* synopsis;
  const char* help;
  int arguments;
  const char* options;
  Run run;
};
// Every registered command, in the order of their names.
std::vector<const Command*> commands();

// One kind of definition that `vkd list FILE KIND` shows. Each kind lives in a source file
// of its own and registers itself with a static ListKind object.
struct ListKind {
  using Fill = void (*)(const CKdProject& project, Table& table);
  ListKind(const char* name, const char* help, Fill fill);

  const char* name;
  const char* help;
  Fill fill;
};
// Every registered kind, in the order of their names.
std::vector<const ListKind*> listKinds();

}  // namespace vkd

#include "tool.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>

#include "vxkd/platform/env.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/sz.h"

namespace vkd {

int ToolUiBackend::messageBox(cuWin::HWND, const wchar_t* text, const wchar_t* caption,
                              unsigned style) {
  std::string line = narrow(text);
  for (auto& c : line)
    if (c == '\r' || c == '\n') c = ' ';
  std::string heading = narrow(caption);
  lastMessage_ = line.empty() || heading.empty() ? line : heading + ": " + line;
  return safeAnswerFor(style);
}

int fail(const std::string& message) {
  warn(message);
  return exitFailure;
}

int failInput(const std::string& message) {
  warn(message);
  return exitUsage;
}

void warn(const std::string& message) {
  // What was printed before comes first, also where standard output is a pipe or a file.
  std::fflush(stdout);
  std::fprintf(stderr, "vkd: %s\n", message.c_str());
}

int readProject(const std::string& path, CKdProject& project, const ToolUiBackend& ui) {
  if (project.readDb(nullptr, CWsz::fromUtf8(path.c_str()))) return exitOk;
  return failInput("cannot read " + path + ": " + failureOf(project, ui));
}

std::string failureOf(const CKdProject& project, const ToolUiBackend& ui) {
  std::string why = CQbase::reasonText(project.failReason());
  std::string box = ui.lastMessage();
  return box.empty() ? why : why + " (" + box + ")";
}

CWsz lockFileOf(const CWsz& path, std::string& why) {
  CWsz lock = CLockFile::lockFileNameFor(path);
  if (lock.isEmpty())
    why = narrow(path) +
          " cannot carry a lock file: its lock file is its name with the last three "
          "characters replaced by \"lck\"; give the dataset a name ending in \".vkd\"";
  return lock;
}

int usageOf(const Command& command) {
  std::fprintf(stderr, "vkd: usage: vkd %s %s\n", command.name, command.usage);
  return exitUsage;
}

int failWithBox(const std::string& message, const ToolUiBackend& ui) {
  std::string why = ui.lastMessage();
  return fail(message + (why.empty() ? "" : " (" + why + ")"));
}

std::string withBox(const std::string& message, const ToolUiBackend& ui) {
  std::string why = ui.lastMessage();
  return message + (why.empty() ? "" : " (" + why + ")");
}

std::string narrow(const wchar_t* text) { return cuSz::toUtf8(text ? text : L""); }

namespace {

// Characters, not bytes: a UTF-8 continuation byte adds no width.
size_t displayWidth(const std::string& text) {
  return std::count_if(text.begin(), text.end(),
                       [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
}

std::string pad(const std::string& text, size_t width, bool right) {
  size_t w = displayWidth(text);
  std::string fill(width > w ? width - w : 0, ' ');
  return right ? fill + text : text + fill;
}

}  // namespace

std::vector<std::string> Table::lines(bool headings) const {
  std::vector<size_t> widths;
  for (const auto& column : columns) widths.push_back(headings ? displayWidth(column.heading) : 0);
  for (const auto& row : rows)
    for (size_t i = 0; i < row.size() && i < widths.size(); ++i)
      widths[i] = std::max(widths[i], displayWidth(row[i].text));
  std::vector<std::string> out;
  auto addLine = [&](auto cell) {
    std::string line;
    for (size_t i = 0; i < columns.size(); ++i) {
      if (i) line += "  ";
      line += cell(i);
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    out.push_back(std::move(line));
  };
  if (headings) {
    addLine([&](size_t i) { return pad(columns[i].heading, widths[i], columns[i].right); });
    addLine([&](size_t i) { return std::string(widths[i], '-'); });
  }
  for (const auto& row : rows)
    addLine([&](size_t i) {
      return pad(i < row.size() ? row[i].text : std::string(), widths[i], columns[i].right);
    });
  return out;
}

void Table::print() const {
  for (const std::string& line : lines()) std::printf("%s\n", line.c_str());
}

namespace {

// The number a whole text spells, or null: "12" and "-2.5" are numbers, "12 mm" and "" not.
Json numberOf(const std::string& text) {
  if (text.empty()) return nullptr;
  Json parsed = Json::parse(text, nullptr, false);
  return parsed.is_number() ? parsed : Json();
}

}  // namespace

Json Table::toJson() const {
  Json out = Json::array();
  for (const auto& row : rows) {
    Json object = Json::object();
    for (size_t i = 0; i < columns.size(); ++i) {
      const Column& column = columns[i];
      const std::string key = column.key.empty() ? camelKey(column.heading) : column.key;
      const std::string text = i < row.size() ? row[i].text : std::string();
      if (i < row.size() && !row[i].value.is_null())
        object[key] = row[i].value;
      else if (!column.right)
        object[key] = text;
      else if (Json number = numberOf(text); !number.is_null() || text.empty())
        object[key] = number;
      else
        object[key] = text;
    }
    out.push_back(std::move(object));
  }
  return out;
}

std::string camelKey(const std::string& heading) {
  std::string key;
  bool newWord = false;
  for (char c : heading) {
    if (!std::isalnum(static_cast<unsigned char>(c))) {
      newWord = !key.empty();
      continue;
    }
    key += newWord       ? static_cast<char>(std::toupper(static_cast<unsigned char>(c)))
           : key.empty() ? static_cast<char>(std::tolower(static_cast<unsigned char>(c)))
                         : c;
    newWord = false;
  }
  return key;
}

void printJson(const Json& value) {
  // Texts from a damaged dataset may hold bytes that are not UTF-8: they are replaced, so
  // that what a script reads is always valid JSON.
  std::printf("%s\n", value.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

namespace {

std::map<std::string, const ListKind*>& registry() {
  static std::map<std::string, const ListKind*> kinds;
  return kinds;
}

}  // namespace

ListKind::ListKind(const char* name, const char* help, Fill fill)
    : name(name), help(help), fill(fill) {
  registry()[name] = this;
}

std::vector<const ListKind*> listKinds() {
  std::vector<const ListKind*> out;
  for (const auto& entry : registry()) out.push_back(entry.second);
  return out;
}

namespace {

std::map<std::string, const Command*>& commandRegistry() {
  static std::map<std::string, const Command*> registered;
  return registered;
}

}  // namespace

Command::Command(const char* name, const char* usage, const char* help, int argCount, Run run,
                 const char* details, const char* exits)
    : name(name),
      usage(usage),
      help(help),
      argCount(argCount),
      run(run),
      details(details),
      exits(exits) {
  commandRegistry()[name] = this;
}

Command::Command(const char* name, const char* usage, const char* help, int argCount,
                 const char* options, RunWithOptions run, const char* details, const char* exits)
    : name(name),
      usage(usage),
      help(help),
      argCount(argCount),
      options(options),
      runWithOptions(run),
      details(details),
      exits(exits) {
  commandRegistry()[name] = this;
}

namespace {

// The long options of vkd as `vkd COMMAND --help` explains them.
constexpr struct {
  const char* name;
  const char* text;
} kOptionHelp[] = {
    {"force", "  -f, --force           replace an existing dataset"},
    {"sample",
     "  -s, --sample          build the sample dataset (sample-dataset.json of the\n"
     "                        program folder)"},
    {"from", "      --from FILE.json  build the dataset that the JSON file describes"},
    {"output", "  -o, --output FILE     the file to write"},
    {"format", "      --format FORMAT   text (aligned tables, the default) or json"},
};

constexpr const char* kCommonExits =
    "exit status: 0 done; 1 the dataset has problems, or the work could not be done\n"
    "(the dataset is locked, a file cannot be written); 2 a wrong command line, a name\n"
    "that names nothing, or a file that cannot be read";

}  // namespace

std::string helpOf(const Command& command) {
  std::string text = "usage: vkd " + std::string(command.name) + " " + command.usage + "\n\n" +
                     command.help + "\n";
  if (command.details) text.append("\n").append(command.details).append("\n");
  const std::string accepted = std::string(",") + command.options + ",";
  text += "\noptions:\n";
  for (const auto& option : kOptionHelp)
    if (accepted.find(std::string(",") + option.name + ",") != std::string::npos)
      text.append(option.text).append("\n");
  text += "  -h, --help            show this text\n\n";
  text.append(command.exits ? command.exits : kCommonExits).append("\n");
  return text;
}

std::vector<const Command*> commands() {
  std::vector<const Command*> out;
  for (const auto& entry : commandRegistry()) out.push_back(entry.second);
  return out;
}

void printImportReport(const CKdDefImportReport& report, const char* what, const std::string& from,
                       const std::string& into) {
  std::printf("Imported %d %s from %s into %s: %d new, %d replaced\n", report.importedCount(), what,
              from.c_str(), into.c_str(), report.added().length(), report.replaced().length());
  for (const CWsz& skipped : report.skipped())
    std::printf("  not imported: %s\n", narrow(skipped).c_str());
}

int writeOutputFile(const std::string& path, const std::string& data) {
  CEnv& env = CEnv::current();
  // A picture replaced keeps who may read it.
  struct stat st {};
  const mode_t mode = env.statPath(path, &st) == 0 ? st.st_mode & 07777 : 0644;
  return env.writeFileAtomically(path, data, mode);
}

int editDataset(const std::string& path, ToolUiBackend& ui,
                const std::function<int(CKdProject&)>& edit) {
  CWsz file = CWsz::fromUtf8(path.c_str());
  CKdProject project;
  if (int status = readProject(path, project, ui)) return status;
  CLockFile lock;
  int locked = project.setEditLock(nullptr, lock);
  // 1: another user had saved and the project was read again; the edit is made on that.
  if (locked == 1) locked = project.setEditLock(nullptr, lock);
  if (locked != 0) {
    wchar_t owner[CLockFile::kOwnerBufferChars] = {};
    if (CLockFile::queryOwner(CLockFile::lockFileNameFor(file), owner) ==
        CLockFile::queryLockedByOther)
      return fail(path + " is being updated by " + (*owner ? narrow(owner) : "another user") +
                  "; nothing was changed, try again later");
    return failWithBox("cannot lock " + path + " for an update; nothing was changed", ui);
  }
  if (int status = edit(project)) return status;
  if (!project.updateDb(nullptr))
    return fail("cannot save " + path + ": " + failureOf(project, ui) +
                "; the dataset is as it was");
  return 0;  // the lock is released as it goes out of scope
}

}  // namespace vkd

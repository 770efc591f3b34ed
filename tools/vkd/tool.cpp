#include "tool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "vxkd/platform/env.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/paths.h"
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

// The objects of one kind that registered themselves, by name. Function statics, so that
// registration from the static objects of other files works in any order of initialisation.
template <typename T>
std::map<std::string, const T*>& registry() {
  static std::map<std::string, const T*> items;
  return items;
}

template <typename T>
std::vector<const T*> registered() {
  std::vector<const T*> out;
  for (const auto& entry : registry<T>()) out.push_back(entry.second);
  return out;
}

}  // namespace

ListKind::ListKind(const char* name, const char* help, Fill fill)
    : name(name), help(help), fill(fill) {
  registry<ListKind>()[name] = this;
}

ListKind::ListKind(const char* name, const char* argument, const char* help, FillWith fillWith)
    : name(name), argument(argument), help(help), fillWith(fillWith) {
  registry<ListKind>()[name] = this;
}

std::vector<const ListKind*> listKinds() { return registered<ListKind>(); }

Check::Check(const char* name, Run run) : name(name), run(run) { registry<Check>()[name] = this; }

std::vector<const Check*> checks() { return registered<Check>(); }

std::vector<std::string> problemsOf(const CKdProject& project) {
  std::vector<std::string> problems;
  for (const Check* check : checks()) check->run(project, problems);
  return problems;
}

std::string quotedKey(const std::string& key) {
  std::string out = "\"";
  for (unsigned char c : key) {
    if (c == '"' || c == '\\')
      out += std::string("\\") + static_cast<char>(c);
    else if (c < 0x20 || c == 0x7F)
      out += cuSz::format("\\x%02x", c);
    else
      out += static_cast<char>(c);
  }
  return out + "\"";
}

Command::Command(const char* name, const char* usage, const char* help, int argCount, Run run,
                 const char* details, const char* exits)
    : name(name),
      usage(usage),
      help(help),
      argCount(argCount),
      maxArgCount(argCount),
      run(run),
      details(details),
      exits(exits) {
  registry<Command>()[name] = this;
}

Command::Command(const char* name, const char* usage, const char* help, int argCount,
                 const char* options, RunWithOptions run, const char* details, const char* exits)
    : name(name),
      usage(usage),
      help(help),
      argCount(argCount),
      maxArgCount(argCount),
      options(options),
      runWithOptions(run),
      details(details),
      exits(exits) {
  registry<Command>()[name] = this;
}

Command::Command(const char* name, const char* usage, const char* help, int argCount,
                 int maxArgCount, const char* options, RunWithOptions run, const char* details,
                 const char* exits)
    : name(name),
      usage(usage),
      help(help),
      argCount(argCount),
      maxArgCount(maxArgCount),
      options(options),
      runWithOptions(run),
      details(details),
      exits(exits) {
  registry<Command>()[name] = this;
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
    {"plan", "      --plan FILE       the plan of the merge to follow"},
    {"write-plan", "      --write-plan FILE write the plan of the merge instead of merging"},
    {"dry-run", "      --dry-run         show what the merge would do, change nothing"},
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

std::vector<const Command*> commands() { return registered<Command>(); }

PreviewKind::PreviewKind(const char* name, const char* argument, const char* help, Draw draw)
    : name(name), argument(argument), help(help), draw(draw) {
  registry<PreviewKind>()[name] = this;
}

std::vector<const PreviewKind*> previewKinds() { return registered<PreviewKind>(); }

namespace {

// The groups of each owner, in the order of their order numbers (then of the array). The
// array's own copy of sub groups would copy their products too: a catalogue of thousands.
using Children = std::unordered_map<long, std::vector<const CKdProductGroup*>>;

Children childrenOf(const CKdProductGroupArray& groups) {
  Children children;
  for (int i = 0; i < groups.length(); ++i) {
    const CKdProductGroup* group = groups.objAt(i);
    if (!group->isRoot()) children[group->ownerGroupId()].push_back(group);
  }
  for (auto& entry : children)
    std::stable_sort(entry.second.begin(), entry.second.end(),
                     [](const CKdProductGroup* a, const CKdProductGroup* b) {
                       return a->orderNmb() < b->orderNmb();
                     });
  return children;
}

void addChildren(const Children& children, long owner, int depth, std::vector<GroupRow>& rows,
                 std::unordered_set<long>& listed) {
  auto it = children.find(owner);
  if (it == children.end()) return;
  for (const CKdProductGroup* child : it->second) {
    if (!listed.insert(child->dbId()).second) continue;
    rows.push_back({child, depth});
    addChildren(children, child->dbId(), depth + 1, rows, listed);
  }
}

}  // namespace

std::vector<GroupRow> groupTree(const CKdProductGroupArray& groups, long top) {
  std::vector<GroupRow> rows;
  const CKdProductGroup* first = groups.findGroup(top);
  if (!first) return rows;
  std::unordered_set<long> listed{top};
  rows.push_back({first, 0});
  addChildren(childrenOf(groups), top, 1, rows, listed);
  return rows;
}

std::string groupPathOf(const CKdProductGroupArray& groups, long id) {
  if (id >= 1) return narrow(groups.getGroupPath(id));
  const CKdProductGroup* root = groups.findGroup(id);
  return root ? narrow(root->desc()) : "";
}

std::string colourName(short colour) {
  return colour == CKdProductDef::colorByLayer ? "by layer" : std::to_string(colour);
}

std::string widthText(float width) {
  return width > CKdProductDef::minStoredLineWidth ? cuSz::format("%g", width) : "";
}

std::string positive(long value) { return value > 0 ? std::to_string(value) : ""; }

std::string textsText(const CKdIntegratedTextArray& texts) {
  std::string text;
  for (int i = 0; i < texts.length(); ++i) text += (i ? " " : "") + std::to_string(texts.idAt(i));
  return text;
}

std::string propertiesText(const CKdPropertyArray& properties) {
  std::string text;
  for (int i = 0; i < properties.length(); ++i) {
    const CKdProperty* property = properties.objAt(i);
    if (i) text += ", ";
    text += narrow(property->name()) + "=" + narrow(property->getValueAsText(false));
  }
  return text;
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

int writeNewDataset(const std::string& path, bool force, CKdProject& project, ToolUiBackend& ui,
                    const wchar_t* owner) {
  const CWsz file = CWsz::fromUtf8(path.c_str());
  std::string why;
  const CWsz lockPath = lockFileOf(file, why);
  if (lockPath.isEmpty()) return failInput(why);
  // Holding the lock keeps every other user's update (and another new file) out until the
  // new file is in place.
  CLockFile lock;
  wchar_t lockOwner[CLockFile::kOwnerBufferChars] = {};
  switch (lock.set(lockPath, owner, lockOwner)) {
    case CLockFile::lockHeld:
      break;
    case CLockFile::lockedByOther:
    case CLockFile::lockUnreadable:
      return fail(path + " is locked for an update by " +
                  (*lockOwner ? narrow(lockOwner) : std::string("another user")) +
                  "; nothing was changed");
    default:
      return fail("cannot make the lock file " + narrow(lockPath) +
                  " (is the folder there and writable?); nothing was changed");
  }
  if (cuFile::exists(file)) {
    if (!force) return fail(path + " exists; nothing was changed (give --force to replace it)");
    // A dataset on a server tells its rights when it is written.
    if (!cuFile::isServerUri(file) && access(path.c_str(), W_OK) != 0)
      return fail(path + " is read-only; nothing was changed");
  }
  if (!project.saveDbAs(nullptr, file))
    return fail("cannot create " + path + ": " + failureOf(project, ui));
  return exitOk;
}

}  // namespace vkd

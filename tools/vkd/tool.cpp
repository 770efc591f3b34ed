#include "tool.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "vxkd/platform/sz.h"

namespace vkd {

std::string ToolUiBackend::lastMessage() const {
  auto box = lastBox();
  if (box.text.empty()) return "";
  std::string text = cuSz::toUtf8(box.text);
  for (auto& c : text)
    if (c == '\r' || c == '\n') c = ' ';
  std::string out = cuSz::toUtf8(box.caption);
  return out.empty() ? text : out + ": " + text;
}

int fail(const std::string& message) {
  std::fprintf(stderr, "vkd: %s\n", message.c_str());
  return exitFailure;
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

void Table::print() const {
  std::vector<size_t> widths;
  for (const auto& column : columns) widths.push_back(displayWidth(column.heading));
  for (const auto& row : rows)
    for (size_t i = 0; i < row.size() && i < widths.size(); ++i)
      widths[i] = std::max(widths[i], displayWidth(row[i]));
  auto printLine = [&](auto cell) {
    std::string line;
    for (size_t i = 0; i < columns.size(); ++i) {
      if (i) line += "  ";
      line += cell(i);
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    std::printf("%s\n", line.c_str());
  };
  printLine([&](size_t i) { return pad(columns[i].heading, widths[i], columns[i].right); });
  printLine([&](size_t i) { return std::string(widths[i], '-'); });
  for (const auto& row : rows)
    printLine([&](size_t i) {
      return pad(i < row.size() ? row[i] : std::string(), widths[i], columns[i].right);
    });
}

namespace {

std::map<std::string, const ListKind*>& registry() {
  static std::map<std::string, const ListKind*> kinds;
  return kinds;
}

std::map<std::string, const Command*>& commandRegistry() {
  static std::map<std::string, const Command*> all;
  return all;
}

}  // namespace

ListKind::ListKind(const char* name, const char* help, Fill fill)
    : name(name), help(help), fill(fill) {
  registry()[name] = this;
}

Command::Command(const char* name, const char* synopsis, const char* help, int arguments,
                 const char* options, Run run)
    : name(name), synopsis(synopsis), help(help), arguments(arguments), options(options), run(run) {
  commandRegistry()[name] = this;
}

std::vector<const Command*> commands() {
  std::vector<const Command*> out;
  for (const auto& entry : commandRegistry()) out.push_back(entry.second);
  return out;
}

std::vector<const ListKind*> listKinds() {
  std::vector<const ListKind*> out;
  for (const auto& entry : registry()) out.push_back(entry.second);
  return out;
}

}  // namespace vkd

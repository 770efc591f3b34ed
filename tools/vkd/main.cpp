// vkd: the command line of the dataset administrator.
//
//   vkd new [--sample] FILE.vkd   create a dataset with the default content
//   vkd info FILE.vkd             what a dataset holds, one row per kind of definition
//   vkd list FILE.vkd KIND        the definitions of one kind, as a table
//   vkd lock-status FILE.vkd      whether a dataset is locked, and by whom
//   vkd --version                 the version of the library that vkd runs with
//
// and the commands that register themselves from files of their own (vkd --help lists
// them), such as export-lin and import-lin.
//
// Failures print one line on standard error and exit with 1; a wrong command line exits
// with 2.

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "tool.h"
#include "vxkd/dataset/project.h"
#include "vxkd/foundation/startup.h"
#include "vxkd/platform/host.h"
#include "vxkd/platform/lock_file.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/ui_backend.h"

namespace vkd {
namespace {

std::string usage() {
  std::string text =
      "usage: vkd COMMAND FILE.vkd [ARGUMENTS]\n"
      "\n"
      "Look after the dataset files of Vantrix KD.\n"
      "\n"
      "commands:\n"
      "  new [--sample] FILE.vkd   create a dataset with the default content (--sample adds\n"
      "                            a few example definitions); an existing file is replaced\n"
      "  info FILE.vkd             show what the dataset holds\n"
      "  list FILE.vkd KIND        show the definitions of one kind as a table\n"
      "  lock-status FILE.vkd      show whether the dataset is locked for an update, and by\n"
      "                            whom\n"
      "  --help                    show this text\n"
      "  --version                 show the version of the library that vkd runs with\n";
  for (const Command* command : commands()) {
    std::string head = "  " + std::string(command->name) + " " + command->usage;
    // A long command line puts its help under it.
    text += head +
            (head.size() < 28 ? std::string(28 - head.size(), ' ') : "\n" + std::string(28, ' ')) +
            command->help + "\n";
  }
  text += "\nkinds of definition for list:\n";
  for (const ListKind* kind : listKinds())
    text += "  " + std::string(kind->name) + std::string(24 - std::strlen(kind->name), ' ') +
            kind->help + "\n";
  return text;
}

std::string formatTime(uint64_t units) {
  if (units == 0) return "-";
  std::time_t seconds = static_cast<std::time_t>(units / 10000000);
  std::tm tm{};
  localtime_r(&seconds, &tm);
  char buffer[64];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &tm);
  return buffer;
}

// A few property definitions, dimension text formats that name them, two symbols that show
// both ways a drawing is stored, and a report.
void addSampleContent(CKdProject& project) {
  CKdPropertyDefArray& defs = project.propertyDefs();
  defs.add(L"Width", L"Duct width", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
  defs.add(L"Height", L"Duct height", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
  defs.add(L"Diameter", L"Pipe size", CKdPropertyValue::typeDoubleReal, CKdUnit::unitMm, 1);
  defs.add(L"Flow", L"Volume flow", CKdPropertyValue::typeSingleReal, CKdUnit::unitLps, 1);
  defs.add(L"Material", L"", CKdPropertyValue::typeText, CKdUnit(), 0);

  const struct {
    long id;
    const wchar_t* desc;
    const wchar_t* fmt;
    float height;
    short colour;
    short border;
    short refline;
    short alignment;
  } kFormats[] = {
      {1, L"Duct size", L"{Width} x {Height}", 2.5f, 256, CKdDimtextOptions::borderRectangle,
       CKdDimtextOptions::reflineArrow, CKdDimtextOptions::alignLeft},
      {2, L"Pipe with note", L"DN {Diameter}{*CRNL*}{*NOTE*}", 2.0f, 3,
       CKdDimtextOptions::borderFirstRowUnderlined, CKdDimtextOptions::reflineLineOnly,
       CKdDimtextOptions::alignCenter},
      {3, L"Part ID", L"{*PARTID*}", 3.5f, 1, CKdDimtextOptions::borderCircle,
       CKdDimtextOptions::reflineFilledCircle, CKdDimtextOptions::alignCenter},
  };
  for (const auto& f : kFormats) {
    CKdDimtextFormat format;
    format.setId(f.id);
    format.setDesc(f.desc);
    format.setFmt(f.fmt);
    format.setTextHeight(f.height);
    format.setTextColor(f.colour);
    format.options().setBorderType(f.border);
    format.options().setReflineType(f.refline);
    format.options().setAlignmentFlags(f.alignment);
    project.dimTextFormats().append(&format);
  }

  const struct {
    const char* id;
    const wchar_t* desc;
    int nodes;
  } kSymbols[] = {{"SOCKET", L"Wall socket", 12}, {"PANEL", L"Distribution panel", 400}};
  for (const auto& s : kSymbols) {
    CVxSymbolModel symbol;
    symbol.setSymbolId(s.id);
    symbol.setDesc(s.desc);
    for (int i = 0; i < s.nodes; ++i) {
      CGmNode node{};
      node.type = 1;
      node.v[0] = static_cast<float>(i);
      node.v[3] = static_cast<float>(i + 1);
      symbol.appendNode(node);
    }
    project.symbols().append(&symbol);
  }

  // A duct list: width and height as columns, the widest ducts first.
  CKdReport ducts;
  ducts.setDbId(1);
  ducts.setDesc(L"Duct list");
  ducts.entityTypeIds().empty();
  ducts.entityTypeIds().append(CKdReport::entityDucts);
  for (long id : {1, 2}) {
    CSReportColumn column;
    column.setPropertyId(id);
    column.setLength(25.0f);
    column.setHeader1(id == 1 ? "Width" : "Height");
    column.setHeader2("[mm]");
    column.setLineType(CSReportColumn::lineAfterColumn);
    ducts.columns().append(&column);
  }
  ducts.setSortPropertyId(1);
  ducts.setSortType(VxKd::sortDescending);
  ducts.setFirstRowHeight(ducts.calcFirstRowHeight());
  project.reportDefs().append(&ducts);
}

int commandNew(const CWsz& path, bool sample, ToolUiBackend& ui) {
  CKdProject project;
  project.buildDefaultProject();
  if (sample) addSampleContent(project);
  if (!project.saveDbAs(nullptr, path)) {
    std::string why = ui.lastMessage();
    return fail("cannot create " + narrow(path) + (why.empty() ? "" : " (" + why + ")"));
  }
  std::printf("Created %s\n", narrow(path).c_str());
  return 0;
}

int commandInfo(const CWsz& path, ToolUiBackend& ui) {
  CKdProject project;
  if (!project.readDb(nullptr, path)) {
    std::string why = ui.lastMessage();
    return fail("cannot read " + narrow(path) + (why.empty() ? "" : " (" + why + ")"));
  }
  std::printf("Dataset     %s\n", narrow(path).c_str());
  std::printf("Last saved  %s\n\n", formatTime(project.timeStamp().time()).c_str());
  Table table;
  table.columns = {{"Kind of definition"}, {"Count", true}};
  table.addRow({"Property definitions", std::to_string(project.propertyDefs().length())});
  table.addRow({"Layer definitions", std::to_string(project.layerDefs().length())});
  table.addRow({"Linetypes", std::to_string(project.linetypeDefs().length())});
  table.addRow({"Text styles", std::to_string(project.textStyleDefs().length())});
  table.addRow({"Dimension text formats", std::to_string(project.dimTextFormats().length())});
  table.addRow({"Report definitions", std::to_string(project.reportDefs().length())});
  table.addRow({"2D symbols", std::to_string(project.symbols().length())});
  table.print();
  return 0;
}

int commandList(const CWsz& path, const std::string& kindName, ToolUiBackend& ui) {
  const ListKind* kind = nullptr;
  for (const ListKind* k : listKinds())
    if (kindName == k->name) kind = k;
  if (!kind) {
    std::fprintf(stderr, "vkd: unknown kind of definition \"%s\"\n%s", kindName.c_str(),
                 usage().c_str());
    return 2;
  }
  CKdProject project;
  if (!project.readDb(nullptr, path)) {
    std::string why = ui.lastMessage();
    return fail("cannot read " + narrow(path) + (why.empty() ? "" : " (" + why + ")"));
  }
  Table table;
  kind->fill(project, table);
  table.print();
  return 0;
}

int commandLockStatus(const CWsz& path) {
  if (!cuFile::exists(path)) return fail("no such dataset: " + narrow(path));
  CWsz lockPath = CLockFile::lockFileNameFor(path);
  wchar_t owner[CLockFile::kOwnerBufferChars] = {};
  switch (CLockFile::queryOwner(lockPath, owner)) {
    case CLockFile::queryNoLockFile:
      std::printf("%s: not locked\n", narrow(path).c_str());
      return 0;
    case CLockFile::queryStale:
      std::printf(
          "%s: not locked (a stale lock file %s is left by a program that ended; the "
          "next update takes it over)\n",
          narrow(path).c_str(), narrow(lockPath).c_str());
      return 0;
    case CLockFile::queryLockedByOther:
      std::printf("%s: locked for an update by %s (%s)\n", narrow(path).c_str(),
                  *owner ? narrow(owner).c_str() : "another user", narrow(lockPath).c_str());
      return 0;
    default:
      return fail("cannot read the lock file " + narrow(lockPath));
  }
}

}  // namespace
}  // namespace vkd

int main(int argc, char** argv) {
  using namespace vkd;
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) {
    std::fprintf(stderr, "%s", usage().c_str());
    return 2;
  }
  if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    std::printf("%s", usage().c_str());
    return 0;
  }
  if (args[0] == "--version" && args.size() == 1) {
    int version = vxkdui_version_nmb();
    std::printf("vkd %d.%d\n", version / 100, version % 100);
    return 0;
  }
  for (const Command* command : commands()) {
    if (args[0] != command->name) continue;
    if (static_cast<int>(args.size()) != command->argCount + 1) {
      std::fprintf(stderr, "vkd: usage: vkd %s %s\n", command->name, command->usage);
      return 2;
    }
    ToolUiBackend ui;
    CUiBackend::install(&ui);
    VxKd::initVxKd();
    int result = command->run(std::vector<std::string>(args.begin() + 1, args.end()), ui);
    VxKd::exitVxKd();
    CUiBackend::install(nullptr);
    return result;
  }
  bool sample = args.size() == 3 && args[0] == "new" && args[1] == "--sample";
  if (sample) args.erase(args.begin() + 1);
  bool list = args.size() == 3 && args[0] == "list";
  if (!list &&
      (args.size() != 2 || (args[0] != "new" && args[0] != "info" && args[0] != "lock-status"))) {
    std::fprintf(stderr, "vkd: unknown command line\n%s", usage().c_str());
    return 2;
  }

  ToolUiBackend ui;
  CUiBackend::install(&ui);
  VxKd::initVxKd();
  CWsz path = CWsz::fromUtf8(args[1].c_str());
  int result = list                ? commandList(path, args[2], ui)
               : args[0] == "new"  ? commandNew(path, sample, ui)
               : args[0] == "info" ? commandInfo(path, ui)
                                   : commandLockStatus(path);
  VxKd::exitVxKd();
  CUiBackend::install(nullptr);
  return result;
}

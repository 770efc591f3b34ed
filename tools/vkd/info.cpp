// vkd info FILE.vkd: what a dataset holds, one row per kind of definition. The file is read
// as every reader reads it: read-only, shared with other readers, changing nothing.

#include <cstdio>
#include <ctime>

#include "tool.h"

namespace vkd {
namespace {

std::string formatTime(uint64_t units) {
  if (units == 0) return "-";
  std::time_t seconds = static_cast<std::time_t>(units / cuFile::CFileTime::kUnitsPerSecond);
  std::tm tm{};
  localtime_r(&seconds, &tm);
  char buffer[64];
  std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &tm);
  return buffer;
}

int runInfo(const std::vector<std::string>& args, const Options&, ToolUiBackend& ui) {
  CKdProject project;
  if (!project.readDb(nullptr, CWsz::fromUtf8(args[0].c_str())))
    return fail("cannot read " + args[0] + ": " + failureOf(project, ui));
  std::printf("Dataset     %s\n", args[0].c_str());
  std::printf("Last saved  %s\n\n", formatTime(project.timeStamp().time()).c_str());
  Table table;
  table.columns = {{"Kind of definition"}, {"Count", true}};
  table.addRow({"Property definitions", std::to_string(project.propertyDefs().length())});
  table.addRow({"Part ID formats", std::to_string(project.partIdFormats().length())});
  table.addRow({"Layer definitions", std::to_string(project.layerDefs().length())});
  const CKdProductGroupArray& groups = project.productGroups();
  int stored = 0, products = 0, blocks = 0;
  for (int i = 0; i < groups.length(); ++i) {
    stored += groups.objAt(i)->isRoot() ? 0 : 1;
    products += groups.objAt(i)->products().length();
    blocks += groups.objAt(i)->blocks().length();
  }
  table.addRow({"Product groups", std::to_string(stored)});
  table.addRow({"Product definitions", std::to_string(products)});
  table.addRow({"Block definitions", std::to_string(blocks)});
  table.addRow({"Linetypes", std::to_string(project.linetypeDefs().length())});
  table.addRow({"Text styles", std::to_string(project.textStyleDefs().length())});
  table.addRow({"Dimension text formats", std::to_string(project.dimTextFormats().length())});
  table.addRow({"Report definitions", std::to_string(project.reportDefs().length())});
  int polyDefs = 0;
  for (auto type : {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemElectric, VxKd::systemData})
    polyDefs += project.polyDefSets(type)->length();
  table.addRow({"Poly-object definitions", std::to_string(polyDefs)});
  table.addRow({"2D symbols", std::to_string(project.symbols().length())});
  table.print();
  return exitOk;
}

const Command kInfo("info", "FILE.vkd", "show what the dataset holds", 1, "", runInfo);

}  // namespace
}  // namespace vkd

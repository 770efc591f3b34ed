// vkd info FILE.vkd: what a dataset holds, one row per kind of definition. The file is read
// as every reader reads it: read-only, shared with other readers, changing nothing.

#include <cstdio>
#include <ctime>

#include "tool.h"
#include "vxkd/platform/paths.h"

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

int runInfo(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  if (int status = readProject(args[0], project, ui)) return status;
  Table table;
  table.columns = {{"Kind of definition", false, "kind"}, {"Count", true}};
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

  // A dataset on a server has no clock time: its stamp is a version that every save advances.
  const uint64_t stamp = project.timeStamp().time();
  const bool onServer = cuFile::isServerUri(CWsz::fromUtf8(args[0].c_str()));
  const std::string saved = formatTime(stamp);
  if (options.json()) {
    Json out = Json::object();
    out["dataset"] = args[0];
    out["lastSaved"] = stamp && !onServer ? Json(saved) : Json();
    if (onServer) out["version"] = stamp;
    out["counts"] = table.toJson();
    printJson(out);
    return exitOk;
  }
  std::printf("Dataset     %s\n", args[0].c_str());
  if (onServer)
    std::printf("Version     %llu\n\n", static_cast<unsigned long long>(stamp));
  else
    std::printf("Last saved  %s\n\n", saved.c_str());
  table.print();
  return exitOk;
}

const Command kInfo("info", "FILE.vkd [--format json]", "show what the dataset holds", 1, "format",
                    runInfo,
                    "Prints the dataset's name, the time it was last saved (local time) and a\n"
                    "count per kind of definition; for a dataset on a server, its version (a\n"
                    "number that every save advances) in place of the time. With --format\n"
                    "json: an object with the members dataset, lastSaved (null on a server),\n"
                    "version (on a server only) and counts (a list of {kind, count}).");

}  // namespace
}  // namespace vkd

// vkd list FILE.vkd reports: the report definitions.

#include <cstdio>
#include <string>

#include "tool.h"

namespace vkd {
namespace {

// The kinds of object a report lists, by their entity type ids.
constexpr struct {
  short id;
  const char* name;
} kEntityNames[] = {{CKdReport::entityDevices, "devices"},
                    {CKdReport::entityDucts, "ducts"},
                    {CKdReport::entityPipes, "pipes"},
                    {CKdReport::entityPowerCables, "power cables"},
                    {CKdReport::entityDataCables, "data cables"}};

std::string listed(const CKdReport& report) {
  std::string out;
  for (short id : report.entityTypeIds()) {
    std::string name = "type " + std::to_string(id);
    for (const auto& entity : kEntityNames)
      if (entity.id == id) name = entity.name;
    int groups = report.devGroups().length();
    if (id == CKdReport::entityDevices && groups > 0)
      name += " of " + std::to_string(groups) + (groups == 1 ? " group" : " groups");
    out += (out.empty() ? "" : ", ") + name;
  }
  return out.empty() ? "-" : out;
}

// The sort property by name (its id when the dataset lacks it) and the direction.
std::string sortedBy(const CKdProject& project, const CKdReport& report) {
  if (report.sortPropertyId() == 0) return "-";
  const CKdPropertyDef* def = project.propertyDefs().findId(report.sortPropertyId());
  std::string name = def ? narrow(def->name()) : "#" + std::to_string(report.sortPropertyId());
  return name + ", " + narrow(VxKd::getSortTypeName(report.sortType())).c_str();
}

std::string number(float value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%g", value);
  return buffer;
}

void fillReports(const CKdProject& project, Table& table) {
  table.columns = {{"Id", true},      {"Name"},      {"Orientation"}, {"Lists"},
                   {"Columns", true}, {"Sorted by"}, {"Text style"},  {"Text height", true},
                   {"Width", true}};
  const CKdObjectArray<CKdReport>& reports = project.reportDefs();
  for (int i = 0; i < reports.length(); ++i) {
    const CKdReport& report = *reports.objAt(i);
    // A horizontal report's width is that of its columns; a vertical one's grows with the
    // data: shown for one data column.
    table.addRow({std::to_string(report.dbId()), narrow(report.desc()),
                  narrow(CKdReport::getOrientationName(report.orientation())), listed(report),
                  std::to_string(report.columns().length()), sortedBy(project, report),
                  narrow(report.fontStyleName()), number(report.fontHeight()),
                  number(report.calcTotalWidth(1))});
  }
}

const ListKind kReports("reports", "the report definitions", fillReports);

}  // namespace
}  // namespace vkd

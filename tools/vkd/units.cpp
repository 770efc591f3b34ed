// vkd units [WORD]: the units of the program, as property definitions name them, with the
// factor and offset that convert a value from the first unit of its quantity into each.

#include <charconv>
#include <cstdio>
#include <string>

#include "tool.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/unit.h"

namespace vkd {
namespace {

// A coefficient in the fewest digits that give it back exactly: 3.4118, not 3.41179999...
std::string number(double value) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return std::string(buffer, end);
}

int runUnits(const std::vector<std::string>& args, const Options& options, ToolUiBackend&) {
  const CWsz word = CWsz::fromUtf8(args.empty() ? "" : args[0].c_str());
  const CUnitDefArray& units = CUnitDefArray::units();
  Table table;
  table.columns = {{"Id", true},       {"Label"},        {"Quantity"},
                   {"Decimals", true}, {"Factor", true}, {"Offset", true}};
  // The first unit of each quantity in table order is the one the others convert from.
  const CUnitDefArray::Row* first = nullptr;
  for (int i = 0; i < units.length(); ++i) {
    const CUnitDefArray::Row& row = units.at(i);
    if (!first || !cuSz::equalNoCase(first->description, row.description)) first = &row;
    if (cuSz::findNoCase(row.description, word.str()) < 0) continue;
    double a = 1, b = 0;
    const bool converts =
        CKdUnit(static_cast<CKdUnit::unitId>(first->unitId))
            .getConversionCoefficientsTo(static_cast<CKdUnit::unitId>(row.unitId), a, b);
    table.addRow({std::to_string(row.unitId), narrow(row.label), narrow(row.description),
                  std::to_string(row.defaultDecimals), converts ? number(a) : "-",
                  converts ? number(b) : "-"});
  }
  if (table.rows.empty())
    return failInput("no quantity of units holds \"" + (args.empty() ? "" : args[0]) + "\"");
  if (options.json())
    printJson(table.toJson());
  else
    table.print();
  return exitOk;
}

const Command kUnits("units", "[WORD] [--format json]",
                     "list the units, or those of the quantities whose name holds WORD", 0, 1,
                     "format", runUnits,
                     "A value v of the quantity's first unit (the first row of each quantity)\n"
                     "is Factor × v + Offset in the unit of the row; \"-\" where no conversion\n"
                     "exists (decibels, for instance, are not converted). A property definition\n"
                     "names its unit by the id; a dataset description by the label, or by the\n"
                     "id where two units share a label ([C] is a temperature, 101, and a\n"
                     "temperature difference, 91).");

}  // namespace
}  // namespace vkd

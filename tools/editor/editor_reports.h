#pragma once
// Report definitions in the editor: a report as the page reads it (its sizes, the objects
// it lists, its sort and its columns), the checked change of a whole report, its deletion,
// and the choices the report form offers. The caller takes the edit lock before and stores
// the project after (see storeChange in editor_api.cpp).

#include <nlohmann/json.hpp>
#include <string>

#include "vxkd/dataset/project.h"

namespace vkdedit {

// A report with its "id", its fields, "lists" (entity type ids), "deviceGroups" (GUID
// texts), "sort" ({"property", "descending"}), "columns" (each {"property",
// "propertyName", "length", "header1", "header2", "lineType"}) and "columnCount".
nlohmann::json reportJson(const CKdProject& project, const CKdReport& report);

// Checks every field of `body` that names a part of a report and stores them all in the
// report at `index`, or in a new report (the defaults of a report, a fresh id) for -1,
// setting `id` to its id. A field left out keeps its value. Refuses with the reason, having
// changed nothing: a name that is empty or another report's, more than 130 columns, a
// property that the dataset has no definition of, a heading longer than a column's heading
// holds, a line type or object kind the program does not know, a device group that is no
// product group. An id that the stored report names already (a property, a line type, a
// group) is taken back as it is, so that nothing read is lost by saving. The heading row
// keeps fitting the headings when it did before and the change does not give its height.
// "" when stored.
std::string storeReport(CKdProject& project, int index, const nlohmann::json& body, long& id);

// Deletes the report at `index` from the file and from memory (nothing refers to a report);
// "" when deleted.
std::string removeReport(CKdProject& project, int index);

// What the report form offers: the property definitions (those of the dataset, then the
// special properties) by id and name, the product groups by GUID and path, the kinds of
// object, the line types and sort directions with their names, and the limits.
nlohmann::json reportChoicesJson(const CKdProject& project);

}  // namespace vkdedit

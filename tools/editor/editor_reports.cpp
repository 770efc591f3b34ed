#include "editor_reports.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

#include "editor_text.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/std_property.h"

using json = nlohmann::json;

namespace vkdedit {
namespace {

// The kinds of object a report lists, as the form names them.
struct EntityName {
  int16_t id;
  const char* name;
};
constexpr EntityName kEntityNames[] = {{CKdReport::entityDevices, "Devices"},
                                       {CKdReport::entityDucts, "Ducts"},
                                       {CKdReport::entityPipes, "Pipes"},
                                       {CKdReport::entityPowerCables, "Power cables"},
                                       {CKdReport::entityDataCables, "Data cables"}};
// The separators a column may have: none, and the two that a DWG report draws.
constexpr short kLineTypes[] = {0, CSReportColumn::lineAfterColumn,
                                CSReportColumn::lineToFirstRowOnly};
constexpr const char* kNoLineName = "No line";
constexpr VxKd::SortType kSortTypes[] = {VxKd::sortAscending, VxKd::sortDescending};
// A column's width, as the form's other sizes.
constexpr double kMinLength = 0.01;
constexpr double kMaxLength = 1000;
// A heading's bytes without its terminating NUL.
constexpr size_t kMaxHeaderBytes = CSReportColumn::headerSize - 1;
// The first row keeps fitting its headings while it is this close to their height.
constexpr double kSameHeight = 0.001;

// A float as people typed it: 12.3 rather than 12.300000190734863.
double real(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return std::strtod(text, nullptr);
}

std::string propertyName(const CKdProject& project, long id) {
  if (id == 0) return "";
  if (const CKdPropertyDef* def = project.propertyDefs().findId(id)) return utf8(def->name());
  if (const wchar_t* special = VxKd::getSpecialPropertyName(id)) return utf8(CWsz(special));
  return "#" + std::to_string(id);
}

const char* entityName(int16_t id) {
  for (const EntityName& entity : kEntityNames)
    if (entity.id == id) return entity.name;
  return nullptr;
}

std::string listsText(const CKdReport& report) {
  std::string text;
  for (int16_t id : report.entityTypeIds()) {
    const char* name = entityName(id);
    text += (text.empty() ? "" : ", ") + (name ? std::string(name) : "type " + std::to_string(id));
  }
  return text;
}

// A text as the page receives it: bytes that are no UTF-8 replaced by U+FFFD, as the server
// writes its answers.
std::string shownText(const std::string& bytes) {
  return json::parse(json(bytes).dump(-1, ' ', false, json::error_handler_t::replace))
      .get<std::string>();
}

std::string guidText(const CKdGuid& guid) {
  char text[CKdGuid::textBufferSize];
  return guid.toSz(text, sizeof text);
}

// Takes the parts of a report that a request gives into `report`, checking each; at the
// first that is refused, false with the reason in `why`. `stored` is the report as the
// dataset has it, null for a new one: what it names already is taken back as it is.
class ReportReader {
 public:
  ReportReader(const CKdProject& project, const CKdReport* stored, std::string& why)
      : project_(project), stored_(stored), why_(why) {}

  bool name(const json& body, int index, CKdReport& report) {
    if (!body.contains("name") && stored_) return true;
    const std::string text = textOf(body, "name");
    if (text.empty()) return fail("a report definition needs a name");
    const CWsz name = wide(text);
    const CKdObjectArray<CKdReport>& reports = project_.reportDefs();
    for (int i = 0; i < reports.length(); ++i)
      if (i != index && cuSz::equalNoCase(reports.objAt(i)->desc(), name))
        return fail("a report definition named \"" + utf8(reports.objAt(i)->desc()) +
                    "\" exists already");
    report.setDesc(name);
    return true;
  }

  bool lists(const json& body, CKdReport& report) {
    auto it = body.find("lists");
    if (it == body.end()) return true;
    if (!it->is_array()) return fail("the listed objects must be a list of kinds");
    CInt16Array ids;
    for (const json& id : *it) {
      const long long value = id.is_number_integer() ? id.get<long long>() : 0;
      if (value < INT16_MIN || value > INT16_MAX || !entityName(static_cast<int16_t>(value)))
        return fail("no kind of object has the id " + id.dump());
      if (!ids.contains(static_cast<int16_t>(value))) ids.append(static_cast<int16_t>(value));
    }
    if (ids.length() == 0) return fail("a report lists at least one kind of object");
    report.entityTypeIds() = ids;
    return true;
  }

  // Only a report of devices keeps device groups: a record of another report gives none back.
  bool deviceGroups(const json& body, CKdReport& report) {
    auto it = body.find("deviceGroups");
    if (it != body.end()) {
      if (!it->is_array()) return fail("the device groups must be a list of GUIDs");
      CKdGuidArray guids;
      for (const json& text : *it) {
        CKdGuid guid;
        if (!text.is_string() || !guid.fromSz(text.get<std::string>().c_str()))
          return fail("a device group is given by its GUID, not " + text.dump());
        const CKdProductGroup* group = project_.productGroups().findGroup(guid);
        const bool kept = stored_ && stored_->devGroups().find(guid) >= 0;
        if ((!group || group->isRoot()) && !kept)
          return fail("the dataset has no product group " + text.get<std::string>());
        if (guids.find(guid) < 0) guids.append(&guid);
      }
      report.devGroups() = guids;
    }
    if (!report.hasDevices()) report.devGroups() = CKdGuidArray();
    return true;
  }

  bool sort(const json& body, CKdReport& report) {
    auto it = body.find("sort");
    if (it == body.end()) return true;
    if (!it->is_object()) return fail("the sort must be {\"property\", \"descending\"}");
    if (auto property = it->find("property"); property != it->end()) {
      long id = 0;
      if (!propertyId(*property, id) || (id != 0 && !knownProperty(id)))
        return fail("the dataset has no property definition with id " + property->dump() +
                    " to sort by");
      report.setSortPropertyId(id);
    }
    if (auto descending = it->find("descending"); descending != it->end()) {
      if (!descending->is_boolean()) return fail("the sort's \"descending\" is true or false");
      report.setSortType(descending->get<bool>() ? VxKd::sortDescending : VxKd::sortAscending);
    }
    return true;
  }

  bool columns(const json& body, CKdReport& report) {
    auto it = body.find("columns");
    if (it == body.end()) return true;
    if (!it->is_array()) return fail("the columns must be a list");
    if (it->size() > static_cast<size_t>(CKdReportColumnArray::maxColumns))
      return fail("a report has at most " + std::to_string(CKdReportColumnArray::maxColumns) +
                  " columns, not " + std::to_string(it->size()));
    CKdReportColumnArray columns;
    for (size_t i = 0; i < it->size(); ++i) {
      CSReportColumn column;
      if (!readColumn((*it)[i], "column " + std::to_string(i + 1) + ": ", column)) return false;
      columns.append(&column);
    }
    report.columns() = columns;
    return true;
  }

 private:
  static std::string textOf(const json& body, const char* key) {
    auto it = body.find(key);
    return it != body.end() && it->is_string() ? it->get<std::string>() : std::string();
  }

  bool fail(const std::string& why) {
    why_ = why;
    return false;
  }

  static bool propertyId(const json& value, long& id) {
    if (!value.is_number_integer() || value.get<long long>() < INT32_MIN ||
        value.get<long long>() > INT32_MAX)
      return false;
    id = static_cast<long>(value.get<long long>());
    return true;
  }

  // A property definition of the dataset, a special property, or one the report names.
  bool knownProperty(long id) const {
    return project_.propertyDefs().findId(id) || VxKd::getSpecialPropertyName(id) ||
           (stored_ && stored_->usesPropertyDef(id));
  }

  bool knownLineType(long type) const {
    if (std::find(std::begin(kLineTypes), std::end(kLineTypes), type) != std::end(kLineTypes))
      return true;
    for (int i = 0; stored_ && i < stored_->columns().length(); ++i)
      if (stored_->columns().at(i)->lineType() == type) return true;
    return false;
  }

  // A stored heading that is no UTF-8 (8-bit text of another code page) reaches the page with
  // U+FFFD for each byte that does not fit; that text coming back means the stored bytes.
  std::string storedHeading(const std::string& text) const {
    for (int i = 0; stored_ && i < stored_->columns().length(); ++i)
      for (const char* bytes :
           {stored_->columns().at(i)->header1(), stored_->columns().at(i)->header2()})
        if (text != bytes && text == shownText(bytes)) return bytes;
    return text;
  }

  bool header(const json& column, const char* key, const std::string& what, std::string& out) {
    out.clear();
    auto it = column.find(key);
    if (it == column.end() || it->is_null()) return true;
    if (!it->is_string()) return fail(what + " must be a text");
    out = storedHeading(it->get<std::string>());
    if (out.find_first_of(std::string("\r\n\0", 3)) != std::string::npos)
      return fail(what + " must be one line");
    // The heading is stored as it is typed or not at all: a cut one would read differently.
    if (out.size() > kMaxHeaderBytes)
      return fail(what + " holds at most " + std::to_string(kMaxHeaderBytes) + " bytes; \"" + out +
                  "\" has " + std::to_string(out.size()) +
                  " (a letter beyond ASCII takes two or more)");
    return true;
  }

  bool readColumn(const json& item, const std::string& at, CSReportColumn& column) {
    if (!item.is_object()) return fail(at + "a column is an object");
    auto property = item.find("property");
    long id = 0;
    if (property == item.end() || !propertyId(*property, id) || id == 0)
      return fail(at + "choose the property definition the column shows");
    if (!knownProperty(id))
      return fail(at + "the dataset has no property definition with id " + std::to_string(id));
    column.setPropertyId(id);
    if (auto length = item.find("length"); length != item.end()) {
      if (!length->is_number() || !std::isfinite(length->get<double>()) ||
          length->get<double>() < kMinLength || length->get<double>() > kMaxLength)
        return fail(at + "the width must be a number from 0.01 to 1000");
      column.setLength(static_cast<float>(length->get<double>()));
    }
    std::string header1, header2;
    if (!header(item, "header1", at + "header 1", header1) ||
        !header(item, "header2", at + "header 2", header2))
      return false;
    column.setHeader1(header1.c_str());
    column.setHeader2(header2.c_str());
    if (auto line = item.find("lineType"); line != item.end()) {
      if (!line->is_number_integer() || line->get<long long>() < INT16_MIN ||
          line->get<long long>() > INT16_MAX || !knownLineType(line->get<long>()))
        return fail(at + "no line type has the id " + line->dump());
      column.setLineType(static_cast<short>(line->get<long>()));
    }
    return true;
  }

  const CKdProject& project_;
  const CKdReport* stored_;
  std::string& why_;
};

double number(const json& body, const char* key) {
  auto it = body.find(key);
  return it != body.end() && it->is_number() ? it->get<double>() : 0;
}

}  // namespace

json reportJson(const CKdProject& project, const CKdReport& report) {
  json columns = json::array();
  for (int i = 0; i < report.columns().length(); ++i) {
    const CSReportColumn& c = *report.columns().at(i);
    columns.push_back({{"property", c.propertyId()},
                       {"propertyName", propertyName(project, c.propertyId())},
                       {"length", real(c.length())},
                       {"header1", c.header1()},
                       {"header2", c.header2()},
                       {"lineType", c.lineType()}});
  }
  json lists = json::array(), groups = json::array();
  for (int16_t id : report.entityTypeIds()) lists.push_back(id);
  for (int i = 0; i < report.devGroups().length(); ++i)
    groups.push_back(guidText(*report.devGroups().objAt(i)));
  std::string sortedBy = propertyName(project, report.sortPropertyId());
  if (!sortedBy.empty()) sortedBy += ", " + utf8(VxKd::getSortTypeName(report.sortType()));
  return {{"id", report.dbId()},
          {"name", utf8(report.desc())},
          {"columnCount", report.columns().length()},
          {"listsText", listsText(report)},
          {"sortedBy", sortedBy},
          {"style", utf8(report.fontStyleName())},
          {"fontHeight", real(report.fontHeight())},
          {"cellHeight", real(report.cellHeight())},
          {"cellWidth", real(report.cellWidth())},
          {"firstRowHeight", real(report.firstRowHeight())},
          {"firstColWidth", real(report.firstColWidth())},
          {"autoFirstRowHeight", report.isAutoFirstRowHeight()},
          {"vertical", report.orientation() == CKdReport::vertical},
          {"verticalTexts", report.verticalTextsInFirstRow()},
          {"lists", lists},
          {"deviceGroups", groups},
          {"sort",
           {{"property", report.sortPropertyId()},
            {"descending", report.sortType() == VxKd::sortDescending}}},
          {"columns", columns}};
}

std::string storeReport(CKdProject& project, int index, const json& body, long& id) {
  CKdObjectArray<CKdReport>& reports = project.reportDefs();
  const CKdReport* stored = index >= 0 ? reports.objAt(index) : nullptr;
  CKdReport changed = stored ? *stored : CKdReport();
  std::string why;
  ReportReader read(project, stored, why);
  if (!read.name(body, index, changed) || !read.lists(body, changed) ||
      !read.deviceGroups(body, changed) || !read.sort(body, changed) ||
      !read.columns(body, changed))
    return why;
  // The fields of the form table, which checkFormFields has checked.
  if (body.contains("style")) changed.setFontStyleName(wide(body["style"].get<std::string>()));
  struct Size {
    const char* key;
    void (CKdReport::*set)(float);
  };
  for (const Size& size :
       {Size{"fontHeight", &CKdReport::setFontHeight},
        Size{"cellHeight", &CKdReport::setCellHeight}, Size{"cellWidth", &CKdReport::setCellWidth},
        Size{"firstColWidth", &CKdReport::setFirstColWidth}})
    if (body.contains(size.key)) (changed.*size.set)(static_cast<float>(number(body, size.key)));
  if (body.contains("vertical"))
    changed.setOrientation(body["vertical"].get<bool>() ? CKdReport::vertical
                                                        : CKdReport::horizontal);
  if (body.contains("verticalTexts"))
    changed.setVerticalTextsInFirstRow(body["verticalTexts"].get<bool>());
  // A heading row that fitted its headings goes on fitting them (a second heading line, a
  // new row height) unless the change gives it another height.
  const bool heightGiven = body.contains("firstRowHeight") &&
                           (!stored || std::fabs(number(body, "firstRowHeight") -
                                                 stored->firstRowHeight()) >= kSameHeight);
  if (heightGiven)
    changed.setFirstRowHeight(static_cast<float>(number(body, "firstRowHeight")));
  else if (stored && stored->isAutoFirstRowHeight())
    changed.setFirstRowHeight(changed.calcFirstRowHeight());

  if (stored) {
    *reports.objAt(index) = changed;
  } else {
    changed.setDbId(reports.nextId(1, 999999));
    if (changed.dbId() == 0 || !reports.append(&changed))
      return "no id is free for another report definition";
  }
  id = changed.dbId();
  return "";
}

std::string removeReport(CKdProject& project, int index) {
  if (project.deleteReportDefs(nullptr, CInt32Array{index})) return "";
  return "the report definition cannot be deleted from the file";
}

json reportChoicesJson(const CKdProject& project) {
  json properties = json::array();
  const CKdPropertyDefArray& defs = project.propertyDefs();
  for (int i = 0; i < defs.length(); ++i)
    properties.push_back({{"id", defs.idAt(i)}, {"name", utf8(defs.objAt(i)->name())}});
  for (long id = -1; id >= -VxKd::getSpecialPropertyCount(); --id)
    properties.push_back({{"id", id}, {"name", propertyName(project, id)}});
  // The groups in the order of their paths, as a tree lists them.
  std::vector<std::pair<std::string, std::string>> paths;
  const CKdProductGroupArray& all = project.productGroups();
  for (int i = 0; i < all.length(); ++i) {
    const CKdProductGroup& group = *all.objAt(i);
    if (!group.isRoot() && !group.guid().isNull())
      paths.emplace_back(utf8(all.getGroupPath(group.dbId())), guidText(group.guid()));
  }
  std::sort(paths.begin(), paths.end());
  json groups = json::array();
  for (const auto& [path, guid] : paths) groups.push_back({{"guid", guid}, {"path", path}});
  json entities = json::array(), lineTypes = json::array(), sortTypes = json::array();
  for (const EntityName& entity : kEntityNames)
    entities.push_back({{"id", entity.id}, {"name", entity.name}});
  for (short type : kLineTypes)
    lineTypes.push_back({{"id", type},
                         {"name", type == 0 ? std::string(kNoLineName)
                                            : utf8(CSReportColumn::GetLineTypeName(type))}});
  for (VxKd::SortType type : kSortTypes)
    sortTypes.push_back({{"descending", type == VxKd::sortDescending},
                         {"name", utf8(VxKd::getSortTypeName(type))}});
  return {{"properties", properties},
          {"groups", groups},
          {"entityTypes", entities},
          {"lineTypes", lineTypes},
          {"sortTypes", sortTypes},
          {"maxColumns", CKdReportColumnArray::maxColumns},
          {"maxHeaderBytes", kMaxHeaderBytes},
          {"defaults", reportJson(project, CKdReport())}};
}

}  // namespace vkdedit

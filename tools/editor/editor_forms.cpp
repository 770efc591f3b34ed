#include "editor_forms.h"

#include <cmath>
#include <cstdio>

#include "editor_reports.h"
#include "editor_text.h"
#include "vxkd/drawingdefs/layer_def.h"
#include "vxkd/platform/sz.h"

using json = nlohmann::json;

namespace vkdedit {
namespace {

// The host's colour indexes a layer may have (0 and 256 mean "by block" and "by layer").
constexpr int kMinLayerColor = 1;
constexpr int kMaxLayerColor = 255;
// The longest name or text field the forms take; a LIN line is at most kMaxLinLineChars.
constexpr int kMaxNameChars = 255;

std::string text(const json& body, const char* key) {
  auto it = body.find(key);
  return it != body.end() && it->is_string() ? it->get<std::string>() : std::string();
}
double number(const json& body, const char* key) {
  auto it = body.find(key);
  return it != body.end() && it->is_number() ? it->get<double>() : 0;
}

// What names linetypes: the layers, the products of the groups and of the poly-object sets.
std::vector<const iKdLinetypeUser*> linetypeUsers(const CKdProject& project) {
  std::vector<const iKdLinetypeUser*> users = {&project.layerDefs(), &project.productGroups()};
  for (auto type : {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemElectric, VxKd::systemData})
    if (const CKdProductDefArray* set = project.polyDefSets(type)) users.push_back(set);
  return users;
}

bool linetypeInUse(const CKdProject& project, const wchar_t* name) {
  for (const iKdLinetypeUser* user : linetypeUsers(project))
    if (user->usesLinetype(name)) return true;
  return false;
}

bool holdsLineBreak(const std::string& value) {
  return value.find_first_of("\r\n") != std::string::npos;
}

}  // namespace

// The checks every form field has: its type, its range, a choice among the names offered,
// no line breaks in a text. "" when all fields of `body` that the kind has are fine.
std::string checkFormFields(const FormKind& kind, const CKdProject& project, const json& body) {
  for (const FormField& field : kind.fields) {
    auto it = body.find(field.key);
    if (field.readOnly || it == body.end()) continue;
    const std::string name = field.label;
    switch (field.type) {
      case FormField::text:
      case FormField::choice:
        if (!it->is_string()) return name + " must be a text";
        if (holdsLineBreak(*it)) return name + " must be one line";
        if (wide(*it).length() > kMaxNameChars)
          return name + " holds at most " + std::to_string(kMaxNameChars) + " characters";
        break;
      case FormField::flag:
        if (!it->is_boolean()) return name + " must be true or false";
        break;
      case FormField::integer:
      case FormField::real:
        if (!it->is_number() || (field.type == FormField::integer && !it->is_number_integer()) ||
            !std::isfinite(it->get<double>()) || it->get<double>() < field.min ||
            it->get<double>() > field.max) {
          char range[64];
          std::snprintf(range, sizeof range,
                        field.type == FormField::integer ? "%.0f to %.0f" : "%g to %g", field.min,
                        field.max);
          return name + " must be a number from " + range;
        }
        break;
    }
    if (field.type == FormField::choice && std::string(field.choices) == "linetypes" &&
        !project.linetypeDefs().findLinetypeDef(wide(*it)))
      return "the dataset has no linetype \"" + it->get<std::string>() + "\"";
    if (field.type == FormField::choice && std::string(field.choices) == "textStyles" &&
        !project.textStyleDefs().findStyle(wide(*it)))
      return "the dataset has no text style \"" + it->get<std::string>() + "\"";
  }
  return "";
}

namespace {

json layerJson(const CKdLayerDef& layer) {
  return {{"id", layer.layerNumber()},          {"layer", layer.layerNumber()},
          {"name", utf8(layer.name())},         {"desc", utf8(layer.desc())},
          {"linetype", utf8(layer.linetype())}, {"color", layer.colorNmb()}};
}

std::string storeLayer(CKdProject& project, int index, const json& body, long& id) {
  CKdLayerDefArray& layers = project.layerDefs();
  if (index < 0) return "the program's layers are fixed: none can be added";
  CKdLayerDef changed = *layers.objAt(index);
  if (body.contains("name")) {
    const CWsz name = wide(text(body, "name"));
    if (name.isEmpty()) return "a layer needs a name";
    std::wstring fixed = name.wsz();
    if (VxKd::fixLayerName(fixed.data()))
      return "a layer name must not hold any of < > / \\ \" : ; ? * | , = '";
    for (int i = 0; i < layers.length(); ++i)
      if (i != index && cuSz::equalNoCase(layers.objAt(i)->name(), name))
        return "the layer \"" + utf8(layers.objAt(i)->desc()) + "\" has that name already";
    changed.setName(name);
  }
  if (body.contains("linetype")) changed.setLinetype(wide(text(body, "linetype")));
  if (body.contains("color")) changed.setColorNmb(static_cast<short>(number(body, "color")));
  *layers.objAt(index) = changed;
  id = changed.layerNumber();
  return "";
}

json linetypeJson(const CKdLinetypeDef& linetype, int index) {
  return {{"id", index},
          {"name", utf8(linetype.name())},
          {"desc", utf8(linetype.desc())},
          {"data", utf8(linetype.data())}};
}

std::string storeLinetype(CKdProject& project, int index, const json& body, long& id) {
  CKdLinetypeDefArray& linetypes = project.linetypeDefs();
  if (index >= 0 && CKdLinetypeDefArray::isBuiltInName(linetypes.nameAt(index)))
    return "the built-in linetype CONTINUOUS cannot be changed";
  CKdLinetypeDef changed = index >= 0 ? *linetypes.objAt(index) : CKdLinetypeDef();
  if (body.contains("name") || index < 0) {
    const CWsz name = wide(text(body, "name"));
    if (name.isEmpty()) return "a linetype needs a name";
    // A LIN file's header line ends the name at its first comma.
    if (name.find(L',') >= 0) return "a linetype name must not hold a comma";
    if (VxKd::isCommonLinetypeName(name))
      return "BYLAYER, BYBLOCK and CONTINUOUS are names every drawing has already";
    const CKdLinetypeDef* same = linetypes.findLinetypeDef(name);
    if (same && same != (index >= 0 ? linetypes.objAt(index) : nullptr))
      return "a linetype named \"" + utf8(same->name()) + "\" exists already";
    // What names the old name would be left without its linetype.
    if (index >= 0 && !cuSz::equalNoCase(changed.name(), name) &&
        linetypeInUse(project, changed.name()))
      return "\"" + utf8(changed.name()) + "\" is in use and keeps its name";
    changed.setName(name);
  }
  if (body.contains("desc")) changed.setDesc(wide(text(body, "desc")));
  if (body.contains("data") || index < 0) {
    const CWsz data = wide(text(body, "data"));
    if (data.isEmpty()) return "a linetype needs its pattern (\"A,.5,-.25\")";
    if (data.length() > CKdLinetypeDefArray::kMaxLinLineChars)
      return "a pattern holds at most " + std::to_string(CKdLinetypeDefArray::kMaxLinLineChars) +
             " characters";
    changed.setData(data);
  }
  if (index >= 0) {
    *linetypes.objAt(index) = changed;
    id = index;
  } else {
    linetypes.append(&changed);
    id = linetypes.length() - 1;
  }
  return "";
}

std::string removeLinetype(CKdProject& project, int index) {
  if (project.linetypeDefs().deleteUnused(nullptr, CInt32Array{index}, linetypeUsers(project)))
    return "";
  return "the linetype is in use";
}

json textStyleJson(const CKdTextStyleDef& style) {
  return {{"id", style.dbId()},
          {"name", utf8(style.name())},
          {"font", utf8(style.fontFile())},
          {"face", utf8(style.typeFace())},
          {"textSize", style.textSize()},
          {"xScale", style.xScale()},
          {"oblAngle", style.oblAngle()},
          {"bold", style.isBold()},
          {"italic", style.isItalic()}};
}

std::string storeTextStyle(CKdProject& project, int index, const json& body, long& id) {
  CKdTextStyleDefArray& styles = project.textStyleDefs();
  CKdTextStyleDef changed = index >= 0 ? *styles.objAt(index) : CKdTextStyleDef();
  if (body.contains("name") || index < 0) {
    const CWsz name = wide(text(body, "name"));
    if (name.isEmpty()) return "a text style needs a name";
    const CKdTextStyleDef* same = styles.findStyle(name);
    if (same && same != (index >= 0 ? styles.objAt(index) : nullptr))
      return "a text style named \"" + utf8(same->name()) + "\" exists already";
    bool byFormat = false, byReport = false;
    if (index >= 0 && !cuSz::equalNoCase(changed.name(), name) &&
        project.usesTextStyle(changed.name(), byFormat, byReport))
      return "\"" + utf8(changed.name()) + "\" is in use and keeps its name";
    changed.setName(name);
  }
  if (body.contains("font")) changed.setFontFile(wide(text(body, "font")));
  if (body.contains("face")) changed.setTypeFace(wide(text(body, "face")));
  if (index < 0 && changed.fontFile().isEmpty() && changed.typeFace().isEmpty())
    return "a text style needs a font file or a type face";
  if (body.contains("textSize")) changed.setTextSize(static_cast<float>(number(body, "textSize")));
  if (body.contains("xScale")) changed.setXScale(static_cast<float>(number(body, "xScale")));
  if (body.contains("oblAngle")) changed.setOblAngle(static_cast<float>(number(body, "oblAngle")));
  if (body.contains("bold")) changed.setBold(body["bold"].get<bool>());
  if (body.contains("italic")) changed.setItalic(body["italic"].get<bool>());
  if (index >= 0) {
    *styles.objAt(index) = changed;
  } else if (!styles.append(&changed)) {
    return "no id is free for another text style";
  } else {
    index = styles.length() - 1;
  }
  id = styles.objAt(index)->dbId();
  return "";
}

// A 2D symbol is renamed by its description; its symbol id, which products name, stays.
std::string storeSymbol(CKdProject& project, int index, const json& body, long& id) {
  if (index < 0) return "2D symbols are not added here";
  if (body.contains("desc")) {
    if (text(body, "desc").empty()) return "a 2D symbol needs a description";
    project.symbols().objAt(index)->setDesc(wide(text(body, "desc")));
  }
  id = index;
  return "";
}

// The blocks of every group in one list, numbered in group order; the page's picture of a
// block is named by its group's id and its position there.
template <typename Visit>
bool visitBlocks(const CKdProject& project, Visit visit) {
  const CKdProductGroupArray& groups = project.productGroups();
  int number = 0;
  for (int g = 0; g < groups.length(); ++g)
    for (int b = 0; b < groups.objAt(g)->blocks().length(); ++b)
      if (visit(*groups.objAt(g), b, number++)) return true;
  return false;
}

std::string storeBlock(CKdProject& project, int index, const json& body, long& id) {
  if (index < 0) return "blocks are not added here";
  if (body.contains("desc") && text(body, "desc").empty()) return "a block needs a name";
  visitBlocks(project, [&](const CKdProductGroup& group, int b, int number) {
    if (number != index) return false;
    CKdProductGroup* owner = project.productGroups().findGroup(group.dbId());
    if (body.contains("desc")) owner->blocks().objAt(b)->setDesc(wide(text(body, "desc")));
    return true;
  });
  id = index;
  return "";
}

template <typename Array, typename Row>
json itemsOf(const Array& array, Row row) {
  json out = json::array();
  for (int i = 0; i < array.length(); ++i) out.push_back(row(*array.objAt(i), i));
  return out;
}

}  // namespace

const std::vector<FormKind>& formKinds() {
  static const std::vector<FormKind> kinds = {
      {"layers",
       {{"layer", "Number", FormField::integer, nullptr, 0, 0, true},
        {"desc", "Description", FormField::text, nullptr, 0, 0, true},
        {"name", "Name", FormField::text},
        {"linetype", "Linetype", FormField::choice, "linetypes"},
        {"color", "Colour", FormField::integer, nullptr, kMinLayerColor, kMaxLayerColor}},
       false,
       false,
       [](const CKdProject& p) {
         return itemsOf(p.layerDefs(), [](const CKdLayerDef& l, int) { return layerJson(l); });
       },
       [](const CKdProject& p, long id) { return p.layerDefs().indexOfId(id); },
       storeLayer,
       nullptr},
      {"linetypes",
       {{"name", "Name", FormField::text},
        {"desc", "Description", FormField::text},
        {"data", "Pattern", FormField::text}},
       true,
       true,
       [](const CKdProject& p) { return itemsOf(p.linetypeDefs(), linetypeJson); },
       [](const CKdProject& p, long id) {
         return id >= 0 && id < p.linetypeDefs().length() ? static_cast<int>(id) : -1;
       },
       storeLinetype,
       removeLinetype},
      {"textStyles",
       {{"name", "Name", FormField::text},
        {"font", "Font file", FormField::text},
        {"face", "Type face", FormField::text},
        {"textSize", "Text size", FormField::real, nullptr, 0, 10000},
        {"xScale", "Width factor", FormField::real, nullptr, 0.01, 100},
        {"oblAngle", "Oblique angle", FormField::real, nullptr, -85, 85},
        {"bold", "Bold", FormField::flag},
        {"italic", "Italic", FormField::flag}},
       true,
       true,
       [](const CKdProject& p) {
         return itemsOf(p.textStyleDefs(),
                        [](const CKdTextStyleDef& s, int) { return textStyleJson(s); });
       },
       [](const CKdProject& p, long id) { return p.textStyleDefs().indexOfId(id); },
       storeTextStyle,
       [](CKdProject& p, int index) -> std::string {
         if (p.deleteTextStyles(nullptr, CInt32Array{index})) return "";
         return "the text style is in use or the dataset cannot be written";
       },
       true},
      // The objects a report lists, its sort and its columns are checked by storeReport.
      {"reports",
       {{"name", "Name", FormField::text},
        {"id", "Id", FormField::integer, nullptr, 0, 0, true},
        {"columnCount", "Columns", FormField::integer, nullptr, 0, 0, true},
        {"style", "Text style", FormField::choice, "textStyles"},
        {"fontHeight", "Text height", FormField::real, nullptr, 0.01, 1000},
        {"cellHeight", "Row height", FormField::real, nullptr, 0.01, 1000},
        {"cellWidth", "Column width", FormField::real, nullptr, 0.01, 1000},
        {"firstRowHeight", "First row height", FormField::real, nullptr, 0.01, 1000},
        {"firstColWidth", "First column width", FormField::real, nullptr, 0.01, 1000},
        {"vertical", "Vertical (data in columns)", FormField::flag},
        {"verticalTexts", "Vertical texts in first row", FormField::flag}},
       true,
       true,
       [](const CKdProject& p) {
         return itemsOf(p.reportDefs(), [&p](const CKdReport& r, int) { return reportJson(p, r); });
       },
       [](const CKdProject& p, long id) { return p.reportDefs().indexOfId(id); },
       storeReport,
       removeReport,
       true},
      {"symbols",
       {{"symbol", "Symbol", FormField::text, nullptr, 0, 0, true},
        {"desc", "Description", FormField::text}},
       false,
       false,
       [](const CKdProject& p) {
         return itemsOf(p.symbols(), [](const CVxSymbolModel& m, int i) {
           return json{{"id", i},
                       {"symbol", m.symbolId()},
                       {"picture", m.symbolId()},
                       {"desc", utf8(m.desc())}};
         });
       },
       [](const CKdProject& p, long id) {
         return id >= 0 && id < p.symbols().length() ? static_cast<int>(id) : -1;
       },
       storeSymbol,
       nullptr},
      {"blocks",
       {{"group", "Group", FormField::text, nullptr, 0, 0, true},
        {"desc", "Name", FormField::text},
        {"items", "Items", FormField::integer, nullptr, 0, 0, true}},
       false,
       false,
       [](const CKdProject& p) {
         json items = json::array();
         visitBlocks(p, [&](const CKdProductGroup& group, int b, int number) {
           const CKdBlock& block = *group.blocks().objAt(b);
           items.push_back({{"id", number},
                            {"picture", std::to_string(group.dbId()) + "/" + std::to_string(b)},
                            {"group", utf8(p.productGroups().getGroupPath(group.dbId()))},
                            {"desc", utf8(block.desc())},
                            {"items", block.items().length()}});
           return false;
         });
         return items;
       },
       [](const CKdProject& p, long id) {
         int found = -1;
         visitBlocks(p, [&](const CKdProductGroup&, int, int number) {
           if (number == id) found = number;
           return found >= 0;
         });
         return found;
       },
       storeBlock,
       nullptr},
  };
  return kinds;
}

json formsJson() {
  static const char* const kTypes[] = {"text", "integer", "real", "flag", "choice"};
  json forms = json::object();
  for (const FormKind& kind : formKinds()) {
    json fields = json::array();
    for (const FormField& f : kind.fields) {
      json field = {{"key", f.key}, {"label", f.label}, {"type", kTypes[f.type]}};
      if (f.choices) field["choices"] = f.choices;
      if (f.type == FormField::integer || f.type == FormField::real) {
        field["min"] = f.min;
        field["max"] = f.max;
      }
      if (f.readOnly) field["readOnly"] = true;
      fields.push_back(field);
    }
    forms[kind.kind] = {{"fields", fields}, {"canAdd", kind.canAdd}, {"canDelete", kind.canDelete}};
  }
  return forms;
}

}  // namespace vkdedit

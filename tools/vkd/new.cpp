// vkd new [--force] [--sample] FILE.vkd: a new dataset with the default content.
//
// An existing file is never touched unless --force is given, and even then not while
// someone holds its lock (the lock is taken for the whole creation). The new dataset is
// built beside the target under a temporary name and renamed into place when complete, so
// a failure leaves the old file whole and nothing half-made.

#include <algorithm>
#include <cstdio>
#include <initializer_list>

#include "tool.h"

namespace vkd {
namespace {

// One definition of each kind of poly object, the duct and the pipe with their sizes and an
// integrated text of the sample formats. REQUIRES the sample property definitions.
void addSamplePolyDefs(CKdProject& project) {
  const struct {
    VxKd::systemTypeIds type;
    const wchar_t* desc;
    short colour;
    float width;
    long textFormat;  // 0: none
    const wchar_t* values[2][2];
  } kPolyDefs[] = {
      {VxKd::systemDuct,
       L"Rectangular duct",
       256,
       0.0f,
       1,
       {{L"Width", L"400"}, {L"Height", L"200"}}},
      {VxKd::systemPipe,
       L"Steel pipe",
       6,
       0.0f,
       2,
       {{L"Diameter", L"60.3"}, {L"Material", L"Steel"}}},
      {VxKd::systemElectric, L"Power cable 3x1.5", 1, 0.35f, 0, {}},
      {VxKd::systemData, L"Data cable Cat 6A", 3, 0.25f, 0, {}},
  };
  for (const auto& d : kPolyDefs) {
    CKdProductDefArray* set = project.polyDefSets(d.type);
    CKdProductDef product;
    product.setDbId(set->nextId(1, CKdProductDefArray::kMaxId));
    CKdGuid guid;
    guid.createValue();
    product.setGuid(guid);
    product.setDesc(d.desc);
    product.setColorNmb(d.colour);
    product.setLineWidth(d.width);
    if (d.textFormat) {
      CKdIntegratedText text;
      text.setFormatId(d.textFormat);
      text.setOffset(0.0f, 5.0f);
      product.getIntegratedTexts().append(&text);
    }
    for (const auto& value : d.values) {
      const CKdPropertyDef* def = value[0] ? project.propertyDefs().findName(value[0]) : nullptr;
      if (!def) continue;
      CKdProperty property(*def);
      property.setValue(value[1]);
      product.properties().append(&property);
    }
    set->append(&product);
  }
}

// A valve drawn as a bow tie on a stem with a hand wheel, 4 units wide: the symbol of the
// sample valve.
CVxSymbolModel valveSymbol() {
  const auto node = [](CGmNode::nodeType type, uint16_t flags, std::initializer_list<float> v) {
    CGmNode n;
    n.type = type;
    n.flags = flags;
    std::copy(v.begin(), v.end(), n.v);
    return n;
  };
  return CVxSymbolModel(
      0, "VALVE", L"Valve",
      {node(CGmNode::typeVertex, CGmNode::flagClosed, {-2, -1, 0}),
       node(CGmNode::typeVertex, 0, {2, 1, 0}), node(CGmNode::typeVertex, 0, {2, -1, 0}),
       node(CGmNode::typeVertex, 0, {-2, 1, 0}), node(CGmNode::typeLine, 0, {0, 0, 0, 0, 2, 0}),
       node(CGmNode::typeCircle, 0, {0, 2.5f, 0, 0.5f, 0, 0})});
}

// A part ID format, a small tree of product groups with products, and a block of two valves
// on a pipe drawn as graphics of its own. REQUIRES the sample property definitions and
// symbols.
void addSampleCatalogue(CKdProject& project) {
  CKdPartIdFormat partId(1, L"Duct size", L"RD-{Width}x{Height}");
  project.partIdFormats().append(&partId);
  const struct {
    long id, owner;
    const wchar_t* desc;
  } kGroups[] = {
      {1, -1, L"Ducts"}, {2, 1, L"Rectangular"}, {3, -1, L"Valves"}, {4, -1, L"Electrical"}};
  CKdProductGroupArray& groups = project.productGroups();
  for (const auto& g : kGroups) {
    CKdProductGroup group;
    CKdGuid guid;
    guid.createValue();
    group.init(g.id, g.owner, groups.nextSortOrderNmbUnderGroup(g.owner), guid, g.desc);
    groups.append(&group);
  }
  const struct {
    long group;
    const wchar_t* desc;
    const char* symbol;
    short colour;
    long partIdFormat;
    const wchar_t* values[2][2];
  } kProducts[] = {
      {2, L"Duct 400 x 200", "", 256, 1, {{L"Width", L"400"}, {L"Height", L"200"}}},
      {3, L"Ball valve DN 50", "VALVE", 1, 0, {{L"Diameter", L"50"}, {L"Material", L"Brass"}}},
      {4, L"Wall socket", "SOCKET", 3, 0, {}},
  };
  for (const auto& d : kProducts) {
    CKdProductDefArray& products = groups.findGroup(d.group)->products();
    CKdProductDef product;
    product.setDbId(products.nextId(1, CKdProductDefArray::kMaxGroupProductId));
    CKdGuid guid;
    guid.createValue();
    product.setGuid(guid);
    product.setDesc(d.desc);
    product.setSymbolId(d.symbol);
    product.setColorNmb(d.colour);
    product.setPartIdFmtId(d.partIdFormat);
    for (const auto& value : d.values) {
      const CKdPropertyDef* def = value[0] ? project.propertyDefs().findName(value[0]) : nullptr;
      if (!def) continue;
      CKdProperty property(*def);
      property.setValue(value[1]);
      product.properties().append(&property);
    }
    products.append(&product);
  }
  const CVxSymbolModel valveDrawing = valveSymbol();
  project.symbols().append(&valveDrawing);

  const CKdProductDef* valve = groups.findProduct(L"Ball valve DN 50", 3);
  CKdBlock station;
  station.setDesc(L"Valve station");
  CGmModel pipe;
  pipe.setColor(6);
  pipe.addLine({-4, 0}, {16, 0});
  pipe.setColor(7);
  pipe.addText(L"Station 1", {-4, -4}, {1, 0}, 1.5, L"Arial");
  CKdBlockItem graphics;
  graphics.setName(L"Pipe");
  graphics.setGraphics(pipe);
  station.add(graphics);
  const struct {
    const wchar_t* name;
    CGmPoint at;
    CGmVector axis;
    float scale;
  } kValves[] = {{L"Shut-off", {0, 0}, {1, 0}, 1}, {L"Bypass", {12, 0}, {0, 1}, 1.5f}};
  for (const auto& v : kValves) {
    CKdBlockItem item;
    item.setName(v.name);
    item.setGuid(valve->guid());
    item.setPosition(v.at);
    item.setFirstAxis(v.axis);
    item.setSecondAxis(v.axis.perpendicular());
    item.setScale(v.scale);
    item.setColorNmb(1);
    station.add(item);
  }
  groups.findGroup(3)->blocks().append(&station);
}

// A few property definitions, dimension text formats that name them, definitions of the
// poly objects, two symbols that show both ways a drawing is stored, a small catalogue and a
// report.
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

  addSamplePolyDefs(project);

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
  addSampleCatalogue(project);

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

int runNew(const std::vector<std::string>& args, const Options& options, ToolUiBackend& ui) {
  CKdProject project;
  project.buildDefaultProject();
  if (options.sample) addSampleContent(project);
  if (int result = writeNewDataset(args[0], options.force, project, ui, L"vkd new")) return result;
  std::printf("Created %s\n", args[0].c_str());
  return exitOk;
}

const Command kNew("new", "[--force] [--sample] FILE.vkd",
                   "create a dataset with the default content (--sample adds a few\n"
                   "example definitions); an existing file is replaced only with\n"
                   "--force, and never while its lock is held",
                   1, "force,sample", runNew);

}  // namespace
}  // namespace vkd

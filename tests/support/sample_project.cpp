#include "support/sample_project.h"

#include <cstdio>

namespace vxkd_test {

CKdGuid numberedGuid(unsigned series, unsigned long long number) {
  char text[40];
  std::snprintf(text, sizeof text, "%08X-0000-4000-8000-%012llX", series, number);
  return CKdGuid(text);
}

namespace {

constexpr VxKd::systemTypeIds kSets[] = {VxKd::systemDuct, VxKd::systemPipe, VxKd::systemData,
                                         VxKd::systemElectric};

void addProperty(CKdProductDef& product, const CKdProject& project, const wchar_t* name,
                 const wchar_t* value) {
  const CKdPropertyDef* def = project.propertyDefs().findName(name);
  if (!def) return;
  CKdProperty property(*def);
  property.setValue(value);
  product.properties().append(&property);
}

void addIntegratedText(CKdProductDef& product, long format, float x, float y, short rotation) {
  CKdIntegratedText text;
  text.setFormatId(format);
  text.setOffset(x, y);
  text.setRotation(rotation);
  product.getIntegratedTexts().append(&text);
}

CVxSymbolModel symbol(long projectId, const char* id, const wchar_t* desc, int nodes) {
  CVxSymbolModel model;
  model.setProjectId(projectId);
  model.setSymbolId(id);
  model.setDesc(desc);
  for (int i = 0; i < nodes; ++i) {
    CGmNode node{};
    node.type = i % 3 == 0 ? CGmNode::typeCircle : CGmNode::typeLine;
    node.flags = i % 3 == 0 ? CGmNode::flagFilled : 0;
    node.v[0] = 0.1f * static_cast<float>(i);
    node.v[1] = -2.5f;
    node.v[3] = 1.0f / 3.0f + static_cast<float>(i);
    model.appendNode(node);
  }
  return model;
}

void addBasics(CKdProject& project) {
  project.resetData();
  project.buildDefaultProject();
  CKdPropertyDefArray& defs = project.propertyDefs();
  defs.add(L"Width", L"Duct width", CKdPropertyValue::typeInt32, CKdUnit::unitMm, 0);
  defs.add(L"Height", L"Duct height", CKdPropertyValue::typeInt16, CKdUnit::unitMm, 0);
  defs.add(L"Diameter", L"Pipe size", CKdPropertyValue::typeDoubleReal, CKdUnit::unitMm, 2);
  defs.add(L"Flow", L"Volume flow", CKdPropertyValue::typeSingleReal, CKdUnit::unitLps, 1);
  defs.add(L"Material", L"", CKdPropertyValue::typeText, CKdUnit(), 0);

  const CKdLinetypeDef dashed(L"DASHED", L"Dashed __ __ __", L"A,.5,-.25");
  const CKdLinetypeDef hidden(L"HIDDEN", L"Hidden - - -", L"A,.25,-.125");
  project.linetypeDefs().append(&dashed);
  project.linetypeDefs().append(&hidden);

  CKdTextStyleDef narrow;
  narrow.setName(L"Narrow");
  narrow.setFontFile(L"romans.shx");
  narrow.setItalic(true);
  narrow.setXScale(0.8f);
  narrow.setTextSize(2.5f);
  project.textStyleDefs().append(&narrow);

  const struct {
    long id;
    const wchar_t* desc;
    const wchar_t* fmt;
    const wchar_t* style;
    float height;
  } kFormats[] = {
      {1, L"Duct size", L"{Width} x {Height}", L"Standard", 2.5f},
      {2, L"Pipe with note", L"DN {Diameter}{*CRNL*}{*NOTE*}", L"Narrow", 2.0f},
      {3, L"Part ID", L"{*PARTID*}", L"Standard", 3.5f},
  };
  for (const auto& f : kFormats) {
    CKdDimtextFormat format;
    format.setId(f.id);
    format.setDesc(f.desc);
    format.setFmt(f.fmt);
    format.setStyleName(f.style);
    format.setTextHeight(f.height);
    format.options().setBorderType(CKdDimtextOptions::borderRectangle);
    project.dimTextFormats().append(&format);
  }

  const CVxSymbolModel socket = symbol(1, "SOCKET", L"Wall socket", 12);
  const CVxSymbolModel panel = symbol(2, "PANEL", L"Distribution panel", 300);
  project.symbols().append(&socket);
  project.symbols().append(&panel);

  CKdLayerDef* duct = project.layerDefs().findLayerDef(VxKd::layerDuct);
  duct->setName(L"M-DUCT");
  duct->setLinetype(L"DASHED");
  duct->setColorNmb(4);
}

// Four groups, one with a "/" in its description, under the root -1.
void addGroups(CKdProject& project, unsigned series) {
  const struct {
    long id, owner, order;
    const wchar_t* desc;
  } kGroups[] = {{1, -1, 1, L"Ventilation"},
                 {2, 1, 1, L"Grilles"},
                 {3, -1, 2, L"Electrical"},
                 {4, 3, 1, L"Cable trays/ladders"}};
  for (const auto& g : kGroups) {
    CKdProductGroup group;
    group.init(g.id, g.owner, g.order, numberedGuid(series, static_cast<unsigned>(g.id)), g.desc);
    project.productGroups().append(&group);
  }
  const CKdProductGroup root = CKdProductGroup::defaultRoot();
  project.productGroups().append(&root);
}

}  // namespace

void fillSampleProject(CKdProject& project) {
  addBasics(project);
  CKdPartIdFormat partId(4, L"Duct part ID", L"{Width}x{Height}");
  partId.setGuid(numberedGuid(0xB0, 1));
  project.partIdFormats().append(&partId);

  const wchar_t* kNames[] = {L"Rectangular duct", L"Steel pipe", L"Data cable Cat 6A",
                             L"Power cable 3x1.5"};
  for (int s = 0; s < 4; ++s) {
    CKdProductDef product;
    product.setDbId(s + 1);
    product.setGuid(numberedGuid(0xA0, static_cast<unsigned>(s) + 1));
    product.setDesc(kNames[s]);
    product.setLineType(s == 0 ? L"DASHED" : L"");
    product.setColorNmb(static_cast<short>(s == 1 ? 6 : 256));
    product.setLineWidth(s == 3 ? 0.35f : 0.0f);
    product.setSymbolId(s == 2 ? "SOCKET" : "");
    product.setSystemId(s == 1 ? 12 : 0);
    product.setPartIdFmtId(s == 0 ? 4 : 0);
    addProperty(product, project, L"Width", L"400");
    addProperty(product, project, L"Height", L"200");
    addProperty(product, project, L"Diameter", L"60.33");
    addProperty(product, project, L"Flow", L"12.5");
    addProperty(product, project, L"Material", s == 1 ? L"Steel" : L"");
    if (s < 2) addIntegratedText(product, s + 1, 0.0f, 5.0f, static_cast<short>(90 * s));
    project.polyDefSets(kSets[s])->append(&product);
  }

  addGroups(project, 0xC0);
  const struct {
    long group, id;
    unsigned guid;
    const wchar_t* desc;
    const char* symbol;
    const wchar_t* linetype;
  } kProducts[] = {{2, 1, 1, L"Grille 600x600", "PANEL", L""},
                   {3, 1, 2, L"Socket outlet", "SOCKET", L"HIDDEN"},
                   {-1, 5, 3, L"Loose part", "", L""}};
  for (const auto& p : kProducts) {
    CKdProductDef product;
    product.setDbId(p.id);
    product.setGuid(numberedGuid(0xD0, p.guid));
    product.setDesc(p.desc);
    product.setSymbolId(p.symbol);
    product.setLineType(p.linetype);
    if (p.group == 2) {
      product.setPartIdFmtId(4);
      addProperty(product, project, L"Width", L"600");
      addProperty(product, project, L"Height", L"600");
      addIntegratedText(product, 1, 1.0f, 1.0f, 0);
    }
    project.productGroups().findGroup(p.group)->products().append(&product);
  }

  CKdBlock block;
  block.setGuid(numberedGuid(0xE0, 1));
  block.setDesc(L"Socket pair");
  CKdBlockItem socket;
  socket.setGuid(numberedGuid(0xD0, 2));
  socket.setName(L"Left");
  socket.setPosition(CGmPoint(1.0, 2.0, 0.0));
  socket.setFirstAxis(CGmVector(1, 0, 0));
  socket.setSecondAxis(CGmVector(0, 1, 0));
  socket.setLineType(L"DASHED");
  socket.setColorNmb(3);
  const CKdPropertyDef* material = project.propertyDefs().findName(L"Material");
  CKdProperty copper(*material);
  copper.setValue(L"Copper");
  socket.properties().append(&copper);
  block.add(socket);
  CKdBlockItem frame;
  frame.setName(L"Frame");
  frame.setScale(2.5f);
  uint8_t bytes[28];
  for (int i = 0; i < 28; ++i) bytes[i] = static_cast<uint8_t>(i + 1);
  frame.setGraphicsData(bytes, sizeof bytes);
  block.add(frame);
  project.productGroups().findGroup(3)->blocks().append(&block);

  CKdReport report;
  report.setDbId(1);
  report.setDesc(L"Duct list");
  report.entityTypeIds().append(CKdReport::entityDucts);
  const CKdGuid electrical = numberedGuid(0xC0, 3);
  report.devGroups().append(&electrical);
  for (const wchar_t* name : {L"Width", L"Material"}) {
    CSReportColumn column;
    column.setPropertyId(project.propertyDefs().findName(name)->dbId());
    column.setHeader1(CWsz(name).toUtf8().c_str());
    column.setHeader2(name[0] == L'W' ? "[mm]" : "");
    column.setLength(name[0] == L'W' ? 15.0f : 25.0f);
    report.columns().append(&column);
  }
  report.setSortPropertyId(project.propertyDefs().findName(L"Width")->dbId());
  report.setSortType(VxKd::sortDescending);
  report.setFontStyleName(L"Narrow");
  report.setFirstRowHeight(report.calcFirstRowHeight());
  project.reportDefs().append(&report);
}

void fillLargeProject(CKdProject& project, int products, unsigned series) {
  addBasics(project);
  // 50 groups under the root, each with 9 sub groups: 500 groups.
  constexpr int kTop = 50, kPerTop = 9, kGroups = kTop * (kPerTop + 1);
  for (int g = 1; g <= kGroups; ++g) {
    const bool top = g <= kTop;
    CKdProductGroup group;
    group.init(g, top ? -1 : (g - kTop - 1) / kPerTop + 1, top ? g : (g - kTop - 1) % kPerTop + 1,
               numberedGuid(series + 0x100, static_cast<unsigned>(g)),
               CWsz(top ? L"Group " : L"Sub group ").cat(g, 0));
    project.productGroups().append(&group);
  }
  const CKdProductGroup root = CKdProductGroup::defaultRoot();
  project.productGroups().append(&root);
  for (int i = 0; i < products; ++i) {
    CKdProductDef product;
    product.setDbId(i / kGroups + 1);
    product.setGuid(numberedGuid(series, static_cast<unsigned long long>(i) + 1));
    product.setDesc(CWsz(L"Product ").cat(i, 0));
    product.setLineType(i % 2 ? L"DASHED" : L"HIDDEN");
    product.setSymbolId(i % 3 ? "SOCKET" : "PANEL");
    product.setColorNmb(static_cast<short>(i % 7 + 1));
    addProperty(product, project, L"Width", CWsz().cat(100 + i % 900, 0));
    addProperty(product, project, L"Height", CWsz().cat(50 + i % 400, 0));
    addProperty(product, project, L"Flow", CWsz().cat(i % 1000, 0).cat(L".5"));
    addProperty(product, project, L"Material", i % 2 ? L"Steel" : L"Copper");
    addIntegratedText(product, 1 + i % 3, 1.5f, -2.0f, 0);
    project.productGroups().findGroup(i % kGroups + 1)->products().append(&product);
  }
}

bool saveSampleDataset(const CWsz& path) {
  CKdProject project;
  fillSampleProject(project);
  return project.saveDbAs(nullptr, path);
}

}  // namespace vxkd_test

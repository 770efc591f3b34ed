// vkd new [--force] [--sample] FILE.vkd: a new dataset with the default content.
//
// An existing file is never touched unless --force is given, and even then not while
// someone holds its lock (the lock is taken for the whole creation). The new dataset is
// built beside the target under a temporary name and renamed into place when complete, so
// a failure leaves the old file whole and nothing half-made.

#include <unistd.h>

#include <cstdio>

#include "tool.h"
#include "vxkd/platform/paths.h"

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

// A few property definitions, dimension text formats that name them, definitions of the
// poly objects, two symbols that show both ways a drawing is stored, and a report.
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
  const CWsz path = CWsz::fromUtf8(args[0].c_str());
  std::string why;
  const CWsz lockPath = lockFileOf(path, why);
  if (lockPath.isEmpty()) return fail(why);
  // Holding the lock keeps every other user's update (and another vkd new) out until the
  // new file is in place.
  CLockFile lock;
  wchar_t owner[CLockFile::kOwnerBufferChars] = {};
  switch (lock.set(lockPath, L"vkd new", owner)) {
    case CLockFile::lockHeld:
      break;
    case CLockFile::lockedByOther:
    case CLockFile::lockUnreadable:
      return fail(args[0] + " is locked for an update by " +
                  (*owner ? narrow(owner) : std::string("another user")) + "; nothing was changed");
    default:
      return fail("cannot make the lock file " + narrow(lockPath) +
                  " (is the folder there and writable?); nothing was changed");
  }
  if (cuFile::exists(path)) {
    if (!options.force)
      return fail(args[0] + " exists; nothing was changed (give --force to replace it)");
    if (access(args[0].c_str(), W_OK) != 0)
      return fail(args[0] + " is read-only; nothing was changed");
  }
  CKdProject project;
  project.buildDefaultProject();
  if (options.sample) addSampleContent(project);
  if (!project.saveDbAs(nullptr, path))
    return fail("cannot create " + args[0] + ": " + failureOf(project, ui));
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

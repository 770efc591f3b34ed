#include "vxkd/drawingdefs/layer_def.h"

#include <cstdlib>
#include <cwchar>
#include <utility>

#include "foundation/record_key.h"
#include "vxkd/foundation/system_type.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"
#include "vxkd/properties/property_value.h"
#include "vxkd/ui/language.h"

namespace {

// The record of a layer and its fields.
constexpr const char* kRecordCode = "LD";
enum recordField : short {
  fieldDescription = 1502,  // wide, only when not empty
  fieldName = 1505,         // wide, only when not empty
  fieldLinetype = 1506,     // wide, only when not empty
  fieldColor = 1102,        // short, always
};

// The line layers take the default colour of their system type; the others have their own.
constexpr int kOwnColor = 0;

struct LayerRow {
  VxKd::layerNumbers number;
  const wchar_t* name;
  long descTextId;
  const wchar_t* desc;
  VxKd::systemTypeIds systemType;  // for the colour, when `color` is kOwnColor
  int color;
  short lineweight;
  bool text;
};

using VxKd::systemTypeIds;
constexpr auto kNone = static_cast<systemTypeIds>(0);
constexpr short kDefaultLw = CKdLayerDef::kDefaultLineweight;

// The hard default table: every layer the program draws on, in the order of the layer list.
constexpr LayerRow kLayers[] = {
    {VxKd::layerDuct, L"VANTKD_DUCT", 13307, L"Ducts", VxKd::systemDuct, kOwnColor, 5, false},
    {VxKd::layerDuctDimline, L"VANTKD_DUCT_DIMLINE", 13308, L"Ducts - Reference Lines", kNone, 3,
     kDefaultLw, false},
    {VxKd::layerDuctDimtext, L"VANTKD_DUCT_DIMTEXT", 13309, L"Ducts - Reference Texts", kNone, 6,
     kDefaultLw, true},
    {VxKd::layerPipe, L"VANTKD_PIPE", 13310, L"Pipes", VxKd::systemPipe, kOwnColor, kDefaultLw,
     false},
    {VxKd::layerPipeDimline, L"VANTKD_PIPE_DIMLINE", 13311, L"Pipes - Reference Lines", kNone, 3,
     kDefaultLw, false},
    {VxKd::layerPipeDimtext, L"VANTKD_PIPE_DIMTEXT", 13312, L"Pipes - Reference Texts", kNone, 6,
     kDefaultLw, true},
    {VxKd::layerData, L"VANTKD_DATA", 13313, L"Data cables", VxKd::systemData, kOwnColor,
     kDefaultLw, false},
    {VxKd::layerDataDimline, L"VANTKD_DATA_DIMLINE", 13314, L"Data cables - Reference Lines", kNone,
     3, kDefaultLw, false},
    {VxKd::layerDataDimtext, L"VANTKD_DATA_DIMTEXT", 13315, L"Data cables - Reference Texts", kNone,
     6, kDefaultLw, true},
    {VxKd::layerElectric, L"VANTKD_ELECTRIC", 13316, L"Electric cables", VxKd::systemElectric,
     kOwnColor, kDefaultLw, false},
    {VxKd::layerElectricDimline, L"VANTKD_ELECTRIC_DIMLINE", 13317,
     L"Electric cables - Reference Lines", kNone, 3, kDefaultLw, false},
    {VxKd::layerElectricDimtext, L"VANTKD_ELECTRIC_DIMTEXT", 13318,
     L"Electric cables - Reference Texts", kNone, 6, kDefaultLw, true},
    {VxKd::layerDevice, L"VANTKD_DEVICE", 13319, L"Devices", kNone, 1, kDefaultLw, false},
    {VxKd::layerDeviceDetail, L"VANTKD_DEVICE_DETAIL", 13320, L"Devices - Details", kNone, 6,
     kDefaultLw, false},
    {VxKd::layerDeviceText, L"VANTKD_DEVICE_TEXT", 13321, L"Devices - Text", kNone, 1, kDefaultLw,
     true},
    {VxKd::layerDeviceDimline, L"VANTKD_DEVICE_DIMLINE", 13322, L"Devices - Reference Lines", kNone,
     3, kDefaultLw, false},
    {VxKd::layerDeviceDimtext, L"VANTKD_DEVICE_DIMTEXT", 13323, L"Devices - Reference Texts", kNone,
     6, kDefaultLw, true},
    {VxKd::layerDimtextRefline, L"VANTKD_DIMTEXT_REFLINE", 13324, L"Dimension Lines", kNone, 3,
     kDefaultLw, false},
    {VxKd::layerDimtextText, L"VANTKD_DIMTEXT_TEXT", 13325, L"Dimension Texts", kNone, 6,
     kDefaultLw, true},
    {VxKd::layerReportLine, L"VANTKD_REPORT_LINE", 13326, L"Report Lines", kNone, 3, kDefaultLw,
     false},
    {VxKd::layerReportText, L"VANTKD_REPORT_TEXT", 13327, L"Report Texts", kNone, 6, kDefaultLw,
     true},
    {VxKd::layerFrame, L"VANTKD_FRAME", 13328, L"Frame", kNone, 7, kDefaultLw, false},
    {VxKd::layerLabel, L"VANTKD_LABEL", 13329, L"Label", kNone, 7, kDefaultLw, false},
    {VxKd::layerMask, L"VANTKD_MASK", 13331, L"Text wipeout frames", kNone, 7, kDefaultLw, false},
};

const LayerRow* findRow(long number) {
  for (const LayerRow& row : kLayers)
    if (row.number == number) return &row;
  return nullptr;
}

// The characters a drawing does not allow in layer names.
constexpr const wchar_t* kForbiddenInLayerNames = L"<>/\\\":;?*|,='";

}  // namespace

// ---- VxKd ----

namespace VxKd {

CWsz getLayerDesc(layerNumbers number) {
  const LayerRow* row = findRow(number);
  return row ? lngDbText(row->descTextId, row->desc) : CWsz();
}

bool fixLayerName(wchar_t* name) {
  if (!name || !*name) return false;
  bool replaced = false;
  for (wchar_t* c = name; *c; ++c) {
    if (std::wcschr(kForbiddenInLayerNames, *c)) {
      *c = L'_';
      replaced = true;
    }
  }
  return replaced;
}

}  // namespace VxKd

// ---- CKdLayerDef ----

bool CKdLayerDef::setDefaultsFor(long layerNumber) {
  reset();
  const LayerRow* row = findRow(layerNumber);
  if (!row) return false;
  layerNumber_ = row->number;
  desc_ = VxKd::lngDbText(row->descTextId, row->desc);
  name_.set(row->name);
  lineweight_ = row->lineweight;
  colorNmb_ = static_cast<int16_t>(
      row->color != kOwnColor ? row->color : VxKd::defaultSystemColor(row->systemType));
  return true;
}

bool CKdLayerDef::isTextLayer() const {
  const LayerRow* row = findRow(layerNumber_);
  return row && row->text;
}

const wchar_t* CKdLayerDef::lineWeightDisplayName() {
  if (lineweight_ == kDefaultLineweight)
    lineweightText_ = VxKd::lngDbText(10112, L"#Default");
  else
    lineweightText_ = CKdPropertyValue::printReal(lineweight_ / 100.0, 2).cat(L" mm");
  lineweightText_ = lineweightText_.left(kMaxDisplayNameChars);
  return lineweightText_;
}

bool CKdLayerDef::readFrom(CQbase& db) {
  reset();
  long number = 0;
  if (!VxKd::readObjId(db, number) || number < 1) return false;
  layerNumber_ = static_cast<int32_t>(number);
  db.getWsz(fieldDescription, desc_);
  db.getWsz(fieldName, name_);
  db.getWsz(fieldLinetype, linetype_);
  db.getShort(fieldColor, colorNmb_);
  return true;
}

bool CKdLayerDef::saveTo(CQbase& db) const {
  if (!db.createRec(kRecordCode, VxKd::buildDbId(layerNumber_).c_str())) return false;
  bool ok = true;
  if (!desc_.isEmpty()) ok = db.setWsz(fieldDescription, desc_) && ok;
  if (!name_.isEmpty()) ok = db.setWsz(fieldName, name_) && ok;
  if (!linetype_.isEmpty()) ok = db.setWsz(fieldLinetype, linetype_) && ok;
  ok = db.setShort(fieldColor, colorNmb_) && ok;
  return db.saveRec() && ok;
}

bool CKdLayerDef::deleteFrom(CQbase& db) const {
  return db.deleteRec(kRecordCode, VxKd::buildDbId(layerNumber_).c_str());
}

// ---- CKdLayerDefArray ----

long CKdLayerDefArray::idAt(int index) const {
  const CKdLayerDef* def = objAt(index);
  return def ? def->layerNumber() : 0;
}

const wchar_t* CKdLayerDefArray::nameAt(int index) const {
  const CKdLayerDef* def = objAt(index);
  return def ? def->name().wsz() : emptyWsz();
}

const wchar_t* CKdLayerDefArray::descriptionAt(int index) const {
  const CKdLayerDef* def = objAt(index);
  return def ? def->desc().wsz() : emptyWsz();
}

int CKdLayerDefArray::sortCmp(int sortId, const void* a, const void* b) const {
  if (sortId < 1) std::swap(a, b);
  const auto* x = static_cast<const CKdLayerDef*>(a);
  const auto* y = static_cast<const CKdLayerDef*>(b);
  switch (std::abs(sortId)) {
    case sortByDescription:
      return cuSz::compareNoCase(x->desc(), y->desc());
    case sortByName:
      return cuSz::compareNoCase(x->name(), y->name());
    case sortByLinetype:
      return cuSz::compareNoCase(x->linetype(), y->linetype());
    case sortByColor:
      return x->colorNmb() - y->colorNmb();
    default:
      return 0;
  }
}

void CKdLayerDefArray::buildHardDefaultsArray() {
  reset();
  for (const LayerRow& row : kLayers) {
    CKdLayerDef def;
    def.setDefaultsFor(row.number);
    append(&def);
  }
}

CKdLayerDef* CKdLayerDefArray::findLayerDefByLineweightDisplayName(const wchar_t* text) const {
  for (int i = 0; i < length(); ++i)
    if (cuSz::equalNoCase(objAt(i)->lineWeightDisplayName(), text)) return objAt(i);
  return nullptr;
}

bool CKdLayerDefArray::readFrom(CQbase& db) {
  for (bool more = db.fetchFirstMember(kRecordCode); more; more = db.fetchNextMember()) {
    CKdLayerDef read;
    if (!read.readFrom(db)) continue;
    CKdLayerDef* layer = findLayerDef(read.layerNumber());
    if (!layer) continue;
    read.setDesc(layer->desc());  // the program's description, in the user's language
    layer->copyDataFrom(read);
  }
  return true;
}

bool CKdLayerDefArray::saveTo(CQbase& db) const {
  bool ok = true;
  for (int i = 0; i < length(); ++i) ok = objAt(i)->saveTo(db) && ok;
  return ok;
}

bool CKdLayerDefArray::usesLinetype(const wchar_t* name) const {
  for (int i = 0; i < length(); ++i)
    if (cuSz::equalNoCase(objAt(i)->linetype(), name)) return true;
  return false;
}

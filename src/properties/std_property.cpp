#include "vxkd/properties/std_property.h"

#include <iterator>

#include "vxkd/platform/sz.h"
#include "vxkd/ui/language.h"

namespace VxKd {

namespace {

using T = CKdPropertyValue::valueTypeId;

struct SpecialPropertyRow {
  const wchar_t* name;
  int32_t dbId;
  T valueType;
  CKdUnit::unitId unit;
  uint8_t decimals;
  long textId;
  const wchar_t* description;  // the default of language text `textId`
};

// Ids run from -1 down in table order; the description text ids do not follow it.
constexpr SpecialPropertyRow kSpecialProperties[] = {
    {L"*PARTID*", spPartId, T::typeText, CKdUnit::unitNone, 0, 3566, L"#Part ID"},
    {L"*CRNL*", spNewLine, T::typeText, CKdUnit::unitNone, 0, 3567, L"#New line"},
    {L"*NOTE*", spNote, T::typeText, CKdUnit::unitNone, 0, 3568, L"#Free note"},
    {L"*DESC*", spDescription, T::typeText, CKdUnit::unitNone, 0, 10200, L"#Description"},
    {L"*LINEWIDTH*", spLineWidth, T::typeSingleReal, CKdUnit::unitNone, 1, 10201, L"#Linewidth"},
    {L"*LINETYPE*", spLinetype, T::typeText, CKdUnit::unitNone, 0, 10202, L"#Linetype"},
    {L"*GUID*", spGuid, T::typeText, CKdUnit::unitNone, 0, 10203, L"#GUID"},
    {L"*TYPEGUID*", spTypeGuid, T::typeText, CKdUnit::unitNone, 0, 10204, L"#Type GUID"},
    {L"*GROUPGUID*", spGroupGuid, T::typeText, CKdUnit::unitNone, 0, 10205, L"#Group GUID"},
    {L"*GROUPDESC*", spGroupDescription, T::typeText, CKdUnit::unitNone, 0, 10209,
     L"#Group description"},
    {L"*CLASSNAME*", spClassName, T::typeText, CKdUnit::unitNone, 0, 10206, L"#Class name"},
    {L"*ACADHANDLE*", spAcadHandle, T::typeText, CKdUnit::unitNone, 0, 10207, L"#ACAD handle"},
    {L"*DWGNAME*", spDwgName, T::typeText, CKdUnit::unitNone, 0, 10208, L"#DWG name"},
    {L"*COUNT*", spCount, T::typeInt16, CKdUnit::unitNone, 0, 10210, L"#Count of similar"},
    {L"*EMPTY*", spEmpty, T::typeText, CKdUnit::unitNone, 0, 10211, L"#Empty"},
    {L"*SYSCODE*", spSysCode, T::typeText, CKdUnit::unitNone, 0, 13286, L"#V&P System user code"},
    {L"*SYSNAME*", spSysName, T::typeText, CKdUnit::unitNone, 0, 13287, L"#V&P System name"},
    {L"*SV1*", spSv1, T::typeText, CKdUnit::unitNone, 0, 13288, L"#V&P SV1"},
    {L"*SV2*", spSv2, T::typeText, CKdUnit::unitNone, 0, 13289, L"#V&P SV2"},
    {L"*SV3*", spSv3, T::typeText, CKdUnit::unitNone, 0, 13290, L"#V&P SV3"},
    {L"*SV4*", spSv4, T::typeText, CKdUnit::unitNone, 0, 13291, L"#V&P SV4"},
    {L"*SV5*", spSv5, T::typeText, CKdUnit::unitNone, 0, 13292, L"#V&P SV5"},
    {L"*SV6*", spSv6, T::typeText, CKdUnit::unitNone, 0, 13293, L"#V&P SV6"},
    {L"*SYSTEMPSUP*", spSysTempSupply, T::typeSingleReal, CKdUnit::unitC, 0, 13294,
     L"#V&P System supply pipe temperature"},
    {L"*SYSTEMPRET*", spSysTempReturn, T::typeSingleReal, CKdUnit::unitC, 0, 13295,
     L"#V&P System return pipe temperature"},
    {L"*SYSTEMPCOLD*", spSysTempCold, T::typeSingleReal, CKdUnit::unitC, 0, 13296,
     L"#V&P System cold pipe temperature"},
    {L"*SYSTEMPHOT*", spSysTempHot, T::typeSingleReal, CKdUnit::unitC, 0, 13297,
     L"#V&P System hot pipe temperature"},
    {L"*SYSTEMPCIRC*", spSysTempCirculation, T::typeSingleReal, CKdUnit::unitC, 0, 13298,
     L"#V&P System circulation pipe temperature"},
    {L"*HPVSYSTYPENAME*", spHpvSysTypeName, T::typeText, CKdUnit::unitNone, 0, 13305,
     L"#V&P System type name"},
};

constexpr bool idsFollowTableOrder() {
  for (size_t i = 0; i < std::size(kSpecialProperties); ++i)
    if (kSpecialProperties[i].dbId != -static_cast<int32_t>(i + 1)) return false;
  return true;
}
static_assert(std::size(kSpecialProperties) == 29, "29 special properties");
static_assert(idsFollowTableOrder(), "ids run from -1 in table order");

const SpecialPropertyRow* findRow(const wchar_t* name) {
  if (!name || name[0] != L'*') return nullptr;
  for (const SpecialPropertyRow& row : kSpecialProperties)
    if (cuSz::equalNoCase(row.name, name)) return &row;
  return nullptr;
}

}  // namespace

int getSpecialPropertyCount() { return static_cast<int>(std::size(kSpecialProperties)); }

long getSpecialPropertyDbId(const wchar_t* name) {
  const SpecialPropertyRow* row = findRow(name);
  return row ? row->dbId : 0;
}

const wchar_t* getSpecialPropertyName(long dbId) {
  for (const SpecialPropertyRow& row : kSpecialProperties)
    if (row.dbId == dbId) return row.name;
  return nullptr;
}

CKdPropertyValue::valueTypeId getSpecialPropertyValueType(const wchar_t* name) {
  const SpecialPropertyRow* row = findRow(name);
  return row ? row->valueType : T::typeNone;
}

CKdUnit getSpecialPropertyUnit(const wchar_t* name) {
  const SpecialPropertyRow* row = findRow(name);
  return row ? CKdUnit(row->unit) : CKdUnit();
}

int getSpecialPropertyDecimals(const wchar_t* name) {
  const SpecialPropertyRow* row = findRow(name);
  return row ? row->decimals : 0;
}

CWsz getSpecialPropertyDescription(const wchar_t* name) {
  const SpecialPropertyRow* row = findRow(name);
  if (!row) return CWsz();
  CWsz description = lngDbText(row->textId, row->description);
  CWsz label;
  CKdUnit(row->unit).getLabel(label);
  if (!label.isEmpty()) description.cat(L" ").cat(label);
  return description;
}

}  // namespace VxKd

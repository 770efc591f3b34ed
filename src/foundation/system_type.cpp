#include "vxkd/foundation/system_type.h"

#include "vxkd/ui/language.h"

namespace VxKd {

namespace {

struct SystemType {
  systemTypeIds type;
  // Deliberately not random: well-known keys under which each type's poly-object
  // definitions are grouped in every dataset.
  const char* groupGuid;
  long textId;
  const wchar_t* text;
  int color;
};

// In the order in which a group GUID is matched against the types.
constexpr SystemType kSystemTypes[] = {
    {systemDuct, "00000000-0000-0000-0000-0000000000AA", 10250, L"#Duct", 5},
    {systemPipe, "00000000-0000-0000-0000-0000000000BB", 10251, L"#Pipe", 6},
    {systemElectric, "00000000-0000-0000-0000-0000000000CC", 10252, L"#Elec", 1},
    {systemData, "00000000-0000-0000-0000-0000000000DD", 10253, L"#Data", 3},
};

constexpr int kOtherTypeColor = 7;

const SystemType* findType(systemTypeIds type) {
  for (const SystemType& t : kSystemTypes)
    if (t.type == type) return &t;
  return nullptr;
}

}  // namespace

bool getPolyObjectGroupGuid(systemTypeIds type, CKdGuid& out) {
  const SystemType* t = findType(type);
  if (!t) {
    out.reset();
    return false;
  }
  return out.fromSz(t->groupGuid);
}

bool isPolyObjectGroupGuid(const CKdGuid& guid, systemTypeIds& type) {
  for (const SystemType& t : kSystemTypes) {
    if (guid.isEqualTo(CKdGuid(t.groupGuid))) {
      type = t.type;
      return true;
    }
  }
  type = static_cast<systemTypeIds>(0);
  return false;
}

int defaultSystemColor(systemTypeIds type) {
  const SystemType* t = findType(type);
  return t ? t->color : kOtherTypeColor;
}

CWsz getPolyObjectTypeDescription(systemTypeIds type) {
  const SystemType* t = findType(type);
  return t ? lngDbText(t->textId, t->text) : CWsz();
}

}  // namespace VxKd

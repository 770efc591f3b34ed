#include "vxkd/properties/format_string.h"

#include <cwchar>

namespace VxKd {

bool buildFmtString(const wchar_t* format, const CKdPropertyArray& props, CWsz& out) {
  out.empty();
  if (!format || !std::wcschr(format, L'{')) {
    out.set(format);
    return true;
  }
  CKdPropertyDefArray defs;
  for (int i = 0; i < props.length(); ++i) defs.append(props.objAt(i));
  CKdPropertyDefArray entries;
  entries.readFormat(format, defs);

  bool allFound = true;
  CWsz value;
  for (int i = 0; i < entries.length(); ++i) {
    const CKdPropertyDef* entry = entries.objAt(i);
    if (entry->name().isEmpty()) {
      out.cat(entry->desc());
    } else if (const CKdProperty* property = props.findProperty(entry->name())) {
      property->printValue(value, false);
      out.cat(value);
    } else {
      allFound = false;
    }
  }
  return allFound;
}

}  // namespace VxKd

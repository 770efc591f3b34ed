#pragma once
// Format strings: texts that name properties in braces ("{Width} x {Height}"), as dimension
// texts, part ID formats and report columns use them, turned into text with the values of a
// property set.

#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"
#include "vxkd/properties/property.h"

namespace VxKd {

// Builds the text of `format` over `props` into `out`. A format without "{" is copied as it
// stands. Otherwise the format is read as CKdPropertyDefArray::readFormat reads it against
// the properties of `props` (special names first; unknown names and an unterminated "{" are
// dropped there), literal texts are kept, and each named property adds its value printed
// without unit (nothing without a value). False when a special property named in the format
// is missing from `props`; the rest of the text is built all the same.
VXKD_API bool buildFmtString(const wchar_t* format, const CKdPropertyArray& props, CWsz& out);

}  // namespace VxKd

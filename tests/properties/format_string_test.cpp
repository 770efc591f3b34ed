#include "properties/format_string.h"

#include <gtest/gtest.h>

namespace {

using V = CKdPropertyValue;

CKdProperty property(long id, const wchar_t* name, V::valueTypeId type, int decimals,
                     const wchar_t* value) {
  CKdProperty p(CKdPropertyDef(id, name, L"", type, CKdUnit::unitMm, decimals));
  p.setValue(value);
  return p;
}

struct FormatCase {
  const wchar_t* format;
  const wchar_t* text;
  bool result;
};

class BuildFmtString : public testing::TestWithParam<FormatCase> {};

TEST_P(BuildFmtString, PrintsTheNamedValuesBetweenTheLiterals) {
  CKdPropertyArray props;
  CKdProperty rows[] = {property(1, L"Width", V::typeInt32, 0, L"100"),
                        property(2, L"Height", V::typeInt32, 0, L"50"),
                        property(3, L"Pi", V::typeDoubleReal, 2, L"3,14159"),
                        property(4, L"Depth", V::typeInt32, 0, nullptr),
                        property(-1, L"*PARTID*", V::typeText, 0, L"P-7")};
  for (const CKdProperty& p : rows) props.append(&p);
  CWsz out(L"old");
  EXPECT_EQ(VxKd::buildFmtString(GetParam().format, props, out), GetParam().result);
  EXPECT_EQ(out, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Formats, BuildFmtString,
                         testing::Values(FormatCase{L"{Width} x {Height}", L"100 x 50", true},
                                         FormatCase{L"{width}{PI} mm{Depth}", L"1003.14 mm", true},
                                         FormatCase{L"a}b", L"a}b", true},
                                         FormatCase{L"", L"", true}, FormatCase{nullptr, L"", true},
                                         FormatCase{L"{*partid*}-{Unknown}", L"P-7-", true},
                                         FormatCase{L"{*CRNL*}", L"", false},
                                         FormatCase{L"<{*NOTE*}{Width}>", L"<100>", false},
                                         FormatCase{L"x{Width", L"x", true}));

}  // namespace

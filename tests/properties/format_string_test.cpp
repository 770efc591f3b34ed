#include "vxkd/properties/format_string.h"

#include <gtest/gtest.h>

namespace {

using V = CKdPropertyValue;

CKdProperty property(long id, const wchar_t* name, V::valueTypeId type, int decimals,
                     const wchar_t* value) {
  CKdProperty p(CKdPropertyDef(id, name, L"", type, CKdUnit::unitMm, decimals));
  p.setValue(value);
  return p;
}

TEST(BuildFmtString, PrintsTheNamedValuesBetweenTheLiterals) {
  CKdPropertyArray props;
  CKdProperty rows[] = {property(1, L"Width", V::typeInt32, 0, L"100"),
                        property(2, L"Height", V::typeInt32, 0, L"50"),
                        property(3, L"Pi", V::typeDoubleReal, 2, L"3,14159"),
                        property(4, L"Depth", V::typeInt32, 0, nullptr),
                        property(-1, L"*PARTID*", V::typeText, 0, L"P-7")};
  for (const CKdProperty& p : rows) props.append(&p);
  const struct {
    const wchar_t* format;
    const wchar_t* text;
    bool result;
  } cases[] = {{L"{Width} x {Height}", L"100 x 50", true},
               {L"{width}{PI} mm{Depth}", L"1003.14 mm", true},
               {L"a}b", L"a}b", true},
               {nullptr, L"", true},
               {L"{*partid*}-{Unknown}", L"P-7-", true},
               {L"{*CRNL*}", L"", false},
               {L"<{*NOTE*}{Width}>", L"<100>", false},
               {L"x{Width", L"x", true}};
  for (const auto& c : cases) {
    CWsz out(L"old");
    EXPECT_EQ(VxKd::buildFmtString(c.format, props, out), c.result) << c.text;
    EXPECT_EQ(out, c.text);
  }
}

}  // namespace

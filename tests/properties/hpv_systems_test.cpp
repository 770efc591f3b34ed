#include "vxkd/properties/hpv_systems.h"

#include <gtest/gtest.h>

namespace {

// Knows the property "*SYSNAME*" of system 1 only; leaves rubbish behind when it does not know.
class OneSystem : public iHpvSystemProperties {
 public:
  bool getPropertyValue(const CWsz& context, long systemId, HpvSystems::TypeId typeId,
                        const wchar_t* name, CWsz& value) const override {
    lastContext = context;
    lastTypeId = typeId;
    if (systemId == 1 && CWsz(name) == L"*SYSNAME*") {
      value = L"Heating circuit";
      return true;
    }
    value = L"rubbish";
    return false;
  }
  mutable CWsz lastContext;
  mutable HpvSystems::TypeId lastTypeId = 0;
};

TEST(HpvSystems, WithoutASourceNoSystemHasProperties) {
  ASSERT_EQ(HpvSystems::propertySource(), nullptr);
  CWsz value(L"old");
  EXPECT_FALSE(HpvSystems::getSystemPropertyValue(CWsz(), 1, 0, L"*SYSNAME*", value));
  EXPECT_TRUE(value.isEmpty());
}

TEST(HpvSystems, TheRegisteredSourceAnswersAndIsReplacedByTheNext) {
  OneSystem source;
  EXPECT_EQ(HpvSystems::setPropertySource(&source), nullptr);
  CWsz value;
  EXPECT_TRUE(HpvSystems::getSystemPropertyValue(CWsz(L"a.dwg"), 1, 7, L"*SYSNAME*", value));
  EXPECT_EQ(value, L"Heating circuit");
  EXPECT_EQ(source.lastContext, L"a.dwg");
  EXPECT_EQ(source.lastTypeId, 7);

  EXPECT_FALSE(HpvSystems::getSystemPropertyValue(CWsz(), 2, 7, L"*SYSNAME*", value));
  EXPECT_TRUE(value.isEmpty()) << "nothing of a source that did not know the name";
  EXPECT_FALSE(HpvSystems::getSystemPropertyValue(CWsz(), 1, 7, nullptr, value));

  EXPECT_EQ(HpvSystems::setPropertySource(nullptr), &source);
  EXPECT_FALSE(HpvSystems::getSystemPropertyValue(CWsz(), 1, 7, L"*SYSNAME*", value));
}

}  // namespace

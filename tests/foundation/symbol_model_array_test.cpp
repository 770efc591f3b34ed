#include "vxkd/foundation/symbol_model_array.h"

#include <gtest/gtest.h>

namespace {

CVxSymbolModel model(long projectId, const char* symbolId, const wchar_t* desc) {
  CGmNode node;
  node.type = 1;
  return CVxSymbolModel(projectId, symbolId, desc, {node});
}

class SymbolModelArray : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const CVxSymbolModel& m : {model(3, "Pump", L"Circulation pump"),
                                    model(1, "pump", L"Small pump"), model(2, "Fan", L"Fan")})
      ASSERT_TRUE(array_.append(&m));
  }
  CVxSymbolModelArray array_;
};

TEST_F(SymbolModelArray, FindsBySymbolIdExactlyAndItsIdIsTheProjectId) {
  EXPECT_EQ(array_.find("Pump"), 0);
  EXPECT_EQ(array_.find("pump"), 1);
  EXPECT_EQ(array_.find("PUMP"), -1);
  EXPECT_EQ(array_.find("Pum"), -1);
  EXPECT_EQ(array_.find(nullptr), -1);
  EXPECT_EQ(array_.idAt(0), 3);
  EXPECT_EQ(array_.idAt(3), 0);
  EXPECT_STREQ(array_.descriptionAt(1), L"Small pump");
  EXPECT_STREQ(array_.descriptionAt(-1), L"");
  EXPECT_EQ(array_.findId(2), array_.objAt(2));
  EXPECT_EQ(array_.nextId(1, 99999999), 4);
}

TEST_F(SymbolModelArray, CopiesOwnTheirModels) {
  CVxSymbolModelArray copy(array_);
  CVxSymbolModelArray assigned;
  assigned = array_;
  copy.objAt(0)->setDesc(L"changed");
  assigned.objAt(0)->setSymbolId("changed");
  EXPECT_STREQ(array_.descriptionAt(0), L"Circulation pump");
  EXPECT_STREQ(array_.objAt(0)->symbolId(), "Pump");
  EXPECT_TRUE(*copy.objAt(1) == *array_.objAt(1));
  EXPECT_TRUE(copy.append(array_));
  EXPECT_EQ(copy.length(), 6);
}

}  // namespace

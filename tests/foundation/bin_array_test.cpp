#include "vxkd/foundation/bin_array.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

struct Record {
  int32_t id;
  float x, y;
};

TEST(BinArray, KeepsCopiesOfRecordsOfItsSize) {
  CKdBinArray records(sizeof(Record));
  Record a{1, 2.5f, -1}, b{2, 0, 7};
  ASSERT_TRUE(records.append(&a));
  ASSERT_TRUE(records.append(&b));
  a.id = 99;  // the array holds its own copy
  Record out{};
  ASSERT_TRUE(records.getAt(0, &out));
  EXPECT_EQ(out.id, 1);
  EXPECT_EQ(out.x, 2.5f);
  ASSERT_TRUE(records.getAt(1, &out));
  EXPECT_EQ(out.y, 7);
  out = Record{5, 5, 5};
  EXPECT_FALSE(records.getAt(2, &out));
  EXPECT_FALSE(records.getAt(-1, &out));
  EXPECT_EQ(out.id, 5) << "nothing copied";
  EXPECT_FALSE(records.getAt(0, nullptr));

  CKdBinArray copy(records);
  records.deleteAt(0);
  ASSERT_EQ(copy.length(), 2);
  ASSERT_TRUE(copy.getAt(0, &out));
  EXPECT_EQ(out.id, 1);
  CKdBinArray assigned(4);
  assigned = copy;
  EXPECT_EQ(assigned.objSize(), static_cast<int>(sizeof(Record)));
  EXPECT_EQ(assigned.length(), 2);
}

TEST(BinArray, ANewObjectSizeEmptiesTheArray) {
  CKdBinArray records(2);
  const uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  records.append(bytes);
  records.initObjSize(8);
  EXPECT_EQ(records.length(), 0);
  records.append(bytes);
  uint8_t out[8] = {};
  ASSERT_TRUE(records.getAt(0, out));
  EXPECT_EQ(out[7], 8);
  records.initObjSize(-3);
  EXPECT_EQ(records.objSize(), 0);
  EXPECT_TRUE(records.append(bytes)) << "a record of no bytes is still a member";
  EXPECT_TRUE(records.getAt(0, out));
}

}  // namespace

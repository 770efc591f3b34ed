#include "vxkd/drawingdefs/system_def.h"

#include <gtest/gtest.h>

#include <string>

namespace {

CKdSystemDefArray sample() {
  CKdSystemDefArray systems;
  const CKdSystemDef rows[] = {
      {1, L"Supply air", L"b-02"}, {2, L"heating", L"A-01"}, {3, L"Extract air", L"Z-09"}};
  for (const CKdSystemDef& row : rows) systems.append(&row);
  return systems;
}

std::wstring codes(const CKdSystemDefArray& systems) {
  std::wstring out;
  for (int i = 0; i < systems.length(); ++i)
    out += (i ? L" " : L"") + systems.objAt(i)->getUserCode().str();
  return out;
}

TEST(SystemDefArray, SortsByNameOrUserCodeIgnoringCase) {
  CKdSystemDefArray systems = sample();
  systems.sort(-CKdSystemDefArray::sortByUserCode);
  EXPECT_EQ(codes(systems), L"Z-09 b-02 A-01");
  systems.sort(CKdSystemDefArray::sortByUserCode);
  EXPECT_EQ(codes(systems), L"A-01 b-02 Z-09");
  systems.sort(CKdSystemDefArray::sortByName);  // Extract air, heating, Supply air
  EXPECT_EQ(codes(systems), L"Z-09 A-01 b-02");
  systems.sort(3);
  EXPECT_EQ(codes(systems), L"Z-09 A-01 b-02");
}

TEST(SystemDefArray, CopiesHoldTheirOwnSystems) {
  CKdSystemDefArray systems = sample();
  CKdSystemDefArray copy(systems);
  copy.objAt(0)->setName(L"changed");
  EXPECT_EQ(systems.objAt(0)->getName(), L"Supply air");
  EXPECT_EQ(copy.findId(2)->getUserCode(), L"A-01");
  EXPECT_EQ(copy.findName(L"EXTRACT AIR")->getId(), 3);
  EXPECT_EQ(copy.append(static_cast<const CKdSystemDef*>(nullptr)), false);
}

}  // namespace

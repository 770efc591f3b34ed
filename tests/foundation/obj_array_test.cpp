#include "vxkd/foundation/obj_array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "foundation/record_key.h"
#include "support/temp_dataset.h"
#include "support/ui_fixture.h"
#include "vxkd/platform/qbase.h"
#include "vxkd/platform/sz.h"

using namespace cuWin;

namespace {

struct Item {
  long id = 0;
  CWsz name;
  int key = 0;  // the numeric sort key
  int tag = 0;  // tells equal-keyed items apart
};

// A concrete array: column 1 sorts by name, column 2 by key.
class ItemArray : public CKdObjArray {
 public:
  ItemArray() = default;
  ItemArray(const ItemArray& other) : CKdObjArray() {
    hardInit();
    copyFrom(other);
  }
  ItemArray& operator=(const ItemArray& other) {
    copyFrom(other);
    return *this;
  }
  ~ItemArray() override { reset(); }

  long idAt(int index) const override { return item(index) ? item(index)->id : 0; }
  const wchar_t* nameAt(int index) const override {
    return item(index) ? item(index)->name.wsz() : emptyWsz();
  }
  const Item* item(int index) const { return static_cast<const Item*>(objAt(index)); }
  void add(long id, const wchar_t* name = L"", int key = 0, int tag = 0) {
    Item i{id, CWsz(name), key, tag};
    append(&i);
  }
  std::vector<long> ids() const {
    std::vector<long> out;
    for (int i = 0; i < length(); ++i) out.push_back(idAt(i));
    return out;
  }
  mutable int comparisons = 0;

 protected:
  void* objClone(const void* obj) const override {
    return obj ? new Item(*static_cast<const Item*>(obj)) : nullptr;
  }
  void objDelete(void* obj) const override { delete static_cast<Item*>(obj); }
  int sortCmp(int sortId, const void* a, const void* b) const override {
    ++comparisons;
    if (sortId < 1) std::swap(a, b);
    const auto* x = static_cast<const Item*>(a);
    const auto* y = static_cast<const Item*>(b);
    switch (std::abs(sortId) - 1) {
      case 0:
        return cuSz::compareNoCase(x->name, y->name);
      case 1:
        return x->key - y->key;
      default:
        return 0;
    }
  }
};

ItemArray withIds(const std::vector<long>& ids) {
  ItemArray a;
  for (long id : ids) a.add(id);
  return a;
}

// An owning array of the tests' items, for what the template adds.
class OwnedItems : public CKdOwningArray<Item> {
 public:
  long idAt(int index) const override { return objAt(index) ? objAt(index)->id : 0; }
};

TEST(ObjArrayTest, MovingHandsTheElementsOverAndLeavesTheSourceEmpty) {
  OwnedItems from;
  for (long id = 1; id <= 1000; ++id) ASSERT_NE(from.emplace(Item{id, CWsz(L"x"), 0, 0}), nullptr);
  from.setSortId(2);
  const Item* first = from.objAt(0);
  OwnedItems to(std::move(from));
  EXPECT_EQ(to.length(), 1000);
  EXPECT_EQ(to.objAt(0), first) << "the same element, not a copy";
  EXPECT_EQ(to.sortId(), 2);
  EXPECT_EQ(from.length(), 0);  // NOLINT: the moved-from state is part of the contract
  EXPECT_EQ(from.objAt(0), nullptr);
  from.emplace(Item{7, CWsz(L"y"), 0, 0});
  EXPECT_EQ(from.idAt(0), 7) << "a moved-from array is usable";

  to = std::move(from);
  EXPECT_EQ(to.length(), 1);
  EXPECT_EQ(to.idAt(0), 7);
  to = std::move(to);
  EXPECT_EQ(to.length(), 1) << "moving onto itself keeps the elements";
}

TEST(ObjArrayTest, ManyAppendsKeepEveryElementInOrder) {
  OwnedItems items;
  for (long id = 1; id <= 5000; ++id) {
    Item item{id, CWsz(), 0, 0};
    ASSERT_TRUE(items.append(&item));
  }
  items.insertAt(0, items.objAt(4999));
  items.deleteAt(1);
  ASSERT_EQ(items.length(), 5000);
  EXPECT_EQ(items.idAt(0), 5000);
  EXPECT_EQ(items.idAt(1), 2);
  EXPECT_EQ(items.idAt(4999), 5000);
  items.reset();
  EXPECT_NE(items.emplace(Item{1, CWsz(), 0, 0}), nullptr) << "the table grows again after reset";
}

TEST(ObjArrayTest, NextIdTakesHighestPlusOneElseFirstGapElseZero) {
  const struct {
    std::vector<long> ids;
    long minId, maxId, expected;
  } cases[] = {{{}, 1, 9999, 1},
               {{1, 2, 7}, 1, 9999, 8},
               {{1, 9999}, 1, 9999, 2},
               {{1, 2, 3}, 1, 3, 0},
               {{}, 5, 4, 0},
               {{7}, 5, 4, 0},
               {{2, 3}, 1, 3, 1},
               {{-5}, 1, 10, 1},
               {{50}, 100, 200, 100},
               {{150}, 100, 200, 151},
               {{200, 100}, 100, 200, 101}};
  for (const auto& c : cases)
    EXPECT_EQ(withIds(c.ids).nextId(c.minId, c.maxId), c.expected)
        << c.minId << ".." << c.maxId << " holding " << c.ids.size();
}

TEST(ObjArrayTest, NextIdCountsReservedIdsAsUsedAndIsUsedIdIgnoresTheRange) {
  CInt32Array reserved{3, 4};
  EXPECT_EQ(withIds({1, 2}).nextId(&reserved, 1, 100), 5);
  // In the gap search too: 1..4 are taken by elements and reservations.
  reserved = CInt32Array{2, 3};
  EXPECT_EQ(withIds({1, 100}).nextId(&reserved, 1, 100), 4);
  reserved = CInt32Array{2, 3, 4};
  EXPECT_EQ(withIds({1, 5}).nextId(&reserved, 1, 5), 0);
  reserved = CInt32Array{7};
  EXPECT_TRUE(withIds({500}).isUsedId(500, nullptr, 1, 10));
  EXPECT_TRUE(withIds({500}).isUsedId(7, &reserved, 100, 200));
  EXPECT_FALSE(withIds({500}).isUsedId(7, nullptr, 1, 10));
}

TEST(ObjArrayTest, DeleteAtManyRefusesRepeatedIndexesAndSkipsOutOfRange) {
  const struct {
    CInt32Array indexes;
    bool result;
    std::vector<long> left;
  } cases[] = {
      {{4, 1, 4}, false, {10, 11, 12, 13, 14, 15}},  // repeated: nothing deleted
      {{1, 5, 3, -1}, true, {10, 12, 14}},
      {{0, 99}, true, {11, 12, 13, 14, 15}},
      {{}, true, {10, 11, 12, 13, 14, 15}},
  };
  for (const auto& c : cases) {
    ItemArray a = withIds({10, 11, 12, 13, 14, 15});
    EXPECT_EQ(a.deleteAt(c.indexes), c.result);
    EXPECT_EQ(a.ids(), c.left);
  }
}

TEST(ObjArrayTest, InsertUpdateSwapAndDeleteKeepOrder) {
  ItemArray a = withIds({1, 2, 3});
  Item x;
  x.id = 9;
  EXPECT_TRUE(a.insertAt(10, &x));
  EXPECT_EQ(a.ids(), (std::vector<long>{1, 2, 3, 9}));
  x.id = 8;
  EXPECT_TRUE(a.insertAt(1, &x));
  EXPECT_EQ(a.ids(), (std::vector<long>{1, 8, 2, 3, 9}));
  x.id = 7;
  EXPECT_TRUE(a.updateAt(0, &x));
  EXPECT_FALSE(a.updateAt(5, &x));
  EXPECT_FALSE(a.insertAt(0, nullptr));
  EXPECT_FALSE(a.append(static_cast<const void*>(nullptr)));
  EXPECT_TRUE(a.swapAt(0, 4));
  EXPECT_FALSE(a.swapAt(0, 5));
  EXPECT_TRUE(a.deleteAt(2));
  EXPECT_FALSE(a.deleteAt(4));
  EXPECT_EQ(a.ids(), (std::vector<long>{9, 8, 3, 7}));
  EXPECT_EQ(a.objAt(4), nullptr);
  EXPECT_EQ(a.objAt(-1), nullptr);
}

// The table grows in steps and stays larger after deletions: every way through the sizes,
// grown, shrunk to none and grown again, keeps each element where it belongs.
TEST(ObjArrayTest, AppendsAndInsertsAfterDeletionsKeepEveryElement) {
  ItemArray a;
  std::vector<long> expected;
  for (long id = 1; id <= 33; ++id) {
    a.add(id);
    expected.push_back(id);
  }
  for (int i = 0; i < 30; ++i) ASSERT_TRUE(a.deleteAt(0));
  expected.erase(expected.begin(), expected.begin() + 30);
  for (long id = 100; id < 120; ++id) {
    Item item{id, CWsz(), 0, 0};
    ASSERT_TRUE(id % 2 ? a.insertAt(1, &item) : a.append(&item));
    expected.insert(id % 2 ? expected.begin() + 1 : expected.end(), id);
  }
  EXPECT_EQ(a.ids(), expected);
  while (a.length() > 0) a.deleteAt(a.length() - 1);
  a.add(7);
  a.add(8);
  EXPECT_EQ(a.ids(), (std::vector<long>{7, 8}));
}

TEST(ObjArrayTest, ElementsAreCopiesFoundByIdOrByNameIgnoringCase) {
  ItemArray a;
  Item x{1, CWsz(L"LAYER")};
  a.append(&x);
  x.name = L"changed";
  a.add(2, L"Ääkkönen");
  a.add(3, L"layer");
  EXPECT_STREQ(a.nameAt(0), L"LAYER");
  EXPECT_NE(ItemArray(a).objAt(0), a.objAt(0));
  EXPECT_EQ(a.findName(L"layer"), a.objAt(0));
  EXPECT_EQ(a.indexOfName(L"ÄÄKKÖNEN"), 1);
  EXPECT_EQ(a.indexOfName(L"missing"), -1);
  EXPECT_EQ(a.findId(3), a.objAt(2));
  EXPECT_EQ(a.findId(4), nullptr);
}

TEST(ObjArrayTest, UpdateSortIdTogglesTheDirectionOfTheSameColumn) {
  ItemArray a;
  a.setSortId(2);
  a.updateSortId(2);
  EXPECT_EQ(a.sortId(), -2);
  a.updateSortId(2);
  EXPECT_EQ(a.sortId(), 2);
  a.updateSortId(3);
  EXPECT_EQ(a.sortId(), 3);
}

TEST(ObjArrayTest, SortByNameIgnoresCaseAndSortIdZeroLeavesTheOrder) {
  ItemArray a;
  a.add(1, L"beta");
  a.add(2, L"ALPHA");
  a.add(3, L"Gamma");
  a.sort(-1);
  EXPECT_EQ(a.ids(), (std::vector<long>{3, 1, 2}));
  a.updateSortId(1);
  a.sortByCurrentSortId();
  EXPECT_EQ(a.ids(), (std::vector<long>{2, 1, 3}));
  a.swapAt(0, 2);
  a.sort(0);
  EXPECT_EQ(a.ids(), (std::vector<long>{3, 1, 2}));
  EXPECT_EQ(a.sortId(), 0);
  ItemArray single = withIds({5});
  single.sort(-2);
  EXPECT_EQ(single.sortId(), -2);
}

TEST(ObjArrayTest, ShortSortKeepsEqualElementsInOrder) {
  ItemArray a;
  // Eleven elements: every insertion point lies in the linear part.
  int keys[] = {3, 1, 2, 1, 3, 2, 1, 3, 2, 1, 2};
  for (int i = 0; i < 11; ++i) a.add(i, L"", keys[i], i);
  a.sort(2);
  for (int i = 1; i < a.length(); ++i) {
    const Item* prev = a.item(i - 1);
    const Item* cur = a.item(i);
    ASSERT_LE(prev->key, cur->key);
    if (prev->key == cur->key) {
      EXPECT_LT(prev->tag, cur->tag) << "at " << i;
    }
  }
}

TEST(ObjArrayTest, LongSortOrdersTenThousandRandomKeys) {
  std::mt19937 rng(42);
  for (int sortId : {2, -2}) {
    ItemArray a;
    std::vector<int> keys;
    for (int i = 0; i < 10000; ++i) {
      int k = static_cast<int>(rng() % 5000);  // many duplicates too
      keys.push_back(k);
      a.add(i, L"", k, i);
    }
    a.sort(sortId);
    std::sort(keys.begin(), keys.end());
    if (sortId < 0) std::reverse(keys.begin(), keys.end());
    ASSERT_EQ(a.length(), 10000);
    for (int i = 0; i < a.length(); ++i) ASSERT_EQ(a.item(i)->key, keys[i]) << "at " << i;
  }
}

TEST(ObjArrayTest, LongSortOfReversedInputReachesTheFrontWithFewComparisons) {
  ItemArray a;
  for (int i = 0; i < 2000; ++i) a.add(i, L"", 2000 - i);
  a.comparisons = 0;
  a.sort(2);
  for (int i = 0; i < 2000; ++i) ASSERT_EQ(a.item(i)->key, i + 1);
  // A linear insertion sort would need about two million comparisons.
  EXPECT_LT(a.comparisons, 40000);
}

TEST(ObjArrayTest, CopyFromTakesSortIdWithoutSorting) {
  ItemArray source;
  source.add(2, L"b");
  source.add(1, L"a");
  source.setSortId(1);
  ItemArray target = withIds({7});
  target.copyFrom(source);
  EXPECT_EQ(target.sortId(), 1);
  EXPECT_EQ(target.ids(), (std::vector<long>{2, 1}));
  ItemArray assigned;
  assigned = source;
  EXPECT_EQ(assigned.ids(), (std::vector<long>{2, 1}));
  EXPECT_EQ(assigned.sortId(), 1);
}

// An array whose elements live outside it, so that a missing reset() leaks nothing.
class BorrowingArray : public CKdObjArray {
 public:
  BorrowingArray() = default;
  // Neither a destructor that resets nor a copy constructor: the programming errors.
 protected:
  void* objClone(const void* obj) const override { return const_cast<void*>(obj); }
  void objDelete(void*) const override {}
};

class ObjArrayErrorTest : public vxkd_test::RecordingUiTest {};

TEST_F(ObjArrayErrorTest, MissingDestructorOfFilledArrayShowsApplicationError) {
  static int element = 1;
  { BorrowingArray empty; }
  EXPECT_EQ(ui_.boxCount(), 0);
  {
    BorrowingArray a;
    a.append(&element);
  }
  ASSERT_EQ(ui_.boxCount(), 1);
  auto box = ui_.lastBox();
  EXPECT_EQ(box.text, L"Application error: Array class destructor not defined");
  EXPECT_EQ(box.caption, L"Vantrix");
  EXPECT_EQ(box.style, MB_TASKMODAL | MB_ICONSTOP);
}

TEST_F(ObjArrayErrorTest, CopyThroughBaseGivesEmptyArrayAndApplicationError) {
  static int element = 1;
  BorrowingArray a;
  a.append(&element);
  BorrowingArray copy(a);
  EXPECT_EQ(copy.length(), 0);
  ASSERT_EQ(ui_.boxCount(), 1);
  EXPECT_EQ(ui_.lastBox().text,
            L"Application error: Array copy constructor not defined, but is used");
  EXPECT_EQ(ui_.lastBox().caption, L"Vantrix");
  a.reset();
}

// An element that stores itself as a report record: its id is the key, its name field 1502.
class Stored {
 public:
  const char* getClassId() const { return "RE"; }
  const CWsz& name() const { return name_; }
  long dbId() const { return id; }
  long id = 0;
  CWsz name_;
  bool readFrom(CQbase& db) {
    db.getWsz(1502, name_);
    return VxKd::readObjId(db, id) && id > 0;
  }
  bool saveTo(CQbase& db) const {
    return db.createRec("RE", VxKd::buildDbId(id).c_str()) && db.setWsz(1502, name_) &&
           db.saveRec();
  }
};

using ObjectArrayTest = vxkd_test::TempDatasetTest;

TEST_F(ObjectArrayTest, ElementsWriteAndReadTheirOwnRecordsInKeyOrder) {
  CKdObjectArray<Stored> out;
  for (long id : {12, 3, 7}) {
    Stored s;
    s.id = id;
    s.name_ = (L"Report " + std::to_wstring(id)).c_str();
    out.append(&s);
  }
  EXPECT_TRUE(out.saveTo(db_));
  // A record whose key is no id still becomes an element.
  ASSERT_TRUE(db_.createRec("RE", "x") && db_.setWsz(1502, L"stray") && db_.saveRec());

  CQbase db;
  ASSERT_TRUE(reopen(db));
  CKdObjectArray<Stored> in;
  Stored old;
  in.append(&old);
  EXPECT_TRUE(in.readFrom(db));
  ASSERT_EQ(in.length(), 4);
  EXPECT_STREQ(in.nameAt(0), L"Report 3");
  EXPECT_STREQ(in.nameAt(1), L"Report 7");
  EXPECT_STREQ(in.nameAt(2), L"Report 12");
  EXPECT_EQ(in.objAt(3)->name_, L"stray");
  EXPECT_STREQ(in.nameAt(9), L"");
  EXPECT_EQ(in.idAt(1), 7);
  EXPECT_EQ(in.findId(12), in.objAt(2));
  EXPECT_EQ(in.nextId(1, 999999), 13);
}

}  // namespace

// The keys are printf's zero-filled forms, signs and numbers wider than the field included.
TEST(RecordKey, KeysAreZeroFilledAsPrintfFillsThem) {
  const long values[] = {
      0,       1,         7,  42,  999,     1000,     99999,       999999,
      1000000, 123456789, -1, -42, -999999, -1000000, 2147483647L, -2147483647L - 1};
  char expected[64];
  for (long a : values) {
    std::snprintf(expected, sizeof expected, "%6.6ld", a);
    EXPECT_EQ(VxKd::buildDbId(a), expected);
    std::snprintf(expected, sizeof expected, "%8.8ld", a);
    EXPECT_EQ(VxKd::buildSymbolDbId(a), expected);
    for (long b : {0L, 5L, -5L, 12345L}) {
      std::snprintf(expected, sizeof expected, "%6.6ld%4.4ld", a, b);
      EXPECT_EQ(VxKd::buildDbId(a, b), expected);
      std::snprintf(expected, sizeof expected, "%4.4ld%3.3ld%3.3ld", a, b, -b);
      EXPECT_EQ(VxKd::buildDbId(a, b, -b), expected);
    }
  }
}

#include "vxkd/platform/symbol.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/temp_folder.h"
#include "vxkd/platform/paths.h"

namespace {

CGmNode node(int16_t type, uint16_t flags, float first) {
  CGmNode n;
  n.type = type;
  n.flags = flags;
  for (int i = 0; i < 6; ++i) n.v[i] = first + static_cast<float>(i);
  return n;
}

CWsz installedDictionary() { return cuFile::joinPath(cuFile::libraryFolder(), L"VantVxs.ddq"); }

TEST(SymbolModel, NodesAreStoredAs28LittleEndianBytes) {
  CGmNode n;
  n.type = -2;
  n.flags = 0x0102;
  n.v[0] = 1.0f;   // 0x3F800000
  n.v[5] = -2.5f;  // 0xC0200000
  CVxSymbolModel model(1, "S", L"", {n, node(3, 4, 5)});
  CByteBuffer bytes = model.nodeBytes();
  ASSERT_EQ(bytes.size(), 56);
  const uint8_t expected[28] = {0xFE, 0xFF, 0x02, 0x01, 0x00, 0x00, 0x80, 0x3F, 0, 0,
                                0,    0,    0,    0,    0,    0,    0,    0,    0, 0,
                                0,    0,    0,    0,    0,    0,    0x20, 0xC0};
  EXPECT_EQ(std::memcmp(bytes.data(), expected, 28), 0);

  CVxSymbolModel copy;
  EXPECT_EQ(copy.setNodeBytes(bytes.data(), bytes.size()), 2);
  EXPECT_EQ(copy.nodes(), model.nodes());
  EXPECT_EQ(copy.setNodeBytes(bytes.data(), bytes.size() - 1), 1) << "a partial node is dropped";
  EXPECT_EQ(copy.nodeAt(0)->type, -2);
  EXPECT_EQ(copy.nodeAt(1), nullptr);
  EXPECT_EQ(copy.setNodeBytes(bytes.data(), 27), 0);
}

TEST(SymbolModel, SymbolIdKeepsAtMost99BytesOfWholeCharacters) {
  CVxSymbolModel model;
  model.setSymbolId(std::string(120, 'a').c_str());
  EXPECT_EQ(std::strlen(model.symbolId()), 99u);
  model.setSymbolId((std::string(98, 'a') + "\xC3\xA4").c_str());  // "ä" would end at 100
  EXPECT_EQ(std::string(model.symbolId()), std::string(98, 'a'));
  model.setSymbolId(nullptr);
  EXPECT_STREQ(model.symbolId(), "");
}

TEST(SymbolDb, OpenNeedsTheSeriesFormatAndTheApplication) {
  const struct {
    std::string dictionary;  // "" : the file does not exist
    const char* appCode;
    bool opens;
  } cases[] = {{"format vxkd-symbol-series 1\napplication S Schematic\n", "S", true},
               {"", "S", false},
               {"format vxkd-symbol-series 1\napplication T x\n", "S", false},
               {"application S Schematic\n", "S", false},
               {"format vxkd-symbol-series 2\napplication S x\n", "S", false},
               {"format vxkd-symbol-series 1\napplication S x\n", "", false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dictionary + " with " + c.appCode);
    vxkd_test::TempFolder folder;
    if (!c.dictionary.empty()) folder.write("dict.ddq", c.dictionary);
    folder.write("common/A.vxs", "vxkd-symbol-series 1\n");
    CVxSymbolDb db;
    EXPECT_EQ(db.open(folder.path(L"dict.ddq"), c.appCode, 1500, folder.path(L"common"), L""),
              c.opens);
    EXPECT_EQ(db.isOpen(), c.opens);
    EXPECT_EQ(db.refreshSeries(), c.opens ? 1 : 0);
  }
}

// A library over a common and a user folder of its own.
class SymbolLibrary : public ::testing::Test {
 protected:
  bool openLibrary(long language = 1500) {
    return db_.open(installedDictionary(), "S", language, folder_.path(L"common"),
                    folder_.path(L"user"));
  }
  std::wstring seriesList() const {
    CWszArray ids;
    ids.append(L"stale");
    db_.defaultSeries(ids);
    return ids.join(L",").str();
  }

  vxkd_test::TempFolder folder_;
  CVxSymbolDb db_;
};

TEST_F(SymbolLibrary, SeriesAreTheFilesOfBothFoldersInNaturalOrder) {
  for (const char* name :
       {"common/a10.vxs", "common/a9.vxs", "common/B.vxs", "common/notes.txt", "common/.hidden.vxs",
        "common/sub.vxs/inner.vxs", "user/C.VXS", "user/B.vxs"})
    folder_.write(name, "vxkd-symbol-series 1\n");
  ASSERT_TRUE(openLibrary());
  EXPECT_EQ(db_.seriesCount(), 0) << "open does not look at the folders";
  EXPECT_EQ(db_.refreshSeries(), 4);
  EXPECT_EQ(seriesList(), L"a9,a10,B,C");
  EXPECT_EQ(db_.seriesIdAt(3).str(), L"C");
  EXPECT_TRUE(db_.seriesIdAt(4).isEmpty());
  EXPECT_TRUE(db_.seriesIdAt(-1).isEmpty());
  EXPECT_EQ(db_.findSeries(L"B"), 2);
  EXPECT_EQ(db_.findSeries(L"b"), -1);
}

TEST_F(SymbolLibrary, UserSeriesReplacesTheCommonOneOfTheSameId) {
  folder_.write("common/Pumps.vxs", "vxkd-symbol-series 1\n[Common]\nnode=1 0 0 0 0 0 0 0\n");
  folder_.write("user/Pumps.vxs", "vxkd-symbol-series 1\n[Own]\nnode=1 0 0 0 0 0 0 0\n");
  ASSERT_TRUE(openLibrary());
  db_.refreshSeries();
  std::vector<CVxSymbolModel> symbols;
  ASSERT_TRUE(db_.readSeries(L"Pumps", symbols));
  ASSERT_EQ(symbols.size(), 1u);
  EXPECT_STREQ(symbols[0].symbolId(), "Own");
}

TEST_F(SymbolLibrary, SeriesFileGivesItsSymbolsInTheLibrarysLanguage) {
  folder_.write("common/Valves.vxs",
                "# a series\n"
                "vxkd-symbol-series 1\n"
                "[Gate]\n"
                "description.1501=Schieber\n"
                "description=Gate valve\n"
                "node=1 2 0.5 -1 2e1 0 0 0\n"
                "node=bad\n"
                "node=1 2 3 4 5 6 7\n"
                "node=70000 0 0 0 0 0 0 0\n"
                "node=2 0 0 0 0 0 0 1\n"
                "[Empty]\n"
                "description=no drawing\n"
                "[Gate]\n"
                "node=9 0 0 0 0 0 0 0\n"
                "[Check]\n"
                "description=Check valve\n"
                "node=3 0 0 0 0 0 0 0\n" +
                    std::string("[\0X]\nnode=4 0 0 0 0 0 0 0\n", 26));  // no id to store
  ASSERT_TRUE(openLibrary(1501));
  db_.refreshSeries();
  std::vector<CVxSymbolModel> symbols;
  ASSERT_TRUE(db_.readSeries(L"Valves", symbols));
  ASSERT_EQ(symbols.size(), 2u) << "without nodes, repeated or with a NUL in the id: skipped";
  EXPECT_STREQ(symbols[0].symbolId(), "Gate");
  EXPECT_EQ(symbols[0].desc().str(), L"Schieber");
  EXPECT_EQ(symbols[0].projectId(), 0);
  ASSERT_EQ(symbols[0].nodeCount(), 2);
  CGmNode first = *symbols[0].nodeAt(0);
  EXPECT_TRUE(first.type == 1 && first.flags == 2 && first.v[0] == 0.5f && first.v[1] == -1.0f &&
              first.v[2] == 20.0f);
  EXPECT_EQ(symbols[0].nodeAt(1)->v[5], 1.0f);
  EXPECT_STREQ(symbols[1].symbolId(), "Check");
  EXPECT_EQ(symbols[1].desc().str(), L"Check valve") << "no text in 1501: the plain one";

  db_.close();
  ASSERT_TRUE(openLibrary(1500));
  db_.refreshSeries();
  ASSERT_TRUE(db_.readSeries(L"Valves", symbols));
  EXPECT_EQ(symbols[0].desc().str(), L"Gate valve");
}

TEST_F(SymbolLibrary, FileThatIsNotASeriesReadsNothingAndGivesNoDefaults) {
  folder_.write("common/Other.vxs", "something else\n[Gate]\nnode=1 0 0 0 0 0 0 0\n");
  folder_.write("common/Blank.vxs", "\n# nothing\n");
  ASSERT_TRUE(openLibrary());
  EXPECT_EQ(seriesList(), L"") << "no series before a refresh, so no defaults";
  db_.refreshSeries();
  std::vector<CVxSymbolModel> symbols{CVxSymbolModel()};
  EXPECT_FALSE(db_.readSeries(L"Other", symbols));
  EXPECT_TRUE(symbols.empty());
  EXPECT_FALSE(db_.readSeries(L"Blank", symbols));
  EXPECT_FALSE(db_.readSeries(L"Missing", symbols));
  db_.close();
  EXPECT_EQ(db_.refreshSeries(), 0);
}

}  // namespace

#include "vxkd/platform/symbol.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <string>

#include "support/point_match.h"
#include "support/temp_folder.h"
#include "vxkd/platform/paths.h"
#include "vxkd/platform/svg_writer.h"

namespace {

using vxkd_test::near;

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

CGmNode nodeOf(int16_t type, uint16_t flags, std::initializer_list<float> values) {
  CGmNode n;
  n.type = type;
  n.flags = flags;
  int i = 0;
  for (float v : values) n.v[i++] = v;
  return n;
}

// The nodes of a text: its head and the characters, six to a node.
std::vector<CGmNode> textNodes(const std::wstring& text, float x, float y, float height,
                               float degrees, uint16_t align) {
  std::vector<CGmNode> nodes{nodeOf(CGmNode::typeText, align,
                                    {x, y, 0, height, degrees, static_cast<float>(text.size())})};
  for (size_t i = 0; i < text.size(); i += 6) {
    CGmNode chars = nodeOf(CGmNode::typeCharacters, 0, {});
    for (size_t k = 0; k < 6 && i + k < text.size(); ++k)
      chars.v[k] = static_cast<float>(text[i + k]);
    nodes.push_back(chars);
  }
  return nodes;
}

TEST(SymbolDrawing, EachNodeTypeDrawsItsShape) {
  std::vector<CGmNode> nodes{
      nodeOf(CGmNode::typeLine, 0, {0, 0, 0, 4, 0, 1}),
      nodeOf(CGmNode::typeCircle, CGmNode::flagFilled, {1, 2, 0, 0.5f}),
      nodeOf(CGmNode::typeCircle, 0, {1, 2, 0, 1.5f}),
      nodeOf(CGmNode::typeArc, 0, {0, 0, 0, 2, 90, 180}),
  };
  for (const CGmNode& n : textNodes(L"Pump 1", 2, -1, 0.5f, 90, 1)) nodes.push_back(n);
  CVxSymbolModel symbol(0, "P", L"", nodes);
  CGmModel model;
  model.setColor(4);
  ASSERT_TRUE(symbol.addTo(model));
  ASSERT_EQ(model.itemCount(), 5);
  EXPECT_EQ(model.nodeCount(), 0) << "the caller closes the node";

  const auto& line = std::get<CGmLine>(model.itemAt(0).shape);
  EXPECT_EQ(line.start, CGmPoint(0, 0, 0));
  EXPECT_EQ(line.end, CGmPoint(4, 0, 1));
  EXPECT_EQ(model.itemAt(0).color, 4);
  const auto& dot = std::get<CGmCircle>(model.itemAt(1).shape);
  EXPECT_EQ(dot.fill, CGmFill::solid);
  EXPECT_EQ(dot.radius, 0.5);
  EXPECT_EQ(std::get<CGmCircle>(model.itemAt(2).shape).fill, CGmFill::none);
  const auto& arc = std::get<CGmArc>(model.itemAt(3).shape);
  EXPECT_NEAR(arc.startAngle, std::numbers::pi / 2, 1e-6);
  EXPECT_NEAR(arc.endAngle, std::numbers::pi, 1e-6);
  const auto& text = std::get<CGmTextLine>(model.itemAt(4).shape);
  EXPECT_EQ(text.text.str(), L"Pump 1");
  EXPECT_EQ(text.font.str(), L"Arial");
  EXPECT_EQ(text.align, CGmAlign::center);
  EXPECT_TRUE(near(CGmPoint() + text.direction, {0, 1}, 1e-5));
  EXPECT_EQ(text.height, 0.5);
}

TEST(SymbolDrawing, VerticesInARowMakeOnePolylineUntilANewFigureBegins) {
  using N = CGmNode;
  CVxSymbolModel symbol(
      0, "V", L"",
      {nodeOf(N::typeVertex, N::flagClosed, {0, 0}), nodeOf(N::typeVertex, 0, {1, 0}),
       nodeOf(N::typeVertex, 0, {1, 1}), nodeOf(N::typeVertex, N::flagNewFigure, {5, 5}),
       nodeOf(N::typeVertex, 0, {6, 5}), nodeOf(N::typePolygonVertex, 0, {0, 0}),
       nodeOf(N::typePolygonVertex, 0, {1, 0}), nodeOf(N::typePolygonVertex, 0, {0, 1}),
       nodeOf(N::typeVertex, N::flagFilled, {2, 2}), nodeOf(N::typeVertex, 0, {3, 2}),
       nodeOf(N::typeVertex, 0, {3, 3})});
  CGmModel model;
  ASSERT_TRUE(symbol.addTo(model));
  ASSERT_EQ(model.itemCount(), 4);
  const struct {
    int points;
    bool closed;
    CGmFill fill;
  } expected[] = {{3, true, CGmFill::none},
                  {2, false, CGmFill::none},
                  {3, true, CGmFill::solid},
                  {3, true, CGmFill::solid}};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    const auto& p = std::get<CGmPolyline>(model.itemAt(i).shape);
    EXPECT_EQ(p.points.length(), expected[i].points);
    EXPECT_EQ(p.closed, expected[i].closed);
    EXPECT_EQ(p.fill, expected[i].fill);
  }
  EXPECT_EQ(std::get<CGmPolyline>(model.itemAt(1).shape).points[0], CGmPoint(5, 5));
}

TEST(SymbolDrawing, NodesThatCannotBeDrawnAreLeftOutAndTheRestIsDrawn) {
  using N = CGmNode;
  const struct {
    const char* what;
    std::vector<CGmNode> nodes;
    int drawn;  // items drawn besides the line that ends every case
  } cases[] = {
      {"unknown type", {nodeOf(42, 0, {1, 2, 3})}, 0},
      {"type 0", {nodeOf(0, 0, {})}, 0},
      {"circle of radius 0", {nodeOf(N::typeCircle, 0, {1, 1, 0, 0})}, 0},
      {"arc of negative radius", {nodeOf(N::typeArc, 0, {1, 1, 0, -1, 0, 90})}, 0},
      {"not a number", {nodeOf(N::typeLine, 0, {NAN, 0, 0, 1, 1, 0})}, 0},
      {"a lone vertex", {nodeOf(N::typeVertex, 0, {1, 1})}, 0},
      {"characters without a text", {nodeOf(N::typeCharacters, 0, {65})}, 0},
      {"text whose characters run short", textNodes(L"ABCDEFGH", 0, 0, 1, 0, 0), 1},
      {"text of a broken length", {nodeOf(N::typeText, 0, {0, 0, 0, 1, 0, 2.5f})}, 1},
      {"text of height 0", textNodes(L"A", 0, 0, 0, 0, 0), 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<CGmNode> nodes = c.nodes;
    if (std::string(c.what) == "text whose characters run short") nodes.pop_back();
    nodes.push_back(nodeOf(N::typeLine, 0, {0, 0, 0, 1, 0, 0}));
    CGmModel model;
    EXPECT_FALSE(CVxSymbolModel(0, "X", L"", nodes).addTo(model));
    ASSERT_EQ(model.itemCount(), c.drawn + 1);
    EXPECT_TRUE(std::holds_alternative<CGmLine>(model.itemAt(c.drawn).shape));
  }
}

TEST(SymbolDrawing, SymbolIsScaledThenPlacedInTheItemsCoordinateSystem) {
  CVxSymbolModel symbol(0, "S", L"",
                        {nodeOf(CGmNode::typeLine, 0, {0, 0, 0, 1, 0, 0}),
                         nodeOf(CGmNode::typeCircle, 0, {1, 0, 0, 0.25f}),
                         nodeOf(CGmNode::typeArc, 0, {0, 0, 0, 1, 0, 90})});
  CGmModel model;
  // Scale 2, at (10, 5), turned a quarter counter-clockwise.
  ASSERT_TRUE(symbol.addTo(model, CGmTransform::placement(2, {10, 5}, {0, 1}, {-1, 0})));
  const auto& line = std::get<CGmLine>(model.itemAt(0).shape);
  EXPECT_TRUE(near(line.start, {10, 5}, 1e-5));
  EXPECT_TRUE(near(line.end, {10, 7}, 1e-5));
  const auto& circle = std::get<CGmCircle>(model.itemAt(1).shape);
  EXPECT_TRUE(near(circle.centre, {10, 7}, 1e-5));
  EXPECT_DOUBLE_EQ(circle.radius, 0.5);
  const auto& arc = std::get<CGmArc>(model.itemAt(2).shape);
  EXPECT_NEAR(arc.startAngle, std::numbers::pi / 2, 1e-6);
  EXPECT_NEAR(arc.endAngle, std::numbers::pi, 1e-6);
  CGmBox box = model.boundBox();
  EXPECT_TRUE(near(box.minimum(), {8, 5}, 1e-5));
  EXPECT_TRUE(near(box.maximum(), {10.5, 7.5}, 1e-5));
}

// The node lines of a series file are drawn as the dictionary describes them.
TEST_F(SymbolLibrary, SymbolReadFromASeriesDrawsItsNodes) {
  folder_.write("common/Motors.vxs",
                "vxkd-symbol-series 1\n"
                "[M]\n"
                "description=Motor\n"
                "node=2 0 0 0 0 5 0 0\n"
                "node=6 1 0 -1.25 0 2.5 0 1\n"
                "node=7 0 77 0 0 0 0 0\n"
                "node=5 0 5 0 0 0 0 0\n"
                "node=5 0 7 -1 0 0 0 0\n"
                "node=5 0 7 1 0 0 0 0\n");
  ASSERT_TRUE(openLibrary());
  db_.refreshSeries();
  std::vector<CVxSymbolModel> symbols;
  ASSERT_TRUE(db_.readSeries(L"Motors", symbols));
  ASSERT_EQ(symbols.size(), 1u);
  CGmModel model;
  ASSERT_TRUE(symbols[0].addTo(model));
  ASSERT_EQ(model.itemCount(), 3);
  EXPECT_EQ(std::get<CGmTextLine>(model.itemAt(1).shape).text.str(), L"M");
  EXPECT_EQ(std::get<CGmPolyline>(model.itemAt(2).shape).fill, CGmFill::solid);
  const std::string svg = CGmSvgWriter().write(model);
  EXPECT_NE(svg.find(">M</text>"), std::string::npos);
}

}  // namespace

#include "vxkd/platform/graphics_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <string>

#include "support/point_match.h"
#include "vxkd/platform/text_metrics.h"

namespace {

using vxkd_test::near;

constexpr double kPi = std::numbers::pi;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename T>
const T& shapeAt(const CGmModel& model, int index) {
  return std::get<T>(model.itemAt(index).shape);
}

// A model of every kind of item whose numbers survive single precision exactly: colours,
// z, fills, alignments, a text beyond ASCII and three nodes, one of them empty.
CGmModel everyKind() {
  CGmModel m;
  m.addLine({0, 0}, {10, 5});
  m.setColor(1);
  m.addCircle({2, 3, 0.5}, 1.25, CGmFill::solid);
  m.addArc({-4, 4}, 2, 0.5, 2.5);
  m.closeNode();
  m.closeNode();
  m.setColor(-3);
  m.addPolyline({{0, 0}, {1, 0}, {1, 1}}, true, CGmFill::wipeout);
  m.addPolyline({{0, 0}, {0, 2}}, false);
  m.setColor(256);
  m.addText(L"Wärme & 25 °C", {1, -2}, {0, 1}, 2.5, L"Arial", CGmAlign::right);
  m.closeNode();
  m.addText(L"tail", {1, 1}, {1, 0}, 0.5, L"Courier New", CGmAlign::center);
  return m;
}

TEST(GraphicsModel, AddsRefuseWhatCannotBeDrawn) {
  CGmModel m;
  EXPECT_FALSE(m.addLine({kNaN, 0}, {1, 1}));
  EXPECT_FALSE(m.addCircle({0, 0}, 0));
  EXPECT_FALSE(m.addCircle({0, 0}, -1));
  EXPECT_FALSE(m.addCircle({0, 0}, std::numeric_limits<double>::infinity()));
  EXPECT_FALSE(m.addCircle({0, 0}, 1, static_cast<CGmFill>(7)));
  EXPECT_FALSE(m.addArc({0, 0}, 1, kNaN, 1));
  EXPECT_FALSE(m.addPolyline({{0, 0}}, false));
  EXPECT_FALSE(m.addPolyline({{0, 0}, {kNaN, 1}}, false));
  EXPECT_FALSE(m.addText(L"A", {0, 0}, {1, 0}, 0, L"Arial"));
  EXPECT_FALSE(m.addText(L"A", {0, 0}, {kNaN, 0}, 1, L"Arial"));
  EXPECT_FALSE(m.addText(L"A", {0, 0}, {1, 0}, 1, L"Arial", static_cast<CGmAlign>(3)));
  EXPECT_TRUE(m.isEmpty());
  EXPECT_TRUE(m.boundBox().isEmpty());
}

TEST(GraphicsModel, ItemsTakeTheColourSetBeforeThem) {
  CGmModel m;
  m.addLine({0, 0}, {1, 0});
  m.setColor(3);
  m.addLine({0, 0}, {1, 0});
  EXPECT_EQ(m.itemAt(0).color, CGmModel::colorByLayer);
  EXPECT_EQ(m.itemAt(1).color, 3);
}

TEST(GraphicsModel, TransformIsAppliedAsAPieceIsAdded) {
  CGmModel m;
  const CGmTransform t = CGmTransform::placement(2, {10, 0}, {0, 1}, {-1, 0});  // quarter turn
  ASSERT_TRUE(m.addLine({1, 0}, {1, 1}, t));
  ASSERT_TRUE(m.addCircle({1, 0}, 1.5, CGmFill::none, t));
  ASSERT_TRUE(m.addArc({0, 0}, 1, 0, kPi / 2, t));
  ASSERT_TRUE(m.addText(L"X", {0, 0}, {1, 0}, 1, L"Arial", CGmAlign::left, t));

  EXPECT_TRUE(near(shapeAt<CGmLine>(m, 0).start, {10, 2}));
  EXPECT_TRUE(near(shapeAt<CGmLine>(m, 0).end, {8, 2}));
  EXPECT_TRUE(near(shapeAt<CGmCircle>(m, 1).centre, {10, 2}));
  EXPECT_DOUBLE_EQ(shapeAt<CGmCircle>(m, 1).radius, 3);
  const CGmArc& arc = shapeAt<CGmArc>(m, 2);
  EXPECT_DOUBLE_EQ(arc.radius, 2);
  EXPECT_NEAR(arc.startAngle, kPi / 2, 1e-12);
  EXPECT_NEAR(arc.endAngle, kPi, 1e-12);
  const CGmTextLine& text = shapeAt<CGmTextLine>(m, 3);
  EXPECT_TRUE(near(CGmPoint() + text.direction, {0, 1}));
  EXPECT_DOUBLE_EQ(text.height, 2);
  EXPECT_DOUBLE_EQ(text.width, m.metrics().textWidth(L"X", L"Arial", 2));
}

TEST(GraphicsModel, MirroredArcRunsTheOtherWayRound) {
  CGmModel m;
  const CGmTransform mirror = CGmTransform::coordinateSystem({}, {1, 0}, {0, -1});
  ASSERT_TRUE(m.addArc({0, 0}, 1, 0, kPi / 2, mirror));  // upper right quarter
  const CGmArc& arc = shapeAt<CGmArc>(m, 0);
  EXPECT_NEAR(arc.startAngle, 3 * kPi / 2, 1e-12);  // becomes the lower right quarter
  EXPECT_NEAR(arc.endAngle, 0, 1e-12);
  CGmBox box = m.boundBox();
  EXPECT_TRUE(near(box.minimum(), {0, -1}));
  EXPECT_TRUE(near(box.maximum(), {1, 0}));
}

TEST(GraphicsModel, WholeArcStaysWholeUnderATransform) {
  CGmModel m;
  ASSERT_TRUE(m.addArc({0, 0}, 1, 1, 1 + 2 * kPi, CGmTransform::rotation(0.3)));
  EXPECT_EQ(shapeAt<CGmArc>(m, 0).startAngle, shapeAt<CGmArc>(m, 0).endAngle);
  CGmBox box = m.boundBox();
  EXPECT_TRUE(near(box.minimum(), {-1, -1}));
  EXPECT_TRUE(near(box.maximum(), {1, 1}));
}

// A mirrored text is drawn unmirrored in the mirrored place of its box, reading from left
// to right, whichever way the mirror goes.
TEST(GraphicsModel, MirroredTextStaysReadableInTheMirroredBox) {
  const struct {
    const char* what;
    CGmTransform mirror;
  } cases[] = {
      {"about the x axis", CGmTransform::coordinateSystem({}, {1, 0}, {0, -1})},
      {"about the y axis", CGmTransform::coordinateSystem({}, {-1, 0}, {0, 1})},
  };
  for (const auto& c : cases) {
    for (CGmAlign align : {CGmAlign::left, CGmAlign::center, CGmAlign::right}) {
      SCOPED_TRACE(std::string(c.what) + " aligned " + std::to_string(static_cast<int>(align)));
      CGmModel plain, mirrored;
      ASSERT_TRUE(plain.addText(L"Motor", {3, 1}, {1, 0}, 2, L"Arial", align));
      ASSERT_TRUE(mirrored.addText(L"Motor", {3, 1}, {1, 0}, 2, L"Arial", align, c.mirror));
      const CGmTextLine& text = shapeAt<CGmTextLine>(mirrored, 0);
      EXPECT_TRUE(near(CGmPoint() + text.direction, {1, 0}));
      // The box from the baseline to the capitals, mirrored, is where the text now stands.
      const CGmTextLine& before = shapeAt<CGmTextLine>(plain, 0);
      const double shift[] = {0, before.width / 2, before.width};
      const double textShift[] = {0, text.width / 2, text.width};
      CGmPoint a = c.mirror.apply(before.position - CGmVector(shift[int(before.align)], 0));
      CGmPoint b =
          c.mirror.apply(before.position + CGmVector(before.width - shift[int(before.align)], 2));
      CGmPoint start = text.position - CGmVector(textShift[int(text.align)], 0);
      EXPECT_TRUE(near(start, {std::min(a.x, b.x), std::min(a.y, b.y)}));
      EXPECT_NEAR(text.width, before.width, 1e-12);
    }
  }
}

TEST(GraphicsModel, ZeroTextDirectionIsTheXAxis) {
  CGmModel m;
  ASSERT_TRUE(m.addText(L"A", {0, 0}, {0, 0, 5}, 1, L"Arial"));
  EXPECT_EQ(shapeAt<CGmTextLine>(m, 0).direction, CGmVector(1, 0));
}

TEST(GraphicsModel, NodesAreClosedByTheCallerAndMayBeEmpty) {
  CGmModel m;
  m.addLine({0, 0}, {1, 0});
  m.addLine({0, 0}, {0, 1});
  m.closeNode();
  m.closeNode();  // a piece that drew nothing
  m.addCircle({0, 0}, 1);
  m.closeNode();
  m.addCircle({0, 0}, 2);  // not closed yet
  ASSERT_EQ(m.nodeCount(), 3);
  EXPECT_EQ(m.nodeBegin(0), 0);
  EXPECT_EQ(m.nodeEnd(0), 2);
  EXPECT_EQ(m.nodeBegin(1), 2);
  EXPECT_EQ(m.nodeEnd(1), 2);
  EXPECT_EQ(m.nodeBegin(2), 2);
  EXPECT_EQ(m.nodeEnd(2), 3);
  EXPECT_EQ(m.nodeEnd(3), 0);
  EXPECT_EQ(m.itemCount(), 4);
  m.clear();
  EXPECT_EQ(m.nodeCount(), 0);
  EXPECT_TRUE(m.isEmpty());
}

TEST(GraphicsModel, BoundBoxHoldsCirclesArcExtremesAndTurnedTexts) {
  CGmModel m;
  m.addCircle({10, 10}, 2);
  m.addArc({0, 0}, 4, kPi / 4, 3 * kPi / 4);  // passes the top at (0, 4)
  CGmBox box = m.boundBox();
  EXPECT_TRUE(near(box.minimum(), {-4 * M_SQRT1_2, 4 * M_SQRT1_2}));
  EXPECT_TRUE(near(box.maximum(), {12, 12}));

  CGmModel text;
  text.addText(L"Abc", {5, 5}, {0, 1}, 2, L"Arial", CGmAlign::center);  // runs upwards
  const double w = text.metrics().textWidth(L"Abc", L"Arial", 2);
  const double below = text.metrics().descent(L"Arial", 2);
  box = text.boundBox();
  EXPECT_TRUE(near(box.minimum(), {5 - 2, 5 - w / 2}));
  EXPECT_TRUE(near(box.maximum(), {5 + below, 5 + w / 2}));

  CGmModel empty;
  empty.addText(L"", {100, 100}, {1, 0}, 2, L"Arial");
  EXPECT_TRUE(empty.boundBox().isEmpty()) << "an empty text has no extent";
}

TEST(GraphicsModel, StoredFormReadsBackTheSameModel) {
  const CGmModel model = everyKind();
  CByteBuffer bytes;
  ASSERT_TRUE(model.store(bytes));
  CGmModel back;
  ASSERT_TRUE(back.load(bytes.data(), bytes.size()));
  EXPECT_EQ(back, model);
  EXPECT_EQ(back.nodeCount(), 3);
  EXPECT_EQ(back.nodeEnd(2), 6);
  EXPECT_EQ(back.itemCount(), 7);
}

TEST(GraphicsModel, StoredFormIsVersionedLittleEndianAndCompact) {
  CGmModel m;
  m.setColor(0x0102);
  m.addLine({1, 0}, {0, -2});
  m.closeNode();
  CByteBuffer bytes;
  ASSERT_TRUE(m.store(bytes));
  const uint8_t expected[] = {'G',  'M',  1,                          // magic, version
                              0x11, 0x02, 0x01,                       // line with a colour
                              0,    0,    0x80, 0x3F, 0, 0, 0, 0,     // 1.0f, 0.0f
                              0,    0,    0,    0,    0, 0, 0, 0xC0,  // 0.0f, -2.0f
                              0x0F};                                  // end of the node
  ASSERT_EQ(bytes.size(), static_cast<int>(sizeof expected));
  EXPECT_EQ(std::memcmp(bytes.data(), expected, sizeof expected), 0);
}

TEST(GraphicsModel, StoreRefusesWhatWouldNotFitTheFieldAndNeverCutsIt) {
  CGmModel m;
  CByteBuffer bytes;
  ASSERT_TRUE(m.store(bytes));
  EXPECT_EQ(bytes.size(), 3);
  // 3 bytes of header and 17 per line: 1646 lines fill 27,985 of the field's 28,000 bytes,
  // 1647 would need 28,002.
  for (int i = 0; i < 1646; ++i) m.addLine({0, 0}, {1.0 * i, 1});
  ASSERT_TRUE(m.store(bytes));
  EXPECT_EQ(bytes.size(), 27985);
  m.addLine({0, 0}, {1, 1});
  EXPECT_FALSE(m.store(bytes));
  EXPECT_TRUE(bytes.isEmpty());
  EXPECT_TRUE(m.store(bytes, 30000));
  EXPECT_EQ(bytes.size(), 28002);
}

TEST(GraphicsModel, StoreRefusesNumbersBeyondSinglePrecision) {
  CGmModel m;
  m.addLine({0, 0}, {1e300, 0});
  CByteBuffer bytes;
  EXPECT_FALSE(m.store(bytes, 1 << 20));
}

TEST(GraphicsModel, LoadRefusesOtherVersionsAndForeignData) {
  CByteBuffer good;
  ASSERT_TRUE(everyKind().store(good));
  const std::string goodBytes(reinterpret_cast<const char*>(good.data()), good.size());
  const struct {
    const char* what;
    std::string bytes;
  } cases[] = {
      {"nothing", ""},
      {"header cut", "GM"},
      {"other magic", "GX\x01"},
      {"version 0", std::string("GM\x00", 3)},
      {"newer version", "GM\x02"},
      {"unknown kind", "GM\x01\x07"},
      {"node end with bits", "GM\x01\x1F"},
      {"line with a variant", "GM\x01\x41" + std::string(16, '\0')},
      {"circle of radius 0", "GM\x01\x02" + std::string(12, '\0')},
      {"fill 3", std::string("GM\x01\xC2", 4) + std::string(8, '\0') + "\x00\x00\x80\x3F"},
      {"polyline of one point", "GM\x01\x04\x01" + std::string(8, '\0')},
      {"polyline count beyond the data", "GM\x01\x04\x7F" + std::string(16, '\0')},
      {"overlong count", "GM\x01\x04\xFF\xFF\xFF\xFF\x7F"},
      {"padded count", std::string("GM\x01\x04\x82\x00", 6) + std::string(16, '\0')},
      {"trailing garbage", goodBytes + "\x01"},
      {"garbage after padding", goodBytes + std::string("\x00\x00\x05", 3)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CGmModel m = everyKind();
    const CGmModel before = m;
    EXPECT_FALSE(m.load(c.bytes.data(), static_cast<int>(c.bytes.size())));
    EXPECT_EQ(m, before) << "a refused load changes nothing";
  }
  CGmModel m;
  EXPECT_FALSE(m.load(nullptr, 10));
  EXPECT_TRUE(m.load("GM\x01", 3)) << "an empty model";
}

// A field of fixed-size items fills the last one with zero bytes: they end the form.
TEST(GraphicsModel, LoadSkipsZeroPaddingAfterTheForm) {
  CByteBuffer bytes;
  ASSERT_TRUE(everyKind().store(bytes));
  for (int padding : {1, 27}) {
    CByteBuffer padded(bytes);
    padded.resize(bytes.size() + padding);
    CGmModel back;
    ASSERT_TRUE(back.load(padded.data(), padded.size())) << padding;
    EXPECT_EQ(back, everyKind());
  }
}

TEST(GraphicsModel, LoadRefusesTextThatIsNotUtf8) {
  CGmModel m;
  m.addText(L"ab", {0, 0}, {1, 0}, 1, L"Arial");
  CByteBuffer bytes;
  ASSERT_TRUE(m.store(bytes));
  std::string data(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  ASSERT_EQ(data.substr(data.size() - 3),
            "\x02"
            "ab");
  for (std::string bad : {std::string("\xC3\x28", 2), std::string("a\0", 2)}) {
    std::string damaged = data.substr(0, data.size() - 2) + bad;
    CGmModel back;
    EXPECT_FALSE(back.load(damaged.data(), static_cast<int>(damaged.size())));
  }
}

// Damage anywhere in the stored form gives false or a model, never a crash: every prefix
// and every byte changed to a few values (run under the address sanitizer).
TEST(GraphicsModel, DamagedStoredFormNeverCrashes) {
  CByteBuffer good;
  ASSERT_TRUE(everyKind().store(good));
  std::string bytes(reinterpret_cast<const char*>(good.data()), good.size());
  int refused = 0;
  for (size_t n = 0; n < bytes.size(); ++n) {
    CGmModel m;
    refused += m.load(bytes.data(), static_cast<int>(n)) ? 0 : 1;
  }
  EXPECT_GT(refused, static_cast<int>(bytes.size()) * 3 / 4) << "most cuts fall inside a record";
  for (size_t i = 0; i < bytes.size(); ++i) {
    for (uint8_t value : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
      std::string damaged = bytes;
      damaged[i] = static_cast<char>(value);
      CGmModel m;
      if (m.load(damaged.data(), static_cast<int>(damaged.size()))) {
        CByteBuffer again;
        EXPECT_TRUE(m.store(again, 1 << 20));
      }
    }
  }
}

TEST(GraphicsModel, StoredGraphicsJoinTheCurrentNodeUnderTheTransform) {
  CGmModel piece;
  piece.setColor(5);
  piece.addLine({0, 0}, {1, 0});
  piece.closeNode();
  piece.addCircle({1, 0}, 0.5);
  piece.closeNode();
  CByteBuffer bytes;
  ASSERT_TRUE(piece.store(bytes));

  CGmModel m;
  m.setColor(2);
  m.addLine({5, 5}, {6, 6});
  ASSERT_TRUE(m.addStoredGraphics(bytes.data(), bytes.size(), CGmTransform::translation({0, 10})));
  m.closeNode();
  ASSERT_EQ(m.itemCount(), 3);
  EXPECT_EQ(m.nodeCount(), 1) << "the stored nodes are not kept";
  EXPECT_EQ(m.itemAt(1).color, 5) << "stored items keep their colour";
  EXPECT_TRUE(near(shapeAt<CGmLine>(m, 1).end, {1, 10}));
  EXPECT_TRUE(near(shapeAt<CGmCircle>(m, 2).centre, {1, 10}));

  EXPECT_FALSE(m.addStoredGraphics("GM\x09", 3));
  EXPECT_EQ(m.itemCount(), 3);
}

TEST(GraphicsModel, AddingAModelToItselfDoublesIt) {
  CGmModel m;
  m.addLine({0, 0}, {1, 0});
  m.addModel(m, CGmTransform::translation({0, 1}));
  ASSERT_EQ(m.itemCount(), 2);
  EXPECT_TRUE(near(shapeAt<CGmLine>(m, 1).start, {0, 1}));
}

TEST(GraphicsModel, ModelMeasuresWithTheMetricsItIsGiven) {
  CGmTextMetrics fixed(std::vector<std::string>{}, [](const std::string&) {});
  CGmModel m(&fixed);
  m.addText(L"abcd", {0, 0}, {1, 0}, 1, L"Arial");
  EXPECT_DOUBLE_EQ(shapeAt<CGmTextLine>(m, 0).width, fixed.textWidth(L"abcd", L"Arial", 1));
  CGmModel copy(&fixed);
  CByteBuffer bytes;
  ASSERT_TRUE(m.store(bytes));
  ASSERT_TRUE(copy.load(bytes.data(), bytes.size()));
  EXPECT_EQ(&copy.metrics(), &fixed);
}

}  // namespace

#include "vxkd/dimtext/dimtext.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/point_match.h"
#include "support/temp_registry.h"
#include "support/ui_fixture.h"
#include "vxkd/foundation/preferences.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/sz.h"
#include "vxkd/platform/text_metrics.h"

namespace {

using O = CKdDimtextOptions;
using vxkd_test::near;

CKdDimtextFormat formatOf(const wchar_t* fmt, float height = 2.5f) {
  CKdDimtextFormat f;
  f.setFmt(fmt);
  f.setTextHeight(height);
  return f;
}

// The cells as "row,col:property|text" items.
std::wstring cellsOf(const CKdDimtext& t) {
  std::wstring out;
  for (int i = 0; i < t.nCell(); ++i) {
    const CKdDimtextCell* c = t.cellAt(i);
    out += (i ? L" " : L"") + std::to_wstring(c->row()) + L"," + std::to_wstring(c->col()) + L":" +
           c->property().str() + L"|" + c->text().str();
  }
  return out;
}

CKdDimtext built(const wchar_t* fmt) {
  CKdDimtext t;
  EXPECT_TRUE(t.build(formatOf(fmt))) << fmt;
  return t;
}

// ---- build ----

TEST(DimtextBuild, FormatOf799CharactersBuildsAnd800DoNot) {
  CKdDimtext t;
  EXPECT_TRUE(t.build(formatOf(std::wstring(799, L'x').c_str())));
  ASSERT_EQ(t.nCell(), 1);
  EXPECT_EQ(t.cellAt(0)->text().length(), 799);
  EXPECT_FALSE(t.build(formatOf(std::wstring(800, L'x').c_str())));
  EXPECT_EQ(t.nCell(), 0);
  EXPECT_FALSE(t.build(formatOf(L"")));
}

TEST(DimtextBuild, LineBreakBetweenConstantsMakesTwoRowsOfOneCell) {
  const CKdDimtext t = built(L"A{*CRNL*}B");
  EXPECT_EQ(cellsOf(t), L"0,0:|A 1,0:|B");
  EXPECT_EQ(t.rowCount(), 2);
  EXPECT_EQ(t.colCount(), 1);
}

TEST(DimtextBuild, LineBreakAloneMakesNoCellButTwoRows) {
  const CKdDimtext t = built(L"{*CRNL*}");
  EXPECT_EQ(t.nCell(), 0);
  EXPECT_EQ(t.rowCount(), 2);
  EXPECT_EQ(t.colCount(), 0);
}

TEST(DimtextBuild, SplitsConstantsAndTrimmedPropertiesIntoColumns) {
  const CKdDimtext t = built(L"Size {Width}x{ Height }{*crnl*}{*NOTE*}");
  EXPECT_EQ(cellsOf(t), L"0,0:|Size  0,1:Width| 0,2:|x 0,3:Height| 1,0:*NOTE*|");
  EXPECT_EQ(t.rowCount(), 2);
  EXPECT_EQ(t.colCount(), 4);
}

TEST(DimtextBuild, UnclosedBraceFailsLeavingWhatWasBuilt) {
  CKdDimtext t;
  EXPECT_FALSE(t.build(formatOf(L"abc{def")));
  EXPECT_EQ(cellsOf(t), L"0,0:|abc");
}

TEST(DimtextBuild, CellsBeyondTheCapacityAreDroppedButCountColumns) {
  std::wstring fmt;
  for (int i = 0; i < 205; ++i) fmt += L"{a}";
  fmt += L"{*CRNL*}{b}";
  const CKdDimtext t = built(fmt.c_str());
  EXPECT_EQ(t.nCell(), CKdDimtext::kMaxCells);
  EXPECT_EQ(t.colCount(), 205);
  EXPECT_EQ(t.rowCount(), 2);
  EXPECT_FALSE(t.hasProperty(L"b"));
}

TEST(DimtextBuild, TakesTheFormatsSettingsAndParseGivesThemBack) {
  CKdDimtextFormat f = formatOf(L"{Width}", 3.5f);
  f.setStyleName(L"ISO");
  f.setFixedBorderDim(12);
  f.setRefItemSize(1.5f);
  f.setTextColor(3);
  f.options().setBorderType(O::borderHexagon);
  f.options().setReflineType(O::reflineArrow);
  f.options().setAlignmentFlags(O::alignRight);
  CKdDimtext t;
  t.setPos({5, 5});
  t.addRefPoint({1, 1});
  ASSERT_TRUE(t.build(f));
  EXPECT_EQ(t.fontHeight(), 3.5f);
  EXPECT_EQ(t.pos(), CGmPoint());
  EXPECT_TRUE(t.getRefpoints().isEmpty());
  CKdDimtextFormat back;
  back.setId(4);
  ASSERT_TRUE(t.parse(back));
  EXPECT_EQ(back.id(), 4);
  EXPECT_EQ(back.styleName(), L"ISO");
  EXPECT_EQ(back.textHeight(), 3.5f);
  EXPECT_EQ(back.fixedBorderDim(), 12.0f);
  EXPECT_EQ(back.refItemSize(), 1.5f);
  EXPECT_EQ(back.textColor(), 3);
  EXPECT_EQ(back.options(), f.options());
}

// ---- parse ----

struct RoundTrip {
  const wchar_t* built;
  const wchar_t* parsed;
};
void PrintTo(const RoundTrip& r, std::ostream* os) { *os << cuSz::toUtf8(r.built); }

class DimtextParse : public ::testing::TestWithParam<RoundTrip> {};

TEST_P(DimtextParse, GivesBackTokensAndRowBreaks) {
  const CKdDimtext t = built(GetParam().built);
  CKdDimtextFormat f;
  ASSERT_TRUE(t.parse(f));
  EXPECT_EQ(f.fmt(), GetParam().parsed);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, DimtextParse,
    ::testing::Values(RoundTrip{L"{Width} x {Height}{*CRNL*}{*NOTE*}",
                                L"{Width} x {Height}{*CRNL*}{*NOTE*}"},
                      RoundTrip{L"A{*CRNL*}B", L"A{*CRNL*}B"},
                      RoundTrip{L"A{*CRNL*}{*CRNL*}B{*crnl*}", L"A{*CRNL*}{*CRNL*}B"},
                      // A note on a row of its own keeps its row.
                      RoundTrip{L"DN {Diameter}{*CRNL*}{*NOTE*}", L"DN {Diameter}{*CRNL*}{*NOTE*}"},
                      RoundTrip{L"{ Width }", L"{Width}"},
                      RoundTrip{L"{*PARTID*}-{*COUNT*}", L"{*PARTID*}-{*COUNT*}"}));

TEST(DimtextParse, WritesTheNoteOnceForAllItsLines) {
  CKdDimtext t = built(L"A{*CRNL*}{*NOTE*}");
  ASSERT_TRUE(t.setNote(L"*NOTE*", L"one\r\ntwo\r\nthree"));
  CKdDimtextFormat f;
  t.parse(f);
  EXPECT_EQ(f.fmt(), L"A{*CRNL*}{*NOTE*}");
}

// ---- notes ----

TEST(DimtextNote, ThreeLinesFillTheRowsDownAndMoveTheCellBelowByOneRow) {
  CKdDimtext t = built(L"X{*CRNL*}{*NOTE*}{Width}{*CRNL*}Y{Height}");
  // Row 1: the note in column 0, Width in column 1; row 2: Y in column 0, Height in 1.
  ASSERT_TRUE(t.setNote(L"*note*", L"one\r\ntwo\r\nthree"));
  EXPECT_EQ(cellsOf(t),
            L"0,0:|X 1,0:*NOTE*|one 1,1:Width| 3,0:|Y 2,1:Height| 2,0:*NOTE*|two "
            L"3,0:*NOTE*|three");
  EXPECT_EQ(t.rowCount(), 4);
  EXPECT_EQ(t.colCount(), 2) << "not touched";
  CWsz note;
  t.getNote(L"*NOTE*", note);
  EXPECT_EQ(note, L"one\r\ntwo\r\nthree");
}

TEST(DimtextNote, SettingAgainReplacesEveryFormerLine) {
  CKdDimtext t = built(L"{*NOTE*}{*CRNL*}Z");
  ASSERT_TRUE(t.setNote(L"*NOTE*", L"one\r\ntwo\r\nthree"));
  ASSERT_TRUE(t.setNote(L"*NOTE*", L"single"));
  CWsz note;
  t.getNote(L"*NOTE*", note);
  EXPECT_EQ(note, L"single");
  EXPECT_EQ(cellsOf(t), L"0,0:*NOTE*|single 2,0:|Z");
  EXPECT_EQ(t.rowCount(), 3);
}

TEST(DimtextNote, EmptyTextLeavesOneEmptyLine) {
  CKdDimtext t = built(L"{*NOTE*}");
  ASSERT_TRUE(t.setNote(L"*NOTE*", L""));
  EXPECT_EQ(cellsOf(t), L"0,0:*NOTE*|");
  EXPECT_EQ(t.rowCount(), 1);
}

TEST(DimtextNote, LongLinesWrapAtSixtyCharacters) {
  CKdDimtext t = built(L"{*NOTE*}");
  const std::wstring word(40, L'w');
  ASSERT_TRUE(t.setNote(L"*NOTE*", (word + L" " + word).c_str()));
  EXPECT_EQ(t.nCell(), 2);
  EXPECT_EQ(t.cellAt(1)->row(), 1);
}

TEST(DimtextNote, LinesBeyondTheCapacityAreDropped) {
  std::wstring fmt = L"{*NOTE*}";
  for (int i = 0; i < 196; ++i) fmt += L"{a}";
  CKdDimtext t = built(fmt.c_str());
  ASSERT_TRUE(t.setNote(L"*NOTE*", L"1\n2\n3\n4\n5\n6"));
  EXPECT_EQ(t.nCell(), CKdDimtext::kMaxCells);
  CWsz note;
  t.getNote(L"*NOTE*", note);
  EXPECT_EQ(note, L"1\r\n2\r\n3\r\n4");
}

TEST(DimtextNote, UnknownNoteChangesNothing) {
  CKdDimtext t = built(L"A{*CRNL*}B");
  EXPECT_FALSE(t.setNote(L"*NOTE*", L"x\r\ny"));
  EXPECT_EQ(cellsOf(t), L"0,0:|A 1,0:|B");
  CWsz note = L"old";
  t.getNote(L"*NOTE*", note);
  EXPECT_EQ(note, L"");
}

// ---- cells ----

TEST(DimtextCells, AppendStopsAtTheCapacity) {
  CKdDimtext t;
  for (int i = 0; i < CKdDimtext::kMaxCells; ++i)
    ASSERT_TRUE(t.appendCell(CKdDimtextCell(0, static_cast<short>(i), L"", L"x")));
  EXPECT_FALSE(t.appendCell(CKdDimtextCell()));
  EXPECT_EQ(t.nCell(), CKdDimtext::kMaxCells);
}

TEST(DimtextCells, SetCellAtChecksTheCapacityNotTheCount) {
  CKdDimtext t;
  EXPECT_TRUE(t.setCellAt(199, CKdDimtextCell(4, 0, L"", L"far")));
  EXPECT_FALSE(t.setCellAt(200, CKdDimtextCell()));
  EXPECT_FALSE(t.setCellAt(-1, CKdDimtextCell()));
  EXPECT_EQ(t.nCell(), 0);
  CKdDimtextCell c;
  EXPECT_FALSE(t.getCellAt(199, c)) << "beyond the count";
}

TEST(DimtextCells, DeleteMovesTheLaterCellsDownAndResetsTheLast) {
  CKdDimtext t = built(L"A{b}C");
  EXPECT_FALSE(t.delCellAt(3));
  EXPECT_FALSE(t.delCellAt(-1));
  ASSERT_TRUE(t.delCellAt(0));
  EXPECT_EQ(cellsOf(t), L"0,1:b| 0,2:|C");
  CKdDimtextCell c;
  EXPECT_FALSE(t.getCellAt(2, c));
  EXPECT_EQ(t.nCell(), 2);
}

TEST(DimtextCells, FindsPropertiesIgnoringCase) {
  CKdDimtext t = built(L"{Width} x {Width}");
  ASSERT_NE(t.findProperty(L"WIDTH"), nullptr);
  EXPECT_EQ(t.findProperty(L"WIDTH"), t.findProperty(L"width"));
  EXPECT_EQ(t.findProperty(L"WIDTH")->col(), 0);
  EXPECT_TRUE(t.hasProperty(L"width"));
  EXPECT_FALSE(t.hasProperty(L"Height"));
  // A constant cell has the empty property.
  ASSERT_NE(t.findProperty(L""), nullptr);
  EXPECT_EQ(t.findProperty(L"")->text(), L" x ");
}

TEST(DimtextCells, ReferenceObjectIsRequiredByAnythingButBreaksAndNotes) {
  EXPECT_FALSE(built(L"{*NOTE*}{*CRNL*}").refObjectRequired());
  EXPECT_TRUE(built(L"{*NOTE*}Text").refObjectRequired()) << "a constant counts";
  EXPECT_TRUE(built(L"{Width}").refObjectRequired());
  CKdDimtext t;
  t.appendCell(CKdDimtextCell(0, 0, L"*crnl*", L""));
  EXPECT_FALSE(t.refObjectRequired());
}

TEST(DimtextCells, ItemSizeIsRequiredByTargetArrowAndCircle) {
  CKdDimtext t;
  const bool expected[] = {false, false, true, true, true, false};
  for (short type = 0; type < 6; ++type) {
    t.options().setReflineType(type);
    EXPECT_EQ(t.refItemSizeRequired(), expected[type]) << type;
  }
}

TEST(DimtextCells, SortsByRowThenColumnAndCountsThem) {
  CKdDimtext t;
  const short places[][2] = {{2, 1}, {0, 3}, {2, 0}, {0, 0}, {1, 5}};
  for (const auto& p : places) t.appendCell(CKdDimtextCell(p[0], p[1], L"", L""));
  t.sortCells();
  std::wstring order;
  for (int i = 0; i < t.nCell(); ++i)
    order += std::to_wstring(t.cellAt(i)->row()) + std::to_wstring(t.cellAt(i)->col()) + L" ";
  EXPECT_EQ(order, L"00 03 15 20 21 ");
  t.updateRowAndColCounters();
  EXPECT_EQ(t.rowCount(), 3);
  EXPECT_EQ(t.colCount(), 6);
  t.resetCells();
  t.updateRowAndColCounters();
  EXPECT_EQ(t.rowCount(), 0);
  EXPECT_EQ(t.colCount(), 0);
}

class DimtextReset : public vxkd_test::RegistryTest {};

TEST_F(DimtextReset, TakesMaskingFromThePreference) {
  EXPECT_FALSE(CKdDimtext().getAllowMasking()) << "absent: false";
  ASSERT_TRUE(VxKd::setAllowDimtextMasking(true));
  CKdDimtext t;
  EXPECT_TRUE(t.getAllowMasking());
  t.setAllowMasking(false);
  t.reset();
  EXPECT_TRUE(t.getAllowMasking());
}

TEST(DimtextCells, ResetClearsEverything) {
  CKdDimtext t = built(L"A{*CRNL*}{b}");
  t.setReportGuid("0123456789ABCDEF0123456789ABCDEF0123");
  t.setReportGuid("01234567-89AB-CDEF-0123-456789ABCDEF");
  EXPECT_FALSE(t.reportGuid().isNull());
  t.addRefPoint({1, 1});
  t.setFont(L"Times New Roman");
  t.reset();
  EXPECT_TRUE(t.reportGuid().isNull());
  EXPECT_EQ(t.nCell(), 0);
  EXPECT_EQ(t.rowCount(), 0);
  EXPECT_EQ(t.fontHeight(), 0.0f);
  EXPECT_EQ(t.styleName(), L"");
  EXPECT_TRUE(t.getRefpoints().isEmpty());
  EXPECT_EQ(t.font(), CKdDimtext::kDefaultFont);
  CKdDimtextCell c;
  EXPECT_TRUE(t.setCellAt(1, c));
  EXPECT_EQ(t.nCell(), 0);
}

// ---- measuring ----

TEST(DimtextMeasure, CellsAddUpToTheirRowAsOneText) {
  CGmTextMetrics& metrics = CGmTextMetrics::standard();
  ASSERT_TRUE(metrics.isMeasured(L"Arial"));
  // A and V kern: measured apart they are wider than together.
  const double apart =
      metrics.textWidth(L"A", L"Arial", 2.5) + metrics.textWidth(L"V", L"Arial", 2.5);
  const double together = metrics.textWidth(L"AV", L"Arial", 2.5);
  ASSERT_LT(together, apart);
  CKdDimtext t = built(L"A{v}{*CRNL*}x");
  t.findProperty(L"v")->setText(L"V");
  t.measureCells(metrics);
  EXPECT_DOUBLE_EQ(t.rowWidth(0), together);
  EXPECT_DOUBLE_EQ(t.cellAt(0)->width(), metrics.textWidth(L"A", L"Arial", 2.5));
  EXPECT_DOUBLE_EQ(t.rowWidth(1), metrics.textWidth(L"x", L"Arial", 2.5));
  EXPECT_EQ(t.rowWidth(2), 0);
}

TEST(DimtextMeasure, TextBoxStacksRowsAtOnePointSixFontHeights) {
  CKdDimtext t = built(L"wide text{*CRNL*}x{*CRNL*}mid");
  t.measureCells(CGmTextMetrics::standard());
  double w, h;
  t.textBoundBox(w, h);
  EXPECT_DOUBLE_EQ(w, t.rowWidth(0));
  EXPECT_DOUBLE_EQ(h, 3 * 2.5 + 2 * 2 * 0.75);
  EXPECT_DOUBLE_EQ(t.marginal(), 0.75);
  double bw, bh;
  t.boundBox(bw, bh);
  EXPECT_DOUBLE_EQ(bw, w + 1.5);
  EXPECT_DOUBLE_EQ(bh, h + 1.5);
}

TEST(DimtextMeasure, NoRowsHaveNoBox) {
  CKdDimtext t;
  double w = 1, h = 1;
  t.textBoundBox(w, h);
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 0);
}

TEST(DimtextMeasure, FixedBorderOfPointOneUsesTheMeasuredText) {
  CKdDimtext t = built(L"400 x 200");
  t.measureCells(CGmTextMetrics::standard());
  double textW, textH, w, h;
  t.textBoundBox(textW, textH);
  t.setFixedBorderDim(0.1f);
  EXPECT_FALSE(t.isFixedSize());
  t.boundBox(w, h);
  EXPECT_DOUBLE_EQ(w, textW + 1.5);
  EXPECT_DOUBLE_EQ(h, textH + 1.5);
  t.setFixedBorderDim(0.11f);
  EXPECT_TRUE(t.isFixedSize());
  t.boundBox(w, h);
  EXPECT_FLOAT_EQ(static_cast<float>(w), 0.11f);
  EXPECT_FLOAT_EQ(static_cast<float>(h), 0.11f);
}

TEST(DimtextMeasure, StyleFontIsMeasured) {
  CKdTextStyleDefArray styles;
  CKdTextStyleDef style;
  style.setName(L"Serif");
  style.setTypeFace(L"Times New Roman");
  styles.append(&style);
  style.setName(L"Shapes");
  style.setTypeFace(L"");
  style.setFontFile(L"txt");
  styles.append(&style);

  CKdDimtextFormat f = formatOf(L"Wide text");
  f.setStyleName(L"serif");
  CKdDimtext t;
  ASSERT_TRUE(t.build(f));
  t.setFontFromStyles(styles);
  EXPECT_EQ(t.font(), L"Times New Roman");
  t.measureCells(CGmTextMetrics::standard());
  EXPECT_DOUBLE_EQ(t.rowWidth(0),
                   CGmTextMetrics::standard().textWidth(L"Wide text", L"Times New Roman", 2.5));
  t.setStyleName(L"Shapes");
  t.setFontFromStyles(styles);
  EXPECT_EQ(t.font(), L"Arial");
  t.setStyleName(L"Missing");
  t.setFontFromStyles(styles);
  EXPECT_EQ(t.font(), L"Arial");
}

TEST(DimtextMeasure, MissingFontFallsBackToAFixedWidthPerCharacter) {
  std::vector<std::string> warnings;
  CGmTextMetrics metrics({"/nonexistent"}, [&](const std::string& m) { warnings.push_back(m); });
  CKdDimtext t = built(L"abc{*CRNL*}abcdef");
  t.measureCells(metrics);
  t.measureCells(metrics);
  EXPECT_GT(t.rowWidth(0), 0);
  EXPECT_DOUBLE_EQ(t.rowWidth(1), 2 * t.rowWidth(0));
  EXPECT_EQ(warnings.size(), 1u) << "said once";
}

// ---- drawing ----

// A host's text: it draws through createPic.
class HostText : public CKdDimtext {
 public:
  using CKdDimtext::createPic;
};

// The items of one node of a drawing.
std::vector<CGmItem> nodeItems(const CGmModel& model, int node) {
  return std::vector<CGmItem>(model.items().begin() + model.nodeBegin(node),
                              model.items().begin() + model.nodeEnd(node));
}

template <typename T>
std::vector<T> shapes(const std::vector<CGmItem>& items) {
  std::vector<T> out;
  for (const CGmItem& item : items)
    if (auto* s = std::get_if<T>(&item.shape)) out.push_back(*s);
  return out;
}

HostText hostText(const wchar_t* fmt, short border, short refline, short align) {
  HostText t;
  CKdDimtextFormat f = formatOf(fmt);
  f.setRefItemSize(1.5f);
  f.setTextColor(5);
  f.options().setBorderType(border);
  f.options().setReflineType(refline);
  f.options().setAlignmentFlags(align);
  EXPECT_TRUE(t.build(f));
  return t;
}

TEST(DimtextDraw, FillsFourNodesForTheirLayers) {
  HostText t = hostText(L"A", O::borderNone, O::reflineNone, O::alignLeft);
  t.setAllowMasking(false);
  CGmModel model;
  model.setColor(2);
  ASSERT_TRUE(t.createPic(model));
  ASSERT_EQ(model.nodeCount(), CKdDimtext::picNodeCount);
  EXPECT_EQ(model.nodeEnd(CKdDimtext::nodeBorder), 0) << "mask, line and border empty";
  EXPECT_EQ(model.itemCount(), 1);
  EXPECT_EQ(model.color(), 2) << "the model's colour comes back";
  EXPECT_EQ(CKdDimtext::layerOfNode(CKdDimtext::nodeMask), VxKd::layerMask);
  EXPECT_EQ(CKdDimtext::layerOfNode(CKdDimtext::nodeRefline), VxKd::layerDimtextRefline);
  EXPECT_EQ(CKdDimtext::layerOfNode(CKdDimtext::nodeBorder), VxKd::layerDimtextText);
  EXPECT_EQ(CKdDimtext::layerOfNode(CKdDimtext::nodeText), VxKd::layerDimtextText);
}

TEST(DimtextDraw, NothingWithoutAFontHeight) {
  HostText t = hostText(L"A", O::borderRectangle, O::reflineNone, O::alignLeft);
  t.setFontHeight(0);
  CGmModel model;
  EXPECT_FALSE(t.createPic(model));
  EXPECT_EQ(model.nodeCount(), 0);
}

class DimtextAlignment : public ::testing::TestWithParam<short> {};

TEST_P(DimtextAlignment, RowsHangFromThePositionAlignedAsTheOptionSays) {
  HostText t =
      hostText(L"Supply duct{*CRNL*}400 x 200{*CRNL*}3.5 m/s", O::borderNone, 0, GetParam());
  t.setPos({100, 50});
  CGmModel model;
  ASSERT_TRUE(t.createPic(model));
  const auto rows = shapes<CGmTextLine>(nodeItems(model, CKdDimtext::nodeText));
  ASSERT_EQ(rows.size(), 3u);
  double w, h;
  t.textBoundBox(w, h);
  const double left = 100 - (GetParam() == O::alignLeft     ? 0
                             : GetParam() == O::alignCenter ? w / 2
                                                            : w);
  for (int r = 0; r < 3; ++r) {
    SCOPED_TRACE(r);
    EXPECT_DOUBLE_EQ(rows[r].width, t.rowWidth(r)) << "drawn as wide as laid out";
    EXPECT_DOUBLE_EQ(rows[r].height, 2.5);
    EXPECT_EQ(rows[r].font, L"Arial");
    EXPECT_NEAR(rows[r].position.y, 50 - r * 4.0 - 2.5, 1e-12) << "baselines 1.6 heights apart";
    // Where the row begins and ends.
    const double start = rows[r].position.x - (GetParam() == O::alignLeft     ? 0
                                               : GetParam() == O::alignCenter ? rows[r].width / 2
                                                                              : rows[r].width);
    const double end = start + rows[r].width;
    switch (GetParam()) {
      case O::alignLeft:
        EXPECT_NEAR(start, left, 1e-9);
        break;
      case O::alignCenter:
        EXPECT_NEAR((start + end) / 2, left + w / 2, 1e-9);
        break;
      default:
        EXPECT_NEAR(end, left + w, 1e-9);
    }
    EXPECT_GE(start, left - 1e-9);
    EXPECT_LE(end, left + w + 1e-9);
  }
}

INSTANTIATE_TEST_SUITE_P(Dimtext, DimtextAlignment,
                         ::testing::Values(O::alignLeft, O::alignCenter, O::alignRight));

// The border's drawn geometry and the reference line's first point, for one combination.
struct Picture {
  CGmModel model{};
  std::vector<CGmItem> mask, refline, border, text;
};

Picture draw(HostText& t) {
  Picture p;
  EXPECT_TRUE(t.createPic(p.model));
  p.mask = nodeItems(p.model, CKdDimtext::nodeMask);
  p.refline = nodeItems(p.model, CKdDimtext::nodeRefline);
  p.border = nodeItems(p.model, CKdDimtext::nodeBorder);
  p.text = nodeItems(p.model, CKdDimtext::nodeText);
  return p;
}

// The distance from `p` to the nearest line or circle of `items`.
double distanceTo(const std::vector<CGmItem>& items, const CGmPoint& p) {
  double best = INFINITY;
  const auto segment = [&](const CGmPoint& a, const CGmPoint& b) {
    const CGmVector ab = b - a;
    const double t = ab.dot(ab) == 0 ? 0 : std::clamp((p - a).dot(ab) / ab.dot(ab), 0.0, 1.0);
    best = std::min(best, p.distanceTo(a + ab * t));
  };
  for (const CGmItem& item : items) {
    if (auto* l = std::get_if<CGmPolyline>(&item.shape)) {
      const int n = l->points.length();
      for (int i = 0; i + 1 < n; ++i) segment(l->points[i], l->points[i + 1]);
      if (l->closed) segment(l->points[n - 1], l->points[0]);
    }
    if (auto* c = std::get_if<CGmCircle>(&item.shape))
      best = std::min(best, std::fabs(p.distanceTo(c->centre) - c->radius));
  }
  return best;
}

// Whether `p` lies inside the closed shape of `items` (a circle or a convex polygon, either
// way round).
bool insideClosed(const std::vector<CGmItem>& items, const CGmPoint& p) {
  for (const CGmItem& item : items) {
    if (auto* c = std::get_if<CGmCircle>(&item.shape)) return p.distanceTo(c->centre) < c->radius;
    if (auto* l = std::get_if<CGmPolyline>(&item.shape); l && l->closed) {
      const int n = l->points.length();
      int left = 0, right = 0;
      for (int i = 0; i < n; ++i) {
        const CGmVector e = l->points[(i + 1) % n] - l->points[i];
        const CGmVector q = p - l->points[i];
        const double cross = e.x * q.y - e.y * q.x;
        left += cross > 0;
        right += cross < 0;
      }
      return left == n || right == n;
    }
  }
  return false;
}

// The corners of a text line's box, from the baseline (or its descenders) to the capitals.
std::vector<CGmPoint> textCorners(const CGmTextLine& s, bool descenders = true) {
  const double shift = s.align == CGmAlign::left     ? 0
                       : s.align == CGmAlign::center ? s.width / 2
                                                     : s.width;
  const CGmPoint start = s.position - s.direction * shift;
  const CGmVector up = s.direction.perpendicular();
  const double below = descenders ? CGmTextMetrics::standard().descent(s.font, s.height) : 0;
  return {start - up * below, start + s.direction * s.width - up * below, start + up * s.height,
          start + s.direction * s.width + up * s.height};
}

struct Combination {
  short border, refline, align;
};

class DimtextEveryCombination : public ::testing::TestWithParam<Combination> {};

TEST_P(DimtextEveryCombination, LiesInsideTheBoundingBoxWithTheTextInsideItsBorder) {
  const Combination c = GetParam();
  HostText t =
      hostText(L"Supply duct{*CRNL*}400 x 200{*CRNL*}3.5 m/s", c.border, c.refline, c.align);
  t.setPos({20, 10});
  t.setDir({0.6, 0.8});
  t.addRefPoint({-20, -30});
  t.setAllowMasking(true);
  Picture p = draw(t);
  const CGmBox box = p.model.boundBox();

  // Every point drawn lies within the bounding box.
  for (const CGmItem& item : p.model.items()) {
    std::visit(
        [&](const auto& s) {
          using T = std::decay_t<decltype(s)>;
          if constexpr (std::is_same_v<T, CGmLine>) {
            EXPECT_TRUE(box.contains(s.start, 1e-9) && box.contains(s.end, 1e-9));
          } else if constexpr (std::is_same_v<T, CGmCircle>) {
            for (double a = 0; a < 6.3; a += 0.1)
              EXPECT_TRUE(
                  box.contains(s.centre + CGmVector(std::cos(a), std::sin(a)) * s.radius, 1e-9));
          } else if constexpr (std::is_same_v<T, CGmPolyline>) {
            for (const CGmPoint& q : s.points) EXPECT_TRUE(box.contains(q, 1e-9));
          } else if constexpr (std::is_same_v<T, CGmTextLine>) {
            for (const CGmPoint& q : textCorners(s)) EXPECT_TRUE(box.contains(q, 1e-9));
          }
        },
        item.shape);
  }

  // The text, capitals and baselines, lies inside a closed border.
  const bool closed = c.border == O::borderRectangle || c.border == O::borderDiamond ||
                      c.border == O::borderCircle || c.border == O::borderSplitCircle ||
                      c.border == O::borderHexagon;
  const auto rows = shapes<CGmTextLine>(p.text);
  ASSERT_EQ(rows.size(), 3u);
  if (closed) {
    for (const CGmTextLine& row : rows)
      for (const CGmPoint& q : textCorners(row, false))
        EXPECT_TRUE(insideClosed(p.border, q)) << q.x << ", " << q.y;
  }
  EXPECT_EQ(p.border.empty(), c.border == O::borderNone);

  // The wipeout lies under everything and follows a closed border.
  ASSERT_EQ(p.mask.size(), 1u);
  if (auto* circle = std::get_if<CGmCircle>(&p.mask[0].shape)) {
    EXPECT_EQ(circle->fill, CGmFill::wipeout);
    EXPECT_TRUE(c.border == O::borderCircle || c.border == O::borderSplitCircle);
  } else {
    const auto& frame = std::get<CGmPolyline>(p.mask[0].shape);
    EXPECT_EQ(frame.fill, CGmFill::wipeout);
    if (closed) {
      EXPECT_EQ(frame.points, std::get<CGmPolyline>(p.border[0].shape).points);
    }
  }

  // The reference line starts on the border and ends at the reference point.
  if (c.refline == O::reflineNone) {
    EXPECT_TRUE(p.refline.empty());
    return;
  }
  ASSERT_FALSE(p.refline.empty());
  const auto lines = shapes<CGmPolyline>(p.refline);
  ASSERT_FALSE(lines.empty());
  const CGmPoint start = lines[0].points[0];
  const CGmPoint end = lines[0].points[lines[0].points.length() - 1];
  if (c.border != O::borderNone)
    EXPECT_NEAR(distanceTo(p.border, start), 0, 1e-9);
  else
    EXPECT_NEAR(distanceTo(p.mask, start), 0, 1e-9) << "on the box with its margin";
  // The items themselves are the reference line's own business (dimtext_border_test).
  if (c.refline == O::reflineArrow)
    EXPECT_TRUE(near(lines.back().points[0], {-20, -30})) << "the arrow's tip";
  else
    EXPECT_TRUE(near(end, {-20, -30}));
  // Colours: the reference line by layer, border and text in the text's colour.
  for (const CGmItem& item : p.refline) EXPECT_EQ(item.color, CGmModel::colorByLayer);
  for (const CGmItem& item : p.border) EXPECT_EQ(item.color, 5);
  for (const CGmItem& item : p.text) EXPECT_EQ(item.color, 5);
}

std::vector<Combination> everyCombination() {
  std::vector<Combination> out;
  for (short border = 0; border <= O::borderHexagon; ++border)
    for (short refline = 0; refline <= O::reflineFilledCircle; ++refline)
      out.push_back({border, refline, static_cast<short>((border + refline) % 3)});
  return out;
}

INSTANTIATE_TEST_SUITE_P(Dimtext, DimtextEveryCombination, ::testing::ValuesIn(everyCombination()),
                         [](const ::testing::TestParamInfo<Combination>& info) {
                           return "Border" + std::to_string(info.param.border) + "Refline" +
                                  std::to_string(info.param.refline);
                         });

TEST(DimtextDraw, NoMaskUnlessAllowed) {
  HostText t = hostText(L"A", O::borderCircle, O::reflineNone, O::alignLeft);
  t.setAllowMasking(false);
  EXPECT_TRUE(draw(t).mask.empty());
}

TEST(DimtextDraw, NoReferenceLineToAPointInsideTheBorder) {
  HostText t = hostText(L"Wide text", O::borderRectangle, O::reflineArrow, O::alignLeft);
  t.addRefPoint({2, -1});
  EXPECT_TRUE(draw(t).refline.empty());
}

TEST(DimtextDraw, ReferenceLineRunsThroughEveryPoint) {
  HostText t = hostText(L"Text", O::borderFirstRowUnderlined, O::reflineLineOnly, O::alignLeft);
  t.setRefpoints({{-10, -5}, {-10, -20}});
  const auto lines = shapes<CGmPolyline>(draw(t).refline);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].points.length(), 3);
  EXPECT_TRUE(near(lines[0].points[0], {-0.75, -3.25})) << "the underline's left end";
  EXPECT_TRUE(near(lines[0].points[2], {-10, -20}));
}

TEST(DimtextDraw, FixedSizeBordersKeepTheirSizeWherever) {
  HostText t = hostText(L"A12", O::borderCircle, O::reflineNone, O::alignCenter);
  t.setFixedBorderDim(8);
  t.setPos({3, 4});
  const auto circles = shapes<CGmCircle>(draw(t).border);
  ASSERT_EQ(circles.size(), 1u);
  EXPECT_DOUBLE_EQ(circles[0].radius, 4);
  EXPECT_TRUE(near(circles[0].centre, {3, 4 - 1.25})) << "about the text's middle";
}

TEST(DimtextDraw, TurnsWithTheDirectionAndStaysReadableWhenMirrored) {
  HostText t = hostText(L"Text", O::borderRectangle, O::reflineNone, O::alignLeft);
  t.setDir({0, 1});
  const auto up = shapes<CGmTextLine>(draw(t).text);
  ASSERT_EQ(up.size(), 1u);
  EXPECT_TRUE(near(CGmPoint() + up[0].direction, {0, 1}));
  EXPECT_TRUE(near(up[0].position, {2.5, 0})) << "the baseline one height to the right";

  // Seen from below, the plane is mirrored: the text moves but is not drawn backwards.
  t.setDir({1, 0});
  t.setNormal({0, 0, -1});
  Picture p = draw(t);
  const auto mirrored = shapes<CGmTextLine>(p.text);
  ASSERT_EQ(mirrored.size(), 1u);
  EXPECT_GT(mirrored[0].direction.x, 0);
  for (const CGmPoint& q : textCorners(mirrored[0], false))
    EXPECT_TRUE(insideClosed(p.border, q)) << q.x << ", " << q.y;
}

// ---- preview ----

TEST(DimtextPreview, FillsSamplesAndTheNoteAndPointsDownLeft) {
  CKdPropertyDefArray defs;
  defs.add(L"Width", L"", CKdPropertyValue::typeInt32, CKdUnit(), 0);
  defs.add(L"Flow", L"", CKdPropertyValue::typeSingleReal, CKdUnit(), 2);
  CKdDimtextFormat f =
      formatOf(L"{width} x {Flow} {*PARTID*}{*EMPTY*} {Nope}{*CRNL*}{*NOTE*}{*CRNL*}End");
  f.options().setBorderType(O::borderRectangle);
  f.options().setReflineType(O::reflineArrow);
  CKdDimtext t;
  CGmModel model;
  ASSERT_TRUE(t.createPreviewPic(model, f, defs));
  std::vector<std::wstring> rows;
  for (const CGmTextLine& line : shapes<CGmTextLine>(nodeItems(model, CKdDimtext::nodeText)))
    rows.push_back(line.text.str());
  EXPECT_EQ(rows, (std::vector<std::wstring>{L"###### x #.## ABC {Nope}", L"Abcdefghij",
                                             L"klmnopqrd", L"Endtuvxyz"}))
      << "the cell under the note moves one row only";
  ASSERT_EQ(t.getRefpoints().length(), 1);
  const CGmPoint ref = t.getRefpoints()[0];
  EXPECT_TRUE(near(ref, model.boundBox().minimum())) << "the arrow's tip is the lowest left point";
  EXPECT_LT(ref.x, -0.75 - 2);
}

TEST(DimtextPreview, UnbuildableFormatDrawsNothing) {
  CKdDimtext t;
  CGmModel model;
  EXPECT_FALSE(t.createPreviewPic(model, formatOf(L"{Width"), CKdPropertyDefArray()));
  EXPECT_TRUE(model.isEmpty());
  EXPECT_EQ(model.nodeCount(), 0);
}

TEST(DimtextPreview, UsesTheStylesFont) {
  CKdTextStyleDefArray styles;
  CKdTextStyleDef style;
  style.setName(L"Standard");
  style.setTypeFace(L"Courier New");
  styles.append(&style);
  CKdDimtext t;
  CGmModel model;
  ASSERT_TRUE(t.createPreviewPic(model, formatOf(L"Mono"), CKdPropertyDefArray(), &styles));
  const auto rows = shapes<CGmTextLine>(nodeItems(model, CKdDimtext::nodeText));
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].font, L"Courier New");
  EXPECT_DOUBLE_EQ(rows[0].width, t.rowWidth(0));
}

TEST(DimtextLabels, NameTheSizesWhereTheyApply) {
  EXPECT_EQ(CKdDimtext::fixedBorderDimLabel(O::borderCircle), L"Diameter:");
  EXPECT_EQ(CKdDimtext::fixedBorderDimLabel(O::borderSplitCircle), L"Diameter:");
  for (short type : {O::borderRectangle, O::borderDiamond, O::borderHexagon})
    EXPECT_EQ(CKdDimtext::fixedBorderDimLabel(type), L"Width:");
  for (short type : {-1, 0, 1, 2, 7, 9}) EXPECT_EQ(CKdDimtext::fixedBorderDimLabel(type), L"");
  EXPECT_EQ(CKdDimtext::refItemSizeLabel(O::reflineLineAndTarget), L"Target line length:");
  EXPECT_EQ(CKdDimtext::refItemSizeLabel(O::reflineArrow), L"Arrow length:");
  EXPECT_EQ(CKdDimtext::refItemSizeLabel(O::reflineFilledCircle), L"Circle diameter:");
  for (short type : {-1, 0, 1, 5}) EXPECT_EQ(CKdDimtext::refItemSizeLabel(type), L"");
  vxkd_test::ScopedLanguage german(vxkd_test::kGerman);
  ASSERT_TRUE(german.active());
  EXPECT_EQ(CKdDimtext::fixedBorderDimLabel(O::borderHexagon), L"Breite:");
  EXPECT_EQ(CKdDimtext::refItemSizeLabel(O::reflineArrow), L"Pfeillänge:");
}

}  // namespace

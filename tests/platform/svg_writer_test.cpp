#include "vxkd/platform/svg_writer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numbers>
#include <regex>
#include <string>

#include "support/temp_folder.h"
#include "vxkd/platform/text_metrics.h"

namespace {

constexpr double kPi = std::numbers::pi;

// The value of attribute `name` in the first element `element` of `svg`; "" when none.
std::string attribute(const std::string& svg, const std::string& element, const std::string& name) {
  std::smatch m;
  std::regex re("<" + element + "\\b[^>]*\\s" + name + "=\"([^\"]*)\"");
  return std::regex_search(svg, m, re) ? m[1].str() : "";
}

int count(const std::string& svg, const std::string& what) {
  int n = 0;
  for (size_t at = svg.find(what); at != std::string::npos; at = svg.find(what, at + 1)) ++n;
  return n;
}

TEST(SvgWriter, YAxisPointsUpInTheDrawingAndDownInTheSvg) {
  CGmModel m;
  m.addLine({0, 0}, {10, 5});
  const std::string svg = CGmSvgWriter().write(m);
  EXPECT_EQ(attribute(svg, "line", "y2"), "-5");
  EXPECT_EQ(attribute(svg, "line", "x2"), "10");
  EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
  EXPECT_NE(svg.find("xmlns=\"http://www.w3.org/2000/svg\""), std::string::npos);
}

TEST(SvgWriter, ViewBoxIsTheBoundingBoxWithAMarginAndLinesStayVisible) {
  CGmModel m;
  m.addLine({0, 0}, {100, 0});
  m.addLine({0, 0}, {0, 50});
  CGmSvgWriter writer;
  writer.pixelSize = 440;
  writer.margin = 0.05;
  writer.strokePixels = 2;
  const std::string svg = writer.write(m);
  EXPECT_EQ(attribute(svg, "svg", "viewBox"), "-5 -55 110 60");
  EXPECT_EQ(attribute(svg, "svg", "width"), "440");
  EXPECT_EQ(attribute(svg, "svg", "height"), "240");
  EXPECT_EQ(attribute(svg, "g", "stroke-width"), "0.5") << "2 pixels of 0.25 units each";

  CGmModel point;
  point.addLine({3, 4}, {3, 4});
  EXPECT_EQ(attribute(writer.write(point), "svg", "viewBox"), "2 -5 2 2");
  EXPECT_EQ(attribute(writer.write(CGmModel()), "svg", "viewBox"), "-1 -1 2 2");
}

TEST(SvgWriter, TextsAreAnchoredAsAlignedAndTurnedWithTheirDirection) {
  CGmModel m;
  m.addText(L"L", {0, 0}, {1, 0}, 2.5, L"Arial", CGmAlign::left);
  m.addText(L"C", {0, 10}, {0, 1}, 2.5, L"Arial", CGmAlign::center);
  m.addText(L"R", {0, 20}, {1, 0}, 2.5, L"Courier New", CGmAlign::right);
  const std::string svg = CGmSvgWriter().write(m);
  std::smatch match;
  std::regex text("<text ([^>]*)>([^<]*)</text>");
  std::vector<std::pair<std::string, std::string>> texts;
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), text); it != std::sregex_iterator();
       ++it)
    texts.emplace_back((*it)[1].str(), (*it)[2].str());
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_NE(texts[0].first.find("text-anchor=\"start\""), std::string::npos);
  EXPECT_NE(texts[0].first.find("font-family=\"Arial, 'Liberation Sans', sans-serif\""),
            std::string::npos);
  EXPECT_EQ(texts[0].first.find("transform"), std::string::npos);
  EXPECT_NE(texts[1].first.find("text-anchor=\"middle\""), std::string::npos);
  EXPECT_NE(texts[1].first.find("transform=\"rotate(-90 0 -10)\""), std::string::npos);
  EXPECT_NE(texts[2].first.find("text-anchor=\"end\""), std::string::npos);
  EXPECT_NE(texts[2].first.find("'Liberation Mono'"), std::string::npos);
  EXPECT_EQ(texts[2].second, "R");
  EXPECT_NEAR(std::stod(attribute(svg, "text", "font-size")), m.metrics().fontSize(L"Arial", 2.5),
              1e-6);
}

TEST(SvgWriter, TextIsEscapedAndKeepsOnlyCharactersThatShow) {
  CGmModel m;
  m.addText(
      L"a<b & \"c\"\r\n > \x01"
      L"d  e",
      {0, 0}, {1, 0}, 1, L"Arial");
  m.addText(L"", {5, 5}, {1, 0}, 1, L"Arial");
  const std::string svg = CGmSvgWriter().write(m);
  EXPECT_NE(svg.find(">a&lt;b &amp; &quot;c&quot; &gt; d  e</text>"), std::string::npos) << svg;
  EXPECT_EQ(count(svg, "<text"), 1) << "an empty text is not written";
}

TEST(SvgWriter, ShapesFillAsToldAndWipeoutsHideWithoutAnOutline) {
  CGmModel m;
  m.setColor(1);
  m.addCircle({0, 0}, 1, CGmFill::solid);
  m.addPolyline({{0, 0}, {1, 0}, {1, 1}}, false, CGmFill::wipeout);
  m.addPolyline({{0, 0}, {1, 0}, {1, 1}}, false);
  m.addPolyline({{0, 0}, {1, 0}, {1, 1}}, true);
  const std::string svg = CGmSvgWriter().write(m);
  EXPECT_EQ(attribute(svg, "circle", "fill"), "#ff0000");
  EXPECT_EQ(attribute(svg, "circle", "stroke"), "#ff0000");
  EXPECT_NE(svg.find("<polygon points=\"0,0 1,0 1,-1\" stroke=\"none\" fill=\"#ffffff\"/>"),
            std::string::npos);
  EXPECT_NE(svg.find("<polyline points=\"0,0 1,0 1,-1\" stroke=\"#ff0000\"/>"), std::string::npos);
  EXPECT_NE(svg.find("<polygon points=\"0,0 1,0 1,-1\" stroke=\"#ff0000\"/>"), std::string::npos);
}

TEST(SvgWriter, ArcsRunCounterClockwiseAndAWholeOneIsTwoHalves) {
  CGmModel m;
  m.addArc({0, 0}, 2, 0, kPi / 2);
  m.addArc({0, 0}, 2, 0, 3 * kPi / 2);
  m.addArc({0, 0}, 2, 1, 1);
  const std::string svg = CGmSvgWriter().write(m);
  std::regex path("<path d=\"([^\"]*)\"");
  std::vector<std::string> d;
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), path); it != std::sregex_iterator();
       ++it)
    d.push_back((*it)[1].str());
  ASSERT_EQ(d.size(), 3u);
  EXPECT_EQ(d[0], "M2,0 A2 2 0 0 0 0,-2") << "small arc, negative sweep, y down";
  EXPECT_EQ(d[1], "M2,0 A2 2 0 1 0 0,2") << "large arc";
  EXPECT_EQ(count(d[2], " A"), 2);
}

TEST(SvgWriter, EachClosedNodeIsAGroup) {
  CGmModel m;
  m.addLine({0, 0}, {1, 0});
  m.closeNode();
  m.closeNode();
  m.addLine({0, 0}, {0, 1});
  const std::string svg = CGmSvgWriter().write(m);
  EXPECT_EQ(count(svg, "<g data-node="), 2);
  EXPECT_LT(svg.find("<g data-node=\"0\">\n<line"), svg.find("<g data-node=\"1\">\n</g>"));
  EXPECT_EQ(count(svg, "<line"), 2);
}

TEST(SvgWriter, ColourNumbersAreTheHostsPalette) {
  const struct {
    int16_t color;
    const char* rgb;
  } cases[] = {{1, "#ff0000"},  {2, "#ffff00"},  {3, "#00ff00"},   {5, "#0000ff"},
               {7, "#000000"},  {0, "#000000"},  {256, "#000000"}, {257, "#000000"},
               {-1, "#000000"}, {8, "#808080"},  {250, "#333333"}, {10, "#ff0000"},
               {11, "#ff8080"}, {50, "#ffff00"}, {170, "#0000ff"}, {12, "#a60000"}};
  for (const auto& c : cases) EXPECT_EQ(CGmSvgWriter::colorOf(c.color), c.rgb) << c.color;
}

TEST(SvgWriter, TextMeasuredWithoutItsFontIsHeldToTheAssumedWidth) {
  CGmTextMetrics fixed(std::vector<std::string>{}, [](const std::string&) {});
  CGmModel m(&fixed);
  m.addText(L"abc", {0, 0}, {1, 0}, 1, L"Arial");
  const std::string svg = CGmSvgWriter().write(m);
  EXPECT_NEAR(std::stod(attribute(svg, "text", "textLength")), fixed.textWidth(L"abc", L"Arial", 1),
              1e-8);
  EXPECT_EQ(attribute(svg, "text", "lengthAdjust"), "spacingAndGlyphs");
}

// A renderer reads what we write: rsvg-convert (librsvg2-bin) turns a model of every kind of
// item into a PNG picture.
TEST(SvgWriter, RendererTurnsItIntoAPicture) {
  if (std::system("command -v rsvg-convert >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "rsvg-convert is not installed";
  CGmModel m;
  m.setColor(5);
  m.addPolyline({{-1, -1}, {30, -1}, {30, 4}, {-1, 4}}, true, CGmFill::wipeout);
  m.addText(L"Wärme & <Kälte>", {0, 0}, {1, 0}, 2.5, L"Arial");
  m.closeNode();
  m.addArc({40, 0}, 3, 0, 1, CGmTransform::rotation(0.5));
  m.addCircle({50, 0}, 1, CGmFill::solid);
  vxkd_test::TempFolder folder;
  ASSERT_TRUE(folder.write("model.svg", CGmSvgWriter().write(m)));
  const std::string command = "rsvg-convert -o '" + folder.native("model.png") + "' '" +
                              folder.native("model.svg") + "' 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(folder.read("model.png").substr(1, 3), "PNG");
}

}  // namespace

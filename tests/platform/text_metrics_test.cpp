#include "vxkd/platform/text_metrics.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace {

// Advance widths of Arial and its metric twins, in 1/2048 em: what a drafter's layout
// assumes, known from the fonts themselves.
constexpr double kEm = 2048;
constexpr double kSansCapHeight = 1409 / kEm;

class MeasuredFonts : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!metrics_.isMeasured(L"Arial")) GTEST_SKIP() << "the Liberation fonts are not installed";
  }
  CGmTextMetrics metrics_{CGmTextMetrics::defaultFontFolders(),
                          [this](const std::string& m) { warnings_.push_back(m); }};
  std::vector<std::string> warnings_;
};

TEST_F(MeasuredFonts, WidthsAreThoseOfTheFontAtTheSizeOfItsCapitals) {
  const struct {
    const wchar_t* font;
    const wchar_t* text;
    double advance;  // in 1/2048 em
  } cases[] = {
      {L"Arial", L"A", 1366},
      {L"Arial", L"b", 1139},
      {L"Arial", L"i", 455},
      {L"Arial", L"M", 1706},
      {L"Arial", L" ", 569},
      {L"Arial", L"bi M", 1139 + 455 + 569 + 1706},
      {L"arial", L"i", 455},
      {L"Helvetica", L"i", 455},
      {L"Some font nobody has", L"i", 455},
      {L"Times New Roman", L"i", 569},
      {L"Courier New", L"i", 1229},
      {L"Courier New", L"M", 1229},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "font " << c.font << " text '" << c.text << "'");
    const double height = 2.5;
    const double em = metrics_.fontSize(c.font, height);
    EXPECT_NEAR(metrics_.textWidth(c.text, c.font, height), c.advance / kEm * em, 1e-9);
  }
  EXPECT_NEAR(metrics_.fontSize(L"Arial", 2.5), 2.5 / kSansCapHeight, 1e-9);
  EXPECT_TRUE(warnings_.empty());
}

TEST_F(MeasuredFonts, KerningPairsComeCloser) {
  const double a = metrics_.textWidth(L"A", L"Arial", 1);
  const double v = metrics_.textWidth(L"V", L"Arial", 1);
  const double av = metrics_.textWidth(L"AV", L"Arial", 1);
  EXPECT_LT(av, a + v);
  EXPECT_GT(av, 0.8 * (a + v));
  EXPECT_DOUBLE_EQ(metrics_.textWidth(L"AV", L"Courier New", 1),
                   2 * metrics_.textWidth(L"A", L"Courier New", 1));
}

TEST_F(MeasuredFonts, WidthGrowsWithHeightAndCharactersNotDrawnAddNothing) {
  const double w = metrics_.textWidth(L"DN 125", L"Arial", 1);
  EXPECT_GT(w, 0);
  EXPECT_NEAR(metrics_.textWidth(L"DN 125", L"Arial", 3.5), 3.5 * w, 1e-12);
  EXPECT_DOUBLE_EQ(metrics_.textWidth(L"DN\r\n 125\x7F", L"Arial", 1), w);
  EXPECT_DOUBLE_EQ(metrics_.textWidth(std::wstring(L"DN 1\xD800"
                                                   L"25"),
                                      L"Arial", 1),
                   w);
  EXPECT_EQ(metrics_.textWidth(L"DN 125", L"Arial", 0), 0);
  EXPECT_EQ(metrics_.textWidth(L"DN 125", L"Arial", -1), 0);
  EXPECT_EQ(metrics_.textWidth(L"", L"Arial", 1), 0);
  EXPECT_GT(metrics_.textWidth(L"€ Ä 中", nullptr, 1), 0) << "no font reads as Arial";
  EXPECT_GT(metrics_.descent(L"Arial", 1), 0.2);
}

TEST(TextMetrics, FontsNameTheirLiberationTwinInSvg) {
  CGmTextMetrics metrics(std::vector<std::string>{}, [](const std::string&) {});
  EXPECT_STREQ(metrics.svgFamily(L"Arial"), "Arial, 'Liberation Sans', sans-serif");
  EXPECT_STREQ(metrics.svgFamily(L"ARIAL"), "Arial, 'Liberation Sans', sans-serif");
  EXPECT_STREQ(metrics.svgFamily(L"unknown"), "Arial, 'Liberation Sans', sans-serif");
  EXPECT_STREQ(metrics.svgFamily(L"Courier New"), "'Courier New', 'Liberation Mono', monospace");
  EXPECT_STREQ(metrics.svgFamily(L"Times New Roman"),
               "'Times New Roman', 'Liberation Serif', serif");
  EXPECT_STREQ(metrics.svgFamily(L"Arial Narrow"),
               "'Arial Narrow', 'Liberation Sans Narrow', sans-serif");
}

// Without the font files every character has one width, and each missing font is said
// once however often it is measured.
TEST(TextMetrics, MissingFontFileFallsBackToAFixedWidthSaidOnce) {
  vxkd_test::TempFolder folder;
  folder.write("LiberationSans-Regular.ttf", "not a font");  // unreadable counts as missing
  std::vector<std::string> warnings;
  CGmTextMetrics metrics({folder.native(), "/no/such/folder"},
                         [&](const std::string& m) { warnings.push_back(m); });
  EXPECT_TRUE(warnings.empty()) << "nothing is opened before it is needed";
  const double one = metrics.textWidth(L"i", L"Arial", 1);
  EXPECT_GT(one, 0);
  for (int i = 0; i < 100; ++i) {
    EXPECT_DOUBLE_EQ(metrics.textWidth(L"WiW\tW", L"Arial", 2), 8 * one);
    EXPECT_FALSE(metrics.isMeasured(L"Arial"));
  }
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_NE(warnings[0].find("LiberationSans-Regular.ttf"), std::string::npos);
  EXPECT_NE(warnings[0].find("fixed width"), std::string::npos);
  EXPECT_NE(warnings[0].find(folder.native()), std::string::npos);

  metrics.textWidth(L"x", L"Courier New", 1);
  metrics.textWidth(L"x", L"Courier New", 1);
  EXPECT_EQ(warnings.size(), 2u);
  // The fallback still sizes capitals as the font would, so a text keeps its height.
  EXPECT_NEAR(metrics.fontSize(L"Arial", 1), 1 / kSansCapHeight, 1e-9);
  EXPECT_GT(metrics.descent(L"Arial", 1), 0);
}

TEST(TextMetrics, FontFoldersComeFromTheEnvironmentWhenSet) {
  {
    vxkd_test::ScopedEnv env("VXKD_FONT_DIRS", "/a::/b/c:");
    EXPECT_EQ(CGmTextMetrics::defaultFontFolders(), (std::vector<std::string>{"/a", "/b/c"}));
  }
  {
    vxkd_test::ScopedEnv env("VXKD_FONT_DIRS", "");
    std::vector<std::string> folders = CGmTextMetrics::defaultFontFolders();
    ASSERT_FALSE(folders.empty());
    EXPECT_EQ(folders[0], "/usr/share/fonts/truetype/liberation2");
  }
}

TEST(TextMetrics, OnlyCharactersThatShowAreDrawn) {
  for (wchar_t c : {L'\0', L'\t', L'\n', L'\x1F', L'\x7F', L'\x9F', static_cast<wchar_t>(0xDC00),
                    static_cast<wchar_t>(0x110000)})
    EXPECT_FALSE(CGmTextMetrics::isDrawn(c)) << static_cast<int>(c);
  for (wchar_t c : {L' ', L'A', L'\xA0', L'€', static_cast<wchar_t>(0x1F600)})
    EXPECT_TRUE(CGmTextMetrics::isDrawn(c)) << static_cast<int>(c);
}

}  // namespace

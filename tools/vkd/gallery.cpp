// vkd gallery -o OUT.svg: one SVG page with every border, alignment and reference line of the
// dimension texts, each with a caption, so that their geometry can be looked at together.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tool.h"
#include "vxkd/dimtext/dimtext.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/svg_writer.h"

namespace vkd {
namespace {

using O = CKdDimtextOptions;

// A text with three rows of different widths, with descenders in its first row, so that
// alignment and the clearance of underlines can be seen.
constexpr const wchar_t* kThreeRows = L"Supply duct{*CRNL*}400 x 200{*CRNL*}3.5 m/s";
constexpr const wchar_t* kTwoRows = L"Supply duct{*CRNL*}400 x 200";
constexpr const wchar_t* kShort = L"A12";
constexpr float kHeight = 2.5f;
constexpr double kCaptionHeight = 1.4;
constexpr double kTitleHeight = 3.2;
constexpr int16_t kCaptionColor = 8;
constexpr double kGap = 5;

// A text drawn as the preview does, with masking chosen here instead of the user's
// preference, so that the page looks the same for everyone.
class GalleryText : public CKdDimtext {
 public:
  bool draw(CGmModel& model, const CKdDimtextFormat& format, bool masking) {
    CGmModel scratch(&model.metrics());
    if (!createPreviewPic(scratch, format, CKdPropertyDefArray())) return false;
    setAllowMasking(masking);
    return createPic(model);
  }
};

struct Sample {
  CKdDimtextFormat format;
  std::string caption;
  bool masking = false;
};

CKdDimtextFormat formatOf(const wchar_t* fmt, short border, short refline, short alignment,
                          float fixedDim = -1, float itemSize = 1.5f) {
  CKdDimtextFormat f;
  f.setFmt(fmt);
  f.setTextHeight(kHeight);
  f.setFixedBorderDim(fixedDim);
  f.setRefItemSize(itemSize);
  f.options().setBorderType(border);
  f.options().setReflineType(refline);
  f.options().setAlignmentFlags(alignment);
  return f;
}

// Grey diagonal lines filling `box`, drawn before a masked text: where its wipeout frame
// lies they are hidden.
void addBackground(CGmModel& model, const CGmBox& box) {
  const int16_t color = model.color();
  model.setColor(kCaptionColor);
  const double x0 = box.minimum().x, x1 = box.maximum().x, y0 = box.minimum().y;
  const double h = box.height();
  // Lines of slope 1 through (c, y0), cut to the box.
  for (double c = x0 - h + 1; c < x1; c += 2) {
    const double from = std::max(x0, c), to = std::min(x1, c + h);
    if (to > from) model.addLine({from, y0 + from - c}, {to, y0 + to - c});
  }
  model.setColor(color);
}

// Draws `samples` in a grid of `columns` below `top`, each with its caption under it;
// returns the bottom of the section.
double addSection(CGmModel& page, const char* title, const std::vector<Sample>& samples,
                  int columns, double top) {
  page.setColor(CGmModel::colorByLayer);
  page.addText(CWsz::fromUtf8(title), {0, top - kTitleHeight}, {1, 0}, kTitleHeight, L"Arial");
  top -= 2.5 * kTitleHeight;

  std::vector<CGmModel> pictures;
  double cellW = 0, cellH = 0;
  for (const Sample& s : samples) {
    CGmModel picture(&page.metrics());
    GalleryText text;
    text.draw(picture, s.format, s.masking);
    const CGmBox box = picture.boundBox();
    cellW = std::max(cellW, box.width());
    cellH = std::max(cellH, box.height());
    pictures.push_back(std::move(picture));
  }
  // Each picture centred in its cell, the caption under the cell.
  const double pitchX = cellW + kGap, pitchY = cellH + 2.5 * kCaptionHeight + kGap;
  std::vector<CGmVector> shifts;
  for (size_t i = 0; i < samples.size(); ++i) {
    const double left = (i % columns) * pitchX;
    const double cellTop = top - (i / columns) * pitchY;
    const CGmBox box = pictures[i].boundBox();
    shifts.emplace_back(left + (cellW - box.width()) / 2 - box.minimum().x,
                        cellTop - (cellH - box.height()) / 2 - box.maximum().y);
  }
  // The backgrounds first, so that no picture lies under another's.
  for (size_t i = 0; i < samples.size(); ++i) {
    if (!samples[i].masking) continue;
    CGmBox behind;
    behind.extend(pictures[i].boundBox().minimum() + shifts[i]);
    behind.extend(pictures[i].boundBox().maximum() + shifts[i]);
    addBackground(page, behind);
  }
  for (size_t i = 0; i < samples.size(); ++i) {
    page.addModel(pictures[i], CGmTransform::translation(shifts[i]));
    page.setColor(kCaptionColor);
    const double cellTop = top - (i / columns) * pitchY;
    page.addText(CWsz::fromUtf8(samples[i].caption.c_str()),
                 {(i % columns) * pitchX, cellTop - cellH - 1.5 * kCaptionHeight}, {1, 0},
                 kCaptionHeight, L"Arial");
    page.closeNode();
  }
  const size_t rows = (samples.size() + columns - 1) / columns;
  return top - rows * pitchY - kGap;
}

std::string nameOf(const CWsz& name) { return narrow(name); }

extern const Command kGallery;

int gallery(const std::vector<std::string>&, const Options& options, ToolUiBackend&) {
  const std::string& out = options.output;
  if (out.empty()) return usageOf(kGallery);
  CGmModel page;
  double top = 0;

  std::vector<Sample> borders;
  for (short border = O::borderNone; border <= O::borderHexagon; ++border)
    for (short align = O::alignLeft; align <= O::alignRight; ++align)
      borders.push_back(
          {formatOf(kThreeRows, border, O::reflineArrow, align),
           nameOf(O::getBorderTypeName(border)) + ", " + nameOf(O::getAlignmentFlagName(align))});
  top = addSection(page, "Borders and alignments (reference line: arrow)", borders, 3, top);

  std::vector<Sample> reflines;
  for (short refline = O::reflineNone; refline <= O::reflineFilledCircle; ++refline)
    reflines.push_back({formatOf(kTwoRows, O::borderRectangle, refline, O::alignLeft),
                        nameOf(O::getReflineTypeName(refline))});
  for (short refline = O::reflineLineOnly; refline <= O::reflineFilledCircle; ++refline)
    reflines.push_back({formatOf(kTwoRows, O::borderCircle, refline, O::alignCenter),
                        nameOf(O::getReflineTypeName(refline)) + ", circle"});
  top = addSection(page, "Reference lines (item size 1.5)", reflines, 5, top);

  std::vector<Sample> fixed;
  for (short border : {O::borderRectangle, O::borderDiamond, O::borderCircle, O::borderSplitCircle,
                       O::borderHexagon})
    fixed.push_back({formatOf(kShort, border, O::reflineFilledCircle, O::alignCenter, 10.0f),
                     nameOf(O::getBorderTypeName(border)) + ", fixed size 10"});
  fixed.push_back({formatOf(kTwoRows, O::borderRectangle, O::reflineArrow, O::alignCenter, 0.1f),
                   "Rectangle, fixed size 0.1 (follows the text)"});
  top = addSection(page, "Fixed border sizes", fixed, 3, top);

  std::vector<Sample> masked;
  for (short border : {O::borderNone, O::borderFirstRowUnderlined, O::borderRectangle,
                       O::borderCircle, O::borderHexagon}) {
    Sample s{formatOf(kTwoRows, border, O::reflineLineOnly, O::alignLeft),
             nameOf(O::getBorderTypeName(border)) + ", masked", true};
    masked.push_back(s);
  }
  addSection(page, "Wipeout frames (grey lines behind)", masked, 5, top);

  CGmSvgWriter writer;
  writer.pixelSize = 1800;
  writer.strokePixels = 1.2;
  if (int error = writeOutputFile(out, writer.write(page)))
    return fail("cannot write " + out + ": " + std::strerror(error));
  std::printf("Wrote the gallery of dimension text borders and reference lines to %s\n",
              out.c_str());
  return 0;
}

const Command kGallery("gallery", "-o OUT.svg",
                       "draw every border, alignment and reference line of the dimension texts "
                       "into one SVG page",
                       0, "output", gallery);

}  // namespace
}  // namespace vkd

// vkd preview FILE.vkd product KEY -o OUT.svg: a product as a drawing shows it, with its
// integrated texts placed at their offsets from its installation point and filled with its
// values: its symbol, or a piece of its line for a product without one (a duct, pipe or
// cable, the installation point in the line's middle); its key and description below.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "products.h"
#include "tool.h"
#include "vxkd/dimtext/dimtext.h"
#include "vxkd/platform/sz.h"

namespace vkd {
namespace {

// The grey of captions, so that they stand apart from what they describe.
constexpr int16_t kCaptionColor = 8;
constexpr double kCaptionHeight = 1.6;
// The piece of a line that is drawn, at least.
constexpr double kMinLineLength = 40;

// A dimension text placed as a drawing places a product's integrated text: its cells filled
// with the product's values, at an offset from the installation point, along the product.
class PlacedText : public CKdDimtext {
 public:
  bool draw(CGmModel& model, const CKdDimtextFormat& format, const CKdProductDef& product,
            const CKdTextStyleDefArray& styles, const CGmPoint& at, const CGmVector& dir) {
    if (!build(format)) return false;
    setFontFromStyles(styles);
    static const CWsz kNote = L"*NOTE*";
    for (int i = 0; i < nCell(); ++i) {
      CKdDimtextCell cell;
      getCellAt(i, cell);
      if (cell.property().isEmpty() || cuSz::equalNoCase(cell.property(), kNote)) continue;
      CWsz value;
      product.getPropertyValue(CWsz(), cell.property(), value);
      cell.setText(value);
      setCellAt(i, cell);
    }
    setNote(kNote, L"");
    sortCells();
    setPos(at);
    setDir(dir);
    addRefPoint({0, 0});
    setAllowMasking(false);
    return createPic(model);
  }
};

int drawProduct(const CKdProject& project, const std::string& key, CGmModel& model,
                std::string& what) {
  ProductRef ref;
  if (int status = findProduct(project, key, ref)) return status;
  const CKdProductDef& product = *ref.product;
  // The texts first, so that a line can reach past the widest of them.
  const CKdIntegratedTextArray& texts = product.getIntegratedTexts();
  for (int i = 0; i < texts.length(); ++i) {
    const CKdIntegratedText& text = *texts.objAt(i);
    const CKdDimtextFormat* format = project.dimTextFormats().findFmt(text.formatId());
    if (!format) {
      warn("dimension text format " + std::to_string(text.formatId()) +
           " is missing; its text is not drawn");
      continue;
    }
    const double angle = text.rotation() * std::numbers::pi / 180;
    PlacedText placed;
    if (!placed.draw(model, *format, product, project.textStyleDefs(),
                     {text.xOffset(), text.yOffset()}, {std::cos(angle), std::sin(angle)}))
      warn("format " + std::to_string(format->id()) + " cannot be laid out; its text is not drawn");
  }
  // In the product's colour, or its layer's.
  short colour = product.colorNmb();
  // A catalogue's product goes to the devices' layer.
  const VxKd::layerNumbers layer = ref.set ? ref.set->layer : VxKd::layerDevice;
  if (colour == CKdProductDef::colorByLayer)
    if (const CKdLayerDef* def = project.layerDefs().findLayerDef(layer)) colour = def->colorNmb();
  model.setColor(colour);
  CVxSymbolModel symbol;
  double left = 0;
  if (product.hasSymbol() && project.find2dSymbol(product.symbolId(), symbol)) {
    symbol.addTo(model);
    left = std::min(0.0, model.boundBox().minimum().x);
  } else if (product.hasSymbol()) {
    warn("the dataset has no symbol \"" + std::string(product.symbolId()) +
         "\"; a cross marks the installation point");
    model.addLine({-1, -1}, {1, 1});
    model.addLine({-1, 1}, {1, -1});
  } else {
    // A product without a symbol is drawn as a line: a duct, pipe or cable.
    const CGmBox box = model.boundBox();
    const double reach =
        box.isEmpty() ? 0 : std::max(std::abs(box.minimum().x), std::abs(box.maximum().x));
    const double half = std::max(kMinLineLength, 2 * reach + 10) / 2;
    model.addLine({-half, 0}, {half, 0});
    left = -half;
  }
  model.closeNode();
  model.setColor(kCaptionColor);
  const double below = std::min(0.0, model.boundBox().minimum().y) - 2.5 * kCaptionHeight;
  model.addText(CWsz::fromUtf8((ref.key + "  " + narrow(product.desc())).c_str()), {left, below},
                {1, 0}, kCaptionHeight, CKdDimtext::kDefaultFont);
  model.closeNode();
  what = itemName(ref);
  return exitOk;
}

const PreviewKind kProduct("product", "KEY", "a product with its integrated texts", drawProduct);

}  // namespace
}  // namespace vkd

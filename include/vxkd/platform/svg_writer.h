#pragma once
// CGmSvgWriter: a graphics model as a standalone SVG document, so that a preview can be
// looked at in any browser or turned into a picture.
//
// The drawing's y axis points up, the SVG's down: y is negated. The view box is the model's
// bounding box with a margin; the picture is `pixelSize` pixels along its longer side, and
// lines are drawn `strokePixels` wide at that size whatever the drawing's units. Texts are
// set in the font the metrics measured them in (font-family "Arial, 'Liberation Sans', ...")
// at the size that makes their capitals as high as the model says, anchored as aligned.
// Each closed node is one group. Colour numbers are the host's colour indexes; 7 and the
// colours by layer and by block are drawn black on the white background.

#include <string>

#include "vxkd/platform/export.h"
#include "vxkd/platform/graphics_model.h"

class VXKD_API CGmSvgWriter {
 public:
  // The longer side of the picture, in pixels.
  int pixelSize = 480;
  // The margin around the bounding box, as a part of its longer side; a model that is a
  // single point gets one drawing unit.
  double margin = 0.05;
  // The width of lines in the picture, in pixels.
  double strokePixels = 1.5;

  // The document, UTF-8. An empty model gives an empty picture.
  std::string write(const CGmModel& model) const;

  // The "#rrggbb" colour of a colour number.
  static std::string colorOf(int16_t color);
};

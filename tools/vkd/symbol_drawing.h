#pragma once
// The drawing of a 2D symbol in the JSON form: a list of pieces that a person can write and
// read, each one object whose first member names the kind:
//   {"line": [x1, y1, x2, y2]}
//   {"circle": [cx, cy, r], "filled": true}
//   {"arc": [cx, cy, r, startDegrees, endDegrees]}          counter-clockwise
//   {"polyline": [[x, y], ...], "closed": true, "filled": false}
//   {"polygon": [[x, y], ...]}                                closed and filled
//   {"text": "DB", "at": [x, y], "height": 1.8, "angle": 0, "align": "center"}
//   {"node": [type, flags, v0, v1, v2, v3, v4, v5]}           a node as it is stored
// Coordinates are the symbol's own, y up; "filled", "closed", "angle" and "align" may be
// left out. A drawing read back gives the same nodes, so a symbol's JSON can be edited and
// put back.

#include <string>
#include <vector>

#include "tool.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/symbol.h"

namespace vkd {

// The pieces of the nodes `nodes`.
Json drawingJson(const std::vector<CGmNode>& nodes);
// The nodes of the pieces `drawing` (a JSON array), appended to `nodes`. False, with `why`
// naming the piece ("piece 3: ...") and what is wrong with it, at the first piece that is
// not one of the forms above.
bool drawingFromJson(const Json& drawing, std::vector<CGmNode>& nodes, std::string& why);

// The graphics of a block item (a graphics model) in the same pieces, without "node", each
// with its "colour" where it is not "by layer", a text with its "font" where it is not
// "Arial", and a closed shape filled with the background as "wipeout": true.
Json graphicsJson(const CGmModel& model);
// The model of the pieces `graphics`. False, with `why`, as drawingFromJson.
bool graphicsFromJson(const Json& graphics, CGmModel& model, std::string& why);

}  // namespace vkd

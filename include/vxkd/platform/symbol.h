#pragma once
// 2D symbols: the geometry node, the symbol model, and the symbol library that reads series
// of symbols from the common and the user symbol folder.

#include <cstdint>
#include <vector>

#include "vxkd/platform/arrays.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/graphics_model.h"
#include "vxkd/platform/wsz.h"

// One node of a symbol's drawing: 28 bytes, stored little-endian in this order (int16 type,
// uint16 flags, six float32 values), so that the bytes of a stored drawing are the nodes.
//
// What a node draws, by type. Coordinates are the symbol's own, y up; angles are degrees
// counter-clockwise from the x axis; values not named are 0.
//   1 line            v0-v2 start x, y, z; v3-v5 end x, y, z
//   2 circle          v0-v2 centre; v3 radius; flags: filled
//   3 arc             v0-v2 centre; v3 radius; v4 start angle; v5 end angle, reached
//                     counter-clockwise (equal angles: the whole circle)
//   4 vertex          v0-v2 one vertex of a polyline. Vertices in a row make one polyline;
//                     a vertex flagged new figure begins the next one. The first vertex's
//                     flags tell whether the polyline is closed or filled (filled ones close)
//   5 polygon vertex  as 4, for a polygon that is always closed and filled (an arrow head)
//   6 text            v0-v2 start of the baseline; v3 height of the capitals; v4 direction;
//                     v5 number of characters (0 to 255); flags: 0 left, 1 centred,
//                     2 right aligned on the start. Set in "Arial". The characters follow
//                     in nodes of type 7
//   7 characters      v0-v5 the next six characters of the text before as code point
//                     numbers
// A node of another type is left out of the drawing, as is a node whose values cannot be
// drawn; a reader never fails on one.
struct CGmNode {
  enum nodeType : int16_t {
    typeLine = 1,
    typeCircle = 2,
    typeArc = 3,
    typeVertex = 4,
    typePolygonVertex = 5,
    typeText = 6,
    typeCharacters = 7,
  };
  enum nodeFlag : uint16_t { flagNewFigure = 0x1, flagClosed = 0x2, flagFilled = 0x4 };
  static constexpr int maxTextLength = 255;

  int16_t type = 0;
  uint16_t flags = 0;
  float v[6] = {0, 0, 0, 0, 0, 0};

  bool operator==(const CGmNode& other) const = default;
};
static_assert(sizeof(CGmNode) == 28, "a geometry node is stored as 28 bytes");

// A 2D symbol: the id it has in a project (0 outside one), the symbol id by which product
// definitions name it (narrow, at most 99 characters), a description and its drawing.
class VXKD_API CVxSymbolModel {
 public:
  static constexpr int maxSymbolIdLength = 99;
  static constexpr int nodeSize = static_cast<int>(sizeof(CGmNode));

  CVxSymbolModel() = default;
  CVxSymbolModel(long projectId, const char* symbolId, const wchar_t* desc,
                 std::vector<CGmNode> nodes);

  long projectId() const { return projectId_; }
  void setProjectId(long id) { projectId_ = id; }
  const char* symbolId() const { return symbolId_; }
  // Keeps at most 99 bytes of `id`, never cutting a UTF-8 sequence.
  void setSymbolId(const char* id) { symbolId_.set(id, maxSymbolIdLength); }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* desc) { desc_.set(desc); }

  int nodeCount() const { return static_cast<int>(nodes_.size()); }
  // The node at `index`, or null outside 0..nodeCount()-1.
  const CGmNode* nodeAt(int index) const;
  const std::vector<CGmNode>& nodes() const { return nodes_; }
  void setNodes(std::vector<CGmNode> nodes) { nodes_ = std::move(nodes); }
  void appendNode(const CGmNode& node) { nodes_.push_back(node); }

  // Adds the drawing to `model` under `t`, every item in the model's current colour, and
  // closes no node. Nodes that cannot be drawn (see CGmNode) are left out and the rest is
  // drawn; true when none was left out.
  bool addTo(CGmModel& model, const CGmTransform& t = {}) const;

  // The drawing's stored form: nodeCount() × 28 bytes, little-endian.
  CByteBuffer nodeBytes() const;
  // Replaces the drawing by the whole nodes in `size` bytes of stored form (a partial node at
  // the end is dropped) and returns their count.
  int setNodeBytes(const void* data, int size);

  bool operator==(const CVxSymbolModel& other) const = default;

 private:
  long projectId_ = 0;
  CChBuffer symbolId_;
  CWsz desc_;
  std::vector<CGmNode> nodes_;
};

// The symbol library. A series is a file "<series id>.vxs" in the common or the user symbol
// folder; the file format is described in the library's dictionary (VantVxs.ddq). The user
// folder's file of an id replaces the common folder's. Without any series file the library
// has no series, and its default series are none.
class VXKD_API CVxSymbolDb {
 public:
  // Reads the dictionary, which must name the series format and declare `appCode`, and keeps
  // the language (whose descriptions a series gives where it has them) and the two folders.
  // Does not look at the folders: refreshSeries does. False, and the library closed, when the
  // dictionary cannot be read or does not fit.
  bool open(const wchar_t* dictionaryPath, const char* appCode, long languageId,
            const wchar_t* commonFolder, const wchar_t* userFolder);
  void close();
  bool isOpen() const { return open_; }

  // Lists the series of the two folders again: the common folder's, then the user folder's
  // that are not among them, each folder's in the natural order of their ids. A folder that
  // cannot be read lists none. Returns the count; 0 while closed.
  int refreshSeries();
  int seriesCount() const { return static_cast<int>(series_.size()); }
  // The id of series `index`; empty outside the list.
  CWsz seriesIdAt(int index) const;
  // Index of series `id` (exact), or -1.
  int findSeries(const wchar_t* id) const;
  // The series a user who has chosen none works with: every listed series, in list order.
  void defaultSeries(CWszArray& ids) const;

  // Reads the symbols of series `id` in file order (project id 0). Symbols without any
  // readable node and repeated symbol ids are skipped, as are lines that cannot be read (a
  // symbol line whose id holds a NUL among them, with the lines of that symbol).
  // False, with no symbols, when the series is not listed or its file is not a series file.
  bool readSeries(const wchar_t* id, std::vector<CVxSymbolModel>& symbols) const;

  const char* applicationCode() const { return appCode_; }
  long languageId() const { return languageId_; }
  const CWsz& commonFolder() const { return commonFolder_; }
  const CWsz& userFolder() const { return userFolder_; }

 private:
  struct Series {
    CWsz id;
    CWsz path;
  };

  bool open_ = false;
  CChBuffer appCode_;
  long languageId_ = 0;
  CWsz commonFolder_;
  CWsz userFolder_;
  std::vector<Series> series_;
};

#pragma once
// CKdLayerDef, the layer on which one kind of drawn object goes, and CKdLayerDefArray, the
// project's layers. The set of layers is fixed by the program (the hard default table, keyed
// by layer number); a dataset may give each of them another name, linetype and colour, but
// never adds layers.

#include <cstdint>

#include "vxkd/drawingdefs/linetype_def.h"
#include "vxkd/foundation/obj_array.h"
#include "vxkd/platform/export.h"
#include "vxkd/platform/wsz.h"

class CQbase;

namespace VxKd {

// The layers of the program, by number.
enum layerNumbers {
  layerDuct = 11,
  layerDuctDimline = 12,
  layerDuctDimtext = 13,
  layerPipe = 21,
  layerPipeDimline = 22,
  layerPipeDimtext = 23,
  layerData = 31,
  layerDataDimline = 32,
  layerDataDimtext = 33,
  layerElectric = 41,
  layerElectricDimline = 42,
  layerElectricDimtext = 43,
  layerDevice = 51,
  layerDeviceDetail = 52,
  layerDeviceText = 53,
  layerDeviceDimline = 54,
  layerDeviceDimtext = 55,
  layerDimtextRefline = 91,
  layerDimtextText = 92,
  layerReportLine = 101,
  layerReportText = 102,
  layerFrame = 103,
  layerLabel = 104,
  layerMask = 106,
};

// The description of layer `number` in the active language; empty for a number that is no
// layer.
VXKD_API CWsz getLayerDesc(layerNumbers number);
// Replaces each of the characters < > / \ " : ; ? * | , = ' that a drawing does not allow in
// a layer name by "_". True when it replaced any; false for a null or empty name.
VXKD_API bool fixLayerName(wchar_t* name);

}  // namespace VxKd

class VXKD_API CKdLayerDef {
 public:
  // The lineweight that means "the host's default lineweight".
  static constexpr short kDefaultLineweight = -3;
  // The longest lineweight display text.
  static constexpr int kMaxDisplayNameChars = 100;

  CKdLayerDef() = default;

  // All fields back to their defaults: number 0, no description, name "0", linetype
  // "CONTINUOUS", default lineweight, colour 7.
  void reset() { *this = CKdLayerDef(); }
  // Copies every field of `other`.
  void copyDataFrom(const CKdLayerDef& other) { *this = other; }
  // Resets and takes the row of `layerNumber` from the hard default table; false (left
  // reset) for a number that is no layer.
  bool setDefaultsFor(long layerNumber);

  long layerNumber() const { return layerNumber_; }
  void setLayerNumber(long number) { layerNumber_ = static_cast<int32_t>(number); }
  const CWsz& desc() const { return desc_; }
  void setDesc(const wchar_t* description) { desc_.set(description); }
  const CWsz& name() const { return name_; }
  void setName(const wchar_t* name) { name_.set(name); }
  const CWsz& linetype() const { return linetype_; }
  void setLinetype(const wchar_t* linetype) { linetype_.set(linetype); }
  // Hundredths of a millimetre; kDefaultLineweight for the host's default.
  short lineweight() const { return lineweight_; }
  void setLineweight(short lineweight) { lineweight_ = lineweight; }
  short colorNmb() const { return colorNmb_; }
  void setColorNmb(short color) { colorNmb_ = color; }

  // True for the layers that carry texts (reference texts, device texts, dimension texts,
  // report texts).
  bool isTextLayer() const;

  // The lineweight as the lists show it: "0.25 mm", or "Default" for the host's default;
  // at most kMaxDisplayNameChars characters. Kept in the definition until the next call.
  const wchar_t* lineWeightDisplayName();

  // Resets, then reads the current record "LD": the layer number from the key and the
  // description, name, linetype and colour that the record has. False, leaving the
  // definition reset, when the key is not a number of 1 or more.
  bool readFrom(CQbase& db);
  // Stores the layer as record "LD" keyed by its number: description, name and linetype
  // when not empty, the colour always. The lineweight is not stored.
  bool saveTo(CQbase& db) const;
  // Deletes record "LD" of this number.
  bool deleteFrom(CQbase& db) const;

 private:
  int32_t layerNumber_ = 0;
  CWsz desc_;
  CWsz name_ = L"0";
  CWsz linetype_ = L"CONTINUOUS";
  int16_t lineweight_ = kDefaultLineweight;
  int16_t colorNmb_ = 7;
  CWsz lineweightText_;  // filled by lineWeightDisplayName()
};

// The layers of a project: normally the hard default table, with the dataset's edits. The
// layers name linetypes, so they answer whether a linetype is in use.
class VXKD_API CKdLayerDefArray : public CKdOwningArray<CKdLayerDef>, public iKdLinetypeUser {
 public:
  // The sort keys of the editor list; negative for descending.
  enum sortKey { sortByDescription = 1, sortByName = 2, sortByLinetype = 3, sortByColor = 4 };

  // The layer number.
  long idAt(int index) const override;
  const wchar_t* nameAt(int index) const override;
  const wchar_t* descriptionAt(int index) const override;

  // Replaces the array by the 24 layers of the hard default table, in table order.
  void buildHardDefaultsArray();

  // The layer of that number; null if none.
  CKdLayerDef* findLayerDef(long layerNumber) const { return findId(layerNumber); }
  // The first layer whose lineweight display text equals `text` ignoring case; null if none.
  CKdLayerDef* findLayerDefByLineweightDisplayName(const wchar_t* text) const;

  // Applies the records "LD" to the layers the array holds (normally the hard defaults):
  // a record's number, name, linetype and colour overwrite those of the layer of that
  // number, whose description stays, and whose lineweight becomes the default (it is not
  // stored). Records of numbers the array does not hold are ignored. True.
  bool readFrom(CQbase& db);
  // Saves every layer; one failed record does not stop the others. True when all were saved.
  bool saveTo(CQbase& db) const;

  usageKind linetypeUsageKind() const override { return layerDefinitions; }
  bool usesLinetype(const wchar_t* name) const override;

 protected:
  // Keys: description, name, linetype (each ignoring case), colour number.
  int sortCmp(int sortId, const void* a, const void* b) const override;
};

// The kinds of definition that stand on their own in a project: property definitions, part
// ID formats, layers, symbols, text styles, linetypes, dimension text formats, report
// definitions and the four poly-object sets.

#include "merge/array_kind.h"

namespace VxKd {

namespace {

struct PropertyDefTraits : TraitsBase<PropertyDefTraits> {
  using Item = CKdPropertyDef;
  static constexpr datasetKind kKind = kindPropertyDefs;
  static constexpr long kMaxId = CKdPropertyDefArray::kMaxId;

  static int count(const CKdProject& p) { return p.propertyDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.propertyDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.propertyDefs().objAt(i); }
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            textField<Item, &Item::name, &Item::setName>("name"),
            textField<Item, &Item::desc, &Item::setDesc>("description"),
            valueTypeField<Item>("valueType"),
            unitField<Item>("unit"),
            intField<Item, &Item::decimals, &Item::setDecimals, 0, 255>("decimals")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.name()); }
  static std::string planKey(const Item& o) { return utf8(o.name()); }
  static CWsz displayName(const Item& o) { return o.name(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.propertyDefs().append(&o); }
  // Every product's copy of the definition follows it.
  static void afterOverwrite(CKdProject& p, const Item& o) {
    p.updatePropertyDefModificationToRefs(o);
  }
};

struct PartIdFormatTraits : TraitsBase<PartIdFormatTraits> {
  using Item = CKdPartIdFormat;
  static constexpr datasetKind kKind = kindPartIdFormats;
  static constexpr long kMaxId = CKdPartIdFormatArray::kMaxId;

  static int count(const CKdProject& p) { return p.partIdFormats().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.partIdFormats().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.partIdFormats().objAt(i); }
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            guidField<Item>("guid"), textField<Item, &Item::desc, &Item::setDesc>("description"),
            textField<Item, &Item::format, &Item::setFormat>("format")};
  }
  // By GUID; a format without one by its description.
  static std::wstring matchKey(const Item& o) {
    if (!o.guid().isNull()) return L"g:" + std::wstring(o.guid().toWsz().str());
    return L"d:" + foldedName(o.desc());
  }
  static std::string planKey(const Item& o) {
    return o.guid().isNull() ? utf8(o.desc()) : utf8(o.guid().toWsz());
  }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.partIdFormats().append(&o); }
  // The products that use the format take its new template.
  static void afterOverwrite(CKdProject& p, const Item& o) {
    p.productGroups().updatePartIdFormatToProductDefs(o);
  }
};

struct LayerTraits : TraitsBase<LayerTraits> {
  using Item = CKdLayerDef;
  static constexpr datasetKind kKind = kindLayers;
  static constexpr bool kCanCreate = false;
  static constexpr long kMaxId = 999999;

  static int count(const CKdProject& p) { return p.layerDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.layerDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.layerDefs().objAt(i); }
  // The description comes from the language and the lineweight is not stored: neither is a
  // field of the dataset.
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::layerNumber, &Item::setLayerNumber, 1, kMaxId, true>("number"),
            textField<Item, &Item::name, &Item::setName>("name"),
            nameRefField<Item, &Item::linetype, &Item::setLinetype, kindLinetypes>("linetype"),
            intField<Item, &Item::colorNmb, &Item::setColorNmb, INT16_MIN, INT16_MAX>("color")};
  }
  static std::wstring matchKey(const Item& o) { return std::to_wstring(o.layerNumber()); }
  static std::string planKey(const Item& o) { return std::to_string(o.layerNumber()); }
  static CWsz displayName(const Item& o) {
    return CWsz(o.desc()).cat(L" (").cat(static_cast<int>(o.layerNumber()), 0).cat(L")");
  }
  static long id(const Item& o) { return o.layerNumber(); }
  static void setId(Item& o, long id) { o.setLayerNumber(id); }
  static bool isProgramDefault(const Item& o) {
    Item row;
    return row.setDefaultsFor(o.layerNumber()) && row.name() == o.name() &&
           row.linetype() == o.linetype() && row.colorNmb() == o.colorNmb();
  }
  static bool check(const CKdProject& p, const Item& o, const JsonNode& n, LoadContext& c) {
    if (p.layerDefs().findLayerDef(o.layerNumber())) return true;
    return c.fail(*n.find("number"), "layer " + std::to_string(o.layerNumber()) +
                                         " is not one of the program's layers");
  }
  // The layers are the program's: a stored one only changes name, linetype and colour.
  static void replace(CKdProject& p, int index, const Item& o) {
    Item* layer = at(p, index);
    layer->setName(o.name());
    layer->setLinetype(o.linetype());
    layer->setColorNmb(o.colorNmb());
  }
  static bool append(CKdProject& p, const Item& o) {
    const int index = p.layerDefs().indexOfId(o.layerNumber());
    if (index < 0) return false;
    replace(p, index, o);
    return true;
  }
};

struct SymbolTraits : TraitsBase<SymbolTraits> {
  using Item = CVxSymbolModel;
  static constexpr datasetKind kKind = kindSymbols;
  static constexpr long kMaxId = 99999999;

  static int count(const CKdProject& p) { return p.symbols().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.symbols().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.symbols().objAt(i); }
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::projectId, &Item::setProjectId, 1, kMaxId, true>("id"),
            symbolIdField<Item, &Item::symbolId, &Item::setSymbolId>("symbolId"),
            textField<Item, &Item::desc, &Item::setDesc>("description"), nodesField()};
  }
  static std::wstring matchKey(const Item& o) { return cuSz::fromUtf8(o.symbolId()); }
  static std::string planKey(const Item& o) { return o.symbolId(); }
  static CWsz displayName(const Item& o) { return CWsz(cuSz::fromUtf8(o.symbolId())); }
  static CWsz refName(const Item& o) { return CWsz(cuSz::fromUtf8(o.symbolId())); }
  static long id(const Item& o) { return o.projectId(); }
  static void setId(Item& o, long id) { o.setProjectId(id); }
  static bool check(const CKdProject&, const Item& o, const JsonNode& n, LoadContext& c) {
    if (o.nodeCount() > 0) return true;
    return c.fail(*n.find("nodes"),
                  "symbol \"" + std::string(o.symbolId()) +
                      "\" has no nodes: a dataset keeps no symbol without a drawing");
  }
  static bool append(CKdProject& p, const Item& o) { return p.symbols().append(&o); }
};

struct TextStyleTraits : TraitsBase<TextStyleTraits> {
  using Item = CKdTextStyleDef;
  static constexpr datasetKind kKind = kindTextStyles;
  static constexpr long kMaxId = CKdTextStyleDefArray::kMaxId;

  static int count(const CKdProject& p) { return p.textStyleDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.textStyleDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.textStyleDefs().objAt(i); }
  // The big font file is not stored in a dataset (only STY files carry it).
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            textField<Item, &Item::name, &Item::setName>("name"),
            textField<Item, &Item::typeFace, &Item::setTypeFace>("typeFace"),
            textField<Item, &Item::fontFile, &Item::setFontFile>("fontFile"),
            boolField<Item, &Item::isBold, &Item::setBold>("bold"),
            boolField<Item, &Item::isItalic, &Item::setItalic>("italic"),
            boolField<Item, &Item::hasShapeFile, &Item::setHasShapeFile>("hasShapeFile"),
            boolField<Item, &Item::isVertical, &Item::setVertical>("vertical"),
            intField<Item, &Item::charSet, &Item::setCharSet, INT32_MIN, INT32_MAX>("charSet"),
            intField<Item, &Item::pitch, &Item::setPitch, INT32_MIN, INT32_MAX>("pitch"),
            intField<Item, &Item::family, &Item::setFamily, INT32_MIN, INT32_MAX>("family"),
            intField<Item, &Item::flags, &Item::setFlags, 0, 255>("flags"),
            floatField<Item, &Item::oblAngle, &Item::setOblAngle>("obliqueAngle"),
            floatField<Item, &Item::textSize, &Item::setTextSize>("textSize"),
            floatField<Item, &Item::xScale, &Item::setXScale>("xScale")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.name()); }
  static std::string planKey(const Item& o) { return utf8(o.name()); }
  static CWsz displayName(const Item& o) { return o.name(); }
  static CWsz refName(const Item& o) { return o.name(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool isProgramDefault(const Item& o) {
    CKdProject fresh;
    fresh.buildDefaultTextStyleDefs();
    Item standard = *fresh.textStyleDefs().objAt(0);
    standard.setDbId(o.dbId());
    standard.setBigFontFile(o.bigFontFile());
    return standard == o;
  }
  static bool append(CKdProject& p, const Item& o) { return p.textStyleDefs().append(&o); }
};

struct LinetypeTraits : TraitsBase<LinetypeTraits> {
  using Item = CKdLinetypeDef;
  static constexpr datasetKind kKind = kindLinetypes;
  static constexpr bool kHasIds = false;
  static constexpr long kMaxId = 0;

  // The built-in solid linetype is no definition of the dataset: it is never stored, and
  // every project has it.
  static int count(const CKdProject& p) {
    int n = 0;
    for (int i = 0; i < p.linetypeDefs().length(); ++i)
      if (!CKdLinetypeDefArray::isBuiltInName(p.linetypeDefs().objAt(i)->name())) ++n;
    return n;
  }
  static int arrayIndex(const CKdProject& p, int index) {
    for (int i = 0; i < p.linetypeDefs().length(); ++i)
      if (!CKdLinetypeDefArray::isBuiltInName(p.linetypeDefs().objAt(i)->name()) && index-- == 0)
        return i;
    return -1;
  }
  static const Item* at(const CKdProject& p, int i) {
    return p.linetypeDefs().objAt(arrayIndex(p, i));
  }
  static Item* at(CKdProject& p, int i) { return p.linetypeDefs().objAt(arrayIndex(p, i)); }
  static std::vector<Field<Item>> fields() {
    return {textField<Item, &Item::name, &Item::setName>("name"),
            textField<Item, &Item::desc, &Item::setDesc>("description"),
            textField<Item, &Item::data, &Item::setData>("pattern")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.name()); }
  static std::string planKey(const Item& o) { return utf8(o.name()); }
  static CWsz displayName(const Item& o) { return o.name(); }
  static CWsz refName(const Item& o) { return o.name(); }
  static long id(const Item&) { return 0; }
  static void setId(Item&, long) {}
  static bool check(const CKdProject&, const Item& o, const JsonNode& n, LoadContext& c) {
    if (!CKdLinetypeDefArray::isBuiltInName(o.name())) return true;
    return c.fail(*n.find("name"),
                  "the linetype CONTINUOUS is built in: a dataset does not store it");
  }
  static bool append(CKdProject& p, const Item& o) { return p.linetypeDefs().append(&o); }
};

struct DimtextFormatTraits : TraitsBase<DimtextFormatTraits> {
  using Item = CKdDimtextFormat;
  static constexpr datasetKind kKind = kindDimtextFormats;
  static constexpr long kMinId = 1;
  static constexpr long kMaxId = 999999;

  static short refline(const Item& o) { return o.options().reflineType(); }
  static void setRefline(Item& o, short v) { o.options().setReflineType(v); }
  static short alignment(const Item& o) { return o.options().alignmentFlags(); }
  static void setAlignment(Item& o, short v) { o.options().setAlignmentFlags(v); }
  static short border(const Item& o) { return o.options().borderType(); }
  static void setBorder(Item& o, short v) { o.options().setBorderType(v); }

  static int count(const CKdProject& p) { return p.dimTextFormats().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.dimTextFormats().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.dimTextFormats().objAt(i); }
  static std::vector<Field<Item>> fields() {
    // A stored format may have the id 0 (a record whose key gave none).
    return {
        intField<Item, &Item::id, &Item::setId, 0, kMaxId, true>("id"),
        textField<Item, &Item::desc, &Item::setDesc>("description"),
        textField<Item, &Item::fmt, &Item::setFmt>("format"),
        nameRefField<Item, &Item::styleName, &Item::setStyleName, kindTextStyles>("textStyle"),
        floatField<Item, &Item::textHeight, &Item::setTextHeight>("textHeight"),
        floatField<Item, &Item::fixedBorderDim, &Item::setFixedBorderDim>("fixedBorderSize"),
        floatField<Item, &Item::refItemSize, &Item::setRefItemSize>("refItemSize"),
        intField<Item, &Item::textColor, &Item::setTextColor, INT16_MIN, INT16_MAX>("textColor"),
        intField<Item, &refline, &setRefline, INT16_MIN, INT16_MAX>("reflineType"),
        intField<Item, &alignment, &setAlignment, INT16_MIN, INT16_MAX>("alignment"),
        intField<Item, &border, &setBorder, INT16_MIN, INT16_MAX>("borderType")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.desc()); }
  static std::string planKey(const Item& o) { return utf8(o.desc()); }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item& o) { return o.id(); }
  static void setId(Item& o, long id) { o.setId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.dimTextFormats().append(&o); }
};

// ---- Report definitions ----

// The kinds of object a report lists: a list of small numbers.
Field<CKdReport> entityTypesField() {
  using Item = CKdReport;
  return {"entityTypes",
          false,
          [](const Item& o) -> Json {
            Json list = Json::array();
            for (int16_t type : o.entityTypeIds()) list.push_back(type);
            return list;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            CInt16Array types;
            for (const JsonNode& e : n.elements) {
              if (e.type != JsonNode::typeInteger || e.integer < INT16_MIN || e.integer > INT16_MAX)
                return c.mustBe(e, "a list of whole numbers from -32768 to 32767");
              types.append(static_cast<int16_t>(e.integer));
            }
            if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
            o.entityTypeIds() = types;
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps&) {
            return a.entityTypeIds() == b.entityTypeIds();
          },
          nullptr,
          nullptr};
}

// The GUID of a group as the other dataset reads it ("" when the plan skips a group the
// other dataset lacks).
bool mapGroupGuid(const RefMaps& maps, const CKdGuid& guid, CKdGuid& out) {
  CWsz mapped;
  if (!maps.name(kindProductGroups, guid.toWsz(), mapped)) return false;
  out.fromWsz(mapped);
  return true;
}

// The product groups whose devices a report lists, by GUID.
Field<CKdReport> deviceGroupsField() {
  using Item = CKdReport;
  return {"deviceGroups",
          false,
          [](const Item& o) -> Json {
            Json list = Json::array();
            for (int i = 0; i < o.devGroups().length(); ++i)
              list.push_back(utf8(o.devGroups().objAt(i)->toWsz()));
            return list;
          },
          [](Item& o, const JsonNode& n, LoadContext& c) {
            if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
            CKdGuidArray guids;
            for (const JsonNode& e : n.elements) {
              CKdGuid guid;
              if (e.type != JsonNode::typeString || !guid.fromSz(e.text.c_str()))
                return c.mustBe(e, "a list of GUIDs");
              guids.append(&guid);
            }
            o.devGroups() = guids;
            return true;
          },
          [](const Item& a, const Item& b, const RefMaps& maps) {
            if (a.devGroups().length() != b.devGroups().length()) return false;
            for (int i = 0; i < a.devGroups().length(); ++i) {
              CKdGuid mapped;
              if (!mapGroupGuid(maps, *a.devGroups().objAt(i), mapped) ||
                  !(mapped == *b.devGroups().objAt(i)))
                return false;
            }
            return true;
          },
          [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
            for (int i = 0; i < o.devGroups().length(); ++i) {
              CKdGuid& guid = *o.devGroups().objAt(i);
              CKdGuid mapped;
              if (mapGroupGuid(maps, guid, mapped))
                guid = mapped;
              else
                unresolved.append(datasetKindTitle(kindProductGroups).cat(L": ").cat(guid.toWsz()));
            }
          },
          [](const Item& o, const CKdProject& project) -> Json {
            Json list = Json::array();
            for (int i = 0; i < o.devGroups().length(); ++i) {
              const CKdProductGroup* g = project.productGroups().findGroup(*o.devGroups().objAt(i));
              list.push_back(g ? textJson(project.productGroups().getGroupPath(g->dbId()))
                               : Json(utf8(o.devGroups().objAt(i)->toWsz())));
            }
            return list;
          }};
}

// The columns: [{"property", "length", "header1", "header2", "lineType"}].
Field<CKdReport> columnsField() {
  using Item = CKdReport;
  return {
      "columns",
      false,
      [](const Item& o) -> Json {
        Json list = Json::array();
        for (int i = 0; i < o.columns().length(); ++i) {
          const CSReportColumn& column = *o.columns().at(i);
          Json entry = Json::object();
          entry["property"] = column.propertyId();
          entry["length"] = floatJson(column.length());
          entry["header1"] = std::string(column.header1());
          entry["header2"] = std::string(column.header2());
          entry["lineType"] = column.lineType();
          list.push_back(std::move(entry));
        }
        return list;
      },
      [](Item& o, const JsonNode& n, LoadContext& c) {
        if (n.type != JsonNode::typeArray) return c.mustBe(n, "a list");
        if (n.elements.size() > CKdReportColumnArray::maxColumns)
          return c.fail(n, "a report has at most " +
                               std::to_string(CKdReportColumnArray::maxColumns) + " columns");
        o.columns().reset();
        for (const JsonNode& e : n.elements) {
          if (!checkMembers(e, {"property", "length", "header1", "header2", "lineType"}, c))
            return false;
          long long property = 0, lineType = 0;
          float length = 0;
          if (!intMember(e, "property", INT32_MIN, INT32_MAX, property, c) ||
              !floatMember(e, "length", length, c) ||
              !intMember(e, "lineType", INT16_MIN, INT16_MAX, lineType, c))
            return false;
          CSReportColumn column;
          for (const char* key : {"header1", "header2"}) {
            const JsonNode& h = *e.find(key);
            if (h.type != JsonNode::typeString ||
                h.text.size() >= static_cast<size_t>(CSReportColumn::headerSize) ||
                h.text.find('\0') != std::string::npos)
              return c.fail(h, "\"" + std::string(key) + "\" must be a text of at most " +
                                   std::to_string(CSReportColumn::headerSize - 1) + " bytes");
            if (key[6] == '1')
              column.setHeader1(h.text.c_str());
            else
              column.setHeader2(h.text.c_str());
          }
          column.setPropertyId(static_cast<long>(property));
          column.setLength(length);
          column.setLineType(static_cast<short>(lineType));
          o.columns().append(&column);
        }
        return true;
      },
      [](const Item& a, const Item& b, const RefMaps& maps) {
        if (a.columns().length() != b.columns().length()) return false;
        for (int i = 0; i < a.columns().length(); ++i) {
          CSReportColumn x = *a.columns().at(i);
          x.setPropertyId(maps.id(kindPropertyDefs, x.propertyId(), 0));
          if (!(x == *b.columns().at(i))) return false;
        }
        return true;
      },
      [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
        for (int i = 0; i < o.columns().length(); ++i) {
          CSReportColumn& column = *o.columns().at(i);
          const long id = maps.id(kindPropertyDefs, column.propertyId(), 0);
          if (id == RefMaps::kUnmatched)
            unresolved.append(datasetKindTitle(kindPropertyDefs)
                                  .cat(L": ")
                                  .cat(maps.missingName(kindPropertyDefs, column.propertyId())));
          else
            column.setPropertyId(id);
        }
      },
      nullptr};
}

// The property a report is sorted by; 0 for none.
Field<CKdReport> sortPropertyField() {
  using Item = CKdReport;
  Field<Item> field =
      intField<Item, &Item::sortPropertyId, &Item::setSortPropertyId, INT32_MIN, INT32_MAX>(
          "sortProperty");
  field.same = [](const Item& a, const Item& b, const RefMaps& maps) {
    return maps.id(kindPropertyDefs, a.sortPropertyId(), 0) == b.sortPropertyId();
  };
  field.remap = [](Item& o, const RefMaps& maps, Unresolved& unresolved) {
    const long id = maps.id(kindPropertyDefs, o.sortPropertyId(), 0);
    if (id == RefMaps::kUnmatched)
      unresolved.append(datasetKindTitle(kindPropertyDefs)
                            .cat(L": ")
                            .cat(maps.missingName(kindPropertyDefs, o.sortPropertyId())));
    else
      o.setSortPropertyId(id);
  };
  return field;
}

struct ReportTraits : TraitsBase<ReportTraits> {
  using Item = CKdReport;
  static constexpr datasetKind kKind = kindReports;
  static constexpr long kMaxId = 999999;

  static bool descending(const Item& o) { return o.sortType() == VxKd::sortDescending; }
  static void setDescending(Item& o, bool on) {
    o.setSortType(on ? VxKd::sortDescending : VxKd::sortAscending);
  }
  static short orientation(const Item& o) { return o.orientation(); }
  static void setOrientation(Item& o, short v) {
    o.setOrientation(static_cast<CKdReport::reportOrient>(v));
  }

  static int count(const CKdProject& p) { return p.reportDefs().length(); }
  static const Item* at(const CKdProject& p, int i) { return p.reportDefs().objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.reportDefs().objAt(i); }
  // The version of the record is the writer's; the bits of the flag word but the first are
  // not the report's to set.
  static std::vector<Field<Item>> fields() {
    return {intField<Item, &Item::dbId, &Item::setDbId, 1, kMaxId, true>("id"),
            textField<Item, &Item::desc, &Item::setDesc>("name"),
            entityTypesField(),
            deviceGroupsField(),
            columnsField(),
            sortPropertyField(),
            boolField<Item, &descending, &setDescending>("sortDescending"),
            intField<Item, &orientation, &setOrientation, INT16_MIN, INT16_MAX>("orientation"),
            nameRefField<Item, &Item::fontStyleName, &Item::setFontStyleName, kindTextStyles>(
                "textStyle"),
            floatField<Item, &Item::fontHeight, &Item::setFontHeight>("fontHeight"),
            floatField<Item, &Item::cellHeight, &Item::setCellHeight>("cellHeight"),
            floatField<Item, &Item::cellWidth, &Item::setCellWidth>("cellWidth"),
            floatField<Item, &Item::firstRowHeight, &Item::setFirstRowHeight>("firstRowHeight"),
            floatField<Item, &Item::firstColWidth, &Item::setFirstColWidth>("firstColumnWidth"),
            boolField<Item, &Item::verticalTextsInFirstRow, &Item::setVerticalTextsInFirstRow>(
                "verticalTextsInFirstRow")};
  }
  static std::wstring matchKey(const Item& o) { return foldedName(o.desc()); }
  static std::string planKey(const Item& o) { return utf8(o.desc()); }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.reportDefs().append(&o); }
};

// The definitions of one kind of poly object.
template <VxKd::systemTypeIds Type, datasetKind Kind>
struct PolyDefTraits : TraitsBase<PolyDefTraits<Type, Kind>> {
  using Item = CKdProductDef;
  static constexpr datasetKind kKind = Kind;
  static constexpr long kMaxId = CKdProductDefArray::kMaxId;

  static int count(const CKdProject& p) { return p.polyDefSets(Type)->length(); }
  static const Item* at(const CKdProject& p, int i) { return p.polyDefSets(Type)->objAt(i); }
  static Item* at(CKdProject& p, int i) { return p.polyDefSets(Type)->objAt(i); }
  // The part id and its format's text are worked out when a drawing needs them; the position
  // and the two flags belong to a drawing. None is stored.
  static std::vector<Field<Item>> fields() { return productFields(); }
  // By GUID; a definition without one by its description.
  static std::wstring matchKey(const Item& o) {
    if (!o.guid().isNull()) return L"g:" + std::wstring(o.guid().toWsz().str());
    return L"d:" + foldedName(o.desc());
  }
  static std::string planKey(const Item& o) {
    return o.guid().isNull() ? utf8(o.desc()) : utf8(o.guid().toWsz());
  }
  static CWsz displayName(const Item& o) { return o.desc(); }
  static long id(const Item& o) { return o.dbId(); }
  static void setId(Item& o, long id) { o.setDbId(id); }
  static bool append(CKdProject& p, const Item& o) { return p.polyDefSets(Type)->append(&o); }
  // The copied properties take the target's definitions (adoptDefinitions).
  static void afterCopy(const CKdProject& target, Item& o) {
    adoptDefinitions(o.properties(), target.propertyDefs());
  }
};

const ArrayKind<PropertyDefTraits> kPropertyDefKind;
const ArrayKind<PartIdFormatTraits> kPartIdFormatKind;
const ArrayKind<LayerTraits> kLayerKind;
const ArrayKind<SymbolTraits> kSymbolKind;
const ArrayKind<TextStyleTraits> kTextStyleKind;
const ArrayKind<LinetypeTraits> kLinetypeKind;
const ArrayKind<DimtextFormatTraits> kDimtextFormatKind;
const ArrayKind<ReportTraits> kReportKind;
const ArrayKind<PolyDefTraits<VxKd::systemDuct, kindDuctDefs>> kDuctKind;
const ArrayKind<PolyDefTraits<VxKd::systemPipe, kindPipeDefs>> kPipeKind;
const ArrayKind<PolyDefTraits<VxKd::systemData, kindDataDefs>> kDataKind;
const ArrayKind<PolyDefTraits<VxKd::systemElectric, kindElectricDefs>> kElectricKind;

}  // namespace

const KindAdapter* definitionKind(datasetKind kind) {
  switch (kind) {
    case kindPropertyDefs:
      return &kPropertyDefKind;
    case kindPartIdFormats:
      return &kPartIdFormatKind;
    case kindLayers:
      return &kLayerKind;
    case kindSymbols:
      return &kSymbolKind;
    case kindTextStyles:
      return &kTextStyleKind;
    case kindLinetypes:
      return &kLinetypeKind;
    case kindDimtextFormats:
      return &kDimtextFormatKind;
    case kindReports:
      return &kReportKind;
    case kindDuctDefs:
      return &kDuctKind;
    case kindPipeDefs:
      return &kPipeKind;
    case kindDataDefs:
      return &kDataKind;
    case kindElectricDefs:
      return &kElectricKind;
    default:
      return nullptr;
  }
}

}  // namespace VxKd

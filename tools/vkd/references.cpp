#include "references.h"

#include "vxkd/platform/sz.h"
#include "vxkd/properties/std_property.h"

namespace vkd {

const char* targetName(Target target) {
  switch (target) {
    case Target::propertyDef:
      return "property definition";
    case Target::specialProperty:
      return "special property";
    case Target::dimtextFormat:
      return "dimension text format";
    case Target::partIdFormat:
      return "part ID format";
    case Target::linetype:
      return "linetype";
    case Target::textStyle:
      return "text style";
    case Target::symbol:
      return "symbol";
    case Target::product:
      return "product definition";
    case Target::group:
      return "product group";
  }
  return "definition";
}

namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

}  // namespace

// An id or GUID bare, a name in quotes.
std::string targetText(const Reference& reference) {
  return std::string(targetName(reference.target)) + " " +
         (reference.byId ? reference.key : quoted(reference.key));
}

std::string itemName(const CKdPropertyDef& def) {
  return "property definition " + std::to_string(def.dbId()) + " " + quoted(narrow(def.name()));
}
std::string itemName(const CKdDimtextFormat& format) {
  return "dimension text format " + std::to_string(format.id()) + " " +
         quoted(narrow(format.desc()));
}
std::string itemName(const CKdPartIdFormat& format) {
  return "part ID format " + std::to_string(format.dbId()) + " " + quoted(narrow(format.desc()));
}
std::string itemName(const CKdLayerDef& layer) {
  return "layer " + std::to_string(layer.layerNumber()) + " " + quoted(narrow(layer.name()));
}
std::string itemName(const CKdLinetypeDef& linetype) {
  return "linetype " + quoted(narrow(linetype.name()));
}
std::string itemName(const CKdTextStyleDef& style) {
  return "text style " + std::to_string(style.dbId()) + " " + quoted(narrow(style.name()));
}
std::string itemName(const CVxSymbolModel& symbol) {
  return "symbol " + std::to_string(symbol.projectId()) + " " + quoted(symbol.symbolId());
}
std::string itemName(const CKdReport& report) {
  return "report definition " + std::to_string(report.dbId()) + " " + quoted(narrow(report.desc()));
}
std::string itemName(const CKdProductGroupArray& groups, const CKdProductGroup& group) {
  return "product group " + std::to_string(group.dbId()) + " " +
         quoted(groupPathOf(groups, group.dbId()));
}
std::string itemName(const CKdProductGroupArray& groups, const CKdProductGroup& group,
                     const CKdBlock& block) {
  return "block " + quoted(groupPathOf(groups, group.dbId()) + "/" + narrow(block.desc()));
}

namespace {

// Collects the references of the definitions.
class Collector {
 public:
  Collector(const CKdProject& project, std::vector<Reference>& out)
      : project_(project), out_(out) {}

  void add(const std::string& from, const std::string& detail, Target target,
           const std::string& key, bool exists) {
    out_.push_back({from, detail, target, key, false, exists});
  }
  void addId(const std::string& from, const std::string& detail, Target target,
             const std::string& id, bool exists) {
    out_.push_back({from, detail, target, id, true, exists});
  }

  void propertyId(const std::string& from, const std::string& detail, long id) {
    addId(from, detail, Target::propertyDef, std::to_string(id),
          project_.propertyDefs().findId(id) != nullptr);
  }

  // The braced names of a format string: special properties and property definitions.
  void formatString(const std::string& from, const CWsz& fmt) {
    std::wstring_view rest(fmt.str());
    while (true) {
      const size_t open = rest.find(L'{');
      if (open == std::wstring_view::npos) return;
      const size_t close = rest.find(L'}', open);
      if (close == std::wstring_view::npos) return;  // the checks report the open brace
      CWsz name(rest.substr(open + 1, close - open - 1));
      name.trim();
      rest = rest.substr(close + 1);
      if (name.at(0) == L'*')
        add(from, "its format string", Target::specialProperty, narrow(name),
            VxKd::getSpecialPropertyDbId(name) != 0);
      else
        add(from, "its format string", Target::propertyDef, narrow(name),
            project_.propertyDefs().findName(name) != nullptr);
    }
  }

  void linetype(const std::string& from, const std::string& detail, const CWsz& name) {
    if (name.isEmpty() || VxKd::isCommonLinetypeName(name)) return;
    add(from, detail, Target::linetype, narrow(name),
        project_.linetypeDefs().findLinetypeDef(name) != nullptr);
  }

  void product(const ProductRef& ref) {
    const CKdProductDef& product = *ref.product;
    const std::string from = itemName(ref);
    if (product.partIdFmtId() > 0)
      addId(from, "", Target::partIdFormat, std::to_string(product.partIdFmtId()),
            project_.partIdFormats().findId(product.partIdFmtId()) != nullptr);
    linetype(from, "", product.lineType());
    if (product.hasSymbol())
      add(from, "", Target::symbol, product.symbolId(),
          project_.symbols().find(product.symbolId()) >= 0);
    const CKdPropertyArray& values = product.properties();
    for (int i = 0; i < values.length(); ++i) propertyId(from, "a value", values.objAt(i)->dbId());
    const CKdIntegratedTextArray& texts = product.getIntegratedTexts();
    for (int i = 0; i < texts.length(); ++i) {
      const long id = texts.objAt(i)->formatId();
      if (id == -1) continue;  // an integrated text without a format
      addId(from, "integrated text " + std::to_string(i + 1), Target::dimtextFormat,
            std::to_string(id), project_.dimTextFormats().findFmt(id) != nullptr);
    }
  }

  void group(const CKdProductGroupArray& groups, const CKdProductGroup& group) {
    if (group.isRoot()) return;
    const std::string from = itemName(groups, group);
    addId(from, "its owner", Target::group, std::to_string(group.ownerGroupId()),
          groups.findGroup(group.ownerGroupId()) != nullptr);
    for (int b = 0; b < group.blocks().length(); ++b)
      block(groups, group, *group.blocks().objAt(b));
  }

  void block(const CKdProductGroupArray& groups, const CKdProductGroup& group,
             const CKdBlock& block) {
    const std::string from = itemName(groups, group, block);
    for (int i = 0; i < block.items().length(); ++i) {
      const CKdBlockItem& item = *block.items().objAt(i);
      const std::string detail = "item " + std::to_string(i + 1);
      // An item draws its own graphics, or the product whose GUID it holds.
      if (!item.hasGraphics() && !item.guid().isNull())
        addId(from, detail, Target::product, narrow(item.guid().toWsz()),
              project_.findBlockProduct(item.guid()) != nullptr);
      linetype(from, detail, item.lineType());
      for (int p = 0; p < item.properties().length(); ++p)
        propertyId(from, detail, item.properties().objAt(p)->dbId());
    }
  }

  void report(const CKdReport& report) {
    const std::string from = itemName(report);
    for (int i = 0; i < report.columns().length(); ++i) {
      const long id = report.columns().at(i)->propertyId();
      // A column without a property shows nothing; a special property is one of the program.
      if (id > 0) propertyId(from, "column " + std::to_string(i + 1), id);
    }
    if (report.sortPropertyId() > 0) propertyId(from, "its sort", report.sortPropertyId());
    add(from, "", Target::textStyle, narrow(report.fontStyleName()),
        project_.textStyleDefs().findStyle(report.fontStyleName()) != nullptr);
    if (!report.hasDevices()) return;
    const CKdGuidArray& guids = report.devGroups();
    for (int i = 0; i < guids.length(); ++i)
      addId(from, "its device groups", Target::group, narrow(guids.objAt(i)->toWsz()),
            project_.productGroups().findGroup(*guids.objAt(i)) != nullptr);
  }

 private:
  const CKdProject& project_;
  std::vector<Reference>& out_;
};

}  // namespace

std::vector<Reference> referencesOf(const CKdProject& project) {
  std::vector<Reference> out;
  Collector collect(project, out);
  const CKdDimtextFormatArray& formats = project.dimTextFormats();
  for (int i = 0; i < formats.length(); ++i) {
    const CKdDimtextFormat& format = *formats.objAt(i);
    const std::string from = itemName(format);
    collect.add(from, "", Target::textStyle, narrow(format.styleName()),
                project.textStyleDefs().findStyle(format.styleName()) != nullptr);
    collect.formatString(from, format.fmt());
  }
  const CKdPartIdFormatArray& partIds = project.partIdFormats();
  for (int i = 0; i < partIds.length(); ++i)
    collect.formatString(itemName(*partIds.objAt(i)), partIds.objAt(i)->format());
  const CKdLayerDefArray& layers = project.layerDefs();
  for (int i = 0; i < layers.length(); ++i)
    collect.linetype(itemName(*layers.objAt(i)), "", layers.objAt(i)->linetype());
  const CKdProductGroupArray& groups = project.productGroups();
  for (int i = 0; i < groups.length(); ++i) collect.group(groups, *groups.objAt(i));
  for (const ProductRef& product : allProducts(project)) collect.product(product);
  const CKdObjectArray<CKdReport>& reports = project.reportDefs();
  for (int i = 0; i < reports.length(); ++i) collect.report(*reports.objAt(i));
  return out;
}

namespace {

// The product that the current record "PD" stores, of those that were read.
const CKdProductDef* groupProductOf(CQbase& db, const CKdProject& project, long& productId) {
  long groupId = 0;
  productId = 0;
  if (!CKdProductDef::parseDbId(db, groupId, productId)) {
    // A key without a group part holds a product of the root.
    groupId = CKdProductGroup::rootGroupDefinitions;
    CChBuffer key;
    if (!db.getObjId(key) || !cuSz::scanLong(key, productId)) return nullptr;
  }
  return project.productGroups().findProduct(groupId, productId);
}

}  // namespace

bool storedPropertyReferences(const std::string& path, const CKdProject& project,
                              std::vector<Reference>& out, std::string& why) {
  CQbase db;
  if (!db.openDatabase(CKdProject::dictionaryPath(), CWsz::fromUtf8(path.c_str()),
                       CQbase::openRead)) {
    why = CQbase::reasonText(db.reason());
    return false;
  }
  const std::vector<ProductRef> products = allProducts(project);
  auto nameOf = [&](const CKdProductDef* product, const std::string& code, const char* key) {
    for (const ProductRef& ref : products)
      if (ref.product == product) return itemName(ref);
    // A record that the read left out has no definition to name it by.
    return "product record " + code + " " + quoted(key);
  };
  auto walk = [&](const char* code, const CKdProductDefArray* set) {
    for (bool more = db.fetchFirstMember(code); more; more = db.fetchNextMember()) {
      CChBuffer key;
      db.getObjId(key);
      long id = 0;
      const CKdProductDef* product = nullptr;
      if (set) {
        cuSz::scanLong(key, id);
        product = set->findId(id);
      } else {
        product = groupProductOf(db, project, id);
      }
      CInt32Array ids;
      CKdPropertyArray::readAttributeIdsOf(db, ids);
      const std::string from = nameOf(product, code, key);
      for (int32_t defId : ids)
        out.push_back({from, "a stored value", Target::propertyDef, std::to_string(defId), true,
                       project.propertyDefs().findId(defId) != nullptr});
    }
  };
  walk(CKdProductDefArray::groupClassId, nullptr);
  for (const PolySet& set : kPolySets) walk(set.classId, project.polyDefSets(set.type));
  if (!db.closeDatabase()) {
    why = CQbase::reasonText(db.reason());
    return false;
  }
  return true;
}

}  // namespace vkd

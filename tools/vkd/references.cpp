#include "references.h"

#include "json_form.h"
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
    case Target::linetype:
      return "linetype";
    case Target::textStyle:
      return "text style";
    case Target::symbol:
      return "symbol";
  }
  return "definition";
}

namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

}  // namespace

// An id bare, a name in quotes.
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
std::string itemName(const CKdProductDef& product, const char* setName) {
  return std::string(setName) + " product " + std::to_string(product.dbId()) + " " +
         quoted(narrow(product.desc()));
}

namespace {

// Collects the references of one definition.
class Collector {
 public:
  Collector(const CKdProject& project, std::vector<Reference>& out)
      : project_(project), out_(out) {}

  void add(const std::string& from, const std::string& detail, Target target,
           const std::string& key, bool exists) {
    out_.push_back({from, detail, target, key, false, exists});
  }
  void addId(const std::string& from, const std::string& detail, Target target, long id,
             bool exists) {
    out_.push_back({from, detail, target, std::to_string(id), true, exists});
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

  void linetype(const std::string& from, const CWsz& name) {
    if (name.isEmpty() || VxKd::isCommonLinetypeName(name)) return;
    add(from, "", Target::linetype, narrow(name),
        project_.linetypeDefs().findLinetypeDef(name) != nullptr);
  }

  void product(const CKdProductDef& product, const char* setName) {
    const std::string from = itemName(product, setName);
    linetype(from, product.lineType());
    if (product.hasSymbol())
      add(from, "", Target::symbol, product.symbolId(),
          project_.symbols().find(product.symbolId()) >= 0);
    const CKdPropertyArray& values = product.properties();
    for (int i = 0; i < values.length(); ++i) {
      const long id = values.objAt(i)->dbId();
      addId(from, "a value", Target::propertyDef, id,
            project_.propertyDefs().findId(id) != nullptr);
    }
    const CKdIntegratedTextArray& texts = product.getIntegratedTexts();
    for (int i = 0; i < texts.length(); ++i) {
      const long id = texts.objAt(i)->formatId();
      if (id == -1) continue;  // an integrated text without a format
      addId(from, "integrated text " + std::to_string(i + 1), Target::dimtextFormat, id,
            project_.dimTextFormats().findFmt(id) != nullptr);
    }
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
  const CKdLayerDefArray& layers = project.layerDefs();
  for (int i = 0; i < layers.length(); ++i)
    collect.linetype(itemName(*layers.objAt(i)), layers.objAt(i)->linetype());
  for (const PolySet& set : kPolySets) {
    const CKdProductDefArray& products = *project.polyDefSets(set.type);
    for (int i = 0; i < products.length(); ++i) collect.product(*products.objAt(i), set.name);
  }
  return out;
}

bool storedPropertyReferences(const std::string& path, const CKdProject& project,
                              std::vector<Reference>& out, std::string& why) {
  CQbase db;
  if (!db.openDatabase(CKdProject::dictionaryPath(), CWsz::fromUtf8(path.c_str()),
                       CQbase::openRead)) {
    why = CQbase::reasonText(db.reason());
    return false;
  }
  for (const PolySet& set : kPolySets) {
    const CKdProductDefArray& products = *project.polyDefSets(set.type);
    for (bool more = db.fetchFirstMember(set.classId); more; more = db.fetchNextMember()) {
      CChBuffer key;
      long id = 0;
      db.getObjId(key);
      cuSz::scanLong(key, id);
      CInt32Array ids;
      CKdPropertyArray::readAttributeIdsOf(db, ids);
      const CKdProductDef* product = products.findId(id);
      // A record that the read left out has no definition to name it by.
      const std::string from = product
                                   ? itemName(*product, set.name)
                                   : std::string(set.name) + " product record " + quoted(key.sz());
      for (int32_t defId : ids)
        out.push_back({from, "a stored value", Target::propertyDef, std::to_string(defId), true,
                       project.propertyDefs().findId(defId) != nullptr});
    }
  }
  if (!db.closeDatabase()) {
    why = CQbase::reasonText(db.reason());
    return false;
  }
  return true;
}

}  // namespace vkd

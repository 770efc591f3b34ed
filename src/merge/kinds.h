#pragma once
// Each kind of definition of a dataset seen the same way by the text form, the comparison
// and the merge: how many items a project holds, the key an item is matched by, its fields
// (fields.h), and how a copy of a source item is made in another project.

#include <string>
#include <vector>

#include "merge/fields.h"
#include "vxkd/dataset/project.h"
#include "vxkd/merge/comparison.h"

namespace VxKd {

class KindAdapter {
 public:
  virtual ~KindAdapter() = default;

  virtual datasetKind kind() const = 0;
  virtual int count(const CKdProject& project) const = 0;
  // The key that pairs items of two datasets; items pair only when their keys are equal, and
  // an empty key pairs with nothing. Items left without a partner then pair by their second
  // keys (a group's path), when the kind has them.
  virtual std::wstring matchKey(const CKdProject& project, int index) const = 0;
  virtual std::wstring secondKey(const CKdProject& project, int index) const = 0;
  // The key as a merge plan and a comparison show it (a GUID, a layer number, a name).
  virtual std::string planKey(const CKdProject& project, int index) const = 0;
  virtual CWsz displayName(const CKdProject& project, int index) const = 0;
  // The id by which other definitions refer to the item (0 for a kind without ids), and the
  // name by which they refer to it (empty for a kind referred to by id).
  virtual long idAt(const CKdProject& project, int index) const = 0;
  // True when the item holds what every new dataset holds (a layer of the program's table
  // as it stands, the text style Standard of a new dataset): nobody made it.
  virtual bool isProgramDefault(const CKdProject& project, int index) const = 0;
  virtual CWsz refNameAt(const CKdProject& project, int index) const = 0;

  virtual Json dump(const CKdProject& project, int index) const = 0;
  // Appends the items of the list `items` of a text form to `project`. False, with the line
  // and the reason in `context`, at the first item that cannot be taken as it stands.
  virtual bool load(CKdProject& project, const JsonNode& items, LoadContext& context) const = 0;
  // The fields in which the source's item `s` differs from the current one's item `c`.
  virtual void compare(const CKdProject& source, int s, const CKdProject& current, int c,
                       const RefMaps& maps, std::vector<CKdFieldDifference>& out) const = 0;

  // Whether the merge may add items of this kind (the layers are a fixed set), and the ids a
  // new item may take (none when the kind is referred to by name only).
  virtual bool canCreate() const { return true; }
  virtual bool hasIds() const { return true; }
  virtual long minId() const { return 1; }
  // Ids are unique within a scope: the group of a grouped item (products, blocks), else the
  // whole kind (scope 0). The largest id a scope's keys hold.
  virtual long maxIdIn(long scope) const = 0;
  virtual long scopeAt(const CKdProject& project, int index) const = 0;
  // The scope a copy of the source's item `s` goes to: the target's group that the item's
  // group became (RefMaps::kUnmatched when the plan skips it and the target lacks it).
  virtual long targetScope(const CKdProject& source, int s, const RefMaps& maps) const = 0;
  // Adds a copy of the source's item `s` to `target` under `id`, its references rewritten
  // through `maps`; those that do not resolve are named in `unresolved`.
  virtual void create(CKdProject& target, const CKdProject& source, int s, long id,
                      const RefMaps& maps, Unresolved& unresolved) const = 0;
  // Gives the target's item `t` the fields of the source's item `s` (not its id), its
  // references rewritten through `maps`.
  virtual void overwrite(CKdProject& target, int t, const CKdProject& source, int s,
                         const RefMaps& maps, Unresolved& unresolved) const = 0;
};

// The kind `kind`. REQUIRES 0 <= kind < kindCount.
const KindAdapter& kindAdapter(datasetKind kind);
// The kinds of each file of kinds: definition_kinds.cpp, catalogue_kinds.cpp. Null for a
// kind of the other file.
const KindAdapter* definitionKind(datasetKind kind);
const KindAdapter* catalogueKind(datasetKind kind);

// The products and blocks of a project are found through an index of the groups that hold
// them, kept between calls. Every public operation forgets the indexes when it begins (the
// projects may have changed since), and so does every change that a merge makes.
void invalidateCatalogueIndexes();

// The lists whose elements the text forms write on one line each: a product's properties
// and integrated texts, a symbol's nodes, a report's columns.
const std::vector<std::string_view>& compactJsonKeys();

}  // namespace VxKd

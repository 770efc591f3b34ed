#pragma once
// The kinds of definition that the editor's one generic form adds, changes and deletes
// (layers, linetypes, text styles): per kind a table of its fields, which the page builds
// its form from, and the operations on the project in memory. The caller takes the edit
// lock before and stores the project after (see storeChange in editor_api.cpp).

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "vxkd/dataset/project.h"

namespace vkdedit {

// One field of a form: its key in the JSON of an item, its label, its type, and for a
// choice the kind whose names are offered; numbers between `min` and `max`.
struct FormField {
  enum Type { text, integer, real, flag, choice };
  const char* key;
  const char* label;
  Type type;
  const char* choices = nullptr;  // "linetypes", "textStyles"
  double min = 0;
  double max = 0;
  bool readOnly = false;
};

struct FormKind {
  const char* kind;
  std::vector<FormField> fields;
  bool canAdd;
  bool canDelete;
  // Every item, each with its "id" (layer number, position, record id).
  std::function<nlohmann::json(const CKdProject&)> items;
  // The position of the item `id`; -1 when there is none.
  std::function<int(const CKdProject&, long id)> indexOf;
  // Checks the fields of `body` and stores them in the item at `index`, or in a new item
  // for -1, setting `id` to the stored item's. Changes nothing and returns the reason when
  // they are refused; "" when stored.
  std::function<std::string(CKdProject&, int index, const nlohmann::json& body, long& id)> store;
  // Deletes the item at `index` with the library's in-use check (its message box names the
  // users); "" when deleted. `writes` tells whether it wrote the file itself.
  std::function<std::string(CKdProject&, int index)> remove;
  bool removeWrites = false;
};

const std::vector<FormKind>& formKinds();
// The checks that every form field has (its type, its range, a choice among the names the
// dataset has, one line of text); "" when the fields of `body` are fine.
std::string checkFormFields(const FormKind& kind, const CKdProject& project,
                            const nlohmann::json& body);
// The field tables as the page reads them.
nlohmann::json formsJson();

}  // namespace vkdedit

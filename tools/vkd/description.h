#pragma once
// Dataset descriptions: a JSON file that describes the definitions of a dataset, section by
// section, in the form of data/sample-dataset.json (the sample that `vkd new --sample`
// builds). `vkd new --from FILE.json` builds a dataset of one; docs/guide.md describes the
// sections and their members.
//
// A description is read strictly: an unknown section or member, a value of the wrong kind,
// a name that a section must resolve (the property of a product's value, a unit, a set) or
// an id given twice stops the reading with the place and the reason, so that a typing error
// never gives a dataset that lacks what the administrator wrote. References that a dataset
// stores as they stand (a format's text style, a product's linetype, symbol or text format)
// are checked afterwards by the checks of `vkd check`.

#include <string>

#include "tool.h"

namespace vkd {

// The sample description of the program folder.
std::string sampleDescriptionPath();

// Adds the definitions of the JSON description `text` to `project`, which holds the default
// content of a new dataset: listed linetypes follow the built-in one, listed text styles
// replace the default ones, listed layers change the layers of their numbers. False, with
// `why` saying where and what ("propertyDefinitions[2] (\"Width\"): ..."), when the text is
// not a description; `project` is then partly built and is to be thrown away.
bool buildFromDescription(const std::string& text, CKdProject& project, std::string& why);

// `project` as a description: every definition, in the form that buildFromDescription reads,
// so that building it gives the same dataset.
Json describeDataset(const CKdProject& project);

}  // namespace vkd

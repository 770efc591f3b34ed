#pragma once
// A user of property definitions for the deletion check: one kind, a fixed list of ids.

#include <algorithm>
#include <utility>
#include <vector>

#include "vxkd/properties/property_def.h"

namespace vxkd_test {

class FakePropertyDefUser : public iKdPropertyDefUser {
 public:
  FakePropertyDefUser(usageKind kind, std::vector<long> ids) : kind_(kind), ids_(std::move(ids)) {}
  usageKind propertyDefUsageKind() const override { return kind_; }
  bool usesPropertyDef(long id) const override {
    return std::find(ids_.begin(), ids_.end(), id) != ids_.end();
  }

 private:
  usageKind kind_;
  std::vector<long> ids_;
};

}  // namespace vxkd_test

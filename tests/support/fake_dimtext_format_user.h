#pragma once
// A user of dimension text formats for the deletion check: items with a description and the
// format ids each refers to.

#include <algorithm>
#include <utility>
#include <vector>

#include "vxkd/dimtext/dimtext_format.h"

namespace vxkd_test {

class FakeDimtextFormatUser : public iKdDimtextFormatUser {
 public:
  struct Item {
    const wchar_t* desc;
    std::vector<long> formatIds;
  };

  explicit FakeDimtextFormatUser(std::vector<Item> items) : items_(std::move(items)) {}
  usageKind dimtextFormatUsageKind() const override { return productDefinitions; }
  bool usesDimtextFormat(long id, CWszArray& items) const override {
    bool any = false;
    for (const Item& item : items_) {
      if (std::find(item.formatIds.begin(), item.formatIds.end(), id) == item.formatIds.end())
        continue;
      items.append(item.desc);
      any = true;
    }
    return any;
  }

 private:
  std::vector<Item> items_;
};

}  // namespace vxkd_test

#pragma once
// A host whose drawing has one block, the label block "VANTSYLABEL", with the attribute
// definitions a test gives it. It notes the blocks it is asked for.

#include <string>
#include <utility>
#include <vector>

#include "vxkd/platform/host.h"

namespace vxkd_test {

class FakeHost : public iVxKdInterface {
 public:
  bool getBlockAttributeDefs(const wchar_t* blockName,
                             std::vector<VxKdAttributeDef>& defs) override {
    asked.emplace_back(blockName);
    if (!readable) return false;
    if (asked.back() == L"VANTSYLABEL")
      for (const auto& [tag, prompt] : attributes) defs.push_back({tag, prompt});
    else
      defs.push_back({L"half-written", L"by a careless host"});  // a host that fills anyway
    return asked.back() == L"VANTSYLABEL";
  }

  std::vector<std::pair<std::wstring, std::wstring>> attributes;
  std::vector<std::wstring> asked;
  bool readable = true;  // false: the host cannot read its drawing
};

}  // namespace vxkd_test

#pragma once
// The editor speaks UTF-8 JSON; the library keeps wide texts.

#include <string>

#include "vxkd/platform/wsz.h"

namespace vkdedit {

inline std::string utf8(const CWsz& text) { return text.toUtf8(); }
inline std::string utf8(const wchar_t* text) { return text ? CWsz(text).toUtf8() : std::string(); }
inline CWsz wide(const std::string& text) { return CWsz::fromUtf8(text.c_str()); }

}  // namespace vkdedit

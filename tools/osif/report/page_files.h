// The page's style and script, which stand beside this file and are compiled in.
#pragma once

#include <string_view>

namespace command {

extern const std::string_view kPageStyle;   // page.css
extern const std::string_view kPageScript;  // page.js

}  // namespace command

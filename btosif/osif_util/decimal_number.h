// Numbers in received texts.
#pragma once

#include <string_view>

// The decimal number at the start of a text, leading blanks and a sign allowed; what follows is ignored.
// 0 for a text that is no number and for one that is beyond a double.
double DecimalNumber(std::string_view text);

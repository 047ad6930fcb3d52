// One property of a card as a line of its own, for whoever changes a card line by line.
#pragma once

#include <string>

#include "dialects/card.h"
#include "dialects/report.h"

namespace dialects {

// The property as a version of vCard writes it, folded, with CR LF; without the line of its label. It has to be one that
// the version knows (BringToVersion).
std::string CardLine(const CardProperty& property, CardVersion version, Report& report);

}  // namespace dialects

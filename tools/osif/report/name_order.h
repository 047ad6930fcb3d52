// Names in the order in which people look for them, whatever their writing.
#pragma once

#include <string>
#include <vector>

#include "tools/osif/report/contents.h"

namespace command {

// Sorts contacts by their names, as the common order of Unicode has it: "Ångström" stands among the names with A.
void SortByName(std::vector<ReportedContact>& contacts);

// Under which letter a name is looked for: its first one without its accents, in upper case, where its writing has few
// letters (Latin, Greek, Cyrillic); else "…", and "#" for what begins with no letter.
std::string LetterOf(const std::string& name);

}  // namespace command

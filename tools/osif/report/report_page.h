// A device as one page of HTML, which needs nothing but itself.
#pragma once

#include <string>

#include "tools/osif/report/contents.h"

namespace command {

// The page forbids the browser whatever comes from elsewhere, and all styles and scripts but its own two, by their
// hashes. Without scripts it shows everything.
std::string ReportPage(const Contents& contents);

}  // namespace command

// Looking for a text in everything that the device's stores hold.
#pragma once

#include <string>

#include "tools/osif/reporter.h"
#include "tools/osif/subcommand.h"

namespace command {

// Shows each object that holds the text, with the properties in which it does. The session is opened here.
void FindText(const std::string& text, const Options& options, Reporter& reporter);

}  // namespace command

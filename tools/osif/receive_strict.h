// Receiving what the library reads by itself: nothing is rewritten.
#pragma once

#include "tools/osif/reporter.h"
#include "tools/osif/subcommand.h"

namespace command {

void ReceiveStrictly(const FileArguments& arguments, const Options& options, Reporter& reporter);

}  // namespace command

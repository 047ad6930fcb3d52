// Receiving what the library reads by itself: nothing is rewritten.
#pragma once

#include "tools/osif/reporter.h"
#include "tools/osif/subcommand.h"

namespace command {

// A dry run takes place on a copy of the device, which the caller has made.
void ReceiveStrictly(const FileArguments& arguments, bool is_dry_run, const Options& options,
                     Reporter& reporter);

}  // namespace command

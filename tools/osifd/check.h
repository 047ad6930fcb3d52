// osifd --check: what works on this machine.
#pragma once

#include "tools/osifd/options.h"

namespace daemon_process {

// Prints a line for each thing that a service may need. The exit status: 1 when something that the options ask for does
// not work.
int CheckMachine(const Options& options);

}  // namespace daemon_process

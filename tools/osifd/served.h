// A process that serves one connection, from its start to its end.
#pragma once

#include "tools/osifd/log.h"
#include "tools/osifd/options.h"

namespace daemon_process {

// Serves the descriptor of the options. The exit status of the process.
int ServeConnection(const Options& options, const Log& log);

}  // namespace daemon_process

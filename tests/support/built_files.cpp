#include "tests/support/built_files.h"

#ifndef OSIF_LIBRARY
#define OSIF_LIBRARY ""
#endif
#ifndef OSIF_COMMAND
#define OSIF_COMMAND ""
#endif
#ifndef OSIF_DAEMON
#define OSIF_DAEMON ""
#endif
#ifndef OSIF_ADD_FILE
#define OSIF_ADD_FILE ""
#endif
#ifndef OSIF_BUILD_OBJECTS
#define OSIF_BUILD_OBJECTS ""
#endif
#ifndef OSIF_SOURCES
#define OSIF_SOURCES ""
#endif
#ifndef OSIF_SANITIZED
#define OSIF_SANITIZED false
#endif
#ifndef OSIF_LAUNCHER
#define OSIF_LAUNCHER
#endif

namespace support {

const std::string kLibrary = OSIF_LIBRARY;
const std::string kCommand = OSIF_COMMAND;
const std::string kDaemon = OSIF_DAEMON;
const std::string kAddFile = OSIF_ADD_FILE;
const std::string kBuildObjects = OSIF_BUILD_OBJECTS;
const bool kIsSanitized = OSIF_SANITIZED;
const std::string kSources = OSIF_SOURCES;

std::vector<std::string> Launcher() { return {OSIF_LAUNCHER}; }

}  // namespace support

// Where this build has put what the tests start and look at. The tests are compiled once for several builds;
// what differs is said here, in a file that each build compiles for itself.
#pragma once

#include <string>
#include <vector>

namespace support {

// The paths of the library, the command, the service and the C samples; empty in programs that have no use for them.
extern const std::string kLibrary;
extern const std::string kCommand;
extern const std::string kDaemon;
extern const std::string kAddFile;
extern const std::string kBuildObjects;

// Whether programs are instrumented, so that each step costs several times as much.
extern const bool kIsSanitized;

// The project's own folder; empty in programs that have no use for it.
extern const std::string kSources;

// What a program of ours is started with, such as an emulator and its arguments.
std::vector<std::string> Launcher();

}  // namespace support

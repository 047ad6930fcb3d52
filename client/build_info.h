// What this program is, and what it was built with.
#pragma once

#include <string>

namespace client {

// For --version: the program's name with the version, and in a second line the compiler and the libraries that it was
// built with, each with its version. UTF-8, without a line end after the second line.
std::string VersionText(const std::string& program);

}  // namespace client

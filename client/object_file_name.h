// Which files the command takes as files of objects, to read or to write.
#pragma once

#include <string>

namespace client {

// Why a file may not be read as one of objects: it is a directory, a device, or the handheld's own database or
// change log. Empty when it may, and for a file that does not exist. Pipes may be read.
//
// The device's own files are left alone also when they would only be read: closing the database's file
// would drop the locks that this process holds on it.
std::string WhyNoInputFile(const std::string& file_name);

// The same for writing, where a file has to be a regular one.
std::string WhyNoOutputFile(const std::string& file_name);

// Whether a name means a file that this process has open.
bool IsSameFile(const std::string& file_name, int handle);

}  // namespace client

// Which files the command takes as files of objects, to read or to write.
#pragma once

#include <string>

namespace command {

// Why a file may be neither read nor written as one of objects: it is a directory, no regular file, or the
// device's own database or change log. Empty when it may, and for a file that does not exist: what comes of
// that is the library's to tell.
//
// The device's own files are left alone also when they would only be read: closing the database's file
// would drop the locks that this process holds on it.
std::string WhyNoObjectFile(const std::string& file_name);

}  // namespace command

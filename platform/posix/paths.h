// Wide paths and the paths of the file system.
#pragma once

#include <string>
#include <string_view>

// A wide path as the file system's: UTF-8, "/" for "\". A name longer than the file system takes
// (255 bytes; wide names of up to 260 characters can be) is cut, and a checksum of the whole keeps
// it apart from others that begin alike; its extension stays.
std::string NativePath(std::u16string_view path);

// A path of the file system as a wide one: UTF-16, "\" for "/".
std::u16string WidePath(std::string_view path);

// Object ids as people type them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/osif/reporter.h"

namespace command {

// What is wrong with an id of a store; empty when nothing is. Contacts and the calendar have up to eight
// hexadecimal digits, messages an even number of them, and the id of a note is any text.
std::string WhatIsWrongWithId(int32_t store_id, const std::string& argument);

// Whether all arguments are ids of the store; tells of each that is none, as wrong usage.
bool AreIds(int32_t store_id, const std::vector<std::string>& arguments, Reporter& reporter);

// The id as the library writes it, so that the change log knows the object by one name only.
std::string LibraryId(int32_t store_id, const std::string& argument);

}  // namespace command

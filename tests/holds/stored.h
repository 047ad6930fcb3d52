// What a device holds, read past the library: from the tables and the files themselves.
#pragma once

#include <array>
#include <map>
#include <string>

namespace holds {

// The objects of a store, by their ids.
using Objects = std::map<std::string, std::string>;

struct Stored {
  std::array<Objects, 6> stores;  // by the numbers of the stores
  Objects exceptions;             // of series, by id and day
  Objects registry;

  bool operator==(const Stored&) const = default;
};

// What the device in a folder holds; nothing where there is no database yet.
Stored ReadStored(const std::string& folder);

// What SQLite finds wrong with the device's database; empty for a sound one.
std::string FaultsOf(const std::string& folder);

// The objects of which two devices do not have the same, for a message.
std::string Difference(const Stored& one, const Stored& other);

}  // namespace holds

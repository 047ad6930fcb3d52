// The library reads an id up to the first character that does not suit it: "ALL" would be the object
// 0000000a, and "3.vcf" the object 00000003. So what was typed is looked at here, before the device is.
#include "tools/osif/object_id.h"

#include <algorithm>

#include "btosif/osif_util/ascii.h"
#include "client/store.h"
#include "client/texts.h"
#include "osif.h"

namespace command {
namespace {

constexpr size_t kPimDigits = 8;

bool IsInPim(int32_t store_id) { return store_id == OSIF_STORE_PB || store_id == OSIF_STORE_CAL; }

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

std::string WhatIsWrongWithId(int32_t store_id, const std::string& argument) {
  if (store_id == OSIF_STORE_NOTE) return {};
  if (argument.empty()) return "it is empty";
  if (!std::ranges::all_of(argument, IsHexDigit)) {
    return "it takes hexadecimal digits and nothing else";
  }
  if (IsInPim(store_id)) {
    return argument.size() > kPimDigits ? "it has more than eight hexadecimal digits" : "";
  }
  return argument.size() % 2 != 0 ? "it has an odd number of hexadecimal digits" : "";
}

bool AreIds(int32_t store_id, const std::vector<std::string>& arguments, Reporter& reporter) {
  bool are_ids = true;
  for (const std::string& argument : arguments) {
    const std::string wrong = WhatIsWrongWithId(store_id, argument);
    if (wrong.empty()) continue;
    are_ids = false;
    reporter.WrongUsage("\"" + argument + "\" is no id of " + NameOfStore(store_id) + ": " + wrong);
  }
  return are_ids;
}

std::string LibraryId(int32_t store_id, const std::string& argument) {
  if (store_id == OSIF_STORE_NOTE) return IdFromArgument(argument);
  std::string id = argument;
  if (!IsInPim(store_id)) {
    std::ranges::transform(id, id.begin(), AsciiUpper);
    return id;
  }
  std::ranges::transform(id, id.begin(),
                         [](char c) { return c >= 'A' && c <= 'F' ? c + ('a' - 'A') : c; });
  return std::string(kPimDigits - id.size(), '0') + id;
}

}  // namespace command

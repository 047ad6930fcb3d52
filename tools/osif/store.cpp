#include "tools/osif/store.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "osif.h"

namespace command {
namespace {

struct StoreRow {
  const char* name;
  int32_t id;
};

constexpr std::array<StoreRow, 6> kStores = {{
    {"pb", OSIF_STORE_PB},
    {"cal", OSIF_STORE_CAL},
    {"note", OSIF_STORE_NOTE},
    {"msg-in", OSIF_STORE_MSG_IN},
    {"msg-sent", OSIF_STORE_MSG_SENT},
    {"msg-out", OSIF_STORE_MSG_OUT},
}};

// Turns the name into the number that CLI11 then stores; a text returned is an error message.
std::string NameToNumber(std::string& argument) {
  const auto row = std::find_if(kStores.begin(), kStores.end(),
                                [&](const StoreRow& store) { return argument == store.name; });
  if (row == kStores.end()) {
    return "there is no store \"" + argument +
           "\"; the stores are pb, cal, note, msg-in, msg-sent and msg-out";
  }
  argument = std::to_string(row->id);
  return {};
}

}  // namespace

std::string StoreName(int32_t store_id) {
  const auto row = std::find_if(kStores.begin(), kStores.end(),
                                [&](const StoreRow& store) { return store_id == store.id; });
  return row == kStores.end() ? std::to_string(store_id) : row->name;
}

CLI::Option* AddStoreArgument(CLI::App& subcommand, int32_t& store_id) {
  return subcommand.add_option("STORE", store_id, "pb, cal, note, msg-in, msg-sent or msg-out")
      ->transform(CLI::Validator(NameToNumber, "", "store"))
      ->type_name("")
      ->required();
}

}  // namespace command

#include "tools/osif/store.h"

#include <optional>

#include "btosif/osif_util/stores.h"

namespace command {
namespace {

// Turns the name into the number that CLI11 then stores; a text returned is an error message.
std::string NameToNumber(std::string& argument) {
  const std::optional<int32_t> store_id = StoreOfName(argument);
  if (!store_id) {
    return "there is no store \"" + argument +
           "\"; the stores are pb, cal, note, msg-in, msg-sent and msg-out";
  }
  argument = std::to_string(*store_id);
  return {};
}

}  // namespace

std::string StoreName(int32_t store_id) {
  return IsStore(store_id) ? ::StoreName(store_id) : std::to_string(store_id);
}

CLI::Option* AddStoreArgument(CLI::App& subcommand, int32_t& store_id) {
  return subcommand.add_option("STORE", store_id, "pb, cal, note, msg-in, msg-sent or msg-out")
      ->transform(CLI::Validator(NameToNumber, "", "store"))
      ->type_name("")
      ->required();
}

}  // namespace command

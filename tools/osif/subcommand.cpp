#include "tools/osif/subcommand.h"

#include "tools/osif/store.h"

namespace command {

void DeclareStore(CLI::App& subcommand, StoreArgument& arguments) {
  AddStoreArgument(subcommand, arguments.store_id);
}

void DeclareFiles(CLI::App& subcommand, FileArguments& arguments) {
  subcommand.add_option("FILE", arguments.files, "vCard, vCalendar, vNote or vMessage files")
      ->type_name("")
      ->required();
  subcommand.add_flag("--each", arguments.each,
                      "Read every object by itself, so that a bad one does not cost the rest");
}

}  // namespace command

#include "tools/osif/subcommand.h"

namespace command {

void DeclareStore(Declarations& declarations, StoreArgument& arguments) {
  declarations.AddStore(arguments.store_id);
}

void DeclareFiles(Declarations& declarations, FileArguments& arguments) {
  declarations
      .Add("FILE", arguments.files,
           "vCard, vCalendar, vNote or vMessage files; - for standard input")
      .Required();
  declarations.AddFlag("--each", arguments.each,
                       "Read every object by itself, so that a bad one does not cost the rest");
}

}  // namespace command

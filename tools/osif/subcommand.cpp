#include "tools/osif/subcommand.h"

namespace command {

void DeclareStore(Declarations& declarations, StoreArgument& arguments) {
  declarations.AddStore(arguments.store_id);
}

void DeclareFiles(Declarations& declarations, FileArguments& arguments) {
  declarations
      .Add("FILE", arguments.files,
           "Files of contacts, calendars, notes and messages in any form; - for standard input")
      .Required();
  declarations.AddFlag(
      "--strict", arguments.strict,
      "Hand the bytes to the library as they are: vCard 2.1, vCalendar 1.0, vNote, vMessage");
  declarations.AddFlag(
      "--each", arguments.each,
      "With --strict: read every object by itself, so that a bad one does not cost the rest");
}

}  // namespace command

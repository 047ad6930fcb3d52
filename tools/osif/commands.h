// The subcommands. Each function adds one with its arguments to the command line; when it is chosen, the
// command line's action is what it does.
#pragma once

#include "tools/osif/subcommand.h"

namespace command {

void AddReceive(const CommandLine& line);
void AddSend(const CommandLine& line);
void AddExport(const CommandLine& line);
void AddList(const CommandLine& line);
void AddFind(const CommandLine& line);
void AddCount(const CommandLine& line);
void AddDelete(const CommandLine& line);
void AddParse(const CommandLine& line);
void AddChanges(const CommandLine& line);
void AddAnchor(const CommandLine& line);
void AddDatabaseId(const CommandLine& line);
void AddSettings(const CommandLine& line);
void AddTrace(const CommandLine& line);
void AddConvert(const CommandLine& line);
void AddNotes(const CommandLine& line);
void AddShow(const CommandLine& line);
void AddPush(const CommandLine& line);
void AddSync(const CommandLine& line);
void AddMirror(const CommandLine& line);
void AddSessions(const CommandLine& line);
void AddReport(const CommandLine& line);
void AddBackup(const CommandLine& line);
void AddRestore(const CommandLine& line);
void AddCheck(const CommandLine& line);

}  // namespace command

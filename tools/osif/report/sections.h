// The sections of the page, each a whole one.
#pragma once

#include <string>

#include "tools/osif/report/contents.h"

namespace command {

std::string ContactsSection(const Contents& contents);
std::string CalendarSection(const Contents& contents);
std::string TasksSection(const Contents& contents);
std::string NotesSection(const Contents& contents);
std::string MessagesSection(const Contents& contents);
std::string ChangesSection(const Contents& contents);
std::string SettingsSection(const Contents& contents);

}  // namespace command

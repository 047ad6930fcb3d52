// osif changes, anchor and database-id: what a synchronisation partner asks for.
//
// All three open the store's change log first, which compares the store with its last state: what other
// programs changed meanwhile is in the log before it is asked. Changes are shown while the log is walked. The
// name of a changed object is fetched from the store for each of them, and is missing for one that was
// deleted or that the store does not hand out. A gap in the log is a result, not a failure: the partner
// learns that it has to compare everything, and gets the entries that there are.
#include <algorithm>
#include <functional>
#include <string_view>

#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "platform/api/system_time.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

// ---- The frame ------------------------------------------------------------------------------------

// Opens the library and the store's change log, and does something with it.
void WithChangeLog(int32_t store_id, const Options& options, Reporter& reporter,
                   const std::function<OsifResult()>& work) {
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  OsifResult result = session.OpenChangeLog(store_id);
  if (result == OSIF_OK) result = work();
  if (result != OSIF_OK) reporter.Fail(session.ChangeLogText(store_id), result);
}

// The action of a subcommand that only asks the log of a store.
template <OsifResult (*show)(int32_t store_id, Reporter& reporter)>
void RunOnLog(const StoreArgument& arguments, const Options& options, Reporter& reporter) {
  WithChangeLog(arguments.store_id, options, reporter,
                [&] { return show(arguments.store_id, reporter); });
}

// ---- changes --------------------------------------------------------------------------------------

constexpr uint32_t kDeleted = 'H';
constexpr size_t kLongestTime = sizeof(OsifAnchor::ts) - 1;

struct ChangesArguments {
  int32_t store_id = 0;
  uint32_t counter = 0;
  std::string time;
};

// Whether the digits of "YYYYMMDDThhmmss" are a day and a time that there are; what is missing is zero.
bool IsTime(const std::string& text) {
  const auto number = [&](size_t begin, size_t size) {
    WORD value = 0;
    for (const char digit : text.substr(std::min(begin, text.size()), size)) {
      value = static_cast<WORD>(value * 10 + digit - '0');
    }
    return value;
  };
  SYSTEMTIME parts = {};
  parts.wYear = number(0, 4);
  parts.wMonth = number(4, 2);
  parts.wDay = number(6, 2);
  parts.wHour = number(9, 2);
  parts.wMinute = number(11, 2);
  parts.wSecond = number(13, 2);
  FILETIME time = {};
  return SystemTimeToFileTime(&parts, &time) != FALSE;
}

// A time as the log has it, "20050314T101500Z"; without the "Z" it is local, and a day alone is its midnight.
// The library takes a text that is none for a time before or after all others.
std::string WhatIsWrongWithTime(const std::string& text) {
  constexpr std::string_view kForm = "00000000T000000Z";
  const auto fits = [](char form, char c) {
    return form == '0' ? c >= '0' && c <= '9' : form == c;
  };
  const bool has_form = (text.size() == 8 || text.size() == 15 || text.size() == 16) &&
                        std::ranges::equal(kForm.substr(0, text.size()), text, fits);
  return has_form && IsTime(text) ? "" : "\"" + text + "\" is no time such as 20050314T101500Z";
}

void DeclareChanges(Declarations& declarations, ChangesArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  const Argument counter =
      declarations.Add("--since", arguments.counter, "The change counter seen last; 0 for all")
          .Called("CC")
          .Check(
              [](const std::string& text) { return WhatIsWrongWithNumber(text, 0, UINT32_MAX); });
  declarations
      .Add("--since-time", arguments.time,
           "The time of the change seen last, such as 20050314T101500Z")
      .Called("TS")
      .Excludes(counter)
      .Check(WhatIsWrongWithTime);
}

// The name of a changed object; null for one that is gone or that the store does not show.
Json NameOfChanged(int32_t store_id, const ChangeLogEntry& entry) {
  if (entry.kind == kDeleted) return nullptr;
  FetchedObject fetched(store_id, entry.objectId);
  if (fetched.result() != OSIF_OK) return nullptr;
  return ObjectName(store_id, fetched.object());
}

void ShowChange(int32_t store_id, const ChangeLogEntry& entry, Reporter& reporter) {
  const std::string kind(1, static_cast<char>(entry.kind));
  const Json name = NameOfChanged(store_id, entry);
  std::string text = kind + "  " + std::to_string(entry.changeCounter) + "  " + entry.timestamp +
                     "  " + IdToOutput(entry.objectId);
  if (name.is_string()) text += "  " + name.get<std::string>();
  reporter.Result({{"kind", kind},
                   {"cc", entry.changeCounter},
                   {"ts", entry.timestamp},
                   {"id", IdToOutput(entry.objectId)},
                   {"name", name}},
                  text);
}

OsifResult ShowChanges(int32_t store_id, const OsifAnchor& since, Reporter& reporter) {
  ChangeLogEntry entry{};
  OsifResult result = OSIF_CL_GetFirstEntry(store_id, &since, &entry);
  if (result == OSIF_ERR_CL_GAP) reporter.Result({{"gap", true}}, CodeText(result));
  result = Forgive(result, OSIF_ERR_CL_GAP);
  for (; result == OSIF_OK; result = OSIF_CL_GetNextEntry(store_id, &entry)) {
    ShowChange(store_id, entry, reporter);
  }
  return Forgive(result, OSIF_ERR_EOF);
}

// ---- anchor ---------------------------------------------------------------------------------------

OsifResult ShowAnchor(int32_t store_id, Reporter& reporter) {
  OsifAnchor anchor{};
  const OsifResult result = OSIF_CL_GetCurrentAnchor(store_id, &anchor);
  if (result != OSIF_OK) return result;
  reporter.Result({{"store", NameOfStore(store_id)}, {"cc", anchor.cc}, {"ts", anchor.ts}},
                  std::to_string(anchor.cc) + "  " + anchor.ts);
  return OSIF_OK;
}

// ---- database-id ----------------------------------------------------------------------------------

OsifResult ShowDatabaseId(int32_t store_id, Reporter& reporter) {
  char id[OSIF_DATABASE_ID_SIZE] = {};
  const OsifResult result = OSIF_CL_GetDatabaseId(store_id, id);
  if (result != OSIF_OK) return result;
  reporter.Result({{"store", NameOfStore(store_id)}, {"id", ByteText(id)}}, ByteText(id));
  return OSIF_OK;
}

void ShowChangesOf(const ChangesArguments& arguments, const Options& options, Reporter& reporter) {
  OsifAnchor since{};
  since.cc = arguments.counter;
  arguments.time.copy(since.ts, kLongestTime);
  WithChangeLog(arguments.store_id, options, reporter,
                [&] { return ShowChanges(arguments.store_id, since, reporter); });
}

}  // namespace

void AddChanges(const CommandLine& line) {
  AddSubcommand(line, "changes", "Show what was added, modified (M) or deleted (H) since an anchor",
                DeclareChanges, ShowChangesOf);
}

void AddAnchor(const CommandLine& line) {
  AddSubcommand(line, "anchor", "Show the anchor of a store: counter and time of its newest change",
                DeclareStore, RunOnLog<ShowAnchor>);
}

void AddDatabaseId(const CommandLine& line) {
  AddSubcommand(line, "database-id", "Show the database id of a store", DeclareStore,
                RunOnLog<ShowDatabaseId>);
}

}  // namespace command

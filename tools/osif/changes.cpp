// osif changes, anchor and database-id: what a synchronisation partner asks for.
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>

#include "tools/osif/commands.h"
#include "tools/osif/records.h"
#include "tools/osif/store.h"
#include "tools/osif/texts.h"

namespace command {
namespace {

// Opens the library and the store's change log, and does something with it.
void WithChangeLog(int32_t store_id, const Options& options, Reporter& reporter,
                   const std::function<OsifResult()>& work) {
  Session session(options, reporter);
  if (!session.is_open()) return;
  OsifResult result = session.OpenChangeLog(store_id);
  if (result == OSIF_OK) result = work();
  if (result != OSIF_OK) reporter.Fail("the change log of " + StoreName(store_id), result);
}

// ---- changes --------------------------------------------------------------------------------------

constexpr uint32_t kDeleted = 'H';

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
  reporter.Result({{"store", StoreName(store_id)}, {"cc", anchor.cc}, {"ts", anchor.ts}},
                  std::to_string(anchor.cc) + "  " + anchor.ts);
  return OSIF_OK;
}

// ---- database-id ----------------------------------------------------------------------------------

OsifResult ShowDatabaseId(int32_t store_id, Reporter& reporter) {
  char id[OSIF_DATABASE_ID_SIZE] = {};
  const OsifResult result = OSIF_CL_GetDatabaseId(store_id, id);
  if (result != OSIF_OK) return result;
  reporter.Result({{"store", StoreName(store_id)}, {"id", ByteText(id)}}, ByteText(id));
  return OSIF_OK;
}

void AddLogCommand(CLI::App& app, const char* name, const char* help, const Options& options,
                   Action& action, OsifResult (*show)(int32_t store_id, Reporter& reporter)) {
  const auto store_id = std::make_shared<int32_t>(0);
  CLI::App* subcommand = app.add_subcommand(name, help);
  AddStoreArgument(*subcommand, *store_id);
  subcommand->callback([store_id, &options, &action, show] {
    action = [store_id, &options, show](Reporter& reporter) {
      WithChangeLog(*store_id, options, reporter, [&] { return show(*store_id, reporter); });
    };
  });
}

}  // namespace

void AddChanges(CLI::App& app, const Options& options, Action& action) {
  struct Arguments {
    int32_t store_id = 0;
    OsifAnchor since{};
    std::string since_time;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* subcommand = app.add_subcommand(
      "changes", "Show what was added, modified (M) or deleted (H) since an anchor");
  AddStoreArgument(*subcommand, arguments->store_id);
  CLI::Option* counter =
      subcommand
          ->add_option("--since", arguments->since.cc, "The change counter seen last; 0 for all")
          ->type_name("CC");
  constexpr size_t kLongestTime = sizeof arguments->since.ts - 1;
  subcommand
      ->add_option("--since-time", arguments->since_time,
                   "The time of the change seen last, such as 20050314T101500Z")
      ->type_name("TS")
      ->excludes(counter)
      ->check([](const std::string& text) {
        return text.size() <= kLongestTime ? std::string() : "a time has 19 characters at most";
      });
  subcommand->callback([arguments, &options, &action] {
    arguments->since_time.copy(arguments->since.ts, kLongestTime);
    action = [arguments, &options](Reporter& reporter) {
      WithChangeLog(arguments->store_id, options, reporter,
                    [&] { return ShowChanges(arguments->store_id, arguments->since, reporter); });
    };
  });
}

void AddAnchor(CLI::App& app, const Options& options, Action& action) {
  AddLogCommand(app, "anchor", "Show the anchor of a store: counter and time of its newest change",
                options, action, ShowAnchor);
}

void AddDatabaseId(CLI::App& app, const Options& options, Action& action) {
  AddLogCommand(app, "database-id", "Show the database id of a store", options, action,
                ShowDatabaseId);
}

}  // namespace command

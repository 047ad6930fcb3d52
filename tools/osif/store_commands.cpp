// osif list, count, delete and find: a look at the stores.
//
// A list goes through the ids and fetches each object for its name, while other programs may change the
// store: an object that is gone when it is fetched is a failure of its own and the list goes on. Where the
// answer of the library would hide damage in the database ("not found", a count), the damage is looked for
// before the answer is given, and nothing is deleted any more once it was met. All ids are looked for before the
// first object is deleted.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "btosif/osif_util/value_text.h"
#include "client/damage.h"
#include "client/interrupt.h"
#include "client/object_file.h"
#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "tools/osif/commands.h"
#include "tools/osif/find_text.h"
#include "tools/osif/object_id.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

// ---- list -----------------------------------------------------------------------------------------

Json CalendarKindJson(const OsifObject& object) {
  switch (object.calendarKind) {
    case OSIF_CALENDAR_EVENT:
      return "event";
    case OSIF_CALENDAR_TODO:
      return "todo";
    default:
      return nullptr;
  }
}

// Null for a task without a start.
Json StartJson(OsifObject& object) {
  if (object.calendar.dtStart == nullptr) return nullptr;
  const std::string start = ToOutput(DecodedText(object.calendar.dtStart));
  return start.empty() ? Json() : Json(start);
}

// The text of a JSON value, or another where it has none.
std::string TextOr(const Json& value, const char* other) {
  return value.is_string() ? value.get<std::string>() : other;
}

// The names of the objects of a store that cannot be fetched are not known; the ids are listed all the same.
void ListObject(int32_t store_id, const char* id, Reporter& reporter) {
  FetchedObject fetched(store_id, id);
  const bool is_there = fetched.result() == OSIF_OK;
  if (!is_there && fetched.result() != OSIF_ERR_NOT_IMPLEMENTED) {
    reporter.Fail(IdInStore(store_id, id), fetched.result());
    return;
  }
  const std::string name = is_there ? ObjectName(store_id, fetched.object()) : std::string();
  Json line = {{"store", NameOfStore(store_id)},
               {"id", IdToOutput(id)},
               {"name", is_there ? Json(name) : Json()}};
  std::string text = IdToOutput(id);
  if (store_id == OSIF_STORE_CAL && is_there) {
    line["kind"] = CalendarKindJson(fetched.object());
    line["start"] = StartJson(fetched.object());
    text += "  " + TextOr(line["kind"], "-") + "  " + TextOr(line["start"], "-");
  }
  if (is_there) text += "  " + name;
  reporter.Result(line, text);
}

void List(const StoreArgument& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  uint32_t total = 0;
  OSIF_GetObjectCount(store_id, &total);
  size_t listed = 0;
  const OsifResult result = ForEachId(store_id, [&](const char* id) {
    ListObject(store_id, id, reporter);
    reporter.Progress(NameOfStore(store_id) + ": object", ++listed, total);
  });
  if (result != OSIF_OK) reporter.Fail(NameOfStore(store_id), result);
}

// ---- count ----------------------------------------------------------------------------------------

void Count(const StoreArgument& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  uint32_t count = 0;
  const OsifResult result = OSIF_GetObjectCount(store_id, &count);
  if (result != OSIF_OK) {
    reporter.Fail(NameOfStore(store_id), result);
    return;
  }
  if (TellDamage(reporter)) return;
  reporter.Result({{"store", NameOfStore(store_id)}, {"count", count}}, std::to_string(count));
}

// ---- delete ---------------------------------------------------------------------------------------

struct DeleteArguments {
  int32_t store_id = 0;
  std::vector<std::string> ids;
};

void DeclareDelete(Declarations& declarations, DeleteArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("ID", arguments.ids, "Ids as \"osif list\" shows them").Required();
}

// The ids that are to be deleted, each once.
std::vector<std::string> ChosenIds(const DeleteArguments& arguments) {
  std::vector<std::string> ids;
  for (const std::string& argument : arguments.ids) {
    const std::string id = LibraryId(arguments.store_id, argument);
    if (std::ranges::find(ids, id) == ids.end()) ids.push_back(id);
  }
  return ids;
}

// Tells of each id that the store does not have. A store that does not fetch cannot tell.
bool AreThere(int32_t store_id, const std::vector<std::string>& ids, Reporter& reporter) {
  bool are_there = true;
  for (const std::string& id : ids) {
    const FetchedObject fetched(store_id, id.c_str());
    if (fetched.result() != OSIF_ERR_NOT_FOUND) continue;
    are_there = false;
    reporter.Fail(IdInStore(store_id, id.c_str()), OSIF_ERR_NOT_FOUND);
  }
  return are_there;
}

void DeleteOne(int32_t store_id, const std::string& id, OsifAnchor* anchor, Reporter& reporter) {
  const OsifResult result = OSIF_DeleteObject(store_id, id.c_str(), anchor);
  if (result != OSIF_OK) {
    reporter.Fail(IdInStore(store_id, id.c_str()), result);
    return;
  }
  reporter.Result({{"store", NameOfStore(store_id)},
                   {"action", "deleted"},
                   {"id", IdToOutput(id.c_str())},
                   {"anchor", AnchorJson(anchor)}},
                  "deleted " + IdInStore(store_id, id.c_str()) +
                      (anchor == nullptr ? "" : ", anchor " + AnchorText(store_id, *anchor)));
}

// All or nothing, as far as that can be known beforehand: a wrong id among them may mean that the others are
// wrong as well.
void Delete(const DeleteArguments& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  if (!AreIds(store_id, arguments.ids, reporter)) return;
  // It outlives the session, which closes the change log.
  const InterruptWatch watch;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  const std::vector<std::string> ids = ChosenIds(arguments);
  const bool are_there = AreThere(store_id, ids, reporter);
  if (TellDamage(reporter)) return;
  if (!are_there) {
    reporter.Note("nothing was deleted");
    return;
  }
  for (const std::string& id : ids) {
    if (WasInterrupted()) {
      reporter.Fail("interrupted before " + IdInStore(store_id, id.c_str()), OSIF_OK);
      return;
    }
    OsifAnchor* anchor = session.NewAnchor(store_id);
    if (TellDamage(reporter) || !session.MayChange(store_id)) return;
    DeleteOne(store_id, id, anchor, reporter);
  }
}

// ---- find -----------------------------------------------------------------------------------------

// Looks for records, however they were read.
class Finder : public FileVisitor, public dialects::ObjectVisitor {
 public:
  Finder(const std::string& file_name, Reporter& reporter)
      : file_name_(file_name), reporter_(reporter), refusals_(file_name, true, reporter) {}

  void OnRecord(const FileRecord& record) override {
    Look(record.number, record.line, record.store_id, *record.object);
  }
  void OnObject(const dialects::ReadObject& object) override {
    Look(object.number, object.line, object.store_id, *object.object);
  }
  using FileVisitor::OnRefused;
  void OnRefused(const dialects::RefusedObject& refused) override { refusals_.Tell(refused); }

 private:
  void Look(size_t number, uint64_t line, int32_t store_id, OsifObject& object) {
    const std::string name = ObjectName(store_id, object);
    ObjectId id{};
    const bool is_found = OSIF_FindObject(store_id, &object, id.data()) != 0;
    if (!is_found && TellDamage(reporter_)) {
      reporter_.Fail(
          PlaceOf(file_name_, number, line) + QuotedName(name) + " could not be looked for",
          OSIF_ERR_PIM);
      return;
    }
    reporter_.Result({{"number", number},
                      {"store", NameOfStore(store_id)},
                      {"id", is_found ? Json(IdToOutput(id.data())) : Json()},
                      {"name", name}},
                     std::to_string(number) + "  " +
                         (is_found ? IdInStore(store_id, id.data()) : "not found") + "  " + name);
  }

  const std::string& file_name_;
  Reporter& reporter_;
  Refusals refusals_;
};

struct FindArguments {
  std::string what;
  bool strict = false;
  bool is_text = false;
};

void DeclareFind(Declarations& declarations, FindArguments& arguments) {
  declarations
      .Add("FILE|TEXT", arguments.what,
           "A file of objects, or - for standard input; anything else is a text to look for")
      .Required();
  const Argument strict = declarations.AddFlag("--strict", arguments.strict,
                                               "Hand the bytes to the library as they are");
  declarations.AddFlag("--text", arguments.is_text, "It is a text, also where a file has that name")
      .Excludes(strict);
}

// What may not be read is a file as well, and is told to be none that can be read.
bool IsNameOfFile(const std::string& what) {
  std::error_code error;
  const std::optional<std::string> name = FileName(what);
  return what == "-" || (name && std::filesystem::exists(*name, error));
}

void FindFile(const FindArguments& arguments, const Options& options, Reporter& reporter) {
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  if (arguments.strict) {
    Finder finder(arguments.what, reporter);
    const ObjectFile file(arguments.what);
    ReadObjectFile(file, false, {}, finder, reporter);
  } else {
    const InputFile file(arguments.what);
    Finder finder(file.name(), reporter);
    ReadDialects(file, finder, reporter);
  }
}

void Find(const FindArguments& arguments, const Options& options, Reporter& reporter) {
  const bool is_file = arguments.strict || (!arguments.is_text && IsNameOfFile(arguments.what));
  if (is_file) {
    FindFile(arguments, options, reporter);
  } else {
    FindText(arguments.what, options, reporter);
  }
}

}  // namespace

void AddList(const CommandLine& line) {
  AddSubcommand(line, "list", "Show the ids and names of the objects of a store", DeclareStore,
                List);
}

void AddCount(const CommandLine& line) {
  AddSubcommand(line, "count", "Show how many objects a store holds", DeclareStore, Count);
}

void AddDelete(const CommandLine& line) {
  AddSubcommand(line, "delete", "Delete objects of a store", DeclareDelete, Delete);
}

void AddFind(const CommandLine& line) {
  AddSubcommand(line, "find", "Look for the objects of a file, or for a text, in the stores",
                DeclareFind, Find);
}

}  // namespace command

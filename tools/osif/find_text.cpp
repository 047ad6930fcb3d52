// Contacts and the calendar are fetched object by object, as for a list, and each of their properties is looked at. Notes are
// the documents of the device's folder. Messages cannot be listed; those that the change logs of their stores name are
// looked at, in the form for people.
#include "tools/osif/find_text.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <span>
#include <system_error>
#include <vector>

#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/stores.h"
#include "btosif/osif_util/value_text.h"
#include "client/damage.h"
#include "client/interrupt.h"
#include "client/record_lists.h"
#include "client/records.h"
#include "client/store.h"
#include "client/text_match.h"
#include "client/texts.h"
#include "dialects/content_line.h"
#include "platform/device/device.h"
#include "tools/osif/note_files.h"
#include "tools/osif/object_texts.h"

namespace command {
namespace {

using Properties = std::vector<std::string>;

std::string NamesOf(const Properties& properties) {
  std::string text;
  for (const std::string& one : properties) text += (text.empty() ? "" : ", ") + one;
  return text;
}

// The components of a value with blanks between them, as people read a name or an address.
WideText WholeText(PropertyValue& value) {
  WideText text;
  size_t index = 0;
  for (const OsifText& component : Texts(value.components)) {
    if (component.text != nullptr) text += DecodedText(&value, index) + u' ';
    ++index;
  }
  return text;
}

class TextFinder {
 public:
  TextFinder(const std::string& text, Session& session, Reporter& reporter)
      : match_(text), session_(session), reporter_(reporter) {}

  size_t found() const { return found_; }

  void LookInItems(int32_t store_id) {
    uint32_t total = 0;
    OSIF_GetObjectCount(store_id, &total);
    size_t done = 0;
    const OsifResult result = ForEachId(store_id, [&](const char* id) {
      if (WasInterrupted()) return;
      reporter_.Progress(NameOfStore(store_id) + ": object", ++done, total);
      FetchedObject fetched(store_id, id);
      if (fetched.result() != OSIF_OK) {
        // Another program may have deleted it since it was listed.
        if (fetched.result() != OSIF_ERR_NOT_FOUND || TellDamage(reporter_)) {
          reporter_.Fail(IdInStore(store_id, id), fetched.result());
        }
        return;
      }
      Tell(store_id, id, ObjectName(store_id, fetched.object()),
           PropertiesOf(store_id, fetched.object()));
    });
    if (result != OSIF_OK) reporter_.Fail(NameOfStore(store_id), result);
  }

  void LookInNotes() {
    for (const std::filesystem::path& path : NoteFiles(reporter_)) {
      if (WasInterrupted()) return;
      const std::optional<std::string> text = NoteText(path, reporter_);
      if (!text) continue;
      const std::string name = path.stem().string();
      Properties properties;
      if (match_.IsIn(ToWide(name))) properties.emplace_back("summary");
      if (match_.IsIn(ToWide(*text))) properties.emplace_back("body");
      TellAs(OSIF_STORE_NOTE, name, name, properties);
    }
  }

  void LookInMessages(int32_t store_id) {
    std::error_code error;
    // Without its folder there is no log, and none is made.
    const std::string folder = device::Folder() + "/Sync/" + NameOfStore(store_id);
    if (!std::filesystem::is_directory(folder, error)) return;
    if (const OsifResult opened = session_.OpenChangeLog(store_id); opened != OSIF_OK) {
      return reporter_.Fail(session_.ChangeLogText(store_id), opened);
    }
    ObjectTexts texts(store_id, dialects::Form::kText, session_, reporter_);
    if (!texts.Open()) return;
    for (const std::string& id : LoggedIds(store_id)) {
      if (WasInterrupted()) return;
      LookInMessage(store_id, id, texts);
    }
  }

 private:
  // The objects of which the log tells last that they are there.
  static std::vector<std::string> LoggedIds(int32_t store_id) {
    std::vector<std::string> ids;
    ChangeLogEntry entry{};
    OsifAnchor anchor{};
    OsifResult result = OSIF_CL_GetFirstEntry(store_id, &anchor, &entry);
    for (; result == OSIF_OK || result == OSIF_ERR_CL_GAP;
         result = OSIF_CL_GetNextEntry(store_id, &entry)) {
      if (entry.kind != kChangeDeleted) ids.emplace_back(entry.objectId);
    }
    return ids;
  }

  // A message that another program has deleted is told of by no log.
  void LookInMessage(int32_t store_id, const std::string& id, ObjectTexts& texts) {
    std::string name;
    {
      FetchedObject fetched(store_id, id.c_str());
      if (fetched.result() == OSIF_ERR_NOT_FOUND) return;
      if (fetched.result() == OSIF_OK) name = ObjectName(store_id, fetched.object());
    }
    const std::optional<std::string> text = texts.TextOf(id.c_str());
    if (text) Tell(store_id, id.c_str(), name, PropertiesOfMessage(*text));
  }

  // Lines with a name before the text, then an empty line and the text.
  Properties PropertiesOfMessage(std::string_view text) {
    Properties properties;
    while (!text.empty()) {
      const std::string_view line = dialects::TakePhysicalLine(text);
      const size_t colon = line.find(": ");
      if (line.empty() || colon == std::string_view::npos) break;
      if (!match_.IsIn(ToWide(line.substr(colon + 2)))) continue;
      std::string name(line.substr(0, colon));
      std::ranges::transform(name, name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
      });
      properties.push_back(std::move(name));
    }
    if (match_.IsIn(ToWide(text))) properties.emplace_back("text");
    return properties;
  }

  bool HoldsOneOf(const Values& values) {
    for (PropertyValue& value : values) {
      if (match_.IsIn(WholeText(value))) return true;
    }
    return false;
  }

  template <typename Fields>
  void AddLists(std::span<const ListRow<Fields>> rows, const Fields& fields,
                Properties& properties) {
    for (const ListRow<Fields>& row : rows) {
      if (HoldsOneOf(Values(fields.*row.list))) properties.emplace_back(row.name);
    }
  }

  Properties PropertiesOf(int32_t store_id, OsifObject& object) {
    Properties properties;
    if (store_id == OSIF_STORE_PB) {
      AddLists<OsifContact>(kContactLists, object.contact, properties);
      // A name as people say it: the given name first.
      const bool is_named = !properties.empty() && (properties[0] == "n" || properties[0] == "fn");
      if (!is_named && match_.IsIn(ToWide(ObjectName(store_id, object)))) {
        properties.insert(properties.begin(), "n");
      }
      return properties;
    }
    AddLists<OsifCalendar>(kCalendarLists, object.calendar, properties);
    // The tails share their storage: only the one of the object's kind means anything.
    if (object.calendarKind == OSIF_CALENDAR_EVENT) {
      AddLists<OsifEventTail>(kEventLists, object.calendar.tail.event, properties);
    } else if (object.calendarKind == OSIF_CALENDAR_TODO) {
      AddLists<OsifTodoTail>(kTodoLists, object.calendar.tail.todo, properties);
    }
    return properties;
  }

  void Tell(int32_t store_id, const char* id, const std::string& name,
            const Properties& properties) {
    TellAs(store_id, IdToOutput(id), name, properties);
  }

  void TellAs(int32_t store_id, const std::string& id, const std::string& name,
              const Properties& properties) {
    if (properties.empty()) return;
    ++found_;
    reporter_.Result(
        {{"store", NameOfStore(store_id)}, {"id", id}, {"name", name}, {"found", properties}},
        NameOfStore(store_id) + " " + id + "  " + name + "  (" + NamesOf(properties) + ")");
  }

  TextMatch match_;
  Session& session_;
  Reporter& reporter_;
  size_t found_ = 0;
};

}  // namespace

void FindText(const std::string& text, const Options& options, Reporter& reporter) {
  if (TextMatch(text).is_empty()) return reporter.WrongUsage("the text is empty");
  // It outlives the session, which closes the change logs.
  const InterruptWatch watch;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  TextFinder finder(text, session, reporter);
  for (int32_t store_id = 0; IsStore(store_id); ++store_id) {
    switch (KindOfStore(store_id)) {
      case StoreKind::kContacts:
      case StoreKind::kCalendar:
        finder.LookInItems(store_id);
        break;
      case StoreKind::kNotes:
        finder.LookInNotes();
        break;
      default:
        finder.LookInMessages(store_id);
        break;
    }
  }
  if (WasInterrupted())
    return reporter.Fail("interrupted before everything was looked at", OSIF_OK);
  if (TellDamage(reporter) || finder.found() > 0) return;
  reporter.Note("nothing holds \"" + text + "\"");
}

}  // namespace command

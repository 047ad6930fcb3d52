// The order is that of who may have the database open: the settings and the ids of messages are asked while the library
// is closed, all else while it is open. Objects come as the texts that the library writes, and are read as files of
// anyone are: the texts for people are those of "osif show". Change logs and notes are files, which are read as they lie.
#include "tools/osif/report/contents.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <map>
#include <utility>

#include "client/damage.h"
#include "client/interrupt.h"
#include "client/logged_changes.h"
#include "client/message_ids.h"
#include "client/records.h"
#include "client/session.h"
#include "client/store.h"
#include "client/texts.h"
#include "dialects/card_people.h"
#include "dialects/message.h"
#include "tools/osif/note_files.h"
#include "tools/osif/object_texts.h"
#include "tools/osif/report/name_order.h"

namespace command {
namespace {

using dialects::CalendarLook;
using dialects::CivilTime;

constexpr int kMonthsOfYear = 12;

// The names of objects by store and id, for the change logs.
using Names = std::map<std::pair<int32_t, std::string>, std::string>;

CivilTime Now() { return dialects::CivilAt(dialects::UtcToDevice(std::time(nullptr))); }

// ---- Each kind of object from its text --------------------------------------------------------------------

ReportedContact ContactOf(std::string text, const dialects::TextSettings& settings) {
  dialects::PageItem page = dialects::CardForPeople(
      {.kind = dialects::ObjectKind::kCard, .text = std::move(text)}, settings);
  ReportedContact contact{{}, std::move(page.entries)};
  if (!contact.entries.empty() && contact.entries.front().caption == "Name") {
    contact.name = std::move(contact.entries.front().value);
    contact.entries.erase(contact.entries.begin());
  }
  return contact;
}

// Where a message says no zone its time is the device's.
CivilTime LocalTimeOf(const dialects::MessageTime& time) {
  if (!time.offset) return time;
  const int64_t offset = *time.offset * dialects::kSecondsPerMinute;
  return dialects::CivilAt(dialects::UtcToDevice(dialects::CivilSeconds(time) - offset));
}

ReportedMessage MessageOf(std::string text, const dialects::TextSettings& settings) {
  dialects::Report ignored;
  const dialects::Message message =
      dialects::ReadMessage({.kind = dialects::ObjectKind::kMessage, .text = std::move(text)},
                            settings, dialects::Origin::kLibrary, ignored);
  ReportedMessage reported;
  reported.page = dialects::MessageForPeople(message);
  reported.subject = message.subject;
  reported.from = message.from;
  reported.is_unread = message.status == "UNREAD";
  if (message.date) reported.time = LocalTimeOf(*message.date);
  return reported;
}

// ---- The device -------------------------------------------------------------------------------------------

class Collector {
 public:
  Collector(const Month& month, Reporter& reporter) : reporter_(reporter) {
    contents_.month = month;
    contents_.made = Now();
  }

  // What is asked while the library is closed.
  bool CollectBefore() {
    if (!CheckDevice(reporter_)) return false;
    contents_.settings = AllSettings();
    for (const SettingValue& setting : contents_.settings) {
      if (setting.name == "DeviceName") contents_.name = setting.value.value_or("");
    }
    for (size_t i = 0; i < kMessageFolders.size(); ++i) {
      message_ids_[i] = MessagesOf(kMessageFolders[i].store_id);
      if (message_ids_[i].result == OSIF_OK) continue;
      reporter_.Fail(NameOfStore(kMessageFolders[i].store_id), message_ids_[i].result);
      return false;
    }
    PrepareTexts();
    settings_.input_code_page = InputCodePage();
    return true;
  }

  // What the library is asked.
  bool Collect(Session& session) {
    return CollectContacts(session) && CollectCalendar(session) && CollectMessages(session) &&
           !TellDamage(reporter_) && CollectNotes();
  }

  Contents Finish() {
    CollectChanges();
    SortByName(contents_.contacts);
    std::ranges::stable_sort(contents_.appointments, {}, &CalendarLook::start);
    std::ranges::stable_sort(contents_.tasks, {}, [](const CalendarLook& task) {
      return std::pair(task.is_complete, task.due.value_or(CivilTime{.year = 9999}));
    });
    for (std::vector<ReportedMessage>& messages : contents_.messages) {
      std::ranges::stable_sort(messages, std::ranges::greater(), &ReportedMessage::time);
    }
    return std::move(contents_);
  }

 private:
  using Take = std::function<bool(const char* id, std::string text)>;

  bool IsStopped(int32_t store_id) {
    if (!WasInterrupted()) return false;
    reporter_.Fail("interrupted in " + NameOfStore(store_id) + ", nothing was written", OSIF_OK);
    return true;
  }

  void TakeObject(ObjectTexts& texts, const char* id, const Take& take) {
    std::optional<std::string> text = texts.TextOf(id);
    if (!text || !take(id, std::move(*text))) ++contents_.unread;
  }

  bool WalkStore(int32_t store_id, Session& session, const Take& take) {
    ObjectTexts texts(store_id, std::nullopt, session, reporter_);
    if (!texts.Open()) return false;
    uint32_t total = 0;
    OSIF_GetObjectCount(store_id, &total);
    size_t done = 0;
    const OsifResult result = ForEachId(store_id, [&](const char* id) {
      if (WasInterrupted()) return;
      TakeObject(texts, id, take);
      reporter_.Progress("report: " + NameOfStore(store_id) + ": object", ++done, total);
    });
    if (IsStopped(store_id)) return false;
    // One that was deleted meanwhile is no reason to show nothing of the others.
    if (result == OSIF_ERR_NOT_FOUND) ++contents_.unread;
    if (result != OSIF_OK) reporter_.Fail(NameOfStore(store_id), result);
    return result == OSIF_OK || result == OSIF_ERR_NOT_FOUND;
  }

  bool CollectContacts(Session& session) {
    return WalkStore(OSIF_STORE_PB, session, [&](const char* id, std::string text) {
      contents_.contacts.push_back(ContactOf(std::move(text), settings_));
      names_[{OSIF_STORE_PB, id}] = contents_.contacts.back().name;
      return true;
    });
  }

  bool CollectCalendar(Session& session) {
    const CivilTime begin = FirstDayOf(PlusMonths(contents_.month, -kMonthsAround));
    const CivilTime end = FirstDayOf(PlusMonths(contents_.month, kMonthsAround + 1));
    return WalkStore(OSIF_STORE_CAL, session, [&](const char* id, const std::string& text) {
      std::optional<CalendarLook> look = dialects::LookAtItem(text, settings_, begin, end);
      if (!look) {
        reporter_.Fail(IdInStore(OSIF_STORE_CAL, id), OSIF_PARSE_ERROR);
        return false;
      }
      names_[{OSIF_STORE_CAL, id}] = look->summary;
      (look->is_task ? contents_.tasks : contents_.appointments).push_back(std::move(*look));
      return true;
    });
  }

  bool CollectMessages(Session& session) {
    for (size_t i = 0; i < kMessageFolders.size(); ++i) {
      const int32_t store_id = kMessageFolders[i].store_id;
      ObjectTexts texts(store_id, std::nullopt, session, reporter_);
      if (!texts.Open()) return false;
      size_t done = 0;
      for (const std::string& message_id : message_ids_[i].ids) {
        if (IsStopped(store_id)) return false;
        TakeObject(texts, message_id.c_str(), [&](const char* id, std::string text) {
          contents_.messages[i].push_back(MessageOf(std::move(text), settings_));
          names_[{store_id, id}] = contents_.messages[i].back().subject;
          return true;
        });
        reporter_.Progress("report: " + NameOfStore(store_id) + ": message", ++done,
                           message_ids_[i].ids.size());
      }
    }
    return true;
  }

  bool CollectNotes() {
    for (const std::filesystem::path& file : NoteFiles(reporter_)) {
      if (IsStopped(OSIF_STORE_NOTE)) return false;
      std::optional<std::string> text = NoteText(file, reporter_);
      if (text) {
        contents_.notes.push_back({file.stem().string(), std::move(*text)});
      } else {
        ++contents_.unread;
      }
    }
    return true;
  }

  void CollectChanges() {
    for (int32_t store_id = OSIF_STORE_PB; store_id <= OSIF_STORE_MSG_OUT; ++store_id) {
      for (const ChangeLogEntry& entry : LoggedChanges(store_id)) AddChange(store_id, entry);
    }
    std::ranges::stable_sort(
        contents_.changes, std::ranges::greater(),
        [](const ReportedChange& change) { return std::pair(change.time, change.counter); });
  }

  void AddChange(int32_t store_id, const ChangeLogEntry& entry) {
    ReportedChange change;
    change.store_id = store_id;
    change.is_deleted = entry.kind != 'M';
    change.counter = entry.changeCounter;
    change.id = IdToOutput(entry.objectId);
    if (const auto moment = dialects::ReadMoment(entry.timestamp)) {
      const int64_t utc = dialects::CivilSeconds(moment->time);
      change.time = dialects::CivilAt(dialects::UtcToDevice(utc));
    }
    const auto name = names_.find({store_id, entry.objectId});
    if (name != names_.end()) change.name = name->second;
    contents_.changes.push_back(std::move(change));
  }

  Reporter& reporter_;
  Contents contents_;
  dialects::TextSettings settings_;
  std::array<MessageIds, kMessageFolders.size()> message_ids_;
  Names names_;
};

}  // namespace

Month PlusMonths(const Month& month, int months) {
  const int number = month.year * kMonthsOfYear + month.month - 1 + months;
  return {number / kMonthsOfYear, number % kMonthsOfYear + 1};
}

CivilTime FirstDayOf(const Month& month) { return {.year = month.year, .month = month.month}; }

std::optional<Contents> ContentsOfDevice(const Month& month, bool with_trace, Reporter& reporter) {
  Collector collector(month, reporter);
  if (!collector.CollectBefore()) return std::nullopt;
  {
    Session session(with_trace, reporter);
    if (!session.is_open() || !collector.Collect(session)) return std::nullopt;
  }
  return collector.Finish();
}

}  // namespace command

// The stores as the tests use them: through the exported functions, with objects that come from files.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "osif.h"
#include "tests/support/bytes.h"
#include "tests/support/files.h"
#include "tests/support/temp_device.h"

namespace holds {

// How many times the share of work that a test does by default; from the environment.
inline int Rounds() {
  const char* rounds = std::getenv("OSIF_ROUNDS");
  return rounds == nullptr ? 0 : std::atoi(rounds);
}

constexpr OsifResult kOk = OSIF_OK;

// A store, and the text of an object that it takes. An object of one number in another version has the same
// name but another content.
struct StoreCase {
  const char* name;
  int32_t store;
  bool can_delete;  // and count, and walk
  bool compares;    // its log finds what other programs have changed
  std::string (*text)(int number, int version);
};

// The text in which versions differ.
inline std::string Body(int version) {
  return support::Repeated("v" + std::to_string(version) + " ", 300);
}

inline std::string CardOf(int number, int version) {
  return support::Lines({"BEGIN:VCARD", "VERSION:2.1", "N:Lee;" + std::to_string(number) + ";;;",
                         "TEL;CELL:" + std::to_string(version), "NOTE:" + Body(version),
                         "END:VCARD"});
}

// Every second one is a task.
inline std::string CalendarOf(int number, int version) {
  const std::string summary = "SUMMARY:" + std::to_string(number);
  const std::string text = "DESCRIPTION:" + Body(version);
  if (number % 2 == 1) {
    return support::Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VTODO", summary, text,
                           "PRIORITY:" + std::to_string(version % 3), "DUE:20260301T000000",
                           "END:VTODO", "END:VCALENDAR"});
  }
  return support::Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", summary, text,
                         "DTSTART:20260202T100000", "DTEND:20260202T110000",
                         "LOCATION:Room " + std::to_string(version), "RRULE:D1 #5",
                         "ATTENDEE:Ann <ann@lee.org>", "END:VEVENT", "END:VCALENDAR"});
}

inline std::string NoteOf(int number, int version) {
  return support::Lines({"BEGIN:VNOTE", "VERSION:1.1", "SUMMARY:Note " + std::to_string(number),
                         "BODY:" + Body(version), "END:VNOTE"});
}

inline std::string MessageOf(int number, int version) {
  return support::Lines({"BEGIN:VMSG", "VERSION:1.1", "X-IRMC-STATUS:READ", "X-IRMC-TYPE:MSG",
                         "X-BT-FOLDER:INBOX", "BEGIN:VENV", "BEGIN:VBODY",
                         "Date:20260202T1010" + std::to_string(10 + number), "From:ann@lee.org",
                         "To:bob@lee.org", "Subject:Message " + std::to_string(number), "",
                         Body(version), "END:VBODY", "END:VENV", "END:VMSG"});
}

constexpr StoreCase kStoreCases[] = {
    {"Contacts", OSIF_STORE_PB, true, true, CardOf},
    {"Calendar", OSIF_STORE_CAL, true, true, CalendarOf},
    {"Notes", OSIF_STORE_NOTE, false, false, NoteOf},
    {"Messages", OSIF_STORE_MSG_IN, false, false, MessageOf},
};

constexpr const StoreCase* CaseOf(int32_t store) {
  for (const StoreCase& row : kStoreCases) {
    if (row.store == store) return &row;
  }
  return nullptr;
}

// Reads an object from a file and lends it.
inline void WithObject(const std::string& text, const std::function<void(OsifObject&)>& use) {
  support::TempFile file(text);
  int objects = 0;
  const std::function<void(OsifObject&)> counted = [&](OsifObject& object) {
    ++objects;
    use(object);
  };
  auto lend = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    (*static_cast<const std::function<void(OsifObject&)>*>(context))(*object);
    return 0;
  };
  EXPECT_EQ(OSIF_ReadObjects(file.wide_path().c_str(), lend,
                             const_cast<std::function<void(OsifObject&)>*>(&counted)),
            kOk);
  EXPECT_EQ(objects, 1) << text;
}

struct Added {
  OsifResult result;
  std::string id;
};

inline Added Add(const StoreCase& row, int number, OsifAnchor* anchor) {
  Added added{};
  WithObject(row.text(number, 1), [&](OsifObject& object) {
    char id[OSIF_ID_SIZE] = "";
    added.result = OSIF_AddObject(row.store, &object, id, anchor);
    added.id = id;
  });
  return added;
}

inline OsifResult Modify(const StoreCase& row, const std::string& id, int number, int version,
                         OsifAnchor* anchor) {
  OsifResult result = 0;
  WithObject(row.text(number, version), [&](OsifObject& object) {
    result = OSIF_ModifyObject(row.store, id.c_str(), &object, anchor);
  });
  return result;
}

}  // namespace holds

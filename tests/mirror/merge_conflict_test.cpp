// Both sides have changed since they agreed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mirror/merge_support.h"
#include "tests/support/environment.h"

namespace merge_conflict_test {
namespace {

using merge_support::Edited;
using merge_support::Lines;
using merge_support::Merge;
using merge_support::Sides;
using merge_support::TextEdits;
using mirror::Prefer;
using ::testing::ElementsAre;

const std::string& Card() {
  static const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "N:Lee;Ann;;;", "FN:Ann Lee", "NICKNAME:Annie",
             "TEL;TYPE=HOME:555001", "TEL;TYPE=WORK:555002", "EMAIL;TYPE=home:ann@example.com",
             "TITLE:Cook", "ORG:Example;Sales", "CATEGORIES:a,b", "NOTE:hello", "END:VCARD"});
  return card;
}

const std::string& Event() {
  static const std::string event =
      Lines({"BEGIN:VCALENDAR", "VERSION:2.0", "PRODID:-//Example//EN", "BEGIN:VEVENT", "UID:e",
             "DTSTAMP:20251202T080000Z", "SUMMARY:Lunch", "DTSTART:20260105T120000Z",
             "DTEND:20260105T130000Z", "LOCATION:Room 5", "CATEGORIES:a,b",
             "ATTENDEE;CN=Bob:mailto:bob@example.com", "BEGIN:VALARM", "ACTION:DISPLAY",
             "DESCRIPTION:Lunch", "TRIGGER:-PT15M", "END:VALARM", "END:VEVENT", "END:VCALENDAR"});
  return event;
}

struct Row {
  std::string_view what;
  TextEdits of_store;
  TextEdits of_file;
  std::vector<std::string> conflicts;  // none: all of both is in
  TextEdits merged;                    // of the base, where nobody is preferred or the folder is
  TextEdits of_preferred_store =
      {};  // of the base, where the store is; nothing where that is the same
};

void Expect(int32_t store, const std::string& base, const Row& row) {
  const auto merge = [&](Prefer prefer) {
    return Merge({store, base, row.of_store, row.of_file, prefer});
  };
  for (const Prefer prefer : {Prefer::kNone, Prefer::kFolder}) {
    const mirror::Merged merged = merge(prefer);
    EXPECT_EQ(merged.text, Edited(base, row.merged)) << row.what;
    EXPECT_EQ(merged.conflicts, row.conflicts) << row.what;
  }
  const TextEdits& expected = row.conflicts.empty() ? row.merged : row.of_preferred_store;
  const mirror::Merged merged = merge(Prefer::kStore);
  EXPECT_EQ(merged.text, Edited(base, expected)) << row.what;
  EXPECT_EQ(merged.conflicts, row.conflicts) << row.what;
}

TEST(MergeConflict, OfCardsIsOneOfAPropertyThatBothHaveChangedDifferently) {
  const std::vector<Row> rows = {
      {"different properties",
       {{"555001", "555991"}, {"TITLE:Cook", "TITLE:Chef"}},
       {{"NICKNAME:Annie", "NICKNAME:Nan"}, {"555002", "555992"}},
       {},
       {{"555001", "555991"}, {"Cook", "Chef"}, {"Annie", "Nan"}, {"555002", "555992"}}},
      {"the same change",
       {{"555001", "555991"},
        {"TITLE:Cook\r\n", ""},
        {"END:VCARD", "URL:http://a.example/\r\nEND:VCARD"}},
       {{"555001", "555991"},
        {"TITLE:Cook\r\n", ""},
        {"END:VCARD", "URL:http://a.example/\r\nEND:VCARD"}},
       {},
       {{"555001", "555991"},
        {"TITLE:Cook\r\n", ""},
        {"END:VCARD", "URL:http://a.example/\r\nEND:VCARD"}}},
      {"the same change, written otherwise",
       {{"555001", "555991"}},
       {{"TEL;TYPE=HOME:555001", "TEL;TYPE=HOME,VOICE:555-991"}},
       {},
       {{"TEL;TYPE=HOME:555001", "TEL;TYPE=HOME,VOICE:555-991"}}},
      {"two numbers",
       {{"555001", "555991"}, {"TITLE:Cook", "TITLE:Chef"}},
       {{"555001", "555881"}},
       {"TEL"},
       {{"555001", "555881"}, {"Cook", "Chef"}},
       {{"555001", "555991"}, {"Cook", "Chef"}}},
      {"two numbers twice are one name",
       {{"555001", "555991"}, {"555002", "555992"}},
       {{"555001", "555881"}, {"555002", "555882"}},
       {"TEL"},
       {{"555001", "555881"}, {"555002", "555882"}},
       {{"555001", "555991"}, {"555002", "555992"}}},
      {"two titles",
       {{"Cook", "Chef"}},
       {{"Cook", "Boss"}},
       {"TITLE"},
       {{"Cook", "Boss"}},
       {{"Cook", "Chef"}}},
      {"the folder removed what the store changed",
       {{"Cook", "Chef"}},
       {{"TITLE:Cook\r\n", ""}},
       {"TITLE"},
       {{"TITLE:Cook\r\n", ""}},
       {{"TITLE:Cook\r\n", ""}, {"END:VCARD", "TITLE:Chef\r\nEND:VCARD"}}},
      {"the store removed what the folder changed",
       {{"TITLE:Cook\r\n", ""}},
       {{"Cook", "Boss"}},
       {"TITLE"},
       {{"Cook", "Boss"}},
       {{"TITLE:Cook\r\n", ""}}},
      {"both removed it",
       {{"TITLE:Cook\r\n", ""}},
       {{"TITLE:Cook\r\n", ""}},
       {},
       {{"TITLE:Cook\r\n", ""}}},
      {"two numbers were added",
       {{"END:VCARD", "TEL;TYPE=cell:555997\r\nEND:VCARD"}},
       {{"END:VCARD", "TEL;TYPE=cell:555887\r\nEND:VCARD"}},
       {},
       {{"END:VCARD", "TEL;TYPE=cell:555887\r\nTEL;TYPE=cell:555997\r\nEND:VCARD"}}},
      {"one added the number of the other, of another kind",
       {{"END:VCARD", "TEL;TYPE=car:555997\r\nEND:VCARD"}},
       {{"END:VCARD", "TEL;TYPE=cell:555997\r\nEND:VCARD"}},
       {},
       {{"END:VCARD", "TEL;TYPE=cell:555997\r\nEND:VCARD"}}},
      {"two birthdays were added",
       {{"END:VCARD", "BDAY:1980-01-02\r\nEND:VCARD"}},
       {{"END:VCARD", "BDAY:1981-02-03\r\nEND:VCARD"}},
       {"BDAY"},
       {{"END:VCARD", "BDAY:1981-02-03\r\nEND:VCARD"}},
       {{"END:VCARD", "BDAY:1980-01-02\r\nEND:VCARD"}}},
      {"a birthday was added twice",
       {{"END:VCARD", "BDAY:1980-01-02\r\nEND:VCARD"}},
       {{"END:VCARD", "BDAY:19800102\r\nEND:VCARD"}},
       {},
       {{"END:VCARD", "BDAY:19800102\r\nEND:VCARD"}}},
      {"entries of one list",
       {{"CATEGORIES:a,b", "CATEGORIES:b,c"}},
       {{"CATEGORIES:a,b", "CATEGORIES:a,b,d"}},
       {},
       {{"CATEGORIES:a,b", "CATEGORIES:b,d,c"}}},
      {"the name, and what is made of it",
       {{"N:Lee;", "N:Poe;"}, {"FN:Ann Lee", "FN:Ann Poe"}},
       {{"N:Lee;", "N:Ray;"}, {"FN:Ann Lee", "FN:Ann Ray"}},
       {"N", "FN"},
       {{"N:Lee;", "N:Ray;"}, {"FN:Ann Lee", "FN:Ann Ray"}},
       {{"N:Lee;", "N:Poe;"}, {"FN:Ann Lee", "FN:Ann Poe"}}},
      {"a kind and a kind",
       {{"TYPE=home,voice:555001", "TYPE=car:555001"}},
       {{"TYPE=HOME:555001", "TYPE=PAGER:555001"}},
       {"TEL"},
       {{"TYPE=HOME:555001", "TYPE=PAGER:555001"}},
       {{"TYPE=HOME:555001", "TYPE=car:555001"}}},
      {"notes",
       {{"hello", "bye"}},
       {{"hello", "hi"}},
       {"NOTE"},
       {{"hello", "hi"}},
       {{"hello", "bye"}}},
  };
  for (const Row& row : rows) Expect(OSIF_STORE_PB, Card(), row);
}

TEST(MergeConflict, OfCalendarsIsOneOfAPropertyThatBothHaveChangedDifferently) {
  const support::TimeZone zone("Europe/Berlin");
  const std::vector<Row> rows = {
      {"different properties",
       {{"SUMMARY:Lunch", "SUMMARY:Tea"}},
       {{"Room 5", "Room 6"}},
       {},
       {{"SUMMARY:Lunch", "SUMMARY:Tea"}, {"Room 5", "Room 6"}}},
      {"two texts",
       {{"SUMMARY:Lunch", "SUMMARY:Tea"}},
       {{"SUMMARY:Lunch", "SUMMARY:Supper"}},
       {"SUMMARY"},
       {{"SUMMARY:Lunch", "SUMMARY:Supper"}},
       {{"SUMMARY:Lunch", "SUMMARY:Tea"}}},
      {"the same time of another zone",
       {{"DTSTART:20260105T120000Z", "DTSTART:20260105T110000Z"}},
       {{"DTSTART:20260105T120000Z", "DTSTART;TZID=Europe/Berlin:20260105T120000"}},
       {},
       {{"DTSTART:20260105T120000Z", "DTSTART;TZID=Europe/Berlin:20260105T120000"}}},
      {"two starts",
       {{"DTSTART:20260105T120000Z", "DTSTART:20260105T110000Z"}},
       {{"DTSTART:20260105T120000Z", "DTSTART:20260105T100000Z"}},
       {"DTSTART"},
       {{"DTSTART:20260105T120000Z", "DTSTART:20260105T100000Z"}},
       {{"DTSTART:20260105T120000Z", "DTSTART:20260105T110000Z"}}},
      {"the folder removed what the store changed",
       {{"Room 5", "Room 7"}},
       {{"LOCATION:Room 5\r\n", ""}},
       {"LOCATION"},
       {{"LOCATION:Room 5\r\n", ""}},
       {{"LOCATION:Room 5\r\n", ""}, {"BEGIN:VALARM", "LOCATION:Room 7\r\nBEGIN:VALARM"}}},
      {"entries and people",
       {{"CATEGORIES:a,b", "CATEGORIES:b,c"},
        {"BEGIN:VALARM", "ATTENDEE:mailto:cid@example.com\r\nBEGIN:VALARM"}},
       {{"CATEGORIES:a,b", "CATEGORIES:a,b,d"}, {"ATTENDEE;CN=Bob:mailto:bob@example.com\r\n", ""}},
       {},
       {{"CATEGORIES:a,b", "CATEGORIES:b,d,c"},
        {"ATTENDEE;CN=Bob:mailto:bob@example.com\r\n", "ATTENDEE:mailto:cid@example.com\r\n"}}},
      {"two alarms",
       {{"TRIGGER:-PT15M", "TRIGGER:-PT30M"}},
       {{"TRIGGER:-PT15M", "TRIGGER:-PT5M"}},
       {"VALARM"},
       {{"TRIGGER:-PT15M", "TRIGGER:-PT5M"}},
       {{"TRIGGER:-PT15M", "TRIGGER:-PT30M"}}},
  };
  for (const Row& row : rows) Expect(OSIF_STORE_CAL, Event(), row);
}

}  // namespace
}  // namespace merge_conflict_test

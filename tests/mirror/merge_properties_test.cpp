// What holds of every merge, whatever a file says, and whatever the store has changed of it.
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/mirror/merge_support.h"
#include "tests/support/environment.h"

namespace merge_properties_test {
namespace {

using merge_support::StoreView;
using mirror::ContentKey;
using mirror::MergeStoreChange;

// ---- Cards --------------------------------------------------------------------------------------------------

// A property that a card may have, as heads of two programs and as values of two states.
struct Row {
  std::string_view head_30;
  std::string_view head_40;
  std::string_view head_21;
  std::vector<std::string_view> values;
};

const std::vector<Row>& CardRows() {
  static const std::vector<Row> rows = {
      {"TEL;TYPE=HOME", "TEL;TYPE=home;PREF=2", "TEL;HOME", {"555001", "+1 555 0011", "555 (002)"}},
      {"item1.TEL;type=CELL;type=VOICE;type=pref",
       "TEL;TYPE=\"cell,voice\"",
       "TEL;CELL",
       {"555003", "555004"}},
      {"TEL;TYPE=WORK;X-A=b", "TEL;TYPE=work", "TEL;WORK;VOICE", {"555005", "555006"}},
      {"TEL;TYPE=FAX,WORK", "TEL;TYPE=\"fax,work\"", "TEL;WORK;FAX", {"555007", "555008"}},
      {"EMAIL;TYPE=INTERNET;TYPE=HOME",
       "EMAIL;TYPE=home",
       "EMAIL;INTERNET",
       {"ann@example.com", "lee@example.org"}},
      {"item2.EMAIL", "EMAIL;PREF=1", "EMAIL", {"a@example.net", "b@example.net"}},
      {"ADR;TYPE=HOME",
       "ADR;TYPE=home",
       "ADR;HOME",
       {";;1 Main St;Town;;12345;", ";;2 High St;;;;"}},
      {"ADR;TYPE=WORK",
       "ADR;TYPE=work",
       "ADR;WORK;PARCEL",
       {";R 5;3 Elm St;Town;;;X", ";;4 Elm St;Town"}},
      {"ORG", "ORG", "ORG", {"Example;Sales", "Example", "Other;Sales"}},
      {"TITLE;LANGUAGE=en", "TITLE", "TITLE", {"Cook", "Head of Sales"}},
      {"BDAY;VALUE=date", "BDAY", "BDAY", {"1980-01-02", "1981-03-04"}},
      {"URL", "URL;VALUE=uri", "URL", {"http://a.example/", "http://b.example/?q=1"}},
      {"X-SPOUSE", "RELATED;TYPE=spouse;VALUE=text", "X-SPOUSE", {"Bob", "Rob Ray"}},
      {"X-ANNIVERSARY", "ANNIVERSARY", "X-ANNIVERSARY", {"2005-06-07", "2006-07-08"}},
      {"CATEGORIES", "CATEGORIES", "CATEGORIES", {"a", "a,b", "b,c,d"}},
      {"X-CHILDREN", "X-CHILDREN", "X-CHILDREN", {"Cid", "Cid,Dan"}},
      {"NOTE",
       "NOTE;LANGUAGE=en",
       "NOTE",
       {"hello", "one two",
        "a note of many words that is folded "
        "where it is written because it is longer than any line may be"}},
  };
  return rows;
}

constexpr std::string_view kFamilies[] = {"Lee", "Poe", "von Ray"};

// Lines that mean nothing to a store, each of one physical line or folded.
const std::vector<std::string>& Strangers() {
  static const std::vector<std::string> lines = {
      "NICKNAME:Annie\r\n",
      "X-SOCIALPROFILE;type=x:http://social.example/ann\r\n",
      "item9.X-THING:a\\;b\r\nitem9.X-ABLabel:_$!<Thing>!$_\r\n",
      "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgIDA\r\n"
      " wMDBAYEBAQEBAgGBgUGCQgKCgkICQkKDA8MCgsOCwkJDRENDg8QEBEQCgwSExIQEw8QEBD/yQ==\r\n",
      "IMPP;X-SERVICE-TYPE=Jabber:xmpp:ann@example.com\r\n",
      "GEO:52.5;13.4\r\n",
      "KEY;ENCODING=b:QUJDRA==\r\n",
  };
  return lines;
}

enum class Version { k21, k30, k40 };

// What a card says: of each row a value, or nothing.
struct Content {
  size_t family = 0;
  std::vector<size_t> values;  // by row; 0 for none, else the value's number and 1
};

rc::Gen<Content> AnyContent() {
  return rc::gen::exec([] {
    Content content;
    content.family = *rc::gen::inRange<size_t>(0, std::size(kFamilies));
    for (const Row& row : CardRows()) {
      content.values.push_back(*rc::gen::inRange<size_t>(0, row.values.size() + 1));
    }
    return content;
  });
}

// Another content, of which most is as in the first.
rc::Gen<Content> NearTo(const Content& content) {
  return rc::gen::map(rc::gen::pair(AnyContent(), rc::gen::container<std::vector<bool>>(
                                                      CardRows().size() + 1,
                                                      rc::gen::map(rc::gen::inRange(0, 4),
                                                                   [](int n) { return n == 0; }))),
                      [content](const std::pair<Content, std::vector<bool>>& other) {
                        Content near = content;
                        for (size_t i = 0; i < near.values.size(); ++i) {
                          if (other.second[i]) near.values[i] = other.first.values[i];
                        }
                        if (other.second.back()) near.family = other.first.family;
                        return near;
                      });
}

std::string CardOf(const Content& content, Version version,
                   const std::vector<std::string>& strangers, std::string_view line_end = "\r\n") {
  const std::string family(kFamilies[content.family]);
  std::string text = "BEGIN:VCARD\r\nVERSION:";
  text += version == Version::k21 ? "2.1" : version == Version::k30 ? "3.0" : "4.0";
  text += "\r\nN:" + family + ";Ann;;;\r\nFN:Ann " + family + "\r\n";
  size_t stranger = 0;
  for (size_t i = 0; i < CardRows().size(); ++i) {
    if (stranger < strangers.size() && i % 2 == 0) text += strangers[stranger++];
    if (content.values[i] == 0) continue;
    const Row& row = CardRows()[i];
    text += version == Version::k21   ? row.head_21
            : version == Version::k30 ? row.head_30
                                      : row.head_40;
    text += ":" + std::string(row.values[content.values[i] - 1]) + "\r\n";
  }
  while (stranger < strangers.size()) text += strangers[stranger++];
  text += "END:VCARD\r\n";
  if (line_end == "\n") std::erase(text, '\r');
  return text;
}

// What a stored card says, but for which address is preferred, which the order of a file says.
std::string KeyOfStored(std::string view) {
  constexpr std::string_view kPreferred = ",pref:";
  for (size_t at = view.find(kPreferred); at != std::string::npos; at = view.find(kPreferred)) {
    view.erase(at, kPreferred.size() - 1);
  }
  return ContentKey(view);
}

rc::Gen<Version> AnyVersion() { return rc::gen::element(Version::k21, Version::k30, Version::k40); }

rc::Gen<std::vector<std::string>> SomeStrangers(Version version) {
  return rc::gen::map(
      rc::gen::container<std::vector<int>>(Strangers().size(), rc::gen::inRange(0, 2)),
      [version](const std::vector<int>& is_there) {
        std::vector<std::string> lines;
        for (size_t i = 0; i < is_there.size(); ++i) {
          // Folds of 2.1 keep their blank, and its base64 ends with an empty line.
          const bool is_of_30 = Strangers()[i].find("ENCODING=b") != std::string::npos;
          if (is_there[i] == 1 && !(is_of_30 && version == Version::k21)) {
            lines.push_back(Strangers()[i]);
          }
        }
        return lines;
      });
}

struct CardCase {
  std::string file;
  std::string before;
  std::string after;
  std::vector<std::string> strangers;
  std::string line_end;
};

CardCase AnyCardCase() {
  const Version version = *AnyVersion();
  const Content content = *AnyContent();
  const Content changed = *NearTo(content);
  CardCase card;
  card.strangers = *SomeStrangers(version);
  card.line_end = *rc::gen::element<std::string>("\r\n", "\n");
  card.file = CardOf(content, version, card.strangers, card.line_end);
  card.before = StoreView(OSIF_STORE_PB, card.file);
  card.after = StoreView(OSIF_STORE_PB, CardOf(changed, version, card.strangers));
  return card;
}

RC_GTEST_PROP(MergeProperties, ACardOfWhichNothingWasChangedStays, ()) {
  const CardCase card = AnyCardCase();
  const mirror::Merged merged =
      MergeStoreChange({OSIF_STORE_PB, card.before, card.before, card.file, card.file});
  RC_ASSERT(merged.text == card.file);
}

// So the next look at it finds nothing to do.
RC_GTEST_PROP(MergeProperties, ACardSaysToTheStoreWhatTheStoreHas, ()) {
  const CardCase card = AnyCardCase();
  const mirror::Merged merged =
      MergeStoreChange({OSIF_STORE_PB, card.before, card.after, card.file, card.file});
  RC_LOG() << card.file << card.after << merged.text << StoreView(OSIF_STORE_PB, merged.text);
  RC_ASSERT(merged.conflicts.empty());
  RC_ASSERT(KeyOfStored(StoreView(OSIF_STORE_PB, merged.text)) == KeyOfStored(card.after));
}

RC_GTEST_PROP(MergeProperties, AChangeOfACardAndItsReverseLeaveWhatWasSaid, ()) {
  const CardCase card = AnyCardCase();
  const mirror::Merged there =
      MergeStoreChange({OSIF_STORE_PB, card.before, card.after, card.file, card.file});
  const mirror::Merged back =
      MergeStoreChange({OSIF_STORE_PB, card.after, card.before, there.text, there.text});
  RC_LOG() << card.file << there.text << back.text;
  RC_ASSERT(KeyOfStored(StoreView(OSIF_STORE_PB, back.text)) == KeyOfStored(card.before));
}

RC_GTEST_PROP(MergeProperties, LinesOfACardThatNoStoreKnowsKeepTheirBytesAndTheirOrder, ()) {
  const CardCase card = AnyCardCase();
  const mirror::Merged merged =
      MergeStoreChange({OSIF_STORE_PB, card.before, card.after, card.file, card.file});
  RC_LOG() << card.file << merged.text;
  size_t at = 0;
  for (std::string line : card.strangers) {
    if (card.line_end == "\n") std::erase(line, '\r');
    const size_t found = merged.text.find(line, at);
    RC_ASSERT(found != std::string::npos);
    at = found + line.size();
  }
}

// What the folder has changed meanwhile, of lines that no store knows, is in the result too.
RC_GTEST_PROP(MergeProperties, BothChangesOfACardAreInWhereTheyDoNotMeet, ()) {
  const CardCase card = AnyCardCase();
  const std::string end = "END:VCARD" + card.line_end;
  const std::string changed =
      merge_support::Edited(card.file, {{end, "X-NEW:1" + card.line_end + end}});
  const mirror::Merged alone =
      MergeStoreChange({OSIF_STORE_PB, card.before, card.after, card.file, card.file});
  const mirror::Merged both =
      MergeStoreChange({OSIF_STORE_PB, card.before, card.after, card.file, changed});
  RC_ASSERT(both.conflicts.empty());
  RC_ASSERT(ContentKey(both.text) == ContentKey(merge_support::Edited(
                                         alone.text, {{end, "X-NEW:1" + card.line_end + end}})));
}

// ---- Calendars ----------------------------------------------------------------------------------------------

const std::vector<std::vector<std::string_view>>& EventRows() {
  static const std::vector<std::vector<std::string_view>> rows = {
      {"SUMMARY;LANGUAGE=en:Lunch", "SUMMARY:Tea\\, and cake"},
      {"LOCATION:Room 5", "LOCATION;X-A=b:Room 6"},
      {"DESCRIPTION:one", "DESCRIPTION:one\\ntwo"},
      {"CLASS:PRIVATE", "CLASS:PUBLIC"},
      {"CATEGORIES:a", "CATEGORIES:b,c", "CATEGORIES:c,d"},
      {"ATTENDEE;PARTSTAT=ACCEPTED;CN=Bob:mailto:bob@example.com",
       "ATTENDEE:mailto:cid@example.com"},
      {"ATTENDEE;CN=\"Ray, Dan\":MAILTO:dan@example.com"},
      {"TRANSP:OPAQUE", "TRANSP:TRANSPARENT"},
  };
  return rows;
}

constexpr std::string_view kTimes[] = {
    "DTSTART:20260105T120000Z\r\nDTEND:20260105T130000Z\r\n",
    "DTSTART:20260105T120000Z\r\nDURATION:PT1H\r\n",
    "DTSTART;TZID=Europe/Berlin:20260105T090000\r\nDTEND;TZID=Europe/Berlin:20260105T103000\r\n",
    "DTSTART;VALUE=DATE:20260105\r\nDTEND;VALUE=DATE:20260107\r\n",
    "DTSTART;VALUE=DATE:20260105\r\n",
};
constexpr std::string_view kAlarms[] = {
    "", "BEGIN:VALARM\r\nACTION:DISPLAY\r\nTRIGGER:-PT15M\r\nX-B:c\r\nEND:VALARM\r\n",
    "BEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER;RELATED=START:-P1D\r\nEND:VALARM\r\n"};

struct Event {
  std::vector<size_t> values;
  size_t times = 0;
  size_t alarm = 0;
};

Event AnyEvent() {
  Event event;
  for (const auto& row : EventRows()) {
    event.values.push_back(*rc::gen::inRange<size_t>(0, row.size() + 1));
  }
  event.times = *rc::gen::inRange<size_t>(0, std::size(kTimes));
  event.alarm = *rc::gen::inRange<size_t>(0, std::size(kAlarms));
  return event;
}

Event NearTo(const Event& event) {
  const Event other = AnyEvent();
  const auto is_kept = [] { return *rc::gen::inRange(0, 3) != 0; };
  Event near = event;
  for (size_t i = 0; i < near.values.size(); ++i) {
    if (!is_kept()) near.values[i] = other.values[i];
  }
  if (!is_kept()) near.times = other.times;
  if (!is_kept()) near.alarm = other.alarm;
  return near;
}

std::string TextOf(const Event& event) {
  std::string text =
      "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Example//EN\r\nX-WR-CALNAME:Mine\r\n"
      "BEGIN:VEVENT\r\nUID:e\r\nDTSTAMP:20251202T080000Z\r\nX-FIRST;A=b:c\r\n";
  for (size_t i = 0; i < EventRows().size(); ++i) {
    if (event.values[i] > 0) text += std::string(EventRows()[i][event.values[i] - 1]) + "\r\n";
    if (i == 3) text += kTimes[event.times];
  }
  text += "X-LAST:d\r\n";
  text += kAlarms[event.alarm];
  return text + "END:VEVENT\r\nEND:VCALENDAR\r\n";
}

struct EventCase {
  support::TimeZone zone{"Europe/Berlin"};
  std::string file;
  std::string before;
  std::string after;

  EventCase() {
    const Event event = AnyEvent();
    const Event changed = NearTo(event);
    file = TextOf(event);
    before = StoreView(OSIF_STORE_CAL, file);
    after = StoreView(OSIF_STORE_CAL, TextOf(changed));
  }
};

RC_GTEST_PROP(MergeProperties, ACalendarOfWhichNothingWasChangedStays, ()) {
  const EventCase event;
  RC_ASSERT(
      MergeStoreChange({OSIF_STORE_CAL, event.before, event.before, event.file, event.file}).text ==
      event.file);
}

// The lines of an item that do not count on what its alarm says of it in words.
std::string KeyOfEvent(std::string text) {
  for (size_t at = text.find("BEGIN:VALARM"); at != std::string::npos;) {
    const size_t words = text.find("DESCRIPTION:", at);
    const size_t end = text.find("END:VALARM", at);
    if (words < end) text.erase(words, text.find('\n', words) + 1 - words);
    at = text.find("BEGIN:VALARM", end);
  }
  // What is said without being written.
  constexpr std::string_view kDefault = "CLASS:PUBLIC\r\n";
  const size_t at = text.find(kDefault);
  if (at != std::string::npos) text.erase(at, kDefault.size());
  return ContentKey(text);
}

RC_GTEST_PROP(MergeProperties, ACalendarSaysToTheStoreWhatTheStoreHas, ()) {
  const EventCase event;
  const mirror::Merged merged =
      MergeStoreChange({OSIF_STORE_CAL, event.before, event.after, event.file, event.file});
  RC_LOG() << event.file << event.after << merged.text << StoreView(OSIF_STORE_CAL, merged.text);
  RC_ASSERT(merged.conflicts.empty());
  RC_ASSERT(KeyOfEvent(StoreView(OSIF_STORE_CAL, merged.text)) == KeyOfEvent(event.after));
}

RC_GTEST_PROP(MergeProperties, AChangeOfACalendarAndItsReverseLeaveWhatWasSaid, ()) {
  const EventCase event;
  const mirror::Merged there =
      MergeStoreChange({OSIF_STORE_CAL, event.before, event.after, event.file, event.file});
  const mirror::Merged back =
      MergeStoreChange({OSIF_STORE_CAL, event.after, event.before, there.text, there.text});
  RC_LOG() << event.file << there.text << back.text;
  RC_ASSERT(KeyOfEvent(StoreView(OSIF_STORE_CAL, back.text)) == KeyOfEvent(event.before));
}

RC_GTEST_PROP(MergeProperties, LinesOfACalendarThatNoStoreKnowsStay, ()) {
  const EventCase event;
  const mirror::Merged merged =
      MergeStoreChange({OSIF_STORE_CAL, event.before, event.after, event.file, event.file});
  for (const std::string_view line :
       {"X-WR-CALNAME:Mine\r\n", "UID:e\r\n", "X-FIRST;A=b:c\r\n", "X-LAST:d\r\n"}) {
    RC_ASSERT(merged.text.find(line) != std::string::npos);
  }
}

// ---- Any bytes ----------------------------------------------------------------------------------------------

// Texts of pieces that mean something, in any order.
rc::Gen<std::string> AnyText() {
  const auto piece = rc::gen::oneOf(
      rc::gen::elementOf(std::vector<std::string>{"BEGIN:VCARD\r\n",
                                                  "END:VCARD\r\n",
                                                  "BEGIN:VCALENDAR\r\n",
                                                  "END:VCALENDAR\r\n",
                                                  "BEGIN:VEVENT\r\n",
                                                  "END:VEVENT\r\n",
                                                  "BEGIN:VTODO\n",
                                                  "END:VTODO\n",
                                                  "BEGIN:VALARM\n",
                                                  "END:VALARM\n",
                                                  "VERSION:2.1\r\n",
                                                  "VERSION:3.0\n",
                                                  "VERSION:4.0\r",
                                                  "VERSION:2.0\r\n",
                                                  "VERSION:1.0\r\n",
                                                  "N:Lee;Ann\r\n",
                                                  "FN:Ann Lee\r\n",
                                                  "TEL;TYPE=HOME:1234\r\n",
                                                  "TEL:\r\n",
                                                  "NOTE;ENCODING=QUOTED-PRINTABLE:a=\r\n",
                                                  "PHOTO;ENCODING=BASE64:\r\n",
                                                  " QUJD\r\n",
                                                  "\r\n",
                                                  "SUMMARY:x\r\n",
                                                  "DTSTART:20260105T120000Z\r\n",
                                                  "DURATION:P1D\r\n",
                                                  "TRIGGER:-PT5M\r\n",
                                                  "EXDATE:20260105,,x\r\n",
                                                  "RRULE:FREQ=DAILY\r\n",
                                                  "RECURRENCE-ID:20260105\r\n",
                                                  "a.X-ABLabel:x\r\n",
                                                  "a.TEL:5678\r\n",
                                                  "ORG:a;b;c\r\n",
                                                  "DEPT:d\r\n",
                                                  "CATEGORIES:a,b\r\n",
                                                  "VERSION:2.1END:VCARD\r\n",
                                                  "AGENT:BEGIN:VCARD\r\n",
                                                  std::string("X:\0\r\n", 5)}),
      rc::gen::container<std::string>(rc::gen::arbitrary<char>()));
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(piece),
                      [](const std::vector<std::string>& pieces) {
                        std::string text;
                        for (const std::string& one : pieces) text += one;
                        return text;
                      });
}

RC_GTEST_PROP(MergeProperties, AnyBytesAreMerged, ()) {
  const std::string before = *AnyText();
  const std::string after = *AnyText();
  const std::string base = *AnyText();
  const std::string file = *AnyText();
  const auto prefer =
      *rc::gen::element(mirror::Prefer::kNone, mirror::Prefer::kStore, mirror::Prefer::kFolder);
  for (const int32_t store : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    const mirror::Merged merged = MergeStoreChange({store, before, after, base, file, prefer});
    const mirror::Merged again =
        MergeStoreChange({store, after, after, merged.text, merged.text, prefer});
    RC_ASSERT(again.text == merged.text);
    RC_ASSERT(MergeStoreChange({store, before, before, base, file, prefer}).text == file);
  }
  RC_ASSERT(ContentKey(file).size() == 64U);
}

// ---- Cost ---------------------------------------------------------------------------------------------------

std::string Repeated(std::string_view begin, std::string_view line, size_t count,
                     std::string_view end) {
  std::string text(begin);
  for (size_t i = 0; i < count; ++i) text.append(line);
  return text.append(end);
}

TEST(MergeCost, OfMegabytesOfLinesIsBounded) {
  constexpr size_t kMany = 60000;
  const std::string card = Repeated("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lee;;;;\r\nFN:Lee\r\n",
                                    "item1.TEL;TYPE=HOME:555001\r\n", kMany, "END:VCARD\r\n");
  const std::string before = merge_support::Lines(
      {"BEGIN:VCARD", "VERSION:3.0", "N:Lee;;;;", "FN:Lee", "TEL;TYPE=home:555001", "END:VCARD"});
  const std::string after = merge_support::Edited(before, {{"555001", "555002"}});
  const std::string merged = MergeStoreChange({OSIF_STORE_PB, before, after, card, card}).text;
  EXPECT_EQ(merged, merge_support::Edited(card, {{"555001", "555002"}}));
  const std::string nested = Repeated("", "BEGIN:VEVENT\r\n", kMany, "");
  EXPECT_EQ(MergeStoreChange({OSIF_STORE_CAL, nested, nested, nested, nested}).text, nested);
  EXPECT_EQ(ContentKey(nested).size(), 64U);
  const std::string dates =
      Repeated("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nDTSTART:20260105T120000Z\r\n",
               "EXDATE:20260106T120000Z\r\n", kMany, "END:VEVENT\r\nEND:VCALENDAR\r\n");
  EXPECT_EQ(MergeStoreChange({OSIF_STORE_CAL, before, after, dates, dates}).text, dates);
  const std::string event = merge_support::Lines({"BEGIN:VCALENDAR", "VERSION:2.0", "BEGIN:VEVENT",
                                                  "SUMMARY:a", "END:VEVENT", "END:VCALENDAR"});
  EXPECT_EQ(
      MergeStoreChange({OSIF_STORE_CAL, event,
                        merge_support::Edited(event, {{"SUMMARY:a", "SUMMARY:b"}}), dates, dates})
          .text,
      merge_support::Edited(dates, {{"END:VEVENT", "SUMMARY:b\r\nEND:VEVENT"}}));
}

}  // namespace
}  // namespace merge_properties_test

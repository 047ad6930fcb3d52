// Objects in today's forms go into the store and come back in the same form: what the store holds comes back equal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <vector>

#include "dialects/content_line.h"
#include "dialects/forms.h"
#include "dialects/strict_object.h"
#include "dialects/value_text.h"
#include "tests/support/environment.h"
#include "tests/support/osif_fixture.h"

namespace store_round_trip_test {
namespace {

using dialects::EscapedModern;
using dialects::Form;
using dialects::ObjectKind;

// The store has an object of it at most once, so the property may run over and over.
std::string ThroughTheStore(int32_t store_id, const std::string& strict) {
  std::string text;
  const support::TempFile file(strict);
  support::ReadFile(file.wide_path(), [&](OsifObject& object, OsifResult read) {
    RC_ASSERT(read == OSIF_PARSE_OK);
    char id[OSIF_ID_SIZE] = "";
    RC_ASSERT(OSIF_AddObject(store_id, &object, id, nullptr) == OSIF_OK);
    support::OutsideObject back(store_id);
    RC_ASSERT(OSIF_GetObjectById(store_id, id, &back) == OSIF_OK);
    const support::TempFile written("");
    RC_ASSERT(OSIF_WriteObject(store_id, &back, written.wide_path().c_str(), 1) == OSIF_OK);
    text = support::BytesOf(written.path());
    OSIF_DeleteObject(store_id, id, nullptr);
  });
  return text;
}

// The lines of an object, unfolded, in an order of their own.
std::vector<std::string> LinesOf(const std::string& text) {
  dialects::Report ignored;
  std::vector<std::string> lines;
  for (const dialects::ContentLine& line :
       dialects::ReadContentLines(text, 1, dialects::kModernLines, ignored)) {
    std::string one = line.name;
    for (const auto& [name, value] : line.params) one += ";" + name + "=" + value;
    lines.push_back(one + ":" + line.value);
  }
  std::ranges::sort(lines);
  return lines;
}

// A text that a store keeps: characters of all planes, with everything that has to be escaped; no blanks at its ends,
// which are nobody's meaning.
std::string SomeText() {
  const auto characters =
      *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(std::vector<std::string>{
          "a", "Z", "7", " ", ";", ",", "\\", ":", "=", "\"", "ä", "ß", "見", "😀", "n", "(", "."}));
  std::string text = "x";
  for (const std::string& one : characters) {
    if (text.size() < 40) text += one;
  }
  return text + "x";
}

std::string Returned(Form form, ObjectKind kind, int32_t store_id, const std::string& text) {
  const auto strict = dialects::StrictObjects({.kind = kind, .text = text}, {});
  RC_ASSERT(strict.size() == 1U);
  RC_ASSERT(strict[0].refusal.empty());
  RC_ASSERT(strict[0].report.dropped.empty());
  dialects::WriterSettings settings;
  settings.origin = dialects::Origin::kLibrary;
  settings.uid = strict[0].uid;
  const auto writer = kind == ObjectKind::kCard ? dialects::MakeCardWriter(form, settings)
                                                : dialects::MakeCalendarWriter(form, settings);
  const std::string begin = writer->Begin();
  const auto written =
      writer->Write({.kind = kind, .text = ThroughTheStore(store_id, strict[0].text)});
  RC_ASSERT(written.refusal.empty());
  return begin + written.text + writer->End();
}

class StoreRoundTrip : public support::OsifTest {
 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(StoreRoundTrip, ACardOfVersion4ComesBackEqual) {
  EXPECT_TRUE(rc::check([] {
    const std::string family = SomeText();
    const std::string given = SomeText();
    std::string card = "BEGIN:VCARD\r\nVERSION:4.0\r\n";
    const auto add = [&](const std::string& head, const std::string& value) {
      card += dialects::FoldedLine(head + ":" + value);
    };
    add("UID;VALUE=text", "u-" + std::to_string(*rc::gen::inRange(0, 1000)));
    add("N", EscapedModern(family) + ";" + EscapedModern(given) + ";;;");
    add("FN", EscapedModern(SomeText()));
    if (*rc::gen::arbitrary<bool>()) {
      add("ORG", EscapedModern(SomeText()) + ";" + EscapedModern(SomeText()));
    }
    if (*rc::gen::arbitrary<bool>()) add("TITLE", EscapedModern(SomeText()));
    if (*rc::gen::arbitrary<bool>()) add("TEL;TYPE=cell", "+49 151 5550100");
    if (*rc::gen::arbitrary<bool>()) add("TEL;TYPE=\"home,voice\"", "030 1");
    if (*rc::gen::arbitrary<bool>()) add("TEL;TYPE=\"work,fax\"", "030 2");
    if (*rc::gen::arbitrary<bool>()) add("EMAIL;PREF=1", "a@b.example");
    if (*rc::gen::arbitrary<bool>()) {
      add("ADR;TYPE=home",
          ";;" + EscapedModern(SomeText()) + ";" + EscapedModern(SomeText()) + ";;" + "12345;");
    }
    if (*rc::gen::arbitrary<bool>()) {
      add("NOTE", EscapedModern(SomeText() + "\n" + SomeText()));
    }
    if (*rc::gen::arbitrary<bool>()) add("BDAY", "19840530");
    if (*rc::gen::arbitrary<bool>()) add("URL", "https://a.example/?q=1");
    card += "END:VCARD\r\n";
    const std::string back = Returned(Form::kVCard40, ObjectKind::kCard, OSIF_STORE_PB, card);
    RC_ASSERT(LinesOf(back) == LinesOf(card));
  }));
}

TEST_F(StoreRoundTrip, AnEventOfICalendarComesBackEqual) {
  EXPECT_TRUE(rc::check([] {
    const int day = *rc::gen::inRange(10, 28);
    const std::string date = "202701" + std::to_string(day);
    std::string event;
    const auto add = [&](const std::string& head, const std::string& value) {
      event += dialects::FoldedLine(head + ":" + value);
    };
    add("UID", "u-" + std::to_string(*rc::gen::inRange(0, 1000)));
    add("SUMMARY", EscapedModern(SomeText()));
    const bool is_series = *rc::gen::arbitrary<bool>();
    const std::string zone = is_series ? ";TZID=Europe/Berlin" : "";
    const std::string end = is_series ? "" : "Z";
    add("DTSTART" + zone, date + "T090000" + end);
    add("DTEND" + zone, date + "T103000" + end);
    if (is_series) {
      add("RRULE", *rc::gen::elementOf(std::vector<std::string>{
                       "FREQ=DAILY;INTERVAL=2", "FREQ=DAILY;COUNT=5",
                       "FREQ=YEARLY;COUNT=3;BYMONTH=1;BYMONTHDAY=" + std::to_string(day),
                       "FREQ=MONTHLY;BYMONTHDAY=" + std::to_string(day)}));
    }
    add("CLASS", *rc::gen::elementOf(std::vector<std::string>{"PUBLIC", "PRIVATE"}));
    add("STATUS", *rc::gen::elementOf(std::vector<std::string>{"CONFIRMED", "TENTATIVE"}));
    if (*rc::gen::arbitrary<bool>()) add("LOCATION", EscapedModern(SomeText()));
    if (*rc::gen::arbitrary<bool>()) {
      add("DESCRIPTION", EscapedModern(SomeText() + "\n" + SomeText()));
    }
    const std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\n" + event +
                             "END:VEVENT\r\nEND:VCALENDAR\r\n";
    const std::string back = Returned(Form::kICal20, ObjectKind::kCalendar, OSIF_STORE_CAL, text);
    const size_t begin = back.find("BEGIN:VEVENT\r\n") + 14;
    std::vector<std::string> lines = LinesOf(back.substr(begin, back.find("END:VEVENT") - begin));
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("DTSTAMP:"); });
    RC_ASSERT(lines == LinesOf(event));
  }));
}

}  // namespace
}  // namespace store_round_trip_test

#include <gtest/gtest.h>

#include "mirror/merge.h"
#include "tests/mirror/merge_support.h"

namespace content_key_test {
namespace {

using merge_support::Edited;
using merge_support::Lines;
using mirror::ContentKey;

const std::string& Calendar() {
  static const std::string text =
      Lines({"BEGIN:VCALENDAR",
             "VERSION:2.0",
             "PRODID:-//Example//EN",
             "METHOD:PUBLISH",
             "BEGIN:VTIMEZONE",
             "TZID:Europe/Berlin",
             "BEGIN:STANDARD",
             "DTSTART:19701025T030000",
             "TZOFFSETFROM:+0200",
             "TZOFFSETTO:+0100",
             "END:STANDARD",
             "END:VTIMEZONE",
             "BEGIN:VEVENT",
             "UID:e",
             "DTSTAMP:20251202T080000Z",
             "CREATED:20251202T080000Z",
             "LAST-MODIFIED:20251202T080000Z",
             "SUMMARY:Lunch",
             "DTSTART;TZID=Europe/Berlin;VALUE=DATE-TIME:20260105T120000",
             "BEGIN:VALARM",
             "ACTION:DISPLAY",
             "TRIGGER:-PT15M",
             "END:VALARM",
             "END:VEVENT",
             "END:VCALENDAR"});
  return text;
}

TEST(ContentKey, IsTheSameWhereNobodySaysAnythingElse) {
  const std::string key = ContentKey(Calendar());
  for (const auto& [what, with] : merge_support::TextEdits{
           {"PRODID:-//Example//EN", "PRODID:-//Other//EN"},
           {"METHOD:PUBLISH\r\n", ""},
           {"DTSTAMP:20251202", "DTSTAMP:20260101"},
           {"CREATED:20251202", "CREATED:20260101"},
           {"LAST-MODIFIED:20251202T080000Z\r\n", ""},
           {"TZOFFSETTO:+0100", "TZOFFSETTO:+0130"},
           {"SUMMARY:Lunch", "SUMMARY:Lu\r\n nch"},
           {"SUMMARY:Lunch\r\n", "SUMMARY:Lunch\n"},
           {"SUMMARY:Lunch", "summary:Lunch"},
           {"TZID=Europe/Berlin;VALUE=DATE-TIME", "VALUE=DATE-TIME;TZID=Europe/Berlin"},
           {"ACTION:DISPLAY\r\nTRIGGER:-PT15M", "TRIGGER:-PT15M\r\nACTION:DISPLAY"},
           {"BEGIN:VCALENDAR",
            "\xEF\xBB\xBF"
            "BEGIN:VCALENDAR"}}) {
    EXPECT_EQ(ContentKey(Edited(Calendar(), {{what, with}})), key) << what;
  }
  EXPECT_EQ(key.size(), 64U);
}

TEST(ContentKey, IsAnotherWhereSomethingElseIsSaid) {
  const std::string key = ContentKey(Calendar());
  for (const auto& [what, with] : merge_support::TextEdits{
           {"SUMMARY:Lunch", "SUMMARY:lunch"},
           {"SUMMARY:Lunch\r\n", ""},
           {"TZID=Europe/Berlin", "TZID=Europe/Paris"},
           {"-PT15M", "-PT5M"},
           {"BEGIN:VALARM\r\nACTION:DISPLAY", "ACTION:DISPLAY\r\nBEGIN:VALARM"},
           {"UID:e", "UID:f"},
           {"VERSION:2.0", "VERSION:1.0"},
           {"END:VALARM\r\n", "END:VALARM\r\nBEGIN:VALARM\r\nEND:VALARM\r\n"}}) {
    EXPECT_NE(ContentKey(Edited(Calendar(), {{what, with}})), key) << what;
  }
}

TEST(ContentKey, OfACardDoesNotKnowItsRevisionNorTheCaseOfItsKinds) {
  const std::string card =
      Lines({"BEGIN:VCARD", "VERSION:3.0", "REV:20260101T000000Z",
             "item1.TEL;TYPE=HOME;TYPE=VOICE:1234", "PHOTO;ENCODING=b:QUJD", "END:VCARD"});
  EXPECT_EQ(ContentKey(card), ContentKey(Edited(card, {{"REV:2026", "REV:2025"},
                                                       {"TYPE=HOME;TYPE=VOICE", "type=voice,home"},
                                                       {"ENCODING=b", "encoding=B"},
                                                       {"QUJD", "QU\r\n JD"}})));
  EXPECT_NE(ContentKey(card), ContentKey(Edited(card, {{"item1.", ""}})));
  EXPECT_NE(ContentKey(card), ContentKey(Edited(card, {{"QUJD", "QUJE"}})));
}

}  // namespace
}  // namespace content_key_test

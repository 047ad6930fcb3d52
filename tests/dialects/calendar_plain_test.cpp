// The fast look: what it takes for plain is stored as it stands like what the rewriting makes of it.
#include "dialects/calendar_plain.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "btosif/osif_util/quoted_printable.h"
#include "tests/dialects/calendar_support.h"
#include "tests/support/corpus.h"

namespace calendar_plain_test {
namespace {

using calendar_support::Old;
using dialects::IsPlainCalendar;

std::string Event(std::initializer_list<std::string_view> lines) {
  return Old("VEVENT", lines).text;
}

// An event with one more line.
std::string EventWith(std::string_view line) {
  return Event(
      {"SUMMARY:x", "DESCRIPTION:", "DTSTART:20260612T100000Z", "DTEND:20260612T110000Z", line});
}

// The lines of a text that mean something to the store, encoded values decoded, in one order.
std::vector<std::string> MeaningOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find("\r\n", begin), text.size());
    std::string line = text.substr(begin, end - begin);
    begin = end + 2;
    // A soft break.
    while (line.ends_with('=') && line.find("QUOTED-PRINTABLE") != std::string::npos) {
      line.pop_back();
      const size_t next = std::min(text.find("\r\n", begin), text.size());
      line += text.substr(begin, next - begin);
      begin = next + 2;
    }
    const size_t colon = line.find(':');
    const size_t name_end = line.find_first_of(";:");
    std::string value = line.substr(colon + 1);
    if (line.find("QUOTED-PRINTABLE") < colon) value = QuotedPrintableDecode(value);
    const std::string name = line.substr(0, name_end);
    const bool says_nothing = value.empty() || value == "FALSE" ||
                              (name == "PRIORITY" && value == "0") || name == "AALARM";
    if (!says_nothing) lines.push_back(name + ":" + value);
  }
  std::ranges::sort(lines);
  return lines;
}

void CheckPlain(const std::string& text) {
  const auto items = dialects::StrictCalendarItems(calendar_support::CalendarObject(text), {});
  ASSERT_EQ(items.size(), 1U) << text;
  EXPECT_TRUE(items.front().report.IsEmpty()) << text;
  EXPECT_EQ(MeaningOf(items.front().text), MeaningOf(text)) << text;
  EXPECT_EQ(calendar_support::ReadByLibrary(text).result, OSIF_PARSE_OK) << text;
}

TEST(PlainCalendar, IsWhatTheLibraryWritesOfASingleEvent) {
  const std::string text = Event(
      {"SUMMARY:Lunch", "DESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:B=C3=A4r=0D=0Atwo",
       "DTSTART:20260612T100000Z", "DTEND:20260612T110000Z", "CLASS:PUBLIC", "PRIORITY:0",
       "STATUS:NEEDS ACTION", "LOCATION:", "CATEGORIES:", "DALARM:20260612T094500Z",
       "AALARM:20260612T094500Z", "X-IRMC-LUID:00000001", "X-BLUETOOTH-ALLDAYEVENT:FALSE"});
  EXPECT_TRUE(IsPlainCalendar(text));
  CheckPlain(text);
}

TEST(PlainCalendar, IsWhatTheRewritingMakesOfATask) {
  const auto items = dialects::StrictCalendarItems(
      Old("VTODO", {"SUMMARY:x", "DUE:20260612", "PRIORITY:1", "DESCRIPTION:a, b"}), {});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_TRUE(IsPlainCalendar(items.front().text));
  CheckPlain(items.front().text);
}

class NotPlain : public testing::TestWithParam<const char*> {};

TEST_P(NotPlain, IsAnEventWithThisLine) {
  ASSERT_TRUE(IsPlainCalendar(EventWith("CLASS:PUBLIC")));
  EXPECT_FALSE(IsPlainCalendar(EventWith(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, NotPlain,
    testing::Values("UID:u", "RRULE:D1 #3", "EXDATE:20260612T100000Z", "SUMMARY:y", "LOCATION:a;b",
                    "LOCATION:C:\\new", "LOCATION:B\xC3\xA4r", " folded", "", "junk",
                    "LOCATION:a=", "LOCATION;ENCODING=QUOTED-PRINTABLE:B=C3=A4r",
                    "LOCATION;ENCODING=QUOTED-PRINTABLE:a=5Cb",
                    "LOCATION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=E4",
                    "LOCATION;ENCODING=BASE64:YQ==", "CLASS:CONFIDENTIAL", "STATUS:", "PRIORITY:1",
                    "DALARM:20260612T100001Z", "DALARM:20260401T100000Z", "DALARM:20260612T094500",
                    "DALARM:20260612T094500Z;;;x", "ATTENDEE:Ann", "X-BLUETOOTH-ALLDAYEVENT:TRUE",
                    "BEGIN:VALARM"));

TEST(PlainCalendar, HasItsFrameAndNothingElse) {
  const std::string text = EventWith("CLASS:PUBLIC");
  EXPECT_FALSE(IsPlainCalendar(text + "\r\n"));
  EXPECT_FALSE(IsPlainCalendar(text + text));
  EXPECT_FALSE(IsPlainCalendar("\xEF\xBB\xBF" + text));
  std::string modern = text;
  modern.replace(modern.find("1.0"), 3, "2.0");
  EXPECT_FALSE(IsPlainCalendar(modern));
  EXPECT_FALSE(IsPlainCalendar(text.substr(0, text.find("END:VEVENT"))));
}

TEST(PlainCalendar, HasTimesThatAreInOrder) {
  EXPECT_FALSE(IsPlainCalendar(
      Event({"SUMMARY:x", "DESCRIPTION:", "DTSTART:20260612T100000Z", "DTEND:20260612T090000Z"})));
  EXPECT_FALSE(IsPlainCalendar(
      Event({"SUMMARY:x", "DESCRIPTION:", "DTSTART:20261312T100000Z", "DTEND:20261312T110000Z"})));
  EXPECT_FALSE(IsPlainCalendar(Event({"SUMMARY:x", "DESCRIPTION:", "DTSTART:20260612T100000Z"})));
}

TEST(PlainCalendar, IsTrueOfRealFilesOnlyWhereNothingWouldChange) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  size_t plain = 0;
  const std::filesystem::path folder(support::CorpusFolder());
  for (const auto& entry : std::filesystem::directory_iterator(folder / "vcalendar")) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    for (const auto& item :
         dialects::StrictCalendarItems(calendar_support::CalendarObject(bytes), {})) {
      if (!IsPlainCalendar(item.text)) continue;
      ++plain;
      CheckPlain(item.text);
    }
    if (IsPlainCalendar(bytes)) CheckPlain(bytes);
  }
  EXPECT_GT(plain, 50U);
}

}  // namespace
}  // namespace calendar_plain_test

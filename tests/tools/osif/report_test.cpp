// The page that "osif report" makes of a device: what stands in which section, what of it could do harm, and when no page
// is written. What a browser makes of it stands in report_browser_test.cpp.
#include "tests/support/full_disk.h"
#include "tests/tools/osif/report_fixture.h"

namespace command_test::report_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class CommandReport : public ReportTest {};

// ---- Each section ---------------------------------------------------------------------------------------

TEST_F(CommandReport, ContactsStandUnderTheirLettersWithTheirFields) {
  Keep("a.vcf", Card({"N:Zander;Olga", "TEL;CELL:+1 555 0177"}) +
                    Card({"N;CHARSET=UTF-8:Berg;Åse", "EMAIL;INTERNET:ase@example.com"}) +
                    Card({"N:Lee;Ann", "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0Atwo"}));
  const std::string contacts = SectionOf(Page(), "contacts");
  EXPECT_THAT(Between(contacts, "<h3>", "</h3>"), ElementsAre("A", "O"));
  EXPECT_THAT(Between(contacts, "<p class=\"name\">", "</p>"),
              ElementsAre("Ann Lee", "Åse Berg", "Olga Zander"));
  EXPECT_THAT(contacts, AllOf(HasSubstr("<dt>Telephone (mobile)</dt><dd>+1 555 0177</dd>"),
                              HasSubstr("<dt>Email</dt><dd>ase@example.com</dd>"),
                              HasSubstr("<dt>Note</dt><dd>one\ntwo</dd>")));
}

TEST_F(CommandReport, TheOccurrencesOfAWeeklySeriesStandInTheirMonthWithoutItsExceptions) {
  zone_ = "Europe/Berlin";
  Keep("a.ics",
       Calendar("VEVENT", {"SUMMARY:Choir", "LOCATION:Town hall",
                           "DTSTART;TZID=Europe/Berlin:20261005T180000",
                           "DTEND;TZID=Europe/Berlin:20261005T200000", "RRULE:FREQ=WEEKLY;BYDAY=MO",
                           "EXDATE;TZID=Europe/Berlin:20261116T180000"}));
  const std::string page = Page();
  EXPECT_THAT(DaysOf(page, "2026-11"),
              ElementsAre("2026-11-02 18:00 Choir Town hall", "2026-11-09 18:00 Choir Town hall",
                          "2026-11-23 18:00 Choir Town hall", "2026-11-30 18:00 Choir Town hall"));
  // The clock of the place stays when the hour of summer ends.
  EXPECT_EQ(DaysOf(page, "2026-10").back(), "2026-10-26 18:00 Choir Town hall");
  EXPECT_EQ(DaysOf(page, "2026-10").front(), "2026-10-05 18:00 Choir Town hall");
}

TEST_F(CommandReport, AnEventOfSeveralDaysStandsOnEachOfThem) {
  Keep("a.ics", Calendar("VEVENT", {"SUMMARY:Fair", "DTSTART;VALUE=DATE:20261129",
                                    "DTEND;VALUE=DATE:20261202"}) +
                    Calendar("VEVENT", {"SUMMARY:Night", "DTSTART:20261110T220000Z",
                                        "DTEND:20261111T060000Z"}));
  const std::string page = Page();
  EXPECT_THAT(DaysOf(page, "2026-11"),
              ElementsAre("2026-11-10 22:00 Night", "2026-11-11 continued Night",
                          "2026-11-29 all day Fair", "2026-11-30 all day Fair"));
  EXPECT_THAT(DaysOf(page, "2026-12"), ElementsAre("2026-12-01 all day Fair"));
}

TEST_F(CommandReport, AYearBeforeAndAfterTheMonthIsShown) {
  const std::string page = Page({"--month", "2027-02"});
  const Lines months = Between(SectionOf(page, "calendar"), "<h3 id=\"month-", "\">");
  ASSERT_THAT(months, SizeIs(25));
  EXPECT_EQ(months.front(), "2026-02");
  EXPECT_EQ(months.back(), "2028-02");
  EXPECT_THAT(page,
              HasSubstr("<section class=\"month first-shown\" aria-labelledby=\"month-2027-02\">"));
}

TEST_F(CommandReport, AnAppointmentBeyondTheMonthsStandsAmongAllAppointments) {
  Keep("a.ics", Calendar("VEVENT", {"SUMMARY:Long ago", "DTSTART:20050314T101500Z",
                                    "DTEND:20050314T111500Z"}));
  const std::string calendar = SectionOf(Page(), "calendar");
  EXPECT_THAT(calendar, HasSubstr("<li id=\"appointment-1\"><p class=\"name\">Long ago</p><dl>"
                                  "<dt>Start</dt><dd>2005-03-14 10:15</dd>"
                                  "<dt>End</dt><dd>2005-03-14 11:15</dd>"));
}

TEST_F(CommandReport, TasksThatAreDoneStandLast) {
  Keep("a.ics", Calendar("VTODO", {"SUMMARY:Old", "DUE;VALUE=DATE:20260101", "STATUS:COMPLETED"}) +
                    Calendar("VTODO", {"SUMMARY:Late", "DUE;VALUE=DATE:20261224"}) +
                    Calendar("VTODO", {"SUMMARY:Soon", "DUE;VALUE=DATE:20261130"}));
  const std::string tasks = SectionOf(Page(), "tasks");
  EXPECT_THAT(Between(tasks, "<p class=\"name\">", "</p>"), ElementsAre("Soon", "Late", "Old"));
  EXPECT_THAT(
      tasks,
      HasSubstr("<li class=\"complete\"><p class=\"name\">Old</p><p class=\"mark\">Done</p>"));
  EXPECT_THAT(tasks, HasSubstr("<dt>Due</dt><dd>2026-11-30</dd>"));
}

TEST_F(CommandReport, NotesKeepTheirLines) {
  Keep("a.vnt",
       "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:Shopping\r\n"
       "BODY;ENCODING=QUOTED-PRINTABLE:Apples=0D=0APears\r\nEND:VNOTE\r\n");
  const std::string notes = SectionOf(Page(), "notes");
  EXPECT_THAT(Between(notes, "<p class=\"name\">", "</p>"), ElementsAre("Shopping"));
  EXPECT_THAT(Between(notes, "<p class=\"text\">", "</p>").at(0),
              testing::StartsWith("Apples\nPears"));
}

TEST_F(CommandReport, MessagesStandInTheirFoldersTheNewestFirst) {
  Keep("a.vmg", Message("INBOX", "Lunch", "13 Mar 2026 08:15:00 +0100", "At noon?") +
                    Message("INBOX", "Dinner", "14 Mar 2026 08:15:00 +0100", "At eight?") +
                    Message("SENTBOX", "Plans", "15 Mar 2026 08:15:00 +0100", "None") +
                    Message("OUTBOX", "Later", "16 Mar 2026 08:15:00 +0100", "Later"));
  const std::string messages = SectionOf(Page(), "messages");
  EXPECT_THAT(Between(messages, "<h3 id=\"", "</h3>"),
              ElementsAre("inbox\">Inbox <span class=\"count\">2</span>",
                          "sent\">Sent <span class=\"count\">1</span>",
                          "outbox\">Outbox <span class=\"count\">1</span>"));
  EXPECT_THAT(Between(messages, "<span class=\"name\">", "</span>"),
              ElementsAre("Dinner", "Lunch", "Plans", "Later"));
  EXPECT_THAT(Between(messages, "<span class=\"when\">", "</span>").front(), "14 March 2026 07:15");
  EXPECT_THAT(messages, HasSubstr("<p class=\"text\">At eight?"));
}

TEST_F(CommandReport, TheTimeLineNamesWhatIsThereAndNumbersWhatIsGone) {
  Keep("a.vcf", Card({"N:Lee;Ann"}) + Card({"N:Old;Bo"}));
  ASSERT_EQ(Osif({"delete", "pb", "2"}).status, 0);
  const std::string changes = SectionOf(Page(), "changes");
  EXPECT_THAT(Between(changes, "<span class=\"name\">", "</span>"),
              ElementsAre("00000002", "00000002", "Ann Lee"));
  EXPECT_THAT(Between(changes, "<li class=\"", "\">"), ElementsAre("deleted", "saved", "saved"));
  EXPECT_THAT(Between(changes, "<span class=\"kind\">", "</span>"), testing::Each("contact"));
}

TEST_F(CommandReport, SettingsShowWhetherTheyAreSet) {
  ASSERT_EQ(Osif({"settings", "DeviceName", "Ann's <handheld>"}).status, 0);
  const std::string page = Page();
  EXPECT_THAT(
      SectionOf(page, "settings"),
      AllOf(HasSubstr(
                "<th scope=\"row\">DeviceName</th><td>Ann&#39;s &lt;handheld&gt;</td><td>set</td>"),
            HasSubstr("<th scope=\"row\">MinorClass</th><td>4</td><td>default</td>"),
            HasSubstr("<td><span class=\"none\">none</span></td>")));
  EXPECT_THAT(page, HasSubstr("<h1>Ann&#39;s &lt;handheld&gt;</h1>"));
}

TEST_F(CommandReport, AnEmptyDeviceSaysSoInEachSection) {
  const std::string page = Page();
  for (const char* text : {"No contacts.", "No appointments in this month.", "No appointments.",
                           "No tasks.", "No notes.", "No messages.", "No changes."}) {
    EXPECT_THAT(page, HasSubstr(std::string("<p class=\"none\">") + text + "</p>")) << text;
  }
  EXPECT_THAT(page, AllOf(HasSubstr("<h1>Handheld</h1>"), Not(HasSubstr("type=\"search\""))));
}

// ---- What comes from a store does nothing ---------------------------------------------------------------

TEST_F(CommandReport, NoTextOfAStoreBecomesAnElementOrEndsOne) {
  const std::string hostile =
      "</script></style></title><img src=x onerror=\"window.struck=1\">'&amp;<!--";
  const std::string escaped =
      "&lt;/script&gt;&lt;/style&gt;&lt;/title&gt;&lt;img src=x "
      "onerror=&quot;window.struck=1&quot;&gt;"
      "&#39;&amp;amp;&lt;!--";
  Keep("a.vcf", Card({"N:" + hostile, "ORG:" + hostile, "NOTE:" + hostile}));
  Keep("a.ics", Calendar("VEVENT", {"SUMMARY:" + hostile, "LOCATION:" + hostile,
                                    "DTSTART:20261120T150000Z", "DTEND:20261120T160000Z"}) +
                    Calendar("VTODO", {"SUMMARY:" + hostile, "DUE;VALUE=DATE:20261130"}));
  Keep("a.vmg", Message("INBOX", hostile, "13 Mar 2026 08:15:00 +0100", hostile));
  ASSERT_EQ(Osif({"settings", "DeviceName", hostile}).status, 0);
  const std::string page = Page();
  for (const char* section : {"contacts", "calendar", "tasks", "messages", "changes", "settings"}) {
    EXPECT_THAT(SectionOf(page, section), HasSubstr(escaped)) << section;
  }
  EXPECT_THAT(
      page, AllOf(HasSubstr("<title>" + escaped), Not(HasSubstr("<img")), Not(HasSubstr("<!--"))));
  EXPECT_THAT(Between(page, "<script", ">"), ElementsAre(""));
  EXPECT_THAT(Between(page, "</script", ">"), ElementsAre(""));
}

TEST_F(CommandReport, WhatSteersTextIsTakenOutOfNames) {
  // An override of the writing direction, an isolate, a bell, the beginning of a C1 sequence.
  Keep("a.vcf", Card({"N;CHARSET=UTF-8:a\u202Eb\u2066c\x07"
                      "d\u009Be"}));
  const std::string page = Page();
  EXPECT_THAT(Between(SectionOf(page, "contacts"), "<p class=\"name\">", "</p>"),
              ElementsAre("a b c d e"));
  EXPECT_THAT(page,
              AllOf(Not(HasSubstr("\u202E")), Not(HasSubstr("\u2066")), Not(HasSubstr("\x07"))));
}

TEST_F(CommandReport, BytesOfNoCharacterAreMarkedInTheNameOfANote) {
  Keep("a.vnt", "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:x\r\nBODY:y\r\nEND:VNOTE\r\n");
  std::filesystem::rename(device_ + "/Documents/x.pwi", device_ + "/Documents/a\xFF<b.pwi");
  EXPECT_THAT(Between(SectionOf(Page(), "notes"), "<p class=\"name\">", "</p>"),
              ElementsAre("a\uFFFD&lt;b"));
}

TEST_F(CommandReport, ALongNameIsThereToItsEnd) {
  Keep("a.vcf", Card({"N:" + std::string(9'999, 'x') + "y"}));
  EXPECT_THAT(SectionOf(Page(), "contacts"),
              HasSubstr("<p class=\"name\">" + std::string(9'999, 'x') + "y</p>"));
}

TEST_F(CommandReport, ThePolicyComesFirstAndNamesNothingFromOutside) {
  const std::string page = Page();
  const std::string policy = Between(page, "Content-Security-Policy\" content=\"", "\">").at(0);
  EXPECT_THAT(policy,
              testing::MatchesRegex("default-src 'none'; style-src 'sha256-[A-Za-z0-9+/]{43}='; "
                                    "script-src 'sha256-[A-Za-z0-9+/]{43}='; base-uri 'none'; "
                                    "form-action 'none'"));
  EXPECT_LT(page.find("Content-Security-Policy"), page.find("<style>"));
  EXPECT_THAT(page, AllOf(Not(HasSubstr("http://")), Not(HasSubstr("https://")),
                          Not(HasSubstr("@import")), Not(HasSubstr("url("))));
}

TEST_F(CommandReport, TwentyThousandContactsStandInListsOfAHundred) {
  // Everything costs several times as much where it is instrumented.
  const size_t count = support::kIsSanitized ? 6'000 : 20'000;
  std::string cards;
  for (size_t i = 0; i < count; ++i) {
    cards += Card(
        {"N:Lee " + std::to_string(100'000 + i) + ";Ann", "TEL;CELL:+1 555 " + std::to_string(i)});
  }
  ASSERT_EQ(Receive(cards).status, 0);
  const std::string contacts = SectionOf(Page(), "contacts");
  const Lines names = Between(contacts, "<p class=\"name\">", "</p>");
  ASSERT_THAT(names, SizeIs(count));
  EXPECT_EQ(names.front(), "Ann Lee 100000");
  EXPECT_EQ(names.back(), "Ann Lee " + std::to_string(100'000 + count - 1));
  EXPECT_THAT(Between(contacts, "<ul class=\"portion\">", "</ul>"), SizeIs(count / 100));
  EXPECT_THAT(contacts, HasSubstr("<p class=\"text\">Telephone (mobile): +1 555 0</p>"));
}

// ---- The output -----------------------------------------------------------------------------------------

TEST_F(CommandReport, JsonCountsWhatIsInThePage) {
  Keep("a.vcf", Card({"N:Lee;Ann"}) + Card({"N:Old;Bo"}));
  Keep("a.vmg", Message("SENTBOX", "Plans", "15 Mar 2026 08:15:00 +0100", "None"));
  const std::vector<Json> lines = Osif({"report", "--json", "-o", Path("a.html")}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0], (Json{{"file", Path("a.html")},
                            {"contacts", 2},
                            {"appointments", 0},
                            {"tasks", 0},
                            {"notes", 0},
                            {"inbox", 0},
                            {"sent", 1},
                            {"outbox", 0},
                            {"changes", 3},
                            {"settings", 18},
                            {"unread", 0}}));
}

TEST_F(CommandReport, StandardOutputHasThePageAloneAndInJsonOneLine) {
  Keep("a.vcf", Card({"N:Lee;Ann"}));
  const Outcome plain = Osif({"report", "-o", "-", "--month", "2026-11"});
  EXPECT_EQ(plain.status, 0);
  EXPECT_THAT(plain.out,
              AllOf(testing::StartsWith("<!DOCTYPE html>\n"), testing::EndsWith("</html>\n")));
  EXPECT_EQ(
      plain.err,
      "osif: standard output: 1 contact, 0 appointments, 0 tasks, 0 notes, 0 messages, 1 change\n");
  const std::vector<Json> lines = Osif({"report", "-o", "-", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_TRUE(lines[0]["file"].is_null());
  EXPECT_THAT(lines[0]["text"].get<std::string>(), HasSubstr("<p class=\"name\">Ann Lee</p>"));
}

TEST_F(CommandReport, AMonthThatIsNoneIsWrongUsage) {
  for (const char* month : {"2026-13", "2026-00", "2026", "26-11", "2026-1x", "1500-01", ""}) {
    const Outcome outcome = Osif({"report", "-o", Path("a.html"), "--month", month});
    EXPECT_EQ(outcome.status, 2) << month;
    EXPECT_THAT(outcome.err, HasSubstr("is no month such as 2026-11")) << month;
  }
  EXPECT_FALSE(std::filesystem::exists(Path("a.html")));
}

TEST_F(CommandReport, AFullDiskLeavesThePageThatWasThere) {
  Keep("a.vcf", Card({"N:Lee;Ann"}));
  const std::string file = Write("a.html", "the page before");
  const Outcome outcome = [&] {
    const support::FullDisk disk(65'536);
    return Osif({"report", "-o", file});
  }();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("osif: " + file + ": File too large"));
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(BytesOf(file), "the page before");
}

TEST_F(CommandReport, AFolderThatIsMissingOrFullStandardOutputIsToldAndNothingElse) {
  const Outcome missing = Osif({"report", "-o", Path("none/a.html")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.err, HasSubstr("none/a.html"));
  const Outcome folder = Osif({"report", "-o", folder_});
  EXPECT_EQ(folder.status, 1);
  EXPECT_EQ(missing.out + folder.out, "");
}

TEST_F(CommandReport, NothingOfTheDeviceIsChanged) {
  Keep("a.vcf", Card({"N:Lee;Ann"}));
  Keep("a.vmg", Message("INBOX", "Lunch", "13 Mar 2026 08:15:00 +0100", "At noon?"));
  const std::map<std::string, std::string> before = FilesOfDevice();
  ASSERT_THAT(before, testing::Contains(testing::Key("device.db")));
  Page();
  EXPECT_EQ(FilesOfDevice(), before);
}

TEST_F(CommandReport, ANoteThatCannotBeReadIsToldInThePageAndInTheStatus) {
  Keep("a.vcf", Card({"N:Lee;Ann"}));
  support::PutBytes(device_ + "/Documents/bad.pwi", "no ink");
  const Outcome outcome = Osif({"report", "-o", Path("a.html")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("bad.pwi is no ink document"));
  EXPECT_THAT(BytesOf(Path("a.html")), HasSubstr("1 object could not be read, and is not shown."));
}

TEST_F(CommandReport, ADamagedDeviceGivesNoPage) {
  Keep("a.vcf", Card({"N:Lee;Ann"}));
  support::PutBytes(device_ + "/device.db", "no database");
  const Outcome outcome = Osif({"report", "-o", Path("a.html")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, Not(IsEmpty()));
  EXPECT_FALSE(std::filesystem::exists(Path("a.html")));
}

}  // namespace
}  // namespace command_test::report_test

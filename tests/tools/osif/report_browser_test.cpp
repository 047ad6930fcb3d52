// The page in a real browser (report_browser.py, which speaks WebDriver): looked at, typed into, walked through by keys.
// Skipped where there is no chromium with its chromedriver.
#include "tests/tools/osif/report_fixture.h"

namespace command_test::report_browser_test {
namespace {

constexpr int kSkipped = 77;

class ReportInBrowser : public ReportTest {
 protected:
  // Lets the script look at a page in some ways, each of which has a name there.
  void LookAt(const std::string& page, const Lines& names) const {
    if (access("/usr/bin/python3", X_OK) != 0) GTEST_SKIP() << "there is no Python";
    Lines arguments = {"/usr/bin/python3",
                       support::kSources + "/tests/tools/osif/report_browser.py", page};
    arguments.insert(arguments.end(), names.begin(), names.end());
    const Outcome outcome = Run(arguments);
    if (outcome.status == kSkipped) GTEST_SKIP() << outcome.out;
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    for (const std::string& name : names) {
      EXPECT_THAT(outcome.out, testing::HasSubstr(name + ": as it should be"));
    }
  }

  // A page with something of everything, names among it that would do harm.
  std::string FullPage() const {
    const std::string hostile = "</script><img src=x onerror=\"window.struck=1\">";
    Keep("a.vcf", Card({"N:Lee;Ann", "TEL;CELL:+1 555 0178"}) +
                      Card({"N;CHARSET=UTF-8:Müßig;Jörg", "TEL;CELL:+1 555 0177"}) +
                      Card({"N:" + hostile, "NOTE:" + Repeated(hostile, 50)}) +
                      Card({"N:" + std::string(10'000, 'W')}) + Card({"N:Gone;Bo"}));
    EXPECT_EQ(Osif({"delete", "pb", "5"}).status, 0);
    Keep("a.ics", Calendar("VEVENT", {"SUMMARY:Choir", "LOCATION:" + std::string(300, 'M'),
                                      "DTSTART:20261005T180000Z", "DTEND:20261005T200000Z",
                                      "RRULE:FREQ=WEEKLY;BYDAY=MO"}) +
                      Calendar("VEVENT", {"SUMMARY:" + hostile, "DTSTART;VALUE=DATE:20261110"}) +
                      Calendar("VTODO", {"SUMMARY:Ladder", "DUE;VALUE=DATE:20261130"}));
    Keep("a.vnt", "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:Shopping\r\nBODY:" +
                      std::string(2'000, 'x') + "\r\nEND:VNOTE\r\n");
    Keep("a.vmg", Message("INBOX", hostile, "13 Mar 2026 08:15:00 +0100", Repeated("long ", 500)));
    EXPECT_EQ(Osif({"settings", "DeviceName", std::string(200, 'W')}).status, 0);
    Page();
    return Path("page.html");
  }
};

TEST_F(ReportInBrowser, AsksNobodyForAnythingAndRunsNothingOfAStore) {
  LookAt(FullPage(), {"quiet"});
}

TEST_F(ReportInBrowser, FindsContactsWhileOneTypes) { LookAt(FullPage(), {"search"}); }

TEST_F(ReportInBrowser, TurnsTheMonthsByKeys) { LookAt(FullPage(), {"months"}); }

TEST_F(ReportInBrowser, IsWalkedThroughByTheTabKey) { LookAt(FullPage(), {"keyboard"}); }

TEST_F(ReportInBrowser, HasLandmarksHeadingsAndNames) { LookAt(FullPage(), {"structure"}); }

TEST_F(ReportInBrowser, ScrollsNowhereSidewaysOnATelephone) { LookAt(FullPage(), {"narrow"}); }

TEST_F(ReportInBrowser, HasEnoughContrastInTheLightAndInTheDark) {
  LookAt(FullPage(), {"colours"});
}

TEST_F(ReportInBrowser, ShowsAllWithoutScripts) { LookAt(FullPage(), {"without_scripts"}); }

}  // namespace
}  // namespace command_test::report_browser_test

// What we write is read by programs that others wrote: what they understand is compared with what was meant. Each is
// skipped where it is not installed.
#include <libical/ical.h>

#include <algorithm>

#include "tests/tools/osif/command_fixture.h"

namespace command_test::independent_readers_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kPython = "/usr/bin/python3";

class IndependentReader : public CommandTest {
 protected:
  static bool Has(const std::string& program) { return access(program.c_str(), X_OK) == 0; }

  bool HasModule(const std::string& module) const {
    return Has(kPython) && Run({kPython, "-c", "import " + module}).status == 0;
  }

  // What a program of Python prints about a file.
  std::string Python(const std::string& program, const std::string& file) const {
    const Outcome outcome = Run({kPython, Write("read.py", program), file});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.out;
  }

  // What another calendar program lists of the exported ones in a year, in UTC: the lines with a summary.
  Lines ListedByKhal(const std::string& summary) const {
    EXPECT_EQ(Osif({"export", "cal", "--split", Path("cal"), "--as", "ical20"}).status, 0);
    const std::string settings = Write(
        "khal.conf",
        "[calendars]\n[[all]]\npath = " + Path("cal") +
            "\n[locale]\nlocal_timezone = UTC\ndefault_timezone = UTC\ntimeformat = %H:%M\n"
            "dateformat = %Y-%m-%d\nlongdateformat = %Y-%m-%d\ndatetimeformat = %Y-%m-%d %H:%M\n"
            "longdatetimeformat = %Y-%m-%d %H:%M\n[sqlite]\npath = " +
            Path("khal.db") + "\n");
    const Outcome listed =
        Run({"/usr/bin/khal", "-c", settings, "list", "--format",
             "{start-date} {start-time}-{end-time} {title}", "2027-01-01", "2027-12-31"});
    EXPECT_EQ(listed.status, 0) << listed.err;
    Lines events;
    for (const std::string& line : listed.OutLines()) {
      if (line.find(summary) != std::string::npos) events.push_back(line);
    }
    return events;
  }

  const std::string card_ =
      "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=UTF-8:Müller, Dr.;Jörg;M\\;X\r\n"
      "ORG:Works;Research\r\nTEL;CELL:+49 151 5550100\r\nTEL;WORK;FAX:+49 30 555\r\n"
      "EMAIL;INTERNET:joerg@a.example\r\nADR;HOME:;;Weg 1, Hof;Ulm;;89073;Germany\r\n"
      "NOTE;ENCODING=QUOTED-PRINTABLE:one, two=0D=0Athree\\; four\r\nBDAY:19840530\r\n"
      "END:VCARD\r\n";
  const std::string series_ =
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nDTSTART:20270113T130000Z\r\n"
      "DTEND:20270113T143000Z\r\nSUMMARY;CHARSET=UTF-8:Planung, zweite Runde für alle\r\n"
      "LOCATION:Room 4\\; ground\r\nRRULE:MP1 2+ WE #6\r\nEXDATE:20270310T130000Z\r\n"
      "END:VEVENT\r\nEND:VCALENDAR\r\n";
};

TEST_F(IndependentReader, OfVersion3ReadsEveryFieldOfACard) {
  if (!HasModule("vobject")) GTEST_SKIP() << "python3-vobject is not installed";
  const std::string file = Write("in.vcf", card_);
  ASSERT_EQ(Osif({"convert", "--to", "vcard30", file, "-o", Path("out.vcf")}).status, 0);
  EXPECT_EQ(Python("import sys, vobject\n"
                   "c = vobject.readOne(open(sys.argv[1], newline='', encoding='utf-8').read())\n"
                   "print(c.version.value, c.n.value.family, c.n.value.given, "
                   "c.n.value.additional, sep='|')\n"
                   "print(c.fn.value)\n"
                   "print(c.org.value)\n"
                   "for t in c.tel_list: print(sorted(t.params['TYPE']), t.value)\n"
                   "print(c.email.value)\n"
                   "print(c.adr.value.street, c.adr.value.city, c.adr.value.code, "
                   "c.adr.value.country, sep='|')\n"
                   "print(repr(c.note.value))\n"
                   "print(c.bday.value)\n",
                   Path("out.vcf")),
            "3.0|Müller, Dr.|Jörg|M;X\n"
            "Jörg M;X Müller, Dr.\n"
            "['Works', 'Research']\n"
            "['cell'] +49 151 5550100\n"
            "['fax', 'work'] +49 30 555\n"
            "joerg@a.example\n"
            "Weg 1, Hof|Ulm|89073|Germany\n"
            "'one, two\\nthree; four'\n"
            "1984-05-30\n");
}

TEST_F(IndependentReader, OfAddressBooksShowsContactsOfBothVersions) {
  if (!Has("/usr/bin/khard")) GTEST_SKIP() << "khard is not installed";
  ASSERT_EQ(Osif({"receive", Write("in.vcf", card_)}).status, 0);
  for (const std::string form : {"vcard30", "vcard40"}) {
    SCOPED_TRACE(form);
    const std::string book = Path(form);
    ASSERT_EQ(Osif({"export", "pb", "--split", book, "--as", form}).status, 0);
    const std::string settings =
        Write(form + ".conf", "[addressbooks]\n[[all]]\npath = " + book +
                                  "\n[general]\ndefault_action = list\neditor = true\n"
                                  "merge_editor = true\n");
    const Outcome shown = Run({"/usr/bin/khard", "-c", settings, "show", "Jörg"});
    EXPECT_EQ(shown.status, 0) << shown.err;
    EXPECT_THAT(shown.out, AllOf(HasSubstr("Müller"), HasSubstr("+49 151 5550100"),
                                 HasSubstr("joerg@a.example"), HasSubstr("Ulm")));
  }
}

TEST_F(IndependentReader, OfCalendarsFindsTheOccurrencesOfASeries) {
  if (!Has("/usr/bin/khal")) GTEST_SKIP() << "khal is not installed";
  ASSERT_EQ(Osif({"receive", Write("in.vcs", series_)}).status, 0);
  EXPECT_THAT(ListedByKhal("Planung"),
              testing::ElementsAre("2027-01-13 13:00-14:30 Planung, zweite Runde für alle",
                                   "2027-02-10 13:00-14:30 Planung, zweite Runde für alle",
                                   "2027-04-14 13:00-14:30 Planung, zweite Runde für alle",
                                   "2027-05-12 13:00-14:30 Planung, zweite Runde für alle",
                                   "2027-06-09 13:00-14:30 Planung, zweite Runde für alle"));
}

// A series at nine by the clock in Berlin, over both changes of the clocks there.
constexpr const char* kOverTheYear =
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nDTSTART:20270115T090000\r\n"
    "DTEND:20270115T100000\r\nSUMMARY:Tour\r\nRRULE:MD2 15 #6\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";

TEST_F(IndependentReader, OfCalendarsKeepsTheClockOfASeriesOverTheYear) {
  if (!Has("/usr/bin/khal")) GTEST_SKIP() << "khal is not installed";
  zone_ = "Europe/Berlin";
  ASSERT_EQ(Osif({"receive", Write("in.vcs", kOverTheYear)}).status, 0);
  EXPECT_THAT(ListedByKhal("Tour"),
              testing::ElementsAre("2027-01-15 08:00-09:00 Tour", "2027-03-15 08:00-09:00 Tour",
                                   "2027-05-15 07:00-08:00 Tour", "2027-07-15 07:00-08:00 Tour",
                                   "2027-09-15 07:00-08:00 Tour", "2027-11-15 08:00-09:00 Tour"));
}

TEST_F(IndependentReader, StrictOfCalendarsKeepsTheClockOfASeriesOverTheYear) {
  zone_ = "Europe/Berlin";
  ASSERT_EQ(
      Osif({"convert", "--to", "ical20", Write("in.vcs", kOverTheYear), "-o", Path("out.ics")})
          .status,
      0);
  const std::string text = BytesOf(Path("out.ics"));
  EXPECT_LT(std::ranges::count(text, '\n'), 35) << text;
  icalcomponent* calendar = icalparser_parse_string(text.c_str());
  ASSERT_NE(calendar, nullptr);
  icalcomponent* event = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT);
  ASSERT_NE(event, nullptr);
  Lines times;
  const auto add = [](icalcomponent*, icaltime_span* span, void* given) {
    const icaltimetype time =
        icaltime_from_timet_with_zone(span->start, 0, icaltimezone_get_utc_timezone());
    static_cast<Lines*>(given)->emplace_back(icaltime_as_ical_string(time));
  };
  icalcomponent_foreach_recurrence(event, icaltime_from_string("20270101T000000Z"),
                                   icaltime_from_string("20280101T000000Z"), add, &times);
  EXPECT_THAT(times,
              testing::ElementsAre("20270115T080000Z", "20270315T080000Z", "20270515T070000Z",
                                   "20270715T070000Z", "20270915T070000Z", "20271115T080000Z"));
  icalcomponent_free(calendar);
}

TEST_F(IndependentReader, StrictOfCalendarsFindsNothingToComplainOf) {
  ASSERT_EQ(
      Osif({"convert", "--to", "ical20", Write("in.vcs", series_), "-o", Path("out.ics")}).status,
      0);
  icalcomponent* calendar = icalparser_parse_string(BytesOf(Path("out.ics")).c_str());
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(icalcomponent_count_errors(calendar), 0);
  EXPECT_NE(icalrestriction_check(calendar), 0);
  EXPECT_EQ(icalcomponent_count_errors(calendar), 0);
  icalcomponent* event = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT);
  ASSERT_NE(event, nullptr);
  EXPECT_STREQ(icalcomponent_get_summary(event), "Planung, zweite Runde für alle");
  EXPECT_STREQ(icalcomponent_get_location(event), "Room 4; ground");
  icalcomponent_free(calendar);
}

TEST_F(IndependentReader, OfMailReadsTheMessagesOfAnMbox) {
  if (!HasModule("mailbox")) GTEST_SKIP() << "Python is not installed";
  const std::string file = Write(
      "in.vmg",
      "BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:SMS\r\n"
      "X-BT-FOLDER:INBOX\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nDate:Fri, 24 Dec 2010 18:30:00 GMT\r\n"
      "From:petra@example.org\r\nTo:jan@example.org\r\nSubject:Gr=FC\r\n"
      "Content-Type:text/plain; charset=UTF-8\r\n\r\nGrüße\r\nFrom here to there\r\nEND:VBODY\r\n"
      "END:VENV\r\nEND:VMSG\r\n"
      "BEGIN:VMSG\r\nVERSION:1.1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:SMS\r\n"
      "X-BT-FOLDER:INBOX\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nDate:Sat, 25 Dec 2010 08:00:00 GMT\r\n"
      "From:petra@example.org\r\nSubject:Two\r\n\r\nSecond\r\nEND:VBODY\r\nEND:VENV\r\nEND:"
      "VMSG\r\n");
  ASSERT_EQ(Osif({"convert", "--to", "mbox", file, "-o", Path("out.mbox")}).status, 0);
  EXPECT_EQ(
      Python("import sys, mailbox, email.utils\n"
             "for m in mailbox.mbox(sys.argv[1]):\n"
             "  text = m.get_payload(decode=True).decode(m.get_content_charset() or 'ascii')\n"
             "  print(email.utils.parseaddr(m['From'])[1], m['Date'], text.replace('\\r\\n', "
             "'\\n').strip().replace('\\n>From', '\\nFrom'), sep='|')\n",
             Path("out.mbox")),
      "petra@example.org|Fri, 24 Dec 2010 18:30:00 +0000|Grüße\nFrom here to there\n"
      "petra@example.org|Sat, 25 Dec 2010 08:00:00 +0000|Second\n");
}

}  // namespace
}  // namespace command_test::independent_readers_test

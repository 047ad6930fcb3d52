// Appointments and tasks as real programs and devices send them: what is stored of each, and what is sent of
// it again. The files lie in the folder that OSIF_CORPUS names; without it these tests are skipped.
#include <sstream>

#include "BtOsif_pol/pol_dispatch.h"
#include "btosif/osif_generators/vcalendar_writer.h"
#include "tests/BtOsif_pol/stored_items.h"
#include "tests/support/corpus.h"

namespace corpus_calendar_test {
namespace {

using namespace support;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

int Code(OsifResult result) { return static_cast<int>(result); }

// The lines of a calendar that say something: without its frame, its id and its empty properties.
TextLines FilledLines(const std::string& calendar) {
  TextLines lines;
  std::istringstream text(calendar);
  bool goes_on = false;  // the line before was broken
  for (std::string line; std::getline(text, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const bool is_frame = line.rfind("BEGIN:", 0) == 0 || line.rfind("END:", 0) == 0 ||
                          line.rfind("X-IRMC-LUID:", 0) == 0 || line == "VERSION:1.0";
    const bool is_empty = line.find_first_of(":;") == line.size() - 1;
    if (goes_on || !(is_frame || is_empty)) lines.push_back(line);
    goes_on = !line.empty() && line.back() == '=';
  }
  return lines;
}

// An item that was received: what is stored of it, and what is sent of it.
struct Received {
  TextLines stored;
  TextLines sent;
};

class CorpusCalendar : public CalendarTest {
 protected:
  void SetUp() override {
    const std::string corpus = support::CorpusFolder();
    if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
    folder_ = corpus + "/vcalendar/";
    CalendarTest::SetUp();
  }

  // Stores the items of a file.
  int Receive(const std::string& name) {
    OsifStream stream = Open(folder_ + name + ".vcs", u"rb");
    auto store = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
      char id[OSIF_ID_SIZE] = "";
      EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, object, id, nullptr)), OSIF_OK);
      const bool is_event = object->calendarKind == OSIF_CALENDAR_EVENT;
      static_cast<CorpusCalendar*>(context)->Fetch(id, is_event);
      return 0;
    };
    return Code(VCalendar_ReadFile(stream, store, this));
  }

  // The only item of a file.
  Received Only(const std::string& name, int result = OSIF_PARSE_WARNING) {
    EXPECT_EQ(Receive(name), result);
    EXPECT_THAT(items_, SizeIs(1));
    return items_.empty() ? Received() : items_.front();
  }

  std::vector<Received> items_;

 private:
  void Fetch(const std::string& id, bool is_event) {
    IDispatch* item = nullptr;
    const LONG oid = static_cast<LONG>(std::stoul(id, nullptr, 16));
    ASSERT_EQ(pol_Application()->GetItemFromOid(oid, &item), S_OK);
    ComPtr<IDispatch> owner(item);
    OwnedObject object(OSIF_STORE_CAL);
    ASSERT_EQ(Code(POL_GetObjectById(OSIF_STORE_CAL, id.c_str(), object.get())), OSIF_OK);
    const std::string sent =
        BytesWritten([&](OsifStream& stream) { VCalendar_Write(stream, *object, 1); });
    items_.push_back({is_event ? StoredLines(*static_cast<IAppointment*>(item))
                               : StoredLines(*static_cast<ITask*>(item)),
                      FilledLines(sent)});
  }

  std::string folder_;
};

TEST_F(CorpusCalendar, OfASmartphoneWithAWeeklyAppointment) {
  const Received item = Only("groupoffice__symbian-weekly");
  EXPECT_THAT(item.stored,
              ElementsAre("Subject weekly test", "Start 20040503T160000", "End 20040503T170000",
                          "Pattern type 1 every 1 mask 2 forever"));
  EXPECT_THAT(item.sent, ElementsAre("SUMMARY:weekly test", "DTSTART:20040503T160000Z",
                                     "DTEND:20040503T170000Z", "CLASS:PUBLIC", "PRIORITY:0",
                                     "STATUS:NEEDS ACTION", "RRULE:W1 MO #0",
                                     "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

// Its texts are UTF-8 and do not say so.
TEST_F(CorpusCalendar, OfAWebCalendarThatDoesNotNameItsCharacterSet) {
  const Received item = Only("gammu__outlook");
  const std::string quote = "\xC3\xA2\xE2\x82\xAC\xE2\x84\xA2";
  const std::string encoded = "=C3=A2=E2=82=AC=E2=84=A2";
  const std::string rest =
      " convention will incorporate a Caribbean theme and feature a variety of speakers, including "
      "Lee Finley, Tony Orso, Jay Hemdal, and Tony Pinto. Auctions, bingo games, and an awards "
      "show "
      "comprise a sampling of the myriad events. Feasts include a Friday-night dinner buffet and "
      "an "
      "all-American buffet breakfast and night banquet on Saturday. For more information, visit "
      "http";
  EXPECT_THAT(
      item.stored,
      ElementsAre(
          "Subject Northeast Council of Aquarium Societies 35th Annual Convention",
          "Location Cromwell, CT", "Start 20100226T080000", "End 20100226T083000",
          "Body The Northeast Council of Aquarium Societies" + quote +
              " 35th Annual Convention will be held at the Crowne Plaza Hotel in Cromwell, CT. "
              "This year" +
              quote + "s" + rest + "://northeastcouncil.org/convention.",
          "Pattern type 0 every 1 until 20100228 times 3"));
  EXPECT_THAT(
      item.sent,
      ElementsAre(
          "SUMMARY:Northeast Council of Aquarium Societies 35th Annual Convention",
          "DESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:"
          "The Northeast Council of Aquarium Societies" +
              encoded +
              " 35th Annual Convention will be held at the Crowne Plaza Hotel in Cromwell, CT. "
              "This year" +
              encoded + "s" + rest + "=3A//northeastcouncil.org/convention.",
          "DTSTART:20100226T080000Z", "DTEND:20100226T083000Z", "CLASS:PUBLIC", "PRIORITY:0",
          "STATUS:NEEDS ACTION", "LOCATION:Cromwell, CT", "RRULE:D1 #3 20100228T000000Z",
          "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

// An appointment without an end takes the hour of a new one; an empty attendee is one all the same.
TEST_F(CorpusCalendar, OfACommunicatorWithARequest) {
  const Received item = Only("symbian-organizer__Nokia9110_9110appt-request");
  EXPECT_THAT(item.stored,
              ElementsAre("Subject example", "Categories APPOINTMENT", "Start 20000104T090000",
                          "End 20000104T100000", "Body example", "Recipient '' ''"));
  EXPECT_THAT(item.sent,
              ElementsAre("SUMMARY:example", "DESCRIPTION:example", "DTSTART:20000104T090000Z",
                          "DTEND:20000104T100000Z", "CLASS:PUBLIC", "PRIORITY:0",
                          "STATUS:NEEDS ACTION", "CATEGORIES:APPOINTMENT",
                          "ATTENDEE;ROLE=ATTENDEE:", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

TEST_F(CorpusCalendar, OfAHandheldWithAnAppointmentEveryThreeDays) {
  const Received item = Only("symbian-organizer__Palm5_Repeat-every3days-end30");
  EXPECT_THAT(item.stored,
              ElementsAre("Start 19991113T170000", "End 19991113T180000", "Body Repeat3days end30",
                          "Pattern type 0 every 3 until 19991130 times 6"));
  EXPECT_THAT(item.sent, ElementsAre("DESCRIPTION:Repeat3days end30", "DTSTART:19991113T170000Z",
                                     "DTEND:19991113T180000Z", "CLASS:PUBLIC", "PRIORITY:0",
                                     "STATUS:NEEDS ACTION", "RRULE:D3 #6 19991130T000000Z",
                                     "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

TEST_F(CorpusCalendar, OfAnOrganizerWithAnAlarm) {
  const Received item = Only("symbian-organizer__EpocER5_timedapptwithalarm");
  EXPECT_THAT(item.stored, ElementsAre("Start 20000110T090000", "End 20000110T100000",
                                       "Body timed appointment with alarm", "Reminder 15"));
  EXPECT_THAT(item.sent,
              ElementsAre("DESCRIPTION:timed appointment with alarm", "DTSTART:20000110T090000Z",
                          "DTEND:20000110T100000Z", "CLASS:PUBLIC", "PRIORITY:0",
                          "STATUS:NEEDS ACTION", "DALARM:20000110T084500Z",
                          "AALARM:20000110T084500Z", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

TEST_F(CorpusCalendar, OfATelephone) {
  const Received item = Only("symbian-messaging__script-EricssonT300-event");
  EXPECT_THAT(item.stored, ElementsAre("Start 19991020T090000", "End 19991020T100000",
                                       "Body ModifiedAppointment"));
  EXPECT_THAT(item.sent, ElementsAre("DESCRIPTION:ModifiedAppointment", "DTSTART:19991020T090000Z",
                                     "DTEND:19991020T100000Z", "CLASS:PUBLIC", "PRIORITY:0",
                                     "STATUS:NEEDS ACTION", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

// Its alarms are of 1996, its appointment is of 2014.
TEST_F(CorpusCalendar, OfATelephoneWithAlarmsOfAllKinds) {
  const Received item = Only("tizen-calendar__alarms");
  EXPECT_THAT(item.stored, ElementsAre("Start 20140721T000000", "End 20140721T010000"));
  EXPECT_THAT(item.sent,
              ElementsAre("DTSTART:20140721T000000Z", "DTEND:20140721T010000Z", "CLASS:PUBLIC",
                          "PRIORITY:0", "STATUS:NEEDS ACTION", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
  EXPECT_THAT(Trace(), Contains("OSIF:  DALARM 'Reminder date/time' is more than 45 days before "
                                "the START date."));
}

// It reminds in the morning of the day; a task is due at the beginning of its day.
TEST_F(CorpusCalendar, OfATelephoneWithATaskThatIsDueBeforeItsAlarm) {
  const Received item = Only("funambol-test__n78-todo-alarm");
  EXPECT_THAT(item.stored, ElementsAre("Subject Task n78", "StartDate 20090129T000000",
                                       "DueDate 20090129T000000", "Sensitivity 2"));
  EXPECT_THAT(item.sent, ElementsAre("CLASS:PRIVATE", "DTSTART:20090129", "DUE:20090129",
                                     "PRIORITY:2", "STATUS:NEEDS ACTION", "SUMMARY:Task n78"));
  EXPECT_THAT(Trace(), Contains("OSIF:  Reminder date/time is after the DUE date."));
}

TEST_F(CorpusCalendar, OfATelephoneWithATaskWhoseAlarmsHaveNoDay) {
  const Received item = Only("idx__sonyericsson-vtodo-zero-date");
  EXPECT_THAT(item.stored, ElementsAre("Subject **keyword**", "Categories MISCELLANEOUS"));
  EXPECT_THAT(item.sent, ElementsAre("CATEGORIES:MISCELLANEOUS", "CLASS:PUBLIC", "PRIORITY:2",
                                     "STATUS:NEEDS ACTION", "SUMMARY:**keyword**"));
}

TEST_F(CorpusCalendar, OfADesktopOrganizerWithAPrivateAppointment) {
  const Received item = Only("symbian-organizer__Outlook2000_timed-appointment");
  EXPECT_THAT(item.stored, ElementsAre("Subject timed appointment", "Categories Business",
                                       "Start 20000112T200000", "End 20000112T203000",
                                       "Sensitivity 2", "Body timed appointment"));
  EXPECT_THAT(item.sent, ElementsAre("SUMMARY:timed appointment", "DESCRIPTION:timed appointment",
                                     "DTSTART:20000112T200000Z", "DTEND:20000112T203000Z",
                                     "CLASS:PRIVATE", "PRIORITY:0", "STATUS:NEEDS ACTION",
                                     "CATEGORIES:Business", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

// Only the first of its categories is taken; its times, location and attendee have no place in a task.
TEST_F(CorpusCalendar, OfADesktopOrganizerWithATask) {
  const Received item = Only("opensync__todo-full1");
  EXPECT_THAT(item.stored,
              ElementsAre("Subject title", "Categories Birthday", "StartDate 20050306T000000",
                          "DueDate 20050313T000000", "Importance 0", "Body Description"));
  EXPECT_THAT(item.sent, ElementsAre("CATEGORIES:Birthday", "CLASS:PUBLIC",
                                     "DESCRIPTION:Description", "DTSTART:20050306", "DUE:20050313",
                                     "PRIORITY:3", "STATUS:NEEDS ACTION", "SUMMARY:title"));
}

// Its day ends at 24:00:00.
TEST_F(CorpusCalendar, OfASmartphoneWithAWholeDayInUtc) {
  const Received item = Only("horde-syncml__P900_tasksandcalendar_11_2");
  EXPECT_THAT(item.stored, ElementsAre("Subject cIient1 christmas all day", "Start 20061225T000000",
                                       "End 20061226T000000", "Body uumlaut: \xC3\xBC"));
  EXPECT_THAT(item.sent,
              ElementsAre("SUMMARY:cIient1 christmas all day",
                          "DESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:uumlaut=3A =C3=BC",
                          "DTSTART:20061225T000000Z", "DTEND:20061226T000000Z", "CLASS:PUBLIC",
                          "PRIORITY:0", "STATUS:NEEDS ACTION", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

TEST_F(CorpusCalendar, OfAGroupwareServerWithAnExceptionAndUmlauts) {
  const Received item = Only("horde-kronolith__export1");
  EXPECT_THAT(item.stored,
              ElementsAre("Subject H\xC3\xBC"
                          "bscher Termin",
                          "Location Allg\xC3\xA4u", "Categories Sch\xC3\xB6ngeistiges",
                          "Start 20070315T121020", "End 20070315T132000",
                          "Body Sch\xC3\xB6ne Bescherung\nNew line", "Reminder 10",
                          "Pattern type 0 every 2 forever", "Exception 20070319T121020"));
  EXPECT_THAT(
      item.sent,
      ElementsAre("SUMMARY;CHARSET=UTF-8:H\xC3\xBC"
                  "bscher Termin",
                  "DESCRIPTION;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Sch=C3=B6ne Bescherung=0A=",
                  "New line", "DTSTART:20070315T121020Z", "DTEND:20070315T132000Z", "CLASS:PUBLIC",
                  "PRIORITY:0", "STATUS:NEEDS ACTION", "LOCATION;CHARSET=UTF-8:Allg\xC3\xA4u",
                  "CATEGORIES;CHARSET=UTF-8:Sch\xC3\xB6ngeistiges", "DALARM:20070315T120020Z",
                  "AALARM:20070315T120020Z", "RRULE:D2 #0", "EXDATE:20070319T121020Z",
                  "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

TEST_F(CorpusCalendar, OfALibraryWithAnEventAndATodo) {
  EXPECT_EQ(Receive("libvformat__adhoc_vcal_1"), OSIF_PARSE_WARNING);
  ASSERT_THAT(items_, SizeIs(2));
  EXPECT_THAT(items_[0].stored,
              ElementsAre("Subject Steve's Proposal Review", "Categories MEETING",
                          "Start 19960401T073000", "End 19960401T083000", "Sensitivity 2",
                          "Body Steve and John to review newest proposal material"));
  EXPECT_THAT(items_[0].sent,
              ElementsAre("SUMMARY:Steve's Proposal Review",
                          "DESCRIPTION:Steve and John to review newest proposal material",
                          "DTSTART:19960401T073000Z", "DTEND:19960401T083000Z", "CLASS:PRIVATE",
                          "PRIORITY:0", "STATUS:NEEDS ACTION", "CATEGORIES:MEETING",
                          "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
  EXPECT_THAT(items_[1].stored,
              ElementsAre("Subject John to pay for lunch", "DueDate 19960401T000000"));
  EXPECT_THAT(items_[1].sent, ElementsAre("CLASS:PUBLIC", "DUE:19960401", "PRIORITY:2",
                                          "STATUS:NEEDS ACTION", "SUMMARY:John to pay for lunch"));
}

// A blank line stands between its calendars, and ends the reading.
TEST_F(CorpusCalendar, OfASynchronizationClientEndAtTheBlankLineBetweenThem) {
  const Received item = Only("syncevolution__vcal10");
  EXPECT_THAT(item.stored,
              ElementsAre("Subject recurrence weekly, limited", "Start 20060406T170000",
                          "End 20060406T173000", "Body recurrs four times due its end date",
                          "Pattern type 1 every 1 mask 16 until 20060427 times 4"));
  EXPECT_THAT(
      item.sent,
      ElementsAre("SUMMARY:recurrence weekly, limited",
                  "DESCRIPTION:recurrs four times due its end date", "DTSTART:20060406T170000Z",
                  "DTEND:20060406T173000Z", "CLASS:PUBLIC", "PRIORITY:0", "STATUS:NEEDS ACTION",
                  "RRULE:W1 TH #4 20060427T000000Z", "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

TEST_F(CorpusCalendar, OfAMailServerWithAnAttendeeOfNameAndAddress) {
  const Received item = Only("perl-data-ical__version1");
  const std::string address = "!uuid!d66c7c82-b897-1031-9c2a-001517b0b2c8!ashley@example.com";
  EXPECT_THAT(item.stored, ElementsAre("Subject cal1", "Categories none", "Start 20121210T130000",
                                       "End 20121210T140000", "Sensitivity 2", "Body bleh",
                                       "Recipient 'ashley willis' '" + address + "'"));
  EXPECT_THAT(item.sent, ElementsAre("SUMMARY:cal1", "DESCRIPTION:bleh", "DTSTART:20121210T130000Z",
                                     "DTEND:20121210T140000Z", "CLASS:PRIVATE", "PRIORITY:0",
                                     "STATUS:NEEDS ACTION", "CATEGORIES:none",
                                     "ATTENDEE;ROLE=ATTENDEE:ashley willis <" + address + ">",
                                     "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

// The last line of its event runs into the END, and the calendar's END stands for the event's.
TEST_F(CorpusCalendar, OfAWebSiteWithoutAnEndAreStoredBeforeTheErrorShows) {
  const Received item = Only("tika__testVCalendar", OSIF_PARSE_ERROR);
  EXPECT_THAT(item.stored,
              ElementsAre("Subject Battleme, My Goodness, the Ax",
                          "Location Mississippi Studios (3939 N Mississippi Ave., Portland, OR)",
                          "Start 20121201T210000", "End 20121201T220000"));
  EXPECT_THAT(
      item.sent,
      ElementsAre("SUMMARY:Battleme, My Goodness, the Ax", "DTSTART:20121201T210000Z",
                  "DTEND:20121201T220000Z", "CLASS:PUBLIC", "PRIORITY:0", "STATUS:NEEDS ACTION",
                  "LOCATION:Mississippi Studios (3939 N Mississippi Ave., Portland, OR)",
                  "X-BLUETOOTH-ALLDAYEVENT:FALSE"));
}

// Its BEGIN lines end in a colon, which makes another word of each.
TEST_F(CorpusCalendar, OfAPhoneManagerWithAColonBehindVeventAreRefused) {
  EXPECT_EQ(Receive("gnokii__test"), OSIF_PARSE_ERROR);
  EXPECT_THAT(items_, IsEmpty());
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  Warning - Parser encounted a blank line in vCalendar",
                                   "OSIF:  Error - Unknown BEGIN tag in vCalendar"));
}

}  // namespace
}  // namespace corpus_calendar_test

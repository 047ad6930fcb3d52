#include "BtOsif_pol/pol_find.h"

#include "BtOsif_pol/pol_dispatch.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "tests/BtOsif_pol/calendar_fixture.h"
#include "tests/BtOsif_pol/contacts_on_device.h"
#include "tests/support/fake_calendar.h"
#include "tests/support/pol_fixture.h"

namespace pol_find_test {
namespace {

using namespace support;

constexpr int32_t kNoStores[] = {-1, 6, 0x7fffffff};

// ---- Finding a contact ------------------------------------------------------------------------------

class PolFind : public PolTest {
 protected:
  bool Find(ContactRecord record) {
    return POL_FindObject(OSIF_STORE_PB, record.get(), id_.text) != 0;
  }

  // What Find is asked for a contact of this name.
  std::u16string RestrictionFor(std::string_view name_line) {
    pim_.restrictions.clear();
    Find(ContactRecord{name_line});
    EXPECT_EQ(pim_.restrictions.size(), 1u) << name_line;
    return pim_.restrictions.empty() ? u"" : pim_.restrictions.front();
  }

  // A contact that the search comes by.
  LONG Candidate(ContactTexts texts) {
    const LONG oid = pim_.Keep(std::move(texts));
    pim_.found.push_back(oid);
    return oid;
  }

  IdBuffer id_;
};

TEST_F(PolFind, AsksForGivenAndFamilyName) {
  Open();
  EXPECT_EQ(RestrictionFor("N:Lee;Ann"), u"[FirstName]=\"Ann\" AND [LastName]=\"Lee\"");
  EXPECT_EQ(pim_.folders_asked, std::vector<int>({10}));
}

TEST_F(PolFind, AsksForAFamilyNameWithASingleTerm) {
  Open();
  EXPECT_EQ(RestrictionFor("N:Lee"), u"[LastName]=\"Lee\"");
}

TEST_F(PolFind, AsksForTheFivePartsInTheirOrder) {
  Open();
  EXPECT_EQ(RestrictionFor("N:Lee;Ann;May;Dr.;Jr"),
            u"[Title]=\"Dr.\" AND [FirstName]=\"Ann\" AND [MiddleName]=\"May\" AND "
            u"[LastName]=\"Lee\" AND [Suffix]=\"Jr\"");
}

TEST_F(PolFind, LeavesEmptyPartsOut) {
  Open();
  EXPECT_EQ(RestrictionFor("N:;;May;;"), u"[MiddleName]=\"May\"");
  EXPECT_EQ(RestrictionFor("N:Lee;;;Dr.;"), u"[Title]=\"Dr.\" AND [LastName]=\"Lee\"");
  EXPECT_EQ(RestrictionFor("N:;Ann;;;Jr"), u"[FirstName]=\"Ann\" AND [Suffix]=\"Jr\"");
}

TEST_F(PolFind, DoesNotEscapeQuotationMarks) {
  Open();
  EXPECT_EQ(RestrictionFor("N:Lee;Bob \"the\" Kid"),
            u"[FirstName]=\"Bob \"the\" Kid\" AND [LastName]=\"Lee\"");
}

TEST_F(PolFind, AsksForTheDecodedText) {
  Open();
  EXPECT_EQ(RestrictionFor("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller\\;Co"),
            u"[LastName]=\"M\u00FCller;Co\"");
}

TEST_F(PolFind, TakesTheFirstNameOnly) {
  Open();
  pim_.restrictions.clear();
  Find(ContactRecord{"N:Lee;Ann", "N:Ray;Bea"});
  EXPECT_EQ(pim_.restrictions,
            std::vector<std::u16string>({u"[FirstName]=\"Ann\" AND [LastName]=\"Lee\""}));
}

TEST_F(PolFind, TellsItsNameOnly) {
  Open();
  Find(ContactRecord{"N:Lee"});
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_FindObject()"}));
}

TEST_F(PolFind, GivesTheIdOfTheContactWithTheSameFiveParts) {
  pim_.next_oid = 0x1F;
  Candidate({{"LastName", u"Lee"},
             {"FirstName", u"Ann"},
             {"MiddleName", u"May"},
             {"Title", u"Dr."},
             {"Suffix", u"Jr"}});
  Open();
  EXPECT_TRUE(Find({"N:Lee;Ann;May;Dr.;Jr"}));
  EXPECT_STREQ(id_.text, "0000001f");
}

TEST_F(PolFind, OfAFamilyNameMatchesOnlyWhereTheOtherPartsAreEmpty) {
  Candidate({{"LastName", u"Lee"}, {"FirstName", u"Ann"}});
  Candidate({{"LastName", u"Lee"}, {"MiddleName", u"May"}});
  Candidate({{"LastName", u"Lee"}, {"Title", u"Dr."}});
  Candidate({{"LastName", u"Lee"}, {"Suffix", u"Jr"}});
  const LONG alone = Candidate({{"LastName", u"Lee"}});
  Open();
  EXPECT_TRUE(Find({"N:Lee"}));
  EXPECT_STREQ(id_.text, "00000005");
  EXPECT_EQ(alone, 5);
  EXPECT_EQ(pim_.finds_next, 4);
}

struct NameDifference {
  const char* property;
  std::u16string text;
};

class PolFindComparison : public PolFind, public testing::WithParamInterface<NameDifference> {};

TEST_P(PolFindComparison, IsExactInEveryPart) {
  ContactTexts texts = {{"LastName", u"Lee"},
                        {"FirstName", u"Ann"},
                        {"MiddleName", u"May"},
                        {"Title", u"Dr."},
                        {"Suffix", u"Jr"}};
  texts[GetParam().property] = GetParam().text;
  Candidate(texts);
  Open();
  EXPECT_FALSE(Find({"N:Lee;Ann;May;Dr.;Jr"}));
  EXPECT_STREQ(id_.text, "before");
}

INSTANTIATE_TEST_SUITE_P(
    WhereOnePartDiffers, PolFindComparison,
    testing::Values(NameDifference{"LastName", u"LEE"}, NameDifference{"LastName", u"Leek"},
                    NameDifference{"FirstName", u"ann"}, NameDifference{"FirstName", u""},
                    NameDifference{"MiddleName", u"may"}, NameDifference{"MiddleName", u"May "},
                    NameDifference{"Title", u"DR."}, NameDifference{"Title", u""},
                    NameDifference{"Suffix", u"JR"}, NameDifference{"Suffix", u"Jr."}));

TEST_F(PolFind, TakesTheFirstOfSeveralThatAreEqual) {
  Candidate({{"LastName", u"lee"}});
  Candidate({{"LastName", u"Lee"}});
  Candidate({{"LastName", u"Lee"}});
  Open();
  EXPECT_TRUE(Find({"N:Lee"}));
  EXPECT_STREQ(id_.text, "00000002");
  EXPECT_EQ(pim_.finds_next, 1);
}

TEST_F(PolFind, ReleasesEveryItemThatItCameBy) {
  Candidate({{"LastName", u"lee"}});
  Candidate({{"LastName", u"Lee"}});
  Open();
  const int before = pim_.live_objects;
  EXPECT_TRUE(Find({"N:Lee"}));
  EXPECT_FALSE(Find({"N:Ray"}));
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PolFind, LeavesARunningWalkAlone) {
  Candidate({{"LastName", u"Lee"}});
  pim_.Keep({});
  Open();
  ASSERT_EQ(Code(POL_GetFirstId(OSIF_STORE_PB, id_.text)), OSIF_OK);
  ASSERT_TRUE(Find({"N:Lee"}));
  EXPECT_EQ(Code(POL_GetNextId(OSIF_STORE_PB, id_.text)), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000002");
}

TEST_F(PolFind, NeedsNoRoomForTheId) {
  Candidate({{"LastName", u"Lee"}});
  Open();
  ContactRecord lee{"N:Lee"};
  EXPECT_NE(POL_FindObject(OSIF_STORE_PB, lee.get(), nullptr), 0);
}

TEST_F(PolFind, LeavesTheBufferAloneForAnIdentifierOfZero) {
  Candidate({{"LastName", u"Lee"}});
  pim_.faults.gives_no_oid = true;
  Open();
  EXPECT_TRUE(Find({"N:Lee"}));
  EXPECT_STREQ(id_.text, "before");
}

TEST_F(PolFind, OfNoSessionFindsNothing) {
  Candidate({{"LastName", u"Lee"}});
  EXPECT_FALSE(Find({"N:Lee"}));
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_FindObject()"}));
}

TEST_F(PolFind, EndsWhereTheSearchFails) {
  Candidate({{"LastName", u"Lee"}});
  Open();
  for (HRESULT PimFaults::*call :
       {&PimFaults::get_default_folder, &PimFaults::get_items, &PimFaults::find}) {
    pim_.faults = {};
    pim_.faults.*call = E_FAIL;
    EXPECT_FALSE(Find({"N:Lee"}));
  }
}

TEST_F(PolFind, EndsWhereTheSearchCannotGoOn) {
  Candidate({{"LastName", u"lee"}});
  Candidate({{"LastName", u"Lee"}});
  Open();
  pim_.faults.find_next = E_FAIL;
  EXPECT_FALSE(Find({"N:Lee"}));
  EXPECT_EQ(pim_.finds_next, 1);
}

TEST_F(PolFind, NeverFindsAContactWithoutAnyNamePart) {
  Candidate({{"CompanyName", u"Acme"}});
  Open();
  EXPECT_FALSE(Find({"N:;;;;", "ORG:Acme"}));
  EXPECT_FALSE(Find({"ORG:Acme"}));
}

TEST_F(PolFind, FindsNothingInUnknownStores) {
  Candidate({{"LastName", u"Lee"}});
  Open();
  ContactRecord lee{"N:Lee"};
  for (int32_t store_id : kNoStores) {
    EXPECT_EQ(POL_FindObject(store_id, lee.get(), id_.text), 0);
  }
  EXPECT_STREQ(id_.text, "before");
}

// ---- A PIM that cannot search its calendar ----------------------------------------------------------

class PolFindBySight : public PolTest {
 protected:
  void SetUp() override {
    Open();
    pim_.found = {pim_.Keep({{"LastName", u"no item of the calendar"}})};
    pim_.others[olFolderCalendar] = {Appointment(1, u"Tea", "20060501T100000"),
                                     {},
                                     Appointment(2, u"Tea", "20060501T090000"),
                                     Appointment(3, u"Tea", "20060501T090000")};
    pim_.others[olFolderTasks] = {Task(4, u"Call"), {}, Task(5, u"Pay"), Task(6, u"Pay")};
  }

  static ComPtr<IDispatch> Appointment(LONG oid, std::u16string subject, const char* start) {
    auto* item = new FakeAppointment;
    item->values.numbers = {{"Oid", oid}, {"Start", At(start)}};
    item->values.texts["Subject"] = std::move(subject);
    return ComPtr<IDispatch>(item);
  }
  static ComPtr<IDispatch> Task(LONG oid, std::u16string subject) {
    auto* item = new FakeTask;
    item->values.numbers["Oid"] = oid;
    item->values.texts["Subject"] = std::move(subject);
    return ComPtr<IDispatch>(item);
  }

  template <typename Record>
  static std::string Find(Record record) {
    IdBuffer id("");
    return POL_FindObject(OSIF_STORE_CAL, record.get(), id.text) ? id.text : "";
  }

  void ExpectThatAllIsFound() {
    EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"})), "00000002");
    EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T100000"})), "00000001");
    EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T110000"})), "");
    EXPECT_EQ(Find(TodoRecord({"SUMMARY:Pay"})), "00000005");
    EXPECT_EQ(Find(TodoRecord({"SUMMARY:Sleep"})), "");
    EXPECT_EQ(pim_.restrictions.size(), 5u) << "it was asked";
  }
};

TEST_F(PolFindBySight, IsGoneThroughWhenTheSearchFails) {
  pim_.faults.find = E_NOTIMPL;
  ExpectThatAllIsFound();
}

TEST_F(PolFindBySight, IsGoneThroughWhenTheSearchCannotGoOn) {
  pim_.faults.find_next = E_FAIL;
  ExpectThatAllIsFound();
}

TEST_F(PolFindBySight, IsGoneThroughWhenTheSearchGivesWhatIsNoItemOfTheKind) {
  ExpectThatAllIsFound();
}

TEST_F(PolFindBySight, IsNotGoneThroughAfterASearchThatFoundNothing) {
  pim_.found.clear();
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"})), "");
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:Pay"})), "");
}

// ---- On the device's own PIM ------------------------------------------------------------------------

class PolFindOnDevice : public ContactsOnDevice {
 protected:
  // The id; empty when nothing was found.
  static std::string Find(ContactRecord record) {
    IdBuffer id("");
    return POL_FindObject(OSIF_STORE_PB, record.get(), id.text) ? id.text : "";
  }
};

TEST_F(PolFindOnDevice, FindsWhatWasAdded) {
  const std::string lee = Add({"N:Lee;Ann;May;Dr.;Jr"});
  const std::string plain = Add({"N:Lee;Ann"});
  const std::string family = Add({"N:Lee"});
  EXPECT_EQ(Find({"N:Lee;Ann;May;Dr.;Jr"}), lee);
  EXPECT_EQ(Find({"N:Lee;Ann"}), plain);
  EXPECT_EQ(Find({"N:Lee"}), family);
  EXPECT_EQ(Find({"N:Ray"}), "");
}

TEST_F(PolFindOnDevice, TellsCaseApart) {
  const std::string small = Add({"N:lee"});
  const std::string lee = Add({"N:Lee"});
  EXPECT_EQ(Find({"N:Lee"}), lee);
  EXPECT_EQ(Find({"N:lee"}), small);
  EXPECT_EQ(Find({"N:LEE"}), "");
}

TEST_F(PolFindOnDevice, FindsNamesWithQuotationMarksAndBrackets) {
  const char* names[] = {"N:Lee;Bob \"the\" Kid", "N:\"Lee\"",          "N:O'Neil;[Ann]",
                         "N:Lee AND Ray",         "N:Lee;\"x\" AND [y", "N:a\" OR [b] c",
                         "N:\"x\" AND [y"};
  for (const char* name : names) {
    const std::string id = Add(ContactRecord{name});
    EXPECT_EQ(Find(ContactRecord{name}), id) << name;
  }
}

// Quotation marks are not escaped, so the store cannot tell such a name from more of the question.
TEST_F(PolFindOnDevice, DoesNotFindANameThatReadsAsMoreOfTheQuestion) {
  const char* name = "N:Lee\" AND [FirstName]=\"Ann";
  Add(ContactRecord{name});
  const std::string ann = Add({"N:Lee;Ann"});
  EXPECT_EQ(Find(ContactRecord{name}), "");
  EXPECT_EQ(Find({"N:Lee;Ann"}), ann);
}

TEST_F(PolFindOnDevice, FindsTheOneOfAFamilyWhoHasNoOtherPartOfAName) {
  for (const char* name : {"N:Lee;Ann", "N:lee", "N:Lee;;May", "N:Lee;;;Dr.", "N:Lee;;;;Jr"}) {
    Add(ContactRecord{name});
  }
  const std::string lee = Add({"N:Lee", "TITLE:Cook"});
  Add({"N:Lee"});
  EXPECT_EQ(Find({"N:Lee"}), lee) << "the first of those who are equal";
  EXPECT_EQ(Find({"N:LEE"}), "");
}

TEST_F(PolFindOnDevice, FindsAContactWhoseAskedPartsManyOthersHave) {
  for (int i = 0; i < 300; ++i) Add(ContactRecord{"N:Lee;A" + std::to_string(i) + ";May;Dr.;Jr"});
  EXPECT_EQ(Find({"N:Lee;;;Dr.;Jr"}), "");
  const std::string id = Add({"N:Lee;;;Dr.;Jr"});
  EXPECT_EQ(Find({"N:Lee;;;Dr.;Jr"}), id);
}

TEST_F(PolFindOnDevice, FindsNamesOfOtherAlphabets) {
  const char* name =
      "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=D0=98=D0=B2=D0=B0=D0=BD=D0=BE=D0=B2";
  const std::string id = Add(ContactRecord{name});
  EXPECT_EQ(Find(ContactRecord{name}), id);
}

TEST_F(PolFindOnDevice, NeverFindsAContactWithoutAnyNamePart) {
  Add({"ORG:Acme"});
  EXPECT_EQ(Find({"ORG:Acme"}), "");
  EXPECT_EQ(Find({"N:;;;;", "ORG:Acme"}), "");
}

// ---- Calendar items ---------------------------------------------------------------------------------

class PolFindItem : public PolFindOnDevice {
 protected:
  template <typename Record>
  std::string AddItem(Record record) {
    IdBuffer id;
    EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, record.get(), id.text, nullptr)), OSIF_OK);
    return id.text;
  }
  template <typename Record>
  std::string FindItem(Record record) {
    IdBuffer id("");
    return POL_FindObject(OSIF_STORE_CAL, record.get(), id.text) ? id.text : "";
  }
};

TEST_F(PolFindItem, GoesByTheDescriptionOfAnEventWhoseSummaryDecodesToNothing) {
  const std::string event =
      AddItem(EventRecord({"SUMMARY:Tea", "DESCRIPTION:d", "DTSTART:20060501T090000"}));
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY;ENCODING=QUOTED-PRINTABLE:=00", "DESCRIPTION:d",
                                  "DTSTART:20060501T090000"})),
            event);
}

TEST_F(PolFindItem, TellsEventsOfOneSubjectApartByTheirStart) {
  const std::string nine = AddItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"}));
  const std::string ten = AddItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T100000"}));
  AddItem(EventRecord({"SUMMARY:TEA", "DTSTART:20060501T110000"}));
  const std::string eleven = AddItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T110000"}));
  AddItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T110000"}));
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T100000"})), ten);
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"})), nine);
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T110000"})), eleven);
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T100001"})), "");
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:tea", "DTSTART:20060501T100000"})), "");
}

TEST_F(PolFindItem, FindsAnEventWhoseSummaryReadsAsMoreOfTheQuestion) {
  const char* summary = "SUMMARY:Tea\" AND [Location]=\"Hall";
  AddItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"}));
  const std::string id = AddItem(EventRecord({summary, "DTSTART:20060501T090000"}));
  EXPECT_EQ(FindItem(EventRecord({summary, "DTSTART:20060501T090000"})), id);
  EXPECT_EQ(FindItem(EventRecord({summary, "DTSTART:20060501T093000"})), "");
}

TEST_F(PolFindItem, FindsAnEventWithoutASummaryByItsDescription) {
  const std::string one = AddItem(EventRecord({"DESCRIPTION:one", "DTSTART:20060501T090000"}));
  const std::string two = AddItem(EventRecord({"DESCRIPTION:two", "DTSTART:20060501T090000"}));
  const std::string none = AddItem(EventRecord({"LOCATION:Hall", "DTSTART:20060501T090000"}));
  EXPECT_EQ(FindItem(EventRecord({"DESCRIPTION:one", "DTSTART:20060501T090000"})), one);
  EXPECT_EQ(FindItem(EventRecord({"DESCRIPTION:two", "DTSTART:20060501T090000"})), two);
  EXPECT_EQ(FindItem(EventRecord({"DTSTART:20060501T090000"})), none);
  EXPECT_EQ(FindItem(EventRecord({"DESCRIPTION:Two", "DTSTART:20060501T090000"})), "");
  EXPECT_EQ(FindItem(EventRecord({"DESCRIPTION:two", "DTSTART:20060501T100000"})), "");
}

// It is an item of its own to the PIM, but in no folder: nobody could change it.
TEST_F(PolFindItem, FindsNoChangedOccurrenceOfASeries) {
  const std::string series = AddItem(EventRecord(
      {"SUMMARY:Tea", "DTSTART:20060501T090000", "DTEND:20060501T093000", "RRULE:D1 #9"}));
  const auto item =
      pol_As<IAppointment>(pol_ItemFromOid(*pol_Application(), pol_ReadId(series.c_str()).value()));
  ASSERT_TRUE(item);
  ComPtr<IRecurrencePattern> pattern = PatternOf(*item);
  ComPtr<IAppointment> occurrence;
  ASSERT_EQ(pattern->GetOccurrence(At("20060503"), occurrence.put()), S_OK);
  PutText(*occurrence, &IAppointment::put_Subject, u"Talk");
  ASSERT_EQ(occurrence->Save(), S_OK);
  AddItem(EventRecord({"SUMMARY:Later", "DTSTART:20060601T090000"}));
  const char* talk[] = {"SUMMARY:Talk", "DTSTART:20060503T090000"};
  EXPECT_EQ(FindItem(EventRecord({talk[0], talk[1]})), "");

  const std::string id = AddItem(EventRecord({talk[0], talk[1]}));
  EXPECT_EQ(FindItem(EventRecord({talk[0], talk[1]})), id);
  EventRecord changed({talk[0], talk[1], "LOCATION:Hall"});
  EXPECT_EQ(Code(POL_ModifyObject(OSIF_STORE_CAL, id.c_str(), changed.get(), nullptr)), OSIF_OK);
}

TEST_F(PolFindItem, FindsAllDayEventsByTheirDay) {
  const std::string day =
      AddItem(EventRecord({"SUMMARY:Fair", "DTSTART:20060501T000000", "DTEND:20060501T235959"}));
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Fair", "DTSTART:20060501T000000"})), day);
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Fair", "DTSTART:20060502T000000"})), "");
}

TEST_F(PolFindItem, FindsNoEventForAStartThatIsNoDate) {
  AddItem(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"}));
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Tea", "DTSTART:soon"})), "");
  EXPECT_EQ(FindItem(EventRecord({"SUMMARY:Tea"})), "");
}

TEST_F(PolFindItem, NeverFindsATodoWhoseSummaryDecodesToNothing) {
  AddItem(TodoRecord({"SUMMARY:Pay"}));
  AddItem(TodoRecord({"DESCRIPTION:d"}));
  EXPECT_EQ(FindItem(TodoRecord({"SUMMARY;ENCODING=QUOTED-PRINTABLE:=00"})), "");
}

}  // namespace
}  // namespace pol_find_test

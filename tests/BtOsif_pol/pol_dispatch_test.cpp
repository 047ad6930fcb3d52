#include "BtOsif_pol/pol_dispatch.h"

#include <cstdio>
#include <cstring>

#include "tests/support/pol_fixture.h"

namespace pol_dispatch_test {
namespace {

using namespace support;

constexpr int32_t kNoStores[] = {-1, 6, 0x7fffffff};

constexpr OsifAnchor kZeroAnchor = {};

OsifAnchor FilledAnchor() {
  OsifAnchor anchor;
  std::memset(&anchor, 0x5A, sizeof anchor);
  return anchor;
}

bool IsZero(const OsifAnchor& anchor) {
  return std::memcmp(&anchor, &kZeroAnchor, sizeof anchor) == 0;
}

// ---- Counting ---------------------------------------------------------------------------------------

class PolCount : public PolTest {
 protected:
  int CountOf(int32_t store_id) {
    count_ = 99;
    return Code(POL_GetObjectCount(store_id, &count_));
  }

  uint32_t count_ = 99;
};

TEST_F(PolCount, GivesTheNumberOfContacts) {
  for (int i = 0; i < 3; ++i) pim_.Keep({});
  Open();
  EXPECT_EQ(CountOf(OSIF_STORE_PB), OSIF_OK);
  EXPECT_EQ(count_, 3u);
  EXPECT_EQ(pim_.folders_asked, std::vector<int>({10}));
}

TEST_F(PolCount, OfTheCalendarIsTheSumOfAppointmentsAndTasks) {
  pim_.counts = {{olFolderCalendar, 3}, {olFolderTasks, 2}};
  Open();
  EXPECT_EQ(CountOf(OSIF_STORE_CAL), OSIF_OK);
  EXPECT_EQ(count_, 5u);
  EXPECT_EQ(pim_.folders_asked, std::vector<int>({9, 13}));
}

TEST_F(PolCount, OfAnEmptyStoreIsZero) {
  Open();
  EXPECT_EQ(CountOf(OSIF_STORE_PB), OSIF_OK);
  EXPECT_EQ(count_, 0u);
}

TEST_F(PolCount, ReleasesFolderAndCollection) {
  Open();
  const int before = pim_.live_objects;
  CountOf(OSIF_STORE_PB);
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PolCount, WithoutASessionIsZero) {
  EXPECT_EQ(CountOf(OSIF_STORE_PB), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(count_, 0u);
  EXPECT_EQ(CountOf(OSIF_STORE_CAL), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(count_, 0u);
}

TEST_F(PolCount, IsNotOfferedForNotes) {
  for (bool is_open : {false, true}) {
    if (is_open) Open();
    EXPECT_EQ(CountOf(OSIF_STORE_NOTE), OSIF_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(count_, 0u);
  }
}

TEST_F(PolCount, RefusesUnknownStores) {
  Open();
  for (int32_t store_id : kNoStores) {
    EXPECT_EQ(CountOf(store_id), OSIF_ERR_TYPE_NOT_SUPPORTED) << store_id;
    EXPECT_EQ(count_, 0u);
  }
}

TEST_F(PolCount, IsZeroWhenTheFolderTheCollectionOrTheNumberCannotBeHad) {
  pim_.Keep({});
  Open();
  for (HRESULT PimFaults::*call :
       {&PimFaults::get_default_folder, &PimFaults::get_items, &PimFaults::get_count}) {
    pim_.faults = {};
    pim_.faults.*call = E_FAIL;
    CountOf(OSIF_STORE_PB);
    EXPECT_EQ(count_, 0u);
  }
}

// ---- Adding -----------------------------------------------------------------------------------------

class PolAdd : public PolTest {
 protected:
  int Add(ContactRecord& record, OsifAnchor* anchor = nullptr) {
    return Code(POL_AddObject(OSIF_STORE_PB, record.get(), id_.text, anchor));
  }

  ContactRecord lee_{"N:Lee;Ann"};
  IdBuffer id_;
};

TEST_F(PolAdd, CreatesAContactFillsAndSavesIt) {
  Open();
  EXPECT_EQ(Add(lee_), OSIF_OK);
  EXPECT_EQ(pim_.kinds_created, std::vector<int>({2}));
  EXPECT_EQ(pim_.Only().Text("LastName"), u"Lee");
  EXPECT_EQ(pim_.Only().Text("FirstName"), u"Ann");
}

TEST_F(PolAdd, GivesTheNewIdAsEightDigits) {
  Open();
  pim_.next_oid = 0xABC;
  EXPECT_EQ(Add(lee_), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000abc");
}

TEST_F(PolAdd, TellsItsNameOnly) {
  Open();
  Add(lee_);
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_AddObject()"}));
}

TEST_F(PolAdd, NeedsNoRoomForTheId) {
  Open();
  EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_PB, lee_.get(), nullptr, nullptr)), OSIF_OK);
  EXPECT_EQ(pim_.contacts.size(), 1u);
}

TEST_F(PolAdd, ReleasesTheItem) {
  Open();
  const int before = pim_.live_objects;
  Add(lee_);
  pim_.faults.save = E_FAIL;
  Add(lee_);
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PolAdd, LeavesTheRecordToItsOwner) {
  Open();
  Add(lee_);
  EXPECT_EQ(ComponentText(lee_->contact.n, 0), "Lee");
}

TEST_F(PolAdd, NeedsASession) {
  EXPECT_EQ(Add(lee_), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_STREQ(id_.text, "") << "the id is emptied first";
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_AddObject()"}));
}

TEST_F(PolAdd, OfACalendarItemNeedsASession) {
  ContactRecord item{};
  for (uint8_t kind : {OSIF_CALENDAR_UNKNOWN, OSIF_CALENDAR_EVENT, OSIF_CALENDAR_TODO}) {
    item->calendarKind = kind;
    EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, item.get(), id_.text, nullptr)),
              OSIF_ERR_PIM_NOT_OPENED);
  }
}

TEST_F(PolAdd, FailsWithoutAMessageWhenTheSaveFails) {
  Open();
  for (HRESULT failure : {E_FAIL, E_OUTOFMEMORY, S_FALSE}) {
    pim_.faults.save = failure;
    EXPECT_EQ(Add(lee_), OSIF_ERR_PIM);
    EXPECT_STREQ(id_.text, "");
    EXPECT_TRUE(pim_.contacts.empty());
    EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_AddObject()"}));
  }
}

TEST_F(PolAdd, FailsWhenNoItemCanBeCreated) {
  Open();
  pim_.faults.create_item = E_OUTOFMEMORY;
  EXPECT_NE(Add(lee_), OSIF_OK);
  EXPECT_STREQ(id_.text, "");
  EXPECT_TRUE(pim_.contacts.empty());
}

TEST_F(PolAdd, OfAContactWhoseIdentifierReadsAsZeroGivesAnEmptyId) {
  Open();
  pim_.faults.gives_no_oid = true;
  EXPECT_EQ(Add(lee_), OSIF_OK);
  EXPECT_STREQ(id_.text, "");
  EXPECT_EQ(pim_.contacts.size(), 1u);
}

TEST_F(PolAdd, WithAnAnchorAndNoOpenChangeLogStoresTheObjectAllTheSame) {
  Open();
  OsifAnchor anchor = FilledAnchor();
  EXPECT_EQ(Add(lee_, &anchor), OSIF_ERR_CL_NOT_OPENED);
  EXPECT_TRUE(IsZero(anchor));
  EXPECT_EQ(pim_.Only().Text("LastName"), u"Lee");
  EXPECT_STREQ(id_.text, "00000001");
}

TEST_F(PolAdd, RefusesUnknownStores) {
  Open();
  for (int32_t store_id : kNoStores) {
    IdBuffer id;
    EXPECT_EQ(Code(POL_AddObject(store_id, lee_.get(), id.text, nullptr)),
              OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_STREQ(id.text, "");
  }
  EXPECT_TRUE(pim_.contacts.empty());
}

// ---- Reading one object -----------------------------------------------------------------------------

class PolGet : public PolTest {
 protected:
  void SetUp() override {
    pim_.next_oid = 42;
    pim_.Keep({{"LastName", u"Lee"}, {"FirstName", u"Ann"}});
  }

  int Get(const char* id, int32_t store_id = OSIF_STORE_PB) {
    FreeObject(OSIF_STORE_PB, *object_);
    return Code(POL_GetObjectById(store_id, id, object_.get()));
  }

  std::string TraceLine(int store_id, const char* id) {
    char line[200];
    std::snprintf(line, sizeof line, "OSIF:  POL_GetObjectById(store_id=%d, id='%s', pObject=%p)",
                  store_id, id, static_cast<void*>(object_.get()));
    return line;
  }

  OwnedObject object_{OSIF_STORE_PB};
};

TEST_F(PolGet, FillsTheRecord) {
  Open();
  EXPECT_EQ(Get("0000002a"), OSIF_OK);
  EXPECT_EQ(ComponentText(object_->contact.n, 0), "Lee");
  EXPECT_EQ(ComponentText(object_->contact.n, 1), "Ann");
  EXPECT_STREQ(object_->xIrmcLuid, "0000002a");
}

TEST_F(PolGet, TellsStoreIdAndRecord) {
  Open();
  Get("2a");
  EXPECT_EQ(Trace(), TraceLines({TraceLine(0, "2a")}));
}

TEST_F(PolGet, TellsAnAbsentIdToo) {
  Open();
  EXPECT_EQ(Get(nullptr), OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Trace(), TraceLines({TraceLine(0, "(null)")}));
}

TEST_F(PolGet, TakesTheIdInAnyHexadecimalForm) {
  Open();
  for (const char* id : {"0000002A", "2a", " 2a"}) EXPECT_EQ(Get(id), OSIF_OK) << id;
  EXPECT_EQ(pim_.oids_asked, std::vector<LONG>({42, 42, 42}));
}

TEST_F(PolGet, RefusesAnIdThatIsNoNumberInEveryStoreButNotes) {
  Open();
  for (int32_t store_id : {0, 1, 3, 4, 5, 6}) {
    for (const char* id : {"xyz", ""}) {
      EXPECT_EQ(Get(id, store_id), OSIF_ERR_INVALID_ID) << store_id << " " << id;
    }
  }
  for (int32_t store_id : {0, 1}) EXPECT_EQ(Get("10000002a", store_id), OSIF_ERR_INVALID_ID);
}

TEST_F(PolGet, OfACalendarIdThatNamesAnItemOfNeitherKindFindsNothing) {
  Open();
  EXPECT_EQ(Get("2a", OSIF_STORE_CAL), OSIF_ERR_NOT_FOUND);
}

TEST_F(PolGet, LooksAtTheIdBeforeTheSession) {
  EXPECT_EQ(Get("xyz"), OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Get("2a"), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Get("2a", OSIF_STORE_CAL), OSIF_ERR_PIM_NOT_OPENED);
}

TEST_F(PolGet, DoesNotFindAnItemThatThePimDoesNotGive) {
  Open();
  EXPECT_EQ(Get("2b"), OSIF_ERR_NOT_FOUND);
  pim_.faults.get_item_from_oid = E_FAIL;
  EXPECT_EQ(Get("2a"), OSIF_ERR_NOT_FOUND);
}

TEST_F(PolGet, ReleasesTheItem) {
  Open();
  const int before = pim_.live_objects;
  Get("2a");
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PolGet, IsNotOfferedForNotes) {
  EXPECT_EQ(Get("xyz", OSIF_STORE_NOTE), OSIF_ERR_NOT_IMPLEMENTED);
}

TEST_F(PolGet, RefusesUnknownStores) {
  Open();
  for (int32_t store_id : kNoStores) EXPECT_EQ(Get("2a", store_id), OSIF_ERR_TYPE_NOT_SUPPORTED);
}

// ---- Modifying --------------------------------------------------------------------------------------

class PolModify : public PolTest {
 protected:
  void SetUp() override {
    pim_.next_oid = 42;
    pim_.Keep({{"LastName", u"Lee"}, {"JobTitle", u"Cook"}, {"Suffix", u"Jr"}});
  }

  int Modify(const char* id, OsifAnchor* anchor = nullptr) {
    return Code(POL_ModifyObject(OSIF_STORE_PB, id, ray_.get(), anchor));
  }

  ContactRecord ray_{"N:Ray;Bea", "TEL;CELL:1"};
};

TEST_F(PolModify, OverwritesWhatTheRecordHoldsAndKeepsTheRest) {
  Open();
  EXPECT_EQ(Modify("0000002a"), OSIF_OK);
  EXPECT_EQ(pim_.Only().Text("LastName"), u"Ray");
  EXPECT_EQ(pim_.Only().Text("FirstName"), u"Bea");
  EXPECT_EQ(pim_.Only().Text("MobileTelephoneNumber"), u"1");
  EXPECT_EQ(pim_.Only().Text("JobTitle"), u"Cook");
  EXPECT_EQ(pim_.Only().Text("Suffix"), u"") << "the five name parts are always written";
  EXPECT_TRUE(pim_.kinds_created.empty());
}

TEST_F(PolModify, TellsItsNameOnly) {
  Open();
  Modify("0000002a");
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_ModifyObject()"}));
}

TEST_F(PolModify, TakesTheIdInAnyHexadecimalForm) {
  Open();
  EXPECT_EQ(Modify("0000002A"), OSIF_OK);
  EXPECT_EQ(Modify("2a"), OSIF_OK);
  EXPECT_EQ(Modify(" 2a"), OSIF_OK);
  EXPECT_EQ(pim_.oids_asked, std::vector<LONG>({42, 42, 42}));
}

TEST_F(PolModify, RefusesAnIdThatIsNoNumberInEveryStoreButNotes) {
  Open();
  for (int32_t store_id : {0, 1, 3, 4, 5, 6}) {
    for (const char* id : {"xyz", ""}) {
      EXPECT_EQ(Code(POL_ModifyObject(store_id, id, ray_.get(), nullptr)), OSIF_ERR_INVALID_ID)
          << store_id << " " << id;
    }
  }
  for (int32_t store_id : {0, 1}) {
    EXPECT_EQ(Code(POL_ModifyObject(store_id, "10000002a", ray_.get(), nullptr)),
              OSIF_ERR_INVALID_ID);
  }
  EXPECT_TRUE(pim_.oids_asked.empty());
}

TEST_F(PolModify, RefusesAnAbsentId) {
  Open();
  for (int32_t store_id : {0, 1, 2, 3, 4, 5, 6}) {
    EXPECT_EQ(Code(POL_ModifyObject(store_id, nullptr, ray_.get(), nullptr)), OSIF_ERR_INVALID_ID)
        << store_id;
  }
}

TEST_F(PolModify, LooksAtTheIdBeforeTheSession) {
  EXPECT_EQ(Modify("xyz"), OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Modify("2a"), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Code(POL_ModifyObject(OSIF_STORE_CAL, "2a", ray_.get(), nullptr)),
            OSIF_ERR_PIM_NOT_OPENED);
}

TEST_F(PolModify, DoesNotFindAnItemThatThePimDoesNotGive) {
  Open();
  EXPECT_EQ(Modify("2b"), OSIF_ERR_NOT_FOUND);
  for (HRESULT failure : {E_FAIL, S_FALSE}) {
    pim_.faults.get_item_from_oid = failure;
    EXPECT_EQ(Modify("2a"), OSIF_ERR_NOT_FOUND);
  }
}

TEST_F(PolModify, TellsASaveThatFailed) {
  Open();
  pim_.faults.save = E_OUTOFMEMORY;
  EXPECT_EQ(Modify("2a"), OSIF_ERR_PIM);
  EXPECT_EQ(Trace(),
            TraceLines({"OSIF:  POL_ModifyObject()", "       Error saving contact - 0x8007000e"}));
  EXPECT_EQ(pim_.Only().Text("LastName"), u"Lee");
}

TEST_F(PolModify, TakesEverythingButZeroForAFailingSave) {
  Open();
  pim_.faults.save = S_FALSE;
  EXPECT_EQ(Modify("2a"), OSIF_ERR_PIM);
  EXPECT_EQ(Trace(),
            TraceLines({"OSIF:  POL_ModifyObject()", "       Error saving contact - 0x00000001"}));
}

TEST_F(PolModify, ReleasesTheItem) {
  Open();
  const int before = pim_.live_objects;
  Modify("2a");
  pim_.faults.save = E_FAIL;
  Modify("2a");
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PolModify, WithAnAnchorAndNoOpenChangeLogChangesTheObjectAllTheSame) {
  Open();
  OsifAnchor anchor = FilledAnchor();
  EXPECT_EQ(Modify("2a", &anchor), OSIF_ERR_CL_NOT_OPENED);
  EXPECT_TRUE(IsZero(anchor));
  EXPECT_EQ(pim_.Only().Text("LastName"), u"Ray");
}

TEST_F(PolModify, RefusesUnknownStores) {
  Open();
  for (int32_t store_id : kNoStores) {
    EXPECT_EQ(Code(POL_ModifyObject(store_id, "2a", ray_.get(), nullptr)),
              OSIF_ERR_TYPE_NOT_SUPPORTED);
  }
}

// ---- Deleting ---------------------------------------------------------------------------------------

class PolDelete : public PolTest {
 protected:
  void SetUp() override {
    pim_.next_oid = 42;
    pim_.Keep({{"LastName", u"Lee"}});
  }

  int Delete(const char* id, OsifAnchor* anchor = nullptr) {
    return Code(POL_DeleteObject(OSIF_STORE_PB, id, anchor));
  }
};

TEST_F(PolDelete, RemovesTheContact) {
  Open();
  EXPECT_EQ(Delete("0000002a"), OSIF_OK);
  EXPECT_TRUE(pim_.contacts.empty());
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_DeleteObject()"}));
}

TEST_F(PolDelete, OfAContactThatIsGoneFindsNothing) {
  Open();
  ASSERT_EQ(Delete("2a"), OSIF_OK);
  EXPECT_EQ(Delete("2a"), OSIF_ERR_NOT_FOUND);
}

TEST_F(PolDelete, TakesTheIdInAnyHexadecimalForm) {
  Open();
  EXPECT_EQ(Delete("  2A"), OSIF_OK);
  EXPECT_EQ(pim_.oids_asked, std::vector<LONG>({42}));
}

TEST_F(PolDelete, RefusesAnIdThatIsNoNumberInEveryStoreButNotes) {
  Open();
  for (int32_t store_id : {0, 1, 3, 4, 5, 6}) {
    EXPECT_EQ(Code(POL_DeleteObject(store_id, "xyz", nullptr)), OSIF_ERR_INVALID_ID) << store_id;
  }
  EXPECT_EQ(pim_.contacts.size(), 1u);
}

TEST_F(PolDelete, OfACalendarIdThatNamesAnItemOfNeitherKindFindsNothing) {
  Open();
  EXPECT_EQ(Code(POL_DeleteObject(OSIF_STORE_CAL, "2a", nullptr)), OSIF_ERR_NOT_FOUND);
  EXPECT_EQ(pim_.oids_asked, std::vector<LONG>({42}));
  EXPECT_EQ(pim_.contacts.size(), 1u);
}

TEST_F(PolDelete, RefusesAnAbsentId) {
  Open();
  for (int32_t store_id : {0, 1, 2, 3, 4, 5, 6}) {
    EXPECT_EQ(Code(POL_DeleteObject(store_id, nullptr, nullptr)), OSIF_ERR_INVALID_ID) << store_id;
  }
}

TEST_F(PolDelete, LooksAtTheIdBeforeTheSession) {
  EXPECT_EQ(Delete("xyz"), OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Delete("2a"), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Code(POL_DeleteObject(OSIF_STORE_CAL, "2a", nullptr)), OSIF_ERR_PIM_NOT_OPENED);
}

TEST_F(PolDelete, IsNotOfferedForNotesWhateverTheirName) {
  EXPECT_EQ(Code(POL_DeleteObject(OSIF_STORE_NOTE, "xyz", nullptr)), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Code(POL_DeleteObject(OSIF_STORE_NOTE, "2a", nullptr)), OSIF_ERR_NOT_IMPLEMENTED);
}

TEST_F(PolDelete, DoesNotFindAnItemThatThePimDoesNotGive) {
  Open();
  for (HRESULT failure : {E_FAIL, S_FALSE}) {
    pim_.faults.get_item_from_oid = failure;
    EXPECT_EQ(Delete("2a"), OSIF_ERR_NOT_FOUND);
  }
}

TEST_F(PolDelete, FailsWithoutAMessageWhenThePimDoesNotDelete) {
  Open();
  for (HRESULT failure : {E_FAIL, S_FALSE}) {
    pim_.faults.delete_item = failure;
    EXPECT_EQ(Delete("2a"), OSIF_ERR_PIM);
    EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_DeleteObject()"}));
  }
  EXPECT_EQ(pim_.contacts.size(), 1u);
}

TEST_F(PolDelete, ReleasesTheItem) {
  Open();
  const int before = pim_.live_objects;
  pim_.faults.delete_item = E_FAIL;
  Delete("2a");
  pim_.faults.delete_item = S_OK;
  Delete("2a");
  EXPECT_EQ(pim_.live_objects, before);
}

TEST_F(PolDelete, WithAnAnchorAndNoOpenChangeLogDeletesTheObjectAllTheSame) {
  Open();
  OsifAnchor anchor = FilledAnchor();
  EXPECT_EQ(Delete("2a", &anchor), OSIF_ERR_CL_NOT_OPENED);
  EXPECT_TRUE(IsZero(anchor));
  EXPECT_TRUE(pim_.contacts.empty());
}

TEST_F(PolDelete, RefusesUnknownStores) {
  Open();
  for (int32_t store_id : kNoStores) {
    EXPECT_EQ(Code(POL_DeleteObject(store_id, "2a", nullptr)), OSIF_ERR_TYPE_NOT_SUPPORTED);
  }
}

}  // namespace
}  // namespace pol_dispatch_test

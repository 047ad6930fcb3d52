#include "osif.h"

#include <cstddef>
#include <cstring>
#include <filesystem>

#include "tests/support/osif_fixture.h"

namespace osif_test {
namespace {

using namespace support;

constexpr int32_t kNoStores[] = {-1, 6, 0x7fffffff};

OsifAnchor FilledAnchor() {
  OsifAnchor anchor;
  std::memset(&anchor, 0x5A, sizeof anchor);
  return anchor;
}

template <typename Block>
bool IsZero(const Block& block) {
  static const Block kZero{};
  return std::memcmp(&block, &kZero, sizeof block) == 0;
}

// ---- Opening and closing ----------------------------------------------------------------------------

class OsifSession : public testing::Test {
 protected:
  void TearDown() override { OSIF_Close(); }
  TempDevice device_;
};

TEST_F(OsifSession, OpensAndClosesAsOftenAsAsked) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Code(OSIF_Open()), OSIF_OK);
    EXPECT_EQ(Code(OSIF_Open()), OSIF_OK) << "an open session stays open";
    EXPECT_EQ(Code(OSIF_Close()), OSIF_OK);
    EXPECT_EQ(Code(OSIF_Close()), OSIF_OK);
  }
}

TEST_F(OsifSession, TellsOpeningAndClosing) {
  TraceReceiver trace;
  OSIF_Open();
  OSIF_Close();
  TraceLines lines = trace.Lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "OSIF:  POL_Open()"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "OSIF:  POL_Close()"), 1);
}

TEST_F(OsifSession, TakesANewReceiverOfTheTraceAtEveryOpen) {
  OSIF_Open();
  TraceReceiver first;
  OSIF_Open();
  EXPECT_FALSE(first.Lines().empty());
  TraceReceiver second;
  OSIF_Open();
  EXPECT_TRUE(first.Lines().empty());
  EXPECT_FALSE(second.Lines().empty());
}

TEST_F(OsifSession, IsRefusedWhenTheDeviceIsDamaged) {
  std::ofstream(device_.Path("device.db")) << "this is no database at all, and it is long enough";
  EXPECT_EQ(Code(OSIF_Open()), OSIF_ERR_PIM);
  uint32_t count = 99;
  EXPECT_EQ(Code(OSIF_GetObjectCount(OSIF_STORE_PB, &count)), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(count, 0u);
}

TEST_F(OsifSession, IsNeededForContactsAndCalendar) {
  for (int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    uint32_t count = 99;
    char id[OSIF_ID_SIZE] = "";
    OutsideObject object;
    EXPECT_EQ(Code(OSIF_GetObjectCount(store_id, &count)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Code(OSIF_AddObject(store_id, &object, id, nullptr)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Code(OSIF_ModifyObject(store_id, "1", &object, nullptr)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Code(OSIF_DeleteObject(store_id, "1", nullptr)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Code(OSIF_GetObjectById(store_id, "1", &object)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Code(OSIF_GetFirstId(store_id, id)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Code(OSIF_GetNextId(store_id, id)), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(OSIF_FindObject(store_id, &object, id), 0);
  }
}

TEST_F(OsifSession, FindsWhatAnEarlierOneStored) {
  OSIF_Open();
  char id[OSIF_ID_SIZE] = "";
  WithCard({"N:Lee;Ann"}, [&](OsifObject& object) {
    EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr)), OSIF_OK);
  });
  OSIF_Close();
  OSIF_Open();
  OutsideObject object;
  EXPECT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, id, &object)), OSIF_OK);
  EXPECT_STREQ(object->contact.n->components->text, "Lee");
}

// ---- Argument checks --------------------------------------------------------------------------------

struct ArgumentCheck {
  const char* name;
  OsifResult (*call)();
  int code;
};

OsifObject g_object{};
OsifAnchor g_anchor{};
ChangeLogEntry g_entry{};

class OsifArguments : public OsifTest, public testing::WithParamInterface<ArgumentCheck> {};

TEST_P(OsifArguments, AreRefusedWithAnAssertionInTheTrace) {
  EXPECT_EQ(Code(GetParam().call()), GetParam().code);
  const TraceLines lines = Trace();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), IsAssertion), 1);
  EXPECT_TRUE(IsAssertion(lines.back())) << "nothing is done after it: " << lines.back();
}

INSTANTIATE_TEST_SUITE_P(
    ThatAreNull, OsifArguments,
    testing::Values(
        ArgumentCheck{"CountWithoutCount", [] { return OSIF_GetObjectCount(0, nullptr); }, 1},
        ArgumentCheck{"DeleteWithoutId", [] { return OSIF_DeleteObject(0, nullptr, nullptr); }, 9},
        ArgumentCheck{"DeleteWithoutIdWithAnchor",
                      [] { return OSIF_DeleteObject(0, nullptr, &g_anchor); }, 9},
        ArgumentCheck{"ModifyWithoutId",
                      [] { return OSIF_ModifyObject(0, nullptr, &g_object, nullptr); }, 9},
        ArgumentCheck{"ModifyWithoutObject",
                      [] { return OSIF_ModifyObject(0, "1", nullptr, nullptr); }, 9},
        ArgumentCheck{"AddWithoutObject",
                      [] {
                        static char id[OSIF_ID_SIZE];
                        return OSIF_AddObject(0, nullptr, id, nullptr);
                      },
                      9},
        ArgumentCheck{"GetWithoutId", [] { return OSIF_GetObjectById(0, nullptr, &g_object); }, 9},
        ArgumentCheck{"GetWithoutObject", [] { return OSIF_GetObjectById(0, "1", nullptr); }, 1},
        ArgumentCheck{"GetWithoutBothTheIdIsCheckedFirst",
                      [] { return OSIF_GetObjectById(0, nullptr, nullptr); }, 9},
        ArgumentCheck{"AnchorWithoutAnchor", [] { return OSIF_CL_GetCurrentAnchor(0, nullptr); },
                      1},
        ArgumentCheck{"FirstEntryWithoutAnchor",
                      [] { return OSIF_CL_GetFirstEntry(0, nullptr, &g_entry); }, 1},
        ArgumentCheck{"FirstEntryWithoutEntry",
                      [] { return OSIF_CL_GetFirstEntry(0, &g_anchor, nullptr); }, 1},
        ArgumentCheck{"NextEntryWithoutEntry", [] { return OSIF_CL_GetNextEntry(0, nullptr); }, 1},
        ArgumentCheck{"DatabaseIdWithoutBuffer", [] { return OSIF_CL_GetDatabaseId(0, nullptr); },
                      1}),
    [](const auto& test) { return test.param.name; });

TEST_F(OsifTest, ReleasingNoRecordIsAnAssertionAfterWhichTheCallGoesOn) {
  EXPECT_EQ(Code(OSIF_FreeObject(OSIF_STORE_PB, nullptr)), OSIF_OK);
  const TraceLines lines = Trace();
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), IsAssertion), 1);
}

TEST_F(OsifTest, OpeningAChangeLogWithoutAFolderIsAnAssertionAfterWhichTheCallGoesOn) {
  const TempFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.File(""));
  EXPECT_EQ(Code(OSIF_CL_Open(OSIF_STORE_PB, nullptr)), OSIF_OK);
  const TraceLines lines = Trace();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), IsAssertion), 1);
  EXPECT_TRUE(IsAssertion(lines[0]));
  EXPECT_EQ(lines[1], "OSIF:  POL_CL_Open(store_id=0, pszPath='')");
  EXPECT_EQ(Code(OSIF_CL_Close(OSIF_STORE_PB)), OSIF_OK);
  std::filesystem::current_path(before);
}

TEST_F(OsifTest, AFailedCheckOfAnIdLeavesTheAnchorAlone) {
  OsifAnchor anchor = FilledAnchor();
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, nullptr, &anchor)), OSIF_ERR_INVALID_ID);
  EXPECT_FALSE(IsZero(anchor));
}

TEST_F(OsifTest, CallsWithoutARecordThatAreNotCheckedAreHarmless) {
  char id[OSIF_ID_SIZE] = "before";
  EXPECT_EQ(OSIF_FindObject(OSIF_STORE_PB, nullptr, id), 0);
  EXPECT_STREQ(id, "before");
  WCHAR name[10] = u"before";
  EXPECT_EQ(OSIF_GetObjectName(OSIF_STORE_PB, nullptr, name, 10), 0u);
  EXPECT_EQ(std::u16string(name), u"");
  EXPECT_EQ(Code(OSIF_WriteObject(OSIF_STORE_PB, nullptr, Wide(device_.Path("x")).c_str(), 1)),
            OSIF_ERR_GENERAL);
}

// ---- Objects ----------------------------------------------------------------------------------------

TEST_F(OsifTest, CountsContacts) {
  EXPECT_EQ(Count(), 0u);
  Add({"N:Lee"});
  Add({"N:Ray"});
  EXPECT_EQ(Count(), 2u);
}

TEST_F(OsifTest, AddsAContactWithoutRoomForItsId) {
  WithCard({"N:Lee"}, [&](OsifObject& object) {
    EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, nullptr, nullptr)), OSIF_OK);
  });
  EXPECT_EQ(Count(), 1u);
}

TEST_F(OsifTest, GivesIdsOfEightLowerCaseHexadecimalDigits) {
  EXPECT_THAT(Add({"N:Lee"}), testing::MatchesRegex("[0-9a-f]{8}"));
}

TEST_F(OsifTest, StoresAnObjectAllTheSameWhenItsAnchorCannotBeGiven) {
  OsifAnchor anchor = FilledAnchor();
  char id[OSIF_ID_SIZE] = "";
  WithCard({"N:Lee"}, [&](OsifObject& object) {
    EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, &anchor)), OSIF_ERR_CL_NOT_OPENED);
  });
  EXPECT_TRUE(IsZero(anchor));
  EXPECT_EQ(Count(), 1u);

  anchor = FilledAnchor();
  WithCard({"N:Ray"}, [&](OsifObject& object) {
    EXPECT_EQ(Code(OSIF_ModifyObject(OSIF_STORE_PB, id, &object, &anchor)), OSIF_ERR_CL_NOT_OPENED);
  });
  EXPECT_TRUE(IsZero(anchor));
  OutsideObject object;
  ASSERT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, id, &object)), OSIF_OK);
  EXPECT_STREQ(object->contact.n->components->text, "Ray");

  anchor = FilledAnchor();
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, id, &anchor)), OSIF_ERR_CL_NOT_OPENED);
  EXPECT_TRUE(IsZero(anchor));
  EXPECT_EQ(Count(), 0u);
}

TEST_F(OsifTest, ClearsTheAnchorOfACallThatFails) {
  OutsideObject object;
  OsifAnchor anchor = FilledAnchor();
  EXPECT_EQ(Code(OSIF_AddObject(6, &object, nullptr, &anchor)), OSIF_ERR_TYPE_NOT_SUPPORTED);
  EXPECT_TRUE(IsZero(anchor));
  anchor = FilledAnchor();
  EXPECT_EQ(Code(OSIF_ModifyObject(OSIF_STORE_PB, "63", &object, &anchor)), OSIF_ERR_NOT_FOUND);
  EXPECT_TRUE(IsZero(anchor));
  anchor = FilledAnchor();
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, "63", &anchor)), OSIF_ERR_NOT_FOUND);
  EXPECT_TRUE(IsZero(anchor));
}

TEST_F(OsifTest, DeletesAndModifiesWithANullAnchorAndGivesTheStoresResult) {
  const std::string id = Add({"N:Lee", "TITLE:Cook"});
  WithCard({"N:Ray"}, [&](OsifObject& object) {
    EXPECT_EQ(Code(OSIF_ModifyObject(OSIF_STORE_PB, id.c_str(), &object, nullptr)), OSIF_OK);
  });
  OutsideObject object;
  ASSERT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object)), OSIF_OK);
  EXPECT_STREQ(object->contact.n->components->text, "Ray");
  EXPECT_STREQ(object->contact.title->components->text, "Cook");
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, id.c_str(), nullptr)), OSIF_OK);
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, id.c_str(), nullptr)), OSIF_ERR_NOT_FOUND);
}

TEST_F(OsifTest, NeverGivesTheIdOfADeletedObjectAgain) {
  const std::string first = Add({"N:Lee"});
  ASSERT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, first.c_str(), nullptr)), OSIF_OK);
  EXPECT_NE(Add({"N:Lee"}), first);
}

TEST_F(OsifTest, FindsAContactByItsName) {
  const std::string id = Add({"N:Lee;Ann"});
  WithCard({"N:Lee;Ann", "TITLE:Cook"}, [&](OsifObject& object) {
    char found[OSIF_ID_SIZE] = "";
    EXPECT_NE(OSIF_FindObject(OSIF_STORE_PB, &object, found), 0);
    EXPECT_EQ(found, id);
    EXPECT_NE(OSIF_FindObject(OSIF_STORE_PB, &object, nullptr), 0);
  });
  WithCard({"N:Lee"}, [&](OsifObject& object) {
    char found[OSIF_ID_SIZE] = "before";
    EXPECT_EQ(OSIF_FindObject(OSIF_STORE_PB, &object, found), 0);
    EXPECT_STREQ(found, "before");
  });
}

TEST_F(OsifTest, TellsThatItGetsAnObject) {
  OutsideObject object;
  OSIF_GetObjectById(OSIF_STORE_PB, "1", &object);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "OSIF:  OSIF_GetObjectById()");
  EXPECT_THAT(lines[1], testing::StartsWith("OSIF:  POL_GetObjectById(store_id=0, id='1', "));
}

TEST_F(OsifTest, TellsThatItGetsAnObjectBeforeItLooksAtTheArguments) {
  OSIF_GetObjectById(OSIF_STORE_PB, nullptr, nullptr);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "OSIF:  OSIF_GetObjectById()");
  EXPECT_TRUE(IsAssertion(lines[1]));
}

TEST_F(OsifTest, ClearsTheRecordWholeBeforeItIsFilled) {
  OsifObject object;
  for (int32_t store_id : {0, 1, 2, 6}) {
    std::memset(&object, 0x5A, sizeof object);
    EXPECT_NE(Code(OSIF_GetObjectById(store_id, "63", &object)), OSIF_OK);
    EXPECT_TRUE(IsZero(object)) << store_id;
  }
}

TEST_F(OsifTest, WalksOverTheIdsOfAllContacts) {
  const std::vector<std::string> added = {Add({"N:A"}), Add({"N:B"}), Add({"N:C"})};
  std::vector<std::string> walked;
  char id[OSIF_ID_SIZE] = "";
  OsifResult result = OSIF_GetFirstId(OSIF_STORE_PB, id);
  for (; result == OSIF_OK; result = OSIF_GetNextId(OSIF_STORE_PB, id)) walked.push_back(id);
  EXPECT_EQ(Code(result), OSIF_ERR_END_OF_STORE);
  EXPECT_EQ(walked, added);
}

TEST_F(OsifTest, TellsEachStepOfAWalk) {
  Add({"N:A"});
  char id[OSIF_ID_SIZE] = "";
  OSIF_GetFirstId(OSIF_STORE_PB, id);
  OSIF_GetNextId(OSIF_STORE_PB, id);
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  OSIF_GetFirstId(store_id=0)",
                                 "OSIF:  pol_GetFirstIdFromFolder(olFolderType=10)",
                                 "OSIF:  OSIF_GetNextId()",
                                 "OSIF:  pol_GetNextIdFromFolder(g_olFolderType=10)"}));
}

TEST_F(OsifTest, TellsTheStoreOfAWalkThatIsRefused) {
  char id[OSIF_ID_SIZE] = "";
  OSIF_GetFirstId(-1, id);
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  OSIF_GetFirstId(store_id=-1)"}));
}

TEST_F(OsifTest, EndsAWalkOverAnEmptyStoreAtOnce) {
  char id[OSIF_ID_SIZE] = "";
  EXPECT_EQ(Code(OSIF_GetFirstId(OSIF_STORE_PB, id)), OSIF_ERR_END_OF_STORE);
  EXPECT_EQ(Code(OSIF_GetNextId(OSIF_STORE_PB, id)), OSIF_ERR_END_OF_STORE);
}

TEST_F(OsifTest, RefusesUnknownStores) {
  for (int32_t store_id : kNoStores) {
    uint32_t count = 99;
    char id[OSIF_ID_SIZE] = "";
    OutsideObject object;
    EXPECT_EQ(Code(OSIF_GetObjectCount(store_id, &count)), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Code(OSIF_AddObject(store_id, &object, id, nullptr)), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Code(OSIF_ModifyObject(store_id, "1", &object, nullptr)),
              OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Code(OSIF_DeleteObject(store_id, "1", nullptr)), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Code(OSIF_GetObjectById(store_id, "1", &object)), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Code(OSIF_GetFirstId(store_id, id)), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Code(OSIF_GetNextId(store_id, id)), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(OSIF_FindObject(store_id, &object, id), 0);
    EXPECT_EQ(OSIF_GetObjectName(store_id, &object, nullptr, 0), 0u);
    EXPECT_EQ(Code(OSIF_FreeObject(store_id, &object)), OSIF_OK);
  }
}

TEST_F(OsifTest, OffersForNotesNeitherCountNorReadingNorDeletingNorAWalk) {
  uint32_t count = 99;
  char id[OSIF_ID_SIZE] = "";
  OutsideObject object(OSIF_STORE_NOTE);
  EXPECT_EQ(Code(OSIF_GetObjectCount(OSIF_STORE_NOTE, &count)), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_NOTE, "Ideas", &object)), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_NOTE, "Ideas", nullptr)), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Code(OSIF_GetFirstId(OSIF_STORE_NOTE, id)), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Code(OSIF_GetNextId(OSIF_STORE_NOTE, id)), OSIF_ERR_NOT_IMPLEMENTED);
}

// ---- Releasing --------------------------------------------------------------------------------------

TEST_F(OsifTest, ReleasesARecordAndClearsIt) {
  const std::string id = Add({"N:Lee;Ann", "NOTE:Tea"});
  OsifObject object;
  ASSERT_EQ(Code(OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object)), OSIF_OK);
  EXPECT_EQ(Code(OSIF_FreeObject(OSIF_STORE_PB, &object)), OSIF_OK);
  EXPECT_TRUE(IsZero(object));
  EXPECT_EQ(Code(OSIF_FreeObject(OSIF_STORE_PB, &object)), OSIF_OK) << "twice is harmless";
  EXPECT_TRUE(IsZero(object));
}

TEST_F(OsifTest, ReleasesAClearedRecordOfEveryStore) {
  for (int32_t store_id = 0; store_id <= 5; ++store_id) {
    OsifObject object{};
    EXPECT_EQ(Code(OSIF_FreeObject(store_id, &object)), OSIF_OK);
    EXPECT_TRUE(IsZero(object));
  }
}

// ---- Display names ----------------------------------------------------------------------------------

TEST_F(OsifTest, GivesTheDisplayNameOfAContact) {
  WithCard({"N:Lee;Ann;May"}, [](OsifObject& object) {
    WCHAR name[40] = u"before";
    EXPECT_EQ(OSIF_GetObjectName(OSIF_STORE_PB, &object, name, 40), 11u);
    EXPECT_EQ(std::u16string(name), u"Ann May Lee");
  });
}

TEST_F(OsifTest, CutsADisplayNameAtTheBufferAndGivesItsWholeLength) {
  WithCard({"N:Lee", "FN:abcdefghijklmnopqrstuvwxy"}, [](OsifObject& object) {
    WCHAR name[12] = u"###########";
    EXPECT_EQ(OSIF_GetObjectName(OSIF_STORE_PB, &object, name, 10), 25u);
    EXPECT_EQ(std::u16string(name), u"abcdefghi");
    EXPECT_EQ(name[10], u'#') << "nothing is written behind the buffer";
  });
}

TEST_F(OsifTest, FillsABufferThatADisplayNameFitsExactly) {
  WithCard({"N:Lee", "FN:abc"}, [](OsifObject& object) {
    WCHAR name[5] = u"####";
    EXPECT_EQ(OSIF_GetObjectName(OSIF_STORE_PB, &object, name, 4), 3u);
    EXPECT_EQ(std::u16string(name), u"abc");
  });
}

TEST_F(OsifTest, WritesNoMoreOfADisplayNameThanThereIsRoom) {
  WithCard({"N:Lee"}, [](OsifObject& object) {
    WCHAR name[2] = u"#";
    EXPECT_EQ(OSIF_GetObjectName(OSIF_STORE_PB, &object, name, 0), 3u);
    EXPECT_EQ(name[0], u'#');
    EXPECT_EQ(OSIF_GetObjectName(OSIF_STORE_PB, &object, name, 1), 3u);
    EXPECT_EQ(name[0], u'\0');
  });
}

TEST_F(OsifTest, GivesTheEmptyDisplayNameOfAnEmptyRecord) {
  for (int32_t store_id = 0; store_id <= 5; ++store_id) {
    OutsideObject object(store_id);
    WCHAR name[10] = u"before";
    EXPECT_EQ(OSIF_GetObjectName(store_id, &object, name, 10), 0u);
    EXPECT_EQ(std::u16string(name), u"");
  }
}

// ---- Change logs ------------------------------------------------------------------------------------

TEST(OsifAnchorLayout, IsACounterAndTwentyCharacters) {
  EXPECT_EQ(offsetof(OsifAnchor, cc), 0u);
  EXPECT_EQ(offsetof(OsifAnchor, ts), 4u);
  EXPECT_EQ(sizeof(OsifAnchor::ts), 20u);
}

class OsifChangeLog : public OsifTest {
 protected:
  void SetUp() override {
    OsifTest::SetUp();
    ASSERT_EQ(Code(OSIF_CL_Open(OSIF_STORE_PB, Wide(folder_.File("")).c_str())), OSIF_OK);
  }
  void TearDown() override {
    OSIF_CL_Close(OSIF_STORE_PB);
    OsifTest::TearDown();
  }

  struct Added {
    std::string id;
    OsifAnchor anchor;
  };

  // Adds a contact; gives its id and the anchor of the change.
  Added AddWithAnchor(std::string_view line) {
    char id[OSIF_ID_SIZE] = "";
    OsifAnchor anchor = FilledAnchor();
    WithCard({line}, [&](OsifObject& object) {
      EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, &anchor)), OSIF_OK);
    });
    return {id, anchor};
  }

  TempFolder folder_;
};

TEST_F(OsifChangeLog, CountsEachChangeAndStampsItWithTheTimeInUtc) {
  const Added added = AddWithAnchor("N:Lee");
  EXPECT_EQ(added.anchor.cc, 1u);
  EXPECT_THAT(added.anchor.ts, testing::MatchesRegex("[0-9]{8}T[0-9]{6}Z"));

  OsifAnchor modified = FilledAnchor();
  WithCard({"N:Ray"}, [&](OsifObject& object) {
    EXPECT_EQ(Code(OSIF_ModifyObject(OSIF_STORE_PB, added.id.c_str(), &object, &modified)),
              OSIF_OK);
  });
  EXPECT_EQ(modified.cc, 2u);

  OsifAnchor deleted = FilledAnchor();
  EXPECT_EQ(Code(OSIF_DeleteObject(OSIF_STORE_PB, added.id.c_str(), &deleted)), OSIF_OK);
  EXPECT_EQ(deleted.cc, 3u);
  EXPECT_THAT(deleted.ts, testing::MatchesRegex("[0-9]{8}T[0-9]{6}Z"));
}

TEST_F(OsifChangeLog, GivesItsCurrentAnchor) {
  OsifAnchor anchor = FilledAnchor();
  EXPECT_EQ(Code(OSIF_CL_GetCurrentAnchor(OSIF_STORE_PB, &anchor)), OSIF_OK);
  EXPECT_TRUE(IsZero(anchor)) << "the log is empty";
  AddWithAnchor("N:Lee");
  const Added last = AddWithAnchor("N:Ray");
  EXPECT_EQ(Code(OSIF_CL_GetCurrentAnchor(OSIF_STORE_PB, &anchor)), OSIF_OK);
  EXPECT_EQ(anchor.cc, 2u);
  EXPECT_STREQ(anchor.ts, last.anchor.ts);
}

TEST_F(OsifChangeLog, GivesTheEntriesAfterAnAnchorOneByOne) {
  const Added first = AddWithAnchor("N:Lee");
  const Added second = AddWithAnchor("N:Ray");
  const Added third = AddWithAnchor("N:May");
  ChangeLogEntry entry{};
  ASSERT_EQ(Code(OSIF_CL_GetFirstEntry(OSIF_STORE_PB, &first.anchor, &entry)), OSIF_OK);
  EXPECT_EQ(entry.kind, static_cast<uint32_t>('M'));
  EXPECT_EQ(entry.changeCounter, 2);
  EXPECT_EQ(entry.objectId, second.id);
  ASSERT_EQ(Code(OSIF_CL_GetNextEntry(OSIF_STORE_PB, &entry)), OSIF_OK);
  EXPECT_EQ(entry.changeCounter, 3);
  EXPECT_EQ(entry.objectId, third.id);
  EXPECT_EQ(Code(OSIF_CL_GetNextEntry(OSIF_STORE_PB, &entry)), OSIF_ERR_EOF);
}

TEST_F(OsifChangeLog, GivesTheSameDatabaseIdAsLongAsItsFolderStays) {
  char first[OSIF_DATABASE_ID_SIZE] = "before";
  ASSERT_EQ(Code(OSIF_CL_GetDatabaseId(OSIF_STORE_PB, first)), OSIF_OK);
  EXPECT_THAT(first, testing::MatchesRegex("[0-9a-z]{8}"));
  EXPECT_EQ(Code(OSIF_CL_Close(OSIF_STORE_PB)), OSIF_OK);
  ASSERT_EQ(Code(OSIF_CL_Open(OSIF_STORE_PB, Wide(folder_.File("")).c_str())), OSIF_OK);
  char second[OSIF_DATABASE_ID_SIZE] = "before";
  ASSERT_EQ(Code(OSIF_CL_GetDatabaseId(OSIF_STORE_PB, second)), OSIF_OK);
  EXPECT_STREQ(second, first);
}

TEST_F(OsifTest, ClearsAnchorAndDatabaseIdOfAChangeLogThatIsNotOpen) {
  for (int32_t store_id = 0; store_id <= 5; ++store_id) {
    OsifAnchor anchor = FilledAnchor();
    EXPECT_NE(Code(OSIF_CL_GetCurrentAnchor(store_id, &anchor)), OSIF_OK);
    EXPECT_TRUE(IsZero(anchor));
    char id[OSIF_DATABASE_ID_SIZE] = "before";
    EXPECT_NE(Code(OSIF_CL_GetDatabaseId(store_id, id)), OSIF_OK);
    EXPECT_EQ(id[0], '\0');
  }
}

}  // namespace
}  // namespace osif_test

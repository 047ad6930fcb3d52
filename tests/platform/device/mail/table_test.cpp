// Contents tables.
#include "tests/platform/device/mail/fixture.h"

namespace table_test {
namespace {

using namespace mapi_test;
using testing::ElementsAre;

using MapiTable = MapiTest;

TEST_F(MapiTable, GivesAFoldersOwnMessagesOldestFirst) {
  for (const char16_t* subject : {u"b", u"c", u"a"}) Store(subject);
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"b", u"c", u"a"));
  EXPECT_THAT(Subjects(sent()), ElementsAre());
  EXPECT_THAT(Subjects(outbox()), ElementsAre());
}

TEST_F(MapiTable, GivesAsManyRowsAsAskedForUntilThereAreNone) {
  for (const char16_t* subject : {u"a", u"b", u"c"}) Store(subject);
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  EXPECT_EQ(Query(*table, 2)->cRows, 2u);
  const Rows rows = Query(*table, 2);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_EQ(std::u16string(Cell(rows, 0, 0).Value.lpszW), u"c");
  EXPECT_EQ(Query(*table, 2)->cRows, 0u);
  EXPECT_EQ(Query(*table, 2)->cRows, 0u);
}

TEST_F(MapiTable, GivesItsColumnsInTheOrderInWhichTheyWereSet) {
  const std::string id = Store(u"a");
  const ComPtr<IMAPITable> table =
      Contents(inbox(), {PR_MESSAGE_DELIVERY_TIME, PR_NULL, PR_ENTRYID, PR_SUBJECT});
  const Rows rows = Query(*table, 50);
  ASSERT_EQ(rows->cRows, 1u);
  ASSERT_EQ(rows->aRow[0].cValues, 4u);
  EXPECT_EQ(Cell(rows, 0, 0).ulPropTag, 0x0E06000Au);
  EXPECT_EQ(Cell(rows, 0, 0).Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(Cell(rows, 0, 1).ulPropTag, PR_NULL);
  EXPECT_EQ(Bytes(Cell(rows, 0, 2).Value.bin), id);
  EXPECT_EQ(std::u16string(Cell(rows, 0, 3).Value.lpszW), u"a");
}

TEST_F(MapiTable, TakesAnyPropertyAsAColumn) {
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    Set(*message, Number(PR_MESSAGE_FLAGS, 0x21));
    AddRecipients(*message, {{MAPI_TO, u"a"}});
  }
  const Rows rows = Query(*Contents(inbox(), {PR_MESSAGE_FLAGS, PR_EMAIL_ADDRESS}), 50);
  ASSERT_EQ(rows->cRows, 1u);
  EXPECT_EQ(Cell(rows, 0, 0).Value.l, 0x21);
  EXPECT_EQ(Cell(rows, 0, 1).Value.err, MAPI_E_NOT_FOUND);  // a recipient's, not the message's
}

TEST_F(MapiTable, GivesLongSubjectsWhole) {
  const std::u16string subject(2048, u's');
  Store(subject.c_str());
  EXPECT_THAT(Subjects(inbox()), ElementsAre(subject));
}

TEST_F(MapiTable, DoesNotGrowAndPassesOverWhatWasDeleted) {
  Store(u"a");
  const std::string second = Store(u"b");
  Store(u"c");
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  Store(u"d");
  ASSERT_EQ(device::OpenDatabase()->Execute("DELETE FROM mapi_messages WHERE subject = 'b'"),
            SQLITE_OK);
  Rows rows = Query(*table, 2);
  ASSERT_EQ(rows->cRows, 2u);
  EXPECT_EQ(std::u16string(Cell(rows, 0, 0).Value.lpszW), u"a");
  EXPECT_EQ(std::u16string(Cell(rows, 1, 0).Value.lpszW), u"c");
  EXPECT_EQ(Query(*table, 2)->cRows, 0u);
  ComPtr<IMessage> none;
  EXPECT_EQ(Open(inbox(), second, &none), MAPI_E_NOT_FOUND);
}

TEST_F(MapiTable, SeeksFromItsBeginning) {
  for (const char16_t* subject : {u"a", u"b", u"c"}) Store(subject);
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  Query(*table, 50);
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 0, nullptr), S_OK);
  EXPECT_EQ(Query(*table, 50)->cRows, 3u);
  LONG sought = -1;
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 2, &sought), S_OK);
  EXPECT_EQ(sought, 2);
  EXPECT_EQ(Query(*table, 50)->cRows, 1u);
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, 9, nullptr), S_OK);
  EXPECT_EQ(Query(*table, 50)->cRows, 0u);
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, -9, nullptr), S_OK);
  EXPECT_EQ(Query(*table, 50)->cRows, 3u);
  EXPECT_EQ(table->SeekRow(1, 0, nullptr), MAPI_E_INVALID_BOOKMARK);
}

// A condition on the delivery time, and perhaps on the subject.
class Condition {
 public:
  explicit Condition(DWORD time, const char16_t* subject = nullptr, ULONG relation = RELOP_EQ)
      : time_(Time(PR_MESSAGE_DELIVERY_TIME, time, 0)), subject_(Text(PR_SUBJECT, subject)) {
    parts_[0].rt = RES_PROPERTY;
    parts_[0].res.resProperty = {relation, PR_MESSAGE_DELIVERY_TIME, &time_};
    parts_[1].rt = RES_PROPERTY;
    parts_[1].res.resProperty = {relation, PR_SUBJECT, &subject_};
    all_.rt = RES_AND;
    all_.res.resAnd = {subject == nullptr ? 1u : 2u, parts_};
  }
  LPSRestriction get() { return &all_; }
  LPSRestriction subject() { return &parts_[1]; }

 private:
  SPropValue time_;
  SPropValue subject_;
  SRestriction parts_[2] = {};
  SRestriction all_ = {};
};

class RestrictedTable : public MapiTable {
 protected:
  void StoreAt(const char16_t* subject, DWORD time) {
    const ComPtr<IMessage> message = NewMessage(inbox());
    Set(*message, Text(PR_SUBJECT, subject));
    Set(*message, Time(PR_MESSAGE_DELIVERY_TIME, time, 0));
  }
  static std::vector<std::u16string> RestOf(IMAPITable& table) {
    std::vector<std::u16string> subjects;
    const Rows rows = Query(table, 50);
    for (ULONG i = 0; i < rows->cRows; ++i) subjects.push_back(Cell(rows, i, 0).Value.lpszW);
    return subjects;
  }
};

TEST_F(RestrictedTable, HasTheMessagesOfATimeAndSubjectInTheSameCase) {
  StoreAt(u"a", 1);
  StoreAt(u"b", 2);
  StoreAt(u"A", 2);
  StoreAt(u"a", 2);
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  EXPECT_EQ(table->Restrict(Condition(2).get(), 0), S_OK);
  EXPECT_THAT(RestOf(*table), ElementsAre(u"b", u"A", u"a"));
  EXPECT_EQ(table->Restrict(Condition(2, u"a").get(), 0), S_OK);
  EXPECT_THAT(RestOf(*table), ElementsAre(u"a"));
  EXPECT_EQ(table->Restrict(Condition(3).get(), 0), S_OK);
  EXPECT_THAT(RestOf(*table), ElementsAre());
}

TEST_F(RestrictedTable, StandsAtItsFirstRowAndHasAllRowsAgainWithoutACondition) {
  StoreAt(u"a", 1);
  StoreAt(u"b", 2);
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  RestOf(*table);
  EXPECT_EQ(table->Restrict(Condition(2).get(), 0), S_OK);
  EXPECT_THAT(RestOf(*table), ElementsAre(u"b"));
  EXPECT_EQ(table->Restrict(nullptr, 0), S_OK);
  EXPECT_THAT(RestOf(*table), ElementsAre(u"a", u"b"));
}

TEST_F(RestrictedTable, DoesNotGrow) {
  StoreAt(u"a", 1);
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  StoreAt(u"b", 1);
  EXPECT_EQ(table->Restrict(Condition(1).get(), 0), S_OK);
  EXPECT_THAT(RestOf(*table), ElementsAre(u"a"));
}

TEST_F(RestrictedTable, RefusesWhatItCannotLookForAndStaysAsItWas) {
  StoreAt(u"a", 1);
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  Condition condition(2, u"b");
  EXPECT_EQ(table->Restrict(condition.subject(), 0), MAPI_E_TOO_COMPLEX);
  EXPECT_EQ(table->Restrict(Condition(2, nullptr, 0).get(), 0), MAPI_E_TOO_COMPLEX);
  SRestriction nested = {};
  nested.rt = RES_AND;
  nested.res.resAnd = {1, condition.get()};
  EXPECT_EQ(table->Restrict(&nested, 0), MAPI_E_TOO_COMPLEX);
  EXPECT_EQ(table->Restrict(condition.get(), 1), MAPI_E_UNKNOWN_FLAGS);
  EXPECT_THAT(RestOf(*table), ElementsAre(u"a"));
}

TEST_F(MapiTable, RefusesWhatMakesNoSense) {
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT});
  SPropTagArray none = {0, {}};
  EXPECT_EQ(table->SetColumns(&none, 0), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(table->SetColumns(nullptr, 0), MAPI_E_INVALID_PARAMETER);
  LPSRowSet rows = reinterpret_cast<LPSRowSet>(1);
  EXPECT_EQ(table->QueryRows(0, 0, &rows), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(rows, nullptr);
  EXPECT_EQ(table->QueryRows(-1, 0, &rows), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(table->QueryRows(1, 0, nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST_F(MapiTable, GivesLargestCountsWhatThereIs) {
  Store(u"a");
  EXPECT_EQ(Query(*Contents(inbox(), {PR_SUBJECT}), INT32_MAX)->cRows, 1u);
}

TEST_F(MapiTable, DoesNotReadBodies) {
  ASSERT_EQ(device::OpenDatabase()->Execute(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
                "INSERT INTO mapi_messages(id, folder, delivery_time, subject) "
                "SELECT i, 1, i, 'subject ' || i FROM n"),
            SQLITE_OK);
  // Reading a body would fail.
  ASSERT_EQ(device::OpenDatabase()->Execute("DROP TABLE mapi_bodies"), SQLITE_OK);
  const ComPtr<IMAPITable> table =
      Contents(inbox(), {PR_SUBJECT, PR_MESSAGE_DELIVERY_TIME, PR_ENTRYID});
  ULONG count = 0;
  for (Rows rows = Query(*table, 50); rows->cRows != 0; rows = Query(*table, 50)) {
    count += rows->cRows;
  }
  EXPECT_EQ(count, 20000u);
}

TEST_F(MapiTable, FindingByTimeAndSubjectHasAnIndex) {
  std::string plan;
  {
    device::Statement row = device::OpenDatabase()->Prepare(
        "EXPLAIN QUERY PLAN SELECT id FROM mapi_messages "
        "WHERE folder = 1 AND delivery_time = 2 AND subject = 'x'");
    ASSERT_EQ(row.Step(), SQLITE_ROW);
    plan = row.Bytes(3);
  }
  EXPECT_THAT(plan, testing::HasSubstr("COVERING INDEX mapi_messages_by_time (folder=? AND "
                                       "delivery_time=? AND subject=?)"));
}

}  // namespace
}  // namespace table_test

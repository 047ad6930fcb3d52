#include "platform/device/pim/values.h"

#include <sqlite3.h>

#include <string>
#include <string_view>

#include "platform/device/pim/contact_table.h"
#include "platform/device/pim/task_table.h"
#include "tests/platform/device/pim/fixture.h"

namespace values_test {
namespace {

using namespace pim_test;

// A row that was read is remembered, so what is written to it has to be noticed.
class PimRowInMemory : public PimTest {
 protected:
  void WriteElsewhere(const std::string& sql) {
    int code = SQLITE_OK;
    const auto other = device::Database::Open(device::Folder() + "/device.db", &code);
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(other->Execute(sql.c_str()), SQLITE_OK);
  }

  std::u16string FirstName(LONG oid) { return Get(*Load(oid), &IContact::get_FirstName); }

  // How often the contacts' table is asked while `act` goes on.
  template <typename Act>
  int CountSelects(Act act) {
    const auto database = device::OpenDatabase();
    int count = 0;
    const auto note = [](unsigned, void* counter, void* statement, void*) {
      const std::string sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
      if (sql.find("FROM pim_contacts") != std::string::npos) ++*static_cast<int*>(counter);
      return 0;
    };
    sqlite3_trace_v2(database->handle(), SQLITE_TRACE_STMT, note, &count);
    act();
    sqlite3_trace_v2(database->handle(), 0, nullptr, nullptr);
    return count;
  }
};

TEST_F(PimRowInMemory, IsNotReadAgainForTheSameId) {
  const LONG oid = SaveContact({{&IContact::put_FirstName, u"Anna"}});
  EXPECT_EQ(CountSelects([&] {
              EXPECT_EQ(FirstName(oid), u"Anna");
              EXPECT_EQ(FirstName(oid), u"Anna");
            }),
            1);
}

TEST_F(PimRowInMemory, IsNotTakenForAnother) {
  const LONG anna = SaveContact({{&IContact::put_FirstName, u"Anna"}});
  const LONG bert = SaveContact({{&IContact::put_FirstName, u"Bert"}});
  EXPECT_EQ(FirstName(anna), u"Anna");
  EXPECT_EQ(FirstName(bert), u"Bert");
  EXPECT_EQ(FirstName(anna), u"Anna");
}

TEST_F(PimRowInMemory, IsReadAgainAfterAnotherProgramHasChangedIt) {
  const LONG oid = SaveContact({{&IContact::put_FirstName, u"0"}});
  for (const char16_t digit : {u'1', u'2', u'3'}) {
    WriteElsewhere("UPDATE pim_contacts SET first_name = '" +
                   std::string(1, static_cast<char>(digit)) + "'");
    EXPECT_EQ(FirstName(oid), std::u16string(1, digit));
    EXPECT_EQ(FirstName(oid), std::u16string(1, digit)) << "from memory";
  }
}

TEST_F(PimRowInMemory, IsGoneOnceItIsDeleted) {
  const LONG oid = SaveContact({{&IContact::put_FirstName, u"Anna"}});
  EXPECT_EQ(FirstName(oid), u"Anna");
  WriteElsewhere("DELETE FROM pim_objects");
  EXPECT_FALSE(Load(oid));
}

TEST_F(PimRowInMemory, IsReadAgainAfterItWasSaved) {
  const LONG oid = SaveContact({{&IContact::put_FirstName, u"Anna"}});
  const ComPtr<IContact> contact = Load(oid);
  ASSERT_EQ(Put(*contact, &IContact::put_FirstName, u"Bert"), S_OK);
  EXPECT_EQ(FirstName(oid), u"Anna") << "it is not saved yet";
  ASSERT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(FirstName(oid), u"Bert");
}

TEST_F(PimRowInMemory, IsNotRememberedAsATransactionLeavesItThatIsTakenBack) {
  const LONG oid = SaveContact({{&IContact::put_FirstName, u"Anna"}});
  {
    const auto database = device::OpenDatabase();
    const device::Transaction unfinished(*database);
    ASSERT_TRUE(unfinished.is_open());
    ASSERT_EQ(database->Execute("UPDATE pim_contacts SET first_name = 'Bert'"), SQLITE_OK);
    EXPECT_EQ(FirstName(oid), u"Bert");
  }
  EXPECT_EQ(FirstName(oid), u"Anna");
}

// Nothing keeps the tables of two kinds from having a row of one id.
TEST_F(PimRowInMemory, OfAContactIsNoneOfATask) {
  const LONG oid = SaveContact({{&IContact::put_LastName, u"Anna"}});
  WriteElsewhere(
      "INSERT INTO pim_tasks(oid, subject, importance, complete, sensitivity, team_task, "
      "reminder_set, reminder_options) VALUES(" +
      std::to_string(oid) + ", 'Call', 0, 0, 0, 0, 0, 0)");
  const device::PimStatements contacts(*device::ContactTable());
  const device::PimStatements tasks(*device::TaskTable());
  const auto text_of = [](const device::PimStatements& kind, std::string_view name,
                          const device::PimValues& values) {
    for (size_t i = 0; i < kind.table.properties.size(); ++i) {
      if (kind.table.properties[i].name == name) return values.Text(i);
    }
    return std::string("no such property");
  };
  device::LastRow last;
  device::PimValues contact(contacts);
  device::PimValues task(tasks);
  ASSERT_EQ(last.Load(*device::OpenDatabase(), static_cast<int32_t>(oid), contact), S_OK);
  ASSERT_EQ(last.Load(*device::OpenDatabase(), static_cast<int32_t>(oid), task), S_OK);
  EXPECT_EQ(text_of(contacts, "LastName", contact), "Anna");
  EXPECT_EQ(text_of(tasks, "Subject", task), "Call");
}

}  // namespace
}  // namespace values_test

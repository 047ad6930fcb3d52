// Damage inside a large database, which opening it does not find; and devices that other programs use.
#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "client/attempts.h"
#include "tests/tools/osif/command_fixture.h"

namespace command_test::damage_test {
namespace {

using testing::HasSubstr;

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};

using Connection = std::unique_ptr<sqlite3, CloseDatabase>;

Connection Connect(const std::string& path) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
  return Connection(database);
}

// ---- Damage -------------------------------------------------------------------------------------------

class CommandDamage : public CommandTest {
 protected:
  // A device with a database so large that opening it looks at its head only. It is made once; each test gets
  // a copy.
  CommandDamage() : cards_(Path("cards.vcf")) {
    if (original_) {
      Copy(original_->path(), folder_);
      return;
    }
    std::string cards;
    for (int i = 0; i < 50; ++i) {
      cards += Card({"N:Lee;Ann" + std::to_string(i), "NOTE:" + std::string(100'000, 'x')});
    }
    Write("cards.vcf", cards);
    EXPECT_EQ(Osif({"receive", "--strict", cards_}).status, 0);
    EXPECT_GT(std::filesystem::file_size(DatabasePath()), 5'000'000u);
    original_.emplace();
    Copy(folder_, original_->path());
  }
  static void TearDownTestSuite() { original_.reset(); }

  std::string DatabasePath() const { return device_ + "/device.db"; }

  // Overwrites the root pages of a table and its indexes.
  void Damage(const std::string& table) const {
    constexpr std::streamoff kPage = 4096;
    std::vector<int> pages;
    {
      const Connection database = Connect(DatabasePath());
      const std::string sql =
          "SELECT rootpage FROM sqlite_master WHERE rootpage > 0 AND tbl_name='" + table + "'";
      sqlite3_exec(
          database.get(), sql.c_str(),
          [](void* list, int, char** row, char**) {
            static_cast<std::vector<int>*>(list)->push_back(std::atoi(row[0]));
            return 0;
          },
          &pages, nullptr);
    }
    ASSERT_FALSE(pages.empty());
    std::fstream file(DatabasePath(), std::ios::binary | std::ios::in | std::ios::out);
    for (const int page : pages) {
      file.seekp((page - 1) * kPage);
      file << std::string(kPage, '\xA5');
    }
  }

  // Expects that each command line fails, says why, and leaves the database as it is.
  void ExpectToldAndLeft(const std::vector<std::vector<std::string>>& command_lines) const {
    const std::string before = BytesOf(DatabasePath());
    for (const std::vector<std::string>& arguments : command_lines) {
      SCOPED_TRACE(arguments[0]);
      const Outcome outcome = Osif(arguments);
      EXPECT_EQ(outcome.status, 1);
      EXPECT_THAT(outcome.err, HasSubstr("osif: The device's database '" + DatabasePath() +
                                         "' is damaged: a part of it could not be read: "
                                         "General PIM Error (code 14)\n"));
      EXPECT_TRUE(BytesOf(DatabasePath()) == before);
    }
  }

  // Without the mark of its snapshot the opening of a change log reads every object.
  void ForgetMark() const {
    EXPECT_TRUE(std::filesystem::remove(device_ + "/Sync/pb/pol_pb_mark.log"));
  }

  const std::string cards_;

 private:
  static void Copy(const std::string& from, const std::string& to) {
    std::filesystem::copy(from, to, std::filesystem::copy_options::recursive);
  }

  inline static std::optional<support::TempFolder> original_;
};

TEST_F(CommandDamage, CostsNoFileOfAMirroredFolder) {
  const std::string folder = Path("people");
  std::filesystem::create_directory(folder);
  const auto count = [&] { return std::distance(std::filesystem::directory_iterator(folder), {}); };
  ASSERT_EQ(Osif({"mirror", "pb", folder}).status, 0);
  ASSERT_EQ(count(), 50);
  // A position that the log does not know makes the mirror look at every object.
  sqlite3_exec(Connect(device_ + "/mirror.db").get(), "UPDATE positions SET counter = 999999",
               nullptr, nullptr, nullptr);
  for (const char* table : {"pim_contacts", "pim_objects"}) {
    Damage(table);
    const Outcome outcome = Osif({"mirror", "pb", folder, "--force-delete"});
    EXPECT_EQ(outcome.status, 1) << table;
    EXPECT_THAT(outcome.err, HasSubstr("is damaged: a part of it could not be read")) << table;
    EXPECT_EQ(count(), 50) << table;
  }
}

TEST_F(CommandDamage, OfTheListOfObjectsIsTold) {
  Damage("pim_objects");
  ExpectToldAndLeft({{"list", "pb"},
                     {"count", "pb"},
                     {"find", "--strict", cards_},
                     {"changes", "pb"},
                     {"delete", "pb", "00000001"},
                     {"receive", "--strict", cards_}});
  EXPECT_EQ(Osif({"count", "pb"}).out, "");
}

TEST_F(CommandDamage, OfTheContactsIsTold) {
  Damage("pim_contacts");
  ForgetMark();
  ExpectToldAndLeft({{"list", "pb"},
                     {"find", "--strict", cards_},
                     {"send", "pb", "00000001"},
                     {"anchor", "pb"},
                     {"delete", "pb", "00000001"},
                     {"receive", "--strict", cards_}});
}

// The store might have been read while another program deleted an item.
TEST_F(CommandDamage, AChangeLogIsOpenedAgainBeforeItsStoreCountsAsUnreadable) {
  Damage("pim_contacts");
  ForgetMark();
  const Lines trace = Osif({"anchor", "pb", "--trace"}).ErrLines();
  EXPECT_EQ(std::ranges::count_if(trace,
                                  [](const std::string& line) {
                                    return line.starts_with("OSIF:  POL_CL_Open(store_id=0, ");
                                  }),
            client::kOpeningAttempts);
}

TEST_F(CommandDamage, OfContactsThatNothingWasWrittenToIsNotMetByAskingForTheAnchor) {
  Damage("pim_contacts");
  EXPECT_EQ(Osif({"anchor", "pb"}).status, 0);
}

TEST_F(CommandDamage, OfTheContactsIsNoAnswerToFind) {
  Damage("pim_contacts");
  const Outcome outcome = Osif({"find", "--strict", cards_});
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err,
              HasSubstr(cards_ + ": object 1 (line 1) \"Ann0 Lee\" could not be looked for"));
}

TEST_F(CommandDamage, OfTheListOfObjectsKeepsTheOldFileOfAnExport) {
  const std::string file = Write("all.vcf", "old");
  Damage("pim_objects");
  ExpectToldAndLeft({{"export", "pb", "-o", file}});
  EXPECT_EQ(BytesOf(file), "old");
}

TEST_F(CommandDamage, OfTheSettingsIsTold) {
  Osif({"settings", "CountryCode", "7"});
  Damage("registry_values");
  ExpectToldAndLeft({{"settings"}, {"settings", "CountryCode"}});
}

TEST_F(CommandDamage, OfOtherPartsDoesNotHinder) {
  Damage("registry_values");
  EXPECT_EQ(Osif({"count", "pb"}).out, "50\n");
}

// ---- Another program's transaction --------------------------------------------------------------------

class CommandBusy : public CommandTest {
 protected:
  CommandBusy() {
    EXPECT_EQ(Osif({"receive", "--strict", Write("a.vcf", Card({"N:Lee;Ann"}))}).status, 0);
    writer_ = Connect(device_ + "/device.db");
    Execute("BEGIN IMMEDIATE");
    Execute("INSERT INTO registry_keys(folded_path, path) VALUES('x', 'x')");
  }

  void Execute(const char* sql) const {
    EXPECT_EQ(sqlite3_exec(writer_.get(), sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  }

  Connection writer_;
};

TEST_F(CommandBusy, WhatOnlyReadsDoesNotWait) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
  EXPECT_EQ(Osif({"count", "pb"}).status, 0);
  EXPECT_EQ(Osif({"find", "--strict", Path("a.vcf")}).status, 0);
  EXPECT_EQ(Osif({"send", "pb", "1"}).status, 0);
  EXPECT_EQ(Osif({"export", "pb", "-o", Path("all.vcf")}).status, 0);
  EXPECT_EQ(Osif({"changes", "pb"}).status, 0);
  EXPECT_EQ(Osif({"settings"}).status, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(9));
}

TEST_F(CommandBusy, WhatWritesWaitsForTheOthersEnd) {
  const pid_t receiver = Start(
      Launched({support::kCommand, "receive", "--strict", Write("b.vcf", Card({"N:Berg;Ole"}))}),
      Path("receive"));
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_EQ(kill(receiver, 0), 0);
  EXPECT_EQ(BytesOf(Path("receive.out")), "");
  Execute("COMMIT");
  EXPECT_EQ(WaitFor(receiver), 0);
  EXPECT_EQ(Osif({"count", "pb"}).out, "2\n");
}

}  // namespace
}  // namespace command_test::damage_test

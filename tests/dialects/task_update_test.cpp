// A task that comes once more changes what its sender says, and nothing else.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "btosif/osif_util/value_text.h"
#include "dialects/object_reader.h"
#include "platform/utf8.h"
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/osif_fixture.h"

namespace task_update_test {
namespace {

// Stores what it is given: the first object is added, all others change it.
class Storer : public dialects::ObjectVisitor {
 public:
  void OnObject(const dialects::ReadObject& read) override {
    EXPECT_EQ(read.result, OSIF_PARSE_OK);
    const OsifResult stored = id_[0] == '\0'
                                  ? OSIF_AddObject(read.store_id, read.object, id_, nullptr)
                                  : OSIF_ModifyObject(read.store_id, id_, read.object, nullptr);
    EXPECT_EQ(stored, OSIF_OK);
  }
  void OnRefused(const dialects::RefusedObject& refused) override {
    ADD_FAILURE() << refused.reason;
  }

  std::string Categories() const {
    support::OutsideObject back(OSIF_STORE_CAL);
    EXPECT_EQ(OSIF_GetObjectById(OSIF_STORE_CAL, id_, &back), OSIF_OK);
    return ToUtf8(DecodedText(back->calendar.categories));
  }

 private:
  char id_[OSIF_ID_SIZE] = "";
};

class TaskUpdate : public support::OsifTest {
 protected:
  // The categories of a task that came with some, and then again with these lines.
  static std::string CategoriesAfter(const std::string& version, const std::string& lines) {
    const std::string begin = "BEGIN:VCALENDAR\r\nVERSION:" + version + "\r\nBEGIN:VTODO\r\n";
    const std::string end = "SUMMARY:Buy milk\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    const support::TempFile file(begin + "CATEGORIES:Home,Shops\r\n" + end + begin + lines + end);
    const int handle = open(file.path().c_str(), O_RDONLY);
    Storer storer;
    dialects::FileRest rest;
    EXPECT_EQ(dialects::ReadDialectFile(handle, {}, storer, rest), OSIF_OK);
    close(handle);
    return storer.Categories();
  }
};

TEST_F(TaskUpdate, ThatSaysNothingOfCategoriesLeavesThem) {
  EXPECT_EQ(CategoriesAfter("2.0", ""), "Home,Shops");
  EXPECT_EQ(CategoriesAfter("1.0", ""), "Home,Shops");
  EXPECT_EQ(CategoriesAfter("1.0", "PRIORITY:1\r\n"), "Home,Shops");
}

TEST_F(TaskUpdate, ThatSaysThereAreNoCategoriesTakesThemAway) {
  EXPECT_EQ(CategoriesAfter("2.0", "CATEGORIES:\r\n"), "");
  EXPECT_EQ(CategoriesAfter("1.0", "CATEGORIES:\r\n"), "");
}

TEST_F(TaskUpdate, ThatHasOtherCategoriesPutsThemInTheirPlace) {
  EXPECT_EQ(CategoriesAfter("2.0", "CATEGORIES:Work\r\n"), "Work");
}

}  // namespace
}  // namespace task_update_test

#include "client/attempts.h"

#include <gtest/gtest.h>

#include <vector>

namespace client::attempts_test {
namespace {

// Opens a log that answers one thing after the other.
class AnsweringLog {
 public:
  explicit AnsweringLog(std::vector<OsifResult> answers) : answers_(std::move(answers)) {}

  OsifResult Open() {
    return OpenAmongOthers([this] { return answers_.at(openings_++); });
  }
  size_t openings() const { return openings_; }

 private:
  std::vector<OsifResult> answers_;
  size_t openings_ = 0;
};

struct Answers {
  std::vector<OsifResult> answers;
  OsifResult result;
  size_t openings;
};

void ExpectOpened(const Answers& expected) {
  AnsweringLog log(expected.answers);
  EXPECT_EQ(log.Open(), expected.result);
  EXPECT_EQ(log.openings(), expected.openings);
}

TEST(OpenAmongOthers, OpensOnceWhenNobodyComesInBetween) {
  ExpectOpened({{OSIF_OK, OSIF_ERR_PIM}, OSIF_OK, 1});
}

TEST(OpenAmongOthers, OpensAgainWhenTheStoreCouldNotBeRead) {
  ExpectOpened({{OSIF_ERR_PIM, OSIF_OK, OSIF_ERR_PIM}, OSIF_OK, 2});
  ExpectOpened({{OSIF_ERR_PIM, OSIF_ERR_PIM, OSIF_OK, OSIF_ERR_PIM}, OSIF_OK, 3});
}

TEST(OpenAmongOthers, GivesUpAfterThreeTimes) {
  ExpectOpened({{OSIF_ERR_PIM, OSIF_ERR_PIM, OSIF_ERR_PIM, OSIF_OK}, OSIF_ERR_PIM, 3});
}

TEST(OpenAmongOthers, OpensNotAgainForAnyOtherAnswer) {
  for (const OsifResult other : {OSIF_ERR_NOT_IMPLEMENTED, OSIF_ERR_GENERAL, OSIF_ERR_FILE_OPEN,
                                 OSIF_ERR_PIM_NOT_OPENED, OSIF_ERR_TYPE_NOT_SUPPORTED}) {
    SCOPED_TRACE(other);
    ExpectOpened({{other, OSIF_OK}, other, 1});
    ExpectOpened({{OSIF_ERR_PIM, other, OSIF_OK}, other, 2});
  }
}

}  // namespace
}  // namespace client::attempts_test

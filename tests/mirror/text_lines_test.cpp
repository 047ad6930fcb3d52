#include "mirror/text_lines.h"

#include <gtest/gtest.h>

namespace text_lines_test {
namespace {

using mirror::Edits;

TEST(Edits, InsertBeforeWhatIsRemovedWhicheverIsSaidFirst) {
  Edits first_removed;
  first_removed.Remove({2, 4});
  first_removed.Insert(2, "new\r\n");
  EXPECT_EQ(first_removed.Applied("a\nb\nc\n", "\n"), "a\nnew\nc\n");
  Edits first_inserted;
  first_inserted.Insert(2, "new\r\n");
  first_inserted.Remove({2, 4});
  EXPECT_EQ(first_inserted.Applied("a\nb\nc\n", "\n"), "a\nnew\nc\n");
}

TEST(Edits, AtOnePlaceStayInTheirOrder) {
  Edits edits;
  edits.Insert(2, "one\r\n");
  edits.Insert(2, "two\r\n");
  EXPECT_EQ(edits.Applied("a\nb\n", "\n"), "a\none\ntwo\nb\n");
}

}  // namespace
}  // namespace text_lines_test

#include "mirror/merge.h"

#include <gtest/gtest.h>

#include "osif.h"

namespace merge_test {
namespace {

TEST(MirrorMerge, X) {
  EXPECT_EQ(mirror::MergeStoreChange({OSIF_STORE_PB, "", "", "", "x"}).text, "x");
}

}  // namespace
}  // namespace merge_test

// MAPI buffers and entry ids as text.
#include <cstring>
#include <string>

#include "platform/posix/fault_injection.h"
#include "tests/platform/device/mail/fixture.h"

namespace mail_memory_test {
namespace {

using namespace mapi_test;

// That all is released, the leak checker tells.
TEST(MapiMemory, ReleasesABufferWithAllThatWasAllocatedForIt) {
  void* buffer = nullptr;
  ASSERT_EQ(MAPIAllocateBuffer(10, &buffer), S_OK);
  for (int i = 0; i < 3; ++i) {
    void* more = nullptr;
    ASSERT_EQ(MAPIAllocateMore(1000, buffer, &more), S_OK);
    std::memset(more, i, 1000);
  }
  EXPECT_EQ(MAPIFreeBuffer(buffer), 0u);
}

TEST(MapiMemory, IgnoresNull) {
  EXPECT_EQ(MAPIFreeBuffer(nullptr), 0u);
  FreeProws(nullptr);
}

TEST(MapiMemory, GivesABufferOfNoBytesToo) {
  void* buffer = nullptr;
  ASSERT_EQ(MAPIAllocateBuffer(0, &buffer), S_OK);
  EXPECT_NE(buffer, nullptr);
  MAPIFreeBuffer(buffer);
}

TEST(MapiMemory, TellsWhenMemoryIsShort) {
  void* buffer = &buffer;
  FailAllocation(1);
  EXPECT_EQ(MAPIAllocateBuffer(10, &buffer), MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(buffer, nullptr);
  ASSERT_EQ(MAPIAllocateBuffer(10, &buffer), S_OK);
  void* more = &buffer;
  FailAllocation(1);
  EXPECT_EQ(MAPIAllocateMore(10, buffer, &more), MAPI_E_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(more, nullptr);
  EXPECT_EQ(MAPIAllocateMore(10, nullptr, &more), MAPI_E_INVALID_PARAMETER);
  MAPIFreeBuffer(buffer);
}

class MapiShortMemory : public MapiTest {};

TEST_F(MapiShortMemory, RowsFailWholeAndTheTableStaysWhereItWas) {
  Store(u"a");
  Store(u"b");
  const ComPtr<IMAPITable> table = Contents(inbox(), {PR_SUBJECT, PR_ENTRYID});
  for (int nth = 1; nth <= 7; ++nth) {  // the set, and each row with a text and an entry id
    LPSRowSet rows = reinterpret_cast<LPSRowSet>(1);
    FailAllocation(nth);
    EXPECT_EQ(table->QueryRows(50, 0, &rows), MAPI_E_NOT_ENOUGH_MEMORY) << nth;
    EXPECT_EQ(rows, nullptr);
  }
  FailAllocation(0);
  EXPECT_EQ(Query(*table, 50)->cRows, 2u);
}

TEST_F(MapiShortMemory, PropertiesFailWhole) {
  const std::string id = Store(u"a");
  const ComPtr<IMessage> message = Open(inbox(), id);
  SPropTagArray tags = {1, {PR_SUBJECT}};
  for (int nth = 1; nth <= 2; ++nth) {
    ULONG count = 7;
    LPSPropValue values = reinterpret_cast<LPSPropValue>(1);
    FailAllocation(nth);
    EXPECT_EQ(message->GetProps(&tags, 0, &count, &values), MAPI_E_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(values, nullptr);
    EXPECT_EQ(count, 0u);
  }
  FailAllocation(0);
  EXPECT_EQ(Subject(*message), u"a");
}

struct HexCase {
  const char16_t* digits;
  BOOL is_read;
  std::string bytes;
};

class FBinFromHexTest : public testing::TestWithParam<HexCase> {};

TEST_P(FBinFromHexTest, ReadsPairsOfDigitsOnly) {
  std::u16string digits = GetParam().digits;
  BYTE bytes[8] = {};
  EXPECT_EQ(FBinFromHex(digits.data(), bytes), GetParam().is_read);
  if (GetParam().is_read == FALSE) return;
  EXPECT_EQ(std::string(bytes, bytes + digits.size() / 2), GetParam().bytes);
  EXPECT_EQ(bytes[digits.size() / 2], 0);
}

INSTANTIATE_TEST_SUITE_P(Texts, FBinFromHexTest,
                         testing::Values(HexCase{u"", TRUE, ""}, HexCase{u"41", TRUE, "A"},
                                         HexCase{u"00fFaB", TRUE, std::string("\0\377\253", 3)},
                                         HexCase{u"0", FALSE, ""}, HexCase{u"414", FALSE, ""},
                                         HexCase{u"4G", FALSE, ""}, HexCase{u"G4", FALSE, ""},
                                         HexCase{u"41 2", FALSE, ""}, HexCase{u"/:", FALSE, ""},
                                         HexCase{u"@a", FALSE, ""}, HexCase{u"a`", FALSE, ""},
                                         HexCase{u"\u0131\u0141", FALSE, ""}));

TEST(FBinFromHex, RefusesNull) {
  BYTE byte = 0;
  char16_t digits[] = u"41";
  EXPECT_EQ(FBinFromHex(nullptr, &byte), FALSE);
  EXPECT_EQ(FBinFromHex(digits, nullptr), FALSE);
}

}  // namespace
}  // namespace mail_memory_test

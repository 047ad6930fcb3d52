// Memory shortage at every single allocation of an exported call, of the platform's heap (records, lines,
// automation strings) and of the language's (everything else). Whatever happens, the call ends with a code
// or with success, leaves nothing behind (the leak checker watches), and a failed one changes no store.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "osif.h"
#include "platform/api/memory.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/failing_new.h"
#include "tests/support/files.h"
#include "tests/support/temp_device.h"

namespace out_of_memory_test {
namespace {

using namespace support;

// ---- The two heaps ----------------------------------------------------------------------------------

constexpr int kMoreThanAnyCallAllocates = 1000000;

int AllocationsLeft() {
  int left = 0;
  for (;; ++left) {
    HLOCAL block = LocalAlloc(LMEM_FIXED, 1);
    if (block == nullptr) return left + 1;
    LocalFree(block);
  }
}

struct Heap {
  const char* name;
  void (*fail)(int nth);  // 0 calls it off
  int (*count)(const std::function<void()>& work);
};

int CountPlatform(const std::function<void()>& work) {
  FailAllocation(kMoreThanAnyCallAllocates);
  work();
  return kMoreThanAnyCallAllocates - AllocationsLeft();
}

int CountLanguage(const std::function<void()>& work) {
  const int before = NewsMade();
  work();
  return NewsMade() - before;
}

constexpr Heap kHeaps[] = {{"Platform", FailAllocation, CountPlatform},
                           {"Language", FailNew, CountLanguage}};

// A call into the library while the nth allocation fails; the injection is off when it returns.
template <typename Call>
int Failing(const Heap& heap, int nth, Call call) {
  heap.fail(nth);
  const int code = static_cast<int>(call());
  heap.fail(0);
  return code;
}

// ---- The tests --------------------------------------------------------------------------------------

constexpr const char* kRichCard =
    "BEGIN:VCARD\r\nVERSION:2.1\r\n"
    "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;J=C3=B6rg;K.;Dr.;Jr\r\n"
    "FN:J. Mueller\r\nBDAY:19700414\r\nX-ANNIVERSARY:19991231\r\n"
    "ADR;HOME;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:PO 1;Fl 2;Stra=C3=9Fe 1;K=C3=B6ln;N;5;D\r\n"
    "ADR;WORK:;Room 5;Main 2;Town;County;12345;Land\r\nADR:;;O;P;Q;R;S\r\n"
    "ORG:Acme\\; Inc.;Sales\r\nTITLE:Cook\r\n"
    "TEL;HOME:1\r\nTEL;HOME:2\r\nTEL;WORK:3\r\nTEL;WORK:4\r\nTEL;HOME;FAX:5\r\nTEL;WORK;FAX:6\r\n"
    "TEL;CELL:7\r\nTEL;PAGER:8\r\nTEL;CAR:9\r\nX-MICROSOFT-ASST_TEL:10\r\nTEL;RADIO:11\r\n"
    "URL:http://lee.org\r\nEMAIL;INTERNET:a@b\r\nEMAIL;INTERNET;PREF:c@d\r\nEMAIL;INTERNET:e@f\r\n"
    "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0Atwo\r\nX-SPOUSE:Sam\r\nX-CHILDREN:Tim\r\n"
    "X-ASSISTANT:Ida\r\nX-CAT:Friends\r\nX-MICROSOFT-OFFICELOC:Room 6\r\nEND:VCARD\r\n";

bool IsZero(const OsifObject& object) {
  static const OsifObject kZero{};
  return std::memcmp(&object, &kZero, sizeof object) == 0;
}

class OutOfMemory : public TempDeviceTest, public testing::WithParamInterface<Heap> {
 protected:
  void SetUp() override { ASSERT_EQ(OSIF_Open(), static_cast<OsifResult>(OSIF_OK)); }
  void TearDown() override {
    FailAllocation(0);
    FailNew(0);
    OSIF_Close();
  }

  const Heap& heap() const { return GetParam(); }

  uint32_t Count() {
    uint32_t count = 99;
    EXPECT_EQ(OSIF_GetObjectCount(OSIF_STORE_PB, &count), static_cast<OsifResult>(OSIF_OK));
    return count;
  }

  // Lends the record of a card.
  void With(const TempFile& card, const std::function<void(OsifObject&)>& use) {
    auto lend = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
      (*static_cast<const std::function<void(OsifObject&)>*>(context))(*object);
      return 0;
    };
    ASSERT_EQ(OSIF_ReadObjects(card.wide_path().c_str(), lend,
                               const_cast<std::function<void(OsifObject&)>*>(&use)),
              static_cast<OsifResult>(OSIF_OK));
  }
  void WithRichCard(const std::function<void(OsifObject&)>& use) { With(rich_card_, use); }

  std::string AddRichCard() {
    std::string result;
    WithRichCard([&](OsifObject& object) {
      char id[OSIF_ID_SIZE] = "";
      EXPECT_EQ(OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr),
                static_cast<OsifResult>(OSIF_OK));
      result = id;
    });
    return result;
  }

  // The stored contact as it is sent.
  std::string Sent(const std::string& id) {
    OsifObject object;
    EXPECT_EQ(OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object),
              static_cast<OsifResult>(OSIF_OK));
    TempFile file;
    EXPECT_EQ(OSIF_WriteObject(OSIF_STORE_PB, &object, file.wide_path().c_str(), 1),
              static_cast<OsifResult>(OSIF_OK));
    return file.Bytes();
  }

  TempFile rich_card_{kRichCard};
};

TEST_P(OutOfMemory, AddingStoresTheObjectOrNothing) {
  int allocations = 0;
  WithRichCard([&](OsifObject& object) {
    allocations = heap().count([&] { OSIF_AddObject(OSIF_STORE_PB, &object, nullptr, nullptr); });
  });
  ASSERT_GT(allocations, 10);
  bool has_failed = false;
  for (int nth = 1; nth <= allocations; ++nth) {
    const uint32_t before = Count();
    WithRichCard([&](OsifObject& object) {
      char id[OSIF_ID_SIZE] = "";
      const int code =
          Failing(heap(), nth, [&] { return OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr); });
      has_failed |= code != OSIF_OK;
      EXPECT_EQ(Count(), before + (code == OSIF_OK ? 1 : 0)) << nth << ": " << code;
      EXPECT_EQ(id[0] == '\0', code != OSIF_OK) << nth;
      EXPECT_TRUE(code == OSIF_OK || code == OSIF_ERR_NO_MEMORY || code == OSIF_ERR_PIM) << code;
    });
  }
  EXPECT_TRUE(has_failed);
}

TEST_P(OutOfMemory, ModifyingChangesTheObjectOrNothing) {
  const std::string id = AddRichCard();
  const std::string sent = Sent(id);
  TempFile other(
      "BEGIN:VCARD\r\nN;CHARSET=UTF-8:\xC3\xA4\r\nTEL;CELL:99\r\nADR;HOME:;;X;Y\r\n"
      "END:VCARD\r\n");
  int failures = 0;
  With(other, [&](OsifObject& object) {
    auto modify = [&] { return OSIF_ModifyObject(OSIF_STORE_PB, id.c_str(), &object, nullptr); };
    while (Failing(heap(), failures + 1, modify) != OSIF_OK && failures < 1000) {
      EXPECT_EQ(Sent(id), sent) << failures + 1;
      ++failures;
    }
  });
  EXPECT_GT(failures, 0);
  EXPECT_NE(Sent(id), sent);
}

TEST_P(OutOfMemory, GettingFillsTheRecordOrLeavesItEmpty) {
  const std::string id = AddRichCard();
  OsifObject object;
  const int allocations =
      heap().count([&] { OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object); });
  OSIF_FreeObject(OSIF_STORE_PB, &object);
  ASSERT_GT(allocations, 10);
  for (int nth = 1; nth <= allocations; ++nth) {
    const int code = Failing(
        heap(), nth, [&] { return OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object); });
    if (code == OSIF_OK) {
      OSIF_FreeObject(OSIF_STORE_PB, &object);
    } else {
      EXPECT_TRUE(IsZero(object)) << nth << ": a call that failed leaves nothing to release";
    }
  }
}

TEST_P(OutOfMemory, ReadingAFileEndsWithACodeOrSuccess) {
  auto nothing = [](int32_t, OsifObject*, OsifResult, void* cards) -> int32_t {
    ++*static_cast<int*>(cards);
    return 0;
  };
  int cards = 0;
  const std::u16string path = rich_card_.wide_path();
  auto read = [&] { return OSIF_ReadObjects(path.c_str(), nothing, &cards); };
  const int allocations = heap().count([&] { read(); });
  ASSERT_GT(allocations, 0);
  bool has_failed = false;
  for (int nth = 1; nth <= allocations; ++nth) {
    cards = 0;
    const int code = Failing(heap(), nth, read);
    has_failed |= code != OSIF_OK;
    EXPECT_LE(cards, 1);
    if (code == OSIF_OK) {
      EXPECT_EQ(cards, 1) << nth;
    }
  }
  EXPECT_TRUE(has_failed);
}

TEST_P(OutOfMemory, WritingReleasesTheRecordInEveryCase) {
  const std::string id = AddRichCard();
  OsifObject object;
  TempFile file;
  const std::u16string path = file.wide_path();
  auto get = [&] {
    ASSERT_EQ(OSIF_GetObjectById(OSIF_STORE_PB, id.c_str(), &object),
              static_cast<OsifResult>(OSIF_OK));
  };
  auto write = [&] { return OSIF_WriteObject(OSIF_STORE_PB, &object, path.c_str(), 1); };
  get();
  const int allocations = heap().count([&] { write(); });
  for (int nth = 1; nth <= allocations; ++nth) {
    get();
    const int code = Failing(heap(), nth, write);
    if (code == OSIF_ERR_FILE_OPEN) {
      OSIF_FreeObject(OSIF_STORE_PB, &object);
    } else {
      EXPECT_TRUE(IsZero(object)) << nth << ": " << code;
    }
  }
}

TEST_P(OutOfMemory, FindingGivesAnAnswer) {
  const std::string id = AddRichCard();
  WithRichCard([&](OsifObject& object) {
    char found[OSIF_ID_SIZE] = "";
    auto find = [&] { return OSIF_FindObject(OSIF_STORE_PB, &object, found); };
    const int allocations = heap().count([&] { find(); });
    for (int nth = 1; nth <= allocations; ++nth) {
      found[0] = '\0';
      if (Failing(heap(), nth, find) != 0) {
        EXPECT_EQ(found, id);
      } else {
        EXPECT_STREQ(found, "") << nth;
      }
    }
  });
}

TEST_P(OutOfMemory, WalkingDeletingAndNamingEndWithACodeOrSuccess) {
  AddRichCard();
  const std::string id = AddRichCard();
  char walked[OSIF_ID_SIZE] = "";
  for (int nth = 1; nth <= 50; ++nth) {
    Failing(heap(), nth, [&] { return OSIF_GetFirstId(OSIF_STORE_PB, walked); });
    Failing(heap(), nth, [&] { return OSIF_GetNextId(OSIF_STORE_PB, walked); });
    Failing(heap(), nth, [&] {
      uint32_t count = 0;
      return OSIF_GetObjectCount(OSIF_STORE_PB, &count);
    });
  }
  WithRichCard([&](OsifObject& object) {
    for (int nth = 1; nth <= 50; ++nth) {
      WCHAR name[20] = u"";
      const int length = Failing(
          heap(), nth, [&] { return OSIF_GetObjectName(OSIF_STORE_PB, &object, name, 20); });
      EXPECT_EQ(static_cast<size_t>(length), std::u16string(name).size());
    }
  });
  EXPECT_EQ(Count(), 2u);
  for (int nth = 1; nth <= 50 && Count() == 2; ++nth) {
    const int code =
        Failing(heap(), nth, [&] { return OSIF_DeleteObject(OSIF_STORE_PB, id.c_str(), nullptr); });
    EXPECT_EQ(Count(), code == OSIF_OK ? 1u : 2u);
  }
  EXPECT_EQ(Count(), 1u);
}

TEST_P(OutOfMemory, OpeningFailsOrSucceedsAndCanBeTriedAgain) {
  for (int nth = 1; nth <= 60; ++nth) {
    OSIF_Close();
    const int code = Failing(heap(), nth, [] { return OSIF_Open(); });
    EXPECT_TRUE(code == OSIF_OK || code == OSIF_ERR_PIM || code == OSIF_ERR_NO_MEMORY) << code;
    EXPECT_EQ(OSIF_Open(), static_cast<OsifResult>(OSIF_OK)) << nth;
  }
}

INSTANTIATE_TEST_SUITE_P(OfEachHeap, OutOfMemory, testing::ValuesIn(kHeaps),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace out_of_memory_test

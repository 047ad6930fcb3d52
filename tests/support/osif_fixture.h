// What the tests of the exported functions have in common. They use the library from outside: through
// include/osif.h, a device folder, files, and the trace as its receiver sees it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "osif.h"
#include "tests/support/files.h"
#include "tests/support/result_code.h"
#include "tests/support/temp_device.h"
#include "tests/support/trace_receiver.h"

namespace support {

// Whether a trace line is that of a failed check of an argument.
inline bool IsAssertion(const std::string& line) {
  return testing::Value(line, testing::MatchesRegex("ASSERT at [^ ]+ line [0-9]+\n"));
}

// A record that is released at the end.
struct OutsideObject {
  explicit OutsideObject(int32_t store = OSIF_STORE_PB) : store_id(store) {}
  ~OutsideObject() { OSIF_FreeObject(store_id, &object); }
  OutsideObject(const OutsideObject&) = delete;
  OutsideObject& operator=(const OutsideObject&) = delete;

  OsifObject* operator&() { return &object; }
  OsifObject* operator->() { return &object; }

  int32_t store_id;
  OsifObject object{};
};

using UseObject = std::function<void(OsifObject&, OsifResult)>;

// Reads a file and lends each of its objects to `use`.
inline int ReadFile(const std::u16string& path, const UseObject& use) {
  auto lend = [](int32_t, OsifObject* object, OsifResult result, void* context) -> int32_t {
    (*static_cast<const UseObject*>(context))(*object, result);
    return 0;
  };
  return Code(OSIF_ReadObjects(path.c_str(), lend, const_cast<UseObject*>(&use)));
}

// A vCard of these lines.
inline std::string CardText(std::initializer_list<std::string_view> lines) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + Lines(lines) + "END:VCARD\r\n";
}

// Lends the record of a vCard of these lines.
inline void WithCard(std::initializer_list<std::string_view> lines,
                     const std::function<void(OsifObject&)>& use) {
  TempFile file(CardText(lines));
  int cards = 0;
  ReadFile(file.wide_path(), [&](OsifObject& object, OsifResult) {
    ++cards;
    use(object);
  });
  EXPECT_EQ(cards, 1);
}

// A fresh device and its trace; the library is open.
class OsifTest : public testing::Test {
 protected:
  void SetUp() override {
    SetSetting(u"DoNotSendMsftProperties",
               0);  // without a value the one of the test before would stay
    ASSERT_EQ(Code(OSIF_Open()), OSIF_OK);
    trace_.Lines();
  }
  void TearDown() override { OSIF_Close(); }

  // The id of a new contact.
  std::string Add(std::initializer_list<std::string_view> lines) {
    char id[OSIF_ID_SIZE] = "";
    WithCard(lines, [&](OsifObject& object) {
      EXPECT_EQ(Code(OSIF_AddObject(OSIF_STORE_PB, &object, id, nullptr)), OSIF_OK);
    });
    trace_.Lines();
    return id;
  }

  uint32_t Count() {
    uint32_t count = 99;
    EXPECT_EQ(Code(OSIF_GetObjectCount(OSIF_STORE_PB, &count)), OSIF_OK);
    return count;
  }

  TraceLines Trace() { return PimLines(trace_); }

  bool Traced(const std::string& line) {
    const std::vector<std::string> lines = Trace();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }

  TempDevice device_;
  TraceReceiver trace_;
};

}  // namespace support

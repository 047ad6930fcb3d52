// What is traced of a failing call of the session or of a table.
#include "mapi/mapi_errors.h"

#include "tests/mapi/mapi_fixture.h"

namespace mapi_errors_test {
namespace {

using namespace support;
using testing::ElementsAre;

constexpr HRESULT kFailed = MAPI_E_NO_ACCESS;     // 0x80070005
constexpr HRESULT kNoAnswer = MAPI_E_NO_SUPPORT;  // 0x80040102

// ---- The session's own account ------------------------------------------------------------------

class MapiSessionError : public FakeMapiTest {
 protected:
  void SetUp() override { mapi_.Fail("session.OpenMsgStore", kFailed); }

  TraceLines Start() {
    EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
    return Trace();
  }
};

TEST_F(MapiSessionError, IsAskedForWithTheResultAndForUtf16) {
  Start();
  EXPECT_THAT(mapi_.Calls(), testing::Contains("session.GetLastError(80070005,80000000)"));
}

TEST_F(MapiSessionError, IsToldInSixLines) {
  mapi_.error = FakeError{u"The store is closed.", u"Fake", 4294967295u, 3, 77};
  EXPECT_THAT(Start(), ElementsAre("MAPI:  gpSession->OpenMsgStore failed.",
                                   "       LowLevelError = 4294967295", "       Version       = 3",
                                   "       Message       = The store is closed.",
                                   "       Component     = Fake", "       Context       = 77"));
}

TEST_F(MapiSessionError, ShowsMissingTextsAsNull) {
  mapi_.error = FakeError{};
  EXPECT_THAT(Start(),
              ElementsAre("MAPI:  gpSession->OpenMsgStore failed.", "       LowLevelError = 0",
                          "       Version       = 0", "       Message       = NULL",
                          "       Component     = NULL", "       Context       = 0"));
}

TEST_F(MapiSessionError, ShowsOneMissingTextAsNull) {
  mapi_.error = FakeError{std::nullopt, u"Fake", 1, 2, 3};
  EXPECT_THAT(Start(),
              ElementsAre("MAPI:  gpSession->OpenMsgStore failed.", "       LowLevelError = 1",
                          "       Version       = 2", "       Message       = NULL",
                          "       Component     = Fake", "       Context       = 3"));
}

TEST_F(MapiSessionError, TellsThatARecordCameWithAFailure) {
  mapi_.error = FakeError{u"not shown"};
  mapi_.Fail("session.GetLastError", kNoAnswer);
  EXPECT_THAT(Start(), ElementsAre("MAPI:  gpSession->OpenMsgStore failed with code: 0x80070005",
                                   "MAPI:  gpSession->GetLastError failed with code: 0x80040102"));
}

TEST_F(MapiSessionError, TellsThatNoRecordCameWithAFailure) {
  mapi_.Fail("session.GetLastError", kNoAnswer);
  EXPECT_THAT(Start(), ElementsAre("MAPI:  gpSession->OpenMsgStore failed with code: 0x80070005",
                                   "MAPI:  gpSession->GetLastError failed - lpMAPIError is NULL"));
}

TEST_F(MapiSessionError, TellsThatNoRecordCameThoughTheCallSucceeded) {
  EXPECT_THAT(Start(), ElementsAre("MAPI:  gpSession->OpenMsgStore failed with code: 0x80070005",
                                   "MAPI:  gpSession->GetLastError failed - lpMAPIError is NULL"));
}

TEST_F(MapiSessionError, TellsThatThereIsNoSession) {
  mapi_ReportSessionError(nullptr, u"gpSession->Anything", kFailed);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  gpSession->Anything failed with code: 0x80070005",
                                   "MAPI:  Can't call GetLastError failed - gpSession is NULL"));
}

// A line of the trace is cut after 991 bytes.
TEST_F(MapiSessionError, AVeryLongTextIsCut) {
  mapi_.error = FakeError{std::u16string(100000, u'x'), std::u16string(5000, u'y')};
  const TraceLines lines = Start();
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[3], "       Message       = " + std::string(991 - 23, 'x'));
  EXPECT_EQ(lines[4], "       Component     = " + std::string(991 - 23, 'y'));
}

// ---- A table's account --------------------------------------------------------------------------

struct TableCall {
  const char* call;
  const char* name;
};

class MapiTableError : public FakeMapiTest, public testing::WithParamInterface<TableCall> {
 protected:
  void SetUp() override { mapi_.Fail(std::string("stores.") + GetParam().call, kFailed); }

  TraceLines Start() {
    EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
    return Trace();
  }
  std::string Line(const std::string& behind) {
    return std::string("MAPI:  ") + GetParam().name + behind;
  }
};

TEST_P(MapiTableError, IsAskedForWithTheResultAndForUtf16) {
  Start();
  const std::vector<std::string> calls = mapi_.Calls();
  EXPECT_THAT(calls, testing::Contains("stores.GetLastError(80070005,80000000)"));
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "session.GetLastError(80070005,80000000)"), 0);
}

TEST_P(MapiTableError, IsToldInSixLines) {
  mapi_.error = FakeError{u"No such column.", u"Fake", 5, 6, 7};
  EXPECT_THAT(Start(),
              ElementsAre(Line(" failed."), "       LowLevelError = 5", "       Version       = 6",
                          "       Message       = No such column.", "       Component     = Fake",
                          "       Context       = 7"));
}

TEST_P(MapiTableError, ShowsMissingTextsAsNull) {
  mapi_.error = FakeError{};
  EXPECT_THAT(Start(), ElementsAre(Line(" failed."), "       LowLevelError = 0",
                                   "       Version       = 0", "       Message       = NULL",
                                   "       Component     = NULL", "       Context       = 0"));
}

TEST_P(MapiTableError, TellsThatARecordCameWithAFailure) {
  mapi_.error = FakeError{u"not shown"};
  mapi_.Fail("stores.GetLastError", kNoAnswer);
  EXPECT_THAT(Start(), ElementsAre(Line(" failed with code: 0x80070005"),
                                   "MAPI:  GetLastError failed with code: 0x80040102"));
}

TEST_P(MapiTableError, TellsThatNoRecordCameWithAFailure) {
  mapi_.Fail("stores.GetLastError", kNoAnswer);
  EXPECT_THAT(Start(),
              ElementsAre(Line(" failed with code: 0x80070005"),
                          "MAPI:  GetLastError failed - lpMAPIError is NULL (hr1=0x80040102)"));
}

TEST_P(MapiTableError, TellsThatNoRecordCameThoughTheCallSucceeded) {
  EXPECT_THAT(Start(),
              ElementsAre(Line(" failed with code: 0x80070005"),
                          "MAPI:  GetLastError failed - lpMAPIError is NULL (hr1=0x00000000)"));
}

INSTANTIATE_TEST_SUITE_P(Calls, MapiTableError,
                         testing::Values(TableCall{"SetColumns", "lptblStores->SetColumns"},
                                         TableCall{"QueryRows", "lptblStores->QueryRows"}),
                         [](const auto& test) { return test.param.call; });

}  // namespace
}  // namespace mapi_errors_test

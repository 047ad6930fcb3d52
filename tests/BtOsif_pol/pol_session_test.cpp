#include "BtOsif_pol/pol_session.h"

#include "BtOsif_pol/pol_dispatch.h"
#include "platform/api/richink.h"
#include "platform/device/ink/control.h"
#include "tests/support/pol_fixture.h"

namespace pol_session_test {
namespace {

using namespace support;

using PolSession = PolTest;

TEST_F(PolSession, OpeningTellsItsNameAndLogsOnWithoutAWindow) {
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_Open()"}));
  EXPECT_EQ(pim_.logons, 1);
  EXPECT_EQ(pim_.window, 0);
  EXPECT_NE(pol_Application(), nullptr);
}

TEST_F(PolSession, OpeningTwiceIsHarmlessAndLogsOnOnce) {
  Open();
  IPOutlookApp* application = pol_Application();
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_Open()"}));
  EXPECT_EQ(pim_.logons, 1);
  EXPECT_EQ(pol_Application(), application);
}

TEST_F(PolSession, LogonThatWasAlreadyDoneIsNoFailure) {
  pim_.faults.logon = S_FALSE;
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_NE(pol_Application(), nullptr);
}

TEST_F(PolSession, OpeningFailsWhenTheApplicationCannotBeCreated) {
  pim_.faults.create = E_FAIL;
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_ERR_PIM));
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_Open()",
                                 "OSIF:  Unable to get application object from POOM interface. "
                                 "(code=0x80004005)"}));
  EXPECT_EQ(pol_Application(), nullptr);
  EXPECT_EQ(pim_.logons, 0);
}

TEST_F(PolSession, OpeningFailsWhenThereIsNoSuchClass) {
  ClassFactory fake = SetClassFactory(CLSID_Application, nullptr);
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_ERR_PIM));
  SetClassFactory(CLSID_Application, fake);
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_Open()",
                                 "OSIF:  Unable to get application object from POOM interface. "
                                 "(code=0x80040154)"}));
}

TEST_F(PolSession, OpeningFailsAndForgetsTheApplicationWhenTheLogonIsRefused) {
  pim_.faults.logon = E_ACCESSDENIED;
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_ERR_PIM));
  EXPECT_EQ(Trace(),
            TraceLines({"OSIF:  POL_Open()", "OSIF:  POOM 'Logon' failed (code=0x80070005)"}));
  EXPECT_EQ(pol_Application(), nullptr);
  EXPECT_EQ(pim_.live_objects, 0);
  EXPECT_EQ(pim_.logoffs, 0);
}

TEST_F(PolSession, OpensAfterAnOpenThatFailed) {
  pim_.faults.logon = E_FAIL;
  ASSERT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_ERR_PIM));
  pim_.faults.logon = S_OK;
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(pim_.logons, 2);
}

TEST_F(PolSession, ClosingTellsItsNameLogsOffAndForgetsTheApplication) {
  Open();
  EXPECT_EQ(POL_Close(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_Close()"}));
  EXPECT_EQ(pim_.logoffs, 1);
  EXPECT_EQ(pol_Application(), nullptr);
  EXPECT_EQ(pim_.live_objects, 0);
}

TEST_F(PolSession, ClosingWhatWasNeverOpenedIsHarmless) {
  EXPECT_EQ(POL_Close(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  POL_Close()"}));
  EXPECT_EQ(pim_.logoffs, 0);
}

TEST_F(PolSession, ClosingReleasesTheCollectionOfAWalk) {
  pim_.Keep({{"LastName", u"Lee"}});
  pim_.Keep({{"LastName", u"Ray"}});
  Open();
  const int before = pim_.live_objects;
  ASSERT_EQ(POL_GetFirstId(OSIF_STORE_PB, nullptr), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(pim_.live_objects, before + 1) << "the collection is held between the calls";
  POL_Close();
  EXPECT_EQ(pim_.live_objects, 0);
}

// Whether a window of the ink control's class can be created.
bool KnowsTheInkControl() {
  HWND control = CreateWindowW(RICHINK_CLASS, nullptr, 0, CW_USEDEFAULT, CW_USEDEFAULT,
                               CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, nullptr, nullptr);
  if (control != nullptr) DestroyWindow(control);
  return control != nullptr;
}

TEST_F(PolSession, OpeningMakesTheInkControlKnown) {
  device::SetRichInkClass(false);
  ASSERT_FALSE(KnowsTheInkControl());
  Open();
  EXPECT_TRUE(KnowsTheInkControl());
}

TEST_F(PolSession, OpeningThatFailsDoesNotComeToTheInkControl) {
  device::SetRichInkClass(false);
  pim_.faults.logon = E_FAIL;
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_ERR_PIM));
  EXPECT_FALSE(KnowsTheInkControl());
  device::SetRichInkClass(true);
}

TEST_F(PolSession, OpensAgainAfterAClose) {
  Open();
  POL_Close();
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
  EXPECT_EQ(pim_.logons, 2);
  EXPECT_NE(pol_Application(), nullptr);
}

// ---- The vendor's properties ------------------------------------------------------------------------

constexpr const WCHAR* kVendorSetting = u"DoNotSendMsftProperties";

// Opens with a value of the setting and tells what became of the flag.
bool SuppressesAfterOpeningWith(uint32_t value) {
  SetSetting(kVendorSetting, value);
  POL_Close();
  EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK));
  return pol_SuppressesVendorProperties();
}

TEST_F(PolSession, SuppressesVendorPropertiesWhenTheSettingIsExactlyOne) {
  EXPECT_TRUE(SuppressesAfterOpeningWith(1));
  EXPECT_FALSE(SuppressesAfterOpeningWith(0));
  EXPECT_TRUE(SuppressesAfterOpeningWith(1));
  EXPECT_FALSE(SuppressesAfterOpeningWith(2));
}

TEST_F(PolSession, SettingIsReadWhenTheSessionOpensAndNotLater) {
  ASSERT_FALSE(SuppressesAfterOpeningWith(0));
  SetSetting(kVendorSetting, 1);
  EXPECT_FALSE(pol_SuppressesVendorProperties());
  POL_Open();
  EXPECT_FALSE(pol_SuppressesVendorProperties()) << "a second open does nothing else";
}

TEST_F(PolSession, FlagIsClearedWhenTheKeyIsThereAndTheSettingIsNot) {
  ASSERT_TRUE(SuppressesAfterOpeningWith(1));
  POL_Close();
  TempDevice other;
  SetSetting(u"MinorClass", 4);
  Open();
  EXPECT_FALSE(pol_SuppressesVendorProperties());
}

TEST_F(PolSession, FlagKeepsItsValueWhenThereIsNoKey) {
  for (uint32_t value : {1u, 0u}) {
    device_.Use();
    const bool before = SuppressesAfterOpeningWith(value);
    ASSERT_EQ(before, value == 1);
    POL_Close();
    TempDevice empty;
    EXPECT_EQ(POL_Open(), static_cast<OsifResult>(OSIF_OK))
        << "settings that cannot be read are no failure";
    EXPECT_EQ(pol_SuppressesVendorProperties(), before);
    POL_Close();
  }
  device_.Use();
}

}  // namespace
}  // namespace pol_session_test

#include "platform/device/pim/recipients.h"

#include "tests/platform/device/pim/calendar_fixture.h"

namespace recipients_test {
namespace {

using namespace pim_test;

class PimRecipients : public PimCalendarTest {
 protected:
  static ComPtr<IRecipients> Of(IAppointment& appointment) {
    return ObjectOf(appointment, &IAppointment::get_Recipients);
  }

  static void Add(IAppointment& appointment, std::u16string_view name,
                  std::u16string_view address) {
    ComPtr<IRecipient> recipient;
    ASSERT_EQ(Of(appointment)->Add(Bstr(name).get(), recipient.put()), S_OK);
    EXPECT_EQ(Put(*recipient, &IRecipient::put_Address, address), S_OK);
  }

  static int CountOf(IAppointment& appointment) {
    return Read(*Of(appointment), &IRecipients::get_Count);
  }

  // "Ann <a@x>, Bob <b@x>"
  static std::u16string List(IAppointment& appointment) {
    std::u16string text;
    ComPtr<IRecipients> recipients = Of(appointment);
    for (int i = 1; i <= CountOf(appointment); ++i) {
      ComPtr<IRecipient> recipient;
      EXPECT_EQ(recipients->Item(i, recipient.put()), S_OK);
      text += (i == 1 ? u"" : u", ") + Get(*recipient, &IRecipient::get_Name) + u" <" +
              Get(*recipient, &IRecipient::get_Address) + u">";
    }
    return text;
  }

  ComPtr<IAppointment> WithThree() {
    ComPtr<IAppointment> appointment = NewAppointment();
    Add(*appointment, u"Ann", u"a@x");
    Add(*appointment, u"Bob", u"b@x");
    Add(*appointment, u"Cid", u"c@x");
    return appointment;
  }
};

TEST_F(PimRecipients, AreNoneAtFirst) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(CountOf(*appointment), 0);
  EXPECT_EQ(CountOf(*SavedAndLoaded(*appointment)), 0);
}

TEST_F(PimRecipients, AreStoredWithTheAppointmentInTheirOrder) {
  ComPtr<IAppointment> appointment = WithThree();
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_recipients"), 0);
  EXPECT_EQ(List(*SavedAndLoaded(*appointment)), u"Ann <a@x>, Bob <b@x>, Cid <c@x>");
}

TEST_F(PimRecipients, HaveAnEmptyAddressUntilItIsPut) {
  ComPtr<IAppointment> appointment = NewAppointment();
  ComPtr<IRecipient> recipient;
  ASSERT_EQ(Of(*appointment)->Add(Bstr(u"Ann").get(), recipient.put()), S_OK);
  EXPECT_EQ(Get(*recipient, &IRecipient::get_Address), u"");
  EXPECT_EQ(List(*SavedAndLoaded(*appointment)), u"Ann <>");
}

TEST_F(PimRecipients, MayBeNamelessAndTheSameTwice) {
  ComPtr<IAppointment> appointment = NewAppointment();
  ComPtr<IRecipient> recipient;
  EXPECT_EQ(Of(*appointment)->Add(nullptr, recipient.put()), S_OK);
  Add(*appointment, u"Ann", u"a@x");
  Add(*appointment, u"Ann", u"a@x");
  EXPECT_EQ(List(*SavedAndLoaded(*appointment)), u" <>, Ann <a@x>, Ann <a@x>");
}

TEST_F(PimRecipients, MoveUpWhenOneIsRemoved) {
  ComPtr<IAppointment> appointment = WithThree();
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ(Of(*appointment)->Remove(2), S_OK);
  EXPECT_EQ(List(*appointment), u"Ann <a@x>, Cid <c@x>");
  EXPECT_EQ(List(*Load<IAppointment>(Oid(*appointment))), u"Ann <a@x>, Bob <b@x>, Cid <c@x>");
  EXPECT_EQ(List(*SavedAndLoaded(*appointment)), u"Ann <a@x>, Cid <c@x>");
}

TEST_F(PimRecipients, AreReplacedByRemovingFromTheEndAndAdding) {
  ComPtr<IAppointment> stored = WithThree();
  ComPtr<IAppointment> appointment = SavedAndLoaded(*stored);
  for (int i = 3; i >= 1; --i) EXPECT_EQ(Of(*appointment)->Remove(i), S_OK);
  Add(*appointment, u"Dan", u"d@x");
  EXPECT_EQ(List(*SavedAndLoaded(*appointment)), u"Dan <d@x>");
}

TEST_F(PimRecipients, AreCountedFromOne) {
  ComPtr<IAppointment> appointment = WithThree();
  for (int index : {-1, 0, 4, 0x7FFFFFFF}) {
    IRecipient* recipient = reinterpret_cast<IRecipient*>(1);
    EXPECT_EQ(Of(*appointment)->Item(index, &recipient), E_INVALIDARG) << index;
    EXPECT_EQ(recipient, nullptr);
    EXPECT_EQ(Of(*appointment)->Remove(index), E_INVALIDARG) << index;
  }
  EXPECT_EQ(CountOf(*appointment), 3);
}

TEST_F(PimRecipients, MakeTheAppointmentAMeeting) {
  ComPtr<IAppointment> appointment = NewAppointment();
  EXPECT_EQ(Read(*appointment, &IAppointment::get_MeetingStatus), olNonMeeting);
  Add(*appointment, u"Ann", u"a@x");
  EXPECT_EQ(Read(*SavedAndLoaded(*appointment), &IAppointment::get_MeetingStatus), olMeeting);
  EXPECT_EQ(Of(*appointment)->Remove(1), S_OK);
  EXPECT_EQ(Read(*appointment, &IAppointment::get_MeetingStatus), olNonMeeting);
  EXPECT_EQ(appointment->get_MeetingStatus(nullptr), E_INVALIDARG);
}

TEST_F(PimRecipients, MayBeThoseOfAnAllDayEvent) {
  ComPtr<IAppointment> appointment = WithThree();
  EXPECT_EQ(appointment->put_AllDayEvent(VARIANT_TRUE), S_OK);
  EXPECT_EQ(CountOf(*SavedAndLoaded(*appointment)), 3);
}

TEST_F(PimRecipients, GoWithTheirAppointment) {
  ComPtr<IAppointment> appointment = WithThree();
  EXPECT_EQ(appointment->Save(), S_OK);
  EXPECT_EQ(appointment->Delete(), S_OK);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_recipients"), 0);
}

TEST_F(PimRecipients, OutliveWhatTheyWereTakenFrom) {
  ComPtr<IAppointment> appointment = WithThree();
  ComPtr<IRecipients> recipients = Of(*appointment);
  ComPtr<IRecipient> second;
  ASSERT_EQ(recipients->Item(2, second.put()), S_OK);
  EXPECT_EQ(recipients->Remove(2), S_OK);
  appointment.reset();
  EXPECT_EQ(Read(*recipients, &IRecipients::get_Count), 2);
  recipients.reset();
  EXPECT_EQ(Get(*second, &IRecipient::get_Name), u"Bob");
}

TEST_F(PimRecipients, RefuseToAnswerIntoNothing) {
  ComPtr<IAppointment> appointment = WithThree();
  EXPECT_EQ(appointment->get_Recipients(nullptr), E_INVALIDARG);
  ComPtr<IRecipients> recipients = Of(*appointment);
  EXPECT_EQ(recipients->Add(Bstr(u"x").get(), nullptr), E_INVALIDARG);
  EXPECT_EQ(recipients->Item(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(recipients->get_Count(nullptr), E_INVALIDARG);
  EXPECT_EQ(recipients->get_Application(nullptr), E_INVALIDARG);
  EXPECT_EQ(CountOf(*appointment), 3);
}

}  // namespace
}  // namespace recipients_test

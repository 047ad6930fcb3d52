#include "platform/device/pim/contact.h"

#include <cmath>
#include <limits>

#include "platform/posix/fault_injection.h"
#include "tests/platform/device/pim/fixture.h"
#include "tests/support/contact_properties.h"

namespace contact_test {
namespace {

using namespace pim_test;
using support::kTextProperties;
using support::TextProperty;

class PimContact : public PimTest {
 protected:
  // What a contact is filed as after it is saved and loaded again.
  std::u16string SavedFileAs(Values values) {
    return Get(*Load(SaveContact(values)), &IContact::get_FileAs);
  }
};

class PimContactText : public PimContact, public testing::WithParamInterface<TextProperty> {};

INSTANTIATE_TEST_SUITE_P(Every, PimContactText, testing::ValuesIn(kTextProperties),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimContactText, IsEmptyAndNotNullWhereItWasNeverPut) {
  EXPECT_EQ(Get(*NewContact(), GetParam().getter), u"");
  EXPECT_EQ(Get(*Load(SaveContact()), GetParam().getter), u"");
}

TEST_P(PimContactText, ComesBackInItsOwnPropertyAndNoOther) {
  ComPtr<IContact> contact = Load(SaveContact({{GetParam().setter, u"value"}}));
  for (const TextProperty& other : kTextProperties) {
    const bool is_filed_as = std::string_view(other.name) == "FileAs";
    if (is_filed_as && GetParam().setter != other.setter) continue;  // made from the names
    EXPECT_EQ(Get(*contact, other.getter), other.setter == GetParam().setter ? u"value" : u"")
        << other.name;
  }
}

TEST_P(PimContactText, LiesInTheColumnOfItsName) {
  const LONG oid = SaveContact({{GetParam().setter, u"value"}});
  const auto database = device::OpenDatabase();
  auto row = database->Prepare("SELECT oid FROM pim_contacts WHERE " +
                               std::string(GetParam().column) + " = 'value'");
  ASSERT_EQ(row.Step(), SQLITE_ROW);
  EXPECT_EQ(row.Integer(0), oid);
}

TEST_P(PimContactText, CanBeEmptiedAgain) {
  ComPtr<IContact> contact = Load(SaveContact({{GetParam().setter, u"value"}}));
  EXPECT_EQ((contact.get()->*GetParam().setter)(nullptr), S_OK);
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(Get(*Load(Oid(*contact)), GetParam().getter), u"");
}

TEST_P(PimContactText, RefusesToAnswerIntoNothing) {
  EXPECT_EQ((NewContact().get()->*GetParam().getter)(nullptr), E_INVALIDARG);
}

struct DateProperty {
  const char* name;
  HRESULT (IContact::*getter)(DATE*);
  HRESULT (IContact::*setter)(DATE);
};

const DateProperty kDateProperties[] = {
    {"Birthday", &IContact::get_Birthday, &IContact::put_Birthday},
    {"Anniversary", &IContact::get_Anniversary, &IContact::put_Anniversary},
};

class PimContactDate : public PimContact, public testing::WithParamInterface<DateProperty> {
 protected:
  static DATE GetDate(IContact& contact, const DateProperty& property = GetParam()) {
    DATE date = -1;
    EXPECT_EQ((contact.*property.getter)(&date), S_OK);
    return date;
  }
  static HRESULT PutDate(IContact& contact, DATE date) {
    return (contact.*GetParam().setter)(date);
  }
  ComPtr<IContact> SavedWith(DATE date) {
    ComPtr<IContact> contact = NewContact();
    EXPECT_EQ(PutDate(*contact, date), S_OK);
    EXPECT_EQ(contact->Save(), S_OK);
    return Load(Oid(*contact));
  }
};

INSTANTIATE_TEST_SUITE_P(Every, PimContactDate, testing::ValuesIn(kDateProperties),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimContactDate, IsNoDateWhereItWasNeverPut) {
  EXPECT_EQ(GetDate(*NewContact()), 949998.0);
  EXPECT_EQ(GetDate(*Load(SaveContact())), 949998.0);
}

TEST_P(PimContactDate, ComesBackInItsOwnPropertyAndNoOther) {
  ComPtr<IContact> contact = SavedWith(29221.0);  // 1 January 1980
  for (const DateProperty& other : kDateProperties) {
    EXPECT_EQ(GetDate(*contact, other), other.getter == GetParam().getter ? 29221.0 : 949998.0);
  }
}

TEST_P(PimContactDate, IsClearedByNoDate) {
  ComPtr<IContact> contact = SavedWith(29221.0);
  EXPECT_EQ(PutDate(*contact, 949998.0), S_OK);
  EXPECT_EQ(GetDate(*contact), 949998.0);
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(GetDate(*Load(Oid(*contact))), 949998.0);
}

TEST_P(PimContactDate, IsAWholeDay) {
  ComPtr<IContact> contact = NewContact();
  EXPECT_EQ(PutDate(*contact, 29221.999), S_OK);
  EXPECT_EQ(GetDate(*contact), 29221.0);
  EXPECT_EQ(GetDate(*SavedWith(29221.5)), 29221.0);
  EXPECT_EQ(GetDate(*SavedWith(-3.25)), -3.0);
}

TEST_P(PimContactDate, MayLieAnywhereFromTheYear100To9999) {
  EXPECT_EQ(GetDate(*SavedWith(-657434.0)), -657434.0);
  EXPECT_EQ(GetDate(*SavedWith(2958465.5)), 2958465.0);
  EXPECT_EQ(GetDate(*SavedWith(0.0)), 0.0);
}

TEST_P(PimContactDate, RefusesWhatIsNoDateAndKeepsWhatItHad) {
  ComPtr<IContact> contact = SavedWith(29221.0);
  for (DATE bad :
       {-657435.0, 2958466.0, 1e300, std::nan(""), std::numeric_limits<DATE>::infinity()}) {
    EXPECT_EQ(PutDate(*contact, bad), E_INVALIDARG) << bad;
  }
  EXPECT_EQ(GetDate(*contact), 29221.0);
  EXPECT_EQ((contact.get()->*GetParam().getter)(nullptr), E_INVALIDARG);
}

TEST_F(PimContact, KeepsNothingInTheColumnsOfWhatItHasNoValueFor) {
  ComPtr<IContact> contact = NewContact({{&IContact::put_LastName, u""}});
  EXPECT_EQ(contact->put_Birthday(29221.0), S_OK);
  EXPECT_EQ(contact->put_Birthday(949998.0), S_OK);
  EXPECT_EQ(contact->Save(), S_OK);
  auto row = device::OpenDatabase()->Prepare(
      "SELECT birthday, anniversary, last_name, file_as FROM pim_contacts");
  ASSERT_EQ(row.Step(), SQLITE_ROW);
  for (int column = 0; column < 4; ++column) EXPECT_TRUE(row.IsNull(column)) << column;
}

TEST_F(PimContact, KeepsANoteOfFiveMegabytesWhole) {
  std::u16string note;
  while (note.size() < 5'242'880) note += u"Stra\u00DFe \u4E2D\u6587 \U0001F600\r\n";
  EXPECT_TRUE(Get(*Load(SaveContact({{&IContact::put_Body, note}})), &IContact::get_Body) == note);
}

TEST_F(PimContact, KeepsZeroCharactersAndUnpairedSurrogates) {
  const std::u16string text = {u'a', 0, u'b', 0xD800, u'c', 0xDC00, 0xD83D, 0xDE00, 0xFFFF, 0};
  EXPECT_EQ(Get(*Load(SaveContact({{&IContact::put_LastName, text}})), &IContact::get_LastName),
            text);
}

TEST_F(PimContact, SaysThatMemoryIsShort) {
  ComPtr<IContact> contact = NewContact({{&IContact::put_LastName, u"Lee"}});
  BSTR value = nullptr;
  FailAllocation(1);
  EXPECT_EQ(contact->get_LastName(&value), E_OUTOFMEMORY);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(Get(*contact, &IContact::get_LastName), u"Lee");
}

TEST_F(PimContact, HasNoIdBeforeItsFirstSaveAndKeepsItsIdAfterwards) {
  ComPtr<IContact> contact = NewContact();
  EXPECT_EQ(Oid(*contact), 0);
  EXPECT_EQ(contact->Save(), S_OK);
  const LONG oid = Oid(*contact);
  EXPECT_GT(oid, 0);
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(Oid(*contact), oid);
  EXPECT_EQ(Oid(*Load(oid)), oid);
  EXPECT_EQ(contact->get_Oid(nullptr), E_INVALIDARG);
}

TEST_F(PimContact, ChangesTheStoreAtSaveOnly) {
  ComPtr<IContact> created = NewContact({{&IContact::put_LastName, u"Lee"}});
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(created->Save(), S_OK);
  EXPECT_EQ(Put(*created, &IContact::put_LastName, u"Ray"), S_OK);
  EXPECT_EQ(Get(*created, &IContact::get_LastName), u"Ray");
  EXPECT_EQ(Get(*Load(Oid(*created)), &IContact::get_LastName), u"Lee");
  EXPECT_EQ(created->Save(), S_OK);
  EXPECT_EQ(Get(*Load(Oid(*created)), &IContact::get_LastName), u"Ray");
  EXPECT_EQ(Count(), 1);
}

TEST_F(PimContact, HoldsTheValuesThatItWasLoadedWith) {
  ComPtr<IContact> first = Load(SaveContact({{&IContact::put_LastName, u"Lee"}}));
  ComPtr<IContact> second = Load(Oid(*first));
  EXPECT_EQ(Put(*second, &IContact::put_LastName, u"Ray"), S_OK);
  EXPECT_EQ(second->Save(), S_OK);
  EXPECT_EQ(Get(*first, &IContact::get_LastName), u"Lee");
}

TEST_F(PimContact, TheLastSaveOfTheSameContactWinsAsAWhole) {
  ComPtr<IContact> first = Load(SaveContact({{&IContact::put_LastName, u"Lee"}}));
  ComPtr<IContact> second = Load(Oid(*first));
  EXPECT_EQ(Put(*second, &IContact::put_LastName, u"Ray"), S_OK);
  EXPECT_EQ(second->Save(), S_OK);
  EXPECT_EQ(Put(*first, &IContact::put_JobTitle, u"Pilot"), S_OK);
  EXPECT_EQ(first->Save(), S_OK);
  EXPECT_EQ(Get(*Load(Oid(*first)), &IContact::get_LastName), u"Lee");
  EXPECT_EQ(Get(*Load(Oid(*first)), &IContact::get_JobTitle), u"Pilot");
}

TEST_F(PimContact, IsGoneAfterDelete) {
  const LONG kept = SaveContact({{&IContact::put_LastName, u"Ray"}});
  const LONG oid = SaveContact({{&IContact::put_LastName, u"Lee"}});
  EXPECT_EQ(Load(oid)->Delete(), S_OK);
  EXPECT_FALSE(Load(oid));
  EXPECT_TRUE(Load(kept));
  EXPECT_EQ(Count(), 1);
  EXPECT_TRUE(FindAll(u"[LastName]=\"Lee\"").empty());
}

TEST_F(PimContact, LeavesNoRowAfterDelete) {
  EXPECT_EQ(Load(SaveContact({{&IContact::put_LastName, u"Lee"}}))->Delete(), S_OK);
  auto rows = device::OpenDatabase()->Prepare("SELECT COUNT(*) FROM pim_contacts");
  ASSERT_EQ(rows.Step(), SQLITE_ROW);
  EXPECT_EQ(rows.Integer(0), 0);
}

TEST_F(PimContact, CannotBeDeletedUnsavedOrTwice) {
  ComPtr<IContact> contact = NewContact();
  EXPECT_EQ(contact->Delete(), E_UNEXPECTED);
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(contact->Delete(), S_OK);
  EXPECT_EQ(contact->Delete(), kNotFound);
}

TEST_F(PimContact, IsNotSavedBackToLifeOnceDeleted) {
  ComPtr<IContact> contact = Load(SaveContact({{&IContact::put_LastName, u"Lee"}}));
  EXPECT_EQ(Load(Oid(*contact))->Delete(), S_OK);
  EXPECT_EQ(contact->Save(), kNotFound);
  EXPECT_EQ(Count(), 0);
  EXPECT_FALSE(Load(Oid(*contact)));
}

TEST_F(PimContact, CopiesItsValuesIntoAnUnsavedContact) {
  ComPtr<IContact> contact = NewContact({{&IContact::put_LastName, u"Lee"}});
  EXPECT_EQ(contact->put_Birthday(29221.0), S_OK);
  EXPECT_EQ(contact->Save(), S_OK);
  ComPtr<IContact> copy;
  ASSERT_EQ(contact->Copy(copy.put()), S_OK);
  EXPECT_EQ(Oid(*copy), 0);
  EXPECT_EQ(Get(*copy, &IContact::get_LastName), u"Lee");
  DATE birthday = 0;
  EXPECT_EQ(copy->get_Birthday(&birthday), S_OK);
  EXPECT_EQ(birthday, 29221.0);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(copy->Save(), S_OK);
  EXPECT_NE(Oid(*copy), Oid(*contact));
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(contact->Copy(nullptr), E_INVALIDARG);
}

TEST_F(PimContact, ACopyIsFiledAsItsOriginalUntilItsNameChanges) {
  ComPtr<IContact> contact =
      Load(SaveContact({{&IContact::put_LastName, u"Lee"}, {&IContact::put_FileAs, u"Boss"}}));
  ComPtr<IContact> same;
  ComPtr<IContact> renamed;
  ASSERT_EQ(contact->Copy(same.put()), S_OK);
  ASSERT_EQ(contact->Copy(renamed.put()), S_OK);
  EXPECT_EQ(Put(*renamed, &IContact::put_LastName, u"Ray"), S_OK);
  EXPECT_EQ(same->Save(), S_OK);
  EXPECT_EQ(renamed->Save(), S_OK);
  EXPECT_EQ(Get(*Load(Oid(*same)), &IContact::get_FileAs), u"Boss");
  EXPECT_EQ(Get(*Load(Oid(*renamed)), &IContact::get_FileAs), u"Ray");
}

// ---- FileAs -------------------------------------------------------------------------------------

TEST_F(PimContact, IsFiledAsLastAndFirstName) {
  EXPECT_EQ(SavedFileAs({{&IContact::put_FirstName, u"Ann"}, {&IContact::put_LastName, u"Lee"}}),
            u"Lee, Ann");
}

TEST_F(PimContact, IsFiledAsTheOneNameThatThereIs) {
  EXPECT_EQ(SavedFileAs({{&IContact::put_FirstName, u"Ann"}, {&IContact::put_CompanyName, u"Co"}}),
            u"Ann");
  EXPECT_EQ(SavedFileAs({{&IContact::put_LastName, u"Lee"}, {&IContact::put_CompanyName, u"Co"}}),
            u"Lee");
}

TEST_F(PimContact, IsFiledAsItsCompanyWithoutANameAndAsNothingWithoutACompany) {
  EXPECT_EQ(SavedFileAs({{&IContact::put_CompanyName, u"Co"}}), u"Co");
  EXPECT_EQ(SavedFileAs({{&IContact::put_JobTitle, u"Pilot"}}), u"");
}

TEST_F(PimContact, IsFiledAsItWasTold) {
  EXPECT_EQ(SavedFileAs({{&IContact::put_FileAs, u"Boss"}, {&IContact::put_LastName, u"Lee"}}),
            u"Boss");
  EXPECT_EQ(SavedFileAs({{&IContact::put_LastName, u"Lee"}, {&IContact::put_FileAs, u""}}), u"");
}

TEST_F(PimContact, ShowsTheGeneratedFileAsAfterTheSave) {
  ComPtr<IContact> contact = NewContact({{&IContact::put_LastName, u"Lee"}});
  EXPECT_EQ(Get(*contact, &IContact::get_FileAs), u"");
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(Get(*contact, &IContact::get_FileAs), u"Lee");
}

// The contact that is saved, filed as "Boss", and then changed and saved again.
class PimContactFileAs : public PimContact {
 protected:
  std::u16string AfterChange(Values first, Values change) {
    ComPtr<IContact> contact = NewContact(first);
    EXPECT_EQ(Put(*contact, &IContact::put_FileAs, u"Boss"), S_OK);
    EXPECT_EQ(contact->Save(), S_OK);
    ComPtr<IContact> loaded = Load(Oid(*contact));
    for (ComPtr<IContact>& each : {std::ref(contact), std::ref(loaded)}) {
      for (const auto& [setter, text] : change) EXPECT_EQ(Put(*each, setter, text), S_OK);
      EXPECT_EQ(each->Save(), S_OK);
    }
    const std::u16string file_as = Get(*contact, &IContact::get_FileAs);
    EXPECT_EQ(Get(*loaded, &IContact::get_FileAs), file_as) << "saved again or loaded is the same";
    EXPECT_EQ(Get(*Load(Oid(*contact)), &IContact::get_FileAs), file_as);
    return file_as;
  }
};

TEST_F(PimContactFileAs, FollowsAChangeOfAName) {
  EXPECT_EQ(AfterChange({{&IContact::put_LastName, u"Lee"}}, {{&IContact::put_FirstName, u"Ann"}}),
            u"Lee, Ann");
  EXPECT_EQ(AfterChange({{&IContact::put_LastName, u"Lee"}}, {{&IContact::put_LastName, u"Ray"}}),
            u"Ray");
}

TEST_F(PimContactFileAs, FollowsAChangeOfTheCompanyOnlyWithoutAName) {
  EXPECT_EQ(AfterChange({}, {{&IContact::put_CompanyName, u"Co"}}), u"Co");
  EXPECT_EQ(AfterChange({{&IContact::put_LastName, u"Lee"}}, {{&IContact::put_CompanyName, u"Co"}}),
            u"Boss");
}

TEST_F(PimContactFileAs, StaysWhenTheNameIsPutAsItWas) {
  EXPECT_EQ(AfterChange({{&IContact::put_LastName, u"Lee"}}, {{&IContact::put_LastName, u"Lee"}}),
            u"Boss");
}

TEST_F(PimContactFileAs, StaysWhenOtherPropertiesChange) {
  EXPECT_EQ(AfterChange({{&IContact::put_LastName, u"Lee"}}, {{&IContact::put_MiddleName, u"May"}}),
            u"Boss");
}

TEST_F(PimContactFileAs, StaysAsItIsPutTogetherWithTheName) {
  EXPECT_EQ(AfterChange({}, {{&IContact::put_FileAs, u"Chief"}, {&IContact::put_LastName, u"Ray"}}),
            u"Chief");
  EXPECT_EQ(AfterChange({}, {{&IContact::put_LastName, u"Ray"}, {&IContact::put_FileAs, u""}}),
            u"");
}

}  // namespace
}  // namespace contact_test

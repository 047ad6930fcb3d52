#include "platform/device/pim/application.h"

#include <filesystem>
#include <fstream>

#include "tests/platform/device/pim/calendar_fixture.h"

namespace application_test {
namespace {

using namespace pim_test;

constexpr IID kUnknownIid = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};

// That an object answers to IUnknown, IDispatch and its own interface with its one pointer, and
// to nothing else.
void ExpectInterfaces(IUnknown* object, REFIID own) {
  for (REFIID iid : {IID_IUnknown, IID_IDispatch, own}) {
    void* answer = nullptr;
    ASSERT_EQ(object->QueryInterface(iid, &answer), S_OK);
    EXPECT_EQ(answer, object);
    object->Release();
  }
  for (REFIID iid : {kUnknownIid, IID_IPOutlookApp, IID_IFolder, IID_IPOutlookItemCollection,
                     IID_IContact, IID_IAppointment, IID_ITask, IID_IRecurrencePattern,
                     IID_IExceptions, IID_IException, IID_IRecipients, IID_IRecipient}) {
    if (iid == own) continue;
    void* answer = object;
    EXPECT_EQ(object->QueryInterface(iid, &answer), E_NOINTERFACE);
    EXPECT_EQ(answer, nullptr);
  }
  EXPECT_EQ(object->QueryInterface(own, nullptr), E_INVALIDARG);
}

class PimApplication : public PimTest {};

TEST_F(PimApplication, IsCreatedByItsClass) {
  ComPtr<IPOutlookApp> application;
  ASSERT_EQ(CoCreateInstance(CLSID_Application, nullptr, CLSCTX_INPROC_SERVER, IID_IPOutlookApp,
                             application.put_void()),
            S_OK);
  EXPECT_EQ(application->Logon(0), S_OK);
}

TEST_F(PimApplication, LogsOnOnce) {
  ComPtr<IPOutlookApp> application = NewApplication();
  EXPECT_EQ(application->Logon(0), S_OK);
  EXPECT_EQ(application->Logon(0), S_FALSE);
}

TEST_F(PimApplication, LogsOnAgainAfterALogoff) {
  ComPtr<IPOutlookApp> application = LogOn();
  EXPECT_EQ(application->Logoff(), S_OK);
  EXPECT_EQ(application->Logoff(), S_FALSE);
  EXPECT_EQ(application->Logon(0), S_OK);
}

TEST_F(PimApplication, GivesNothingWithoutALogon) {
  ComPtr<IPOutlookApp> application = NewApplication();
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(application->CreateItem(olContactItem, &item), E_UNEXPECTED);
  EXPECT_EQ(item, nullptr);
  item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(application->GetItemFromOid(1, &item), E_UNEXPECTED);
  EXPECT_EQ(item, nullptr);
  IFolder* folder = reinterpret_cast<IFolder*>(1);
  EXPECT_EQ(application->GetDefaultFolder(olFolderContacts, &folder), E_UNEXPECTED);
  EXPECT_EQ(folder, nullptr);
}

TEST_F(PimApplication, RefusesTheLogonWhenTheDevicesFolderCannotBeMade) {
  const std::string file = device_.folder() + "/file";
  std::ofstream(file) << "no folder";
  setenv("OSIF_DEVICE", (file + "/device").c_str(), 1);
  ComPtr<IPOutlookApp> application = NewApplication();
  EXPECT_EQ(application->Logon(0), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(application->Logoff(), S_FALSE) << "a refused logon is none";
}

TEST_F(PimApplication, RefusesTheLogonWhereAFolderStandsForTheDatabase) {
  std::filesystem::create_directory(device_.Path("device.db"));
  EXPECT_EQ(NewApplication()->Logon(0), E_ACCESSDENIED);
}

TEST_F(PimApplication, RefusesTheLogonToADatabaseOfANewerSystem) {
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA user_version=99"), SQLITE_OK);
  device::CloseDatabase();
  EXPECT_EQ(NewApplication()->Logon(0), HRESULT_FROM_WIN32(ERROR_REVISION_MISMATCH));
}

TEST_F(PimApplication, RefusesTheLogonToADamagedDatabaseAndLeavesItAsItIs) {
  const std::string path = device_.folder() + "/device.db";
  const std::string damaged(5000, 'x');
  std::ofstream(path) << damaged;
  EXPECT_EQ(NewApplication()->Logon(0), HRESULT_FROM_WIN32(ERROR_FILE_CORRUPT));
  std::ifstream stream(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), damaged);
}

TEST_F(PimApplication, OpensTheThreeFolders) {
  const std::pair<int, int> kTypes[] = {{9, 1}, {10, 2}, {13, 3}};
  for (const auto& [number, type] : kTypes) {
    ComPtr<IFolder> folder;
    ASSERT_EQ(application().GetDefaultFolder(number, folder.put()), S_OK) << number;
    int default_type = 0;
    EXPECT_EQ(folder->get_DefaultItemType(&default_type), S_OK);
    EXPECT_EQ(default_type, type);
    EXPECT_EQ(Count(number), 0);
  }
}

TEST_F(PimApplication, RefusesEveryOtherFolder) {
  for (int number : {-1, 0, 1, 2, 3, 8, 11, 12, 14, 101, 102, 0x7FFFFFFF}) {
    IFolder* folder = reinterpret_cast<IFolder*>(1);
    EXPECT_EQ(application().GetDefaultFolder(number, &folder), E_INVALIDARG) << number;
    EXPECT_EQ(folder, nullptr);
  }
}

TEST_F(PimApplication, RefusesItemsOfUnknownTypes) {
  for (int type : {-1, 0, 4, 102}) {
    IDispatch* item = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(application().CreateItem(type, &item), E_INVALIDARG) << type;
    EXPECT_EQ(item, nullptr);
  }
}

TEST_F(PimApplication, RefusesIdsThatNoItemHas) {
  const LONG oid = SaveContact();
  for (LONG unknown : {0, -1, oid + 1, 0x7FFFFFFF, static_cast<LONG>(0x80000000)}) {
    IDispatch* item = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(application().GetItemFromOid(unknown, &item), kNotFound) << unknown;
    EXPECT_EQ(item, nullptr);
  }
}

TEST_F(PimApplication, RefusesToAnswerIntoNothing) {
  EXPECT_EQ(application().GetDefaultFolder(olFolderContacts, nullptr), E_INVALIDARG);
  EXPECT_EQ(application().CreateItem(olContactItem, nullptr), E_INVALIDARG);
  EXPECT_EQ(application().GetItemFromOid(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(application().get_Application(nullptr), E_INVALIDARG);
  EXPECT_EQ(device::CreatePimApplication(IID_IPOutlookApp, nullptr), E_INVALIDARG);
}

TEST_F(PimApplication, ComesThroughItsOwnInterfacesOnly) {
  void* object = this;
  EXPECT_EQ(device::CreatePimApplication(IID_IContact, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(device::CreatePimApplication(IID_IUnknown, unknown.put_void()), S_OK);
  EXPECT_TRUE(unknown);
}

TEST_F(PimApplication, EveryObjectAnswersToItsOwnInterfaces) {
  ExpectInterfaces(&application(), IID_IPOutlookApp);
  ComPtr<IFolder> folder;
  ASSERT_EQ(application().GetDefaultFolder(olFolderContacts, folder.put()), S_OK);
  ExpectInterfaces(folder.get(), IID_IFolder);
  ExpectInterfaces(Items().get(), IID_IPOutlookItemCollection);
  ExpectInterfaces(NewContact().get(), IID_IContact);
}

TEST_F(PimApplication, EveryObjectKnowsItsApplication) {
  ComPtr<IFolder> folder;
  ASSERT_EQ(application().GetDefaultFolder(olFolderContacts, folder.put()), S_OK);
  ComPtr<IPOutlookApp> found;
  EXPECT_EQ(application().get_Application(found.put()), S_OK);
  EXPECT_EQ(found.get(), &application());
  EXPECT_EQ(folder->get_Application(found.put()), S_OK);
  EXPECT_EQ(found.get(), &application());
  EXPECT_EQ(Items()->get_Application(found.put()), S_OK);
  EXPECT_EQ(found.get(), &application());
  EXPECT_EQ(NewContact()->get_Application(found.put()), S_OK);
  EXPECT_EQ(found.get(), &application());
}

TEST_F(PimApplication, CountsReferences) {
  ComPtr<IContact> contact = NewContact();
  EXPECT_EQ(contact->AddRef(), 2u);
  EXPECT_EQ(contact->AddRef(), 3u);
  EXPECT_EQ(contact->Release(), 2u);
  EXPECT_EQ(contact->Release(), 1u);
}

TEST_F(PimApplication, OffersNoCallsByName) {
  UINT count = 7;
  EXPECT_EQ(application().GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(application().GetTypeInfo(0, 0, nullptr), E_NOTIMPL);
}

TEST_F(PimApplication, ObjectsGoOnWorkingAfterALogoff) {
  ComPtr<IContact> contact = NewContact({{&IContact::put_LastName, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  Restart();
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(CountOf(*items), 0);
  EXPECT_EQ(Count(), 1);
}

TEST_F(PimApplication, ObjectsOutliveTheirApplication) {
  IPOutlookApp* application = LogOn().release();
  IDispatch* item = nullptr;
  ASSERT_EQ(application->CreateItem(olContactItem, &item), S_OK);
  ComPtr<IContact> contact = AsContact(item);
  application->Release();
  EXPECT_EQ(contact->Save(), S_OK);
}

TEST_F(PimApplication, TwoApplicationsShareTheDevice) {
  const LONG oid = SaveContact({{&IContact::put_LastName, u"Lee"}});
  ComPtr<IPOutlookApp> other = LogOn();
  IDispatch* item = nullptr;
  ASSERT_EQ(other->GetItemFromOid(oid, &item), S_OK);
  EXPECT_EQ(Get(*AsContact(item), &IContact::get_LastName), u"Lee");
}

TEST_F(PimApplication, ALogoffLeavesEverythingInTheDatabaseFile) {
  SaveContact({{&IContact::put_LastName, u"Checkpointed"}});
  application().Logoff();
  std::ifstream stream(device_.folder() + "/device.db", std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(stream), {});
  EXPECT_NE(bytes.find("Checkpointed"), std::string::npos);
}

// ---- Appointments and tasks ---------------------------------------------------------------------

class PimCalendarObjects : public PimCalendarTest {
 protected:
  // An object of each kind that hangs on an appointment.
  void SetUp() override {
    series_ = NewAppointment(Time(2026, 5, 1, 9, 30), Time(2026, 5, 1, 11, 0));
    pattern_ = PatternOf(*series_);
    ASSERT_EQ(pattern_->put_RecurrenceType(olRecursDaily), S_OK);
    recipients_ = ObjectOf(*series_, &IAppointment::get_Recipients);
    ASSERT_EQ(recipients_->Add(Bstr(u"Ann").get(), recipient_.put()), S_OK);
    ASSERT_EQ(series_->Save(), S_OK);
    ASSERT_EQ(pattern_->GetOccurrence(Day(2026, 5, 2), occurrence_.put()), S_OK);
    ASSERT_EQ(occurrence_->Save(), S_OK);
    exceptions_ = ObjectOf(*pattern_, &IRecurrencePattern::get_Exceptions);
    ASSERT_EQ(exceptions_->Item(1, exception_.put()), S_OK);
  }

  ComPtr<IAppointment> series_;
  ComPtr<IAppointment> occurrence_;
  ComPtr<IRecurrencePattern> pattern_;
  ComPtr<IRecipients> recipients_;
  ComPtr<IRecipient> recipient_;
  ComPtr<IExceptions> exceptions_;
  ComPtr<IException> exception_;
};

TEST_F(PimCalendarObjects, AnswerToTheirOwnInterfaces) {
  ExpectInterfaces(series_.get(), IID_IAppointment);
  ExpectInterfaces(occurrence_.get(), IID_IAppointment);
  ExpectInterfaces(pattern_.get(), IID_IRecurrencePattern);
  ExpectInterfaces(recipients_.get(), IID_IRecipients);
  ExpectInterfaces(recipient_.get(), IID_IRecipient);
  ExpectInterfaces(exceptions_.get(), IID_IExceptions);
  ExpectInterfaces(exception_.get(), IID_IException);
  ExpectInterfaces(NewTask().get(), IID_ITask);
}

TEST_F(PimCalendarObjects, TellTheirKindByTheirInterface) {
  void* object = this;
  EXPECT_EQ(series_->QueryInterface(IID_ITask, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(NewTask()->QueryInterface(IID_IAppointment, &object), E_NOINTERFACE);
  EXPECT_EQ(NewContact()->QueryInterface(IID_IAppointment, &object), E_NOINTERFACE);
  ComPtr<ITask> task = NewTask();
  ASSERT_EQ(task->Save(), S_OK);
  IDispatch* item = nullptr;
  ASSERT_EQ(application().GetItemFromOid(Oid(*task), &item), S_OK);
  ExpectInterfaces(item, IID_ITask);
  item->Release();
  ASSERT_EQ(application().GetItemFromOid(Oid(*series_), &item), S_OK);
  ExpectInterfaces(item, IID_IAppointment);
  item->Release();
}

TEST_F(PimCalendarObjects, KnowTheirApplication) {
  EXPECT_EQ(ObjectOf(*series_, &IAppointment::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*occurrence_, &IAppointment::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*pattern_, &IRecurrencePattern::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*recipients_, &IRecipients::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*recipient_, &IRecipient::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*exceptions_, &IExceptions::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*exception_, &IException::get_Application).get(), &application());
  EXPECT_EQ(ObjectOf(*NewTask(), &ITask::get_Application).get(), &application());
}

TEST_F(PimCalendarObjects, GoOnWorkingAfterALogoff) {
  Restart();
  EXPECT_EQ(Put(*series_, &IAppointment::put_Subject, u"Walk"), S_OK);
  EXPECT_EQ(Get(*SavedAndLoaded(*series_), &IAppointment::get_Subject), u"Walk");
  EXPECT_EQ(occurrence_->Delete(), S_OK);
}

}  // namespace
}  // namespace application_test

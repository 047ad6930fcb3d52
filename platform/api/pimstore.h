// The handheld's PIM object model: application, folder, item collection, contact, appointment and
// task with their recurrence patterns, exceptions and recipients.
//
// Declared is what this system calls, in the platform's order. What nothing calls is left out:
// cities, time zones and infrared, the ink of an item, the phonetic names of a contact, sending and
// showing an item, the enumerators of exceptions and recipients. docs/device.md tells what each
// call does on the embedded device.
//
// Only the application object is created with CoCreateInstance; all else comes from it. Objects are
// reference-counted; a pointer that a call hands out belongs to the caller, as does a text
// (SysFreeString). An IDispatch* that is an item may be cast to the interface of its kind. Objects
// are used by one thread at a time. A failing call leaves null in a pointer that it should have
// filled.
//
// Dates are automation dates (days since 30 December 1899) in local time, texts are BSTRs.
#pragma once

#ifdef _WIN32
#include <pimstore.h>
#else

#include "platform/api/automation.h"
#include "platform/api/win_types.h"

inline constexpr CLSID CLSID_Application = {
    0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IPOutlookApp = {
    0x05058F22, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IFolder = {
    0x05058F20, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IPOutlookItemCollection = {
    0xF06748C0, 0x21A5, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IContact = {
    0x7F804E40, 0x2010, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IAppointment = {
    0x5B43F691, 0x202C, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_ITask = {
    0x37C78CE0, 0x202C, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IRecurrencePattern = {
    0x38F47300, 0x270F, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IException = {
    0xB47398D0, 0x3B73, 0x11D2, {0x8F, 0x1B, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IExceptions = {
    0xB47398D1, 0x3B73, 0x11D2, {0x8F, 0x1B, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IRecipient = {
    0x7E136BE0, 0x5240, 0x11D2, {0x8F, 0x1B, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IRecipients = {
    0x76065AE0, 0x2347, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

enum OlDefaultFolders { olFolderCalendar = 9, olFolderContacts = 10, olFolderTasks = 13 };

enum OlItemType { olAppointmentItem = 1, olContactItem = 2, olTaskItem = 3 };

enum OlBusyStatus { olFree = 0, olTentative = 1, olBusy = 2, olOutOfOffice = 3 };

enum OlSensitivity { olNormal = 0, olPersonal = 1, olPrivate = 2, olConfidential = 3 };

enum OlImportance { olImportanceLow = 0, olImportanceNormal = 1, olImportanceHigh = 2 };

enum OlMeetingStatus { olNonMeeting = 0, olMeeting = 1 };

enum OlReminderOptions {  // bits
  olLED = 1,
  olVibrate = 2,
  olDialog = 4,
  olSound = 8,
  olRepeat = 16
};

enum OlRecurrenceType {
  olRecursOnce = -1,  // no recurrence
  olRecursDaily = 0,
  olRecursWeekly = 1,
  olRecursMonthly = 2,
  olRecursMonthNth = 3,
  olRecursYearly = 5,
  olRecursYearNth = 6
};

enum OlDaysOfWeek {  // bits
  olSunday = 1,
  olMonday = 2,
  olTuesday = 4,
  olWednesday = 8,
  olThursday = 16,
  olFriday = 32,
  olSaturday = 64
};

// A date property without a value (1 January 4501).
inline constexpr DATE DATE_NONE = 949998.0;

inline constexpr HRESULT E_FIELDTOOLARGE = static_cast<HRESULT>(0x80040066);
inline constexpr HRESULT E_INVALIDDATES = static_cast<HRESULT>(0x80040068);

struct IPOutlookApp;
struct IPOutlookItemCollection;
struct IRecurrencePattern;
struct IRecipients;

struct IFolder : IDispatch {
  virtual HRESULT get_Items(IPOutlookItemCollection** items) = 0;
  virtual HRESULT get_DefaultItemType(int* type) = 0;  // an OlItemType
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

struct IPOutlookApp : IDispatch {
  // The first call; S_FALSE when already done. The window, for dialogs of the platform, may be 0.
  virtual HRESULT Logon(LONG window) = 0;
  virtual HRESULT Logoff() = 0;
  virtual HRESULT GetDefaultFolder(int folder, IFolder** result) = 0;  // an OlDefaultFolders
  virtual HRESULT CreateItem(int type, IDispatch** item) = 0;          // an OlItemType; unsaved
  virtual HRESULT GetItemFromOid(LONG oid, IDispatch** item) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

struct IPOutlookItemCollection : IDispatch {
  virtual HRESULT Add(IDispatch** item) = 0;  // unsaved, of the folder's kind
  virtual HRESULT get_Count(int* count) = 0;
  // The first item of the folder that meets a restriction, and each next one; S_OK with null when
  // there is none. The restrictions that a store has to understand are terms joined by " AND ", each
  // a property in brackets, "=" and a value in quotation marks: [LastName]="Lee" AND [FirstName]="Ann".
  //
  //   contacts      [Title], [FirstName], [MiddleName], [LastName], [Suffix]
  //   appointments  [Start], then [Subject] or [Body]
  //   tasks         [Subject]
  //
  // Texts are met whatever their case, or exactly: what is found is compared once more. A quotation
  // mark in a text is not escaped; it ends the text where the end of the restriction or more of it
  // follows. A date is the day as GetDateFormatW writes it for the user's locale (DATE_SHORTDATE), a
  // blank, and the time as GetTimeFormatW does (TIME_FORCE24HOURFORMAT), and is met to the second:
  // [Start]="05/01/2006 09:00:00". A store that cannot do this fails; contacts are then not found,
  // appointments and tasks are looked at one by one.
  virtual HRESULT Find(BSTR restriction, IDispatch** item) = 0;
  virtual HRESULT FindNext(IDispatch** item) = 0;
  virtual HRESULT Item(int index, IDispatch** item) = 0;  // counted from 1
  virtual HRESULT Remove(int index) = 0;                  // counted from 1; deletes the item
  virtual HRESULT Restrict(BSTR restriction, IPOutlookItemCollection** items) = 0;
  virtual HRESULT Sort(BSTR property, VARIANT_BOOL descending) = 0;
  virtual HRESULT get_IncludeRecurrences(VARIANT_BOOL* include) = 0;
  virtual HRESULT put_IncludeRecurrences(VARIANT_BOOL include) = 0;
  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

struct IContact : IDispatch {
  virtual HRESULT get_Birthday(DATE* value) = 0;
  virtual HRESULT get_Anniversary(DATE* value) = 0;
  virtual HRESULT get_BusinessFaxNumber(BSTR* value) = 0;
  virtual HRESULT get_CompanyName(BSTR* value) = 0;
  virtual HRESULT get_Department(BSTR* value) = 0;
  virtual HRESULT get_Email1Address(BSTR* value) = 0;
  virtual HRESULT get_MobileTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_OfficeLocation(BSTR* value) = 0;
  virtual HRESULT get_PagerNumber(BSTR* value) = 0;
  virtual HRESULT get_BusinessTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_JobTitle(BSTR* value) = 0;
  virtual HRESULT get_HomeTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_Email2Address(BSTR* value) = 0;
  virtual HRESULT get_Spouse(BSTR* value) = 0;
  virtual HRESULT get_Email3Address(BSTR* value) = 0;
  virtual HRESULT get_Home2TelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_HomeFaxNumber(BSTR* value) = 0;
  virtual HRESULT get_CarTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_AssistantName(BSTR* value) = 0;
  virtual HRESULT get_AssistantTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_Children(BSTR* value) = 0;
  virtual HRESULT get_Categories(BSTR* value) = 0;
  virtual HRESULT get_WebPage(BSTR* value) = 0;
  virtual HRESULT get_Business2TelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_Title(BSTR* value) = 0;
  virtual HRESULT get_FirstName(BSTR* value) = 0;
  virtual HRESULT get_MiddleName(BSTR* value) = 0;
  virtual HRESULT get_LastName(BSTR* value) = 0;
  virtual HRESULT get_Suffix(BSTR* value) = 0;
  virtual HRESULT get_HomeAddressStreet(BSTR* value) = 0;
  virtual HRESULT get_HomeAddressCity(BSTR* value) = 0;
  virtual HRESULT get_HomeAddressState(BSTR* value) = 0;
  virtual HRESULT get_HomeAddressPostalCode(BSTR* value) = 0;
  virtual HRESULT get_HomeAddressCountry(BSTR* value) = 0;
  virtual HRESULT get_OtherAddressStreet(BSTR* value) = 0;
  virtual HRESULT get_OtherAddressCity(BSTR* value) = 0;
  virtual HRESULT get_OtherAddressState(BSTR* value) = 0;
  virtual HRESULT get_OtherAddressPostalCode(BSTR* value) = 0;
  virtual HRESULT get_OtherAddressCountry(BSTR* value) = 0;
  virtual HRESULT get_BusinessAddressStreet(BSTR* value) = 0;
  virtual HRESULT get_BusinessAddressCity(BSTR* value) = 0;
  virtual HRESULT get_BusinessAddressState(BSTR* value) = 0;
  virtual HRESULT get_BusinessAddressPostalCode(BSTR* value) = 0;
  virtual HRESULT get_BusinessAddressCountry(BSTR* value) = 0;
  virtual HRESULT get_RadioTelephoneNumber(BSTR* value) = 0;
  virtual HRESULT get_FileAs(BSTR* value) = 0;
  virtual HRESULT get_Body(BSTR* value) = 0;
  virtual HRESULT put_Birthday(DATE value) = 0;
  virtual HRESULT put_Anniversary(DATE value) = 0;
  virtual HRESULT put_BusinessFaxNumber(BSTR value) = 0;
  virtual HRESULT put_CompanyName(BSTR value) = 0;
  virtual HRESULT put_Department(BSTR value) = 0;
  virtual HRESULT put_Email1Address(BSTR value) = 0;
  virtual HRESULT put_MobileTelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_OfficeLocation(BSTR value) = 0;
  virtual HRESULT put_PagerNumber(BSTR value) = 0;
  virtual HRESULT put_BusinessTelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_JobTitle(BSTR value) = 0;
  virtual HRESULT put_HomeTelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_Email2Address(BSTR value) = 0;
  virtual HRESULT put_Spouse(BSTR value) = 0;
  virtual HRESULT put_Email3Address(BSTR value) = 0;
  virtual HRESULT put_Home2TelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_HomeFaxNumber(BSTR value) = 0;
  virtual HRESULT put_CarTelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_AssistantName(BSTR value) = 0;
  virtual HRESULT put_AssistantTelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_Children(BSTR value) = 0;
  virtual HRESULT put_Categories(BSTR value) = 0;
  virtual HRESULT put_WebPage(BSTR value) = 0;
  virtual HRESULT put_Business2TelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_Title(BSTR value) = 0;
  virtual HRESULT put_FirstName(BSTR value) = 0;
  virtual HRESULT put_MiddleName(BSTR value) = 0;
  virtual HRESULT put_LastName(BSTR value) = 0;
  virtual HRESULT put_Suffix(BSTR value) = 0;
  virtual HRESULT put_HomeAddressStreet(BSTR value) = 0;
  virtual HRESULT put_HomeAddressCity(BSTR value) = 0;
  virtual HRESULT put_HomeAddressState(BSTR value) = 0;
  virtual HRESULT put_HomeAddressPostalCode(BSTR value) = 0;
  virtual HRESULT put_HomeAddressCountry(BSTR value) = 0;
  virtual HRESULT put_OtherAddressStreet(BSTR value) = 0;
  virtual HRESULT put_OtherAddressCity(BSTR value) = 0;
  virtual HRESULT put_OtherAddressState(BSTR value) = 0;
  virtual HRESULT put_OtherAddressPostalCode(BSTR value) = 0;
  virtual HRESULT put_OtherAddressCountry(BSTR value) = 0;
  virtual HRESULT put_BusinessAddressStreet(BSTR value) = 0;
  virtual HRESULT put_BusinessAddressCity(BSTR value) = 0;
  virtual HRESULT put_BusinessAddressState(BSTR value) = 0;
  virtual HRESULT put_BusinessAddressPostalCode(BSTR value) = 0;
  virtual HRESULT put_BusinessAddressCountry(BSTR value) = 0;
  virtual HRESULT put_RadioTelephoneNumber(BSTR value) = 0;
  virtual HRESULT put_FileAs(BSTR value) = 0;
  virtual HRESULT put_Body(BSTR value) = 0;
  virtual HRESULT Save() = 0;
  virtual HRESULT Delete() = 0;
  virtual HRESULT Copy(IContact** copy) = 0;  // unsaved
  virtual HRESULT get_Oid(LONG* oid) = 0;     // 0 before the first Save
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

struct IAppointment : IDispatch {
  virtual HRESULT ClearRecurrencePattern() = 0;
  // The item's own; one without recurrence gets a pattern of type olRecursOnce.
  virtual HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) = 0;
  virtual HRESULT get_IsRecurring(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Subject(BSTR* value) = 0;
  virtual HRESULT get_Location(BSTR* value) = 0;
  virtual HRESULT get_Categories(BSTR* value) = 0;
  virtual HRESULT get_Start(DATE* value) = 0;
  virtual HRESULT get_Duration(LONG* value) = 0;  // minutes
  virtual HRESULT get_End(DATE* value) = 0;       // an all-day event: the day after its last
  virtual HRESULT get_AllDayEvent(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_BusyStatus(LONG* value) = 0;   // an OlBusyStatus
  virtual HRESULT get_Sensitivity(LONG* value) = 0;  // an OlSensitivity
  virtual HRESULT get_Body(BSTR* value) = 0;
  virtual HRESULT get_Recipients(IRecipients** value) = 0;
  virtual HRESULT get_MeetingStatus(LONG* value) = 0;  // an OlMeetingStatus
  virtual HRESULT get_ReminderSet(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_ReminderSoundFile(BSTR* value) = 0;
  virtual HRESULT get_ReminderMinutesBeforeStart(LONG* value) = 0;
  virtual HRESULT get_ReminderOptions(LONG* value) = 0;  // OlReminderOptions
  virtual HRESULT put_Subject(BSTR value) = 0;
  virtual HRESULT put_Location(BSTR value) = 0;
  virtual HRESULT put_Categories(BSTR value) = 0;
  virtual HRESULT put_Start(DATE value) = 0;
  virtual HRESULT put_Duration(LONG value) = 0;
  virtual HRESULT put_End(DATE value) = 0;
  virtual HRESULT put_AllDayEvent(VARIANT_BOOL value) = 0;
  virtual HRESULT put_BusyStatus(LONG value) = 0;
  virtual HRESULT put_Sensitivity(LONG value) = 0;
  virtual HRESULT put_Body(BSTR value) = 0;
  virtual HRESULT put_ReminderSet(VARIANT_BOOL value) = 0;
  virtual HRESULT put_ReminderSoundFile(BSTR value) = 0;
  virtual HRESULT put_ReminderMinutesBeforeStart(LONG value) = 0;
  virtual HRESULT put_ReminderOptions(LONG value) = 0;
  virtual HRESULT Save() = 0;
  virtual HRESULT Delete() = 0;
  virtual HRESULT Copy(IAppointment** copy) = 0;  // unsaved
  virtual HRESULT get_Oid(LONG* oid) = 0;         // 0 before the first Save
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

struct ITask : IDispatch {
  virtual HRESULT ClearRecurrencePattern() = 0;
  // The item's own; one without recurrence gets a pattern of type olRecursOnce.
  virtual HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) = 0;
  virtual HRESULT get_IsRecurring(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Subject(BSTR* value) = 0;
  virtual HRESULT get_Categories(BSTR* value) = 0;
  virtual HRESULT get_StartDate(DATE* value) = 0;
  virtual HRESULT get_DueDate(DATE* value) = 0;
  virtual HRESULT get_DateCompleted(DATE* value) = 0;
  virtual HRESULT get_Importance(LONG* value) = 0;  // an OlImportance
  virtual HRESULT get_Complete(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Sensitivity(LONG* value) = 0;  // an OlSensitivity
  virtual HRESULT get_TeamTask(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Body(BSTR* value) = 0;
  virtual HRESULT get_ReminderSet(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_ReminderSoundFile(BSTR* value) = 0;
  virtual HRESULT get_ReminderTime(DATE* value) = 0;
  virtual HRESULT get_ReminderOptions(LONG* value) = 0;  // OlReminderOptions
  virtual HRESULT put_Subject(BSTR value) = 0;
  virtual HRESULT put_Categories(BSTR value) = 0;
  virtual HRESULT put_StartDate(DATE value) = 0;
  virtual HRESULT put_DueDate(DATE value) = 0;
  virtual HRESULT put_Importance(LONG value) = 0;
  virtual HRESULT put_Complete(VARIANT_BOOL value) = 0;
  virtual HRESULT put_Sensitivity(LONG value) = 0;
  virtual HRESULT put_TeamTask(VARIANT_BOOL value) = 0;
  virtual HRESULT put_Body(BSTR value) = 0;
  virtual HRESULT put_ReminderSet(VARIANT_BOOL value) = 0;
  virtual HRESULT put_ReminderSoundFile(BSTR value) = 0;
  virtual HRESULT put_ReminderTime(DATE value) = 0;
  virtual HRESULT put_ReminderOptions(LONG value) = 0;
  virtual HRESULT Save() = 0;
  virtual HRESULT Delete() = 0;
  virtual HRESULT Copy(ITask** copy) = 0;  // unsaved
  virtual HRESULT get_Oid(LONG* oid) = 0;  // 0 before the first Save
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

// One occurrence of a series that was changed or deleted.
struct IException : IDispatch {
  // The changed occurrence; S_FALSE and null for a deleted one.
  virtual HRESULT get_AppointmentItem(IAppointment** appointment) = 0;
  virtual HRESULT get_OriginalDate(DATE* value) = 0;  // when it would have taken place
  virtual HRESULT get_Deleted(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

struct IExceptions : IDispatch {
  virtual HRESULT Item(int index, IException** exception) = 0;  // counted from 1
  virtual HRESULT get_Count(int* count) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

// The recurrence of an item, stored by the item's Save.
struct IRecurrencePattern : IDispatch {
  virtual HRESULT get_RecurrenceType(LONG* value) = 0;  // an OlRecurrenceType
  virtual HRESULT get_PatternStartDate(DATE* value) = 0;
  virtual HRESULT get_StartTime(DATE* value) = 0;
  virtual HRESULT get_EndTime(DATE* value) = 0;
  virtual HRESULT get_PatternEndDate(DATE* value) = 0;
  virtual HRESULT get_NoEndDate(VARIANT_BOOL* value) = 0;
  virtual HRESULT get_Occurrences(LONG* value) = 0;
  virtual HRESULT get_Interval(LONG* value) = 0;
  virtual HRESULT get_DayOfWeekMask(LONG* value) = 0;  // OlDaysOfWeek
  virtual HRESULT get_DayOfMonth(LONG* value) = 0;
  virtual HRESULT get_Instance(LONG* value) = 0;  // 5 is the last
  virtual HRESULT get_Duration(LONG* value) = 0;  // minutes
  virtual HRESULT get_MonthOfYear(LONG* value) = 0;
  virtual HRESULT put_RecurrenceType(LONG value) = 0;  // before the properties of the type
  virtual HRESULT put_PatternStartDate(DATE value) = 0;
  virtual HRESULT put_StartTime(DATE value) = 0;
  virtual HRESULT put_EndTime(DATE value) = 0;
  virtual HRESULT put_PatternEndDate(DATE value) = 0;
  virtual HRESULT put_NoEndDate(VARIANT_BOOL value) = 0;
  virtual HRESULT put_Occurrences(LONG value) = 0;
  virtual HRESULT put_Interval(LONG value) = 0;
  virtual HRESULT put_DayOfWeekMask(LONG value) = 0;
  virtual HRESULT put_DayOfMonth(LONG value) = 0;
  virtual HRESULT put_Instance(LONG value) = 0;
  virtual HRESULT put_Duration(LONG value) = 0;
  virtual HRESULT put_MonthOfYear(LONG value) = 0;
  virtual HRESULT get_Exceptions(IExceptions** exceptions) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
  // The occurrence of a saved series on the day of a date.
  virtual HRESULT GetOccurrence(DATE date, IAppointment** occurrence) = 0;
};

struct IRecipient : IDispatch {
  virtual HRESULT put_Address(BSTR value) = 0;
  virtual HRESULT get_Address(BSTR* value) = 0;
  virtual HRESULT get_Name(BSTR* value) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

// The attendees of an appointment, stored by its Save.
struct IRecipients : IDispatch {
  virtual HRESULT Add(BSTR name, IRecipient** recipient) = 0;
  virtual HRESULT Item(int index, IRecipient** recipient) = 0;  // counted from 1
  virtual HRESULT Remove(int index) = 0;                        // counted from 1
  virtual HRESULT get_Count(int* count) = 0;
  virtual HRESULT get_Application(IPOutlookApp** application) = 0;
};

#endif

// The properties of the PIM's items that count as their content, in the order in which the platform declares
// them. Checksums are fed in this order, so it must not change: with another one every stored snapshot would
// differ.
#pragma once

#include <variant>

#include "platform/api/pimstore.h"

// The getter of a property: a text, a date, a number or a flag.
template <typename Item>
using Getter = std::variant<HRESULT (Item::*)(BSTR*), HRESULT (Item::*)(DATE*),
                            HRESULT (Item::*)(LONG*), HRESULT (Item::*)(VARIANT_BOOL*)>;

// ---- Contacts ---------------------------------------------------------------------------------------

inline constexpr Getter<IContact> kContactProperties[] = {
    &IContact::get_Birthday,
    &IContact::get_Anniversary,
    &IContact::get_BusinessFaxNumber,
    &IContact::get_CompanyName,
    &IContact::get_Department,
    &IContact::get_Email1Address,
    &IContact::get_MobileTelephoneNumber,
    &IContact::get_OfficeLocation,
    &IContact::get_PagerNumber,
    &IContact::get_BusinessTelephoneNumber,
    &IContact::get_JobTitle,
    &IContact::get_HomeTelephoneNumber,
    &IContact::get_Email2Address,
    &IContact::get_Spouse,
    &IContact::get_Email3Address,
    &IContact::get_Home2TelephoneNumber,
    &IContact::get_HomeFaxNumber,
    &IContact::get_CarTelephoneNumber,
    &IContact::get_AssistantName,
    &IContact::get_AssistantTelephoneNumber,
    &IContact::get_Children,
    &IContact::get_Categories,
    &IContact::get_WebPage,
    &IContact::get_Business2TelephoneNumber,
    &IContact::get_Title,
    &IContact::get_FirstName,
    &IContact::get_MiddleName,
    &IContact::get_LastName,
    &IContact::get_Suffix,
    &IContact::get_HomeAddressStreet,
    &IContact::get_HomeAddressCity,
    &IContact::get_HomeAddressState,
    &IContact::get_HomeAddressPostalCode,
    &IContact::get_HomeAddressCountry,
    &IContact::get_OtherAddressStreet,
    &IContact::get_OtherAddressCity,
    &IContact::get_OtherAddressState,
    &IContact::get_OtherAddressPostalCode,
    &IContact::get_OtherAddressCountry,
    &IContact::get_BusinessAddressStreet,
    &IContact::get_BusinessAddressCity,
    &IContact::get_BusinessAddressState,
    &IContact::get_BusinessAddressPostalCode,
    &IContact::get_BusinessAddressCountry,
    &IContact::get_RadioTelephoneNumber,
    &IContact::get_FileAs,
    &IContact::get_Body,
};

// ---- Appointments -----------------------------------------------------------------------------------

inline constexpr Getter<IAppointment> kAppointmentProperties[] = {
    &IAppointment::get_Subject,     &IAppointment::get_Location,   &IAppointment::get_Categories,
    &IAppointment::get_Start,       &IAppointment::get_Duration,   &IAppointment::get_End,
    &IAppointment::get_AllDayEvent, &IAppointment::get_BusyStatus, &IAppointment::get_Sensitivity,
    &IAppointment::get_Body,
};

// After its recurrence, for each of its recipients.
inline constexpr Getter<IRecipient> kRecipientProperties[] = {
    &IRecipient::get_Address,
    &IRecipient::get_Name,
};

// After its recipients, when a reminder is set.
inline constexpr Getter<IAppointment> kAppointmentReminder[] = {
    &IAppointment::get_ReminderMinutesBeforeStart,
    &IAppointment::get_ReminderOptions,
};

// ---- Tasks ------------------------------------------------------------------------------------------

inline constexpr Getter<ITask> kTaskProperties[] = {
    &ITask::get_Subject,    &ITask::get_Categories,  &ITask::get_StartDate, &ITask::get_DueDate,
    &ITask::get_Importance, &ITask::get_Sensitivity, &ITask::get_Body,
};

// Of a completed task.
inline constexpr Getter<ITask> kTaskCompletion[] = {
    &ITask::get_DateCompleted,
};

// After that, when a reminder is set; a task's recurrence comes last.
inline constexpr Getter<ITask> kTaskReminder[] = {
    &ITask::get_ReminderTime,
    &ITask::get_ReminderOptions,
};

// ---- Recurrence -------------------------------------------------------------------------------------

inline constexpr Getter<IRecurrencePattern> kPatternProperties[] = {
    &IRecurrencePattern::get_RecurrenceType, &IRecurrencePattern::get_PatternStartDate,
    &IRecurrencePattern::get_StartTime,      &IRecurrencePattern::get_EndTime,
    &IRecurrencePattern::get_PatternEndDate, &IRecurrencePattern::get_NoEndDate,
    &IRecurrencePattern::get_Occurrences,    &IRecurrencePattern::get_Interval,
    &IRecurrencePattern::get_DayOfWeekMask,  &IRecurrencePattern::get_DayOfMonth,
    &IRecurrencePattern::get_Instance,       &IRecurrencePattern::get_Duration,
    &IRecurrencePattern::get_MonthOfYear,
};

// After the pattern, for each of its exceptions.
inline constexpr Getter<IException> kExceptionProperties[] = {
    &IException::get_OriginalDate,
};

// The properties of the PIM's items in the order in which the platform declares them. Checksums are fed in
// this order, so it must not change: with another one every stored snapshot would differ.
#pragma once

#include "platform/api/pimstore.h"

struct ContactDate {
  HRESULT (IContact::*get)(DATE*);
};

struct ContactText {
  HRESULT (IContact::*get)(BSTR*);
};

struct PatternDate {
  HRESULT (IRecurrencePattern::*get)(DATE*);
};

struct PatternNumber {
  HRESULT (IRecurrencePattern::*get)(LONG*);
};

inline constexpr PatternDate kPatternDates[] = {
    {&IRecurrencePattern::get_PatternStartDate},
    {&IRecurrencePattern::get_StartTime},
    {&IRecurrencePattern::get_EndTime},
    {&IRecurrencePattern::get_PatternEndDate},
};

inline constexpr PatternNumber kPatternNumbers[] = {
    {&IRecurrencePattern::get_Occurrences},   {&IRecurrencePattern::get_Interval},
    {&IRecurrencePattern::get_DayOfWeekMask}, {&IRecurrencePattern::get_DayOfMonth},
    {&IRecurrencePattern::get_Instance},      {&IRecurrencePattern::get_Duration},
    {&IRecurrencePattern::get_MonthOfYear},
};

inline constexpr ContactDate kContactDates[] = {
    {&IContact::get_Birthday},
    {&IContact::get_Anniversary},
};

inline constexpr ContactText kContactTexts[] = {
    {&IContact::get_BusinessFaxNumber},
    {&IContact::get_CompanyName},
    {&IContact::get_Department},
    {&IContact::get_Email1Address},
    {&IContact::get_MobileTelephoneNumber},
    {&IContact::get_OfficeLocation},
    {&IContact::get_PagerNumber},
    {&IContact::get_BusinessTelephoneNumber},
    {&IContact::get_JobTitle},
    {&IContact::get_HomeTelephoneNumber},
    {&IContact::get_Email2Address},
    {&IContact::get_Spouse},
    {&IContact::get_Email3Address},
    {&IContact::get_Home2TelephoneNumber},
    {&IContact::get_HomeFaxNumber},
    {&IContact::get_CarTelephoneNumber},
    {&IContact::get_AssistantName},
    {&IContact::get_AssistantTelephoneNumber},
    {&IContact::get_Children},
    {&IContact::get_Categories},
    {&IContact::get_WebPage},
    {&IContact::get_Business2TelephoneNumber},
    {&IContact::get_Title},
    {&IContact::get_FirstName},
    {&IContact::get_MiddleName},
    {&IContact::get_LastName},
    {&IContact::get_Suffix},
    {&IContact::get_HomeAddressStreet},
    {&IContact::get_HomeAddressCity},
    {&IContact::get_HomeAddressState},
    {&IContact::get_HomeAddressPostalCode},
    {&IContact::get_HomeAddressCountry},
    {&IContact::get_OtherAddressStreet},
    {&IContact::get_OtherAddressCity},
    {&IContact::get_OtherAddressState},
    {&IContact::get_OtherAddressPostalCode},
    {&IContact::get_OtherAddressCountry},
    {&IContact::get_BusinessAddressStreet},
    {&IContact::get_BusinessAddressCity},
    {&IContact::get_BusinessAddressState},
    {&IContact::get_BusinessAddressPostalCode},
    {&IContact::get_BusinessAddressCountry},
    {&IContact::get_RadioTelephoneNumber},
    {&IContact::get_FileAs},
    {&IContact::get_Body},
};

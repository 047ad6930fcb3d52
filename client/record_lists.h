// The lists of values of contacts and of the calendar, each with its name, for whoever goes through all of them.
#pragma once

#include "osif.h"

namespace client {

template <typename Fields>
struct ListRow {
  const char* name;
  PropertyValue* Fields::*list;
};

inline constexpr ListRow<OsifContact> kContactLists[] = {
    {"n", &OsifContact::n},
    {"fn", &OsifContact::fn},
    {"nickname", &OsifContact::nickname},
    {"adr", &OsifContact::adr},
    {"org", &OsifContact::org},
    {"title", &OsifContact::title},
    {"role", &OsifContact::role},
    {"tel", &OsifContact::tel},
    {"url", &OsifContact::url},
    {"email", &OsifContact::email},
    {"note", &OsifContact::note},
    {"bday", &OsifContact::bday},
    {"xSpouse", &OsifContact::xSpouse},
    {"xAnniversary", &OsifContact::xAnniversary},
    {"xChildren", &OsifContact::xChildren},
    {"xAssistant", &OsifContact::xAssistant},
    {"xCat", &OsifContact::xCat},
    {"xMicrosoftOfficeloc", &OsifContact::xMicrosoftOfficeloc},
    {"dept", &OsifContact::dept},
    {"xMicrosoftAsstTel", &OsifContact::xMicrosoftAsstTel},
};

inline constexpr ListRow<OsifCalendar> kCalendarLists[] = {
    {"categories", &OsifCalendar::categories},
    {"completed", &OsifCalendar::completed},
    {"description", &OsifCalendar::description},
    {"due", &OsifCalendar::due},
    {"dtEnd", &OsifCalendar::dtEnd},
    {"priority", &OsifCalendar::priority},
    {"dtStart", &OsifCalendar::dtStart},
    {"status", &OsifCalendar::status},
    {"summary", &OsifCalendar::summary},
    {"class", &OsifCalendar::class_},
};

inline constexpr ListRow<OsifEventTail> kEventLists[] = {
    {"location", &OsifEventTail::location}, {"dAlarm", &OsifEventTail::dAlarm},
    {"aAlarm", &OsifEventTail::aAlarm},     {"rRule", &OsifEventTail::rRule},
    {"exDate", &OsifEventTail::exDate},     {"attendee", &OsifEventTail::attendee},
    {"attach", &OsifEventTail::attach},
};

inline constexpr ListRow<OsifTodoTail> kTodoLists[] = {
    {"dAlarm", &OsifTodoTail::dAlarm},     {"aAlarm", &OsifTodoTail::aAlarm},
    {"rRule", &OsifTodoTail::rRule},       {"exDate", &OsifTodoTail::exDate},
    {"attendee", &OsifTodoTail::attendee}, {"attach", &OsifTodoTail::attach},
};

}  // namespace client

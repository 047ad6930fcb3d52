// Components that go out in the version in which they came: every line is kept.
#pragma once

#include <string>

#include "dialects/calendar_frame.h"
#include "dialects/forms.h"

namespace dialects {

// The component in iCalendar 2.0, with UID and DTSTAMP where these are missing.
std::string CopiedModern(const Component& component, const ValueDecoder& decoder,
                         const WriterSettings& settings);

// One line of it.
std::string CopiedModernLine(const ContentLine& line, const ValueDecoder& decoder);

// The component in vCalendar 1.0. Lines without a value that the library writes for what is absent are left out.
std::string CopiedOld(const Component& component, const ValueDecoder& decoder,
                      const WriterSettings& settings);

}  // namespace dialects

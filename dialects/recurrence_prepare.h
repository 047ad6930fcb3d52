// Rules of recurrence brought to few shapes, for whoever looks at what they mean.
#pragma once

#include "dialects/recurrence.h"

namespace dialects {

// The same rule, in which nothing is left to the start, and that has the simplest unit that says it: a daily rule with
// weekdays is a weekly one.
RecurRule Prepared(const RecurRule& rule, const CivilTime& start);

// True for a prepared rule that occurs on days, at the time of the start.
bool IsForDays(const RecurRule& rule, const CivilTime& start);

// True when one of its weekdays is such as the second one.
bool HasPositions(const RecurRule& rule);

}  // namespace dialects

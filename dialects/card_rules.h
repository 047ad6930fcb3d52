// What the store of contacts holds of a card, and how everything else is brought to it.
#pragma once

#include <string>

#include "dialects/card.h"
#include "dialects/report.h"

namespace dialects {

// Brings a card of any version to what the store holds, property by property: afterwards each stands at most as often as
// the store has places for it, with the kinds by which the store finds the place. What has no place is dropped with a
// report, or goes into the note.
//
// Answers why nothing can be stored, in words; empty when all is well.
std::string BringToStore(Card& card, Report& report);

}  // namespace dialects

// The places that the store has for telephone numbers, and which number of a card goes into which.
#pragma once

#include <string>
#include <vector>

#include "dialects/card.h"
#include "dialects/report.h"

namespace dialects {

// Gives each number of a card the one kind that puts it into its place in the store, and puts the numbers into the
// order of the places. Those that find none are taken off the card and returned.
//
// The numbers are to be in the order of their preference.
std::vector<CardProperty> PlaceTelephones(Card& card, Report& report);

}  // namespace dialects

// A card as one version of vCard says it: with the properties that the version demands, and without what is said there
// in another way.
#pragma once

#include "dialects/card.h"
#include "dialects/forms.h"
#include "dialects/report.h"

namespace dialects {

// Takes out what the library writes beside a card's content: empty values, twins for old receivers, and the id that
// means something on its own device alone.
void RemoveLibraryExtras(Card& card);

// Brings a card to what `version` has: N and FN, the places of the office, of labels and of relations.
void BringToVersion(Card& card, CardVersion version, Report& report);

}  // namespace dialects

// Maps one contact between the object record (vCard properties) and the PIM's contact item.
//
// The two directions are no mirror images: several values of one property are folded onto the item's fixed
// places, first come first served, and some fields are only produced.
#pragma once

#include "btosif/osif_util/charset.h"
#include "osif.h"
#include "platform/api/pimstore.h"

// Fills an item from a record. A field that the record lacks leaves its place alone, save the five name
// parts and FileAs, which are always written. Throws std::bad_alloc when memory is short.
void pol_PutContact(OsifObject& object, IContact& contact);

// Fills a cleared record from an item. A property that cannot be read counts as empty.
void pol_GetContact(IContact& contact, OsifObject& object);

// The name to show: the formatted name; else given, middle and family name; else the organisation; else
// the first e-mail address or telephone number.
WideText pol_ContactName(OsifContact& contact);

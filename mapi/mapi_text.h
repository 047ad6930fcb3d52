// The header texts of a message record, which are in the system's code page.
#pragma once

#include "btosif/osif_util/charset.h"

// A subject or a sender as the messaging store gets it: without the blanks before it, and of at most 2048
// characters.
WideText mapi_HeaderText(const char* text);

// Reading a message of the messaging store into a record.
#pragma once

#include "osif.h"
#include "platform/api/cemapi.h"

// Fills a cleared record's subject, date, body, status, sender and recipients. The status is always "READ";
// of several recipients of one kind the last stays. OSIF_ERR_PIM when the message's properties cannot be had.
OsifResult mapi_GetMail(IMessage& message, OsifMessage& record);

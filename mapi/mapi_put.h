// Writing the fields of a message record into a message of the messaging store.
#pragma once

#include "osif.h"
#include "platform/api/cemapi.h"

// Fills the message with what the record has; fields without a text are left as they are, but a new message
// always gets its flags. Recipients are added to those that the message has. What cannot be set is traced.
// The caller saves the message.
void mapi_PutMail(const OsifMessage& record, IMessage& message, bool is_new);

// Traces a messaging call that failed: the object's own account of the error, or why there is none.
#pragma once

#include "platform/api/cemapi.h"

// A call of the session, which may be null.
void mapi_ReportSessionError(IMAPISession* session, const WCHAR* call, HRESULT code);

// A call of a table.
void mapi_ReportObjectError(IMAPITable& object, const WCHAR* call, HRESULT code);

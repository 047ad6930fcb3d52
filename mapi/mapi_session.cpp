#include "mapi/mapi_session.h"

#include "config/trace.h"

OsifResult MAPI_Init() { return OSIF_OK; }

OsifResult MAPI_DeInit() {
  OSIF_Trace(0, "MAPI:  MAPI_DeInit() called");
  return OSIF_OK;
}

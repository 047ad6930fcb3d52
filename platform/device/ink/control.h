// The windows of the embedded device: it has no screen, and one class of windows, the rich-ink
// control. The calls are those of platform/api/richink.h.
//
// Windows may be created, used and destroyed by any thread; one window by one thread at a time.
#pragma once

namespace device {

// Makes the class "RichInk" known, as InitRichInkDLL does, or takes it away, so that no window can
// be created until InitRichInkDLL is called again. Windows that exist go on working. Returns whether
// it was known, so that a test can put it back.
bool SetRichInkClass(bool is_known);

}  // namespace device

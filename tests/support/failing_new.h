// Memory shortage of the language's heap: a test program that links failing_new.cpp has each `new` of its
// thread counted, and can have one of them fail.
#pragma once

namespace support {

// The nth `new` from now on fails, once; 0 calls it off.
void FailNew(int nth);

// How many times this thread has called `new` so far.
int NewsMade();

}  // namespace support

// Provokes memory shortage and power cuts in tests.
#pragma once

// Makes the nth LocalAlloc from now on this thread return null (1 is the next one); the ones after
// it succeed again. 0 calls it off. Automation strings are allocated with LocalAlloc too.
void FailAllocation(int nth);

// True while that failure is still to come: nothing asked for memory often enough.
bool IsFailurePending();

// No file can be given another end until this is called off.
void FailSettingEnds(bool fails);

// The system seems to have been started just now, or again when it really was.
void PretendRestart();
void EndPretendedRestart();

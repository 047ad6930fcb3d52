// SQLite that fails when it is told to. All connections of the program go through it; while nothing is armed
// they notice nothing.
#pragma once

namespace holds {

// What goes wrong. Each kind counts those calls alone that it can happen to.
enum class Fault {
  kInputOutput,  // any call of the system layer, each with the code that is its own
  kFull,         // writing: the disk is full
  kLocked,       // locks, also those of the log's index: another program holds them
  kNoMemory,     // an allocation inside SQLite
};

// Whether calls succeed again after the one that failed.
enum class Duration { kOnce, kFromThenOn };

// The nth call from now on fails (1 is the next one). 0 lets all succeed and only counts. Nobody waits for a
// lock while something is armed.
void Arm(Fault fault, Duration duration, int nth);

// Calls it off. The number of calls since it was armed that it could have happened to.
int Disarm();

// Whether what was armed last has happened.
bool HasHappened();

}  // namespace holds

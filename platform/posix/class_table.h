// The classes that CoCreateInstance can create.
#pragma once

#include "platform/api/win_types.h"

// Creates an object and gives the interface that is asked for, with one reference.
using ClassFactory = HRESULT (*)(REFIID iid, void** object);

// Puts a factory in the place of a class's present one; null takes the class away. Returns the
// factory that was there, null when there was none, so that a test can put it back.
//
// From the start there is one class: the application object of the PIM store
// ({05058F23-20BE-11D2-8F18-0000F87A4335}).
ClassFactory SetClassFactory(REFCLSID class_id, ClassFactory factory);

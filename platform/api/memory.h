// The local heap.
#pragma once

#include "platform/api/win_types.h"

#ifndef _WIN32

using HLOCAL = void*;

inline constexpr UINT LMEM_FIXED = 0x0000;
inline constexpr UINT LMEM_ZEROINIT = 0x0040;
inline constexpr UINT LPTR = LMEM_FIXED | LMEM_ZEROINIT;

// A block of `bytes` bytes, aligned for any type; LPTR fills it with zeros. A size of 0 gives a
// block too. Null with ERROR_NOT_ENOUGH_MEMORY when memory is short. Release it with LocalFree.
HLOCAL LocalAlloc(UINT flags, SIZE_T bytes);

// Releases a block, ignores null. Always gives null.
HLOCAL LocalFree(HLOCAL block);

#endif

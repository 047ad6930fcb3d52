// The code pages and how each is converted.
#pragma once

#include <span>

#include "platform/api/win_types.h"

// An encoding that ICU's detector may find, by the detector's name, and the code page that reads
// it.
struct DetectedPage {
  const char* name;
  UINT code_page;
};

// One code page. Its texts are read by a converter, a national set or the page that a detector
// finds.
struct CodePage {
  UINT number;
  // ICU's converters to and from UTF-16, mostly the same one. Null for the national sets; no reader
  // for the detecting pages.
  const char* reader = nullptr;
  const char* writer = nullptr;
  // A 7-bit national set: the characters in the places of #$@[\]^`{|}~, in this order.
  const char16_t* national = nullptr;
  // What a detecting page looks for. The last one is taken when the detector finds none of them.
  std::span<const DetectedPage> detected = {};
  // Up to the first byte that is not below 128 (or is the escape), every byte of a text stands for
  // its ASCII character.
  bool extends_ascii = true;
  char escape = '\0';
  // The converter has the control characters 1A, 1C and 7F in one another's places, as on
  // mainframes.
  bool rotates_controls = false;
  // The converter does not return to ASCII at the end of a text, nor for an escape.
  bool leaves_shift = false;
  // It has no half-width katakana; they are written as the full-width ones.
  bool widens_katakana = false;
  // A currency sign that the converter would write as the backslash, in whose place old fonts show
  // it, and the full-width sign that is written instead.
  char16_t narrow_sign = 0;
  char16_t wide_sign = 0;
  // The converter would write symbols that it lacks as the control codes in whose places the
  // displays of old computers show them; what it lacks is written as "?" and nothing else.
  bool lacks_symbols = false;
};

// The places of ASCII that a national set may fill with characters of its own.
inline constexpr char kNationalPlaces[] = "#$@[\\]^`{|}~";

// Null for an unknown number.
const CodePage* FindCodePage(UINT number);

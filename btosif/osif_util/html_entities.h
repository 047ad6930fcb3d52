// The named character entities of HTML 4.01 (section 24), with two differences: "nbsp" is a plain blank, and
// cong, lowast, minus, radic, sum and uArr are not known.
#pragma once

#include <span>

#include "btosif/osif_util/charset.h"
#include "osif.h"

struct HtmlEntity {
  WideView name;  // case matters
  WCHAR character;
};

// All 246 rows, in the order of the standard.
std::span<const HtmlEntity> HtmlEntities();

// The row of a name; null when there is none.
const HtmlEntity* FindHtmlEntity(WideView name);

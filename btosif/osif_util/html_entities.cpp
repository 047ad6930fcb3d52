#include "btosif/osif_util/html_entities.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace {

constexpr HtmlEntity kEntities[] = {
    {u"quot", 0x0022},    {u"amp", 0x0026},     {u"lt", 0x003C},      {u"gt", 0x003E},
    {u"nbsp", 0x0020},    {u"iexcl", 0x00A1},   {u"cent", 0x00A2},    {u"pound", 0x00A3},
    {u"curren", 0x00A4},  {u"yen", 0x00A5},     {u"brvbar", 0x00A6},  {u"sect", 0x00A7},
    {u"uml", 0x00A8},     {u"copy", 0x00A9},    {u"ordf", 0x00AA},    {u"laquo", 0x00AB},
    {u"not", 0x00AC},     {u"shy", 0x00AD},     {u"reg", 0x00AE},     {u"macr", 0x00AF},
    {u"deg", 0x00B0},     {u"plusmn", 0x00B1},  {u"sup2", 0x00B2},    {u"sup3", 0x00B3},
    {u"acute", 0x00B4},   {u"micro", 0x00B5},   {u"para", 0x00B6},    {u"middot", 0x00B7},
    {u"cedil", 0x00B8},   {u"sup1", 0x00B9},    {u"ordm", 0x00BA},    {u"raquo", 0x00BB},
    {u"frac14", 0x00BC},  {u"frac12", 0x00BD},  {u"frac34", 0x00BE},  {u"iquest", 0x00BF},
    {u"Agrave", 0x00C0},  {u"Aacute", 0x00C1},  {u"Acirc", 0x00C2},   {u"Atilde", 0x00C3},
    {u"Auml", 0x00C4},    {u"Aring", 0x00C5},   {u"AElig", 0x00C6},   {u"Ccedil", 0x00C7},
    {u"Egrave", 0x00C8},  {u"Eacute", 0x00C9},  {u"Ecirc", 0x00CA},   {u"Euml", 0x00CB},
    {u"Igrave", 0x00CC},  {u"Iacute", 0x00CD},  {u"Icirc", 0x00CE},   {u"Iuml", 0x00CF},
    {u"ETH", 0x00D0},     {u"Ntilde", 0x00D1},  {u"Ograve", 0x00D2},  {u"Oacute", 0x00D3},
    {u"Ocirc", 0x00D4},   {u"Otilde", 0x00D5},  {u"Ouml", 0x00D6},    {u"times", 0x00D7},
    {u"Oslash", 0x00D8},  {u"Ugrave", 0x00D9},  {u"Uacute", 0x00DA},  {u"Ucirc", 0x00DB},
    {u"Uuml", 0x00DC},    {u"Yacute", 0x00DD},  {u"THORN", 0x00DE},   {u"szlig", 0x00DF},
    {u"agrave", 0x00E0},  {u"aacute", 0x00E1},  {u"acirc", 0x00E2},   {u"atilde", 0x00E3},
    {u"auml", 0x00E4},    {u"aring", 0x00E5},   {u"aelig", 0x00E6},   {u"ccedil", 0x00E7},
    {u"egrave", 0x00E8},  {u"eacute", 0x00E9},  {u"ecirc", 0x00EA},   {u"euml", 0x00EB},
    {u"igrave", 0x00EC},  {u"iacute", 0x00ED},  {u"icirc", 0x00EE},   {u"iuml", 0x00EF},
    {u"eth", 0x00F0},     {u"ntilde", 0x00F1},  {u"ograve", 0x00F2},  {u"oacute", 0x00F3},
    {u"ocirc", 0x00F4},   {u"otilde", 0x00F5},  {u"ouml", 0x00F6},    {u"divide", 0x00F7},
    {u"oslash", 0x00F8},  {u"ugrave", 0x00F9},  {u"uacute", 0x00FA},  {u"ucirc", 0x00FB},
    {u"uuml", 0x00FC},    {u"yacute", 0x00FD},  {u"thorn", 0x00FE},   {u"yuml", 0x00FF},
    {u"OElig", 0x0152},   {u"oelig", 0x0153},   {u"Scaron", 0x0160},  {u"scaron", 0x0161},
    {u"Yuml", 0x0178},    {u"fnof", 0x0192},    {u"Alpha", 0x0391},   {u"Beta", 0x0392},
    {u"Gamma", 0x0393},   {u"Delta", 0x0394},   {u"Epsilon", 0x0395}, {u"Zeta", 0x0396},
    {u"Eta", 0x0397},     {u"Theta", 0x0398},   {u"Iota", 0x0399},    {u"Kappa", 0x039A},
    {u"Lambda", 0x039B},  {u"Mu", 0x039C},      {u"Nu", 0x039D},      {u"Xi", 0x039E},
    {u"Omicron", 0x039F}, {u"Pi", 0x03A0},      {u"Rho", 0x03A1},     {u"Sigma", 0x03A3},
    {u"Tau", 0x03A4},     {u"Upsilon", 0x03A5}, {u"Phi", 0x03A6},     {u"Chi", 0x03A7},
    {u"Psi", 0x03A8},     {u"Omega", 0x03A9},   {u"alpha", 0x03B1},   {u"beta", 0x03B2},
    {u"gamma", 0x03B3},   {u"delta", 0x03B4},   {u"epsilon", 0x03B5}, {u"zeta", 0x03B6},
    {u"eta", 0x03B7},     {u"theta", 0x03B8},   {u"iota", 0x03B9},    {u"kappa", 0x03BA},
    {u"lambda", 0x03BB},  {u"mu", 0x03BC},      {u"nu", 0x03BD},      {u"xi", 0x03BE},
    {u"omicron", 0x03BF}, {u"pi", 0x03C0},      {u"rho", 0x03C1},     {u"sigmaf", 0x03C2},
    {u"sigma", 0x03C3},   {u"tau", 0x03C4},     {u"upsilon", 0x03C5}, {u"phi", 0x03C6},
    {u"chi", 0x03C7},     {u"psi", 0x03C8},     {u"omega", 0x03C9},   {u"thetasym", 0x03D1},
    {u"upsih", 0x03D2},   {u"piv", 0x03D6},     {u"bull", 0x2022},    {u"hellip", 0x2026},
    {u"prime", 0x2032},   {u"Prime", 0x2033},   {u"oline", 0x203E},   {u"frasl", 0x2044},
    {u"weierp", 0x2118},  {u"image", 0x2111},   {u"real", 0x211C},    {u"trade", 0x2122},
    {u"alefsym", 0x2135}, {u"larr", 0x2190},    {u"uarr", 0x2191},    {u"rarr", 0x2192},
    {u"darr", 0x2193},    {u"harr", 0x2194},    {u"crarr", 0x21B5},   {u"lArr", 0x21D0},
    {u"rArr", 0x21D2},    {u"dArr", 0x21D3},    {u"hArr", 0x21D4},    {u"forall", 0x2200},
    {u"part", 0x2202},    {u"exist", 0x2203},   {u"empty", 0x2205},   {u"nabla", 0x2207},
    {u"isin", 0x2208},    {u"notin", 0x2209},   {u"ni", 0x220B},      {u"prod", 0x220F},
    {u"prop", 0x221D},    {u"infin", 0x221E},   {u"ang", 0x2220},     {u"and", 0x2227},
    {u"or", 0x2228},      {u"cap", 0x2229},     {u"cup", 0x222A},     {u"int", 0x222B},
    {u"there4", 0x2234},  {u"sim", 0x223C},     {u"asymp", 0x2248},   {u"ne", 0x2260},
    {u"equiv", 0x2261},   {u"le", 0x2264},      {u"ge", 0x2265},      {u"sub", 0x2282},
    {u"sup", 0x2283},     {u"nsub", 0x2284},    {u"sube", 0x2286},    {u"supe", 0x2287},
    {u"oplus", 0x2295},   {u"otimes", 0x2297},  {u"perp", 0x22A5},    {u"sdot", 0x22C5},
    {u"lceil", 0x2308},   {u"rceil", 0x2309},   {u"lfloor", 0x230A},  {u"rfloor", 0x230B},
    {u"lang", 0x2329},    {u"rang", 0x232A},    {u"loz", 0x25CA},     {u"spades", 0x2660},
    {u"clubs", 0x2663},   {u"hearts", 0x2665},  {u"diams", 0x2666},   {u"circ", 0x02C6},
    {u"tilde", 0x02DC},   {u"ensp", 0x2002},    {u"emsp", 0x2003},    {u"thinsp", 0x2009},
    {u"zwnj", 0x200C},    {u"zwj", 0x200D},     {u"lrm", 0x200E},     {u"rlm", 0x200F},
    {u"ndash", 0x2013},   {u"mdash", 0x2014},   {u"lsquo", 0x2018},   {u"rsquo", 0x2019},
    {u"sbquo", 0x201A},   {u"ldquo", 0x201C},   {u"rdquo", 0x201D},   {u"bdquo", 0x201E},
    {u"dagger", 0x2020},  {u"Dagger", 0x2021},  {u"permil", 0x2030},  {u"lsaquo", 0x2039},
    {u"rsaquo", 0x203A},  {u"euro", 0x20AC},
};

static_assert(std::size(kEntities) == 246);

// The rows' numbers by name. No name occurs twice, so that any search finds what one from the top would.
constexpr std::array<uint8_t, std::size(kEntities)> RowsByName() {
  std::array<uint8_t, std::size(kEntities)> rows{};
  for (size_t i = 0; i < rows.size(); ++i) rows[i] = static_cast<uint8_t>(i);
  std::ranges::sort(rows, {}, [](uint8_t row) { return kEntities[row].name; });
  return rows;
}

constexpr auto kByName = RowsByName();

constexpr bool SameName(uint8_t a, uint8_t b) { return kEntities[a].name == kEntities[b].name; }

static_assert(std::ranges::adjacent_find(kByName, SameName) == kByName.end());

}  // namespace

std::span<const HtmlEntity> HtmlEntities() { return kEntities; }

const HtmlEntity* FindHtmlEntity(WideView name) {
  const auto* row =
      std::ranges::lower_bound(kByName, name, {}, [](uint8_t i) { return kEntities[i].name; });
  if (row == kByName.end() || kEntities[*row].name != name) return nullptr;
  return &kEntities[*row];
}

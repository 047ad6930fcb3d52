// A value that the library makes lies in a chunk of memory together with its nodes and texts, which saves most of
// the allocations of reading and releasing a record. AppendLine knows the texts beforehand and takes a chunk that
// fits them exactly; other values start with room for a few. What finds no room goes into further chunks, and all
// of them go with the value. Room is only taken, never given back: values are filled once and seldom changed.
//
// Callers of the C interface make values, nodes and texts as well, each a block of the C library's heap, and put
// them anywhere: what they replace or unlink is the value's all the same, and what they put there is released with
// it. So whatever is released is looked at first: a value is told by its address, a node or text by whether it lies
// in one of its value's chunks.
//
// When memory is short whatever is half made is released or left out, and each list ends where it ended
// before, so that a caller may go on with it and release it as always.
#include "btosif/osif_util/property_value.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <utility>

#include "btosif/osif_util/ascii.h"

namespace {

// The head of a chunk: what it holds follows.
struct Chunk {
  Chunk* next;  // of the first one the newest, of all others the one before it in time
  size_t size;  // in bytes, with this head
  size_t used;  // of them
};

// A value with what lies behind it.
struct FirstChunk {
  Chunk head;
  PropertyValue value;
};

// The heap gives addresses that are multiples of this. The head has another size, so that no value behind one has
// such an address, and a value that does was allocated by itself.
constexpr size_t kHeapAlignment = 2 * sizeof(void*);
static_assert(offsetof(FirstChunk, value) % kHeapAlignment != 0);

// Room for the nodes and texts that a value without any mostly gets.
constexpr size_t kUsualRoom = 200;

// Room of the chunks after the first, unless more is needed at once: each is twice the one before, up to this.
constexpr size_t kMostRoom = size_t{64} * 1024;

bool IsInChunk(const PropertyValue& value) {
  return reinterpret_cast<uintptr_t>(&value) % kHeapAlignment != 0;
}

// Of a value that is in one.
Chunk& FirstChunkOf(PropertyValue& value) {
  return *reinterpret_cast<Chunk*>(reinterpret_cast<char*>(&value) - offsetof(FirstChunk, value));
}

Chunk& NewestChunkOf(PropertyValue& value) {
  Chunk& first = FirstChunkOf(value);
  return first.next == nullptr ? first : *first.next;
}

bool LiesIn(const Chunk& chunk, const void* place) {
  const auto* begin = reinterpret_cast<const char*>(&chunk);
  const std::less<const char*> is_before;
  const auto* byte = static_cast<const char*>(place);
  return !is_before(byte, begin) && is_before(byte, begin + chunk.size);
}

// True for what the library made for the value. What was made last is mostly what is asked for.
bool LiesInChunks(PropertyValue& value, const void* place) {
  if (!IsInChunk(value)) return false;
  const Chunk& first = FirstChunkOf(value);
  if (LiesIn(first, place)) return true;
  for (const Chunk* chunk = first.next; chunk != nullptr; chunk = chunk->next) {
    if (LiesIn(*chunk, place)) return true;
  }
  return false;
}

// Makes a chunk with room for so many bytes the newest one. False when memory is short.
bool AddChunk(PropertyValue& value, size_t room) {
  room = std::max(room, std::min(2 * NewestChunkOf(value).size, kMostRoom));
  auto* chunk = static_cast<Chunk*>(OsifAllocRaw(sizeof(Chunk) + room));
  if (chunk == nullptr) return false;
  Chunk& first = FirstChunkOf(value);
  *chunk = {first.next, sizeof(Chunk) + room, sizeof(Chunk)};
  first.next = chunk;
  return true;
}

// Null when there is no room.
void* TakeRoom(Chunk& chunk, size_t size, size_t alignment) {
  const size_t begin = (chunk.used + alignment - 1) / alignment * alignment;
  if (begin > chunk.size || size > chunk.size - begin) return nullptr;
  chunk.used = begin + size;
  return reinterpret_cast<char*>(&chunk) + begin;
}

// Memory for a node or a text of a value, in its chunks or, for a caller's value, by itself; null when memory is
// short. For FreeInValue.
void* AllocateIn(PropertyValue& value, size_t size, size_t alignment) {
  if (!IsInChunk(value)) return OsifAllocRaw(size);
  if (void* memory = TakeRoom(NewestChunkOf(value), size, alignment)) return memory;
  if (!AddChunk(value, size)) return nullptr;
  return TakeRoom(NewestChunkOf(value), size, alignment);
}

// For what AllocateIn gave, and for nodes and texts that were allocated by themselves.
void FreeInValue(PropertyValue& value, void* memory) {
  if (!LiesInChunks(value, memory)) OsifFree(memory);
}

void FreeTexts(PropertyValue& value, OsifText* node) {
  while (node != nullptr) {
    OsifText* next = node->next;
    FreeInValue(value, node->text);
    FreeInValue(value, node);
    node = next;
  }
}

void FreeChunks(Chunk& first) {
  for (Chunk* chunk = &first; chunk != nullptr;) OsifFree(std::exchange(chunk, chunk->next));
}

void FreeValue(PropertyValue* value) {
  FreeTexts(*value, value->params);
  FreeTexts(*value, value->components);
  IsInChunk(*value) ? FreeChunks(FirstChunkOf(*value)) : OsifFree(value);
}

// A value without lists, with room behind it for so many bytes; none of them counts as used.
PropertyValue* NewValue(size_t room) {
  auto* chunk = static_cast<FirstChunk*>(OsifAllocRaw(sizeof(FirstChunk) + room));
  if (chunk == nullptr) return nullptr;
  *chunk = {{nullptr, sizeof(FirstChunk) + room, sizeof(FirstChunk)}, {}};
  return &chunk->value;
}

// `last` may be null or anywhere in the list: from there on the end is looked for.
void Link(PropertyValue* value, PropertyValue*& list, PropertyValue*& last) {
  PropertyValue** link = last != nullptr ? &last->next : &list;
  while (*link != nullptr) link = &(*link)->next;
  *link = value;
  last = value;
}

OsifText* NewTextNode(PropertyValue& value) {
  auto* node = static_cast<OsifText*>(AllocateIn(value, sizeof(OsifText), alignof(OsifText)));
  if (node != nullptr) *node = {nullptr, nullptr, 1};
  return node;
}

// Puts a text that lies in the value's chunks or by itself into a node, which is made when there is
// none. False when memory is short; the text is then released.
bool PutText(PropertyValue& value, OsifText*& node, char* text) {
  if (text == nullptr) return false;
  if (node == nullptr) node = NewTextNode(value);
  if (node == nullptr) {
    FreeInValue(value, text);
    return false;
  }
  FreeInValue(value, node->text);
  node->text = text;
  return true;
}

// The same with a copy of the text.
bool PutText(PropertyValue& value, OsifText*& node, std::string_view text) {
  auto* copy = static_cast<char*>(AllocateIn(value, text.size() + 1, 1));
  if (copy != nullptr) copy[text.copy(copy, text.size())] = '\0';
  return PutText(value, node, copy);
}

// The length of the piece at the start of the text: up to the first ";" that no backslash protects.
size_t PieceLength(std::string_view text) {
  const size_t separator = text.find(';');
  if (separator == std::string_view::npos) return text.size();
  if (text.substr(0, separator).find('\\') == std::string_view::npos) return separator;
  size_t i = 0;
  while (i < text.size() && text[i] != ';') {
    i += text[i] == '\\' && i + 1 < text.size() ? 2 : 1;
  }
  return i;
}

// Hands each piece to `take` until it returns false; n separators give n + 1 pieces.
template <typename Take>
void SplitPieces(std::string_view text, Take take) {
  for (;;) {
    const size_t length = PieceLength(text);
    if (!take(text.substr(0, length)) || length == text.size()) return;
    text.remove_prefix(length + 1);
  }
}

// The words that stand for flags, wherever in a parameter they are.
struct FlagWord {
  std::string_view word;
  uint32_t flag;
};

constexpr FlagWord kFlagWords[] = {{"QUOTED-PRINTABLE", OSIF_VALUE_QUOTED_PRINTABLE},
                                   {"BASE64", OSIF_VALUE_BASE64},
                                   {"8BIT", OSIF_VALUE_8BIT},
                                   {"CHARSET", OSIF_VALUE_CHARSET}};

// The row whose word begins with a byte: every byte of every parameter is looked up here.
constexpr std::array<const FlagWord*, 256> FlagWordsByByte() {
  std::array<const FlagWord*, 256> row_of = {};
  for (size_t byte = 0; byte < row_of.size(); ++byte) {
    const auto* row = std::ranges::find(kFlagWords, AsciiUpper(static_cast<char>(byte)),
                                        [](const FlagWord& word) { return word.word.front(); });
    if (row != std::end(kFlagWords)) row_of[byte] = row;
  }
  return row_of;
}

constexpr auto kFlagWordOf = FlagWordsByByte();

// The flags that one parameter asks for, found in one pass.
uint32_t FlagsOf(std::string_view param) {
  uint32_t flags = 0;
  for (size_t i = 0; i < param.size(); ++i) {
    const FlagWord* row = kFlagWordOf[static_cast<uint8_t>(param[i])];
    if (row != nullptr && StartsIgnoringCase(param.substr(i), row->word)) flags |= row->flag;
  }
  return flags;
}

// A value has one encoding at most: of several the first of these three.
uint32_t WithOneEncoding(uint32_t flags) {
  if ((flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0) flags &= ~(OSIF_VALUE_BASE64 | OSIF_VALUE_8BIT);
  if ((flags & OSIF_VALUE_BASE64) != 0) flags &= ~uint32_t{OSIF_VALUE_8BIT};
  return flags;
}

// Hands each parameter to `take` until it returns false; returns the flags of those that were taken.
template <typename Take>
uint32_t SplitParams(std::string_view param_text, Take take) {
  uint32_t flags = 0;
  if (param_text.empty()) return flags;
  SplitPieces(param_text, [&](std::string_view piece) {
    if (piece.empty()) return true;
    if (!take(piece)) return false;
    flags |= FlagsOf(piece);
    return true;
  });
  return WithOneEncoding(flags);
}

// The most pieces that a text has.
size_t MostPieces(std::string_view text) {
  return static_cast<size_t>(std::ranges::count(text, ';')) + 1;
}

// Where the node at a position is linked, or will be; null without a value and when memory is short for those
// before it.
OsifText** NodeAt(PropertyValue* value, size_t index) {
  if (value == nullptr) return nullptr;
  OsifText** link = &value->components;
  for (; index > 0; --index, link = &(*link)->next) {
    if (*link == nullptr) *link = NewTextNode(*value);
    if (*link == nullptr) return nullptr;
  }
  return link;
}

OsifText** EndOf(OsifText*& list) {
  OsifText** link = &list;
  while (*link != nullptr) link = &(*link)->next;
  return link;
}

// Makes nodes and texts in the room behind a new value, for so many nodes at most.
class NodesBehind {
 public:
  NodesBehind(PropertyValue* value, size_t most)
      : node_(reinterpret_cast<OsifText*>(value + 1)),
        text_(reinterpret_cast<char*>(node_ + most)) {}

  // `bytes`: of all the texts together, without their terminators.
  static size_t Room(size_t most, size_t bytes) { return most * (sizeof(OsifText) + 1) + bytes; }

  OsifText* Make(std::string_view text) {
    *node_ = {nullptr, text_, 1};
    text_ += text.copy(text_, text.size());
    *text_++ = '\0';
    return node_++;
  }

 private:
  OsifText* node_;
  char* text_;
};

}  // namespace

PropertyValue* PropertyValue_Append(PropertyValue*& list) {
  PropertyValue* last = nullptr;
  return PropertyValue_Append(list, last);
}

PropertyValue* PropertyValue_Append(PropertyValue*& list, PropertyValue*& last) {
  PropertyValue* value = NewValue(kUsualRoom);
  if (value != nullptr) Link(value, list, last);
  return value;
}

void PropertyValue_AppendLine(std::string_view value_text, std::string_view param_text,
                              size_t components, PropertyValue*& list, PropertyValue*& last) {
  if (components > 1) components = std::min(components, MostPieces(value_text));
  const size_t nodes = components + (param_text.empty() ? 0 : MostPieces(param_text));
  PropertyValue* value = NewValue(NodesBehind::Room(nodes, value_text.size() + param_text.size()));
  if (value == nullptr) return;
  FirstChunkOf(*value).used = FirstChunkOf(*value).size;
  NodesBehind behind(value, nodes);
  OsifText** link = &value->params;
  const auto append = [&](std::string_view piece) {
    *link = behind.Make(piece);
    link = &(*link)->next;
    return true;
  };
  value->flags = SplitParams(param_text, append);
  link = &value->components;
  SplitPieces(value_text,
              [&](std::string_view piece) { return components-- > 0 && append(piece); });
  Link(value, list, last);
}

bool PropertyValue_SetComponent(PropertyValue* value, OwnedText text, size_t index) {
  if (text == nullptr) return false;
  OsifText** node = NodeAt(value, index);
  return node != nullptr && PutText(*value, *node, text.release());
}

bool PropertyValue_SetComponent(PropertyValue* value, std::string_view text, size_t index) {
  OsifText** node = NodeAt(value, index);
  return node != nullptr && PutText(*value, *node, text);
}

bool PropertyValue_AddParam(PropertyValue* value, OwnedText text) {
  return value != nullptr && PutText(*value, *EndOf(value->params), text.release());
}

bool PropertyValue_AddParam(PropertyValue* value, std::string_view text) {
  return value != nullptr && PutText(*value, *EndOf(value->params), text);
}

bool PropertyValue_Reserve(PropertyValue& value, size_t bytes) {
  if (!IsInChunk(value)) return true;
  const Chunk& newest = NewestChunkOf(value);
  return newest.size - newest.used >= bytes || AddChunk(value, bytes);
}

const OsifText* PropertyValue_FindParam(const OsifText* params, std::string_view word) {
  for (const OsifText& param : Texts(params)) {
    if (param.text != nullptr && ContainsIgnoringCase(param.text, word)) return &param;
  }
  return nullptr;
}

void PropertyValue_Parse(std::string_view value_text, std::string_view param_text,
                         size_t components, PropertyValue& value) {
  FreeTexts(value, std::exchange(value.params, nullptr));
  OsifText** link = &value.params;
  const auto put = [&](std::string_view piece) {
    if (!PutText(value, *link, piece)) return false;
    link = &(*link)->next;
    return true;
  };
  value.flags = SplitParams(param_text, put);
  value.codePage = 0;
  link = &value.components;
  SplitPieces(value_text, [&](std::string_view piece) { return components-- > 0 && put(piece); });
}

void PropertyValue_Free(PropertyValue* list) {
  while (list != nullptr) {
    PropertyValue* next = list->next;
    FreeValue(list);
    list = next;
  }
}

std::string_view ComponentText(const PropertyValue* value, size_t index) {
  if (value == nullptr) return {};
  const OsifText* node = value->components;
  while (node != nullptr && index-- > 0) node = node->next;
  return node == nullptr || node->text == nullptr ? std::string_view() : node->text;
}

bool HasAnyText(const PropertyValue* value) {
  if (value == nullptr) return false;
  for (const OsifText& component : Texts(value->components)) {
    if (component.text != nullptr && component.text[0] != '\0') return true;
  }
  return false;
}

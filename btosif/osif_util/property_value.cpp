#include "btosif/osif_util/property_value.h"

#include <utility>

#include "btosif/osif_util/ascii.h"

namespace {

template <typename Node>
Node* NewNode() {
  return static_cast<Node*>(OsifAlloc(sizeof(Node)));
}

OsifText* NewTextNode() {
  auto* node = NewNode<OsifText>();
  if (node != nullptr) node->used = 1;
  return node;
}

void FreeTexts(OsifText* node) {
  while (node != nullptr) {
    OsifText* next = node->next;
    OsifFree(node->text);
    OsifFree(node);
    node = next;
  }
}

// The length of the piece at the start of the text: up to the first ";" that no backslash protects.
size_t PieceLength(std::string_view text) {
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

uint32_t EncodingFlag(const OsifText* params) {
  if (PropertyValue_FindParam(params, "QUOTED-PRINTABLE") != nullptr) {
    return OSIF_VALUE_QUOTED_PRINTABLE;
  }
  if (PropertyValue_FindParam(params, "BASE64") != nullptr) return OSIF_VALUE_BASE64;
  if (PropertyValue_FindParam(params, "8BIT") != nullptr) return OSIF_VALUE_8BIT;
  return 0;
}

uint32_t CharsetFlag(const OsifText* params) {
  return PropertyValue_FindParam(params, "CHARSET") != nullptr ? OSIF_VALUE_CHARSET : 0;
}

}  // namespace

PropertyValue* PropertyValue_Append(PropertyValue*& list) {
  PropertyValue* last = nullptr;
  return PropertyValue_Append(list, last);
}

PropertyValue* PropertyValue_Append(PropertyValue*& list, PropertyValue*& last) {
  auto* value = NewNode<PropertyValue>();
  if (value == nullptr) return nullptr;
  PropertyValue** link = last != nullptr ? &last->next : &list;
  while (*link != nullptr) link = &(*link)->next;
  *link = value;
  last = value;
  return value;
}

void PropertyValue_SetComponent(PropertyValue* value, OwnedText text, size_t index) {
  if (value == nullptr || text == nullptr) return;
  OsifText** link = &value->components;
  for (size_t position = 0;; ++position, link = &(*link)->next) {
    if (*link == nullptr) *link = NewTextNode();
    if (*link == nullptr) return;
    if (position == index) break;
  }
  OsifFree((*link)->text);
  (*link)->text = text.release();
}

void PropertyValue_AddParam(PropertyValue* value, OwnedText text) {
  if (value == nullptr || text == nullptr) return;
  OsifText** link = &value->params;
  while (*link != nullptr) link = &(*link)->next;
  *link = NewTextNode();
  if (*link != nullptr) (*link)->text = text.release();
}

void PropertyValue_AddParam(PropertyValue* value, std::string_view text) {
  PropertyValue_AddParam(value, CopyText(text));
}

const OsifText* PropertyValue_FindParam(const OsifText* params, std::string_view word) {
  for (const OsifText& param : Texts(params)) {
    if (param.text != nullptr && ContainsIgnoringCase(param.text, word)) return &param;
  }
  return nullptr;
}

void PropertyValue_Parse(std::string_view value_text, std::string_view param_text,
                         size_t components, PropertyValue& value) {
  FreeTexts(std::exchange(value.params, nullptr));
  OsifText** link = &value.params;
  SplitPieces(param_text, [&link](std::string_view piece) {
    if (piece.empty()) return true;
    OwnedText text = CopyText(piece);
    OsifText* node = text == nullptr ? nullptr : NewTextNode();
    if (node == nullptr) return false;
    node->text = text.release();
    *link = node;
    link = &node->next;
    return true;
  });
  value.flags = EncodingFlag(value.params) | CharsetFlag(value.params);
  value.codePage = 0;

  size_t index = 0;
  SplitPieces(value_text, [&value, &index, components](std::string_view piece) {
    if (index == components) return false;
    PropertyValue_SetComponent(&value, CopyText(piece), index++);
    return true;
  });
}

void PropertyValue_Free(PropertyValue* list) {
  while (list != nullptr) {
    PropertyValue* next = list->next;
    FreeTexts(list->params);
    FreeTexts(list->components);
    OsifFree(list);
    list = next;
  }
}

std::string_view ComponentText(const PropertyValue* value, size_t index) {
  if (value == nullptr) return {};
  const OsifText* node = value->components;
  while (node != nullptr && index-- > 0) node = node->next;
  return node == nullptr || node->text == nullptr ? std::string_view() : node->text;
}

bool HasText(const PropertyValue* value) {
  if (value == nullptr) return false;
  for (const OsifText& component : Texts(value->components)) {
    if (component.text != nullptr && component.text[0] != '\0') return true;
  }
  return false;
}

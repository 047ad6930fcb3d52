// Lists of property values: filling, searching and releasing them (vCard 2.1, section 2.1; vCalendar 1.0,
// section 2.1). Texts are kept raw: encoded as received, with the escapes "\;" and "\\" left in.
//
// A record owns its lists. Values, nodes and texts may also be a caller's, each allocated by itself. When memory is
// short a value, node or text is simply not added and the list stays well formed.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "btosif/osif_util/owned_text.h"
#include "osif.h"

// Links a new, zero-filled value at the end of the list and returns it; null when memory is short.
PropertyValue* PropertyValue_Append(PropertyValue*& list);

// The same with a remembered last value (null at first), so that long lists grow in linear time. The
// caller clears `last` whenever the list is released.
PropertyValue* PropertyValue_Append(PropertyValue*& list, PropertyValue*& last);

// Puts a text, or a copy of it, at a position, making the positions before it, and releases a text already
// there. A null value or text does nothing. False when nothing was put.
bool PropertyValue_SetComponent(PropertyValue* value, OwnedText text, size_t index);
bool PropertyValue_SetComponent(PropertyValue* value, std::string_view text, size_t index);

// Appends one parameter node: the text itself, or a copy of it. False when nothing was appended.
bool PropertyValue_AddParam(PropertyValue* value, OwnedText text);
bool PropertyValue_AddParam(PropertyValue* value, std::string_view text);

// Takes the memory for nodes and texts of so many bytes together, kPropertyNodeRoom for a node and one more for each
// text's end, so that putting copies of them next cannot fail. False when memory is short. (It does nothing for a
// caller's value, whose nodes and texts are allocated one by one.)
bool PropertyValue_Reserve(PropertyValue& value, size_t bytes);
inline constexpr size_t kPropertyNodeRoom = sizeof(OsifText) + alignof(OsifText);

// The first parameter whose text contains the word, which is given in upper case, anywhere and in any
// case; null when none does.
const OsifText* PropertyValue_FindParam(const OsifText* params, std::string_view word);

// Fills a value from the two texts of a property line: splits the parameters and the value at each ";"
// that no backslash protects, sets the flags, and keeps at most `components` pieces of the value. A value
// that was filled before gets the new parameters, and keeps components that the new text does not have.
void PropertyValue_Parse(std::string_view value_text, std::string_view param_text,
                         size_t components, PropertyValue& value);

// Links a new value, filled from the two texts of a property line in the same way, at the end of the list;
// `components` is at least 1. `last` as above. When memory is short there is no new value.
void PropertyValue_AppendLine(std::string_view value_text, std::string_view param_text,
                              size_t components, PropertyValue*& list, PropertyValue*& last);

// Releases a whole list: values, nodes and texts. Null is ignored.
void PropertyValue_Free(PropertyValue* list);

// The raw text of a component; empty when the value or the component has none. Valid as long as the value.
std::string_view ComponentText(const PropertyValue* value, size_t index);

// True when any component of the value has a text that is not empty.
bool HasAnyText(const PropertyValue* value);

// The values of a list, for range loops.
class Values {
 public:
  class Iterator {
   public:
    explicit Iterator(PropertyValue* value) : value_(value) {}
    PropertyValue& operator*() const { return *value_; }
    Iterator& operator++() {
      value_ = value_->next;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return value_ != other.value_; }

   private:
    PropertyValue* value_;
  };

  explicit Values(PropertyValue* list) : list_(list) {}
  Iterator begin() const { return Iterator(list_); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  PropertyValue* list_;
};

// The nodes of a parameter or component list, for range loops.
class Texts {
 public:
  class Iterator {
   public:
    explicit Iterator(const OsifText* node) : node_(node) {}
    const OsifText& operator*() const { return *node_; }
    Iterator& operator++() {
      node_ = node_->next;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return node_ != other.node_; }

   private:
    const OsifText* node_;
  };

  explicit Texts(const OsifText* nodes) : nodes_(nodes) {}
  Iterator begin() const { return Iterator(nodes_); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  const OsifText* nodes_;
};

struct PropertyValueDeleter {
  void operator()(PropertyValue* list) const { PropertyValue_Free(list); }
};

// A list that is not yet, or no longer, part of a record.
using ValueList = std::unique_ptr<PropertyValue, PropertyValueDeleter>;

// Property values for the tests: what a value holds, and values made by hand.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_util/property_value.h"

namespace support {

// The texts of a node list; "<null>" stands for a node without a text.
inline std::vector<std::string> TextsOf(const OsifText* nodes) {
  std::vector<std::string> texts;
  for (const OsifText& node : Texts(nodes)) texts.emplace_back(node.text ? node.text : "<null>");
  return texts;
}

inline std::vector<std::string> ParamsOf(const PropertyValue& value) {
  return TextsOf(value.params);
}
inline std::vector<std::string> ComponentsOf(const PropertyValue& value) {
  return TextsOf(value.components);
}

// A value with these parameters and components, its flags as told.
inline ValueList MakeValue(std::initializer_list<std::string_view> params,
                           std::initializer_list<std::string_view> components, uint32_t flags = 0) {
  PropertyValue* list = nullptr;
  PropertyValue* value = PropertyValue_Append(list);
  for (std::string_view param : params) PropertyValue_AddParam(value, param);
  size_t index = 0;
  for (std::string_view component : components) {
    PropertyValue_SetComponent(value, CopyText(component), index++);
  }
  value->flags = flags;
  return ValueList(list);
}

// The value that a property line with these two texts gives.
inline ValueList Parsed(std::string_view value_text, std::string_view param_text,
                        size_t components = 1) {
  PropertyValue* list = nullptr;
  PropertyValue_Parse(value_text, param_text, components, *PropertyValue_Append(list));
  return ValueList(list);
}

}  // namespace support

// What a row of a list of properties (contact_properties.inc, appointment_properties.inc, task_properties.inc)
// becomes in the class of the item: the get_... and put_... of the property, as far as they do nothing but hand
// its value on. The row's access tells how far:
//
//   Plain    both
//   Day      both; a date loses its time of day when it is put
//   OwnPut   getting alone; putting has a rule of its own, which the class has, or is not possible
//   Own      neither; the class has both
//
// Numbers have no plain put: which of them are allowed differs from property to property.
//
// Functions of such names cannot come from a template, so these are macros. They are used within a class that
// derives from PimItem and calls its enumeration of properties Property.
#pragma once

#define PIM_GET_Text(name) \
  HRESULT get_##name(BSTR* value) override { return GetText(Property::k##name, value); }
#define PIM_GET_Categories(name) PIM_GET_Text(name)
#define PIM_GET_Date(name) \
  HRESULT get_##name(DATE* value) override { return GetDate(Property::k##name, value); }
#define PIM_GET_Number(name) \
  HRESULT get_##name(LONG* value) override { return GetNumber(Property::k##name, value); }
#define PIM_GET_Flag(name) \
  HRESULT get_##name(VARIANT_BOOL* value) override { return GetFlag(Property::k##name, value); }

#define PIM_PUT_Text(name) \
  HRESULT put_##name(BSTR value) override { return PutText(Property::k##name, value); }
#define PIM_PUT_Categories(name) PIM_PUT_Text(name)
#define PIM_PUT_Date(name) \
  HRESULT put_##name(DATE value) override { return PutDate(Property::k##name, value); }
#define PIM_PUT_Day(name) \
  HRESULT put_##name(DATE value) override { return PutDay(Property::k##name, value); }
#define PIM_PUT_Flag(name) \
  HRESULT put_##name(VARIANT_BOOL value) override { return PutFlag(Property::k##name, value); }

#define PIM_ACCESS_Plain(name, kind) PIM_GET_##kind(name) PIM_PUT_##kind(name)
#define PIM_ACCESS_Day(name, kind) PIM_GET_Date(name) PIM_PUT_Day(name)
#define PIM_ACCESS_OwnPut(name, kind) PIM_GET_##kind(name)
#define PIM_ACCESS_Own(name, kind)

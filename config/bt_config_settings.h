// The settings of the whole wireless stack, which its components share. This library acts on three
// of them: doNotSendMsftProperties and the two character sets.
//
//   BtConfigSettings settings;
//   if (settings.read() == 0 && settings.doNotSendMsftProperties == 1) ...
#pragma once

#include <cstdint>

#include "config/registry_record.h"

// HKEY_LOCAL_MACHINE\Software\Corvane\BTConfig\General. The order of the fields is fixed; each
// stands in the registry under its own name, capitalised ("usePocketPcName": "UsePocketPCName").
class BtConfigSettings : public RegistryKeyRecord {
 public:
  uint32_t minorClass = 4;
  char deviceName[248] = {};     // UTF-8
  uint32_t usePocketPcName = 1;  // non-zero: deviceName is the handheld's own name, if it has one
  uint32_t securityType = 2;
  uint32_t maxSimultConnections = 1;
  uint32_t countryCode = 0;
  uint32_t dontShowAdvanced = 0;
  uint32_t forceDevClassMajor = 0;
  uint32_t forceDevClassMinor = 0;
  char unnamedDeviceName[50] = "<No Name>";  // UTF-8
  uint32_t noSleepingWhileConnected = 0;
  WCHAR defaultStatusDll[260] = {};
  WCHAR defaultPropertiesDll[260] = {};
  // Names of character sets, "NATIVE" or empty; in the system's code page.
  char defaultInputCharset[260] = {};
  char defaultOutputCharset[260] = {};
  uint32_t doNotSendMsftProperties = 0;  // 1: leave out what only the vendor's own PIM understands

  // The defaults.
  BtConfigSettings();
  BtConfigSettings(const BtConfigSettings& other) = default;

  // Values that are missing or longer than their field leave it as it is, except that deviceName is
  // empty then. Stored types are not checked. Returns what the last query,
  // "DoNotSendMsftProperties", gave.
  LONG readValues(HKEY key) override;

  // Leaves out what is set by hand or by other tools: dontShowAdvanced, the forced device classes,
  // the character sets and doNotSendMsftProperties. Returns the first error; the other values are
  // written all the same.
  LONG writeValues(HKEY key) override;

  // Whether the settings are the same; the place in the registry, dontShowAdvanced and the names of
  // the two DLLs play no part.
  bool operator==(const BtConfigSettings& other) const;
  bool operator!=(const BtConfigSettings& other) const;
  using RegistryKeyRecord::operator==;
  using RegistryKeyRecord::operator!=;

  // The other record's place and its settings, except dontShowAdvanced.
  BtConfigSettings& operator=(const BtConfigSettings& other);
  using RegistryKeyRecord::operator=;

  // All settings except dontShowAdvanced; nothing from a record of another kind.
  void copyValues(const RegistryKeyRecord& other) override;
};

// Whether a contact that is sent has the properties that only the vendor's own PIM understands: unless
// "DoNotSendMsftProperties" is there and not 0. Asks the registry for that one value at each call, so that a
// change counts from the next contact on.
bool SendsVendorProperties();

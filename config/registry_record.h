// A record of settings that lives under one key of the registry.
#pragma once

#include "platform/api/registry.h"

// Knows where its key is: rootKey\keyPath\subkeyName. What stands under the key is its derived
// classes' business (readValues, writeValues). Texts are zero-terminated; none is longer than its
// field.
//
// The order of the fields and of the virtual functions is fixed.
class RegistryKeyRecord {
 public:
  WCHAR keyPath[260] = {};     // below the root key
  WCHAR subkeyName[260] = {};  // below the path; empty: write() chooses a numbered one
  HKEY rootKey = HKEY_LOCAL_MACHINE;

  RegistryKeyRecord() = default;
  RegistryKeyRecord(const RegistryKeyRecord& other) = default;

  // Reads the values. Returns the registry's error number of opening the key, 0 for success;
  // without the key every field stays as it is.
  virtual LONG read();

  // Writes the values under another subkey of the path, which is made when it is missing. Returns
  // the registry's error number. `name` may be the record's own.
  virtual LONG writeTo(const WCHAR* name);

  // Writes the values under the record's own subkey. With an empty subkeyName it first takes the
  // first of "0001" to "0031" that is not there yet, or stays empty when all are.
  virtual LONG write();

  // Read and write the values of an open key; both return the registry's error number.
  virtual LONG readValues(HKEY key);
  virtual LONG writeValues(HKEY key);

  virtual void setRootKey(HKEY key);

  // Whether the other record lives at the same place, and moving to the other's place. Values play
  // no part in either.
  virtual bool equals(const RegistryKeyRecord& other) const;
  virtual void assign(const RegistryKeyRecord& other);
  virtual bool operator!=(const RegistryKeyRecord& other) const;
  virtual bool operator==(const RegistryKeyRecord& other) const;
  virtual RegistryKeyRecord& operator=(const RegistryKeyRecord& other);

  // Takes over the other record's values, if it is of the same kind.
  virtual void copyValues(const RegistryKeyRecord& other);

 protected:
  ~RegistryKeyRecord() = default;

 private:
  void ChooseSubkey();
};

// The store's key-value switches: boot phase, notification, and free keys.
#pragma once

#include <corvconfigstore/Export.h>

#include <string>
#include <utility>
#include <vector>

namespace CorvConfigStore {

// True exactly when "IS_BOOT" holds "true". Throws ConfigStoreException 2000
// "Failed to read value from database." when it cannot be read.
CORV_EXPORT bool IsBoot();

// True exactly when "NOTIFY_NEXD" holds "true"; a failed read is false.
CORV_EXPORT bool IsNexdNotificationEnabled();

// Writes a key on a connection of its own. Throws 1002 when the store
// cannot be opened, 2000 "Failed to write KV table for key: <key>" when the
// write fails.
CORV_EXPORT void SetKeyValue(const std::string& key, const std::string& value);

// Reads a key (empty text when absent). Throws 1002 when the store cannot
// be opened, 2000 "Failed to read KV table for key: <key>" when the read
// fails.
CORV_EXPORT std::string GetKeyValue(const std::string& key);

// Every entry of the table as (key, value), ordered by key. Throws 1002
// when the store cannot be opened, 2000 "Failed to list KV table" when the
// read fails.
CORV_EXPORT std::vector<std::pair<std::string, std::string>> ListKeyValues();

}  // namespace CorvConfigStore

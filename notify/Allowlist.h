// The notification allowlist: the file naming the configurations whose
// changes are announced to the host daemon, and its process-wide copy.
#pragma once

#include <string>
#include <unordered_set>

namespace CorvConfigStore {

// Full configuration names ("component.group.key") and group wildcards
// ("component.group.*").
using NotifyAllowlist = std::unordered_set<std::string>;

// Where the allowlist lives when CORV_NOTIFY_ALLOWLIST does not say.
extern const char* const kDefaultNotifyAllowlistPath;

// CORV_NOTIFY_ALLOWLIST when set and not empty, else the default path.
std::string NotifyAllowlistPath();

// Reads the allowlist file: a JSON array of strings. Throws
// ConfigStoreException 2000 "Notification allowlist <path> missing." when
// the file does not exist, 1081 when it is not JSON, and 1082 when the root
// is not an array or an element is not a string.
NotifyAllowlist ReadNotifyAllowlist();

// The process-wide allowlist, read on first use. A failed read leaves it
// unread, so the next call tries again; after the first success the same
// set is returned for the life of the process and the file is not read
// again. Safe to call from several threads.
const NotifyAllowlist& GetNotifyAllowlist();

// The process-wide allowlist when it has been read, else null; never reads
// the file.
const NotifyAllowlist* LoadedNotifyAllowlist();

// Forgets the process-wide allowlist so that the next GetNotifyAllowlist
// reads the file again. For tests only: a reference returned earlier
// dangles afterwards, and nothing may call GetNotifyAllowlist meanwhile.
void ResetNotifyAllowlistForTesting();

}  // namespace CorvConfigStore

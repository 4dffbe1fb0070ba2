// Announcing changes of allowlisted configurations to the host management
// daemon: one HTTP POST with a JSON-RPC body on its Unix-domain socket.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include <string>

#include "notify/Allowlist.h"

namespace CorvConfigStore {

// The daemon's socket, relative to the working directory.
extern const char* const kNexdNotifyEndpoint;

// "component.group.key"; the instance id plays no part.
std::string NotificationName(const ConfigStoreObjectId& id);
// "component.group.*".
std::string NotificationGroupWildcard(const ConfigStoreObjectId& id);

// True when the allowlist holds the identity's full name or its group
// wildcard.
bool IsAllowlisted(const NotifyAllowlist& allowlist, const ConfigStoreObjectId& id);

// The JSON-RPC body naming one configuration. The name is inserted without
// JSON escaping: configuration names never need any.
std::string BuildNotificationBody(const std::string& name, long processId);

// The HTTP request carrying body: request line, Content-Length and
// Content-Type, blank line, body.
std::string BuildNotificationRequest(const std::string& body);

// Tells the daemon about a change to the configuration when "NOTIFY_NEXD"
// is on and the allowlist names it. Best effort: an unreadable allowlist is
// logged at priority 1, a failure to deliver at priority 2, and neither
// reaches the caller.
void NotifyIfAllowlisted(const ConfigStoreObjectId& id);

// NotifyIfAllowlisted without the "NOTIFY_NEXD" test: everything that
// follows once notification is on.
void NotifyAllowlistedChange(const ConfigStoreObjectId& id);

}  // namespace CorvConfigStore

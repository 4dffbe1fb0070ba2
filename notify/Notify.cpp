// Building and sending change notifications.
#include "notify/Notify.h"

#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/Logger.h>
#include <unistd.h>

#include <exception>

#include "notify/UdsClient.h"

namespace CorvConfigStore {

const char* const kNexdNotifyEndpoint = "velLocalSocketNexdNotifyOmni";

std::string NotificationName(const ConfigStoreObjectId& id) {
  return id.component + "." + id.group + "." + id.key;
}

std::string NotificationGroupWildcard(const ConfigStoreObjectId& id) {
  return id.component + "." + id.group + ".*";
}

bool IsAllowlisted(const NotifyAllowlist& allowlist, const ConfigStoreObjectId& id) {
  return allowlist.count(NotificationName(id)) != 0 ||
         allowlist.count(NotificationGroupWildcard(id)) != 0;
}

std::string BuildNotificationBody(const std::string& name, long processId) {
  return std::string("{\"method\":\"invoke\",\"id\":\"9\",") +
         "\"params\":{\"serviceId\":\"com.velmo.corv.nexd.notifier\"," +
         "\"operationId\":\"notify\"," +
         "\"input\":{\"STRUCTURE\":{\"operation-input\":{\"identifiers\":[\"" + name +
         "\"],\"cartel_id\":" + std::to_string(processId) + "}}}," +
         "\"ctx\":{\"securityCtx\":{\"schemeId\":" +
         "\"com.velmo.omni.std.security.no_authentication\"}}}," + "\"jsonrpc\":\"2.0\"}";
}

std::string BuildNotificationRequest(const std::string& body) {
  return "POST /api HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nContent-Type: application/json\r\n\r\n" + body;
}

void NotifyIfAllowlisted(const ConfigStoreObjectId& id) {
  // Once the allowlist is known, a key it does not list would be dropped
  // after the switch is read whatever the switch says, so the read (a
  // query on another connection, on every write) is skipped.
  const NotifyAllowlist* loaded = LoadedNotifyAllowlist();
  if (loaded != nullptr && !IsAllowlisted(*loaded, id)) return;
  if (!IsNexdNotificationEnabled()) return;
  NotifyAllowlistedChange(id);
}

void NotifyAllowlistedChange(const ConfigStoreObjectId& id) {
  const NotifyAllowlist* allowlist = nullptr;
  try {
    allowlist = &GetNotifyAllowlist();
  } catch (const ConfigStoreException& e) {
    CSLogger::Log(1, "Failed to read notify list: %s. Defaulting to empty list.", e.what());
    return;
  }
  if (!IsAllowlisted(*allowlist, id)) return;

  const std::string request =
      BuildNotificationRequest(BuildNotificationBody(NotificationName(id), getpid()));
  // The client closes its socket when it goes out of scope, on every path;
  // the daemon's reply is never read.
  UdsClient client(kNexdNotifyEndpoint);
  try {
    client.Connect();
    client.Send(request);
  } catch (const std::exception& e) {
    CSLogger::Log(2, "Error while sending notification for config object '%s' to Nexd: %s",
                  id.toString().c_str(), e.what());
  }
}

}  // namespace CorvConfigStore

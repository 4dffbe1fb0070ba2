// Reading the notification allowlist and keeping it for the process.
#include "notify/Allowlist.h"

#include <corvconfigstore/HostOperations.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "core/Throw.h"
#include "core/JsonDoc.h"

namespace CorvConfigStore {

const char* const kDefaultNotifyAllowlistPath =
    "/usr/lib/velmo/configmanager/notify-list/allowlist.json";

namespace {

// One-time initialisation that a failure does not complete: loading is
// serialised by the mutex until it first succeeds, then readers take the
// published set without locking.
struct AllowlistCache {
  std::mutex mutex;
  std::atomic<const NotifyAllowlist*> published{nullptr};
  std::unique_ptr<const NotifyAllowlist> owned;
};

AllowlistCache& TheCache() {
  static AllowlistCache cache;
  return cache;
}

}  // namespace

std::string NotifyAllowlistPath() {
  const char* path = std::getenv("CORV_NOTIFY_ALLOWLIST");
  return path != nullptr && *path != '\0' ? path : kDefaultNotifyAllowlistPath;
}

NotifyAllowlist ReadNotifyAllowlist() {
  const std::string path = NotifyAllowlistPath();
  if (!FileExists(path)) ThrowGeneral("Notification allowlist " + path + " missing.");
  std::shared_ptr<JsonDoc> document = CreateDocumentFromFile(path);
  NotifyAllowlist allowlist;
  // GetArray and GetString assert the value's type, which raises 1082.
  for (const JsonValue& entry : document->GetJsonValuePtr()->GetArray())
    allowlist.emplace(entry.GetString(), entry.GetStringLength());
  return allowlist;
}

const NotifyAllowlist& GetNotifyAllowlist() {
  if (const NotifyAllowlist* loaded = LoadedNotifyAllowlist()) return *loaded;
  AllowlistCache& cache = TheCache();
  std::lock_guard<std::mutex> lock(cache.mutex);
  const NotifyAllowlist* allowlist = cache.published.load(std::memory_order_relaxed);
  if (allowlist == nullptr) {
    cache.owned = std::make_unique<const NotifyAllowlist>(ReadNotifyAllowlist());
    allowlist = cache.owned.get();
    cache.published.store(allowlist, std::memory_order_release);
  }
  return *allowlist;
}

const NotifyAllowlist* LoadedNotifyAllowlist() {
  return TheCache().published.load(std::memory_order_acquire);
}

void ResetNotifyAllowlistForTesting() {
  AllowlistCache& cache = TheCache();
  std::lock_guard<std::mutex> lock(cache.mutex);
  cache.published.store(nullptr, std::memory_order_release);
  cache.owned.reset();
}

}  // namespace CorvConfigStore

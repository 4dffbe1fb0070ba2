// The process's upgrade context, seeded from CORV_UPGRADE_CTX.
#include <corvconfigstore/UpgradeContext.h>

#include <atomic>
#include <cstdlib>

namespace CorvConfigStore {
namespace {

std::atomic<int>& Context() {
  static std::atomic<int> context{[] {
    const char* text = std::getenv("CORV_UPGRADE_CTX");
    return text == nullptr ? 0 : std::atoi(text);
  }()};
  return context;
}

}  // namespace

int GetUpgradeCtx() { return Context().load(); }

void SetUpgradeCtx(int context) { Context().store(context); }

}  // namespace CorvConfigStore

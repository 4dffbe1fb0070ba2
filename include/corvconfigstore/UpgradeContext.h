// The upgrade context of this process: 0 when no upgrade is in progress.
#pragma once

#include <corvconfigstore/Export.h>

namespace CorvConfigStore {

// Starts as CORV_UPGRADE_CTX (default 0).
CORV_EXPORT int GetUpgradeCtx();
CORV_EXPORT void SetUpgradeCtx(int context);

}  // namespace CorvConfigStore

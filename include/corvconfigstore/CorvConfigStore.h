// The whole public API of the configuration store client library.
#pragma once

#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Export.h>
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Types.h>
#include <corvconfigstore/UpgradeContext.h>

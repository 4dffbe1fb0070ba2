// The whole public API of the configuration store client library.
#pragma once

#include <corvconfigstore/BulkReads.h>
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/DriftObject.h>
#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Export.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/ImportCheck.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/NextBootStore.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Provisioning.h>
#include <corvconfigstore/SchemaList.h>
#include <corvconfigstore/StoreContents.h>
#include <corvconfigstore/StoreObject.h>
#include <corvconfigstore/Types.h>
#include <corvconfigstore/UpgradeContext.h>
#include <corvconfigstore/Validation.h>

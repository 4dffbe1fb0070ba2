// The statement catalogue: the one text of every SQL statement the store
// runs against its database, and the time limit passed with each of them.
#pragma once

#include "sqlite/DBStore.h"

namespace CorvConfigStore {

// Busy time-out in milliseconds handed to every prepare and execution.
constexpr int kStmtTimeLimit = 3000;

// The revision reported for an object that has no row.
constexpr int kDefaultRevision = -1;

// Statements built once for the whole process.
extern const DBStore::SqlStatement GET_INSTANCES;
extern const DBStore::SqlStatement READ_TABLE_USER_AUTO_CONFIG;
extern const DBStore::SqlStatement GET_DEFAULT_INSTANCE;
extern const DBStore::SqlStatement READ_TABLE_CONFIG;

// Texts of the other statements; each is built where it is used.
// Unnumbered parameters bind Name, ConfigGroup, Component, Identifier in that
// order; numbered ones bind ?1 Identifier, ?2 Name, ?3 ConfigGroup,
// ?4 Component, ?5 Version (kSqlConfirmPartialValue numbers its own).
namespace Sql {

// Next-boot rows (DesiredUserConfig).
extern const char kDeleteNextBootRows[];
extern const char kStoreNextBootDeletion[];
extern const char kStoreNextBootValue[];
extern const char kReadNextBootValue[];
extern const char kReadNextBootValues[];

// Clearing one layer in every row of an object, and deleting rows.
extern const char kClearVitalLayer[];
extern const char kClearCachedLayer[];
extern const char kClearUserLayer[];
extern const char kClearAutoConfLayer[];
extern const char kDeleteRows[];
extern const char kDeleteRow[];

// Boot confirmation of pending desired values.
extern const char kConfirmDesired[];
extern const char kConfirmDesiredInstance[];
extern const char kReadConfirmedUserValue[];
extern const char kCopyUserToDesired[];
extern const char kReadDesiredValue[];
extern const char kConfirmPartialValue[];
extern const char kClearDesiredValue[];

// Raw rows: objects shared with a SmartNIC, defaults, store contents.
extern const char kReadSmartnicRows[];
extern const char kReadDefaultRows[];
extern const char kReadDefaultRow[];
// Hold "%1$s", replaced by the column (or expression) to list.
extern const char kReadStoreContents[];
extern const char kReadConfirmedStoreContents[];
// The expression for kReadStoreContents that lists every row holding a value
// in any layer.
extern const char kAnyLayerValue[];
// Every next-boot row with its action, for overviews of what is staged.
extern const char kReadNextBootRows[];

// Insert-or-replace writers of Config rows.
extern const char kWriteUserLayer[];
extern const char kWriteCachedLayer[];
extern const char kWriteVitalLayer[];
extern const char kWriteAutoConfLayer[];
extern const char kWriteAllLayers[];
extern const char kSetUserByContext[];
extern const char kSetUserKeepingAutoConf[];
extern const char kSetAutoConfByContext[];
extern const char kWriteKernelOptions[];

// Updates of existing Config rows: value, vital and cached first, then the
// row key.
extern const char kUpdateUserByContext[];
extern const char kUpdateAutoConfByContext[];
extern const char kUpdateUserKeepingDesired[];

// Single-object and instance readers.
extern const char kGetInstances[];
extern const char kReadUserAutoConfig[];
extern const char kGetDefaultInstance[];
extern const char kReadConfig[];
extern const char kReadDefaultInstances[];
extern const char kReadDesiredInstancesAllLayers[];
extern const char kReadDesiredInstancesUser[];
extern const char kReadDesiredAllLayers[];
extern const char kReadDesiredUser[];

// The kernel options object.
extern const char kReadKernelOptionsRemediation[];
extern const char kReadKernelOptions[];

// Bulk reads of a component or one of its groups.
extern const char kReadComponentRows[];
extern const char kReadGroupRows[];

// Instance ids and revisions.
extern const char kReadInstanceIds[];
extern const char kReadRevisions[];
extern const char kReadRevision[];

}  // namespace Sql
}  // namespace CorvConfigStore

// The statement texts. The carried-over columns of the insert-or-replace
// writers share three sub-expressions, spelt out by the macros below so that
// every statement holds them character for character alike.
#include "db/Statements.h"

// The existing row's column X, or d when the row does not exist yet.
#define KEEP(X, d)                                                                         \
  "COALESCE( ( SELECT " X " FROM Config WHERE Identifier = ?1 AND Name = ?2 AND "          \
  "ConfigGroup = ?3 AND Component = ?4 ), " d " )"
// Kept from the first write of the row.
#define CREATION_TIME                                                                       \
  "COALESCE( ( SELECT CreationTime FROM Config WHERE Identifier = ?1 AND Name = ?2 AND "    \
  "ConfigGroup = ?3 AND Component = ?4 ), (DATETIME(CURRENT_TIMESTAMP)) )"
// One more than the existing row's revision; 1 for a new row.
#define NEXT_REVISION                                                                       \
  "COALESCE( ( SELECT Revision FROM Config WHERE Identifier = ?1 AND Name = ?2 AND "        \
  "ConfigGroup = ?3 AND Component = ?4 ), (0) ) + 1"

#define ALL_INSTANCES " WHERE Name = ? AND ConfigGroup = ? AND Component = ?"
#define ONE_INSTANCE ALL_INSTANCES " AND Identifier = ?"

#define CONFIRM_DESIRED                                                                   \
  "UPDATE Config SET UserValue = CASE WHEN DesiredValue IS NULL THEN UserValue ELSE "     \
  "DesiredValue END, DesiredValue = NULL, Success = 1" ALL_INSTANCES

#define READ_DEFAULT_ROWS "SELECT Value, Identifier, Version FROM DefaultConfig" ALL_INSTANCES

#define STORE_CONTENTS_COLUMNS                                                            \
  "SELECT Name, %1$s as Value, AutoConfValue, Component, Identifier, Version, "           \
  "ConfigGroup, CreationTime, ModifiedTime, Revision FROM Config WHERE "

#define DESIRED_VALUE "CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END"

namespace CorvConfigStore {
namespace Sql {

const char kDeleteNextBootRows[] = "DELETE FROM DesiredUserConfig" ALL_INSTANCES ";";
const char kClearVitalLayer[] = "UPDATE Config SET VitalValue = NULL" ALL_INSTANCES;
const char kClearCachedLayer[] = "UPDATE Config SET CachedValue = NULL" ALL_INSTANCES;
const char kClearUserLayer[] = "UPDATE Config SET UserValue = NULL" ALL_INSTANCES;
const char kClearAutoConfLayer[] = "UPDATE Config SET AutoConfValue = NULL" ALL_INSTANCES;
const char kDeleteRows[] = "DELETE FROM Config" ALL_INSTANCES ";";
const char kDeleteRow[] =
    "DELETE FROM 'Config' WHERE Name=? and ConfigGroup=? and Component=? and Identifier=?";

const char kConfirmDesired[] = CONFIRM_DESIRED;
const char kConfirmDesiredInstance[] = CONFIRM_DESIRED " AND Identifier = ?";

const char kStoreNextBootDeletion[] =
    "INSERT OR REPLACE INTO DesiredUserConfig ( Identifier, Name, ConfigGroup, Component, "
    "Version, BootAction ) VALUES (?1, ?2, ?3, ?4, ?5, ?6)";
const char kStoreNextBootValue[] =
    "INSERT OR REPLACE INTO DesiredUserConfig ( Identifier, Name, ConfigGroup, Component, "
    "Version, Value, VitalValue, CachedValue, BootAction ) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, "
    "?8, ?9)";

const char kReadSmartnicRows[] =
    "SELECT Component, ConfigGroup, Name, Identifier, CASE WHEN DesiredValue is NULL THEN "
    "UserValue ELSE DesiredValue END AS Value FROM Config WHERE (Component, ConfigGroup, Name) "
    "IN ( SELECT Component, ConfigGroup, Name from ss.SmartnicSchema WHERE "
    "ss.SmartnicSchema.ValueType = \"corv-shared\" )";

const char kReadDefaultRows[] = READ_DEFAULT_ROWS;
const char kReadDefaultRow[] = READ_DEFAULT_ROWS " AND Identifier = ?";

const char kReadStoreContents[] = STORE_CONTENTS_COLUMNS "%1$s IS NOT NULL";
const char kReadConfirmedStoreContents[] = STORE_CONTENTS_COLUMNS "Success=1 AND %1$s IS NOT NULL";
const char kAnyLayerValue[] = "COALESCE(UserValue, DesiredValue, AutoConfValue, VitalValue, CachedValue)";
const char kReadNextBootRows[] =
    "SELECT Component, ConfigGroup, Name, Identifier, BootAction, Value FROM DesiredUserConfig "
    "ORDER BY Component, ConfigGroup, Name, Identifier";

const char kWriteUserLayer[] =
    "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
    "Success, UserValue, CreationTime, Revision, AutoConfValue, VitalValue, CachedValue ) "
    "VALUES ( ?1, ?2, ?3, ?4, ?5, ?6, ?7, " CREATION_TIME ", " NEXT_REVISION ", "
    KEEP("AutoConfValue", "NULL") ", " KEEP("VitalValue", "NULL") ", "
    KEEP("CachedValue", "NULL") " )";

const char kWriteCachedLayer[] =
    "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
    "CreationTime, Revision, Success, DesiredValue, AutoConfValue, UserValue, VitalValue, "
    "CachedValue ) VALUES ( ?1, ?2, ?3, ?4, ?5, " CREATION_TIME ", " NEXT_REVISION ", "
    KEEP("Success", "1") ", " KEEP("DesiredValue", "NULL") ", " KEEP("AutoConfValue", "NULL")
    ", " KEEP("UserValue", "NULL") ", " KEEP("VitalValue", "NULL") ", ?6 )";

const char kWriteVitalLayer[] =
    "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
    "CreationTime, Revision, Success, DesiredValue, AutoConfValue, UserValue, CachedValue, "
    "VitalValue ) VALUES ( ?1, ?2, ?3, ?4, ?5, " CREATION_TIME ", " NEXT_REVISION ", "
    KEEP("Success", "1") ", " KEEP("DesiredValue", "NULL") ", " KEEP("AutoConfValue", "NULL")
    ", " KEEP("UserValue", "NULL") ", " KEEP("CachedValue", "NULL") ", ?6 )";

// The cached-value sub-select spells the column "Configgroup"; SQLite matches
// column names without regard to case.
const char kWriteAutoConfLayer[] =
    "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
    "CreationTime, Revision, Success, DesiredValue, UserValue, VitalValue, CachedValue, "
    "AutoConfValue ) VALUES ( ?1, ?2, ?3, ?4, ?5, " CREATION_TIME ", " NEXT_REVISION ", "
    KEEP("Success", "1") ", " KEEP("DesiredValue", "NULL") ", " KEEP("UserValue", "NULL") ", "
    KEEP("VitalValue", "NULL") ", "
    "COALESCE( ( SELECT CachedValue FROM Config WHERE Identifier = ?1 AND Name = ?2 AND "
    "Configgroup = ?3 AND Component = ?4 ), NULL ), ?6 )";

const char kWriteAllLayers[] =
    "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
    "Success, AutoConfValue, UserValue, VitalValue, CachedValue, CreationTime, Revision ) "
    "VALUES ( ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, " CREATION_TIME ", " NEXT_REVISION " )";

const char kSetUserByContext[] =
    "INSERT OR REPLACE INTO Config ( Name, ConfigGroup, Component, Identifier, Version, "
    "CreationTime, Revision, AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue ) "
    "VALUES ( ?2, ?3, ?4, ?1, ?5, " CREATION_TIME ", " NEXT_REVISION ", "
    KEEP("AutoConfValue", "NULL") ", ?6, ?7, ?8, NULL )";

const char kSetUserKeepingAutoConf[] =
    "INSERT OR REPLACE INTO Config ( Name, ConfigGroup, Component, Identifier, Version, "
    "CreationTime, Revision, Success, AutoConfValue, UserValue, VitalValue, CachedValue ) "
    "VALUES ( ?2, ?3, ?4, ?1, ?5, " CREATION_TIME ", " NEXT_REVISION ", " KEEP("Success", "1")
    ", " KEEP("AutoConfValue", "NULL") ", ?6, ?7, ?8 )";

const char kSetAutoConfByContext[] =
    "INSERT OR REPLACE INTO Config ( Name, ConfigGroup, Component, Identifier, Version, "
    "CreationTime, Revision, Success, UserValue, AutoConfValue, VitalValue, CachedValue ) "
    "VALUES ( ?2, ?3, ?4, ?1, ?5, " CREATION_TIME ", " NEXT_REVISION ", " KEEP("Success", "1")
    ", " KEEP("UserValue", "NULL") ", ?6, ?7, ?8 )";

const char kUpdateUserByContext[] =
    "UPDATE Config SET UserValue = ?, VitalValue = ?, CachedValue = ?, DesiredValue = NULL"
    ONE_INSTANCE;
const char kUpdateAutoConfByContext[] =
    "UPDATE Config SET AutoConfValue = ?, VitalValue = ?, CachedValue = ?" ONE_INSTANCE;
const char kUpdateUserKeepingDesired[] =
    "UPDATE Config SET UserValue = ?, VitalValue = ?, CachedValue = ?" ONE_INSTANCE;

const char kWriteKernelOptions[] =
    "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
    "CreationTime, Revision, UserValue, DesiredValue, VitalValue ) VALUES ( ?1, ?2, ?3, ?4, "
    "?5, " CREATION_TIME ", " NEXT_REVISION ", " KEEP("UserValue", "NULL") ", ?6, ?7 )";

const char kGetInstances[] =
    "SELECT Version, Success, Identifier, UserValue, VitalValue, CachedValue, AutoConfValue, "
    "DesiredValue, CreationTime, ModifiedTime, Revision FROM Config" ALL_INSTANCES;
const char kReadUserAutoConfig[] =
    "SELECT Version, AutoConfValue, UserValue, Success, CreationTime, ModifiedTime, Revision "
    "FROM Config" ONE_INSTANCE;
const char kGetDefaultInstance[] =
    "SELECT Value, VitalValue, CachedValue, Identifier, Version FROM DefaultConfig" ONE_INSTANCE;
const char kReadConfig[] =
    "SELECT Version, AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success, "
    "CreationTime, ModifiedTime, Revision FROM Config" ONE_INSTANCE;
const char kReadDefaultInstances[] =
    "SELECT Value, VitalValue, CachedValue, Identifier, Version FROM DefaultConfig" ALL_INSTANCES;

const char kReadDesiredInstancesAllLayers[] =
    "SELECT Identifier, " DESIRED_VALUE " Value, VitalValue, CachedValue, Version, "
    "CreationTime, ModifiedTime, Revision FROM Config" ALL_INSTANCES
    " AND (Value NOT NULL OR VitalValue NOT NULL OR CachedValue NOT NULL)";
const char kReadDesiredInstancesUser[] =
    "SELECT Identifier, " DESIRED_VALUE " Value, Version, CreationTime, ModifiedTime, Revision "
    "FROM Config" ALL_INSTANCES " AND Value NOT NULL";
const char kReadDesiredAllLayers[] =
    "SELECT Version, " DESIRED_VALUE " Value, VitalValue, CachedValue, CreationTime, "
    "ModifiedTime, Revision FROM Config" ONE_INSTANCE
    " AND (Value NOT NULL OR VitalValue NOT NULL OR CachedValue NOT NULL)";
const char kReadDesiredUser[] =
    "SELECT Version, " DESIRED_VALUE " Value, CreationTime, ModifiedTime, Revision FROM Config"
    ONE_INSTANCE " AND Value IS NOT NULL";

const char kReadNextBootValue[] =
    "SELECT Version, Value as UserValue, VitalValue, CachedValue FROM DesiredUserConfig WHERE "
    "BootAction = 'SET' AND Name = ? AND ConfigGroup = ? AND Component = ? AND Identifier = ?";
const char kReadNextBootValues[] =
    "SELECT Version, Identifier, Value as UserValue, VitalValue, CachedValue FROM "
    "DesiredUserConfig WHERE BootAction = 'SET' AND Name = ? AND ConfigGroup = ? AND "
    "Component = ?";

const char kReadKernelOptionsRemediation[] =
    "SELECT duc1.Version, duc1.Value, c1.VitalValue FROM DesiredUserConfig duc1 LEFT JOIN "
    "Config c1 ON duc1.Name = c1.Name AND duc1.ConfigGroup = c1.ConfigGroup AND "
    "duc1.Component = c1.Component WHERE duc1.Name = 'options' AND duc1.ConfigGroup = "
    "'kestrel' AND duc1.Component = 'corv' UNION SELECT duc2.Version, duc2.Value, "
    "c2.VitalValue FROM Config c2 LEFT JOIN DesiredUserConfig duc2 ON c2.Name = duc2.Name AND "
    "c2.ConfigGroup = duc2.ConfigGroup AND c2.Component = duc2.Component WHERE c2.Name = "
    "'options' AND c2.ConfigGroup = 'kestrel' AND c2.Component = 'corv';";
const char kReadKernelOptions[] =
    "SELECT Version, CASE WHEN DesiredValue IS NULL THEN UserValue ELSE DesiredValue END AS "
    "Value, VitalValue FROM Config WHERE Name = 'options' AND ConfigGroup = 'kestrel' AND "
    "Component = 'corv';";

const char kReadConfirmedUserValue[] =
    "SELECT Version, UserValue, CreationTime, ModifiedTime, Revision FROM Config" ONE_INSTANCE
    " AND Success = 1";
const char kCopyUserToDesired[] = "UPDATE Config SET DesiredValue = UserValue" ONE_INSTANCE;
const char kReadDesiredValue[] =
    "SELECT Version, DesiredValue, CreationTime, ModifiedTime, Revision FROM Config" ONE_INSTANCE;
const char kConfirmPartialValue[] =
    "UPDATE Config SET UserValue = ?5, Success = 1 WHERE Name = ?1 AND ConfigGroup = ?2 AND "
    "Component = ?3 AND Identifier = ?4";
const char kClearDesiredValue[] = "UPDATE Config SET DesiredValue = NULL" ONE_INSTANCE;

const char kReadComponentRows[] =
    "SELECT ConfigGroup, Name, Version, AutoConfValue, UserValue, VitalValue, CachedValue, "
    "Identifier, Success, CreationTime, ModifiedTime, Revision FROM Config WHERE Component = ?";
const char kReadGroupRows[] =
    "SELECT Name, Version, AutoConfValue, UserValue, VitalValue, CachedValue, Identifier, "
    "Success, CreationTime, ModifiedTime, Revision FROM Config WHERE ConfigGroup = ? AND "
    "Component = ?";

const char kReadInstanceIds[] = "SELECT Identifier FROM Config" ALL_INSTANCES;
const char kReadRevisions[] = "SELECT Identifier, Revision FROM Config" ALL_INSTANCES;
const char kReadRevision[] = "SELECT Identifier, Revision FROM Config" ONE_INSTANCE;

}  // namespace Sql

const DBStore::SqlStatement GET_INSTANCES(Sql::kGetInstances);
const DBStore::SqlStatement READ_TABLE_USER_AUTO_CONFIG(Sql::kReadUserAutoConfig);
const DBStore::SqlStatement GET_DEFAULT_INSTANCE(Sql::kGetDefaultInstance);
const DBStore::SqlStatement READ_TABLE_CONFIG(Sql::kReadConfig);

}  // namespace CorvConfigStore

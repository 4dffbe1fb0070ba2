// The statement catalogue holds exactly the texts the store sends, with the
// carried-over sub-expressions written out in full.
#include <gtest/gtest.h>

#include <string>

#include "db/Statements.h"

namespace {

using namespace CorvConfigStore;

const std::string kCreation =
    "COALESCE( ( SELECT CreationTime FROM Config WHERE Identifier = ?1 AND Name = ?2 AND "
    "ConfigGroup = ?3 AND Component = ?4 ), (DATETIME(CURRENT_TIMESTAMP)) )";
const std::string kRevision =
    "COALESCE( ( SELECT Revision FROM Config WHERE Identifier = ?1 AND Name = ?2 AND "
    "ConfigGroup = ?3 AND Component = ?4 ), (0) ) + 1";

std::string Keep(const std::string& column, const std::string& fallback) {
  return "COALESCE( ( SELECT " + column +
         " FROM Config WHERE Identifier = ?1 AND Name = ?2 AND ConfigGroup = ?3 AND Component = "
         "?4 ), " +
         fallback + " )";
}

TEST(StatementsTest, TimeLimitAndDefaultRevision) {
  EXPECT_EQ(kStmtTimeLimit, 3000);
  EXPECT_EQ(kDefaultRevision, -1);
}

TEST(StatementsTest, DeletesAndLayerClears) {
  EXPECT_STREQ(
      Sql::kDeleteNextBootRows,
      "DELETE FROM DesiredUserConfig WHERE Name = ? AND ConfigGroup = ? AND Component = ?;");
  EXPECT_STREQ(
      Sql::kClearVitalLayer,
      "UPDATE Config SET VitalValue = NULL WHERE Name = ? AND ConfigGroup = ? AND Component = ?");
  EXPECT_STREQ(
      Sql::kClearCachedLayer,
      "UPDATE Config SET CachedValue = NULL WHERE Name = ? AND ConfigGroup = ? AND Component = ?");
  EXPECT_STREQ(
      Sql::kClearUserLayer,
      "UPDATE Config SET UserValue = NULL WHERE Name = ? AND ConfigGroup = ? AND Component = ?");
  EXPECT_STREQ(Sql::kClearAutoConfLayer,
               "UPDATE Config SET AutoConfValue = NULL WHERE Name = ? AND ConfigGroup = ? AND "
               "Component = ?");
  EXPECT_STREQ(Sql::kDeleteRows,
               "DELETE FROM Config WHERE Name = ? AND ConfigGroup = ? AND Component = ?;");
  EXPECT_STREQ(
      Sql::kDeleteRow,
      "DELETE FROM 'Config' WHERE Name=? and ConfigGroup=? and Component=? and Identifier=?");
}

TEST(StatementsTest, BootConfirmation) {
  const std::string confirm =
      "UPDATE Config SET UserValue = CASE WHEN DesiredValue IS NULL THEN UserValue ELSE "
      "DesiredValue END, DesiredValue = NULL, Success = 1 WHERE Name = ? AND ConfigGroup = ? AND "
      "Component = ?";
  EXPECT_EQ(Sql::kConfirmDesired, confirm);
  EXPECT_EQ(Sql::kConfirmDesiredInstance, confirm + " AND Identifier = ?");
  EXPECT_STREQ(Sql::kReadConfirmedUserValue,
               "SELECT Version, UserValue, CreationTime, ModifiedTime, Revision FROM Config WHERE "
               "Name = ? AND ConfigGroup = ? AND Component = ? AND Identifier = ? AND Success = 1");
  EXPECT_STREQ(Sql::kCopyUserToDesired,
               "UPDATE Config SET DesiredValue = UserValue WHERE Name = ? AND ConfigGroup = ? AND "
               "Component = ? AND Identifier = ?");
  EXPECT_STREQ(Sql::kReadDesiredValue,
               "SELECT Version, DesiredValue, CreationTime, ModifiedTime, Revision FROM Config "
               "WHERE Name = ? AND ConfigGroup = ? AND Component = ? AND Identifier = ?");
  EXPECT_STREQ(Sql::kConfirmPartialValue,
               "UPDATE Config SET UserValue = ?5, Success = 1 WHERE Name = ?1 AND ConfigGroup = ?2 "
               "AND Component = ?3 AND Identifier = ?4");
  EXPECT_STREQ(Sql::kClearDesiredValue,
               "UPDATE Config SET DesiredValue = NULL WHERE Name = ? AND ConfigGroup = ? AND "
               "Component = ? AND Identifier = ?");
}

TEST(StatementsTest, NextBootRows) {
  EXPECT_STREQ(Sql::kStoreNextBootDeletion,
               "INSERT OR REPLACE INTO DesiredUserConfig ( Identifier, Name, ConfigGroup, "
               "Component, Version, BootAction ) VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
  EXPECT_STREQ(Sql::kStoreNextBootValue,
               "INSERT OR REPLACE INTO DesiredUserConfig ( Identifier, Name, ConfigGroup, "
               "Component, Version, Value, VitalValue, CachedValue, BootAction ) VALUES (?1, ?2, "
               "?3, ?4, ?5, ?6, ?7, ?8, ?9)");
  EXPECT_STREQ(Sql::kReadNextBootValue,
               "SELECT Version, Value as UserValue, VitalValue, CachedValue FROM "
               "DesiredUserConfig WHERE BootAction = 'SET' AND Name = ? AND ConfigGroup = ? AND "
               "Component = ? AND Identifier = ?");
  EXPECT_STREQ(Sql::kReadNextBootValues,
               "SELECT Version, Identifier, Value as UserValue, VitalValue, CachedValue FROM "
               "DesiredUserConfig WHERE BootAction = 'SET' AND Name = ? AND ConfigGroup = ? AND "
               "Component = ?");
}

TEST(StatementsTest, SmartnicDefaultsAndStoreContents) {
  EXPECT_STREQ(Sql::kReadSmartnicRows,
               "SELECT Component, ConfigGroup, Name, Identifier, CASE WHEN DesiredValue is NULL "
               "THEN UserValue ELSE DesiredValue END AS Value FROM Config WHERE (Component, "
               "ConfigGroup, Name) IN ( SELECT Component, ConfigGroup, Name from "
               "ss.SmartnicSchema WHERE ss.SmartnicSchema.ValueType = \"corv-shared\" )");
  const std::string defaults =
      "SELECT Value, Identifier, Version FROM DefaultConfig WHERE Name = ? AND ConfigGroup = ? "
      "AND Component = ?";
  EXPECT_EQ(Sql::kReadDefaultRows, defaults);
  EXPECT_EQ(Sql::kReadDefaultRow, defaults + " AND Identifier = ?");
  EXPECT_STREQ(Sql::kReadStoreContents,
               "SELECT Name, %1$s as Value, AutoConfValue, Component, Identifier, Version, "
               "ConfigGroup, CreationTime, ModifiedTime, Revision FROM Config WHERE %1$s IS NOT "
               "NULL");
  EXPECT_STREQ(Sql::kReadConfirmedStoreContents,
               "SELECT Name, %1$s as Value, AutoConfValue, Component, Identifier, Version, "
               "ConfigGroup, CreationTime, ModifiedTime, Revision FROM Config WHERE Success=1 AND "
               "%1$s IS NOT NULL");
}

TEST(StatementsTest, LayerWriters) {
  EXPECT_EQ(Sql::kWriteUserLayer,
            "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
            "Success, UserValue, CreationTime, Revision, AutoConfValue, VitalValue, CachedValue "
            ") VALUES ( ?1, ?2, ?3, ?4, ?5, ?6, ?7, " +
                kCreation + ", " + kRevision + ", " + Keep("AutoConfValue", "NULL") + ", " +
                Keep("VitalValue", "NULL") + ", " + Keep("CachedValue", "NULL") + " )");
  const std::string head =
      "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
      "CreationTime, Revision, Success, DesiredValue, ";
  const std::string values = ") VALUES ( ?1, ?2, ?3, ?4, ?5, " + kCreation + ", " + kRevision +
                             ", " + Keep("Success", "1") + ", " + Keep("DesiredValue", "NULL") +
                             ", ";
  EXPECT_EQ(Sql::kWriteCachedLayer, head + "AutoConfValue, UserValue, VitalValue, CachedValue " +
                                        values + Keep("AutoConfValue", "NULL") + ", " +
                                        Keep("UserValue", "NULL") + ", " +
                                        Keep("VitalValue", "NULL") + ", ?6 )");
  EXPECT_EQ(Sql::kWriteVitalLayer, head + "AutoConfValue, UserValue, CachedValue, VitalValue " +
                                       values + Keep("AutoConfValue", "NULL") + ", " +
                                       Keep("UserValue", "NULL") + ", " +
                                       Keep("CachedValue", "NULL") + ", ?6 )");
  EXPECT_EQ(Sql::kWriteAutoConfLayer,
            head + "UserValue, VitalValue, CachedValue, AutoConfValue " + values +
                Keep("UserValue", "NULL") + ", " + Keep("VitalValue", "NULL") +
                ", COALESCE( ( SELECT CachedValue FROM Config WHERE Identifier = ?1 AND Name = ?2 "
                "AND Configgroup = ?3 AND Component = ?4 ), NULL ), ?6 )");
  EXPECT_EQ(Sql::kWriteAllLayers,
            "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
            "Success, AutoConfValue, UserValue, VitalValue, CachedValue, CreationTime, Revision "
            ") VALUES ( ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, " +
                kCreation + ", " + kRevision + " )");
}

TEST(StatementsTest, ContextWriters) {
  const std::string values = "VALUES ( ?2, ?3, ?4, ?1, ?5, " + kCreation + ", " + kRevision + ", ";
  EXPECT_EQ(Sql::kSetUserByContext,
            "INSERT OR REPLACE INTO Config ( Name, ConfigGroup, Component, Identifier, Version, "
            "CreationTime, Revision, AutoConfValue, UserValue, VitalValue, CachedValue, "
            "DesiredValue ) " +
                values + Keep("AutoConfValue", "NULL") + ", ?6, ?7, ?8, NULL )");
  EXPECT_EQ(Sql::kSetUserKeepingAutoConf,
            "INSERT OR REPLACE INTO Config ( Name, ConfigGroup, Component, Identifier, Version, "
            "CreationTime, Revision, Success, AutoConfValue, UserValue, VitalValue, CachedValue "
            ") " +
                values + Keep("Success", "1") + ", " + Keep("AutoConfValue", "NULL") +
                ", ?6, ?7, ?8 )");
  EXPECT_EQ(Sql::kSetAutoConfByContext,
            "INSERT OR REPLACE INTO Config ( Name, ConfigGroup, Component, Identifier, Version, "
            "CreationTime, Revision, Success, UserValue, AutoConfValue, VitalValue, CachedValue "
            ") " +
                values + Keep("Success", "1") + ", " + Keep("UserValue", "NULL") +
                ", ?6, ?7, ?8 )");
  EXPECT_STREQ(Sql::kUpdateUserByContext,
               "UPDATE Config SET UserValue = ?, VitalValue = ?, CachedValue = ?, DesiredValue = "
               "NULL WHERE Name = ? AND ConfigGroup = ? AND Component = ? AND Identifier = ?");
  EXPECT_STREQ(Sql::kUpdateAutoConfByContext,
               "UPDATE Config SET AutoConfValue = ?, VitalValue = ?, CachedValue = ? WHERE Name = "
               "? AND ConfigGroup = ? AND Component = ? AND Identifier = ?");
  EXPECT_STREQ(Sql::kUpdateUserKeepingDesired,
               "UPDATE Config SET UserValue = ?, VitalValue = ?, CachedValue = ? WHERE Name = ? "
               "AND ConfigGroup = ? AND Component = ? AND Identifier = ?");
  EXPECT_EQ(Sql::kWriteKernelOptions,
            "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
            "CreationTime, Revision, UserValue, DesiredValue, VitalValue ) VALUES ( ?1, ?2, ?3, "
            "?4, ?5, " +
                kCreation + ", " + kRevision + ", " + Keep("UserValue", "NULL") + ", ?6, ?7 )");
}

TEST(StatementsTest, ProcessWideReaders) {
  EXPECT_EQ(GET_INSTANCES.Text(),
            "SELECT Version, Success, Identifier, UserValue, VitalValue, CachedValue, "
            "AutoConfValue, DesiredValue, CreationTime, ModifiedTime, Revision FROM Config WHERE "
            "Name = ? AND ConfigGroup = ? AND Component = ?");
  EXPECT_EQ(READ_TABLE_USER_AUTO_CONFIG.Text(),
            "SELECT Version, AutoConfValue, UserValue, Success, CreationTime, ModifiedTime, "
            "Revision FROM Config WHERE Name = ? AND ConfigGroup = ? AND Component = ? AND "
            "Identifier = ?");
  EXPECT_EQ(GET_DEFAULT_INSTANCE.Text(),
            "SELECT Value, VitalValue, CachedValue, Identifier, Version FROM DefaultConfig WHERE "
            "Name = ? AND ConfigGroup = ? AND Component = ? AND Identifier = ?");
  EXPECT_EQ(READ_TABLE_CONFIG.Text(),
            "SELECT Version, AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, "
            "Success, CreationTime, ModifiedTime, Revision FROM Config WHERE Name = ? AND "
            "ConfigGroup = ? AND Component = ? AND Identifier = ?");
}

TEST(StatementsTest, OtherReaders) {
  EXPECT_STREQ(Sql::kReadDefaultInstances,
               "SELECT Value, VitalValue, CachedValue, Identifier, Version FROM DefaultConfig "
               "WHERE Name = ? AND ConfigGroup = ? AND Component = ?");
  EXPECT_STREQ(Sql::kReadDesiredInstancesAllLayers,
               "SELECT Identifier, CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END "
               "Value, VitalValue, CachedValue, Version, CreationTime, ModifiedTime, Revision FROM "
               "Config WHERE Name = ? AND ConfigGroup = ? AND Component = ? AND (Value NOT NULL "
               "OR VitalValue NOT NULL OR CachedValue NOT NULL)");
  EXPECT_STREQ(Sql::kReadDesiredInstancesUser,
               "SELECT Identifier, CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END "
               "Value, Version, CreationTime, ModifiedTime, Revision FROM Config WHERE Name = ? "
               "AND ConfigGroup = ? AND Component = ? AND Value NOT NULL");
  EXPECT_STREQ(Sql::kReadDesiredAllLayers,
               "SELECT Version, CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END Value, "
               "VitalValue, CachedValue, CreationTime, ModifiedTime, Revision FROM Config WHERE "
               "Name = ? AND ConfigGroup = ? AND Component = ? AND Identifier = ? AND (Value NOT "
               "NULL OR VitalValue NOT NULL OR CachedValue NOT NULL)");
  EXPECT_STREQ(Sql::kReadDesiredUser,
               "SELECT Version, CASE Success WHEN 0 THEN UserValue ELSE DesiredValue END Value, "
               "CreationTime, ModifiedTime, Revision FROM Config WHERE Name = ? AND ConfigGroup = "
               "? AND Component = ? AND Identifier = ? AND Value IS NOT NULL");
  EXPECT_STREQ(Sql::kReadKernelOptionsRemediation,
               "SELECT duc1.Version, duc1.Value, c1.VitalValue FROM DesiredUserConfig duc1 LEFT "
               "JOIN Config c1 ON duc1.Name = c1.Name AND duc1.ConfigGroup = c1.ConfigGroup AND "
               "duc1.Component = c1.Component WHERE duc1.Name = 'options' AND duc1.ConfigGroup = "
               "'kestrel' AND duc1.Component = 'corv' UNION SELECT duc2.Version, duc2.Value, "
               "c2.VitalValue FROM Config c2 LEFT JOIN DesiredUserConfig duc2 ON c2.Name = "
               "duc2.Name AND c2.ConfigGroup = duc2.ConfigGroup AND c2.Component = duc2.Component "
               "WHERE c2.Name = 'options' AND c2.ConfigGroup = 'kestrel' AND c2.Component = "
               "'corv';");
  EXPECT_STREQ(Sql::kReadKernelOptions,
               "SELECT Version, CASE WHEN DesiredValue IS NULL THEN UserValue ELSE DesiredValue "
               "END AS Value, VitalValue FROM Config WHERE Name = 'options' AND ConfigGroup = "
               "'kestrel' AND Component = 'corv';");
  EXPECT_STREQ(Sql::kReadComponentRows,
               "SELECT ConfigGroup, Name, Version, AutoConfValue, UserValue, VitalValue, "
               "CachedValue, Identifier, Success, CreationTime, ModifiedTime, Revision FROM Config "
               "WHERE Component = ?");
  EXPECT_STREQ(Sql::kReadGroupRows,
               "SELECT Name, Version, AutoConfValue, UserValue, VitalValue, CachedValue, "
               "Identifier, Success, CreationTime, ModifiedTime, Revision FROM Config WHERE "
               "ConfigGroup = ? AND Component = ?");
  EXPECT_STREQ(
      Sql::kReadInstanceIds,
      "SELECT Identifier FROM Config WHERE Name = ? AND ConfigGroup = ? AND Component = ?");
  EXPECT_STREQ(Sql::kReadRevisions,
               "SELECT Identifier, Revision FROM Config WHERE Name = ? AND ConfigGroup = ? AND "
               "Component = ?");
  EXPECT_STREQ(Sql::kReadRevision,
               "SELECT Identifier, Revision FROM Config WHERE Name = ? AND ConfigGroup = ? AND "
               "Component = ? AND Identifier = ?");
}

}  // namespace

// Loading a file of key schemas into the schema store: every key schema is
// checked and normalised first, then all are written in one transaction.
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/Provisioning.h>

#include <set>
#include <vector>

#include "core/Throw.h"
#include "core/JsonFile.h"
#include "schema/KeySchemaCheck.h"
#include "schema/SchemaDatabase.h"
#include "schema/SchemaStore.h"
#include "sqlite/DBError.h"
#include "sqlite/Transaction.h"

namespace CorvConfigStore {

namespace {

using CorvSchemaStore::SchemaRow;

std::string Text(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

void CheckName(const char* what, const std::string& name, const std::string& where) {
  if (!CorvSchemaStore::IsValidSchemaName(name))
    ThrowGeneral(std::string("Invalid ") + what + " name \"" + name + "\"" + where +
                 ": names are 1 to 64 letters, digits, '_' or '-'");
}

std::string StringOr(const JsonValue& schema, const char* name, const char* fallback) {
  auto member = schema.FindMember(name);
  return member != schema.MemberEnd() && member->value.IsString() ? Text(member->value) : fallback;
}

// The rows of every key schema of the file, checked and normalised.
std::vector<SchemaRow> RowsOfFile(const std::string& path, const JsonValue& file) {
  if (!file.IsObject()) ThrowGeneral("Schema file " + path + " must hold an object of components");
  std::vector<SchemaRow> rows;
  std::set<std::string> seen;
  for (const auto& component : file.GetObject()) {
    std::string componentName = Text(component.name);
    CheckName("component", componentName, " in schema file " + path);
    if (!component.value.IsObject())
      ThrowGeneral("Component " + componentName + " in schema file " + path +
                   " must hold an object of groups");
    for (const auto& group : component.value.GetObject()) {
      std::string groupName = Text(group.name);
      CheckName("group", groupName, " in component " + componentName);
      std::string groupPath = componentName + "." + groupName;
      if (!group.value.IsObject())
        ThrowGeneral("Group " + groupPath + " in schema file " + path +
                     " must hold an object of keys");
      for (const auto& key : group.value.GetObject()) {
        std::string keyName = Text(key.name);
        CheckName("key", keyName, " in group " + groupPath);
        std::string fullName = groupPath + "." + keyName;
        if (!seen.insert(fullName).second)
          ThrowGeneral("Key " + fullName + " appears twice in schema file " + path);
        CorvSchemaStore::CheckKeySchema(fullName, key.value);

        JsonDocument normalised;
        normalised.CopyFrom(key.value, normalised.GetAllocator());
        CorvSchemaStore::NormaliseKeySchema(normalised, normalised.GetAllocator());
        rows.push_back({componentName, groupName, keyName, StringOr(normalised, "version", "1.0"),
                        StringOr(normalised, "valueType", ""), JsonToString(normalised)});
      }
    }
  }
  return rows;
}

}  // namespace

int LoadSchemaFile(const std::string& path) {
  JsonDocument file;
  CorvSchemaStore::ReadJsonFile(path, "schema file", file);
  std::vector<SchemaRow> rows = RowsOfFile(path, file);

  std::string database = DBStore::SchemaStorePath();
  auto connection = CorvSchemaStore::OpenSchemaDatabaseForWrite(database);
  DBStore::Transaction transaction(connection, "LoadSchemaFile");
  for (const SchemaRow& row : rows) {
    if (CorvSchemaStore::WriteSchemaRow(connection, row) != DBStore::kSuccess)
      DBStore::ThrowFailure(connection, "Cannot store the schema of " + row.component + "." +
                                            row.group + "." + row.key + " in " + database + ": " +
                                            connection->LastError());
  }
  transaction.Commit("Cannot commit schema file " + path + " to " + database);
  CorvSchemaStore::SchemaStore::GetCache()->Invalidate();
  CSLogger::Log(2, "Loaded %d key schemas from %s into %s", static_cast<int>(rows.size()),
                path.c_str(), database.c_str());
  return static_cast<int>(rows.size());
}

}  // namespace CorvConfigStore

// Quick start: sets up a store of its own in a temporary directory, then
// creates, reads, updates and deletes configuration objects, works with
// instances and transactions, and handles the store's errors. It prints each
// step and exits with status 1 when anything is not as expected.
#include <corvconfigstore/CorvConfigStore.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace CorvConfigStore;

namespace {

// Two keys of group "net": "dns" has one value (a singleton), "nics" one
// instance per interface, identified by its "name".
const char* const kSchemas = R"({
  "corv": {
    "net": {
      "dns": {
        "type": "object",
        "additionalProperties": false,
        "properties": {
          "servers": {"type": "array", "items": {"type": "string", "format": "ipv4"},
                      "maxItems": 3},
          "ndots": {"type": "integer", "minimum": 0, "maximum": 15, "default": 1},
          "timeoutSeconds": {"type": "integer", "minimum": 1, "default": 5}
        }
      },
      "nics": {
        "type": "array",
        "items": {
          "type": "object",
          "required": ["name"],
          "additionalProperties": false,
          "properties": {
            "name": {"type": "string", "instanceId": true},
            "enabled": {"type": "boolean", "default": true},
            "mtu": {"type": "integer", "minimum": 68, "maximum": 65536, "default": 1500}
          }
        }
      }
    }
  }
})";

int failures = 0;

void Check(bool ok, const std::string& what) {
  std::cout << (ok ? "  ok: " : "  FAILED: ") << what << "\n";
  if (!ok) ++failures;
}

// Runs body and checks that it throws a store exception with the code.
template <typename Body>
void ExpectError(int code, const std::string& what, Body body) {
  try {
    body();
    Check(false, what + " (nothing was thrown)");
  } catch (const ConfigStoreException& e) {
    std::cout << "  refused with [" << e.GetErrorCode() << "] " << e.what() << "\n";
    Check(e.GetErrorCode() == code, what);
  }
}

// A temporary directory holding the store and the schema store, removed at
// the end.
struct TempStore {
  std::filesystem::path dir;
  TempStore() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quick-start-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temporary directory");
    dir = pattern;
  }
  ~TempStore() {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  }
};

void Run(const TempStore& temp) {
  // 1. Set up: the library finds its databases through the environment.
  std::string store = (temp.dir / "store.db").string();
  std::string schemaStore = (temp.dir / "schemas.db").string();
  std::string schemaFile = (temp.dir / "schemas.json").string();
  setenv("CORV_CONFIGSTORE_DB", store.c_str(), 1);
  setenv("CORV_SCHEMASTORE_DB", schemaStore.c_str(), 1);
  std::ofstream(schemaFile) << kSchemas;

  std::cout << "1. provision a store and load key schemas\n";
  ProvisionStore(store);
  Check(LoadSchemaFile(schemaFile) == 2, "two key schemas loaded");

  std::shared_ptr<ConfigStore> cs = ConfigStore::GetStore("");

  // 2. A singleton: create, set, get.
  std::cout << "2. set and get a singleton\n";
  ConfigStoreObjectId dnsId("dns", "net", "corv");  // key, group, component
  auto dns = std::make_shared<ConfigStoreObject>(dnsId);
  dns->SetValue("servers", std::vector<std::string>{"192.0.2.53", "192.0.2.54"});
  dns->SetValue("ndots", 2);
  cs->Set(dns, EXTERNAL);

  std::shared_ptr<ConfigStoreObject> read = cs->Get(dnsId);
  Check(read != nullptr, "Get returns the object");
  std::cout << "  " << dnsId.toString() << " = " << read->GetData() << "\n";
  int ndots = 0;
  Check(read->GetValue("ndots", &ndots) == 1 && ndots == 2, "ndots is 2, from the stored value");
  int timeout = 0;
  Check(read->GetValue("timeoutSeconds", &timeout) == 2 && timeout == 5,
        "timeoutSeconds is 5, from the schema's default (result 2)");
  Check(read->GetRevision() == 1, "first write has revision 1");

  // 3. Update merges members into the stored object.
  std::cout << "3. update one member\n";
  cs->Update(CreateObject(dnsId, R"({"ndots": 3})"), EXTERNAL);
  read = cs->Get(dnsId);
  std::vector<std::string> servers;
  Check(read->GetValue("ndots", &ndots) == 1 && ndots == 3, "ndots is now 3");
  Check(read->GetValue("servers", &servers) == 1 && servers.size() == 2, "servers are kept");
  // Set replaces the row (revision + 1); Update rewrites its layer in place.
  Check(cs->GetRevision(dnsId) == 1, "Update keeps revision 1");

  // 4. A value the schema refuses: every fault comes back as a record.
  std::cout << "4. a write the schema refuses\n";
  try {
    cs->Set(CreateObject(dnsId, R"({"ndots": 99, "servers": ["not-an-address"]})"), EXTERNAL);
    Check(false, "the invalid write is refused");
  } catch (const ValidationException& e) {
    std::cout << "  refused with [" << e.GetErrorCode() << "] " << e.what() << "\n";
    for (const ErrorInfo& error : e.GetErrors())
      std::cout << "    " << error.location << ": " << error.message << "\n";
    Check(e.GetErrorCode() == CS_ERR_VALIDATION && e.GetErrors().size() == 2,
          "ValidationException 1084 with two records");
  }
  read = cs->Get(dnsId);
  Check(read->GetValue("ndots", &ndots) == 1 && ndots == 3, "nothing was written: ndots is still 3");

  // 5. Instances: one row per instance id.
  std::cout << "5. instances of a key\n";
  for (const char* name : {"eth0", "eth1"}) {
    auto nic = std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("nics", "net", "corv", name));
    nic->SetValue("mtu", 9000);
    cs->Set(nic, EXTERNAL);
  }
  // The instance id may also come from the value itself.
  cs->Set(CreateObject(ConfigStoreObjectId("nics", "net", "corv"),
                       R"({"name": "eth2", "enabled": false})"),
          EXTERNAL);
  std::vector<std::string> ids = cs->GetInstanceIds(ConfigStoreObjectId("nics", "net", "corv"));
  std::cout << "  instance ids:";
  for (const std::string& id : ids) std::cout << " " << id;
  std::cout << "\n";
  Check(ids.size() == 3, "three instances stored");

  auto disabled = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("nics", "net", "corv"));
  disabled->SetValue("enabled", false);
  auto matches = cs->GetInstances(disabled);
  Check(matches.size() == 1 && matches[0]->GetConfigStoreObjectId().instanceId == "eth2",
        "a filter on enabled=false finds eth2");
  cs->DeleteInstances(disabled);
  Check(cs->GetInstanceIds(ConfigStoreObjectId("nics", "net", "corv")).size() == 2,
        "DeleteInstances with the filter removed eth2");

  // 6. Transactions: a guard rolls back unless committed.
  std::cout << "6. transactions\n";
  {
    ConfigStoreTransaction transaction(cs);
    cs->Update(CreateObject(dnsId, R"({"ndots": 5})"), EXTERNAL);
    cs->Delete(ConfigStoreObjectId("nics", "net", "corv", "eth1"));
    // No Commit: leaving the scope cancels both changes.
  }
  read = cs->Get(dnsId);
  Check(read->GetValue("ndots", &ndots) == 1 && ndots == 3, "rolled back: ndots is still 3");
  Check(cs->Get(ConfigStoreObjectId("nics", "net", "corv", "eth1")) != nullptr,
        "rolled back: eth1 is still there");
  {
    ConfigStoreTransaction transaction(cs);
    cs->Update(CreateObject(dnsId, R"({"ndots": 5})"), EXTERNAL);
    cs->Delete(ConfigStoreObjectId("nics", "net", "corv", "eth1"));
    transaction.Commit();
  }
  read = cs->Get(dnsId);
  Check(read->GetValue("ndots", &ndots) == 1 && ndots == 5, "committed: ndots is 5");
  Check(cs->Get(ConfigStoreObjectId("nics", "net", "corv", "eth1")) == nullptr,
        "committed: eth1 is gone");

  // 7. Errors carry a code and a message.
  std::cout << "7. errors\n";
  ExpectError(CS_ERR_GENERAL, "a singleton read with an instance id",
              [&] { cs->Get(ConfigStoreObjectId("dns", "net", "corv", "x")); });
  ExpectError(CS_ERR_SCHEMA_NOT_FOUND, "a key without schema",
              [&] { cs->Get(ConfigStoreObjectId("nope", "net", "corv")); });
  ExpectError(CS_ERR_GENERAL, "a next-boot store for a key not staged for the next boot",
              [&] { cs->GetNextBootStore()->Get(dnsId); });

  // 8. Export the store's content as a document, then delete.
  std::cout << "8. export and delete\n";
  std::vector<std::shared_ptr<FilterSpecObject>> filters{
      std::make_shared<FilterSpecObject>(dnsId),
      std::make_shared<FilterSpecObject>(ConfigStoreObjectId("nics", "net", "corv"))};
  std::string document = Export(filters);
  std::cout << "  " << document << "\n";
  Check(document.find("\"eth0\"") != std::string::npos, "the export holds eth0");
  cs->Delete(dnsId);
  Check(cs->Get(dnsId) == nullptr, "Get after Delete returns null");
  Check(cs->GetRevision(dnsId) == -1, "GetRevision after Delete returns -1");
}

}  // namespace

int main() {
  // The library logs errors and warnings to syslog; this program shows the
  // errors it provokes itself, so it keeps the log lines out of the way.
  CSLogger::SetSink([](int, const std::string&) {});
  try {
    TempStore temp;
    Run(temp);
  } catch (const ConfigStoreException& e) {
    std::cout << "unexpected error [" << e.GetErrorCode() << "] " << e.what() << "\n";
    return 1;
  } catch (const std::exception& e) {
    std::cout << "unexpected error: " << e.what() << "\n";
    return 1;
  }
  std::cout << (failures == 0 ? "quick start: all checks passed\n" : "quick start: checks FAILED\n");
  return failures == 0 ? 0 : 1;
}

// The write paths of the campaign.
#include "WritePaths.h"

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/NextBootStore.h>
#include <corvconfigstore/Provisioning.h>

#include <stdexcept>

namespace IoFault {

using namespace CorvConfigStore;

namespace {

ConfigStoreObjectId Id(const char* key, const char* group, const char* instance = "") {
  return ConfigStoreObjectId(key, group, "corv", instance);
}

std::shared_ptr<ConfigStore> Store() { return ConfigStore::GetStore(""); }

std::shared_ptr<ConfigStoreObject> Iface(const char* name, int mtu) {
  return CreateObject(Id("iface", "net"), std::string(R"({"name": ")") + name + R"(", "mtu": )" +
                                              std::to_string(mtu) + "}");
}

// A schema file that adds a key and changes another.
const char* const kMoreSchemas = R"({"corv": {
  "net": {"ntp": {"type": "object", "properties": {"server": {"type": "string"}}},
          "dns": {"type": "object", "properties": {
            "domain": {"type": "string"}, "ttl": {"type": "integer"},
            "servers": {"type": "array", "items": {"type": "string"}},
            "search": {"type": "array", "items": {"type": "string"}}}}}
}})";

const char* const kMoreDefaults =
    R"({"corv": {"net": {"dns": {"domain": "default.org"},
                         "iface": [{"name": "eth1", "mtu": 1500}]}}})";

const char* const kDocument =
    R"({"corv": {"net": {"dns": {"domain": "imported.org", "ttl": 1},
                         "iface": [{"name": "eth7", "mtu": 1280}]}}})";

}  // namespace

const std::vector<WritePath>& WritePaths() {
  static const std::vector<WritePath> paths = {
      {"Set",
       [](const CampaignStore&) {
         Store()->Set(CreateObject(Id("dns", "net"), R"({"domain": "c.org", "ttl": 7})"), EXTERNAL);
       }},
      {"Update",
       [](const CampaignStore&) {
         Store()->Update(CreateObject(Id("dns", "net"), R"({"servers": ["10.0.0.1"]})"), EXTERNAL);
       }},
      {"SetInstances",
       [](const CampaignStore&) {
         Store()->SetInstances({Iface("eth0", 1500), Iface("eth1", 1500)}, EXTERNAL);
       }},
      {"Delete", [](const CampaignStore&) { Store()->Delete(Id("dns", "net")); }},
      {"NextBootSet",
       [](const CampaignStore&) {
         Store()->GetNextBootStore()->Set(
             CreateObject(Id("kernel", "sys"), R"({"cmdline": "console=ttyS0"})"));
       }},
      {"NextBootSetInstances",
       [](const CampaignStore&) {
         Store()->GetNextBootStore()->SetInstances(
             {CreateObject(Id("boot", "sys"), R"({"name": "b2", "args": "single"})")});
       }},
      {"NextBootDelete",
       [](const CampaignStore&) { Store()->GetNextBootStore()->Delete(Id("boot", "sys", "b1")); }},
      {"SetBootStatus", [](const CampaignStore&) { SetBootStatus(Id("dns", "net"), true); }},
      {"SetPartialBootStatus",
       [](const CampaignStore&) {
         SetPartialBootStatus(CreateObject(Id("dns", "net"), R"({"ttl": 6})"));
       }},
      {"Import",
       [](const CampaignStore&) {
         std::vector<ErrorInfo> errors;
         if (!Import(kDocument, errors)) throw std::logic_error("the document was refused");
       }},
      {"LoadSchemaFile",
       [](const CampaignStore& stores) {
         LoadSchemaFile(stores.Dir().Write("more-schemas.json", kMoreSchemas));
       }},
      {"LoadDefaultsFile",
       [](const CampaignStore& stores) {
         LoadDefaultsFile(stores.Dir().Write("more-defaults.json", kMoreDefaults));
       }},
  };
  return paths;
}

}  // namespace IoFault

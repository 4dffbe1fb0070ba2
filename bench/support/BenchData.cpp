// The benchmark keys, their schema file and their values.
#include "support/BenchData.h"

#include <cstdio>

namespace CorvBench {

const char kComponent[] = "bench";
const char kGroup[] = "net";
const char kHostKey[] = "host";
const char kFillerKey[] = "filler";

namespace {

// The singleton: user members, two vital and two cached ones.
const char kHostSchema[] = R"({
  "type": "object", "version": "2.1", "additionalProperties": false,
  "properties": {
    "hostname": {"type": "string", "pattern": "^[a-z][a-z0-9-]*$", "maxLength": 63},
    "domain": {"type": "string", "maxLength": 253},
    "servers": {"type": "array", "items": {"type": "string", "format": "ipv4"}, "maxItems": 3},
    "timeoutSeconds": {"type": "integer", "minimum": 1, "maximum": 60, "default": 5},
    "rotate": {"type": "boolean", "default": false},
    "serialNumber": {"type": "string", "vital": true},
    "bootDevice": {"type": "string", "pattern": "^/dev/", "vital": true},
    "uptimeSeconds": {"type": "integer", "minimum": 0, "cached": true},
    "lastBoot": {"type": "string", "cached": true}
  }
})";

// The keys with instances, all of the same instance schema.
const char kPortsSchema[] = R"({
  "type": "array", "version": "1.4",
  "items": {
    "type": "object", "required": ["name"], "additionalProperties": false,
    "properties": {
      "name": {"type": "string", "instanceId": true, "pattern": "^port[0-9]{6}$"},
      "enabled": {"type": "boolean", "default": true},
      "mtu": {"type": "integer", "minimum": 68, "maximum": 9216, "default": 1500},
      "speed": {"type": "integer", "minimum": 0},
      "duplex": {"type": "string", "enum": ["full", "half"]},
      "description": {"type": "string", "maxLength": 128},
      "address": {"type": "string", "format": "ipv4"},
      "prefixLength": {"type": "integer", "minimum": 0, "maximum": 32},
      "vlans": {"type": "array", "items": {"type": "integer", "minimum": 1, "maximum": 4094},
                "maxItems": 64},
      "tags": {"type": "array", "items": {"type": "string"}}
    }
  }
})";

std::string HostText(int timeoutSeconds, bool withSystemLayers) {
  std::string text = R"({"hostname":"bench-host","domain":"lab.example.net",)"
                     R"("servers":["192.0.2.53","192.0.2.54"],"timeoutSeconds":)" +
                     std::to_string(timeoutSeconds) + R"(,"rotate":true)";
  if (withSystemLayers)
    text += R"(,"serialNumber":"SN-2024-000417","bootDevice":"/dev/nvme0n1",)"
            R"("uptimeSeconds":86400,"lastBoot":"2024-05-01T08:00:00Z")";
  return text + "}";
}

}  // namespace

std::string PortsKey(int count) { return "ports" + std::to_string(count); }

CorvConfigStore::ConfigStoreObjectId HostId() {
  return CorvConfigStore::ConfigStoreObjectId(kHostKey, kGroup, kComponent);
}

CorvConfigStore::ConfigStoreObjectId KeyId(const std::string& key, const std::string& instanceId) {
  return CorvConfigStore::ConfigStoreObjectId(key, kGroup, kComponent, instanceId);
}

std::string SchemaFileText() {
  std::string keys = std::string("\"") + kHostKey + "\": " + kHostSchema;
  for (int count : kPortCounts) keys += ",\n\"" + PortsKey(count) + "\": " + kPortsSchema;
  keys += std::string(",\n\"") + kFillerKey + "\": " + kPortsSchema;
  return std::string("{\"") + kComponent + "\": {\"" + kGroup + "\": {\n" + keys + "\n}}}\n";
}

std::string HostJson(int timeoutSeconds) { return HostText(timeoutSeconds, true); }

int NextTimeout(int timeoutSeconds) { return timeoutSeconds % 60 + 1; }

std::string HostUserJson(int timeoutSeconds) { return HostText(timeoutSeconds, false); }

std::string HostUpdateJson(int timeoutSeconds) {
  return R"({"timeoutSeconds":)" + std::to_string(timeoutSeconds) + "}";
}

std::string InvalidHostJson() {
  return R"({"hostname":"Not A Hostname","servers":["192.0.2.53",7],"timeoutSeconds":99,)"
         R"("color":"blue"})";
}

std::string PortName(int index) {
  char name[16];
  std::snprintf(name, sizeof name, "port%06d", index);
  return name;
}

std::string PortJson(int index) {
  char text[320];
  std::snprintf(text, sizeof text,
                R"({"name":"%s","enabled":true,"mtu":9000,"speed":25000,"duplex":"full",)"
                R"("description":"uplink %d to rack %d, row %d, patch panel B, cable C%06d",)"
                R"("address":"10.%d.%d.%d","prefixLength":24,"vlans":[10,20,30,%d],)"
                R"("tags":["uplink","rack%d"]})",
                PortName(index).c_str(), index, index % 48, index % 7, index, (index >> 16) & 255,
                (index >> 8) & 255, index & 255, 100 + index % 3900, index % 48);
  return text;
}

std::string PortsDocument(const std::string& key, int count) {
  std::string document =
      std::string("{\"") + kComponent + "\":{\"" + kGroup + "\":{\"" + key + "\":[";
  for (int i = 0; i < count; ++i) document += (i == 0 ? "" : ",") + PortJson(i);
  return document + "]}}}";
}

}  // namespace CorvBench

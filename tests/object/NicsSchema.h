// The key schemas the configuration-object tests work with: "nics", a key
// with instances holding a list ("ips"), a singleton object ("opts") and a
// list of instances with generated ids ("routes"); and "dns", a singleton.
#pragma once

namespace CorvTest {

inline const char* NicsSchemaText() {
  return R"({
    "type": "array",
    "version": "2.1",
    "items": {
      "type": "object",
      "properties": {
        "name": {"type": "string", "instanceId": true},
        "mtu": {"type": "integer", "default": 1500},
        "desc": {"type": "string"},
        "tags": {"type": "array", "items": {"type": "string"}, "default": ["lan"]},
        "opts": {
          "type": "object",
          "properties": {
            "speed": {"type": "integer", "default": 100},
            "duplex": {"type": "string"},
            "inner": {"type": "object", "properties": {"x": {"type": "integer"}}}
          }
        },
        "ips": {
          "type": "array",
          "items": {
            "type": "object",
            "properties": {
              "addr": {"type": "string", "instanceId": true},
              "prefix": {"type": "integer", "default": 24}
            }
          }
        },
        "routes": {
          "type": "array",
          "items": {"type": "object", "properties": {"via": {"type": "string"}}}
        },
        "vitalObj": {"type": "object", "vital": true, "properties": {"a": {"type": "integer"}}},
        "cachedObj": {"type": "object", "cached": true, "properties": {"a": {"type": "integer"}}},
        "solObj": {"type": "object", "solutionUser": true, "properties": {}},
        "vitalList": {
          "type": "array",
          "vital": true,
          "items": {"type": "object", "properties": {"a": {"type": "string", "instanceId": true}}}
        }
      }
    }
  })";
}

inline const char* DnsSchemaText() {
  return R"({
    "type": "object",
    "properties": {
      "servers": {"type": "array", "items": {"type": "string"}},
      "opts": {"type": "object", "properties": {"timeout": {"type": "integer", "default": 5}}}
    }
  })";
}

}  // namespace CorvTest

// Compiles against the headers that take rapidjson values, whose include
// directory the installed package must provide, and validates one document
// that passes and one that does not.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/ValidateApplyFile.h>

#include <iostream>

int main() {
  rapidjson::Document schema;
  schema.Parse(R"({"type": "object", "properties": {"mtu": {"type": "integer"}}})");
  rapidjson::Document good;
  good.Parse(R"({"mtu": 1500})");
  rapidjson::Document bad;
  bad.Parse(R"({"mtu": "large"})");
  if (schema.HasParseError() || good.HasParseError() || bad.HasParseError()) return 1;
  CorvConfigStore::ValidateApplyFile(good, schema);
  try {
    CorvConfigStore::ValidateApplyFile(bad, schema);
  } catch (const CorvConfigStore::ValidationException& e) {
    std::cout << e.what() << "\n";
    return e.GetErrorCode() == 1091 ? 0 : 1;
  }
  return 1;
}

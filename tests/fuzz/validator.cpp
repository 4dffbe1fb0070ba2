// Fuzz target: the JSON Schema validator with an arbitrary schema, an
// arbitrary value and any set of its options, through both entries (a
// compiled schema, and a schema used once). Both give the same records,
// each naming a JSON Pointer and saying what is wrong in valid UTF-8, and
// the record document of the second is JSON.
#include <corvconfigstore/Exceptions.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

#include "fuzz/FuzzSupport.h"
#include "jsonschema/CompiledSchema.h"
#include "jsonschema/JsonValidator.h"

using namespace CorvConfigStore;

namespace {

// The validator's options, each selected by one bit of the input.
const int kOptions[] = {0, 1, 3, 4, 5, 7, 8, 9};

bool Parse(const std::string& text, JsonDocument& document) {
  return ParseJson(text.data(), text.size(), document, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  CorvFuzz::QuietLog();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const uint8_t bits = input.ConsumeIntegral<uint8_t>();
  std::unordered_set<int> options;
  for (size_t i = 0; i < std::size(kOptions); ++i)
    if ((bits >> i) & 1) options.insert(kOptions[i]);
  const std::string schemaText = input.ConsumeRandomLengthString(size);
  const std::string valueText = input.ConsumeRemainingBytesAsString();

  JsonDocument schema, value;
  if (!Parse(schemaText, schema) || !Parse(valueText, value)) return 0;

  JsonValidator::ErrorList errors;
  try {
    JsonValidator::CompiledSchema compiled(schema);
    JsonValidator::Validate(compiled, value, errors, options, "");
  } catch (const ConfigStoreException&) {
    return 0;
  }
  for (const JsonValidator::ErrorRecord& record : errors) {
    if (record.field.empty() || record.field[0] != '/')
      CorvFuzz::Fail("record field is not a pointer: " + record.field);
    if (!CorvFuzz::IsUtf8(record.field) || !CorvFuzz::IsUtf8(record.error))
      CorvFuzz::Fail("record text is not UTF-8: " + record.field + ": " + record.error);
  }

  JsonDocument records;
  JsonValidator::Validate(schema, value, records, options, "");
  if (!records.IsArray() || records.Size() != errors.size())
    CorvFuzz::Fail("the two entries disagree");
  if (!CorvFuzz::IsJson(JsonToString(records))) CorvFuzz::Fail("records are not JSON");
  return 0;
}

// Schema validation of a typical object (the singleton's whole value)
// through the store handle, beside rapidjson's own SchemaValidator checking
// the same value against the same key schema, as the schema store holds
// it. rapidjson skips the keywords it does not know (the store's layer
// annotations) and does not check "format"; both sides are first shown to
// accept the value and to refuse one that breaks the schema.
#include <benchmark/benchmark.h>
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Json.h>

#include <memory>
#include <string>

#include "support/BenchData.h"
#include "support/BenchStore.h"
#include "support/RawValidator.h"
#include "support/Results.h"

namespace CorvBench {
namespace {

BenchStore& ValidateStore() {
  static const std::unique_ptr<BenchStore> store = std::make_unique<BenchStore>("validate");
  store->Use();
  return *store;
}

bool LibValid(const std::string& text) {
  return ValidateStore().Lib().Validate(CorvConfigStore::CreateObject(HostId(), text)).empty();
}

void LibValidate(benchmark::State& state) {
  Expect(state, LibValid(HostJson(5)) && !LibValid(InvalidHostJson()),
         "the library does not tell the valid value from the invalid one");
  CorvConfigStore::ConfigStore& store = ValidateStore().Lib();
  auto object = CorvConfigStore::CreateObject(HostId(), HostJson(5));
  for (auto _ : state) {
    if (!store.Validate(object).empty()) state.SkipWithError("refused");
  }
}

void RawValidate(benchmark::State& state) {
  RawValidator validator(kHostKey);
  Expect(state, validator.Valid(HostJson(5)) && !validator.Valid(InvalidHostJson()),
         "rapidjson does not tell the valid value from the invalid one");
  rapidjson::Document value;
  value.Parse(HostJson(5).c_str());
  for (auto _ : state) {
    if (!validator.Valid(value)) state.SkipWithError("refused");
  }
}

BENCHMARK(LibValidate)->Name("Lib/Validate")->UseRealTime();
BENCHMARK(RawValidate)->Name("Raw/Validate")->UseRealTime();

}  // namespace
}  // namespace CorvBench

BENCHMARK_MAIN();

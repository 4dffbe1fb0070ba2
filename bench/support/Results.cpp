// Checks and counters shared by the benchmarks.
#include "support/Results.h"

#include <unordered_set>

#include "support/RawJson.h"

namespace CorvBench {

bool FirstTime(const std::string& what) {
  static std::unordered_set<std::string> asked;
  return asked.insert(what).second;
}

void Expect(benchmark::State& state, bool ok, const char* what) {
  if (!ok) state.SkipWithError(what);
}

void ExpectSameJson(benchmark::State& state, const std::string& library, const std::string& raw,
                    const char* what) {
  Expect(state, SameJson(library, raw), what);
}

void ExpectSameDocument(benchmark::State& state, const std::string& library, const std::string& raw,
                        const char* what) {
  Expect(state, SameDocument(library, raw), what);
}

void ReportInstances(benchmark::State& state, int count) {
  state.SetItemsProcessed(state.iterations() * count);
  state.counters["instances"] = count;
}

std::string InstancesText(
    const std::vector<std::shared_ptr<CorvConfigStore::ConfigStoreObject>>& objects) {
  std::string text = "[";
  for (size_t i = 0; i < objects.size(); ++i) {
    if (i > 0) text += ",";
    text += objects[i]->GetData();
  }
  return text + "]";
}

}  // namespace CorvBench

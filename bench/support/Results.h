// How the benchmarks check and report what they measure. Every pair checks,
// before it measures, that the library and its raw twin produce the same
// JSON, and writes show afterwards that the store reads back what was last
// written: a failed check marks the case as an error in the results.
#pragma once

#include <benchmark/benchmark.h>
#include <corvconfigstore/ConfigStoreObject.h>

#include <memory>
#include <string>
#include <vector>

namespace CorvBench {

// True the first time it is asked about what in this process: the checks
// made before measuring run once, not once per repetition.
bool FirstTime(const std::string& what);

void Expect(benchmark::State& state, bool ok, const char* what);
void ExpectSameJson(benchmark::State& state, const std::string& library, const std::string& raw,
                    const char* what);
void ExpectSameDocument(benchmark::State& state, const std::string& library, const std::string& raw,
                        const char* what);

// Reports count instances handled per call: items per second, and the
// counter "instances" that scripts/bench.sh divides the time by.
void ReportInstances(benchmark::State& state, int count);

// The objects' texts as one JSON array, as corvcfg prints a key's
// instances.
std::string InstancesText(
    const std::vector<std::shared_ptr<CorvConfigStore::ConfigStoreObject>>& objects);

}  // namespace CorvBench

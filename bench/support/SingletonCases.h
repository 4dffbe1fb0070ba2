// The read and the durable write of the benchmark singleton, library and
// raw twin, as loops any benchmark can run on its own store: the reads
// measure them on a small table, the table-size benchmarks on large ones.
#pragma once

#include <benchmark/benchmark.h>

#include "support/BenchStore.h"

namespace CorvBench {

// Get: the row read and its user, vital and cached layers merged into one
// object.
void RunLibGet(benchmark::State& state, BenchStore& store);
void RunRawGet(benchmark::State& state, BenchStore& store);

// Set: a value parsed, split into its layers and written as one durable
// statement (one commit, one fsync of the log), between the reads of the
// store's two switches.
void RunLibSet(benchmark::State& state, BenchStore& store);
void RunRawSet(benchmark::State& state, BenchStore& store);

// Marks the case as an error unless the stored singleton reads back, whole,
// as HostJson(timeoutSeconds): the check after every write of it.
void ExpectHostStored(benchmark::State& state, BenchStore& store, int timeoutSeconds);

}  // namespace CorvBench

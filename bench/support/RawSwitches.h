// The two key-value switches every durable write of the store reads, as a
// raw twin reads them: on a connection of their own (the library reads them
// on the thread's default connection, not on the store handle's), with the
// library's own key-value statement. "IS_BOOT" is read before a write of
// user data (a write the boot phase refuses), "NOTIFY_NEXD" after the
// commit (the change is announced when it is on).
#pragma once

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <memory>
#include <string>

#include "support/RawSql.h"

namespace CorvBench {

class RawSwitches {
 public:
  explicit RawSwitches(const std::string& path);
  ~RawSwitches();
  RawSwitches(const RawSwitches&) = delete;
  RawSwitches& operator=(const RawSwitches&) = delete;

  // Each reads its switch; true when it is "true".
  bool Boot();
  bool Notify();

  // The bench stores set neither switch: marks the case as an error when a
  // read found one on (a write would then have been refused, or announced).
  void ExpectOff(benchmark::State& state) const;

 private:
  bool Read(const std::string& key);

  sqlite3* reader_;
  std::unique_ptr<RawStatement> read_;
  bool anyOn_ = false;
};

}  // namespace CorvBench

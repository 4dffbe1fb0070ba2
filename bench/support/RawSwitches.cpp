// The raw twins' reads of the store's switches.
#include "support/RawSwitches.h"

#include <cstring>

#include "sqlite/DBStore.h"

namespace CorvBench {

RawSwitches::RawSwitches(const std::string& path)
    : reader_(OpenRaw(path)),
      read_(std::make_unique<RawStatement>(reader_, DBStore::kReadKeyValueSql)) {}

RawSwitches::~RawSwitches() {
  read_.reset();
  sqlite3_close(reader_);
}

// The keys live as long as the process: a bound text is not copied.
bool RawSwitches::Boot() {
  static const std::string key = "IS_BOOT";
  return Read(key);
}

bool RawSwitches::Notify() {
  static const std::string key = "NOTIFY_NEXD";
  return Read(key);
}

bool RawSwitches::Read(const std::string& key) {
  read_->BindText(1, key);
  const bool on = read_->Step() && std::strcmp(read_->Text(0), "true") == 0;
  read_->Reset();
  anyOn_ |= on;
  return on;
}

void RawSwitches::ExpectOff(benchmark::State& state) const {
  if (anyOn_) state.SkipWithError("a switch read as on in a store that sets none");
}

}  // namespace CorvBench

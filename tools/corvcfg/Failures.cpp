// Turning failures into what an administrator reads and the exit status.
#include "Failures.h"

#include <corvconfigstore/Provisioning.h>
#include <sys/stat.h>

#include <sstream>

#include "Commands.h"
#include "Names.h"

using CorvConfigStore::ConfigStoreException;

namespace {

// The name a library message gives as "comp C grp G key K[ id I]", dotted
// as on the command line: C.G.K.
std::string DottedName(const std::string& id) {
  std::istringstream words(id);
  std::string comp, component, grp, group, key, name;
  if (!(words >> comp >> component >> grp >> group >> key >> name) || comp != "comp" ||
      grp != "grp" || key != "key")
    return id;
  return component + "." + group + "." + name;
}

bool Exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

const char kSchemaStoreHint[] =
    "--schema-db PATH or CORV_SCHEMASTORE_DB names the schema store; `corvcfg schema load FILE` "
    "fills one";

void AddStoreHints(Failure& failure, const ConfigStoreException& error, bool connecting) {
  const std::string store = CorvConfigStore::ConfigStorePath();
  const std::string message = error.what();
  if (message.compare(0, 24, "Cannot read schemas from") == 0) {
    failure.Hint(kSchemaStoreHint);
    return;
  }
  if (connecting) {
    // The library names no reason for a store that was never made.
    if (error.GetDetails().empty() && !Exists(store)) failure.Cause(store + ": no such file");
    failure.Hint("--db PATH or CORV_CONFIGSTORE_DB names the store; `corvcfg store init` "
                 "creates one");
    return;
  }
  // SQLite's words for a write lock another connection holds past the busy
  // time-out.
  for (const std::string& detail : error.GetDetails())
    if (detail == "database is locked")
      failure.Hint("another process is writing to the store " + store +
                   "; try again once it has finished");
}

// Hints for the rules the store enforces, by the library's fixed messages.
void AddRuleHints(Failure& failure, const std::string& message, const Invocation& at) {
  const std::string name = at.name.empty() ? "the key" : at.name;
  const bool writesValues =
      at.command == "set" || at.command == "update" || at.command == "next-boot set";
  if (message == "Non-Singleton object should contain instanceId") {
    failure.Hint(name + " has instances; name one with --id ID" +
                 (at.takesAll       ? ", or use --all"
                  : writesValues ? ", or give a JSON array of instances"
                                 : ""));
  } else if (message == "Singleton object cannot contain instanceId") {
    failure.Hint(name + " has no instances; leave out --id");
  } else if (message == "API called for singleton object, non-singleton expected") {
    failure.Hint(name + " has no instances" +
                 (at.command == "ids" ? "; `corvcfg get " + name + "` prints its value"
                  : at.takesAll       ? "; leave out --all and --filter"
                                      : ""));
  } else if (message == "API cannot be invoked with EXTERNAL context during boot") {
    failure.Cause("the host is booting: IS_BOOT is true in the key-value table of " +
                  CorvConfigStore::ConfigStorePath());
    failure.Hint(at.takesContext
                     ? "wait until the boot has ended, or write as the host itself with "
                       "--context internal"
                     : "wait until the boot has ended");
  } else if (message == "NextBootStore is not supported during the upgrade or boot phase") {
    failure.Hint("the host is booting or upgrading; wait until it has ended");
  }
}

}  // namespace

Failure& Failure::Cause(const std::string& cause) {
  details_.push_back("  cause: " + cause);
  return *this;
}

Failure& Failure::Record(const std::string& location, const std::string& message) {
  details_.push_back("  " + location + ": " + message);
  return *this;
}

Failure& Failure::Hint(const std::string& hint) {
  hints_.push_back("hint: " + hint);
  return *this;
}

void Failure::Print(std::ostream& out) const {
  if (!line_.empty()) out << line_ << "\n";
  for (const std::string& line : details_) out << line << "\n";
  for (const std::string& line : hints_) out << line << "\n";
  out.flush();
}

Failure Explain(const ConfigStoreException& error, const Invocation& at) {
  const std::string message = error.what();
  if (error.GetErrorCode() == CorvConfigStore::CS_ERR_SCHEMA_NOT_FOUND) {
    const std::string prefix = "Schema not found for: ";
    return UnknownName(DottedName(message.compare(0, prefix.size(), prefix) == 0
                                      ? message.substr(prefix.size())
                                      : message));
  }
  const bool connecting = error.GetErrorCode() == CorvConfigStore::CS_ERR_DB_CONNECTION ||
                          message == "Failed to connect to database";
  // The store cannot be used at all: it cannot be opened, or a database call
  // failed, which the library reports with the database's reason as a
  // detail (locked, read-only, not a database, damaged, I/O).
  const bool unusable = connecting || !error.GetDetails().empty();
  Failure failure(unusable ? kExitUnavailable : kExitFailure,
                  "[" + std::to_string(error.GetErrorCode()) + "] " + message);
  for (const std::string& detail : error.GetDetails()) failure.Cause(detail);
  if (auto* invalid = dynamic_cast<const CorvConfigStore::ValidationException*>(&error))
    for (const CorvConfigStore::ErrorInfo& record : invalid->GetErrors())
      failure.Record(record.location, record.message);
  if (unusable)
    AddStoreHints(failure, error, connecting);
  else
    AddRuleHints(failure, message, at);
  return failure;
}

void ThrowAbsent(const std::string& message) { throw Failure(kExitAbsent, message); }

std::optional<Failure> SchemaStoreFailure(const std::string& line) {
  // A schema store that exists but cannot be read is the library's to
  // report; one that does not exist holds no schemas, which is seldom what
  // the administrator meant.
  const std::string path = CorvConfigStore::SchemaStorePath();
  if (Exists(path)) return std::nullopt;
  const std::string what = "the schema store " + path + ": no such file";
  Failure failure(kExitUnavailable, line.empty() ? "Cannot read " + what : line);
  if (!line.empty()) failure.Cause("cannot read " + what);
  failure.Hint(kSchemaStoreHint);
  return failure;
}

// The stores the campaign runs on: one reference pair (schema store and
// store) built once through the library, and a fresh byte copy of both for
// every trial, so that each trial starts from the same files.
#pragma once

#include <string>
#include <vector>

#include "support/TempDir.h"

namespace IoFault {

// The schema file every store is loaded from, the defaults file, and the
// documents the write paths take.
extern const char* const kSchemas;
extern const char* const kDefaults;

class CampaignStore {
 public:
  // Builds the reference stores in a temporary directory: the schemas, the
  // defaults, a few objects with and without instances, a value pending for
  // the next boot and a next-boot entry, and extraRows more instances (so
  // that the store spans many pages); then checkpoints both files.
  explicit CampaignStore(int extraRows = 0);
  ~CampaignStore();
  CampaignStore(const CampaignStore&) = delete;
  CampaignStore& operator=(const CampaignStore&) = delete;

  const CorvTest::TempDir& Dir() const { return dir_; }

  // Copies the reference files to new names and points CORV_SCHEMASTORE_DB
  // and CORV_CONFIGSTORE_DB at them; removes the previous trial's files.
  void NewTrial();
  const std::string& StorePath() const { return store_; }
  const std::string& SchemaStorePath() const { return schemaStore_; }

  // The content of the trial's two databases (see CorvTest::DumpDatabase),
  // as this process sees it and as a process opening them afresh would.
  std::vector<std::string> Dump(bool maskTimes) const;

 private:
  void RemoveTrial();

  CorvTest::TempDir dir_;
  std::string referenceStore_, referenceSchemaStore_;
  std::string store_, schemaStore_;
  int trials_ = 0;
};

// Runs sql on the database at path through a plain connection; throws
// std::runtime_error with SQLite's reason on failure.
void ExecPlain(const std::string& path, const std::string& sql);

// Adds count instances of corv.net.iface ("if1", "if2", ...) to the store
// at path, behind the library's back.
void AddInstances(const std::string& path, int count);

}  // namespace IoFault

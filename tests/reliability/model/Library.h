// The library side of the campaign: a fresh store and schema store in a
// temporary directory, the steps carried out through the public API, and
// the reads turned into the campaign's values for comparison.
#pragma once

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/NextBootStore.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Model.h"
#include "Step.h"
#include "Value.h"
#include "support/StoreEnvironment.h"

namespace ModelCampaign {

class Library {
 public:
  Library();
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Carries out a step other than the import of an export; exceptions
  // become refusals with their code and message.
  Outcome Apply(const Step& step);

  // The export of the keys in mask, and the import of a document.
  std::string Export(int mask);
  Outcome Import(const std::string& document);

  Layer Get(int key, const std::string& id);
  int Revision(int key, const std::string& id);
  std::vector<Value> Instances(int key, const Value& criteria);
  std::vector<std::string> InstanceIds(int key);
  std::vector<std::pair<std::string, int>> InstanceRevisions(int key);
  Layer NextBootGet(int key, const std::string& id);
  std::vector<Value> NextBootInstances(int key);
  Layer Desired(int key, const std::string& id, bool withLayers);
  std::vector<Value> DesiredInstances(int key, bool withLayers);
  Layer KernelOptions();
  std::string BootMode();

 private:
  void Carry(const Step& step);

  CorvTest::StoreEnvironment environment_;
  std::shared_ptr<CorvConfigStore::ConfigStore> store_;
  // Taken while no boot or upgrade is in progress and kept, so that
  // next-boot rows can be read in every phase.
  std::shared_ptr<CorvConfigStore::NextBootStore> nextBoot_;
};

}  // namespace ModelCampaign

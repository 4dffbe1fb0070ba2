// Every way the library writes a store or the schema store, each as one
// call of the public API on the trial's stores, starting from the
// reference content.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CampaignStore.h"

namespace IoFault {

struct WritePath {
  std::string name;
  // Makes its own store handle and releases it before returning, so that
  // every connection it opened is closed again (and a fault while closing
  // is part of the call). Throws what the library throws.
  std::function<void(const CampaignStore&)> run;
};

const std::vector<WritePath>& WritePaths();

}  // namespace IoFault

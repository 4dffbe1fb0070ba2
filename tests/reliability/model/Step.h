// One step of a random sequence: an operation and its arguments, in a form
// that both the library driver and the reference model read, and its text
// for the report of a failing sequence.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Value.h"

namespace ModelCampaign {

enum class Op {
  kSet,                  // Set(value, context)
  kSetUserData,          // SetUserData(value, context)
  kSetVitalData,         // SetVitalData(value)
  kSetCachedData,        // SetCachedData(value)
  kUpdate,               // Update(value, context)
  kDelete,               // Delete(id)
  kDeleteInstances,      // DeleteInstances(filter)
  kSetInstances,         // SetInstances(list, context)
  kSetUserDataInstances, // SetUserDataInstances(list, context)
  kSetVitalDataInstances,   // SetVitalDataInstances(list)
  kSetCachedDataInstances,  // SetCachedDataInstances(list)
  kNextBootSet,          // next-boot store: Set(value)
  kNextBootDelete,       // next-boot store: Delete(id)
  kNextBootReset,        // next-boot store: Reset(key)
  kNextBootSetInstances, // next-boot store: SetInstances(list)
  kNextBootDeleteInstances,  // next-boot store: DeleteInstances(filter)
  kBootStatus,           // SetBootStatus(id, flag)
  kPartialBootStatus,    // SetPartialBootStatus(value)
  kUpdateKernelOptions,  // UpdateKernelOptions(value)
  kImportExport,         // Import(Export(filters of the keys in mask))
  kBegin,                // BeginTransaction
  kCommit,               // CommitTransaction
  kCancel,               // CancelTransaction
  kSwitchBoot,           // key-value "IS_BOOT" = flag ? "true" : "false"
  kSwitchUpgrade,        // upgrade context = number
  kSwitchBootMode,       // key-value "BOOT_MODE" = flag ? "1" : "0"
  kCount
};

const char* OpName(Op op);

struct Step {
  Op op = Op::kSet;
  int key = 0;             // index into Keys()
  std::string instance;    // instance id ("" for a singleton or a whole key)
  bool internal = false;   // context INTERNAL rather than EXTERNAL
  bool flag = false;       // boot status, switch value
  int number = 0;          // upgrade context; key mask of an export
  Value value;             // object written; filter criteria
  std::vector<std::pair<std::string, Value>> list;  // instances written

  std::string Text() const;
};

}  // namespace ModelCampaign

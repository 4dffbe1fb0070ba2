// Configuration that takes effect at the next boot: next-boot rows
// (DesiredUserConfig), their confirmation after a boot, and the kernel
// options object. Every operation runs on the caller's connection inside the
// caller's transaction.
#pragma once

#include <corvconfigstore/FilterSpecObject.h>

#include "db/ConfigRow.h"

namespace CorvConfigStore {

// "BOOT_MODE" values: "1" while the host is being remediated, "4" once
// next-boot configuration is pending.
extern const char kBootModeKey[];
extern const char kBootModeRemediation[];
extern const char kBootModePending[];

// The writers and the clear below first refuse, with ConfigStoreException
// 2000 "Corv host is being remediated by Plexa, cannot set next-boot
// configuration.", while "BOOT_MODE" is "1" ("Failed to read value from
// database." when it cannot be read). The writers then mark "BOOT_MODE" "4"
// ("Failed to write BootMode to database." when that fails).

// Stores the object, split into its layers, as its next-boot "SET" row,
// replacing any earlier row of the instance. Throws 2000 "Failed to update
// reboot-required configuraition." when the store fails.
void SetRebootRequiredConfigInternal(const ObjectPtr& object, const SchemaPtr& schema,
                                     const Connection& conn);
// Replaces every next-boot row of the objects' type by one "SET" row per
// object.
void SetRebootRequiredConfigInstancesInternal(const ObjectList& objects, const SchemaPtr& schema,
                                              const Connection& conn);
// Stores a next-boot deletion: "DELETE_INSTANCE" for a key with instances,
// "DELETE" otherwise. Throws 2000 "Failed to delete reboot-required
// configuraition." when the store fails.
void DeleteRebootRequiredConfigInternal(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                        const Connection& conn);
// Stores a next-boot deletion for every current instance the filter selects
// (read as op sees them).
void DeleteRebootRequiredConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                                 const SchemaPtr& schema,
                                                 const OperationContext& op,
                                                 const Connection& conn);
// Removes every next-boot row of id's type; leaves "BOOT_MODE" alone. Throws
// 2000 "Failed to clear RebootRequired config for csoId: <id>".
void ClearRebootRequiredConfigInstances(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                        const Connection& conn);

// The pending "SET" value of one instance, its layers merged; a pending
// deletion reads as nothing.
ObjectPtr GetRebootRequiredConfigInternal(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                          const Connection& conn);
// The pending "SET" values of the filter's type (only the instance its
// identifier names, when it names one), narrowed by the filter's value.
ObjectList GetRebootRequiredConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                                    const SchemaPtr& schema,
                                                    const Connection& conn);

// After a boot: with success, every row of id's object (only the instance
// id names, when it names one) takes its DesiredValue as UserValue, if it
// has one, and becomes confirmed. Without success nothing changes. Throws
// 2000 "SetBootStatus: Failed to mark success status for given csoId."
void SetBootStatusInternal(const ConfigStoreObjectId& id, bool success, const Connection& conn);

// After a boot that applied only part of an object's pending value: merges
// the part into the confirmed user value, and clears the pending value once
// all of it is applied (see BootConfirmation.cpp for the steps and texts).
void SetPartialBootStatusInternal(const ObjectPtr& partial, const SchemaPtr& schema,
                                  const Connection& conn);

// Stores new kernel options as the pending DesiredValue (vital part in
// VitalValue), keeping the UserValue until a boot confirms them. Throws 2000
// "Database call to update Kernel options configuration failed for: <id>".
void SetKernelOptionsInternal(const ObjectPtr& object, const SchemaPtr& schema,
                              const Connection& conn);
// The kernel options the next boot will use: the pending DesiredValue, else
// the UserValue, with the vital layer; while remediating, a next-boot row of
// the options is seen as well.
ObjectPtr GetKernelOptionsInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema);

// The remediation guard: reads "BOOT_MODE" on conn.
void CheckNotRemediating(const Connection& conn);
// True while "BOOT_MODE" is "1".
bool IsRemediating(const Connection& conn);

}  // namespace CorvConfigStore

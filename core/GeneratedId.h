// The reserved member that holds an instance id the system generated. It is
// kept in stored data and removed from every text handed to callers; the
// schema store declares it on arrays of objects that name no instance-id
// property, and the validator always allows it.
#pragma once

namespace CorvConfigStore {

inline constexpr char kGeneratedIdProperty[] = "cs_generated_id";

}  // namespace CorvConfigStore

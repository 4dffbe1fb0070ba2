// Random UUIDs from libuuid.
#pragma once

namespace CorvConfigStore {

// A new random UUID as lower-case text in a heap string (release with free),
// or null when none can be made.
char* UUID_CreateRandom();

}  // namespace CorvConfigStore

// Small enumerations shared by the store's operations.
#pragma once

namespace CorvConfigStore {

// Who writes: a caller outside the host's own services, or the host's
// automatic configuration.
enum USERDATA_CONTEXT : int {
  EXTERNAL = 0,
  INTERNAL = 1,
};

// The layer a partial update writes.
enum UPDATE_CONTEXT : int {
  UPDATE_USER_EXTERNAL = 0,      // user data from an external caller
  UPDATE_NON_USER_EXTERNAL = 1,  // non-user data from an external caller
  UPDATE_INTERNAL = 2,           // any data from an internal caller
};

// Which layers the desired-configuration reads return.
enum FLAG : int {
  FLAG_USER_ONLY = 0,         // the desired user value only
  FLAG_WITH_VITAL_CACHED = 1, // with the vital and cached layers merged in
};

// What a caller is about to do with an object it asks to validate; reading
// and deleting skip the value check.
enum ACTION : int {
  ACTION_GET = 0,
  ACTION_SET = 1,
  ACTION_UPDATE = 2,
  ACTION_DELETE = 3,
};

}  // namespace CorvConfigStore

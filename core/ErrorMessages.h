// The message template of each error code.
#pragma once

namespace CorvConfigStore {

// A printf template with at most one %s for the code; an unknown code gets a
// generic template that names it.
const char* ErrorMessageForId(int code);

}  // namespace CorvConfigStore

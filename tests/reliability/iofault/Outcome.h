// How one call of the library ended: normally, with the library's coded
// exception (its code, message and details as one text), or otherwise.
#pragma once

#include <functional>
#include <string>

namespace IoFault {

struct Outcome {
  bool threw = false;
  bool coded = false;  // a ConfigStoreException with a non-zero code
  int code = 0;
  std::string text;  // "[code] message; detail; ..." or what() of another exception
};

Outcome Capture(const std::function<void()>& call);

}  // namespace IoFault

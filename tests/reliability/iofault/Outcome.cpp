// Capturing how a call ended.
#include "Outcome.h"

#include <corvconfigstore/Exceptions.h>

#include <exception>

namespace IoFault {

Outcome Capture(const std::function<void()>& call) {
  Outcome outcome;
  try {
    call();
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    outcome.threw = true;
    outcome.code = e.GetErrorCode();
    outcome.coded = outcome.code != 0;
    outcome.text = "[" + std::to_string(outcome.code) + "] " + e.what();
    for (const std::string& detail : e.GetDetails()) outcome.text += "; " + detail;
  } catch (const std::exception& e) {
    outcome.threw = true;
    outcome.text = std::string("uncoded exception: ") + e.what();
  } catch (...) {
    outcome.threw = true;
    outcome.text = "unknown exception";
  }
  return outcome;
}

}  // namespace IoFault

// DriftObject: how one configuration object differs from what it should
// be. Read-only.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace CorvConfigStore {

// The drift description is a JSON object. A member holding a string is a
// drifted property and the string its operation; a member holding anything
// else is a drifted property with operation "SET", or a drifted sub-object:
// an object with "DRIFTOBJ" (its own description) and optionally "DRIFTOP"
// (its operation, "SET" when absent), or, for a list, an array of such
// objects each also holding "INSTANCEID".
class CORV_EXPORT DriftObject {
 public:
  virtual ~DriftObject();

  virtual ConfigStoreObjectId GetConfigStoreObjectId() const = 0;
  // The operation of the whole object.
  virtual std::string GetOperation() const = 0;
  // (member name, operation) for each member of the description, in order.
  virtual std::vector<std::pair<std::string, std::string>> Get() const = 0;
  // The drift of one sub-object; null when it did not drift. Throws
  // InvalidArgumentException 1049 when an instance of a singleton is asked
  // for, 1048 when a list is asked for without an instance id.
  virtual std::shared_ptr<DriftObject> GetSubObject(const SubObjectId& subId) const = 0;
  // The drift of every instance of a list sub-object, in order.
  virtual std::vector<std::shared_ptr<DriftObject>> GetSubObjectInstances(
      const SubObjectId& subId) const = 0;
  // The description as compact JSON text.
  virtual std::string GetData() const = 0;
};

}  // namespace CorvConfigStore

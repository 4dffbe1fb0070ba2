// DriftObjectImpl: a drift description held in a JSON document of its own.
#pragma once

#include <corvconfigstore/DriftObject.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/Json.h"
#include "core/JsonDoc.h"

namespace CorvConfigStore {

class DriftObjectImpl : public DriftObject {
 public:
  // Takes the given description; a null document is a description without
  // members.
  DriftObjectImpl(const ConfigStoreObjectId& id, const std::string& operation,
                  const std::shared_ptr<JsonDoc>& drift);
  // The description from its JSON text (ConfigStoreException 1080 when the
  // text is not one JSON value); empty text is a description without
  // members.
  DriftObjectImpl(const ConfigStoreObjectId& id, const std::string& operation,
                  const std::string& drift);
  ~DriftObjectImpl() override;

  ConfigStoreObjectId GetConfigStoreObjectId() const override;
  std::string GetOperation() const override;
  std::vector<std::pair<std::string, std::string>> Get() const override;
  std::shared_ptr<DriftObject> GetSubObject(const SubObjectId& subId) const override;
  std::vector<std::shared_ptr<DriftObject>> GetSubObjectInstances(
      const SubObjectId& subId) const override;
  std::string GetData() const override;

 private:
  // The drift of one sub-object from its entry (an object with "DRIFTOBJ"
  // and optionally "DRIFTOP").
  std::shared_ptr<DriftObject> MakeSubObject(const std::string& key, const std::string& instanceId,
                                             const JsonValue& entry) const;
  // The member key of the description; null, after logging, when absent.
  const JsonValue* FindDrifted(const std::string& key) const;

  ConfigStoreObjectId id_;
  std::string operation_;
  std::shared_ptr<JsonDoc> drift_;
};

}  // namespace CorvConfigStore

// Fuzz target: CreateObject from arbitrary JSON text for one of the
// example keys, then the public reads of the object driven by the input:
// typed getters of its members (and of arbitrary names), sub-objects and
// their instances, paths and the object's text. Whatever is read, the
// object's text stays one JSON value and every failure is a coded
// exception.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/HostOperations.h>
#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"

using namespace CorvConfigStore;

namespace {

// The example keys, and one that has no schema.
const ConfigStoreObjectId kKeys[] = {
    {"dns", "net", "corv"},          {"nics", "net", "corv"},
    {"staticRoutes", "net", "corv"}, {"ntp", "time", "corv"},
    {"options", "kestrel", "corv"},  {"settings", "boot", "corv"},
    {"identity", "system", "corv"},  {"absent", "net", "corv"},
};

// The names of the object's members, read back from its text.
std::vector<std::string> MemberNames(const ConfigStoreObject& object) {
  std::vector<std::string> names;
  const std::string text = object.GetData();
  JsonDocument document;
  if (!ParseJson(text.data(), text.size(), document, nullptr))
    CorvFuzz::Fail("GetData is not JSON: " + text);
  if (!document.IsObject()) CorvFuzz::Fail("GetData is not an object: " + text);
  for (const auto& member : document.GetObject())
    names.emplace_back(member.name.GetString(), member.name.GetStringLength());
  return names;
}

template <typename T>
void Read(const ConfigStoreObject& object, const std::string& name) {
  T value{};
  int found = object.GetValue(name.c_str(), &value);
  if (found < 0 || found > 2) CorvFuzz::Fail("GetValue returned " + std::to_string(found));
}

// One typed read of the member; a value of another type is a coded
// exception, which the caller takes.
void ReadAs(const ConfigStoreObject& object, const std::string& name, int kind) {
  switch (kind) {
    case 0: Read<std::string>(object, name); break;
    case 1: Read<double>(object, name); break;
    case 2: Read<int>(object, name); break;
    case 3: Read<long>(object, name); break;
    case 4: Read<long long>(object, name); break;
    case 5: Read<unsigned int>(object, name); break;
    case 6: Read<unsigned short>(object, name); break;
    case 7: Read<unsigned char>(object, name); break;
    case 8: Read<bool>(object, name); break;
    case 9: Read<std::vector<int>>(object, name); break;
    case 10: Read<std::vector<long long>>(object, name); break;
    case 11: Read<std::vector<double>>(object, name); break;
    case 12: Read<std::vector<bool>>(object, name); break;
    case 13: Read<std::vector<std::string>>(object, name); break;
    case 14: {
      unsigned char* bytes = nullptr;
      unsigned long length = 0;
      object.GetValueBinary(name.c_str(), &bytes, &length);
      delete[] bytes;
      break;
    }
    case 15: object.CheckKey(name.c_str()); break;
    case 16: {
      const std::string path = object.GetPath(name.c_str());
      if (!CorvFuzz::IsUtf8(path) && CorvFuzz::IsUtf8(name)) CorvFuzz::Fail("path not UTF-8");
      break;
    }
    case 17: {
      auto sub = object.GetSubObject(SubObjectId(name));
      if (sub) MemberNames(*sub);
      break;
    }
    default: {
      auto filter = std::make_shared<FilterSpecObject>(ConfigStoreObjectId(name, "", ""));
      for (const auto& instance : object.GetSubObjectInstances(filter)) MemberNames(*instance);
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  CorvFuzz::QuietLog();
  CorvFuzz::ExampleStore();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  ConfigStoreObjectId id = kKeys[input.ConsumeIntegralInRange<size_t>(0, std::size(kKeys) - 1)];
  id.instanceId = input.ConsumeRandomLengthString(16);
  const std::string json = input.ConsumeRandomLengthString(size);

  std::shared_ptr<ConfigStoreObject> object;
  try {
    object = CreateObject(id, json);
  } catch (const ConfigStoreException&) {
    return 0;
  }
  object->GetVersion();
  object->GetRevision();
  object->GetPath(nullptr);
  std::vector<std::string> names = MemberNames(*object);

  // Reads of the members the object has, then of names the input makes.
  while (input.remaining_bytes() > 0) {
    const int kind = input.ConsumeIntegralInRange<int>(0, 18);
    std::string name;
    if (!names.empty() && input.ConsumeBool())
      name = names[input.ConsumeIntegralInRange<size_t>(0, names.size() - 1)];
    else
      name = input.ConsumeRandomLengthString(32);
    try {
      ReadAs(*object, name, kind);
    } catch (const ConfigStoreException&) {
    }
  }
  MemberNames(*object);
  return 0;
}

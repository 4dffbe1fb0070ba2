// Export of stored configurations as a whole-store document, written as it
// is read: as one string, or in pieces to a caller's sink; and the instances
// of one key as a streamed array.
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/Logger.h>

#include <string>
#include <type_traits>

#include "core/Checks.h"
#include "db/ReadRows.h"
#include "document/ExportStream.h"
#include "document/JsonTextOut.h"
#include "object/ObjectAccess.h"
#include "store/GetDBStore.h"
#include "store/StoreOperation.h"
#include "validation/Validation.h"

namespace CorvConfigStore {
namespace {

// Copies an instance's value from the stored text of its one layer into
// copy, as the object read from it would be written, without building it:
// false when that text is not the value as read (see StoredValueCheck), or
// not JSON at all, and the object must be read instead.
bool CopyStoredValue(const ConfigStoreObjectId& id, const std::string& text,
                     const SchemaPtr& schema, rapidjson::StringBuffer& copy) {
  StoredValueCheck check(id, schema);
  copy.Clear();
  JsonWriter writer(copy);
  return CopyJsonWithoutGeneratedIds(text.data(), text.size(), check.Outline(), writer,
                                     nullptr) &&
         check.StandsAsRead();
}

// Writes the document nested component, group, key from configurations
// handed over in document order, opening and closing levels as the
// identifiers change; the instances of one key form one array.
template <typename Writer>
class DocumentNester {
 public:
  explicit DocumentNester(Writer& writer) : writer_(writer) { writer_.StartObject(); }

  void Add(const ConfigStoreObjectId& id, const ConfigStoreObject* object) {
    Place(id, object != nullptr);
    if (object == nullptr)
      writer_.Null();
    else
      WriteWithoutGeneratedIds(*ImplOf(*object).GetJsonValuePtr(), writer_);
  }

  // Writes an instance's value from the stored text of its one layer (see
  // CopyStoredValue); false, with nothing written, when the object must be
  // read.
  bool AddStoredText(const ConfigStoreObjectId& id, const std::string& text,
                     const SchemaPtr& schema) {
    if (!CopyStoredValue(id, text, schema, copy_)) return false;
    Place(id, true);
    writer_.CompactValue(copy_.GetString(), copy_.GetSize(), rapidjson::kObjectType);
    return true;
  }

  void Finish() {
    CloseArray();
    while (depth_ > 0) Close();
    writer_.EndObject();
  }

 private:
  void Open(const std::string& name, std::string* current) {
    *current = name;
    writer_.Key(name.c_str(), static_cast<rapidjson::SizeType>(name.size()));
    writer_.StartObject();
    ++depth_;
  }
  void Close() {
    writer_.EndObject();
    --depth_;
  }
  void CloseArray() {
    if (inArray_) writer_.EndArray();
    inArray_ = false;
  }

  // Opens the levels of id's component, group and key as they change, and
  // the key's array for the first instance with a value.
  void Place(const ConfigStoreObjectId& id, bool hasValue) {
    const bool newComponent = depth_ == 0 || id.component != component_;
    const bool newGroup = newComponent || id.group != group_;
    const bool newKey = newGroup || id.key != key_;
    if (newKey) CloseArray();
    if (newGroup && depth_ == 2) Close();
    if (newComponent && depth_ == 1) Close();
    if (newComponent) Open(id.component, &component_);
    if (newGroup) Open(id.group, &group_);
    if (newKey) {
      key_ = id.key;
      writer_.Key(key_.c_str(), static_cast<rapidjson::SizeType>(key_.size()));
      if (hasValue && !id.instanceId.empty()) {
        writer_.StartArray();
        inArray_ = true;
      }
    }
  }

  Writer& writer_;
  rapidjson::StringBuffer copy_;
  std::string component_, group_, key_;
  int depth_ = 0;  // component and group objects open
  bool inArray_ = false;
};

}  // namespace

void ExportTo(std::vector<std::shared_ptr<FilterSpecObject>> filters, const TextSink& sink,
              JsonLayout layout) {
  CSLogger::Log(3, "%s invoked", "Export");
  // Reading starts, and so every check is made, before the first piece of
  // text reaches the sink.
  WriteJsonText(sink, layout, [&filters](auto& writer) {
    using Writer = std::remove_reference_t<decltype(writer)>;
    DocumentNester<Writer> document(writer);
    auto add = [&document](const ConfigStoreObjectId& id, const ConfigStoreObject* object) {
      document.Add(id, object);
    };
    if constexpr (!kTakesCompactText<Writer>) {
      ForEachExported(filters, add);
    } else {
      ForEachExported(filters, add,
                      [&document](const ConfigStoreObjectId& id, const std::string& text,
                                  const SchemaPtr& schema) {
                        return document.AddStoredText(id, text, schema);
                      });
    }
    document.Finish();
  });
}

std::string Export(std::vector<std::shared_ptr<FilterSpecObject>> filters) {
  std::string document;
  ExportTo(std::move(filters), [&document](const char* text, size_t length) {
    document.append(text, length);
  });
  return document;
}

void ExportInstancesTo(const std::shared_ptr<FilterSpecObject>& filter, const TextSink& sink,
                       JsonLayout layout) {
  WriteJsonText(sink, layout, [&](auto& writer) {
    writer.StartArray();
    if (!IsNull(filter, "GetInstances")) {
      StoreOperation op(4, "GetInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
      ValidateCsoIdInstances(filter, op.Schema());
      rapidjson::StringBuffer copy;
      StoredTextTaker takeText;
      if constexpr (kTakesCompactText<decltype(writer)>) {
        takeText = [&](const ConfigStoreObjectId& id, const std::string& text) {
          if (!CopyStoredValue(id, text, op.Schema(), copy)) return false;
          writer.CompactValue(copy.GetString(), copy.GetSize(), rapidjson::kObjectType);
          return true;
        };
      }
      ForEachConfigInstance(
          filter, GetDBStore(DBStore::CONFIG_STORE, true), op.Schema(), op.Context(),
          [&writer](const ObjectPtr& object) {
            WriteWithoutGeneratedIds(*ImplOf(object).GetJsonValuePtr(), writer);
          },
          takeText);
    }
    writer.EndArray();
  });
}

}  // namespace CorvConfigStore

// Options 3, 4, 5 and 9 of the validator: which layer the members of a
// value belong to, read from the annotations of the key schema.
//
// The walk follows "properties", "patternProperties",
// "additionalProperties" and "items" from the key root (combinators carry
// no annotations that count). A flag on a node covers everything beneath
// it: a vital object makes all its members vital.
//
// - 3: a member that is vital, cached or solutionUser, or that lies inside
//   such a node (the key root included), is not user configuration. It is
//   reported once, at the outermost such member.
// - 4: a readOnly member is reported once, nothing inside it again.
// - 5 and 9: every value must lie inside a vital (cached) node or be the
//   instance id. A member that is not covered is walked into when it holds
//   an object or an array, so vital leaves inside a plain container pass;
//   a plain leaf is reported, and so is an array member holding plain
//   scalars. Empty containers hold nothing to report.
// The instance id ("instanceId": true, or "cs_generated_id") identifies the
// value in every layer and is never reported by 3, 5 or 9.
#include <string>
#include <vector>

#include "core/GeneratedId.h"
#include "jsonschema/JsonValidatorInternal.h"

namespace JsonValidator {

namespace {

using CorvConfigStore::kGeneratedIdProperty;

// What the nodes above a value say of it.
struct Layer {
  bool vital = false;
  bool cached = false;
  const char* notUser = nullptr;  // the annotation that makes it so
  bool notUserReported = false;
  bool readOnlyReported = false;
};

// The annotation (of vital, cached, solutionUser) the node carries, or null.
const char* NotUserAnnotation(const SchemaNode& schema) {
  if (schema.vital) return "vital";
  if (schema.cached) return "cached";
  if (schema.solutionUser) return "solutionUser";
  return nullptr;
}

Layer Enter(Layer layer, const SchemaNode& schema) {
  layer.vital |= schema.vital;
  layer.cached |= schema.cached;
  if (layer.notUser == nullptr) layer.notUser = NotUserAnnotation(schema);
  return layer;
}

bool IsScalar(const JsonValue& value) { return !value.IsObject() && !value.IsArray(); }

// Options 5 and 9: the value, outside every node with the flag, is a scalar
// or an array holding scalars (at any depth of arrays).
bool HoldsUncoveredScalars(const JsonValue& value, const SchemaNode* schema, const Layer& layer,
                           bool Layer::*covered) {
  if (layer.*covered) return false;
  if (IsScalar(value)) return true;
  if (!value.IsArray()) return false;
  const SchemaNode* items = schema == nullptr ? nullptr : schema->items;
  Layer inner = items == nullptr ? layer : Enter(layer, *items);
  for (const auto& element : value.GetArray())
    if (!element.IsObject() && HoldsUncoveredScalars(element, items, inner, covered)) return true;
  return false;
}

class LayerWalker {
 public:
  LayerWalker(const Options& options, ErrorList& errors) : options_(options), errors_(errors) {}

  // The members of an object, the elements of an array, under schema
  // (null: nothing describes the value).
  void Walk(const SchemaNode* schema, const JsonValue& value, PointerPath& path,
            const Layer& layer) {
    if (value.IsObject()) {
      std::vector<const SchemaNode*> schemas;
      for (const auto& member : value.GetObject()) {
        path.PushName(member.name);
        Member(schema, member.name, member.value, path, layer, schemas);
        path.Pop();
      }
    } else if (value.IsArray()) {
      const SchemaNode* items = schema == nullptr ? nullptr : schema->items;
      Layer inner = items == nullptr ? layer : Enter(layer, *items);
      for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
        if (IsScalar(value[i])) continue;
        path.PushIndex(i);
        Walk(items, value[i], path, inner);
        path.Pop();
      }
    }
  }

  // Options 5 and 9 for one value: the member named name, or (name null)
  // the value itself.
  void CheckCovered(const JsonValue* name, const JsonValue& value, const SchemaNode* schema,
                    const PointerPath& path, const Layer& layer) {
    if (options_.vitalOnly && HoldsUncoveredScalars(value, schema, layer, &Layer::vital))
      AddError(errors_, path, Subject(name) + " is not vital configuration");
    if (options_.cachedOnly && HoldsUncoveredScalars(value, schema, layer, &Layer::cached))
      AddError(errors_, path, Subject(name) + " is not cached configuration");
  }

 private:
  static std::string Subject(const JsonValue* name) {
    return name == nullptr ? "value" : "member " + Describe(*name);
  }

  // schemas: working space for the member schemas, shared by the members of
  // one object.
  void Member(const SchemaNode* schema, const JsonValue& name, const JsonValue& value,
              PointerPath& path, const Layer& layer, std::vector<const SchemaNode*>& schemas) {
    schemas.clear();
    if (schema != nullptr) {
      FindMemberSchemas(*schema, name, schemas, nullptr);
      if (schemas.empty() && schema->additionalSchema != nullptr)
        schemas.push_back(schema->additionalSchema);
    }
    Layer inner = layer;
    bool readOnly = false;
    bool isId = name == kGeneratedIdProperty;
    for (const SchemaNode* memberSchema : schemas) {
      inner = Enter(inner, *memberSchema);
      readOnly |= memberSchema->readOnly;
      isId |= memberSchema->instanceId;
    }
    const SchemaNode* memberSchema = schemas.empty() ? nullptr : schemas[0];

    if (options_.noReadOnly && readOnly && !layer.readOnlyReported) {
      AddError(errors_, path, "member " + Describe(name) + " is read-only");
      inner.readOnlyReported = true;
    }
    if (options_.userOnly && inner.notUser != nullptr && !layer.notUserReported && !isId) {
      AddError(errors_, path,
               "member " + Describe(name) + " is " + inner.notUser +
                   " configuration, not user configuration");
      inner.notUserReported = true;
    }
    if (!isId) CheckCovered(&name, value, memberSchema, path, inner);
    Walk(memberSchema, value, path, inner);
  }

  const Options& options_;
  ErrorList& errors_;
};

}  // namespace

void CheckLayers(const CompiledSchema& schema, const JsonValue& value, PointerPath& path,
                 const Options& options, ErrorList& errors) {
  const SchemaNode& root = schema.Root();
  Layer layer = Enter(Layer(), root);
  const SchemaNode& start = schema.InstanceNode(value);
  if (&start != &root) layer = Enter(layer, start);
  LayerWalker walker(options, errors);
  walker.CheckCovered(nullptr, value, &start, path, layer);
  walker.Walk(&start, value, path, layer);
}

}  // namespace JsonValidator

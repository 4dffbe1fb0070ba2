// The schema file of the campaign's keys, built from their descriptions.
#include "Keys.h"

namespace ModelCampaign {

std::string SchemaFileText() {
  const std::string plain =
      R"("a": {"type": "integer"}, "b": {"type": "string"},)"
      R"( "v": {"type": "integer", "vital": true}, "c": {"type": "integer", "cached": true})";
  std::string text = std::string("{\"") + kComponent + "\": {\"" + kGroup + "\": {";
  bool first = true;
  for (const KeySpec& key : Keys()) {
    if (!first) text += ",";
    first = false;
    text += "\"" + std::string(key.name) + "\": {";
    if (!key.applyDuringUpgrade) text += R"("applyDuringUpgrade": false, )";
    if (key.bootExempt) text += R"("bootExempt": true, )";
    if (key.nextBoot) text += R"("tags": ["@rebootRequiredConfigStore"], )";
    if (key.instances)
      text += R"("type": "array", "items": {"type": "object", "properties": {)"
              R"("name": {"type": "string", "instanceId": true}, )" +
              plain + "}}}";
    else
      text += R"("type": "object", "properties": {)" + plain +
              R"(, "o": {"type": "object", "properties": {"x": {"type": "integer"}, "y": {"type": "integer"}}}}})";
  }
  return text + "}}}";
}

}  // namespace ModelCampaign

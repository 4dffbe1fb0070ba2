// The schema file of the campaign's keys, built from their descriptions.
#include "Keys.h"

#include <map>

namespace ModelCampaign {

std::string SchemaFileText() {
  const std::string plain =
      R"("a": {"type": "integer"}, "b": {"type": "string"},)"
      R"( "v": {"type": "integer", "vital": true}, "c": {"type": "integer", "cached": true})";
  // component -> group -> key -> schema text
  std::map<std::string, std::map<std::string, std::map<std::string, std::string>>> tree;
  for (const KeySpec& key : Keys()) {
    std::string text = "{";
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
    tree[key.component][key.group][key.name] = text;
  }
  auto join = [](const auto& members, auto&& inner) {
    std::string text = "{";
    for (const auto& member : members)
      text += (text.size() > 1 ? ", \"" : "\"") + member.first + "\": " + inner(member.second);
    return text + "}";
  };
  return join(tree, [&](const auto& groups) {
    return join(groups, [&](const auto& keys) {
      return join(keys, [](const std::string& schema) { return schema; });
    });
  });
}

}  // namespace ModelCampaign

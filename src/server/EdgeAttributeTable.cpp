#include "server/AttributeRules.h"
#include "server/AttributeTables.h"
#include "versioning/EdgeStyle.h"

namespace quorel {

namespace {

#define ATTRIBUTE(keyword, attribute, rule, effect)                                      \
  int set_##keyword(EdgeStyle* style, const char* value) {                               \
    return setAttribute(style, value, rule, &EdgeAttributes::attribute, Layout::effect); \
  }
#include "server/EdgeAttributeTable.def"
#undef ATTRIBUTE

constexpr AttributeEntry<EdgeStyle> table[] = {
#define ATTRIBUTE(keyword, attribute, rule, effect) {#keyword, set_##keyword},
#include "server/EdgeAttributeTable.def"
#undef ATTRIBUTE
};

}  // namespace

int setEdgeAttribute(EdgeStyle* style, const char* key, const char* value) {
  if (setByKey(table, style, key, value) == 0) return 0;
  return refuse("tessarel: error setting edge attribute \"", key, "\"");
}

}  // namespace quorel

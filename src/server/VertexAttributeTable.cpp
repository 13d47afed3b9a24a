#include "server/AttributeRules.h"
#include "server/AttributeTables.h"
#include "versioning/VertexStyle.h"

namespace quorel {

namespace {

#define ATTRIBUTE(keyword, attribute, rule, effect)                                        \
  int set_##keyword(VertexStyle* style, const char* value) {                               \
    return setAttribute(style, value, rule, &VertexAttributes::attribute, Layout::effect); \
  }
#include "server/VertexAttributeTable.def"
#undef ATTRIBUTE

constexpr AttributeEntry<VertexStyle> table[] = {
#define ATTRIBUTE(keyword, attribute, rule, effect) {#keyword, set_##keyword},
#include "server/VertexAttributeTable.def"
#undef ATTRIBUTE
};

}  // namespace

int setVertexAttribute(VertexStyle* style, const char* key, const char* value) {
  if (setByKey(table, style, key, value) == 0) return 0;
  return refuse("tessarel: error setting vertex style attribute \"", key, "\"");
}

}  // namespace quorel

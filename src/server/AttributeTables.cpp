#include "server/AttributeTables.h"

#include "server/AttributeRules.h"
#include "versioning/EdgeStyle.h"
#include "versioning/VertexStyle.h"

namespace quorel {

namespace {

#define ATTRIBUTE(keyword, attribute, rule, effect)                                   \
  {#keyword, [](Style* style, const char* value) {                                    \
     return setAttribute(style, value, rule, &Attributes::attribute, Layout::effect); \
   }},

namespace edges {
using Style = EdgeStyle;
using Attributes = EdgeAttributes;
constexpr AttributeEntry<Style> table[] = {
#include "server/EdgeAttributeTable.def"
};
}  // namespace edges

namespace vertices {
using Style = VertexStyle;
using Attributes = VertexAttributes;
constexpr AttributeEntry<Style> table[] = {
#include "server/VertexAttributeTable.def"
};
}  // namespace vertices

#undef ATTRIBUTE

}  // namespace

int setEdgeAttribute(EdgeStyle* style, const char* key, const char* value) {
  return setByKey(edges::table, "tessarel: error setting edge attribute \"", style, key, value);
}

int setVertexAttribute(VertexStyle* style, const char* key, const char* value) {
  return setByKey(vertices::table, "tessarel: error setting vertex style attribute \"", style, key, value);
}

}  // namespace quorel

#include "server/MethodTable.h"

#include <array>
#include <tuple>

#include "server/GraphProxy.h"

namespace quorel {

namespace {

constexpr char formatOf(int) {
  return 'i';
}
constexpr char formatOf(const char*) {
  return 's';
}

/// The handler of one method: takes the arguments out of the request, calls the proxy, answers with its integer.
template <class... Arguments>
struct Handler {
  /// As "(iss)".
  static constexpr std::array<char, sizeof...(Arguments) + 3> format = {'(', formatOf(Arguments())..., ')', '\0'};

  template <int (GraphProxy::*function)(Arguments...)>
  static xmlrpc_value* handle(xmlrpc_env* env, xmlrpc_value* parameters, void*) {
    std::tuple<Arguments...> arguments;
    if constexpr (sizeof...(Arguments) > 0) {
      // Texts are borrowed from the request and last until the handler returns.
      std::apply([&](auto&... argument) { xmlrpc_parse_value(env, parameters, format.data(), &argument...); },
                 arguments);
      if (env->fault_occurred) return nullptr;
    }
    const int result = std::apply([](auto... argument) { return (graphProxy->*function)(argument...); }, arguments);
    return xmlrpc_build_value(env, "i", result);
  }
};

template <class... Arguments>
Handler<Arguments...> handlerOf(int (GraphProxy::*)(Arguments...));

template <auto function>
constexpr xmlrpc_method handle = &decltype(handlerOf(function))::template handle<function>;

struct Method {
  const char* name;
  const char* signature;  // result, then arguments
  xmlrpc_method handler;
};

constexpr Method methods[] = {
    {"tessarel.new_vertex_w_id", "i:i", handle<&GraphProxy::tessarel_new_vertex_w_id>},
    {"tessarel.new_vertex", "i:", handle<&GraphProxy::tessarel_new_vertex>},
    {"tessarel.new_edge_w_id", "i:iii", handle<&GraphProxy::tessarel_new_edge_w_id>},
    {"tessarel.new_edge", "i:ii", handle<&GraphProxy::tessarel_new_edge>},
    {"tessarel.remove_vertex", "i:i", handle<&GraphProxy::tessarel_remove_vertex>},
    {"tessarel.remove_edge", "i:i", handle<&GraphProxy::tessarel_remove_edge>},
    {"tessarel.clear", "i:", handle<&GraphProxy::tessarel_clear>},
    {"tessarel.set_vertex_attribute", "i:iss", handle<&GraphProxy::tessarel_set_vertex_attribute>},
    {"tessarel.set_vertex_style_attribute", "i:iss", handle<&GraphProxy::tessarel_set_vertex_style_attribute>},
    {"tessarel.new_vertex_style", "i:i", handle<&GraphProxy::tessarel_new_vertex_style>},
    {"tessarel.new_vertex_style_w_id", "i:ii", handle<&GraphProxy::tessarel_new_vertex_style_w_id>},
    {"tessarel.change_vertex_style", "i:ii", handle<&GraphProxy::tessarel_change_vertex_style>},
    {"tessarel.set_edge_attribute", "i:iss", handle<&GraphProxy::tessarel_set_edge_attribute>},
    {"tessarel.set_edge_style_attribute", "i:iss", handle<&GraphProxy::tessarel_set_edge_style_attribute>},
    {"tessarel.new_edge_style", "i:i", handle<&GraphProxy::tessarel_new_edge_style>},
    {"tessarel.new_edge_style_w_id", "i:ii", handle<&GraphProxy::tessarel_new_edge_style_w_id>},
    {"tessarel.change_edge_style", "i:ii", handle<&GraphProxy::tessarel_change_edge_style>},
};

}  // namespace

void registerMethods(xmlrpc_env* env, xmlrpc_registry* registry) {
  for (const Method& method : methods) {
    xmlrpc_registry_add_method_w_doc(env, registry, nullptr, method.name, method.handler, nullptr, method.signature,
                                     nullptr);
  }
}

}  // namespace quorel

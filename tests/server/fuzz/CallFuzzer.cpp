#include <xmlrpc-c/base.h>
#include <xmlrpc-c/server.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "layout/GraphLayout.h"
#include "server/GraphProxy.h"
#include "server/MethodTable.h"
#include "server/RequestCheck.h"

// Bytes that arrive at the port, from the look at the body to the change of the graph. An input that begins with a "<"
// or a byte above 0x7f is a body as it stands; any other is read as a program of calls, so that the search gets past
// the parser to the identifiers, the attributes and the queue.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quorel {
namespace {

/// The server without its sockets, for all inputs of the process.
class Target {
public:
  Target() : proxy(*new GraphProxy(new GraphLayout<LayoutSchema>, nullptr)) {
    std::clog.rdbuf(nullptr);  // lines are made, but not shown
    graphProxy = &proxy;
    xmlrpc_env_init(&env);
    registry = xmlrpc_registry_new(&env);
    registerMethods(&env, registry);
  }

  void receive(std::string_view body) {
    if (reasonToRefuse(body) != nullptr) return;
    xmlrpc_env call;
    xmlrpc_env_init(&call);
    xmlrpc_mem_block* answer = nullptr;
    xmlrpc_registry_process_call2(&call, registry, body.data(), body.size(), nullptr, &answer);
    if (answer != nullptr) xmlrpc_mem_block_free(answer);
    xmlrpc_env_clean(&call);
  }

  /// Checks the whole state, and now and then starts over, for what is left behind by `clear` stays in memory.
  void finish() {
    proxy.poll();
    if (const std::string fault = proxy.validate(); !fault.empty()) {
      std::cerr << fault << '\n';
      std::abort();
    }
    if (proxy.vertices.size() + proxy.edges.size() + proxy.vertexStyles.size() + proxy.edgeStyles.size() > 300) {
      proxy.tessarel_clear();
    }
  }

  GraphProxy& proxy;

private:
  xmlrpc_env env;
  xmlrpc_registry* registry;
};

constexpr const char* words[] = {
#define ATTRIBUTE(keyword, ...) #keyword,
#include "server/EdgeAttributeTable.def"
#undef ATTRIBUTE
    "charge", "callback_left_doubleclick", "shape", "shapedetail", "size",
    // values
    "true", "False", "0", "1", "-1", "0.5", "nan", "inf", "1e999", "99999999999999999999", "-2147483648", "#FF8000",
    "dashed", "icosahedron", "http://host/path/method", "http://", ""};

/// The input as a program.
class Program {
public:
  Program(const std::uint8_t* data, std::size_t size) : at(data), end(data + size) {}

  bool done() const { return at == end; }
  unsigned byte() { return done() ? 0 : *at++; }

  template <class T>
  auto argument() {
    if constexpr (std::is_same_v<T, int>) {
      return integer();
    } else {
      return text();
    }
  }

private:
  /// Mostly small, so that ids meet.
  int integer() {
    const unsigned first = byte();
    if (first != 0xff) return static_cast<int>(first % 24) - 2;
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | byte();
    return static_cast<int>(value);
  }

  std::string text() {
    const unsigned first = byte();
    if (first < std::size(words)) return words[first];
    std::string free;
    for (unsigned length = first % 16; length > 0 && !done(); --length) free += static_cast<char>(byte());
    return first == 0xfe ? std::string(4090, 'x') + free : free;
  }

  const std::uint8_t* at;
  const std::uint8_t* end;
};

int raw(int integer) {
  return integer;
}
const char* raw(const std::string& text) {
  return text.c_str();
}

std::string parameter(int integer) {
  return "<param><value><int>" + std::to_string(integer) + "</int></value></param>";
}
std::string parameter(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped += c == '<' || c == '&' ? "&#" + std::to_string(c) + ";" : std::string(1, c);
  return "<param><value>" + escaped + "</value></param>";
}

/// Makes a call with arguments from the program, through the parser or past it.
template <class... Arguments>
void call(Target& target, Program& program, bool throughParser, const std::string& name,
          int (GraphProxy::*method)(Arguments...)) {
  const std::tuple<decltype(program.argument<Arguments>())...> arguments{program.argument<Arguments>()...};
  std::apply(
      [&](const auto&... argument) {
        if (throughParser) {
          target.receive("<methodCall><methodName>tessarel." + name + "</methodName><params>" +
                         (std::string() + ... + parameter(argument)) + "</params></methodCall>");
        } else {
          (target.proxy.*method)(raw(argument)...);
        }
      },
      arguments);
}

using Method = void (*)(Target& target, Program& program, bool throughParser);
#define METHOD(name) \
  [](Target& t, Program& p, bool throughParser) { call(t, p, throughParser, #name, &GraphProxy::tessarel_##name); }
constexpr Method methods[] = {
    METHOD(new_vertex_w_id),
    METHOD(new_vertex),
    METHOD(new_edge_w_id),
    METHOD(new_edge),
    METHOD(remove_vertex),
    METHOD(remove_edge),
    METHOD(clear),
    METHOD(set_vertex_attribute),
    METHOD(set_vertex_style_attribute),
    METHOD(new_vertex_style),
    METHOD(new_vertex_style_w_id),
    METHOD(change_vertex_style),
    METHOD(set_edge_attribute),
    METHOD(set_edge_style_attribute),
    METHOD(new_edge_style),
    METHOD(new_edge_style_w_id),
    METHOD(change_edge_style),
};

void run(Target& target, Program program) {
  for (int calls = 0; calls < 40 && !program.done(); ++calls) {
    const unsigned what = program.byte();
    if (what % 32 < std::size(methods)) {
      methods[what % 32](target, program, what >= 0xe0);
    } else {
      target.proxy.poll();
    }
  }
}

}  // namespace
}  // namespace quorel

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quorel;
  static Target& target = *new Target;
  if (size > 0 && (data[0] == '<' || data[0] > 0x7f)) {
    target.receive(std::string_view(reinterpret_cast<const char*>(data), size));
  } else {
    run(target, Program(data, size));
  }
  target.finish();
  return 0;
}

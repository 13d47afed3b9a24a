#include <xmlrpc-c/base.h>
#include <xmlrpc-c/server.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <streambuf>
#include <string>
#include <string_view>

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

class NullBuffer : public std::streambuf {
  int overflow(int c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

/// A method, the types of its arguments, and the same call past the parser.
struct Method {
  const char* name;
  const char* types;
  int (*call)(GraphProxy& proxy, const int* integers, const std::string* texts);
};

#define METHOD(name, types, arguments)                                                                \
  {                                                                                                   \
    "tessarel." #name, types,                                                                         \
        [](GraphProxy& proxy, [[maybe_unused]] const int* i, [[maybe_unused]] const std::string* t) { \
          return proxy.tessarel_##name arguments;                                                     \
        }                                                                                             \
  }

const Method methods[] = {
    METHOD(new_vertex_w_id, "i", (i[0])),
    METHOD(new_vertex, "", ()),
    METHOD(new_edge_w_id, "iii", (i[0], i[1], i[2])),
    METHOD(new_edge, "ii", (i[0], i[1])),
    METHOD(remove_vertex, "i", (i[0])),
    METHOD(remove_edge, "i", (i[0])),
    METHOD(clear, "", ()),
    METHOD(set_vertex_attribute, "iss", (i[0], t[0].c_str(), t[1].c_str())),
    METHOD(set_vertex_style_attribute, "iss", (i[0], t[0].c_str(), t[1].c_str())),
    METHOD(new_vertex_style, "i", (i[0])),
    METHOD(new_vertex_style_w_id, "ii", (i[0], i[1])),
    METHOD(change_vertex_style, "ii", (i[0], i[1])),
    METHOD(set_edge_attribute, "iss", (i[0], t[0].c_str(), t[1].c_str())),
    METHOD(set_edge_style_attribute, "iss", (i[0], t[0].c_str(), t[1].c_str())),
    METHOD(new_edge_style, "i", (i[0])),
    METHOD(new_edge_style_w_id, "ii", (i[0], i[1])),
    METHOD(change_edge_style, "ii", (i[0], i[1])),
};

/// The server without its sockets, for all inputs of the process.
class Target {
public:
  Target() : proxy(*new GraphProxy(new GraphLayout<LayoutSchema>, nullptr)) {
    static NullBuffer& nowhere = *new NullBuffer;  // the stream outlives every destructor
    std::clog.rdbuf(&nowhere);                     // lines are made, but not shown
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

  void call(const Method& method, const int* integers, const std::string* texts) {
    method.call(proxy, integers, texts);
  }

  void frame() { proxy.poll(); }

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

private:
  GraphProxy& proxy;
  xmlrpc_env env;
  xmlrpc_registry* registry;
};

constexpr const char* words[] = {
    "arrow", "arrow_position", "arrow_length", "arrow_radius", "arrow_reverse", "color", "colour", "fontcolor",
    "fontcolour", "fontfamily", "fontsize", "label", "length", "oriented", "showstrain", "strength", "spline", "stroke",
    "visible", "width", "charge", "callback_left_doubleclick", "shape", "shapedetail", "size",
    // values
    "true", "False", "0", "1", "-1", "0.5", "nan", "inf", "1e999", "99999999999999999999", "-2147483648", "#FF8000",
    "dashed", "icosahedron", "http://host/path/method", "http://", ""};

class Program {
public:
  Program(const std::uint8_t* data, std::size_t size) : at(data), end(data + size) {}

  bool done() const { return at == end; }
  unsigned byte() { return done() ? 0 : *at++; }

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
    for (unsigned length = first % 16; length > 0 && !done(); --length) {
      free += static_cast<char>(byte());
    }
    return first == 0xfe ? std::string(4090, 'x') + free : free;
  }

private:
  const std::uint8_t* at;
  const std::uint8_t* end;
};

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) out += c == '<' || c == '&' ? "&#" + std::to_string(c) + ";" : std::string(1, c);
  return out;
}

void run(Target& target, Program program) {
  for (int calls = 0; calls < 40 && !program.done(); ++calls) {
    const unsigned what = program.byte();
    if (what % 32 >= std::size(methods)) {
      target.frame();
      continue;
    }
    const Method& method = methods[what % 32];
    int integers[3] = {};
    std::string texts[2];
    int integerCount = 0;
    int textCount = 0;
    std::string parameters;
    const bool throughParser = what >= 0xe0;
    for (const char* type = method.types; *type != '\0'; ++type) {
      if (*type == 'i') {
        const int integer = integers[integerCount++] = program.integer();
        if (throughParser) parameters += "<param><value><int>" + std::to_string(integer) + "</int></value></param>";
      } else {
        const std::string& text = texts[textCount++] = program.text();
        if (throughParser) parameters += "<param><value>" + escaped(text) + "</value></param>";
      }
    }
    if (throughParser) {
      target.receive(std::string("<methodCall><methodName>") + method.name + "</methodName><params>" + parameters +
                     "</params></methodCall>");
    } else {
      target.call(method, integers, texts);
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

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "HttpClient.h"
#include "animator/GraphAnimator.h"
#include "layout/GraphLayout.h"
#include "server/Diagnostics.h"
#include "server/GraphProxy.h"
#include "server/MethodTable.h"
#include "server/XmlRpcServer.h"

// What a call costs a client on the same machine, one request after the other, against a bare method: one of the same
// library, on the same server, that takes the same arguments and does nothing. Each call is measured on a quiet server,
// beside steps of 5000 vertices without pause, and beside a window that steps and draws 10,000 with twice as many
// edges. The frames, which carry the changes out, run on the main thread, the client on another.

using namespace quorel;

namespace {

/// Fits the arguments of every method, so that a bare call reads the same request.
template <int ints, int texts>
xmlrpc_value* bare(xmlrpc_env* env, xmlrpc_value* parameters, void*) {
  int a;
  int b;
  int c;
  const char* s;
  const char* t;
  if constexpr (texts == 2) xmlrpc_parse_value(env, parameters, "(iss)", &a, &s, &t);
  if constexpr (ints == 1 && texts == 0) xmlrpc_parse_value(env, parameters, "(i)", &a);
  if constexpr (ints == 3) xmlrpc_parse_value(env, parameters, "(iii)", &a, &b, &c);
  return env->fault_occurred ? nullptr : xmlrpc_build_value(env, "i", 0);
}

/// What goes on beside the calls.
struct Beside {
  const char* name;
  int vertexCount;
  bool steps;
  bool window;
};

constexpr Beside besides[] = {
    {"quiet", 5000, false, false}, {"besideSteps", 5000, true, false}, {"besideWindow", 10000, true, true}};

/// That each of them has at least.
constexpr int knownVertexCount = 5000;

using Layout = GraphLayout<LayoutSchema>;
using Animator = GraphAnimator<Layout>;

/// GLUT makes one window a process; each scene puts its own graph into it.
Animator* windowOn(Layout& layout) {
  static char name[] = "CallScene";
  static char* arguments[] = {name, nullptr};
  static Animator* const animator = new Animator(1, arguments, layout);
  animator->layouts.front().layout = &layout;
  animator->ReshapeFunc(800, 600);
  return animator;
}

/// Server, proxy and what goes on beside them, for the time of one measurement.
class Scene {
public:
  explicit Scene(const Beside& frames)
      : beside(frames),
        layout(new Layout),
        animator(beside.window ? windowOn(*layout) : nullptr),
        proxy(layout, animator) {
    verbose = false;
    graphProxy = &proxy;
    xmlrpc_env_init(&env);
    registry = xmlrpc_registry_new(&env);
    registerMethods(&env, registry);
    xmlrpc_registry_add_method_w_doc(&env, registry, nullptr, "bare.i", bare<1, 0>, nullptr, "i:i", nullptr);
    xmlrpc_registry_add_method_w_doc(&env, registry, nullptr, "bare.iii", bare<3, 0>, nullptr, "i:iii", nullptr);
    xmlrpc_registry_add_method_w_doc(&env, registry, nullptr, "bare.iss", bare<1, 2>, nullptr, "i:iss", nullptr);
    server = std::make_unique<XmlRpcServer>(&env, registry, 0);
    serving = std::thread([this] { server->serve(); });
    client = std::make_unique<HttpClient>(server->port());

    std::minstd_rand random;
    for (int i = 0; i < beside.vertexCount; ++i) proxy.tessarel_new_vertex_w_id(-1 - i);
    for (int i = 0; i < 2 * beside.vertexCount; ++i) {
      const auto any = [&] { return -1 - static_cast<int>(random() % static_cast<unsigned>(beside.vertexCount)); };
      proxy.tessarel_new_edge_w_id(-1 - i, any(), any());
    }
    proxy.poll();
  }

  ~Scene() {
    client.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    server->stop();
    serving.join();
    xmlrpc_registry_free(registry);
    xmlrpc_env_clean(&env);
    graphProxy = nullptr;
  }

  std::string post(const std::string& body) { return client->post(body); }

  /// On the main thread, which has the window.
  void frame() {
    if (beside.window) {
      animator->DisplayFunc();
      return;
    }
    proxy.poll();
    if (beside.steps) {
      layout->step();
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

private:
  const Beside& beside;
  Layout* const layout;
  Animator* const animator;
  GraphProxy proxy;
  xmlrpc_env env;
  xmlrpc_registry* registry;
  std::unique_ptr<XmlRpcServer> server;
  std::thread serving;
  std::unique_ptr<HttpClient> client;
};

/// One kind of call: the method, the bare one that takes the same, and the arguments of the n-th call, which succeeds.
struct Kind {
  const char* name;
  const char* bareName;
  std::function<std::vector<std::string>(int)> arguments;  // each within its type's tags
};

std::string callOf(const std::string& method, const std::string& parameters) {
  std::string body = "<?xml version=\"1.0\"?><methodCall><methodName>";
  body += method;
  body += "</methodName><params>";
  body += parameters;
  body += "</params></methodCall>";
  return body;
}

std::string number(int value) {
  return "<int>" + std::to_string(value) + "</int>";
}

const std::vector<Kind> kinds = {
    {"new_vertex_w_id", "bare.i", [](int n) { return std::vector{number(n)}; }},
    {"new_edge_w_id", "bare.iii",
     [](int n) {
       return std::vector{number(n), number(-1 - n % knownVertexCount), number(-1 - (n + 1) % knownVertexCount)};
     }},
    {"set_vertex_attribute", "bare.iss",
     [](int n) {
       return std::vector<std::string>{number(-1 - n % knownVertexCount), "<string>color</string>",
                                       "<string>#12AB9F</string>"};
     }},
};

std::string single(const std::string& method, const std::vector<std::string>& arguments) {
  std::string parameters;
  for (const std::string& one : arguments) parameters += "<param><value>" + one + "</value></param>";
  return callOf(method, parameters);
}

std::string batch(const std::string& method, const Kind& kind, int first, int count) {
  std::string calls;
  for (int n = first; n < first + count; ++n) {
    calls += "<value><struct><member><name>methodName</name><value><string>" + method +
             "</string></value></member><member><name>params</name><value><array><data>";
    for (const std::string& one : kind.arguments(n)) calls += "<value>" + one + "</value>";
    calls += "</data></array></value></member></struct></value>";
  }
  return callOf("system.multicall", "<param><value><array><data>" + calls + "</data></array></value></param>");
}

/// `count` calls a request, and in turn with it a request of as many bare calls: what else the machine does meanwhile
/// meets both alike. The time is that of the calls, `ofBareRate` how their rate compares.
void call(benchmark::State& state, Scene& scene, const Kind& kind, int count) {
  using Clock = std::chrono::steady_clock;
  const std::string method = std::string("tessarel.") + kind.name;
  const auto seconds = [&scene](const std::string& body) {
    const Clock::time_point start = Clock::now();
    const std::string answer = scene.post(body);
    const std::chrono::duration<double> taken = Clock::now() - start;
    const bool refused = answer.find("fault") != std::string::npos || answer.find("<i4>-1</i4>") != std::string::npos;
    return refused ? -1.0 : taken.count();
  };
  int next = 0;
  double ours = 0;
  double bares = 0;
  for (auto _ : state) {
    const bool one = count == 1;
    const double bareTime =
        seconds(one ? single(kind.bareName, kind.arguments(next)) : batch(kind.bareName, kind, next, count));
    const double time = seconds(one ? single(method, kind.arguments(next)) : batch(method, kind, next, count));
    if (time < 0 || bareTime < 0) {
      state.SkipWithError("a call was refused");
      break;
    }
    next += count;
    ours += time;
    bares += bareTime;
    state.SetIterationTime(time);
  }
  state.SetItemsProcessed(state.iterations() * count);
  state.counters["ofBareRate"] = bares / ours;
}

void measure(benchmark::State& state, const Beside& beside, const Kind& kind, int count) {
  if (beside.window && std::getenv("DISPLAY") == nullptr) {
    state.SkipWithError("no display to draw on");
    return;
  }
  Scene scene(beside);
  std::atomic<bool> done = false;
  std::thread calling([&] {
    call(state, scene, kind, count);
    done = true;
  });
  int frames = 0;
  const auto start = std::chrono::steady_clock::now();
  for (; !done; ++frames) scene.frame();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  calling.join();
  if (beside.steps) state.counters["frame_ms"] = 1e3 * taken.count() / frames;
}

const int registered = [] {
  for (const int count : {1, 500, 1000}) {
    for (const Beside& beside : besides) {
      for (const Kind& kind : kinds) {
        const std::string name = std::string(count == 1 ? "call" : "multicallOf" + std::to_string(count)) + "/" +
                                 beside.name + "/" + kind.name;
        benchmark::RegisterBenchmark(
            name.c_str(), [&beside, &kind, count](benchmark::State& state) { measure(state, beside, kind, count); })
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
      }
    }
  }
  return 0;
}();

}  // namespace

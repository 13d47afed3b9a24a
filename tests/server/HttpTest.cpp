#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "HttpClient.h"
#include "ProxyFixture.h"
#include "concurrency/Platform.h"
#include "server/MethodTable.h"
#include "server/RequestCheck.h"
#include "server/XmlRpcServer.h"

// When its accept loop fails, the library forgets the connections at work: a list, and a thread each that nobody joins.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:ServerRun\n";
}
// That, and the system's time zone, which it keeps under a lock that the sanitizer does not see.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "thread:ThreadCreate\nrace:DateToString\n";
}

namespace quorel {
namespace {

/// The whole way in, on a port of its own. No frame is made unless a test polls.
class HttpTest : public ProxyTest {
protected:
  HttpTest() {
    xmlrpc_env_init(&env);
    registry = xmlrpc_registry_new(&env);
    registerMethods(&env, registry);
    server = std::make_unique<XmlRpcServer>(&env, registry, 0);
    EXPECT_FALSE(env.fault_occurred) << env.fault_string;
    thread = std::thread([this] { server->serve(); });
    verbose = false;
  }

  ~HttpTest() override {
    sleepMilliseconds(50);  // lets connections just closed end, for which the library would wait two seconds
    server->stop();
    thread.join();
    server.reset();
    xmlrpc_registry_free(registry);
    xmlrpc_env_clean(&env);
    verbose = true;
  }

  std::uint16_t port() const { return server->port(); }

  int call(const std::string& method, const std::string& arguments = "") {
    return integerOf(HttpClient(port()).post(callOf(method, arguments)));
  }

  void expectToServe() { EXPECT_GE(call("tessarel.new_vertex"), 1 << 30); }

  xmlrpc_env env;
  xmlrpc_registry* registry;
  std::unique_ptr<XmlRpcServer> server;
  std::thread thread;
};

std::string arguments() {
  return {};
}

template <class First, class... Rest>
std::string arguments(First first, Rest... rest) {
  return argument(first) + arguments(rest...);
}

struct Method {
  std::string name;
  std::string types;
};

const std::vector<Method> methods = {{"new_vertex_w_id", "i"},
                                     {"new_vertex", ""},
                                     {"new_edge_w_id", "iii"},
                                     {"new_edge", "ii"},
                                     {"remove_vertex", "i"},
                                     {"remove_edge", "i"},
                                     {"clear", ""},
                                     {"set_vertex_attribute", "iss"},
                                     {"set_vertex_style_attribute", "iss"},
                                     {"new_vertex_style", "i"},
                                     {"new_vertex_style_w_id", "ii"},
                                     {"change_vertex_style", "ii"},
                                     {"set_edge_attribute", "iss"},
                                     {"set_edge_style_attribute", "iss"},
                                     {"new_edge_style", "i"},
                                     {"new_edge_style_w_id", "ii"},
                                     {"change_edge_style", "ii"}};

TEST_F(HttpTest, aThousandCallsTravelInOneRequest) {
  std::string calls;
  for (int i = 0; i < 1000; ++i) {
    calls +=
        "<value><struct><member><name>methodName</name><value>tessarel.set_vertex_attribute</value></member>"
        "<member><name>params</name><value><array><data><value><int>1</int></value><value>label</value><value>" +
        std::to_string(i) + "</value></data></array></value></member></struct></value>";
  }
  call("tessarel.new_vertex_w_id", arguments(1));
  const std::string answer = HttpClient(port()).post(
      callOf("system.multicall", "<param><value><array><data>" + calls + "</data></array></value></param>"));
  EXPECT_FALSE(isFault(answer));
  proxy.poll();
  EXPECT_EQ(proxy.vertexOf(1)->style.get_label(), "999");
}

TEST_F(HttpTest, hostileBodiesAreAnsweredAndDoNoHarm) {
  std::string deep;
  for (int i = 0; i < 20000; ++i) deep += "<value>";
  std::string deepValue = "<methodCall><methodName>tessarel.clear</methodName><params><param>";
  for (int i = 0; i < 32; ++i) deepValue += "<value><array><data>";
  const std::string bodies[] = {
      "<!DOCTYPE m[<!ENTITY a \"%\r\"",
      "<?xml version=\"1.0\"?><!DOCTYPE m [<!ENTITY a \"aa\"><!ENTITY b \"&a;&a;\">]>" + callOf("tessarel.clear"),
      deep,
      deepValue,
      std::string("<\0m\0e\0t\0h\0o\0d\0", 14),
      std::string(100, '\0'),
      "\xFF\xFE<\0" + callOf("tessarel.clear"),
      "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + callOf("tessarel.clear"),
      "<?xml version=\"1.0\" encoding=\"no-such\"?><methodCall/>",
      "<methodCall><methodName>tessarel.clear</methodName>",
      "<methodCall><methodName>tessarel.clear</methodName><params>\xFF\xFF\xFF</params></methodCall>",
      callOf("tessarel.new_vertex_w_id", "<param><value><int>99999999999999</int></value></param>"),
      callOf("tessarel.new_vertex_w_id", "<param><value><int></int></value></param>"),
      callOf("tessarel.new_vertex_w_id", "<param><value><i8>1</i8></value></param>"),
      callOf("tessarel.set_vertex_attribute", arguments(1, "label", "&#0;")),
      callOf("system.multicall",
             "<param><value><array><data><value><struct><member><name>methodName</name>"
             "<value>system.multicall</value></member></struct></value></data></array></value></param>"),
      "garbage",
      " ",
  };
  for (const std::string& body : bodies) {
    HttpClient client(port());
    const std::string answer = client.post(body);
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << body.substr(0, 80);
    EXPECT_NE(answer.find("faultCode"), std::string::npos) << body.substr(0, 80) << answer;
    EXPECT_GE(integerOf(client.post(callOf("tessarel.new_vertex"))), 1 << 30) << body.substr(0, 80);
  }
}

TEST_F(HttpTest, requestsThatAreNoCallsAreTurnedAway) {
  const std::string requests[] = {
      "\r\n\r\n",
      "GET / HTTP/1.1\r\n\r\n",
      "GET /RPC2 HTTP/1.1\r\n\r\n",
      "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\n\r\n",
      "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: -1\r\n\r\n",
      "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: 99999999999999999999\r\n\r\n",
      "POST /RPC2 HTTP/1.1\r\nContent-Type: text/plain\r\nContent-Length: 2\r\n\r\nhi",
      "POST /RPC2 HTTP/9.9\r\nContent-Type: text/xml\r\nContent-Length: 2\r\n\r\nhi",
      "POST " + std::string(10000, 'x') + " HTTP/1.1\r\n\r\n",
      "POST /RPC2 HTTP/1.1\r\nX: " + std::string(10000, 'x') + "\r\n\r\n",
      "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n",
      std::string(5000, '\xFF'),
  };
  for (const std::string& request : requests) {
    {
      HttpClient client(port());
      client.send(request);
      client.finish();
      EXPECT_EQ(integerOf(client.receive()), INT_MIN) << request.substr(0, 60);
    }
    expectToServe();
  }
}

TEST_F(HttpTest, verticesMadeByRequestsOfOneSecondDoNotCoincide) {
  // The parser of the requests seeds the process-wide generator with the time.
  std::set<float> places;
  for (int id = 1; id <= 20; ++id) {
    EXPECT_EQ(call("tessarel.new_vertex_w_id", arguments(id)), 0);
    proxy.poll();
    places.insert(proxy.vertexOf(id)->position[0]);
  }
  EXPECT_EQ(places.size(), 20U);
}

TEST_F(HttpTest, aLongBatchIsServedAndATooLongRequestTurnedAway) {
  EXPECT_EQ(call("tessarel.clear", std::string(4000000, ' ')), 0);
  const std::string answer = HttpClient(port()).post(callOf("tessarel.clear", std::string(5000000, ' ')));
  EXPECT_NE(answer.find("XML-RPC request too large"), std::string::npos) << answer;
  expectToServe();
}

TEST_F(HttpTest, aWebPageCannotDriveTheServer) {
  call("tessarel.new_vertex_w_id", arguments(1));
  const std::string body = callOf("tessarel.clear");
  const std::string hidden =
      "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
      body;
  const std::string heads[] = {
      "POST /RPC2 HTTP/1.1\r\nOrigin: http://somewhere\r\nContent-Type: text/xml\r\n",
      "POST /RPC2 HTTP/1.1\r\norigin: null\r\nContent-Type: text/plain\r\n",
      "POST /elsewhere HTTP/1.1\r\nORIGIN: http://somewhere\r\nContent-Type: text/plain\r\n",
      "OPTIONS /RPC2 HTTP/1.1\r\nOrigin: http://somewhere\r\nAccess-Control-Request-Method: POST\r\n",
      // Without the header, but with a second request where the library does not look for a body.
      "POST /elsewhere HTTP/1.1\r\nContent-Type: text/plain\r\n",
      "POST /RPC2 HTTP/1.1\r\nContent-Type: text/plain\r\n",
      "GET /RPC2 HTTP/1.1\r\n",
  };
  for (const std::string& head : heads) {
    HttpClient client(port());
    const std::string& sent = head.find("xml") == std::string::npos ? hidden : body;
    client.send(head + "Content-Length: " + std::to_string(sent.size()) + "\r\n\r\n" + sent);
    const std::string answer = client.receive();
    EXPECT_EQ(answer.starts_with("HTTP/1.1 403"),
              head.find("http://somewhere") != std::string::npos || head.find("null") != std::string::npos)
        << head << answer;
    EXPECT_EQ(integerOf(answer), INT_MIN) << head;
    EXPECT_TRUE(isFault(answer) || client.closed()) << head;
  }
  EXPECT_EQ(proxy.vertices.size(), 1U);
  expectToServe();
}

TEST_F(HttpTest, aHundredClientsAreServedAtOnce) {
  std::atomic<int> answered = 0;
  std::vector<std::thread> clients;
  for (int i = 0; i < 100; ++i) {
    clients.emplace_back([&, i] {
      HttpClient client(port());
      for (int k = 0; k < 50; ++k) {
        answered += integerOf(client.post(callOf("tessarel.new_vertex_w_id", arguments(i * 1000 + k)))) == 0 ? 1 : 0;
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(answered, 5000);
  EXPECT_EQ(proxy.vertices.size(), 5000U);
}

TEST_F(HttpTest, connectionsThatSayNothingHoldNobodyUp) {
  std::vector<std::unique_ptr<HttpClient>> silent;
  for (int i = 0; i < 220; ++i) {
    silent.push_back(std::make_unique<HttpClient>(port()));
    if (i % 10 == 0)
      silent.back()->send("POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: 99\r\n\r\n<");
    if (i % 10 == 1) silent.back()->send("POST /RP");
  }
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 20; ++i) expectToServe();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(HttpTest, aClientThatGoesAwayBeforeItsAnswerEndsNothing) {
  for (int i = 0; i < 50; ++i) {
    HttpClient client(port());
    const std::string body = callOf("system.listMethods");
    const std::string request =
        "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
        body;
    client.send(request + request + request);
  }
  expectToServe();
}

TEST_F(HttpTest, wantOfDescriptorsPassesAndTheServerServesAgain) {
  HttpClient before(port());
  EXPECT_GE(integerOf(before.post(callOf("tessarel.new_vertex"))), 1 << 30);
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  rlimit low = limit;
  low.rlim_cur = 64;
  setrlimit(RLIMIT_NOFILE, &low);
  std::vector<int> held;
  for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = dup(fd)) held.push_back(fd);
  ASSERT_FALSE(held.empty());
  close(held.back());  // for the client's own end
  held.pop_back();
  {
    HttpClient starved(port());
    starved.send("POST /RPC2 HTTP/1.1\r\n");
    sleepMilliseconds(300);
    EXPECT_GE(integerOf(before.post(callOf("tessarel.new_vertex"))), 1 << 30);  // those connected are served
    for (const int fd : held) close(fd);
    setrlimit(RLIMIT_NOFILE, &limit);
    expectToServe();
  }
  expectToServe();
}

TEST_F(HttpTest, aPortThatIsTakenIsRefusedAndStaysWithItsOwner) {
  for (int i = 0; i < 3; ++i) {
    xmlrpc_env second;
    xmlrpc_env_init(&second);
    XmlRpcServer other(&second, registry, port());
    ASSERT_TRUE(second.fault_occurred);
    EXPECT_EQ(second.fault_string, "Failed to bind listening socket to port number " + std::to_string(port()));
    xmlrpc_env_clean(&second);
  }
  expectToServe();
}

}  // namespace
}  // namespace quorel

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "ProxyFixture.h"
#include "Sockets.h"
#include "concurrency/Platform.h"
#include "server/MethodTable.h"
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

std::string callOf(const std::string& method, const std::string& parameters = "") {
  return "<?xml version=\"1.0\"?><methodCall><methodName>" + method + "</methodName><params>" + parameters +
         "</params></methodCall>";
}

std::string parameter(const std::string& value) {
  return "<param><value>" + value + "</value></param>";
}

std::string request(const std::string& body,
                    const std::string& head = "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml") {
  return head + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// The integer that an answer carries; INT_MIN if it carries none or is a fault.
int integerOf(const std::string& answer) {
  const std::size_t at = answer.find("<i4>");
  const bool has = at != std::string::npos && answer.find("<fault>") == std::string::npos;
  return has ? std::atoi(answer.c_str() + at + 4) : INT_MIN;
}

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

  bool isServed(Connection& client) { return integerOf(client.post(callOf("tessarel.new_vertex"))) >= 1 << 30; }

  void expectToServe() {
    Connection client(server->port());
    EXPECT_TRUE(isServed(client));
  }

  xmlrpc_env env;
  xmlrpc_registry* registry;
  std::unique_ptr<XmlRpcServer> server;
  std::thread thread;
};

TEST_F(HttpTest, hostileBodiesAreAnsweredWithAFaultAndDoNoHarm) {
  std::string deep;
  for (int i = 0; i < 20000; ++i) deep += "<value>";
  std::string deepValue = "<methodCall><methodName>tessarel.clear</methodName><params><param>";
  for (int i = 0; i < 32; ++i) deepValue += "<value><array><data>";
  const std::string bodies[] = {
      "<!DOCTYPE m[<!ENTITY a \"%\r\"",
      deep,
      deepValue,
      std::string(100, '\0'),
      "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + callOf("tessarel.clear"),
      "<?xml version=\"1.0\" encoding=\"no-such\"?><methodCall/>",
      "<methodCall><methodName>tessarel.clear</methodName>",
      "<methodCall><methodName>tessarel.clear</methodName><params>\xFF\xFF\xFF</params></methodCall>",
      callOf("tessarel.new_vertex_w_id", parameter("<int>99999999999999</int>")),
      callOf("tessarel.new_vertex_w_id", parameter("<int></int>")),
      callOf("tessarel.new_vertex_w_id", parameter("<i8>1</i8>")),
      callOf("tessarel.set_vertex_attribute", parameter("<int>1</int>") + parameter("label") + parameter("&#0;")),
      callOf("system.multicall", parameter("<array><data><value><struct><member><name>methodName</name>"
                                           "<value>system.multicall</value></member></struct></value></data></array>")),
      " ",
  };
  for (const std::string& body : bodies) {
    Connection client(server->port());
    const std::string answer = client.post(body);
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << body.substr(0, 80);
    EXPECT_NE(answer.find("faultCode"), std::string::npos) << body.substr(0, 80) << answer;
    EXPECT_TRUE(isServed(client)) << body.substr(0, 80);
  }
}

TEST_F(HttpTest, requestsThatAreNoCallsAreTurnedAway) {
  const std::string post = "POST /RPC2 HTTP/1.1\r\nContent-Type: text/xml\r\n";
  const std::string requests[] = {
      "\r\n\r\n",
      "GET /RPC2 HTTP/1.1\r\n\r\n",
      post + "\r\n",
      post + "Content-Length: -1\r\n\r\n",
      post + "Content-Length: 99999999999999999999\r\n\r\n",
      post + "X: " + std::string(10000, 'x') + "\r\n\r\n",
      "POST " + std::string(10000, 'x') + " HTTP/1.1\r\n\r\n",
      "POST /RPC2 HTTP/9.9\r\nContent-Type: text/xml\r\nContent-Length: 2\r\n\r\nhi",
      "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n",
      std::string(5000, '\xFF'),
  };
  for (const std::string& sent : requests) {
    Connection client(server->port());
    client.send(sent);
    client.finish();
    EXPECT_EQ(integerOf(client.receiveUntil("</methodResponse>")), INT_MIN) << sent.substr(0, 60);
    expectToServe();
  }
}

TEST_F(HttpTest, aLongBatchIsServedAndATooLongRequestTurnedAway) {
  Connection client(server->port());
  EXPECT_EQ(integerOf(client.post(callOf("tessarel.clear", std::string(4000000, ' ')))), 0);
  const std::string answer = client.post(callOf("tessarel.clear", std::string(5000000, ' ')));
  EXPECT_NE(answer.find("XML-RPC request too large"), std::string::npos) << answer;
  expectToServe();
}

TEST_F(HttpTest, aWebPageCannotDriveTheServer) {
  proxy.tessarel_new_vertex_w_id(1);
  const std::string call = callOf("tessarel.clear");
  const struct {
    const char* head;
    std::string body;
    bool isPage;
  } requests[] = {
      {"POST /RPC2 HTTP/1.1\r\nOrigin: http://somewhere\r\nContent-Type: text/xml", call, true},
      {"POST /RPC2 HTTP/1.1\r\norigin: null\r\nContent-Type: text/plain", request(call), true},
      {"POST /elsewhere HTTP/1.1\r\nORIGIN: http://somewhere\r\nContent-Type: text/plain", request(call), true},
      {"OPTIONS /RPC2 HTTP/1.1\r\nOrigin: http://somewhere\r\nAccess-Control-Request-Method: POST", request(call),
       true},
      // Without the header, but with a second request where the library does not look for a body.
      {"POST /elsewhere HTTP/1.1\r\nContent-Type: text/plain", request(call), false},
      {"POST /RPC2 HTTP/1.1\r\nContent-Type: text/plain", request(call), false},
      {"GET /RPC2 HTTP/1.1", request(call), false},
  };
  for (const auto& [head, body, isPage] : requests) {
    Connection client(server->port());
    client.send(request(body, head));
    client.finish();
    const std::string answer = client.receiveUntil("never sent");
    EXPECT_EQ(answer.starts_with("HTTP/1.1 403"), isPage) << head << answer;
    EXPECT_EQ(integerOf(answer), INT_MIN) << head;
  }
  EXPECT_EQ(proxy.vertices.size(), 1U);
  expectToServe();
}

TEST_F(HttpTest, aHundredClientsAreServedBesideConnectionsThatSayNothing) {
  std::vector<std::unique_ptr<Connection>> silent;
  for (int i = 0; i < 220; ++i) {
    silent.push_back(std::make_unique<Connection>(server->port()));
    if (i % 10 == 0) silent.back()->send(request("<").substr(0, 70));
    if (i % 10 == 1) silent.back()->send("POST /RP");
  }
  std::atomic<int> answered = 0;
  std::vector<std::thread> clients;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 100; ++i) {
    clients.emplace_back([&] {
      Connection client(server->port());
      for (int k = 0; k < 20; ++k) answered += isServed(client) ? 1 : 0;
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(12)) << "some waited for the silent ones";
  EXPECT_EQ(answered, 2000);
  EXPECT_EQ(proxy.vertices.size(), 2000U);
}

TEST_F(HttpTest, aClientThatGoesAwayBeforeItsAnswerEndsNothing) {
  const std::string list = request(callOf("system.listMethods"));
  for (int i = 0; i < 50; ++i) Connection(server->port()).send(list + list + list);
  expectToServe();
}

TEST_F(HttpTest, wantOfDescriptorsPassesAndTheServerServesAgain) {
  Connection before(server->port());
  EXPECT_TRUE(isServed(before));
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
  Connection starved(server->port());
  starved.send("POST /RPC2 HTTP/1.1\r\n");
  sleepMilliseconds(300);
  EXPECT_TRUE(isServed(before)) << "those connected are served";
  for (const int fd : held) close(fd);
  setrlimit(RLIMIT_NOFILE, &limit);
  expectToServe();
}

}  // namespace
}  // namespace quorel

#include <memory>
#include <mutex>
#include <thread>

#include "ProxyFixture.h"
#include "Sockets.h"
#include "concurrency/Job.h"
#include "concurrency/ThreadPool.h"
#include "server/XMLRPC.h"
#include "server/XMLRPC_VertexCallback.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

/// A client's own server: takes one connection at a time, keeps what it was sent and gives a fixed answer.
class Client {
public:
  explicit Client(std::string fixedAnswer) : answer(std::move(fixedAnswer)), thread([this] { serve(); }) {}

  ~Client() {
    socket.shutDown();
    thread.join();
  }

  /// All requests since the last call.
  std::string take() {
    const std::lock_guard hold(mutex);
    return std::exchange(requests, {});
  }

  ListeningSocket socket;

private:
  void serve() {
    for (int fd = socket.accept(); fd >= 0; fd = socket.accept()) {
      Connection connection(fd);
      const std::string request = connection.receiveUntil("</methodCall>");
      const std::lock_guard hold(mutex);
      requests += request;
      connection.send(answer);
    }
  }

  std::string answer;
  std::mutex mutex;
  std::string requests;
  std::thread thread;
};

std::string http(const std::string& body) {
  return "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
         body;
}

const std::string accepted = http(
    "<?xml version=\"1.0\"?><methodResponse><params><param><value><int>0</int></value></param></params>"
    "</methodResponse>");

const std::string warning = "Warning: XMLRPC_VertexCallback:67 need debugging work here\n";

class CallbackTest : public ProxyTest {
protected:
  CallbackTest() {
    proxy.tessarel_new_vertex_w_id(7);
    proxy.tessarel_new_vertex_w_id(8);
    proxy.poll();
  }

  /// What a double click on the vertex does, and the lines that the call leaves.
  std::string click(const std::string& url, int id = 7) {
    Captured errors(std::cerr);
    EXPECT_EQ(proxy.tessarel_set_vertex_style_attribute(0, "callback_left_doubleclick", url.c_str()), 0);
    proxy.poll();
    (*proxy.vertexOf(id)->style.get_callback())(proxy.vertexOf(id));
    xmlrpc().pool->waitUntilDone();
    return errors.take();
  }
};

TEST_F(CallbackTest, theClientHearsTheIdOfTheVertexThatWasClicked) {
  Client client(accepted);
  for (const auto& [target, path, method] : {std::tuple("/RPC2/clicked", "/RPC2", "clicked"),
                                             {"/m", "/", "m"},
                                             {"/m/", "/", "m"},
                                             {"/some/path/area.clicked", "/some/path", "area.clicked"}}) {
    for (const int id : {8, 7, 8}) {
      EXPECT_EQ(click(client.socket.url() + target, id), warning);
      const std::string request = client.take();
      EXPECT_TRUE(request.starts_with(std::string("POST ") + path + " HTTP/1.1\r\n")) << request;
      EXPECT_NE(request.find("\r\nUser-Agent: Tessarel_Server/1.0"), std::string::npos) << request;
      EXPECT_NE(request.find(std::string("<methodName>") + method + "</methodName>"), std::string::npos) << request;
      EXPECT_NE(request.find("<param><value><i4>" + std::to_string(id) + "</i4></value></param>"), std::string::npos);
      EXPECT_EQ(request.find("<param>"), request.rfind("<param>")) << "one argument, one call";
    }
  }
}

TEST_F(CallbackTest, aVertexThatNoClientNamedCallsNobody) {
  Client client(accepted);
  XMLRPC_VertexCallback callback((client.socket.url() + "/m").c_str());
  callback(proxy.layout->newVertex());
  EXPECT_EQ(click(client.socket.url() + "/m"), warning);
  const std::string requests = client.take();
  EXPECT_EQ(requests.find("<i4>7</i4>"), requests.rfind("<i4>"));
}

TEST_F(CallbackTest, aCallThatFailsIsToldOnStandardErrorAndTheNextOneWorks) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<value>";
  const std::string fault = http(
      "<?xml version=\"1.0\"?><methodResponse><fault><value><struct><member><name>faultCode</name>"
      "<value><int>42</int></value></member><member><name>faultString</name><value>no such vertex</value></member>"
      "</struct></value></fault></methodResponse>");
  const auto expectToldOfFault = [](const std::string& lines) {
    EXPECT_TRUE(lines.starts_with("XML-RPC Fault: ")) << lines;
    EXPECT_TRUE(lines.ends_with(")\n" + warning)) << lines;
  };
  for (const std::string& answer :
       {std::string(), std::string("nonsense"), http("nonsense"), http(""), http("<!DOCTYPE m[<!ENTITY a \"%\r\""),
        http(deep), std::string("HTTP/1.1 500 Oh\r\n\r\n"),
        std::string("HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n\r\n")}) {
    expectToldOfFault(click(Client(answer).socket.url() + "/m"));
  }
  for (const char* nowhere : {"http://", "http://127.0.0.1:1/m", "http://no such host/m"}) {
    expectToldOfFault(click(nowhere));
  }
  EXPECT_EQ(click(Client(fault).socket.url() + "/m"), "XML-RPC Fault: no such vertex(42)\n" + warning);
  EXPECT_EQ(click(Client(accepted).socket.url() + "/m"), warning);
}

TEST_F(CallbackTest, aClientThatDoesNotAnswerHoldsNoOtherCallUp) {
  auto deaf = std::make_unique<ListeningSocket>();  // never takes a connection
  Captured errors(std::cerr);
  XMLRPC_VertexCallback hanging((deaf->url() + "/m").c_str());
  hanging(proxy.vertexOf(7));
  hanging(proxy.vertexOf(8));
  Client client(accepted);
  XMLRPC_VertexCallback answered((client.socket.url() + "/m").c_str());
  for (int i = 0; i < 5; ++i) {
    answered(proxy.vertexOf(7));
    while (client.take().empty()) std::this_thread::yield();
  }
  deaf.reset();  // which resets the connections that wait
  xmlrpc().pool->waitUntilDone();
}

}  // namespace
}  // namespace quorel

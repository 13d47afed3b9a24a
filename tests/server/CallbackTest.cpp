#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "ProxyFixture.h"
#include "concurrency/Job.h"
#include "concurrency/ThreadPool.h"
#include "server/XMLRPC.h"
#include "server/XMLRPC_VertexCallback.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

/// A client's own server: takes one connection at a time, keeps what it was sent and answers with a fixed text, or with
/// nothing until it is told to.
class Listener {
public:
  explicit Listener(std::string fixedAnswer) : answer(std::move(fixedAnswer)), fd(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    listen(fd, 8);
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    thread = std::thread([this] { serve(); });
  }

  ~Listener() {
    shutdown(fd, SHUT_RDWR);
    thread.join();
    close(fd);
  }

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port); }

  /// The next request; empty after ten seconds without one.
  std::string request() {
    std::unique_lock hold(mutex);
    arrived.wait_for(hold, std::chrono::seconds(10), [this] { return !requests.empty(); });
    if (requests.empty()) return {};
    std::string first = requests.front();
    requests.pop_front();
    return first;
  }

private:
  void serve() {
    for (;;) {
      const int connection = accept(fd, nullptr, nullptr);
      if (connection < 0) return;
      std::string request;
      char buffer[4096];
      while (request.find("</methodCall>") == std::string::npos) {
        const ssize_t size = recv(connection, buffer, sizeof buffer, 0);
        if (size <= 0) break;
        request.append(buffer, static_cast<std::size_t>(size));
      }
      send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
      close(connection);
      const std::lock_guard hold(mutex);
      requests.push_back(request);
      arrived.notify_all();
    }
  }

  std::string answer;
  int fd;
  std::uint16_t port;
  std::thread thread;
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<std::string> requests;
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
  std::string click(int id) {
    Captured errors(std::cerr);
    (*proxy.vertexOf(id)->style.get_callback())(proxy.vertexOf(id));
    if (xmlrpc().pool != nullptr) xmlrpc().pool->waitUntilDone();
    return errors.take();
  }

  void setCallback(const std::string& url) {
    EXPECT_EQ(proxy.tessarel_set_vertex_style_attribute(0, "callback_left_doubleclick", url.c_str()), 0);
    proxy.poll();
  }
};

TEST_F(CallbackTest, theClientHearsTheIdOfTheVertexThatWasClicked) {
  Listener client(accepted);
  setCallback(client.url() + "/some/path/clicked/");
  for (const int id : {8, 7, 8}) {
    EXPECT_EQ(click(id), warning);
    const std::string request = client.request();
    EXPECT_TRUE(request.starts_with("POST /some/path HTTP/1.1\r\n")) << request;
    EXPECT_NE(request.find("\r\nUser-Agent: Tessarel_Server/1.0"), std::string::npos) << request;
    EXPECT_NE(request.find("<methodName>clicked</methodName>"), std::string::npos) << request;
    EXPECT_NE(request.find("<param><value><i4>" + std::to_string(id) + "</i4></value></param>"), std::string::npos);
    EXPECT_EQ(request.find("<param>"), request.rfind("<param>"));
  }
  setCallback(client.url() + "/m");
  click(7);
  EXPECT_NE(client.request().find("<methodName>m</methodName>"), std::string::npos);
}

TEST_F(CallbackTest, aVertexThatNoClientNamedCallsNobody) {
  Listener client(accepted);
  XMLRPC_VertexCallback callback((client.url() + "/m").c_str());
  callback(proxy.layout->newVertex());
  setCallback(client.url() + "/m");
  EXPECT_EQ(click(7), warning);
  EXPECT_NE(client.request().find("<i4>7</i4>"), std::string::npos);  // the first to arrive
}

TEST_F(CallbackTest, aCallThatFailsIsToldOnStandardErrorAndTheNextOneWorks) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<value>";
  const std::string fault = http(
      "<?xml version=\"1.0\"?><methodResponse><fault><value><struct><member><name>faultCode</name>"
      "<value><int>42</int></value></member><member><name>faultString</name><value>no such vertex</value></member>"
      "</struct></value></fault></methodResponse>");
  for (const std::string& answer :
       {std::string(), std::string("nonsense"), http("nonsense"), http(""), http("<!DOCTYPE m[<!ENTITY a \"%\r\""),
        http(deep), std::string("HTTP/1.1 500 Oh\r\n\r\n"),
        std::string("HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n\r\n"), fault}) {
    Listener client(answer);
    setCallback(client.url() + "/m");
    const std::string lines = click(7);
    EXPECT_TRUE(lines.starts_with("XML-RPC Fault: ")) << lines;
    EXPECT_TRUE(lines.ends_with(")\n" + warning)) << lines;
    if (answer == fault) {
      EXPECT_EQ(lines, "XML-RPC Fault: no such vertex(42)\n" + warning);
    }
  }
  for (const char* nowhere : {"http://", "http://127.0.0.1:1/m", "http://no such host/m"}) {
    setCallback(nowhere);
    const std::string lines = click(7);
    EXPECT_TRUE(lines.starts_with("XML-RPC Fault: ")) << nowhere << lines;
    EXPECT_TRUE(lines.ends_with(")\n" + warning)) << nowhere << lines;
  }
  Listener client(accepted);
  setCallback(client.url() + "/m");
  EXPECT_EQ(click(7), warning);
}

TEST_F(CallbackTest, aClientThatDoesNotAnswerHoldsNoOtherCallUp) {
  // Listens and never takes a connection.
  const int deaf = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(deaf, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  listen(deaf, 8);
  socklen_t size = sizeof address;
  getsockname(deaf, reinterpret_cast<sockaddr*>(&address), &size);

  Captured errors(std::cerr);
  XMLRPC_VertexCallback hanging(("http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/m").c_str());
  hanging(proxy.vertexOf(7));
  hanging(proxy.vertexOf(8));
  Listener client(accepted);
  XMLRPC_VertexCallback answered((client.url() + "/m").c_str());
  for (int i = 0; i < 5; ++i) {
    answered(proxy.vertexOf(7));
    EXPECT_NE(client.request(), "");
  }
  close(deaf);  // which resets the connections that wait
  xmlrpc().pool->waitUntilDone();
  errors.take();
}

}  // namespace
}  // namespace quorel

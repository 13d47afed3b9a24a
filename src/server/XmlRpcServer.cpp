#include "server/XmlRpcServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <xmlrpc-c/server_abyss.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string>
#include <string_view>

#include "concurrency/Platform.h"
#include "server/MethodTable.h"
#include "server/RequestCheck.h"

namespace quorel {

xmlrpc_env serverEnv;

namespace {

/// Connections that wait in the system until the accept loop comes to them; a burst of clients beyond that is delayed
/// by a second and more.
constexpr int backlog = 128;

/// The library takes 11 kB of it to read the deepest request that is let through; the rest is for what the handlers do.
constexpr std::size_t handlerStackBytes = 1 << 20;

/// Longest request. A batch of some sixteen thousand calls fits; more would only let one client take more memory.
constexpr std::size_t longestRequestBytes = std::size_t{4} << 20;

/// A request takes up to 45 times its size while it is read. Those above this size are read one at a time, so that many of
/// the longest at once do not take all memory.
constexpr std::size_t largeRequestBytes = std::size_t{512} << 10;

/// How long a connection may be silent, within a request or between two, and how long it may leave an answer unread,
/// before its thread is wanted back.
constexpr unsigned int patienceSeconds = 15;

/// Pause before the accept loop starts again after a failure.
constexpr int pauseMilliseconds = 20;

/// The library waits for a free place by sleeping two seconds at a time, so there must always be one. Each connection
/// takes three descriptors; the rest of the process has its share first.
unsigned int mostConnections() {
  constexpr rlim_t descriptorsOfOthers = 100;
  constexpr rlim_t descriptorsOfConnection = 3;
  rlimit descriptors = {};
  getrlimit(RLIMIT_NOFILE, &descriptors);
  const rlim_t left = std::max(descriptors.rlim_cur, descriptorsOfOthers) - descriptorsOfOthers;
  return static_cast<unsigned int>(std::clamp<rlim_t>(left / descriptorsOfConnection, 16, 1000));
}

bool descriptorsAreFree() {
  int ends[2];
  if (pipe(ends) != 0) return false;
  int others[2];
  const bool free = pipe(others) == 0;
  if (free) {
    close(others[0]);
    close(others[1]);
  }
  close(ends[0]);
  close(ends[1]);
  return free;
}

/// A listening socket, or -1.
int listenOn(std::uint16_t port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return -1;
  // A port whose last connections still linger can be had again; one that somebody listens on cannot.
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  // What follows the accepted sockets inherit. An answer goes out in two writes, and the second must not wait for the
  // client to acknowledge the first.
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  const timeval patience = {.tv_sec = patienceSeconds, .tv_usec = 0};
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(port);
  // Two sockets may be bound to one port as long as neither listens.
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || listen(fd, backlog) != 0) {
    close(fd);
    return -1;
  }
  return fd;
}

/// Answers one request. The library has read it whole.
void process(xmlrpc_env* env, void* registry, const char* body, std::size_t size, TSession*,
             xmlrpc_mem_block** answer) {
  const char* reason = reasonToRefuse(std::string_view(body, size));
  if (reason == nullptr) {
    static std::mutex& large = *new std::mutex;
    const std::unique_lock<std::mutex> hold =
        size > largeRequestBytes ? std::unique_lock(large) : std::unique_lock<std::mutex>();
    xmlrpc_registry_process_call2(env, static_cast<xmlrpc_registry*>(registry), body, size, nullptr, answer);
    return;
  }
  xmlrpc_env fault;
  xmlrpc_env_init(&fault);
  xmlrpc_env_set_fault(&fault, XMLRPC_PARSE_ERROR, reason);
  *answer = xmlrpc_mem_block_new(env, 0);
  if (!env->fault_occurred) xmlrpc_serialize_fault(env, *answer, &fault);
  xmlrpc_env_clean(&fault);
}

/// A browser names the page that a request comes from; no other client does. A page must not drive the server of
/// whoever looks at it, so such a request is refused before anything of it is read, and the connection closed.
void refusePages(void*, TSession* session, abyss_bool* handled) {
  *handled = RequestHeaderValue(session, "origin") != nullptr;
  if (*handled) ResponseStatus(session, 403);
}

}  // namespace

XmlRpcServer::XmlRpcServer(xmlrpc_env* env, xmlrpc_registry* registry, std::uint16_t port) {
  // The library writes to connections that the client may have closed.
  std::signal(SIGPIPE, SIG_IGN);
  xmlrpc_limit_set(XMLRPC_XML_SIZE_LIMIT_ID, longestRequestBytes);
  const char* error = nullptr;
  AbyssInit(&error);
  if (error == nullptr) {
    listener = listenOn(port);
    if (listener < 0) {
      xmlrpc_env_set_fault_formatted(env, XMLRPC_INTERNAL_ERROR, "Failed to bind listening socket to port number %u",
                                     port);
      return;
    }
    ChanSwitchUnixCreateFd(listener, &chanSwitch, &error);
  }
  if (error == nullptr) ServerCreateSwitch(&server, chanSwitch, &error);
  if (error == nullptr) {
    ServerSetMaxConn(&server, mostConnections());
    ServerSetMaxConnBacklog(&server, backlog);
    ServerSetKeepaliveTimeout(&server, patienceSeconds);
    ServerSetKeepaliveMaxConn(&server, 1U << 30);
    ServerSetTimeout(&server, patienceSeconds);

    xmlrpc_server_abyss_handler_parms handler = {};
    handler.xml_processor = process;
    handler.xml_processor_arg = registry;
    handler.xml_processor_max_stack = handlerStackBytes;
    xmlrpc_server_abyss_set_handler3(env, &server, &handler, XMLRPC_AHPSIZE(xml_processor_max_stack));
    xmlrpc_server_abyss_set_default_handler(&server);

    // The handler added last is asked first.
    const ServerReqHandler3 gate = {
        .term = nullptr, .handleReq = refusePages, .userdata = nullptr, .handleReqStackSize = 0};
    abyss_bool added = 0;
    ServerAddHandler3(&server, &gate, &added);
    if (!added && !env->fault_occurred)
      xmlrpc_env_set_fault(env, XMLRPC_INTERNAL_ERROR, "No memory for the web server");
    ServerInit2(&server, &error);
  }
  if (error != nullptr && !env->fault_occurred) xmlrpc_env_set_fault(env, XMLRPC_INTERNAL_ERROR, error);
}

XmlRpcServer::~XmlRpcServer() {
  if (server.srvP != nullptr) ServerFree(&server);
  if (chanSwitch != nullptr) ChanSwitchDestroy(chanSwitch);
  if (listener >= 0) close(listener);
}

std::uint16_t XmlRpcServer::port() const {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

void XmlRpcServer::serve() {
  while (!stopping) {
    // Returns on the first failure to take a connection, and has then told so on standard output. Those at work go on.
    ServerRun(&server);
    do {
      if (stopping) return;
      sleepMilliseconds(pauseMilliseconds);
    } while (!descriptorsAreFree());
  }
}

void XmlRpcServer::stop() {
  stopping = true;
  ServerTerminate(&server);
}

void* serverMain(void*) {
  xmlrpc_env_init(&serverEnv);
  xmlrpc_registry* registry = xmlrpc_registry_new(&serverEnv);
  registerMethods(&serverEnv, registry);
  std::cout << "Running Tessarel/XML-RPC server.\n" << std::flush;
  XmlRpcServer server(&serverEnv, registry, serverPort);
  if (serverEnv.fault_occurred) {
    std::cerr << std::string(serverEnv.fault_string) + '\n';
    std::cout.flush();
    // Not exit(): the main thread is drawing, and what it draws with must not be torn down beside it.
    std::_Exit(1);
  }
  server.serve();
  return nullptr;
}

}  // namespace quorel

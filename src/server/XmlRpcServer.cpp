#include "server/XmlRpcServer.h"

#include <malloc.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <xmlrpc-c/server_abyss.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "concurrency/Log.h"
#include "concurrency/Platform.h"
#include "server/ByteBudget.h"
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

/// Longest answer. That to a batch of the most calls is half of it; listings, asked for again and again in one batch,
/// would come to a multiple of the request.
constexpr std::size_t longestAnswerBytes = std::size_t{8} << 20;

/// A request takes up to 45 times its size while it is read, so only so much is read at a time. Requests up to the small
/// size, all single calls among them, come past; the large ones take turns among themselves, for they take long.
constexpr std::size_t smallRequestBytes = std::size_t{16} << 10;
constexpr std::size_t largeRequestBytes = std::size_t{512} << 10;
constexpr std::size_t budgetBytes = std::size_t{2} << 20;

/// Large requests that are held in memory, in whatever state.
constexpr std::size_t mostLargeRequests = 32;

/// How long a kept connection may be silent between two requests.
constexpr unsigned int silenceSeconds = 15;

/// How long a client may take over the whole of a request, or over taking the answer.
constexpr std::chrono::seconds patience{60};

/// How often slow connections are looked for; more often when there are many.
constexpr int lookMilliseconds = 1000;
constexpr int lookMillisecondsWhenMany = 50;

/// Pause before the accept loop starts again after a failure.
constexpr int pauseMilliseconds = 20;

/// The library's own limit, at which it sleeps two seconds at a time. Beyond reach: descriptors run out before, and then
/// it returns at once.
constexpr unsigned int unreachedConnections = 1 << 16;

/// With less, silent connections could leave no descriptor to take another with.
constexpr std::size_t leastRoom = 3;

std::ptrdiff_t openDescriptors() {
  constexpr std::ptrdiff_t likely = 100;
  std::error_code error;
  std::ptrdiff_t count = 0;
  for (std::filesystem::directory_iterator each("/proc/self/fd", error); !error && each != end(each); ++count) {
    each.increment(error);
  }
  return error ? likely : count;
}

/// Each connection takes three descriptors, of those that are free once the window is there. Some are kept for calls back
/// and the like, and more for the connections of a burst. The limit itself is left as it is, since the client side of the
/// library cannot handle descriptors above 1023. What is at work cannot be ended, so the requests that may be at work for
/// long must leave some of the connections.
ConnectionTable::Limits limitsOfConnections() {
  constexpr std::ptrdiff_t reserve = 100;
  constexpr std::ptrdiff_t descriptorsOfConnection = 3;
  constexpr std::ptrdiff_t mostConnections = 1000;
  rlimit descriptors = {};
  getrlimit(RLIMIT_NOFILE, &descriptors);
  const std::ptrdiff_t left = static_cast<std::ptrdiff_t>(descriptors.rlim_cur) - openDescriptors();
  const std::ptrdiff_t kept = std::min(reserve, left / 2);
  const auto most =
      static_cast<std::size_t>(std::clamp<std::ptrdiff_t>((left - kept) / descriptorsOfConnection, 0, mostConnections));
  const auto burst = static_cast<std::size_t>(std::max<std::ptrdiff_t>(kept * 3 / 4 / descriptorsOfConnection, 1));
  return {.most = most,
          .burst = burst,
          .mostMedium = std::max<std::size_t>(most / 2, 1),
          .mostLarge = std::clamp<std::size_t>(most / 4, 1, mostLargeRequests)};
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
  const timeval silence = {.tv_sec = silenceSeconds, .tv_usec = 0};
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &silence, sizeof silence);
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

/// The table of the server that is running; the library's handlers know their session alone.
std::atomic<ConnectionTable*> connectionTable = nullptr;

/// The library keeps the address that it got from `accept` and hands it out again; in the unused part of it `accept` has
/// left the number of the connection, since two of them may have the same other end.
ConnectionTable::Id connectionOf(TSession* session) {
  void* information = nullptr;
  SessionGetChannelInfo(session, &information);
  const auto* channel = static_cast<const abyss_unix_chaninfo*>(information);
  sockaddr_in address = {};
  std::memcpy(&address, &channel->peerAddr, sizeof address);
  ConnectionTable::Id id = 0;
  std::memcpy(&id, address.sin_zero, sizeof id);
  return id;
}

void answerWithFault(xmlrpc_env* env, int code, const char* reason, xmlrpc_mem_block** answer) {
  xmlrpc_env fault;
  xmlrpc_env_init(&fault);
  xmlrpc_env_set_fault(&fault, code, reason);
  *answer = xmlrpc_mem_block_new(env, 0);
  if (!env->fault_occurred) xmlrpc_serialize_fault(env, *answer, &fault);
  xmlrpc_env_clean(&fault);
}

void call(xmlrpc_env* env, xmlrpc_registry* registry, std::string_view body, xmlrpc_mem_block** answer) {
  static ByteBudget& medium = *new ByteBudget(budgetBytes);
  static ByteBudget& large = *new ByteBudget(budgetBytes);
  std::optional<ByteBudget::Share> share;
  if (body.size() > smallRequestBytes) share.emplace(body.size() > largeRequestBytes ? large : medium, body.size());
  xmlrpc_registry_process_call2(env, registry, body.data(), body.size(), nullptr, answer);
  if (!env->fault_occurred && XMLRPC_MEMBLOCK_SIZE(char, *answer) > longestAnswerBytes) {
    xmlrpc_mem_block_free(*answer);
    answerWithFault(env, XMLRPC_LIMIT_EXCEEDED_ERROR, "The answer to these calls would be too long", answer);
  }
  // What the calls and their answers took lies between what others still hold.
  if (body.size() > largeRequestBytes) malloc_trim(0);
}

/// Answers one request. The library has read it whole.
void process(xmlrpc_env* env, void* registry, const char* body, std::size_t size, TSession* session,
             xmlrpc_mem_block** answer) {
  ConnectionTable& table = *connectionTable;
  const ConnectionTable::Id connection = connectionOf(session);
  table.beginWork(connection);
  const std::string_view request(body, size);
  if (const char* reason = reasonToRefuse(request); reason != nullptr) {
    answerWithFault(env, XMLRPC_PARSE_ERROR, reason, answer);
  } else {
    call(env, static_cast<xmlrpc_registry*>(registry), request, answer);
  }
  table.endWork(connection);
}

/// By the length that a request's header tells.
ConnectionTable::Size sizeOf(TSession* session) {
  const char* told = RequestHeaderValue(session, "content-length");
  const std::size_t bytes = told == nullptr ? 0 : std::strtoul(told, nullptr, 10);
  if (bytes > largeRequestBytes) return ConnectionTable::Size::large;
  return bytes > smallRequestBytes ? ConnectionTable::Size::medium : ConnectionTable::Size::small;
}

/// Looks at the header of each request before anything of its body is read. A browser names the page that a request
/// comes from, and no other client does: a page must not drive the server of whoever looks at it, so such a request is
/// refused and the connection closed. Requests too long to have many of them in memory wait here.
void atTheGate(void*, TSession* session, abyss_bool* handled) {
  *handled = 1;
  if (RequestHeaderValue(session, "origin") != nullptr) {
    ResponseStatus(session, 403);
  } else if (!connectionTable.load()->beginRequest(connectionOf(session), sizeOf(session))) {
    ResponseStatus(session, 503);
  } else {
    *handled = 0;
  }
}

}  // namespace

XmlRpcServer::XmlRpcServer(xmlrpc_env* env, xmlrpc_registry* registry, std::uint16_t port)
    : connections(limitsOfConnections()) {
  if (connections.limits().most < leastRoom) {
    xmlrpc_env_set_fault(env, XMLRPC_INTERNAL_ERROR, "Too few file descriptors to serve clients");
    return;
  }
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
    ServerSetMaxConn(&server, unreachedConnections);
    ServerSetMaxConnBacklog(&server, backlog);
    ServerSetKeepaliveTimeout(&server, silenceSeconds);
    ServerSetKeepaliveMaxConn(&server, 1U << 30);
    ServerSetTimeout(&server, silenceSeconds);

    xmlrpc_server_abyss_handler_parms handler = {};
    handler.xml_processor = process;
    handler.xml_processor_arg = registry;
    handler.xml_processor_max_stack = handlerStackBytes;
    xmlrpc_server_abyss_set_handler3(env, &server, &handler, XMLRPC_AHPSIZE(xml_processor_max_stack));
    xmlrpc_server_abyss_set_default_handler(&server);

    // The handler added last is asked first.
    const ServerReqHandler3 gate = {
        .term = nullptr, .handleReq = atTheGate, .userdata = nullptr, .handleReqStackSize = 0};
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
  connectionTable = &connections;
  std::thread watcher(&XmlRpcServer::watch, this);
  while (!stopping) {
    // Returns on the first failure to take a connection, and has then told so on standard output. Those at work go on.
    ServerRun(&server);
    // If it was not for want of descriptors, then of threads or memory, which the connections hold too.
    if (!stopping && descriptorsAreFree()) connections.endSome();
    do {
      if (stopping) break;
      connections.look(patience);
      sleepMilliseconds(pauseMilliseconds);
    } while (!descriptorsAreFree());
  }
  watcher.join();
}

void XmlRpcServer::watch() {
  while (!stopping) {
    const std::size_t count = connections.look(patience);
    sleepMilliseconds(count > connections.limits().most / 2 ? lookMillisecondsWhenMany : lookMilliseconds);
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
  writeLine(std::cout, "Running Tessarel/XML-RPC server.");
  XmlRpcServer server(&serverEnv, registry, serverPort);
  if (serverEnv.fault_occurred) {
    writeLine(std::cerr, serverEnv.fault_string);
    // Not exit(): the main thread is drawing, and what it draws with must not be torn down beside it.
    std::_Exit(1);
  }
  try {
    server.serve();
  } catch (const std::system_error& error) {
    writeLine(std::cerr, "tessarel: cannot start a thread: ", error.what());
    std::_Exit(1);
  }
  return nullptr;
}

}  // namespace quorel

/// Takes the place of the C library's. The web library would take connections that it has not the descriptors for, and then
/// reset them; so they stay in the system's queue until there is room. The process listens on one port alone.
extern "C" int accept(int listener, sockaddr* __restrict address, socklen_t* __restrict size) {
  using namespace quorel;
  ConnectionTable* const table = connectionTable;
  if (table != nullptr) table->waitForRoom(patience);
  const int fd = accept4(listener, address, size, 0);
  if (table != nullptr && fd >= 0) {
    const ConnectionTable::Id id = table->add(fd);
    auto* const internet = reinterpret_cast<sockaddr_in*>(address);
    static_assert(sizeof internet->sin_zero == sizeof id);
    std::memcpy(internet->sin_zero, &id, sizeof id);
  }
  return fd;
}

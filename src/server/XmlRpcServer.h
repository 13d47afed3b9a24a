#pragma once

#include <xmlrpc-c/base.h>
#include <xmlrpc-c/server.h>
// The web server's header wants the others first.
#include <xmlrpc-c/abyss.h>

#include <atomic>
#include <cstdint>

#include "server/ConnectionTable.h"

namespace quorel {

/// The fixed port of the client interface.
constexpr std::uint16_t serverPort = 20738;

/// The web server with the client interface behind it.
/// Threading: made and served on one thread, beside which another looks after slow connections; each connection is served
///            on a thread of its own that the library makes. `stop` from any thread.
/// Ownership: owns its listening socket. The registry is the caller's and outlives the server.
class XmlRpcServer {
public:
  /// Takes the port, 0 for any that is free. If it cannot, the environment holds the fault.
  XmlRpcServer(xmlrpc_env* env, xmlrpc_registry* registry, std::uint16_t port);
  XmlRpcServer(const XmlRpcServer&) = delete;
  XmlRpcServer& operator=(const XmlRpcServer&) = delete;
  ~XmlRpcServer();

  /// The port taken.
  std::uint16_t port() const;

  /// Serves until up to a second after `stop`; want of descriptors, threads or memory only makes it pause. std::system_error
  /// if there is no thread for what goes on beside.
  void serve();

  void stop();

private:
  /// Ends slow connections, until `stop`.
  void watch();

  ConnectionTable connections;
  int listener = -1;
  TChanSwitch* chanSwitch = nullptr;
  TServer server{};
  std::atomic<bool> stopping = false;
};

/// The fault environment of the server thread's set-up.
extern xmlrpc_env serverEnv;

/// Body of the server thread: sets up the registry and serves on `serverPort` for ever. If the port is taken it ends
/// the process with status 1.
void* serverMain(void*);

}  // namespace quorel

#include "server/XMLRPC.h"

#include <xmlrpc-c/client.h>

#include <cstdlib>
#include <iostream>
#include <utility>

#include "concurrency/Log.h"
#include "concurrency/ThreadPool.h"
#include "server/XMLRPC_AsynchMethodCall.h"

namespace quorel {

namespace {

/// Calls on their way at once. A fourth waits for one of them to end or to run out of time.
constexpr int callThreads = 3;

[[maybe_unused]] const XMLRPC& madeAtStart = xmlrpc();

}  // namespace

XMLRPC& xmlrpc() {
  static XMLRPC& client = *new XMLRPC;
  return client;
}

XMLRPC::XMLRPC() : pool(nullptr) {
  xmlrpc_env_init(&env);
  xmlrpc_client_init2(&env, 0, callerName, callerVersion, nullptr, 0);
  if (env.fault_occurred) {
    writeLine(std::cerr, "XML-RPC Fault: ", env.fault_string, '(', env.fault_code, ')');
  }
  std::atexit([] { xmlrpc().cleanUp(); });
}

template <class T>
int XMLRPC::call_asynch(std::string url, std::string method, std::string format, T argument) {
  if (pool == nullptr) pool = new ThreadPool<Job>(callThreads, true);
  pool->submit(new XMLRPC_AsynchMethodCall<T>(std::move(url), std::move(method), std::move(format), argument));
  return 0;
}

template int XMLRPC::call_asynch<int>(std::string, std::string, std::string, int);

void XMLRPC::cleanUp() {
  if (pool != nullptr) {
    pool->lock();
    const bool busy = pool->outstanding != 0;
    pool->unlock();
    // The end of the process waits for no client, and takes nothing away from a call that still uses it.
    if (busy) return;
    delete pool;
    pool = nullptr;
  }
  xmlrpc_env_clean(&env);
  xmlrpc_client_cleanup();
}

}  // namespace quorel

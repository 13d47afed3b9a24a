#pragma once

#include <xmlrpc-c/base.h>

#include <string>

namespace quorel {

class Job;
template <class Job>
class ThreadPool;

/// What the client side calls itself, and how it says so in the user-agent field of its requests.
inline constexpr char callerName[] = "Tessarel_Server";
inline constexpr char callerVersion[] = "1.0";
inline constexpr char callerAgent[] = "Tessarel_Server/1.0";

/// The client side: calls to servers of other programs, each on a thread of a small pool.
/// Threading: `call_asynch` on the main thread only.
/// Ownership: one object, made by a static initialiser and never destroyed. At the end of the process it gives back
///            what no call in flight still uses.
class XMLRPC {
public:
  XMLRPC();
  XMLRPC(const XMLRPC&) = delete;
  XMLRPC& operator=(const XMLRPC&) = delete;

  /// Hands the call to the pool, which the first call makes, and returns at once.
  template <class T>
  int call_asynch(std::string url, std::string method, std::string format, T argument);

  /// Registered to run at the end of the process.
  void cleanUp();

  xmlrpc_env env;
  ThreadPool<Job>* pool;
};

/// The one client side.
XMLRPC& xmlrpc();

extern template int XMLRPC::call_asynch<int>(std::string, std::string, std::string, int);

}  // namespace quorel

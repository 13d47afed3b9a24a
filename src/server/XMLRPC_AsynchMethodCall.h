#pragma once

#include <string>

#include "concurrency/Job.h"

namespace quorel {

/// One call of one method of another program's server, waiting for its turn or on its way.
/// Threading: runs on a thread of the call pool, with a fault environment and a connection of its own.
/// Ownership: the pool deletes it when it has run.
template <class T>
class XMLRPC_AsynchMethodCall final : public Job {
public:
  XMLRPC_AsynchMethodCall(std::string serverUrl, std::string methodName, std::string argumentFormat, T argumentValue);

  /// Makes the call and waits for its answer, for a limited time. The answer is not looked at; a fault is told on
  /// standard error.
  void run() override;

  std::string url;
  std::string method;
  std::string format;
  T argument;
};

extern template class XMLRPC_AsynchMethodCall<int>;

}  // namespace quorel

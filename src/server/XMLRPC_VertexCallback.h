#pragma once

#include <string>

#include "versioning/VertexCallback.h"

namespace quorel {

/// Calls a client back about a vertex, by XML-RPC, with the vertex's id as the one argument.
/// Threading: called on the main thread, which it does not keep: the call itself goes through the call pool.
/// Ownership: shared by the attribute values that hold it.
class XMLRPC_VertexCallback final : public VertexCallback {
public:
  /// `target` is the server's URL, "/" and the method name; one "/" at its end is cut off.
  explicit XMLRPC_VertexCallback(const char* target);

  void operator()(Vertex* vertex) override;

private:
  std::string url;
};

}  // namespace quorel

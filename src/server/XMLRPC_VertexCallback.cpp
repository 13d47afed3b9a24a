#include "server/XMLRPC_VertexCallback.h"

#include <cstddef>
#include <mutex>

#include "layout/Vertex.h"
#include "server/GraphProxy.h"
#include "server/XMLRPC.h"

namespace quorel {

XMLRPC_VertexCallback::XMLRPC_VertexCallback(const char* target) : url(target) {
  if (url.ends_with('/')) url.pop_back();
}

void XMLRPC_VertexCallback::operator()(Vertex* vertex) {
  int id = -1;
  {
    const std::lock_guard<MultiLockable> hold(*graphProxy);
    const auto named = graphProxy->vertexIds.find(vertex);
    if (named == graphProxy->vertexIds.end()) return;  // a vertex of the layout's own
    id = named->second;
  }
  if (id == -1) return;
  const std::size_t slash = url.rfind('/');
  xmlrpc().call_asynch<int>(url.substr(0, slash), url.substr(slash + 1), "(i)", id);
}

}  // namespace quorel

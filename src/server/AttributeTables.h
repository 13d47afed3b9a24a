#pragma once

namespace quorel {

class EdgeStyle;
class VertexStyle;

/// Gives a style the attribute that `key` names, from the text that a client sent. A null style asks for validation
/// only and waits for nobody: it takes no lock. Otherwise the write stands under globalStyleLock. Returns 0, or -1 with
/// the reason on the log and nothing changed.
int setEdgeAttribute(EdgeStyle* style, const char* key, const char* value);
int setVertexAttribute(VertexStyle* style, const char* key, const char* value);

}  // namespace quorel

#pragma once

namespace quorel {

class GraphProxy;

/// A change to the graph that a client was promised and the main thread carries out between two steps.
/// Holds identifiers and text only, so that what it names may vanish before it runs: then it does nothing.
/// Threading: made on any thread; `execute` runs with the layout's and the proxy's lock held.
/// Ownership: the queue deletes it.
class GraphEvent {
public:
  GraphEvent() = default;
  GraphEvent(const GraphEvent&) = delete;
  GraphEvent& operator=(const GraphEvent&) = delete;
  virtual ~GraphEvent() = default;

  virtual void execute(GraphProxy& proxy) = 0;
};

}  // namespace quorel

#pragma once

namespace quorel {

/// Something that brings changes to the graph and is asked for them once a frame.
/// Threading: `poll` is called on the main thread, between two steps, with no lock held.
/// Ownership: whoever inserts one in `GraphAnimator::updaters` keeps it alive as long as the frames go on.
class GraphUpdater {
public:
  virtual void poll() = 0;

protected:
  ~GraphUpdater() = default;
};

}  // namespace quorel

#pragma once

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

#include "layout/Edge.h"
#include "layout/GraphLayout.h"
#include "layout/Vertex.h"
#include "server/Diagnostics.h"
#include "server/GraphProxy.h"

namespace quorel {

/// What is written to a stream while the object lives.
class Captured {
public:
  explicit Captured(std::ostream& captured) : stream(captured), before(stream.rdbuf(text.rdbuf())) {}
  ~Captured() { stream.rdbuf(before); }

  /// What has been written since the last call.
  std::string take() {
    std::string taken = text.str();
    text.str({});
    return taken;
  }

private:
  std::ostream& stream;
  std::ostringstream text;
  std::streambuf* before;
};

/// A proxy with a layout and no window. `proxy.poll()` stands for the frame.
class ProxyTest : public testing::Test {
protected:
  ProxyTest() : proxy(new GraphLayout<LayoutSchema>, nullptr) { graphProxy = &proxy; }
  ~ProxyTest() override {
    proxy.poll();
    EXPECT_EQ(proxy.validate(), "");
    graphProxy = nullptr;
  }

  GraphProxy proxy;
};

}  // namespace quorel

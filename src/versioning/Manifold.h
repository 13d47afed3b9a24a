#pragma once

namespace quorel {

/// A surface that a vertex could be bound to. The attribute of that name is always null.
class Manifold {};

}  // namespace quorel

#pragma once

#include "layout/GraphSchema.h"
#include "layout/LayoutEdge.h"
#include "layout/Layoutable.h"
#include "layout/PointParticle_RungeKutta.h"

namespace quorel {

/// The one schema of the program; Vertex, Edge, Graph and GraphLayout are instantiated for it and nothing else.
using LayoutSchema = GraphSchema<Layoutable<PointParticle_RungeKutta<float, 3>>, LayoutEdge>;

}  // namespace quorel

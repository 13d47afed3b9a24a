#pragma once

#include "TinyVector.h"

namespace quorel {

/// What a tree node knows of the particles below it.
template <class Vertex>
class VertexSummary {
public:
  /// Sum of charge times position.
  TinyVector<float, 3> chargeMoment;
  /// Centre of charge. Not finite where the charges below cancel out.
  TinyVector<float, 3> centre;
  float charge = 0.0F;

  void add(const Vertex& particle) {
    charge += particle.charge;
    chargeMoment += particle.charge * particle.position;
    centre = (1.0F / charge) * chargeMoment;
  }
};

}  // namespace quorel

#pragma once

#include <atomic>
#include <map>
#include <vector>

#include "TinyVector.h"
#include "concurrency/MultiLockable.h"
#include "layout/BarnesHutRepulsionCalculator.h"
#include "layout/Edge.h"
#include "layout/Graph.h"
#include "layout/GraphArrays.h"
#include "layout/LayoutSchema.h"
#include "layout/RepulsionField.h"
#include "layout/RepulsionLaw.h"
#include "layout/Vertex.h"
#include "versioning/EdgeStyle.h"
#include "versioning/VertexStyle.h"

namespace quorel {

class Job;
template <class T>
class ThreadPool;
template <class T>
class DynamicFrame;

/// The graph and its simulation: the one object through which events change the graph, and which the animator steps and
/// reads.
///
/// Every vertex is a particle of mass 1 under springs along its edges, drag, and a softened inverse-square repulsion
/// summed over an octree (Barnes and Hut, 1986). A step advances all of them by the fourth-order Runge-Kutta or the
/// Euler rule, on the calling thread or with the workers of a pool.
/// Invariants: (1) while `startStateValid` holds and no step is in progress, `start` of every vertex is its state;
///             (2) `knots` has a chain for an edge only while the edge lives.
/// Threading:  the object's own lock guards the graph and all fields. Every operation below takes it, so callers need
///             not, and may. In a parallel step the workers run under the lock that the stepping thread holds for them.
/// Ownership:  owns vertices, edges, knot chains and the pool. `clear` deletes the graph; the destructor does not.
/// Units:      lengths in layout units, of which an edge at rest is about 0.75 long; time steps in units of their own.
template <class Schema>
class GraphLayout : public Graph<Schema>, public MultiLockable {
public:
  using Vertex = quorel::Vertex<Schema>;
  using Edge = quorel::Edge<Schema>;
  using BarnesHutRepulsionCalculator = quorel::BarnesHutRepulsionCalculator<Vertex>;
  using Spacetree = typename BarnesHutRepulsionCalculator::Spacetree;
  using ParticleState = PointParticleState<float, 3>;
  using Range = RepulsionField::Range;
  using Scratch = RepulsionField::Scratch;

  class GraphLayoutTask;
  class LayoutTaskBase;
  class LayoutTask_Euler;
  class LayoutTask_RungeKutta;

  /// Distance at which the spring of a strength-1 edge and the repulsion of its two charge-1 vertices balance.
  static inline float pairDistance = 0.75F;
  static constexpr float forceConstant = RepulsionLaw::forceConstant;
  static constexpr float repulsionEpsilon = RepulsionLaw::epsilon;

  GraphLayout();
  virtual ~GraphLayout();

  void clear() override;
  Vertex* newVertex() override;
  Vertex* newVertex(float x, float y, float z) override;
  Vertex* newVertexNear(Vertex* near) override;
  /// A vertex without edges first moves next to the other end.
  Edge* newEdge(Vertex* source, Vertex* target) override;
  void vertexDestroyed(Vertex* vertex) override;
  void edgeDestroyed(Edge* edge) override;

  /// Places for a hierarchy of coarser layouts; this layout has none.
  virtual DynamicFrame<float>* vertexFrame(Vertex* vertex);
  virtual TinyVector<float, 3> vertexOffset(Vertex* vertex);
  virtual DynamicFrame<float>* frame();
  virtual GraphLayout* coarser();

  virtual void graphChanged();
  /// Scatters the whole graph at rest over a cube of about its natural size.
  virtual void resetLayout();
  /// Receives every key that the window does not bind.
  virtual void keyPressed(unsigned char key);

  /// One step of `time_step` times `step_scale`.
  virtual void step();
  virtual void stepOnce();
  /// One step by the rule and the means that `use_runge_kutta` and `parallel` choose, and `adaptStepScale`.
  virtual void step(float dt);
  virtual void stepRungeKutta(float dt);

  /// One step with the workers of the pool. `renderJob`, which may be null, runs on the calling thread beside all
  /// phases but the last. The caller clears `overshoot` before and calls `adaptStepScale` after.
  template <class Task>
  void parallelStep2(float dt, GraphLayoutTask* renderJob);

  /// After a step: shrinks `step_scale` if a force was capped in it, and lets it recover slowly otherwise.
  void adaptStepScale();

  /// Cuts the tree into lists of whole subtrees and single particles, every particle in exactly one, of about equal
  /// numbers of particles.
  void splitSpacetree(BarnesHutRepulsionCalculator& calculator, typename Spacetree::Iterator* chunks, int chunkCount);

  /// Adds all forces on `v` to `v->force`, and with `parallel` off the reactions of its springs to its neighbours.
  /// `iterator` holds the root's position on entry and is empty on return. Bad numbers are reported and dropped.
  void calculateForcesOnVertex(Vertex* v, typename Spacetree::Iterator& iterator);

  /// The tree of all vertices, in memory of the layout: no two of these live at a time. The caller holds the lock.
  BarnesHutRepulsionCalculator buildTree();

  /// What `calculateForcesOnVertex` does with `parallel` on, for a run of vertices in leaf order and in a fraction of
  /// the time: the same pairs, summed up in another order.
  void calculateForces(const BarnesHutRepulsionCalculator& calculator, Range range, Scratch& scratch);
  /// Styles of new vertices, edges and knots become fresh ones without attributes of their own.
  void resetDefaultStyles();

  /// A kick along a random direction for every vertex, in a plane wave of length 2 pi / frequency. The total momentum
  /// stays.
  void jostle(float frequency);
  /// Makes, remakes or removes knot chains where they disagree with the knot count of their edge.
  void updateSplines();
  /// Removes the chain of an edge that has one. The caller holds the lock.
  void clearKnots(Edge* edge);

  /// Walks the whole graph, the chains and the particles and checks the invariants; null when they hold, or what is
  /// wrong.
  const char* validate() const;

  /// What a picture shows of a vertex, also beside a step in progress: its last finished state. Written by nothing but
  /// the last phase of a step, which waits for the picture.
  const ParticleState& drawnState(const Vertex& vertex) const {
    return use_runge_kutta && startStateValid ? vertex.start : vertex;
  }

  /// Drag: force -friction * velocity.
  float friction;
  /// Largest magnitude of the force on one vertex in one evaluation.
  float maxForce;
  /// A force was capped in the step in progress. The workers set it and the stepping thread reads it after their
  /// barrier, so relaxed order does.
  std::atomic<bool> overshoot;
  bool use_runge_kutta;

  VertexStyle defaultVertexStyle;
  VertexStyle originalVertexStyle;
  EdgeStyle defaultEdgeStyle;
  EdgeStyle originalEdgeStyle;
  VertexStyle knotVertexStyle;
  EdgeStyle knotEdgeStyle;

  /// The chain of each edge drawn through knots: source, knots, target. The vectors are owned.
  std::map<Edge*, std::vector<Vertex*>*> knots;
  /// Step with the pool, and compute each spring from both of its ends.
  bool parallel;
  int processorCount;

  /// Statistics of the drawn picture, kept by the animator: matrices of [row][column], then vectors.
  float covariance[3][3];
  float axes[3][3];
  TinyVector<float, 3> eigenvalues;
  TinyVector<float, 3> mean;
  TinyVector<float, 3> centroid;

  bool startStateValid;
  float time_step;
  /// Factor on the step size, lowered while forces have to be capped.
  float step_scale;
  /// Structural changes since the animator last took the count.
  int changeCount;
  /// Null before the first parallel step.
  ThreadPool<Job>* threadPool;
  float springConstant;

private:
  using Arrays = typename BarnesHutRepulsionCalculator::Arrays;
  using Memory = typename BarnesHutRepulsionCalculator::Memory;
  void refreshSpringConstant();
  void copyStartState();
  void makeThreadPool();
  void evaluateForcesSerially();
  void stepEuler(float dt);
  void makeKnots(Edge* edge);

  /// `calculateForces` for all vertices in set order with `parallel` off.
  void calculateForcesSerially(const BarnesHutRepulsionCalculator& calculator);

  void addDrag(Vertex& vertex) const;
  /// Drops a force that is not finite and cuts one that is too large.
  void checkForce(Vertex& vertex);
  TinyVector<float, 3> springForce(const typename Arrays::Spring& spring, const TinyVector<float, 3>& source,
                                   const TinyVector<float, 3>& target) const;

  Arrays arrays;
  Memory memory;
};

extern template class GraphLayout<LayoutSchema>;

}  // namespace quorel

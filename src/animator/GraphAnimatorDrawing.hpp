#pragma once

#include <GL/freeglut.h>
#include <GL/glu.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <mutex>
#include <numbers>

#include "animator/EdgeGeometry.h"
#include "animator/FrameStatistics.h"
#include "animator/GraphAnimator.h"
#include "animator/LabelFont.h"
#include "animator/Primitives.h"
#include "animator/VertexGeometry.h"
#include "concurrency/Log.h"
#include "layout/DynamicFrame.h"
#include "layout/Spacetree.h"
#include "layout/VertexSummary.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawGraph(GraphLayout* layout) {
  const std::lock_guard held(globalStyleLock);
  edge_length_sum = 0.0;
  edge_length_count = 0;
  vertex_count = 0;
  max_speed = 0.0;
  if (!selecting) needs_spline_update = false;
  FrameMoments moments(layout->covariance, layout->mean);

  painter().begin();
  drawVerticesAndEdges(layout, moments);
  painter().flush();
  vertex_count += moments.vertexCount();
  mean_edge_length = meanEdgeLength(edge_length_sum, edge_length_count, mean_edge_length);

  if (show_spacetree) drawSpacetree(layout);
  if (show_frame) drawFrame(layout->frame());
  if (show_coarser && layout->coarser() != nullptr) drawCoarserGraphs(layout->coarser(), *layout->frame());

  moments.finish();
  smoothCentroid(layout->centroid, layout->mean);
  smoothAxes(layout->axes, layout->eigenvalues, layout->covariance);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawVerticesAndEdges(GraphLayout* layout, FrameMoments& moments) {
  for (Vertex* v : layout->vertices) {
    const auto& state = layout->drawnState(*v);
    max_speed = std::max(max_speed, static_cast<double>(length(state.velocity)));
    moments.add(state.position);

    const double radius = vertexRadius(v->style.get_size());
    if (show_vertices && v->style.get_visible()) {
      glPushMatrix();
      glTranslatef(state.position[0], state.position[1], state.position[2]);
      drawVertex(v, radius);
      glPopMatrix();
    }
    if (selecting) continue;  // what has no name would only fill the selection buffer
    drawEdges(layout, v);
    if (show_forces) drawForce(state.position, v->finishedAcceleration);
    painter().vertexDone();
  }
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawVertex(Vertex* v, double size) {
  if (selecting) {
    glPushName(static_cast<GLuint>(pick_vertices.size()));
    pick_vertices.push_back(v);
  }
  const int facets = solidDetail(v->style.get_shapedetail(), idle, detail);
  setColourForVertex(v);
  painter().solid(v->style.get_shape(), size, facets);
  if (selecting) {
    glPopName();
    return;
  }
  if (show_labels) drawLabel(v, size);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::setColourForVertex(Vertex* v) {
  painter().setColour(v->style.get_color());
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawLabel(Vertex* v, double size) {
  const std::string& label = v->style.look_label();
  if (label.empty()) return;
  const Vector colour = v->style.get_fontcolor();
  void* const font = glutFont(chooseFont(v->style.look_fontfamily(), v->style.get_fontsize()));
  // A label without a solid stands on the point itself.
  Vector position;
  if (v->style.get_shape() != VertexStyleDefns::none) {
    position = static_cast<float>(size) * v->style.get_labeloffset();
  }
  drawText(label, font, colour, position);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawText(const std::string& text, void* font, const Vector& colour,
                                          const Vector& position) {
  if (!selecting) painter().text(text, font, colour, position);
}

template <class GraphLayout>
Painter& GraphAnimator<GraphLayout>::painter() {
  if (selecting) return *plainPainter;
  if (hidden) return blankPainter;
  if (batching) return *batchPainter;
  return *plainPainter;
}

/// A mark of length 1 in the direction in which the vertex is pushed.
template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawForce(const Vector& position, const Vector& acceleration) {
  const float magnitude = length(acceleration);
  if (!(magnitude > 0.0F)) return;
  painter().setColour(Vector(1.0F, 1.0F, 0.0F));
  painter().line(position, position + (1.0F / magnitude) * acceleration);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawEdges(GraphLayout* layout, Vertex* v) {
  for (Edge* e : v->outEdges) drawEdge(layout, e);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawEdge(GraphLayout* layout, Edge* e) {
  if (!e->style.get_visible()) return;
  const int stroke = e->style.get_stroke();
  const double width = e->style.get_width();
  const bool changesLineState = stroke != Painter::solidStroke || width != 1.0;
  if (changesLineState) painter().setLineState(stroke, width);

  const Vector& p = layout->drawnState(*e->source).position;
  const Vector& q = layout->drawnState(*e->target).position;
  painter().setColour(edgeColour(e, p, q));
  if (e->style.get_knots() > 2) {
    drawSpline(layout, e);
  } else {
    const auto chain = layout->knots.find(e);
    // Knots that are left over from when the edge was a spline.
    if (chain != layout->knots.end() && chain->second != nullptr) needs_spline_update = true;
    painter().line(p, q);
    if (e->style.get_arrow()) drawArrow(p, q, e);
  }

  if (changesLineState) painter().setLineState(Painter::solidStroke, 1.0);
  if (show_labels) drawEdgeLabel(layout, e);
}

template <class GraphLayout>
auto GraphAnimator<GraphLayout>::edgeColour(Edge* e, const Vector& p, const Vector& q) -> Vector {
  if (!e->style.get_showstrain()) return e->style.get_color();
  const double edgeLength = length(q - p);
  edge_length_sum += edgeLength;
  edge_length_count += 1;
  return strainColour(edgeLength, mean_edge_length);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawArrow(const Vector& p, const Vector& q, Edge* e) {
  const ArrowStyle style = {.position = e->style.get_arrow_position(),
                            .length = e->style.get_arrow_length(),
                            .radius = e->style.get_arrow_radius(),
                            .reverse = e->style.get_arrow_reverse()};
  const Arrow arrow = arrowGeometry(p, q, e->source->style.get_size(), e->target->style.get_size(), style);
  if (arrow.drawable) painter().arrow(arrow, static_cast<int>(detail));
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawEdgeLabel(GraphLayout* layout, Edge* e) {
  const std::string& label = e->style.look_label();
  if (label.empty()) return;
  const Vector colour = e->style.get_fontcolor();
  void* const font = glutFont(chooseFont(e->style.look_fontfamily(), e->style.get_fontsize()));
  const Vector middle = 0.5F * (layout->drawnState(*e->source).position + layout->drawnState(*e->target).position);
  glPushMatrix();
  glTranslatef(middle[0], middle[1], middle[2]);
  drawText(label, font, colour, e->style.get_labeloffset());
  glPopMatrix();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawSpline(GraphLayout* layout, Edge* e) {
  const auto chain = layout->knots.find(e);
  if (chain == layout->knots.end() || chain->second == nullptr) {
    needs_spline_update = true;
    return;
  }
  const std::vector<Vertex*>& knots = *chain->second;
  constexpr std::size_t order = 4;
  if (knots.size() != order) {
    static bool warned = false;
    if (!warned) writeLine(std::cerr, "Only knots=4 supported so far; have knots.size()=", knots.size());
    warned = true;
    return;
  }
  std::array<Vector, order> points;
  for (std::size_t i = 0; i < order; ++i) {
    points[i] = layout->drawnState(*knots[i]).position;
    if (!isFinite(points[i])) return;
  }
  painter().curve(points);
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawAxes() {
  if (axes_hidden != 0 || selecting) return;
  constexpr int reach = 100;
  constexpr float tick = 0.05F;
  glColor3f(1.0F, 1.0F, 1.0F);
  useLineNormal();
  glBegin(GL_LINES);
  const auto segment = [](Vector middle, int axis, float halfLength) {
    middle[axis] -= halfLength;
    glVertex3fv(middle.data());
    middle[axis] += 2.0F * halfLength;
    glVertex3fv(middle.data());
  };
  for (int axis = 0; axis < 3; ++axis) segment(Vector(), axis, reach);
  for (int k = -reach; k < reach; ++k) {
    for (int axis = 0; axis < 3; ++axis) {
      Vector place;
      place[axis] = static_cast<float>(k);
      for (int across = 0; across < 3; ++across) {
        if (across != axis) segment(place, across, tick);
      }
    }
  }
  glEnd();
}

/// What a tree of the drawn picture is built from. The tree of the vertices themselves is not for drawing: beside a
/// step their positions move, and building it refreshes what the workers read.
struct DrawnParticle {
  TinyVector<float, 3> position;
  float charge;
};

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawSpacetree(GraphLayout* layout) {
  if (selecting) return;
  using Tree = Spacetree<VertexSummary<DrawnParticle>, DrawnParticle>;
  using Position = typename Tree::TreePosition;
  std::vector<DrawnParticle> particles;
  particles.reserve(layout->vertices.size());
  for (const Vertex* v : layout->vertices) particles.push_back({layout->drawnState(*v).position, v->charge});
  Tree tree;
  for (DrawnParticle& particle : particles) tree.insert(&particle);

  glColor3f(0.0F, 1.0F, 0.0F);
  useLineNormal();
  glBegin(GL_LINES);
  typename Tree::Iterator walk;
  walk.push(tree.rootPosition());
  while (!walk.empty()) {
    const Position place = walk.pop();
    if (place.isParticle()) continue;
    const auto corner = [&place](int c) {
      Vector point = place.box.lower;
      for (int axis = 0; axis < 3; ++axis) {
        if ((c & (4 >> axis)) != 0) point[axis] = place.box.upper[axis];
      }
      glVertex3fv(point.data());
    };
    for (int c = 0; c < 8; ++c) {
      for (const int bit : {1, 2, 4}) {
        if ((c & bit) != 0) continue;
        corner(c);
        corner(c | bit);
      }
    }
    Tree::expand(place, walk);
  }
  glEnd();
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawFrame(const DynamicFrame<float>* frame) {
  if (frame == nullptr || selecting) return;
  constexpr float radius = 3.0F;
  constexpr int rings = 20;
  constexpr float step = std::numbers::pi_v<float> / rings;
  glColor3f(1.0F, 1.0F, 0.0F);
  for (int axis = 0; axis < 3; ++axis) {
    Vector end;
    end[axis] = radius;
    drawLine((*frame)(Vector()), (*frame)(end));
  }
  for (int i = 0; i <= rings; ++i) {
    const float a = static_cast<float>(i) * step;
    const float brightness = i == rings / 2 ? 0.8F : 0.3F;
    glColor3f(brightness, brightness, 0.0F);
    glBegin(GL_LINE_LOOP);
    for (int j = 0; j <= 2 * rings; j += 2) {
      const float b = static_cast<float>(j) * step;
      const Vector point(radius * std::cos(b) * std::sin(a), radius * std::sin(b) * std::sin(a), radius * std::cos(a));
      glVertex3fv((*frame)(point).data());
    }
    glEnd();
  }
}

template <class GraphLayout>
void GraphAnimator<GraphLayout>::drawCoarserGraphs(GraphLayout* coarser, const DynamicFrame<float>& frame) {
  if (coarser == nullptr || selecting) return;
  drawFrame(&frame);
  constexpr double rootOfThree = 1.7320508075688772;
  const double radius = length(frame(Vector(1.0F, 1.0F, 1.0F))) * 0.2 / rootOfThree;
  for (Vertex* v : coarser->vertices) {
    const Vector place = frame(coarser->drawnState(*v).position);
    glPushMatrix();
    glTranslatef(place[0], place[1], place[2]);
    setColourForVertex(v);
    glutWireSphere(radius, 5, 5);
    glPopMatrix();
  }
  if (coarser->coarser() != nullptr)
    drawCoarserGraphs(coarser->coarser(), DynamicFrame<float>(*coarser->frame(), frame));
}

}  // namespace quorel

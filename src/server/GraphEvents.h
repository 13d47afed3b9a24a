#pragma once

#include <string>

#include "server/GraphEvent.h"

namespace quorel {

class NewVertex final : public GraphEvent {
public:
  explicit NewVertex(int vertexId) : id(vertexId) {}
  void execute(GraphProxy& proxy) override;

private:
  int id;
};

class NewEdge final : public GraphEvent {
public:
  NewEdge(int edgeId, int firstId, int secondId) : id(edgeId), first(firstId), second(secondId) {}
  void execute(GraphProxy& proxy) override;

private:
  int id;
  int first;
  int second;
};

class NewVertexStyle final : public GraphEvent {
public:
  NewVertexStyle(int styleId, int parentId) : id(styleId), parent(parentId) {}
  void execute(GraphProxy& proxy) override;

private:
  int id;
  int parent;
};

class ChangeVertexStyle final : public GraphEvent {
public:
  ChangeVertexStyle(int vertexId, int styleId) : vertex(vertexId), style(styleId) {}
  void execute(GraphProxy& proxy) override;

private:
  int vertex;
  int style;
};

class ChangeEdgeStyle final : public GraphEvent {
public:
  ChangeEdgeStyle(int edgeId, int styleId) : edge(edgeId), style(styleId) {}
  void execute(GraphProxy& proxy) override;

private:
  int edge;
  int style;
};

class SetVertexAttribute final : public GraphEvent {
public:
  SetVertexAttribute(int vertexId, const char* keyText, const char* valueText)
      : vertex(vertexId), key(keyText), value(valueText) {}
  void execute(GraphProxy& proxy) override;

private:
  int vertex;
  std::string key;
  std::string value;
};

class SetVertexStyleAttribute final : public GraphEvent {
public:
  SetVertexStyleAttribute(int styleId, const char* keyText, const char* valueText)
      : style(styleId), key(keyText), value(valueText) {}
  void execute(GraphProxy& proxy) override;

private:
  int style;
  std::string key;
  std::string value;
};

class SetEdgeAttribute final : public GraphEvent {
public:
  SetEdgeAttribute(int edgeId, const char* keyText, const char* valueText)
      : edge(edgeId), key(keyText), value(valueText) {}
  void execute(GraphProxy& proxy) override;

private:
  int edge;
  std::string key;
  std::string value;
};

class SetEdgeStyleAttribute final : public GraphEvent {
public:
  SetEdgeStyleAttribute(int styleId, const char* keyText, const char* valueText)
      : style(styleId), key(keyText), value(valueText) {}
  void execute(GraphProxy& proxy) override;

private:
  int style;
  std::string key;
  std::string value;
};

}  // namespace quorel

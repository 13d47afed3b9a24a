// A ring of twelve hours: styles, labels and arrows, then a change of one style that recolours all, then one hour less.
//
//     c++ -o /tmp/ring ring.cpp -lxmlrpc_client++ -lxmlrpc++ && /tmp/ring [SECONDS]
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <xmlrpc-c/base.hpp>
#include <xmlrpc-c/client_simple.hpp>

namespace {

class Graph {
public:
  template <typename... Arguments>
  int call(const std::string& method, const Arguments&... arguments) {
    xmlrpc_c::paramList list;
    (list.add(value(arguments)), ...);
    xmlrpc_c::value answer;
    client.call("http://127.0.0.1:20738/RPC2", "tessarel." + method, list, &answer);
    const int result = xmlrpc_c::value_int(answer);
    if (result == -1) {
      throw std::runtime_error(method + " was refused; the server's log tells why");
    }
    return result;
  }

private:
  static xmlrpc_c::value_int value(int number) { return xmlrpc_c::value_int(number); }
  static xmlrpc_c::value_string value(const std::string& text) { return xmlrpc_c::value_string(text); }

  xmlrpc_c::clientSimple client;
};

void draw(Graph& graph, std::chrono::duration<double> pause) {
  graph.call("clear");
  graph.call("new_vertex_style_w_id", 1, 0);
  graph.call("set_vertex_style_attribute", 1, "color", "#3080FF");
  graph.call("set_vertex_style_attribute", 1, "shape", "sphere");
  graph.call("set_vertex_style_attribute", 1, "size", "1.5");
  graph.call("new_vertex_style_w_id", 2, 1);  // looks like style 1 but for what it says itself
  graph.call("set_vertex_style_attribute", 2, "shape", "cube");
  graph.call("set_vertex_style_attribute", 2, "size", "3");
  graph.call("set_edge_style_attribute", 0, "color", "#808080");
  graph.call("set_edge_style_attribute", 0, "arrow", "true");
  graph.call("set_edge_style_attribute", 0, "arrow_length", "2");

  for (int hour = 1; hour <= 12; ++hour) {
    graph.call("new_vertex_w_id", hour);
    graph.call("change_vertex_style", hour, hour % 3 == 0 ? 2 : 1);
    graph.call("set_vertex_attribute", hour, "label", std::to_string(hour));
  }
  for (int hour = 1; hour <= 12; ++hour) {
    graph.call("new_edge_w_id", hour, hour, hour % 12 + 1);
  }

  std::this_thread::sleep_for(pause);
  graph.call("set_vertex_style_attribute", 1, "color", "#FF8000");  // one call, and all are orange

  std::this_thread::sleep_for(pause);
  graph.call("remove_vertex", 12);  // its two edges go with it
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Graph graph;
    draw(graph, std::chrono::duration<double>(argc > 1 ? std::atof(argv[1]) : 3));
  } catch (const std::exception& error) {
    std::cerr << "ring: " << error.what() << '\n';
    return 1;
  }
}

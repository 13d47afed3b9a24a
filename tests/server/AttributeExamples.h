#pragma once

#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "versioning/EdgeStyle.h"
#include "versioning/VertexStyle.h"

namespace quorel {

/// What clients send for one key.
template <class Style>
struct AttributeExamples {
  std::string key;
  std::string (*inForce)(const Style& style);
  std::vector<std::pair<std::string, std::string>> taken;  // as sent, as it is then in force
  std::vector<std::string> refused;
  std::string line;  // on the log, with the value for its "%"; empty where only the general line is written
};

template <auto attribute, class Style>
std::string inForce(const Style& style) {
  const auto value = style.get(attribute);
  if constexpr (std::is_same_v<decltype(value), const boost::shared_ptr<VertexCallback>>) {
    return value != nullptr ? "some" : "none";
  } else {
    return (std::ostringstream() << std::boolalpha << value).str();
  }
}

namespace examples {

using Taken = std::vector<std::pair<std::string, std::string>>;
using Refused = std::vector<std::string>;

inline const std::string longest(4096, 'x');

inline const Taken flags = {{"true", "true"}, {"false", "false"}, {"True", "true"}, {"False", "false"}, {"1", "true"}};
inline const Taken curves = {{"True", "4"}, {"1", "4"}, {"false", "2"}};
inline const Refused notFlags = {"0", "TRUE", "", "true "};
inline const std::string notFlag = "tessarel: expected true or false, got \"%\"";
inline const Taken lengths = {{"0", "0"}, {"2e1", "20"}, {"2.5 apples", "2.5"}, {"abc", "0"}, {"nan", "nan"}};
inline const Refused notLengths = {"-1", "-1e-9", "-inf"};
inline const Taken shares = {{"0", "0"}, {"1", "1"}, {"0.25 of it", "0.25"}, {"nan", "nan"}};
inline const Taken positive = {{"1e-3", "0.001"}, {"12 apples", "12"}, {"nan", "nan"}};
inline const Refused notPositive = {"0", "-1", "abc", ""};
inline const Taken colours = {{"#FF0000", "[1,0,0]"}, {"#0000ff", "[0,0,1]"}, {"0", "[0,0,0]"}};
inline const Refused notColours = {"#FF00", "#FF00001", "red", "+1", "1 "};
inline const std::string notColour = "tessarel: invalid palette index \"%\"";
// Any text is taken, but what no font is called need not be kept to the end.
inline const Taken families = {{"Times Roman", "Times Roman"},
                               {"", ""},
                               {"Helvetica, if there is", "Helvetica, if there is"},
                               {"Times Roman" + longest, "Times Roman" + longest.substr(0, 53)}};
inline const Taken counts = {{"1", "1"}, {"12.7", "12"}, {"40", "40"}};
inline const Refused notCounts = {"0", "-4", "big", ""};
inline const Taken labels = {{"label", "label"}, {longest, longest}, {"", ""}};
inline const Taken strokes = {{"none", "0"}, {"dashed", "61680"}, {"dotted", "13107"}, {"solid", "65535"}};
inline const Taken shapes = {{"none", "0"},       {"sphere", "1"},       {"CONE", "2"},
                             {"Torus", "3"},      {"tetrahedron", "4"},  {"CuBe", "5"},
                             {"octahedron", "6"}, {"dodecahedron", "7"}, {"icosahedron", "8"}};
inline const Taken urls = {{"http://x/y", "some"}, {"http://", "some"}, {"http://" + longest.substr(7), "some"}};
inline const Refused notUrls = {"https://x/y", "ftp://x/y", "HTTP://x/y", "x/y", "", "http://" + longest.substr(6)};

}  // namespace examples

inline const std::vector<AttributeExamples<EdgeStyle>> edgeExamples = [] {
  using namespace examples;
  using A = EdgeAttributes;
  return std::vector<AttributeExamples<EdgeStyle>>{
      {"arrow", inForce<&A::arrow>, flags, notFlags, notFlag},
      {"arrow_position",
       inForce<&A::arrow_position>,
       shares,
       {"1.5", "-0.1"},
       "tessarel: Invalid arrow position (\"%\")"},
      {"arrow_length", inForce<&A::arrow_length>, lengths, notLengths, "tessarel: Invalid arrow length (\"%\")"},
      {"arrow_radius", inForce<&A::arrow_radius>, lengths, notLengths, "tessarel: Invalid arrow radius (\"%\")"},
      {"arrow_reverse", inForce<&A::arrow_reverse>, flags, notFlags, notFlag},
      {"color", inForce<&A::color>, colours, notColours, notColour},
      {"colour", inForce<&A::color>, colours, notColours, notColour},
      {"fontcolor", inForce<&A::fontcolor>, colours, notColours, notColour},
      {"fontcolour", inForce<&A::fontcolor>, colours, notColours, notColour},
      {"fontfamily", inForce<&A::fontfamily>, families, {}, ""},
      {"fontsize", inForce<&A::fontsize>, counts, notCounts, "tessarel: Invalid fontsize \"%\""},
      {"label", inForce<&A::label>, labels, {longest + "x"}, ""},
      {"length", inForce<&A::length>, lengths, notLengths, "tessarel: Invalid length (\"%\")"},
      {"oriented", inForce<&A::oriented>, flags, notFlags, notFlag},
      {"showstrain", inForce<&A::showstrain>, flags, notFlags, notFlag},
      {"strength", inForce<&A::strength>, lengths, notLengths, "tessarel: Invalid strength (\"%\")"},
      {"spline", inForce<&A::knots>, curves, notFlags, notFlag},
      {"stroke", inForce<&A::stroke>, strokes, {"Solid", "", "dash"}, "tessarel: unknown stroke (\"%\")"},
      {"visible", inForce<&A::visible>, flags, notFlags, notFlag},
      {"width", inForce<&A::width>, lengths, notLengths, "tessarel: Invalid width (\"%\")"},
  };
}();

inline const std::vector<AttributeExamples<VertexStyle>> vertexExamples = [] {
  using namespace examples;
  using A = VertexAttributes;
  const std::string notUrl = "tessarel: unsupported callback type \"%\"";
  return std::vector<AttributeExamples<VertexStyle>>{
      {"color", inForce<&A::color>, colours, notColours, notColour},
      {"colour", inForce<&A::color>, colours, notColours, notColour},
      {"charge", inForce<&A::charge>, positive, notPositive, "tessarel: Invalid charge \"%\""},
      {"callback_left_doubleclick", inForce<&A::callback>, urls, notUrls, notUrl},
      {"fontcolor", inForce<&A::fontcolor>, colours, notColours, notColour},
      {"fontcolour", inForce<&A::fontcolor>, colours, notColours, notColour},
      {"fontfamily", inForce<&A::fontfamily>, families, {}, ""},
      {"fontsize", inForce<&A::fontsize>, counts, notCounts, "tessarel: Invalid fontsize \"%\""},
      {"label", inForce<&A::label>, labels, {longest + "x"}, ""},
      {"shape", inForce<&A::shape>, shapes, {"Cubes", "5", ""}, "tessarel: Invalid shape \"%\""},
      {"shapedetail", inForce<&A::shapedetail>, counts, notCounts, "tessarel: Invalid shapedetail \"%\""},
      {"size", inForce<&A::size>, positive, notPositive, "tessarel: Invalid size \"%\""},
      {"visible", inForce<&A::visible>, flags, notFlags, notFlag},
  };
}();

}  // namespace quorel

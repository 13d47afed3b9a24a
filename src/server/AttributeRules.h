#pragma once

#include <strings.h>

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include "TinyVector.h"
#include "animator/GraphAnimator.h"
#include "server/Colour.h"
#include "server/Diagnostics.h"
#include "server/GraphProxy.h"
#include "server/XMLRPC_VertexCallback.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/Retro.h"
#include "versioning/VertexStyleDefns.h"

namespace quorel {

// A rule says which texts an attribute accepts, what each means, and what is said of the others: `accepts`, `read` for
// an accepted text, and `refusal`, a line with the text in place of its "%", empty where nothing is said. Numbers are
// read as far as they go, so that a text without any counts as 0; a range refuses what lies outside, which a NaN does
// not.

struct Flag {
  using Value = bool;
  static constexpr std::string_view refusal = "tessarel: expected true or false, got \"%\"";

  static bool isTrue(std::string_view text) { return text == "true" || text == "True" || text == "1"; }
  static bool accepts(std::string_view text) { return isTrue(text) || text == "false" || text == "False"; }
  static bool read(const char* text) { return isTrue(text); }
};

/// A flag kept as the number of knots that an edge is drawn with.
struct Curved : Flag {
  using Value = int;

  static int read(const char* text) { return isTrue(text) ? 4 : 2; }
};

struct AtLeast {
  using Value = double;

  double least;
  std::string_view refusal;

  bool accepts(const char* text) const { return !(std::atof(text) < least); }
  static double read(const char* text) { return std::atof(text); }
};

struct Above {
  using Value = double;

  double bound;
  std::string_view refusal;

  bool accepts(const char* text) const { return !(std::atof(text) <= bound); }
  static double read(const char* text) { return std::atof(text); }
};

struct Between {
  using Value = double;

  double least;
  double greatest;
  std::string_view refusal;

  bool accepts(const char* text) const {
    const double value = std::atof(text);
    return !(value < least) && !(value > greatest);
  }
  static double read(const char* text) { return std::atof(text); }
};

struct WholeFrom {
  using Value = int;

  int least;
  std::string_view refusal;

  bool accepts(const char* text) const { return std::atoi(text) >= least; }
  static int read(const char* text) { return std::atoi(text); }
};

struct ColourOrIndex {
  using Value = TinyVector<float, 3>;
  static constexpr std::string_view refusal = "tessarel: invalid palette index \"%\"";

  static bool accepts(const char* text) {
    Value unused;
    return parseColour(text, unused) == 0;
  }
  static Value read(const char* text) {
    Value colour;
    parseColour(text, colour);
    return colour;
  }
};

/// Bytes of a text or URL from a client at most: values are kept as long as the process lives.
constexpr std::size_t longestText = 4096;

struct Text {
  using Value = std::string;
  static constexpr std::string_view refusal = "";

  static bool accepts(std::string_view text) { return text.size() <= longestText; }
  static std::string read(const char* text) { return text; }
};

/// The name of a font's family, any text. What is kept of it is never given back, and no font has a longer name: of a
/// longer text only the beginning is kept, which names no font either.
struct FontFamily {
  using Value = std::string;
  static constexpr std::string_view refusal = "";
  static constexpr std::size_t longest = 64;

  static bool accepts(const char*) { return true; }
  static std::string read(const char* text) { return {text, strnlen(text, longest)}; }
};

/// One of the line patterns, sixteen bits of on and off.
struct Stroke {
  using Value = int;
  static constexpr std::string_view refusal = "tessarel: unknown stroke (\"%\")";

  struct Pattern {
    std::string_view keyword;
    int bits;
  };
  static constexpr Pattern patterns[] = {{"solid", 0xFFFF}, {"dashed", 0xF0F0}, {"dotted", 0x3333}, {"none", 0}};

  static const Pattern* find(std::string_view text) {
    for (const Pattern& pattern : patterns) {
      if (pattern.keyword == text) return &pattern;
    }
    return nullptr;
  }
  static bool accepts(const char* text) { return find(text) != nullptr; }
  static int read(const char* text) { return find(text)->bits; }
};

/// The name of a solid, in upper or lower case.
struct Shape {
  using Value = VertexStyleDefns::Shape;
  static constexpr std::string_view refusal = "tessarel: Invalid shape \"%\"";
  static constexpr const char* keywords[] = {"none", "sphere",     "cone",         "torus",      "tetrahedron",
                                             "cube", "octahedron", "dodecahedron", "icosahedron"};

  static int find(const char* text) {
    int shape = 0;
    for (const char* keyword : keywords) {
      if (strcasecmp(keyword, text) == 0) return shape;
      ++shape;
    }
    return -1;
  }
  static bool accepts(const char* text) { return find(text) != -1; }
  static Value read(const char* text) { return static_cast<Value>(find(text)); }
};

struct CallbackUrl {
  using Value = boost::shared_ptr<VertexCallback>;
  static constexpr std::string_view refusal = "tessarel: unsupported callback type \"%\"";

  static bool accepts(std::string_view text) { return text.starts_with("http://") && text.size() <= longestText; }
  static Value read(const char* text) { return Value(new XMLRPC_VertexCallback(text)); }
};

/// Whether a new value of the attribute sets a layout that has come to rest moving again.
enum class Layout { sleepsOn, wakes };

/// A setter: validates the text, then writes the value into the style, unless that is null.
template <class Style, class Attributes, class Rule>
int setAttribute(Style* style, const char* text, const Rule& rule, Retro<typename Rule::Value> Attributes::*attribute,
                 Layout effect) {
  if (!rule.accepts(text)) {
    const std::string_view line = rule.refusal;
    if (line.empty()) return -1;
    const std::size_t place = line.find('%');
    return refuse(line.substr(0, place), text, line.substr(place + 1));
  }
  if (effect == Layout::wakes && GraphProxy::GraphAnimator::instance != nullptr) {
    GraphProxy::GraphAnimator::instance->stillness = 0.0;
  }
  if (style != nullptr) style->set(attribute, rule.read(text));
  return 0;
}

template <class Style>
struct AttributeEntry {
  std::string_view key;
  int (*set)(Style* style, const char* text);
};

/// Runs the setter that the key names. Validation touches no attribute and takes no lock, so that clients do not wait
/// for a picture to be drawn. `refusal` is the beginning of a line that ends with the key.
template <class Style, std::size_t count>
int setByKey(const AttributeEntry<Style> (&table)[count], std::string_view refusal, Style* style, std::string_view key,
             const char* text) {
  for (const AttributeEntry<Style>& entry : table) {
    if (entry.key != key) continue;
    const auto hold = style == nullptr ? std::unique_lock<MultiLockable>() : std::unique_lock(globalStyleLock);
    if (entry.set(style, text) == 0) return 0;
    break;
  }
  return refuse(refusal, key, "\"");
}

}  // namespace quorel

#include "server/RequestCheck.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace quorel {

namespace {

/// The elements of XML-RPC and of the library's extensions to it.
constexpr std::string_view knownElements[] = {"methodCall",
                                              "methodName",
                                              "params",
                                              "param",
                                              "value",
                                              "int",
                                              "i4",
                                              "i1",
                                              "i2",
                                              "i8",
                                              "ex:i1",
                                              "ex:i2",
                                              "ex:i8",
                                              "boolean",
                                              "double",
                                              "string",
                                              "nil",
                                              "ex:nil",
                                              "base64",
                                              "array",
                                              "data",
                                              "struct",
                                              "dateTime.iso8601",
                                              "member",
                                              "name"};

/// Where the markup that starts at `from` ends, one past `mark`; npos if it does not end.
std::size_t pastMark(std::string_view body, std::size_t from, std::string_view mark) {
  const std::size_t found = body.find(mark, from);
  return found == std::string_view::npos ? found : found + mark.size();
}

/// One past the ">" of the tag that starts at `from`, passing over quoted values.
std::size_t pastTag(std::string_view body, std::size_t from) {
  for (std::size_t at = from; at < body.size(); ++at) {
    if (body[at] == '>') return at + 1;
    if (body[at] == '"' || body[at] == '\'') {
      at = body.find(body[at], at + 1);
      if (at == std::string_view::npos) break;
    }
  }
  return std::string_view::npos;
}

std::string_view elementName(std::string_view tag) {
  return tag.substr(0, std::min(tag.find_first_of(" \t\r\n/>"), tag.size()));
}

/// Bytes of an opening tag that no call needs: with attributes, or of a name that is not of XML-RPC.
std::size_t needlessBytes(std::string_view tag, std::string_view name) {
  const bool known = std::find(std::begin(knownElements), std::end(knownElements), name) != std::end(knownElements);
  const bool bare = tag.find_first_not_of(" \t\r\n", name.size()) == std::string_view::npos;
  return known && bare ? 0 : tag.size();
}

}  // namespace

// Follows the parser's own division of the text into pieces of markup. Where the two could part ways, on something that
// is not well formed, the parser has stopped with an error and reads no further.
const char* reasonToRefuse(std::string_view body) {
  constexpr const char* unfinished = "XML that ends inside a piece of markup is refused";
  if (body.find('\0') != std::string_view::npos) return "XML with NUL characters is refused";
  if (body.starts_with("\xFF\xFE") || body.starts_with("\xFE\xFF")) return "XML in UTF-16 is refused";
  int depth = 0;
  std::size_t needless = 0;
  std::array<int, deepestNesting + 1> members{};  // of the element open at each depth
  std::size_t at = 0;
  while ((at = body.find('<', at)) != std::string_view::npos) {
    const std::string_view rest = body.substr(at);
    if (rest.starts_with("<!--")) {
      at = pastMark(body, at + 4, "-->");
    } else if (rest.starts_with("<![CDATA[")) {
      at = pastMark(body, at + 9, "]]>");
    } else if (rest.starts_with("<!")) {
      return "XML with a document type is refused";
    } else if (rest.starts_with("<?")) {
      at = pastMark(body, at + 2, "?>");
    } else {
      const bool closing = rest.starts_with("</");
      const std::size_t end = pastTag(body, at + 1);
      if (end == std::string_view::npos) return unfinished;
      if (closing) {
        if (depth > 0) --depth;
      } else {
        const bool empty = body[end - 2] == '/';
        const std::string_view tag = body.substr(at + 1, end - at - (empty ? 3 : 2));
        const std::string_view name = elementName(tag);
        needless += needlessBytes(tag, name);
        if (needless > mostNeedlessBytes) return "XML with so many attributes or strange elements is refused";
        if (name == "member" && ++members[depth] > mostMembers) return "A structure with so many members is refused";
        if (!empty) {
          if (++depth > deepestNesting) return "XML with elements nested so deeply is refused";
          members[depth] = 0;
        }
      }
      at = end;
    }
    if (at == std::string_view::npos) return unfinished;
  }
  return nullptr;
}

}  // namespace quorel

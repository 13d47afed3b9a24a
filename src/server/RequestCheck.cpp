#include "server/RequestCheck.h"

#include <cstddef>

namespace quorel {

namespace {

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

}  // namespace

// Follows the parser's own division of the text into pieces of markup. Where the two could part ways, on something that
// is not well formed, the parser has stopped with an error and reads no further.
const char* reasonToRefuse(std::string_view body) {
  if (body.find('\0') != std::string_view::npos) return "XML with NUL characters is refused";
  if (body.starts_with("\xFF\xFE") || body.starts_with("\xFE\xFF")) return "XML in UTF-16 is refused";
  int depth = 0;
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
      if (closing) {
        if (depth > 0) --depth;
      } else if (end == std::string_view::npos || body[end - 2] != '/') {
        if (++depth > deepestNesting) return "XML with elements nested so deeply is refused";
      }
      at = end;
    }
    if (at == std::string_view::npos) return "XML that ends inside a piece of markup is refused";
  }
  return nullptr;
}

}  // namespace quorel

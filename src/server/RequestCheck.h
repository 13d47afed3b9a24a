#pragma once

#include <cstddef>
#include <string_view>

namespace quorel {

/// Levels of elements that a request may nest. A batch of calls nests 14; the library gives up a value at 64 arrays or
/// structures in one another, long before its parser does, whose stack grows with every level.
constexpr int deepestNesting = 100;

/// Members of one structure, which the library looks for by going through all of them. A call within a batch has two.
constexpr int mostMembers = 256;

/// Bytes in those opening tags of a request that have attributes or are not of XML-RPC. Their names go into tables of the
/// parser that can be made to degenerate.
constexpr std::size_t mostNeedlessBytes = 4096;

/// Looks at a request's body before the XML parser does, and finds what that parser does not survive or what takes it
/// out of all proportion: a document type with its entities, UTF-16, NUL characters, elements nested without end, names
/// and members by the ten thousand.
/// Returns null if the body may be parsed, which does not mean that it is well formed, or the reason why not.
/// Cost: one pass, no allocation.
const char* reasonToRefuse(std::string_view body);

}  // namespace quorel

#include "server/RequestCheck.h"

#include <gtest/gtest.h>

#include <string>

namespace quorel {
namespace {

using namespace std::string_literals;

std::string repeated(int times, const std::string& piece) {
  std::string all;
  for (int i = 0; i < times; ++i) all += piece;
  return all;
}

std::string nested(int levels, const std::string& inside = "") {
  return repeated(levels, "<a>") + inside + repeated(levels, "</a>");
}

TEST(RequestCheckTest, letsThroughWhatClientsSend) {
  for (const std::string& body : {
           ""s,
           "no markup at all"s,
           "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>\r\n<a/>"s,
           "<!-- a comment with <!DOCTYPE in it --><a><![CDATA[<!DOCTYPE <a><a> ]] > ]]></a>"s,
           "<?note <!DOCTYPE ?><a b='>' c=\"<\"/>"s,
           "<a>&lt;!DOCTYPE&gt; &amp; &#65; G\xC3\xBC\xC3\x9F</a>"s,
           nested(deepestNesting),
           nested(deepestNesting - 1, "<i/><i/><i/><i/>"),
           nested(deepestNesting - 1, "<b></b><b></b><b></b>"),
           "<struct>" + repeated(mostMembers, "<member/>") + "</struct>" + repeated(100000, "<value ><nil /></value>"),
           repeated(10000, "<struct>" + repeated(2, "<member/>") + "</struct>"),
           ("<value" + repeated(1000, " xmlns:ex='x'")).substr(0, mostNeedlessBytes - 4) + "/>",
       }) {
    EXPECT_EQ(reasonToRefuse(body), nullptr) << body.substr(0, 200);
  }
}

TEST(RequestCheckTest, refusesWhatTheParserDoesNotSurvive) {
  for (const std::string& body : {
           "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [<!ENTITY lol \"lol\">]><a>&lol;</a>"s,
           "<!doctype a>"s,
           "<a><!></a>"s,
           "<![INCLUDE[<!DOCTYPE a>]]>"s,
           // What hides a declaration from a reader that divides the text another way.
           "<?x <!-- ?><!DOCTYPE a[]><!-- -->"s,
           "<!-- --><!DOCTYPE a[]><!-- -->"s,
           "<!--><!DOCTYPE-->  <!DOCTYPE a[]>"s,
           "<a b=\"<!--\"/><!DOCTYPE a[]>-->"s,
           "<a b='\"'/><!DOCTYPE a[]><b c='\"'/>"s,
           "<a><![CDATA[ ]]><!DOCTYPE a[]><![CDATA[ ]]></a>"s,
           "a\0b"s,
           "\xFF\xFE<a/>"s,
           "\xFE\xFF<a/>"s,
           nested(deepestNesting + 1),
           "</a></a></a></a>" + nested(deepestNesting + 1),
           "<a/><a />" + nested(deepestNesting, "<a b='/'>"),
           "<a"s,
           "<!-- no end"s,
           "<![CDATA[ no end"s,
           "<?no end"s,
           "<a b='no end>"s,
           // What the parser and the library take too long over.
           "<struct>" + repeated(mostMembers + 1, "<member/>"),
           "<struct>" + repeated(mostMembers + 1, "<member></member>"),
           "<value" + repeated(1000, " abcd=''") + "/>",
           repeated(1000, "<value abcd=''/>"),
           repeated(1000, "<memberr/>"),
       }) {
    EXPECT_NE(reasonToRefuse(body), nullptr) << body.substr(0, 200);
  }
}

}  // namespace
}  // namespace quorel

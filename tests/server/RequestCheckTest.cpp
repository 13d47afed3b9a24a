#include "server/RequestCheck.h"

#include <gtest/gtest.h>

#include <string>

namespace quorel {
namespace {

using namespace std::string_literals;

std::string nested(int levels, const std::string& inside = "") {
  std::string opened;
  std::string closed;
  for (int i = 0; i < levels; ++i) {
    opened += "<a>";
    closed += "</a>";
  }
  return opened + inside + closed;
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
       }) {
    EXPECT_EQ(reasonToRefuse(body), nullptr) << body;
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
       }) {
    EXPECT_NE(reasonToRefuse(body), nullptr) << body;
  }
}

}  // namespace
}  // namespace quorel

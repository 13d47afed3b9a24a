#include "server/RequestCheck.h"

#include <gtest/gtest.h>

#include <string>

namespace quorel {
namespace {

using namespace std::string_literals;

std::string nested(int levels, const std::string& tag, const std::string& inside = "") {
  std::string opened;
  std::string closed;
  for (int i = 0; i < levels; ++i) {
    opened += "<" + tag + ">";
    closed += "</" + tag + ">";
  }
  return opened + inside + closed;
}

TEST(RequestCheckTest, letsThroughWhatClientsSend) {
  const std::string passed[] = {
      "",
      "no markup at all",
      "<?xml version=\"1.0\"?><methodCall><methodName>tessarel.clear</methodName></methodCall>",
      "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>\r\n<a/>",
      "<!-- a comment with <!DOCTYPE in it --><a><![CDATA[<!DOCTYPE <a><a> ]] > ]]></a>",
      "<?note <!DOCTYPE ?><a b='>' c=\"<\"/>",
      "<a>&lt;!DOCTYPE&gt; &amp; &#65;</a>",
      "<value><string>G\xC3\xBC\xC3\x9F</string></value>",
      nested(deepestNesting, "a"),
      nested(deepestNesting - 1, "value", "<i/><i/><i/><i/>"),
      nested(deepestNesting - 1, "a", nested(1, "b") + nested(1, "b") + nested(1, "b")),
  };
  for (const std::string& body : passed) EXPECT_EQ(reasonToRefuse(body), nullptr) << body;
}

TEST(RequestCheckTest, refusesWhatTheParserDoesNotSurvive) {
  const std::string refused[] = {
      "<!DOCTYPE m[<!ENTITY a \"%\r\"",
      "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [<!ENTITY lol \"lol\">]><a>&lol;</a>",
      "<!doctype a>",
      "<!",
      "<a><!></a>",
      "<![INCLUDE[<!DOCTYPE a>]]>",
      // What hides a declaration from a reader that divides the text another way.
      "<?x <!-- ?><!DOCTYPE a[]><!-- -->",
      "<!-- --><!DOCTYPE a[]><!-- -->",
      "<!--><!DOCTYPE-->  <!DOCTYPE a[]>",
      "<a b=\"<!--\"/><!DOCTYPE a[]>-->",
      "<a b='\"'/><!DOCTYPE a[]><b c='\"'/>",
      "<a><![CDATA[ ]]><!DOCTYPE a[]><![CDATA[ ]]></a>",
      "a\0b"s,
      "<\0a\0/\0>\0"s,
      "\xFF\xFE<a/>",
      "\xFE\xFF<a/>",
      nested(deepestNesting + 1, "a"),
      nested(5000, "value"),
      "</a></a></a></a>" + nested(deepestNesting + 1, "a"),
      "<a/><a />" + nested(deepestNesting + 1, "a b='/'"),
      "<a",
      "<!-- no end",
      "<![CDATA[ no end",
      "<?no end",
      "<a b='no end>",
  };
  for (const std::string& body : refused) EXPECT_NE(reasonToRefuse(body), nullptr) << body;
}

}  // namespace
}  // namespace quorel

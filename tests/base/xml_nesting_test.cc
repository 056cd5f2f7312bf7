#include <gtest/gtest.h>

#include <string>

#include "base/CTinyXmlEx.h"
#include "base/internal/XmlNesting.h"

namespace {

bool Within(const std::string& text, int limit) {
  return quarn_xml::NestingWithin(text.data(), text.size(), limit);
}

std::string Nested(int depth, const std::string& open = "<a>") {
  std::string text;
  for (int i = 0; i < depth; ++i) text += open;
  return text;
}

TEST(XmlNestingTest, CountsOnlyWhatTheParserWouldNest) {
  EXPECT_TRUE(Within(Nested(3), 3));
  EXPECT_FALSE(Within(Nested(4), 3));
  // Closed and empty elements do not deepen.
  EXPECT_TRUE(Within("<a><b/><b /><c></c><c x='/'></c></a>", 2));
  EXPECT_TRUE(Within("<a>" + Nested(10, "<b></b>") + "</a>", 2));
  // '<' inside comments, CDATA, declarations and quoted values is text.
  EXPECT_TRUE(
      Within("<?xml version='1.0'?><!-- <a><a><a> --><r>"
             "<![CDATA[<a><a><a>]]><x v=\"<a><a>\" w='>'/></r>",
             1));
  // A declaration or unknown node ends at the first '>', as the parser
  // reads it, so what follows is counted.
  EXPECT_FALSE(Within("<? x ><a><a>", 1));
  EXPECT_FALSE(Within("<!DOCTYPE x><a><a>", 1));
  // GBK names and '_' open elements; other bytes after '<' do not.
  EXPECT_FALSE(Within("<\xB2\xBF><_x>", 1));
  EXPECT_TRUE(Within("<1><1><1>", 1));
  // An unterminated construct ends the scan; the parser rejects it.
  EXPECT_TRUE(Within("<a><!-- " + Nested(10), 1));
}

TEST(XmlNestingTest, DocumentsReportWhyTheyFailed) {
  CTinyXmlEx doc;
  std::string deep = Nested(quarn_xml::kMaxXmlDepth + 1);
  EXPECT_NE(0, doc.open(deep.data(), static_cast<int>(deep.size())));
  EXPECT_EQ("elements nested too deeply", doc.error());
  std::string broken = "<r>\n  <a>\n</r>";
  EXPECT_NE(0, doc.open(broken.data(), static_cast<int>(broken.size())));
  EXPECT_EQ(0u, doc.error().find("line 3, column 1: ")) << doc.error();
  EXPECT_NE(0, doc.open_for_readonly("/nonexistent/x.xml"));
  EXPECT_EQ("No such file or directory", doc.error());
  EXPECT_EQ(0, doc.open("<r/>", 4));
  EXPECT_EQ("", doc.error());
}

}  // namespace

// Reading policy files: the example policy, entries that are skipped, and
// policies that cannot work.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExampleConfig.h"

namespace {

using quarn_policy_test::ExampleConfig;
using quarn_policy_test::ExamplePath;
using quarn_policy_test::Gbk;
using quarn_policy_test::LoadPolicy;
using quarn_policy_test::WritePolicy;
using quarn_tool::ConnectionPolicy;

std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

TEST(PolicyFileTest, ExamplePolicyLoadsAsWritten) {
  ASSERT_TRUE(ExampleConfig::Get().loaded);
  ConnectionPolicy policy;
  std::vector<std::string> messages;
  const std::string path = ExamplePath("gateway/connection_policy.xml");
  EXPECT_TRUE(
      policy.Load(path.c_str(), ExampleConfig::Get().objects(), &messages));
  EXPECT_TRUE(messages.empty()) << Joined(messages);
  ASSERT_EQ(18, policy.filter_count());
  const std::vector<std::string> lines = policy.Describe();
  // Time objects by name resolve to their ids; negative sides, except
  // ranges, size comparisons and actions are kept as written.
  EXPECT_NE(std::string::npos,
            lines[3].find("time{0x1} app{id=10130000} => save 0, ignore, "
                          "group 1, stop"))
      << lines[3];
  EXPECT_NE(std::string::npos,
            lines[4].find("not server{class=21,31} time{0x2} "
                          "ip-object{id=4} => save 3, interrupt 0x1001, "
                          "event, group 2, stop"))
      << lines[4];
  EXPECT_NE(std::string::npos,
            lines[9].find("client{class=102 except-range=10.10.2.200-"
                          "10.10.2.255} server-port{port=80,443,8080} => "
                          "save 4, continue"))
      << lines[9];
  EXPECT_NE(std::string::npos, lines[14].find("not time{0x2}")) << lines[14];
  EXPECT_NE(std::string::npos,
            lines[17].find("every connection => save 1, continue"))
      << lines[17];
}

TEST(PolicyFileTest, BadEntriesAreSkippedNamingFileLineAndFilter) {
  ConnectionPolicy policy;
  const std::string body =
      "<filter name=\"出口\">\n"  // 3
      "  <SrcIP><IPRange>10.0.0.9-10.0.0.1</IPRange>"
      "<IPRange>10.0.0.x</IPRange><IntranetIPType>abc</IntranetIPType>"
      "</SrcIP>\n"  // 4
      "  <ServerPort><SizeRang>&gt;=1024</SizeRang>"
      "<SizeRang>8000-</SizeRang></ServerPort>\n"  // 5
      "  <Colour>red</Colour>\n"                   // 6
      "  <Action save_level=\"high\" mode=\"stop\" pri_group=\"9\" "
      "event=\"1\"/>\n"  // 7
      "</filter>\n"      // 8
      "<rule/>\n";       // 9
  const std::vector<std::string> messages = LoadPolicy(body, &policy);
  ASSERT_TRUE(policy.ready()) << Joined(messages);
  const std::string path =
      messages.empty() ? "" : messages[0].substr(0, messages[0].find(':'));
  const std::string filter = Gbk("filter 0 \"出口\": ");
  const std::vector<std::string> expected = {
      path + ":4: warning: " + filter +
          "bad address range \"10.0.0.x\" in <IPRange>, skipped",
      path + ":4: warning: " + filter +
          "bad value \"abc\" in <IntranetIPType>, skipped",
      path + ":5: warning: " + filter +
          "bad comparison \"8000-\" in <SizeRang>, skipped",
      path + ":6: warning: " + filter + "unknown condition <Colour>, skipped",
      path + ":7: warning: " + filter + "bad save_level \"high\", default kept",
      path + ":7: warning: " + filter + "bad pri_group \"9\", default kept",
      path + ":9: warning: unknown element <rule>, skipped",
  };
  EXPECT_EQ(Joined(expected), Joined(messages));
  // The good entries of the filter load: the range put in order, the
  // comparison, the mode and the event.
  EXPECT_EQ(Gbk("0 \"出口\" (line 3): client{range=10.0.0.1-10.0.0.9} "
                "server-port{port=>=1024} => save 0, event, stop"),
            policy.Describe()[0]);
}

TEST(PolicyFileTest, PolicyThatCannotWorkIsReported) {
  struct Case {
    std::string body;
    std::string message;  // expected after "FILE:"
  };
  std::string many;
  for (int i = 0; i < 65; ++i) {
    many += "<filter name=\"f" + std::to_string(i) + "\"><Action/></filter>\n";
  }
  const std::vector<Case> cases = {
      {many,
       "67: error: filter 64 \"f64\": 65 filters: a policy holds at "
       "most 64, this one and the later ones cannot be evaluated"},
      {"<filter name=\"a\">\n<IPObject><Value>8</Value></IPObject>"
       "<Action/></filter>\n",
       "4: error: filter 0 \"a\": unknown IP object id 8"},
      {"<filter name=\"a\">\n<Time>午夜</Time><Action/></filter>\n",
       "4: error: filter 0 \"a\": time object \"" + Gbk("午夜") +
           "\" does not exist"},
      {"<filter name=\"a\">\n<Time>64</Time><Action/></filter>\n",
       "4: error: filter 0 \"a\": time object \"64\" does not exist"},
      {"<filter name=\"a\">\n<SrcIP><ExceptIPRange>10.0.0.1</ExceptIPRange>"
       "</SrcIP><Action/></filter>\n",
       "3: error: filter 0 \"a\": SrcIP has only Except entries: an address "
       "side that covers nothing is never tested"},
      {"<filter name=\"a\">\n<DstIP><IntranetIPType>999</IntranetIPType>"
       "</DstIP><Action/></filter>\n",
       "4: error: filter 0 \"a\": unknown company class or department 999"},
      {"<filter name=\"a\">\n<Department><Value>116</Value></Department>"
       "<Action/></filter>\n",
       "4: error: filter 0 \"a\": unknown department 116"},
      {"<filter name=\"a\">\n<UrlType><System>40</System></UrlType>"
       "<Action/></filter>\n",
       "4: error: filter 0 \"a\": unknown system URL category bit 40"},
      {"<filter name=\"a\">\n<App><Value>10010005</Value></App>"
       "<Action/></filter>\n",
       "4: error: filter 0 \"a\": unknown application id 10010005"},
      {"<filter name=\"a\">\n<UrlKey><KeyType>2048</KeyType></UrlKey>"
       "<Action/></filter>\n",
       "4: error: filter 0 \"a\": unknown keyword type id 2048"},
      {"", "0: error: the policy holds no filter"},
  };
  for (const Case& c : cases) {
    ConnectionPolicy policy;
    const std::vector<std::string> messages = LoadPolicy(c.body, &policy);
    EXPECT_FALSE(policy.ready()) << c.message;
    ASSERT_EQ(1u, messages.size()) << Joined(messages);
    const size_t colon = messages[0].find(':');
    EXPECT_EQ(c.message, messages[0].substr(colon + 1));
  }

  // A kind whose objects the host did not load cannot be tested.
  ConnectionPolicy policy;
  std::vector<std::string> messages;
  quarn_tool::PolicyObjects objects = ExampleConfig::Get().objects();
  objects.key_types = nullptr;
  const std::string path = WritePolicy(
      "<filter name=\"k\">\n<UrlKey><KeyType>256</KeyType></UrlKey>"
      "<Action/></filter>\n");
  EXPECT_FALSE(policy.Load(path.c_str(), objects, &messages));
  EXPECT_EQ(Joined({path + ":4: error: filter 0 \"k\": keyword types cannot "
                           "be tested: none given"}),
            Joined(messages));

  // A file that does not parse names the parser's complaint.
  messages.clear();
  const std::string broken = WritePolicy("<filter name=\"x\">\n");
  EXPECT_FALSE(policy.Load(broken.c_str(), objects, &messages));
  ASSERT_EQ(1u, messages.size());
  EXPECT_EQ(0u, messages[0].find(broken + ":0: error: cannot read the "
                                          "policy: "))
      << messages[0];
}

}  // namespace

// Host names from the start of a client's stream: HTTP requests and TLS
// ClientHellos, whole, cut short, and malformed.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "capture/capture_builder.h"
#include "tools/capture/NameExtract_internal.h"

namespace quarn_tool {
namespace {

// The views handed out point into `text`, which must outlive them.
ExtractResult Http(std::string_view text, bool final, HttpRequestName* out) {
  return ParseHttpRequest(reinterpret_cast<const uint8_t*>(text.data()),
                          text.size(), final, out);
}

ExtractResult Hello(const std::string& bytes, std::string* sni) {
  std::vector<uint8_t> scratch;
  std::string_view view;
  const ExtractResult r =
      ParseClientHello(reinterpret_cast<const uint8_t*>(bytes.data()),
                       bytes.size(), &scratch, &view);
  sni->assign(view.data(), view.size());
  return r;
}

TEST(NameExtractTest, HttpRequestForms) {
  HttpRequestName n;
  ASSERT_EQ(
      Http("POST /x HTTP/1.0\r\nhOsT:  a.example \r\n\r\nbody", false, &n),
      kExtractFound);
  EXPECT_EQ(n.host, "a.example");
  EXPECT_EQ(n.path, "/x");
  // An absolute target gives the authority when there is no Host header.
  ASSERT_EQ(Http("GET http://b.example:81/p?q HTTP/1.1\r\n\r\n", false, &n),
            kExtractFound);
  EXPECT_EQ(n.host, "b.example");
  EXPECT_EQ(n.host_port, "b.example:81");
  EXPECT_EQ(n.path, "/p?q");
  ASSERT_EQ(Http("CONNECT c.example:443 HTTP/1.1\r\n\r\n", false, &n),
            kExtractFound);
  EXPECT_EQ(n.host, "c.example");
  EXPECT_TRUE(n.path.empty());
  ASSERT_EQ(Http("GET / HTTP/1.1\r\nHost: [2001:db8::1]:8080\r\n", false, &n),
            kExtractFound);
  EXPECT_EQ(n.host, "[2001:db8::1]");
}

TEST(NameExtractTest, HttpNeedsMoreUntilTheHeaderEndsOrTheLimit) {
  HttpRequestName n;
  EXPECT_EQ(Http("GE", false, &n), kExtractMore);
  EXPECT_EQ(Http("GET /index", false, &n), kExtractMore);
  EXPECT_EQ(Http("GET / HTTP/1.1\r\nAccept: x\r\n", false, &n), kExtractMore);
  // At the limit the header is read as far as it goes.
  ASSERT_EQ(Http("GET / HTTP/1.1\r\nAccept: x\r\n", true, &n), kExtractFound);
  EXPECT_TRUE(n.host.empty());
  EXPECT_EQ(Http("GET /index", true, &n), kExtractNo);
  // Not requests: a response, an unknown method, a method without HTTP.
  EXPECT_EQ(Http("HTTP/1.1 200 OK\r\n\r\n", false, &n), kExtractNo);
  EXPECT_EQ(Http("GETX / HTTP/1.1\r\n", false, &n), kExtractNo);
  EXPECT_EQ(Http("GET something else\r\n", false, &n), kExtractNo);
}

TEST(NameExtractTest, ClientHelloWholeCutAndSplitOverRecords) {
  const std::string hello = quarn_test::ClientHello("www.example.org", 100);
  std::string sni;
  ASSERT_EQ(Hello(hello, &sni), kExtractFound);
  EXPECT_EQ(sni, "www.example.org");
  // Every cut before the end of the name asks for more.
  for (size_t cut = 1; cut < hello.size(); ++cut) {
    ASSERT_EQ(Hello(hello.substr(0, cut), &sni), kExtractMore) << cut;
  }
  // The handshake split over two records, each with its own header.
  const std::string hs = hello.substr(5);
  auto record = [](const std::string& body) {
    return std::string("\x16\x03\x03", 3) +
           static_cast<char>(body.size() >> 8) +
           static_cast<char>(body.size() & 0xFF) + body;
  };
  ASSERT_EQ(Hello(record(hs.substr(0, 2)) + record(hs.substr(2)), &sni),
            kExtractFound);
  EXPECT_EQ(sni, "www.example.org");
  // Not a ClientHello: a ServerHello, an alert, a name list too long.
  std::string server = hello;
  server[5] = 2;
  EXPECT_EQ(Hello(server, &sni), kExtractNo);
  EXPECT_EQ(Hello(std::string("\x15\x03\x03\x00\x02\x02\x28", 7), &sni),
            kExtractNo);
  std::string bad = hello;
  bad[bad.size() - 16] = 0x7F;  // the name's length runs past its list
  EXPECT_EQ(Hello(bad, &sni), kExtractNo);
}

}  // namespace
}  // namespace quarn_tool

// classify on packet captures: flows built from the packets the test writes
// go through the classifier and the policy, each with its "flow" member;
// other packets are counted in the summary; standard input and SIGINT work
// as for text input.

#include <fcntl.h>
#include <pcap/pcap.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "capture/capture_builder.h"
#include "tests/tool/run_tool.h"

namespace quarn_test {
namespace {

// 2026-11-18 14:05:30 UTC, a Wednesday in working time.
constexpr int64_t kWorkTime = 1795010730;
const uint32_t kResolver = Ip("8.8.8.8");

Frame At(const std::string& bytes, int64_t offset, uint32_t caplen = 0) {
  Frame f;
  f.bytes = bytes;
  f.sec = kWorkTime + offset;
  f.caplen = caplen;
  return f;
}

// An Ethernet frame from `src_last` to `dst_last` (see Mac()).
Frame Eth(const std::string& packet, int64_t offset, uint8_t src_last = 1,
          uint8_t dst_last = 2, const std::vector<uint16_t>& tpids = {}) {
  return At(Ethernet(packet, src_last, dst_last, tpids), offset);
}

// The handshake, `request` split in `order` (three pieces) and the close
// of a TCP connection from `c` to `s`; the client's frames come from MAC
// `client_mac`, the server's from `server_mac`.
void Connection(std::vector<Frame>* frames, uint32_t c, uint16_t cport,
                uint32_t s, uint16_t sport, const std::string& request,
                std::vector<int> order, int64_t at, uint8_t client_mac = 1,
                uint8_t server_mac = 2,
                const std::vector<uint16_t>& tpids = {}) {
  const uint32_t cseq = 1000;
  const uint32_t sseq = 5000;
  auto from_client = [&](uint32_t seq, uint8_t flags, const std::string& d) {
    frames->push_back(
        Eth(TcpPacket(c, cport, s, sport, seq, sseq + 1, flags, d), at,
            client_mac, server_mac, tpids));
  };
  auto from_server = [&](uint32_t seq, uint8_t flags) {
    frames->push_back(Eth(TcpPacket(s, sport, c, cport, seq, cseq + 1, flags),
                          at, server_mac, client_mac, tpids));
  };
  from_client(cseq, 2, "");
  from_server(sseq, 2 | 16);
  from_client(cseq + 1, 16, "");
  const size_t third = request.size() / 3;
  const size_t start[4] = {0, third, 2 * third, request.size()};
  for (int piece : order) {
    from_client(cseq + 1 + static_cast<uint32_t>(start[piece]), 8 | 16,
                request.substr(start[piece], start[piece + 1] - start[piece]));
  }
  const uint32_t end = cseq + 1 + static_cast<uint32_t>(request.size());
  from_client(end, 1 | 16, "");
  from_server(sseq + 1, 1 | 16);
}

// The flows of the example gateway's address plan: a DNS answer names
// 1.2.3.4, which a later connection with no name of its own then uses; an
// HTTP request in three segments out of order; a ClientHello in a VLAN;
// an outside client to the DMZ web server (the inside end is the second).
std::vector<Frame> NamedFlows() {
  std::vector<Frame> frames;
  frames.push_back(
      Eth(UdpPacket(kResolver, 53, Ip("10.10.2.15"), 40000,
                    DnsResponse("chenlize.net.cn", {Ip("1.2.3.4")})),
          0, 9, 1));
  Connection(&frames, Ip("10.10.2.15"), 50000, Ip("1.2.3.4"), 8080, "", {}, 1);
  Connection(&frames, Ip("10.10.3.5"), 50001, Ip("1.130.4.5"), 80,
             "GET /setup.exe HTTP/1.1\r\nHost: Download.Example.NET\r\n"
             "User-Agent: test\r\n\r\n",
             {2, 0, 1}, 2);
  Connection(&frames, Ip("10.10.3.5"), 50002, Ip("198.51.100.7"), 443,
             ClientHello("boxiali.net"), {0, 1, 2}, 3, 1, 2, {0x8100});
  Connection(&frames, Ip("2.20.1.1"), 5903, Ip("203.0.113.10"), 80, "", {}, 4,
             7, 8);
  return frames;
}

std::string LineWith(const std::string& out, const std::string& text) {
  for (const std::string& line : Lines(out)) {
    if (line.find(text) != std::string::npos) return line;
  }
  return "";
}

void ExpectHas(const std::string& line, const std::string& text) {
  EXPECT_NE(std::string::npos, line.find(text)) << text << " in " << line;
}

TEST(CaptureInputTest, FlowsGoThroughClassifierAndPolicyWithTheirNames) {
  const std::string dir = FreshDir("capture_named");
  ASSERT_TRUE(WritePcap(dir + "/in.pcap", DLT_EN10MB, NamedFlows()));
  const ToolRun run = RunTool({"classify", "--explain", dir + "/in.pcap"});
  EXPECT_EQ(0, run.status) << run.err;
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_EQ(5u, lines.size()) << run.out;
  for (const std::string& line : lines) ASSERT_TRUE(IsJsonObject(line)) << line;

  // The connections close in order; the DNS exchange idles until the end.
  const std::string dns_learnt = lines[0];
  ExpectHas(dns_learnt, "\"first\":\"10.10.2.15:50000\"");
  ExpectHas(dns_learnt, "\"url\":\"chenlize.net.cn\"");
  ExpectHas(dns_learnt, "网络视频");
  ExpectHas(dns_learnt, "\"name_source\":\"dns\"");
  ExpectHas(dns_learnt, "an earlier DNS answer");
  ExpectHas(dns_learnt, "\"end\":\"closed\"");
  ExpectHas(dns_learnt, "\"tcp_flags\":\"FSA\"");
  // Its first packet's time is the connection time: working hours.
  ExpectHas(dns_learnt, "\"time\":\"2026-11-18 14:05:31\"");
  ExpectHas(dns_learnt, "工作时间");
  ExpectHas(dns_learnt, "\"verdict\":{");

  const std::string http = lines[1];
  ExpectHas(http, "\"url\":\"download.example.net/setup.exe\"");
  ExpectHas(http, "下载站点");
  ExpectHas(http, "\"name_source\":\"http\"");
  ExpectHas(http, "\"packets\":[6,2]");

  const std::string sni = lines[2];
  ExpectHas(sni, "\"url\":\"boxiali.net\"");
  ExpectHas(sni, "\"name_source\":\"sni\"");
  ExpectHas(sni, "\"inside_mac\":\"02:00:00:00:00:01\"");

  // The inside end is the responder: its MAC is the server's.
  const std::string dmz = lines[3];
  ExpectHas(dmz, "\"inside\":{\"ip\":\"203.0.113.10\"");
  ExpectHas(dmz, "\"inside_mac\":\"02:00:00:00:00:08\"");
  ExpectHas(dmz, "\"name_source\":\"none\",\"host\":null");

  ExpectHas(lines[4], "\"transport\":\"udp\"");
  ExpectHas(lines[4], "\"end\":\"capture end\"");
  ExpectHas(lines[4], "\"tcp_flags\":null");
  ExpectHas(run.err,
            "5 flows classified from 27 packets: 26 IPv4 TCP, 1 "
            "IPv4 UDP, 0 IPv6");
  ExpectHas(run.err, "names: 1 http, 1 sni, 2 dns");
}

TEST(CaptureInputTest, OtherAndBrokenPacketsAreCountedAndNamed) {
  const std::string dir = FreshDir("capture_counts");
  std::vector<Frame> frames;
  frames.push_back(
      Eth(UdpPacket(Ip("10.10.3.5"), 5000, Ip("1.2.3.4"), 6000, "x"), 0));
  frames.push_back(At(Ethernet(std::string(48, '\0'), 1, 2, {}, 0x86DD), 0));
  frames.push_back(At(Ethernet(std::string(28, '\0'), 1, 2, {}, 0x0806), 0));
  // Cut by the snap length inside the IPv4 header.
  frames.push_back(
      At(Ethernet(TcpPacket(Ip("10.10.3.5"), 1, Ip("1.2.3.4"), 2, 1, 0, 2)), 0,
         20));
  ASSERT_TRUE(WritePcapng(dir + "/in.pcapng", DLT_EN10MB, frames));
  ToolRun run = RunTool({"classify", dir + "/in.pcapng"});
  EXPECT_EQ(1, run.status) << run.err;
  EXPECT_EQ(1u, Lines(run.out).size()) << run.out;
  ExpectHas(run.err, "in.pcapng: packet 4: truncated");
  ExpectHas(run.err,
            "1 flows classified from 4 packets: 0 IPv4 TCP, 1 IPv4 UDP, 1 "
            "IPv6, 1 ARP, 0 ICMP, 0 fragments, 0 other, 1 truncated, 0 bad "
            "header;");

  // A file cut inside its last record: what came before is classified.
  ASSERT_TRUE(WritePcap(dir + "/cut.pcap", DLT_EN10MB, NamedFlows()));
  const std::string whole = ReadFile(dir + "/cut.pcap");
  WriteFile(dir + "/cut.pcap", whole.substr(0, whole.size() - 10));
  run = RunTool({"classify", dir + "/cut.pcap"});
  EXPECT_EQ(1, run.status) << run.err;
  EXPECT_EQ(5u, Lines(run.out).size()) << run.out;
  ExpectHas(run.err, "packet 27: cannot read further");
  ExpectHas(run.err, "from 26 packets");
  ExpectHas(run.err, "the file broke off");

  // A file with a capture's magic and nothing more.
  WriteFile(dir + "/short.pcap", whole.substr(0, 10));
  run = RunTool({"classify", dir + "/short.pcap"});
  EXPECT_EQ(2, run.status) << run.err;
  ExpectHas(run.err, "not a readable capture");
}

TEST(CaptureInputTest, StandardInputTableAndOptions) {
  const std::string dir = FreshDir("capture_stdin");
  ASSERT_TRUE(WritePcapng(dir + "/in.pcapng", DLT_EN10MB, NamedFlows()));
  ToolCall call;
  call.args = {"classify",       "--format", "table",       "--explain",
               "--idle-timeout", "1",        "--max-flows", "2"};
  call.input = dir + "/in.pcapng";
  ToolRun run = RunTool(call);
  EXPECT_EQ(0, run.status) << run.err;
  ExpectHas(run.out, "flow  time");
  ExpectHas(run.out, "packets  bytes");
  ExpectHas(run.out, "http Download.Example.NET");
  ExpectHas(run.out, "name: the server name of the flow's TLS ClientHello");
  // One second idle ends the DNS exchange before the later flows.
  ExpectHas(LineWith(run.out, "8.8.8.8"), "idle");

  for (const char* bad : {"0", "x", "-1", "4294967296"}) {
    run = RunTool({"classify", "--max-flows", bad, dir + "/in.pcapng"});
    EXPECT_EQ(2, run.status) << bad;
    ExpectHas(run.err, "--max-flows");
  }
}

TEST(CaptureInputTest, SigintMidCaptureWritesTheFlowsInHand) {
  // The capture comes through a pipe that stays open: once the tool has
  // read it, it waits for more, and SIGINT ends the wait; the open flows
  // end as at the end of a capture.
  const std::string dir = FreshDir("capture_sigint");
  ASSERT_TRUE(WritePcap(dir + "/in.pcap", DLT_EN10MB, NamedFlows()));
  const std::string capture = ReadFile(dir + "/in.pcap");
  int in[2];
  int out[2];
  ASSERT_EQ(0, pipe2(in, O_CLOEXEC));
  ASSERT_EQ(0, pipe2(out, O_CLOEXEC));
  const int err =
      open((dir + "/err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  const pid_t pid = StartTool({"classify", "-"}, in[0], out[1], err);
  close(err);
  close(out[1]);
  ASSERT_EQ(static_cast<ssize_t>(capture.size()),
            write(in[1], capture.data(), capture.size()));
  int left = 1;
  for (int i = 0; i < 2000 && left > 0; ++i) {
    ioctl(in[0], FIONREAD, &left);
    struct timespec ts = {0, 5000000};
    if (left > 0) nanosleep(&ts, nullptr);
  }
  struct timespec settle = {0, 300000000};
  nanosleep(&settle, nullptr);
  kill(pid, SIGINT);
  std::string output;
  char buffer[4096];
  for (;;) {
    struct pollfd fd = {out[0], POLLIN, 0};
    if (poll(&fd, 1, 20000) <= 0) break;
    const ssize_t n = read(out[0], buffer, sizeof(buffer));
    if (n <= 0) break;
    output.append(buffer, n);
  }
  int status = 0;
  ASSERT_EQ(pid, waitpid(pid, &status, 0));
  close(in[0]);
  close(in[1]);
  close(out[0]);
  const std::string errors = ReadFile(dir + "/err");
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(130, WEXITSTATUS(status)) << errors;
  EXPECT_EQ(5u, Lines(output).size()) << output;
  ExpectHas(LineWith(output, "8.8.8.8"), "\"end\":\"capture end\"");
  ExpectHas(errors, "5 flows classified from 27 packets");
  ExpectHas(errors, "(stopped by a signal)");
  EXPECT_EQ(std::string::npos, errors.find("cannot read further")) << errors;
}

}  // namespace
}  // namespace quarn_test

// Reading connection records from CSV and JSON Lines, good and bad.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/common/ConnectionRecord.h"
#include "tools/common/LineReader.h"

namespace quarn_tool {
namespace {

TEST(LocalTimeTest, CalendarAndWeekday) {
  LocalTime t;
  ASSERT_TRUE(ParseLocalTime("2026-11-18 09:15:07", &t));
  EXPECT_EQ(2026, t.year);
  EXPECT_EQ(11, t.month);
  EXPECT_EQ(18, t.day);
  EXPECT_EQ(9, t.hour);
  EXPECT_EQ(15, t.minute);
  EXPECT_EQ(7, t.second);
  EXPECT_EQ(3, t.weekday);  // Wednesday
  ASSERT_TRUE(ParseLocalTime("2000-02-29T23:59", &t));
  EXPECT_EQ(2, t.weekday);  // Tuesday, in a leap century year
  EXPECT_EQ(0, t.second);
  ASSERT_TRUE(ParseLocalTime("2026-01-04 00:00", &t));
  EXPECT_EQ(0, t.weekday);  // Sunday, before March (year shift)
  ASSERT_TRUE(ParseLocalTime("2024-03-01 00:00", &t));
  EXPECT_EQ(5, t.weekday);

  for (const char* bad :
       {"2026-02-29 10:00", "1900-02-29 10:00", "2026-13-01 10:00",
        "2026-11-31 10:00", "2026-11-18 24:00", "2026-11-18 10:60",
        "2026-11-18 10:00:", "2026-11-18 10:00:00Z", "2026-11-18", "",
        "26-11-18 10:00", "2026/11/18 10:00"}) {
    EXPECT_FALSE(ParseLocalTime(bad, &t)) << bad;
  }
}

TEST(RecordReaderTest, CsvByHeaderNameWithQuotes) {
  RecordReader reader;
  ConnectionRecord r;
  std::string error;
  // Columns in another order, an unknown column, no mac column.
  EXPECT_EQ(RecordReader::kSkip,
            reader.Feed("  ", 1, &r, &error));  // blank lines before it
  EXPECT_EQ(RecordReader::kSkip,
            reader.Feed("transport,second_port,second_ip,note,url,first_port,"
                        "first_ip,time",
                        2, &r, &error));
  ASSERT_EQ(RecordReader::kRecord,
            reader.Feed("UDP, 53 ,8.8.8.8,\"a, \"\"quoted\"\" note\","
                        "\"http://x.example/a,b\",40000,10.10.2.15,"
                        "2026-11-18 09:15",
                        3, &r, &error))
      << error;
  EXPECT_FALSE(reader.is_json());
  EXPECT_FALSE(reader.unusable());
  EXPECT_EQ(3, r.line);
  EXPECT_EQ(QUARN_TRANSPORT_UDP, r.transport);
  EXPECT_EQ(0x0A0A020Fu, r.addr.first_ip);
  EXPECT_EQ(40000, r.addr.first_port);
  EXPECT_EQ(0x08080808u, r.addr.second_ip);
  EXPECT_EQ(53, r.addr.second_port);
  EXPECT_EQ("http://x.example/a,b", r.url);
  EXPECT_FALSE(r.has_mac);
  EXPECT_EQ("2026-11-18 09:15", r.time_text);

  // A short row leaves the later columns empty: url is optional, time not.
  EXPECT_EQ(RecordReader::kError,
            reader.Feed("tcp,80,1.2.3.4,,,5,10.10.2.15", 4, &r, &error));
  EXPECT_EQ("field \"time\": missing", error);
}

TEST(RecordReaderTest, CsvBadFieldsAreNamed) {
  const std::string header =
      "time,first_ip,first_port,second_ip,second_port,transport,url,mac";
  const struct {
    const char* line;
    const char* field;
  } cases[] = {
      {"2026-11-18 09:15,10.10.2.300,1,1.2.3.4,80,tcp,,", "first_ip"},
      {"2026-11-18 09:15,10.10.2.3,65536,1.2.3.4,80,tcp,,", "first_port"},
      {"2026-11-18 09:15,10.10.2.3,-1,1.2.3.4,80,tcp,,", "first_port"},
      {"2026-11-18 09:15,10.10.2.3,1,1.2.3,80,tcp,,", "second_ip"},
      {"2026-11-18 09:15,10.10.2.3,1,1.2.3.4,8o,tcp,,", "second_port"},
      {"2026-11-18 09:15,10.10.2.3,1,1.2.3.4,80,icmp,,", "transport"},
      {"2026-11-18 09:15,10.10.2.3,1,1.2.3.4,80,tcp,,00-1A-2B", "mac"},
      {"2026-02-30 09:15,10.10.2.3,1,1.2.3.4,80,tcp,,", "time"},
  };
  RecordReader reader;
  ConnectionRecord r;
  std::string error;
  ASSERT_EQ(RecordReader::kSkip, reader.Feed(header, 1, &r, &error));
  int line = 2;
  for (const auto& c : cases) {
    EXPECT_EQ(RecordReader::kError, reader.Feed(c.line, line++, &r, &error))
        << c.line;
    EXPECT_EQ(0u, error.find(std::string("field \"") + c.field + "\""))
        << error;
  }
  // The reader goes on after bad records.
  ASSERT_EQ(RecordReader::kRecord,
            reader.Feed("2026-11-18 09:15,10.10.2.3,1,1.2.3.4,80,tcp,,"
                        "00-1a-2b-3c-4d-01",
                        line, &r, &error));
  EXPECT_TRUE(r.has_mac);
  EXPECT_EQ(0x01, r.mac[5]);

  RecordReader unterminated;
  ASSERT_EQ(RecordReader::kSkip, unterminated.Feed(header, 1, &r, &error));
  EXPECT_EQ(RecordReader::kError,
            unterminated.Feed("2026-11-18 09:15,\"10.10.2.3,1", 2, &r, &error));
  EXPECT_NE(std::string::npos, error.find("unterminated"));

  RecordReader no_port;
  EXPECT_EQ(RecordReader::kError,
            no_port.Feed("time,first_ip,second_ip,second_port,transport", 1, &r,
                         &error));
  EXPECT_EQ("header: no column \"first_port\"", error);
  EXPECT_TRUE(no_port.unusable());
  EXPECT_EQ(RecordReader::kError,
            no_port.Feed("2026-11-18 09:15,1.2.3.4", 2, &r, &error));
}

TEST(RecordReaderTest, CsvWithByteOrderMarkAndHeaderInAnyCase) {
  RecordReader reader;
  ConnectionRecord r;
  std::string error;
  // A spreadsheet's export: a byte-order mark, capitalized names, CRLF
  // already taken off by the line reader.
  ASSERT_EQ(RecordReader::kSkip,
            reader.Feed("\xEF\xBB\xBFTime,First_IP,FIRST_PORT,Second_Ip,"
                        "second_port,Transport,URL,Mac",
                        1, &r, &error))
      << error;
  ASSERT_EQ(RecordReader::kRecord,
            reader.Feed("2026-11-18 09:15,10.10.2.15,1,1.2.3.4,80,Tcp,"
                        "x.example/,00-1A-2B-3C-4D-01",
                        2, &r, &error))
      << error;
  EXPECT_EQ("2026-11-18 09:15", r.time_text);
  EXPECT_EQ("x.example/", r.url);
  EXPECT_TRUE(r.has_mac);
  // The mark counts only at the very start of the input.
  RecordReader late;
  ASSERT_EQ(RecordReader::kSkip,
            late.Feed("time,first_ip,first_port,second_ip,second_port,"
                      "transport",
                      1, &r, &error));
  EXPECT_EQ(RecordReader::kError,
            late.Feed("\xEF\xBB\xBF"
                      "2026-11-18 09:15,10.10.2.15,1,1.2.3.4,80,tcp",
                      2, &r, &error));
  EXPECT_EQ(0u, error.find("field \"time\""));
}

TEST(RecordReaderTest, JsonLines) {
  RecordReader reader;
  ConnectionRecord r;
  std::string error;
  // Unknown members of every type, nested ones too, are passed over;
  // ports as integers or texts; null is an absent field.
  ASSERT_EQ(RecordReader::kRecord,
            reader.Feed(" {\"time\": \"2026-11-18 09:15:00\", \"first_ip\": "
                        "\"10.10.2.15\", \"first_port\": 40000, \"second_ip\":"
                        "\"1.2.3.4\",\"second_port\":\"443\",\"transport\":"
                        "\"tcp\",\"url\":\"a.example/\\\"q\\\"\",\"mac\":null,"
                        "\"extra\":12.5,\"tags\":[1,{\"a\":[]}],\"n\":{\"m\":"
                        "{\"url\":3}},\"ok\":true,\"none\":null} ",
                        1, &r, &error))
      << error;
  EXPECT_TRUE(reader.is_json());
  EXPECT_EQ(40000, r.addr.first_port);
  EXPECT_EQ(443, r.addr.second_port);
  EXPECT_EQ("a.example/\"q\"", r.url);
  EXPECT_FALSE(r.has_mac);

  // \u escapes, a surrogate pair among them, in names and values; a UTF-8
  // URL reaches the library in its code page (GBK), a character GBK lacks
  // as "?".
  ASSERT_EQ(RecordReader::kRecord,
            reader.Feed("{\"\\u0074ime\":\"2026-11-18\\u002009:15\","
                        "\"first_ip\":\"10.10.2.15\",\"first_port\":1,"
                        "\"second_ip\":\"1.2.3.4\",\"second_port\":2,"
                        "\"transport\":\"UDP\",\"url\":\"x.example/"
                        "\\u8d22\\ud83d\\ude00\"}",
                        2, &r, &error))
      << error;
  EXPECT_EQ("2026-11-18 09:15", r.time_text);
  EXPECT_EQ(QUARN_TRANSPORT_UDP, r.transport);
  EXPECT_EQ("x.example/\xB2\xC6?", r.url);

  const struct {
    const char* line;
    const char* expected;
  } bad[] = {
      {"{\"time\":\"2026-11-18 09:15\",\"first_ip\":\"10.10.2.15\"}",
       "field \"first_port\": missing"},
      {"{\"time\":\"2026-11-18 09:15\",\"first_ip\":\"10.10.2.15\","
       "\"first_port\":1,\"second_ip\":\"1.2.3.4\",\"second_port\":99999,"
       "\"transport\":\"tcp\"}",
       "field \"second_port\": not a port 0-65535: \"99999\""},
      {"{\"time\":\"2026-11-18 09:15\",\"first_ip\":\"10.10.2.15\","
       "\"first_port\":-1,\"second_ip\":\"1.2.3.4\",\"second_port\":80,"
       "\"transport\":\"tcp\"}",
       "field \"first_port\": not a port 0-65535: \"-1\""},
      {"{\"time\":{\"a\":1}}", "field \"time\": not a text or an integer"},
      {"{\"first_port\":80.0}",
       "field \"first_port\": not a text or an integer"},
      {"{\"url\":[\"a\"]}", "field \"url\": not a text or an integer"},
      {"{\"url\":true}", "field \"url\": not a text or an integer"},
      {"{\"time\":\"2026-11-18 09:15\",\"time\":null}",
       "field \"time\": missing"},
      {"{\"time\" \"x\"}", nullptr},
      {"{\"time\":\"x\"} trailing", nullptr},
      {"{\"time\":\"x\"", nullptr},
      {"{time:1}", nullptr},
      {"{\"url\":\"bad \\x escape\"}", nullptr},
      {"{\"url\":\"\xC3\x28\"}", nullptr},  // not UTF-8
  };
  for (const auto& c : bad) {
    EXPECT_EQ(RecordReader::kError, reader.Feed(c.line, 3, &r, &error))
        << c.line;
    if (c.expected != nullptr) {
      EXPECT_EQ(c.expected, error) << c.line;
    } else {
      EXPECT_EQ(0u, error.find("not valid JSON: ")) << c.line << ": " << error;
    }
  }
  EXPECT_EQ(RecordReader::kError, reader.Feed("[1,2]", 4, &r, &error));
  EXPECT_EQ("not a JSON object", error);
  EXPECT_EQ(RecordReader::kSkip, reader.Feed("", 5, &r, &error));
}

TEST(RecordReaderTest, RecordLengthIsCapped) {
  RecordReader reader;
  ConnectionRecord r;
  std::string error;
  const std::string head =
      "{\"time\":\"2026-11-18 09:15\",\"first_ip\":\"10.10.2.15\","
      "\"first_port\":1,\"second_ip\":\"1.2.3.4\",\"second_port\":2,"
      "\"transport\":\"tcp\",\"url\":\"x.example/";
  std::string at_limit = head + std::string(kMaxRecordBytes, 'a') + "\"}";
  at_limit.erase(head.size(), at_limit.size() - kMaxRecordBytes);
  ASSERT_EQ(kMaxRecordBytes, at_limit.size());
  EXPECT_EQ(RecordReader::kRecord, reader.Feed(at_limit, 1, &r, &error))
      << error;
  EXPECT_EQ(RecordReader::kError, reader.Feed(at_limit + " ", 2, &r, &error));
  EXPECT_EQ("record longer than 65536 bytes", error);
}

// Every line of `text` read through a LineReader of lines up to 8 bytes
// that reads 11 bytes at a time: the lines, "<long N>" for each line
// skipped, and "<end>".
std::vector<std::string> ReadLines(const std::string& text) {
  FILE* file = tmpfile();
  fwrite(text.data(), 1, text.size(), file);
  fflush(file);
  lseek(fileno(file), 0, SEEK_SET);
  LineReader reader(fileno(file), 8, false, 11);
  std::vector<std::string> got;
  std::string_view line;
  for (;;) {
    const LineReader::Status status = reader.Next(&line);
    if (status == LineReader::kLine) {
      got.emplace_back(line);
    } else if (status == LineReader::kTooLong) {
      got.push_back("<long " + std::to_string(reader.line_number()) + ">");
    } else {
      got.push_back(status == LineReader::kEnd ? "<end>" : "<error>");
      break;
    }
  }
  EXPECT_EQ(LineReader::kEnd, reader.Next(&line));  // and it stays there
  fclose(file);
  return got;
}

TEST(LineReaderTest, LinesAcrossReadsLongLinesSkippedWhole) {
  EXPECT_EQ((std::vector<std::string>{"12345678", "", "ab", "<long 4>", "c",
                                      "<long 6>", "<long 7>", "12345678",
                                      "tail", "<end>"}),
            ReadLines("12345678\r\n\nab\n123456789\nc\n"
                      "1234567890123456789012345\r\n"
                      "123456789\r\n12345678\r\ntail"));
  EXPECT_EQ((std::vector<std::string>{"<long 1>", "<end>"}),
            ReadLines(std::string(30, 'x')));
  EXPECT_EQ((std::vector<std::string>{"<end>"}), ReadLines(""));

  // A read that fails is an error, not the end of the input.
  const int dir = open(".", O_RDONLY | O_DIRECTORY);
  ASSERT_GE(dir, 0);
  LineReader reader(dir, 8);
  std::string_view line;
  EXPECT_EQ(LineReader::kError, reader.Next(&line));
  EXPECT_EQ(EISDIR, reader.error());
  close(dir);
}

}  // namespace
}  // namespace quarn_tool

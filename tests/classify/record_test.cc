// Reading connection records from CSV and JSON Lines, good and bad.

#include <string>

#include <gtest/gtest.h>

#include "tools/common/ConnectionRecord.h"

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

TEST(RecordReaderTest, JsonLines) {
  RecordReader reader;
  ConnectionRecord r;
  std::string error;
  ASSERT_EQ(RecordReader::kRecord,
            reader.Feed(" {\"time\": \"2026-11-18 09:15:00\", \"first_ip\": "
                        "\"10.10.2.15\", \"first_port\": 40000, \"second_ip\":"
                        "\"1.2.3.4\",\"second_port\":\"443\",\"transport\":"
                        "\"tcp\",\"url\":\"a.example/\\\"q\\\"\",\"mac\":null,"
                        "\"extra\":12.5} ",
                        1, &r, &error))
      << error;
  EXPECT_TRUE(reader.is_json());
  EXPECT_EQ(40000, r.addr.first_port);
  EXPECT_EQ(443, r.addr.second_port);
  EXPECT_EQ("a.example/\"q\"", r.url);
  EXPECT_FALSE(r.has_mac);

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
      {"{\"time\" \"x\"}", "field \"time\": no ':' after the key"},
      {"{\"time\":\"x\"} trailing", "text after the end of the object"},
      {"{\"time\":{\"a\":1}}", "field \"time\": not a text or a number"},
      {"{\"time\":\"x\"",
       "field \"time\": expected ',' or '}' after the value"},
      {"{time:1}", "not a JSON object of fields (bad key)"},
  };
  for (const auto& c : bad) {
    EXPECT_EQ(RecordReader::kError, reader.Feed(c.line, 2, &r, &error))
        << c.line;
    EXPECT_EQ(c.expected, error) << c.line;
  }
  EXPECT_EQ(RecordReader::kSkip, reader.Feed("", 3, &r, &error));
}

}  // namespace
}  // namespace quarn_tool

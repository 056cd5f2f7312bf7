#include "tools/common/ClassificationOutput.h"

#include "tools/common/VerdictOutput.h"

namespace quarn_tool {

namespace {

void Evidence(bool explain, const std::string& text, JsonWriter* json) {
  if (!explain) return;
  json->Key("evidence");
  json->Gbk(text);
}

void WriteWho(const Classification& c, bool explain, JsonWriter* json) {
  json->Key("employee");
  if (c.has_employee) {
    json->BeginObject();
    json->Key("name");
    json->Gbk(c.employee);
    json->Key("department_id");
    json->Uint(c.employee_dep_id);
    json->Key("department");
    json->Gbk(c.employee_dep);
    json->EndObject();
  } else {
    json->Null();
  }
  json->Key("account");
  if (c.signed_in) {
    json->BeginObject();
    json->Key("did");
    json->Uint(c.account_did);
    json->Key("name");
    json->Gbk(c.account);
    json->EndObject();
  } else {
    json->Null();
  }
  if (explain) {
    json->Key("who_evidence");
    json->Gbk(c.employee_evidence);
  }
}

void WriteUrl(const Classification& c, bool explain, JsonWriter* json) {
  json->Key("url");
  if (!c.has_url) {
    json->Null();
    return;
  }
  json->BeginObject();
  WriteUrlFields(c, explain, json);
  json->EndObject();
}

}  // namespace

// Dotted form of a host-order address, written by hand: formatting
// addresses through printf was a visible share of the time per connection.
namespace {

// Writes the dotted form of `ip` at `out` (room for 15 bytes); returns
// its length.
size_t FormatIp(uint32_t ip, char* out) {
  char* p = out;
  for (int shift = 24; shift >= 0; shift -= 8) {
    unsigned octet = (ip >> shift) & 0xFF;
    if (octet >= 100) *p++ = static_cast<char>('0' + octet / 100);
    if (octet >= 10) *p++ = static_cast<char>('0' + octet / 10 % 10);
    *p++ = static_cast<char>('0' + octet % 10);
    if (shift > 0) *p++ = '.';
  }
  return static_cast<size_t>(p - out);
}

// "a.b.c.d:port" at `out` (room for 21 bytes); returns its length.
size_t FormatEndpoint(uint32_t ip, uint16_t port, char* out) {
  size_t n = FormatIp(ip, out);
  out[n++] = ':';
  char digits[5];
  int count = 0;
  unsigned value = port;
  do {
    digits[count++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  while (count > 0) out[n++] = digits[--count];
  return n;
}

}  // namespace

std::string IpText(uint32_t ip) {
  char buffer[16];
  return std::string(buffer, FormatIp(ip, buffer));
}

std::string Endpoint(uint32_t ip, uint16_t port) {
  char buffer[24];
  return std::string(buffer, FormatEndpoint(ip, port, buffer));
}

namespace {

// The two write straight into the JSON, without a string in between: they
// come four times in every line.
void WriteIp(uint32_t ip, JsonWriter* json) {
  char buffer[16];
  json->Utf8(std::string_view(buffer, FormatIp(ip, buffer)));
}

void WriteEndpoint(uint32_t ip, uint16_t port, JsonWriter* json) {
  char buffer[24];
  json->Utf8(std::string_view(buffer, FormatEndpoint(ip, port, buffer)));
}

}  // namespace

void WriteNamedList(const std::vector<NamedId>& list, const char* id_key,
                    bool explain, JsonWriter* json) {
  json->BeginArray();
  for (const NamedId& item : list) {
    json->BeginObject();
    json->KeyText(id_key);
    json->Uint(item.id);
    json->Key("name");
    json->Gbk(item.name);
    if (explain && !item.evidence.empty()) Evidence(true, item.evidence, json);
    json->EndObject();
  }
  json->EndArray();
}

void WriteArea(const NamedId& area, JsonWriter* json) {
  json->BeginObject();
  json->Key("id");
  json->Hex(area.id);
  json->Key("name");
  json->Gbk(area.name);
  json->EndObject();
}

void WriteUrlFields(const Classification& c, bool explain, JsonWriter* json) {
  json->Key("url");
  json->Gbk(c.url);
  json->Key("system");
  WriteNamedList(c.sys_categories, "bit", false, json);
  json->Key("user");
  WriteNamedList(c.user_categories, "bit", false, json);
  json->Key("type_name");
  json->Gbk(c.url_type_name);
  json->Key("white");
  json->Bool(c.white);
  Evidence(explain, c.url_evidence, json);
}

void WriteObjectSet(const char* key, uint64_t mask,
                    const std::vector<NamedId>& list, bool explain,
                    const std::string& evidence, JsonWriter* json) {
  json->KeyText(key);
  json->BeginObject();
  json->Key("mask");
  json->Hex(mask);
  json->Key("objects");
  WriteNamedList(list, "id", explain, json);
  if (!evidence.empty()) Evidence(explain, evidence, json);
  json->EndObject();
}

std::string JoinNames(const std::vector<NamedId>& list, Utf8Cache* cache) {
  std::string text;
  for (const NamedId& item : list) {
    if (!text.empty()) text += ",";
    text += cache->Get(item.name);
  }
  return text.empty() ? "-" : text;
}

void WriteClassificationJson(const ConnectionRecord& record,
                             const Classification& c,
                             const ConnectionVerdict* verdict,
                             VerdictJsonWriter* verdicts, bool explain,
                             JsonWriter* json) {
  json->Clear();
  json->BeginObject();
  WriteClassificationMembers(record, c, verdict, verdicts, explain, json);
  json->EndObject();
}

void WriteClassificationMembers(const ConnectionRecord& record,
                                const Classification& c,
                                const ConnectionVerdict* verdict,
                                VerdictJsonWriter* verdicts, bool explain,
                                JsonWriter* json) {
  json->Key("line");
  json->Int(record.line);
  json->Key("time");
  json->Utf8(record.time_text);
  json->Key("first");
  WriteEndpoint(record.addr.first_ip, record.addr.first_port, json);
  json->Key("second");
  WriteEndpoint(record.addr.second_ip, record.addr.second_port, json);
  json->Key("transport");
  json->Utf8(record.transport == QUARN_TRANSPORT_UDP ? "udp" : "tcp");

  json->Key("client");
  json->BeginObject();
  json->Key("dir");
  json->Utf8(CsDirName(c.cs_dir));
  Evidence(explain, c.cs_evidence, json);
  json->EndObject();
  json->Key("data_dir");
  json->BeginObject();
  json->Key("dir");
  json->Utf8(DataDirName(c.data_dir));
  Evidence(explain, c.data_dir_evidence, json);
  json->EndObject();

  json->Key("inside");
  json->BeginObject();
  json->Key("ip");
  WriteIp(c.inside_ip, json);
  json->Key("port");
  json->Uint(c.inside_port);
  json->Key("class_id");
  json->Uint(c.class_id);
  json->Key("class");
  json->Gbk(c.class_name);
  json->Key("server");
  json->Bool(c.inside_server);
  Evidence(explain, c.class_evidence, json);
  json->EndObject();

  json->Key("outside");
  json->BeginObject();
  json->Key("ip");
  WriteIp(c.outside_ip, json);
  json->Key("port");
  json->Uint(c.outside_port);
  json->Key("area1");
  WriteArea(c.area1, json);
  json->Key("area2");
  WriteArea(c.area2, json);
  json->EndObject();

  json->Key("app");
  json->BeginObject();
  json->Key("id");
  json->Uint(c.appid);
  json->Key("name");
  json->Gbk(c.app_name);
  json->Key("source");
  json->Utf8(c.user_defined_app ? "user-defined" : "unknown");
  Evidence(explain, c.app_evidence, json);
  json->EndObject();

  WriteUrl(c, explain, json);
  WriteObjectSet("ip_objects", c.ip_object_mask, c.ip_objects, explain,
                 std::string(), json);
  WriteObjectSet("time_objects", c.time_object_mask, c.time_objects, explain,
                 c.time_evidence, json);
  WriteWho(c, explain, json);
  if (verdict != nullptr) verdicts->Write(*verdict, explain, json);
}

std::vector<std::string> ClassificationTitles() {
  return {"line",       "time",         "client",   "inside",  "class",
          "outside",    "area",         "app",      "url",     "white",
          "ip objects", "time objects", "employee", "account", "verdict"};
}

void ClassificationCells(const ConnectionRecord& record,
                         const Classification& c,
                         const ConnectionVerdict* verdict, Utf8Cache* cache,
                         std::vector<std::string>* cells) {
  cells->clear();
  cells->push_back(std::to_string(record.line));
  cells->push_back(record.time_text);
  cells->push_back(c.cs_dir == DIR_CS_FIRST_SERVER ? "second" : "first");
  cells->push_back(Endpoint(c.inside_ip, c.inside_port));
  cells->push_back(cache->Get(c.class_name));
  cells->push_back(Endpoint(c.outside_ip, c.outside_port));
  cells->push_back(cache->Get(c.area2.name));
  cells->push_back(std::to_string(c.appid) + " " + cache->Get(c.app_name));
  if (c.has_url) {
    std::vector<NamedId> all = c.sys_categories;
    all.insert(all.end(), c.user_categories.begin(), c.user_categories.end());
    cells->push_back(JoinNames(all, cache));
    cells->push_back(c.white ? "yes" : "no");
  } else {
    cells->push_back("-");
    cells->push_back("-");
  }
  cells->push_back(JoinNames(c.ip_objects, cache));
  cells->push_back(JoinNames(c.time_objects, cache));
  cells->push_back(c.has_employee ? cache->Get(c.employee) : "-");
  cells->push_back(c.signed_in ? cache->Get(c.account) : "-");
  cells->push_back(verdict != nullptr ? VerdictCell(*verdict) : "");
}

void ClassificationNotes(const Classification& c,
                         const ConnectionVerdict* verdict, Utf8Cache* cache,
                         std::vector<std::string>* notes) {
  notes->clear();
  auto note = [&](const char* what, const std::string& evidence) {
    if (!evidence.empty()) notes->push_back(what + cache->Get(evidence));
  };
  note("client: ", c.cs_evidence);
  note("data direction: ", c.data_dir_evidence);
  note("class: ", c.class_evidence);
  note("app: ", c.app_evidence);
  note("url: ", c.url_evidence);
  for (const NamedId& object : c.ip_objects) {
    note(("ip object " + cache->Get(object.name) + ": ").c_str(),
         object.evidence);
  }
  note("time: ", c.time_evidence);
  for (const NamedId& object : c.time_objects) {
    note(("time object " + cache->Get(object.name) + ": ").c_str(),
         object.evidence);
  }
  note("employee: ", c.employee_evidence);
  if (verdict != nullptr) VerdictNotes(*verdict, cache, notes);
}

}  // namespace quarn_tool

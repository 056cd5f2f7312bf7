#include <string.h>

#include "tools/capture/NameExtract_internal.h"

namespace quarn_tool {

namespace {

constexpr std::string_view kMethods[] = {
    "GET ",     "POST ",    "HEAD ",  "PUT ",   "DELETE ",
    "OPTIONS ", "CONNECT ", "TRACE ", "PATCH ",
};

std::string_view View(const uint8_t* data, size_t len) {
  return std::string_view(reinterpret_cast<const char*>(data), len);
}

// The method `text` starts with (or is a prefix of); empty when none.
std::string_view MethodOf(std::string_view text) {
  for (std::string_view method : kMethods) {
    const size_t n = text.size() < method.size() ? text.size() : method.size();
    if (n > 0 && text.compare(0, n, method, 0, n) == 0) return method;
  }
  return {};
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) {
    s.remove_prefix(1);
  }
  while (!s.empty() &&
         (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) {
    s.remove_suffix(1);
  }
  return s;
}

bool IsHostHeader(std::string_view line) {
  return line.size() >= 5 && strncasecmp(line.data(), "host:", 5) == 0;
}

// `authority` without its port: "[::1]:80" gives "[::1]", "a.b:8080"
// gives "a.b".
std::string_view WithoutPort(std::string_view authority) {
  if (!authority.empty() && authority.front() == '[') {
    const size_t close = authority.find(']');
    return close == std::string_view::npos ? authority
                                           : authority.substr(0, close + 1);
  }
  return authority.substr(0, authority.find(':'));
}

// Splits an absolute target "http://host/path" into its authority and
// path; other targets are paths already.
void SplitTarget(std::string_view target, std::string_view* authority,
                 std::string_view* path) {
  const size_t scheme = target.find("://");
  if (target.empty() || target.front() == '/' ||
      scheme == std::string_view::npos) {
    *path = target;
    return;
  }
  std::string_view rest = target.substr(scheme + 3);
  const size_t slash = rest.find('/');
  *authority = rest.substr(0, slash);
  *path = slash == std::string_view::npos ? std::string_view("/")
                                          : rest.substr(slash);
}

// Reads the request line into *out; false when it is not HTTP.
bool ParseRequestLine(std::string_view line, std::string_view method,
                      HttpRequestName* out) {
  if (line.size() < method.size()) return false;
  const std::string_view rest = Trim(line.substr(method.size()));
  const size_t space = rest.find(' ');
  if (space == std::string_view::npos) return false;
  const std::string_view version = Trim(rest.substr(space + 1));
  if (version.substr(0, 5) != "HTTP/") return false;
  const std::string_view target = rest.substr(0, space);
  std::string_view authority;
  if (method == "CONNECT ") {
    authority = target;
  } else {
    SplitTarget(target, &authority, &out->path);
  }
  out->host_port = authority;
  return true;
}

uint32_t Be16(const uint8_t* p) { return (uint32_t{p[0]} << 8) | p[1]; }
uint32_t Be24(const uint8_t* p) { return (uint32_t{p[0]} << 16) | Be16(p + 1); }

// A cursor over a ClientHello body that may have been cut short.
struct Cursor {
  const uint8_t* p;
  size_t left;
  bool Need(size_t n) const { return left >= n; }
  void Skip(size_t n) {
    p += n;
    left -= n;
  }
};

// The server name extension (type 0) of the extensions in `c`.
ExtractResult FindSni(Cursor c, bool complete, std::string_view* sni) {
  const ExtractResult cut = complete ? kExtractNo : kExtractMore;
  if (!c.Need(2)) return complete ? kExtractFound : kExtractMore;
  c.Skip(2);  // the extensions' length: the handshake length bounds them
  while (c.left > 0) {
    if (!c.Need(4)) return cut;
    const uint32_t type = Be16(c.p);
    const uint32_t len = Be16(c.p + 2);
    c.Skip(4);
    if (type != 0) {
      if (!c.Need(len)) return cut;
      c.Skip(len);
      continue;
    }
    if (!c.Need(5) || !c.Need(len)) return cut;
    const uint32_t name_len = Be16(c.p + 3);
    if (c.p[2] != 0 || name_len + 5 > len) return kExtractNo;
    *sni = View(c.p + 5, name_len);
    return kExtractFound;
  }
  return complete ? kExtractFound : kExtractMore;
}

// `hello` holds the handshake from its four-byte header on; `complete`
// says whether it holds all of it.
ExtractResult ParseHelloBody(const uint8_t* hello, size_t len, bool complete,
                             std::string_view* sni) {
  const ExtractResult cut = complete ? kExtractNo : kExtractMore;
  Cursor c{hello + 4, len - 4};
  if (!c.Need(2 + 32 + 1)) return cut;
  c.Skip(2 + 32);
  const size_t session = c.p[0];
  if (!c.Need(1 + session + 2)) return cut;
  c.Skip(1 + session);
  const size_t suites = Be16(c.p);
  if (!c.Need(2 + suites + 1)) return cut;
  c.Skip(2 + suites);
  const size_t methods = c.p[0];
  if (!c.Need(1 + methods)) return cut;
  c.Skip(1 + methods);
  return FindSni(c, complete, sni);
}

}  // namespace

bool LooksLikeHttpRequest(const uint8_t* data, size_t len) {
  return !MethodOf(View(data, len)).empty();
}

ExtractResult ParseHttpRequest(const uint8_t* data, size_t len, bool final,
                               HttpRequestName* out) {
  *out = HttpRequestName();
  const std::string_view text = View(data, len);
  const std::string_view method = MethodOf(text);
  if (method.empty()) return kExtractNo;
  const ExtractResult more = final ? kExtractNo : kExtractMore;
  size_t eol = text.find('\n');
  if (text.size() < method.size() || eol == std::string_view::npos) {
    return more;
  }
  if (!ParseRequestLine(text.substr(0, eol), method, out)) return kExtractNo;
  bool have_host = false;
  while (!have_host) {
    const size_t start = eol + 1;
    eol = text.find('\n', start);
    if (eol == std::string_view::npos) break;
    const std::string_view line = text.substr(start, eol - start);
    if (Trim(line).empty()) break;  // the end of the header
    if (IsHostHeader(line)) {
      out->host_port = Trim(line.substr(5));
      have_host = true;
    }
  }
  if (!have_host && eol == std::string_view::npos && !final) {
    return kExtractMore;
  }
  out->host = WithoutPort(out->host_port);
  return kExtractFound;
}

bool LooksLikeTlsHandshake(const uint8_t* data, size_t len) {
  if (len < 1 || data[0] != 0x16) return false;
  if (len >= 2 && data[1] != 0x03) return false;
  return len < 3 || data[2] <= 0x04;
}

ExtractResult ParseClientHello(const uint8_t* data, size_t len,
                               std::vector<uint8_t>* scratch,
                               std::string_view* sni) {
  *sni = std::string_view();
  if (!LooksLikeTlsHandshake(data, len)) return kExtractNo;
  if (len < 9) return kExtractMore;
  const size_t first = Be16(data + 3);
  if (first >= 4) {
    if (data[5] != 1) return kExtractNo;  // not a ClientHello
    const size_t need = 4 + Be24(data + 6);
    if (first >= need || len <= 5 + first) {
      // The handshake lies in the first record, as far as it was seen.
      const size_t have = len - 5 < need ? len - 5 : need;
      return ParseHelloBody(data + 5, have, have == need, sni);
    }
  }
  // The handshake spans records: join their bodies.
  scratch->clear();
  for (size_t at = 0; at + 5 <= len;) {
    if (data[at] != 0x16) return kExtractNo;
    const size_t body = Be16(data + at + 3);
    const size_t have = len - at - 5 < body ? len - at - 5 : body;
    scratch->insert(scratch->end(), data + at + 5, data + at + 5 + have);
    at += 5 + body;
  }
  if (scratch->size() < 4) return kExtractMore;
  if ((*scratch)[0] != 1) return kExtractNo;
  const size_t need = 4 + Be24(scratch->data() + 1);
  const size_t have = scratch->size() < need ? scratch->size() : need;
  return ParseHelloBody(scratch->data(), have, have == need, sni);
}

}  // namespace quarn_tool

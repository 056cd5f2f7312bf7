// Host names from the first bytes a client sends on a TCP stream: the
// request line and Host header of an HTTP request, and the server name of
// a TLS ClientHello. Both read only the bytes given and allocate nothing
// but what the caller's scratch buffer holds.

#ifndef QUARN_TOOLS_CAPTURE_NAMEEXTRACT_INTERNAL_H_
#define QUARN_TOOLS_CAPTURE_NAMEEXTRACT_INTERNAL_H_

#include <stddef.h>
#include <stdint.h>

#include <string_view>
#include <vector>

namespace quarn_tool {

// The most bytes of an HTTP request header that are gathered.
constexpr size_t kMaxHttpHeader = 8192;
// The most bytes of a TLS ClientHello (with its record headers) that are
// gathered.
constexpr size_t kMaxClientHello = 16384 + 512;

enum ExtractResult {
  kExtractNo = 0,  // not this protocol, or malformed: stop looking
  kExtractMore,    // a beginning of it: more bytes are needed
  kExtractFound,   // done; the outputs are set (a name may be empty)
};

struct HttpRequestName {
  std::string_view host;       // the Host header (or the authority of an
                               // absolute target), without a port
  std::string_view host_port;  // the same with its port, as written
  std::string_view path;       // the request target without an authority
};

// Reads the start of a client's stream as an HTTP request. `final` says no
// more bytes will come (the header limit was reached): a request whose
// header has not ended is then read as far as it goes. The views point
// into `data`.
ExtractResult ParseHttpRequest(const uint8_t* data, size_t len, bool final,
                               HttpRequestName* out);

// Whether `data` may begin an HTTP request: it starts with a known method
// and a space, or with a prefix of one.
bool LooksLikeHttpRequest(const uint8_t* data, size_t len);

// Reads the start of a client's stream as TLS records carrying a
// ClientHello and sets *sni to its server name (empty when it has none).
// Handshakes split over several records are joined in `scratch`. The view
// points into `data` or `scratch`.
ExtractResult ParseClientHello(const uint8_t* data, size_t len,
                               std::vector<uint8_t>* scratch,
                               std::string_view* sni);

// Whether `data` may begin a TLS handshake record.
bool LooksLikeTlsHandshake(const uint8_t* data, size_t len);

}  // namespace quarn_tool

#endif  // QUARN_TOOLS_CAPTURE_NAMEEXTRACT_INTERNAL_H_

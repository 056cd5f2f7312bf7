// Feeds arbitrary bytes to the keyword match table's loaders, as an XML
// keyword file (first byte even) or a text file of "key,number" lines
// (first byte odd), then queries the table with pieces of the same file:
// its lines, the texts between tags and the fields between commas.
//
// Queries are independent of one another, so each must answer the same
// whether asked first, again, or after every other; and a load replaces
// what the table held, so a table that loaded the file twice must answer
// like one that loaded it once.

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/FuzzFiles.h"
#include "objects/CKeyTypeTable.h"

namespace {

using quarn_fuzz::Require;

const size_t kMaxQueries = 48;
const size_t kMaxQueryLength = 256;

// Pieces of `text` cut at any of `cuts`, each non-empty and at most
// kMaxQueryLength bytes, appended to `out` up to kMaxQueries in all.
void Cut(const std::string& text, const char* cuts,
         std::vector<std::string>* out) {
  size_t start = 0;
  while (start < text.size() && out->size() < kMaxQueries) {
    size_t end = text.find_first_of(cuts, start);
    if (end == std::string::npos) end = text.size();
    if (end > start) {
      out->push_back(
          text.substr(start, std::min(end - start, kMaxQueryLength)));
    }
    start = end + 1;
  }
}

struct Answers {
  uint64_t text, head, exact;
  bool operator==(const Answers& o) const {
    return text == o.text && head == o.head && exact == o.exact;
  }
  bool operator!=(const Answers& o) const { return !(*this == o); }
};

Answers Ask(CKeyTypeTable& table, const std::string& q) {
  return {table.TextMatch(q.data(), q.size()),
          table.HeadMatch(q.data(), q.size()),
          table.FindExact(q.data(), q.size())};
}

int Load(CKeyTypeTable& table, bool ini, const std::string& path) {
  return ini ? table.Load_ini(path.c_str()) : table.Load_xml(path.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const bool ini = data[0] & 1;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string path =
      quarn_fuzz::ScratchPath(ini ? "keywords.txt" : "keywords.xml");
  quarn_fuzz::WriteWholeFile(path, text.data(), text.size());

  CKeyTypeTable once;
  const int loaded = Load(once, ini, path);
  CKeyTypeTable twice;
  Load(twice, ini, path);
  Require(Load(twice, ini, path) == loaded, "a second load reads the same");
  Require(twice.KeyCount() == once.KeyCount(), "a load replaces the keys");
  Require(twice.GetVersion() == once.GetVersion(), "a load reads the version");

  std::vector<std::string> queries;
  queries.push_back(text.substr(0, kMaxQueryLength));
  Cut(text, "\r\n", &queries);
  Cut(text, "<>", &queries);
  Cut(text, ",\r\n", &queries);

  std::vector<Answers> first;
  for (const std::string& q : queries) {
    first.push_back(Ask(once, q));
    Require(Ask(once, q) == first.back(), "a query asked again");
  }
  for (size_t i = queries.size(); i-- > 0;) {
    Require(Ask(once, queries[i]) == first[i], "a query after the others");
    Require(Ask(twice, queries[i]) == first[i],
            "a table loaded twice answers like one loaded once");
  }
  std::string name;
  once.GetConfigName(name);
  once.Destroy();
  Require(once.TextMatch(text.data(), text.size()) == 0,
          "a destroyed table finds nothing");
  return 0;
}

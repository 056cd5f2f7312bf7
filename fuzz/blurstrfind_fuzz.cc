// blurstrfind against its slow model: the input is keys, one per line
// (zero bytes dropped, at most 64 keys), then a line "=", then the text.
// Any difference in what the two find aborts.

#include <stdint.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "base/CDataArray.h"
#include "filter/blurstrfind.h"
#include "tests/filter_search/BlurReference.h"

namespace {

std::vector<int64_t> Values(const CDataArray& out) {
  std::vector<int64_t> values;
  for (int i = 0; i < out.GetSize(); ++i) {
    values.push_back(static_cast<int64_t>(out[i]));
  }
  return values;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string input(reinterpret_cast<const char*>(data), size);
  size_t split = input.find("\n=\n");
  std::string keys = input.substr(0, split);
  std::string text =
      split == std::string::npos ? input : input.substr(split + 3);

  blurstrfind finder;
  quarn_test::BlurReference model;
  size_t start = 0;
  for (int value = 0; start <= keys.size() && value < 64; ++value) {
    size_t end = keys.find('\n', start);
    if (end == std::string::npos) end = keys.size();
    std::string key;
    for (size_t i = start; i < end; ++i) {
      if (keys[i] != '\0') key += keys[i];
    }
    int mine = finder.AddKey(key.data(), static_cast<int>(key.size()), value);
    if (mine != model.Add(key, value)) abort();
    start = end + 1;
  }

  CDataArray out;
  int n = finder.FindAllEx(text.data(), static_cast<int>(text.size()), out);
  if (n != out.GetSize() || Values(out) != model.Find(text, false)) abort();
  out.RemoveAll();
  n = finder.FindNumEx(text.data(), static_cast<int>(text.size()), out);
  if (n != out.GetSize() || Values(out) != model.Find(text, true)) abort();
  return 0;
}

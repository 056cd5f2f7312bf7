// Feeds arbitrary bytes to the URL type finder's database loader. The
// first byte says how (modulo 4): 0 as the system database in XML, 1 as
// an enciphered system database file as it stands, 2 as XML that is
// enciphered first (so the deciphered text reaches the XML reader), 3 as
// the administrator's database; bit 2 loads the administrator's patterns,
// bit 3 keeps pattern texts by category. The rest is the file.
//
// The loaded finder then classifies a few URLs and the pattern texts it
// kept: each answer must be the same when asked again, and a copy of the
// finder must classify exactly like the original.

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "base/CBaseXMLConfig.h"
#include "fuzz/FuzzFiles.h"
#include "url/CURL_Type_Finder_Ex.h"
#include "url/URLTypes.h"

namespace {

using quarn_fuzz::Require;

// Fragment entries per matcher slot: room for the seeds, small enough that
// a full slot is reached too.
const uint64_t kSlotCapacity = 1024;
const size_t kMaxQueries = 64;

const char* const kURLs[] = {
    "www.example.com/",
    "badsite.example.com/",
    "docs.example.com/api/v2",
    "download.example.net/setup.exe",
    "erp.corp.example.cn/login",
    "http://www.beijinzhi272.org/index.html",
    "https://jinchangxing.com/search?q=x",
    "www.leak.example.org/upload/file",
    "baqi.cn/news/2026/11",
    "update.example.com/patch",
    "",
};

// The pattern texts the finder kept for the categories of `names`.
void AddKeptTexts(const CURL_Type_Finder_Ex& finder,
                  const CSimpleURLTypeConfig& names,
                  std::vector<std::string>* urls) {
  for (const auto& category : names.url_db().types) {
    const std::vector<std::string>* texts =
        finder.GetNameByURLType(URL_TYPE(category.hitype, category.lotype));
    if (texts == nullptr) continue;
    for (const std::string& text : *texts) {
      if (urls->size() >= kMaxQueries) return;
      urls->push_back(text);
    }
  }
}

URL_GROUP_TYPE Classify(CURL_Type_Finder_Ex& finder, const std::string& url) {
  URL_GROUP_TYPE set;
  const int found =
      finder.find_url(url.data(), static_cast<int>(url.size()), set);
  Require(found == set.IsNotZero(), "find_url reports a non-empty set");
  return set;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const int mode = data[0] % 4;
  const int user_load = (data[0] >> 2) & 1;
  const int keep_names = (data[0] >> 3) & 1;
  const char* bytes = reinterpret_cast<const char*>(data + 1);
  const size_t length = size - 1;

  const std::string xml = quarn_fuzz::ScratchPath("url_db.xml");
  const std::string dat = quarn_fuzz::ScratchPath("url_db.dat");
  const char* sys_path = nullptr;
  const char* user_path = nullptr;
  if (mode == 0 || mode == 3) {
    quarn_fuzz::WriteWholeFile(xml, bytes, length);
    (mode == 0 ? sys_path : user_path) = xml.c_str();
  } else if (mode == 1) {
    quarn_fuzz::WriteWholeFile(dat, bytes, length);
    sys_path = dat.c_str();
  } else {
    Require(CBaseXMLConfig::SaveCryDataFile(dat.c_str(), bytes,
                                            static_cast<int>(length)) == 1,
            "an enciphered file is written");
    sys_path = dat.c_str();
  }

  CURL_Type_Finder_Ex finder;
  finder.init(kSlotCapacity, kSlotCapacity, kSlotCapacity, kSlotCapacity,
              kSlotCapacity, keep_names, kSlotCapacity, kSlotCapacity,
              kSlotCapacity, kSlotCapacity, kSlotCapacity, keep_names);
  finder.LoadURLDB(sys_path, user_path, user_load);

  std::vector<std::string> urls(std::begin(kURLs), std::end(kURLs));
  AddKeptTexts(finder, finder.system_names(), &urls);
  AddKeptTexts(finder, finder.user_names(), &urls);

  CURL_Type_Finder_Ex copy(finder);
  URL_GROUP_TYPE all;
  for (const std::string& url : urls) {
    const URL_GROUP_TYPE set = Classify(finder, url);
    Require(Classify(finder, url) == set, "a URL asked again");
    Require(Classify(copy, url) == set, "a copy classifies like the original");
    finder.GetURLTypeName(set);
    all.Union(set);
  }
  Require(finder.find_url(urls, all) == all.IsNotZero(),
          "classifying a list of URLs");

  // Reloading the administrator's database alone leaves the system's.
  if (mode == 3) {
    finder.ReLoadUserURLDB(user_path, user_load);
    for (const std::string& url : urls) {
      Require(Classify(finder, url) == Classify(copy, url),
              "reloading the same database classifies the same");
    }
  }
  finder.close();
  return 0;
}

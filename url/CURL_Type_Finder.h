// The URL classifier of one URL database: five pattern matchers, one per
// kind of pattern, and optionally the patterns listed by category.
//
//   slot            holds                                  stored as
//   host_www        match 0, begins with "www."            text after "www."
//   host            match 0, other (not ".x")              whole pattern
//   prefix_www      match != 0, begins with "www."         text after "www."
//   prefix          match != 0, other                      whole pattern
//   domain_suffix   match 0, begins with "." (2+ bytes)    text after the dot
//
// Match type 0 means the pattern occurs anywhere in the URL (after "www."
// where present); another match type means the URL begins with it. A
// pattern that is exactly "www." is not stored. Slots whose capacity is 0
// have no matcher and drop their patterns.
//
// Not thread-safe: classifying changes the matchers' search state. Copies
// are deep and independent.

#ifndef QUARN_URL_CURL_TYPE_FINDER_H_
#define QUARN_URL_CURL_TYPE_FINDER_H_

#include <stdint.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quarn_common/url/CBlurKeyMatcher.h"

template <class TYPE, class GROUP>
class CURL_Type_Finder {
 public:
  typedef CBlurKeyMatcher<TYPE, GROUP> Matcher;

  enum Slot {
    host_www = 0,
    host,
    prefix_www,
    prefix,
    domain_suffix,
    kSlotCount,
  };

  // Capacities (fragment entries) of the five slots, in Slot order, and
  // whether pattern texts are kept by category.
  struct Sizes {
    uint64_t slot[kSlotCount] = {0, 0, 0, 0, 0};
    int keep_names = 0;
  };

  // One category and the pattern texts added under it, as given (trimmed,
  // before "www." or the leading dot is cut off).
  typedef std::pair<TYPE, std::vector<std::string>> NameEntry;

  CURL_Type_Finder();
  CURL_Type_Finder(const CURL_Type_Finder& other);
  CURL_Type_Finder& operator=(const CURL_Type_Finder& other);
  ~CURL_Type_Finder();

  // Drops every matcher and the name list, then creates an empty matcher
  // for each slot of non-zero capacity.
  void Build(const Sizes& sizes);
  // Drops every matcher and the name list.
  void Release();

  // Adds one pattern of category `type` to the slot its text and `match`
  // choose. Returns 1 when a matcher took it, else 0. The text is recorded
  // in the name list (when kept) either way.
  int AddURL(const std::string& text, const TYPE& type, int match);

  // ORs into `result` the categories of every pattern the `length` bytes
  // at `url` match. Returns 1 when `result` is non-empty afterwards.
  int FindURL(const char* url, int length, GROUP& result);

  // The pattern texts kept for exactly `type`, or null. Valid until the
  // next Build, Release or AddURL.
  const std::vector<std::string>* GetNames(const TYPE& type) const;
  const std::vector<NameEntry>& names() const { return names_; }

  // The matcher of `slot`, or null when the slot has no capacity.
  const Matcher* matcher(Slot slot) const { return slots_[slot].get(); }
  int keep_names() const { return keep_names_; }

 private:
  void RecordName(const std::string& text, const TYPE& type);

  std::unique_ptr<Matcher> slots_[kSlotCount];
  int keep_names_;
  std::vector<NameEntry> names_;
};

#endif  // QUARN_URL_CURL_TYPE_FINDER_H_

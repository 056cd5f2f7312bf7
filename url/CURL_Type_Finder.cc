#include "url/CURL_Type_Finder.h"

#include "base/Export.h"
#include "url/URLTypes.h"
#include "url/internal/URLText.h"

template <class TYPE, class GROUP>
CURL_Type_Finder<TYPE, GROUP>::CURL_Type_Finder() : keep_names_(0) {}

template <class TYPE, class GROUP>
CURL_Type_Finder<TYPE, GROUP>::CURL_Type_Finder(const CURL_Type_Finder& other)
    : keep_names_(other.keep_names_), names_(other.names_) {
  for (int i = 0; i < kSlotCount; ++i) {
    if (other.slots_[i]) slots_[i].reset(new Matcher(*other.slots_[i]));
  }
}

template <class TYPE, class GROUP>
CURL_Type_Finder<TYPE, GROUP>& CURL_Type_Finder<TYPE, GROUP>::operator=(
    const CURL_Type_Finder& other) {
  if (this != &other) {
    CURL_Type_Finder copy(other);
    for (int i = 0; i < kSlotCount; ++i) slots_[i].swap(copy.slots_[i]);
    keep_names_ = copy.keep_names_;
    names_.swap(copy.names_);
  }
  return *this;
}

template <class TYPE, class GROUP>
CURL_Type_Finder<TYPE, GROUP>::~CURL_Type_Finder() {}

template <class TYPE, class GROUP>
void CURL_Type_Finder<TYPE, GROUP>::Release() {
  for (auto& slot : slots_) slot.reset();
  names_.clear();
}

template <class TYPE, class GROUP>
void CURL_Type_Finder<TYPE, GROUP>::Build(const Sizes& sizes) {
  Release();
  for (int i = 0; i < kSlotCount; ++i) {
    if (sizes.slot[i] != 0) slots_[i].reset(new Matcher(sizes.slot[i]));
  }
  keep_names_ = sizes.keep_names;
}

template <class TYPE, class GROUP>
int CURL_Type_Finder<TYPE, GROUP>::AddURL(const std::string& text,
                                          const TYPE& type, int match) {
  if (text.empty()) return 0;
  if (keep_names_) RecordName(text, type);
  if (text == "www.") return 0;
  const char* bytes = text.data();
  size_t length = text.size();
  Slot slot;
  if (quarn_url::BeginsWithWWW(bytes, length)) {
    slot = (match == 0) ? host_www : prefix_www;
    bytes += 4;
    length -= 4;
  } else if (match != 0) {
    slot = prefix;
  } else if (bytes[0] == '.' && length > 1) {
    slot = domain_suffix;
    bytes += 1;
    length -= 1;
  } else {
    slot = host;
  }
  Matcher* matcher = slots_[slot].get();
  if (matcher == nullptr) return 0;
  return matcher->AddKey(bytes, length, type);
}

template <class TYPE, class GROUP>
void CURL_Type_Finder<TYPE, GROUP>::RecordName(const std::string& text,
                                               const TYPE& type) {
  for (NameEntry& entry : names_) {
    if (entry.first.hitype == type.hitype &&
        entry.first.lotype == type.lotype) {
      entry.second.push_back(text);
      return;
    }
  }
  names_.emplace_back(type, std::vector<std::string>(1, text));
}

template <class TYPE, class GROUP>
int CURL_Type_Finder<TYPE, GROUP>::FindURL(const char* url, int length,
                                           GROUP& result) {
  if (url == nullptr || length <= 0) return result.IsNotZero();
  size_t n = static_cast<size_t>(length);
  if (n >= 5 && quarn_url::BeginsWithWWW(url, n)) {
    const char* rest = url + 4;
    size_t rest_length = n - 4;
    if (Matcher* m = slots_[prefix_www].get()) {
      m->PrefixSearch(rest, rest_length, result);
    }
    // From the dot of "www.", so the first label tried is the host itself.
    if (Matcher* m = slots_[domain_suffix].get()) {
      m->LabelSearch(url + 3, n - 3, result);
    }
    if (Matcher* m = slots_[host_www].get()) {
      m->ContainsSearch(rest, rest_length, result);
    }
    if (Matcher* m = slots_[host].get()) {
      m->ContainsSearch(rest, rest_length, result);
    }
  } else {
    if (Matcher* m = slots_[prefix].get()) m->PrefixSearch(url, n, result);
    if (Matcher* m = slots_[domain_suffix].get()) {
      m->LabelSearch(url, n, result);
    }
    if (Matcher* m = slots_[host].get()) m->ContainsSearch(url, n, result);
  }
  return result.IsNotZero();
}

template <class TYPE, class GROUP>
const std::vector<std::string>* CURL_Type_Finder<TYPE, GROUP>::GetNames(
    const TYPE& type) const {
  for (const NameEntry& entry : names_) {
    if (entry.first.hitype == type.hitype &&
        entry.first.lotype == type.lotype) {
      return &entry.second;
    }
  }
  return nullptr;
}

// The one instantiation, for the URL categories, is exported: the URL
// finder hands hosts its finders, and benchmarks use them alone.
template class QUARN_EXPORT CURL_Type_Finder<URL_TYPE, URL_GROUP_TYPE>;

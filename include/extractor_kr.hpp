/*
 * extractor-kr for C++: owners for what the C API hands out, so that an
 * extractor, the results of a call and the strings the library allocates
 * are freed on every path.
 *
 *   ekr::Extractor ex = ekr::OpenDefault();          // empty on failure
 *   if (!ex) { std::cerr << ekr_last_error(); ... }
 *   ekr_options o;
 *   ekr_options_init(&o);
 *   ekr::Results r;
 *   if (ekr::Extract(ex.get(), text, "202405151030", o, &r) == EKR_OK) {
 *     for (const ekr_result& e : ekr::Items(r.get())) { ... }
 *   }
 */
#ifndef EXTRACTOR_KR_HPP_
#define EXTRACTOR_KR_HPP_

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "extractor_kr.h"

namespace ekr {

struct ExtractorCloser {
  void operator()(ekr_extractor* e) const noexcept { ekr_close(e); }
};
struct ResultsFreer {
  void operator()(ekr_results* r) const noexcept { ekr_results_free(r); }
};
struct MallocFreer {
  void operator()(char* p) const noexcept { std::free(p); }
};

using Extractor = std::unique_ptr<ekr_extractor, ExtractorCloser>;
using Results = std::unique_ptr<ekr_results, ResultsFreer>;
using MallocString = std::unique_ptr<char, MallocFreer>;

// The bundled set; empty when it could not be opened (ekr_last_error says why).
inline Extractor OpenDefault() {
  ekr_extractor* e = nullptr;
  return ekr_open_default(&e) == EKR_OK ? Extractor(e) : Extractor();
}

// A directory of compiled files or of sources (dir NULL: the bundled set),
// with another settings file when `settings` is not NULL.
inline Extractor Open(const char* dir, const char* settings = nullptr) {
  ekr_extractor* e = nullptr;
  return ekr_open_with_settings(dir, settings, &e) == EKR_OK ? Extractor(e) : Extractor();
}

inline ekr_status Extract(const ekr_extractor* ex, std::string_view text, const char* reference,
                          const ekr_options& options, Results* out) {
  ekr_results* r = nullptr;
  const ekr_status s = ekr_extract_with(ex, text.data(), text.size(), reference, &options, &r);
  out->reset(r);
  return s;
}

// Options from ints, as a binding receives them from its language: the
// enums are stored as the ints given, byte for byte, so that a value that
// names nothing reaches the library's check (ekr_options_check words the
// problem) without C++ ever loading it as the enum.
inline ekr_options OptionsFromInts(int rules, int prefer, int32_t firstYear, int32_t lastYear) {
  static_assert(sizeof(ekr_rules) == sizeof(int) && sizeof(ekr_prefer) == sizeof(int),
                "the enums of the C API are ints");
  ekr_options o;
  ekr_options_init(&o);
  std::memcpy(&o.rules, &rules, sizeof rules);
  std::memcpy(&o.prefer, &prefer, sizeof prefer);
  o.min_year = firstYear;
  o.max_year = lastYear;
  return o;
}

// The results of a call as a range of ekr_result.
class Items {
 public:
  explicit Items(const ekr_results* r) : r_(r) {}
  class iterator {
   public:
    iterator(const ekr_results* r, size_t i) : r_(r), i_(i) {}
    const ekr_result& operator*() const { return *ekr_results_at(r_, i_); }
    iterator& operator++() {
      ++i_;
      return *this;
    }
    bool operator!=(const iterator& o) const { return i_ != o.i_; }

   private:
    const ekr_results* r_;
    size_t i_;
  };
  iterator begin() const { return {r_, 0}; }
  iterator end() const { return {r_, ekr_results_count(r_)}; }
  size_t size() const { return ekr_results_count(r_); }
  bool empty() const { return size() == 0; }

 private:
  const ekr_results* r_;
};

}  // namespace ekr

#endif  // EXTRACTOR_KR_HPP_

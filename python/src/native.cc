// extractor_kr._native: the library's C API for Python.  An extractor opened
// once serves every thread; the interpreter lock is let go while the engine
// runs, and a reader-writer lock keeps close() from freeing an extractor
// that a call is still using.  The names of the rule sets and preferences,
// their years and every problem in words are the library's.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "extractor_kr.h"
#include "extractor_kr.hpp"

namespace py = pybind11;

namespace {

// Dictionaries that cannot be used; raised as extractor_kr.DictionaryError.
struct DictionaryProblem : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Raises the error of a failed call as its status means it, in the
// library's words.
[[noreturn]] void Raise(ekr_status s, const std::string& detail) {
  switch (s) {
    case EKR_ERROR_MEMORY:
      throw std::bad_alloc();
    case EKR_ERROR_DICTIONARY:
    case EKR_ERROR_IO:
      throw DictionaryProblem(detail);
    default:
      throw py::value_error(detail);
  }
}

// The rule sets the header declares, in the order of their values.
constexpr ekr_rules kRuleSets[] = {EKR_RULES_READER, EKR_RULES_WHOLE_CALL};
constexpr ekr_prefer kPreferences[] = {EKR_PREFER_FUTURE, EKR_PREFER_PAST};

py::tuple Moment(const ekr_moment& m) {
  return py::make_tuple(m.year, m.month, m.day, m.hour, m.minute, m.second, m.has_date != 0,
                        m.has_time != 0, m.has_ampm != 0);
}

// Frees the results however the call ends.
struct ResultsOwner {
  ekr_results* r = nullptr;
  ~ResultsOwner() { ekr_results_free(r); }
};

class NativeExtractor {
 public:
  explicit NativeExtractor(ekr_extractor* ex) : ex_(ex) {}
  ~NativeExtractor() { ekr_close(ex_); }
  NativeExtractor(const NativeExtractor&) = delete;
  NativeExtractor& operator=(const NativeExtractor&) = delete;

  // (content, expressions); each expression is (is_span, lunar, cycle,
  // cycle_interval, start[9], end[9], begin, end) with the moments as
  // year .. second (-1 open), has_date, has_time, has_ampm, and the
  // positions in code points.  Raises ValueError, MemoryError with the
  // library's words.
  py::tuple Extract(const std::string& text, const std::string& reference, int rules,
                    int prefer, int32_t firstYear, int32_t lastYear) {
    const ekr_options options = ekr::OptionsFromInts(rules, prefer, firstYear, lastYear);
    ResultsOwner results;
    ekr_status s = EKR_OK;
    std::string problem;
    {
      py::gil_scoped_release free;
      std::shared_lock<std::shared_mutex> lock(mutex_);
      if (ex_ == nullptr) {
        s = EKR_ERROR_ARGUMENT;
        problem = "the extractor is closed";
      } else {
        s = ekr_extract_with(ex_, text.data(), text.size(), reference.c_str(), &options,
                             &results.r);
        // The error text is this thread's: read it before anything else runs.
        if (s != EKR_OK) problem = ekr_last_error();
      }
    }
    if (s != EKR_OK) Raise(s, problem);
    const size_t n = ekr_results_count(results.r);
    py::list expressions(n);
    for (size_t i = 0; i < n; ++i) {
      const ekr_result& e = *ekr_results_at(results.r, i);
      expressions[i] = py::make_tuple(e.is_span != 0, e.lunar != 0, static_cast<int>(e.cycle),
                                      e.cycle_interval, Moment(e.start), Moment(e.end),
                                      e.begin_char, e.end_char);
    }
    return py::make_tuple(py::str(ekr_results_content(results.r)), expressions);
  }

  void Close() {
    ekr_extractor* ex = nullptr;
    {
      py::gil_scoped_release free;
      std::unique_lock<std::shared_mutex> lock(mutex_);
      ex = ex_;
      ex_ = nullptr;
    }
    ekr_close(ex);
  }

 private:
  std::shared_mutex mutex_;
  ekr_extractor* ex_;
};

std::unique_ptr<NativeExtractor> Opened(ekr_status s, ekr_extractor* ex) {
  if (s != EKR_OK) Raise(s, ekr_last_error());
  return std::make_unique<NativeExtractor>(ex);
}

// The library's names of the values, in their order (a value is its
// index).
template <typename Enum, size_t N>
py::tuple Names(const char* (*name)(Enum), const Enum (&values)[N]) {
  py::list names;
  for (size_t k = 0; k < N; ++k) {
    if (static_cast<size_t>(values[k]) != k || name(values[k]) == nullptr) {
      throw std::logic_error("the library names no value " + std::to_string(k));
    }
    names.append(py::str(name(values[k])));
  }
  return py::tuple(names);
}

// (first, last) of each rule set, in the order of their values.
py::tuple YearsOfEachRuleSet(ekr_status (*years)(ekr_rules, int32_t*, int32_t*)) {
  py::list out;
  for (const ekr_rules rules : kRuleSets) {
    int32_t first = 0, last = 0;
    const ekr_status s = years(rules, &first, &last);
    if (s != EKR_OK) Raise(s, ekr_last_error());
    out.append(py::make_tuple(first, last));
  }
  return py::tuple(out);
}

}  // namespace

PYBIND11_MODULE(_native, m) {
  m.doc() = "The native engine of extractor_kr.";
  py::register_exception<DictionaryProblem>(m, "DictionaryError");
  py::class_<NativeExtractor>(m, "NativeExtractor")
      .def("extract", &NativeExtractor::Extract)
      .def("close", &NativeExtractor::Close);
  m.def("open_default", [] {
    ekr_extractor* ex = nullptr;
    const ekr_status s = ekr_open_default(&ex);
    return Opened(s, ex);
  });
  m.def("open", [](const std::vector<py::bytes>& parts) {
    if (parts.size() != 6) throw std::invalid_argument("six dictionaries are needed");
    std::vector<std::string> blobs(parts.begin(), parts.end());
    const auto blob = [&](size_t k) { return ekr_blob{blobs[k].data(), blobs[k].size()}; };
    const ekr_dictionaries d{blob(0), blob(1), blob(2), blob(3), blob(4), blob(5)};
    ekr_extractor* ex = nullptr;
    ekr_status s = EKR_OK;
    {
      py::gil_scoped_release free;  // opening checks every trie
      s = ekr_open(&d, &ex);
    }
    return Opened(s, ex);
  });
  // None when the options are sound, the problem in the library's words
  // otherwise.
  m.def("options_problem",
        [](int rules, int prefer, int32_t firstYear, int32_t lastYear) -> py::object {
          const ekr_options o = ekr::OptionsFromInts(rules, prefer, firstYear, lastYear);
          if (ekr_options_check(&o) == EKR_OK) return py::none();
          return py::str(ekr_last_error());
        });
  m.attr("RULES") = Names(ekr_rules_name, kRuleSets);
  m.attr("PREFERENCES") = Names(ekr_prefer_name, kPreferences);
  m.attr("RULES_YEARS") = YearsOfEachRuleSet(ekr_rules_years);
  m.attr("REFERENCE_YEARS") = YearsOfEachRuleSet(ekr_reference_years);
  ekr_options defaults;
  ekr_options_init(&defaults);
  m.attr("DEFAULT_RULES") = static_cast<int>(defaults.rules);
  m.attr("DEFAULT_PREFER") = static_cast<int>(defaults.prefer);
  m.attr("VERSION") = ekr_version();
  m.attr("DICTIONARY_FILES") =
      py::make_tuple("settings.txt", "replace.bin", "tags.bin", "patterns.bin", "units.bin",
                     "words.dic");
}

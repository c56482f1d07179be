// extractor_kr._native: the session API for Python.  An extractor opened
// once serves every thread; the interpreter lock is let go while the engine
// runs, and a reader-writer lock keeps close() from freeing an extractor
// that a call is still using.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "session/extractor.h"

namespace py = pybind11;

namespace {

using eti::session::Extractor;
using eti::session::Status;

// Dictionaries that cannot be used; raised as extractor_kr.DictionaryError.
struct DictionaryProblem : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class NativeExtractor {
 public:
  explicit NativeExtractor(std::unique_ptr<Extractor> ex) : ex_(std::move(ex)) {}

  static std::unique_ptr<NativeExtractor> Opened(const Status& s, std::unique_ptr<Extractor> ex) {
    if (!s.ok()) throw DictionaryProblem(s.detail);
    return std::make_unique<NativeExtractor>(std::move(ex));
  }

  // (status, detail, content, expressions); each expression is
  // (is_span, cycle, start[9], end[9], begin, end) with the moments as
  // year .. second (-1 open), has_date, has_time, has_ampm, and the
  // positions in code points.
  // `prefer` is 0 (future) or 1 (past); the years bound the window.
  py::tuple Extract(const std::string& text, const std::string& reference, int prefer,
                    int32_t minYear, int32_t maxYear) {
    ekr_options options;
    ekr_options_init(&options);
    options.prefer = prefer == 1 ? EKR_PREFER_PAST : EKR_PREFER_FUTURE;
    options.min_year = minYear;
    options.max_year = maxYear;
    eti::session::Results r;
    Status s;
    {
      py::gil_scoped_release free;
      std::shared_lock<std::shared_mutex> lock(mutex_);
      if (ex_ == nullptr) {
        s = Status::Error(EKR_ERROR_ARGUMENT, "the extractor is closed");
      } else if (prefer != 0 && prefer != 1) {
        s = Status::Error(EKR_ERROR_ARGUMENT, "prefer " + std::to_string(prefer) +
                                                  " is neither future (0) nor past (1)");
      } else {
        s = ex_->Extract(text, reference, options, &r);
      }
    }
    py::list expressions;
    for (const ekr_result& e : r.items) {
      const auto moment = [](const ekr_moment& m) {
        return py::make_tuple(m.year, m.month, m.day, m.hour, m.minute, m.second,
                              m.has_date != 0, m.has_time != 0, m.has_ampm != 0);
      };
      expressions.append(py::make_tuple(e.is_span != 0, static_cast<int>(e.cycle),
                                        moment(e.start), moment(e.end), e.begin_char,
                                        e.end_char));
    }
    return py::make_tuple(static_cast<int>(s.code), s.detail, py::str(r.content), expressions);
  }

  void Close() {
    py::gil_scoped_release free;
    std::unique_lock<std::shared_mutex> lock(mutex_);
    ex_.reset();
  }

 private:
  std::shared_mutex mutex_;
  std::unique_ptr<Extractor> ex_;
};

}  // namespace

PYBIND11_MODULE(_native, m) {
  m.doc() = "The native engine of extractor_kr.";
  py::register_exception<DictionaryProblem>(m, "DictionaryError");
  py::class_<NativeExtractor>(m, "NativeExtractor")
      .def("extract", &NativeExtractor::Extract)
      .def("close", &NativeExtractor::Close);
  m.def("open_default", [] {
    std::unique_ptr<Extractor> ex;
    const Status s = Extractor::OpenDefault(&ex);
    return NativeExtractor::Opened(s, std::move(ex));
  });
  m.def("open", [](const std::vector<py::bytes>& parts) {
    if (parts.size() != 6) throw std::invalid_argument("six dictionaries are needed");
    std::vector<std::string> blobs(parts.begin(), parts.end());
    const auto blob = [&](size_t k) { return ekr_blob{blobs[k].data(), blobs[k].size()}; };
    std::unique_ptr<Extractor> ex;
    const Status s = Extractor::Open({blob(0), blob(1), blob(2), blob(3), blob(4), blob(5)}, &ex);
    return NativeExtractor::Opened(s, std::move(ex));
  });
  ekr_options whole;
  ekr_options_init(&whole);
  m.attr("WHOLE_CALL_YEARS") = py::make_tuple(whole.min_year, whole.max_year);
  m.attr("DICTIONARY_FILES") =
      py::make_tuple("settings.txt", "replace.bin", "tags.bin", "patterns.bin", "units.bin",
                     "words.dic");
}

// The session API in tests: extractors opened on compiled sets, and the
// compact form of an answer that the case files use.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_SESSION_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_SESSION_H_

#include <memory>
#include <string>

#include "extractor_kr.h"
#include "session/extractor.h"
#include "support/dict_builder.h"

namespace eti::testing {

using session::TimeString;

struct ExtractorCloser {
  void operator()(ekr_extractor* ex) const { ekr_close(ex); }
};
struct ResultsFreer {
  void operator()(ekr_results* r) const { ekr_results_free(r); }
};
using ExtractorPtr = std::unique_ptr<ekr_extractor, ExtractorCloser>;
using ResultsPtr = std::unique_ptr<ekr_results, ResultsFreer>;

// An extractor on a set compiled from sources (fails the test otherwise).
ExtractorPtr OpenSet(const DictSet& d);

// ekr_extract over a UTF-8 text (ekr_extract_with when options are given);
// NULL results with the status otherwise.
ResultsPtr SessionExtract(const ekr_extractor* ex, const std::string& text,
                          const std::string& ref, ekr_status* status = nullptr,
                          const ekr_options* options = nullptr);

// The answer in the compact form of Summary (dict_builder.h), with code
// point positions; "-" for none.  *content receives the content.
std::string SessionSummary(const ekr_results* r, std::string* content);

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_SESSION_H_

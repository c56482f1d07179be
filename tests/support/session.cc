#include "support/session.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace eti::testing {

ExtractorPtr OpenSet(const DictSet& d) {
  const auto blob = [](const std::string& s) { return ekr_blob{s.data(), s.size()}; };
  const ekr_dictionaries dicts = {blob(d.settings), blob(d.replace), blob(d.tags),
                                  blob(d.patterns), blob(d.units),   blob(d.words)};
  ekr_extractor* ex = nullptr;
  const ekr_status s = ekr_open(&dicts, &ex);
  EXPECT_EQ(s, EKR_OK) << ekr_status_text(s);
  return ExtractorPtr(ex);
}

ResultsPtr SessionExtract(const ekr_extractor* ex, const std::string& text,
                          const std::string& ref, ekr_status* status,
                          const ekr_options* options) {
  ekr_results* r = nullptr;
  const ekr_status s =
      options != nullptr
          ? ekr_extract_with(ex, text.data(), text.size(), ref.c_str(), options, &r)
          : ekr_extract(ex, text.data(), text.size(), ref.c_str(), &r);
  if (status != nullptr) *status = s;
  return ResultsPtr(r);
}

std::string SessionSummary(const ekr_results* r, std::string* content) {
  static const char* kCycles[] = {"", "00000001000000", "00000007000000", "00000100000000",
                                  "00010000000000"};
  const auto flags = [](const ekr_moment& m) {
    return std::to_string(m.has_date) + std::to_string(m.has_time) + std::to_string(m.has_ampm);
  };
  std::string out;
  for (size_t i = 0; i < ekr_results_count(r); ++i) {
    const ekr_result* e = ekr_results_at(r, i);
    if (!out.empty()) out += " | ";
    out += e->is_span ? TimeString(e->start) + "~" + TimeString(e->end) + " " + flags(e->start) +
                            "/" + flags(e->end)
                      : TimeString(e->start) + " " + flags(e->start);
    out += "@" + std::to_string(e->begin_char) + "-" + std::to_string(e->end_char);
    if (e->cycle != EKR_CYCLE_NONE) out += std::string(" every ") + kCycles[e->cycle];
  }
  *content = ekr_results_content(r);
  return out.empty() ? "-" : out;
}

}  // namespace eti::testing

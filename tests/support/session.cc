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

// The cycle as the whole call writes it: every other week is 00000014000000.
std::string CycleOf(const ekr_result& e) {
  const int32_t every = e.cycle_interval > 0 ? e.cycle_interval : 1;
  int32_t years = 0, months = 0, days = 0;
  if (e.cycle == EKR_CYCLE_YEAR) years = every;
  if (e.cycle == EKR_CYCLE_MONTH) months = every;
  if (e.cycle == EKR_CYCLE_WEEK) days = 7 * every;
  if (e.cycle == EKR_CYCLE_DAY) days = every;
  char buf[48];
  std::snprintf(buf, sizeof(buf), "%04d%02d%02d000000", years % 10000, months % 100, days % 100);
  return buf;
}

std::string SessionSummary(const ekr_results* r, std::string* content) {
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
    if (e->cycle != EKR_CYCLE_NONE) out += " every " + CycleOf(*e);
  }
  *content = ekr_results_content(r);
  return out.empty() ? "-" : out;
}

}  // namespace eti::testing

// ekr_explain: the trace of an extraction gives the same results as the
// extraction itself, under both rule sets, on every text of the corpora;
// a set opened from its sources says where each key it used was written.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "dict/file_util.h"
#include "extractor_kr.hpp"
#include "support/dict_builder.h"
#include "support/session.h"

namespace eti::testing {
namespace {

using nlohmann::json;

// The results as the trace writes them: text, start, end of a span, cycle.
json ResultsOf(const ekr_results* r, const std::string& text) {
  json out = json::array();
  for (const ekr_result& e : ekr::Items(r)) {
    json j = {{"text", e.begin_byte >= 0 ? text.substr(static_cast<size_t>(e.begin_byte),
                                                       static_cast<size_t>(e.end_byte - e.begin_byte))
                                         : ""},
              {"start", TimeString(e.start)}};
    if (e.is_span != 0) j["end"] = TimeString(e.end);
    if (e.cycle != EKR_CYCLE_NONE) {
      j["cycle"] = static_cast<int>(e.cycle);
      j["every"] = e.cycle_interval;
    }
    if (e.lunar != 0) j["lunar"] = true;
    out.push_back(j);
  }
  return out;
}

json Explain(const ekr_extractor* ex, const std::string& text, const char* ref,
             const ekr_options& o) {
  char* raw = nullptr;
  EXPECT_EQ(ekr_explain(ex, text.data(), text.size(), ref, &o, &raw), EKR_OK) << ekr_last_error();
  const ekr::MallocString owned(raw);
  return raw != nullptr ? json::parse(raw) : json();
}

TEST(Explain, GivesTheResultsAndContentOfTheExtractionOnTheCorpora) {
  const ekr::Extractor ex = ekr::OpenDefault();
  ASSERT_NE(ex, nullptr);
  int checked = 0;
  for (const char* dir : {"corpus/ko", "corpus/ko-reader"}) {
    for (const std::string& f : eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/" + dir, ".tsv")) {
      for (const Case& c : ReadCases(std::string(dir) + "/" + f)) {
        for (const ekr_rules rules : {EKR_RULES_READER, EKR_RULES_WHOLE_CALL}) {
          ekr_options o;
          ekr_options_init(&o);
          o.rules = rules;
          ekr::Results r;
          ASSERT_EQ(ekr::Extract(ex.get(), c.text, c.ref.c_str(), o, &r), EKR_OK) << c.text;
          const json trace = Explain(ex.get(), c.text, c.ref.c_str(), o);
          ASSERT_EQ(trace["results"], ResultsOf(r.get(), c.text)) << f << ":" << c.line << " " << c.text;
          ASSERT_EQ(trace["content"], ekr_results_content(r.get())) << c.text;
          ++checked;
        }
      }
    }
  }
  EXPECT_GT(checked, 2000);
}

TEST(Explain, NamesTheSourceLinesOfASetOpenedFromItsSources) {
  const ekr::Extractor sources = ekr::Open((std::string(ETI_SOURCE_DIR) + "/dicts/ko").c_str());
  ASSERT_NE(sources, nullptr) << ekr_last_error();
  const ekr::Extractor compiled = ekr::OpenDefault();
  ekr_options o;
  ekr_options_init(&o);
  o.rules = EKR_RULES_WHOLE_CALL;
  // A guard, a tag and a pattern, each from its file and line.
  const json trace = Explain(sources.get(), "한 시민이 제보했다", "202405151030", o);
  ASSERT_EQ(trace["replacements"].size(), 2u) << trace.dump();
  EXPECT_EQ(trace["replacements"][1]["key"], "시민");
  EXPECT_EQ(trace["replacements"][1]["source"].get<std::string>().rfind("replace-guards.txt:", 0), 0u);
  const json moon = Explain(sources.get(), "음력 8월 15일", "202405151030", o);
  EXPECT_EQ(moon["tokens"][0]["source"].get<std::string>().rfind("tags.txt:", 0), 0u);
  EXPECT_EQ(moon["patterns"][0]["source"].get<std::string>().rfind("patterns.txt:", 0), 0u);
  // The line holds the key it names.
  const std::string at = trace["replacements"][1]["source"];
  std::string file, error;
  ASSERT_TRUE(eti::ReadFile(std::string(ETI_SOURCE_DIR) + "/dicts/ko/replace-guards.txt", &file, &error));
  const int line = std::stoi(at.substr(at.find(':') + 1));
  size_t begin = 0;
  for (int k = 1; k < line; ++k) begin = file.find('\n', begin) + 1;
  EXPECT_EQ(file.compare(begin, 7, "시민\t"), 0) << file.substr(begin, 40);
  // A compiled set knows its keys, not where they were written.
  const json plain = Explain(compiled.get(), "한 시민이 제보했다", "202405151030", o);
  EXPECT_FALSE(plain["replacements"][1].contains("source"));
  EXPECT_EQ(plain["results"], trace["results"]);
}

}  // namespace
}  // namespace eti::testing

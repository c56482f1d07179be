// Many threads at once on one extractor, and on the whole-call entry: every
// answer equals the single-threaded one.  The test command also runs this
// under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "common/case_file.h"
#include "support/dict_builder.h"
#include "support/session.h"

namespace eti::testing {
namespace {

struct Sentence {
  std::string text, ref, answer;
};

std::vector<Sentence> Corpus() {
  std::vector<Sentence> out;
  for (const std::string& f :
       eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
    for (const Case& c : ReadCases("corpus/ko/" + f)) out.push_back({c.text, c.ref, ""});
  }
  // Texts the whole-call entry cannot take, for the session alone.
  out.push_back({"🎉 내일 오후 3시에 봐 😀", "202405151030", ""});
  out.push_back({"𠀀 매주 월요일, 7월 13일부터 15일까지", "202405151030", ""});
  return out;
}

void RunThreads(int threads, const std::function<void(int)>& body) {
  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) pool.emplace_back(body, t);
  for (auto& th : pool) th.join();
}

TEST(Threads, ManyThreadsShareOneExtractor) {
  ekr_extractor* raw = nullptr;
  ASSERT_EQ(ekr_open_default(&raw), EKR_OK);
  const ExtractorPtr ex(raw);
  std::vector<Sentence> corpus = Corpus();
  const auto answer = [&](const Sentence& s) {
    std::string content;
    return SessionSummary(SessionExtract(ex.get(), s.text, s.ref).get(), &content) + "\t" + content;
  };
  for (Sentence& s : corpus) s.answer = answer(s);
  std::atomic<int> mismatches{0}, calls{0};
  RunThreads(8, [&](int t) {
    for (int round = 0; round < 3; ++round) {
      for (size_t k = t; k < corpus.size() + t; ++k, ++calls) {
        mismatches += answer(corpus[k % corpus.size()]) != corpus[k % corpus.size()].answer;
      }
    }
  });
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_EQ(calls.load(), static_cast<int>(8 * 3 * corpus.size()));
}

TEST(Threads, TheWholeCallEntryOnManyThreads) {
  const DictSet d = LoadDictSet("dicts/ko");
  std::vector<Sentence> corpus = Corpus();
  corpus.resize(corpus.size() - 2);
  for (Sentence& s : corpus) s.answer = Extract(d, s.text, s.ref);
  std::atomic<int> mismatches{0};
  RunThreads(4, [&](int t) {
    for (size_t k = t; k < corpus.size(); k += 2) {
      if (Extract(d, corpus[k].text, corpus[k].ref) != corpus[k].answer) ++mismatches;
    }
  });
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
}  // namespace eti::testing

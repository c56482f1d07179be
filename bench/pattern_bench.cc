// Pattern search on pathological texts: hundreds of words that overlap in
// one stretch of text (every one a fork between readings), and tokens that
// each carry many attributes.  Without the reading budget and the pruned
// enumeration these would take exponential time.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "session/cp949.h"
#include "dict/source.h"
#include "dict/trie_format.h"
#include "extractor_kr/stages.h"

namespace {

std::string Blob(eti::DictKind kind, const std::string& source) {
  std::vector<eti::SourceError> errors;
  const auto entries = eti::ReadTrieSource(source, "bench", kind, &errors);
  return eti::BuildTrieBlob(eti::TrieEntries(entries));
}

struct Dicts {
  std::string replace = Blob(eti::DictKind::kReplace, "");
  std::string tags, patterns, units;
  std::string words = "";
  std::string settings = "DEFAULTTIME 13\n";
};

void RunCalls(benchmark::State& state, const Dicts& d, const std::string& utf8) {
  const std::string text = eti::Cp949(utf8);
  for (auto _ : state) {
    TYPED_RESULT* results = nullptr;
    ETI_Main(text.c_str(), &results, "202405151030", d.settings.c_str(), d.replace.data(),
             d.tags.data(), d.patterns.data(), d.units.data(), d.words.c_str());
    benchmark::DoNotOptimize(results);
    ETI_FreeTypedResults(results);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["bytes"] = static_cast<double>(text.size());
}

// "내일모레" is one word and also "내일" followed by "모레": a fork at every
// repetition, with no uncovered byte to split the stretch.
void BM_AmbiguousWordsInOneStretch(benchmark::State& state) {
  Dicts d;
  d.tags = Blob(eti::DictKind::kTag, "내일모레\trD-Unit[2]\n내일\trD-Unit[1]\n모레\trD-Unit[2]\n");
  d.patterns = Blob(eti::DictKind::kPattern, "rD-Unit\t1\nrD-Unit*rD-Unit\t2\n");
  d.units = Blob(eti::DictKind::kUnit, "rD-Unit\trDUnit\n");
  std::string text;
  for (int64_t k = 0; k < state.range(0); ++k) text += "내일모레";
  RunCalls(state, d, text);
}
BENCHMARK(BM_AmbiguousWordsInOneStretch)->Arg(10)->Arg(100)->Arg(300)->Unit(benchmark::kMillisecond);

// Every token carries eight attributes and the patterns go eight deep:
// 8^8 combinations at every start for a plain enumeration.
void BM_ManyAttributesPerToken(benchmark::State& state) {
  Dicts d;
  const std::string names[] = {"A", "B", "C", "D", "E", "F", "G", "H"};
  d.tags = Blob(eti::DictKind::kTag, "가\tA,B,C,D,E,F,G,H\n");
  std::string patterns, units;
  std::string key;
  for (int depth = 1; depth <= 8; ++depth) {
    key += (depth > 1 ? "*" : "") + names[depth - 1];
    patterns += key + "\t" + std::to_string(depth) + "\n";
    units += key + "\tYUnit\n";
  }
  d.patterns = Blob(eti::DictKind::kPattern, patterns);
  d.units = Blob(eti::DictKind::kUnit, units);
  std::string text;
  for (int64_t k = 0; k < state.range(0); ++k) text += "가";
  RunCalls(state, d, text);
}
BENCHMARK(BM_ManyAttributesPerToken)->Arg(16)->Arg(128)->Unit(benchmark::kMillisecond);

}  // namespace

// Whole calls of ETI_Main and session calls of ekr_extract with the
// bundled dictionaries over the development corpus: calls per second, time
// per call, bytes per second, how the cost grows with the length of one
// text, and the peak heap memory of a call.  The floor is what the native
// method must do before the engine runs at all: copy the six dictionaries
// and the text once.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "session/cp949.h"
#include "dict/source.h"
#include "dict/file_util.h"
#include "dict/source_set.h"
#include "dict/trie_format.h"
#include "extractor_kr.h"
#include "extractor_kr/stages.h"

// Heap accounting for the peak-memory benchmark: this binary's allocation
// functions count the bytes held while tracking is on.
extern "C" void* __libc_malloc(size_t);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
extern "C" void __libc_free(void*);

namespace {
std::atomic<bool> g_tracking{false};
std::atomic<long> g_held{0}, g_peak{0};

void Count(long delta) {
  const long now = g_held.fetch_add(delta) + delta;
  long peak = g_peak.load();
  while (now > peak && !g_peak.compare_exchange_weak(peak, now)) {
  }
}
}  // namespace

extern "C" void* malloc(size_t n) {
  void* p = __libc_malloc(n);
  if (p != nullptr && g_tracking) Count(static_cast<long>(malloc_usable_size(p)));
  return p;
}
extern "C" void* calloc(size_t n, size_t size) {
  void* p = __libc_calloc(n, size);
  if (p != nullptr && g_tracking) Count(static_cast<long>(malloc_usable_size(p)));
  return p;
}
extern "C" void* realloc(void* old, size_t n) {
  const long before = old != nullptr && g_tracking ? static_cast<long>(malloc_usable_size(old)) : 0;
  void* p = __libc_realloc(old, n);
  if (p != nullptr && g_tracking) Count(static_cast<long>(malloc_usable_size(p)) - before);
  return p;
}
extern "C" void free(void* p) {
  if (p != nullptr && g_tracking) Count(-static_cast<long>(malloc_usable_size(p)));
  __libc_free(p);
}

namespace {


struct Corpus {
  std::string settings, replace, tags, patterns, units, words;
  std::vector<std::pair<std::string, std::string>> texts;  // CP949 text, reference
  std::vector<std::string> utf8;                           // the same texts in UTF-8
  size_t bytes = 0;
};

std::string Source(const std::string& name) {
  std::string text, error;
  eti::ReadFile(std::string(ETI_SOURCE_DIR) + "/" + name, &text, &error);
  return text;
}

// The bundled sources, or those of the directory EKR_BENCH_DICTS names (to
// time another version of the set over the same texts).
const Corpus& TheCorpus() {
  static const Corpus corpus = [] {
    Corpus c;
    const char* dicts = std::getenv("EKR_BENCH_DICTS");
    std::vector<eti::SourceError> errors;
    const eti::CompiledSet set = eti::CompileSourceDir(
        dicts != nullptr ? dicts : std::string(ETI_SOURCE_DIR) + "/dicts/ko", &errors);
    if (!errors.empty()) {
      std::fprintf(stderr, "%s\n", errors[0].Format().c_str());
      std::abort();
    }
    c.settings = set.settings;
    c.replace = set.replace;
    c.tags = set.tags;
    c.patterns = set.patterns;
    c.units = set.units;
    c.words = set.words;
    const std::string dir = std::string(ETI_SOURCE_DIR) + "/corpus/ko";
    for (const std::string& f : eti::ListFiles(dir, ".tsv")) {
      for (const auto& line : eti::tools::ParseCaseFile(Source("corpus/ko/" + f), f, &errors)) {
        c.texts.emplace_back(eti::Cp949(line.text), line.ref);
        c.utf8.push_back(line.text);
        c.bytes += c.texts.back().first.size();
      }
    }
    return c;
  }();
  return corpus;
}

void Call(const Corpus& c, const std::string& text, const std::string& ref) {
  TYPED_RESULT* results = nullptr;
  ETI_Main(text.c_str(), &results, ref.c_str(), c.settings.c_str(), c.replace.data(),
           c.tags.data(), c.patterns.data(), c.units.data(), c.words.c_str());
  benchmark::DoNotOptimize(results);
  ETI_FreeTypedResults(results);
}

double FloorSeconds();
double TimesTheFloor(std::chrono::steady_clock::time_point start, int64_t calls);

std::string JoinedUtf8(const Corpus& c, size_t bytes);

// The command-line tool, as a process of its own, on one long line: its
// time, throughput and peak resident memory (the kernel's count for the
// child, which starts as a copy of this process: so this benchmark runs
// first, while this process is small).
void BM_ToolLongText(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string input = "/tmp/ekr_bench_tool_input.txt";
  {
    std::FILE* f = std::fopen(input.c_str(), "wb");
    const std::string text = JoinedUtf8(c, static_cast<size_t>(state.range(0))) + "\n";
    std::fwrite(text.data(), 1, text.size(), f);
    std::fclose(f);
  }
  long peakKb = 0;
  for (auto _ : state) {
    const pid_t pid = fork();
    if (pid == 0) {
      if (std::freopen(input.c_str(), "rb", stdin) == nullptr ||
          std::freopen("/dev/null", "wb", stdout) == nullptr) {
        _exit(127);
      }
      execl(ETI_CLI_PATH, ETI_CLI_PATH, "--ref", "202405151030", static_cast<char*>(nullptr));
      _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) state.SkipWithError("the tool failed");
    peakKb = std::max(peakKb, usage.ru_maxrss);
  }
  std::remove(input.c_str());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
  state.counters["peak_resident_bytes"] = static_cast<double>(peakKb) * 1024;
}
BENCHMARK(BM_ToolLongText)->Arg(1 << 20)->Arg(10 << 20)->Iterations(1)->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// One call per corpus sentence, in turn.
void BM_CorpusSentence(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  FloorSeconds();
  size_t k = 0, bytes = 0;
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    const auto& [text, ref] = c.texts[k];
    Call(c, text, ref);
    bytes += text.size();
    k = (k + 1) % c.texts.size();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.counters["sentences"] = static_cast<double>(c.texts.size());
  state.counters["x_floor"] = TimesTheFloor(start, static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_CorpusSentence)->Unit(benchmark::kMicrosecond);

// The floor: copying the six dictionaries and the text once, as the native
// method must before anything else.
// What the native method does before the engine runs: one copy of each
// dictionary and of the text, each with a terminating NUL.
void CopyOnce(const Corpus& c, const std::string& text) {
  for (const std::string* p : {&c.settings, &c.replace, &c.tags, &c.patterns, &c.units,
                               &c.words, &text}) {
    char* copy = static_cast<char*>(std::malloc(p->size() + 1));
    std::memcpy(copy, p->data(), p->size());
    copy[p->size()] = '\0';
    benchmark::DoNotOptimize(copy);
    std::free(copy);
  }
}

void BM_CorpusFloor(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  size_t k = 0, bytes = 0;
  for (auto _ : state) {
    const std::string& text = c.texts[k].first;
    CopyOnce(c, text);
    bytes += text.size();
    k = (k + 1) % c.texts.size();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_CorpusFloor)->Unit(benchmark::kMicrosecond);

// The floor per call, timed once in this run over the whole corpus, so that
// the calls can be reported as multiples of it.
double FloorSeconds() {
  static const double floor = [] {
    const Corpus& c = TheCorpus();
    const auto start = std::chrono::steady_clock::now();
    size_t calls = 0;
    for (int pass = 0; pass < 200; ++pass) {
      for (const auto& [text, ref] : c.texts) {
        CopyOnce(c, text);
        ++calls;
      }
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
           static_cast<double>(calls);
  }();
  return floor;
}

// The time per call of a loop that started at `start`, as a multiple of
// the floor.
double TimesTheFloor(std::chrono::steady_clock::time_point start, int64_t calls) {
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return seconds / static_cast<double>(calls) / FloorSeconds();
}

const ekr_extractor* Session() {
  static ekr_extractor* ex = [] {
    const Corpus& c = TheCorpus();
    const auto blob = [](const std::string& s) { return ekr_blob{s.data(), s.size()}; };
    const ekr_dictionaries d = {blob(c.settings), blob(c.replace), blob(c.tags),
                                blob(c.patterns), blob(c.units),   blob(c.words)};
    ekr_extractor* e = nullptr;
    if (ekr_open(&d, &e) != EKR_OK) std::abort();
    return e;
  }();
  return ex;
}

void SessionCall(const std::string& text, const std::string& ref,
                 const ekr_options* options = nullptr) {
  ekr_results* r = nullptr;
  if (options == nullptr) {
    ekr_extract(Session(), text.data(), text.size(), ref.c_str(), &r);
  } else {
    ekr_extract_with(Session(), text.data(), text.size(), ref.c_str(), options, &r);
  }
  benchmark::DoNotOptimize(r);
  ekr_results_free(r);
}

// One session call per corpus sentence (UTF-8), on one extractor.
void BM_SessionSentence(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  FloorSeconds();
  SessionCall("", "202405151030");  // the extractor is opened outside the loop
  size_t k = 0, bytes = 0;
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    SessionCall(c.utf8[k], c.texts[k].second);
    bytes += c.utf8[k].size();
    k = (k + 1) % c.utf8.size();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.counters["x_floor"] = TimesTheFloor(start, static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_SessionSentence)->Unit(benchmark::kMicrosecond);

// The same through ekr_extract_with: 0 under ekr_options_init (the reader
// rules), 1 with the window 1900..2099, 2 with that window and the past
// preferred.
void BM_SessionSentenceWith(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  FloorSeconds();
  ekr_options o;
  ekr_options_init(&o);
  if (state.range(0) >= 1) {
    o.min_year = 1900;
    o.max_year = 2099;
  }
  if (state.range(0) == 2) o.prefer = EKR_PREFER_PAST;
  SessionCall("", "202405151030", &o);
  size_t k = 0, bytes = 0;
  const auto start = std::chrono::steady_clock::now();
  for (auto _ : state) {
    SessionCall(c.utf8[k], c.texts[k].second, &o);
    bytes += c.utf8[k].size();
    k = (k + 1) % c.utf8.size();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.counters["x_floor"] = TimesTheFloor(start, static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_SessionSentenceWith)->DenseRange(0, 2)->Unit(benchmark::kMicrosecond);

// Corpus sentences (UTF-8) joined by spaces into one text of at least
// `bytes` bytes.
std::string JoinedUtf8(const Corpus& c, size_t bytes) {
  std::string text;
  for (size_t k = 0; text.size() < bytes; ++k) text += c.utf8[k % c.utf8.size()] + " ";
  return text;
}

// One session call on a long text: the cost per byte as the text grows.
void BM_SessionLongText(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string text = JoinedUtf8(c, static_cast<size_t>(state.range(0)));
  for (auto _ : state) SessionCall(text, "202405151030");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["text_bytes"] = static_cast<double>(text.size());
  state.counters["ns_per_byte"] = benchmark::Counter(
      static_cast<double>(text.size()), benchmark::Counter::kIsIterationInvariantRate |
                                            benchmark::Counter::kInvert);
}
BENCHMARK(BM_SessionLongText)->Arg(1 << 10)->Arg(10 << 10)->Arg(100 << 10)
    ->Unit(benchmark::kMicrosecond);

// The whole-call entry on the same texts (in CP949).
void BM_WholeCallLongText(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string text = eti::Cp949(JoinedUtf8(c, static_cast<size_t>(state.range(0))));
  for (auto _ : state) Call(c, text, "202405151030");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(BM_WholeCallLongText)->Arg(1 << 10)->Arg(10 << 10)->Unit(benchmark::kMicrosecond);

// The heap held at the worst moment of one session call on a long text.
void BM_SessionPeakHeap(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string text = JoinedUtf8(c, static_cast<size_t>(state.range(0)));
  SessionCall("", "202405151030");  // the extractor is opened outside the count
  long peak = 0;
  for (auto _ : state) {
    g_held = 0;
    g_peak = 0;
    g_tracking = true;
    SessionCall(text, "202405151030");
    g_tracking = false;
    peak = std::max(peak, g_peak.load());
  }
  state.counters["peak_heap_bytes"] = static_cast<double>(peak);
  state.counters["text_bytes"] = static_cast<double>(text.size());
  state.counters["heap_per_byte"] = static_cast<double>(peak) / static_cast<double>(text.size());
}
BENCHMARK(BM_SessionPeakHeap)->Arg(1 << 10)->Arg(100 << 10)->Arg(1 << 20)->Arg(10 << 20)
    ->Iterations(1)->Unit(benchmark::kMillisecond);


// N corpus sentences joined into one text per call.
std::string Joined(const Corpus& c, int64_t n) {
  std::string text;
  for (int64_t k = 0; k < n; ++k) text += c.texts[k % c.texts.size()].first + " ";
  return text;
}

void BM_TextOfSentences(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string text = Joined(c, state.range(0));
  for (auto _ : state) Call(c, text, "202405151030");
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(BM_TextOfSentences)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

// The heap held at the worst moment of one call.
void BM_PeakHeap(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string text = Joined(c, state.range(0));
  long peak = 0;
  for (auto _ : state) {
    g_held = 0;
    g_peak = 0;
    g_tracking = true;
    Call(c, text, "202405151030");
    g_tracking = false;
    peak = std::max(peak, g_peak.load());
  }
  state.counters["peak_heap_bytes"] = static_cast<double>(peak);
  state.counters["text_bytes"] = static_cast<double>(text.size());
}
BENCHMARK(BM_PeakHeap)->Arg(1)->Arg(10)->Arg(100)->Iterations(3);

}  // namespace

namespace {

// Loading (copying and checking) each bundled dictionary, as every call does.
void BM_LoadTrie(benchmark::State& state) {
  const Corpus& c = TheCorpus();
  const std::string* blobs[] = {&c.replace, &c.tags, &c.patterns, &c.units};
  const std::string& blob = *blobs[state.range(0)];
  for (auto _ : state) {
    BTrie* trie = nullptr;
    ETI_initEmptyBTrie(&trie);
    ETI_loadBTrie(trie, blob.data());
    benchmark::DoNotOptimize(trie);
    ETI_freeBTrie(trie);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * blob.size()));
  state.SetLabel(std::vector<const char*>{"replace", "tags", "patterns", "units"}[state.range(0)]);
}
BENCHMARK(BM_LoadTrie)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

}  // namespace

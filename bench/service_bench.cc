// The time service's handler in process, without the network: a POST
// /parse of each corpus message against GET / (which answers without the
// engine) and against the library call alone, so that what the service
// adds to the engine shows.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "dict/file_util.h"
#include "common/form.h"
#include "server/duckling.h"
#include "extractor_kr.hpp"

namespace {

using eti::server::Request;

struct Messages {
  ekr::Extractor ex;
  std::unique_ptr<eti::server::Service> service;
  std::vector<Request> requests;
  std::vector<std::pair<std::string, std::string>> texts;  // text, reference
};

const Messages& TheMessages() {
  static const Messages m = [] {
    Messages out;
    out.ex = ekr::OpenDefault();
    if (out.ex == nullptr) std::abort();
    out.service = std::make_unique<eti::server::Service>(out.ex.get(),
                                                         eti::server::FindZone("Asia/Seoul"));
    const std::string dir = std::string(ETI_SOURCE_DIR) + "/corpus/ko";
    std::vector<eti::SourceError> errors;
    for (const std::string& f : eti::ListFiles(dir, ".tsv")) {
      std::string text, error;
      eti::ReadFile(dir + "/" + f, &text, &error);
      for (const auto& c : eti::tools::ParseCaseFile(text, f, &errors)) {
        Request r;
        r.method = "POST";
        r.path = "/parse";
        r.contentType = "application/x-www-form-urlencoded";
        r.body = "text=" + eti::tools::FormEncode(c.text) + "&locale=ko_KR&tz=Asia%2FSeoul&reftime=1716514200000";
        out.requests.push_back(std::move(r));
        out.texts.emplace_back(c.text, c.ref);
      }
    }
    return out;
  }();
  return m;
}

const std::chrono::system_clock::time_point kNow{std::chrono::hours(480000)};

void BM_ServiceParse(benchmark::State& state) {
  const Messages& m = TheMessages();
  size_t k = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(m.service->Handle(m.requests[k], kNow));
    k = (k + 1) % m.requests.size();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_ServiceParse)->Unit(benchmark::kMicrosecond);

void BM_ServiceHealth(benchmark::State& state) {
  const Messages& m = TheMessages();
  Request r;
  r.method = "GET";
  r.path = "/";
  for (auto _ : state) benchmark::DoNotOptimize(m.service->Handle(r, kNow));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_ServiceHealth)->Unit(benchmark::kMicrosecond);

// The engine alone on the same messages: the part of /parse that is not
// the service's.
void BM_LibraryCall(benchmark::State& state) {
  const Messages& m = TheMessages();
  ekr_options o;
  ekr_options_init(&o);
  size_t k = 0;
  for (auto _ : state) {
    ekr::Results r;
    benchmark::DoNotOptimize(ekr::Extract(m.ex.get(), m.texts[k].first, "202405241030", o, &r));
    k = (k + 1) % m.texts.size();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_LibraryCall)->Unit(benchmark::kMicrosecond);

}  // namespace

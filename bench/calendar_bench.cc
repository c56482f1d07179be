// Calendar arithmetic: the normalisation that every record goes through.
#include <benchmark/benchmark.h>

#include "extractor_kr/stages.h"

static void BM_Date2Sec(benchmark::State& state) {
  int day = 0;
  for (auto _ : state) {
    ETI_TM tm{};
    tm.tm_year = 124;
    tm.tm_mon = 4;
    tm.tm_mday = 1 + (day++ % 400);
    tm.tm_hour = 27;
    benchmark::DoNotOptimize(date2Sec(&tm));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Date2Sec);

static void BM_DayOfRelWeekday(benchmark::State& state) {
  int n = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(DayOfRelWeekday(2024, 1 + n % 12, 10000, 1 + n % 7));
    ++n;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DayOfRelWeekday);

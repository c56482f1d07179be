// One side of bench/compare.sh: times the calls of the public headers of
// whichever build it is linked against, on the same texts and the same
// compiled dictionaries, and prints one "name value" line per figure.
//
//   compare_main DICT_DIR CORPUS_TEXTS [ROUNDS]
//
// CORPUS_TEXTS holds one "REFERENCE<TAB>TEXT" line per message (UTF-8).
#include <iconv.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "extractor_kr.h"
#include "extractor_kr/stages.h"

namespace {

using Clock = std::chrono::steady_clock;

std::string Read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "compare_main: cannot read %s\n", path.c_str());
    std::exit(2);
  }
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string Cp949(const std::string& utf8) {
  iconv_t cd = iconv_open("CP949//IGNORE", "UTF-8");
  std::string out(2 * utf8.size() + 1, '\0');
  char* in = const_cast<char*>(utf8.data());
  size_t inLeft = utf8.size(), outLeft = out.size();
  char* o = &out[0];
  iconv(cd, &in, &inLeft, &o, &outLeft);
  iconv_close(cd);
  out.resize(out.size() - outLeft);
  return out;
}

// The best of `rounds` passes of `pass`, in seconds per item.
template <typename Pass>
double Best(int rounds, size_t items, Pass pass) {
  double best = 1e30;
  for (int r = 0; r < rounds; ++r) {
    const auto start = Clock::now();
    pass();
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best / static_cast<double>(items);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: compare_main DICT_DIR CORPUS_TEXTS [ROUNDS]\n");
    return 2;
  }
  const std::string dir = argv[1];
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 5;
  const std::string settings = Read(dir + "/settings.txt"), replace = Read(dir + "/replace.bin"),
                    tags = Read(dir + "/tags.bin"), patterns = Read(dir + "/patterns.bin"),
                    units = Read(dir + "/units.bin"), words = Read(dir + "/words.dic");
  std::vector<std::pair<std::string, std::string>> texts;  // reference, UTF-8 text
  {
    std::istringstream lines(Read(argv[2]));
    for (std::string line; std::getline(lines, line);) {
      const size_t tab = line.find('\t');
      if (tab != std::string::npos) texts.emplace_back(line.substr(0, tab), line.substr(tab + 1));
    }
  }
  std::vector<std::string> cp949;
  size_t bytes = 0;
  for (const auto& t : texts) {
    cp949.push_back(Cp949(t.second));
    bytes += t.second.size();
  }
  ekr_extractor* ex = nullptr;
  if (ekr_open_dir(dir.c_str(), &ex) != EKR_OK) {
    std::fprintf(stderr, "compare_main: cannot open %s\n", dir.c_str());
    return 2;
  }

  // The whole call, as the native method makes it: the caller's dictionaries
  // on every call.
  const double wholeCall = Best(rounds, texts.size(), [&] {
    for (size_t k = 0; k < texts.size(); ++k) {
      TYPED_RESULT* r = nullptr;
      ETI_Main(cp949[k].c_str(), &r, texts[k].first.c_str(), settings.c_str(), replace.data(),
               tags.data(), patterns.data(), units.data(), words.c_str());
      ETI_FreeTypedResults(r);
    }
  });
  std::printf("whole_call_us_per_message %.3f\n", wholeCall * 1e6);

  const double session = Best(rounds * 4, texts.size(), [&] {
    for (const auto& [ref, text] : texts) {
      ekr_results* r = nullptr;
      ekr_extract(ex, text.data(), text.size(), ref.c_str(), &r);
      ekr_results_free(r);
    }
  });
  std::printf("ekr_extract_us_per_message %.3f\n", session * 1e6);
  std::printf("ekr_extract_mb_per_s %.2f\n",
              static_cast<double>(bytes) / (session * static_cast<double>(texts.size())) / 1e6);

  // Long texts: the messages joined by blanks, per byte.
  for (const size_t size : {size_t{1} << 10, size_t{10} << 10, size_t{100} << 10}) {
    std::string joined;
    for (size_t k = 0; joined.size() < size; k = (k + 1) % texts.size()) {
      joined += texts[k].second + " ";
    }
    const double perCall = Best(rounds, 1, [&] {
      const int calls = size >= (size_t{100} << 10) ? 1 : 10;
      for (int c = 0; c < calls; ++c) {
        ekr_results* r = nullptr;
        ekr_extract(ex, joined.data(), joined.size(), "202405151030", &r);
        ekr_results_free(r);
      }
    }) / (size >= (size_t{100} << 10) ? 1 : 10);
    std::printf("long_text_ns_per_byte_%zuk %.2f\n", size >> 10,
                perCall * 1e9 / static_cast<double>(joined.size()));
  }
  ekr_close(ex);
  return 0;
}

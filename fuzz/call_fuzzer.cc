// Whole calls of ETI_Main: the input bytes become the text, the reference
// time, a settings text and byte edits of the bundled dictionaries (see the
// layout in fuzz_dicts.h), so that texts, references, settings and
// dictionaries are all explored.
#include <cstddef>
#include <cstdint>
#include <string>

#include "extractor_kr/stages.h"
#include "fuzz_dicts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const eti::fuzz::DictSet& defaults = eti::fuzz::DefaultDicts();
  const std::string in(reinterpret_cast<const char*>(data), size);
  size_t at = 1;
  const auto take = [&](size_t n) {
    const std::string s = at < in.size() ? in.substr(at, n) : std::string();
    at += n;
    return s;
  };
  const std::string ref = take(12);
  const size_t settingsLength = at < in.size() ? static_cast<unsigned char>(in[at]) : 0;
  ++at;
  std::string parts[6];
  for (int k = 0; k < 6; ++k) parts[k] = defaults.parts[k];
  if (settingsLength > 0) parts[0] = take(settingsLength);
  const size_t edits = at < in.size() ? static_cast<unsigned char>(in[at]) % 32 : 0;
  ++at;
  for (size_t e = 0; e < edits && at + 5 <= in.size(); ++e) {
    const std::string edit = take(5);
    std::string& part = parts[static_cast<unsigned char>(edit[0]) % 6];
    const bool trie = &part != &parts[0] && &part != &parts[5];
    const size_t floor = trie ? 8 : 0;  // a trie keeps its honest header
    if (part.size() <= floor) continue;
    const size_t offset = (static_cast<unsigned char>(edit[1]) |
                           static_cast<unsigned char>(edit[2]) << 8 |
                           static_cast<unsigned char>(edit[3]) << 16) %
                          (part.size() - floor);
    part[floor + offset] = edit[4];
  }
  const std::string text = at < in.size() ? in.substr(at) : std::string();

  TYPED_RESULT* results = nullptr;
  ETI_Main(text.c_str(), &results, ref.c_str(), parts[0].c_str(), parts[1].data(),
           parts[2].data(), parts[3].data(), parts[4].data(), parts[5].c_str());
  ETI_FreeTypedResults(results);
  return 0;
}

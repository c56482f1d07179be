// The code points of valid UTF-8 text, each as its bytes: what the server's
// tests and its fuzz target slice entities with.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_CODE_POINTS_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_CODE_POINTS_H_

#include <string>
#include <vector>

inline std::vector<std::string> CodePoints(const std::string& s) {
  std::vector<std::string> out;
  for (size_t i = 0; i < s.size();) {
    const auto b = static_cast<unsigned char>(s[i]);
    const size_t n = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    out.push_back(s.substr(i, n));
    i += n;
  }
  return out;
}

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_CODE_POINTS_H_

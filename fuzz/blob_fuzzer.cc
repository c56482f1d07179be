// Whole calls of ETI_Main with hostile dictionaries: every trie is made of
// fuzz bytes under an honest header (its size is what the header claims),
// so the library's own checks of the blobs are what keeps a call safe.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "extractor_kr/stages.h"

namespace {

// A blob of honest size from the next bytes of the input: node count (one
// byte, at most 63), pool size (one byte), then 12 x nodes + pool bytes
// (zeros where the input runs out).
std::string Blob(const std::string& in, size_t* at) {
  const auto byte = [&]() -> uint32_t {
    return *at < in.size() ? static_cast<unsigned char>(in[(*at)++]) : 0;
  };
  const uint32_t n = byte() % 64;
  const uint32_t s = byte();
  std::string blob(8 + 12 * n + s, '\0');
  std::memcpy(&blob[0], &n, 4);
  std::memcpy(&blob[4], &s, 4);
  for (size_t k = 8; k < blob.size(); ++k) blob[k] = static_cast<char>(byte());
  return blob;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string in(reinterpret_cast<const char*>(data), size);
  size_t at = 0;
  const size_t textLength = at < in.size() ? static_cast<unsigned char>(in[at]) : 0;
  ++at;
  const std::string text = at < in.size() ? in.substr(at, textLength) : std::string();
  at += textLength;
  std::string blobs[4];
  for (std::string& b : blobs) b = Blob(in, &at);
  const std::string words = at < in.size() ? in.substr(at) : std::string();

  TYPED_RESULT* results = nullptr;
  ETI_Main(text.c_str(), &results, "202405151030", "DEFAULTTIME 13\n3 pm\n", blobs[0].data(),
           blobs[1].data(), blobs[2].data(), blobs[3].data(), words.c_str());
  ETI_FreeTypedResults(results);
  return 0;
}

#include "common/json_text.h"

#include <array>

namespace eti::tools {
namespace {

// The bytes a JSON string cannot hold as they are.
constexpr std::array<bool, 256> kEscaped = [] {
  std::array<bool, 256> e{};
  for (int b = 0; b < 0x20; ++b) e[static_cast<size_t>(b)] = true;
  e['"'] = e['\\'] = true;
  return e;
}();

}  // namespace

void AppendJsonString(std::string_view utf8, std::string* out) {
  static const char kHex[] = "0123456789abcdef";
  out->push_back('"');
  size_t run = 0;  // the start of the bytes not yet written
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto b = static_cast<unsigned char>(utf8[i]);
    if (!kEscaped[b]) continue;
    out->append(utf8.data() + run, i - run);
    run = i + 1;
    switch (b) {
      case '"': out->append("\\\""); break;
      case '\\': out->append("\\\\"); break;
      case '\n': out->append("\\n"); break;
      case '\r': out->append("\\r"); break;
      case '\t': out->append("\\t"); break;
      default:
        out->append("\\u00");
        out->push_back(kHex[b >> 4]);
        out->push_back(kHex[b & 15]);
    }
  }
  out->append(utf8.data() + run, utf8.size() - run);
  out->push_back('"');
}

}  // namespace eti::tools

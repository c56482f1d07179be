#include "common/json_text.h"

namespace eti::tools {

void AppendJsonString(std::string_view utf8, std::string* out) {
  static const char kHex[] = "0123456789abcdef";
  out->push_back('"');
  for (const char c : utf8) {
    const auto b = static_cast<unsigned char>(c);
    switch (c) {
      case '"': out->append("\\\""); break;
      case '\\': out->append("\\\\"); break;
      case '\n': out->append("\\n"); break;
      case '\r': out->append("\\r"); break;
      case '\t': out->append("\\t"); break;
      default:
        if (b < 0x20) {
          out->append("\\u00");
          out->push_back(kHex[b >> 4]);
          out->push_back(kHex[b & 15]);
        } else {
          out->push_back(c);
        }
    }
  }
  out->push_back('"');
}

}  // namespace eti::tools

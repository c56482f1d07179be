#include "common/form.h"

namespace eti::tools {
namespace {

int Hex(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string FormEncode(std::string_view s) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(s.size() * 3);
  for (char ch : s) {
    const auto c = static_cast<unsigned char>(ch);
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
        c == '_' || c == '.' || c == '~') {
      out.push_back(ch);
    } else if (c == ' ') {
      out.push_back('+');
    } else {
      out += {'%', kHex[c >> 4], kHex[c & 15]};
    }
  }
  return out;
}

std::string FormEncode(const FormFields& fields) {
  std::string out;
  for (const auto& [name, value] : fields) {
    if (!out.empty()) out.push_back('&');
    out += FormEncode(name) + "=" + FormEncode(value);
  }
  return out;
}

bool DecodeComponent(std::string_view s, std::string* out) {
  // Never longer than what it decodes: written in place, then cut.
  out->resize(s.size());
  char* to = out->data();
  for (size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '+') {
      *to++ = ' ';
    } else if (c != '%') {
      *to++ = c;
    } else {
      const int hi = i + 2 < s.size() ? Hex(s[i + 1]) : -1;
      const int lo = i + 2 < s.size() ? Hex(s[i + 2]) : -1;
      if (hi < 0 || lo < 0) return false;
      *to++ = static_cast<char>(hi * 16 + lo);
      i += 2;
    }
  }
  out->resize(static_cast<size_t>(to - out->data()));
  return true;
}

bool DecodeForm(std::string_view form, FormFields* out, std::string* problem) {
  size_t at = 0;
  while (at <= form.size()) {
    size_t end = form.find('&', at);
    if (end == std::string_view::npos) end = form.size();
    const std::string_view pair = form.substr(at, end - at);
    at = end + 1;
    if (pair.empty()) continue;
    const size_t eq = pair.find('=');
    std::string name, value;
    if (!DecodeComponent(pair.substr(0, eq), &name) ||
        (eq != std::string_view::npos && !DecodeComponent(pair.substr(eq + 1), &value))) {
      *problem = "malformed percent-encoding in \"" + std::string(pair.substr(0, 64)) + "\"";
      return false;
    }
    out->emplace_back(std::move(name), std::move(value));
  }
  return true;
}

}  // namespace eti::tools

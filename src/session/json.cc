#include "session/json.h"

namespace eti::session {

void AppendJsonString(std::string_view s, std::string* out) {
  static const char kHex[] = "0123456789abcdef";
  out->push_back('"');
  for (const char c : s) {
    const auto b = static_cast<unsigned char>(c);
    switch (b) {
      case '"': *out += "\\\""; break;
      case '\\': *out += "\\\\"; break;
      case '\n': *out += "\\n"; break;
      case '\r': *out += "\\r"; break;
      case '\t': *out += "\\t"; break;
      default:
        if (b < 0x20) {
          *out += "\\u00";
          out->push_back(kHex[b >> 4]);
          out->push_back(kHex[b & 15]);
        } else {
          out->push_back(c);
        }
    }
  }
  out->push_back('"');
}

void JsonWriter::Comma() {
  if (!first_) out_.push_back(',');
  first_ = false;
}

JsonWriter& JsonWriter::Open(char c) {
  Comma();
  out_.push_back(c);
  first_ = true;
  return *this;
}

JsonWriter& JsonWriter::Close(char c) {
  out_.push_back(c);
  first_ = false;
  return *this;
}

JsonWriter& JsonWriter::Key(std::string_view name) {
  Comma();
  AppendJsonString(name, &out_);
  out_.push_back(':');
  first_ = true;  // the value follows without a comma
  return *this;
}

JsonWriter& JsonWriter::String(std::string_view s) {
  Comma();
  AppendJsonString(s, &out_);
  return *this;
}

JsonWriter& JsonWriter::Int(int64_t v) {
  Comma();
  out_ += std::to_string(v);
  return *this;
}

JsonWriter& JsonWriter::Bool(bool v) {
  Comma();
  out_ += v ? "true" : "false";
  return *this;
}

}  // namespace eti::session

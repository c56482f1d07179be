// A small JSON writer for what the library itself writes as JSON (the
// trace of --explain): strings escaped as JSON requires, UTF-8 passed
// through.  The whole call's answer keeps its own writer, which escapes
// quotes only, as the native method always has.
#ifndef EXTRACTOR_KR_SESSION_JSON_H_
#define EXTRACTOR_KR_SESSION_JSON_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace eti::session {

// Appends `s` as a JSON string, quotes included.
void AppendJsonString(std::string_view s, std::string* out);

// Builds one JSON value from the outside in: objects and arrays opened and
// closed, members and elements added; commas are placed by the writer.
class JsonWriter {
 public:
  JsonWriter& BeginObject() { return Open('{'); }
  JsonWriter& EndObject() { return Close('}'); }
  JsonWriter& BeginArray() { return Open('['); }
  JsonWriter& EndArray() { return Close(']'); }
  // The name of the next member of an object.
  JsonWriter& Key(std::string_view name);
  JsonWriter& String(std::string_view s);
  JsonWriter& Int(int64_t v);
  JsonWriter& Bool(bool v);

  const std::string& text() const { return out_; }
  std::string Take() { return std::move(out_); }

 private:
  JsonWriter& Open(char c);
  JsonWriter& Close(char c);
  void Comma();

  std::string out_;
  bool first_ = true;  // no element yet in the innermost value
};

}  // namespace eti::session

#endif  // EXTRACTOR_KR_SESSION_JSON_H_

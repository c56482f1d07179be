// extractor-kr.  Each text is converted from UTF-8 to CP949, run through
// ETI_Main with the chosen dictionaries and reference time, and answered
// with one line: a JSON array in UTF-8 whose elements carry the library's
// fields (properly escaped), the library's own bytes (--raw), or a table
// for people (--table).  A text the encoding cannot hold is answered with
// an error object naming the character, never silently changed.
#include "cli/cli.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <sstream>

#include "session/cp949.h"
#include "common/dict_source.h"
#include "common/file_util.h"
#include "common/trie_format.h"
#include "extractor_kr/stages.h"
#include "jni/json_writer.h"

#ifndef ETI_DEFAULT_DICT_DIR
#define ETI_DEFAULT_DICT_DIR ""
#endif

namespace eti::tools {
namespace {

constexpr char kUsage[] =
    "usage: extractor-kr [options] [TEXT ...]\n"
    "Finds date and time expressions in Korean texts (UTF-8).  Without TEXT,\n"
    "reads one text per line from standard input.  Answers one line per text.\n"
    "  --ref YYYYMMDDhhmm  reference time (default: now, in Korea)\n"
    "  --dict DIR          dictionaries: compiled (tags.bin ...) or sources (tags.txt ...)\n"
    "  --settings FILE     settings text instead of the dictionaries' own\n"
    "  --jsonl             input lines are {\"text\": ..., \"ref\": ...} objects\n"
    "  --table             a table for people instead of JSON\n"
    "  --raw               the library's answer as it is (CP949 bytes)\n"
    "  -h, --help          this text\n";

struct Options {
  std::string ref, dictDir = ETI_DEFAULT_DICT_DIR, settingsFile;
  bool jsonl = false, table = false, raw = false;
  std::vector<std::string> texts;
};

struct Dictionaries {
  std::string settings, replace, tags, patterns, units, words;
};

bool Exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

// Loads compiled dictionaries, or compiles sources in memory.
bool LoadDictionaries(const std::string& dir, Dictionaries* d, std::ostream& err) {
  std::string error;
  if (Exists(dir + "/tags.bin")) {
    const struct {
      const char* file;
      std::string* out;
    } files[] = {{"settings.txt", &d->settings}, {"replace.bin", &d->replace},
                 {"tags.bin", &d->tags},         {"patterns.bin", &d->patterns},
                 {"units.bin", &d->units},       {"words.dic", &d->words}};
    for (const auto& f : files) {
      if (!ReadFile(dir + "/" + f.file, f.out, &error)) {
        err << "extractor-kr: " << error << "\n";
        return false;
      }
    }
    return true;
  }
  if (!Exists(dir + "/tags.txt")) {
    err << "extractor-kr: " << dir << ": no dictionaries (tags.bin or tags.txt) there\n";
    return false;
  }
  std::vector<SourceError> errors;
  const auto source = [&](const char* name, std::string* text) {
    if (!ReadFile(dir + "/" + name, text, &error)) errors.push_back({dir + "/" + name, 0, error});
  };
  const auto trie = [&](const char* name, DictKind kind) {
    std::string text;
    source(name, &text);
    return BuildTrieBlob(TrieEntries(ReadTrieSource(text, dir + "/" + name, kind, &errors)));
  };
  d->replace = trie("replace.txt", DictKind::kReplace);
  d->tags = trie("tags.txt", DictKind::kTag);
  d->patterns = trie("patterns.txt", DictKind::kPattern);
  d->units = trie("units.txt", DictKind::kUnit);
  std::string words;
  source("words.txt", &words);
  d->words = WordListText(ReadWordSource(words, dir + "/words.txt", &errors));
  source("settings.txt", &d->settings);
  for (const SourceError& e : errors) err << e.Format() << "\n";
  return errors.empty();
}

// The current time in Korea (UTC+9, no daylight saving).
std::string Now() {
  const int64_t wall = static_cast<int64_t>(std::time(nullptr)) + 9 * 3600;
  const ETI_TM* tm = sec2Date(&wall);
  char buf[64];
  std::snprintf(buf, sizeof(buf), "%04d%02d%02d%02d%02d", tm->tm_year + 1900, tm->tm_mon + 1,
                tm->tm_mday, tm->tm_hour, tm->tm_min);
  return buf;
}

void AppendJsonString(const std::string& utf8, std::string* out) {
  out->push_back('"');
  for (unsigned char c : utf8) {
    switch (c) {
      case '"': *out += "\\\""; break;
      case '\\': *out += "\\\\"; break;
      case '\n': *out += "\\n"; break;
      case '\r': *out += "\\r"; break;
      case '\t': *out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof(buf), "\\u%04x", c);
          *out += buf;
        } else {
          out->push_back(static_cast<char>(c));
        }
    }
  }
  out->push_back('"');
}

std::string Flags(const uint8_t* f) {
  return std::to_string(f[0]) + std::to_string(f[1]) + std::to_string(f[2]);
}

std::string Fixed(const char* field) { return std::string(field, strnlen(field, 14)); }

std::string JsonOf(const TYPED_RESULT* results) {
  std::string out = "[";
  for (const TYPED_RESULT* r = results; r != nullptr; r = r->next) {
    if (r != results) out += ",";
    const bool span = r->resultType > 1;
    std::string content;
    ConvertError bad;
    if (!Cp949ToUtf8(r->content != nullptr ? r->content : "", &content, &bad)) content.clear();
    out += "{\"resultType\":\"" + std::to_string(r->resultType) + "\"";
    out += ",\"startTime\":\"" + Fixed(r->startTime) + "\"";
    out += ",\"endTime\":\"" + Fixed(span ? r->endTime : r->startTime) + "\"";
    out += ",\"beginIndex\":\"" + std::to_string(r->beginIndex) + "\"";
    out += ",\"endIndex\":\"" + std::to_string(r->endIndex) + "\"";
    out += ",\"content\":";
    AppendJsonString(content, &out);
    out += ",\"inputInformStart\":\"" + Flags(r->inputInformStart) + "\"";
    out += ",\"inputInformEnd\":\"" + Flags(span ? r->inputInformEnd : r->inputInformStart) + "\"";
    out += ",\"cycle\":\"" + Fixed(r->cycle) + "\"}";
  }
  return out + "]";
}

// "2024-05-16 15:00" from a time string; unknown parts are left out.
std::string Readable(const std::string& t) {
  if (t.size() != 14 || t == "FFFFFFFFFFFFFF") return "(open)";
  std::string out = t.substr(0, 4) + "-" + t.substr(4, 2) + "-" + t.substr(6, 2);
  if (t.substr(8, 2) != "FF") {
    out += " " + t.substr(8, 2) + ":" + (t.substr(10, 2) == "FF" ? "00" : t.substr(10, 2));
    if (t.substr(12, 2) != "FF" && t.substr(12, 2) != "00") out += ":" + t.substr(12, 2);
  }
  return out;
}

// The characters [begin, end) of a UTF-8 text, counted as the library
// counts them (one per CP949 character, that is one per code point).
std::string Characters(const std::string& utf8, int32_t begin, int32_t end) {
  std::string out;
  int32_t index = 0;
  for (size_t i = 0; i < utf8.size();) {
    size_t n = 1;
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    if (c >= 0xF0) n = 4; else if (c >= 0xE0) n = 3; else if (c >= 0xC0) n = 2;
    if (index >= begin && index < end) out += utf8.substr(i, n);
    ++index;
    i += n;
  }
  return out;
}

size_t CharacterCount(const std::string& utf8) {
  size_t n = 0;
  for (unsigned char c : utf8) n += (c & 0xC0) != 0x80;
  return n;
}

std::string TableOf(const std::string& text, const std::string& ref, const TYPED_RESULT* results) {
  std::string out = "\"" + text + "\" (reference " + Readable(ref + "00") + ")\n";
  if (results == nullptr) return out + "  nothing found\n";
  static const char* kCycles[][2] = {{"00010000000000", "every year"},
                                     {"00000100000000", "every month"},
                                     {"00000007000000", "every week"},
                                     {"00000001000000", "every day"}};
  for (const TYPED_RESULT* r = results; r != nullptr; r = r->next) {
    out += "  " + Characters(text, r->beginIndex, r->endIndex) + "  ->  " + Readable(Fixed(r->startTime));
    if (r->resultType > 1) out += " ~ " + Readable(Fixed(r->endTime));
    for (const auto& c : kCycles) {
      if (Fixed(r->cycle) == c[0]) out += "  (" + std::string(c[1]) + ")";
    }
    out += "\n";
  }
  std::string content;
  ConvertError bad;
  Cp949ToUtf8(results->content != nullptr ? results->content : "", &content, &bad);
  return out + "  content: \"" + content + "\"\n";
}

// A tiny reader for the JSON-lines input: one object of string fields.
class JsonObject {
 public:
  explicit JsonObject(const std::string& s) : s_(s) {}

  bool Parse(std::string* text, std::string* ref, std::string* error) {
    Skip();
    if (!Eat('{')) return Fail("expected '{'", error);
    Skip();
    if (Eat('}')) return Fail("no \"text\" field", error);
    bool haveText = false;
    while (true) {
      std::string key, value;
      Skip();
      if (!String(&key, error)) return false;
      Skip();
      if (!Eat(':')) return Fail("expected ':' after \"" + key + "\"", error);
      Skip();
      if (!String(&value, error)) return false;
      if (key == "text") {
        *text = value;
        haveText = true;
      } else if (key == "ref") {
        *ref = value;
      }
      Skip();
      if (Eat('}')) break;
      if (!Eat(',')) return Fail("expected ',' or '}'", error);
    }
    Skip();
    if (i_ != s_.size()) return Fail("text after the object", error);
    if (!haveText) return Fail("no \"text\" field", error);
    return true;
  }

 private:
  void Skip() {
    while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t' || s_[i_] == '\r')) ++i_;
  }
  bool Eat(char c) {
    if (i_ < s_.size() && s_[i_] == c) {
      ++i_;
      return true;
    }
    return false;
  }
  bool Fail(const std::string& what, std::string* error) {
    *error = what + " at column " + std::to_string(i_ + 1);
    return false;
  }
  bool Hex4(uint32_t* v) {
    if (i_ + 4 > s_.size()) return false;
    *v = 0;
    for (int k = 0; k < 4; ++k) {
      const char c = s_[i_++];
      *v <<= 4;
      if (c >= '0' && c <= '9') *v |= c - '0';
      else if (c >= 'a' && c <= 'f') *v |= c - 'a' + 10;
      else if (c >= 'A' && c <= 'F') *v |= c - 'A' + 10;
      else return false;
    }
    return true;
  }
  static void Put(uint32_t cp, std::string* out) {
    if (cp < 0x80) {
      out->push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out->push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  bool String(std::string* out, std::string* error) {
    if (!Eat('"')) return Fail("expected a string", error);
    while (i_ < s_.size() && s_[i_] != '"') {
      const char c = s_[i_++];
      if (static_cast<unsigned char>(c) < 0x20) return Fail("control character in a string", error);
      if (c != '\\') {
        out->push_back(c);
        continue;
      }
      if (i_ >= s_.size()) break;
      const char e = s_[i_++];
      switch (e) {
        case '"': case '\\': case '/': out->push_back(e); break;
        case 'b': out->push_back('\b'); break;
        case 'f': out->push_back('\f'); break;
        case 'n': out->push_back('\n'); break;
        case 'r': out->push_back('\r'); break;
        case 't': out->push_back('\t'); break;
        case 'u': {
          uint32_t cp;
          if (!Hex4(&cp)) return Fail("bad \\u escape", error);
          if (cp >= 0xD800 && cp <= 0xDBFF) {
            uint32_t low;
            if (!Eat('\\') || !Eat('u') || !Hex4(&low) || low < 0xDC00 || low > 0xDFFF) {
              return Fail("unpaired surrogate", error);
            }
            cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
            return Fail("unpaired surrogate", error);
          }
          Put(cp, out);
          break;
        }
        default:
          return Fail(std::string("bad escape \\") + e, error);
      }
    }
    if (!Eat('"')) return Fail("unterminated string", error);
    return true;
  }

  const std::string& s_;
  size_t i_ = 0;
};

std::string ErrorObject(const std::string& message) {
  std::string out = "{\"error\":";
  AppendJsonString(message, &out);
  return out + "}";
}

// Runs one text; returns false (after writing an error line) when it could
// not be handled.
bool Answer(const Options& o, const Dictionaries& d, const std::string& where,
            const std::string& text, std::string ref, std::ostream& out, std::ostream& err) {
  if (ref.empty()) ref = o.ref.empty() ? Now() : o.ref;
  std::string cp949;
  ConvertError bad;
  if (!Utf8ToCp949(text, &cp949, &bad)) {
    const std::string message = where + ": character " +
                                std::to_string(CharacterCount(text.substr(0, bad.offset)) + 1) +
                                ": " + bad.message + " (texts are read in CP949)";
    err << "extractor-kr: " << message << "\n";
    out << ErrorObject(message) << "\n";
    return false;
  }
  TYPED_RESULT* results = nullptr;
  if (ETI_Main(cp949.c_str(), &results, ref.c_str(), d.settings.c_str(), d.replace.data(),
               d.tags.data(), d.patterns.data(), d.units.data(), d.words.c_str()) != 0) {
    const std::string message = where + ": reference time \"" + ref +
                                "\" is not YYYYMMDDhhmm within 1970..2043";
    err << "extractor-kr: " << message << "\n";
    out << ErrorObject(message) << "\n";
    return false;
  }
  if (o.raw) {
    char* json = WriteJsonArray(results);
    out << json << "\n";
    std::free(json);
  } else if (o.table) {
    out << TableOf(text, ref, results);
  } else {
    out << JsonOf(results) << "\n";
  }
  ETI_FreeTypedResults(results);
  return true;
}

int Usage(std::ostream& err, const std::string& problem) {
  err << "extractor-kr: " << problem << "\n" << kUsage;
  return 2;
}

}  // namespace

int RunCli(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
           std::ostream& err) {
  Options o;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const auto value = [&](std::string* into) {
      if (i + 1 >= args.size()) return false;
      *into = args[++i];
      return true;
    };
    if (a == "-h" || a == "--help") {
      out << kUsage;
      return 0;
    } else if (a == "--ref") {
      if (!value(&o.ref)) return Usage(err, "--ref needs YYYYMMDDhhmm");
      if (o.ref.size() != 12 || o.ref.find_first_not_of("0123456789") != std::string::npos) {
        return Usage(err, "--ref \"" + o.ref + "\" is not twelve digits YYYYMMDDhhmm");
      }
    } else if (a == "--dict") {
      if (!value(&o.dictDir)) return Usage(err, "--dict needs a directory");
    } else if (a == "--settings") {
      if (!value(&o.settingsFile)) return Usage(err, "--settings needs a file");
    } else if (a == "--jsonl") {
      o.jsonl = true;
    } else if (a == "--table") {
      o.table = true;
    } else if (a == "--raw") {
      o.raw = true;
    } else if (a.size() > 1 && a[0] == '-' && a[1] == '-') {
      return Usage(err, "unknown option " + a);
    } else {
      o.texts.push_back(a);
    }
  }
  if (o.jsonl && !o.texts.empty()) return Usage(err, "--jsonl reads standard input only");
  if (o.dictDir.empty()) return Usage(err, "no dictionaries: give --dict DIR");

  Dictionaries d;
  if (!LoadDictionaries(o.dictDir, &d, err)) return 2;
  if (!o.settingsFile.empty()) {
    std::string error;
    if (!ReadFile(o.settingsFile, &d.settings, &error)) {
      err << "extractor-kr: " << error << "\n";
      return 2;
    }
  }

  bool ok = true;
  if (!o.texts.empty()) {
    for (size_t k = 0; k < o.texts.size(); ++k) {
      ok &= Answer(o, d, "argument " + std::to_string(k + 1), o.texts[k], "", out, err);
    }
    return ok ? 0 : 1;
  }
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::string where = "line " + std::to_string(number);
    if (!o.jsonl) {
      ok &= Answer(o, d, where, line, "", out, err);
      continue;
    }
    std::string text, ref, error;
    if (!JsonObject(line).Parse(&text, &ref, &error)) {
      err << "extractor-kr: " << where << ": " << error << "\n";
      out << ErrorObject(where + ": " + error) << "\n";
      ok = false;
      continue;
    }
    ok &= Answer(o, d, where, text, ref, out, err);
  }
  return ok ? 0 : 1;
}

}  // namespace eti::tools

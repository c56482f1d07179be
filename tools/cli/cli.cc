// extractor-kr.  Each text (UTF-8, any characters) goes through the
// session API with the chosen dictionaries and reference time, and is
// answered with one line: a JSON object with the found expressions and the
// content once, the whole-call entry's own bytes (--raw), or a table for
// people (--table).
// Every problem names the option, argument or input line it came from.
#include "cli/cli.h"

#include <iconv.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>
#include <thread>
#include <vector>

#include "common/json_text.h"
#include "common/reading_options.h"
#include "extractor_kr.h"
#include "extractor_kr.hpp"
#include "extractor_kr/stages.h"

namespace eti::tools {
namespace {

using Json = nlohmann::ordered_json;

constexpr char kUsage[] =
    "usage: extractor-kr [options] [TEXT ...]\n"
    "Finds date and time expressions in Korean texts (UTF-8).  Without TEXT,\n"
    "reads one text per line from standard input.  Answers one line per text:\n"
    "{\"results\": [...], \"content\": ...}, the content (the text without its\n"
    "expressions) once per answer.\n"
    "  --ref YYYYMMDDhhmm  reference time (default: now, in Korea)\n"
    "  --dict DIR          dictionaries: compiled (tags.bin ...) or sources (tags.txt ...);\n"
    "                      default: the set built into the library\n"
    "  --settings FILE     settings text instead of the dictionaries' own\n"
    "  --rules reader|whole-call  how texts are read (default: reader, each expression on\n"
    "                      its own terms; whole-call: the native method's rules exactly)\n"
    "  --prefer future|past  where an open date or time falls (default: future, the\n"
    "                      next one to come; past: the last one that has come)\n"
    "  --years MIN-MAX     the years written years are read in and results may reach\n"
    "                      (default: the rules' own, 1000-2999 for the reader)\n"
    "  --jsonl             input lines are JSON objects {\"text\": ..., \"ref\": ..., \"id\": ...,\n"
    "                      \"rules\": ..., \"prefer\": ..., \"years\": [MIN, MAX]} (the last\n"
    "                      three optional); each answer is {\"id\": ..., \"results\": [...],\n"
    "                      \"content\": ...}\n"
    "  --threads N         lines of standard input answered at once (default: one per\n"
    "                      core, up to 8); the answers keep the input's order\n"
    "  --table             a table for people instead of JSON\n"
    "  --explain           what each stage made of each text: the replacements that\n"
    "                      fired, the tokens, the patterns, the records as found,\n"
    "                      compounded and resolved, then the answer (with --jsonl, one\n"
    "                      JSON object per text)\n"
    "  --raw               the whole-call entry's own answer (CP949 bytes), by the\n"
    "                      whole call's rules\n"
    "  -h, --help          this text\n";

// One thread per core, up to 8: lines are short and the answers are
// written in order, so more threads only queue.
size_t DefaultThreads() {
  return std::clamp<size_t>(std::thread::hardware_concurrency(), 1, 8);
}

struct Options {
  std::string ref, dictDir, settingsFile;
  ekr_options reading = DefaultReading();
  bool jsonl = false, table = false, raw = false, explain = false, rulesGiven = false;
  size_t threads = DefaultThreads();
  std::vector<std::string> texts;
};

// The current time in Korea (UTC+9, no daylight saving).
std::string Now() {
  const std::time_t wall = std::time(nullptr) + 9 * 3600;
  std::tm tm{};
  gmtime_r(&wall, &tm);
  char buf[64];
  std::snprintf(buf, sizeof(buf), "%04d%02d%02d%02d%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                tm.tm_mday, tm.tm_hour, tm.tm_min);
  return buf;
}

// YYYYMMDDhhmmss with F's for the fields a moment leaves open, as the whole
// call writes its times.
std::string TimeString(const ekr_moment& m) {
  const int32_t fields[6] = {m.year, m.month, m.day, m.hour, m.minute, m.second};
  std::string out;
  for (int k = 0; k < 6; ++k) {
    const int width = k == 0 ? 4 : 2;
    if (fields[k] < 0) {
      out.append(static_cast<size_t>(width), 'F');
    } else {
      char buf[16];
      std::snprintf(buf, sizeof(buf), "%0*d", width, static_cast<int>(fields[k]));
      out += buf;
    }
  }
  return out;
}

std::string ReferenceFormatProblem(const std::string& ref) {
  if (ref.size() != 12 || ref.find_first_not_of("0123456789") != std::string::npos) {
    return "\"" + ref + "\" is not twelve digits YYYYMMDDhhmm";
  }
  return "";
}

// The problem with a reference time under options, or "" when its year lies
// in the years the library takes (it judges the other fields per text).
std::string ReferenceProblem(const std::string& ref, const ekr_options& reading) {
  const std::string format = ReferenceFormatProblem(ref);
  if (!format.empty()) return format;
  int32_t first = 0, last = 0;
  ekr_reference_years(reading.rules, &first, &last);
  if (reading.rules != EKR_RULES_WHOLE_CALL && reading.min_year != 0) {
    first = reading.min_year;
    last = reading.max_year;
  }
  const int year = std::stoi(ref.substr(0, 4));
  if (year < first || year > last) {
    return "\"" + ref + "\" is outside years " + std::to_string(first) + ".." + std::to_string(last);
  }
  return "";
}

std::string Flags(const ekr_moment& m) {
  return std::to_string(m.has_date) + std::to_string(m.has_time) + std::to_string(m.has_ampm);
}

// The cycle as the whole call writes it, a period YYYYMMDDhhmmss: every
// year 00010000000000, every week 00000007000000, every other week
// 00000014000000.
std::string CycleString(const ekr_result& e) {
  int32_t years = 0, months = 0, days = 0;
  const int32_t every = e.cycle_interval > 0 ? e.cycle_interval : 1;
  switch (e.cycle) {
    case EKR_CYCLE_YEAR: years = every; break;
    case EKR_CYCLE_MONTH: months = every; break;
    case EKR_CYCLE_WEEK: days = 7 * every; break;
    case EKR_CYCLE_DAY: days = every; break;
    default: break;
  }
  char buf[32];
  std::snprintf(buf, sizeof(buf), "%04d%02d%02d000000", years % 10000, months % 100, days % 100);
  return buf;
}

// One result in the whole call's element shape, less its content (the
// answer gives the content once), every value a string, positions in code
// points.
void AppendResult(const ekr_result& e, std::string* out) {
  const ekr_moment& end = e.is_span ? e.end : e.start;
  const auto field = [out](const char* name, const std::string& value) {
    out->append("\"").append(name).append("\":\"").append(value).append("\",");
  };
  out->push_back('{');
  field("resultType", e.is_span ? "2" : "1");
  field("startTime", TimeString(e.start));
  field("endTime", TimeString(end));
  field("beginIndex", std::to_string(e.begin_char));
  field("endIndex", std::to_string(e.end_char));
  field("inputInformStart", Flags(e.start));
  field("inputInformEnd", Flags(end));
  field("cycle", CycleString(e));
  out->back() = '}';
}

std::string Dump(const Json& j) { return j.dump(-1, ' ', false, Json::error_handler_t::replace); }

// A text as a JSON string, written in pieces of at most 64 KB, so that a
// long content is never held twice.
void WriteJsonString(std::ostream& out, std::string_view text) {
  constexpr size_t kPiece = 64 * 1024;
  std::string piece;
  out << '"';
  while (!text.empty()) {
    const size_t n = std::min(kPiece, text.size());
    piece.clear();
    AppendJsonString(text.substr(0, n), &piece);
    out.write(piece.data() + 1, static_cast<std::streamsize>(piece.size() - 2));
    text.remove_prefix(n);
  }
  out << '"';
}

// One answer, {"id": ..., "results": [...], "content": "..."}, written
// element by element as it is made; the id only when the input had one.
void WriteAnswer(std::ostream& out, const Json* id, const ekr_results* r) {
  out << '{';
  if (id != nullptr) out << "\"id\":" << Dump(*id) << ',';
  std::string results = "\"results\":[";
  for (const ekr_result& e : ekr::Items(r)) {
    AppendResult(e, &results);
    results.push_back(',');
  }
  if (results.back() == ',') results.pop_back();
  out << results << "],\"content\":";
  WriteJsonString(out, ekr_results_content(r));
  out << "}\n";
}

// "2024-05-16 15:00" from a moment; "(open)" for an open start or end.
std::string Readable(const ekr_moment& m) {
  if (m.year == -1 && m.month == -1 && m.day == -1 && m.hour == -1) return "(open)";
  const std::string t = TimeString(m);
  std::string out = t.substr(0, 4) + "-" + t.substr(4, 2) + "-" + t.substr(6, 2);
  if (m.hour != -1) {
    out += " " + t.substr(8, 2) + ":" + (m.minute == -1 ? "00" : t.substr(10, 2));
    if (m.second > 0) out += ":" + t.substr(12, 2);
  }
  return out;
}

std::string TableOf(const std::string& text, const std::string& ref, const ekr_results* r) {
  std::string out = "\"" + text + "\" (reference " + ref.substr(0, 4) + "-" + ref.substr(4, 2) +
                    "-" + ref.substr(6, 2) + " " + ref.substr(8, 2) + ":" + ref.substr(10, 2) +
                    ")\n";
  if (ekr::Items(r).empty()) return out + "  nothing found\n";
  static const char* kCycles[] = {"", "day", "week", "month", "year"};
  for (const ekr_result& e : ekr::Items(r)) {
    const std::string expression =
        e.begin_byte >= 0 ? text.substr(e.begin_byte, e.end_byte - e.begin_byte) : "";
    out += "  " + expression + "  ->  " + Readable(e.start);
    if (e.is_span) out += " ~ " + Readable(e.end);
    if (e.cycle != EKR_CYCLE_NONE) {
      out += e.cycle_interval > 1
                 ? "  (every " + std::to_string(e.cycle_interval) + " " + kCycles[e.cycle] + "s)"
                 : std::string("  (every ") + kCycles[e.cycle] + ")";
    }
    out += "\n";
  }
  return out + "  content: \"" + ekr_results_content(r) + "\"\n";
}

// A record's fields, "year=2024 month=5 ...".
std::string FieldsOf(const Json& fields) {
  std::string out;
  for (auto it = fields.begin(); it != fields.end(); ++it) {
    if (!out.empty()) out += ' ';
    out += it.key() + "=" + std::to_string(it.value().get<int64_t>());
  }
  return out;
}

// The trace of --explain for people, stages 1 to 4.
std::string ExplainForPeople(const Json& t) {
  std::ostringstream out;
  const auto quoted = [](const Json& s) { return "\"" + s.get<std::string>() + "\""; };
  out << "text: " << quoted(t["text"]) << "  (reference " << t["reference"].get<std::string>()
      << ", " << t["rules"].get<std::string>() << " rules, " << t["prefer"].get<std::string>()
      << ", years " << t["years"][0] << ".." << t["years"][1] << ")\n";
  out << "1. normalised: " << quoted(t["normalised"]) << "\n";
  if (t["replacements"].empty()) out << "   no replacement fired\n";
  for (const Json& r : t["replacements"]) {
    out << "   at " << r["at"] << ": " << quoted(r["key"]) << " -> " << quoted(r["value"]);
    if (r.contains("source")) out << "  (" << r["source"].get<std::string>() << ")";
    out << "\n";
  }
  out << "2. tokens:\n";
  for (const Json& k : t["tokens"]) {
    std::string tags;
    for (const Json& tag : k["tags"]) tags += (tags.empty() ? "" : " ") + tag.get<std::string>();
    out << "   " << quoted(k["text"]) << " at " << k["at"] << ": " << tags;
    if (k.contains("source")) out << "  (" << k["source"].get<std::string>() << ")";
    out << "\n";
  }
  out << "3. patterns:\n";
  if (t["patterns"].empty()) out << "   none\n";
  for (const Json& p : t["patterns"]) {
    out << "   " << quoted(p["text"]);
    if (!p["pattern"].get<std::string>().empty()) out << "  " << p["pattern"].get<std::string>();
    out << "  -> " << p["outcome"].get<std::string>();
    if (p.contains("source")) out << "  (" << p["source"].get<std::string>() << ")";
    out << "\n";
  }
  out << "4. records:\n";
  for (const char* stage : {"found", "compounded", "resolved"}) {
    int k = 0;
    for (const Json& r : t[stage]) {
      out << "   " << stage << " " << k++ << ": " << quoted(r["text"]) << "  "
          << FieldsOf(r["fields"]);
      if (r.contains("has") && !r["has"].get<std::string>().empty()) {
        out << "  (has " << r["has"].get<std::string>() << ")";
      }
      if (r.contains("note")) out << "  [" << r["note"].get<std::string>() << "]";
      out << "\n";
    }
  }
  for (const Json& n : t["kept"]) out << "   " << n.get<std::string>() << "\n";
  return out.str();
}

// UTF-8 into CP949 with the C library's converter (the encoding the whole
// call reads), or the problem: where and what cannot be written.
bool ToCp949(const std::string& utf8, std::string* out, std::string* problem) {
  iconv_t cd = iconv_open("CP949", "UTF-8");
  if (cd == reinterpret_cast<iconv_t>(-1)) {
    *problem = "no CP949 converter on this system";
    return false;
  }
  out->assign(2 * utf8.size() + 1, '\0');
  char* in = const_cast<char*>(utf8.data());
  size_t inLeft = utf8.size();
  char* o = &(*out)[0];
  size_t outLeft = out->size();
  const size_t done = iconv(cd, &in, &inLeft, &o, &outLeft);
  const int error = errno;
  iconv_close(cd);
  if (done == static_cast<size_t>(-1)) {
    const size_t at = utf8.size() - inLeft;
    const auto b = static_cast<unsigned char>(utf8[at]);
    const size_t n = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    uint32_t cp = n == 1 ? b : b & (0xFF >> (n + 1));
    bool whole = error == EILSEQ && at + n <= utf8.size() && b >= 0xC2 && b <= 0xF4;
    for (size_t k = 1; whole && k < n; ++k) {
      const auto c = static_cast<unsigned char>(utf8[at + k]);
      whole = (c & 0xC0) == 0x80;
      cp = cp << 6 | (c & 0x3F);
    }
    char name[16];
    std::snprintf(name, sizeof(name), "U+%04X", static_cast<unsigned>(cp));
    *problem = "byte " + std::to_string(at) + ": " +
               (whole ? std::string(name) + " cannot be written in CP949" : "malformed UTF-8");
    return false;
  }
  out->resize(out->size() - outLeft);
  return true;
}

// Answers texts into one pair of streams; several tools may share one
// extractor, each on its own thread.
class Tool {
 public:
  Tool(const Options& o, const ekr_extractor* ex, std::ostream& out, std::ostream& err)
      : o_(o), ex_(ex), out_(out), err_(err) {}

  // Answers one text; false (after an error line) when it could not.
  bool Answer(const std::string& where, const std::string& text, std::string ref,
              const ekr_options& reading, const Json* id) {
    if (ref.empty()) ref = o_.ref.empty() ? Now() : o_.ref;
    const std::string refProblem = ReferenceFormatProblem(ref);
    if (!refProblem.empty()) return Fail(where, "ref " + refProblem, id);
    if (o_.raw) {
      if (!WholeCall(reading)) return Fail(where, "--raw reads by the whole call's rules only", id);
      return Raw(where, text, ref, id);
    }
    if (o_.explain) return Explain(where, text, ref, reading, id);
    ekr::Results r;
    if (ekr::Extract(ex_, text, ref.c_str(), reading, &r) != EKR_OK) {
      return Fail(where, ekr_last_error(), id);
    }
    if (o_.table) {
      out_ << TableOf(text, ref, r.get());
    } else {
      WriteAnswer(out_, id, r.get());
    }
    return true;
  }

  bool Fail(const std::string& where, const std::string& problem, const Json* id) {
    const std::string message = where + ": " + problem;
    err_ << "extractor-kr: " << message << "\n";
    Json line = Json::object();
    if (id != nullptr) line["id"] = *id;
    line["error"] = message;
    out_ << Dump(line) << "\n";
    return false;
  }

 private:
  // The trace of one text, then its answer as the default output gives it:
  // for people, or with --jsonl one JSON object (the trace with the answer
  // under "answer").
  bool Explain(const std::string& where, const std::string& text, const std::string& ref,
               const ekr_options& reading, const Json* id) {
    char* raw = nullptr;
    if (ekr_explain(ex_, text.data(), text.size(), ref.c_str(), &reading, &raw) != EKR_OK) {
      return Fail(where, ekr_last_error(), id);
    }
    const ekr::MallocString json(raw);
    ekr::Results r;
    if (ekr::Extract(ex_, text, ref.c_str(), reading, &r) != EKR_OK) {
      return Fail(where, ekr_last_error(), id);
    }
    std::ostringstream answer;
    WriteAnswer(answer, id, r.get());
    const Json trace = Json::parse(json.get());
    if (o_.jsonl) {
      Json line = Json::object();
      if (id != nullptr) line["id"] = *id;
      for (auto it = trace.begin(); it != trace.end(); ++it) {
        if (it.key() != "results" && it.key() != "content") line[it.key()] = it.value();
      }
      std::string a = answer.str();
      a.pop_back();  // its line feed
      line["answer"] = Json::parse(a);
      out_ << Dump(line) << "\n";
    } else {
      out_ << ExplainForPeople(trace) << "5. answer:\n   " << answer.str();
    }
    return true;
  }

  // The whole-call entry, for comparing with what the native method gives.
  bool Raw(const std::string& where, const std::string& text, const std::string& ref,
           const Json* id) {
    std::string cp949, problem;
    if (!ToCp949(text, &cp949, &problem)) return Fail(where, problem + " (--raw reads texts in CP949)", id);
    ekr_dictionaries d;
    ekr_dictionaries_of(ex_, &d);
    // The settings and the word list are texts the entry reads up to a NUL.
    const std::string settings(static_cast<const char*>(d.settings.data), d.settings.size);
    const std::string words(static_cast<const char*>(d.words.data), d.words.size);
    TYPED_RESULT* results = nullptr;
    ETI_Main(cp949.c_str(), &results, ref.c_str(), settings.c_str(), d.replacements.data,
             d.tags.data, d.patterns.data, d.unit_sequences.data, words.c_str());
    const ekr::MallocString json(ETI_ResultsJson(results));
    out_ << json.get() << "\n";
    ETI_FreeTypedResults(results);
    return true;
  }

  const Options& o_;
  const ekr_extractor* ex_;
  std::ostream& out_;
  std::ostream& err_;
};

// One line of --jsonl input: false with *problem for a line that is not an
// object with a "text" string, a "ref" string or whole number (optional), an
// "id" of any kind (optional, echoed), a "prefer" ("future" or "past") and
// "years" ([MIN, MAX] or "MIN-MAX") that change *reading (optional).
bool ParseLine(const std::string& line, std::string* text, std::string* ref, Json* id,
               bool* hasId, ekr_options* reading, std::string* problem) {
  Json j;
  try {
    j = Json::parse(line);
  } catch (const Json::exception& e) {
    // "[json.exception.parse_error.101] parse error at line 1, column 3: ...",
    // or a number past a double ("[json.exception.out_of_range.406] ...").
    const std::string what = e.what();
    const size_t at = what.find("] ");
    *problem = "not JSON: " + (at == std::string::npos ? what : what.substr(at + 2));
    return false;
  }
  if (!j.is_object()) {
    *problem = "not a JSON object";
    return false;
  }
  const auto t = j.find("text");
  if (t == j.end() || !t->is_string()) {
    *problem = "no \"text\" string";
    return false;
  }
  *text = t->get<std::string>();
  const auto r = j.find("ref");
  if (r != j.end()) {
    if (r->is_string()) {
      *ref = r->get<std::string>();
    } else if (r->is_number_unsigned()) {
      *ref = std::to_string(r->get<uint64_t>());
    } else {
      *problem = "\"ref\" is neither a string nor a whole number";
      return false;
    }
  }
  const auto i = j.find("id");
  *hasId = i != j.end();
  if (*hasId) *id = *i;
  const auto rules = j.find("rules");
  if (rules != j.end() &&
      (!rules->is_string() || !ParseRules(rules->get<std::string>(), &reading->rules))) {
    *problem = "\"rules\" is not " + RulesNames();
    return false;
  }
  const auto p = j.find("prefer");
  if (p != j.end() && (!p->is_string() || !ParsePrefer(p->get<std::string>(), &reading->prefer))) {
    *problem = "\"prefer\" is not " + PreferNames();
    return false;
  }
  const auto y = j.find("years");
  if (y != j.end()) {
    std::string years;
    if (y->is_string()) {
      years = y->get<std::string>();
    } else if (y->is_array() && y->size() == 2 && (*y)[0].is_number_integer() &&
               (*y)[1].is_number_integer()) {
      years = std::to_string((*y)[0].get<int64_t>()) + "-" + std::to_string((*y)[1].get<int64_t>());
    } else {
      *problem = "\"years\" is neither [MIN, MAX] nor \"MIN-MAX\"";
      return false;
    }
    const std::string bad = ParseYears(years, reading);
    if (!bad.empty()) {
      *problem = "\"years\": " + bad;
      return false;
    }
  }
  const std::string bad = OptionsProblem(*reading);
  if (!bad.empty()) {
    *problem = bad;
    return false;
  }
  return true;
}

int Usage(std::ostream& err, const std::string& problem) {
  err << "extractor-kr: " << problem << "\n" << kUsage;
  return 2;
}

bool Blank(const std::string& line) {
  return line.find_first_not_of(" \t\r") == std::string::npos;
}

// One input line: its answer, or an error line; false after an error.
bool AnswerLine(Tool& tool, const Options& o, int number, std::string line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  const std::string where = "line " + std::to_string(number);
  if (!o.jsonl) return tool.Answer(where, line, "", o.reading, nullptr);
  if (Blank(line)) return true;
  std::string text, ref, problem;
  Json id;
  bool hasId = false;
  ekr_options reading = o.reading;
  if (!ParseLine(line, &text, &ref, &id, &hasId, &reading, &problem)) {
    return tool.Fail(where, problem, nullptr);
  }
  return tool.Answer(where, text, ref, reading, hasId ? &id : nullptr);
}

// Standard input, a batch of lines at a time: the lines of a batch are
// answered on o.threads threads (the extractor is shared; each line's answer
// and errors go to its own buffers) and written in input order, so the
// output is the same whatever the number of threads.  A batch holds at most
// kBatchLines lines and kBatchBytes bytes; a line longer than that makes a
// batch of its own, answered straight to the stream, never buffered.
bool AnswerLines(const Options& o, const ekr_extractor* ex, std::istream& in, std::ostream& out,
                 std::ostream& err) {
  constexpr size_t kBatchLines = 2048;
  constexpr size_t kBatchBytes = size_t{4} << 20;
  bool ok = true;
  int number = 0;
  std::vector<std::string> batch;
  std::string held;  // a long line read after a batch had begun: the next batch
  bool holding = false;
  struct Answered {
    std::stringstream out, err;  // read back as well as written
    bool ok = true;
  };
  for (bool more = true; more;) {
    batch.clear();
    size_t bytes = 0;
    if (holding) {
      bytes = held.size();
      batch.push_back(std::move(held));
      holding = false;
    }
    std::string line;
    while (batch.size() < kBatchLines && bytes < kBatchBytes && (more = bool(std::getline(in, line)))) {
      if (!batch.empty() && line.size() >= kBatchBytes) {
        held = std::move(line);
        holding = true;
        break;
      }
      bytes += line.size();
      batch.push_back(std::move(line));
    }
    more = more || holding;
    const size_t threads = std::min<size_t>(o.threads, batch.size());
    if (threads <= 1) {
      // Straight to the streams: a long line's answer is never buffered.
      Tool tool(o, ex, out, err);
      for (std::string& l : batch) ok &= AnswerLine(tool, o, ++number, std::move(l));
      continue;
    }
    std::vector<Answered> answers(batch.size());
    std::atomic<size_t> next{0};
    const auto work = [&] {
      for (size_t k; (k = next.fetch_add(1)) < batch.size();) {
        Tool tool(o, ex, answers[k].out, answers[k].err);
        answers[k].ok = AnswerLine(tool, o, number + 1 + static_cast<int>(k), std::move(batch[k]));
      }
    };
    std::vector<std::thread> pool;
    try {
      for (size_t t = 1; t < threads; ++t) pool.emplace_back(work);
    } catch (const std::system_error&) {
      // No more threads to be had: the ones made and this one do the batch.
    }
    work();
    for (std::thread& t : pool) t.join();
    for (Answered& a : answers) {
      // (Inserting an empty buffer would set the stream's failbit.)
      if (a.out.tellp() > 0) out << a.out.rdbuf();
      if (a.err.tellp() > 0) err << a.err.rdbuf();
      ok &= a.ok;
    }
    number += static_cast<int>(batch.size());
  }
  return ok;
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
    } else if (a == "--dict") {
      if (!value(&o.dictDir)) return Usage(err, "--dict needs a directory");
    } else if (a == "--settings") {
      if (!value(&o.settingsFile)) return Usage(err, "--settings needs a file");
    } else if (a == "--rules") {
      std::string v;
      if (!value(&v) || !ParseRules(v, &o.reading.rules)) {
        return Usage(err, "--rules needs " + RulesNames());
      }
      o.rulesGiven = true;
    } else if (a == "--prefer") {
      std::string v;
      if (!value(&v) || !ParsePrefer(v, &o.reading.prefer)) {
        return Usage(err, "--prefer needs " + PreferNames());
      }
    } else if (a == "--years") {
      std::string v;
      if (!value(&v)) return Usage(err, "--years needs MIN-MAX");
      const std::string problem = ParseYears(v, &o.reading);
      if (!problem.empty()) return Usage(err, "--years " + problem);
    } else if (a == "--threads") {
      std::string v;
      if (!value(&v) || v.empty() || v.size() > 3 || v.find_first_not_of("0123456789") != std::string::npos ||
          std::stoi(v) < 1 || std::stoi(v) > 256) {
        return Usage(err, "--threads needs a number from 1 to 256");
      }
      o.threads = static_cast<size_t>(std::stoi(v));
    } else if (a == "--jsonl") {
      o.jsonl = true;
    } else if (a == "--table") {
      o.table = true;
    } else if (a == "--explain") {
      o.explain = true;
    } else if (a == "--raw") {
      o.raw = true;
    } else if (a.size() > 1 && a[0] == '-' && a[1] == '-') {
      return Usage(err, "unknown option " + a);
    } else {
      o.texts.push_back(a);
    }
  }
  if (o.raw) {
    if (o.rulesGiven && !WholeCall(o.reading)) {
      return Usage(err, "--raw reads by the whole call's rules only");
    }
    o.reading.rules = EKR_RULES_WHOLE_CALL;
  }
  {
    const std::string problem = OptionsProblem(o.reading);
    if (!problem.empty()) return Usage(err, problem);
  }
  if (!o.ref.empty()) {
    const std::string problem = ReferenceProblem(o.ref, o.reading);
    if (!problem.empty()) return Usage(err, "--ref " + problem);
  }
  if (o.jsonl && !o.texts.empty()) return Usage(err, "--jsonl reads standard input only");
  if (o.table + o.raw + o.explain > 1) {
    return Usage(err, "--table, --raw and --explain do not go together");
  }

  ekr::Extractor ex =
      o.dictDir.empty() && o.settingsFile.empty()
          ? ekr::OpenDefault()
          : ekr::Open(o.dictDir.empty() ? nullptr : o.dictDir.c_str(),
                      o.settingsFile.empty() ? nullptr : o.settingsFile.c_str());
  if (ex == nullptr) {
    // A settings file that cannot be read is named first by the library.
    const std::string problem = ekr_last_error();
    const bool settings =
        !o.settingsFile.empty() && problem.compare(0, o.settingsFile.size(), o.settingsFile) == 0;
    std::istringstream lines(problem);
    std::string line;
    while (std::getline(lines, line)) {
      err << "extractor-kr: " << (settings ? "--settings: " : "--dict: ") << line << "\n";
    }
    return 2;
  }

  if (!o.texts.empty()) {
    Tool tool(o, ex.get(), out, err);
    bool ok = true;
    for (size_t k = 0; k < o.texts.size(); ++k) {
      ok &= tool.Answer("argument " + std::to_string(k + 1), o.texts[k], "", o.reading, nullptr);
    }
    return ok ? 0 : 1;
  }
  return AnswerLines(o, ex.get(), in, out, err) ? 0 : 1;
}

}  // namespace eti::tools

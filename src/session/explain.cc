// What each stage made of a text, as one JSON object: the run is the same
// extraction as any other, with a trace handed to its thread, and the
// trace is written out afterwards in UTF-8 with positions in characters.
#include <string>

#include "driver/trace.h"
#include "session/cp949.h"
#include "session/extractor.h"
#include "session/json.h"

namespace eti::session {
namespace {

// Characters of a CP949 text before byte `at` (a byte of 0x80 or above
// opens a two-byte character).
int64_t CharsBefore(const std::string& cp949, int32_t at) {
  int64_t chars = 0;
  for (int32_t i = 0; i < at && i < static_cast<int32_t>(cp949.size()); ++chars) {
    i += static_cast<unsigned char>(cp949[static_cast<size_t>(i)]) >= 0x80 ? 2 : 1;
  }
  return chars;
}

// The bytes [begin, end) of a CP949 text in UTF-8.
std::string Slice(const std::string& cp949, int32_t begin, int32_t end) {
  if (begin < 0 || end <= begin || begin >= static_cast<int32_t>(cp949.size())) return "";
  const auto b = static_cast<size_t>(begin);
  return Utf8(std::string_view(cp949).substr(b, static_cast<size_t>(end) - b));
}

void Fields(const DTINFO& r, JsonWriter* w) {
  const struct {
    const char* name;
    int32_t value;
  } fields[] = {
      {"year", r.year},           {"month", r.month},
      {"day", r.day},             {"week", r.week},
      {"weekday", r.weekday},     {"hour", r.hour},
      {"minute", r.minute},       {"second", r.second},
      {"spanKind", r.spanKind},   {"spanYear", r.spanYear},
      {"spanMonth", r.spanMonth}, {"spanDays", r.spanDays},
      {"duration", r.duration},   {"relKind", r.relKind},
      {"repeatYear", r.repeatYear}, {"repeatMonth", r.repeatMonth},
      {"repeatWeek", r.repeatWeek}, {"repeatDay", r.repeatDay},
      {"repeatHour", r.repeatHour}, {"ampm", r.ampm},
      {"dayNight", r.dayNight},   {"lunar", r.lunar},
      {"periodEnd", r.periodEnd},
  };
  w->BeginObject();
  for (const auto& f : fields) {
    if (f.value != ETI_UNSET) w->Key(f.name).Int(f.value);
  }
  w->EndObject();
}

void Records(const char* name, const std::vector<Trace::Record>& records,
             const std::string& normalised, bool flags, JsonWriter* w) {
  w->Key(name).BeginArray();
  for (const Trace::Record& r : records) {
    w->BeginObject();
    w->Key("text").String(Slice(normalised, r.begin, r.end));
    w->Key("fields");
    Fields(r.fields, w);
    if (flags) {
      w->Key("has").String(std::string(r.fields.hasDate == 1 ? "date " : "") +
                           (r.fields.hasTime == 1 ? "time " : "") +
                           (r.fields.hasAmPm == 1 ? "ampm" : ""));
    }
    if (!r.note.empty()) w->Key("note").String(r.note);
    w->EndObject();
  }
  w->EndArray();
}

void Moment(const ekr_moment& m, JsonWriter* w) {
  w->String(TimeString(m));
}

}  // namespace

Status Extractor::Explain(std::string_view text, std::string_view reference,
                          const ekr_options& options, std::string* json) const {
  json->clear();
  Trace trace;
  Results results;
  Status s;
  {
    const ScopedTrace scope(&trace);
    s = Extract(text, reference, options, &results);
  }
  if (!s.ok()) return s;
  const ReadingRules rules = RulesOf(options);
  JsonWriter w;
  w.BeginObject();
  w.Key("text").String(text);
  w.Key("reference").String(reference);
  w.Key("rules").String(rules.reader ? "reader" : "whole-call");
  w.Key("prefer").String(rules.past ? "past" : "future");
  w.Key("years").BeginArray().Int(rules.minYear).Int(rules.maxYear).EndArray();

  w.Key("replacements").BeginArray();
  for (const Trace::Replacement& r : trace.replacements) {
    w.BeginObject();
    w.Key("at").Int(CharsBefore(trace.input, r.at));
    w.Key("key").String(Utf8(r.key));
    w.Key("value").String(Utf8(r.value));
    const std::string origin = OriginOf(0, r.key);
    if (!origin.empty()) w.Key("source").String(origin);
    w.EndObject();
  }
  w.EndArray();
  w.Key("normalised").String(Utf8(trace.normalised));

  w.Key("tokens").BeginArray();
  for (const Trace::Token& t : trace.tokens) {
    w.BeginObject();
    w.Key("at").Int(CharsBefore(trace.normalised, t.at));
    w.Key("text").String(Slice(trace.normalised, t.at, t.at + t.length));
    w.Key("tags").BeginArray();
    for (const std::string& tag : t.tags) w.String(tag);
    w.EndArray();
    const std::string origin = OriginOf(1, trace.normalised.substr(
                                               static_cast<size_t>(t.at), static_cast<size_t>(t.length)));
    if (!origin.empty()) w.Key("source").String(origin);
    w.EndObject();
  }
  w.EndArray();

  w.Key("patterns").BeginArray();
  for (const Trace::Match& m : trace.matches) {
    w.BeginObject();
    w.Key("text").String(Slice(trace.normalised, m.begin, m.end));
    w.Key("pattern").String(m.pattern);
    w.Key("outcome").String(m.outcome);
    const std::string origin = OriginOf(2, m.pattern);
    if (!origin.empty()) w.Key("source").String(origin);
    w.EndObject();
  }
  w.EndArray();

  Records("found", trace.found, trace.normalised, false, &w);
  Records("compounded", trace.compounded, trace.normalised, false, &w);
  Records("resolved", trace.resolved, trace.normalised, true, &w);
  w.Key("kept").BeginArray();
  for (const std::string& note : trace.results) w.String(note);
  w.EndArray();

  w.Key("results").BeginArray();
  for (const ekr_result& e : results.items) {
    w.BeginObject();
    w.Key("text").String(e.begin_byte >= 0 ? text.substr(static_cast<size_t>(e.begin_byte),
                                                         static_cast<size_t>(e.end_byte - e.begin_byte))
                                           : std::string_view());
    w.Key("start");
    Moment(e.start, &w);
    if (e.is_span != 0) {
      w.Key("end");
      Moment(e.end, &w);
    }
    if (e.cycle != EKR_CYCLE_NONE) w.Key("cycle").Int(e.cycle).Key("every").Int(e.cycle_interval);
    if (e.lunar != 0) w.Key("lunar").Bool(true);
    w.EndObject();
  }
  w.EndArray();
  w.Key("content").String(results.content);
  w.EndObject();
  *json = w.Take();
  return {};
}

}  // namespace eti::session

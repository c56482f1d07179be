#include "server/answer.h"

#include "common/json_text.h"

namespace eti::server {
namespace {

void AppendDigits(int64_t v, int width, std::string* out) {
  char buf[8];
  for (int k = width - 1; k >= 0; --k, v /= 10) buf[k] = static_cast<char>('0' + v % 10);
  out->append(buf, static_cast<size_t>(width));
}

// "2013-02-13T15:00:00.000+09:00", quoted.
void AppendIso(const Point& p, std::string* out) {
  const date::local_days day = date::floor<date::days>(p.wall);
  const date::year_month_day ymd{day};
  const int64_t inDay = (p.wall - day).count();
  const int64_t offset = p.offset.count(), off = offset < 0 ? -offset : offset;
  out->push_back('"');
  AppendDigits(static_cast<int>(ymd.year()), 4, out);
  out->push_back('-');
  AppendDigits(static_cast<unsigned>(ymd.month()), 2, out);
  out->push_back('-');
  AppendDigits(static_cast<unsigned>(ymd.day()), 2, out);
  out->push_back('T');
  AppendDigits(inDay / 3600, 2, out);
  out->push_back(':');
  AppendDigits(inDay / 60 % 60, 2, out);
  out->push_back(':');
  AppendDigits(inDay % 60, 2, out);
  out->append(".000");
  out->push_back(offset < 0 ? '-' : '+');
  AppendDigits(off / 3600, 2, out);
  out->push_back(':');
  AppendDigits(off / 60 % 60, 2, out);
  out->push_back('"');
}

// "value":...,"grain":"..."
void AppendPointFields(const Point& p, std::string* out) {
  out->append("\"value\":");
  AppendIso(p, out);
  out->append(",\"grain\":\"").append(GrainName(p.grain)).push_back('"');
}

// The fields of an entity's value that "values" repeats.
std::string ValueFields(const Entity& e) {
  std::string out;
  if (e.value) {
    out = "\"type\":\"value\",";
    AppendPointFields(*e.value, &out);
    return out;
  }
  out = "\"type\":\"interval\"";
  if (e.from) {
    out.append(",\"from\":{");
    AppendPointFields(*e.from, &out);
    out.push_back('}');
  }
  if (e.to) {
    out.append(",\"to\":{");
    AppendPointFields(*e.to, &out);
    out.push_back('}');
  }
  return out;
}

// The length of the UTF-8 sequence at s[i], 0 when it is not one.
size_t SequenceLength(std::string_view s, size_t i) {
  const auto at = [&s](size_t k) { return k < s.size() ? static_cast<unsigned char>(s[k]) : 0u; };
  const unsigned b = at(i);
  const auto tail = [&at](size_t k) { return (at(k) & 0xC0) == 0x80; };
  if (b < 0x80) return 1;
  if (b >= 0xC2 && b <= 0xDF) return tail(i + 1) ? 2 : 0;
  if (b >= 0xE0 && b <= 0xEF) {
    const unsigned c = at(i + 1);
    // No overlong forms (E0 below A0) and no surrogates (ED above 9F).
    if ((b == 0xE0 && c < 0xA0) || (b == 0xED && c > 0x9F)) return 0;
    return tail(i + 1) && tail(i + 2) ? 3 : 0;
  }
  if (b >= 0xF0 && b <= 0xF4) {
    const unsigned c = at(i + 1);
    // No overlong forms and nothing past U+10FFFF.
    if ((b == 0xF0 && c < 0x90) || (b == 0xF4 && c > 0x8F)) return 0;
    return tail(i + 1) && tail(i + 2) && tail(i + 3) ? 4 : 0;
  }
  return 0;
}

}  // namespace

const char* GrainName(Grain g) {
  switch (g) {
    case Grain::kSecond: return "second";
    case Grain::kMinute: return "minute";
    case Grain::kHour: return "hour";
    case Grain::kDay: return "day";
    case Grain::kWeek: return "week";
    case Grain::kMonth: return "month";
    case Grain::kQuarter: return "quarter";
    case Grain::kYear: return "year";
  }
  return "day";
}

std::string EntitiesJson(const std::vector<Entity>& entities) {
  std::string out = "[";
  for (const Entity& e : entities) {
    if (out.size() > 1) out.push_back(',');
    out.append("{\"body\":");
    tools::AppendJsonString(e.body, &out);
    out.append(",\"start\":").append(std::to_string(e.start));
    out.append(",\"end\":").append(std::to_string(e.end));
    out.append(",\"dim\":\"time\",\"latent\":false,\"value\":{");
    const std::string fields = ValueFields(e);
    out.append(fields).append(",\"values\":[{").append(fields).append("}]");
    if (!e.cycle.empty()) out.append(",\"cycle\":\"").append(e.cycle).push_back('"');
    if (e.lunar) out.append(",\"lunar\":true");
    out.append("}}");
  }
  out.push_back(']');
  return out;
}

std::string ErrorJson(std::string_view message) {
  std::string valid;
  valid.reserve(message.size());
  for (size_t i = 0; i < message.size();) {
    const size_t n = SequenceLength(message, i);
    if (n == 0) {
      valid.append("\xEF\xBF\xBD");
      ++i;
    } else {
      valid.append(message.substr(i, n));
      i += n;
    }
  }
  std::string out = "{\"error\":";
  tools::AppendJsonString(valid, &out);
  out.append("}\n");
  return out;
}

}  // namespace eti::server

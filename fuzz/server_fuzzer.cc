// The time service's request handler with arbitrary requests, no network:
// every answer must be one of the statuses it documents, every error a line
// of JSON, and every entity of a 200 a slice of the text it was given with
// a value or at least one end, each an ISO 8601 time in a grain Duckling
// names.
//
// Layout of an input:
//   byte 0     method (mod 4: GET, POST, HEAD, PUT)
//   byte 1     path (mod 5: /parse, /parse/, /, /targets, /other)
//   byte 2     Content-Type (mod 4: none, the form's, the form's with a
//              charset, JSON)
//   the rest   the body, then after a NUL byte (when there is one) the
//              query string, split at '&' and '=' and decoded as the HTTP
//              side decodes it (one it would refuse is not tried)
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "server/duckling.h"
#include "server/http_server.h"
#include "extractor_kr.hpp"
#include "support/code_points.h"

namespace {

using eti::server::Fields;

const eti::server::Service& TheService() {
  static const ekr::Extractor ex = [] {
    ekr::Extractor e = ekr::OpenDefault();
    if (e == nullptr) std::abort();
    return e;
  }();
  static const eti::server::Service service(ex.get(), eti::server::FindZone("Asia/Seoul"));
  return service;
}

void Check(bool ok) {
  if (!ok) std::abort();
}

// {"value":"2013-02-13T15:00:00.000+09:00","grain":"hour"}: the shape of
// every instant, in one of Duckling's grains.
void CheckPoint(const nlohmann::json& p) {
  static const std::set<std::string> grains = {"second", "minute", "hour",    "day",
                                               "week",   "month",  "quarter", "year"};
  Check(grains.count(p.at("grain").get<std::string>()) == 1);
  const std::string t = p.at("value");
  Check(t.size() == 29);
  for (size_t k = 0; k < t.size(); ++k) {
    const char want = "0000-00-00T00:00:00.000+00:00"[k];
    if (want == '0') {
      Check(t[k] >= '0' && t[k] <= '9');
    } else {
      Check(k == 23 ? t[k] == '+' || t[k] == '-' : t[k] == want);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string in(reinterpret_cast<const char*>(data), size);
  const auto byte = [&](size_t k) { return k < in.size() ? static_cast<unsigned char>(in[k]) : 0u; };
  static const char* const methods[] = {"GET", "POST", "HEAD", "PUT"};
  static const char* const paths[] = {"/parse", "/parse/", "/", "/targets", "/other"};
  static const char* const types[] = {"", "application/x-www-form-urlencoded",
                                      "application/x-www-form-urlencoded; charset=EUC-KR",
                                      "application/json"};
  eti::server::Request r;
  r.method = methods[byte(0) % 4];
  r.path = paths[byte(1) % 5];
  r.contentType = types[byte(2) % 4];
  const std::string rest = in.size() > 3 ? in.substr(3) : std::string();
  const size_t nul = rest.find('\0');
  r.body = rest.substr(0, nul);
  if (nul != std::string::npos) {
    const std::string query = rest.substr(nul + 1);
    Fields sent;
    for (size_t at = 0; at <= query.size();) {
      size_t end = query.find('&', at);
      if (end == std::string::npos) end = query.size();
      const std::string pair = query.substr(at, end - at);
      const size_t eq = pair.find('=');
      sent.emplace_back(pair.substr(0, eq), eq == std::string::npos ? "" : pair.substr(eq + 1));
      at = end + 1;
    }
    std::string problem;
    if (!eti::server::DecodeQuery(sent, &r.query, &problem)) return 0;
  }

  const eti::server::Response answer =
      TheService().Handle(r, std::chrono::system_clock::time_point(std::chrono::hours(480000)));
  const int s = answer.status;
  // A body over the limit never reaches the service: the HTTP side answers it.
  Check(s == 200 || s == 400 || s == 404 || s == 422);
  if (s == 400 || s == 404) {
    const nlohmann::json error = nlohmann::json::parse(answer.body);
    Check(error.at("error").is_string());
    Check(answer.body.find('\n') == answer.body.size() - 1);
  }
  const bool parse = r.path.compare(0, 6, "/parse") == 0 && r.method == "POST";
  if (s != 200 || !parse) return 0;

  // The text as the handler read it: the first "text" of the body, then of
  // the query.
  Fields fields;
  std::string problem;
  Check(eti::tools::DecodeForm(r.body, &fields, &problem));
  fields.insert(fields.end(), r.query.begin(), r.query.end());
  const std::string* text = nullptr;
  for (const auto& [name, value] : fields) {
    if (name == "text") {
      text = &value;
      break;
    }
  }
  Check(text != nullptr);
  const std::vector<std::string> points = CodePoints(*text);
  const nlohmann::json entities = nlohmann::json::parse(answer.body);
  Check(entities.is_array());
  int64_t last = -1;
  for (const nlohmann::json& e : entities) {
    Check(e.size() == 6 && e.at("dim") == "time" && e.at("latent") == false);
    const int64_t start = e.at("start"), end = e.at("end");
    Check(start >= last && start <= end && end <= static_cast<int64_t>(points.size()));
    last = start;
    std::string slice;
    for (int64_t k = start; k < end; ++k) slice += points[static_cast<size_t>(k)];
    Check(e.at("body") == slice);
    const nlohmann::json& v = e.at("value");
    // "values" holds the value itself, without the extras.
    nlohmann::json itself = v;
    for (const char* extra : {"values", "cycle", "lunar"}) itself.erase(extra);
    Check(v.at("values") == nlohmann::json::array({itself}));
    if (v.at("type") == "value") {
      CheckPoint(v);
    } else {
      Check(v.at("type") == "interval" && (v.contains("from") || v.contains("to")));
      if (v.contains("from")) CheckPoint(v.at("from"));
      if (v.contains("to")) CheckPoint(v.at("to"));
    }
  }
  return 0;
}

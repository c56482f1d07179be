// The requests and answers of a time service that speaks the HTTP API of
// the common open-source entity parsers: POST /parse with a form (text,
// locale, tz, reftime, dims), answered with a JSON array of entities.  No
// network here: a request in, a response out, so that tests and the fuzz
// target drive it directly.
#ifndef EXTRACTOR_KR_TOOLS_SERVER_DUCKLING_H_
#define EXTRACTOR_KR_TOOLS_SERVER_DUCKLING_H_

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/form.h"
#include "extractor_kr.h"

namespace date {
class time_zone;
}

namespace eti::server {

// The largest request body read; a longer one is answered 413.
constexpr size_t kMaxBody = size_t{1} << 20;

using Fields = tools::FormFields;

struct Request {
  std::string method;       // "GET", "POST", ...
  std::string path;         // as sent, without the query
  Fields query;             // the query's pairs, still percent-encoded
  std::string contentType;  // the Content-Type header; "" when absent
  std::string body;
};

struct Response {
  int status = 200;
  std::string contentType;
  std::string body;
};

// A zone of the system's tz database; nullptr when it has none of that name.
const date::time_zone* FindZone(std::string_view name);

class Service {
 public:
  // `ex` and `defaultZone` (the zone of a request that names none) outlive
  // the service.  A service is immutable and serves any number of threads.
  Service(const ekr_extractor* ex, const date::time_zone* defaultZone);

  // The answer to a request; `now` is the reference of a request without
  // one.  Never throws.
  Response Handle(const Request& r, std::chrono::system_clock::time_point now) const;

 private:
  Response Parse(const Request& r, std::chrono::system_clock::time_point now) const;

  const ekr_extractor* ex_;
  const date::time_zone* zone_;
};

}  // namespace eti::server

#endif  // EXTRACTOR_KR_TOOLS_SERVER_DUCKLING_H_

// The time service as Duckling's HTTP API: POST /parse with a form (text,
// locale, tz, reftime, dims, ...) answered with a JSON array of entities,
// GET / and GET /targets.  No network here: a request in, a response out,
// so that tests and the fuzz target drive it directly.
#ifndef EXTRACTOR_KR_TOOLS_SERVER_DUCKLING_H_
#define EXTRACTOR_KR_TOOLS_SERVER_DUCKLING_H_

#include <chrono>
#include <string_view>

#include "extractor_kr.h"
#include "server/http_server.h"

namespace date {
class time_zone;
}

namespace eti::server {

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

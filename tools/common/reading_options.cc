#include "common/reading_options.h"

#include <cstdint>

#include "session/extractor.h"

namespace eti::tools {

bool ParsePrefer(const std::string& v, ekr_prefer* prefer) {
  if (v == "future" || v == "past") {
    *prefer = v == "past" ? EKR_PREFER_PAST : EKR_PREFER_FUTURE;
    return true;
  }
  return false;
}

std::string ParseYears(const std::string& v, ekr_options* o) {
  const size_t dash = v.find('-');
  const auto number = [](const std::string& s, int32_t* n) {
    if (s.empty() || s.size() > 4 || s.find_first_not_of("0123456789") != std::string::npos) {
      return false;
    }
    *n = std::stoi(s);
    return true;
  };
  ekr_options w = *o;
  if (dash == std::string::npos || !number(v.substr(0, dash), &w.min_year) ||
      !number(v.substr(dash + 1), &w.max_year)) {
    return "\"" + v + "\" is not MIN-MAX (such as 1900-2099)";
  }
  const std::string problem = session::OptionsProblem(w);
  if (!problem.empty()) return problem;
  *o = w;
  return "";
}

bool WholeCall(const ekr_options& o) {
  const ekr_options w = session::WholeCallOptions();
  return o.prefer == w.prefer && o.min_year == w.min_year && o.max_year == w.max_year;
}

}  // namespace eti::tools

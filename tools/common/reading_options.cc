#include "common/reading_options.h"

#include <cstddef>
#include <cstdint>

namespace eti::tools {
namespace {

// The enumerators of the C API, named as the library names them.
constexpr ekr_rules kRules[] = {EKR_RULES_READER, EKR_RULES_WHOLE_CALL};
constexpr ekr_prefer kPreferences[] = {EKR_PREFER_FUTURE, EKR_PREFER_PAST};

template <typename Enum, size_t N>
bool ParseName(const std::string& v, const char* (*name)(Enum), const Enum (&values)[N],
               Enum* out) {
  for (const Enum e : values) {
    if (v == name(e)) {
      *out = e;
      return true;
    }
  }
  return false;
}

template <typename Enum, size_t N>
std::string Names(const char* (*name)(Enum), const Enum (&values)[N]) {
  std::string out;
  for (const Enum e : values) out += (out.empty() ? "" : " or ") + std::string(name(e));
  return out;
}

}  // namespace

bool ParseRules(const std::string& v, ekr_rules* rules) {
  return ParseName(v, ekr_rules_name, kRules, rules);
}

bool ParsePrefer(const std::string& v, ekr_prefer* prefer) {
  return ParseName(v, ekr_prefer_name, kPreferences, prefer);
}

std::string RulesNames() { return Names(ekr_rules_name, kRules); }
std::string PreferNames() { return Names(ekr_prefer_name, kPreferences); }

std::string OptionsProblem(const ekr_options& o) {
  return ekr_options_check(&o) == EKR_OK ? "" : ekr_last_error();
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
  *o = w;
  return "";
}

bool WholeCall(const ekr_options& o) { return o.rules == EKR_RULES_WHOLE_CALL; }

ekr_options DefaultReading() {
  ekr_options o;
  ekr_options_init(&o);
  return o;
}

}  // namespace eti::tools

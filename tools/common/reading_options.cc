#include "common/reading_options.h"

#include <cstdint>

namespace eti::tools {
namespace {

template <typename Enum>
bool ParseName(const std::string& v, const char* (*name)(Enum), Enum* out) {
  for (int k = 0;; ++k) {
    const char* n = name(static_cast<Enum>(k));
    if (n == nullptr) return false;
    if (v == n) {
      *out = static_cast<Enum>(k);
      return true;
    }
  }
}

template <typename Enum>
std::string Names(const char* (*name)(Enum)) {
  std::string out;
  for (int k = 0; name(static_cast<Enum>(k)) != nullptr; ++k) {
    if (k > 0) out += " or ";
    out += name(static_cast<Enum>(k));
  }
  return out;
}

}  // namespace

bool ParseRules(const std::string& v, ekr_rules* rules) { return ParseName(v, ekr_rules_name, rules); }

bool ParsePrefer(const std::string& v, ekr_prefer* prefer) {
  return ParseName(v, ekr_prefer_name, prefer);
}

std::string RulesNames() { return Names(ekr_rules_name); }
std::string PreferNames() { return Names(ekr_prefer_name); }

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

}  // namespace eti::tools

// application/x-www-form-urlencoded, both ways: the bodies the time
// service reads, and the ones its tests, seeds and benchmarks send.
#ifndef EXTRACTOR_KR_TOOLS_COMMON_FORM_H_
#define EXTRACTOR_KR_TOOLS_COMMON_FORM_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace eti::tools {

// Name and value pairs, in the order sent.
using FormFields = std::vector<std::pair<std::string, std::string>>;

// One component of a form: letters, digits and "-_.~" as they are, a space
// as '+', every other byte as %XX.
std::string FormEncode(std::string_view s);

// "name=value&..." of the pairs, each side encoded.
std::string FormEncode(const FormFields& fields);

// Decodes one component: '+' and %20 a space, %XX a byte.  False for a '%'
// not followed by two hex digits.
bool DecodeComponent(std::string_view s, std::string* out);

// Decodes a form: pairs split at '&', name and value at the first '='.
// False, with the problem in words, for a malformed percent-encoding.
bool DecodeForm(std::string_view form, FormFields* out, std::string* problem);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_FORM_H_

// Readable forms of tokens and records for table-driven tests.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_RECORDS_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_RECORDS_H_

#include <string>
#include <vector>

#include "extractor_kr.h"
#include "support/dict_builder.h"

namespace eti::testing {

// The set fields of a record, in field order: "year=2024 month=5 ampm=1".
std::string Dump(const DTINFO* record);

// Every record of a list, joined by " | "; "NULL" for none.  Frees it.
std::string DumpList(DTINFO* list);

// The tokens of a text as pattern search reads them: tagged by the real
// tagger with a compiled tag source, one reading through the overlapping
// tokens (the longest at each place, then on after it), spaces left out, as
// an array of token records.
class Tokens {
 public:
  Tokens(const std::string& tagSource, const std::string& textUtf8);
  ~Tokens();
  Tokens(const Tokens&) = delete;
  Tokens& operator=(const Tokens&) = delete;

  RETTAGS* data() { return path_.data(); }
  int32_t size() const { return static_cast<int32_t>(path_.size()); }

 private:
  RETTAGS* all_ = nullptr;
  std::vector<RETTAGS> path_;
};

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_RECORDS_H_

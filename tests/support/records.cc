#include "support/records.h"

#include <cstring>

#include "interpret/dtinfo.h"

namespace eti::testing {

std::string Dump(const DTINFO* r) {
  if (r == nullptr) return "NULL";
  struct Field {
    const char* name;
    int32_t DTINFO::*field;
  };
  static const Field kFields[] = {
      {"year", &DTINFO::year},          {"month", &DTINFO::month},
      {"day", &DTINFO::day},            {"week", &DTINFO::week},
      {"weekday", &DTINFO::weekday},    {"hour", &DTINFO::hour},
      {"minute", &DTINFO::minute},      {"second", &DTINFO::second},
      {"spanKind", &DTINFO::spanKind},  {"spanYear", &DTINFO::spanYear},
      {"spanMonth", &DTINFO::spanMonth}, {"spanDays", &DTINFO::spanDays},
      {"duration", &DTINFO::duration},  {"relKind", &DTINFO::relKind},
      {"repeatYear", &DTINFO::repeatYear}, {"repeatMonth", &DTINFO::repeatMonth},
      {"repeatWeek", &DTINFO::repeatWeek}, {"repeatDay", &DTINFO::repeatDay},
      {"repeatHour", &DTINFO::repeatHour}, {"ampm", &DTINFO::ampm},
      {"dayNight", &DTINFO::dayNight},  {"lunar", &DTINFO::lunar},
      {"periodEnd", &DTINFO::periodEnd},
  };
  std::string out;
  for (const Field& f : kFields) {
    if (!IsSet(r->*f.field)) continue;
    if (!out.empty()) out += " ";
    out += std::string(f.name) + "=" + std::to_string(r->*f.field);
  }
  return out.empty() ? "-" : out;
}

DTINFO* MakeRecord(const Fields& fields) {
  DTINFO* r = NewDTINFO();
  for (const auto& [field, value] : fields) r->*field = value;
  return r;
}

DTINFO* Chain(const std::vector<DTINFO*>& records) {
  for (size_t k = 0; k + 1 < records.size(); ++k) records[k]->next = records[k + 1];
  return records.empty() ? nullptr : records[0];
}

std::string DumpList(DTINFO* list) {
  if (list == nullptr) return "NULL";
  std::string out;
  for (const DTINFO* r = list; r != nullptr; r = r->next) {
    if (!out.empty()) out += " | ";
    out += Dump(r);
  }
  Free_DTINFO(list);
  return out;
}

Tokens::Tokens(const std::string& tagSource, const std::string& textUtf8) {
  const std::string blob = CompileTrie(DictKind::kTag, tagSource);
  all_ = StackFinder(Cp949(textUtf8).c_str(), blob.data());
  // One reading: the longest token at each place, then on after it.
  int32_t next = 0;
  for (RETTAGS* t = all_; t != nullptr; t = t->next) {
    if (t->startPos < next) continue;
    next = t->startPos + t->length;
    if (std::strcmp(t->attrs->name, "SP") != 0) path_.push_back(*t);
  }
}

Tokens::~Tokens() { Free_RETTAGS(all_); }

}  // namespace eti::testing

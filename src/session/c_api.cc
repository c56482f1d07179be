// The C functions of <extractor_kr.h>, over the session layer.  No C++
// exception crosses them: running out of memory is EKR_ERROR_MEMORY.  What
// went wrong in words is kept per thread for ekr_last_error.
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "extractor_kr.h"
#include "session/extractor.h"

namespace {

using eti::session::AsInt;

using eti::session::Extractor;
using eti::session::Status;

thread_local std::string tl_lastError;

// Returns a failing status, noting what went wrong.
ekr_status Fail(ekr_status code, const char* detail) {
  try {
    tl_lastError = detail;
  } catch (const std::bad_alloc&) {
    tl_lastError.clear();
  }
  return code;
}
ekr_status Fail(const Status& s) { return Fail(s.code, s.detail.c_str()); }
ekr_status OutOfMemory() { return Fail(EKR_ERROR_MEMORY, "out of memory"); }


// What an extraction lacks, in words; NULL when it has everything.
const char* Missing(const ekr_extractor* ex, const char* text, size_t length, const char* reference,
                    const ekr_options* o) {
  if (ex == nullptr || ex->impl == nullptr) return "no extractor (NULL)";
  if (reference == nullptr) return "no reference time (NULL)";
  if (o == nullptr) return "no options (NULL)";
  if (text == nullptr && length > 0) return "no text (NULL) of a length above 0";
  return nullptr;
}

ekr_status Years(bool (*years)(int, int32_t*, int32_t*), ekr_rules rules, int32_t* first,
                 int32_t* last) {
  if (first == nullptr || last == nullptr) {
    return Fail(EKR_ERROR_ARGUMENT, "no place for the years (NULL)");
  }
  if (!years(AsInt(rules), first, last)) {
    return Fail(EKR_ERROR_ARGUMENT,
                ("rules " + std::to_string(AsInt(rules)) + " name no rule set").c_str());
  }
  return EKR_OK;
}

}  // namespace

namespace eti::session {

ekr_status OpenForC(ekr_extractor** out, const std::function<Status(std::unique_ptr<Extractor>*)>& open) {
  if (out == nullptr) return Fail(EKR_ERROR_ARGUMENT, "no place for the extractor (out is NULL)");
  *out = nullptr;
  try {
    std::unique_ptr<Extractor> impl;
    const Status s = open(&impl);
    if (!s.ok()) return Fail(s);
    *out = new ekr_extractor{std::move(impl)};
    return EKR_OK;
  } catch (const std::bad_alloc&) {
    return OutOfMemory();
  }
}

}  // namespace eti::session

using eti::session::OpenForC;

extern "C" {

ekr_status ekr_open(const ekr_dictionaries* d, ekr_extractor** out) {
  if (d == nullptr) {
    if (out != nullptr) *out = nullptr;
    return Fail(EKR_ERROR_ARGUMENT, "no dictionaries (NULL)");
  }
  return OpenForC(out, [d](std::unique_ptr<Extractor>* impl) { return Extractor::Open(*d, impl); });
}

ekr_status ekr_open_dir(const char* dir, ekr_extractor** out) {
  if (dir == nullptr) {
    if (out != nullptr) *out = nullptr;
    return Fail(EKR_ERROR_ARGUMENT, "no directory (NULL)");
  }
  return OpenForC(out,
                  [dir](std::unique_ptr<Extractor>* impl) { return Extractor::OpenDir(dir, impl); });
}

void ekr_close(ekr_extractor* ex) { delete ex; }

ekr_status ekr_dictionaries_of(const ekr_extractor* ex, ekr_dictionaries* out) {
  if (ex == nullptr || out == nullptr) {
    return Fail(EKR_ERROR_ARGUMENT, ex == nullptr ? "no extractor (NULL)" : "no place for the dictionaries (NULL)");
  }
  *out = ex->impl->Dictionaries();
  return EKR_OK;
}

const char* ekr_status_text(ekr_status s) {
  switch (s) {
    case EKR_OK: return "ok";
    case EKR_ERROR_ARGUMENT: return "invalid argument";
    case EKR_ERROR_DICTIONARY: return "invalid dictionary";
    case EKR_ERROR_REFERENCE: return "invalid reference time";
    case EKR_ERROR_TEXT: return "invalid text";
    case EKR_ERROR_IO: return "cannot read a dictionary file";
    case EKR_ERROR_MEMORY: return "out of memory";
  }
  return "unknown status";
}

void ekr_options_init(ekr_options* o) {
  if (o != nullptr) *o = eti::session::DefaultOptions();
}

ekr_status ekr_options_check(const ekr_options* o) {
  if (o == nullptr) return Fail(EKR_ERROR_ARGUMENT, "no options (NULL)");
  try {
    const std::string problem = eti::session::OptionsProblem(*o);
    return problem.empty() ? EKR_OK : Fail(EKR_ERROR_ARGUMENT, problem.c_str());
  } catch (const std::bad_alloc&) {
    return OutOfMemory();
  }
}

ekr_status ekr_extract_with(const ekr_extractor* ex, const char* text, size_t length,
                            const char* reference, const ekr_options* o, ekr_results** out) {
  if (out == nullptr) return Fail(EKR_ERROR_ARGUMENT, "no place for the results (out is NULL)");
  *out = nullptr;
  if (const char* missing = Missing(ex, text, length, reference, o)) {
    return Fail(EKR_ERROR_ARGUMENT, missing);
  }
  try {
    std::unique_ptr<ekr_results> r(new ekr_results());
    const Status s = ex->impl->Extract(std::string_view(text != nullptr ? text : "", length),
                                       reference, *o, &r->impl);
    if (!s.ok()) return Fail(s);
    *out = r.release();
    return EKR_OK;
  } catch (const std::bad_alloc&) {
    return OutOfMemory();
  }
}

ekr_status ekr_explain(const ekr_extractor* ex, const char* text, size_t length,
                       const char* reference, const ekr_options* o, char** json) {
  if (json == nullptr) return Fail(EKR_ERROR_ARGUMENT, "no place for the answer (json is NULL)");
  *json = nullptr;
  if (const char* missing = Missing(ex, text, length, reference, o)) {
    return Fail(EKR_ERROR_ARGUMENT, missing);
  }
  try {
    std::string answer;
    const Status s = ex->impl->Explain(std::string_view(text != nullptr ? text : "", length),
                                       reference, *o, &answer);
    if (!s.ok()) return Fail(s);
    char* out = static_cast<char*>(std::malloc(answer.size() + 1));
    if (out == nullptr) return OutOfMemory();
    std::memcpy(out, answer.c_str(), answer.size() + 1);
    *json = out;
    return EKR_OK;
  } catch (const std::bad_alloc&) {
    return OutOfMemory();
  }
}

ekr_status ekr_extract(const ekr_extractor* ex, const char* text, size_t length,
                       const char* reference, ekr_results** out) {
  const ekr_options o = eti::session::WholeCallOptions();
  return ekr_extract_with(ex, text, length, reference, &o, out);
}

const char* ekr_rules_name(ekr_rules rules) {
  switch (AsInt(rules)) {
    case EKR_RULES_READER: return "reader";
    case EKR_RULES_WHOLE_CALL: return "whole-call";
  }
  return nullptr;
}

const char* ekr_prefer_name(ekr_prefer prefer) {
  switch (AsInt(prefer)) {
    case EKR_PREFER_FUTURE: return "future";
    case EKR_PREFER_PAST: return "past";
  }
  return nullptr;
}

ekr_status ekr_rules_years(ekr_rules rules, int32_t* first, int32_t* last) {
  return Years(eti::session::RulesYears, rules, first, last);
}

ekr_status ekr_reference_years(ekr_rules rules, int32_t* first, int32_t* last) {
  return Years(eti::session::ReferenceYears, rules, first, last);
}

const char* ekr_last_error(void) { return tl_lastError.c_str(); }

const char* ekr_version(void) { return EXTRACTOR_KR_VERSION; }

size_t ekr_results_count(const ekr_results* r) { return r != nullptr ? r->impl.items.size() : 0; }

const ekr_result* ekr_results_at(const ekr_results* r, size_t i) {
  if (r == nullptr || i >= r->impl.items.size()) return nullptr;
  return &r->impl.items[i];
}

const char* ekr_results_content(const ekr_results* r) {
  return r != nullptr ? r->impl.content.c_str() : "";
}

void ekr_results_free(ekr_results* r) { delete r; }

}  // extern "C"

// The C functions of <extractor_kr.h>, over the session layer.  No C++
// exception crosses them: running out of memory is EKR_ERROR_MEMORY.
#include <memory>
#include <new>

#include "extractor_kr.h"
#include "session/extractor.h"

namespace {

using eti::session::Extractor;
using eti::session::Status;

template <typename OpenFn>
ekr_status OpenWith(ekr_extractor** out, OpenFn open) {
  if (out == nullptr) return EKR_ERROR_ARGUMENT;
  *out = nullptr;
  try {
    std::unique_ptr<Extractor> impl;
    const Status s = open(&impl);
    if (!s.ok()) return s.code;
    *out = new ekr_extractor{std::move(impl)};
    return EKR_OK;
  } catch (const std::bad_alloc&) {
    return EKR_ERROR_MEMORY;
  }
}

}  // namespace

extern "C" {

ekr_status ekr_open(const ekr_dictionaries* d, ekr_extractor** out) {
  if (d == nullptr) {
    if (out != nullptr) *out = nullptr;
    return EKR_ERROR_ARGUMENT;
  }
  return OpenWith(out, [d](std::unique_ptr<Extractor>* impl) { return Extractor::Open(*d, impl); });
}

ekr_status ekr_open_dir(const char* dir, ekr_extractor** out) {
  if (dir == nullptr) {
    if (out != nullptr) *out = nullptr;
    return EKR_ERROR_ARGUMENT;
  }
  return OpenWith(out,
                  [dir](std::unique_ptr<Extractor>* impl) { return Extractor::OpenDir(dir, impl); });
}

void ekr_close(ekr_extractor* ex) { delete ex; }

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
  if (o != nullptr) *o = eti::session::WholeCallOptions();
}

ekr_status ekr_extract_with(const ekr_extractor* ex, const char* text, size_t length,
                            const char* reference, const ekr_options* o, ekr_results** out) {
  if (out == nullptr) return EKR_ERROR_ARGUMENT;
  *out = nullptr;
  if (ex == nullptr || ex->impl == nullptr || reference == nullptr || o == nullptr ||
      (text == nullptr && length > 0)) {
    return EKR_ERROR_ARGUMENT;
  }
  try {
    std::unique_ptr<ekr_results> r(new ekr_results());
    const Status s = ex->impl->Extract(std::string_view(text != nullptr ? text : "", length),
                                       reference, *o, &r->impl);
    if (!s.ok()) return s.code;
    *out = r.release();
    return EKR_OK;
  } catch (const std::bad_alloc&) {
    return EKR_ERROR_MEMORY;
  }
}

ekr_status ekr_extract(const ekr_extractor* ex, const char* text, size_t length,
                       const char* reference, ekr_results** out) {
  const ekr_options o = eti::session::WholeCallOptions();
  return ekr_extract_with(ex, text, length, reference, &o, out);
}

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

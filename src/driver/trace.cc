#include "driver/trace.h"

#include <algorithm>

namespace eti {
namespace {

thread_local Trace* tl_trace = nullptr;

}  // namespace

Trace* ActiveTrace() { return tl_trace; }

ScopedTrace::ScopedTrace(Trace* trace) : previous_(tl_trace) { tl_trace = trace; }

ScopedTrace::~ScopedTrace() { tl_trace = previous_; }

void Trace::Note(std::vector<std::string>* notes, size_t k, const std::string& note) {
  if (notes->size() <= k) notes->resize(k + 1);
  std::string& n = (*notes)[k];
  if (!n.empty()) n += "; ";
  n += note;
}

Trace::Record Trace::Of(const DTINFO& r, const Marks* marks, std::string note) {
  Record out;
  out.fields = r;
  out.fields.compoundMarks = nullptr;
  out.fields.next = nullptr;
  if (marks != nullptr) {
    for (const MarkRun& m : *marks) {
      if (m.value != 1) continue;
      out.begin = out.begin < 0 ? m.begin : std::min(out.begin, m.begin);
      out.end = std::max(out.end, m.end);
    }
  }
  out.note = std::move(note);
  return out;
}

}  // namespace eti

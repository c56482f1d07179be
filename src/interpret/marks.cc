// Runs of marks: conversions to and from per-byte arrays, and the two ways
// the engine combines what expressions cover.
#include "interpret/marks.h"

#include <algorithm>
#include <cstdlib>

namespace eti {

void AppendRun(Marks* m, int32_t begin, int32_t end, int32_t value) {
  if (begin >= end || value == 0) return;
  if (!m->empty() && m->back().end == begin && m->back().value == value) {
    m->back().end = end;
  } else {
    m->push_back({begin, end, value});
  }
}

Marks MarksOfArray(const int32_t* marks, int32_t n) {
  Marks out;
  if (marks == nullptr) return out;
  for (int32_t k = 0; k < n;) {
    int32_t e = k + 1;
    while (e < n && marks[e] == marks[k]) ++e;
    AppendRun(&out, k, e, marks[k]);
    k = e;
  }
  return out;
}

void PaintMarks(const Marks& m, int32_t* out, int32_t n) {
  for (const MarkRun& r : m) {
    for (int32_t k = std::max(r.begin, 0); k < std::min(r.end, n); ++k) out[k] = r.value;
  }
}

int32_t* MarksArray(const Marks& m, int32_t n) {
  auto* out = static_cast<int32_t*>(std::calloc(n > 0 ? n : 1, sizeof(int32_t)));
  PaintMarks(m, out, n);
  return out;
}

void Overlay(Marks* base, const Marks& top) {
  if (top.empty()) return;
  if (base->empty() || base->back().end <= top.front().begin) {
    for (const MarkRun& r : top) AppendRun(base, r.begin, r.end, r.value);
    return;
  }
  // The runs of `base` cut around those of `top`, merged in order.
  Marks out;
  size_t t = 0;
  for (MarkRun b : *base) {
    while (b.begin < b.end) {
      while (t < top.size() && top[t].end <= b.begin) {
        AppendRun(&out, top[t].begin, top[t].end, top[t].value);
        ++t;
      }
      if (t == top.size() || top[t].begin >= b.end) {
        AppendRun(&out, b.begin, b.end, b.value);
        break;
      }
      // top[t] overlaps b or starts inside it: keep what lies before it.
      AppendRun(&out, b.begin, std::max(b.begin, top[t].begin), b.value);
      b.begin = std::max(b.begin, top[t].end);
      if (top[t].end <= b.end) {
        AppendRun(&out, top[t].begin, top[t].end, top[t].value);
        ++t;
      } else {
        break;  // top[t] reaches past b: it is written with the next b or after
      }
    }
  }
  for (; t < top.size(); ++t) AppendRun(&out, top[t].begin, top[t].end, top[t].value);
  *base = std::move(out);
}

Marks UnionOfOnes(const Marks& a, const Marks& b) {
  Marks out;
  size_t i = 0, j = 0;
  const auto next = [&](const Marks& m, size_t* k) -> const MarkRun* {
    while (*k < m.size() && m[*k].value != 1) ++*k;
    return *k < m.size() ? &m[*k] : nullptr;
  };
  for (;;) {
    const MarkRun* x = next(a, &i);
    const MarkRun* y = next(b, &j);
    if (x == nullptr && y == nullptr) break;
    const MarkRun* r;
    if (y == nullptr || (x != nullptr && x->begin <= y->begin)) {
      r = x;
      ++i;
    } else {
      r = y;
      ++j;
    }
    if (!out.empty() && r->begin <= out.back().end) {
      out.back().end = std::max(out.back().end, r->end);
    } else {
      out.push_back({r->begin, r->end, 1});
    }
  }
  return out;
}

}  // namespace eti

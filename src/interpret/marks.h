// What an expression covers, kept in proportion to the expression: runs of
// bytes instead of one mark per byte of the text.  The engine works on runs
// throughout; the exported stages that hand over per-byte arrays
// (compoundMarks, RESULT_ETS.marks) convert at their own boundary, so both
// forms always say the same.
#ifndef EXTRACTOR_KR_INTERPRET_MARKS_H_
#define EXTRACTOR_KR_INTERPRET_MARKS_H_

#include <cstdint>
#include <vector>

namespace eti {

// Bytes [begin, end) whose marks all hold `value` (never 0).
struct MarkRun {
  int32_t begin, end, value;
};

inline bool operator==(const MarkRun& a, const MarkRun& b) {
  return a.begin == b.begin && a.end == b.end && a.value == b.value;
}

// Sorted, disjoint runs; neighbouring runs of one value are joined.
using Marks = std::vector<MarkRun>;

// The runs of a per-byte array of n entries (0 is no mark).
Marks MarksOfArray(const int32_t* marks, int32_t n);

// Writes the runs into a per-byte array of n entries; bytes outside every
// run are left as they are.
void PaintMarks(const Marks& m, int32_t* out, int32_t n);

// A new per-byte array of n entries (at least one), 0 outside the runs.
int32_t* MarksArray(const Marks& m, int32_t n);

// Paints `top` over `base`: where `top` has a run, its value wins.
void Overlay(Marks* base, const Marks& top);

// 1 where either holds a 1, nothing elsewhere (other values drop out).
Marks UnionOfOnes(const Marks& a, const Marks& b);

// Appends a run after the last one, joining it when they touch with one
// value.  The run must not start before the last one ends.
void AppendRun(Marks* m, int32_t begin, int32_t end, int32_t value);

}  // namespace eti

#endif  // EXTRACTOR_KR_INTERPRET_MARKS_H_

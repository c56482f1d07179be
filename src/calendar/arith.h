// Wrapping 32-bit arithmetic for values that come from texts and
// dictionaries.
//
// Numbers in a message (up to eight digits) and attribute values in a
// dictionary (any int) flow into date arithmetic.  Real dates never come
// near the limits of int32_t, but a hostile dictionary can; these helpers
// wrap like two's-complement hardware instead of overflowing, so that such
// input gives a nonsense date rather than undefined behaviour.
#ifndef EXTRACTOR_KR_CALENDAR_ARITH_H_
#define EXTRACTOR_KR_CALENDAR_ARITH_H_

#include <cstdint>
#include <cstdlib>

namespace eti {

inline int32_t Wrap(int64_t v) {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v)));
}
inline int32_t WAdd(int32_t a, int32_t b) {
  return Wrap(static_cast<int64_t>(a) + b);
}
inline int32_t WSub(int32_t a, int32_t b) {
  return Wrap(static_cast<int64_t>(a) - b);
}
inline int32_t WMul(int32_t a, int32_t b) {
  return Wrap(static_cast<int64_t>(a) * b);
}
inline int32_t WNeg(int32_t a) { return Wrap(-static_cast<int64_t>(a)); }

// std::atoi, with the common case (one to nine digits and nothing before
// them) read without the library call.
inline int32_t ReadInt(const char* s) {
  int32_t v = 0;
  int n = 0;
  while (n < 9 && s[n] >= '0' && s[n] <= '9') v = v * 10 + (s[n++] - '0');
  if (n == 0 || (s[n] >= '0' && s[n] <= '9')) return std::atoi(s);  // a sign, or ten digits
  return v;
}

}  // namespace eti

#endif  // EXTRACTOR_KR_CALENDAR_ARITH_H_

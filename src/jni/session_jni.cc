// The native methods of extractorkr.KoreanTimeExtractor, over the public C
// API alone: one crossing per call, numbers and strings handed over as they
// are (no JSON in between).  Java strings come in as UTF-16 and are read as
// UTF-8 (an unpaired surrogate, which UTF-8 cannot hold, reads as U+FFFD,
// one unit as well, so every UTF-16 position stays where it was); the
// content and the library's words go back as UTF-16.  The names of the rule
// sets and preferences, their years and every problem in words are the
// library's.
#include <jni.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "extractor_kr.h"
#include "extractor_kr.hpp"
#include "session/cp949.h"

namespace {

// Numbers per expression in the answer: is_span, lunar, cycle,
// cycle_interval, the start's six fields and three flags, the end's, begin
// and end in UTF-16 units.
constexpr int kFieldsPerExpression = 24;

// The rule sets and preferences the header declares, in the order of their
// values: the Java side knows them by these positions.
constexpr ekr_rules kRuleSets[] = {EKR_RULES_READER, EKR_RULES_WHOLE_CALL};
constexpr ekr_prefer kPreferences[] = {EKR_PREFER_FUTURE, EKR_PREFER_PAST};

bool IsHigh(uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLow(uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// UTF-16 units as UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf8Of(const std::u16string& units) {
  std::string out;
  out.reserve(units.size() * 3);
  for (size_t i = 0; i < units.size(); ++i) {
    uint32_t cp = units[i];
    if (IsHigh(cp) && i + 1 < units.size() && IsLow(units[i + 1])) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    } else if (IsHigh(cp) || IsLow(cp)) {
      cp = 0xFFFD;
    }
    eti::AppendUtf8(cp, &out);
  }
  return out;
}

// The code point of the UTF-8 sequence at s[i], and its length; a byte that
// begins no well-formed sequence is U+FFFD of length 1.  The library writes
// well-formed UTF-8, so this is only a guard.
uint32_t DecodeUtf8(const unsigned char* s, size_t n, size_t i, size_t* length) {
  const unsigned char b = s[i];
  *length = 1;
  if (b < 0x80) return b;
  size_t more = 0;
  uint32_t cp = 0, least = 0;
  if ((b & 0xE0) == 0xC0) {
    more = 1, cp = b & 0x1F, least = 0x80;
  } else if ((b & 0xF0) == 0xE0) {
    more = 2, cp = b & 0x0F, least = 0x800;
  } else if ((b & 0xF8) == 0xF0) {
    more = 3, cp = b & 0x07, least = 0x10000;
  } else {
    return 0xFFFD;
  }
  if (i + more >= n) return 0xFFFD;
  for (size_t k = 1; k <= more; ++k) {
    if ((s[i + k] & 0xC0) != 0x80) return 0xFFFD;
    cp = (cp << 6) | (s[i + k] & 0x3F);
  }
  if (cp < least || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0xFFFD;
  *length = more + 1;
  return cp;
}

std::u16string Utf16Of(const char* utf8) {
  const auto* s = reinterpret_cast<const unsigned char*>(utf8);
  const size_t n = std::strlen(utf8);
  std::u16string out;
  out.reserve(n);
  for (size_t i = 0; i < n;) {
    size_t length = 1;
    const uint32_t cp = DecodeUtf8(s, n, i, &length);
    i += length;
    if (cp >= 0x10000) {
      out.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

std::string Utf8Of(JNIEnv* env, jstring s) {
  const jsize n = env->GetStringLength(s);
  std::u16string units(static_cast<size_t>(n), u'\0');
  if (n > 0) env->GetStringRegion(s, 0, n, reinterpret_cast<jchar*>(&units[0]));
  return Utf8Of(units);
}

// A Java string of UTF-8; null with an OutOfMemoryError pending when memory
// ran out.
jstring JavaString(JNIEnv* env, const char* utf8) {
  std::u16string units;
  try {
    units = Utf16Of(utf8);
  } catch (const std::bad_alloc&) {
    jclass oom = env->FindClass("java/lang/OutOfMemoryError");
    if (oom != nullptr) env->ThrowNew(oom, "out of memory");
    return nullptr;
  }
  return env->NewString(reinterpret_cast<const jchar*>(units.data()),
                        static_cast<jsize>(units.size()));
}

void SetFirst(JNIEnv* env, jobjectArray out, const char* utf8) {
  if (out == nullptr || env->GetArrayLength(out) < 1) return;
  jstring s = JavaString(env, utf8);
  if (s != nullptr) env->SetObjectArrayElement(out, 0, s);
}

jlong Opened(JNIEnv* env, ekr_status s, ekr_extractor* ex, jobjectArray problem) {
  if (s != EKR_OK) {
    SetFirst(env, problem, ekr_last_error());
    return 0;
  }
  return static_cast<jlong>(reinterpret_cast<intptr_t>(ex));
}

void PutMoment(const ekr_moment& m, jint* at) {
  const int32_t values[9] = {m.year, m.month,    m.day,      m.hour,    m.minute,
                             m.second, m.has_date, m.has_time, m.has_ampm};
  for (int k = 0; k < 9; ++k) at[k] = values[k];
}

jintArray IntArray(JNIEnv* env, const jint* values, size_t n) {
  jintArray array = env->NewIntArray(static_cast<jsize>(n));
  if (array != nullptr) env->SetIntArrayRegion(array, 0, static_cast<jsize>(n), values);
  return array;
}

}  // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_extractorkr_KoreanTimeExtractor_openDefault0(JNIEnv* env, jclass,
                                                                          jobjectArray problem) {
  ekr_extractor* ex = nullptr;
  const ekr_status s = ekr_open_default(&ex);
  return Opened(env, s, ex, problem);
}

JNIEXPORT jlong JNICALL Java_extractorkr_KoreanTimeExtractor_open0(JNIEnv* env, jclass,
                                                                   jobjectArray blobs,
                                                                   jobjectArray problem) {
  try {
    std::vector<std::vector<jbyte>> parts(6);
    for (jsize k = 0; k < 6 && k < env->GetArrayLength(blobs); ++k) {
      auto array = static_cast<jbyteArray>(env->GetObjectArrayElement(blobs, k));
      if (array == nullptr) continue;
      const jsize n = env->GetArrayLength(array);
      parts[static_cast<size_t>(k)].resize(static_cast<size_t>(n));
      if (n > 0) env->GetByteArrayRegion(array, 0, n, parts[static_cast<size_t>(k)].data());
      env->DeleteLocalRef(array);
    }
    const auto blob = [&](int k) {
      const std::vector<jbyte>& p = parts[static_cast<size_t>(k)];
      return ekr_blob{p.empty() ? nullptr : p.data(), p.size()};
    };
    const ekr_dictionaries d{blob(0), blob(1), blob(2), blob(3), blob(4), blob(5)};
    ekr_extractor* ex = nullptr;
    const ekr_status s = ekr_open(&d, &ex);
    return Opened(env, s, ex, problem);
  } catch (const std::bad_alloc&) {
    SetFirst(env, problem, "out of memory");
    return 0;
  }
}

JNIEXPORT void JNICALL Java_extractorkr_KoreanTimeExtractor_close0(JNIEnv*, jclass,
                                                                   jlong pointer) {
  ekr_close(reinterpret_cast<ekr_extractor*>(static_cast<intptr_t>(pointer)));
}

// [status, count, count x kFieldsPerExpression numbers]; out[0] is the
// content, or the problem in the library's words when status is not EKR_OK.
JNIEXPORT jintArray JNICALL Java_extractorkr_KoreanTimeExtractor_extract0(
    JNIEnv* env, jclass, jlong pointer, jstring text, jstring reference, jint rules, jint prefer,
    jint firstYear, jint lastYear, jobjectArray out) {
  const auto* ex = reinterpret_cast<const ekr_extractor*>(static_cast<intptr_t>(pointer));
  std::vector<jint> answer(2, 0);
  ekr_results* results = nullptr;
  try {
    const std::string utf8 = Utf8Of(env, text);
    const std::string ref = Utf8Of(env, reference);
    const ekr_options options = ekr::OptionsFromInts(rules, prefer, firstYear, lastYear);
    const ekr_status s =
        ekr_extract_with(ex, utf8.data(), utf8.size(), ref.c_str(), &options, &results);
    if (s != EKR_OK) {
      answer[0] = s;
      SetFirst(env, out, ekr_last_error());
    } else {
      const size_t n = ekr_results_count(results);
      answer[1] = static_cast<jint>(n);
      answer.resize(2 + n * kFieldsPerExpression);
      jint* at = answer.data() + 2;
      for (size_t i = 0; i < n; ++i, at += kFieldsPerExpression) {
        const ekr_result& e = *ekr_results_at(results, i);
        at[0] = e.is_span;
        at[1] = e.lunar;
        at[2] = e.cycle;
        at[3] = e.cycle_interval;
        PutMoment(e.start, at + 4);
        PutMoment(e.end, at + 13);
        at[22] = e.begin_utf16;
        at[23] = e.end_utf16;
      }
      SetFirst(env, out, ekr_results_content(results));
    }
  } catch (const std::bad_alloc&) {
    answer.assign(2, 0);
    answer[0] = EKR_ERROR_MEMORY;
    SetFirst(env, out, "out of memory");
  }
  ekr_results_free(results);
  return IntArray(env, answer.data(), answer.size());
}

// null when the options are sound, the problem in the library's words
// otherwise.
JNIEXPORT jstring JNICALL Java_extractorkr_KoreanTimeExtractor_optionsProblem0(
    JNIEnv* env, jclass, jint rules, jint prefer, jint firstYear, jint lastYear) {
  const ekr_options o = ekr::OptionsFromInts(rules, prefer, firstYear, lastYear);
  if (ekr_options_check(&o) == EKR_OK) return nullptr;
  return JavaString(env, ekr_last_error());
}

// What the library says of itself, asked once: words[] gets the names of
// the rule sets, then those of the preferences, then the version; the
// numbers are [rule sets, preferences, the default options' rules, prefer,
// first and last year (0 and 0: the rules' own), then for each rule set its
// own first and last year and its references' first and last year].  null
// (and an error pending) when memory ran out or words[] is too short.
JNIEXPORT jintArray JNICALL Java_extractorkr_KoreanTimeExtractor_describe0(JNIEnv* env, jclass,
                                                                           jobjectArray words) {
  constexpr size_t kRuleCount = sizeof kRuleSets / sizeof kRuleSets[0];
  constexpr size_t kPreferCount = sizeof kPreferences / sizeof kPreferences[0];
  if (words == nullptr ||
      env->GetArrayLength(words) < static_cast<jsize>(kRuleCount + kPreferCount + 1)) {
    jclass bad = env->FindClass("java/lang/IllegalArgumentException");
    if (bad != nullptr) env->ThrowNew(bad, "no room for the library's words");
    return nullptr;
  }
  jsize at = 0;
  const auto put = [&](const char* word) {
    jstring s = JavaString(env, word != nullptr ? word : "");
    if (s == nullptr) return false;
    env->SetObjectArrayElement(words, at++, s);
    env->DeleteLocalRef(s);
    return true;
  };
  for (const ekr_rules r : kRuleSets) {
    if (!put(ekr_rules_name(r))) return nullptr;
  }
  for (const ekr_prefer p : kPreferences) {
    if (!put(ekr_prefer_name(p))) return nullptr;
  }
  if (!put(ekr_version())) return nullptr;

  ekr_options o;
  ekr_options_init(&o);
  jint numbers[6 + 4 * kRuleCount] = {static_cast<jint>(kRuleCount),
                                      static_cast<jint>(kPreferCount),
                                      o.rules,
                                      o.prefer,
                                      o.min_year,
                                      o.max_year};
  jint* n = numbers + 6;
  for (const ekr_rules r : kRuleSets) {
    int32_t years[4] = {0, 0, 0, 0};
    ekr_rules_years(r, &years[0], &years[1]);
    ekr_reference_years(r, &years[2], &years[3]);
    for (const int32_t y : years) *n++ = y;
  }
  return IntArray(env, numbers, sizeof numbers / sizeof numbers[0]);
}

}  // extern "C"

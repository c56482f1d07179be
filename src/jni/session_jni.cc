// The native methods of extractorkr.KoreanTimeExtractor, over the session
// layer: one crossing per call, numbers and strings handed over as they
// are (no JSON in between).  Java strings come in as UTF-16 and are read as
// UTF-8 (an unpaired surrogate, which UTF-8 cannot hold, reads as U+FFFD,
// one unit as well, so every UTF-16 position stays where it was); the
// content goes back as UTF-16.
#include <jni.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "session/cp949.h"
#include "session/extractor.h"

namespace {

using eti::session::Extractor;
using eti::session::Status;

// Numbers per expression in the answer: is_span, cycle, the start's six
// fields and three flags, the end's, begin and end in UTF-16 units.
constexpr int kFieldsPerExpression = 22;

std::string Utf8Of(const jchar* units, jsize n) {
  std::string out;
  out.reserve(static_cast<size_t>(n) * 3);
  for (jsize i = 0; i < n; ++i) {
    uint32_t cp = units[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < n && units[i + 1] >= 0xDC00 &&
        units[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (units[i + 1] - 0xDC00);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = 0xFFFD;
    }
    eti::AppendUtf8(cp, &out);
  }
  return out;
}

std::u16string Utf16Of(const std::string& utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  for (size_t i = 0; i < utf8.size();) {
    uint32_t cp = 0xFFFD;
    const size_t n = eti::DecodeUtf8(utf8, i, &cp);
    i += n == 0 ? 1 : n;
    if (cp >= 0x10000) {
      out.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(cp));
    }
  }
  return out;
}

jstring JavaString(JNIEnv* env, const std::string& utf8) {
  const std::u16string units = Utf16Of(utf8);
  return env->NewString(reinterpret_cast<const jchar*>(units.data()),
                        static_cast<jsize>(units.size()));
}

void SetFirst(JNIEnv* env, jobjectArray out, const std::string& utf8) {
  if (out == nullptr || env->GetArrayLength(out) < 1) return;
  jstring s = JavaString(env, utf8);
  if (s != nullptr) env->SetObjectArrayElement(out, 0, s);
}

jlong Opened(JNIEnv* env, const Status& s, std::unique_ptr<Extractor> ex, jobjectArray problem) {
  if (!s.ok()) {
    SetFirst(env, problem, s.detail);
    return 0;
  }
  return static_cast<jlong>(reinterpret_cast<intptr_t>(ex.release()));
}

void PutMoment(const ekr_moment& m, jint* at) {
  const int32_t values[9] = {m.year, m.month,    m.day,      m.hour,    m.minute,
                             m.second, m.has_date, m.has_time, m.has_ampm};
  for (int k = 0; k < 9; ++k) at[k] = values[k];
}

}  // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_extractorkr_KoreanTimeExtractor_openDefault0(JNIEnv* env, jclass,
                                                                          jobjectArray problem) {
  try {
    std::unique_ptr<Extractor> ex;
    const Status s = Extractor::OpenDefault(&ex);
    return Opened(env, s, std::move(ex), problem);
  } catch (const std::bad_alloc&) {
    SetFirst(env, problem, "out of memory");
    return 0;
  }
}

JNIEXPORT jlong JNICALL Java_extractorkr_KoreanTimeExtractor_open0(JNIEnv* env, jclass,
                                                                   jobjectArray blobs,
                                                                   jobjectArray problem) {
  try {
    std::vector<std::string> parts(6);
    for (jsize k = 0; k < 6 && k < env->GetArrayLength(blobs); ++k) {
      auto array = static_cast<jbyteArray>(env->GetObjectArrayElement(blobs, k));
      if (array == nullptr) continue;
      const jsize n = env->GetArrayLength(array);
      parts[static_cast<size_t>(k)].resize(static_cast<size_t>(n));
      env->GetByteArrayRegion(array, 0, n, reinterpret_cast<jbyte*>(&parts[k][0]));
      env->DeleteLocalRef(array);
    }
    const auto blob = [&](int k) {
      return ekr_blob{parts[static_cast<size_t>(k)].data(), parts[static_cast<size_t>(k)].size()};
    };
    std::unique_ptr<Extractor> ex;
    const Status s = Extractor::Open({blob(0), blob(1), blob(2), blob(3), blob(4), blob(5)}, &ex);
    return Opened(env, s, std::move(ex), problem);
  } catch (const std::bad_alloc&) {
    SetFirst(env, problem, "out of memory");
    return 0;
  }
}

JNIEXPORT void JNICALL Java_extractorkr_KoreanTimeExtractor_close0(JNIEnv*, jclass,
                                                                   jlong pointer) {
  delete reinterpret_cast<Extractor*>(static_cast<intptr_t>(pointer));
}

JNIEXPORT jintArray JNICALL Java_extractorkr_KoreanTimeExtractor_extract0(
    JNIEnv* env, jclass, jlong pointer, jstring text, jstring reference, jint prefer,
    jint firstYear, jint lastYear, jobjectArray out) {
  const auto* ex = reinterpret_cast<const Extractor*>(static_cast<intptr_t>(pointer));
  std::vector<jint> answer(2, 0);
  try {
    const jsize n = env->GetStringLength(text);
    std::u16string units(static_cast<size_t>(n), u'\0');
    env->GetStringRegion(text, 0, n, reinterpret_cast<jchar*>(&units[0]));
    const std::string utf8 = Utf8Of(reinterpret_cast<const jchar*>(units.data()), n);
    const jsize refLength = env->GetStringLength(reference);
    std::u16string refUnits(static_cast<size_t>(refLength), u'\0');
    env->GetStringRegion(reference, 0, refLength, reinterpret_cast<jchar*>(&refUnits[0]));
    const std::string ref = Utf8Of(reinterpret_cast<const jchar*>(refUnits.data()), refLength);

    // The Java side checked the window; prefer is 0 or 1.
    ekr_options options;
    ekr_options_init(&options);
    options.prefer = prefer == 1 ? EKR_PREFER_PAST : EKR_PREFER_FUTURE;
    options.min_year = firstYear;
    options.max_year = lastYear;
    eti::session::Results results;
    const Status s = ex->Extract(utf8, ref, options, &results);
    if (!s.ok()) {
      answer[0] = s.code;
      SetFirst(env, out, s.detail);
    } else {
      answer[1] = static_cast<jint>(results.items.size());
      answer.resize(2 + results.items.size() * kFieldsPerExpression);
      jint* at = answer.data() + 2;
      for (const ekr_result& e : results.items) {
        at[0] = e.is_span;
        at[1] = e.cycle;
        PutMoment(e.start, at + 2);
        PutMoment(e.end, at + 11);
        at[20] = e.begin_utf16;
        at[21] = e.end_utf16;
        at += kFieldsPerExpression;
      }
      SetFirst(env, out, results.content);
    }
  } catch (const std::bad_alloc&) {
    answer.assign(2, 0);
    answer[0] = EKR_ERROR_MEMORY;
    SetFirst(env, out, "out of memory");
  }
  jintArray array = env->NewIntArray(static_cast<jsize>(answer.size()));
  if (array != nullptr) {
    env->SetIntArrayRegion(array, 0, static_cast<jsize>(answer.size()), answer.data());
  }
  return array;
}

}  // extern "C"

// The native entry point: the Java method getTimeInfo_native of
// zelk.tarn.tm.wisp.service.entity.ExtractorKr.  It copies the text and
// the six configuration arrays out of the Java heap into NUL-terminated
// native buffers, runs ETI_Main, renders the typed results as one JSON
// array and returns it as a new byte array.  Nothing is kept between calls.
#include <jni.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "extractor_kr/stages.h"
#include "jni/json_writer.h"

namespace {

enum class Kind { kText, kBytes, kBlob };

// Size of a trie blob as its header tells it: 8 + 12 x nodes + pool.
uint64_t ClaimedBlobSize(const char* blob) {
  uint32_t nodes, pool;
  std::memcpy(&nodes, blob, 4);
  std::memcpy(&pool, blob + 4, 4);
  return 8u + 12u * static_cast<uint64_t>(nodes) + pool;
}

// One Java byte array and its native NUL-terminated copy.
struct ArrayCopy {
  jbyteArray array = nullptr;
  jbyte* elements = nullptr;
  char* copy = nullptr;

  void Take(JNIEnv* env, jbyteArray a, Kind kind) {
    array = a;
    jsize length = 0;
    if (a != nullptr) {
      length = env->GetArrayLength(a);
      elements = env->GetByteArrayElements(a, nullptr);
      if (elements == nullptr) length = 0;
    }
    const size_t n = static_cast<size_t>(length);
    // A blob gets room for at least its 8-byte header.
    const size_t room = (kind == Kind::kBlob && n < 8) ? 8 : n;
    copy = static_cast<char*>(std::calloc(room + 1, 1));
    if (n > 0) {
      if (kind == Kind::kText) {
        // Bytes after an embedded NUL become NUL.
        std::strncpy(copy, reinterpret_cast<const char*>(elements), n);
      } else {
        std::memcpy(copy, elements, n);
      }
    }
    // A blob whose header claims more bytes than the array holds is replaced
    // by the empty trie (no nodes), which finds nothing.
    if (kind == Kind::kBlob && (n < 8 || ClaimedBlobSize(copy) > n)) {
      std::memset(copy, 0, 8);
    }
  }

  void Release(JNIEnv* env) {
    if (elements != nullptr) env->ReleaseByteArrayElements(array, elements, 0);
    elements = nullptr;
  }

  ~ArrayCopy() { std::free(copy); }
};

}  // namespace

extern "C" JNIEXPORT jbyteArray JNICALL
Java_zelk_tarn_tm_wisp_service_entity_ExtractorKr_getTimeInfo_1native(
    JNIEnv* env, jobject /*self*/, jbyteArray text, jbyteArray a1,
    jbyteArray a2, jbyteArray a3, jbyteArray a4, jbyteArray a5, jbyteArray a6,
    jstring refTime) {
  // Preset, so that a rejected reference time leaves an empty list: "[]".
  TYPED_RESULT* results = nullptr;
  const char* refChars =
      refTime != nullptr ? env->GetStringUTFChars(refTime, nullptr) : nullptr;

  if (text == nullptr || env->GetArrayLength(text) < 1) {
    if (refChars != nullptr) env->ReleaseStringUTFChars(refTime, refChars);
    return nullptr;
  }

  ArrayCopy copies[7];
  const jbyteArray arrays[7] = {text, a1, a2, a3, a4, a5, a6};
  const Kind kinds[7] = {Kind::kText, Kind::kBytes, Kind::kBlob, Kind::kBlob,
                         Kind::kBlob, Kind::kBlob,  Kind::kBytes};
  for (int i = 0; i < 7; ++i) copies[i].Take(env, arrays[i], kinds[i]);

  ETI_Main(copies[0].copy, &results, refChars != nullptr ? refChars : "",
           copies[1].copy, copies[2].copy, copies[3].copy, copies[4].copy,
           copies[5].copy, copies[6].copy);

  char* json = eti::WriteJsonArray(results);
  const jsize jsonLength = static_cast<jsize>(std::strlen(json));
  jbyteArray out = env->NewByteArray(jsonLength);
  if (out != nullptr) {
    env->SetByteArrayRegion(out, 0, jsonLength,
                            reinterpret_cast<const jbyte*>(json));
  }

  if (refChars != nullptr) env->ReleaseStringUTFChars(refTime, refChars);
  for (ArrayCopy& c : copies) c.Release(env);
  ETI_FreeTypedResults(results);
  std::free(json);
  return out;
}

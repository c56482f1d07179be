// The native entry driven through a test-side JNI function table, so that
// it runs under the sanitizers without a JVM.
#include <gtest/gtest.h>
#include <jni.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/dict_builder.h"

extern "C" jbyteArray
Java_zelk_tarn_tm_wisp_service_entity_ExtractorKr_getTimeInfo_1native(
    JNIEnv*, jobject, jbyteArray, jbyteArray, jbyteArray, jbyteArray,
    jbyteArray, jbyteArray, jbyteArray, jstring);

namespace {

struct FakeArray {
  std::vector<jbyte> bytes;
};
struct FakeString {
  std::string chars;
};

// What the fake JVM saw: every acquisition must be released.
struct Ledger {
  int stringsHeld = 0;
  int arraysHeld = 0;
  std::vector<std::unique_ptr<FakeArray>> created;
};
Ledger* g_ledger = nullptr;

FakeArray* A(jarray a) { return reinterpret_cast<FakeArray*>(a); }

jsize JNICALL GetArrayLength(JNIEnv*, jarray a) {
  return static_cast<jsize>(A(a)->bytes.size());
}
jbyte* JNICALL GetByteArrayElements(JNIEnv*, jbyteArray a, jboolean* isCopy) {
  if (isCopy) *isCopy = JNI_TRUE;
  ++g_ledger->arraysHeld;
  auto* copy = new jbyte[A(a)->bytes.size() + 1];
  if (!A(a)->bytes.empty()) std::memcpy(copy, A(a)->bytes.data(), A(a)->bytes.size());
  return copy;
}
void JNICALL ReleaseByteArrayElements(JNIEnv*, jbyteArray a, jbyte* elems,
                                      jint mode) {
  EXPECT_EQ(mode, 0);
  if (!A(a)->bytes.empty()) std::memcpy(A(a)->bytes.data(), elems, A(a)->bytes.size());
  --g_ledger->arraysHeld;
  delete[] elems;
}
const char* JNICALL GetStringUTFChars(JNIEnv*, jstring s, jboolean*) {
  ++g_ledger->stringsHeld;
  return reinterpret_cast<FakeString*>(s)->chars.c_str();
}
void JNICALL ReleaseStringUTFChars(JNIEnv*, jstring, const char*) {
  --g_ledger->stringsHeld;
}
jbyteArray JNICALL NewByteArray(JNIEnv*, jsize n) {
  g_ledger->created.push_back(std::make_unique<FakeArray>());
  g_ledger->created.back()->bytes.resize(n);
  return reinterpret_cast<jbyteArray>(g_ledger->created.back().get());
}
void JNICALL SetByteArrayRegion(JNIEnv*, jbyteArray a, jsize start, jsize n,
                                const jbyte* from) {
  ASSERT_LE(static_cast<size_t>(start + n), A(a)->bytes.size());
  if (n > 0) std::memcpy(A(a)->bytes.data() + start, from, n);
}

class FakeJvm : public testing::Test {
 protected:
  void SetUp() override {
    std::memset(&table_, 0, sizeof(table_));
    table_.GetArrayLength = GetArrayLength;
    table_.GetByteArrayElements = GetByteArrayElements;
    table_.ReleaseByteArrayElements = ReleaseByteArrayElements;
    table_.GetStringUTFChars = GetStringUTFChars;
    table_.ReleaseStringUTFChars = ReleaseStringUTFChars;
    table_.NewByteArray = NewByteArray;
    table_.SetByteArrayRegion = SetByteArrayRegion;
    env_.functions = &table_;
    g_ledger = &ledger_;
  }
  void TearDown() override {
    EXPECT_EQ(ledger_.stringsHeld, 0);
    EXPECT_EQ(ledger_.arraysHeld, 0);
    g_ledger = nullptr;
  }

  jbyteArray Array(const std::string& s) {
    arrays_.push_back(std::make_unique<FakeArray>());
    arrays_.back()->bytes.assign(s.begin(), s.end());
    return reinterpret_cast<jbyteArray>(arrays_.back().get());
  }
  jstring String(const std::string& s) {
    strings_.push_back(std::make_unique<FakeString>());
    strings_.back()->chars = s;
    return reinterpret_cast<jstring>(strings_.back().get());
  }

  // Calls the entry; *isNull tells whether it returned a null reference.
  std::string Call(jbyteArray text, jstring ref, bool* isNull,
                   jbyteArray blob = nullptr) {
    jbyteArray b = blob != nullptr ? blob : Array(std::string(8, '\0'));
    jbyteArray out =
        Java_zelk_tarn_tm_wisp_service_entity_ExtractorKr_getTimeInfo_1native(
            &env_, nullptr, text, Array(""), b, b, b, b, Array(""), ref);
    *isNull = out == nullptr;
    if (out == nullptr) return "";
    return std::string(A(out)->bytes.begin(), A(out)->bytes.end());
  }

  JNINativeInterface_ table_;
  JNIEnv env_;
  Ledger ledger_;
  std::vector<std::unique_ptr<FakeArray>> arrays_;
  std::vector<std::unique_ptr<FakeString>> strings_;
};

TEST_F(FakeJvm, BadArgumentsAreAnsweredAndReleaseWhatTheyTook) {
  bool isNull = false;
  // An empty or missing text: a null reference.
  Call(Array(""), String("202405151030"), &isNull);
  EXPECT_TRUE(isNull);
  Call(nullptr, String("202405151030"), &isNull);
  EXPECT_TRUE(isNull);
  std::string claim(8, '\0');
  claim[0] = 5;
  const struct {
    jbyteArray text;
    jstring ref;
    jbyteArray blob;  // nullptr: empty tries
  } cases[] = {
      {Array("hello"), String("204401010000"), nullptr},  // a rejected reference
      {Array("hello"), String(""), nullptr},
      {Array("hello"), nullptr, nullptr},
      {Array("\xB3\xBB\xC0\xCF 3\xBD\xC3"), String("202405151030"), nullptr},  // nothing found
      {Array("x"), String("202405151030"), Array("ab")},  // shorter than a header
      {Array("x"), String("202405151030"), Array(claim)},  // claiming more than it holds
  };
  for (const auto& c : cases) {
    isNull = true;
    EXPECT_EQ(Call(c.text, c.ref, &isNull, c.blob), "[]");
    EXPECT_FALSE(isNull);
  }
  jbyteArray out = Java_zelk_tarn_tm_wisp_service_entity_ExtractorKr_getTimeInfo_1native(
      &env_, nullptr, Array("x"), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
      String("202405151030"));
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(std::string(A(out)->bytes.begin(), A(out)->bytes.end()), "[]");
}

TEST_F(FakeJvm, RealDictionariesRunEveryStage) {
  const eti::testing::DictSet d = eti::testing::LoadDictSet("tests/data/e2e");
  // Normalisation (낼 and its space), tagging, search, resolution and the content.
  const std::string text = eti::testing::Cp949("낼 오후 3시에 봐요, 꼭");
  jbyteArray out =
      Java_zelk_tarn_tm_wisp_service_entity_ExtractorKr_getTimeInfo_1native(
          &env_, nullptr, Array(text), Array(d.settings), Array(d.replace), Array(d.tags),
          Array(d.patterns), Array(d.units), Array(d.words), String("202405151030"));
  ASSERT_NE(out, nullptr);
  std::string content;
  const std::string json =
      eti::testing::Utf8(std::string(A(out)->bytes.begin(), A(out)->bytes.end()));
  EXPECT_EQ(eti::testing::Summary(json, &content), "20240516150000 111@0-7");
  EXPECT_EQ(content, "  봐요 꼭");
}

}  // namespace

#include "jni/json_writer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

TYPED_RESULT Point(const char* content) {
  TYPED_RESULT r{};
  r.content = const_cast<char*>(content);
  std::memcpy(r.startTime, "20240515150000", 15);
  std::memcpy(r.endTime, "00000000000000", 15);
  std::memcpy(r.cycle, "00000000000000", 15);
  r.inputInformStart[0] = 1;
  r.inputInformStart[1] = 1;
  r.resultType = 1;
  r.beginIndex = 0;
  r.endIndex = 5;
  return r;
}

std::string Json(const TYPED_RESULT* list) {
  char* s = eti::WriteJsonArray(list);
  std::string out(s);
  std::free(s);
  return out;
}

TEST(JsonWriter, EmptyListIsAnEmptyArray) { EXPECT_EQ(Json(nullptr), "[]"); }

TEST(JsonWriter, PointRepeatsTheStartInTheEndFields) {
  TYPED_RESULT r = Point("meet");
  std::memcpy(r.inputInformEnd, "\1\1\1", 3);  // ignored for a point
  EXPECT_EQ(Json(&r),
            "[{\"resultType\":\"1\",\"startTime\":\"20240515150000\","
            "\"endTime\":\"20240515150000\",\"beginIndex\":\"0\","
            "\"endIndex\":\"5\",\"content\":\"meet\","
            "\"inputInformStart\":\"110\",\"inputInformEnd\":\"110\","
            "\"cycle\":\"00000000000000\"}]");
}

TEST(JsonWriter, SpanPrintsItsEndAsStored) {
  TYPED_RESULT r = Point("");
  r.resultType = 2;
  std::memcpy(r.endTime, "FFFFFFFFFFFFFF", 15);
  r.beginIndex = -1;
  r.endIndex = -1;
  const std::string json = Json(&r);
  EXPECT_NE(json.find("\"endTime\":\"FFFFFFFFFFFFFF\""), std::string::npos);
  EXPECT_NE(json.find("\"inputInformEnd\":\"000\""), std::string::npos);
  EXPECT_NE(json.find("\"beginIndex\":\"-1\",\"endIndex\":\"-1\""), std::string::npos);
  EXPECT_EQ(json.back(), ']');
}

TEST(JsonWriter, OnlyDoubleQuotesAreEscapedAndTheSlotGrows) {
  TYPED_RESULT plain = Point("say hi");
  TYPED_RESULT quoted = Point("say \"hi\"");
  const std::string a = Json(&plain);
  const std::string b = Json(&quoted);
  EXPECT_EQ(b.size(), a.size() + 4);  // two quotes, each with its backslash
  EXPECT_NE(b.find("\"content\":\"say \\\"hi\\\"\""), std::string::npos);
  TYPED_RESULT raw = Point("a\\b\t\xB3\xBB");
  EXPECT_NE(Json(&raw).find("\"content\":\"a\\b\t\xB3\xBB\""), std::string::npos);
}

TEST(JsonWriter, ElementsJoinWithOneComma) {
  TYPED_RESULT a = Point("x");
  TYPED_RESULT b = Point("x");
  TYPED_RESULT c = Point("x");
  b.beginIndex = 12345;
  a.next = &b;
  b.next = &c;
  const std::string one = Json(&c);
  const std::string three = Json(&a);
  const std::string element = one.substr(1, one.size() - 2);
  std::string belement = element;
  belement.replace(belement.find("\"0\""), 3, "\"12345\"");
  EXPECT_EQ(three, "[" + element + "," + belement + "," + element + "]");
}

TEST(JsonWriter, SlotsMatchTheFormattedLength) {
  // 190 fixed characters per element: the literal 141 of the format, one
  // digit of type, two times, six flags and the cycle.
  TYPED_RESULT r = Point("");
  r.beginIndex = 7;
  r.endIndex = 10;
  EXPECT_EQ(Json(&r).size(), 2u + 190u + 1u + 2u);
}

}  // namespace

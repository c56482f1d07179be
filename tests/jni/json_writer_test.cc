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

TEST(JsonWriter, PointsRepeatTheStartAndSpansPrintTheirEnd) {
  EXPECT_EQ(Json(nullptr), "[]");
  TYPED_RESULT point = Point("meet"), span = Point("");
  std::memcpy(point.inputInformEnd, "\1\1\1", 3);  // ignored for a point
  span.resultType = 2;
  std::memcpy(span.endTime, "FFFFFFFFFFFFFF", 15);
  span.beginIndex = -1;
  span.endIndex = 12345;
  point.next = &span;
  // Elements join with one comma.
  EXPECT_EQ(Json(&point),
            "[{\"resultType\":\"1\",\"startTime\":\"20240515150000\","
            "\"endTime\":\"20240515150000\",\"beginIndex\":\"0\","
            "\"endIndex\":\"5\",\"content\":\"meet\","
            "\"inputInformStart\":\"110\",\"inputInformEnd\":\"110\","
            "\"cycle\":\"00000000000000\"},"
            "{\"resultType\":\"2\",\"startTime\":\"20240515150000\","
            "\"endTime\":\"FFFFFFFFFFFFFF\",\"beginIndex\":\"-1\","
            "\"endIndex\":\"12345\",\"content\":\"\","
            "\"inputInformStart\":\"110\",\"inputInformEnd\":\"000\","
            "\"cycle\":\"00000000000000\"}]");
}

TEST(JsonWriter, OnlyDoubleQuotesAreEscapedAndTheSlotGrows) {
  TYPED_RESULT quoted = Point("say \"hi\"");
  EXPECT_NE(Json(&quoted).find("\"content\":\"say \\\"hi\\\"\","), std::string::npos) << Json(&quoted);
  TYPED_RESULT raw = Point("a\\b\t\xB3\xBB");
  EXPECT_NE(Json(&raw).find("\"content\":\"a\\b\t\xB3\xBB\""), std::string::npos);
  // Many quotes: the element's slot grows with them.
  const std::string many(300, '"');
  TYPED_RESULT big = Point(many.c_str());
  EXPECT_EQ(Json(&big).size(), Json(&raw).size() - 6 + 600);
}

}  // namespace

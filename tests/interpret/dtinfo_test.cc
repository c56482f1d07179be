#include <gtest/gtest.h>

#include <cstdlib>

#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"

namespace {

constexpr int32_t U = ETI_UNSET;

TEST(DTINFO, FreeReleasesOwnedMarksOfEveryRecord) {
  DTINFO* a = eti::NewDTINFO();
  DTINFO* b = eti::NewDTINFO();
  a->next = b;
  a->compoundMarks = static_cast<int32_t*>(std::calloc(4, sizeof(int32_t)));
  b->compoundMarks = static_cast<int32_t*>(std::calloc(4, sizeof(int32_t)));
  EXPECT_EQ(Free_DTINFO(a), 1);  // the leak checker of the sanitizer run watches
  EXPECT_EQ(Free_DTINFO(nullptr), 0);
}

struct Validation {
  int32_t relKind, duration, year, month, day, hour, minute, second;
  int32_t expected;
};

TEST(ValidateAbsolDT, RangesAsTheSystemDrawsThem) {
  const Validation cases[] = {
      {U, U, 2031, U, U, U, U, U, 1},
      {U, U, 2030, U, U, U, U, U, 0},
      {U, U, 14, U, U, U, U, U, 0},
      {U, U, 1999, U, U, U, U, U, 1},
      {U, U, 31, U, U, U, U, U, 1},
      {U, U, 4030, U, U, U, U, U, 0},
      {U, U, -5, U, U, U, U, U, 0},
      {0, U, U, 13, U, U, U, U, 1},
      {0, U, U, 0, -3, U, U, U, 0},  // no lower bounds
      {0, U, U, U, 32, U, U, U, 1},
      {0, U, U, U, U, 24, 60, 60, 0},
      {0, U, U, U, U, 25, U, U, 1},
      {0, U, U, U, U, U, 61, U, 1},
      {0, U, U, U, U, U, U, 61, 1},
      {1, U, 100, 99, U, U, U, U, 0},  // relative: only the year is checked
      {1, U, 101, U, U, U, U, U, 1},
      {1, U, -101, U, U, U, U, U, 1},
      {1, U, -100, U, U, U, U, U, 0},
      {0, 0, U, 13, 40, 30, U, U, 0},  // duration 0 is checked as relative
      {0, 0, 2030, U, U, U, U, U, 1},
  };
  for (const Validation& c : cases) {
    DTINFO* r = eti::NewDTINFO();
    r->relKind = c.relKind;
    r->duration = c.duration;
    r->year = c.year;
    r->month = c.month;
    r->day = c.day;
    r->hour = c.hour;
    r->minute = c.minute;
    r->second = c.second;
    EXPECT_EQ(ValidateAbsolDT(r), c.expected)
        << "rel " << c.relKind << " year " << c.year << " month " << c.month
        << " hour " << c.hour;
    Free_DTINFO(r);
  }
  EXPECT_EQ(ValidateAbsolDT(nullptr), 0);
}

TEST(ValidateAbsolDT, FirstFailingRecordDecides) {
  DTINFO* a = eti::NewDTINFO();
  DTINFO* b = eti::NewDTINFO();
  a->next = b;
  a->year = 2024;
  b->month = 13;
  EXPECT_EQ(ValidateAbsolDT(a), 1);
  Free_DTINFO(a);
}

TEST(SetFlagsToDTInfo, PositionWalksBackToTheFirstAbsoluteRecord) {
  DTINFO* r[3] = {eti::NewDTINFO(), eti::NewDTINFO(), eti::NewDTINFO()};
  r[0]->relKind = 1;
  r[1]->relKind = 0;
  r[2]->relKind = U;
  r[0]->duration = 1;  // a handler's "Dur" is replaced
  DTINFO* head = SetFlagsToDTInfo(r, 3, 2, 3, U);
  ASSERT_EQ(head, r[0]);
  EXPECT_EQ(r[2]->relKind, 2);
  EXPECT_EQ(r[1]->relKind, 0);
  EXPECT_EQ(r[0]->relKind, 1);
  EXPECT_EQ(r[0]->duration, U);
  EXPECT_EQ(r[0]->next, r[1]);
  EXPECT_EQ(r[1]->next, r[2]);
  Free_DTINFO(head);
}

TEST(SetFlagsToDTInfo, SkipsNullSlotsAndWritesDuration) {
  DTINFO* r[4] = {nullptr, eti::NewDTINFO(), nullptr, eti::NewDTINFO()};
  r[1]->relKind = 1;
  DTINFO* head = SetFlagsToDTInfo(r, 4, -2, 1, 3);
  ASSERT_EQ(head, r[1]);
  EXPECT_EQ(r[1]->relKind, 1);  // before index 1 only slot 0, which is empty
  EXPECT_EQ(r[1]->next, r[3]);
  EXPECT_EQ(r[1]->duration, 3);
  EXPECT_EQ(r[3]->duration, 3);
  EXPECT_EQ(r[3]->relKind, U);
  Free_DTINFO(head);

  DTINFO* none[2] = {nullptr, nullptr};
  EXPECT_EQ(SetFlagsToDTInfo(none, 2, 1, 1, 1), nullptr);
  EXPECT_EQ(SetFlagsToDTInfo(none, 0, 1, 1, 1), nullptr);
  EXPECT_EQ(SetFlagsToDTInfo(nullptr, 2, 1, 1, 1), nullptr);
}

TEST(SetFlagsToDTInfo, PositionPastTheArrayStaysInside) {
  DTINFO* r[1] = {eti::NewDTINFO()};
  DTINFO* head = SetFlagsToDTInfo(r, 1, 2, 50, U);
  EXPECT_EQ(head->relKind, 2);
  Free_DTINFO(head);
}

TEST(DepthOfSeq, CountsItems) {
  EXPECT_EQ(DepthOfSeq("NUM*YUnit"), 2);
  EXPECT_EQ(DepthOfSeq("NUM"), 1);
  EXPECT_EQ(DepthOfSeq(""), 1);
  EXPECT_EQ(DepthOfSeq("a*b*c*"), 4);
  EXPECT_EQ(DepthOfSeq(nullptr), -1);
}

}  // namespace

// The reader rules: the reader corpus (documents with several dates, words
// that hold a time word, classes unseen text showed missing) and the texts
// that show each rule, through ekr_extract_with under ekr_options_init, with
// the bundled set compiled from its sources.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "support/session.h"

namespace eti::testing {
namespace {

const ExtractorPtr& Korean() {
  static const ExtractorPtr ex = OpenSet(LoadDictSet("dicts/ko"));
  return ex;
}

// The compact answer under the reader rules ("-" for none).
std::string Read(const std::string& text, const std::string& ref, std::string* content = nullptr) {
  ekr_options o;
  ekr_options_init(&o);
  ekr_status status;
  const ResultsPtr r = SessionExtract(Korean().get(), text, ref, &status, &o);
  if (status != EKR_OK) return ekr_status_text(status);
  std::string c;
  const std::string out = SessionSummary(r.get(), &c);
  if (content != nullptr) *content = c;
  return out;
}

TEST(Reader, EveryCorpusTextGivesItsExpectedResults) {
  const std::vector<std::string> files =
      eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko-reader", ".tsv");
  ASSERT_GE(files.size(), 3u);
  for (const std::string& file : files) {
    int n = 0, ok = 0;
    for (const Case& c : ReadCases("corpus/ko-reader/" + file)) {
      std::string content;
      const std::string got = Read(c.text, c.ref, &content);
      const bool good = got == c.expected && (c.expected == "-" || content == c.content);
      EXPECT_TRUE(good) << file << ":" << c.line << ": " << c.text << "\n  want " << c.expected
                        << " [" << c.content << "]\n  got  " << got << " [" << content << "]";
      ++n;
      ok += good;
    }
    EXPECT_GE(n, 30) << file;
    std::printf("%-30s %4d texts, %4d as expected\n", file.c_str(), n, ok);
  }
}

// The whole call's rules were made for one message about one event: a later
// expression leans on the one before it.  The reader rules read each on its
// own terms; both are one engine, chosen by the options.
TEST(Reader, EachExpressionOnItsOwnTermsWhereTheWholeCallCarries) {
  const std::string ref = "202611251500";  // Wednesday 2026-11-25 15:00
  ekr_options whole;
  ekr_options_init(&whole);
  whole.rules = EKR_RULES_WHOLE_CALL;
  const struct {
    const char* text;
    const char* reader;
    const char* wholeCall;
  } cases[] = {
      // No year carried from an unrelated expression.
      {"방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
       "20270105FFFFFF~20270227FFFFFF 100/100@4-20 | FFFFFFFFFFFFFF~20261211FFFFFF 000/100@30-39",
       "20270105FFFFFF~20270227FFFFFF 100/100@4-20 | FFFFFFFFFFFFFF~20271211FFFFFF 000/100@30-39"},
      // A weekday written with a date chooses the year where they agree.
      {"3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
       "20260701FFFFFF~20260930FFFFFF 000/000@0-3 | "
       "FFFFFFFFFFFFFF~20261130170000 000/111@8-27",
       nullptr},
      // No week carried: the Friday is the coming one.
      {"세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
       "20261209FFFFFF 100@5-14 | FFFFFFFFFFFFFF~20261127FFFFFF 000/100@21-26", nullptr},
      // No span across a sentence end, none that ends before it starts.
      {"다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
       "20261201FFFFFF~FFFFFFFFFFFFFF 000/000@0-6 | FFFFFFFFFFFFFF~20261130FFFFFF 000/100@17-25",
       "20261201FFFFFF~20261130FFFFFF 000/100@0-25"},
      // A count counts from the reference.
      {"내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
       "20261126150000 111@0-8 | 20261025FFFFFF 100@17-22", nullptr},
      // An hour without its half of the day is the nearest one to come.
      {"오늘밤 12시 오픈이래. 알람은 11시 40분", "20261126000000 111@0-7 | 20261125234000 010@18-25",
       "20261126000000 111@0-7 | 20261126114000 010@18-25"},
      // Several weekdays after 매주: one weekly result each.
      {"매주 월,수,금 아침 7시 수영",
       "20261127070000 111@0-14 every 00000007000000 | 20261130070000 111@0-14 every "
       "00000007000000 | 20261202070000 111@0-14 every 00000007000000",
       nullptr},
      {"격주 화요일 스터디 / 목요일마다 독서모임",
       "20261201FFFFFF 100@0-6 every 00000014000000 | 20261126FFFFFF 100@13-18 every "
       "00000007000000",
       nullptr},
      {"이십 일 후에 전역 / 삼십 분 후에 보자", "20261215FFFFFF 100@0-6 | 20261125153000 111@13-19",
       "20261125153000 111@0-19"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Read(c.text, ref), c.reader) << c.text;
    if (c.wholeCall == nullptr) continue;
    ekr_status status;
    const ResultsPtr r = SessionExtract(Korean().get(), c.text, ref, &status, &whole);
    std::string content;
    EXPECT_EQ(SessionSummary(r.get(), &content), c.wholeCall) << c.text;
  }
}

}  // namespace
}  // namespace eti::testing

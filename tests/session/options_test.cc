// Reading options of the session: a window of years, and the past
// preferred for open dates and times.  The bundled set, compiled from its
// sources, through ekr_extract_with.
#include <gtest/gtest.h>

#include <cstring>
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

ekr_options Options(ekr_rules rules, ekr_prefer prefer, int32_t min, int32_t max) {
  ekr_options o;
  ekr_options_init(&o);
  o.rules = rules;
  o.prefer = prefer;
  o.min_year = min;
  o.max_year = max;
  return o;
}
ekr_options Reader(ekr_prefer prefer, int32_t min = 0, int32_t max = 0) {
  return Options(EKR_RULES_READER, prefer, min, max);
}
ekr_options WholeCall() { return Options(EKR_RULES_WHOLE_CALL, EKR_PREFER_FUTURE, 0, 0); }

// Options whose rules or prefer hold an int that names no value, as a C
// caller may store.
ekr_options Unknown(int rules, int prefer) {
  ekr_options o = Reader(EKR_PREFER_FUTURE);
  std::memcpy(&o.rules, &rules, sizeof rules);
  std::memcpy(&o.prefer, &prefer, sizeof prefer);
  return o;
}

// The compact answer of a text under options ("-" for none, the status in
// words for a refusal).
std::string Answer(const std::string& text, const std::string& ref, const ekr_options& o) {
  ekr_status status;
  const ResultsPtr r = SessionExtract(Korean().get(), text, ref, &status, &o);
  if (status != EKR_OK) return ekr_status_text(status);
  std::string content;
  return SessionSummary(r.get(), &content);
}

TEST(Options, InitIsTheReaderRulesInTheirOwnYears) {
  ekr_options o;
  std::memset(&o, 0x5A, sizeof o);
  ekr_options_init(&o);
  EXPECT_TRUE(o.size == sizeof(ekr_options) && o.rules == EKR_RULES_READER &&
              o.prefer == EKR_PREFER_FUTURE && o.min_year == 0 && o.max_year == 0);
  EXPECT_EQ(ekr_options_check(&o), EKR_OK);
  ekr_options_init(nullptr);  // no-op
}

// The names and the years of the rule sets are the library's to say; the
// tools and the bindings ask.
TEST(Options, NamesAndYearsOfTheRules) {
  EXPECT_STREQ(ekr_rules_name(EKR_RULES_READER), "reader");
  EXPECT_STREQ(ekr_rules_name(EKR_RULES_WHOLE_CALL), "whole-call");
  EXPECT_EQ(ekr_rules_name(static_cast<ekr_rules>(2)), nullptr);
  EXPECT_STREQ(ekr_prefer_name(EKR_PREFER_FUTURE), "future");
  EXPECT_STREQ(ekr_prefer_name(EKR_PREFER_PAST), "past");
  EXPECT_EQ(ekr_prefer_name(static_cast<ekr_prefer>(-1)), nullptr);
  const struct {
    ekr_rules rules;
    ekr_status (*years)(ekr_rules, int32_t*, int32_t*);
    int32_t first, last;
  } cases[] = {
      {EKR_RULES_READER, ekr_rules_years, 1000, 2999},
      {EKR_RULES_READER, ekr_reference_years, 1000, 2999},
      {EKR_RULES_WHOLE_CALL, ekr_rules_years, 2000, 2035},
      {EKR_RULES_WHOLE_CALL, ekr_reference_years, 1970, 2043},
  };
  for (const auto& c : cases) {
    int32_t first = 0, last = 0;
    ASSERT_EQ(c.years(c.rules, &first, &last), EKR_OK);
    EXPECT_EQ(first, c.first);
    EXPECT_EQ(last, c.last);
  }
  int32_t first = 0, last = 0;
  EXPECT_EQ(ekr_rules_years(static_cast<ekr_rules>(7), &first, &last), EKR_ERROR_ARGUMENT);
  EXPECT_STREQ(ekr_last_error(), "rules 7 name no rule set");
  EXPECT_EQ(ekr_reference_years(EKR_RULES_READER, nullptr, &last), EKR_ERROR_ARGUMENT);
}

TEST(Options, BadOptionsAndReferencesAreRefusedInWords) {
  ekr_options small = Reader(EKR_PREFER_FUTURE);
  small.size = 8;
  const struct {
    ekr_options options;
    const char* ref;
    const char* status;
    const char* error;
  } cases[] = {
      {Reader(EKR_PREFER_FUTURE, 999, 2099), "202405241030", "invalid argument",
       "years 999..2099 are not a window inside 1000..2999"},
      {Reader(EKR_PREFER_FUTURE, 1900, 3000), "202405241030", "invalid argument",
       "years 1900..3000 are not a window inside 1000..2999"},
      {Reader(EKR_PREFER_FUTURE, 2030, 2010), "202405241030", "invalid argument",
       "years 2030..2010 are not a window inside 1000..2999"},
      {Unknown(0, 2), "202405241030", "invalid argument",
       "prefer 2 is neither future (0) nor past (1)"},
      {Unknown(0, -1), "202405241030", "invalid argument",
       "prefer -1 is neither future (0) nor past (1)"},
      {Unknown(2, 0), "202405241030", "invalid argument",
       "rules 2 are neither reader (0) nor whole-call (1)"},
      {small, "202405241030", "invalid argument",
       "options of 8 bytes: set them up with ekr_options_init first"},
      {Options(EKR_RULES_WHOLE_CALL, EKR_PREFER_PAST, 0, 0), "202405241030", "invalid argument",
       "the whole call's rules prefer the future only"},
      {Options(EKR_RULES_WHOLE_CALL, EKR_PREFER_FUTURE, 1900, 2099), "202405241030",
       "invalid argument", "the whole call's rules read years 2000..2035 only, not 1900..2099"},
      // The references of each rule set, and of a window.
      {WholeCall(), "196912312359", "invalid reference time",
       "reference 196912312359 is outside years 1970..2043, months 1..12, days 1..31, hours "
       "0..24, minutes 0..60"},
      {WholeCall(), "204401010000", "invalid reference time", nullptr},
      {Options(EKR_RULES_WHOLE_CALL, EKR_PREFER_FUTURE, 2000, 2035), "204312312460", "-", nullptr},
      {Reader(EKR_PREFER_FUTURE), "195006251000", "-", nullptr},
      {Reader(EKR_PREFER_FUTURE), "100001010000", "-", nullptr},
      {Reader(EKR_PREFER_FUTURE), "099912312359", "invalid reference time",
       "reference 099912312359 is outside years 1000..2999, months 1..12, days 1..31, hours "
       "0..24, minutes 0..60"},
      {Reader(EKR_PREFER_FUTURE, 1900, 1999), "202405241030", "invalid reference time", nullptr},
      {Reader(EKR_PREFER_FUTURE), "202413011030", "invalid reference time", nullptr},
      {Reader(EKR_PREFER_FUTURE, 1900, 2099), "2024052410", "invalid reference time",
       "reference \"2024052410\" is not twelve digits YYYYMMDDhhmm"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer("날씨 좋다", c.ref, c.options), c.status) << c.ref;
    if (c.error != nullptr) {
      EXPECT_STREQ(ekr_last_error(), c.error) << c.ref;
    }
    if (std::strcmp(c.status, "invalid argument") == 0) {
      EXPECT_EQ(ekr_options_check(&c.options), EKR_ERROR_ARGUMENT);
      EXPECT_STREQ(ekr_last_error(), c.error);
    }
  }
  ekr_results* r = nullptr;
  EXPECT_EQ(ekr_extract_with(Korean().get(), "x", 1, "202405241030", nullptr, &r),
            EKR_ERROR_ARGUMENT);
  EXPECT_EQ(r, nullptr);
  EXPECT_STREQ(ekr_last_error(), "no options (NULL)");
}

TEST(Options, AWindowReadsEveryWrittenYearInside) {
  const ekr_options wide = Reader(EKR_PREFER_FUTURE);
  const ekr_options init = WholeCall();
  const ekr_options narrow = Reader(EKR_PREFER_FUTURE, 1990, 2010);
  const std::string ref = "202405241030";
  const struct {
    const char* text;
    const ekr_options& options;
    const char* want;
  } cases[] = {
      {"1948년 8월 15일 정부 수립", wide, "19480815FFFFFF 100@0-12"},
      {"1997년 10월에", wide, "19971001FFFFFF~19971031FFFFFF 000/000@0-9"},
      {"98년도 자료", wide, "19980101FFFFFF~19981231FFFFFF 000/000@0-3"},
      {"80년대 음악", wide, "-"},
      {"2045년 탄소중립", wide, "20450101FFFFFF~20451231FFFFFF 000/000@0-5"},
      {"'97 대선", wide, "19970101FFFFFF~19971231FFFFFF 000/000@0-3"},
      {"1997.10.05 발표", wide, "19971005FFFFFF 100@0-10"},
      {"1997-10-05", wide, "19971005FFFFFF 100@0-10"},
      {"천구백사십팔년 팔월 십오일", wide, "19480815FFFFFF 100@0-14"},
      {"1910년대", wide, "-"},
      {"1904년 2월 29일", wide, "19040229FFFFFF 100@0-12"},
      {"1900년 2월 29일", wide, "19000301FFFFFF 100@0-12"},
      {"2099년 12월 31일", wide, "20991231FFFFFF 100@0-13"},
      // The whole call's rules read none of these; a narrow window drops
      // what lies outside it.
      {"1997년 10월에", init, "-"},
      {"2045년 탄소중립", init, "-"},
  };
  for (const auto& c : cases) EXPECT_EQ(Answer(c.text, ref, c.options), c.want) << c.text;
  // A narrow window drops what lies outside it (its reference inside it).
  EXPECT_EQ(Answer("1997년 10월에", "200505241030", narrow),
            "19971001FFFFFF~19971031FFFFFF 000/000@0-9");
  EXPECT_EQ(Answer("2024년 5월", "200505241030", narrow), "-");
  EXPECT_EQ(Answer("10년 후", "200505241030", narrow), "-");
  // A reference far back reads its own time.
  EXPECT_EQ(Answer("내일 오후 3시", "195006251000", wide), "19500626150000 111@0-8");
  EXPECT_EQ(Answer("금요일", "190001011200", wide), "19000105FFFFFF 100@0-3");
}

TEST(Options, ThePastPreferredPlacesOpenDatesBeforeTheReference) {
  const ekr_options past = Reader(EKR_PREFER_PAST);
  const ekr_options future = Reader(EKR_PREFER_FUTURE);
  const std::string friday = "202405241030";  // Friday 2024-05-24 10:30
  const struct {
    const char* text;
    const char* past;
    const char* future;
  } cases[] = {
      {"19일", "20240519FFFFFF 100@0-3", "20240619FFFFFF 100@0-3"},
      {"3월 1일", "20240301FFFFFF 100@0-5", "20250301FFFFFF 100@0-5"},
      {"수요일", "20240522FFFFFF 100@0-3", "20240529FFFFFF 100@0-3"},
      {"금요일", "20240524FFFFFF 100@0-3", "20240531FFFFFF 100@0-3"},
      {"11시", "20240523230000 010@0-3", "20240524110000 010@0-3"},
      {"12월", "20231201FFFFFF~20231231FFFFFF 000/000@0-3",
       "20241201FFFFFF~20241231FFFFFF 000/000@0-3"},
      {"금요일 저녁 7시", "20240517190000 111@0-9", "20240531190000 111@0-9"},
      // Words that say their direction keep it.
      {"내일", "20240525FFFFFF 100@0-2", "20240525FFFFFF 100@0-2"},
      {"3일 후", "20240527FFFFFF 100@0-4", "20240527FFFFFF 100@0-4"},
      {"지난 금요일", "20240517FFFFFF 100@0-6", "20240517FFFFFF 100@0-6"},
      // Spans stay ordered: the end follows its start.
      {"월요일부터 수요일까지", "20240520FFFFFF~20240522FFFFFF 100/100@0-11",
       "20240527FFFFFF~20240529FFFFFF 100/100@0-11"},
      {"10일부터 15일까지", "20240510FFFFFF~20240515FFFFFF 100/100@0-11",
       "20240610FFFFFF~20240615FFFFFF 100/100@0-11"},
      {"3시부터 5시까지", "20240523150000~20240523170000 010/010@0-9",
       "20240524150000~20240524170000 010/010@0-9"},
      // An open start and its end, written with a dash.
      {"10시-12시 교육", "20240524100000~20240524120000 010/010@0-7",
       "20240524220000~20240525000000 010/010@0-7"},
      {"11시-1시", "20240523230000~20240524010000 010/010@0-6",
       "20240524110000~20240524130000 010/010@0-6"},
      {"금요일-일요일", "20240524FFFFFF~20240526FFFFFF 100/100@0-7",
       "20240531FFFFFF~20240602FFFFFF 100/100@0-7"},
      {"12월부터 2월까지", "20231201FFFFFF~20240229FFFFFF 000/000@0-10",
       "20241201FFFFFF~20250228FFFFFF 000/000@0-10"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer(c.text, friday, past), c.past) << c.text;
    EXPECT_EQ(Answer(c.text, friday, future), c.future) << c.text;
  }
}

// Whether a text holds a word for the future, a year, or a word that places
// its date itself (this month, today ...), or a span.
bool PlacesItsOwnDate(const std::string& t) {
  for (const char* w : {"내일", "낼", "모레", "글피", "다음", "담주", "담달", "오는", "내년", "명년", "내후년", "후에", "후 ",
                        "뒤", "이따", "나중", "향후", "앞으로", "내달", "익월", "익일", "차주", "부터", "까지",
                        "~", "-", "매", "안에", "내로", "이내", "중으로", "중에", "말", "주말", "이번", "오늘",
                        "금일", "이달", "올", "금년", "금주", "천구백", "이천", "'"}) {
    if (t.find(w) != std::string::npos) return true;
  }
  if (t.size() >= 3 && t.compare(t.size() - 3, 3, "후") == 0) return true;
  // A number before 년, or a date written with dots or slashes.
  for (size_t i = 0; i < t.size(); ++i) {
    if (t[i] < '0' || t[i] > '9') continue;
    size_t j = i;
    while (j < t.size() && t[j] >= '0' && t[j] <= '9') ++j;
    if (t.compare(j, 3, "년") == 0 || t.compare(j, 4, " 년") == 0) return true;
    if (j - i >= 2 && j < t.size() && (t[j] == '.' || t[j] == '/')) return true;
    i = j;
  }
  return false;
}

// Under the past preference no result of a text that leaves its date open
// (no word for the future, no year, no "this ..." that places it) starts
// after the reference, whatever the reference.
TEST(Options, WithoutFutureWordsNothingStartsAfterTheReferenceInThePast) {
  std::vector<std::string> texts;
  for (const std::string& f : eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
    for (const Case& c : ReadCases("corpus/ko/" + f)) {
      if (!PlacesItsOwnDate(c.text)) texts.push_back(c.text);
    }
  }
  ASSERT_GT(texts.size(), 300u);
  const char* refs[] = {"202405241030", "202401010000", "202312312359", "202402291200",
                        "201001010900", "199507151830"};
  int checked = 0;
  for (const char* ref : refs) {
    const ekr_options past = Reader(EKR_PREFER_PAST);
    for (const std::string& text : texts) {
      ekr_status status;
      const ResultsPtr r = SessionExtract(Korean().get(), text, ref, &status, &past);
      ASSERT_EQ(status, EKR_OK) << text;
      for (size_t i = 0; i < ekr_results_count(r.get()); ++i) {
        const ekr_moment& m = ekr_results_at(r.get(), i)->start;
        if (m.year < 0) continue;  // an open start
        // The start's fields, open ones as early as they go, against the
        // reference's.
        const std::string start = TimeString(m);
        std::string comparable;
        for (char ch : start) comparable.push_back(ch == 'F' ? '0' : ch);
        EXPECT_LE(comparable.substr(0, 12), std::string(ref)) << text << " at " << ref;
        ++checked;
      }
    }
  }
  EXPECT_GT(checked, 300);
}

}  // namespace
}  // namespace eti::testing

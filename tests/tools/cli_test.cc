// The command-line tool with the bundled dictionaries (compiled by the
// build) and with dictionary sources given by --dict.
#include "cli/cli.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "dict/file_util.h"

namespace eti::tools {
namespace {

struct CliRun {
  int status;
  std::string out, err;
};

CliRun Cli(std::vector<std::string> args, const std::string& input = "") {
  args.insert(args.begin(), {"--dict", ETI_BUILT_DICT_DIR});
  std::istringstream in(input);
  std::ostringstream out, err;
  const int status = RunCli(args, in, out, err);
  return {status, out.str(), err.str()};
}

// The corpus messages as --jsonl input lines, with their references.
std::string CorpusJsonLines() {
  std::string input;
  for (const std::string& f : eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
    std::string text, error;
    EXPECT_TRUE(eti::ReadFile(std::string(ETI_SOURCE_DIR) + "/corpus/ko/" + f, &text, &error));
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      if (line.empty() || line[0] == '#') continue;
      const size_t tab = line.find('\t');
      const std::string sentence = line.substr(tab + 1, line.find('\t', tab + 1) - tab - 1);
      input += nlohmann::json({{"text", sentence}, {"ref", line.substr(0, tab)}}).dump() + "\n";
    }
  }
  return input;
}

// The results of an answer, then its content once.
constexpr char kMeetingResults[] =
    "\"results\":[{\"resultType\":\"1\",\"startTime\":\"20240516150000\","
    "\"endTime\":\"20240516150000\",\"beginIndex\":\"0\",\"endIndex\":\"8\","
    "\"inputInformStart\":\"111\",\"inputInformEnd\":\"111\",\"cycle\":\"00000000000000\"}],"
    "\"content\":\"   강남역에서 만나요\"";
const std::string kMeeting = std::string("{") + kMeetingResults + "}\n";

TEST(Cli, AnswersEachTextWithItsResultsAndContent) {
  const CliRun r = Cli({"--ref", "202405151030", "내일 오후 3시에 강남역에서 만나요", "아무 일 없음"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, kMeeting + "{\"results\":[],\"content\":\"아무 일 없음\"}\n");
}

TEST(Cli, ReadsLinesAndJsonLines) {
  const CliRun lines = Cli({"--ref", "202405151030"}, "내일 오후 3시에 강남역에서 만나요\r\n\n");
  EXPECT_EQ(lines.out, kMeeting + "{\"results\":[],\"content\":\"\"}\n");

  // Any extra fields are allowed, an id of any kind is echoed, the reference
  // may be a number and is the line's own, blank lines are skipped, the
  // content's quotes are escaped.
  const CliRun jsonl = Cli({"--jsonl", "--ref", "202405151030"},
                           "{\"text\": \"\\ub0b4\\uc77c \\uc624\\ud6c4 3\\uc2dc\\uc5d0 "
                           "\\uac15\\ub0a8\\uc5ed\\uc5d0\\uc11c \\ub9cc\\ub098\\uc694\", "
                           "\"id\": 7, \"meta\": {\"tags\": [1, null]}}\n"
                           "  \n"
                           "{\"ref\": 202405160900, \"text\": \"\\\"3시\\\"\", \"id\": [\"a\", 2]}\n"
                           "{\"text\": \"없음\"}\n");
  EXPECT_EQ(jsonl.status, 0) << jsonl.err;
  EXPECT_EQ(jsonl.out, std::string("{\"id\":7,") + kMeetingResults + "}\n" +
                           "{\"id\":[\"a\",2],\"results\":[{\"resultType\":\"1\",\"startTime\":\"20240516150000\","
                           "\"endTime\":\"20240516150000\",\"beginIndex\":\"1\",\"endIndex\":\"3\","
                           "\"inputInformStart\":\"010\",\"inputInformEnd\":\"010\",\"cycle\":\"00000000000000\"}],"
                           "\"content\":\"\\\"\\\"\"}\n"
                           "{\"results\":[],\"content\":\"없음\"}\n");
}

// Texts with several dates, read by the tool's default rules as a reader
// reads them (Wednesday 2026-11-25 15:00), each line of its table.
TEST(Cli, ReadsTextsWithSeveralDatesAsAReaderByDefault) {
  const struct {
    const char* text;
    std::vector<const char*> lines;
  } cases[] = {
      {"2027년 봄학기 수강신청은 12월 2일부터 12월 9일까지입니다.",
       {"12월 2일부터 12월 9일까지  ->  2026-12-02 ~ 2026-12-09"}},
      {"방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
       {"1월 5일부터 2월 27일까지  ->  2027-01-05 ~ 2027-02-27",
        "12월 11일까지  ->  (open) ~ 2026-12-11"}},
      {"3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
       {"11월 30일 월요일 오후 5시까지  ->  (open) ~ 2026-11-30 17:00"}},
      {"세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
       {"다다음 주 수요일  ->  2026-12-09", "금요일까지  ->  (open) ~ 2026-11-27"}},
      {"다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
       {"다음 달부터  ->  2026-12-01 ~ (open)", "이번 달 말까지  ->  (open) ~ 2026-11-30"}},
      {"내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
       {"내일 오후 3시  ->  2026-11-26 15:00", "한 달 전  ->  2026-10-25"}},
      {"오늘밤 12시 오픈이래. 알람은 11시 40분",
       {"오늘밤 12시  ->  2026-11-26 00:00", "11시 40분  ->  2026-11-25 23:40"}},
      {"매주 월,수,금 아침 7시 수영",
       {"매주 월,수,금 아침 7시  ->  2026-11-27 07:00  (every week)",
        "매주 월,수,금 아침 7시  ->  2026-11-30 07:00  (every week)",
        "매주 월,수,금 아침 7시  ->  2026-12-02 07:00  (every week)", "content: \"    수영\""}},
      {"격주 화요일 스터디 / 목요일마다 독서모임",
       {"격주 화요일  ->  2026-12-01  (every 2 weeks)", "목요일마다  ->  2026-11-26  (every week)"}},
      {"이십 일 후에 전역 / 삼십 분 후에 보자",
       {"이십 일 후  ->  2026-12-15", "삼십 분 후  ->  2026-11-25 15:30"}},
  };
  for (const auto& c : cases) {
    const CliRun r = Cli({"--table", "--ref", "202611251500", c.text});
    EXPECT_EQ(r.status, 0) << r.err;
    for (const char* line : c.lines) {
      EXPECT_NE(r.out.find(std::string("  ") + line + "\n"), std::string::npos)
          << c.text << "\nwants: " << line << "\ngot:\n" << r.out;
    }
  }
}

// Counts that reach far back are placed on the calendar the rules read
// (the reader's reaches the year 1000) or give nothing (the whole call's
// arithmetic stops at 1970): never a moment with a field out of range.
TEST(Cli, CountsPastTheCalendarGiveRealMomentsOrNothing) {
  const struct {
    const char* text;
    const char* reader;  // the line of the table under the reader's rules
  } cases[] = {
      {"5103032시간 전에 끝났어", "5103032시간 전  ->  1432-03-21 02:30"},
      {"100000일 전", "100000일 전  ->  1740-07-30"},
      {"3000개월 전", "3000개월 전  ->  1764-05-15"},
      {"2000000시간 전", "2000000시간 전  ->  1786-03-18 02:30"},
  };
  for (const auto& c : cases) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--prefer", "past"}}) {
      std::vector<std::string> args = options;
      args.insert(args.end(), {"--table", "--ref", "201405151030", c.text});
      const CliRun r = Cli(args);
      EXPECT_NE(r.out.find(std::string("  ") + c.reader + "\n"), std::string::npos) << r.out;
    }
    const CliRun whole = Cli({"--rules", "whole-call", "--ref", "201405151030", c.text});
    EXPECT_EQ(whole.out.rfind("{\"results\":[],", 0), 0u) << whole.out;
  }
}

// --explain shows every stage, the source line of what it used when the set
// was given as sources, and ends with the answer the default output gives.
TEST(Cli, ExplainShowsEachStageAndTheAnswer) {
  const std::string sources = std::string(ETI_SOURCE_DIR) + "/dicts/ko";
  const struct {
    std::vector<std::string> args;
    std::vector<const char*> parts;
  } cases[] = {
      {{"--rules", "whole-call", "한 시민이 제보했다"},
       {"whole-call rules", "1. normalised: \" 1  ____이 제보했다\"",
        "\"시민\" -> \"____\"  (replace-guards.txt:", "2. tokens:", "3. patterns:",
        "only begins a pattern", "4. records:", "5. answer:"}},
      {{"다음 주 화요일 10시 회의"},
       {"reader rules", "\"다음 \" -> \"다음\"  (replace-periods.txt:", "\"다음주\" at 1: Rel[1]  (tags.txt:",
        "\"다음주 화요일\"  Rel*WeekdayW  -> a record  (patterns.txt:",
        "token dropped: it stands inside a longer word", "found 0: \"다음주 화요일\"",
        "compounded 0: \"다음주 화요일 10시\"", "resolved 0: \"다음주 화요일 10시\"",
        "record 0: a result", "5. answer:"}},
      {{"음력 8월 15일"},
       {"no replacement fired", "\"음력\" at 0: LUN_CAL  (tags.txt:",
        "LUN_CAL*NUM*MonthW*NUM*DayW  -> a record", "lunar=1", "month=9 day=17"}},
      {{"오늘 오후 3시, 내일 오전 10시"},
       {"found 0:", "found 1:", "a result", "5. answer:"}},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"--dict", sources, "--explain", "--ref", "202405151030"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    std::ostringstream out, err;
    std::istringstream in;
    ASSERT_EQ(RunCli(args, in, out, err), 0) << err.str();
    for (const char* part : c.parts) {
      EXPECT_NE(out.str().find(part), std::string::npos) << part << "\n" << out.str();
    }
    // The answer, as the default output gives it.
    args.erase(std::find(args.begin(), args.end(), "--explain"));
    std::ostringstream plain, plainErr;
    std::istringstream none;
    RunCli(args, none, plain, plainErr);
    EXPECT_NE(out.str().find("5. answer:\n   " + plain.str()), std::string::npos) << out.str();
  }
}

// With --jsonl each text's trace is one JSON object, its answer under
// "answer": on the whole corpus, the very line the default output gives.
TEST(Cli, ExplainedAnswersAreTheDefaultOutputOnTheCorpus) {
  const std::string input = CorpusJsonLines();
  const CliRun plain = Cli({"--jsonl"}, input);
  const CliRun explained = Cli({"--jsonl", "--explain"}, input);
  ASSERT_EQ(plain.status, 0) << plain.err;
  ASSERT_EQ(explained.status, 0) << explained.err;
  std::istringstream a(plain.out), b(explained.out);
  int lines = 0;
  for (std::string want, got; std::getline(a, want) && std::getline(b, got); ++lines) {
    const nlohmann::json trace = nlohmann::json::parse(got);
    for (const char* key : {"text", "reference", "rules", "replacements", "normalised", "tokens",
                            "patterns", "found", "compounded", "resolved", "kept", "answer"}) {
      ASSERT_TRUE(trace.contains(key)) << key << " " << got.substr(0, 200);
    }
    ASSERT_EQ(trace["answer"], nlohmann::json::parse(want)) << trace["text"];
  }
  EXPECT_GT(lines, 850);
}

// Lines answered on several threads come out in input order, errors
// included, across batches, exactly as on one thread.
TEST(Cli, AnswersOnSeveralThreadsInInputOrder) {
  // The corpus with a bad line, a blank one and a bad reference among them.
  std::string input;
  std::istringstream corpus(CorpusJsonLines());
  for (std::string line; std::getline(corpus, line);) {
    input += line + "\n";
    if (input.size() % 7 == 0) input += "not json\n\n{\"text\": \"x\", \"ref\": \"2024\"}\n";
  }
  input += input + input;  // more lines than one batch holds
  const CliRun one = Cli({"--jsonl", "--threads", "1"}, input);
  const CliRun three = Cli({"--jsonl", "--threads", "3"}, input);
  EXPECT_EQ(one.status, 1);
  EXPECT_EQ(three.status, one.status);
  EXPECT_GT(std::count(one.out.begin(), one.out.end(), '\n'), 2500);
  EXPECT_NE(one.err.find("not JSON"), std::string::npos);
  EXPECT_TRUE(one.out == three.out) << "the answers differ";
  EXPECT_EQ(three.err, one.err);
}

TEST(Cli, CharactersOfAnyScriptPassThrough) {
  const CliRun r = Cli({"--ref", "202405151030", "🎉 내일 오후 3시에 봐 😀"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"beginIndex\":\"2\",\"endIndex\":\"10\","), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"content\":\"🎉    봐 😀\"}"), std::string::npos)
      << r.out;
  const CliRun table = Cli({"--table", "--ref", "202405151030", "🎉 내일 오후 3시에 봐"});
  EXPECT_NE(table.out.find("  내일 오후 3시  ->  2024-05-16 15:00"), std::string::npos)
      << table.out;
}

// --raw converts with the system's CP949 converter; a system without one
// (an aarch64 sysroot under qemu-user carries none) refuses it in words,
// and the tests of --raw have nothing to run on.
static bool HasCp949Converter() {
  static const bool has =
      Cli({"--raw", "--ref", "202405151030", "3시"}).err.find("no CP949 converter") ==
      std::string::npos;
  return has;
}

TEST(Cli, RefusesWhatItCannotReadWithAClearMessage) {
  const struct {
    std::vector<std::string> args;
    std::string input;
    int status;
    const char* message;
  } cases[] = {
      {{"--jsonl"}, "{\"text\": 3}\n", 1, "line 1: no \"text\" string"},
      {{"--jsonl"}, "{\"text\": \"\\ud800\"}\n", 1, "line 1: not JSON: parse error at line 1"},
      {{"--jsonl"}, "[1, 2]\n", 1, "line 1: not a JSON object"},
      {{"--jsonl"}, "{\"text\": \"3시\", \"id\": 1e999}\n", 1,
       "line 1: not JSON: number overflow parsing '1e999'"},
      {{"--jsonl"}, "{\"text\": \"3시\", \"ref\": 2024.5}\n", 1, "line 1: \"ref\" is neither"},
      {{"--jsonl"}, "{\"text\": \"3시\", \"ref\": \"204401010000\", \"rules\": \"whole-call\"}\n",
       1, "line 1: reference 204401010000 is outside years 1970..2043"},
      {{"--jsonl"}, "{\"text\": \"3시\", \"rules\": \"exact\"}\n", 1,
       "line 1: \"rules\" is not reader or whole-call"},
      {{"--ref", "202405151030"}, "3시\n\xFF" "3시\n", 1, "line 2: malformed UTF-8 at byte 0"},
      {{"--raw", "--ref", "202405151030", "내일 😀 3시"}, "", 1,
       "argument 1: byte 7: U+1F600 cannot be written in CP949"},
      {{"--ref", "2024"}, "", 2, "--ref \"2024\" is not twelve digits"},
      {{"--rules", "whole-call", "--ref", "204405151030", "3시"}, "", 2,
       "--ref \"204405151030\" is outside years 1970..2043"},
      {{"--years", "1900-2099", "--ref", "180005151030", "3시"}, "", 2,
       "--ref \"180005151030\" is outside years 1900..2099"},
      {{"--rules", "whole-call", "--years", "1900-2099", "3시"}, "", 2,
       "the whole call's rules read years 2000..2035 only"},
      {{"--rules", "reader", "--raw", "3시"}, "", 2, "--raw reads by the whole call's rules"},
      {{"--frobnicate"}, "", 2, "unknown option --frobnicate"},
      {{"--threads", "0"}, "", 2, "--threads needs a number from 1 to 256"},
      {{"--threads", "-1"}, "", 2, "--threads needs a number from 1 to 256"},
      {{"--dict", "/nonexistent", "3시"}, "", 2, "--dict: /nonexistent: no dictionaries"},
  };
  for (const auto& c : cases) {
    if (!HasCp949Converter() &&
        std::find(c.args.begin(), c.args.end(), "--raw") != c.args.end()) {
      continue;
    }
    const CliRun r = Cli(c.args, c.input);
    EXPECT_EQ(r.status, c.status) << c.message;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << "stderr: " << r.err;
  }
  // The answer line stays, as an error object, so that lines keep their order.
  const CliRun r = Cli({"--jsonl", "--ref", "202405151030"},
                       "{\"text\": \"3시\", \"ref\": \"x\", \"id\": \"q1\"}\n{\"text\": \"3시\"}\n");
  EXPECT_EQ(r.out.rfind("{\"id\":\"q1\",\"error\":\"line 1: ref ", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("\n{\"results\":[{"), std::string::npos) << r.out;
}

TEST(Cli, RawTableAndSourceDictionaries) {
  if (HasCp949Converter()) {
    const CliRun raw = Cli({"--raw", "--ref", "202405151030", "3시"});
    EXPECT_EQ(raw.out.rfind("[{\"resultType\":\"1\",\"startTime\":\"20240515150000\"", 0),
              0u)
        << raw.out;
  }
  const CliRun table = Cli({"--table", "--ref", "202405151030", "다음 주 화요일 10시 회의, 금요일까지"});
  EXPECT_NE(table.out.find("다음 주 화요일 10시  ->  2024-05-21 10:00"), std::string::npos) << table.out;
  // The reader rules read the Friday on its own terms, the whole call's in
  // the week of the Tuesday before it.
  EXPECT_NE(table.out.find("금요일까지  ->  (open) ~ 2024-05-17"), std::string::npos) << table.out;
  const CliRun whole = Cli({"--table", "--rules", "whole-call", "--ref", "202405151030",
                            "다음 주 화요일 10시 회의, 금요일까지"});
  EXPECT_NE(whole.out.find("금요일까지  ->  (open) ~ 2024-05-24"), std::string::npos) << whole.out;
  // A directory of sources is compiled on the fly.
  std::ostringstream out, err;
  std::istringstream in;
  EXPECT_EQ(RunCli({"--dict", std::string(ETI_SOURCE_DIR) + "/dicts/ko", "--ref", "202405151030",
                    "내일 오후 3시에 강남역에서 만나요"},
                   in, out, err),
            0)
      << err.str();
  EXPECT_EQ(out.str(), kMeeting);
}

}  // namespace
}  // namespace eti::tools

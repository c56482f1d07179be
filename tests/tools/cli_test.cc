// The command-line tool with the bundled dictionaries (compiled by the
// build) and with dictionary sources given by --dict.
#include "cli/cli.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "session/cp949.h"

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

constexpr char kMeeting[] =
    "[{\"resultType\":\"1\",\"startTime\":\"20240516150000\",\"endTime\":\"20240516150000\","
    "\"beginIndex\":\"0\",\"endIndex\":\"8\",\"content\":\"   강남역에서 만나요\","
    "\"inputInformStart\":\"111\",\"inputInformEnd\":\"111\",\"cycle\":\"00000000000000\"}]\n";

TEST(Cli, AnswersEachTextWithAJsonArray) {
  const CliRun r = Cli({"--ref", "202405151030", "내일 오후 3시에 강남역에서 만나요", "아무 일 없음"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, std::string(kMeeting) + "[]\n");
}

TEST(Cli, ReadsLinesAndJsonLines) {
  const CliRun lines = Cli({"--ref", "202405151030"}, "내일 오후 3시에 강남역에서 만나요\r\n\n");
  EXPECT_EQ(lines.out, std::string(kMeeting) + "[]\n");

  const CliRun jsonl = Cli({"--jsonl", "--ref", "202405151030"},
                        "{\"text\": \"\\ub0b4\\uc77c \\uc624\\ud6c4 3\\uc2dc\\uc5d0 "
                        "\\uac15\\ub0a8\\uc5ed\\uc5d0\\uc11c \\ub9cc\\ub098\\uc694\"}\n"
                        "{\"ref\": \"202405160900\", \"text\": \"\\\"3시\\\"\"}\n");
  EXPECT_EQ(jsonl.status, 0) << jsonl.err;
  std::istringstream answers(jsonl.out);
  std::string first, second;
  std::getline(answers, first);
  std::getline(answers, second);
  EXPECT_EQ(first + "\n", kMeeting);
  // The content's quotes are escaped; the second line's own reference is used.
  EXPECT_NE(second.find("\"startTime\":\"20240516150000\""), std::string::npos) << second;
  EXPECT_NE(second.find("\"content\":\"\\\"\\\"\""), std::string::npos) << second;
}

TEST(Cli, RefusesWhatItCannotReadWithAClearMessage) {
  const struct {
    std::vector<std::string> args;
    std::string input;
    int status;
    const char* message;
  } cases[] = {
      {{"--ref", "202405151030", "내일 😀 3시"}, "", 1,
       "argument 1: character 4: U+1F600 cannot be written in CP949"},
      {{"--jsonl"}, "{\"text\": 3}\n", 1, "line 1: expected a string at column 10"},
      {{"--jsonl"}, "{\"ref\": \"202405151030\"}\n", 1, "line 1: no \"text\" field"},
      {{"--jsonl"}, "{\"text\": \"\\ud800\"}\n", 1, "line 1: unpaired surrogate"},
      {{"--ref", "2024"}, "", 2, "--ref \"2024\" is not twelve digits"},
      {{"--ref", "204405151030", "3시"}, "", 1, "reference time \"204405151030\" is not"},
      {{"--frobnicate"}, "", 2, "unknown option --frobnicate"},
      {{"--dict", "/nonexistent", "3시"}, "", 2, "/nonexistent: no dictionaries"},
  };
  for (const auto& c : cases) {
    const CliRun r = Cli(c.args, c.input);
    EXPECT_EQ(r.status, c.status) << c.message;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << "stderr: " << r.err;
  }
  // The answer line stays, as an error object, so that lines keep their order.
  const CliRun r = Cli({"--ref", "202405151030"}, "3시 😀\n3시\n");
  EXPECT_EQ(r.out.substr(0, 9), "{\"error\":");
  EXPECT_NE(r.out.find("\n[{"), std::string::npos);
}

TEST(Cli, RawTableAndSourceDictionaries) {
  const CliRun raw = Cli({"--raw", "--ref", "202405151030", "3시"});
  EXPECT_EQ(raw.out.rfind("[{\"resultType\":\"1\",\"startTime\":\"20240515150000\"", 0), 0u)
      << raw.out;
  const CliRun table = Cli({"--table", "--ref", "202405151030", "다음 주 화요일 10시 회의, 금요일까지"});
  EXPECT_NE(table.out.find("다음 주 화요일 10시  ->  2024-05-21 10:00"), std::string::npos) << table.out;
  EXPECT_NE(table.out.find("금요일까지  ->  (open) ~ 2024-05-24"), std::string::npos) << table.out;
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

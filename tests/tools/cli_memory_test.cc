// The command-line tool on one very long text: its answer holds the content
// once and is written as it is made, so its output and its memory grow
// with the text alone (not with results times text).  The tool runs as a
// child process, whose peak resident memory the test reads from the
// resource usage the system reports for it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "session/extractor.h"
#include "support/dict_builder.h"
#include "support/temp_dir.h"

extern char** environ;

namespace eti::tools {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kTextBytes = size_t{1} << 20;  // the sanitizers take several times the memory
#else
constexpr size_t kTextBytes = size_t{10} << 20;
#endif
constexpr long kMaxResidentKb = 1L << 20;  // 1 GB
constexpr char kRef[] = "202405151030";

// Corpus sentences joined by spaces into one line of at least `bytes`.
std::string JoinedCorpus(size_t bytes) {
  std::vector<std::string> sentences;
  for (const std::string& f : ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
    for (const auto& c : testing::ReadCases("corpus/ko/" + f)) sentences.push_back(c.text);
  }
  std::string text;
  for (size_t k = 0; text.size() < bytes; ++k) text += sentences[k % sentences.size()] + " ";
  return text;
}

struct ToolRun {
  int status = -1;
  long maxResidentKb = 0;
  std::string out;
};

// The tool with `args`, its standard input read from `input`.
ToolRun RunTool(const std::vector<std::string>& args, const std::string& input,
            const testing::TempDir& dir) {
  const std::string in = dir.Path("in.txt"), out = dir.Path("out.txt");
  dir.Write("in.txt", input);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, in.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<std::string> all = {ETI_CLI_PATH};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : all) argv.push_back(a.data());
  argv.push_back(nullptr);
  ToolRun r;
  pid_t pid;
  if (posix_spawn(&pid, ETI_CLI_PATH, &files, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    rusage usage{};
    if (wait4(pid, &status, 0, &usage) == pid && WIFEXITED(status)) {
      r.status = WEXITSTATUS(status);
      r.maxResidentKb = usage.ru_maxrss;  // kilobytes on Linux
    }
  }
  posix_spawn_file_actions_destroy(&files);
  r.out = dir.Read("out.txt");
  return r;
}

// The answer's results and content against the library's own answer under the
// tool's default rules.
void ExpectLibraryAnswer(const nlohmann::json& answer, const std::string& text) {
  std::unique_ptr<session::Extractor> ex;
  ASSERT_TRUE(session::Extractor::OpenDefault(&ex).ok());
  session::Results want;
  ASSERT_TRUE(ex->Extract(text, kRef, session::DefaultOptions(), &want).ok());
  ASSERT_EQ(answer.at("results").size(), want.items.size());
  EXPECT_GT(want.items.size(), 1000u);
  for (size_t k = 0; k < want.items.size(); ++k) {
    const auto& got = answer["results"][k];
    const ekr_result& e = want.items[k];
    ASSERT_EQ(got.at("beginIndex").get<std::string>() + "-" + got.at("endIndex").get<std::string>() +
                  " " + got.at("startTime").get<std::string>(),
              std::to_string(e.begin_char) + "-" + std::to_string(e.end_char) + " " +
                  session::TimeString(e.start))
        << k;
    ASSERT_FALSE(got.contains("content")) << k;
  }
  EXPECT_EQ(answer.at("content").get<std::string>(), want.content);
}

TEST(CliLongText, AnswersInProportionToTheText) {
  testing::TempDir dir;
  const std::string text = JoinedCorpus(kTextBytes);
  // Both runs first: a child's peak counts this process's memory until it
  // starts the tool, so this process holds little more than the text then.
  const ToolRun plain = RunTool({"--ref", kRef}, text + "\n", dir);
  const ToolRun jsonl = RunTool(
      {"--jsonl"}, nlohmann::json({{"id", "big"}, {"text", text}, {"ref", kRef}}).dump() + "\n",
      dir);
  ASSERT_EQ(plain.status, 0);
  ASSERT_EQ(jsonl.status, 0);
  std::printf("%zu bytes: peak resident %ld KB (plain), %ld KB (--jsonl); answer %zu bytes\n",
              text.size(), plain.maxResidentKb, jsonl.maxResidentKb, plain.out.size());
  EXPECT_LT(plain.maxResidentKb, kMaxResidentKb);
  EXPECT_LT(jsonl.maxResidentKb, kMaxResidentKb);

  // One line: the content once, and the results without it (some 160
  // bytes each).
  const nlohmann::json answer = nlohmann::json::parse(plain.out);
  EXPECT_LT(plain.out.size(), 2 * text.size() + 200 * answer.at("results").size());
  ExpectLibraryAnswer(answer, text);
  const nlohmann::json line = nlohmann::json::parse(jsonl.out);
  EXPECT_EQ(line.at("id"), "big");
  ExpectLibraryAnswer(line, text);
}

}  // namespace
}  // namespace eti::tools

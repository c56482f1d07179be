#include "dictc/dictc.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "dict/file_util.h"
#include "support/temp_dir.h"

namespace eti::tools {
namespace {

class Dictc : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.Path(name); }
  void Write(const std::string& name, const std::string& text) { dir_.Write(name, text); }

  int Run(const std::vector<std::string>& args) {
    out_.str("");
    err_.str("");
    return RunDictc(args, out_, err_);
  }
  // Compiles a source of a kind to out.bin; the status.
  int Compile(const char* kind, const std::string& source) {
    Write("source.txt", source);
    return Run({"compile", "--kind", kind, Path("source.txt"), Path("out.bin")});
  }
  bool Said(const std::string& message) const { return err_.str().find(message) != std::string::npos; }

  testing::TempDir dir_;
  std::ostringstream out_, err_;
};

constexpr char kSource[] =
    "\xEF\xBB\xBF# dates\r\n"
    "내일\trDay[1]\r\n"
    "\n"
    "모레\trDay[2]\n"
    "   \n"
    "내일\trDay[1]\n"  // the same entry twice is harmless
    "시\tHour,hUnit\n"
    "오후\tPM\n";

TEST_F(Dictc, CompileThenDumpRoundTrips) {
  ASSERT_EQ(Compile("tag", kSource), 0) << err_.str();
  ASSERT_EQ(Run({"dump", Path("out.bin")}), 0) << err_.str();
  const std::string dumped = out_.str(), blob = dir_.Read("out.bin");
  EXPECT_EQ(dumped, "내일\trDay[1]\n모레\trDay[2]\n시\tHour,hUnit\n오후\tPM\n");
  // The dump compiles back to the very same bytes.
  ASSERT_EQ(Compile("tag", dumped), 0);
  EXPECT_EQ(dir_.Read("out.bin"), blob);

  Write("words.txt", "# particles\n에\n\n에는\r\n까지\n");
  ASSERT_EQ(Run({"words", Path("words.txt"), Path("words.dic")}), 0) << err_.str();
  EXPECT_EQ(dir_.Read("words.dic"), "\xBF\xA1\n\xBF\xA1\xB4\xC2\n\xB1\xEE\xC1\xF6\n");
}

TEST_F(Dictc, BadSourcesNameFileLineAndProblemAndWriteNothing) {
  const struct {
    const char* kind;
    std::string source;
    std::string message;
  } cases[] = {
      {"replace", "ok\tfine\nsmile\t😀\n", ":2: value, character 1: U+1F600 cannot be written in CP949"},
      {"replace", "# c\nno tab here\n", ":2: missing tab between key and value"},
      {"replace", "a\n\tvalue\n", ":2: empty key"},  // every problem is reported
      {"replace", "a\n\tvalue\n", ":1: missing tab"},
      {"replace", "key\t\n", ":1: empty value for key \"key\""},
      {"tag", "내일\trDay[1]\n모레\trDay[2]\n내일\trDay[9]\n",
       ":3: key \"내일\" has value \"rDay[9]\" here but \"rDay[1]\" on line 1"},
      {"tag", "x\t" + std::string(64, 'N') + "\n", ":1: tag name of 64 bytes (64 or more)"},
      {"tag", "x\t" + std::string(63, 'N') + "," + std::string(448, 'M') + "\n",
       ":1: tag value of 512 bytes (512 or more)"},
      {"tag", "x\tNUM[abc]\n", ":1: tag entry \"NUM[abc]\" is not NAME or NAME[INTEGER]"},
      {"tag", "x\t,,\n", ":1: tag value has no tag"},
      {"pattern", "NUM*YUnit\ttwo\n", ":1: pattern value \"two\" is not a token count"},
      {"pattern", "{A|B*C\t#\n", ":1: unclosed or nested {...} group"},
      {"pattern", "A|B\t#\n", ":1: '|' outside a {...} group"},
      {"pattern", "{A|B}\t2\n", ":1: a key with {...} groups needs the value # (its item count)"},
  };
  for (const auto& c : cases) {
    Write("out.bin", "previous");  // an earlier good output stays as it was
    EXPECT_EQ(Compile(c.kind, c.source), 1);
    EXPECT_TRUE(Said(Path("source.txt") + c.message)) << "got: " << err_.str() << "want: " << c.message;
    EXPECT_EQ(dir_.Read("out.bin"), "previous");
    unlink(Path("out.bin").c_str());
    EXPECT_EQ(Compile(c.kind, c.source), 1);
    EXPECT_EQ(dir_.Files(), std::vector<std::string>{"source.txt"}) << "an output file appeared";
  }
}

TEST_F(Dictc, PatternAlternativesExpand) {
  ASSERT_EQ(Compile("pattern", "# times\n{PM*|}NUM*HourW{*From|}\t#\nNUM\t1\n"), 0) << err_.str();
  ASSERT_EQ(Run({"dump", Path("out.bin")}), 0);
  EXPECT_EQ(out_.str(),
            "NUM\t1\nNUM*HourW\t2\nNUM*HourW*From\t3\nPM*NUM*HourW\t3\nPM*NUM*HourW*From\t4\n");
}

TEST_F(Dictc, CheckFindsWhatDoesNotFitTogether) {
  Write("tags.txt", "시\tHourW\n3일\tNever\n이번주말\tWeekdayW[6]\n");
  Write("patterns.txt", "NUM*HourW\t2\nNUM*HourW*Later\t3\nNUM*MinW\t2\nNUM*HourW\t2\n");
  Write("units.txt", "NUM*HourW\thUnit\nLater\tLaterUnit\n");
  // 낼 alone also matches inside 졌어; with what follows it, it cannot.  A
  // space that maps back onto a space of the key is harmless (lines 4, 5).
  Write("replace.txt",
        "낼\t내일 \n주말\t토요일부터일요일까지\n낼 \t내일\n한 \t1 \n네 일\t__ 일\n");
  EXPECT_EQ(Run({"check", Path("tags.txt"), Path("patterns.txt"), Path("units.txt"),
                 Path("replace.txt")}),
            1);
  const std::string e = err_.str();
  for (const char* message : {
           "tags.txt:2: \"3일\" starts with a character the tagger never looks up",
           "patterns.txt:2: pattern \"NUM*HourW*Later\" uses \"Later\", which no tag entry and not "
           "the tagger produces",
           "patterns.txt:3: pattern \"NUM*MinW\" uses \"MinW\"",
           "patterns.txt:3: pattern \"NUM*MinW\" is not cut into units",
           "units.txt:2: unit name \"LaterUnit\" is not one the dispatcher knows",
           "replace.txt:1: replacement \"내일 \" holds a space where its key has none",
           "replace.txt:1: key \"낼\" is one character",
           "tags.txt:3: tag key \"이번주말\" is never seen: " }) {
    EXPECT_NE(e.find(message), std::string::npos) << "missing: " << message << "\nin:\n" << e;
  }
  EXPECT_NE(e.find("replace.txt:2 rewrites \"주말\""), std::string::npos) << e;
  for (const char* fine : {"replace.txt:3:", "replace.txt:4:", "replace.txt:5:"}) {
    EXPECT_EQ(e.find(fine), std::string::npos) << e;
  }
  Write("patterns.txt", "NUM*HourW\t3\n");
  EXPECT_EQ(Run({"check", Path("tags.txt"), Path("patterns.txt"), Path("units.txt")}), 1);
  EXPECT_NE(err_.str().find("has 2 items but the count 3"), std::string::npos) << err_.str();
}

TEST_F(Dictc, SeveralSourcesCompileAsOne) {
  Write("a.txt", "다음 주\t다음주\n한 \t1 \n");
  Write("b.txt", "# generated\n한 \t1 \n오늘날\t______\n");
  ASSERT_EQ(Run({"compile", "--kind", "replace", Path("a.txt"), Path("b.txt"), Path("r.bin")}), 0)
      << err_.str();
  ASSERT_EQ(Run({"dump", Path("r.bin")}), 0);
  EXPECT_EQ(out_.str(), "다음 주\t다음주\n오늘날\t______\n한 \t1 \n");
  Write("b.txt", "다음 주\t다음\n");
  EXPECT_EQ(Run({"compile", "--kind", "replace", Path("a.txt"), Path("b.txt"), Path("x.bin")}), 1);
  EXPECT_TRUE(Said(Path("b.txt") + ":1: key \"다음 주\" has value \"다음\" here but \"다음주\" in " +
                   Path("a.txt") + ":1"))
      << err_.str();
}

// A set in which 시 after a number is an hour and 오늘 is today, with
// native numbers written apart read as digits (한 시 is 1 시).
class DictcTraps : public Dictc {
 protected:
  void SetUp() override {
    Write("tags.txt", "시\tHourW\n오늘\trD-Unit[0]\n");
    Write("patterns.txt", "NUM*HourW\t2\nrD-Unit\t1\n");
    Write("units.txt", "NUM*HourW\thUnit\nrD-Unit\trDUnit\n");
    Write("replace.txt", "한 \t1 \n");
    Write("words.txt", "에\n");
    Write("settings.txt", "DEFAULTCENTURY 2000\n");
    // A hunspell dictionary: a count first, flags after a slash, and 시장
    // in conjoining jamo, as hunspell-ko writes its words.
    Write("list.dic", "5\n시민/10\n시도/10\n오늘날/10\n단순한/3\n"
                      "\xE1\x84\x89\xE1\x85\xB5\xE1\x84\x8C\xE1\x85\xA1\xE1\x86\xBC/10\n");
  }
};

TEST_F(DictcTraps, GuardsCloseTheTrapsAndTheCheckFindsThoseLeftOpen) {
  ASSERT_EQ(Run({"traps", dir_.path(), "--words", Path("list.dic")}), 0) << err_.str();
  std::string guards;
  std::istringstream rows(out_.str());
  for (std::string row; std::getline(rows, row);) {
    guards += row.substr(0, row.find('\t', row.find('\t') + 1)) + "\n";  // key and value
  }
  // 한 시민 and 3 시민 are read across the word: 시민 is blanked wherever it
  // stands; 오늘날 holds 오늘.  시도 is 시 and the particle 도 as often as it
  // is a word: no guard.
  EXPECT_EQ(guards, "시민\t____\n시장\t____\n오늘날\t______\n") << out_.str();

  EXPECT_EQ(Run({"check", dir_.path(), "--words", Path("list.dic")}), 1);
  EXPECT_NE(err_.str().find("common word \"시민\""), std::string::npos) << err_.str();
  EXPECT_NE(err_.str().find("guard it with \"오늘날\""), std::string::npos) << err_.str();

  Write("replace-guards.txt", guards);
  EXPECT_EQ(Run({"check", dir_.path(), "--words", Path("list.dic")}), 0) << err_.str();
  EXPECT_EQ(out_.str(), "consistent: " + dir_.path() + ", no word traps\n");
  // The guards are found again with their own file left out.
  ASSERT_EQ(Run({"traps", dir_.path(), "--words", Path("list.dic"), "--without",
                 "replace-guards.txt"}),
            0);
  const std::string again = out_.str();
  EXPECT_EQ(std::count(again.begin(), again.end(), '\n'), 3) << again;
  ASSERT_EQ(Run({"traps", dir_.path(), "--words", Path("list.dic")}), 0);
  EXPECT_EQ(out_.str(), "");
}

TEST_F(DictcTraps, UsageAndUnreadableInput) {
  EXPECT_EQ(Run({}), 2);
  EXPECT_EQ(Run({"frobnicate"}), 2);
  EXPECT_EQ(Run({"compile", "--kind", "nope", "a", "b"}), 2);
  EXPECT_EQ(Run({"traps", dir_.path()}), 2);
  EXPECT_EQ(Run({"traps", dir_.path(), "--words"}), 2);
  EXPECT_EQ(Run({"check", dir_.path(), "--without", "x"}), 2);
  EXPECT_EQ(Run({"traps", dir_.path(), "--words", Path("missing.dic")}), 1);
  EXPECT_TRUE(Said("missing.dic: cannot open")) << err_.str();
  EXPECT_EQ(Run({"compile", "--kind", "tag", Path("missing.txt"), Path("out.bin")}), 1);
  EXPECT_TRUE(Said("missing.txt: cannot open"));
  Write("short.bin", "abc");
  EXPECT_EQ(Run({"dump", Path("short.bin")}), 1);
  EXPECT_TRUE(Said("shorter than the 8-byte header"));
  Write("cyclic.bin", std::string("\x01\0\0\0\x04\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0a\0b\0", 24));
  EXPECT_EQ(Run({"dump", Path("cyclic.bin")}), 1);
  EXPECT_TRUE(Said("malformed trie"));
  EXPECT_EQ(Run({"--help"}), 0);
}

}  // namespace
}  // namespace eti::tools

// The session API (<extractor_kr.h>) against the whole-call entry: the same
// answers for every text CP949 can hold, texts it cannot hold read around,
// positions in bytes, code points and UTF-16 units, and a status for every
// kind of bad input.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "extractor_kr.hpp"
#include "session/text.h"
#include "support/code_points.h"
#include "support/dict_builder.h"
#include "support/session.h"
#include "support/temp_dir.h"

namespace eti::testing {
namespace {

const DictSet& KoreanSet() {
  static const DictSet d = LoadDictSet("dicts/ko");
  return d;
}

// ETI_Main's answer in compact form, with its content in UTF-8.
std::string WholeCall(const DictSet& d, const std::string& text, const std::string& ref,
                      std::string* content) {
  return Summary(Extract(d, text, ref, /*halves=*/true), content);
}

// Asserts that the session gives what the whole-call entry gives, under
// the whole call's rules.
void ExpectSameAnswer(const ekr_extractor* ex, const DictSet& d, const std::string& text,
                      const std::string& ref, const std::string& where) {
  std::string wholeContent, sessionContent;
  const std::string whole = WholeCall(d, text, ref, &wholeContent);
  ekr_options init;
  ekr_options_init(&init);
  init.rules = EKR_RULES_WHOLE_CALL;
  ekr_status status;
  ResultsPtr r = SessionExtract(ex, text, ref, &status, &init);
  ASSERT_EQ(status, EKR_OK) << where << ": " << text;
  EXPECT_EQ(SessionSummary(r.get(), &sessionContent), whole) << where << ": " << text;
  // With nothing found the whole call shows no content; the session gives
  // the text as it is.
  EXPECT_EQ(sessionContent, whole == "-" ? text : wholeContent) << where << ": " << text;
}

TEST(Session, SameAnswersAsTheWholeCallOnTheCorpusAndTheCases) {
  const struct {
    const char* dicts;
    std::vector<std::string> files;
  } sets[] = {
      {"dicts/ko", {}},
      {"tests/data/e2e", {"tests/data/e2e/cases.txt"}},
  };
  int checked = 0;
  for (auto set : sets) {
    if (set.files.empty()) {
      for (const std::string& f :
           eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
        set.files.push_back("corpus/ko/" + f);
      }
    }
    const DictSet d = LoadDictSet(set.dicts);
    const ExtractorPtr ex = OpenSet(d);
    for (const std::string& file : set.files) {
      for (const Case& c : ReadCases(file)) {
        ExpectSameAnswer(ex.get(), d, c.text, c.ref, file + ":" + std::to_string(c.line));
        ++checked;
      }
    }
  }
  EXPECT_GT(checked, 340);
}

// Corpus sentences, spellings that normalisation rewrites and numeric forms,
// joined with blanks and commas into a text of at least `bytes` bytes.
std::string LongText(size_t bytes, unsigned seed) {
  std::vector<std::string> pieces = {"다음 주 화요일 3시", "낼", "이번 달 초", "한 시간",
                                     "추석", "3-1", "7월 13일부터 15일까지", "매주 월요일"};
  for (const std::string& f :
       eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
    for (const Case& c : ReadCases("corpus/ko/" + f)) pieces.push_back(c.text);
  }
  std::mt19937 random(seed);
  const char* joins[] = {" ", ", ", ". ", "  "};
  std::string text;
  while (text.size() < bytes) text += pieces[random() % pieces.size()] + joins[random() % 4];
  return text;
}

// (Random glued texts are the session fuzz target's, whose seeds run as a
// test of every build; a text of megabytes is the tool's, cli_memory_test.cc.)
TEST(Session, SameAnswersOnLongTexts) {
  const ExtractorPtr ex = OpenSet(KoreanSet());
  for (const size_t bytes : {10u << 10, 40u << 10}) {
    const std::string text = LongText(bytes, static_cast<unsigned>(bytes));
    ExpectSameAnswer(ex.get(), KoreanSet(), text, "202405151030",
                     "long text of " + std::to_string(text.size()) + " bytes");
  }
}

// Every character CP949 cannot hold in a UTF-8 text, replaced by a tab.
std::string WithTabs(const std::string& utf8) {
  std::string out;
  for (size_t i = 0; i < utf8.size();) {
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    const size_t n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 1;
    const std::string ch = utf8.substr(i, n);
    std::string cp949;
    ConvertError bad;
    out += Utf8ToCp949(ch, &cp949, &bad) ? ch : "\t";
    i += n;
  }
  return out;
}

TEST(Session, CharactersCp949CannotHoldAreReadAround) {
  const ExtractorPtr ex = OpenSet(KoreanSet());
  const std::string ref = "202405151030";

  // The example: one expression, counted on the text as given.
  ResultsPtr r = SessionExtract(ex.get(), "🎉 내일 오후 3시에 봐", ref);
  ASSERT_EQ(ekr_results_count(r.get()), 1u);
  const ekr_result* e = ekr_results_at(r.get(), 0);
  EXPECT_EQ(TimeString(e->start), "20240516150000");
  EXPECT_EQ(std::vector<int32_t>({e->begin_char, e->end_char, e->begin_utf16, e->end_utf16,
                                  e->begin_byte, e->end_byte}),
            std::vector<int32_t>({2, 10, 3, 11, 5, 23}));
  EXPECT_STREQ(ekr_results_content(r.get()), "🎉    봐");

  // Before, inside and after expressions, in several scripts: the answer is
  // the whole call's for the text with a tab in place of each such
  // character, and each position slices the same expression in bytes, code
  // points and UTF-16 units.
  const char* texts[] = {
      "😀내일 3시", "내일 3시😀", "내일😀3시에 봐요", "3시😀30분", "다음😀주 화요일",
      "𠀀 7월 13일부터 15일까지 👍🏽", "Ελλάδα 매주 월요일 회의 🇰🇷", "魑魅 5월 20일",
      "日本語テキスト 내일 오전 9시", "🎉🎉🎉",
  };
  for (const std::string text : texts) {
    std::string sessionContent, wholeContent;
    r = SessionExtract(ex.get(), text, ref);
    ASSERT_NE(r, nullptr) << text;
    EXPECT_EQ(SessionSummary(r.get(), &sessionContent),
              WholeCall(KoreanSet(), WithTabs(text), ref, &wholeContent))
        << text;
    const std::vector<std::string> chars = CodePoints(text);
    for (const ekr_result& x : ekr::Items(r.get())) {
      if (x.begin_char < 0) continue;
      std::string byChars;
      int32_t units = 0;
      for (int32_t k = x.begin_char; k < x.end_char; ++k) byChars += chars[k];
      for (int32_t k = 0; k < x.begin_char; ++k) units += chars[k].size() == 4 ? 2 : 1;
      EXPECT_EQ(text.substr(x.begin_byte, x.end_byte - x.begin_byte), byChars) << text;
      EXPECT_EQ(x.begin_utf16, units) << text;
    }
  }

  // A character CP949 cannot hold reads like a space on either side of an
  // expression.
  const char* pairs[][2] = {
      {"😀내일 3시", " 내일 3시"}, {"내일 3시😀에", "내일 3시 에"}, {"5월 20일💡", "5월 20일 "}};
  for (const auto& p : pairs) {
    std::string c1, c2;
    EXPECT_EQ(SessionSummary(SessionExtract(ex.get(), p[0], ref).get(), &c1),
              SessionSummary(SessionExtract(ex.get(), p[1], ref).get(), &c2))
        << p[0];
  }
}

TEST(Session, EveryBadInputHasItsStatus) {
  const ExtractorPtr ex = OpenSet(KoreanSet());
  const struct {
    std::string text, ref;
    ekr_status status;
  } cases[] = {
      {"내일 3시", "202405151030", EKR_OK},
      {"", "202405151030", EKR_OK},
      {"내일 3시", "204312312460", EKR_OK},     // hour 24 and minute 60 are accepted
      {"내일 3시", "201402310000", EKR_OK},     // the day does not depend on the month
      {"내일 3시", "204401010000", EKR_ERROR_REFERENCE},
      {"내일 3시", "196912312359", EKR_ERROR_REFERENCE},
      {"내일 3시", "20240515103", EKR_ERROR_REFERENCE},
      {"내일 3시", "2024051510300", EKR_ERROR_REFERENCE},
      {"내일 3시", "2024O5151030", EKR_ERROR_REFERENCE},
      {"내일 3시", "+02405151030", EKR_ERROR_REFERENCE},
      {"내일 3시", "", EKR_ERROR_REFERENCE},
      {"a\xC3\x28", "202405151030", EKR_ERROR_TEXT},          // a bad continuation byte
      {"\xE0\x80\xAF", "202405151030", EKR_ERROR_TEXT},       // overlong
      {"\xED\xA0\x80", "202405151030", EKR_ERROR_TEXT},       // a surrogate
      {"\xF4\x90\x80\x80", "202405151030", EKR_ERROR_TEXT},   // past U+10FFFF
      {"내일\xEB", "202405151030", EKR_ERROR_TEXT},           // cut in the middle
      {std::string("내일\0 3시", 10), "202405151030", EKR_ERROR_TEXT},
  };
  for (const auto& c : cases) {
    ekr_status status;
    ResultsPtr r = SessionExtract(ex.get(), c.text, c.ref, &status);
    EXPECT_EQ(status, c.status) << c.text << " / " << c.ref;
    EXPECT_EQ(r != nullptr, c.status == EKR_OK);
  }

  // NULLs.
  ekr_results* r = reinterpret_cast<ekr_results*>(1);
  EXPECT_EQ(ekr_extract(nullptr, "x", 1, "202405151030", &r), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(r, nullptr);
  EXPECT_EQ(ekr_extract(ex.get(), nullptr, 1, "202405151030", &r), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(ekr_extract(ex.get(), "x", 1, nullptr, &r), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(ekr_extract(ex.get(), "x", 1, "202405151030", nullptr), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(ekr_open(nullptr, nullptr), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(ekr_open_dir(nullptr, nullptr), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(ekr_open_default(nullptr), EKR_ERROR_ARGUMENT);
  EXPECT_EQ(ekr_results_count(nullptr), 0u);
  EXPECT_STREQ(ekr_results_content(nullptr), "");
  ekr_results_free(nullptr);
  ekr_close(nullptr);
  for (int s = 0; s <= 7; ++s) EXPECT_NE(ekr_status_text(static_cast<ekr_status>(s)), nullptr);

  // Nothing found is a status too, with the text as its content.
  for (const std::string plain : {"", "아무 일 없음, 그냥 인사"}) {
    ASSERT_EQ(ekr_extract(ex.get(), plain.empty() ? nullptr : plain.data(), plain.size(),
                          "202405151030", &r),
              EKR_OK);
    EXPECT_EQ(ekr_results_count(r), 0u);
    EXPECT_EQ(ekr_results_content(r), plain);
    EXPECT_EQ(ekr_results_at(r, 0), nullptr);
    ekr_results_free(r);
  }
}

TEST(Session, OpenChecksEveryBlobOnce) {
  const DictSet& good = KoreanSet();
  const auto open = [](DictSet d, int part, const void* data, size_t size) {
    const auto blob = [](const std::string& s) { return ekr_blob{s.data(), s.size()}; };
    ekr_dictionaries dicts = {blob(d.settings), blob(d.replace), blob(d.tags),
                              blob(d.patterns), blob(d.units),   blob(d.words)};
    ekr_blob* parts[] = {&dicts.settings, &dicts.replacements, &dicts.tags,
                         &dicts.patterns, &dicts.unit_sequences, &dicts.words};
    if (part >= 0) *parts[part] = {data, size};
    ekr_extractor* ex = reinterpret_cast<ekr_extractor*>(1);
    const ekr_status s = ekr_open(&dicts, &ex);
    EXPECT_EQ(ex == nullptr, s != EKR_OK);
    ekr_close(ex);
    return s;
  };
  EXPECT_EQ(open(good, -1, nullptr, 0), EKR_OK);
  EXPECT_EQ(open(good, 0, nullptr, 0), EKR_OK);  // no settings
  EXPECT_EQ(open(good, 5, nullptr, 0), EKR_OK);  // no word list
  std::string emptyTrie(8, '\0');
  EXPECT_EQ(open(good, 1, emptyTrie.data(), 8), EKR_OK);  // nothing to replace

  std::string cycle = CompileTrie(DictKind::kTag, "가\tA\n가나\tB\n");
  // The second node is the first one's child; point it back at its parent.
  cycle.replace(8 + 4 * 2 + 4, 4, std::string("\0\0\0\0", 4));
  const struct {
    int part;
    std::string bytes;
    ekr_status status;
  } bad[] = {
      {2, good.tags.substr(0, good.tags.size() - 1), EKR_ERROR_DICTIONARY},  // truncated
      {2, good.tags + "x", EKR_ERROR_DICTIONARY},  // not the size it claims
      {2, "abc", EKR_ERROR_DICTIONARY},            // shorter than the header
      {3, "", EKR_ERROR_DICTIONARY},               // no trie at all
      {2, cycle, EKR_ERROR_DICTIONARY},            // links that loop
  };
  for (const auto& b : bad) {
    EXPECT_EQ(open(good, b.part, b.bytes.data(), b.bytes.size()), b.status)
        << "part " << b.part << ", " << b.bytes.size() << " bytes";
  }
  EXPECT_EQ(open(good, 4, nullptr, 5), EKR_ERROR_ARGUMENT);  // NULL with a size
}

TEST(Session, OpensDirectoriesAndTheBundledSet) {
  ekr_extractor* fromDir = nullptr;
  ASSERT_EQ(ekr_open_dir(ETI_BUILT_DICT_DIR, &fromDir), EKR_OK);
  ExtractorPtr dir(fromDir);
  ekr_extractor* builtIn = nullptr;
  ASSERT_EQ(ekr_open_default(&builtIn), EKR_OK);
  ExtractorPtr def(builtIn);
  for (const char* text : {"내일 오후 3시에 강남역에서 만나요", "매주 월요일 10시", "추석 연휴"}) {
    std::string c1, c2;
    EXPECT_EQ(SessionSummary(SessionExtract(dir.get(), text, "202405151030").get(), &c1),
              SessionSummary(SessionExtract(def.get(), text, "202405151030").get(), &c2));
  }

  TempDir tmp;
  ekr_extractor* ex = reinterpret_cast<ekr_extractor*>(1);
  EXPECT_EQ(ekr_open_dir(tmp.path().c_str(), &ex), EKR_ERROR_IO);
  EXPECT_EQ(ex, nullptr);
  const DictSet& d = KoreanSet();
  const std::string files[6] = {d.settings, d.replace, d.tags, d.patterns, d.units, d.words};
  const char* names[6] = {"settings.txt", "replace.bin", "tags.bin",
                          "patterns.bin", "units.bin",   "words.dic"};
  for (int k = 0; k < 6; ++k) tmp.Write(names[k], files[k]);
  EXPECT_EQ(ekr_open_dir(tmp.path().c_str(), &ex), EKR_OK);
  ekr_close(ex);
  tmp.Write("units.bin", d.units.substr(0, 20));
  EXPECT_EQ(ekr_open_dir(tmp.path().c_str(), &ex), EKR_ERROR_DICTIONARY);
}

TEST(SessionText, ReadsEveryCharacterIntoOneEngineCharacter) {
  session::EngineText t;
  size_t where = 0;
  // α is in CP949; the emoji and é are not.
  ASSERT_EQ(session::ReadText("a가😀αé\t", &t, &where), session::TextProblem::kNone);
  EXPECT_EQ(t.cp949, "a\xB0\xA1\t\xA5\xE1\t\t");
  EXPECT_EQ(t.utf8Start, (std::vector<int32_t>{0, 1, 4, 8, 10, 12, 13}));
  EXPECT_EQ(t.utf16Start, (std::vector<int32_t>{0, 1, 2, 4, 5, 6, 7}));
  EXPECT_EQ(session::KeptUtf8("a가😀αé\t", t, "01100000"), "a😀αé\t");
  // Half a character is read on as the whole call's content reads it: its
  // lead byte before a tab is no character.
  EXPECT_EQ(session::KeptUtf8("a가😀αé\t", t, "00100000"), "a\uFFFD😀αé\t");
  // The lead byte of 가 and the trail byte of α read together as 결.
  EXPECT_EQ(session::KeptUtf8("a가😀αé\t", t, "00111000"), "a결é\t");
  EXPECT_EQ(session::KeptUtf8("a가😀αé\t", t, "00010011"), "a가α");
}

}  // namespace
}  // namespace eti::testing

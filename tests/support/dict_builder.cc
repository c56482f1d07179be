#include "support/dict_builder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "common/case_file.h"
#include "dict/file_util.h"
#include "dict/trie_format.h"
#include "jni/json_writer.h"

namespace eti::testing {

std::string CompileTrie(DictKind kind, std::string_view source) {
  std::vector<eti::SourceError> errors;
  const auto entries = eti::ReadTrieSource(source, "test-source", kind, &errors);
  for (const auto& e : errors) ADD_FAILURE() << e.Format();
  return eti::BuildTrieBlob(eti::TrieEntries(entries));
}

std::string CompileWords(std::string_view source) {
  std::vector<eti::SourceError> errors;
  const auto words = eti::ReadWordSource(source, "test-words", &errors);
  for (const auto& e : errors) ADD_FAILURE() << e.Format();
  return eti::WordListText(words);
}

TriePtr LoadSource(DictKind kind, std::string_view source) {
  const std::string blob = CompileTrie(kind, source);
  TriePtr trie(LoadTrie(blob.data()));
  EXPECT_GT(NodeCount(trie.get()), 0) << "the compiled blob did not load";
  return trie;
}

std::string ReadSourceFile(const std::string& relative) {
  std::string text, error;
  if (!eti::ReadFile(std::string(ETI_SOURCE_DIR) + "/" + relative, &text, &error)) {
    ADD_FAILURE() << error;
  }
  return text;
}

DictSet LoadDictSet(const std::string& relativeDir) {
  std::vector<eti::SourceError> errors;
  DictSet d = eti::CompileSourceDir(std::string(ETI_SOURCE_DIR) + "/" + relativeDir, &errors);
  for (const auto& e : errors) ADD_FAILURE() << e.Format();
  return d;
}

namespace {

// CP949 bytes to UTF-8, a byte that makes no character with the next one
// read as U+FFFD (as the session reads the content).
std::string Cp949ToUtf8WithHalves(const std::string& cp949) {
  std::string out;
  for (size_t i = 0; i < cp949.size(); ++i) {
    const auto b = static_cast<unsigned char>(cp949[i]);
    if (b < 0x80) {
      out.push_back(static_cast<char>(b));
      continue;
    }
    const uint16_t u =
        i + 1 < cp949.size() ? Cp949Decode(b, static_cast<unsigned char>(cp949[i + 1])) : 0;
    AppendUtf8(u != 0 ? u : 0xFFFD, &out);
    if (u != 0) ++i;
  }
  return out;
}

}  // namespace

std::string Extract(const DictSet& d, const std::string& textUtf8, const std::string& ref,
                    bool halves) {
  const std::string text = Cp949(textUtf8);
  TYPED_RESULT* results = nullptr;
  if (ETI_Main(text.c_str(), &results, ref.c_str(), d.settings.c_str(), d.replace.data(),
               d.tags.data(), d.patterns.data(), d.units.data(), d.words.c_str()) != 0) {
    return "REJECTED";
  }
  char* json = WriteJsonArray(results);
  std::string out;
  ConvertError bad;
  if (!Cp949ToUtf8(json, &out, &bad) && halves) {
    out = Cp949ToUtf8WithHalves(json);
  } else if (!bad.message.empty()) {
    ADD_FAILURE() << "the answer to \"" << textUtf8 << "\" is not CP949 text: " << bad.message
                  << " at byte " << bad.offset;
    out = json;
  }
  std::free(json);
  ETI_FreeTypedResults(results);
  return out;
}

namespace {

// The value of "key":"..." at or after `at` in a JSON element of the fixed
// format (values never hold an unescaped quote); `at` moves past it.
std::string Field(const std::string& json, const char* key, size_t* at) {
  const std::string open = std::string("\"") + key + "\":\"";
  size_t from = json.find(open, *at);
  if (from == std::string::npos) {
    ADD_FAILURE() << "no " << key << " in " << json;
    *at = json.size();
    return "";
  }
  from += open.size();
  size_t to = from;
  while (to < json.size() && json[to] != '"') to += json[to] == '\\' ? 2 : 1;
  *at = to + 1;
  return json.substr(from, to - from);
}

}  // namespace

std::string Summary(const std::string& json, std::string* content) {
  std::string out;
  content->clear();
  size_t at = 0;
  for (bool first = true; json.find("{\"resultType\"", at) != std::string::npos; first = false) {
    const std::string type = Field(json, "resultType", &at);
    const std::string start = Field(json, "startTime", &at);
    const std::string end = Field(json, "endTime", &at);
    const std::string begin = Field(json, "beginIndex", &at);
    const std::string endIndex = Field(json, "endIndex", &at);
    const std::string text = Field(json, "content", &at);
    const std::string flags = Field(json, "inputInformStart", &at);
    const std::string endFlags = Field(json, "inputInformEnd", &at);
    const std::string cycle = Field(json, "cycle", &at);
    if (!out.empty()) out += " | ";
    out += type == "2" ? start + "~" + end + " " + flags + "/" + endFlags : start + " " + flags;
    out += "@" + begin + "-" + endIndex;
    if (cycle != "00000000000000") out += " every " + cycle;
    if (first) {
      // The library escapes only the double quote; the case files hold the
      // plain text.
      content->clear();
      for (size_t k = 0; k < text.size(); ++k) {
        if (text[k] == '\\' && k + 1 < text.size() && text[k + 1] == '"') ++k;
        content->push_back(text[k]);
      }
    }
  }
  return out.empty() ? "-" : out;
}

std::vector<Case> ReadCases(const std::string& relativePath) {
  std::vector<eti::SourceError> errors;
  const auto lines = tools::ParseCaseFile(ReadSourceFile(relativePath), relativePath, &errors);
  for (const auto& e : errors) ADD_FAILURE() << e.Format();
  std::vector<Case> cases;
  for (const auto& l : lines) cases.push_back({l.line, l.ref, l.text, l.expected, l.content});
  return cases;
}

}  // namespace eti::testing

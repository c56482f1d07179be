// Tagger.  In: the normalised text and the tag trie.  Out: the token
// sequence in scan order, each token with its tag attributes.  Numbers,
// runs of spaces and the five separators are recognised here; every other
// character is looked up in the tag trie, and every entry that starts there
// becomes a token (longest first).  Overlapping tokens are all kept: pattern
// search chooses among them.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "dict/btrie.h"
#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"

namespace eti {
namespace {

constexpr int32_t kMaxDigits = 8;
constexpr size_t kTagValueArea = 512;

TAGATTR* NewAttr(const char* name, size_t nameLength, int32_t value) {
  auto* a = static_cast<TAGATTR*>(std::calloc(1, sizeof(TAGATTR)));
  // Over-long names are cut to the buffer; the compiler refuses them.
  if (nameLength > sizeof(a->name) - 1) nameLength = sizeof(a->name) - 1;
  std::memcpy(a->name, name, nameLength);
  a->name[nameLength] = '\0';
  a->value = value;
  a->next = nullptr;
  return a;
}

RETTAGS* NewToken(int32_t startPos, const char* text, int32_t length, TAGATTR* attrs) {
  auto* t = static_cast<RETTAGS*>(std::malloc(sizeof(RETTAGS)));
  t->startPos = startPos;
  t->text = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
  std::memcpy(t->text, text, static_cast<size_t>(length));
  t->text[length] = '\0';
  t->length = length;
  t->attrs = attrs;
  t->next = nullptr;
  return t;
}

RETTAGS* Simple(int32_t startPos, const char* text, int32_t length, const char* name,
                int32_t value) {
  return NewToken(startPos, text, length, NewAttr(name, std::strlen(name), value));
}

void FreeAttrs(TAGATTR* a) {
  while (a != nullptr) {
    TAGATTR* next = a->next;
    std::free(a);
    a = next;
  }
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace
}  // namespace eti

extern "C" {

RETTAGS* SepAutomata(const char* at, int32_t* pos) {
  if (at == nullptr || pos == nullptr) return nullptr;
  switch (*at) {
    case ':':
      return eti::Simple(*pos, at, 1, "T_SEP", 0);
    case '.':
    case '/':
      return eti::Simple(*pos, at, 1, "D_SEP", 0);
    case '-':
    case '~':
      return eti::Simple(*pos, at, 1, "Dur", 3);
    default:
      return nullptr;
  }
}

RETTAGS* NumberAutomata(const char* at, int32_t* pos) {
  if (at == nullptr || pos == nullptr || !eti::IsDigit(*at)) return nullptr;
  int32_t n = 0;
  while (eti::IsDigit(at[n])) ++n;
  const int32_t start = *pos;
  *pos += n - 1;
  if (n > eti::kMaxDigits) return nullptr;  // too long to be a date number
  char digits[eti::kMaxDigits + 1] = {0};
  std::memcpy(digits, at, static_cast<size_t>(n));
  return eti::Simple(start, at, n, "NUM", std::atoi(digits));
}

RETTAGS* SpaceAutomata(const char* at, int32_t* pos) {
  if (at == nullptr || pos == nullptr || *at != ' ') return nullptr;
  int32_t n = 0;
  while (at[n] == ' ') ++n;
  const int32_t start = *pos;
  *pos += n - 1;
  return eti::Simple(start, at, n, "SP", 0);
}

RETTAGS* MakeTagStruct(const retTypeBBT* hit) {
  if (!eti::IsHitList(hit)) return nullptr;
  char area[eti::kTagValueArea];
  std::strncpy(area, hit->value, sizeof(area) - 1);
  area[sizeof(area) - 1] = '\0';

  TAGATTR* attrs = nullptr;
  char* save = nullptr;
  for (char* entry = strtok_r(area, ",", &save); entry != nullptr;
       entry = strtok_r(nullptr, ",", &save)) {
    const char* number = nullptr;
    for (char* p = entry; *p != '\0'; ++p) {
      if (*p == '[') {
        *p = '\0';
        number = p + 1;
      } else if (*p == ']') {
        *p = '\0';
      }
    }
    // The entry now ends at its first terminator; later parts were cut off.
    TAGATTR* a = eti::NewAttr(entry, std::strlen(entry),
                              number != nullptr ? std::atoi(number) : eti::kUnset);
    a->next = attrs;  // the last entry of the string ends up at the head
    attrs = a;
  }
  return eti::NewToken(hit->startPos, hit->text, static_cast<int32_t>(std::strlen(hit->text)),
                       attrs);
}

void Free_RETTAGS(RETTAGS* token) {
  while (token != nullptr) {
    RETTAGS* next = token->next;
    std::free(token->text);
    eti::FreeAttrs(token->attrs);
    std::free(token);
    token = next;
  }
}

RETTAGS* GetTypeFromBBT(const char* text, const BTrie* trie) {
  if (text == nullptr || text[0] == '\0') return nullptr;
  const int32_t length = static_cast<int32_t>(std::strlen(text));
  RETTAGS* head = nullptr;
  RETTAGS* tail = nullptr;
  const auto append = [&](RETTAGS* t) {
    if (t == nullptr) return;
    if (t->attrs == nullptr) {  // a tag value without any tag reads as nothing
      Free_RETTAGS(t);
      return;
    }
    if (tail == nullptr) {
      head = t;
    } else {
      tail->next = t;
    }
    tail = t;
  };

  for (int32_t pos = 0; pos < length; ++pos) {
    const char* at = text + pos;
    const char c = *at;
    if (c == ':' || c == '.' || c == '/' || c == '-' || c == '~') {
      append(SepAutomata(at, &pos));
    } else if (eti::IsDigit(c)) {
      append(NumberAutomata(at, &pos));
    } else if (c == ' ') {
      append(SpaceAutomata(at, &pos));
    } else {
      int32_t node = 0;
      retTypeBBT* hits = ETI_searchBTrie(trie, at, 2, pos, nullptr, &node);
      if (eti::IsHitList(hits)) {
        for (retTypeBBT* h = hits; h != nullptr; h = h->next) append(MakeTagStruct(h));
        ETI_free_retTypeBBT(&hits);
      }
      // A byte with the high bit set opens a two-byte character.
      if (static_cast<unsigned char>(c) >= 0x80) ++pos;
    }
  }
  return head;
}

RETTAGS* StackFinder(const char* text, const void* tagTrie) {
  std::unique_ptr<BTrie, eti::TrieDeleter> trie(eti::LoadTrie(tagTrie));
  return GetTypeFromBBT(text, trie.get());
}

}  // extern "C"

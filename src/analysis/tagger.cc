// Tagger.  In: the normalised text and the tag trie.  Out: the token
// sequence in scan order, each token with its tag attributes.  Numbers,
// runs of spaces and the five separators are recognised here; every other
// character is looked up in the tag trie, and every entry that starts there
// becomes a token (longest first).  Overlapping tokens are all kept: pattern
// search chooses among them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "calendar/arith.h"
#include "dict/btrie.h"
#include "extractor_kr/stages.h"
#include "analysis/tagger.h"
#include "interpret/dtinfo.h"

namespace eti {
namespace {

constexpr int32_t kMaxDigits = 8;
constexpr size_t kTagValueArea = 512;

// Where the memory of new tokens comes from: the heap, for tokens handed
// to callers who free them with Free_RETTAGS, or an arena.
class TokenMemory {
 public:
  explicit TokenMemory(Arena* arena) : arena_(arena) {}
  void* Get(size_t n) { return arena_ != nullptr ? arena_->Get(n) : std::malloc(n); }
  char* GetBytes(size_t n) {
    return arena_ != nullptr ? arena_->GetBytes(n) : static_cast<char*>(std::malloc(n));
  }
  Arena* arena() const { return arena_; }
  // Gives back a token that will not be kept.
  void Drop(RETTAGS* t) {
    if (arena_ == nullptr) Free_RETTAGS(t);
  }

 private:
  Arena* arena_;
};

TokenMemory Heap() { return TokenMemory(nullptr); }

TAGATTR* NewAttr(TokenMemory& m, const char* name, size_t nameLength, int32_t value) {
  auto* a = static_cast<TAGATTR*>(m.Get(sizeof(TAGATTR)));
  std::memset(a, 0, sizeof(TAGATTR));
  // Over-long names are cut to the buffer; the compiler refuses them.
  if (nameLength > sizeof(a->name) - 1) nameLength = sizeof(a->name) - 1;
  std::memcpy(a->name, name, nameLength);
  a->name[nameLength] = '\0';
  a->value = value;
  a->next = nullptr;
  return a;
}

RETTAGS* NewToken(TokenMemory& m, int32_t startPos, const char* text, int32_t length,
                  TAGATTR* attrs) {
  auto* t = static_cast<RETTAGS*>(m.Get(sizeof(RETTAGS)));
  t->startPos = startPos;
  t->text = m.GetBytes(static_cast<size_t>(length) + 1);
  std::memcpy(t->text, text, static_cast<size_t>(length));
  t->text[length] = '\0';
  t->length = length;
  t->attrs = attrs;
  t->next = nullptr;
  return t;
}

RETTAGS* Simple(TokenMemory& m, int32_t startPos, const char* text, int32_t length,
                const char* name, int32_t value) {
  return NewToken(m, startPos, text, length, NewAttr(m, name, std::strlen(name), value));
}

// A token whose one attribute no stage changes (SP, T_SEP, D_SEP: only a
// Dur token is ever rewritten): in an arena every such token shares one
// attribute, which takes most of a token's memory.
RETTAGS* Fixed(TokenMemory& m, int kind, int32_t startPos, const char* text, int32_t length,
               const char* name) {
  if (m.arena() == nullptr) return Simple(m, startPos, text, length, name, 0);
  TAGATTR*& shared = m.arena()->Shared(kind);
  if (shared == nullptr) shared = NewAttr(m, name, std::strlen(name), 0);
  return NewToken(m, startPos, text, length, shared);
}

void FreeAttrs(TAGATTR* a) {
  while (a != nullptr) {
    TAGATTR* next = a->next;
    std::free(a);
    a = next;
  }
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The token of one dictionary entry: its key (`length` bytes at `key`), its
// attributes parsed from the value, the last entry of the value at the head.
RETTAGS* MakeToken(TokenMemory& m, int32_t startPos, const char* key, int32_t length,
                   const char* value) {
  TAGATTR** parsed = m.arena() != nullptr ? m.arena()->Parsed(value) : nullptr;
  if (parsed != nullptr && *parsed != nullptr) return NewToken(m, startPos, key, length, *parsed);
  char area[kTagValueArea];
  const size_t n = strnlen(value, sizeof(area) - 1);
  std::memcpy(area, value, n);
  area[n] = '\0';

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
    TAGATTR* a =
        NewAttr(m, entry, std::strlen(entry), number != nullptr ? ReadInt(number) : kUnset);
    a->next = attrs;  // the last entry of the string ends up at the head
    attrs = a;
  }
  if (parsed != nullptr) *parsed = attrs;
  return NewToken(m, startPos, key, length, attrs);
}

RETTAGS* Separator(TokenMemory& m, const char* at, int32_t* pos) {
  switch (*at) {
    case ':':
      return Fixed(m, 0, *pos, at, 1, "T_SEP");
    case '.':
    case '/':
      return Fixed(m, 1, *pos, at, 1, "D_SEP");
    case '-':
    case '~':
      return Simple(m, *pos, at, 1, "Dur", 3);
    default:
      return nullptr;
  }
}

RETTAGS* Number(TokenMemory& m, const char* at, int32_t* pos) {
  int32_t n = 0;
  while (IsDigit(at[n])) ++n;
  const int32_t start = *pos;
  *pos += n - 1;
  if (n > kMaxDigits) return nullptr;  // too long to be a date number
  char digits[kMaxDigits + 1] = {0};
  std::memcpy(digits, at, static_cast<size_t>(n));
  return Simple(m, start, at, n, "NUM", ReadInt(digits));
}

RETTAGS* Spaces(TokenMemory& m, const char* at, int32_t* pos) {
  int32_t n = 0;
  while (at[n] == ' ') ++n;
  const int32_t start = *pos;
  *pos += n - 1;
  return Fixed(m, 2, start, at, n, "SP");
}

// The scan of GetTypeFromBBT, its tokens' memory taken from `m`.
RETTAGS* Scan(const char* text, const BTrie* trie, TokenMemory m) {
  if (text == nullptr || text[0] == '\0') return nullptr;
  const int32_t length = static_cast<int32_t>(std::strlen(text));
  RETTAGS* head = nullptr;
  RETTAGS* tail = nullptr;
  const auto append = [&](RETTAGS* t) {
    if (t == nullptr) return;
    if (t->attrs == nullptr) {  // a tag value without any tag reads as nothing
      m.Drop(t);
      return;
    }
    if (tail == nullptr) {
      head = t;
    } else {
      tail->next = t;
    }
    tail = t;
  };

  std::vector<std::pair<int32_t, const char*>> entries;  // length, value
  const ChainIndex* index = IndexOf(trie);
  for (int32_t pos = 0; pos < length; ++pos) {
    const char* at = text + pos;
    const char c = *at;
    if (c == ':' || c == '.' || c == '/' || c == '-' || c == '~') {
      append(Separator(m, at, &pos));
    } else if (IsDigit(c)) {
      append(Number(m, at, &pos));
    } else if (c == ' ') {
      append(Spaces(m, at, &pos));
    } else {
      // Every entry that starts here, longest first.
      entries.clear();
      int32_t after = 0;
      WalkKey(
          trie, index, at, 0,
          [&](int32_t l, const char* value) { entries.emplace_back(l, value); }, &after);
      for (auto e = entries.rbegin(); e != entries.rend(); ++e) {
        append(MakeToken(m, pos, at, e->first, e->second));
      }
      // A byte with the high bit set opens a two-byte character.
      if (static_cast<unsigned char>(c) >= 0x80) ++pos;
    }
  }
  return head;
}

}  // namespace
}  // namespace eti

extern "C" {

RETTAGS* SepAutomata(const char* at, int32_t* pos) {
  if (at == nullptr || pos == nullptr) return nullptr;
  eti::TokenMemory m = eti::Heap();
  return eti::Separator(m, at, pos);
}

RETTAGS* NumberAutomata(const char* at, int32_t* pos) {
  if (at == nullptr || pos == nullptr || !eti::IsDigit(*at)) return nullptr;
  eti::TokenMemory m = eti::Heap();
  return eti::Number(m, at, pos);
}

RETTAGS* SpaceAutomata(const char* at, int32_t* pos) {
  if (at == nullptr || pos == nullptr || *at != ' ') return nullptr;
  eti::TokenMemory m = eti::Heap();
  return eti::Spaces(m, at, pos);
}

RETTAGS* MakeTagStruct(const retTypeBBT* hit) {
  if (!eti::IsHitList(hit)) return nullptr;
  eti::TokenMemory m = eti::Heap();
  return eti::MakeToken(m, hit->startPos, hit->text,
                        static_cast<int32_t>(std::strlen(hit->text)), hit->value);
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
  return eti::Scan(text, trie, eti::Heap());
}

RETTAGS* StackFinder(const char* text, const void* tagTrie) {
  std::unique_ptr<BTrie, eti::TrieDeleter> trie(eti::LoadTrie(tagTrie));
  return GetTypeFromBBT(text, trie.get());
}

}  // extern "C"

namespace eti {

char* Arena::Take(size_t n) {
  if (n > left_) {
    const size_t size = std::max(n, next_);
    blocks_.emplace_back(new char[size]);  // new[] memory is aligned for any record
    at_ = blocks_.back().get();
    left_ = size;
    next_ = std::min<size_t>(next_ * 2, 64 * 1024);
  }
  char* p = at_;
  at_ += n;
  left_ -= n;
  return p;
}

void* Arena::Get(size_t n) {
  constexpr size_t kAlign = alignof(std::max_align_t);
  // Skip to the next aligned place (texts in between leave it anywhere).
  const size_t pad = (kAlign - reinterpret_cast<uintptr_t>(at_) % kAlign) % kAlign;
  if (pad <= left_) {
    at_ += pad;
    left_ -= pad;
  } else {
    left_ = 0;
  }
  return Take((n + kAlign - 1) & ~(kAlign - 1));
}

char* Arena::GetBytes(size_t n) { return Take(n); }

RETTAGS* TagInArena(const char* text, const BTrie* trie, Arena* arena) {
  return Scan(text, trie, TokenMemory(arena));
}

}  // namespace eti

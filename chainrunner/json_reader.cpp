// One pass over the text, by recursion as deep as the limit allows. Containers are filled where they stay: an object's
// values go into the slots of its block, and a list's wait on a stack until their number is known, so that its block is
// allocated once. The stack, the text at hand and the known keys are kept by each thread from document to document.
//
// A value under construction is owned by the function that builds it, or lies in a block or on the stack that is: a
// failure anywhere frees everything.
#include "chainrunner/json_reader.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include "chainrunner/KnownKeys.h"
#include "chainrunner/MapBuilder.h"
#include "chainrunner/json_number.h"
#include "chainrunner/plain_text.h"
#include "chainrunner/utf8.h"

namespace chainrunner {

namespace {

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isBlank(char character) {
  return character == ' ' || character == '\n' || character == '\r' || character == '\t';
}

/// A text that grows at its end and is kept for the next one.
class TextBuffer {
 public:
  void clear() { at = begin.get(); }
  std::size_t size() const { return static_cast<std::size_t>(at - begin.get()); }

  /// Where the next bytes go: a chunk of them has room.
  char* end() {
    if (static_cast<std::size_t>(limit - at) < chunkBytes) [[unlikely]]
      grow();
    return at;
  }
  void extend(std::size_t bytes) { at += bytes; }

  /// The text with a NUL behind it.
  const char* terminated() {
    *end() = '\0';
    return begin.get();
  }

 private:
  void grow() {
    const std::size_t used = size();
    const std::size_t room = std::max<std::size_t>(2 * used, 1024);
    std::unique_ptr<char[]> wider(new char[room]);
    if (used > 0) std::memcpy(wider.get(), begin.get(), used);
    begin = std::move(wider);
    at = begin.get() + used;
    limit = begin.get() + room;
  }

  std::unique_ptr<char[]> begin;
  char* at = nullptr;
  char* limit = nullptr;
};

/// What a thread keeps between documents.
struct Kept {
  KnownKeys keys;
  TextBuffer text;
  std::vector<data_t> elements;  ///< of the lists that aren't finished

  /// Frees what a failure left behind, and what only an uncommonly large document needed.
  void tidy() {
    constexpr std::size_t most = 1 << 20;
    if (elements.capacity() > most / sizeof(data_t))
      elements = std::vector<data_t>();
    else
      elements.clear();
    if (text.size() > most) text = {};
  }
};

Kept& kept() {
  thread_local const std::unique_ptr<Kept> ofThread = std::make_unique<Kept>();
  return *ofThread;
}

class Reader {
 public:
  Reader(std::string_view text, const JsonLimits& limits, Kept& kept)
      : begin(text.data()), at(begin), end(begin + text.size()), limits(limits), kept(kept) {}

  data_t readDocument() {
    skipBlanks();
    data_t document = data_t::adopt(readValue(KnownKeys::noParent));
    checkEnd();
    return document;
  }

  std::optional<data_t> readDocument(const JsonPlaces& placeOf) {
    skipBlanks();
    if (!isAt('{')) return readDocument();
    OutsideMembers members{placeOf};
    readMembers(members, KnownKeys::noParent);
    checkEnd();
    return std::nullopt;
  }

 private:
  /// Members that lie with the caller, as `MapBuilder` has those that lie in a map.
  struct OutsideMembers {
    const JsonPlaces& placeOf;

    qel_value& add(const char* text, std::uint64_t) {
      data_t& place = placeOf(text);
      place = data_t();
      return reinterpret_cast<qel_value&>(place);
    }
  };

  void checkEnd() {
    skipBlanks();
    if (at < end) fail("more text behind the document", at);
  }

  [[noreturn, gnu::cold]] void fail(const std::string& reason, const char* place) const {
    throw JsonError(reason, static_cast<std::size_t>(place - begin));
  }

  /// Something else than `what` stands at the place, or nothing.
  [[noreturn, gnu::cold]] void failExpecting(const char* what) const {
    if (at == end) fail("the text ends too early", at);
    fail(std::string("syntax error: ") + what + " is expected", at);
  }

  void skipBlanks() {
    // At most one of them is the rule.
    if (isAt(' ')) ++at;
    if (at < end && static_cast<unsigned char>(*at) <= ' ') [[unlikely]]
      skipMoreBlanks();
  }

  [[gnu::noinline]] void skipMoreBlanks() {
    while (at < end && isBlank(*at)) ++at;
  }

  bool isAt(char character) const { return at < end && *at == character; }

  /// The value that begins here. The caller owns it. Its objects' keys are known as those of the key `parent`.
  qel_value readValue(std::uint32_t parent) {
    if (at == end) failExpecting("a value");
    switch (*at) {
      case '"':
        return readString();
      case '{':
        return readObject(parent);
      case '[':
        return readList(parent);
      case 't':
        return readWord("true", data_t(true));
      case 'f':
        return readWord("false", data_t(false));
      case 'n':
        return readWord("null", data_t());
      default:
        return readNumber();
    }
  }

  qel_value readWord(std::string_view word, data_t meaning) {
    const std::string_view rest(at, static_cast<std::size_t>(end - at));
    if (!rest.starts_with(word)) {
      if (word.starts_with(rest)) fail("the text ends too early", end);
      failExpecting("a value");
    }
    at += word.size();
    return meaning.disown();
  }

  void enter() {
    if (depth == limits.depth) fail("nested deeper than " + std::to_string(limits.depth), at);
    ++depth;
    ++at;
    skipBlanks();
  }

  void leave() {
    --depth;
    ++at;
  }

  /// Passes the comma in front of another element, or the bracket behind the last, and tells whether it was a comma.
  bool passComma(char bracket, const char* expected) {
    skipBlanks();
    if (isAt(',')) {
      ++at;
      skipBlanks();
      return true;
    }
    if (!isAt(bracket)) failExpecting(expected);
    leave();
    return false;
  }

  qel_value readObject(std::uint32_t parent) {
    MapBuilder map;
    readMembers(map, parent);
    return map.take();
  }

  template <class Members>
  void readMembers(Members& members, std::uint32_t parent) {
    enter();
    if (isAt('}')) {
      leave();
      return;
    }
    KnownKeys::Place place{parent, 0};
    do {
      readMember(members, place);
      ++place.position;
    } while (passComma('}', "a comma or the end of the object"));
  }

  template <class Members>
  void readMember(Members& members, KnownKeys::Place place) {
    if (!isAt('"')) failExpecting("a key");
    const char* const quote = at;
    ++at;
    const KnownKeys::Key* key = &kept.keys.guess(place);
    if (KnownKeys::isNext(*key, at, static_cast<std::size_t>(end - at))) {
      checkKeyLength(key->length, quote);
      at += key->length + 1;
    } else {
      readText();
      const std::size_t length = kept.text.size();
      checkKeyLength(length, quote);
      const char* const text = kept.text.terminated();
      // A guess is compared with the text as it stands, so a key with escapes, which make it shorter, can't be one.
      const bool hasEscapes = static_cast<std::size_t>(at - quote) != length + 2;
      if (length == 0 || length > KnownKeys::Key::longest || hasEscapes) {
        readMemberValue(members.add(text, qel_hash_string(text)), KnownKeys::noParent);
        return;
      }
      key = &kept.keys.learn({text, length}, place);
    }
    readMemberValue(members.add(key->text, key->hash), key->index);
  }

  void checkKeyLength(std::size_t length, const char* quote) const {
    if (length > limits.keyBytes) fail("a key is longer than " + std::to_string(limits.keyBytes) + " bytes", quote);
  }

  void readMemberValue(qel_value& value, std::uint32_t key) {
    skipBlanks();
    if (!isAt(':')) failExpecting("a colon");
    ++at;
    skipBlanks();
    value = readValue(key);
  }

  qel_value readList(std::uint32_t parent) {
    enter();
    if (isAt(']')) {
      leave();
      return {0, QEL_LIST, 0};
    }
    const std::size_t first = kept.elements.size();
    do kept.elements.push_back(data_t::adopt(readValue(parent)));
    while (passComma(']', "a comma or the end of the list"));
    return takeElements(first);
  }

  qel_value takeElements(std::size_t first) {
    const std::size_t count = kept.elements.size() - first;
    list_header* const list = qel_allocate_vector(std::max<std::size_t>(count, 2));
    auto* to = reinterpret_cast<qel_value*>(list + 1);
    for (std::size_t i = first; i < kept.elements.size(); ++i) *to++ = kept.elements[i].disown();
    list->count = count;
    kept.elements.resize(first);
    return {reinterpret_cast<std::uint64_t>(list), QEL_LIST, 0};
  }

  qel_value readString() {
    ++at;
    readText();
    return {reinterpret_cast<std::uint64_t>(qel_copy_string(kept.text.terminated())), QEL_STRING, 0};
  }

  /// Reads the string whose opening quote was passed, up to its closing quote, into the kept text.
  void readText() {
    kept.text.clear();
    for (;;) {
      copyPlain();
      if (at == end) fail("the text ends too early", at);
      if (*at == '"') break;
      if (*at == '\\')
        readEscape();
      else
        readCharacter();
    }
    ++at;
  }

  void copyPlain() {
    while (static_cast<std::size_t>(end - at) >= chunkBytes) {
      const std::size_t length = copyPlainChunk(kept.text.end(), at);
      kept.text.extend(length);
      at += length;
      if (length < chunkBytes) return;
    }
    const std::size_t length = copyPlainRest(kept.text.end(), at, static_cast<std::size_t>(end - at));
    kept.text.extend(length);
    at += length;
  }

  /// A character beyond ASCII.
  void readCharacter() {
    if (static_cast<unsigned char>(*at) < 0x20) fail("syntax error: a control character within a text", at);
    const std::size_t length = utf8CharacterLength({at, static_cast<std::size_t>(end - at)});
    if (length == 0) fail("a text is not UTF-8", at);
    std::memcpy(kept.text.end(), at, length);
    kept.text.extend(length);
    at += length;
  }

  void readEscape() {
    const char* const backslash = at;
    ++at;
    if (at == end) fail("the text ends too early", at);
    if (*at == 'u') {
      ++at;
      appendCharacter(readCodePoint(backslash));
      return;
    }
    static constexpr std::string_view letters = "\"\\/bfnrt";
    static constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const std::size_t which = letters.find(*at);
    if (which == std::string_view::npos) fail("syntax error: an unknown escape", backslash);
    *kept.text.end() = meanings[which];
    kept.text.extend(1);
    ++at;
  }

  /// What `\uXXXX` says, together with a second one for a surrogate pair.
  char32_t readCodePoint(const char* backslash) {
    const char32_t first = readHexDigits();
    if (first == 0) fail("a text holds the character NUL", backslash);
    if (first < 0xd800 || first > 0xdfff) return first;
    if (first < 0xdc00 && isAt('\\') && at + 1 < end && at[1] == 'u') {
      at += 2;
      const char32_t second = readHexDigits();
      if (second >= 0xdc00 && second <= 0xdfff) return 0x10000 + ((first - 0xd800) << 10) + (second - 0xdc00);
    }
    if (at == end || (*at == '\\' && at + 1 == end)) fail("the text ends too early", end);
    fail("syntax error: half of a surrogate pair", backslash);
  }

  char32_t readHexDigits() {
    char32_t value = 0;
    for (int i = 0; i < 4; ++i, ++at) {
      int digit = 0;
      if (at == end || std::from_chars(at, at + 1, digit, 16).ec != std::errc()) failExpecting("a hexadecimal digit");
      value = value << 4 | static_cast<char32_t>(digit);
    }
    return value;
  }

  void appendCharacter(char32_t character) {
    char* to = kept.text.end();
    const auto add = [&](char32_t byte) { *to++ = static_cast<char>(byte); };
    if (character < 0x80) {
      add(character);
    } else if (character < 0x800) {
      add(0xc0 | character >> 6);
      add(0x80 | (character & 0x3f));
    } else if (character < 0x10000) {
      add(0xe0 | character >> 12);
      add(0x80 | (character >> 6 & 0x3f));
      add(0x80 | (character & 0x3f));
    } else {
      add(0xf0 | character >> 18);
      add(0x80 | (character >> 12 & 0x3f));
      add(0x80 | (character >> 6 & 0x3f));
      add(0x80 | (character & 0x3f));
    }
    kept.text.extend(static_cast<std::size_t>(to - kept.text.end()));
  }

  qel_value readNumber() {
    const char* const number = at;
    if (isAt('-')) ++at;
    if (at == end || !isDigit(*at)) failExpecting(at == number ? "a value" : "a digit");
    if (*at == '0')
      ++at;
    else
      passDigits();
    bool isWhole = true;
    if (isAt('.')) {
      isWhole = false;
      ++at;
      passDigits();
    }
    if (at < end && (*at == 'e' || *at == 'E')) {
      isWhole = false;
      ++at;
      if (at < end && (*at == '+' || *at == '-')) ++at;
      passDigits();
    }
    std::int64_t whole = 0;
    if (isWhole && std::from_chars(number, at, whole).ec == std::errc()) return data_t(whole).disown();
    const auto value = doubleOf({number, static_cast<std::size_t>(at - number)});
    if (!value) fail("a number is beyond the range of a double", number);
    return data_t(*value).disown();
  }

  void passDigits() {
    if (at == end || !isDigit(*at)) failExpecting("a digit");
    while (at < end && isDigit(*at)) ++at;
  }

  const char* const begin;
  const char* at;
  const char* const end;
  const JsonLimits& limits;
  Kept& kept;
  std::size_t depth = 0;
};

/// The thread's memory, tidied up after a document.
class KeptForOne {
 public:
  KeptForOne() : ofThread(kept()) {}
  KeptForOne(const KeptForOne&) = delete;
  KeptForOne& operator=(const KeptForOne&) = delete;
  ~KeptForOne() { ofThread.tidy(); }

  Kept& ofThread;
};

}  // namespace

data_t readJson(std::string_view text, const JsonLimits& limits) {
  const KeptForOne memory;
  return Reader(text, limits, memory.ofThread).readDocument();
}

std::optional<data_t> readJsonMembers(std::string_view text, const JsonPlaces& placeOf, const JsonLimits& limits) {
  const KeptForOne memory;
  return Reader(text, limits, memory.ofThread).readDocument(placeOf);
}

}  // namespace chainrunner

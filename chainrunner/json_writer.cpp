// A text is written into a buffer that each thread keeps, and appended to its destination in one piece. Strings go
// chunk by chunk: copied first, looked at then, so that what needs no escape costs a few instructions. A map of a shape
// that is known needs no sorting, and its keys are copied from there.
#include "chainrunner/json_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

#include "chainrunner/KnownShapes.h"
#include "chainrunner/MapEntry.h"
#include "chainrunner/plain_text.h"
#include "chainrunner/utf8.h"

namespace chainrunner {

namespace {

using com::tallowmere::connectivity10_15_4::isOccupied;

/// How each byte that isn't plain is written: the letter behind the backslash, or 'u' for its number.
constexpr std::array<char, 256> escapes = [] {
  std::array<char, 256> letters{};
  for (std::size_t control = 0; control < 0x20; ++control) letters[control] = 'u';
  letters['"'] = '"';
  letters['\\'] = '\\';
  letters['\n'] = 'n';
  letters['\r'] = 'r';
  letters['\t'] = 't';
  return letters;
}();

class Writer {
 public:
  void clear() {
    at = begin.get();
    entries.clear();
  }

  std::string_view text() const { return {begin.get(), used()}; }

  /// Gives memory back that only an uncommonly large text needed.
  void tidy() {
    constexpr std::size_t most = 1 << 20;
    if (static_cast<std::size_t>(limit - begin.get()) <= most) return;
    begin.reset();
    at = limit = nullptr;
    entries = {};
  }

  void writeValue(const data_t& value, std::size_t maxDepth) {
    this->maxDepth = maxDepth;
    write(value, maxDepth, {KnownShapes::noParent, 0});
  }

  void writeString(std::string_view text) {
    makeRoom(text.size() + 2 + chunkBytes);
    *at++ = '"';
    const char* from = text.data();
    const char* const end = from + text.size();
    for (;;) {
      from = copyPlain(from, end);
      if (from == end) break;
      from = writeSpecial(from, end);
      makeRoom(static_cast<std::size_t>(end - from) + 2 + chunkBytes);
    }
    *at++ = '"';
  }

 private:
  using Place = KnownShapes::Place;

  /// Writes one value; `depth` counts the containers that may still open.
  void write(const data_t& value, std::size_t depth, Place place) {
    switch (value.type()) {
      case Tag::empty:
        return writeWord("null");
      case Tag::boolean:
        return writeWord(value.get<bool>() ? "true" : "false");
      case Tag::number:
        return writeDouble(value.get<double>());
      case Tag::integer:
        return writeInteger(value.get<std::int64_t>());
      case Tag::string:
      case Tag::borrowedString:
        return writeString(textOf(value));
      case Tag::list:
        return writeList(value.get<list_t>(), descend(depth), place);
      case Tag::map:
        return writeMap(value.get<map_t>(), descend(depth), place);
      default:
        throw std::runtime_error(std::string("A ") + value.type_name() + " value has no JSON form");
    }
  }

  std::size_t descend(std::size_t depth) const {
    if (depth == 0)
      throw std::runtime_error("Values nested deeper than " + std::to_string(maxDepth) + " have no JSON form");
    return depth - 1;
  }

  static const char* textOf(const data_t& string) { return reinterpret_cast<const char*>(string.bits()); }

  void writeWord(std::string_view word) {
    makeRoom(word.size());
    std::memcpy(at, word.data(), word.size());
    at += word.size();
  }

  void put(char character) {
    makeRoom(1);
    *at++ = character;
  }

  void writeInteger(std::int64_t number) {
    makeRoom(longestNumber);
    at = std::to_chars(at, limit, number).ptr;
  }

  void writeDouble(double number) {
    if (!std::isfinite(number)) throw std::runtime_error("A number that is not finite has no JSON form");
    makeRoom(longestNumber);
    if (writeShortDecimal(number)) return;
    // Times should read as numbers of seconds, not as powers of ten.
    const bool isPlain = number == 0 || (std::fabs(number) >= 1e-5 && std::fabs(number) < 1e17);
    const auto form = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
    const char* const start = at;
    at = std::to_chars(at, limit, number, form).ptr;
    if (isPlain && std::find(start, static_cast<const char*>(at), '.') == at) writeWord(".0");
  }

  /// Writes a number that has at most three decimals and 15 digits. No two such decimals are the same double, so the
  /// one that gives the number is its shortest text.
  bool writeShortDecimal(double number) {
    const double size = std::fabs(number);
    if (size == 0 || size >= 1e12) return false;
    std::uint64_t scale = 1;
    for (int decimals = 0; decimals <= 3; ++decimals, scale *= 10) {
      const auto digits = static_cast<std::uint64_t>(size * static_cast<double>(scale) + 0.5);
      if (static_cast<double>(digits) / static_cast<double>(scale) != size) continue;
      if (number < 0) *at++ = '-';
      at = std::to_chars(at, limit, digits / scale).ptr;
      *at++ = '.';
      if (decimals == 0) *at++ = '0';
      for (std::uint64_t rest = digits % scale; scale > 1; rest %= scale) {
        scale /= 10;
        *at++ = static_cast<char>('0' + rest / scale);
      }
      return true;
    }
    return false;
  }

  void writeList(const list_t& list, std::size_t depth, Place place) {
    char separator = '[';
    for (const data_t& element : list) {
      put(separator);
      separator = ',';
      write(element, depth, place);
    }
    if (separator == '[') put('[');
    put(']');
  }

  void writeMap(const map_t& map, std::size_t depth, Place place) {
    if (map.empty()) return writeWord("{}");
    KnownShapes::Shape& guess = shapes->guess(place);
    if (guess.fits(*map.header()))
      writeKnown(*map.header(), guess, depth);
    else
      writeSorted(*map.header(), depth, place);
  }

  void writeKnown(const map_header& block, KnownShapes::Shape& shape, std::size_t depth) {
    const KnownShapes::Use use(shape);
    const auto* const slots = reinterpret_cast<const map_slot*>(&block + 1);
    char separator = '{';
    for (std::uint32_t i = 0; i < shape.count; ++i) {
      const KnownShapes::Member& member = shape.members[i];
      makeRoom(sizeof member.text + 4);
      *at++ = separator;
      *at++ = '"';
      std::memcpy(at, member.text, sizeof member.text);
      at += member.length;
      *at++ = '"';
      *at++ = ':';
      separator = ',';
      write(reinterpret_cast<const data_t&>(slots[member.slot].value), depth, {shape.index, i});
    }
    put('}');
  }

  void writeSorted(const map_header& block, std::size_t depth, Place place) {
    const std::size_t first = entries.size();
    const auto* slot = reinterpret_cast<const map_slot*>(&block + 1);
    for (std::uint64_t left = block.count; left > 0; ++slot) {
      if (!isOccupied(*slot)) continue;
      --left;
      checkKey(reinterpret_cast<const data_t&>(slot->key));
      entries.emplace_back(*slot);
    }
    sort(entries.data() + first, entries.data() + entries.size());
    const std::uint32_t shape = shapes->learn(block, std::span(entries).subspan(first), place);
    char separator = '{';
    for (std::uint64_t i = 0; i < block.count; ++i) {
      put(separator);
      separator = ',';
      writeString(entries[first + i].key);
      put(':');
      write(entries[first + i].value(), depth, {shape, static_cast<std::uint32_t>(i)});
    }
    put('}');
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(first), entries.end());
  }

  static void checkKey(const data_t& key) {
    if (!key.isString())
      throw std::runtime_error(std::string("A key that is not a string has no JSON form (it is ") + key.type_name() +
                               ")");
  }

  /// Copies what is plain, for which there is room, and gives the place of what isn't.
  const char* copyPlain(const char* from, const char* end) {
    while (static_cast<std::size_t>(end - from) >= chunkBytes) {
      const std::size_t length = copyPlainChunk(at, from);
      at += length;
      from += length;
      if (length < chunkBytes) return from;
    }
    const std::size_t length = copyPlainRest(at, from, static_cast<std::size_t>(end - from));
    at += length;
    return from + length;
  }

  /// Writes the character that begins here, for which there is room, and gives the place behind it.
  const char* writeSpecial(const char* from, const char* end) {
    const auto byte = static_cast<unsigned char>(*from);
    if (escapes[byte] == 0) {
      const std::size_t length = utf8CharacterLength({from, static_cast<std::size_t>(end - from)});
      if (length == 0) throw std::runtime_error("A text that is not UTF-8 has no JSON form");
      std::memcpy(at, from, length);
      at += length;
      return from + length;
    }
    *at++ = '\\';
    *at++ = escapes[byte];
    if (escapes[byte] == 'u') {
      static constexpr char digits[] = "0123456789abcdef";
      for (const char digit : {'0', '0', digits[byte >> 4], digits[byte & 0xf]}) *at++ = digit;
    }
    return from + 1;
  }

  std::size_t used() const { return static_cast<std::size_t>(at - begin.get()); }

  void makeRoom(std::size_t bytes) {
    if (static_cast<std::size_t>(limit - at) < bytes) [[unlikely]]
      grow(bytes);
  }

  [[gnu::noinline]] void grow(std::size_t bytes) {
    const std::size_t size = used();
    const std::size_t room = std::max<std::size_t>(2 * size + bytes, 4096);
    std::unique_ptr<char[]> wider(new char[room]);
    if (size > 0) std::memcpy(wider.get(), begin.get(), size);
    begin = std::move(wider);
    at = begin.get() + size;
    limit = begin.get() + room;
  }

  static constexpr std::size_t longestNumber = 32;

  std::unique_ptr<char[]> begin;
  char* at = nullptr;
  char* limit = nullptr;
  std::vector<MapEntry> entries;  ///< of the sorted maps that aren't finished
  std::unique_ptr<KnownShapes> shapes = std::make_unique<KnownShapes>();
  std::size_t maxDepth = 0;
};

/// The thread's writer, ready for a text. It is kept, since its buffer is.
class KeptWriter {
 public:
  KeptWriter() : writer(ofThread()) { writer.clear(); }
  KeptWriter(const KeptWriter&) = delete;
  KeptWriter& operator=(const KeptWriter&) = delete;
  ~KeptWriter() { writer.tidy(); }

  Writer* operator->() { return &writer; }

 private:
  static Writer& ofThread() {
    thread_local Writer writer;
    return writer;
  }

  Writer& writer;
};

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  KeptWriter writer;
  writer->writeString(text);
  out += writer->text();
}

void appendJson(std::string& out, const data_t& value, std::size_t maxDepth) {
  KeptWriter writer;
  writer->writeValue(value, maxDepth);
  out += writer->text();
}

std::string toJson(const data_t& value, std::size_t maxDepth) {
  std::string out;
  appendJson(out, value, maxDepth);
  return out;
}

}  // namespace chainrunner

#include "connectivity/to_string.h"

#include <charconv>
#include <cstddef>
#include <cstdint>

#include "connectivity/Message.h"
#include "connectivity/host_platform.h"

namespace com::tallowmere::connectivity10_15_4 {

namespace {

constexpr std::size_t usualLength = 256;  // of a rendered map: enough to spare the first growths

// The leaves stand apart so that their buffers are not on the stack once per level of nesting.

[[gnu::noinline]] void appendInteger(std::string& out, std::int64_t number) {
  char text[24];
  out.append(text, std::to_chars(text, text + sizeof text, number).ptr);
}

[[gnu::noinline]] void appendNumber(std::string& out, double number) {
  char text[32];
  Platform::float64ToChar8(text, number);
  out += text;
}

[[gnu::noinline]] void appendDecimal(std::string& out, std::uint64_t bits) {
  char text[24];
  reinterpret_cast<const decimal64&>(bits).toString(text);
  out += text;
}

void append(std::string& out, const data_t& value);

void append(std::string& out, const list_t& list) {
  out += '[';
  const char* separator = "";
  const std::uint64_t size = list.size();
  for (const data_t& element : list) {
    out += separator;
    append(out, element);
    separator = ",";
  }
  if (list.size() != size) reportInvalidListIterator();
  out += ']';
}

// Walks the slots as an iterator does, with a test behind whatever may have asked the host for a text: what that does
// to the map must show.
void appendEntries(std::string& out, const map_t& map) {
  if (map.empty()) return;
  const map_header* const header = map.header();
  const std::uint64_t capacity = header->capacity;
  const std::uint64_t count = header->count;
  const auto goesOn = [&] {
    const bool hasItsSlots = map.header() == header && header->capacity == capacity;
    if (!hasItsSlots || header->count != count) [[unlikely]]
      reportInvalidMapIterator();
    return hasItsSlots;
  };
  const auto* slot = reinterpret_cast<const map_slot*>(header + 1);
  const map_slot* const end = slot + capacity;
  for (std::uint64_t left = count; slot != end; ++slot) {
    if (!isOccupied(*slot)) continue;
    const bool isText = slot->key.tag == QEL_STRING;
    append(out, reinterpret_cast<const data_t&>(slot->key));
    if (!isText && !goesOn()) return;
    out += ':';
    append(out, reinterpret_cast<const data_t&>(slot->value));
    if (!goesOn() || --left == 0) return;
    out += ',';
  }
}

void append(std::string& out, const map_t& map) {
  if (map.name()) {
    out += map.name();
    out += ':';
  }
  out += '{';
  appendEntries(out, map);
  out += '}';
}

void append(std::string& out, const buffer_t& buffer) {
  constexpr const char* digits = "0123456789ABCDEF";
  out += '[';
  const char* separator = "";
  for (const unsigned char byte : buffer) {
    out += separator;
    out += "0x";
    out += digits[byte >> 4];
    out += digits[byte & 15];
    separator = ",";
  }
  out += ']';
}

void append(std::string& out, const data_t& value) {
  switch (value.type()) {
    case Tag::boolean:
      out += value.get<bool>() ? "true" : "false";
      return;
    case Tag::number:
      appendNumber(out, value.get<double>());
      return;
    case Tag::integer:
      appendInteger(out, value.get<std::int64_t>());
      return;
    case Tag::decimal:
      appendDecimal(out, value.bits());
      return;
    case Tag::string:
    case Tag::borrowedString:
      out += value.get<const char*>();
      return;
    case Tag::list:
      append(out, value.get<list_t>());
      return;
    case Tag::map:
      append(out, value.get<map_t>());
      return;
    case Tag::buffer:
      append(out, value.get<buffer_t>());
      return;
    case Tag::custom:
      out += "(custom)";
      return;
    case Tag::empty:
      break;
  }
  out += "(null)";
}

template <class T>
std::string render(const T& value) {
  std::string out;
  out.reserve(usualLength);
  append(out, value);
  return out;
}

}  // namespace

std::string to_string(const data_t& value) {
  if (value.is(Tag::map) || value.is(Tag::list)) return render(value);
  std::string out;
  append(out, value);
  return out;
}
std::string to_string(const list_t& list) {
  return render(list);
}
std::string to_string(const map_t& map) {
  return render(map);
}
std::string to_string(const buffer_t& buffer) {
  return render(buffer);
}

std::string to_string(const Message& message) {
  std::string out;
  out.reserve(2 * usualLength);
  append(out, message.getMetadataMap());
  out += " / ";
  append(out, message.getPayload());
  return out;
}

}  // namespace com::tallowmere::connectivity10_15_4

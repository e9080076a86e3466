#include "chainrunner/utf8.h"

#include <algorithm>

namespace chainrunner {

namespace {

struct Form {
  unsigned char leadMask, lead;
  std::size_t length;
  char32_t smallest;
};

constexpr Form forms[] = {
    {0x80, 0x00, 1, 0x0}, {0xe0, 0xc0, 2, 0x80}, {0xf0, 0xe0, 3, 0x800}, {0xf8, 0xf0, 4, 0x10000}};

}  // namespace

std::size_t utf8CharacterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (const Form& form : forms) {
    if ((byte(0) & form.leadMask) != form.lead) continue;
    if (text.size() < form.length) return 0;
    char32_t character = byte(0) & static_cast<unsigned char>(~form.leadMask);
    for (std::size_t i = 1; i < form.length; ++i) {
      if ((byte(i) & 0xc0) != 0x80) return 0;
      character = character << 6 | (byte(i) & 0x3f);
    }
    const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
    return character < form.smallest || character > 0x10ffff || isSurrogate ? 0 : form.length;
  }
  return 0;
}

std::string repairedUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  const auto firstOther = std::find_if(text.begin(), text.end(), [](char byte) { return (byte & 0x80) != 0; });
  out.append(text.begin(), firstOther);
  text.remove_prefix(out.size());
  while (!text.empty()) {
    const std::size_t length = utf8CharacterLength(text);
    out += length == 0 ? std::string_view("\xEF\xBF\xBD") : text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return out;
}

}  // namespace chainrunner

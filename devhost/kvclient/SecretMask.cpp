#include "devhost/kvclient/SecretMask.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

namespace devhost {
namespace {

constexpr const char* stars = "***";

/// The six bits of a character of the base64 alphabet, in its usual or its URL-safe form.
std::optional<std::uint32_t> sixBits(char character) {
  if (character >= 'A' && character <= 'Z') return character - 'A';
  if (character >= 'a' && character <= 'z') return character - 'a' + 26;
  if (character >= '0' && character <= '9') return character - '0' + 52;
  if (character == '+' || character == '-') return 62;
  if (character == '/' || character == '_') return 63;
  return std::nullopt;
}

/// The bytes of a run of base64 characters that begins at a group of four.
std::string decode(std::string_view characters) {
  std::string bytes;
  std::uint32_t window = 0;
  int bits = 0;
  for (const char character : characters) {
    window = window << 6 | *sixBits(character);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(window >> bits & 0xFF);
  }
  return bytes;
}

void replaceAll(std::string& text, const std::string& secret) {
  for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at)) {
    text.replace(at, secret.size(), stars);
    at += std::string_view(stars).size();
  }
}

}  // namespace

void SecretMask::add(const std::string& secret) {
  if (secret.empty()) return;
  std::lock_guard lock(mutex);
  const auto shorter = [&secret](const std::string& other) { return other.size() < secret.size(); };
  if (std::find(secrets.begin(), secrets.end(), secret) != secrets.end()) return;
  secrets.insert(std::find_if(secrets.begin(), secrets.end(), shorter), secret);
}

std::string SecretMask::mask(std::string text) const {
  std::lock_guard lock(mutex);
  if (secrets.empty()) return text;
  text = maskBase64Words(text);
  for (const std::string& secret : secrets) replaceAll(text, secret);
  return text;
}

std::string SecretMask::maskBase64Words(const std::string& text) const {
  std::string masked;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = at;
    while (end < text.size() && sixBits(text[end])) ++end;
    if (end == at) {
      masked += text[at++];
      continue;
    }
    const std::string word = text.substr(at, end - at);
    at = end;
    if (!holdsSecret(word)) {
      masked += word;
      continue;
    }
    masked += stars;
    while (at < text.size() && text[at] == '=') ++at;
  }
  return masked;
}

bool SecretMask::holdsSecret(const std::string& word) const {
  // What stands before the encoded text, such as a path's characters, can shift its groups.
  for (std::size_t shift = 0; shift < 4 && shift < word.size(); ++shift) {
    const std::string bytes = decode(std::string_view(word).substr(shift));
    for (const std::string& secret : secrets) {
      if (bytes.find(secret) != std::string::npos) return true;
    }
  }
  return false;
}

}  // namespace devhost

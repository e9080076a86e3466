#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace devhost {

/// Replaces secrets in text by "***": a secret itself, and each whole base64 word that holds one. In a word, a secret
/// can begin at any of three bit offsets, and its neighbours change the characters at its ends; so words are decoded
/// and the secret is looked for in the bytes.
class SecretMask {
 public:
  /// Adds a secret; an empty one is ignored. [any thread, locks mutex]
  void add(const std::string& secret);

  /// `text` without the secrets. [any thread, locks mutex]
  std::string mask(std::string text) const;

 private:
  std::string maskBase64Words(const std::string& text) const;
  bool holdsSecret(const std::string& word) const;

  mutable std::mutex mutex;
  std::vector<std::string> secrets;  // longest first, so that one inside another leaves nothing of the longer
};

}  // namespace devhost

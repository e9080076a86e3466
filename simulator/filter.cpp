#include "simulator/filter.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

#include "simulator/errors.h"

namespace simulator {

namespace {

/// SQLite's parser holds a hundred pieces of an expression, and a level makes up to three of them.
constexpr int deepest = 24;
constexpr int mostComparisons = 500;

enum class TokenKind { Word, Text, Number, Open, Close, End };

struct Token {
  TokenKind kind = TokenKind::End;
  std::string text;  ///< of a text without its quotes
  std::size_t at = 0;
};

bool isWordLetter(char letter) {
  return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') ||
         letter == '_' || letter == '-' || letter == '.';
}

class Parser {
 public:
  Parser(const std::string& parameter, std::string_view text, std::span<const Column> columns)
      : parameter(parameter), text(text), columns(columns) {}

  Condition read() {
    const bool marked = skipWord("$filter=");
    advance();
    if (!marked && token.kind == TokenKind::End) return {};
    Condition condition = either();
    if (token.kind != TokenKind::End) fail("\"and\", \"or\", \"$orderby=_id asc\" or the end was expected");
    return condition;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    const std::string found =
        token.kind == TokenKind::End ? "the end" : quoted(text.substr(token.at, position - token.at));
    failAt(token.at, what + ", not " + found);
  }

  [[noreturn]] void failAt(std::size_t at, const std::string& what) const {
    throw RequestError(
        422, "the filter in " + quoted(parameter) + " can't be read at column " + std::to_string(at + 1) + ": " + what);
  }

  bool skipWord(std::string_view word) {
    skipSpaces();
    if (!text.substr(position).starts_with(word)) return false;
    position += word.size();
    return true;
  }

  void skipSpaces() {
    while (position < text.size() && text[position] == ' ') ++position;
  }

  void advance() {
    skipSpaces();
    token = {TokenKind::End, {}, position};
    if (position == text.size() || readOrder()) return;
    const char first = text[position];
    if (first == '(' || first == ')') {
      token.kind = first == '(' ? TokenKind::Open : TokenKind::Close;
      ++position;
    } else if (first == '\'') {
      readText();
    } else if (isWordLetter(first) || first == '+') {
      readWord();
    } else {
      failAt(position, "nothing begins with " + quoted(text.substr(position, 1)));
    }
  }

  /// The one order there is; it must be the last word.
  bool readOrder() {
    if (!text.substr(position).starts_with("$orderby=")) return false;
    position += std::string_view("$orderby=").size();
    if (!skipWord("_id") || !skipWord("asc")) failAt(token.at, "the one order is \"$orderby=_id asc\"");
    skipSpaces();
    if (position != text.size()) failAt(position, "nothing may follow the order");
    return true;
  }

  void readText() {
    token.kind = TokenKind::Text;
    for (++position; position < text.size(); ++position) {
      if (text[position] != '\'') {
        token.text += text[position];
      } else if (text.substr(position + 1).starts_with('\'')) {
        token.text += '\'';
        ++position;
      } else {
        ++position;
        return;
      }
    }
    failAt(token.at, "the text has no closing quote");
  }

  void readWord() {
    const std::size_t begin = position;
    while (position < text.size() && (isWordLetter(text[position]) || text[position] == '+')) ++position;
    token.text = text.substr(begin, position - begin);
    const char first = token.text.front();
    const bool isNumber = first == '+' || first == '-' || (first >= '0' && first <= '9');
    token.kind = isNumber ? TokenKind::Number : TokenKind::Word;
  }

  bool accept(std::string_view word) {
    if (token.kind != TokenKind::Word || token.text != word) return false;
    advance();
    return true;
  }

  Condition either() {
    return series("or", " OR ", [this] { return both(); });
  }
  Condition both() {
    return series("and", " AND ", [this] { return one(); });
  }

  template <class Part>
  Condition series(std::string_view word, std::string_view sqlWord, Part part) {
    Condition condition = part();
    bool isSeries = false;
    while (accept(word)) {
      Condition next = part();
      condition.sql.append(sqlWord).append(next.sql);
      for (Parameter& bound : next.parameters) condition.parameters.push_back(std::move(bound));
      isSeries = true;
    }
    if (isSeries) condition.sql = "(" + condition.sql + ")";
    return condition;
  }

  Condition one() {
    if (token.kind == TokenKind::Open || (token.kind == TokenKind::Word && token.text == "not")) {
      if (++depth > deepest) failAt(token.at, "more than " + std::to_string(deepest) + " levels");
      Condition inner = token.kind == TokenKind::Open ? parenthesized() : negated();
      --depth;
      return inner;
    }
    if (token.kind != TokenKind::Word) fail("a field, \"not\", \"has\" or \"(\" was expected");
    if (++comparisons > mostComparisons)
      failAt(token.at, "more than " + std::to_string(mostComparisons) + " comparisons");
    const std::string field = token.text;
    checkField(field);
    advance();
    if (field == "has" && token.kind == TokenKind::Open) return has();
    return comparison(field);
  }

  Condition parenthesized() {
    advance();
    Condition inner = either();
    close();
    return inner;
  }

  /// Of what can't be told, the opposite can't be told either: it isn't met.
  Condition negated() {
    advance();
    Condition inner = one();
    inner.sql = "NOT (" + inner.sql + ")";
    return inner;
  }

  Condition has() {
    advance();
    if (token.kind != TokenKind::Word) fail("a field was expected");
    checkField(token.text);
    Condition condition = hasField(token.text);
    advance();
    close();
    return condition;
  }

  void close() {
    if (token.kind != TokenKind::Close) fail("\")\" was expected");
    advance();
  }

  void checkField(const std::string& field) const {
    if (field.starts_with('.') || field.ends_with('.') || field.find("..") != std::string::npos)
      failAt(token.at, quoted(field) + " is no field");
  }

  Condition comparison(const std::string& field) {
    const Comparison wanted = readOperator();
    if (token.kind == TokenKind::Word && (token.text == "true" || token.text == "false"))
      return booleanComparison(field, wanted);
    if (token.kind != TokenKind::Text && token.kind != TokenKind::Number)
      fail("a text in single quotes, a number, true or false was expected");
    Parameter value = token.kind == TokenKind::Text ? Parameter(token.text) : readNumber();
    advance();
    return compareField(field, columns, wanted, std::move(value));
  }

  Condition booleanComparison(const std::string& field, Comparison wanted) {
    if (wanted != Comparison::Equal && wanted != Comparison::NotEqual)
      failAt(token.at, "true and false go with eq and ne only");
    const bool value = token.text == "true";
    advance();
    return compareBoolean(field, wanted == Comparison::Equal, value);
  }

  Comparison readOperator() {
    constexpr std::array<std::string_view, 6> words{"eq", "ne", "gt", "ge", "lt", "le"};
    for (std::size_t index = 0; index < words.size(); ++index)
      if (accept(words[index])) return static_cast<Comparison>(index);
    fail("eq, ne, gt, ge, lt or le was expected");
  }

  Parameter readNumber() const {
    const std::string_view digits = std::string_view(token.text).substr(token.text.starts_with('+') ? 1 : 0);
    const char* const end = digits.data() + digits.size();
    std::int64_t whole = 0;
    if (const auto [stop, code] = std::from_chars(digits.data(), end, whole); code == std::errc() && stop == end)
      return whole;
    double number = 0;
    if (const auto [stop, code] = std::from_chars(digits.data(), end, number);
        code == std::errc() && stop == end && std::isfinite(number))
      return number;
    failAt(token.at, quoted(token.text) + " is no number");
  }

  const std::string& parameter;
  std::string_view text;
  std::span<const Column> columns;
  std::size_t position = 0;
  Token token;
  int depth = 0;
  int comparisons = 0;
};

}  // namespace

Condition readFilter(const std::string& parameter, const std::string& text, std::span<const Column> columns) {
  return Parser(parameter, text, columns).read();
}

}  // namespace simulator

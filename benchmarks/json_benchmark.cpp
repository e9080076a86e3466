// W8, W9 and W11ser: JSON text to values and back, through the runner's reader and writer, beside the parsers and
// serialisers of the peers.
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <boost/json.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "benchmarks/documents.h"
#include "benchmarks/harness.h"
#include "chainrunner/json_reader.h"
#include "chainrunner/json_writer.h"

namespace benchmarks {

namespace {

constexpr int documentsPerPage = 1000;
constexpr int parsesPerRound = 32;

// Each library reads a text and writes a value into a text that is kept between writings.

struct DataT {
  static constexpr const char* name = "data_t";
  using Value = chainrunner::data_t;
  static Value read(const std::string& text) { return chainrunner::readJson(text); }
  static void write(const Value& value, std::string& out) {
    out.clear();
    chainrunner::appendJson(out, value);
  }
};

struct BoostJson {
  static constexpr const char* name = "boost_json";
  using Value = boost::json::value;
  static Value read(const std::string& text) { return boost::json::parse(text); }
  static void write(const Value& value, std::string& out) {
    static boost::json::serializer serializer;
    serializer.reset(&value);
    std::size_t size = 0;
    out.resize(std::max<std::size_t>(out.capacity(), 4096));
    for (;;) {
      size += serializer.read(out.data() + size, out.size() - size).size();
      if (serializer.done()) break;
      out.resize(out.size() * 2);
    }
    out.resize(size);
  }
};

struct Nlohmann {
  static constexpr const char* name = "nlohmann";
  using Value = nlohmann::json;
  static Value read(const std::string& text) { return Value::parse(text); }
  static void write(const Value& value, std::string& out) { out = value.dump(); }
};

struct RapidJson {
  static constexpr const char* name = "rapidjson";
  using Value = rapidjson::Document;
  static Value read(const std::string& text) {
    Value document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(text.data(), text.size());
    return document;
  }
  static void write(const Value& value, std::string& out) {
    static rapidjson::StringBuffer buffer;
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    out.assign(buffer.GetString(), buffer.GetSize());
  }
};

/// What the library makes of the text, in the one form in which all are compared.
template <class Library>
std::string rewritten(const std::string& text) {
  std::string out;
  Library::write(Library::read(text), out);
  return nlohmann::json::parse(out).dump();
}

template <class Library>
void checkLibrary() {
  for (const std::string& text : {managedObjectDocument(), measurementPage(3), measurementBody(3)})
    expectSame(std::string("W8, W9 or W11ser ") + Library::name, rewritten<Library>(text),
               nlohmann::json::parse(text).dump());
}

template <class Library>
void addCases() {
  using Value = typename Library::Value;
  addCheck(checkLibrary<Library>);
  add({"W8", Library::name, parsesPerRound, [] {
         return Round([text = managedObjectDocument()](Stopwatch& stopwatch) {
           std::vector<Value> values;
           values.reserve(parsesPerRound);
           stopwatch.timed([&] {
             for (int i = 0; i < parsesPerRound; ++i) values.push_back(Library::read(text));
           });
         });
       }});
  add({"W8rt", Library::name, parsesPerRound, [] {
         return Round([text = managedObjectDocument(), out = std::string()](Stopwatch& stopwatch) mutable {
           stopwatch.timed([&] {
             for (int i = 0; i < parsesPerRound; ++i) Library::write(Library::read(text), out);
           });
           keep(out.size());
         });
       }});
  add({"W9", Library::name, documentsPerPage, [] {
         return Round([text = measurementPage(documentsPerPage)](Stopwatch& stopwatch) {
           std::vector<Value> page;
           page.reserve(1);
           stopwatch.timed([&] { page.push_back(Library::read(text)); });
         });
       }});
  add({"W11ser", Library::name, documentsPerPage, [] {
         const auto body = std::make_shared<Value>(Library::read(measurementBody(documentsPerPage)));
         return Round([body, out = std::string()](Stopwatch& stopwatch) mutable {
           stopwatch.timed([&] { Library::write(*body, out); });
           keep(out.size());
         });
       }});
}

}  // namespace

}  // namespace benchmarks

int main(int argumentCount, char** arguments) {
  benchmarks::addCases<benchmarks::DataT>();
  benchmarks::addCases<benchmarks::BoostJson>();
  benchmarks::addCases<benchmarks::Nlohmann>();
  benchmarks::addCases<benchmarks::RapidJson>();
  return benchmarks::run(argumentCount, arguments);
}

#include "simulator/Store.h"

#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "simulator/Simulator.h"
#include "tests/unit/simulator/Client.h"

namespace simulator {
namespace {

/// A folder that goes with the test.
class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "simulator-store-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  std::string file(const char* name = "store.db") const { return (folder / name).string(); }

  std::string refusalOf(const std::string& path) const {
    try {
      Store store(path);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "accepted";
  }

  std::filesystem::path folder;
};

TEST_F(StoreTest, IdsAscendFromTheFirstOverAllKinds) {
  Store store(":memory:");
  EXPECT_EQ(store.nextId(), "2504001");
  EXPECT_EQ(store.nextId(), "2504002");
}

TEST_F(StoreTest, IdsGoOnAboveOneThatIsPassedOver) {
  Store store(":memory:");
  store.passOver("2504009");
  store.passOver("2504003");
  EXPECT_EQ(store.nextId(), "2504010");
}

TEST_F(StoreTest, PassesOverItsOwnIdsOnly) {
  Store store(":memory:");
  for (const char* other : {"7", "2504000", "02504009", "2504009a", "a2504009", "-2504009", "10000000", "pump-7", "",
                            "99999999999999999999"})
    store.passOver(other);
  EXPECT_EQ(store.nextId(), "2504001");
}

TEST_F(StoreTest, IdsEndBeforeTheyWouldDescendAsText) {
  Store store(":memory:");
  store.passOver("9999998");
  EXPECT_EQ(store.nextId(), "9999999");
  for (int attempt = 0; attempt < 2; ++attempt) {
    try {
      store.nextId();
      FAIL() << "an id was given";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "all ids are given, the last one is 9999999");
    }
  }
}

TEST_F(StoreTest, KeepsDocumentsAndIdsInAFile) {
  {
    Store store(file());
    store.insert(Kind::Event, store.nextId(), R"({"text":"kept"})");
  }
  Store store(file());
  EXPECT_EQ(store.find(Kind::Event, "2504001"), R"({"text":"kept"})");
  EXPECT_EQ(store.nextId(), "2504002");
}

TEST_F(StoreTest, LinksFollowTheAddressThatAFileIsServedAt) {
  {
    const Simulator first(Options{.database = file()});
    Client(first.url()).post("/registry/managed-objects", R"({"name":"Pump"})");
  }
  const Simulator second(Options{.database = file()});
  const boost::json::object document = Client(second.url()).get("/registry/managed-objects/2504001").json();
  EXPECT_EQ(document.at("name"), "Pump");
  EXPECT_EQ(document.at("self"), boost::json::value(second.url() + "/registry/managed-objects/2504001"));
}

TEST_F(StoreTest, UncommittedWorkIsTakenBack) {
  Store store(":memory:");
  {
    const Transaction transaction = store.begin();
    store.insert(Kind::Alarm, store.nextId(), "{}");
  }
  EXPECT_EQ(store.count(Kind::Alarm), 0);
  EXPECT_EQ(store.nextId(), "2504001");
}

TEST_F(StoreTest, KindsDoNotMix) {
  Store store(":memory:");
  store.insert(Kind::Alarm, "1", "{}");
  EXPECT_FALSE(store.contains(Kind::Event, "1"));
  EXPECT_EQ(store.counts(), (std::map<std::string, std::int64_t>{{"alarms", 1},
                                                                 {"events", 0},
                                                                 {"managed objects", 0},
                                                                 {"measurements", 0},
                                                                 {"operations", 0},
                                                                 {"SMS", 0},
                                                                 {"e-mails", 0}}));
}

TEST_F(StoreTest, TextsAreDataNeverSql) {
  Store store(":memory:");
  store.insert(Kind::Alarm, "1'; DROP TABLE alarms; --", R"({"text":"'"})");
  EXPECT_EQ(store.find(Kind::Alarm, "1'; DROP TABLE alarms; --"), R"({"text":"'"})");
}

TEST_F(StoreTest, RefusesAFileThatIsNoDatabase) {
  std::ofstream(file("notes.txt")) << std::string(1000, 'x');
  EXPECT_EQ(refusalOf(file("notes.txt")),
            "can't open the database \"" + file("notes.txt") + "\": file is not a database");
}

TEST_F(StoreTest, RefusesADatabaseOfAnotherSchema) {
  { Database(file(), "PRAGMA user_version = 99", 99); }
  EXPECT_EQ(refusalOf(file()), "can't open the database \"" + file() + "\": its schema has version 99, expected is 4");
}

TEST_F(StoreTest, RefusesAPathThatCannotBe) {
  EXPECT_EQ(refusalOf(file("missing/store.db")),
            "can't open the database \"" + file("missing/store.db") + "\": unable to open database file");
}

TEST_F(StoreTest, PagesAscendByIdAsText) {
  Store store(":memory:");
  for (const char* id : {"b", "a", "10", "9"}) store.insert(Kind::Event, id, "{}");
  std::string order;
  for (const StoredDocument& document : store.page(Kind::Event, 3, 1)) order += document.id + " ";
  EXPECT_EQ(order, "9 a b ");
}

}  // namespace
}  // namespace simulator

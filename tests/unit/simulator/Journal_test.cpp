#include "simulator/Journal.h"

#include <gtest/gtest.h>

namespace simulator {
namespace {

Request request(const std::string& body) {
  Request request;
  request.method = "POST";
  request.target = "/alarm/alarms";
  request.headers = {{"AUTHORIZATION", "Basic abc"}, {"Cookie", "authorization=abc"}, {"X-Custom", "kept"}};
  request.body = body;
  return request;
}

std::string bodies(const std::vector<JournalEntry>& entries) {
  std::string all;
  for (const JournalEntry& entry : entries) all += std::to_string(entry.number) + "=" + entry.body + " ";
  return all;
}

TEST(JournalTest, HidesCredentials) {
  Journal journal(10, 1000);
  journal.add(Moment(), request("a"), 200, false);
  const JournalEntry entry = journal.entries(0, 10).at(0);
  ASSERT_EQ(entry.headers.size(), 3u);
  EXPECT_EQ(entry.headers[0].value, "(hidden)");
  EXPECT_EQ(entry.headers[1].value, "(hidden)");
  EXPECT_EQ(entry.headers[2].value, "kept");
}

TEST(JournalTest, OldestMakeRoomWhenThereAreTooMany) {
  Journal journal(2, 1000);
  for (const char* body : {"a", "b", "c"}) journal.add(Moment(), request(body), 200, false);
  EXPECT_EQ(bodies(journal.entries(0, 10)), "2=b 3=c ");
}

TEST(JournalTest, OldestMakeRoomWhenBodiesAreTooLarge) {
  Journal journal(10, 5);
  for (const char* body : {"aaa", "bb", "c"}) journal.add(Moment(), request(body), 200, false);
  EXPECT_EQ(bodies(journal.entries(0, 10)), "2=bb 3=c ");
}

TEST(JournalTest, GivesEntriesBehindANumber) {
  Journal journal(10, 1000);
  for (const char* body : {"a", "b", "c", "d"}) journal.add(Moment(), request(body), 200, false);
  EXPECT_EQ(bodies(journal.entries(1, 2)), "2=b 3=c ");
  EXPECT_EQ(bodies(journal.entries(4, 2)), "");
}

TEST(JournalTest, NumbersGoOnAfterClearing) {
  Journal journal(10, 1000);
  journal.add(Moment(), request("a"), 200, false);
  journal.clear();
  journal.add(Moment(), request("b"), 200, false);
  EXPECT_EQ(bodies(journal.entries(0, 10)), "2=b ");
}

}  // namespace
}  // namespace simulator

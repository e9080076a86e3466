// Deep copies of every kind of value, host-built ones included.
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/devhost/BalanceTest.h"

using namespace values;

class CopyTest : public BalanceTest {};

TEST_F(CopyTest, StringCopyIsABlockOfItsOwn) {
  char original[] = "pump";
  char* copy = qel_copy_string(original);
  original[0] = 'd';
  EXPECT_STREQ(copy, "pump");
  qel_free_string(copy);
}

TEST_F(CopyTest, EmptyStringIsCopied) {
  char* copy = qel_copy_string("");
  EXPECT_STREQ(copy, "");
  qel_free_string(copy);
}

TEST_F(CopyTest, TagsWithoutBlockCopyAsTheyAre) {
  for (std::uint32_t tag : {0u, 1u, 2u, 3u, 4u, 11u, 4000000000u}) {
    const qel_value copy = qel_copy_data({0xFEDCBA9876543210u, tag, 0});
    EXPECT_EQ(copy.tag, tag);
    EXPECT_EQ(copy.payload, 0xFEDCBA9876543210u) << "tag " << tag;
  }
}

TEST_F(CopyTest, StringValueIsIndependentOfItsSource) {
  const qel_value source = string("pump");
  const qel_value copy = qel_copy_data(source);
  release(source);
  EXPECT_EQ(copy.tag, 5u);
  EXPECT_EQ(textOf(copy), "pump");
  release(copy);
}

TEST_F(CopyTest, TextsOfAllLengthsAreWhole) {
  for (std::size_t length = 0; length <= 200; ++length) {
    const std::string text(length, static_cast<char>('a' + length % 26));
    const qel_value source = string(text.c_str());
    const qel_value copy = qel_copy_data(source);
    EXPECT_NE(copy.payload, source.payload);
    EXPECT_EQ(textOf(copy), text);
    EXPECT_EQ(textOf(source), text);
    release(source);
    release(copy);
  }
}

TEST_F(CopyTest, ManyCopiesOfOneTextAreApart) {
  const qel_value source = string("a text of some length");
  std::vector<qel_value> copies;
  for (int i = 0; i < 10'000; ++i) copies.push_back(qel_copy_data(source));
  std::set<std::uint64_t> blocks{source.payload};
  for (const qel_value& copy : copies) {
    EXPECT_TRUE(blocks.insert(copy.payload).second);
    EXPECT_EQ(textOf(copy), "a text of some length");
    release(copy);
  }
  release(source);
}

TEST_F(CopyTest, ThreadsCopyATextOfAnother) {
  const qel_value source = string("shared by all");
  const auto copyOften = [&] {
    for (int i = 0; i < 2'000; ++i) {
      const qel_value copy = qel_copy_data(source);
      EXPECT_EQ(textOf(copy), "shared by all");
      release(copy);
    }
  };
  std::thread first(copyOften), second(copyOften);
  for (int i = 0; i < 2'000; ++i) release(string("the owner goes on"));
  first.join();
  second.join();
  release(source);
}

TEST_F(CopyTest, CopyOfABorrowedStringOutlivesTheLender) {
  std::string lender = "a text that is too long to lie inside of the string object";
  const qel_value copy = qel_copy_data(borrowed(lender.c_str()));
  lender.assign(lender.size(), 'x');
  EXPECT_EQ(copy.tag, 5u);
  EXPECT_EQ(textOf(copy), "a text that is too long to lie inside of the string object");
  release(copy);
}

TEST_F(CopyTest, ListCopiesEachElement) {
  const qel_value source = list({integer(-7), string("seven"), list({boolean(true)}), empty()});
  const qel_value copy = qel_copy_data(source);
  release(source);
  ASSERT_EQ(copy.tag, 6u);
  ASSERT_EQ(listOf(copy)->count, 4u);
  EXPECT_GE(listOf(copy)->capacity, 4u);
  EXPECT_EQ(elementOf(copy, 0).tag, 3u);
  EXPECT_EQ(elementOf(copy, 0).payload, 0xFFFFFFFFFFFFFFF9u);
  EXPECT_EQ(textOf(elementOf(copy, 1)), "seven");
  EXPECT_EQ(elementOf(elementOf(copy, 2), 0).tag, 1u);
  EXPECT_EQ(elementOf(copy, 3).tag, 0u);
  release(copy);
}

TEST_F(CopyTest, ListOnlyCopiesLiveElements) {
  const qel_value source = list({integer(1)});
  elementOf(source, 1) = {0x1234, QEL_STRING, 0};
  const qel_value copy = qel_copy_data(source);
  EXPECT_EQ(listOf(copy)->count, 1u);
  release(source);
  release(copy);
}

TEST_F(CopyTest, ContainersWithoutBlockStayWithoutBlock) {
  for (qel_tag tag : {QEL_STRING, QEL_LIST, QEL_MAP, QEL_BUFFER, QEL_CUSTOM, QEL_BORROWED_STRING}) {
    const qel_value copy = qel_copy_data({0, tag, 0});
    EXPECT_EQ(copy.tag, static_cast<std::uint32_t>(tag));
    EXPECT_EQ(copy.payload, 0u);
  }
}

TEST_F(CopyTest, MapCopiesNameKeysValuesAndStoredHashes) {
  const qel_value source = map(8, "measurement");
  occupy(source, 2, 0xABCDEF02, string("unit"), string("bar"));
  occupy(source, 7, 0x17, integer(5), list({number(1.5)}));
  const qel_value copy = qel_copy_data(source);
  release(source);

  ASSERT_EQ(copy.tag, 7u);
  EXPECT_STREQ(mapOf(copy)->name, "measurement");
  EXPECT_EQ(mapOf(copy)->count, 2u);
  ASSERT_EQ(mapOf(copy)->capacity, 8u);
  EXPECT_EQ(slotOf(copy, 2).hash, 0xABCDEF02u);
  EXPECT_EQ(textOf(slotOf(copy, 2).key), "unit");
  EXPECT_EQ(textOf(slotOf(copy, 2).value), "bar");
  EXPECT_EQ(slotOf(copy, 7).hash, 0x17u);
  EXPECT_EQ(slotOf(copy, 7).key.payload, 5u);
  EXPECT_EQ(elementOf(slotOf(copy, 7).value, 0).tag, 2u);
  EXPECT_EQ(slotOf(copy, 0).hash, 0u);
  EXPECT_EQ(slotOf(copy, 0).key.tag, 0u);
  release(copy);
}

TEST_F(CopyTest, MapKeepsItsTombstones) {
  const qel_value source = map(8);
  entomb(source, 4);
  occupy(source, 5, 4, string("behind the tombstone"), integer(1));
  const qel_value copy = qel_copy_data(source);
  EXPECT_EQ(mapOf(copy)->tombstones, 1u);
  EXPECT_EQ(slotOf(copy, 4).hash, 1u);
  EXPECT_EQ(slotOf(copy, 4).key.tag, 0u);
  EXPECT_EQ(textOf(slotOf(copy, 5).key), "behind the tombstone");
  release(source);
  release(copy);
}

TEST_F(CopyTest, OccupiedSlotsMayHaveHashZeroOrOne) {
  const qel_value source = map(8);
  occupy(source, 0, 0, string("zero"), string("0"));
  occupy(source, 1, 1, borrowed("one"), string("1"));
  const qel_value copy = qel_copy_data(source);
  release(source);
  EXPECT_EQ(slotOf(copy, 0).hash, 0u);
  EXPECT_EQ(textOf(slotOf(copy, 0).key), "zero");
  EXPECT_EQ(textOf(slotOf(copy, 0).value), "0");
  EXPECT_EQ(slotOf(copy, 1).hash, 1u);
  EXPECT_EQ(textOf(slotOf(copy, 1).key), "one");
  EXPECT_EQ(textOf(slotOf(copy, 1).value), "1");
  release(copy);
}

TEST_F(CopyTest, EmptyKeyWithAHashIsAnEntry) {
  const qel_value source = map(8);
  occupy(source, 1, 0x243FCAF1, empty(), string("of the empty key"));
  const qel_value copy = qel_copy_data(source);
  release(source);
  EXPECT_EQ(mapOf(copy)->count, 1u);
  EXPECT_EQ(textOf(slotOf(copy, 1).value), "of the empty key");
  release(copy);
}

TEST_F(CopyTest, BufferCopiesItsBytes) {
  const qel_value source = devhost::makeBuffer("a\0b", 3);
  const qel_value copy = qel_copy_data(source);
  release(source);
  EXPECT_EQ(copy.tag, 8u);
  EXPECT_EQ(bytesOf(copy), std::string("a\0b", 3));
  release(copy);
}

TEST_F(CopyTest, CustomValueClonesItsObject) {
  const qel_value source = custom(42);
  const qel_value copy = qel_copy_data(source);
  EXPECT_NE(devhost::customObject(copy), devhost::customObject(source));
  release(source);
  EXPECT_EQ(numberOf(copy), 42);
  release(copy);
}

TEST_F(CopyTest, DepthOfNestingDoesNotMatter) {
  const qel_value source = nested(100'000, string("deep"));
  const qel_value copy = qel_copy_data(source);
  release(source);
  qel_value inner = copy;
  while (inner.tag != QEL_STRING) inner = inner.tag == QEL_LIST ? elementOf(inner, 0) : slotOf(inner, 3).value;
  EXPECT_EQ(textOf(inner), "deep");
  release(copy);
}

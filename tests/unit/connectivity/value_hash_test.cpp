// The numbers were computed apart from this code, by the definition of MurmurHash64A. Tables are built with them in
// other modules, so none may ever change.
#include "connectivity/value_hash.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "tests/support/MapBuilder.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::data_t;
using product::hash;
using product::murmurHash64A;

constexpr std::uint64_t tableSeed = 0x243FCAF1;
constexpr std::uint64_t otherSeed = 7;
constexpr const char* customKey = "Cannot use custom values as a key";

// ---- bytes

struct BytesCase {
  std::size_t length;
  std::uint64_t withTableSeed, withSeed0, withHighestSeed;
};

void PrintTo(const BytesCase& each, std::ostream* out) {
  *out << each.length << " bytes";
}

class BytesHashTest : public testing::TestWithParam<BytesCase> {};

TEST_P(BytesHashTest, IsTheKnownNumber) {
  const std::string_view bytes = "abcdefghijklmnopqrstuvwxyz";
  EXPECT_EQ(murmurHash64A(bytes.data(), GetParam().length, tableSeed), GetParam().withTableSeed);
  EXPECT_EQ(murmurHash64A(bytes.data(), GetParam().length, 0), GetParam().withSeed0);
  EXPECT_EQ(murmurHash64A(bytes.data(), GetParam().length, ~std::uint64_t{0}), GetParam().withHighestSeed);
}

// No whole word, every tail, several words.
INSTANTIATE_TEST_SUITE_P(Lengths, BytesHashTest,
                         testing::Values(BytesCase{0, 0xE36925AE8296B197, 0x0000000000000000, 0xB0D9485C2CD761B2},
                                         BytesCase{1, 0x60455235038D56CB, 0x071717D2D36B6B11, 0x3434D0B6F5D67F81},
                                         BytesCase{2, 0x8DF5BCC268B54A56, 0x62BE85B2FE53D1F8, 0x59A8009B86B93BE4},
                                         BytesCase{3, 0x0E903061F4C485B4, 0x9CC9C33498A95EFB, 0xAE447C02EB702722},
                                         BytesCase{4, 0x52274DF429295339, 0xEC1044C45CC5097A, 0x8245C27A2B123886},
                                         BytesCase{5, 0x1447EED37266BDDD, 0x1182974836D6DBB7, 0x827900C7CB251AF1},
                                         BytesCase{6, 0x687CECF66FB07776, 0xB78E3425FC996779, 0xD62250E4FB5A9168},
                                         BytesCase{7, 0x4D429708E1539F28, 0x241AA52B0A62005D, 0xC2C0598D40332E59},
                                         BytesCase{8, 0x968BD476756E86B6, 0xAFDB0257FF41AA98, 0x271A7E3CD5778F54},
                                         BytesCase{9, 0x6B2E80D363A63268, 0xC9B9D84356146AC2, 0x96D516ECFB56DFBA},
                                         BytesCase{15, 0x98F23D2820514AE8, 0xFDAAC8A629DCD46A, 0xC69BB7C51A28328E},
                                         BytesCase{16, 0x40CD0423E42595B6, 0xD41A085973D213BA, 0x9D6BAEBC048F55F3},
                                         BytesCase{17, 0xD1577B4DE0D4F088, 0x0F996A806D240427, 0xFC300124D422EEC1},
                                         BytesCase{26, 0x5E505E001D168D7A, 0x6825D37A6F2A58D0, 0x620D73BF71AE9218}));

TEST(BytesHashTest, TakesBytesAbove127AsUnsigned) {
  EXPECT_EQ(murmurHash64A("\xFF\x80\x00\xFE", 4, tableSeed), 0x6DEA35FFAB0EA6A6u);
}

TEST(BytesHashTest, ReadsBytesAtAnyAddress) {
  const std::string_view bytes = "-abcdefghijklmnopq";
  EXPECT_EQ(murmurHash64A(bytes.data() + 1, 17, tableSeed), 0xD1577B4DE0D4F088u);
}

// ---- values, tag by tag

struct ValueCase {
  const char* name;
  std::function<data_t()> make;
  std::uint64_t withTableSeed, withOtherSeed;
};

void PrintTo(const ValueCase& each, std::ostream* out) {
  *out << each.name;
}

class ValueHashTest : public testing::TestWithParam<ValueCase> {};

TEST_P(ValueHashTest, IsTheKnownNumber) {
  const data_t value = GetParam().make();
  EXPECT_EQ(hash(value, tableSeed), GetParam().withTableSeed);
  EXPECT_EQ(hash(value, otherSeed), GetParam().withOtherSeed);
}

data_t json(const char* words) {
  return dataFromJson(words);
}
data_t doubleOfBits(std::uint64_t bits) {
  return std::bit_cast<double>(bits);
}

INSTANTIATE_TEST_SUITE_P(
    Seeded, ValueHashTest,
    testing::Values(
        ValueCase{"Empty", [] { return data_t(); }, tableSeed, otherSeed},
        ValueCase{"UnknownTag", [] { return withTag(11, 99); }, tableSeed, otherSeed},
        ValueCase{"True", [] { return data_t(true); }, tableSeed, otherSeed},
        ValueCase{"TrueOfAnotherByte", [] { return withTag(1, 0x40); }, tableSeed, otherSeed},
        ValueCase{"False", [] { return data_t(false); }, 0xFFFFFFFFDBC0350E, 0xFFFFFFFFFFFFFFF8},
        ValueCase{"FalseInTheLowestByte", [] { return withTag(1, 0x100); }, 0xFFFFFFFFDBC0350E, 0xFFFFFFFFFFFFFFF8},
        ValueCase{"One", [] { return data_t(1.0); }, 0x5F834417EDA1633B, 0x5F05A19C0E8866B2},
        ValueCase{"Fraction", [] { return data_t(-1.5); }, 0xA3E30962D0096C6C, 0x36ED877D4B6F1515},
        ValueCase{"SmallestDouble", [] { return data_t(5e-324); }, 0x47F9AF630B2E90D9, 0x8F44699B38E45DBB},
        ValueCase{"Infinity", [] { return data_t(std::numeric_limits<double>::infinity()); }, 0x9B983008D2C51351,
                  0xA9344BB8EFE8C172},
        ValueCase{"PositiveZero", [] { return data_t(0.0); }, 0xD3A7101D1B4EBC20, 0x336C492FEBAA7F0D},
        ValueCase{"NegativeZero", [] { return data_t(-0.0); }, 0xD3A7101D1B4EBC20, 0x336C492FEBAA7F0D},
        ValueCase{"Integer0", [] { return integer(0); }, 0xD3A7101D1B4EBC20, 0x336C492FEBAA7F0D},
        ValueCase{"Integer1", [] { return integer(1); }, 0x47F9AF630B2E90D9, 0x8F44699B38E45DBB},
        ValueCase{"IntegerMinus1", [] { return integer(-1); }, 0x099C106FDB5F42E2, 0xF45FAC9B781BBB97},
        ValueCase{"Integer42", [] { return integer(42); }, 0xA9053146CB5F81D3, 0x1299F151844A5200},
        ValueCase{"HighestInteger", [] { return integer(INT64_MAX); }, 0x1202FA480D67EA60, 0x063253BFD11E85E6},
        ValueCase{"LowestInteger", [] { return integer(INT64_MIN); }, 0x06CC54986EDB0700, 0xA07C57B7DE3B179F},
        ValueCase{"Decimal", [] { return decimal(12); }, 0xC84EE8800112F8C5, 0x9A1EE6B344536839}),
    NameOfCase());

// Strings and containers pay no heed to the seed.
INSTANTIATE_TEST_SUITE_P(
    Unseeded, ValueHashTest,
    testing::Values(
        ValueCase{"String", [] { return text("a"); }, 0xAF63DC4C8601EC8C, 0xAF63DC4C8601EC8C},
        ValueCase{"EmptyString", [] { return text(""); }, 0xCBF29CE484222325, 0xCBF29CE484222325},
        ValueCase{"BorrowedString", [] { return borrowed("a"); }, 0xAF63DC4C8601EC8C, 0xAF63DC4C8601EC8C},
        ValueCase{"EmptyList", [] { return json("[]"); }, tableSeed, tableSeed},
        ValueCase{"ListWithoutBlock", [] { return withoutBlockOf(QEL_LIST); }, tableSeed, tableSeed},
        ValueCase{"ListOfOne", [] { return json("[1]"); }, 0x47F9AF630B2E90D9, 0x47F9AF630B2E90D9},
        ValueCase{"List12", [] { return json("[1, 2]"); }, 0xC6016C126B1A0FBF, 0xC6016C126B1A0FBF},
        ValueCase{"List21", [] { return json("[2, 1]"); }, 0xE8A1565FD4B2645E, 0xE8A1565FD4B2645E},
        ValueCase{"MixedList", [] { return json("[1, false, null, 2.5]"); }, 0x5A810E11D8BD71E1, 0x5A810E11D8BD71E1},
        ValueCase{"ListOfLists", [] { return json("[[], [1]]"); }, 0x47F9AF630B2E90D9, 0x47F9AF630B2E90D9},
        ValueCase{"ListOfString", [] { return json(R"(["a"])"); }, 0xAF63DC4C8601EC8C, 0xAF63DC4C8601EC8C},
        ValueCase{"ListAfterAString", [] { return json(R"(["a", 1])"); }, 0x7712B7B6CE8BCE28, 0x7712B7B6CE8BCE28},
        ValueCase{"EmptyMap", [] { return json("{}"); }, tableSeed, tableSeed},
        ValueCase{"MapWithoutBlock", [] { return withoutBlockOf(QEL_MAP); }, tableSeed, tableSeed},
        ValueCase{"Map", [] { return json(R"({"a": "b"})"); }, 0x5EC7BB993043A922, 0x5EC7BB993043A922},
        ValueCase{"Buffer",
                  [] {
                    return buffer({"\x00\xFF\x10", 3});
                  },
                  0x662734D4635881FE, 0x662734D4635881FE},
        ValueCase{"EmptyBuffer", [] { return buffer(""); }, 0xE36925AE8296B197, 0xE36925AE8296B197},
        ValueCase{"BufferWithoutBlock", [] { return withoutBlockOf(QEL_BUFFER); }, 0xE36925AE8296B197,
                  0xE36925AE8296B197},
        ValueCase{"ListOfBuffer", [] { return listOf(buffer("abcdefghi")); }, 0x6B2E80D363A63268, 0x6B2E80D363A63268}),
    NameOfCase());

TEST(ValueHashTest, TakesANanByItsBits) {
  EXPECT_EQ(hash(doubleOfBits(0x7FF8000000000000), tableSeed), 0xA2C060FEFC64CF53u);
  EXPECT_EQ(hash(doubleOfBits(0x7FF8000000000001), tableSeed), 0xCC18CEE45A03E9FAu);
}

TEST(ValueHashTest, AddsTheEntriesOfAMapUp) {
  product::map_t map;
  map[integer(1)] = std::int64_t{2};
  map[integer(3)] = std::int64_t{4};
  EXPECT_EQ(hash(data_t(std::move(map)), tableSeed), 0xAD45BDA22A9BE8D8u);
  product::map_t other;
  other[integer(1)] = listOf(integer(1), integer(2));
  other[data_t(2.5)] = data_t();
  EXPECT_EQ(hash(data_t(std::move(other)), otherSeed), 0xC61A101AEB51EDB7u);
}

TEST(ValueHashTest, IsTheSameInAnySlotOrder) {
  const auto inOrder = [](std::initializer_list<int> numbers) {
    MapBuilder builder(8);
    for (const int number : numbers) builder.putHashed(3, integerValue(number), integerValue(number * 10));
    return data_t::adopt(builder.build());
  };
  EXPECT_EQ(hash(inOrder({1, 2, 3}), tableSeed), hash(inOrder({3, 1, 2}), tableSeed));
}

TEST(ValueHashTest, PaysNoHeedToTombstonesAndNames) {
  data_t plain = json(R"({"a": 1})"), named = json(R"({"$name": "n", "$map": {"a": 1, "b": 2}})");
  named.get<product::map_t>().erase(data_t("b"));
  EXPECT_EQ(hash(plain, tableSeed), hash(named, tableSeed));
}

TEST(ValueHashTest, OfAStringIsTheHosts) {
  TestHost::useHash([](std::string_view words) { return std::uint64_t{words.size()}; });
  EXPECT_EQ(hash(text("four"), tableSeed), 4u);
  EXPECT_EQ(hash(borrowed("seven"), otherSeed), 5u);
}

TEST(ValueHashTest, RefusesCustomValuesHoweverDeep) {
  EXPECT_EQ(failureOf([] { return hash(custom(), tableSeed); }), customKey);
  EXPECT_EQ(failureOf([] { return hash(withoutBlockOf(QEL_CUSTOM), tableSeed); }), customKey);
  EXPECT_EQ(failureOf([] { return hash(listOf(integer(1), custom()), tableSeed); }), customKey);
  EXPECT_EQ(failureOf([] { return hash(json(R"({"a": [{"$custom": 1}]})"), tableSeed); }), customKey);
  const data_t keyed = data_t::adopt(MapBuilder(8).putHashed(5, customValue(1), integerValue(1)).build());
  EXPECT_EQ(failureOf([&] { return hash(keyed, tableSeed); }), customKey);
}

}  // namespace
}  // namespace tests

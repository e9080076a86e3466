// The blocks as neighbours see them: written byte by byte here and read by the classes, and the other way round.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

#include "connectivity/AbstractCodec.h"
#include "connectivity/Message.h"
#include "connectivity/data_t.h"
#include "connectivity/remote_sides.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::buffer_t;
using product::custom_t;
using product::data_t;
using product::list_t;
using product::map_t;
using product::Message;

/// Memory that a neighbour fills field by field. Reserved fields and unused room hold garbage.
template <std::size_t size>
class Bytes {
 public:
  Bytes() { bytes.fill(std::byte{0xA5}); }

  Bytes& clear() {
    bytes.fill(std::byte{0});
    return *this;
  }
  Bytes& word(std::size_t offset, std::uint64_t value) {
    std::memcpy(&bytes.at(offset), &value, 8);
    return *this;
  }
  Bytes& half(std::size_t offset, std::uint32_t value) {
    std::memcpy(&bytes.at(offset), &value, 4);
    return *this;
  }
  Bytes& byte(std::size_t offset, unsigned value) {
    bytes.at(offset) = static_cast<std::byte>(value);
    return *this;
  }
  std::uint64_t address() const { return reinterpret_cast<std::uint64_t>(bytes.data()); }

  /// What lies at the offset, owned by nobody.
  template <class T>
  const T& as(std::size_t offset = 0) const {
    return *std::launder(reinterpret_cast<const T*>(bytes.data() + offset));
  }

 private:
  alignas(8) std::array<std::byte, size> bytes;
};

std::uint64_t wordAt(const void* block, std::size_t offset) {
  std::uint64_t word;
  std::memcpy(&word, static_cast<const char*>(block) + offset, 8);
  return word;
}

std::uint32_t halfAt(const void* block, std::size_t offset) {
  std::uint32_t half;
  std::memcpy(&half, static_cast<const char*>(block) + offset, 4);
  return half;
}

std::uint64_t addressOf(const void* place) {
  return reinterpret_cast<std::uint64_t>(place);
}

static_assert(sizeof(data_t) == 16 && alignof(data_t) == 8);
static_assert(sizeof(list_t) == 8 && sizeof(map_t) == 8 && sizeof(buffer_t) == 8 && sizeof(custom_t) == 8);
static_assert(sizeof(Message) == 24 && alignof(Message) == 8);
static_assert(sizeof(map_t::iterator) == 5 * 8 && sizeof(list_t::iterator) == 3 * 8);

template <class... T>
constexpr bool noneIsPolymorphic = (!std::is_polymorphic_v<T> && ...);
static_assert(noneIsPolymorphic<data_t, list_t, map_t, buffer_t, custom_t, Message>);

template <class... T>
constexpr bool noneIsCopyable = ((!std::is_copy_constructible_v<T> && !std::is_copy_assignable_v<T>)&&...);
static_assert(noneIsCopyable<data_t, list_t, map_t, buffer_t, custom_t, Message>);

template <class... T>
constexpr bool allMove = ((std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T>)&&...);
static_assert(allMove<data_t, list_t, map_t>);
static_assert(std::is_move_constructible_v<Message> && std::is_move_assignable_v<Message>);

TEST(LayoutTest, ValueIsReadFromPayloadAndTag) {
  Bytes<16> bytes;
  bytes.word(0, 0xFFFFFFFFFFFFFFF9).half(8, 3);
  EXPECT_EQ(bytes.as<data_t>().get<std::int64_t>(), -7);
}

TEST(LayoutTest, ReservedFieldOfAValueIsNotRead) {
  Bytes<16> one, other;
  one.word(0, 5).half(8, 3).half(12, 1);
  other.word(0, 5).half(8, 3).half(12, 2);
  EXPECT_TRUE(one.as<data_t>() == other.as<data_t>());
}

TEST(LayoutTest, BooleanIsTheLowestByteOfThePayload) {
  Bytes<16> bytes;
  bytes.word(0, 0xFFFFFFFFFFFFFF00).half(8, 1);
  EXPECT_FALSE(bytes.as<data_t>().get<bool>());
  bytes.word(0, 0x80);
  EXPECT_TRUE(bytes.as<data_t>().get<bool>());
}

TEST(LayoutTest, ValueMadeHereHasPayloadAndTagInPlace) {
  const data_t number(0.5);
  EXPECT_EQ(wordAt(&number, 0), 0x3FE0000000000000u);
  EXPECT_EQ(halfAt(&number, 8), 2u);
  const data_t words("words");
  EXPECT_STREQ(reinterpret_cast<const char*>(wordAt(&words, 0)), "words");
  EXPECT_EQ(halfAt(&words, 8), 5u);
}

TEST(LayoutTest, EmptyValueMadeHereHasAPayloadOfZero) {
  alignas(data_t) unsigned char place[sizeof(data_t)];
  std::memset(place, 0xA5, sizeof place);
  const data_t* value = new (place) data_t();
  EXPECT_EQ(wordAt(value, 0), 0u);
  EXPECT_EQ(halfAt(value, 8), 0u);
}

TEST(LayoutTest, ListIsReadFromItsBlock) {
  Bytes<16 + 3 * 16> block;
  block.word(0, 2).word(8, 3);
  block.word(16, 10).half(16 + 8, 3);
  block.word(32, 20).half(32 + 8, 3);
  Bytes<16> value;
  value.word(0, block.address()).half(8, 6);
  const list_t& list = value.as<data_t>().get<list_t>();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].get<std::int64_t>(), 10);
  EXPECT_EQ(list[1].get<std::int64_t>(), 20);
}

TEST(LayoutTest, ListMadeHereLiesInItsBlockAsTold) {
  data_t value = listOf(integer(10), integer(20), integer(30));
  const auto* block = reinterpret_cast<const void*>(value.bits());
  EXPECT_EQ(wordAt(block, 0), 3u);
  EXPECT_EQ(wordAt(block, 8), 4u);
  EXPECT_EQ(wordAt(block, 16 + 2 * 16), 30u);
  EXPECT_EQ(halfAt(block, 16 + 2 * 16 + 8), 3u);
}

TEST(LayoutTest, MapIsReadFromItsBlock) {
  Bytes<32 + 8 * 40> block;
  block.clear().word(0, addressOf("name")).word(8, 1).word(16, 8).word(24, 0);
  const std::uint64_t hash = qel_hash_string("key");
  const std::size_t slot = 32 + 40 * (hash % 8);
  block.word(slot, hash);
  block.word(slot + 8, addressOf("key")).half(slot + 16, 5);
  block.word(slot + 24, 42).half(slot + 32, 3);
  Bytes<16> value;
  value.word(0, block.address()).half(8, 7);
  const map_t& map = value.as<data_t>().get<map_t>();
  EXPECT_STREQ(map.name(), "name");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at("key").get<std::int64_t>(), 42);
}

TEST(LayoutTest, MapMadeHereLiesInItsBlockAsTold) {
  map_t map(8, "name");
  map.insert("key", integer(42));
  map.insert("other", integer(43));
  map.erase(data_t("other"));
  const void* block = map.header();
  EXPECT_STREQ(reinterpret_cast<const char*>(wordAt(block, 0)), "name");
  EXPECT_EQ(wordAt(block, 8), 1u);
  EXPECT_EQ(wordAt(block, 16), 8u);
  EXPECT_EQ(wordAt(block, 24), 1u);
  const std::uint64_t hash = qel_hash_string("key");
  const std::size_t slot = 32 + 40 * (hash % 8);
  EXPECT_EQ(wordAt(block, slot), hash);
  EXPECT_STREQ(reinterpret_cast<const char*>(wordAt(block, slot + 8)), "key");
  EXPECT_EQ(halfAt(block, slot + 16), 5u);
  EXPECT_EQ(wordAt(block, slot + 24), 42u);
  EXPECT_EQ(halfAt(block, slot + 32), 3u);
}

TEST(LayoutTest, BufferIsReadFromItsBlock) {
  Bytes<11> block;
  block.word(0, 2).byte(8, 0x0A).byte(9, 0xFF);
  Bytes<16> value;
  value.word(0, block.address()).half(8, 8);
  const buffer_t& buffer = value.as<data_t>().get<buffer_t>();
  ASSERT_EQ(buffer.size(), 2u);
  EXPECT_EQ(buffer.begin()[0], 0x0A);
  EXPECT_EQ(buffer.begin()[1], 0xFF);
  EXPECT_EQ(buffer.end() - buffer.begin(), 2);
}

TEST(LayoutTest, ContainersAreThePayloadWordItself) {
  data_t list{list_t()}, map{map_t()}, bytes = buffer("x");
  EXPECT_EQ(addressOf(&list.get<list_t>()), addressOf(&list));
  EXPECT_EQ(addressOf(&map.get<map_t>()), addressOf(&map));
  EXPECT_EQ(addressOf(&bytes.get<buffer_t>()), addressOf(&bytes));
}

TEST(LayoutTest, MessageIsReadFromPayloadAndMetadata) {
  Bytes<32 + 8 * 40> block;
  block.clear().word(16, 8);
  Bytes<24> bytes;
  bytes.word(0, 7).half(8, 3).word(16, block.address());
  const Message& message = bytes.as<Message>();
  EXPECT_EQ(message.getPayload().get<std::int64_t>(), 7);
  EXPECT_EQ(addressOf(message.getMetadataMap().header()), block.address());
}

TEST(LayoutTest, BatchHasAStrideOf24) {
  Bytes<3 * 24> bytes;
  bytes.clear();
  for (std::size_t index = 0; index < 3; ++index) bytes.word(24 * index, 100 + index).half(24 * index + 8, 3);
  const Message* begin = &bytes.as<Message>();
  EXPECT_EQ(begin[2].getPayload().get<std::int64_t>(), 102);
  EXPECT_EQ(addressOf(begin + 1), addressOf(begin) + 24);
}

// A pointer to a virtual operation holds the offset of its slot, plus one. Two destructors stand before slot 2.
template <class Pointer>
std::uint64_t slotOf(Pointer operation) {
  return (wordAt(&operation, 0) - 1) / 8;
}

TEST(LayoutTest, VirtualOperationsHaveTheirSlots) {
  EXPECT_EQ(slotOf(&product::Plugin::start), 2u);
  EXPECT_EQ(slotOf(&product::Plugin::hostReady), 3u);
  EXPECT_EQ(slotOf(&product::Plugin::shutdown), 4u);
  EXPECT_EQ(slotOf(&product::AbstractCodec::setNextTowardsHost), 5u);
  EXPECT_EQ(slotOf(&product::AbstractCodec::setNextTowardsTransport), 6u);
  EXPECT_EQ(slotOf(&product::HostSide::sendBatchTowardsHost), 2u);
  EXPECT_EQ(slotOf(&product::TransportSide::sendBatchTowardsTransport), 2u);
}

TEST(LayoutTest, RemoteSidesHoldTheNeighbourAndItsFunction) {
  const auto send = [](void*, Message*, Message*) { return 0; };
  int neighbour = 0;
  const product::RemoteHostSide host(&neighbour, send);
  const product::RemoteTransportSide transport(&neighbour, send);
  static_assert(sizeof host == 24 && sizeof transport == 24);
  const qel_send_function function = send;
  for (const void* side : {static_cast<const void*>(&host), static_cast<const void*>(&transport)}) {
    EXPECT_EQ(wordAt(side, 8), addressOf(&neighbour));
    EXPECT_EQ(wordAt(side, 16), reinterpret_cast<std::uint64_t>(function));
  }
}

}  // namespace
}  // namespace tests

// Values built by hand, as a host builds them, and looked at without the value classes.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

#include "connectivity/host_abi.h"

namespace values {

qel_value empty();
qel_value boolean(bool flag);
qel_value number(double number);
qel_value integer(std::int64_t number);
qel_value string(const char* text);
qel_value borrowed(const char* text);
qel_value custom(int number);

/// A list that takes over the elements.
qel_value list(std::initializer_list<qel_value> elements);

/// A value inside `depth` containers, by turns a list of one element and a map of one entry.
qel_value nested(std::uint64_t depth, qel_value innermost);

/// A map with free slots only.
qel_value map(std::uint64_t capacity, const char* name = nullptr);

/// Fills a slot, or leaves a tombstone in it, whatever the probing rule would say.
void occupy(const qel_value& map, std::uint64_t slot, std::uint64_t hash, qel_value key, qel_value value);
void entomb(const qel_value& map, std::uint64_t slot);

list_header* listOf(const qel_value& value);
map_header* mapOf(const qel_value& value);
buffer_header* bufferOf(const qel_value& value);
qel_value& elementOf(const qel_value& list, std::uint64_t index);
map_slot& slotOf(const qel_value& map, std::uint64_t index);
std::string textOf(const qel_value& string);
std::string bytesOf(const qel_value& buffer);
int numberOf(const qel_value& custom);

/// Frees the value by its tag.
void release(const qel_value& value);

/// Custom objects of this file that live.
int liveCustomObjects();

}  // namespace values

/* The border seen from C: both headers compile as C11, and a walk through the host's value operations works. */
#include <stdio.h>
#include <string.h>

#include "connectivity/host_abi.h"
#include "connectivity/plugin_abi.h"

static int failures = 0;

static void expect(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "not so: %s\n", what);
  ++failures;
}

static qel_value stringValue(const char* text) {
  const qel_value value = {(uint64_t)(uintptr_t)qel_copy_string(text), QEL_STRING, 0};
  return value;
}

static const char* textIn(qel_value value) {
  return (const char*)(uintptr_t)value.payload;
}

static void fillsAndFreesAMap(void) {
  map_header* map = qel_allocate_map(8);
  map_slot* slots = (map_slot*)(map + 1);
  const uint64_t hash = qel_hash_string("key");
  slots[hash % 8].hash = hash;
  slots[hash % 8].key = stringValue("key");
  slots[hash % 8].value = stringValue("value");
  map->count = 1;

  map = qel_reallocate_map(map, 16);
  slots = (map_slot*)(map + 1);
  expect(map->capacity == 16, "a rebuilt map has the capacity asked for");
  expect(slots[hash % 16].hash == hash, "a rebuilt map keeps the stored hash");
  expect(strcmp(textIn(slots[hash % 16].value), "value") == 0, "a rebuilt map keeps its values");
  qel_free_map(map);
}

static void fillsAndFreesAList(void) {
  list_header* list = qel_allocate_vector(2);
  qel_value* elements = (qel_value*)(list + 1);
  elements[0] = stringValue("first");
  list->count = 1;
  list = qel_reallocate_vector(list, 4);
  elements = (qel_value*)(list + 1);
  expect(list->capacity == 4 && list->count == 1, "a resized list keeps its count");
  expect(strcmp(textIn(elements[0]), "first") == 0, "a resized list keeps its elements");
  qel_free_vector(list);
}

static void copiesAValueByValue(void) {
  const qel_value original = stringValue("text");
  const qel_value copy = qel_copy_data(original);
  expect(copy.tag == QEL_STRING && copy.payload != original.payload, "a copy has a block of its own");
  expect(strcmp(textIn(copy), "text") == 0, "a copy has the same text");
  qel_free_string((char*)(uintptr_t)original.payload);
  qel_free_string((char*)(uintptr_t)copy.payload);
}

int main(void) {
  expect(sizeof(qel_message) == 24, "a message has 24 bytes");
  fillsAndFreesAMap();
  fillsAndFreesAList();
  copiesAValueByValue();
  return failures == 0 ? 0 : 1;
}

/* The C border between the host, its plug-ins and their neighbours: every block layout that they share and every
 * C function that the host supplies. Compiles as C11 and as C++.
 *
 * A value crosses the border as a trivially copyable 16-byte struct, by value. Blocks are a wire format: what one
 * module builds, another reads and frees. All integers are little-endian, pointers are 64 bits wide.
 *
 * Every host function may be called from any thread. None is expected to fail unless said so;
 * none should throw, and a plug-in survives one that does.
 */
#ifndef CONNECTIVITY_HOST_ABI_H
#define CONNECTIVITY_HOST_ABI_H

#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus)
#define HOST_ABI_STATIC_ASSERT(condition) static_assert(condition, #condition)
#else
#define HOST_ABI_STATIC_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/* The host's symbols stay undefined in a plug-in and are bound when it is loaded, whatever the plug-in's own
 * visibility is. */
#define HOST_SYMBOL __attribute__((visibility("default")))

#if defined(__cplusplus)
extern "C" {
#endif

/* ---- layouts ---- */

/* What `payload` holds is told by `tag`. Tag 10 borrows its string: it reads like tag 5 and owns nothing. */
enum qel_tag {
  QEL_EMPTY = 0,           /* nothing */
  QEL_BOOLEAN = 1,         /* lowest byte: 0 false, otherwise true */
  QEL_DOUBLE = 2,          /* IEEE 754 binary64 bits */
  QEL_INTEGER = 3,         /* signed 64-bit */
  QEL_DECIMAL = 4,         /* the 8 bytes of a decimal64 */
  QEL_STRING = 5,          /* owned, NUL-terminated, UTF-8; freed with qel_free_string */
  QEL_LIST = 6,            /* list_header* or null; freed with qel_free_vector */
  QEL_MAP = 7,             /* map_header* or null; freed with qel_free_map */
  QEL_BUFFER = 8,          /* buffer_header* or null; freed with qel_free_buffer */
  QEL_CUSTOM = 9,          /* opaque pointer; freed with qel_free_custom */
  QEL_BORROWED_STRING = 10 /* NUL-terminated, UTF-8, owned by somebody else */
};

/*   0        8     12     16
 *   +--------+-----+------+
 *   |payload | tag | rsvd |
 *   +--------+-----+------+   */
typedef struct qel_value {
  uint64_t payload;
  uint32_t tag;
  uint32_t reserved; /* no meaning: neither compared nor read */
} qel_value;
HOST_ABI_STATIC_ASSERT(sizeof(qel_value) == 16);
HOST_ABI_STATIC_ASSERT(offsetof(qel_value, tag) == 8);
HOST_ABI_STATIC_ASSERT(offsetof(qel_value, reserved) == 12);

/*   0       8          16
 *   +-------+----------+-------------------------+
 *   | count | capacity | capacity elements of 16 |   only the first `count` are live
 *   +-------+----------+-------------------------+   */
typedef struct list_header {
  uint64_t count;
  uint64_t capacity;
} list_header;
HOST_ABI_STATIC_ASSERT(sizeof(list_header) == 16);

/*   0      8       16         24           32
 *   +------+-------+----------+------------+----------------------+
 *   | name | count | capacity | tombstones | capacity slots of 40 |
 *   +------+-------+----------+------------+----------------------+   */
typedef struct map_header {
  char* name;          /* owned, or null */
  uint64_t count;      /* live entries */
  uint64_t capacity;   /* slots */
  uint64_t tombstones; /* slots freed by erasure since the table was last rebuilt; a reused one still counts */
} map_header;
HOST_ABI_STATIC_ASSERT(sizeof(map_header) == 32);
HOST_ABI_STATIC_ASSERT(offsetof(map_header, count) == 8);
HOST_ABI_STATIC_ASSERT(offsetof(map_header, capacity) == 16);
HOST_ABI_STATIC_ASSERT(offsetof(map_header, tombstones) == 24);

/*   0      8     24      40
 *   +------+-----+-------+
 *   | hash | key | value |   free: hash 0, key empty. Tombstone: hash 1, key empty, value empty.
 *   +------+-----+-------+   Occupied: anything else; a hash of 0 or 1 beside a key is a hash like any other.   */
typedef struct map_slot {
  uint64_t hash;
  qel_value key;
  qel_value value;
} map_slot;
HOST_ABI_STATIC_ASSERT(sizeof(map_slot) == 40);
HOST_ABI_STATIC_ASSERT(offsetof(map_slot, key) == 8);
HOST_ABI_STATIC_ASSERT(offsetof(map_slot, value) == 24);

/* `length` raw bytes follow at offset 8. */
typedef struct buffer_header {
  uint64_t length;
} buffer_header;
HOST_ABI_STATIC_ASSERT(sizeof(buffer_header) == 8);

/* ---- host implements: values (kvclient) ---- */

/* A new owned copy of `text`, never null. The caller releases it with qel_free_string. `text` is never null. */
HOST_SYMBOL char* qel_copy_string(const char* text);

/* A deep copy of any value, host-built maps included: new independent blocks, with elements, keys, values, names and
 * stored hashes all copied. Tags 0 to 4 copy as they are; a borrowed string may stay borrowed. The caller owns the
 * result; `value` stays the caller's. */
HOST_SYMBOL qel_value qel_copy_data(qel_value value);

/* A block of `capacity` (8 or more) free slots, zeroed: no entries, no tombstones, no name. Never null. */
HOST_SYMBOL map_header* qel_allocate_map(uint64_t capacity);

/* Rebuilds the table with `capacity` slots, which may be the present number or fewer, and gives the new block; the old
 * pointer is dead. Each occupied slot moves with its stored hash to the first free slot from hash modulo capacity on.
 * `tombstones` becomes 0; `name` and `count` stay. */
HOST_SYMBOL map_header* qel_reallocate_map(map_header* block, uint64_t capacity);

/* Frees the name, every occupied slot's key and value, and the block. Null does nothing. */
HOST_SYMBOL void qel_free_map(map_header* block);

/* A block with room for `capacity` (2 or more) elements and a count of 0. Never null. */
HOST_SYMBOL list_header* qel_allocate_vector(uint64_t capacity);

/* Resizes the block, keeping `count` and the live elements' bytes; its `capacity` field holds the new capacity. The old
 * pointer is dead. */
HOST_SYMBOL list_header* qel_reallocate_vector(list_header* block, uint64_t capacity);

/* Frees every live element, then the block. Null does nothing. */
HOST_SYMBOL void qel_free_vector(list_header* block);

/* Frees a string made by qel_copy_string or qel_copy_data. */
HOST_SYMBOL void qel_free_string(char* text);

/* Frees the block. Null does nothing. */
HOST_SYMBOL void qel_free_buffer(buffer_header* block);

/* Releases a host object. Null does nothing. */
HOST_SYMBOL void qel_free_custom(void* object);

/* A hash of the bytes up to the NUL: a pure function, the same in host and plug-ins, since a table built on one side is
 * searched on the other. */
HOST_SYMBOL uint64_t qel_hash_string(const char* text);

/* ---- host implements: logging and status (kvclient) ---- */

/* The verbosity in force for a category: 2 error, 3 warn, 4 info, 5 debug; larger is more verbose. */
HOST_SYMBOL int32_t qel_get_log_level(const char* category);

/* Writes one line under the category at the level, formatted as printf does. Formats use %s %d %f %li %lu and the
 * 64-bit conversions %I64d and %I64u. The arguments are read during the call only. */
HOST_SYMBOL void qel_log_at(const char* category, int32_t level, const char* format, ...);

/* Creates a status item and gives its handle; null when that isn't possible, for instance if the key is in use. The
 * texts are copied. `reporter` is the handle given to the plug-in's create entry point. */
HOST_SYMBOL void* qel_create_user_status_item(void* reporter, const char* key, const char* value);

/* Publishes a new value; the text is copied. */
HOST_SYMBOL void qel_set_user_status_item(void* item, const char* value);

/* Removes the item; the handle is dead. */
HOST_SYMBOL void qel_delete_user_status_item(void* reporter, void* item);

/* Publishes all entries of the map, which stays the caller's. */
HOST_SYMBOL void qel_set_user_status_map(void* reporter, map_header* map);

/* ---- host implements: memory (kvcommon) ---- */

/* A UTF-8 copy of a NUL-terminated UTF-16 string, which the caller frees with free(). */
HOST_SYMBOL char* kv_getUTF8(const uint16_t* text);

/* A block that the caller frees with free(); null when memory is exhausted. */
HOST_SYMBOL void* kv_malloc(uint64_t size);

#if defined(__cplusplus)
} /* extern "C" */
#endif

#endif

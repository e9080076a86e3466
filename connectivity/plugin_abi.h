/* The C border that a plug-in implements: eleven entry points, each named qel_<operation>_<class name>. The host looks
 * them up by name and from then on holds one opaque object pointer. Compiles as C11 and as C++.
 *
 * Integer results are 0 for success and 1 for failure. No exception crosses an entry point. Given a null object, all
 * but destroy answer 1.
 *
 * Order of calls: create; both setNext calls; start; hostReady; any number of sends in either direction; shutdown;
 * destroy. A send towards the host and one towards the transport may run at the same time, each on a thread of its
 * own; otherwise one call at a time.
 */
#ifndef CONNECTIVITY_PLUGIN_ABI_H
#define CONNECTIVITY_PLUGIN_ABI_H

#include "connectivity/host_abi.h"

/* Marks an entry point: visible although everything else of a plug-in is hidden. */
#define QEL_PLUGIN_EXPORT __attribute__((visibility("default")))

#define QEL_PLUGIN_API_VERSION 4u
#define QEL_PLUGIN_PRODUCT_VERSION "10.15.4.1"

#if defined(__cplusplus)
namespace com::tallowmere::connectivity10_15_4 {
class Message;
}
typedef com::tallowmere::connectivity10_15_4::Message qel_message;
extern "C" {
#else
/* 24 bytes: the payload, then the metadata map's block or null. */
typedef struct qel_message {
  qel_value payload;
  map_header* metadata;
} qel_message;
HOST_ABI_STATIC_ASSERT(sizeof(qel_message) == 24);
#endif

/* Hands the batch [begin, end) to a chain element. The callee may move the contents out; the caller uses the messages
 * no more than to destroy them. A null `begin` is an empty batch. */
typedef int (*qel_send_function)(void* plugin, qel_message* begin, qel_message* end);

/* The version of this border, QEL_PLUGIN_API_VERSION. */
typedef uint32_t (*qel_plugin_api_version_function)(void);

/* The product's version, a constant. */
typedef const char* (*qel_plugin_product_version_function)(void);

/* Creates the plug-in; null on failure, after a line in the log. `configuration` must hold a map and stays the
 * caller's, as do the two names. The handles must outlive the object. */
typedef void* (*qel_create_plugin_function)(const char* pluginName, const char* chainId, qel_value configuration,
                                            void* statusReporterHandle, void* chainHandle);

/* Destroys the plug-in, or does nothing with null. Requests still in flight are finished on the calling thread. */
typedef int (*qel_destroy_plugin_function)(void* plugin);

/* start, hostReady and shutdown. */
typedef int (*qel_plugin_lifecycle_function)(void* plugin);

/* Tells the plug-in its neighbour: `next` is passed to `send` as it is. An earlier neighbour on that side is
 * forgotten. */
typedef int (*qel_plugin_set_next_function)(void* plugin, void* next, qel_send_function send);

#if defined(__cplusplus)
} /* extern "C" */
#endif

#endif

/* A plug-in in plain C that passes every batch on as it is. Compiled with one of the definitions below it breaks in one
 * way, for tests of those who load plug-ins:
 *   WITHOUT_START   the entry point `start` is missing
 *   API_VERSION=n   it answers another version of the border
 *   CREATE_FAILS    it logs why and refuses to be created */
#include "connectivity/plugin_abi.h"

#ifndef API_VERSION
#define API_VERSION QEL_PLUGIN_API_VERSION
#endif

struct neighbour {
  void* element;
  qel_send_function send;
};

struct plugin {
  int inUse;
  struct neighbour host;
  struct neighbour transport;
};

static struct plugin theOnly;

QEL_PLUGIN_EXPORT uint32_t qel_plugin_api_version_MarlovanceCodec(void);
uint32_t qel_plugin_api_version_MarlovanceCodec(void) {
  return API_VERSION;
}

QEL_PLUGIN_EXPORT const char* qel_plugin_product_version_MarlovanceCodec(void);
const char* qel_plugin_product_version_MarlovanceCodec(void) {
  return QEL_PLUGIN_PRODUCT_VERSION;
}

QEL_PLUGIN_EXPORT void* qel_create_plugin_with_params_MarlovanceCodec(const char* pluginName, const char* chainId,
                                                                      qel_value configuration,
                                                                      void* statusReporterHandle, void* chainHandle);
void* qel_create_plugin_with_params_MarlovanceCodec(const char* pluginName, const char* chainId,
                                                    qel_value configuration, void* statusReporterHandle,
                                                    void* chainHandle) {
  (void)pluginName, (void)chainId, (void)statusReporterHandle, (void)chainHandle;
#ifdef CREATE_FAILS
  qel_log_at("connectivity.MarlovanceCodec", 2, "%s", "This plug-in always refuses to be created");
  return NULL;
#endif
  if (configuration.tag != QEL_MAP || theOnly.inUse) return NULL;
  theOnly.inUse = 1;
  return &theOnly;
}

QEL_PLUGIN_EXPORT int qel_destroy_plugin_MarlovanceCodec(void* object);
int qel_destroy_plugin_MarlovanceCodec(void* object) {
  if (object) ((struct plugin*)object)->inUse = 0;
  return 0;
}

#ifndef WITHOUT_START
QEL_PLUGIN_EXPORT int qel_plugin_start_MarlovanceCodec(void* object);
int qel_plugin_start_MarlovanceCodec(void* object) {
  return object ? 0 : 1;
}
#endif

QEL_PLUGIN_EXPORT int qel_plugin_hostReady_MarlovanceCodec(void* object);
int qel_plugin_hostReady_MarlovanceCodec(void* object) {
  return object ? 0 : 1;
}

QEL_PLUGIN_EXPORT int qel_plugin_shutdown_MarlovanceCodec(void* object);
int qel_plugin_shutdown_MarlovanceCodec(void* object) {
  return object ? 0 : 1;
}

static int setNext(struct neighbour* side, void* next, qel_send_function send) {
  side->element = next;
  side->send = send;
  return 0;
}

QEL_PLUGIN_EXPORT int qel_plugin_setNextTowardsHost_MarlovanceCodec(void* object, void* next, qel_send_function send);
int qel_plugin_setNextTowardsHost_MarlovanceCodec(void* object, void* next, qel_send_function send) {
  return object ? setNext(&((struct plugin*)object)->host, next, send) : 1;
}

QEL_PLUGIN_EXPORT int qel_plugin_setNextTowardsTransport_MarlovanceCodec(void* object, void* next,
                                                                         qel_send_function send);
int qel_plugin_setNextTowardsTransport_MarlovanceCodec(void* object, void* next, qel_send_function send) {
  return object ? setNext(&((struct plugin*)object)->transport, next, send) : 1;
}

static int passOn(const struct neighbour* side, qel_message* begin, qel_message* end) {
  return side->send ? side->send(side->element, begin, end) : 1;
}

QEL_PLUGIN_EXPORT int qel_plugin_sendBatchTowardsHost_MarlovanceCodec(void* object, qel_message* begin,
                                                                      qel_message* end);
int qel_plugin_sendBatchTowardsHost_MarlovanceCodec(void* object, qel_message* begin, qel_message* end) {
  return object ? passOn(&((struct plugin*)object)->host, begin, end) : 1;
}

QEL_PLUGIN_EXPORT int qel_plugin_sendBatchTowardsTransport_MarlovanceCodec(void* object, qel_message* begin,
                                                                           qel_message* end);
int qel_plugin_sendBatchTowardsTransport_MarlovanceCodec(void* object, qel_message* begin, qel_message* end) {
  return object ? passOn(&((struct plugin*)object)->transport, begin, end) : 1;
}

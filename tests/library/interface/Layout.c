/* The binary interface, number by number: programs that were built with an earlier header go on working with
 * a later library, so what is released never changes. A line here may be added, when a function or a value
 * is; but none may be changed, except the size of a structure that grew at its end.
 *
 * Compiled as C and as C++; compiling it is the test. The numbers are those of 64-bit systems. Where each
 * member is, the Python module declares on its own, and its tests compare that with the header. */
#include <assert.h>
#include <stdint.h>

#include "tessel.h"

#define SIZE(type, bytes) static_assert(sizeof(type) == (bytes), "the size of " #type)
#define VALUE(name, number) static_assert((name) == (number), "the value of " #name)

VALUE(TESSEL_OK, 0);
VALUE(TESSEL_TIMEOUT, 1);
VALUE(TESSEL_END, 2);
VALUE(TESSEL_ERROR_INTERNAL, -1);
VALUE(TESSEL_ERROR_ARGUMENT, -2);
VALUE(TESSEL_ERROR_SETTINGS, -3);
VALUE(TESSEL_ERROR_PLUGIN, -4);
VALUE(TESSEL_ERROR_OUTPUT, -5);
VALUE(TESSEL_ERROR_RECORDING, -6);
VALUE(TESSEL_ERROR_DONGLE, -10);
VALUE(TESSEL_ERROR_PORT, -11);
VALUE(TESSEL_ERROR_FIRMWARE, -12);
VALUE(TESSEL_ERROR_GLOVES, -13);
VALUE(TESSEL_ERROR_GLOVE, -14);
VALUE(TESSEL_ERROR_SILENCE, -15);
VALUE(TESSEL_ERROR_REFUSED, -16);
VALUE(TESSEL_ERROR_BOOKS, -17);
VALUE(TESSEL_ERROR_HANDLE, -100);
VALUE(TESSEL_ERROR_BUSY, -101);
VALUE(TESSEL_ERROR_STATE, -102);
VALUE(TESSEL_ERROR_TOO_SMALL, -103);
VALUE(TESSEL_ERROR_CANCELLED, -104);
VALUE(TESSEL_ERROR_FORKED, -105);
VALUE(TESSEL_ERROR_MEMORY, -106);

VALUE(TESSEL_CREATED, 0);
VALUE(TESSEL_OPENING, 1);
VALUE(TESSEL_CONNECTED, 2);
VALUE(TESSEL_AWAY, 3);
VALUE(TESSEL_ENDED, 4);

SIZE(tessel_status, 4);
SIZE(tessel_gloves, 8);
SIZE(tessel_recording, 8);

SIZE(tessel_shape, 16);
SIZE(tessel_block, 96);
SIZE(tessel_statistics, 256);

/* Another declaration with the same types is allowed, one with others is an error.
 * NOLINTBEGIN(readability-redundant-declaration) */
#ifdef __cplusplus
extern "C" {
#endif
TESSEL_API const char* tessel_version(void) TESSEL_NOEXCEPT;
TESSEL_API uint32_t tessel_interface(void) TESSEL_NOEXCEPT;
TESSEL_API const char* tessel_error_text(void) TESSEL_NOEXCEPT;
TESSEL_API const char* tessel_error_advice(void) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_ports(char* text, size_t size, size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_create(const char* options, uint64_t* gloves) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_open(uint64_t gloves, int32_t timeoutMs) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_cancel(uint64_t gloves) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_close(uint64_t gloves) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_get_shape(uint64_t gloves, tessel_shape* shape) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_describe(uint64_t gloves, char* text, size_t size, size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_read(uint64_t gloves, tessel_block* block, int32_t timeoutMs) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_latest(uint64_t gloves, tessel_block* block) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_get_statistics(uint64_t gloves, tessel_statistics* statistics) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_next_event(uint64_t gloves, char* text, size_t size,
                                     size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_marker(uint64_t gloves, const char* text) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_record(uint64_t gloves, const char* path, const char* options) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_stop_recording(uint64_t gloves) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_send(uint64_t gloves, const char* command, char* reply, size_t size,
                               size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_simulate(uint64_t gloves, const char* command, char* reply, size_t size,
                                   size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_open_recording(const char* path, uint64_t* recording) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_recording_shape(uint64_t recording, tessel_shape* shape) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_read_recording(uint64_t recording, tessel_block* block) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_describe_recording(uint64_t recording, char* text, size_t size,
                                             size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API int32_t tessel_close_recording(uint64_t recording) TESSEL_NOEXCEPT;
/* NOLINTEND(readability-redundant-declaration) */
#ifdef __cplusplus
}
#endif

/* The library as a program in C meets it, without gloves: versions, errors, handles, and a recording.
 *
 *   c-program VERSION RECORDING RECORDS
 *
 * Prints each check that fails, and fails if there is one. It must be run where no dongle is found. */
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tessel.h>

static int failures = 0;

#define CHECK(condition) check((condition), #condition, __LINE__)

static void check(bool isTrue, const char* condition, int line)
{
  if (isTrue) return;
  ++failures;
  printf("line %d: not true: %s. Latest error: %s %s\n", line, condition, tessel_error_text(),
         tessel_error_advice());
}

/* The call failed with this status, and can be explained. */
#define CHECK_ERROR(call, status) \
  check((call) == (status) && *tessel_error_text() && *tessel_error_advice(), #call, __LINE__)

static void checkVersions(const char* version)
{
  CHECK(strcmp(tessel_version(), version) == 0);
  CHECK(tessel_interface() == TESSEL_INTERFACE);
  CHECK(*tessel_error_text() == '\0' && *tessel_error_advice() == '\0');
}

/* Nothing that is no handle harms, whatever it is given to. */
static void checkHandles(void)
{
  tessel_gloves closed = 0;
  CHECK(tessel_create(NULL, &closed) == TESSEL_OK && closed != 0);
  CHECK(tessel_close(closed) == TESSEL_OK);
  tessel_recording none = 0;
  CHECK_ERROR(tessel_open_recording("there is no such recording", &none), TESSEL_ERROR_RECORDING);
  CHECK(none == 0);

  const uint64_t handles[] = {0, closed, 1, 0xffffffff, UINT64_MAX};
  for (size_t i = 0; i < sizeof handles / sizeof *handles; ++i) {
    const uint64_t handle = handles[i];
    char text[100];
    tessel_shape shape = {.size = sizeof shape};
    tessel_block block = {.size = sizeof block, .capacity = 1, .gloves = 2, .elements = 1};
    tessel_statistics statistics = {.size = sizeof statistics};
    CHECK_ERROR(tessel_open(handle, 0), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_cancel(handle), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_get_shape(handle, &shape), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_describe(handle, text, sizeof text, NULL), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_read(handle, &block, -1), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_latest(handle, &block), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_get_statistics(handle, &statistics), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_next_event(handle, text, sizeof text, NULL), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_marker(handle, "marker"), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_record(handle, "never.csv", NULL), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_stop_recording(handle), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_send(handle, "BatteryLevel", text, sizeof text, NULL), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_simulate(handle, "status", text, sizeof text, NULL), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_close(handle), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_recording_shape(handle, &shape), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_read_recording(handle, &block), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_describe_recording(handle, text, sizeof text, NULL), TESSEL_ERROR_HANDLE);
    CHECK_ERROR(tessel_close_recording(handle), TESSEL_ERROR_HANDLE);
  }
}

static void checkArguments(void)
{
  tessel_gloves gloves = 0;
  CHECK_ERROR(tessel_create(NULL, NULL), TESSEL_ERROR_ARGUMENT);
  CHECK_ERROR(tessel_create("{\"glove\": \"both\"}", &gloves), TESSEL_ERROR_ARGUMENT);
  CHECK_ERROR(tessel_create("{", &gloves), TESSEL_ERROR_ARGUMENT);
  CHECK_ERROR(tessel_open_recording(NULL, NULL), TESSEL_ERROR_ARGUMENT);
  CHECK(gloves == 0);

  size_t needed = 0;
  CHECK_ERROR(tessel_ports(NULL, 0, &needed), TESSEL_ERROR_TOO_SMALL);
  char* const text = malloc(needed);
  CHECK(text != NULL && needed > 1);
  if (text == NULL) return;
  CHECK_ERROR(tessel_ports(text, needed - 1, NULL), TESSEL_ERROR_TOO_SMALL);
  CHECK(tessel_ports(text, needed, &needed) == TESSEL_OK && strlen(text) + 1 == needed);
  free(text);
}

static void checkMissingDongle(void)
{
  tessel_gloves gloves = 0;
  CHECK(tessel_create("{\"wait\": 0}", &gloves) == TESSEL_OK);
  tessel_shape shape = {.size = sizeof shape};
  CHECK_ERROR(tessel_get_shape(gloves, &shape), TESSEL_ERROR_STATE);
  CHECK_ERROR(tessel_open(gloves, -1), TESSEL_ERROR_DONGLE);
  CHECK_ERROR(tessel_open(gloves, -1), TESSEL_ERROR_DONGLE);
  tessel_statistics statistics = {.size = sizeof statistics};
  CHECK(tessel_get_statistics(gloves, &statistics) == TESSEL_OK && statistics.state == TESSEL_ENDED &&
        statistics.records == 0);
  CHECK(tessel_close(gloves) == TESSEL_OK);
}

static void checkRecording(const char* path, unsigned long records)
{
  tessel_recording recording = 0;
  tessel_shape shape = {.size = sizeof shape};
  CHECK(tessel_open_recording(path, &recording) == TESSEL_OK);
  CHECK(tessel_recording_shape(recording, &shape) == TESSEL_OK && shape.gloves == 2 && shape.elements > 0);

  enum { capacity = 7 };
  double timeMs[capacity];
  uint16_t* const sample = calloc((size_t)capacity * shape.elements, sizeof *sample);
  tessel_block block = {.size = sizeof block,
                        .capacity = capacity,
                        .gloves = shape.gloves,
                        .elements = shape.elements,
                        .timeMs = timeMs,
                        .sample = sample};
  unsigned long count = 0, sum = 0;
  double latestMs = -1;
  tessel_status status = TESSEL_OK;
  while ((status = tessel_read_recording(recording, &block)) == TESSEL_OK) {
    CHECK(block.first == count && block.count > 0);
    for (uint32_t row = 0; row < block.count; ++row) {
      CHECK(timeMs[row] >= latestMs);
      latestMs = timeMs[row];
      sum += sample[row * shape.elements];
    }
    count += block.count;
  }
  CHECK(status == TESSEL_END);
  CHECK(count == records && sum > 0);
  free(sample);
  CHECK(tessel_close_recording(recording) == TESSEL_OK);
}

int main(int count, char** arguments)
{
  if (count != 4) {
    fprintf(stderr, "usage: c-program VERSION RECORDING RECORDS\n");
    return 2;
  }
  checkVersions(arguments[1]);
  checkHandles();
  checkArguments();
  checkMissingDongle();
  checkRecording(arguments[2], strtoul(arguments[3], NULL, 10));
  return failures == 0 ? 0 : 1;
}

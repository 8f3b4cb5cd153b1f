/* Records 200 records of gloves into a file, and prints some of them.
 *
 *   gloves OUTPUT [OPTIONS]
 *
 * OUTPUT is a new file, such as first.csv. OPTIONS are those of tessel_create(): '{"simulated": true}'
 * simulates gloves (on Linux). Without them a dongle is used that is plugged in. Ctrl-C ends the recording
 * early. */
#include <inttypes.h>
#include <signal.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <tessel.h>

enum { recordsInAll = 200, printedEach = 20, blockRecords = 64, waitMs = 100 };

/* A signal may interrupt the program anywhere, so its handler calls no function of the library. The program
 * looks at this several times a second instead, as no call waits for longer than waitMs. */
static volatile sig_atomic_t isInterrupted = 0;

static void interrupt(int signalNumber)
{
  (void)signalNumber;
  isInterrupted = 1;
}

/* Whether the call succeeded; if not, says why. A positive status is no error. */
static bool succeeded(tessel_status status, const char* call)
{
  if (status >= 0) return true;
  fprintf(stderr, "%s: %s %s\n", call, tessel_error_text(), tessel_error_advice());
  return false;
}

/* Whether the gloves are open. */
static bool openGloves(tessel_gloves gloves)
{
  while (!isInterrupted) {
    const tessel_status status = tessel_open(gloves, waitMs);
    if (status == TESSEL_OK) return true;
    if (!succeeded(status, "tessel_open")) return false;
  }
  fprintf(stderr, "Interrupted before the gloves were open.\n");
  return false;
}

/* The highest element of each glove. The elements of a glove are contiguous, and tessel_describe() says where
 * they begin; without auxiliary elements, which are the exception, each glove has the same share. */
static void printRecord(const tessel_block* block, uint32_t row)
{
  const uint32_t share = block->elements / block->gloves;
  printf("%8.1f ms", block->timeMs[row]);
  for (uint32_t glove = 0; glove < block->gloves; ++glove) {
    const uint16_t* const elements = block->sample + (size_t)row * block->elements + (size_t)glove * share;
    uint32_t highest = 0;
    for (uint32_t element = 1; element < share; ++element) {
      if (elements[element] > elements[highest]) highest = element;
    }
    printf("   glove %" PRIu32 ": element %3" PRIu32 " has %5" PRIu16, glove + 1, highest, elements[highest]);
  }
  printf("\n");
}

static void printBlock(const tessel_block* block)
{
  if (block->overflowed > 0) printf("%" PRIu64 " records were not read in time.\n", block->overflowed);
  for (uint32_t row = 0; row < block->count; ++row) {
    if ((block->first + row) % printedEach == 0) printRecord(block, row);
  }
}

/* What happened meanwhile: a lost connection, our marker, the end of the recording. */
static bool printEvents(tessel_gloves gloves)
{
  char event[1024];
  tessel_status status;
  while ((status = tessel_next_event(gloves, event, sizeof event, NULL)) == TESSEL_OK) {
    printf("%s\n", event);
  }
  return succeeded(status, "tessel_next_event");
}

/* Reads until there are enough records, or Ctrl-C. Returns false after an error. */
static bool readRecords(tessel_gloves gloves, tessel_block* block)
{
  uint64_t records = 0;
  while (records < recordsInAll && !isInterrupted) {
    const tessel_status status = tessel_read(gloves, block, waitMs);
    if (!succeeded(status, "tessel_read")) return false;
    /* Without a record: that is no error, as lost gloves are waited for. */
    if (status != TESSEL_TIMEOUT) {
      printBlock(block);
      if (records == 0 && !succeeded(tessel_marker(gloves, "first records"), "tessel_marker")) return false;
      records += block->count;
    }
    if (!printEvents(gloves)) return false;
  }
  return true;
}

/* Reads and records gloves that are open. Returns false after an error. */
static bool record(tessel_gloves gloves, const char* output)
{
  tessel_shape shape = {.size = sizeof shape};
  if (!succeeded(tessel_get_shape(gloves, &shape), "tessel_get_shape")) return false;

  double timeMs[blockRecords];
  uint16_t* const sample = calloc((size_t)blockRecords * shape.elements, sizeof *sample);
  if (sample == NULL) {
    fprintf(stderr, "There is not enough memory.\n");
    return false;
  }
  /* Arrays that are null are left out. */
  tessel_block block = {.size = sizeof block,
                        .capacity = blockRecords,
                        .gloves = shape.gloves,
                        .elements = shape.elements,
                        .timeMs = timeMs,
                        .sample = sample};
  /* The library writes the file on its own thread. If the gloves fail, it completes the recording, too. */
  const bool isGood = succeeded(tessel_record(gloves, output, NULL), "tessel_record") &&
                      readRecords(gloves, &block) &&
                      succeeded(tessel_stop_recording(gloves), "tessel_stop_recording");
  free(sample);
  return isGood;
}

static bool printStatistics(tessel_gloves gloves)
{
  tessel_statistics statistics = {.size = sizeof statistics};
  if (!succeeded(tessel_get_statistics(gloves, &statistics), "tessel_get_statistics")) return false;
  printf("%" PRIu64 " records, %.1f per second, %" PRIu64 " reconnections\n", statistics.records,
         statistics.recordsPerSecond, statistics.reconnections);
  /* The frames of the last tenths of a second are not counted yet. */
  for (int glove = 0; glove < 2 && statistics.isFollowed; ++glove) {
    if (statistics.sent[glove] == 0) continue;
    printf("glove %d: sent %" PRIu64 " frames, of which %" PRIu64 " are in a record\n", glove + 1,
           statistics.sent[glove], statistics.recorded[glove]);
  }
  return true;
}

int main(int count, char** arguments)
{
  if (count != 2 && count != 3) {
    fprintf(stderr, "usage: gloves OUTPUT [OPTIONS]\n");
    return 2;
  }
  signal(SIGINT, interrupt);

  tessel_gloves gloves = 0;
  if (!succeeded(tessel_create(count == 3 ? arguments[2] : NULL, &gloves), "tessel_create")) return 1;
  bool isGood = openGloves(gloves);
  if (isGood) {
    isGood = record(gloves, arguments[1]);
    isGood = printStatistics(gloves) && isGood;
  }
  isGood = succeeded(tessel_close(gloves), "tessel_close") && isGood;
  return isGood ? 0 : 1;
}

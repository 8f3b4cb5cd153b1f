/* Tactile gloves for every programming language: opens one or two gloves, reads their records, records them
 * into files, and reads such files.
 *
 * Functions return TESSEL_OK (0), a positive status that is no error, or a negative error. Of the latest
 * failed call on the calling thread tessel_error_text() says what happened, and tessel_error_advice() what to
 * do.
 *
 * Threads. Every function may be called on any thread at any time, also while another thread is in any other
 * call with the same handle; a call never waits for another but where that is said. The gloves are read on a
 * thread of the library, so a program that is slow or pauses loses no record until the buffer is full.
 *
 * Ownership. A handle is a number, not a pointer: a handle that was closed, or never was one, is an error and
 * nothing worse. All memory is the caller's, and the library keeps no pointer after a call. The texts that
 * functions return directly are the library's.
 *
 * Texts are UTF-8 and end with a zero byte. Times of records are milliseconds since the first record of the
 * gloves was sampled, or in a recording since its own first one. Elements are raw counts, 0 to 65535.
 *
 * Structures begin with their size, which the caller sets: later versions of the library may add members at
 * their end, and leave alone what a program that was built before does not have.
 *
 * One pair of gloves can be open in a process at a time. In the child of a fork() every call fails with
 * TESSEL_ERROR_FORKED. The library can't be unloaded once it has opened gloves. */
#ifndef TESSEL_H
#define TESSEL_H

#include <stddef.h>
#include <stdint.h>

#if defined(TESSEL_BUILDS_LIBRARY) && defined(_WIN32)
#define TESSEL_API __declspec(dllexport)
#elif defined(TESSEL_BUILDS_LIBRARY)
#define TESSEL_API __attribute__((visibility("default")))
#elif defined(_WIN32)
#define TESSEL_API __declspec(dllimport)
#else
#define TESSEL_API
#endif

/* Which may throw nothing. */
#ifdef __cplusplus
#define TESSEL_NOEXCEPT noexcept
extern "C" {
#else
#define TESSEL_NOEXCEPT
#endif

/* Increases when functions or members are added; what exists keeps its meaning. */
#define TESSEL_INTERFACE 1

/* What functions return. The errors from -1 to -17 are the negative exit codes of the program `tessel`. */
typedef int32_t tessel_status;
enum {
  TESSEL_OK = 0,
  TESSEL_TIMEOUT = 1, /* nothing happened within the timeout: call again */
  TESSEL_END = 2,     /* of a recording that is read: there are no more records */

  TESSEL_ERROR_INTERNAL = -1,  /* an error in the library itself */
  TESSEL_ERROR_ARGUMENT = -2,  /* a null pointer, an unknown option, an invalid value */
  TESSEL_ERROR_SETTINGS = -3,  /* the settings file can't be read or used */
  TESSEL_ERROR_PLUGIN = -4,    /* the plug-in can't be loaded or used */
  TESSEL_ERROR_OUTPUT = -5,    /* a recording can't be created, or not written completely */
  TESSEL_ERROR_RECORDING = -6, /* a recording can't be read */
  TESSEL_ERROR_DONGLE = -10,   /* there is no dongle */
  TESSEL_ERROR_PORT = -11,     /* the dongle's port can't be opened */
  TESSEL_ERROR_FIRMWARE = -12, /* the dongle's firmware is too old */
  TESSEL_ERROR_GLOVES = -13,   /* fewer gloves than requested */
  TESSEL_ERROR_GLOVE = -14,    /* a glove could not be initialized, or has faulty sensors */
  TESSEL_ERROR_SILENCE = -15,  /* the gloves were lost and did not come back in time */
  TESSEL_ERROR_REFUSED = -16,  /* the plug-in has no reply, or the simulation does not know the command */
  TESSEL_ERROR_BOOKS = -17,    /* the library cannot explain what became of each frame of a recording */

  TESSEL_ERROR_HANDLE = -100, /* no handle, or closed, also by another thread during the call */
  TESSEL_ERROR_BUSY = -101,   /* gloves are open in this process, or are being closed; or already recording */
  TESSEL_ERROR_STATE = -102,  /* not possible now: gloves that are not open, or not connected */
  TESSEL_ERROR_TOO_SMALL = -103, /* the caller's memory does not suffice; nothing was taken */
  TESSEL_ERROR_CANCELLED = -104, /* by tessel_cancel() */
  TESSEL_ERROR_FORKED = -105,    /* this process is the child of one that loaded the library */
  TESSEL_ERROR_MEMORY = -106     /* there is not enough memory */
};

/* ---- Versions and errors ---- */

/* "1.0.0" */
TESSEL_API const char* tessel_version(void) TESSEL_NOEXCEPT;
/* TESSEL_INTERFACE of the library, which a program can compare with that of its header. */
TESSEL_API uint32_t tessel_interface(void) TESSEL_NOEXCEPT;
/* Of the latest failed call on this thread: what happened, and what to do; "" if there was none. Valid until
 * the next call of another function on this thread. */
TESSEL_API const char* tessel_error_text(void) TESSEL_NOEXCEPT;
TESSEL_API const char* tessel_error_advice(void) TESSEL_NOEXCEPT;

/* ---- Texts ----
 * Functions that return a text write it to `text`, which has room for `size` bytes, zero byte included, and
 * the number of bytes that it needs to `*needed`. If `size` is less, they write only that and return
 * TESSEL_ERROR_TOO_SMALL. `text` may be null if `size` is 0, and `needed` may be null. */

/* The serial ports, and which one the plug-in would use, as JSON: as `tessel ports --json`. */
TESSEL_API tessel_status tessel_ports(char* text, size_t size, size_t* needed) TESSEL_NOEXCEPT;

/* ---- Opening ---- */

/* 0 is no handle. */
typedef uint64_t tessel_gloves;

/* Makes a handle for gloves that are not open yet. `options` is a JSON object, or null for none:
 *   "gloves"       "both" (the default), "one", "left" or "right"
 *   "settings"     the settings file; by default one for these gloves is made
 *   "simulated"    true: gloves that the library simulates (on Linux)
 *   "simulation"   array of the simulator's commands, executed before the gloves are opened: ["rate 100"]
 *   "scenario"     file of timed commands of the simulator
 *   "seed"         of the simulation's movement, noise and random faults: a whole number (1)
 *   "wait"         for how many seconds opening is repeated (60)
 *   "reconnect"    for how many seconds lost gloves are waited for (60); 0: their loss is the end
 *   "anyGlove"     true: after a loss accept other gloves than those that were opened first
 *   "follow"       false: save some CPU time, but estimate losses and times
 *   "capture"      file for every byte between the plug-in and the dongle (pcapng)
 *   "layout"       file with the layout of the hand
 *   "log"          folder for the plug-in's log
 *   "plugin"       the plug-in's file; by default the one that came with the library
 *   "buffer"       how many records are kept until they are read, 1 to 1000000 (16384)
 * Unknown options are an error. Files are relative to the working directory when the gloves are opened. */
TESSEL_API tessel_status tessel_create(const char* options, tessel_gloves* gloves) TESSEL_NOEXCEPT;

/* Opens the gloves, which takes 1 to 15 seconds, and starts reading them. Waits at most `timeoutMs` for it;
 * negative: as long as it takes. After TESSEL_TIMEOUT opening goes on, and the next call waits for it again.
 * Opening that failed can't be repeated with the same handle. TESSEL_OK if they are already open.
 *
 * The first call with a handle sets the environment variables TESSEL_SERIAL_PORTS (for simulated gloves) and
 * TESSEL_CAPTURE, before it starts a thread: no other thread should read or write the environment meanwhile.
 */
TESSEL_API tessel_status tessel_open(tessel_gloves gloves, int32_t timeoutMs) TESSEL_NOEXCEPT;

/* Ends opening and reading, as soon as possible; does not wait for it. Further records come from the buffer,
 * and then all waiting calls return TESSEL_ERROR_CANCELLED. A recording is completed. */
TESSEL_API tessel_status tessel_cancel(tessel_gloves gloves) TESSEL_NOEXCEPT;

/* Disconnects the gloves, completes a recording, and ends the handle, which takes up to 3 seconds. Calls of
 * other threads with it return TESSEL_ERROR_HANDLE. Returns an error if the recording could not be completed;
 * the handle is closed nevertheless. At the end of the program all handles are closed (on Linux), but a
 * program that ends without closing its gloves learns of no error. */
TESSEL_API tessel_status tessel_close(tessel_gloves gloves) TESSEL_NOEXCEPT;

/* ---- Records ---- */

typedef struct tessel_shape {
  size_t size;       /* sizeof(tessel_shape) */
  uint32_t gloves;   /* in a record: 1 or 2 */
  uint32_t elements; /* in a record, of all gloves together, auxiliary elements included */
} tessel_shape;

/* Once the gloves are open. Reconnections don't change it. */
TESSEL_API tessel_status tessel_get_shape(tessel_gloves gloves, tessel_shape* shape) TESSEL_NOEXCEPT;

/* What the gloves are, once they are open, as JSON: the metadata of recordings (docs/recording.md), with
 * names and serial numbers, and with regions and positions of the elements where a layout is known. */
TESSEL_API tessel_status tessel_describe(tessel_gloves gloves, char* text, size_t size,
                                         size_t* needed) TESSEL_NOEXCEPT;

/* The caller's arrays for records. Each of them may be null; then the library leaves it out. `gloves` and
 * `elements` must suffice in any case. */
typedef struct tessel_block {
  size_t size;         /* sizeof(tessel_block) */
  uint32_t capacity;   /* records for which each array has room */
  uint32_t gloves;     /* of a record: for how many the arrays below have room; at least the shape's */
  uint32_t elements;   /* likewise; what is left over in each row stays as it is */
  uint32_t count;      /* result: records that were written; 0 after TESSEL_TIMEOUT and TESSEL_END */
  uint64_t first;      /* result: number of the first one; the first since the opening is 0 */
  uint64_t overflowed; /* result: records between the previous call and this one that were not read in time */

  double* timeMs;     /* [capacity] when it was sampled; NaN if unknown */
  double* arrivalMs;  /* [capacity] when it arrived, from the same zero */
  uint32_t* pluginMs; /* [capacity] the plug-in's timestamp */
  int64_t* frame;     /* [capacity][gloves] number of the glove's frame; -1 if unknown */
  int64_t* ticks;     /* [capacity][gloves] the glove's clock, in 0.1 ms; -1 if unknown */
  double* sampledMs;  /* [capacity][gloves] when this glove's part was sampled; NaN if unknown */
  uint16_t* sample;   /* [capacity][elements] */
} tessel_block;

/* Takes the oldest records from the buffer, up to `capacity`; waits at most `timeoutMs` for the first one;
 * negative: as long as it takes. TESSEL_TIMEOUT if there was none. Records of before the end, by a failure or
 * tessel_cancel(), can still be read; afterwards returns that error. Each record goes to one caller. */
TESSEL_API tessel_status tessel_read(tessel_gloves gloves, tessel_block* block,
                                     int32_t timeoutMs) TESSEL_NOEXCEPT;

/* Copies the newest records, up to `capacity`, oldest first, whether or not they were read, and leaves them
 * to be read. Does not wait: TESSEL_TIMEOUT if there is none yet. `overflowed` is 0. */
TESSEL_API tessel_status tessel_latest(tessel_gloves gloves, tessel_block* block) TESSEL_NOEXCEPT;

/* ---- Statistics and events ---- */

enum { TESSEL_CREATED = 0, TESSEL_OPENING = 1, TESSEL_CONNECTED = 2, TESSEL_AWAY = 3, TESSEL_ENDED = 4 };

/* Arrays are by glove, in the order of the records. Frames are those that the glove was heard to send since
 * the opening; each of them is recorded, lost, or still on its way. As of some tenths of a second ago. */
typedef struct tessel_statistics {
  size_t size;               /* sizeof(tessel_statistics) */
  int32_t state;             /* TESSEL_CREATED to TESSEL_ENDED; TESSEL_AWAY: lost, and waited for */
  int32_t isRecording;       /* into a file */
  double nowMs;              /* the present time, as that of the records; NaN before the first one */
  double silentSeconds;      /* since the latest record */
  uint64_t records;          /* since the opening */
  uint64_t buffered;         /* of these, not read yet */
  uint64_t overflowed;       /* of these, dropped because they were not read in time */
  double recordsPerSecond;   /* while the gloves were connected */
  double battery;            /* 0 to 1, of the weaker one; NaN while unknown, or empty */
  uint64_t reconnections;    /* losses after which the gloves came back */
  double awaySeconds;        /* of these, together */
  int32_t isFollowed;        /* whether the numbers below are known */
  int32_t isBalanced;        /* 0: a frame can't be explained */
  uint64_t sent[2];          /* frames */
  uint64_t repeated[2];      /* complete frames that came again */
  uint64_t recorded[2];      /* in a record */
  uint64_t lostUnheard[2];   /* no first packet was heard */
  uint64_t lostRadio[2];     /* another packet was missing */
  uint64_t lostRefused[2];   /* the packets were not in an order that the plug-in accepts */
  uint64_t lostFaulty[2];    /* too short, or paired with such a frame */
  uint64_t lostPairing[2];   /* skipped by the plug-in to keep two gloves together */
  uint64_t lostQueued[2];    /* waited in the plug-in when the gloves were lost or closed */
  uint64_t lostDiscarded[2]; /* delivered by the plug-in, but not in a record */
} tessel_statistics;

/* Also before the opening and after the end. */
TESSEL_API tessel_status tessel_get_statistics(tessel_gloves gloves,
                                               tessel_statistics* statistics) TESSEL_NOEXCEPT;

/* The oldest event that was not taken yet, as a JSON object with "timeMs" (null if unknown), "event", "glove"
 * and "detail" (texts). Events are those of recordings ("disconnected", "reconnected", "gave up", "marker",
 * "stall"), and "overflow", "recording" (started, ended, failed or not stored: see the detail) and "notice"
 * (what the program `tessel` would print). Does not wait: TESSEL_TIMEOUT if there is none. At most 1000 are
 * kept; older ones are dropped then. */
TESSEL_API tessel_status tessel_next_event(tessel_gloves gloves, char* text, size_t size,
                                           size_t* needed) TESSEL_NOEXCEPT;

/* ---- Markers, recordings, commands ---- */

/* Marks this moment, by an event that recordings have, too. Null or "": "marker N". */
TESSEL_API tessel_status tessel_marker(tessel_gloves gloves, const char* text) TESSEL_NOEXCEPT;

/* Records into a file or folder, from the next record on, until tessel_stop_recording(), the end of the
 * gloves or tessel_close(). Its name ends in ".part" until then. The formats are those of `tessel record`;
 * the times in it begin with its own first record, and its books account for the frames from there on.
 * `options` is a JSON object, or null for none:
 *   "format"    "csv", "npy" or "xdf"; by default the name's extension decides, otherwise csv
 *   "replace"   true: replace an existing recording
 *   "sync"      how often the disk is made to store what was recorded, in seconds (1); 0: only when it is
 *               complete
 * TESSEL_ERROR_BUSY if there is a recording already. Reading the gloves goes on if writing fails, and the
 * recording if only the disk fails to store it: an event says so, and tessel_stop_recording() returns the
 * error. */
TESSEL_API tessel_status tessel_record(tessel_gloves gloves, const char* path,
                                       const char* options) TESSEL_NOEXCEPT;

/* Waits until the recording is complete. TESSEL_OK, too, if the end of the gloves has completed it; its error
 * if it has ended by itself and is not complete, or TESSEL_ERROR_BOOKS if its books do not balance.
 * TESSEL_ERROR_STATE if there is none. A recording without a record is deleted, which is no error. */
TESSEL_API tessel_status tessel_stop_recording(tessel_gloves gloves) TESSEL_NOEXCEPT;

/* Sends a text command to the plug-in, as `tessel send`; waits for its reply, for up to a second. */
TESSEL_API tessel_status tessel_send(tessel_gloves gloves, const char* command, char* reply, size_t size,
                                     size_t* needed) TESSEL_NOEXCEPT;

/* Executes a command of the simulator (docs/simulator.md) with simulated gloves: "drop left". Waits for its
 * reply, for some tenths of a second. */
TESSEL_API tessel_status tessel_simulate(tessel_gloves gloves, const char* command, char* reply, size_t size,
                                         size_t* needed) TESSEL_NOEXCEPT;

/* ---- Reading recordings ----
 * Calls of several threads with the same recording wait for each other. */

/* 0 is no handle. */
typedef uint64_t tessel_recording;

/* Opens a recording of any format, also one that is still being made. */
TESSEL_API tessel_status tessel_open_recording(const char* path, tessel_recording* recording) TESSEL_NOEXCEPT;
TESSEL_API tessel_status tessel_recording_shape(tessel_recording recording,
                                                tessel_shape* shape) TESSEL_NOEXCEPT;
/* The next records, up to `capacity`; TESSEL_END after the last one. `overflowed` is 0. Of a damaged
 * recording the records before the damage come first, and then always its error. */
TESSEL_API tessel_status tessel_read_recording(tessel_recording recording,
                                               tessel_block* block) TESSEL_NOEXCEPT;
/* A JSON object with "metadata" (docs/recording.md), and, complete after the last record, "events" (an array,
 * as of tessel_next_event()) and "notes" (texts: what could not be read). */
TESSEL_API tessel_status tessel_describe_recording(tessel_recording recording, char* text, size_t size,
                                                   size_t* needed) TESSEL_NOEXCEPT;
TESSEL_API tessel_status tessel_close_recording(tessel_recording recording) TESSEL_NOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif

/* SPDX-License-Identifier: MIT */
// Reverses media clips: the interface for C, and for every language that calls C.
//
//   clipreverse_job* job = clipreverse_create();
//   clipreverse_set_input(job, "in.mp4");
//   clipreverse_set_output(job, "out.mp4");
//   if (clipreverse_start(job) == 0) clipreverse_wait(job, -1);
//   if (clipreverse_error(job) != 0) fprintf(stderr, "%s\n", clipreverse_error_text(job));
//   clipreverse_free(job);
//
// The output is the mirror of what a player shows of the clip: pictures newest first, the sound
// sample by sample, in memory that does not depend on the clip's length. A file that stands at the
// output stays until the new one is whole. Paths are those of the host, other texts UTF-8; all are
// copied. Texts that a call gives belong to the library.
//
// Threads. A job may be used by any thread, but by one at a time; clipreverse_cancel alone may be
// called at any moment. Different jobs may be used by different threads at once.
//
// Errors. No call throws or ends the process. A call that answers an int answers a
// clipreverse_code: 0 or above if it has done its work, below 0 if not. A null argument is
// answered with CLIPREVERSE_ERROR_ARGUMENT.
#ifndef CLIPREVERSE_H_
#define CLIPREVERSE_H_

#include <stdint.h>

#if defined(__GNUC__)
#define CLIPREVERSE_API __attribute__((visibility("default")))
#else
#define CLIPREVERSE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// The version of this header. The library that a program runs with may be a newer one.
#define CLIPREVERSE_VERSION_MAJOR 0
#define CLIPREVERSE_VERSION_MINOR 2
#define CLIPREVERSE_VERSION_PATCH 0
// A version as one number: 1.2.3 is 10203.
#define CLIPREVERSE_VERSION \
  (CLIPREVERSE_VERSION_MAJOR * 10000 + CLIPREVERSE_VERSION_MINOR * 100 + CLIPREVERSE_VERSION_PATCH)

// What calls answer. The numbers stay as they are; later versions may add some.
typedef enum clipreverse_code {
  CLIPREVERSE_OK = 0,
  CLIPREVERSE_RUNNING = 1,           // the time of clipreverse_wait is up, the work goes on
  CLIPREVERSE_ERROR_ARGUMENT = -1,   // a null pointer, or a number that cannot be
  CLIPREVERSE_ERROR_STATE = -2,      // this call cannot be made now
  CLIPREVERSE_ERROR_OPTION = -3,     // there is no such key, or the key does not take the value
  CLIPREVERSE_ERROR_INPUT = -4,      // the input cannot be read, or is nothing to reverse
  CLIPREVERSE_ERROR_RANGE = -5,      // the range holds no picture
  CLIPREVERSE_ERROR_OUTPUT = -6,     // the output cannot be made or written
  CLIPREVERSE_ERROR_EXISTS = -7,     // a file stands at the output, and is not to be replaced
  CLIPREVERSE_ERROR_MEMORY = -8,     // there is too little memory, or the limit is too low
  CLIPREVERSE_ERROR_HOST = -9,       // the host refused something else, such as a thread
  CLIPREVERSE_ERROR_LOSS = -10,      // a part of the clip was lost, and "strict" is set
  CLIPREVERSE_ERROR_CANCELLED = -11  // the job was cancelled
} clipreverse_code;

// How important a line of the log is, the most important first.
typedef enum clipreverse_log_level {
  CLIPREVERSE_LOG_ERROR = 0,
  CLIPREVERSE_LOG_WARNING = 1,
  CLIPREVERSE_LOG_INFO = 2,
  CLIPREVERSE_LOG_DEBUG = 3,
  CLIPREVERSE_LOG_VERBOSE = 4
} clipreverse_log_level;

// One reversal. A job works once.
typedef struct clipreverse_job clipreverse_job;

// Told how far a job is, from 0 to 100. Called inside clipreverse_wait, by the thread that waits.
// May call clipreverse_cancel and clipreverse_get, and nothing else of the job. SIGPIPE and SIGXFSZ
// are held back meanwhile, as in all calls: a callback that writes into a closed pipe gets EPIPE.
typedef void (*clipreverse_progress_callback)(void* user, double percent);

// Given the lines of the log, without their ends. Called by the thread that speaks: one that calls
// the library, or one of a job's own. One call at a time. Must not call the library.
typedef void (*clipreverse_log_callback)(void* user, int level, const char* line);

// The version of the library that the program runs with, as CLIPREVERSE_VERSION.
CLIPREVERSE_API int clipreverse_version(void);
// The same as text: "0.2.0".
CLIPREVERSE_API const char* clipreverse_version_text(void);

// The log of the whole process: all jobs share one, and FFmpeg's lines come the same way, also
// those of a program that uses FFmpeg by itself, from the first job or callback on. Lines of this
// level and of more important ones are given. Null, as before the first call, for no log; nothing
// is ever written to the standard streams. After the return the callback before is called no more.
CLIPREVERSE_API int clipreverse_set_log(int level, clipreverse_log_callback callback, void* user);

// A new job, to be freed with clipreverse_free. Null if there is no memory.
CLIPREVERSE_API clipreverse_job* clipreverse_create(void);
// Ends the work, if it still goes on, as after clipreverse_cancel. Null does nothing.
CLIPREVERSE_API void clipreverse_free(clipreverse_job* job);

// What describes the job is to be said before clipreverse_start.

// The clip to reverse.
CLIPREVERSE_API int clipreverse_set_input(clipreverse_job* job, const char* path);
// The file to write; its extension chooses the container.
CLIPREVERSE_API int clipreverse_set_output(clipreverse_job* job, const char* path);
// The range in seconds; an end of 0 or less is the end of the clip. The whole clip unless set.
CLIPREVERSE_API int clipreverse_set_range(clipreverse_job* job, double start, double end);
// Any other option by its key. Later calls win. The keys that "clip-reverse --help=keys" lists, and
//   "sound"      0 leaves the sound out; 1 unless set
//   "copy"       1 writes pictures that stand alone bit for bit; 0 unless set
//   "like-source"  1 encodes the output as the input is; 0 unless set
//   "strict"     1 makes a failure of a loss; 0 unless set
//   "overwrite"  "no" replaces no file that stands at the output; "yes" unless set
//   "memory"     bytes to stay below, as "300M"; what the host grants unless set
//   "mirror"     0 reverses plainly: pictures for their neighbour's time, sound in blocks; 1 unless
//                set. "copy" is refused without it, and "like-source" left out
//   "safe"       0 writes the output in its place, and what stood there is lost; 1 unless set
//   "plain"      1 leaves off all that goes beyond the plain reversal: mirror, safe, memory limit
CLIPREVERSE_API int clipreverse_set_option(clipreverse_job* job, const char* key,
                                           const char* value);
// Who is told of the progress; null for nobody. May be called at any time.
CLIPREVERSE_API int clipreverse_set_progress(clipreverse_job* job,
                                             clipreverse_progress_callback callback, void* user);

// Opens input and output and begins the work, which goes on in threads of the job's own. The call
// takes as long as opening the clip; formats that do not tell their length are read to the end.
CLIPREVERSE_API int clipreverse_start(clipreverse_job* job);
// Waits for the end of the work, for this many milliseconds at the most; below 0 without limit, 0
// only looks. CLIPREVERSE_RUNNING if the work goes on, otherwise how the job has ended: 0 if the
// output is whole and closed. May be called again.
CLIPREVERSE_API int clipreverse_wait(clipreverse_job* job, int milliseconds);
// Asks the work to end at its next step, which takes a second or two of the clip. The job then
// fails with CLIPREVERSE_ERROR_CANCELLED and leaves no output; a file that stood there stays. For
// any thread, and for handlers of signals, as long as the job is not freed.
CLIPREVERSE_API int clipreverse_cancel(clipreverse_job* job);

// A number that is known of the job, by its name. It is 0 as long as nothing is known.
//   "percent"        done, 0 to 100; 0 after a failure
//   "range"          seconds of the clip that are reversed
//   "position"       seconds of them that are done
//   "bytes"          of the output so far
//   "width", "height", "frame-rate", "duration"   of the clip, once it has been started
// and after the end:
//   "pictures", "lost-pictures"   written; met in the clip, but not written
//   "sound", "lost-sound"         the same in seconds
//   "missing-bytes"               of the clip's file, if it is cut off within the range or before
//   "first-loss"                  seconds, of the earliest loss; infinite if there is none
//   "memory-needed"               bytes, if the job has failed because it may not have them
CLIPREVERSE_API int clipreverse_get(clipreverse_job* job, const char* name, double* value);

// The code of the last failure of a call for this job; 0 if there was none.
CLIPREVERSE_API int clipreverse_error(const clipreverse_job* job);
// One sentence that says why it failed, and what would work; empty if there was none. Valid until
// the next call for the job.
CLIPREVERSE_API const char* clipreverse_error_text(const clipreverse_job* job);

#ifdef __cplusplus
}
#endif

#endif  // CLIPREVERSE_H_

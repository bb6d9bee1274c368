/* SPDX-License-Identifier: MIT */
// What programs that were built before rely on: the types of all functions, and the numbers.
// Compiled as C99 and as C++, never run. What stands here is only added to.
#include <clipreverse.h>

extern int (*const version)(void);
extern const char* (*const version_text)(void);
extern int (*const set_log)(int, void (*)(void*, int, const char*), void*);
extern clipreverse_job* (*const create)(void);
extern void (*const release)(clipreverse_job*);
extern int (*const set_input)(clipreverse_job*, const char*);
extern int (*const set_output)(clipreverse_job*, const char*);
extern int (*const set_range)(clipreverse_job*, double, double);
extern int (*const set_option)(clipreverse_job*, const char*, const char*);
extern int (*const set_progress)(clipreverse_job*, void (*)(void*, double), void*);
extern int (*const start)(clipreverse_job*);
extern int (*const wait_for)(clipreverse_job*, int);
extern int (*const cancel)(clipreverse_job*);
extern int (*const get)(clipreverse_job*, const char*, double*);
extern int (*const error)(const clipreverse_job*);
extern const char* (*const error_text)(const clipreverse_job*);

int (*const version)(void) = clipreverse_version;
const char* (*const version_text)(void) = clipreverse_version_text;
int (*const set_log)(int, void (*)(void*, int, const char*), void*) = clipreverse_set_log;
clipreverse_job* (*const create)(void) = clipreverse_create;
void (*const release)(clipreverse_job*) = clipreverse_free;
int (*const set_input)(clipreverse_job*, const char*) = clipreverse_set_input;
int (*const set_output)(clipreverse_job*, const char*) = clipreverse_set_output;
int (*const set_range)(clipreverse_job*, double, double) = clipreverse_set_range;
int (*const set_option)(clipreverse_job*, const char*, const char*) = clipreverse_set_option;
int (*const set_progress)(clipreverse_job*, void (*)(void*, double),
                          void*) = clipreverse_set_progress;
int (*const start)(clipreverse_job*) = clipreverse_start;
int (*const wait_for)(clipreverse_job*, int) = clipreverse_wait;
int (*const cancel)(clipreverse_job*) = clipreverse_cancel;
int (*const get)(clipreverse_job*, const char*, double*) = clipreverse_get;
int (*const error)(const clipreverse_job*) = clipreverse_error;
const char* (*const error_text)(const clipreverse_job*) = clipreverse_error_text;

// An array of -1 elements is refused.
typedef char codes_stay[(CLIPREVERSE_OK == 0 && CLIPREVERSE_RUNNING == 1 &&
                         CLIPREVERSE_ERROR_ARGUMENT == -1 && CLIPREVERSE_ERROR_STATE == -2 &&
                         CLIPREVERSE_ERROR_OPTION == -3 && CLIPREVERSE_ERROR_INPUT == -4 &&
                         CLIPREVERSE_ERROR_RANGE == -5 && CLIPREVERSE_ERROR_OUTPUT == -6 &&
                         CLIPREVERSE_ERROR_EXISTS == -7 && CLIPREVERSE_ERROR_MEMORY == -8 &&
                         CLIPREVERSE_ERROR_HOST == -9 && CLIPREVERSE_ERROR_LOSS == -10 &&
                         CLIPREVERSE_ERROR_CANCELLED == -11)
                            ? 1
                            : -1];
typedef char levels_stay[(CLIPREVERSE_LOG_ERROR == 0 && CLIPREVERSE_LOG_WARNING == 1 &&
                          CLIPREVERSE_LOG_INFO == 2 && CLIPREVERSE_LOG_DEBUG == 3 &&
                          CLIPREVERSE_LOG_VERBOSE == 4)
                             ? 1
                             : -1];

/* SPDX-License-Identifier: MIT */
// A program of C: reverse INPUT OUTPUT [KEY VALUE]... Prints what it learns of the job.
#include <clipreverse.h>
#include <stdio.h>

static void print_progress(void* user, double percent) {
  double* const last = (double*)user;
  if (percent < *last) printf("progress went back from %g to %g\n", *last, percent);
  *last = percent;
}

static void print_line(void* user, int level, const char* line) {
  fprintf((FILE*)user, "log %d: %s\n", level, line);
}

static int describe(clipreverse_job* job, int argc, char** argv) {
  int i;
  for (i = 3; i + 1 < argc; i += 2) {
    if (clipreverse_set_option(job, argv[i], argv[i + 1]) != CLIPREVERSE_OK) return -1;
  }
  if (clipreverse_set_input(job, argv[1]) != CLIPREVERSE_OK) return -1;
  return clipreverse_set_output(job, argv[2]);
}

int main(int argc, char** argv) {
  double last = 0;
  double pictures = 0;
  int end;
  clipreverse_job* const job = clipreverse_create();
  if (job == NULL || argc < 3) return 2;
  clipreverse_set_log(CLIPREVERSE_LOG_WARNING, print_line, stdout);
  clipreverse_set_progress(job, print_progress, &last);
  end = describe(job, argc, argv);
  if (end == CLIPREVERSE_OK) end = clipreverse_start(job);
  if (end == CLIPREVERSE_OK) end = clipreverse_wait(job, -1);
  clipreverse_get(job, "pictures", &pictures);
  printf("end %d, error %d \"%s\", %g %%, %g pictures\n", end, clipreverse_error(job),
         clipreverse_error_text(job), last, pictures);
  clipreverse_free(job);
  return end == CLIPREVERSE_OK ? 0 : 1;
}

/* SPDX-License-Identifier: MIT */
// Says which version of the library it runs with.
#include <clipreverse.h>
#include <stdio.h>

int main(void) {
  printf("%s\n", clipreverse_version_text());
  return clipreverse_version() >= CLIPREVERSE_VERSION ? 0 : 1;
}

/* Loaded before a test program: where the program loads the library MUTANT_FROM, it gets MUTANT_TO. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>

void* dlopen(char const* path, int flags) {
  void* (*const next)(char const*, int) = (void* (*)(char const*, int))dlsym(RTLD_NEXT, "dlopen");
  char const* const from = getenv("MUTANT_FROM");
  char const* const to = getenv("MUTANT_TO");
  return next(path && from && to && strcmp(path, from) == 0 ? to : path, flags);
}

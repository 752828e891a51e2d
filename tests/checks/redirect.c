/* Loaded before a test program. MUTANT_PATHS is "from:to:from:to:...": where the program loads the library "from", it
 * gets "to". */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>

void* dlopen(char const* path, int flags) {
  void* (*const next)(char const*, int) = (void* (*)(char const*, int))dlsym(RTLD_NEXT, "dlopen");
  char const* const paths = getenv("MUTANT_PATHS");
  char* const copy = path && paths ? strdup(paths) : NULL;
  if (!copy) return next(path, flags);
  char* rest = NULL;
  for (char* from = strtok_r(copy, ":", &rest); from; from = strtok_r(NULL, ":", &rest)) {
    char const* const to = strtok_r(NULL, ":", &rest);
    if (to && strcmp(path, from) == 0) path = to;
  }
  void* const handle = next(path, flags);
  free(copy);
  return handle;
}

#pragma once

#include <dlfcn.h>

/** What a test asks about the sanitizers of the product, whose library may be loaded before the test's program. */
namespace host_test {

inline bool isAddressSanitized() { return ::dlsym(RTLD_DEFAULT, "__asan_init") != nullptr; }

/** Whether memory and time are those of a sanitizer. */
inline bool isSanitized() { return isAddressSanitized() || ::dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr; }

}  // namespace host_test

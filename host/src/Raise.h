#pragma once

#include "Core/private/Helper/Raise.h"

/** Throws an E with a message; the source location is that of the call. */
#define PXL_RAISE(E, message) ::pxl::helper::raise<E>((message), __FILE_NAME__, __LINE__)

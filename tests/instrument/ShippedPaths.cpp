#include "instrument/ShippedPaths.h"

namespace shipped {

char const* const cPlugin = PXLWORKS_PLUGIN_PATH;
char const* const cElements = PXLWORKS_ELEMENTS_PATH;
char const* const cWide = PXLWORKS_WIDE_PATH;

}  // namespace shipped

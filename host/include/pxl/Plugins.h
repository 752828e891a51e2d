#pragma once

#include <string>
#include <vector>

#include "pxl/Export.h"

/**
 * Loading of plug-ins: shared libraries whose initialisers register runners with the operators' records. They are
 * loaded by absolute path only and with local symbols, never from the working directory or a search path. All
 * functions are thread-safe.
 */
namespace pxl::plugins {

/** The plug-in folder: PXLWORKS_PLUGIN_DIR (ignored in set-uid programs), else the folder of this library. */
PXL_API std::string getFolder();

/**
 * Loads every libpxlworks_pxl_*.so of getFolder() that isn't loaded yet, in the order of their names.
 * @return the absolute paths of all loaded plug-ins
 * @throws InvalidCall  the folder isn't an absolute path
 * @throws RuntimeError the folder can't be read, or a library can't be loaded
 */
PXL_API std::vector<std::string> loadFolder();

/**
 * Loads one plug-in.
 * @throws InvalidCall  the path isn't absolute
 * @throws RuntimeError the library can't be loaded; the text is that of the dynamic loader
 */
PXL_API void load(std::string const& absolutePath);

/**
 * Unloads a plug-in. Its runners are removed from their records.
 * @throws InvalidCall a run is in progress, or nothing was loaded from this path
 */
PXL_API void unload(std::string const& absolutePath);

/** The absolute paths of the loaded plug-ins. */
PXL_API std::vector<std::string> getLoaded();

}  // namespace pxl::plugins

#pragma once

#include <string>

/**
 * The files of the plug-ins as they are shipped. The environment variable PXLWORKS_TEST_PLUGINS names another folder,
 * of a build with a sanitizer.
 */
namespace shipped {

std::string getPlugin();
std::string getElements();
std::string getWide();

}  // namespace shipped

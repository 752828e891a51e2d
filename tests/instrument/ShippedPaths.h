#pragma once

/** The files of the plug-ins as they are shipped. */
namespace shipped {

extern char const* const cPlugin;
extern char const* const cElements;
extern char const* const cWide;

}  // namespace shipped

#pragma once

/** Marks what the host core offers to plug-ins and programs; everything else is built hidden. */
#define PXL_API __attribute__((visibility("default")))

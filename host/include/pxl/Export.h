#pragma once

/** Marks what the host core exports to plug-ins and programs; everything else has hidden visibility. */
#define PXL_API __attribute__((visibility("default")))

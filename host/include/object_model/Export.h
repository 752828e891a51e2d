#pragma once

/** Marks what a library of the host offers to others; everything else is built hidden. */
#define OBJECT_MODEL_API __attribute__((visibility("default")))

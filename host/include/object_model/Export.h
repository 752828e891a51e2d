#pragma once

/** Marks what a library of the host exports; everything else has hidden visibility. */
#define OBJECT_MODEL_API __attribute__((visibility("default")))

#pragma once

#include <atomic>

namespace operators_test {

/**
 * How often a worker of TBB was delayed. LateWorkers.cpp replaces a function of TBB in programs that link it: before
 * a worker frees the memory of a task or of a node of a loop, it waits for two milliseconds. These are the last lines
 * of a task, some of them after the loop has ended.
 */
extern std::atomic<int> nbLateWorkers;

}  // namespace operators_test

#pragma once

#include <atomic>

namespace operators_test {

/**
 * How often a worker of TBB was made late. A program that links LateWorkers.cpp has a function of TBB replaced: where
 * a worker gives back the memory of a task or of a node of a loop, it waits for two milliseconds first. These are the
 * last lines of a task, some of them after the loop has ended.
 */
extern std::atomic<int> nbLateWorkers;

}  // namespace operators_test

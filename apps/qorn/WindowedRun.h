#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "pxl/BaseAlgorithm.h"
#include "pxl/Property.h"
#include "qorn/CommandLine.h"
#include "qorn/io/WindowPlan.h"
#include "qorn/io/WindowReader.h"
#include "qorn/io/WindowedOutput.h"

namespace qorn {

/**
 * A run from file to file in windows that fit into the memory of the command. Each window is read with the operator's
 * margins, computed and written. Only this window of an image is in memory.
 */
class WindowedRun : private pxl::Noncopyable {
 public:
  /**
   * Opens the files. The properties of the algorithm other than images must be set.
   * @throws UsageError   the memory isn't enough for one row
   * @throws FileError    a file can't be used
   * @throws ProgramError the inputs differ in size
   */
  WindowedRun(pxl::BaseAlgorithm& algorithm, RunCommand const& command);
  ~WindowedRun();

  /** Computes and writes all windows. @throws FileError, ExceptionCancelation, and as the algorithm */
  void execute();
  /** The progress of execute(), from 0 to 1; from any thread. */
  double getProgress() const;
  /** Completes the output. @throws FileError, ExceptionCancelation */
  void write();
  /** Renames the output to its final name. @throws FileError */
  void commit() { m_output->commit(); }

  /** The header of the first input. */
  io::ImageHeader const& getHeader() const { return m_readers.front()->getHeader(); }
  /** The part that is computed. */
  pxl::access::Region const& getRegion() const { return m_region; }

 private:
  class Sizes;

  void openFiles(RunCommand const& command);
  io::WindowDemand makeDemand(unsigned long memory) const;
  void limitExtraMemory(RunCommand const& command) const;
  void executeWindow(pxl::access::Region const& window);
  std::shared_ptr<pxl::Image> makeImage(std::vector<char>& voxels, pxl::VoxelTypes type,
                                        pxl::access::Region const& region) const;
  pxl::access::Region moveIntoOutput(pxl::access::Region const& window) const;

  pxl::BaseAlgorithm& m_algorithm;
  int m_interpretation;
  std::vector<pxl::Property<pxl::ImageModel const*>*> m_inputs;
  pxl::Property<pxl::ImageModel*>* m_outputProperty = nullptr;
  std::vector<std::unique_ptr<io::WindowReader>> m_readers;
  io::ImageHeader m_outputHeader;
  pxl::access::Region m_region;
  std::optional<io::WindowPlan> m_plan;
  std::unique_ptr<io::WindowedOutput> m_output;
  std::vector<std::vector<char>> m_buffers;  ///< of the inputs and of the output
  std::unique_ptr<Sizes> m_sizes;            ///< the image of the output property after the run
  std::atomic<unsigned long> m_nbSteps{0};   ///< done
};

}  // namespace qorn

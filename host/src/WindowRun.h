#pragma once

#include <array>
#include <memory>
#include <vector>

#include "pxl/Noncopyable.h"
#include "pxl/Property.h"
#include "pxl/access/Region.h"
#include "pxl/io/TemporaryImage.h"

namespace pxl {

class BaseAlgorithm;

/** A box of voxels, in the order of Components. */
struct Window {
  std::array<unsigned long, cNbComponents> begin;
  std::array<unsigned long, cNbComponents> size;
};

/**
 * While it exists, the image properties of an algorithm hold windows of their images, so that a run of its runner
 * computes a part of the whole result. If surrounding voxels have to be computed as well, the result goes to a
 * temporary image, from which store() copies the part.
 */
class WindowRun : private Noncopyable {
 public:
  /** Checks the requirements of a run on a window, see BaseAlgorithm::executeOnWindow(). */
  WindowRun(BaseAlgorithm& algorithm, access::Region const& region);
  ~WindowRun();

  /** Whether the operator writes or measures any voxel of the window. */
  bool hasWork() const { return m_hasWork; }

  /**
   * Copies the part from the temporary image to the output.
   * @throws ExceptionCancelation the run was cancelled
   * @throws UnexpectedError      the output can't be written
   */
  void store();

 private:
  using Sizes = std::array<unsigned long, cNbComponents>;

  template <class Image>
  struct Replaced {
    Property<Image>* property;
    Image image;
  };
  struct Result {
    io::TemporaryImageReference temporary;
    std::unique_ptr<ImageModel> computed;  ///< the part in the temporary
    std::unique_ptr<ImageModel> target;    ///< its place in the output
  };

  explicit WindowRun(BaseAlgorithm& algorithm);
  Sizes checkImages();
  void show(Window const& inner, Window const& enlarged, Sizes const& sizes);
  void showInputs(Window const& window);
  void showOutputs(Window const& window);
  void showTemporaries(Window const& inner, Window const& enlarged, io::LocationMode location);
  std::unique_ptr<ImageModel> makeTarget(ImageModel* output, Window const& window) const;

  BaseAlgorithm& m_algorithm;
  bool m_hadExtraMemory;
  unsigned long m_extraMemory;
  std::vector<Replaced<ImageModel const*>> m_inputs;
  std::vector<Replaced<ImageModel*>> m_outputs;
  std::vector<std::unique_ptr<ImageModel>> m_proxies;
  std::vector<Result> m_results;
  Window m_window{};
  bool m_isOutputWhole = true;          ///< else it has the size of the window
  unsigned long m_availableMemory = 0;  ///< for temporary images; set only for operators with margins
  bool m_hasWork = true;
  bool m_isRegionChosen = false;  ///< by this object, which clears it again
};

}  // namespace pxl

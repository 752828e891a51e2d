// Which edges the operators of the shipped plug-in give to the images they work on, in which order.
#include <limits>
#include <memory>
#include <vector>

#include "frame/support/SetProperty.h"
#include "gtest/gtest.h"
#include "host/support/PluginLoading.h"
#include "instrument/Recorder.h"
#include "instrument/ShippedPaths.h"
#include "pxl/AlgoInfo.h"
#include "pxl/Image.h"
#include "pxl/Plugins.h"
#include "pxl/Runnable.h"
#include "pxl/access/View.h"
#include "pxl/analysis/IntensityExtremaMsr.h"

namespace frame_test {
namespace {

/** What a border makes of a row of the voxels 1, 2, 3, read with three voxels on either side. */
using Reading = std::vector<double>;

Reading fixed(double value) { return {value, value, value, 1, 2, 3, value, value, value}; }
Reading const cContinued{1, 1, 1, 1, 2, 3, 3, 3, 3};
Reading const cMirrored{2, 3, 2, 1, 2, 3, 2, 1, 2};

/** Reads through the border of each view that is made. */
class BorderProbe : public pxl::instrument::Recorder {
 public:
  struct Made {
    pxl::ImageModel const* image;
    void const* border;
    Reading reading;
  };

  void onViewNew(pxl::ImageModel const* image, void const* border, pxl::VoxelTypes type) override {
    if (isReading) return;
    Recorder::onViewNew(image, border, type);
    if (type == pxl::cFloat)
      views.push_back({image, border, read<float>(border)});
    else
      views.push_back({image, border, read<short>(border)});
  }

  void onBorderNew(void const* border) override {
    if (!isReading) Recorder::onBorderNew(border);
  }

  /** The borders in the order of their making. */
  std::vector<void const*> getBorders() const {
    std::vector<void const*> borders;
    for (auto const& event : getTrace("BorderCondition::New")) borders.push_back(event.object);
    return borders;
  }

  std::vector<Made> views;

 private:
  template <class T>
  Reading read(void const* border) {
    isReading = true;
    auto const image = pxl::Image::New(pxl::helper::DataTypeToVoxelTypeEnum<T>::cVoxelType, {3, 1, 1, 1, 1});
    for (int i = 0; i < 3; ++i) static_cast<T*>(image->getVoxels())[i] = static_cast<T>(i + 1);
    auto const view = pxl::access::View<T>::New(static_cast<pxl::ImageModel const*>(image.get()),
                                                pxl::access::FixedBorderCondition<T>::New(0));
    T voxels[9];
    static_cast<pxl::access::BorderCondition<T> const*>(border)->readRowAt(view->getInterface(), voxels, voxels + 9,
                                                                           -3, 0, 0, 0, 0);
    isReading = false;
    return Reading(voxels, voxels + 9);
  }

  bool isReading = false;
};

/** Runs each operator on small images of 16 bits. */
class ShippedBorders : public testing::Test {
 protected:
  ShippedBorders() { host_test::loadPlugin(shipped::getPlugin()); }
  ~ShippedBorders() override { pxl::plugins::unload(shipped::getPlugin()); }

  void make(std::string const& name) {
    using pxl::ImageModel;
    m_algorithm = pxl::AlgoInfo::find(name.c_str())->create();
    bool const hasTwoInputs = m_algorithm->findProperty("inputImage1");
    setProperty<ImageModel const*>(*m_algorithm, hasTwoInputs ? "inputImage1" : "inputImage", m_first.get());
    if (hasTwoInputs) setProperty<ImageModel const*>(*m_algorithm, "inputImage2", m_second.get());
    if (m_algorithm->findProperty("outputImage"))
      setProperty<ImageModel*>(*m_algorithm, "outputImage", m_output.get());
    m_algorithm->setMaximumExtraMemoryUsageInBytes(1 << 20);
  }

  // The views that a run makes. Each border but those of temporaries is made for one view, before it.
  std::vector<BorderProbe::Made> run() {
    m_probe.clear();
    m_probe.views.clear();
    m_algorithm->getAlgoInfo()->getRunners().at(0)->run(m_algorithm.get());
    return m_probe.views;
  }

  void expectViews(std::vector<pxl::ImageModel const*> const& images, std::vector<Reading> const& readings) {
    auto const views = run();
    ASSERT_EQ(views.size(), readings.size());
    std::vector<void const*> borders;
    for (unsigned long i = 0; i < views.size(); ++i) {
      if (i < images.size()) {
        EXPECT_EQ(views[i].image, images[i]) << i;
      }
      EXPECT_EQ(views[i].reading, readings[i]) << i;
      borders.push_back(views[i].border);
    }
    EXPECT_EQ(m_probe.getBorders(), borders);
  }

  static std::shared_ptr<pxl::Image> makeImage() { return pxl::Image::New(pxl::cInteger16, {5, 4, 2, 1, 1}); }

  BorderProbe m_probe;
  std::shared_ptr<pxl::Image> m_first = makeImage(), m_second = makeImage(), m_output = makeImage();
  std::unique_ptr<pxl::BaseAlgorithm> m_algorithm;
};

TEST_F(ShippedBorders, OfExtremaContinueEachPart) {
  pxl::analysis::IntensityExtremaMsr measure;
  make("IntensityExtrema");
  setProperty(*m_algorithm, "outputMeasure", &measure);
  setProperty(*m_algorithm, "analysisDimensions", 0);
  expectViews({}, {cContinued});
  setProperty(*m_algorithm, "analysisDimensions", 1);
  auto const views = run();
  ASSERT_EQ(views.size(), 2U);
  for (auto const& view : views) EXPECT_EQ(view.reading, cContinued);
  EXPECT_EQ(m_probe.getBorders().size(), 2U) << "one for each part";
}

// The adapters' images are none of the caller's.
TEST_F(ShippedBorders, OfWeightedSumsMirrorTheInputAndAreZeroInTheOutput) {
  make("FiniteImpulseResponseFilter2D");
  setProperty(*m_algorithm, "kernel", pxl::kernel::Kernel2D({{0, 0}, {1, 0}}, {1, 2}));
  expectViews({}, {cMirrored, fixed(0)});
  make("FiniteImpulseResponseFilter3D");
  setProperty(*m_algorithm, "kernel", pxl::kernel::Kernel3D({{0, 0, 0}, {1, 0, 1}}, {1, 2}));
  expectViews({}, {cMirrored, fixed(0)});
}

TEST_F(ShippedBorders, OfLogicalOperationsAreZero) {
  make("LogicalOperationWithImage");
  expectViews({m_first.get(), m_second.get(), m_output.get()}, {fixed(0), fixed(0), fixed(0)});
  make("LogicalOperationWithValue");
  setProperty(*m_algorithm, "value", 3U);
  expectViews({m_first.get(), m_output.get()}, {fixed(0), fixed(0)});
}

TEST_F(ShippedBorders, OfDilationsAreLowestAndOfErosionsHighest) {
  using Limits = std::numeric_limits<short>;
  for (auto const& [operation, value] : {std::pair{"Dilation", Limits::lowest()}, {"Erosion", Limits::max()}}) {
    Reading const neutral = fixed(value);
    for (char const* shape : {"2d", "3d"})
      for (int neighborhood : {0, 1, 2}) {
        SCOPED_TRACE(std::string(operation) + shape);
        make(std::string(operation) + shape);
        setProperty(*m_algorithm, "neighborhood", neighborhood);
        expectViews({m_first.get(), m_output.get()}, {neutral, neutral});
        // The view of a temporary has the border of the output.
        setProperty(*m_algorithm, "numberOfIterations", 2U);
        auto const views = run();
        ASSERT_EQ(views.size(), 3U);
        for (auto const& view : views) EXPECT_EQ(view.reading, neutral);
        EXPECT_EQ(m_probe.getBorders(), (std::vector<void const*>{views[0].border, views[1].border}));
        EXPECT_EQ(views[2].border, views[1].border);
      }
    for (char const* shape : {"Ball3d", "Disk2d", "Disk3d", "Line2d", "Line3d"}) {
      SCOPED_TRACE(std::string(operation) + shape);
      make(std::string(operation) + shape);
      if (m_algorithm->findProperty("shapeMode")) setProperty(*m_algorithm, "shapeMode", 1);
      expectViews({m_first.get(), m_output.get()}, {neutral, neutral});
    }
    // Two stages of one pass each, in which the input is read once; borders may take the places of earlier ones.
    for (char const* shape : {"Ball3d", "Disk2d"}) {
      SCOPED_TRACE(std::string("fast ") + operation + shape);
      make(std::string(operation) + shape);
      setProperty(*m_algorithm, "radius", 2U);
      expectViews({m_first.get(), m_output.get(), m_output.get(), m_output.get()},
                  {neutral, neutral, neutral, neutral});
    }
  }
}

}  // namespace
}  // namespace frame_test

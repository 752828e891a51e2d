#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Arrays.h"
#include "pxl/Exception.h"
#include "qorn/io/FileError.h"
#include "qorn/io/ImageFile.h"
#include "qorn/io/OutputImage.h"
#include "qorn/io/WindowReader.h"

// Image files, by the program's own readers and writers. A module of its own: the libraries of the formats take
// longer to load than everything else.
namespace {

namespace py = pybind11;
namespace io = qorn::io;
using qorn::python::getFormat;

void translate(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (io::FileError const& error) {
    PyErr_SetString(PyExc_OSError, error.what());
  } catch (pxl::InvalidCall const& error) {
    PyErr_SetString(PyExc_ValueError, error.what());
  } catch (pxl::Exception const& error) {
    PyErr_SetString(PyExc_OSError, error.what());
  }
}

/** The sizes of the array, slowest first. */
std::vector<py::ssize_t> getShape(io::ImageHeader const& header) {
  auto const last = std::reverse_iterator(header.sizes.begin());
  return {last - header.rank, last};
}

/** The voxels of an image that was read, for numpy. */
struct Voxels {
  io::ImageFile file;
};

py::buffer_info getBuffer(Voxels& voxels) {
  pxl::Image& image = *voxels.file.image;
  auto const itemSize = static_cast<py::ssize_t>(pxl::helper::getSizeOf(image.getVoxelType()));
  std::vector<py::ssize_t> strides(static_cast<std::size_t>(voxels.file.header.rank));
  pxl::ImageStrides const own = image.getStrides();
  std::copy_n(own.begin(), strides.size(), strides.rbegin());
  return {image.getVoxels(),
          itemSize,
          getFormat(image.getVoxelType()),
          voxels.file.header.rank,
          getShape(voxels.file.header),
          strides};
}

std::unique_ptr<Voxels> readFile(std::string const& path, unsigned long maxCompressedVoxels) {
  py::gil_scoped_release const unlocked;
  io::ReadOptions options;
  options.isPrivate = true;  // no mapping that another process could cut
  options.maxCompressedVoxels = maxCompressedVoxels;
  return std::make_unique<Voxels>(Voxels{io::readImage(path, options)});
}

bool isInterrupted() {
  py::gil_scoped_acquire const locked;
  return PyErr_Occurred() != nullptr || PyErr_CheckSignals() != 0;
}

/** A range of positions along an axis. */
using Range = std::pair<long, long>;

/** A file that is read in parts, with the ranges of the axes of its array. */
class Windows {
 public:
  explicit Windows(std::string const& path) : m_reader(io::WindowReader::open(path, isInterrupted)) {}

  io::ImageHeader const& getHeader() const { return m_reader->getHeader(); }

  /** Fills an array in C order that has the sizes of the ranges. */
  void read(std::vector<Range> const& ranges, py::buffer const& array) const {
    py::buffer_info const info = array.request(true);
    std::array<Range, pxl::cNbComponents> all = checkRanges(ranges);
    unsigned long stackBytes = pxl::helper::getSizeOf(getHeader().type);
    for (int i = 0; i < cNbSpatialAxes; ++i) {
      auto const [begin, end] = all[static_cast<std::size_t>(i)];
      stackBytes *= static_cast<unsigned long>(end - begin);
    }
    auto const [firstTime, lastTime] = all[pxl::cSequence];
    auto const [firstChannel, lastChannel] = all[pxl::cSpectralSeries];
    auto const nbStacks = static_cast<unsigned long>((lastTime - firstTime) * (lastChannel - firstChannel));
    if (PyBuffer_IsContiguous(info.view(), 'C') == 0 ||
        static_cast<unsigned long>(info.size * info.itemsize) != stackBytes * nbStacks) {
      throw py::value_error("the array hasn't the sizes of the ranges");
    }
    auto* target = static_cast<char*>(info.ptr);
    try {
      py::gil_scoped_release const unlocked;
      for (long channel = firstChannel; channel < lastChannel; ++channel) {
        for (long time = firstTime; time < lastTime; ++time, target += stackBytes) {
          all[pxl::cSequence] = {time, time + 1};
          all[pxl::cSpectralSeries] = {channel, channel + 1};
          m_reader->read(makeRegion(all), target);
        }
      }
    } catch (pxl::ExceptionCancelation const&) {
      throw py::error_already_set();
    }
  }

 private:
  static constexpr int cNbSpatialAxes = 3;

  /** The ranges in the order of pxl::Components. */
  std::array<Range, pxl::cNbComponents> checkRanges(std::vector<Range> const& ranges) const {
    if (ranges.size() != static_cast<std::size_t>(getHeader().rank)) throw py::value_error("a range for each axis");
    std::array<Range, pxl::cNbComponents> all;
    all.fill({0, 1});
    std::copy(ranges.rbegin(), ranges.rend(), all.begin());
    for (std::size_t i = 0; i < all.size(); ++i) {
      auto const [begin, end] = all[i];
      if (begin < 0 || begin >= end || static_cast<unsigned long>(end) > getHeader().sizes[i]) {
        throw py::value_error("a range is empty or beyond the image");
      }
    }
    return all;
  }

  static pxl::access::Region makeRegion(std::array<Range, pxl::cNbComponents> const& all) {
    auto const begin = [&all](pxl::Components i) { return all[i].first; };
    auto const end = [&all](pxl::Components i) { return all[i].second; };
    return {begin(pxl::cRows),           end(pxl::cRows),          begin(pxl::cColumns),  end(pxl::cColumns),
            begin(pxl::cPlans),          end(pxl::cPlans),         begin(pxl::cSequence), end(pxl::cSequence),
            begin(pxl::cSpectralSeries), end(pxl::cSpectralSeries)};
  }

  std::unique_ptr<io::WindowReader> m_reader;
};

/** The header for an array: that of another file as far as it fits, or a new one. */
io::ImageHeader makeHeader(std::string const& path, py::buffer_info const& info, io::ImageHeader const* like) {
  std::vector<unsigned long> const shape(info.shape.begin(), info.shape.end());
  pxl::VoxelTypes const type = qorn::python::findVoxelType(info);
  io::ImageHeader const own = io::makeHeader(path, type, shape, false);
  if (like == nullptr) return own;
  if (own.sizes != like->sizes) throw py::value_error("the image hasn't the sizes of the header");
  io::ImageHeader header = *like;
  header.type = type;
  header.rank = own.rank;
  return header;
}

void writeFile(std::string const& path, py::buffer const& array, io::ImageHeader const* like, bool isReplacing) {
  py::buffer_info const info = array.request();
  if (PyBuffer_IsContiguous(info.view(), 'C') == 0) throw py::value_error("an image is written from C order");
  qorn::python::Axes axes;
  for (int i = 0; i < pxl::cNbComponents; ++i) {
    axes[static_cast<std::size_t>(i)] = i < info.ndim ? static_cast<int>(info.ndim) - 1 - i : -1;
  }
  qorn::python::ArrayImage const image(array, axes, false);
  io::ImageHeader const header = makeHeader(path, info, like);
  try {
    py::gil_scoped_release const unlocked;
    io::OutputOptions options;
    options.isReplacing = isReplacing;
    options.isCancelled = isInterrupted;
    io::OutputImage output(path, header, options, image.getImage());
    output.write();
    output.commit();
  } catch (pxl::ExceptionCancelation const&) {
    throw py::error_already_set();
  }
}

py::object getScale(io::ImageHeader const& header) {
  if (!header.scale) return py::none();
  return py::make_tuple(static_cast<double>(header.scale->slope), static_cast<double>(header.scale->intercept));
}

}  // namespace

PYBIND11_MODULE(_files, module) {
  module.doc() = "Image files.";
  py::register_local_exception_translator(translate);
  py::class_<io::ImageHeader>(module, "Header")
      .def_property_readonly("shape", [](io::ImageHeader const& h) { return py::tuple(py::cast(getShape(h))); })
      .def_property_readonly("dtype", [](io::ImageHeader const& h) { return pxl::helper::getNameOf(h.type); })
      .def_property_readonly("spacing",
                             [](io::ImageHeader const& h) {
                               std::vector<double> const reversed(h.spacing.rbegin(), h.spacing.rend());
                               return py::tuple(py::cast(reversed));
                             })
      .def_property_readonly("scale", getScale)
      .def_property_readonly("format", [](io::ImageHeader const& h) { return std::string(h.format); })
      .def("of_difference", [](io::ImageHeader header) {
        io::dropIntercept(header);
        return header;
      });
  py::class_<Voxels>(module, "Voxels", py::buffer_protocol())
      .def_buffer(getBuffer)
      .def_property_readonly("header", [](Voxels const& voxels) { return voxels.file.header; });
  py::class_<Windows>(module, "Windows")
      .def(py::init<std::string const&>(), py::arg("path"))
      .def_property_readonly("header", &Windows::getHeader)
      .def("read", &Windows::read, py::arg("ranges"), py::arg("array"));
  module.def("read_header", io::readImageHeader, py::arg("path"));
  module.def("read", readFile, py::arg("path"), py::arg("max_compressed_voxels"));
  module.def("write", writeFile, py::arg("path"), py::arg("array"), py::arg("like"), py::arg("replace"));
  module.attr("MAX_COMPRESSED_VOXELS") = io::cDefaultMaxCompressedVoxels;
}

#include "pxl/io/TemporaryImage.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <new>
#include <string>
#include <utility>

#include "Raise.h"
#include "access/FileDescriptor.h"
#include "access/FileStorage.h"
#include "access/ImageLimits.h"
#include "access/MemoryStorage.h"
#include "access/VoxelMemory.h"
#include "instrument/Instrument.h"
#include "pxl/Image.h"
#include "pxl/Settings.h"

namespace pxl::io {
namespace {

// The memory of the last temporary image, kept for the next one: reused pages cause no page faults.
class MemoryPool {
 public:
  static MemoryPool& get() {
    static MemoryPool* const pool = new MemoryPool;
    return *pool;
  }

  std::shared_ptr<void> take(unsigned long bytes) {
    // Read here because it allocates: returning memory must not fail.
    unsigned long const maxKept = globalSettings().getValueAsUnsignedLong("PXL_MAX_KEPT_MEMORY", cDefaultMaxKept);
    Block block = takeFitting(bytes);
    if (!block.memory) block = {access::allocateVoxels(bytes), bytes};
    return std::shared_ptr<void>(block.memory.get(), [this, block, maxKept](void*) {
      if (block.bytes <= maxKept) keep(block);
    });
  }

  unsigned long release() {
    Block block;
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      std::swap(block, m_kept);
    }
    return block.bytes;
  }

 private:
  static constexpr unsigned long cDefaultMaxKept = 1UL << 30;

  struct Block {
    std::shared_ptr<void> memory;
    unsigned long bytes = 0;
  };

  Block takeFitting(unsigned long bytes) {
    std::lock_guard<std::mutex> lock(m_mutex);
    Block const kept = std::exchange(m_kept, Block());
    return kept.bytes >= bytes && kept.bytes / 2 <= bytes ? kept : Block();
  }

  void keep(Block const& block) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_kept = block;
  }

  std::mutex m_mutex;
  Block m_kept;
};

std::string getFolderOfTemporaries() {
  char const* const folder = ::secure_getenv("PXLWORKS_TMPDIR");
  return folder && *folder ? folder : "/var/tmp";
}

// An unnamed file, or one that is unlinked at once if the file system doesn't support unnamed files; -1 on failure.
access::FileDescriptor openUnnamedFile(std::string const& folder) {
  int const file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (file >= 0) return access::FileDescriptor(file);
  std::string path = folder + "/pxlworks-XXXXXX";
  int const named = ::mkostemp(path.data(), O_CLOEXEC);
  if (named >= 0) ::unlink(path.c_str());
  return access::FileDescriptor(named);
}

std::shared_ptr<access::VoxelStorage> makeStorage(LocationMode location, VoxelTypes type, ImageSizes const& sizes) {
  if (location == cInMemory) {
    std::shared_ptr<void> const voxels = MemoryPool::get().take(access::checkLimits(type, sizes));
    return std::make_shared<access::MemoryStorage>(type, sizes, getPackedStrides(type, sizes),
                                                   static_cast<char*>(voxels.get()), true, voxels, nullptr);
  }
  std::string const folder = getFolderOfTemporaries();
  return std::make_shared<access::FileStorage>(type, sizes, openUnnamedFile(folder), folder);
}

}  // namespace

TemporaryImageReference::TemporaryImageReference() = default;
TemporaryImageReference::TemporaryImageReference(std::shared_ptr<TemporaryImage> image) : m_image(std::move(image)) {}
TemporaryImageReference::TemporaryImageReference(TemporaryImageReference const&) = default;
TemporaryImageReference& TemporaryImageReference::operator=(TemporaryImageReference const&) = default;
TemporaryImageReference::~TemporaryImageReference() = default;

TemporaryImage* TemporaryImageReference::operator->() const {
  if (!m_image) PXL_RAISE(UnexpectedError, "an empty reference to a temporary image is used");
  return m_image.get();
}

TemporaryImage::TemporaryImage(LocationMode location) : m_location(location) {}
TemporaryImage::~TemporaryImage() { PXL_PROBE(onTemporaryDelete(this)); }

TemporaryImageReference TemporaryImage::New(LocationMode location) {
  bool isMade = true;
  PXL_PROBE(onTemporaryNew(location, isMade));
  if (!isMade) return TemporaryImageReference();
  return TemporaryImageReference(std::shared_ptr<TemporaryImage>(new TemporaryImage(location)));
}

bool TemporaryImage::reserve(VoxelTypes const& type, unsigned long cols, unsigned long rows, unsigned long plans,
                             unsigned long sequence, unsigned long spectralSeries) {
  bool isGranted = true;
  PXL_PROBE(onReserve(type, cols, rows, plans, sequence, spectralSeries, isGranted));
  if (!isGranted) return false;
  try {
    m_image = Image::OnStorage(makeStorage(m_location, type, {cols, rows, plans, sequence, spectralSeries}));
    return true;
  } catch (Exception const&) {
    return false;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

ImageModel* TemporaryImage::getImageModel() const { return m_image.get(); }

}  // namespace pxl::io

namespace pxl {

unsigned long releaseTemporaries() { return io::MemoryPool::get().release(); }

}  // namespace pxl

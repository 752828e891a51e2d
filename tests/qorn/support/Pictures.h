#pragma once

#include "qorn/io/ImageFile.h"
#include "qorn/io/OutputImage.h"
#include "support/Pixels.h"

namespace test {

/** Saves an image with the header it was read with. */
inline void saveAgain(std::string const& path, qorn::io::ImageFile const& read) {
  qorn::io::OutputImage output(path, read.header, {}, read.image);
  output.write();
  output.commit();
}

}  // namespace test

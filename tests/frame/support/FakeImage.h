#pragma once

#include <string>
#include <vector>

#include "instrument/Recorder.h"
#include "pxl/ImageModel.h"
#include "pxl/Property.h"

namespace frame_test {

/** The calls of a runner in their order: properties by name, device questions, and what FakeImages were asked. */
class LoggingProbe : public pxl::instrument::Recorder {
 public:
  std::vector<std::string> log;

  void onPropertyRead(pxl::PropertyBase const& property) override {
    log.emplace_back(property.getName());
    Recorder::onPropertyRead(property);
  }
  void onHasSSE(bool& value) override {
    log.emplace_back("hasSSE");
    Recorder::onHasSSE(value);
  }
  void onSSELevel(int& level) override {
    log.emplace_back("getSSELevel");
    Recorder::onSSELevel(level);
  }
  void onSizeOf(pxl::VoxelTypes type, unsigned long& size) override {
    log.emplace_back("getSizeOf");
    Recorder::onSizeOf(type, size);
  }
};

/** An image model without voxels that says whatever type a test wants, also one that doesn't exist. */
class FakeImage : public pxl::ImageModel {
 public:
  explicit FakeImage(int voxelType, int imageInterpretation = pxl::cGrey)
      : type(voxelType), interpretation(imageInterpretation) {}

  /** Questions are logged as `prefix`.type and so on. */
  void logInto(std::vector<std::string>& calls, char const* prefix) {
    m_log = &calls;
    m_prefix = prefix;
  }

  unsigned long getNumOf(pxl::Components const&) const override { return note(".size"), 1; }
  pxl::VoxelTypes getVoxelType() const override { return note(".type"), static_cast<pxl::VoxelTypes>(type); }
  int getInterpretation() const override { return note(".interpretation"), interpretation; }

  int type;
  int interpretation;

 private:
  void note(char const* question) const {
    if (m_log) m_log->push_back(m_prefix + question);
  }

  std::vector<std::string>* m_log = nullptr;
  std::string m_prefix;
};

}  // namespace frame_test

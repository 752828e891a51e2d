#include "instrument/Recorder.h"

#include <algorithm>
#include <utility>

#include "pxl/AlgoInfo.h"
#include "pxl/Property.h"

namespace pxl::instrument {

Recorder::Recorder() { setProbe(this); }
Recorder::~Recorder() { setProbe(nullptr); }

std::vector<Event> Recorder::getTrace() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_trace;
}

std::vector<Event> Recorder::getTrace(std::string const& name) const {
  std::vector<Event> events;
  for (Event const& event : getTrace())
    if (event.name == name) events.push_back(event);
  return events;
}

std::vector<std::string> Recorder::getNames(std::vector<std::string> const& except) const {
  std::vector<std::string> names;
  for (Event const& event : getTrace())
    if (std::find(except.begin(), except.end(), event.name) == except.end()) names.push_back(event.name);
  return names;
}

unsigned long Recorder::count(std::string const& name) const { return getTrace(name).size(); }

void Recorder::clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_trace.clear();
}

Event Recorder::record(std::string name, void const* object, std::vector<long> values, std::string text) {
  Event event{std::move(name), object, std::move(values), std::this_thread::get_id(), std::move(text)};
  if (!isTracing) return event;
  std::lock_guard<std::mutex> lock(m_mutex);
  m_trace.push_back(event);
  return event;
}

void Recorder::onReadRow(void const* viewInterface, void const*, long count, long col, long row, long plan,
                         long sequence, long spectralSeries) {
  if (!isTracing && !onRead) return;
  Event const event = record("readRowAt", viewInterface, {count, col, row, plan, sequence, spectralSeries});
  if (onRead) onRead(event);
}

void Recorder::onWriteRow(void const* viewInterface, void const*, long count, long col, long row, long plan,
                          long sequence, long spectralSeries, bool& isStored) {
  if (!isTracing && !onWrite) return;
  Event const event = record("writeRowAt", viewInterface, {count, col, row, plan, sequence, spectralSeries});
  if (onWrite) isStored = onWrite(event);
}

void Recorder::onViewNew(ImageModel const* image, void const*, VoxelTypes type) {
  ++m_nbViews;
  record("View::New", image, {type});
}
void Recorder::onViewDelete(void const*) { --m_nbViews; }
void Recorder::onBorderNew(void const* border) {
  ++m_nbBorders;
  record("BorderCondition::New", border, {});
}
void Recorder::onBorderDelete(void const*) { --m_nbBorders; }
void Recorder::onCreateCache(char const* operation, unsigned long count) {
  record(operation, nullptr, {static_cast<long>(count)});
}

void Recorder::onTemporize(void const* viewInterface, long count, long col, long row, long plan, long sequence,
                           long spectralSeries) {
  if (isTracing) record("temporizeRowWriting", viewInterface, {count, col, row, plan, sequence, spectralSeries});
}
void Recorder::onWriteAllTemporized(void const* viewInterface) {
  record("writeAllTemporizedRows", viewInterface, {});
}
void Recorder::onTemporaryNew(int location, bool& isMade) {
  if (isTemporaryMade) isMade = *isTemporaryMade;
  if (isMade) ++m_nbTemporaries;
  record("TemporaryImage::New", nullptr, {location});
}
void Recorder::onTemporaryDelete(void const*) { --m_nbTemporaries; }
void Recorder::onReserve(VoxelTypes type, unsigned long cols, unsigned long rows, unsigned long plans,
                         unsigned long sequence, unsigned long spectralSeries, bool& isGranted) {
  if (isReserveGranted) isGranted = *isReserveGranted;
  auto const number = [](unsigned long value) { return static_cast<long>(value); };
  record("reserve", nullptr,
         {type, number(cols), number(rows), number(plans), number(sequence), number(spectralSeries)});
}

void Recorder::onAdapterNew(ImageModel const* image, VoxelTypes type) { record("ImageModelAdapter", image, {type}); }
// With the number of views that still live.
void Recorder::onAdapterDelete(ImageModelAdapter const* adapter) {
  record("~ImageModelAdapter", adapter, {m_nbViews});
}
void Recorder::onAdapterGetImageModel(ImageModelAdapter const* adapter) { record("getImageModel", adapter, {}); }

void Recorder::onFrameNew(void const*) { ++m_nbFrames; }
void Recorder::onFrameDelete(void const*) { --m_nbFrames; }
void Recorder::onRunChild(void const* parent, void const*) { record("runChildAlgo", parent, {}); }
void Recorder::onSetNumberOfSteps(void const* frame, unsigned long count) {
  record("setNumberOfSteps", frame, {static_cast<long>(count)});
}
void Recorder::onSetMaxProgress(void const* frame, unsigned long count) {
  record("setMaxProgress", frame, {static_cast<long>(count)});
}
void Recorder::onGrains(void const* frame, AbstractPartitionerPolicy::PartitionerGrainSizes& sizes) {
  if (grains) sizes = *grains;
  record("getPartitionerGrainSizes", frame,
         {static_cast<long>(sizes.cols), static_cast<long>(sizes.rows), static_cast<long>(sizes.plans)});
}

void Recorder::onPropertyRead(PropertyBase const& property) {
  record("propertyRead", &property, {}, property.getName());
  if (onProperty) onProperty(property);
}
void Recorder::onPropertyWrite(PropertyBase const& property) {
  record("propertyWrite", &property, {}, property.getName());
}
void Recorder::onMeasureResize(void const* array) { record("resize", array, {}); }
void Recorder::onSetting(char const* name, bool& value) {
  if (setting) value = *setting;
  record("getValueAsBool", nullptr, {value}, name);
}
void Recorder::onHasImageOnDisk(bool& value) {
  if (isOnDisk) value = *isOnDisk;
  record("hasPropertyImageOnDisk", nullptr, {value});
}
void Recorder::onExtraMemory(unsigned long& bytes) {
  if (extraMemory) bytes = *extraMemory;
  record("getMaximumExtraMemoryUsageInBytes", nullptr, {static_cast<long>(bytes)});
}

void Recorder::onHasSSE(bool& value) {
  if (hasSSE) value = *hasSSE;
  record("hasSSE", nullptr, {value});
}
void Recorder::onSSELevel(int& level) {
  if (sseLevel) level = *sseLevel;
  record("getSSELevel", nullptr, {level});
}
void Recorder::onSizeOf(VoxelTypes type, unsigned long& size) {
  if (sizeOf) size = sizeOf(type, size);
}
void Recorder::onClassInfo(char const* name, AlgoInfo*& info) {
  if (classInfo) info = classInfo(name, info);
  record("getClassInfo", info, {}, name);
}
void Recorder::onAddRunner(AlgoInfo* info, Runnable* runner) { record("addRunner", runner, {}, info->getName()); }
void Recorder::onRemoveRunner(AlgoInfo* info, Runnable* runner) {
  record("removeRunner", runner, {}, info->getName());
}

}  // namespace pxl::instrument

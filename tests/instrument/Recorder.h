#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "instrument/Probe.h"

namespace pxl::instrument {

/** One call of the host. */
struct Event {
  std::string name;  ///< the operation, such as "readRowAt"
  void const* object;
  std::vector<long> values;  ///< its numbers, in the order of the operation's arguments
  std::thread::id thread;
  std::string text;  ///< the name of a property, setting or class
};

/**
 * The probe of most tests. It is active while it exists, keeps a trace of every call, and returns the answers that a
 * test sets. They are set before the run; the trace is read after it.
 */
class Recorder : public Probe {
 public:
  Recorder();
  ~Recorder() override;

  std::vector<Event> getTrace() const;
  std::vector<Event> getTrace(std::string const& name) const;
  /** The names of the trace, without those in `except`. */
  std::vector<std::string> getNames(std::vector<std::string> const& except = {}) const;
  unsigned long count(std::string const& name) const;
  void clear();
  /** Tracing takes a lock for each call; large runs disable it. */
  bool isTracing = true;

  std::optional<AbstractPartitionerPolicy::PartitionerGrainSizes> grains;
  std::optional<bool> hasSSE;
  std::optional<int> sseLevel;
  std::optional<unsigned long> extraMemory;
  std::optional<bool> isOnDisk;
  std::optional<bool> setting;
  std::optional<bool> isTemporaryMade;
  std::optional<bool> isReserveGranted;
  /** Called in each read or write of a row; may cancel, throw or wait. Returning false makes a write fail. */
  std::function<void(Event const&)> onRead;
  std::function<bool(Event const&)> onWrite;
  std::function<void(PropertyBase const&)> onProperty;
  std::function<unsigned long(VoxelTypes, unsigned long)> sizeOf;
  std::function<AlgoInfo*(std::string const&, AlgoInfo*)> classInfo;

  /** Existing objects of the host that were made while this recorder was active. */
  long nbViews() const { return m_nbViews; }
  long nbBorders() const { return m_nbBorders; }
  long nbFrames() const { return m_nbFrames; }
  long nbTemporaries() const { return m_nbTemporaries; }

  void onReadRow(void const* viewInterface, void const* voxels, long count, long col, long row, long plan,
                 long sequence, long spectralSeries) override;
  void onWriteRow(void const* viewInterface, void const* voxels, long count, long col, long row, long plan,
                  long sequence, long spectralSeries, bool& isStored) override;
  void onViewNew(ImageModel const* image, void const* border, VoxelTypes type) override;
  void onViewDelete(void const* view) override;
  void onBorderNew(void const* border) override;
  void onBorderDelete(void const* border) override;
  void onCreateCache(char const* operation, unsigned long count) override;
  void onTemporize(void const* viewInterface, long count, long col, long row, long plan, long sequence,
                   long spectralSeries) override;
  void onWriteAllTemporized(void const* viewInterface) override;
  void onTemporaryNew(int location, bool& isMade) override;
  void onTemporaryDelete(void const* temporary) override;
  void onReserve(VoxelTypes type, unsigned long cols, unsigned long rows, unsigned long plans, unsigned long sequence,
                 unsigned long spectralSeries, bool& isGranted) override;
  void onAdapterNew(ImageModel const* image, VoxelTypes type) override;
  void onAdapterDelete(ImageModelAdapter const* adapter) override;
  void onAdapterGetImageModel(ImageModelAdapter const* adapter) override;
  void onFrameNew(void const* frame) override;
  void onFrameDelete(void const* frame) override;
  void onRunChild(void const* parent, void const* child) override;
  void onSetNumberOfSteps(void const* frame, unsigned long count) override;
  void onSetMaxProgress(void const* frame, unsigned long count) override;
  void onGrains(void const* frame, AbstractPartitionerPolicy::PartitionerGrainSizes& sizes) override;
  void onPropertyRead(PropertyBase const& property) override;
  void onPropertyWrite(PropertyBase const& property) override;
  void onMeasureResize(void const* array) override;
  void onSetting(char const* name, bool& value) override;
  void onHasImageOnDisk(bool& value) override;
  void onExtraMemory(unsigned long& bytes) override;
  void onHasSSE(bool& value) override;
  void onSSELevel(int& level) override;
  void onSizeOf(VoxelTypes type, unsigned long& size) override;
  void onClassInfo(char const* name, AlgoInfo*& record) override;
  void onAddRunner(AlgoInfo* record, Runnable* runner) override;
  void onRemoveRunner(AlgoInfo* record, Runnable* runner) override;

 private:
  Event record(std::string name, void const* object, std::vector<long> values, std::string text = {});

  mutable std::mutex m_mutex;
  std::vector<Event> m_trace;
  std::atomic<long> m_nbViews{0};
  std::atomic<long> m_nbBorders{0};
  std::atomic<long> m_nbFrames{0};
  std::atomic<long> m_nbTemporaries{0};
};

}  // namespace pxl::instrument

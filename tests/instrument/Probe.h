#pragma once

#include "pxl/PartitionerPolicy.h"
#include "pxl/VoxelTypes.h"

namespace pxl {

class AlgoInfo;
class ImageModel;
class ImageModelAdapter;
class PropertyBase;
class Runnable;

namespace instrument {

/**
 * Observes the calls of the host core, and changes some of its answers. Derive from it and activate it with
 * setProbe(). Its functions are called on the thread of the call, before the host acts; arguments by reference may be
 * changed.
 */
class __attribute__((visibility("default"))) Probe {
 public:
  virtual ~Probe();

  virtual void onReadRow(void const* viewInterface, void const* voxels, long count, long col, long row, long plan,
                         long sequence, long spectralSeries);
  virtual void onWriteRow(void const* viewInterface, void const* voxels, long count, long col, long row, long plan,
                          long sequence, long spectralSeries, bool& isStored);
  virtual void onViewNew(ImageModel const* image, void const* border, VoxelTypes type);
  virtual void onViewDelete(void const* view);
  virtual void onBorderNew(void const* border);
  virtual void onBorderDelete(void const* border);
  virtual void onCreateCache(char const* operation, unsigned long count);
  virtual void onTemporize(void const* viewInterface, long count, long col, long row, long plan, long sequence,
                           long spectralSeries);
  virtual void onWriteAllTemporized(void const* viewInterface);
  virtual void onTemporaryNew(int location, bool& isMade);
  virtual void onTemporaryDelete(void const* temporary);
  virtual void onReserve(VoxelTypes type, unsigned long cols, unsigned long rows, unsigned long plans,
                         unsigned long sequence, unsigned long spectralSeries, bool& isGranted);

  virtual void onAdapterNew(ImageModel const* image, VoxelTypes type);
  /** Before anything is stored. */
  virtual void onAdapterDelete(ImageModelAdapter const* adapter);
  virtual void onAdapterGetImageModel(ImageModelAdapter const* adapter);

  virtual void onFrameNew(void const* frame);
  virtual void onFrameDelete(void const* frame);
  virtual void onRunChild(void const* parent, void const* child);
  virtual void onSetNumberOfSteps(void const* frame, unsigned long count);
  virtual void onSetMaxProgress(void const* frame, unsigned long count);
  virtual void onGrains(void const* frame, AbstractPartitionerPolicy::PartitionerGrainSizes& grains);

  virtual void onPropertyRead(PropertyBase const& property);
  virtual void onPropertyWrite(PropertyBase const& property);
  virtual void onMeasureResize(void const* array);
  virtual void onSetting(char const* name, bool& value);
  virtual void onHasImageOnDisk(bool& isOnDisk);
  virtual void onExtraMemory(unsigned long& bytes);

  virtual void onHasSSE(bool& hasSSE);
  virtual void onSSELevel(int& level);
  virtual void onSizeOf(VoxelTypes type, unsigned long& size);
  virtual void onClassInfo(char const* name, AlgoInfo*& record);
  virtual void onAddRunner(AlgoInfo* record, Runnable* runner);
  virtual void onRemoveRunner(AlgoInfo* record, Runnable* runner);
};

/** The active probe, or null. */
__attribute__((visibility("default"))) Probe* getProbe();
__attribute__((visibility("default"))) void setProbe(Probe* probe);

}  // namespace instrument
}  // namespace pxl

#include "instrument/Probe.h"

#include <atomic>

namespace pxl::instrument {
namespace {

std::atomic<Probe*> activeProbe{nullptr};

}  // namespace

Probe* getProbe() { return activeProbe.load(std::memory_order_acquire); }
void setProbe(Probe* probe) { activeProbe.store(probe, std::memory_order_release); }

Probe::~Probe() = default;
void Probe::onReadRow(void const*, void const*, long, long, long, long, long, long) {}
void Probe::onWriteRow(void const*, void const*, long, long, long, long, long, long, bool&) {}
void Probe::onViewNew(ImageModel const*, void const*, VoxelTypes) {}
void Probe::onViewDelete(void const*) {}
void Probe::onBorderNew(void const*) {}
void Probe::onBorderDelete(void const*) {}
void Probe::onCreateCache(char const*, unsigned long) {}
void Probe::onTemporize(void const*, long, long, long, long, long, long) {}
void Probe::onWriteAllTemporized(void const*) {}
void Probe::onTemporaryNew(int, bool&) {}
void Probe::onTemporaryDelete(void const*) {}
void Probe::onReserve(VoxelTypes, unsigned long, unsigned long, unsigned long, unsigned long, unsigned long, bool&) {}
void Probe::onAdapterNew(ImageModel const*, VoxelTypes) {}
void Probe::onAdapterDelete(ImageModelAdapter const*) {}
void Probe::onAdapterGetImageModel(ImageModelAdapter const*) {}
void Probe::onFrameNew(void const*) {}
void Probe::onFrameDelete(void const*) {}
void Probe::onRunChild(void const*, void const*) {}
void Probe::onSetNumberOfSteps(void const*, unsigned long) {}
void Probe::onSetMaxProgress(void const*, unsigned long) {}
void Probe::onGrains(void const*, AbstractPartitionerPolicy::PartitionerGrainSizes&) {}
void Probe::onPropertyRead(PropertyBase const&) {}
void Probe::onPropertyWrite(PropertyBase const&) {}
void Probe::onMeasureResize(void const*) {}
void Probe::onSetting(char const*, bool&) {}
void Probe::onHasImageOnDisk(bool&) {}
void Probe::onExtraMemory(unsigned long&) {}
void Probe::onHasSSE(bool&) {}
void Probe::onSSELevel(int&) {}
void Probe::onSizeOf(VoxelTypes, unsigned long&) {}
void Probe::onClassInfo(char const*, AlgoInfo*&) {}
void Probe::onAddRunner(AlgoInfo*, Runnable*) {}
void Probe::onRemoveRunner(AlgoInfo*, Runnable*) {}

}  // namespace pxl::instrument

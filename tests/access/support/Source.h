#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Core/private/Access/RowCache.h"
#include "Core/private/Access/simd/SimdVec.h"
#include "oracle/HostImages.h"
#include "oracle/Oracle.h"

namespace access_test {

/** An image of the oracle, the same as an image of the host, and a view on it. */
template <class T>
struct Source {
  using View = pxl::access::View<T>;
  using Border = std::shared_ptr<pxl::access::BorderCondition<T>>;

  explicit Source(oracle::Image<T> image, Border border = pxl::access::ContinueBorderCondition<T>::New())
      : expected(std::move(image)),
        host(oracle::toHost(expected)),
        view(View::New(static_cast<pxl::ImageModel const*>(host.get()), std::move(border))) {}

  oracle::Image<T> const expected;
  std::shared_ptr<pxl::Image> const host;
  std::shared_ptr<View const> view;
};

/** What a reading kernel needs from its filter. */
template <class T>
struct KernelInput {
  using ArchType = pxl::SimdVec::arch_128_tag;
  using ViewType = pxl::access::View<T>;
  std::shared_ptr<ViewType const> const& getInput() const { return view; }
  std::shared_ptr<ViewType const> view;
};

/** A block that records which of its functions are called. All sizes and begins differ. */
class TracingBlock final : public pxl::access::Block {
 public:
  explicit TracingBlock(oracle::Five const& blockBegin, oracle::Five const& blockSize = {1, 1, 1, 1, 1})
      : begin(blockBegin), size(blockSize) {}

  long getNbCols() const override { return note("getNbCols", size[0]); }
  long colsBegin() const override { return note("colsBegin", begin[0]); }
  long colsEnd() const override { return note("colsEnd", begin[0] + size[0]); }
  long getNbRows() const override { return note("getNbRows", size[1]); }
  long rowsBegin() const override { return note("rowsBegin", begin[1]); }
  long rowsEnd() const override { return note("rowsEnd", begin[1] + size[1]); }
  long getNbPlans() const override { return note("getNbPlans", size[2]); }
  long plansBegin() const override { return note("plansBegin", begin[2]); }
  long plansEnd() const override { return note("plansEnd", begin[2] + size[2]); }
  long getNbSequencePlans() const override { return note("getNbSequencePlans", size[3]); }
  long sequenceBegin() const override { return note("sequenceBegin", begin[3]); }
  long sequenceEnd() const override { return note("sequenceEnd", begin[3] + size[3]); }
  long getNbSpectralSeries() const override { return note("getNbSpectralSeries", size[4]); }
  long spectralSeriesBegin() const override { return note("spectralSeriesBegin", begin[4]); }
  long spectralSeriesEnd() const override { return note("spectralSeriesEnd", begin[4] + size[4]); }

  oracle::Five const begin;
  oracle::Five const size;
  mutable std::vector<std::string> log;
  /** Called in each operation. */
  void (*onCall)(TracingBlock const& block) = nullptr;
  void const* context = nullptr;  ///< for onCall

 private:
  long note(char const* operation, long value) const {
    log.emplace_back(operation);
    if (onCall) onCall(*this);
    return value;
  }
};

}  // namespace access_test

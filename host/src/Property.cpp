#include "pxl/Property.h"

#include "Raise.h"
#include "instrument/Instrument.h"
#include "pxl/BaseAlgorithm.h"
#include "pxl/analysis/IntensityExtremaMsr.h"

namespace pxl {
namespace {

template <class T>
constexpr bool cIsMeasure = std::is_same_v<typename PropertyParent<T>::Type, MeasureProperty>;

template <class T>
constexpr std::enable_if_t<cIsMeasure<T>, PropertyKinds> cKindOf = PropertyKinds::cMeasure;
template <>
constexpr PropertyKinds cKindOf<ImageModel const*> = PropertyKinds::cInputImage;
template <>
constexpr PropertyKinds cKindOf<ImageModel*> = PropertyKinds::cOutputImage;
template <>
constexpr PropertyKinds cKindOf<int> = PropertyKinds::cInteger;
template <>
constexpr PropertyKinds cKindOf<unsigned int> = PropertyKinds::cUnsignedInteger;
template <>
constexpr PropertyKinds cKindOf<double> = PropertyKinds::cReal;
template <>
constexpr PropertyKinds cKindOf<kernel::Kernel2D> = PropertyKinds::cKernel2D;
template <>
constexpr PropertyKinds cKindOf<kernel::Kernel3D> = PropertyKinds::cKernel3D;
template <>
constexpr PropertyKinds cKindOf<kernel::StructuringElement> = PropertyKinds::cElement;

// Whether a value counts as set: pointers must not be null, kernels must have taps.
template <class T>
bool isValue(T const&) {
  return true;
}
template <class T>
bool isValue(T* const& pointer) {
  return pointer != nullptr;
}
template <>
bool isValue(kernel::Kernel2D const& kernel) {
  return !kernel.getOffsets().empty();
}
template <>
bool isValue(kernel::Kernel3D const& kernel) {
  return !kernel.getOffsets().empty();
}
template <>
bool isValue(kernel::StructuringElement const& element) {
  return element.getKind() != kernel::ElementKinds::cNone;
}

struct TypeNames {
  char const* operator()(Property<ImageModel const*> const&) const { return "input image"; }
  char const* operator()(Property<ImageModel*> const&) const { return "output image"; }
  char const* operator()(Property<int> const&) const { return "integer"; }
  char const* operator()(Property<unsigned int> const&) const { return "unsigned integer"; }
  char const* operator()(Property<double> const&) const { return "real"; }
  char const* operator()(Property<kernel::Kernel2D> const&) const { return "2-D kernel"; }
  char const* operator()(Property<kernel::Kernel3D> const&) const { return "3-D kernel"; }
  char const* operator()(Property<kernel::StructuringElement> const&) const { return "element"; }
  char const* operator()(MeasureProperty const&) const { return "measure"; }
};

}  // namespace

char const* getTypeName(PropertyBase const& property) { return visitProperty(property, TypeNames()); }

PropertyBase::PropertyBase(BaseAlgorithm& owner, PropertyKinds kind, char const* name, char const* help,
                           bool hasDefault, Choices const& choices)
    : m_name(name), m_help(help), m_kind(kind), m_hasDefault(hasDefault), m_choices(choices) {
  owner.m_properties.push_back(this);
}

PropertyBase::~PropertyBase() = default;

char const* PropertyBase::getName() const { return m_name; }
char const* PropertyBase::getHelp() const { return m_help; }
PropertyKinds PropertyBase::getKind() const { return m_kind; }
bool PropertyBase::hasDefault() const { return m_hasDefault; }
Choices const& PropertyBase::getChoices() const { return m_choices; }

MeasureProperty::~MeasureProperty() = default;

template <class T>
Property<T>::Property(BaseAlgorithm& owner, char const* name, char const* help)
    : PropertyParent<T>::Type(owner, cKindOf<T>, name, help, false), m_value(), m_default(), m_isSet(false) {}

template <class T>
Property<T>::Property(BaseAlgorithm& owner, char const* name, T const& defaultValue, char const* help)
    : PropertyParent<T>::Type(owner, cKindOf<T>, name, help, true),
      m_value(defaultValue),
      m_default(defaultValue),
      m_isSet(true) {}

template <class T>
Property<T>::Property(BaseAlgorithm& owner, char const* name, T const& defaultValue, Choices const& choices,
                      char const* help)
    : PropertyParent<T>::Type(owner, cKindOf<T>, name, help, true, choices),
      m_value(defaultValue),
      m_default(defaultValue),
      m_isSet(true) {}

template <class T>
Property<T>::~Property() = default;

template <class T>
T Property<T>::get() const {
  PXL_PROBE(onPropertyRead(*this));
  return m_value;
}

template <class T>
Property<T>::operator T() const {
  return get();
}

template <class T>
void Property<T>::set(T const& value) {
  PXL_PROBE(onPropertyWrite(*this));
  m_value = value;
  m_isSet = isValue(value);
}

template <class T>
Property<T>& Property<T>::operator=(T const& value) {
  set(value);
  return *this;
}

template <class T>
T Property<T>::getDefault() const {
  return m_default;
}

template <class T>
bool Property<T>::isSet() const {
  return m_isSet;
}

template <class T>
void Property<T>::assign(PropertyBase const& other) {
  auto const* const same = dynamic_cast<Property const*>(&other);
  if (!same) PXL_RAISE(InvalidCall, std::string(this->getName()) + " has another type than " + other.getName());
  set(same->get());
}

template <class T>
std::unique_ptr<analysis::Measure> Property<T>::makeMeasure() {
  if constexpr (cIsMeasure<T>) {
    auto measure = std::make_unique<std::remove_pointer_t<T>>();
    set(measure.get());
    return measure;
  }
  return nullptr;
}

template class Property<ImageModel const*>;
template class Property<ImageModel*>;
template class Property<int>;
template class Property<unsigned int>;
template class Property<double>;
template class Property<kernel::Kernel2D>;
template class Property<kernel::Kernel3D>;
template class Property<kernel::StructuringElement>;
template class Property<analysis::IntensityExtremaMsr*>;

}  // namespace pxl

#include "pxl/Settings.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

#include "instrument/Instrument.h"

namespace pxl {
namespace {

std::optional<bool> parseBool(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  for (char const* name : {"true", "1", "on", "yes"})
    if (text == name) return true;
  for (char const* name : {"false", "0", "off", "no"})
    if (text == name) return false;
  return std::nullopt;
}

}  // namespace

Settings::Settings() = default;
Settings::~Settings() = default;

void Settings::setValue(String const& name, String const& value) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_values[name.str()] = value.str();
}

void Settings::clearValue(String const& name) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_values.erase(name.str());
}

String Settings::getValueAsString(String const& name, String const& defaultValue) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  auto const found = m_values.find(name.str());
  return found == m_values.end() ? defaultValue : String(found->second);
}

bool Settings::getValueAsBool(String const& name, bool defaultValue) const {
  bool value = parseBool(getValueAsString(name, "").str()).value_or(defaultValue);
  PXL_PROBE(onSetting(name.c_str(), value));
  return value;
}

unsigned long Settings::getValueAsUnsignedLong(String const& name, unsigned long defaultValue) const {
  std::string const text = getValueAsString(name, "").str();
  unsigned long value = 0;
  auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
  bool const isWhole = result.ec == std::errc() && result.ptr == text.data() + text.size();
  return isWhole && !text.empty() ? value : defaultValue;
}

std::vector<Settings::Description> const& Settings::getDescriptions() {
  static auto const& descriptions = *new std::vector<Description>{
      {"PXL_MAX_EXTRA_MEMORY", "bytes",
       "memory that a run may use beyond its images, unless set for the run; default half of the free memory"},
      {"PXL_MAX_KEPT_MEMORY", "bytes",
       "a temporary image's memory is kept for the next one up to this size; default 1 GiB, 0 keeps none"},
      {"PXL_RECURSIVITY_TMP_DISK_IMAGE", "boolean",
       "whether repeated steps on images on disk alternate with a temporary image on disk; default true"}};
  return descriptions;
}

// Never destroyed, nor are the descriptions: runs are possible until the very end of the process.
Settings& globalSettings() {
  static Settings* const settings = new Settings;
  return *settings;
}

}  // namespace pxl

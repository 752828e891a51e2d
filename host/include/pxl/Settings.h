#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "pxl/Export.h"
#include "pxl/Noncopyable.h"
#include "pxl/String.h"

namespace pxl {

/** Named values of the process, stored as texts. Thread-safe. Not persistent. */
class PXL_API Settings : private Noncopyable {
 public:
  Settings();
  ~Settings();

  void setValue(String const& name, String const& value);
  void clearValue(String const& name);

  /** "true", "1", "on", "yes" or "false", "0", "off", "no", in any case; the default for a missing or other text. */
  bool getValueAsBool(String const& name, bool defaultValue) const;
  /** A decimal number of bytes; the default for a missing or other text. */
  unsigned long getValueAsUnsignedLong(String const& name, unsigned long defaultValue) const;
  String getValueAsString(String const& name, String const& defaultValue) const;

  /** The description of a setting. */
  struct Description {
    char const* name;
    char const* type;
    char const* help;
  };
  /** All settings that this system reads. */
  static std::vector<Description> const& getDescriptions();

 private:
  mutable std::mutex m_mutex;
  std::map<std::string, std::string> m_values;
};

/** The settings of the process. */
PXL_API Settings& globalSettings();

}  // namespace pxl

# The warnings of the whole tree, as a target that every target of the project links. Conversions that may change a
# value are findings where PXLWORKS_CHECKS_CONVERSIONS is set on a target.
add_library(pxlworks_warnings INTERFACE)
target_compile_options(pxlworks_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-qual -Wundef $<$<BOOL:${PXLWORKS_WERROR}>:-Werror>
  $<$<BOOL:$<TARGET_PROPERTY:PXLWORKS_CHECKS_CONVERSIONS>>:-Wconversion;-Wsign-conversion>)

# The warnings of the whole tree, as a target that every target of the project links.
add_library(pxlworks_warnings INTERFACE)
target_compile_options(pxlworks_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-qual -Wundef -Wconversion -Wsign-conversion
  $<$<BOOL:${PXLWORKS_WERROR}>:-Werror>)

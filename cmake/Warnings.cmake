# Every target of the project links tessarel_options: warnings, sanitizers and the settings that all code shares.
add_library(tessarel_options INTERFACE)
target_compile_options(tessarel_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wunused
  # GCC 12 takes the joining of a literal and a string for a copy onto itself.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  # Layout arithmetic is compared bit for bit between instruction sets: no fused multiply-add behind our back.
  -ffp-contract=off)
if(TESSAREL_WARNINGS_AS_ERRORS)
  target_compile_options(tessarel_options INTERFACE -Werror)
endif()

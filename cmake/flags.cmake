# Printed digits are part of the interface: no contraction of a*b+c and no other licence with
# floating point, whatever the processor.
add_compile_options(-ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
# GCC 12 warns of an impossible overlap in std::string's own concatenation.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# Where doubles are worked out in more digits than they are kept in, results differ, and long products need 64 bits.
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("
  #include <cfloat>
  static_assert(sizeof(void *) == 8 && FLT_EVAL_METHOD == 0);
  int main() {}" MORVEL_ARITHMETIC)
if(NOT MORVEL_ARITHMETIC)
  message(FATAL_ERROR "MORVEL needs a 64-bit system whose compiler works out floating-point numbers in their own "
                      "precision (FLT_EVAL_METHOD 0)")
endif()

# Two builds give the same bytes, wherever they are made.
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=. -ffile-prefix-map=${CMAKE_BINARY_DIR}=.)

# Debian's flags against errors that become attacks.
option(MORVEL_HARDENING "Against attacks by way of errors; without it only to measure what it costs" ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ${MORVEL_HARDENING})
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
# Nothing of the libraries is replaced at run time, so that calls between their files may be inlined all the same.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
add_compile_options(-Wformat -Werror=format-security)
if(MORVEL_HARDENING)
  add_compile_options(-fstack-protector-strong)
  add_link_options(-Wl,-z,relro -Wl,-z,now)
  if(NOT MORVEL_SANITIZE AND NOT MORVEL_COVERAGE)
    add_compile_options($<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  endif()
endif()

if(MORVEL_SANITIZE)
  set(sanitizers ${MORVEL_SANITIZE})
  if(NOT sanitizers MATCHES "address|thread|undefined")
    set(sanitizers address,undefined)
  endif()
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # dlopen() is called by the sanitizer there, to which a program's run path of the newer kind does not extend.
  add_link_options(-fsanitize=${sanitizers} -Wl,--disable-new-dtags)
endif()

if(MORVEL_COVERAGE)
  add_compile_options(--coverage -O0 -g)
  add_link_options(--coverage)
endif()

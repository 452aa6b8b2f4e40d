# Printed digits are part of the interface: no contraction of a*b+c and no other licence with
# floating point, whatever the processor.
add_compile_options(-ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
# GCC 12 warns of an impossible overlap in std::string's own concatenation.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

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

# Warnings and sanitizers, as one interface target that every folder links.
add_library(qv_options INTERFACE)
target_compile_options(qv_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-align -Wformat=2)
target_compile_definitions(qv_options INTERFACE
  QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_STRICT_ITERATORS QT_NO_FOREACH)
# Qt names libraries that only windows need; each one loaded costs start-up time.
target_link_options(qv_options INTERFACE -Wl,--as-needed)
if(QV_WERROR)
  target_compile_options(qv_options INTERFACE -Werror)
endif()
# The lines of targets with the property QV_TEST_CODE are not counted, nor looked at for undefined
# behaviour, which would take as long as all else about them.
set(QV_PRODUCT "$<NOT:$<BOOL:$<TARGET_PROPERTY:QV_TEST_CODE>>>")
if(QV_SANITIZE)
  string(REPLACE ",undefined" "" sanitizers "${QV_SANITIZE}")
  target_compile_options(qv_options INTERFACE
    -fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(NOT sanitizers STREQUAL QV_SANITIZE)
    target_compile_options(qv_options INTERFACE "$<${QV_PRODUCT}:-fsanitize=undefined>")
  endif()
  target_link_options(qv_options INTERFACE -fsanitize=${QV_SANITIZE})
endif()
if(QV_PRECOMPILE) # what ccache asks for
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(qv_options INTERFACE -fpch-preprocess)
  else()
    target_compile_options(qv_options INTERFACE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
endif()
if(QV_COVERAGE)
  target_compile_options(qv_options INTERFACE "$<${QV_PRODUCT}:--coverage;-fprofile-update=atomic>")
  target_link_options(qv_options INTERFACE --coverage)
endif()
if(QV_FUZZ)
  target_compile_options(qv_options INTERFACE
    -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qv_options INTERFACE -fsanitize=address,undefined)
endif()

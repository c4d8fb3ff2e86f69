# Flags that every target of ours shares, and the two functions by which folders become targets.

find_package(Threads REQUIRED)

add_library(hlx_flags INTERFACE)
target_compile_options(hlx_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wno-missing-field-initializers)
target_include_directories(hlx_flags INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/source)
target_link_libraries(hlx_flags INTERFACE Threads::Threads)
if(HLX_WERROR)
  target_compile_options(hlx_flags INTERFACE -Werror)
endif()
if(HLX_SYSTEM_FAULTS)
  target_compile_definitions(hlx_flags INTERFACE HLX_SYSTEM_FAULTS)
endif()
if(HLX_SANITIZE STREQUAL "address")
  # The check of virtual tables needs a descriptor of its own and fails where a test leaves none.
  target_compile_options(hlx_flags INTERFACE -fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
  target_link_options(hlx_flags INTERFACE -fsanitize=address,undefined)
elseif(HLX_SANITIZE STREQUAL "thread")
  target_compile_options(hlx_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(hlx_flags INTERFACE -fsanitize=thread)
endif()
if(HLX_FUZZ)
  # Everything is instrumented; only the fuzz targets themselves link the fuzzer's main.
  target_compile_options(hlx_flags INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(hlx_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# One folder, one library target: hlx_library(hlx_netservice SOURCES a.cpp ... LINK hlx_sdk_common)
function(hlx_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC hlx_flags ${ARG_LINK} PRIVATE ${ARG_PRIVATE_LINK})
endfunction()

# GCC 12 sees faults in std::string that are not there, and a precompiled header lets it tell of them.
function(hlx_precompiled name)
  target_compile_options(${name} PRIVATE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endfunction()

# One GoogleTest program whose cases ctest runs one by one: hlx_test(unit_netservice SOURCES ... LINK hlx_netservice)
function(hlx_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE hlx_flags hlx_test_support ${ARG_LINK} GTest::gtest_main)
  if(HLX_PCH AND NOT ARG_SOURCES MATCHES "[.]c(;|$)")
    target_precompile_headers(${name} REUSE_FROM hlx_test_support)
    hlx_precompiled(${name})
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT 60 ENVIRONMENT "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/tsan.supp")
endfunction()

# One libFuzzer program with its seed corpus in tests/fuzz/corpus/<name>: hlx_fuzzer(fuzz_link SOURCES ... LINK hlx_netservice)
function(hlx_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE hlx_flags ${ARG_LINK})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()

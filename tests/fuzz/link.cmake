if(TARGET hlx_netservice)
  hlx_fuzzer(fuzz_link SOURCES fuzz_link.cpp LINK hlx_netservice)
endif()

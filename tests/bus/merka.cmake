# The bus client library against the real broker on a socket of the test's own.
vesk_add_gtest(NAME merka_test LABEL bus
  SOURCES merka_test.cpp clock.cpp failing_memory.cpp harness.cpp
  LIBRARIES vesk_ubus_pathless vesk_bus vesk_flags GTest::gtest_main)
target_compile_definitions(merka_test PRIVATE VESK_TEST_BROKER="$<TARGET_FILE:vesk-busd>")
add_dependencies(merka_test vesk-busd)

# Allocations that fail: the library's own and, where they are bundled, those of the bus libraries, which are built
# in for that, since a shared object's calls can't be wrapped.
target_link_options(merka_test PRIVATE -Wl,--wrap=malloc -Wl,--wrap=realloc -Wl,--wrap=free)
foreach(library ubox ubus)
  if(TARGET ${library})
    get_target_property(sources ${library} SOURCES)
    list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/bundled/)
    target_sources(merka_test PRIVATE ${sources})
  endif()
endforeach()

# The bus client library against the real broker on a socket of the test's own.
vesk_add_gtest(NAME merka_test LABEL bus
  SOURCES merka_test.cpp clock.cpp harness.cpp
  LIBRARIES vesk_ubus_pathless vesk_bus vesk_flags GTest::gtest_main)
target_compile_definitions(merka_test PRIVATE VESK_TEST_BROKER="$<TARGET_FILE:vesk-busd>")
add_dependencies(merka_test vesk-busd)

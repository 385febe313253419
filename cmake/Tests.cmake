# SPDX-License-Identifier: GPL-3.0-or-later

# xcu_test(<name> SOURCES <files> LINKS <libraries> [PORT] [TIMEOUT <seconds>])
#
# One Qt Test executable and one CTest test. PORT marks tests that make virtual controllers appear
# as serial ports: they run under the umockdev preload. Every test gets the C locale and an
# offscreen screen; the time limit grows under sanitizers.
function(xcu_test name)
    cmake_parse_arguments(ARG "PORT" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} test_support Qt::Test xcu_warnings)
    target_compile_definitions(
        ${name} PRIVATE XCU_TEST_DATA_DIR="${PROJECT_SOURCE_DIR}/tests/data")
    add_test(NAME ${name} COMMAND ${name})
    set(environment)
    if(ARG_PORT)
        list(APPEND environment LD_PRELOAD=libumockdev-preload.so.0)
    endif()
    xcu_test_surroundings(${name} "${ARG_TIMEOUT}" ${environment})
endfunction()

# xcu_script_test(<name> SCRIPT <python file> [ARGUMENTS <...>] [TIMEOUT <seconds>])
function(xcu_script_test name)
    cmake_parse_arguments(ARG "" "SCRIPT;TIMEOUT" "ARGUMENTS" ${ARGN})
    # Debian's Python: another one ahead of it on the path would lack the modules of its packages.
    add_test(NAME ${name} COMMAND /usr/bin/python3 ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_SCRIPT}
                                  ${ARG_ARGUMENTS})
    xcu_test_surroundings(${name} "${ARG_TIMEOUT}")
endfunction()

# Environment and time limit of a test.
function(xcu_test_surroundings name timeout)
    set(environment LC_ALL=C.UTF-8 QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES= ${ARGN})
    if(XCU_SANITIZE MATCHES "address")
        list(APPEND environment ASAN_OPTIONS=verify_asan_link_order=0
             "LSAN_OPTIONS=print_suppressions=0:suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp"
             UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1)
    elseif(XCU_SANITIZE MATCHES "thread")
        list(APPEND environment
             "TSAN_OPTIONS=halt_on_error=1:suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp")
    endif()
    if(NOT timeout)
        set(timeout 120)
    endif()
    if(XCU_SANITIZE)
        math(EXPR timeout "${timeout} * 4")
    endif()
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${environment}" TIMEOUT ${timeout})
endfunction()

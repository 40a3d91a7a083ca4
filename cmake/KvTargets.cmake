# Common settings of all targets: the same warnings and no implicit conversions of strings. Functions that add the
# libraries, programs, tests and fuzz targets.

add_library(kv_options INTERFACE)
target_compile_definitions(kv_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_FOREACH
    QT_DEPRECATED_WARNINGS)
target_compile_options(kv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
if(KV_WARNINGS_AS_ERRORS)
    target_compile_options(kv_options INTERFACE -Werror)
endif()
if(KV_SANITIZE)
    target_compile_options(kv_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kv_options INTERFACE -fsanitize=address,undefined)
endif()
if(KV_FUZZ)
    target_compile_options(kv_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# kv_library(<folder> SOURCES ... LINKS ...): adds the library of the folder, called kv_<folder>.
function(kv_library folder)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(kv_${folder} ${ARG_SOURCES}) # static, unless BUILD_SHARED_LIBS is set
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH parent)
    target_include_directories(kv_${folder} PUBLIC ${parent})
    target_link_libraries(kv_${folder} PUBLIC ${ARG_LINKS} PRIVATE kv_options)
endfunction()

# kv_program(<name> SOURCES ... LINKS ...): adds a program, which is built in the root of the build folder.
function(kv_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} kv_options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()

# Messages that are not in the log of Qt Test, from a simulator process or at the end of the test program, get the
# prefixes of that log, so that FAIL_REGULAR_EXPRESSION matches them too.
string(CONCAT kv_message_pattern
    "%{if-warning}QWARN  : %{endif}%{if-critical}QSYSTEM: %{endif}%{if-fatal}QFATAL : %{endif}"
    "%{if-category}%{category}: %{endif}%{message}")

# Qt's headers for the tests, compiled once; see KV_PRECOMPILE_HEADERS. Not for the product, where a missing include
# must be an error, and where most of the time is needed for code with sanitizers, not for headers.
if(KV_PRECOMPILE_HEADERS AND BUILD_TESTING)
    file(WRITE ${CMAKE_BINARY_DIR}/precompiled/empty.cpp "")
    add_library(kv_test_headers OBJECT EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/precompiled/empty.cpp)
    set_target_properties(kv_test_headers PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
    target_link_libraries(kv_test_headers PRIVATE kv_options Qt5::Widgets Qt5::Test)
    target_precompile_headers(kv_test_headers PRIVATE <QtWidgets/QtWidgets> <QtTest/QtTest>)
endif()

# kv_test(<name> LINKS ... [SOURCES ...] [TIMEOUT seconds]): adds the test program <name>.cpp of the current folder.
# An unexpected warning, a skipped test and an expected failure count as failures.
function(kv_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINKS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    add_executable(${name} ${name}.cpp ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE ${ARG_LINKS} kv_testkit kv_options)
    if(TARGET kv_test_headers)
        target_precompile_headers(${name} REUSE_FROM kv_test_headers)
    endif()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        FAIL_REGULAR_EXPRESSION "QWARN  :;QSYSTEM:;QFATAL :;SKIP   :;XFAIL  :;XPASS  :"
        ENVIRONMENT "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/kit/lsan.supp;UBSAN_OPTIONS=print_stacktrace=1;QT_MESSAGE_PATTERN=${kv_message_pattern}")
endfunction()

# kv_fuzz(<name> LINKS ... [SOURCES ...]): adds the fuzz target fuzz_<name>.cpp of the current folder.
function(kv_fuzz name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(fuzz_${name} fuzz_${name}.cpp ${ARG_SOURCES})
    target_include_directories(fuzz_${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(fuzz_${name} PRIVATE ${ARG_LINKS} kv_options)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzz_targets fuzz_${name})
endfunction()
